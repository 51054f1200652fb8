#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>

#include "cli/System.h"

namespace tamlo::cli {
namespace {

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

std::vector<std::string> Words(int count, char** words) { return {words, words + count}; }

std::optional<std::string> Variable(const std::string& name) {
  const char* value = std::getenv(name.c_str());
  return value == nullptr || *value == '\0' ? std::nullopt : std::optional<std::string>(value);
}

std::optional<std::string> AskSilently(const std::string& question) {
  const SilentTerminal terminal;
  if (!terminal.Works()) return std::nullopt;
  terminal.Write(question);
  std::string line = terminal.Line();
  terminal.Write("\n");
  return line.empty() ? std::nullopt : std::optional<std::string>(std::move(line));
}

bool InputIsTyped() noexcept { return isatty(STDIN_FILENO) != 0; }

bool ErrorsAreSeen() noexcept { return isatty(STDERR_FILENO) != 0; }

bool SystemSpeaksFrench() noexcept { return false; }

std::FILE* OpenToWrite(const std::string& path) noexcept { return std::fopen(path.c_str(), "wb"); }

Streams::Streams() = default;
Streams::~Streams() = default;

}  // namespace tamlo::cli
