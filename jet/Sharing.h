#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "jet/FileSystem.h"

namespace jet {

/// Keeps the processes that have one database open out of each other's way, by the lock file beside it (".ldb").
///
///   entry k (64 bytes at 64 * k): 32 bytes computer name, of which we use the last eight for a count of the user's commits, 32 bytes user
///   byte 0x10000001 + k: locked by the user of entry k as long as it has the database open; exclusive use locks them all
///   byte 0x20000000: locked by the one who has a transaction with changes open
///   byte 0x20000001: locked shared while reading, exclusively while changes go into the file
///
/// The lock file is made by the first and removed by the last who has the database open.
class Sharing {
 public:
  /// No lock file at all: only for reading where none can be made.
  Sharing() = default;
  /// Errors: kInUse, kReadOnly (no lock file can be made there), kIo.
  Sharing(FileSystem& files, const std::string& databasePath, bool exclusive, int waitMilliseconds);
  ~Sharing();
  Sharing(const Sharing&) = delete;
  Sharing& operator=(const Sharing&) = delete;

  /// True when nobody else can have the database open.
  [[nodiscard]] bool Exclusive() const noexcept { return exclusive_; }

  /// Waits its turn to read; undone by LeaveRead. Errors: kInUse.
  void EnterRead();
  void LeaveRead() noexcept;
  /// Waits its turn to change; undone by LeaveWrite. Errors: kInUse.
  void EnterWrite();
  void LeaveWrite() noexcept;
  /// While in read and write: keeps readers out. False when some are still in after the wait (or at once without waiting).
  [[nodiscard]] bool KeepReadersOut(bool wait);
  /// Back to letting readers in.
  void LetReadersIn() noexcept;

  /// Sum of everybody's commits: when it has changed, pages in memory are stale.
  [[nodiscard]] std::uint64_t CommitCount();
  /// Counts one commit of ours.
  void CountCommit();

  /// The lock file's path for a database: its extension replaced by ".ldb".
  static std::string LockPath(const std::string& databasePath);

 private:
  void TakeEntry(const std::string& databasePath);
  [[nodiscard]] bool WaitForLock(std::uint64_t offset, bool exclusive, int milliseconds);

  FileSystem* files_ = nullptr;
  std::unique_ptr<File> file_;
  std::string path_;
  bool exclusive_ = false;
  int wait_ = 0;
  unsigned entry_ = 0;
};

}  // namespace jet
