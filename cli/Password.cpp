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

constexpr const char* kForAll = "TAMLO_DB_PASSWORD";

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

std::string FirstLine(const std::string& path) {
  std::ifstream file(base::FilePath(path), std::ios::binary);
  std::string line;
  if (!file) throw Failure(Status::kUsage, Say(Said::kCannotRead, {path}));
  std::getline(file, line);
  if (line.ends_with('\r')) line.pop_back();
  return line;
}

std::optional<std::string> OwnPassword(const Login& login) {
  if (login.Given()) return FirstLine(login.file);
  return login.variable == kForAll ? std::nullopt : Variable(login.variable);
}

std::optional<std::string> GivenPassword(const Login& login, const schema::Address& address) {
  if (login.Given()) return FirstLine(login.file);
  for (const std::string& variable : {login.variable, std::string(kForAll), VariableOf(address)})
    if (auto value = Variable(variable)) return value;
  return std::nullopt;
}

std::optional<std::string> AskPassword(const schema::Address& address) {
  return AskSilently(Say(Said::kPasswordOf, {address.shown}) + ' ');
}

}  // namespace tamlo::cli
