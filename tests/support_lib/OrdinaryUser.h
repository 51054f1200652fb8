#pragma once

#include <filesystem>

namespace tamlo::tests {

/// While it lives, a process that was started by the superuser acts as an ordinary user, to whom file permissions apply; the folder and
/// what it holds are given to that user first. Does nothing for other users.
class OrdinaryUser {
 public:
  /// Throws std::system_error when the system refuses.
  explicit OrdinaryUser(const std::filesystem::path& folder);
  ~OrdinaryUser();
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;
};

}  // namespace tamlo::tests
