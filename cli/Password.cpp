#include "cli/Password.h"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <CLI/Option.hpp>
#include <cstdlib>
#include <fstream>

#include "base/Case.h"
#include "cli/Failure.h"
#include "cli/Messages.h"

namespace tamlo::cli {
namespace {

std::optional<std::string> FromEnvironment(const std::string& variable) {
  const char* value = variable.empty() ? nullptr : std::getenv(variable.c_str());
  return value == nullptr || *value == '\0' ? std::nullopt : std::optional<std::string>(value);
}

/// The variable that the engine's own clients read.
std::string VariableOf(const schema::Address& address) {
  if (address.engine == schema::Engine::kMariaDb) return "MYSQL_PWD";
  return address.engine == schema::Engine::kPostgreSql ? "PGPASSWORD" : "";
}

/// The terminal of the process, typed signs not shown while it lives.
class SilentTerminal {
 public:
  SilentTerminal() : terminal_(open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    if (terminal_ < 0 || tcgetattr(terminal_, &before_) != 0) return;
    termios silent = before_;
    silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    changed_ = tcsetattr(terminal_, TCSAFLUSH, &silent) == 0;
  }
  ~SilentTerminal() {
    if (changed_) tcsetattr(terminal_, TCSAFLUSH, &before_);
    if (terminal_ >= 0) close(terminal_);
  }
  SilentTerminal(const SilentTerminal&) = delete;
  SilentTerminal& operator=(const SilentTerminal&) = delete;

  [[nodiscard]] bool Works() const noexcept { return changed_; }
  void Write(const std::string& text) const { (void)!write(terminal_, text.data(), text.size()); }
  [[nodiscard]] std::string Line() const {
    std::string line;
    for (char sign = 0; read(terminal_, &sign, 1) == 1 && sign != '\n';) line += sign;
    return line;
  }

 private:
  int terminal_;
  termios before_{};
  bool changed_ = false;
};

}  // namespace

std::shared_ptr<Login> AddLogin(CLI::App& command, const std::string& side) {
  auto login = std::make_shared<Login>();
  if (!side.empty()) login->variable = "TAMLO_DB_" + base::UpperCase(side.substr(0, side.size() - 1)) + "_PASSWORD";
  command.add_option("--" + side + "password-file", login->file, Say(Said::kPasswordFile));
  return login;
}

std::optional<std::string> GivenPassword(const Login& login, const schema::Address& address) {
  if (login.Given()) {
    std::ifstream file(login.file, std::ios::binary);
    std::string line;
    if (!file) throw Failure(Status::kUsage, Say(Said::kCannotRead, {login.file}));
    std::getline(file, line);
    if (line.ends_with('\r')) line.pop_back();
    return line;
  }
  for (const std::string& variable : {login.variable, std::string("TAMLO_DB_PASSWORD"), VariableOf(address)})
    if (auto value = FromEnvironment(variable)) return value;
  return std::nullopt;
}

std::optional<std::string> AskPassword(const schema::Address& address) {
  const SilentTerminal terminal;
  if (!terminal.Works()) return std::nullopt;
  terminal.Write(Say(Said::kPasswordOf, {address.shown}) + ' ');
  std::string line = terminal.Line();
  terminal.Write("\n");
  return line.empty() ? std::nullopt : std::optional<std::string>(std::move(line));
}

}  // namespace tamlo::cli
