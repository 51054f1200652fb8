#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "jet/file/FileSystem.h"

namespace jet {

/// Keeps the processes that have one database open out of each other's way, by the lock file beside it (".ldb", of an .accdb ".laccdb").
///
///   entry k (64 bytes at 64 * k): 32 bytes computer name, of which we use the last eight for a count of the user's commits, 32 bytes user
///   byte 0x10000001 + k: locked by the user of entry k as long as it has the database open; exclusive use locks them all
///   byte 0x20000000: locked by the one who has a transaction with changes open
///   byte 0x20000001: locked shared while reading, exclusively while changes go into the file
///   byte 0x20000002: locked exclusively by a writer who waits for the readers to leave: nobody begins to read then
///   byte 0x20000003: locked for the moment of taking a place in the line of writers
///   byte 0x20000100 + k: locked by the user of entry k from taking a place in that line until it has changed what it wanted
///
/// Writers go in the order of their coming: each takes the next number, kept in the last eight bytes of its entry's user name, and waits
/// for the one before it. One who dies or gives up lets the next one through, for the system gives its locks back.
///
/// In the database file itself, far behind its end, each user holds a shared lock on one byte that goes by the identity of the lock file:
/// who finds another byte of that stretch locked has come by another name of the file, to another lock file.
///
/// The lock file is made by the first and removed by the last who has the database open.
class Sharing {
 public:
  /// No lock file at all: only for reading where none can be made.
  Sharing() = default;
  /// databasePath: the real one, so that all who open the file by whatever path meet at one lock file; database: the file, open.
  /// Errors: kInUse (also when it is open under another name, which has another lock file), kReadOnly (no lock file can be made there),
  /// kIo (something else than a lock file has its name, or it is there and may not be written).
  Sharing(FileSystem& files, const std::string& databasePath, File& database, bool exclusive, int waitMilliseconds);
  ~Sharing();
  Sharing(const Sharing&) = delete;
  Sharing& operator=(const Sharing&) = delete;

  /// True when nobody else can have the database open.
  [[nodiscard]] bool Exclusive() const noexcept { return exclusive_; }
  /// How long to wait from now on.
  void SetWait(int milliseconds) noexcept { wait_ = milliseconds; }

  /// Waits its turn to read; undone by LeaveRead. Errors: kInUse.
  void EnterRead();
  void LeaveRead() noexcept;
  /// Waits its turn to change, behind those who came before; undone by LeaveWrite. Errors: kInUse. reading: the caller is in read and
  /// stays in; as a writer who waits for it to leave can never make room, that is kInUse at once.
  void EnterWrite(bool reading = false);
  void LeaveWrite() noexcept;
  /// While in read and write: keeps readers out, new ones from now on. False when some are still in after the wait (or at once without
  /// waiting); new ones may then come again.
  [[nodiscard]] bool KeepReadersOut(bool wait);
  /// Back to letting readers in.
  void LetReadersIn() noexcept;

  /// Sum of everybody's commits: when it has changed, pages in memory are stale.
  [[nodiscard]] std::uint64_t CommitCount();
  /// Counts one commit of ours.
  void CountCommit();

  /// The lock file's path for a database: its extension replaced by ".ldb", that of an .accdb by ".laccdb".
  static std::string LockPath(const std::string& databasePath);
  /// Whether a database of that name is an .accdb (or .accde), whose lock file is called otherwise.
  static bool IsAceName(const std::string& databasePath);
  /// Error kUnsupported for a database that would be its own lock file.
  static void RequireName(const std::string& databasePath);

 private:
  void TakeEntry(const std::string& databasePath);
  void OpenLockFile(const std::string& databasePath, File& database);
  void MeetOthers(const std::string& databasePath, File& database);
  [[nodiscard]] bool TryRead();
  [[nodiscard]] bool TryKeepingReadersOut();
  [[nodiscard]] bool WriterWaitsForReaders();
  /// The one behind whom we stand in the line of writers.
  struct Ahead {
    unsigned entry = 0;
    std::uint64_t number = 0;  ///< 0: nobody
  };
  [[nodiscard]] Ahead TakePlace();
  [[nodiscard]] bool IsThrough(const Ahead& ahead);
  void LeaveLine() noexcept;

  FileSystem* files_ = nullptr;
  std::unique_ptr<File> file_;
  std::unique_ptr<FileWindow> entries_;  ///< the first of them, where the system has such windows
  std::string path_;
  bool exclusive_ = false;
  int wait_ = 0;
  bool pending_ = false;  ///< new readers are kept waiting
  unsigned entry_ = 0;
};

}  // namespace jet
