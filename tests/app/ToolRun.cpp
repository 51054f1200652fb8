#include "tests/app/ToolRun.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace tamlo::app {

namespace {

using namespace std::chrono_literals;

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

ToolRun::ToolRun(const Settings& settings) : errors_(::memfd_create("errors", 0)) {
  std::vector<std::string> arguments{TAMLO_PROGRAM};
  arguments.insert(arguments.end(), settings.arguments.begin(), settings.arguments.end());
  std::vector<std::string> environment{"PATH=/usr/bin:/bin", "HOME=/nonexistent", "LC_ALL=C.UTF-8"};
  // What a sanitizer is to leave out, it is to leave out there too.
  for (const char* const name : {"ASAN_OPTIONS", "LSAN_OPTIONS", "UBSAN_OPTIONS"}) {
    if (const char* const value = std::getenv(name)) environment.push_back(std::string(name) + "=" + value);
  }
  for (const auto& [name, value] : settings.environment) environment.push_back(name + "=" + value);
  const std::vector<char*> argumentList = Pointers(arguments);
  const std::vector<char*> environmentList = Pointers(environment);
  process_ = ::fork();
  if (process_ < 0) throw std::runtime_error("no process for the tool");
  if (process_ == 0) {
    ::dup2(errors_, STDERR_FILENO);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::execve(TAMLO_PROGRAM, argumentList.data(), environmentList.data());
    ::_exit(127);
  }
}

ToolRun::~ToolRun() {
  if (!status_) {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
  }
  ::close(errors_);
}

int ToolRun::Wait() {
  const auto end = std::chrono::steady_clock::now() + 30s;
  while (!status_) {
    int status = 0;
    if (::waitpid(process_, &status, WNOHANG) == process_) {
      status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    } else if (std::chrono::steady_clock::now() > end) {
      throw std::runtime_error("the tool does not end");
    } else {
      std::this_thread::sleep_for(10ms);
    }
  }
  return *status_;
}

std::string ToolRun::Errors() const {
  std::string text;
  char buffer[4096];
  ::lseek(errors_, 0, SEEK_SET);
  for (ssize_t count = 0; (count = ::read(errors_, buffer, sizeof buffer)) > 0;) text.append(buffer, static_cast<std::size_t>(count));
  return text;
}

std::string ToolRun::ProcFile(const std::string& name) const {
  std::ifstream file("/proc/" + std::to_string(process_) + "/" + name, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string ToolRun::ProcLink(const std::string& name) const {
  return std::filesystem::read_symlink("/proc/" + std::to_string(process_) + "/" + name).string();
}

}  // namespace tamlo::app
