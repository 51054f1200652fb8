#include "cli/Password.h"

#include <CLI/App.hpp>
#include <CLI/Option.hpp>
#include <fstream>

#include "base/Case.h"
#include "base/FilePath.h"
#include "cli/Failure.h"
#include "cli/Messages.h"
#include "cli/System.h"

namespace tamlo::cli {
namespace {

/// The variable that the engine's own clients read.
std::string VariableOf(const schema::Address& address) {
  if (address.engine == schema::Engine::kMariaDb) return "MYSQL_PWD";
  return address.engine == schema::Engine::kPostgreSql ? "PGPASSWORD" : "";
}

}  // namespace

std::shared_ptr<Login> AddLogin(CLI::App& command, const std::string& side) {
  auto login = std::make_shared<Login>();
  if (!side.empty()) login->variable = "TAMLO_DB_" + base::UpperCase(side.substr(0, side.size() - 1)) + "_PASSWORD";
  AddLogin(command, login, side);
  return login;
}

void AddLogin(CLI::App& command, const std::shared_ptr<Login>& login, const std::string& side) {
  command.add_option("--" + side + "password-file", login->file, Say(Said::kPasswordFile));
}

std::optional<std::string> GivenPassword(const Login& login, const schema::Address& address) {
  if (login.Given()) {
    std::ifstream file(base::FilePath(login.file), std::ios::binary);
    std::string line;
    if (!file) throw Failure(Status::kUsage, Say(Said::kCannotRead, {login.file}));
    std::getline(file, line);
    if (line.ends_with('\r')) line.pop_back();
    return line;
  }
  for (const std::string& variable : {login.variable, std::string("TAMLO_DB_PASSWORD"), VariableOf(address)})
    if (auto value = Variable(variable)) return value;
  return std::nullopt;
}

std::optional<std::string> AskPassword(const schema::Address& address) {
  return AskSilently(Say(Said::kPasswordOf, {address.shown}) + ' ');
}

}  // namespace tamlo::cli
