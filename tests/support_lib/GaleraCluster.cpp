#include "tests/support_lib/GaleraCluster.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>

namespace tamlo::tests {
namespace {

const std::string kScript = std::string(TAMLO_SOURCE_DIR) + "/scripts/lib/galera.sh";

[[noreturn]] void Execute(const std::vector<std::string>& command) {
  std::vector<char*> words;
  for (const auto& word : command) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  ::execvp(words.front(), words.data());
  ::_exit(127);
}

int Fork(const std::vector<std::string>& command) {
  const int process = ::fork();
  if (process < 0) throw std::runtime_error("no process for " + command.front());
  if (process == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
    ::setenv("TAMLO_PDEATHSIG", "TERM", 1);  // the script's change of the user takes it away, and puts it back
    Execute(command);
  }
  return process;
}

void End(int& process, int number) noexcept {
  if (process <= 0) return;
  ::kill(process, number);
  int status = 0;
  ::waitpid(process, &status, 0);
  process = 0;
}

}  // namespace

GaleraCluster::GaleraCluster(int nodes) : nodes_(static_cast<std::size_t>(nodes)) {
  if (Run({kScript, "prepare", folder_.Path().string(), std::to_string(nodes)}) != 0) throw std::runtime_error("no cluster");
  std::ifstream file(folder_.File("ports"));
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    ports_.emplace_back();
    for (std::string word; words >> word;) ports_.back().push_back(word);
  }
  for (int node = 1; node <= nodes; ++node) Start(node);
}

GaleraCluster::~GaleraCluster() {
  End(proxy_, SIGTERM);
  // Nobody needs what they would still write down.
  for (int& node : nodes_) End(node, SIGKILL);
}

void GaleraCluster::Start(int node) {
  nodes_.at(static_cast<std::size_t>(node) - 1) = Fork({kScript, "run", folder_.Path().string(), std::to_string(node)});
  if (Run({kScript, "wait", folder_.Path().string(), std::to_string(node)}) != 0) throw std::runtime_error("a node does not come up");
}

void GaleraCluster::Kill(int node) { End(nodes_.at(static_cast<std::size_t>(node) - 1), SIGKILL); }
void GaleraCluster::Restart(int node) { Start(node); }

int GaleraCluster::Run(const std::vector<std::string>& arguments) const {
  int process = Fork(arguments);
  int status = 0;
  ::waitpid(process, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string GaleraCluster::Port(int node) const { return ports_.at(static_cast<std::size_t>(node) - 1).at(2); }

std::string GaleraCluster::AnyOf(const std::vector<int>& nodes) const {
  std::string servers;
  for (const int node : nodes) servers += (servers.empty() ? "" : ",") + ("127.0.0.1:" + Port(node));
  return ConnectionString(servers);
}

std::string GaleraCluster::ThroughProxy() {
  const std::string& port = ports_.back().at(1);
  if (proxy_ == 0) {
    proxy_ = Fork({kScript, "proxy", folder_.Path().string()});
    std::this_thread::sleep_for(std::chrono::seconds(2));  // its first look at the nodes
  }
  return ConnectionString("127.0.0.1;PORT=" + port);
}

std::string GaleraCluster::Client(int node, const std::string& sql) const {
  std::string output;
  (void)Child(
      {"mariadb", "--no-defaults", "--host=127.0.0.1", "--port=" + Port(node), "-utamlo", "-ptamlo", "-N", "-B", "-e", sql, "tamlo"})
      .Wait(&output);
  return output;
}

bool GaleraCluster::HasNodes(int node, int count) const {
  for (int i = 0; i < 300; ++i) {
    const std::string seen = Client(node,
                                    "SELECT variable_value FROM information_schema.global_status WHERE variable_name IN "
                                    "('wsrep_cluster_size', 'wsrep_ready', 'wsrep_cluster_status') ORDER BY variable_name");
    if (seen == std::to_string(count) + "\nPrimary\nON\n") return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
  return false;
}

Child::Child(const std::vector<std::string>& command) {
  int toChild[2];
  int fromChild[2];
  if (::pipe2(toChild, O_CLOEXEC) != 0 || ::pipe2(fromChild, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  process_ = ::fork();
  if (process_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::dup2(toChild[0], 0);
    ::dup2(fromChild[1], 1);
    ::dup2(fromChild[1], 2);
    Execute(command);
  }
  ::close(toChild[0]);
  ::close(fromChild[1]);
  in_ = toChild[1];
  out_ = fromChild[0];
}

Child::Child(Child&& other) noexcept
    : process_(std::exchange(other.process_, 0)), in_(std::exchange(other.in_, -1)), out_(std::exchange(other.out_, -1)) {}

Child::~Child() {
  End(process_, SIGKILL);
  if (in_ >= 0) ::close(in_);
  if (out_ >= 0) ::close(out_);
}

void Child::WriteLine(const std::string& line) {
  const std::string text = line + "\n";
  (void)!::write(in_, text.data(), text.size());
}

std::string Child::ReadLine() {
  std::string line;
  for (char c = 0; ::read(out_, &c, 1) == 1 && c != '\n';) line.push_back(c);
  return line;
}

void Child::Kill() { ::kill(process_, SIGKILL); }

int Child::Wait(std::string* output) {
  if (in_ >= 0) ::close(std::exchange(in_, -1));
  char piece[4096];
  for (ssize_t count = 0; (count = ::read(out_, piece, sizeof piece)) > 0;) {
    if (output != nullptr) output->append(piece, static_cast<std::size_t>(count));
  }
  int status = 0;
  ::waitpid(process_, &status, 0);
  process_ = 0;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace tamlo::tests
