#include "tests/app/ToolRun.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
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

/// In a child process: becomes a user without privileges where it was root.
void LosePrivileges() {
  constexpr unsigned kNobody = 65534;
  if (::getuid() == 0 && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0)) ::_exit(126);
}

}  // namespace

ToolRun::ToolRun(const Settings& settings) : unprivileged_(settings.unprivileged), errors_(::memfd_create("errors", 0)) {
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
    if (unprivileged_) LosePrivileges();
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

bool ToolRun::ReadableByItsUser() const {
  const pid_t other = ::fork();
  if (other < 0) throw std::runtime_error("no process to look with");
  if (other == 0) {
    if (unprivileged_) LosePrivileges();
    const std::string environment = "/proc/" + std::to_string(process_) + "/environ";
    ::_exit(::open(environment.c_str(), O_RDONLY) >= 0 ? 1 : 0);
  }
  int status = 0;
  ::waitpid(other, &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) > 1) throw std::runtime_error("the question could not be asked");
  return WEXITSTATUS(status) == 1;
}

bool ToolRun::CountInMemory(const std::string& text, std::size_t& looked, std::size_t& found) const {
  const int memory = ::open(("/proc/" + std::to_string(process_) + "/mem").c_str(), O_RDONLY);
  if (memory < 0) return false;
  std::istringstream maps(ProcFile("maps"));
  for (std::string line; std::getline(maps, line);) {
    unsigned long long start = 0;
    unsigned long long end = 0;
    char rights[5] = {};
    if (std::sscanf(line.c_str(), "%llx-%llx %4s", &start, &end, rights) != 3 || rights[1] != 'w') continue;
    std::string bytes(end - start, '\0');
    const ssize_t count = ::pread(memory, bytes.data(), bytes.size(), static_cast<off_t>(start));
    if (count <= 0) continue;
    bytes.resize(static_cast<std::size_t>(count));
    looked += bytes.size();
    for (auto at = bytes.find(text); at != std::string::npos; at = bytes.find(text, at + 1)) ++found;
  }
  ::close(memory);
  return true;
}

}  // namespace tamlo::app
