#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>

#include "jet/file/FileSystem.h"
#include "jet/file/MemoryFileSystem.h"

namespace jet {

/// Files as they are on another file system, of which none is ever changed: whatever is written, made or removed stays in memory and goes
/// with this object. For reading what opening would repair, and what lies where nothing can be written. Locks bind nobody else.
class OverlayFileSystem final : public FileSystem {
 public:
  /// The one below must outlive this.
  explicit OverlayFileSystem(FileSystem& below) : below_(below) {}
  ~OverlayFileSystem() override;

  std::unique_ptr<File> Open(const std::string& path, FileMode mode) override;
  std::string RealPath(const std::string& path) override { return below_.RealPath(path); }
  bool Exists(const std::string& path) override;
  void Remove(const std::string& path) override;
  /// Error: kUnsupported, always.
  void Rename(const std::string& from, const std::string& to) override;
  void SyncFolder(const std::string& pathOfFile) override;

  /// From here on there is no file of that name, whatever lies below.
  void Hide(const std::string& path) { hidden_.insert(path); }

 private:
  struct Content;
  class Handle;

  FileSystem& below_;
  MemoryFileSystem made_;  ///< files that are not below
  std::map<std::string, std::shared_ptr<Content>> opened_;
  std::set<std::string> hidden_;
};

}  // namespace jet
