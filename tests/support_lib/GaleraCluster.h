#pragma once

#include <string>
#include <vector>

#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {

/// A Galera cluster of MariaDB servers on the loopback, in a temporary folder, started by scripts/lib/galera.sh. It goes when the object goes,
/// and also when the program dies; to be made by the program's first thread. Nodes count from 1. A node that does not come up is an exception.
/// Database, user and password are tamlo on every node.
class GaleraCluster {
 public:
  explicit GaleraCluster(int nodes = 3);
  ~GaleraCluster();
  GaleraCluster(const GaleraCluster&) = delete;
  GaleraCluster& operator=(const GaleraCluster&) = delete;

  /// Ends a node at once, without letting it finish anything. The others do without it after a few seconds.
  void Kill(int node);
  /// Starts it again on the same data and waits until it takes statements.
  void Restart(int node);

  [[nodiscard]] int Nodes() const noexcept { return static_cast<int>(nodes_.size()); }
  [[nodiscard]] std::string Port(int node) const;
  /// A connection string without user and password, for one node.
  [[nodiscard]] std::string ConnectionString(int node) const { return ConnectionString("127.0.0.1;PORT=" + Port(node)); }
  /// The same for whichever of the nodes answers first, in their order.
  [[nodiscard]] std::string AnyOf(const std::vector<int>& nodes) const;
  /// The same through HAProxy, which is started at the first call: a connection goes to the first node that lives.
  [[nodiscard]] std::string ThroughProxy();

  /// What the mariadb client prints for a statement on a node: a line for each row, columns between tabs, no heads. Its errors too.
  [[nodiscard]] std::string Client(int node, const std::string& sql) const;
  /// Waits until a node has applied everything and the cluster has so many nodes; false after 60 s.
  [[nodiscard]] bool HasNodes(int node, int count) const;

 private:
  [[nodiscard]] static std::string ConnectionString(const std::string& server) {
    return "DRIVER={MariaDB Unicode};SERVER=" + server + ";DATABASE=tamlo;CHARSET=utf8mb4";
  }
  void Start(int node);
  [[nodiscard]] int Run(const std::vector<std::string>& arguments) const;

  TemporaryFolder folder_;
  std::vector<int> nodes_;                       // their processes; 0 when ended
  std::vector<std::vector<std::string>> ports_;  // words of the file "ports"
  int proxy_ = 0;
};

/// A child process that is talked to by lines.
class Child {
 public:
  explicit Child(const std::vector<std::string>& command);
  /// Kills what still runs.
  ~Child();
  Child(Child&& other) noexcept;
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  Child& operator=(Child&&) = delete;

  void WriteLine(const std::string& line);
  /// The next line that it prints; empty at the end.
  [[nodiscard]] std::string ReadLine();
  void Kill();
  /// Closes its input, reads what it still prints into output, waits for its end and gives its exit status; 128 and the signal's number when one ended it.
  int Wait(std::string* output = nullptr);

 private:
  int process_ = 0;
  int in_ = -1;
  int out_ = -1;
};

}  // namespace tamlo::tests
