#include "tests/support_lib/DialectEngine.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <stdexcept>

namespace tamlo::tests {

namespace {

/// The odbc.ini of this process: a section for each engine that was started.
class DataSources {
 public:
  DataSources() { ::setenv("ODBCINI", folder_.File("odbc.ini").c_str(), 1); }

  void Set(const std::string& name, int port) {
    ports_[name] = port;
    std::ofstream file(folder_.File("odbc.ini"));
    for (const auto& [section, at] : ports_) {
      file << "[" << section << "]\nDriver=PostgreSQL Unicode\nServername=127.0.0.1\nPort=" << at
           << "\nDatabase=test\nSSLmode=disable\nBoolsAsChar=0\nMaxVarcharSize=1999\n\n";
    }
  }

 private:
  TemporaryFolder folder_;
  std::map<std::string, int> ports_;
};

/// A write into the pipe of a dead engine is an error here, not the end of the program.
void IgnoreBrokenPipes() { std::signal(SIGPIPE, SIG_IGN); }

}  // namespace

DialectEngine::DialectEngine(Dialect dialect) : dialect_(dialect) {
  IgnoreBrokenPipes();
  Start();
  WriteDataSource();
}

DialectEngine::~DialectEngine() { Kill(); }

void DialectEngine::Start() {
  int in[2];
  int out[2];
  if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0) throw std::runtime_error("no pipes for the engine");
  const std::string log = folder_.File("statements.log");
  const char* mode = dialect_ == Dialect::kOracle ? "Oracle" : "MSSQLServer";
  process_ = ::fork();
  if (process_ < 0) throw std::runtime_error("no process for the engine");
  if (process_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::dup2(in[0], STDIN_FILENO);
    ::dup2(out[1], STDOUT_FILENO);
    ::execlp("java", "java", "-Xmx1g", "-XX:TieredStopAtLevel=1", "-XX:+UseSerialGC", "-cp", TAMLO_RELAY_CLASSPATH, "Relay", mode,
             log.c_str(), static_cast<char*>(nullptr));
    ::_exit(127);
  }
  ::close(in[0]);
  ::close(out[1]);
  toEngine_ = in[1];
  fromEngine_ = out[0];
  const std::string ready = ReadLine();
  if (ready.rfind("READY ", 0) != 0) {
    Kill();
    throw std::runtime_error("the engine does not start: " + ready);
  }
  port_ = std::stoi(ready.substr(6));
}

void DialectEngine::Reset() {
  const std::string command = "reset\n";
  if (::write(toEngine_, command.data(), command.size()) != static_cast<ssize_t>(command.size()) || ReadLine() != "DONE") {
    throw std::runtime_error("the engine does not reset");
  }
}

void DialectEngine::Kill() noexcept {
  if (process_ <= 0) return;
  ::kill(process_, SIGKILL);
  int status = 0;
  ::waitpid(process_, &status, 0);
  process_ = 0;
  ::close(toEngine_);
  ::close(fromEngine_);
}

std::string DialectEngine::ReadLine() {
  std::string line;
  char c = 0;
  while (::read(fromEngine_, &c, 1) == 1 && c != '\n') line += c;
  return line;
}

void DialectEngine::WriteDataSource() const {
  static DataSources sources;
  sources.Set(dialect_ == Dialect::kOracle ? "OraOLEDB.Oracle" : "sqloledb", port_);
}

std::string DialectEngine::CheckGrammar() const {
  const std::string log = folder_.File("statements.log");
  const std::string command = "'" TAMLO_ENGINES_DIR "/check-grammar.sh' '" + log + "' 2>&1";
  FILE* output = ::popen(command.c_str(), "r");
  if (output == nullptr) return "the grammar check does not start";
  std::string text;
  std::array<char, 4096> block;
  while (const std::size_t read = std::fread(block.data(), 1, block.size(), output)) text.append(block.data(), read);
  return ::pclose(output) == 0 ? std::string() : text;
}

}  // namespace tamlo::tests
