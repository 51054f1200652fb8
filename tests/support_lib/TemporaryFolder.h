#pragma once

#include <filesystem>
#include <string>

namespace tamlo::tests {

/// A folder of its own for one test, removed with all it holds when the object goes.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  [[nodiscard]] const std::filesystem::path& Path() const noexcept { return path_; }
  /// The path of an entry of that name inside the folder, as text.
  [[nodiscard]] std::string File(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace tamlo::tests
