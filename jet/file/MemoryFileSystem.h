#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "jet/file/FileSystem.h"

namespace jet {

/// Files in memory, with locks between the opens of one file, and with hooks that make an operation fail or record it.
///
/// Power cuts: next to what is written now, the object keeps what has been synced. AfterPowerCut gives the worlds that a cut may leave.
class MemoryFileSystem final : public FileSystem {
 public:
  enum class Operation { kOpen, kCreate, kRead, kWrite, kTruncate, kSync, kRemove, kRename, kSyncFolder };
  struct Event {
    Operation operation;
    std::string path;
    std::uint64_t offset = 0;
    std::vector<std::byte> bytes;  ///< what was written; only when recording is on
    std::uint64_t size = 0;        ///< bytes written, or the new length
    std::string other;             ///< new name of a renaming
  };

  MemoryFileSystem();
  ~MemoryFileSystem() override;

  std::unique_ptr<File> Open(const std::string& path, FileMode mode) override;
  bool Exists(const std::string& path) override;
  void Remove(const std::string& path) override;
  void Rename(const std::string& from, const std::string& to) override;
  void SyncFolder(const std::string& pathOfFile) override;

  /// Called before each operation that changes something (all but open of an existing file and read); throw a jet::Error in it to make
  /// the operation fail without effect. Also called for reads when watchReads is true.
  void SetHook(std::function<void(const Event&)> hook, bool watchReads = false);
  /// Starts keeping every changing operation with its bytes.
  void Record(bool on);
  [[nodiscard]] std::vector<Event> TakeRecord();

  /// Contents of a file as last written; empty when there is none.
  [[nodiscard]] std::vector<std::byte> Content(const std::string& path) const;
  void SetContent(const std::string& path, std::vector<std::byte> bytes);
  [[nodiscard]] std::vector<std::string> Names() const;

 private:
  struct Node;
  class Handle;
  void Notice(Event event, bool reading = false);

  mutable std::recursive_mutex mutex_;
  std::map<std::string, std::shared_ptr<Node>> nodes_;
  std::function<void(const Event&)> hook_;
  bool watchReads_ = false;
  bool recording_ = false;
  std::vector<Event> record_;
};

/// Replays the first `count` recorded operations over a starting state and gives what the disk holds if the power went right after.
/// Writes that were not yet followed by a sync of their file are kept, dropped or torn as `keep` decides (called once for each such
/// operation with its position; true = it reached the disk). Creations, removals and renamings wait for a sync of the folder likewise.
[[nodiscard]] std::map<std::string, std::vector<std::byte>> ReplayWithPowerCut(const std::map<std::string, std::vector<std::byte>>& start,
                                                                               const std::vector<MemoryFileSystem::Event>& record,
                                                                               std::size_t count,
                                                                               const std::function<bool(std::size_t position)>& keep);

}  // namespace jet
