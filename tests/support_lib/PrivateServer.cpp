#include "tests/support_lib/PrivateServer.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>

// Read by the leak detector, where one is built in: the drivers of these servers (libmaodbc 3.1.15, psqlODBC 13.02) keep small blocks for good.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() { return "leak:libmaodbc.so\nleak:psqlodbcw.so\n"; }

namespace tamlo::tests {

PrivateServer::PrivateServer(const std::string& script) : script_(std::string(TAMLO_SOURCE_DIR) + "/scripts/lib/" + script) { Start(); }

PrivateServer::~PrivateServer() { Signal(SIGINT); }

void PrivateServer::Kill() { Signal(SIGKILL); }
void PrivateServer::Restart() { Start(); }
void PrivateServer::Stop() { ::kill(process_, SIGSTOP); }
void PrivateServer::Continue() { ::kill(process_, SIGCONT); }

void PrivateServer::Start() {
  const std::string folder = Folder();
  process_ = ::fork();
  if (process_ < 0) throw std::runtime_error("no process for the server");
  if (process_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    ::execl(script_.c_str(), script_.c_str(), "run", folder.c_str(), static_cast<char*>(nullptr));
    ::_exit(127);
  }
  if (std::system(("'" + script_ + "' wait '" + folder + "'").c_str()) != 0) {
    Signal(SIGKILL);
    throw std::runtime_error("the server does not come up: " + script_);
  }
}

void PrivateServer::Signal(int number) noexcept {
  if (process_ <= 0) return;
  // MariaDB ignores SIGINT without a terminal; SIGTERM lets it finish in order. PostgreSQL takes SIGINT as its fast end.
  const bool isMariaDb = script_.ends_with("mariadb.sh");
  ::kill(process_, number == SIGINT && isMariaDb ? SIGTERM : number);
  int status = 0;
  ::waitpid(process_, &status, 0);
  process_ = 0;
}

}  // namespace tamlo::tests
