// What a disk holds when the power goes in the middle of a record of operations.
#include <algorithm>

#include "jet/file/MemoryFileSystem.h"

namespace jet {
namespace {

using Event = MemoryFileSystem::Event;
using Operation = MemoryFileSystem::Operation;
using Content = std::vector<std::byte>;

bool ChangesNames(Operation operation) {
  return operation == Operation::kCreate || operation == Operation::kRemove || operation == Operation::kRename;
}

bool ChangesBytes(Operation operation) { return operation == Operation::kWrite || operation == Operation::kTruncate; }

/// Files are followed by identity, so that what was written to a file before it was renamed stays with it.
class Replay {
 public:
  Replay(const std::map<std::string, Content>& start, std::span<const Event> record)
      : record_(record), fileOf_(record.size(), 0), synced_(record.size(), false) {
    for (const auto& [name, bytes] : start) {
      names_[name] = files_.size();
      files_.push_back(bytes);
    }
    FindSynced();
  }

  std::map<std::string, Content> Run(const std::function<bool(std::size_t position)>& keep) {
    for (std::size_t i = 0; i < record_.size(); ++i) {
      const bool changes = ChangesNames(record_[i].operation) || ChangesBytes(record_[i].operation);
      if (changes && (synced_[i] || keep(i))) Do(record_[i], fileOf_[i]);
    }
    std::map<std::string, Content> disk;
    for (const auto& [name, file] : names_) disk[name] = files_[file];
    return disk;
  }

 private:
  /// Which operation is safe: one followed by a sync of its file (or of the folder, for names) before the cut.
  void FindSynced() {
    auto live = names_;
    std::size_t next = files_.size();
    for (std::size_t i = 0; i < record_.size(); ++i) {
      const Event& event = record_[i];
      if (event.operation == Operation::kCreate) live[event.path] = next++;
      if (live.count(event.path) != 0) fileOf_[i] = live[event.path];
      if (event.operation == Operation::kRemove) live.erase(event.path);
      if (event.operation == Operation::kRename) {
        live[event.other] = fileOf_[i];
        live.erase(event.path);
      }
      if (event.operation == Operation::kSync || event.operation == Operation::kSyncFolder) MarkSynced(i);
    }
    files_.resize(next);
  }

  void MarkSynced(std::size_t sync) {
    const bool ofFolder = record_[sync].operation == Operation::kSyncFolder;
    for (std::size_t i = 0; i < sync; ++i) {
      const Operation operation = record_[i].operation;
      if (ofFolder ? ChangesNames(operation) : ChangesBytes(operation) && fileOf_[i] == fileOf_[sync]) synced_[i] = true;
    }
  }

  void Do(const Event& event, std::size_t file) {
    Content& bytes = files_[file];
    switch (event.operation) {
      case Operation::kWrite:
        if (bytes.size() < event.offset + event.bytes.size()) bytes.resize(static_cast<std::size_t>(event.offset) + event.bytes.size());
        std::copy(event.bytes.begin(), event.bytes.end(), bytes.begin() + static_cast<std::ptrdiff_t>(event.offset));
        break;
      case Operation::kTruncate:
        bytes.resize(static_cast<std::size_t>(event.size));
        break;
      case Operation::kCreate:
        names_[event.path] = file;
        break;
      case Operation::kRemove:
        names_.erase(event.path);
        break;
      case Operation::kRename:
        names_[event.other] = file;
        names_.erase(event.path);
        break;
      default:
        break;
    }
  }

  std::span<const Event> record_;
  std::map<std::string, std::size_t> names_;  ///< on the disk
  std::vector<Content> files_;
  std::vector<std::size_t> fileOf_;  ///< by operation
  std::vector<bool> synced_;         ///< by operation
};

}  // namespace

std::map<std::string, std::vector<std::byte>> ReplayWithPowerCut(const std::map<std::string, std::vector<std::byte>>& start,
                                                                 const std::vector<MemoryFileSystem::Event>& record, std::size_t count,
                                                                 const std::function<bool(std::size_t position)>& keep) {
  return Replay(start, std::span(record).first(std::min(count, record.size()))).Run(keep);
}

}  // namespace jet
