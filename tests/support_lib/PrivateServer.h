#pragma once

#include <string>

#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {

/// A database server of one test program, in a temporary folder of its own, started by a script of scripts/lib. It goes when the object
/// goes, and also when the program dies. A server that does not come up is an exception: tests must fail then.
class PrivateServer {
 public:
  /// script is the name of a file of scripts/lib.
  explicit PrivateServer(const std::string& script);
  virtual ~PrivateServer();
  PrivateServer(const PrivateServer&) = delete;
  PrivateServer& operator=(const PrivateServer&) = delete;

  /// Ends the server at once, without letting it finish anything.
  void Kill();
  /// Starts it again on the same data, after Kill.
  void Restart();
  /// Lets it stand still, as a machine without breath would, and go on.
  void Stop();
  void Continue();

  [[nodiscard]] std::string Folder() const { return folder_.Path().string(); }

 private:
  void Start();
  void Signal(int number) noexcept;

  std::string script_;
  TemporaryFolder folder_;
  int process_ = 0;
};

}  // namespace tamlo::tests
