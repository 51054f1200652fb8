#include "tests/cli/Pty.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <thread>

namespace tamlo::tests {

Pty::Pty(const TemporaryFolder& folder, const std::vector<std::string>& words, const std::vector<std::string>& environment) {
  winsize size{};
  size.ws_row = 40;
  size.ws_col = 100;
  process_ = forkpty(&terminal_, nullptr, nullptr, &size);
  if (process_ != 0) return;
  if (chdir(folder.Path().c_str()) != 0) _exit(126);
  for (const auto& variable : environment) putenv(const_cast<char*>(variable.c_str()));
  std::vector<char*> arguments;
  for (const auto& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  execvp(arguments[0], arguments.data());
  _exit(127);
}

Pty::~Pty() {
  close(terminal_);
  if (process_ <= 0) return;
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
}

void Pty::Type(const std::string& keys) const { ASSERT_EQ(write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size())); }

bool Pty::ReadSome(int milliseconds) {
  pollfd waited{terminal_, POLLIN, 0};
  if (poll(&waited, 1, milliseconds) <= 0) return true;
  std::array<char, 4096> piece{};
  const auto got = read(terminal_, piece.data(), piece.size());
  if (got > 0) seen_.append(piece.data(), static_cast<std::size_t>(got));
  return got > 0;
}

std::string Pty::Await(const std::string& text, int seconds) {
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  for (;;) {
    const auto at = seen_.find(text);
    if (at != std::string::npos) {
      const std::string came = seen_.substr(0, at + text.size());
      seen_.erase(0, at + text.size());
      return came;
    }
    if (std::chrono::steady_clock::now() > until || !ReadSome(100)) break;
  }
  ADD_FAILURE() << "\"" << text << "\" did not come, but:\n" << seen_;
  return seen_;
}

int Pty::Wait() {
  const auto until = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  for (int status = 0; std::chrono::steady_clock::now() < until;) {
    // A terminal whose program is gone cannot be read, which takes no time.
    if (!ReadSome(50)) std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (waitpid(process_, &status, WNOHANG) != process_) continue;
    process_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  ADD_FAILURE() << "it did not end, but sent:\n" << seen_;
  return -1;
}

}  // namespace tamlo::tests
