#include "tests/move/Running.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace tamlo::tests {

Running::Running(const TemporaryFolder& folder, const std::vector<std::string>& arguments) : process_(::fork()) {
  if (process_ != 0) return;
  ::setenv("LC_ALL", "C", 1);
  ::setenv("TAMLO_DB_PASSWORD", "tamlo", 1);
  if (::chdir(folder.Path().c_str()) != 0) ::_exit(127);
  if (std::freopen((folder.Path() / "running.err").c_str(), "w", stderr) == nullptr) ::_exit(127);
  std::vector<char*> words{const_cast<char*>(TAMLO_DB)};
  for (const auto& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
  words.push_back(nullptr);
  ::execv(TAMLO_DB, words.data());
  ::_exit(127);
}

void Running::Strike(int signal) const { ::kill(process_, signal); }

int Running::Wait() {
  if (!ended_) ::waitpid(process_, &status_, 0);
  ended_ = true;
  return WIFEXITED(status_) ? WEXITSTATUS(status_) : -WTERMSIG(status_);
}

bool Running::Ended() {
  ended_ = ended_ || ::waitpid(process_, &status_, WNOHANG) == process_;
  return ended_;
}

}  // namespace tamlo::tests
