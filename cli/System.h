#pragma once

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

/// What the command asks of the system that it runs on. All texts are UTF-8, whatever the system's own are (System_posix.cpp, System_win32.cpp).
namespace tamlo::cli {

/// The words of the command line, the program's own name first, none of them taken for a pattern.
[[nodiscard]] std::vector<std::string> Words(int count, char** words);

/// The variable of the environment, if it is set and not empty.
[[nodiscard]] std::optional<std::string> Variable(const std::string& name);

/// What a person types at the terminal when asked so, without showing it. Nothing where there is no terminal or nothing was typed.
[[nodiscard]] std::optional<std::string> AskSilently(const std::string& question);

/// Whether the user has told the system itself, and not the environment's LC_ALL and its like, that he reads French.
[[nodiscard]] bool SystemSpeaksFrench() noexcept;

/// Whether standard input comes from a person at a terminal.
[[nodiscard]] bool InputIsTyped() noexcept;

/// Whether a person reads standard error at a terminal.
[[nodiscard]] bool ErrorsAreSeen() noexcept;

/// Makes that file, emptied where it exists. Null, and errno says why, where it cannot be.
[[nodiscard]] std::FILE* OpenToWrite(const std::string& path) noexcept;

/// While it lives the standard streams carry the bytes that are written to them, and a terminal behind them takes these as UTF-8.
class Streams {
 public:
  Streams();
  ~Streams();
  Streams(const Streams&) = delete;
  Streams& operator=(const Streams&) = delete;

 private:
  unsigned characters_ = 0;  ///< those of the terminal before, 0 where nothing was changed
};

}  // namespace tamlo::cli
