#include "jet/file/Sharing.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "base/Case.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"

namespace jet {
namespace {

constexpr std::uint64_t kUserLocks = 0x10000001;
constexpr unsigned kUsers = 255;
constexpr std::uint64_t kWriteLock = 0x20000000;
constexpr std::uint64_t kReadLock = 0x20000001;
constexpr std::uint64_t kPendingLock = 0x20000002;
constexpr std::uint64_t kLineLock = 0x20000003;
constexpr std::uint64_t kPlaceLocks = 0x20000100;
constexpr std::string_view kComputer = "LOCALHOST";
constexpr std::uint64_t kNameLocks = std::uint64_t{1} << 44;
constexpr std::size_t kEntrySize = 64;
constexpr std::size_t kCountOffset = 24;
constexpr std::size_t kWindowSize = 64 * kEntrySize;
constexpr std::size_t kUserOffset = 32;
constexpr std::size_t kNumberOffset = 56;
/// Who opens a file that another one has for itself learns it after this time, however long it would wait for a writer.
constexpr int kLongestWaitToOpen = 2000;

using Clock = std::chrono::steady_clock;

/// Tries until it succeeds or the time is over.
template <typename Attempt>
bool Patiently(Clock::time_point end, Attempt attempt) {
  // A commit is a matter of milliseconds: who looks rarely at first loses more time than the commit takes.
  const auto begin = Clock::now();
  auto pause = std::chrono::microseconds(50);
  while (!attempt()) {
    const auto now = Clock::now();
    if (now >= end) return false;
    std::this_thread::sleep_for(pause);
    const auto longest = now - begin < std::chrono::seconds(1) ? std::chrono::milliseconds(1) : std::chrono::milliseconds(10);
    pause = std::min<std::chrono::microseconds>(pause * 2, longest);
  }
  return true;
}

template <typename Attempt>
bool Patiently(int milliseconds, Attempt attempt) {
  return Patiently(Clock::now() + std::chrono::milliseconds(milliseconds), attempt);
}

}  // namespace

std::string Sharing::LockPath(const std::string& databasePath) {
  const auto slash = databasePath.find_last_of("/\\");
  const auto dot = databasePath.rfind('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return databasePath + ".ldb";
  return databasePath.substr(0, dot) + (IsAceName(databasePath) ? ".laccdb" : ".ldb");
}

bool Sharing::IsAceName(const std::string& databasePath) {
  const std::string name = base::LowerCase(databasePath);
  return name.ends_with(".accdb") || name.ends_with(".accde");
}

void Sharing::RequireName(const std::string& databasePath) {
  // Also where the system tells upper from lower case: the file may be carried to one that does not.
  const std::string name = base::LowerCase(databasePath);
  if (name.ends_with(".ldb") || name.ends_with(".laccdb"))
    throw Error(ErrorCode::kUnsupported, "A database cannot be called \"" + databasePath + "\": that is the name of its own lock file");
}

Sharing::Sharing(FileSystem& files, const std::string& databasePath, File& database, bool exclusive, int waitMilliseconds)
    : files_(&files), path_(LockPath(databasePath)), exclusive_(exclusive), wait_(waitMilliseconds) {
  // The last user may remove the lock file between our opening and locking it: then what we hold is nobody's file, and we begin again.
  for (int attempt = 0; attempt < 100; ++attempt) {
    OpenLockFile(databasePath, database);
    TakeEntry(databasePath);
    if (!file_->IsStillNamed()) continue;
    MeetOthers(databasePath, database);
    if (!exclusive_ && entry_ < kWindowSize / kEntrySize) entries_ = file_->OpenWindow(kWindowSize);
    return;
  }
  throw Error(ErrorCode::kInUse, "\"" + databasePath + "\" is being opened and closed by others all the time");
}

void Sharing::OpenLockFile(const std::string& databasePath, File& database) {
  file_ = files_->OpenBeside(path_, FileMode::kOpenOrCreate, database);
  const std::uint64_t size = file_->Size();
  std::array<std::byte, kComputer.size()> start{};
  const std::size_t count = file_->Read(0, start);
  // One that a power cut has left may have any length, but then it begins as ours do or with nothing.
  const bool ours = count > 0 && std::memcmp(start.data(), kComputer.data(), count) == 0;
  const bool empty = std::all_of(start.begin(), start.end(), [](std::byte b) { return b == std::byte{0}; });
  if (size > kUsers * kEntrySize || (size % kEntrySize != 0 && !ours && !empty)) {
    file_.reset();
    throw Error(ErrorCode::kIo, "\"" + path_ + "\" stands where the lock file of \"" + databasePath + "\" goes and is none: move it away");
  }
}

void Sharing::MeetOthers(const std::string& databasePath, File& database) {
  const std::uint64_t mine = (file_->Identity() * 0x9E3779B97F4A7C15ull) >> 24;  // 40 bits
  const std::uint64_t end = std::uint64_t{1} << 40;
  const auto alone = [&] {
    if (!database.TryLock(kNameLocks + mine, 1, false)) return false;
    if (!database.IsLocked(kNameLocks, mine) && !database.IsLocked(kNameLocks + mine + 1, end - mine - 1)) return true;
    database.Unlock(kNameLocks + mine, 1);
    return false;
  };
  // One who is leaving has removed his lock file a moment before he lets go of the database.
  if (Patiently(std::min(wait_, kLongestWaitToOpen), alone)) return;
  throw Error(ErrorCode::kInUse, "\"" + databasePath + "\" is opened under another name, whose users cannot be seen from here");
}

Sharing::~Sharing() {
  if (!file_) return;
  try {
    // Whoever can lock all users' bytes is the last one.
    if (file_->TryLock(kUserLocks, kUsers, true)) files_->Remove(path_);
  } catch (const Error&) {
    // A lock file that cannot be removed does no harm: locks count, not the file's presence.
  }
}

void Sharing::TakeEntry(const std::string& databasePath) {
  if (exclusive_) {
    if (!file_->TryLock(kUserLocks, kUsers, true))
      throw Error(ErrorCode::kInUse, "\"" + databasePath + "\" is opened by another user: exclusive use is not possible");
    entry_ = 0;
  } else {
    // All entries are taken by an exclusive user, or for a moment by the last one who is removing the lock file.
    const auto takeFree = [&] {
      for (entry_ = 0; entry_ < kUsers; ++entry_)
        if (file_->TryLock(kUserLocks + entry_, 1, true)) return true;
      return false;
    };
    if (!Patiently(std::min(wait_, kLongestWaitToOpen), takeFree))
      throw Error(ErrorCode::kInUse, "\"" + databasePath + "\" is opened exclusively by another user, or by 255 users");
  }
  std::array<std::byte, kEntrySize> entry{};
  const std::size_t had = file_->Read(entry_ * kEntrySize, entry);
  const std::uint64_t count = had == kEntrySize ? Load64(entry.data() + kCountOffset) : 0;
  const std::uint64_t number = had == kEntrySize ? Load64(entry.data() + kNumberOffset) : 0;
  constexpr std::string_view kUser = "Admin";
  entry.fill(std::byte{0});
  std::memcpy(entry.data(), kComputer.data(), kComputer.size());
  std::memcpy(entry.data() + kUserOffset, kUser.data(), kUser.size());
  Store64(entry.data() + kCountOffset, count);
  Store64(entry.data() + kNumberOffset, number);
  file_->Write(entry_ * kEntrySize, entry);
}

// ----- readers

/// Those who wait to read stand aside for a writer who waits for readers to leave; else many readers would keep it waiting for ever.
bool Sharing::TryRead() {
  if (!file_->TryLock(kPendingLock, 1, false)) return false;
  bool entered = false;
  try {
    entered = file_->TryLock(kReadLock, 1, false);
  } catch (...) {
    file_->Unlock(kPendingLock, 1);
    throw;
  }
  file_->Unlock(kPendingLock, 1);
  return entered;
}

void Sharing::EnterRead() {
  if (file_ && !exclusive_ && !Patiently(wait_, [&] { return TryRead(); }))
    throw Error(ErrorCode::kInUse, "The database is being written by another user");
}

void Sharing::LeaveRead() noexcept {
  if (file_ && !exclusive_) file_->Unlock(kReadLock, 1);
}

bool Sharing::TryKeepingReadersOut() {
  if (!pending_) pending_ = file_->TryLock(kPendingLock, 1, true);
  return pending_ && file_->TryLock(kReadLock, 1, true);
}

bool Sharing::KeepReadersOut(bool wait) {
  if (!file_ || exclusive_) return true;
  if (Patiently(wait ? wait_ : 0, [&] { return TryKeepingReadersOut(); })) return true;
  if (std::exchange(pending_, false)) file_->Unlock(kPendingLock, 1);
  return false;
}

void Sharing::LetReadersIn() noexcept {
  if (!file_ || exclusive_) return;
  try {
    // From exclusive to shared there is nothing to wait for.
    if (!file_->TryLock(kReadLock, 1, false)) file_->Unlock(kReadLock, 1);
  } catch (const Error&) {
    file_->Unlock(kReadLock, 1);
  }
  if (std::exchange(pending_, false)) file_->Unlock(kPendingLock, 1);
}

// ----- writers

/// Takes the number after the highest there is, and finds whose that is. Numbers of those who are long through stay in their entries.
Sharing::Ahead Sharing::TakePlace() {
  Ahead ahead;
  std::vector<std::byte> entries(kEntrySize * 16);
  for (std::uint64_t offset = 0;; offset += entries.size()) {
    const std::size_t had = file_->Read(offset, entries);
    for (std::size_t i = 0; i + kEntrySize <= had; i += kEntrySize) {
      const std::uint64_t number = Load64(entries.data() + i + kNumberOffset);
      if (number > ahead.number) ahead = {static_cast<unsigned>((offset + i) / kEntrySize), number};
    }
    if (had < entries.size()) break;
  }
  std::array<std::byte, 8> mine{};
  Store64(mine.data(), ahead.number + 1);
  try {
    file_->Write(entry_ * kEntrySize + kNumberOffset, mine);
  } catch (const Error&) {
    // A number decides about nothing but the order: without it somebody may come beside us, and the lock goes to one of the two.
  }
  if (ahead.entry == entry_) ahead.number = 0;
  return ahead;
}

/// True when the one ahead has left the line: it does not hold its place any more, or stands in another one by now.
bool Sharing::IsThrough(const Ahead& ahead) {
  if (ahead.number == 0) return true;
  if (file_->TryLock(kPlaceLocks + ahead.entry, 1, false)) {
    file_->Unlock(kPlaceLocks + ahead.entry, 1);
    return true;
  }
  std::array<std::byte, 8> number{};
  return file_->Read(ahead.entry * kEntrySize + kNumberOffset, number) == number.size() && Load64(number.data()) != ahead.number;
}

bool Sharing::WriterWaitsForReaders() {
  if (!file_->TryLock(kPendingLock, 1, false)) return true;
  file_->Unlock(kPendingLock, 1);
  return false;
}

void Sharing::EnterWrite(bool reading) {
  if (!file_ || exclusive_) return;
  const auto refuse = [] { throw Error(ErrorCode::kInUse, "The database is being changed by another user"); };
  const auto end = Clock::now() + std::chrono::milliseconds(wait_);
  if (!Patiently(end, [&] { return file_->TryLock(kLineLock, 1, true); })) refuse();
  Ahead ahead;
  bool inLine = false;
  try {
    // Nobody else locks the byte for longer than a look at it.
    inLine = Patiently(end, [&] { return file_->TryLock(kPlaceLocks + entry_, 1, true); });
    if (inLine) ahead = TakePlace();
  } catch (...) {
    file_->Unlock(kLineLock, 1);
    LeaveLine();
    throw;
  }
  file_->Unlock(kLineLock, 1);
  if (!inLine) refuse();
  try {
    bool through = false;
    bool hopeless = false;
    const bool entered = Patiently(end, [&] {
      through = through || IsThrough(ahead);
      if (through && file_->TryLock(kWriteLock, 1, true)) return true;
      hopeless = reading && WriterWaitsForReaders();
      return hopeless;
    });
    if (!entered || hopeless) refuse();
  } catch (...) {
    LeaveLine();
    throw;
  }
}

void Sharing::LeaveLine() noexcept { file_->Unlock(kPlaceLocks + entry_, 1); }

void Sharing::LeaveWrite() noexcept {
  if (!file_ || exclusive_) return;
  file_->Unlock(kWriteLock, 1);
  LeaveLine();
}

// ----- what has been committed

std::uint64_t Sharing::CommitCount() {
  if (!file_ || exclusive_) return 0;
  std::uint64_t sum = 0;
  // Entries are taken from the first on: where the window's last one has never been, there are none behind it. Where our own name is gone,
  // somebody has cut the file.
  if (entries_ && entries_->Number(kWindowSize - kEntrySize) == 0 && entries_->Number(entry_ * kEntrySize) != 0) {
    for (std::size_t offset = kCountOffset; offset < kWindowSize; offset += kEntrySize) sum += entries_->Number(offset);
    return sum;
  }
  std::array<std::byte, kEntrySize * 16> entries;
  for (std::uint64_t offset = 0;; offset += entries.size()) {
    const std::size_t had = file_->Read(offset, entries);
    for (std::size_t i = 0; i + kEntrySize <= had; i += kEntrySize) sum += Load64(entries.data() + i + kCountOffset);
    if (had < entries.size()) return sum;
  }
}

void Sharing::CountCommit() {
  if (!file_ || exclusive_) return;
  std::array<std::byte, 8> count{};
  const std::uint64_t offset = entry_ * kEntrySize + kCountOffset;
  const std::size_t had = file_->Read(offset, count);
  Store64(count.data(), (had == count.size() ? Load64(count.data()) : 0) + 1);
  file_->Write(offset, count);
}

}  // namespace jet
