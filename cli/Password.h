#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "runtime/Secret.h"
#include "schema/Address.h"

namespace CLI {
class App;  // whose header takes seconds to compile
}

namespace tamlo::cli {

/// Where the password of one database comes from: a file, the environment, a person at the terminal; never the command line, which every
/// user of the machine can read.
struct Login {
  std::string file;                            ///< --password-file; its first line
  std::string variable = "TAMLO_DB_PASSWORD";  ///< asked when there is no file; behind it the engine's own, MYSQL_PWD or PGPASSWORD
  [[nodiscard]] bool Given() const noexcept { return !file.empty(); }
};

/// Gives a command the option --password-file. side is "" for a command with one database, else "from-" or "to-" stands in front of
/// "password-file", and TAMLO_DB_FROM_PASSWORD or TAMLO_DB_TO_PASSWORD is asked first.
std::shared_ptr<Login> AddLogin(CLI::App& command, const std::string& side = {});
/// The same with a login that several commands share, of which one is run.
void AddLogin(CLI::App& command, const std::shared_ptr<Login>& login, const std::string& side = {});

/// A password, wiped when it goes.
struct Secret {
  Secret() = default;
  explicit Secret(std::string given) noexcept : text(std::move(given)) {}
  Secret(Secret&& other) noexcept : text(other.text) { runtime::Wipe(other.text); }  // NOLINT(performance-move-constructor-init)
  Secret& operator=(Secret&& other) noexcept {
    text.swap(other.text);
    return *this;
  }
  ~Secret() { runtime::Wipe(text); }

  std::string text;
};

/// The first line of a file that holds a password. Failure with kUsage for one that cannot be read.
[[nodiscard]] std::string FirstLine(const std::string& path);

/// The password from the file or the environment; nothing when there is none. Failure with kUsage for a file that cannot be read.
[[nodiscard]] std::optional<std::string> GivenPassword(const Login& login, const schema::Address& address);
/// The same, of what is meant for this side alone and for no other database of the line.
[[nodiscard]] std::optional<std::string> OwnPassword(const Login& login);
/// Asks at the terminal, without showing what is typed; nothing where there is no terminal or nothing was typed.
[[nodiscard]] std::optional<std::string> AskPassword(const schema::Address& address);

}  // namespace tamlo::cli
