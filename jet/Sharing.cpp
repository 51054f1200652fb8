#include "jet/Sharing.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <string_view>
#include <thread>
#include <vector>

#include "jet/ByteOrder.h"
#include "jet/Error.h"

namespace jet {
namespace {

constexpr std::uint64_t kUserLocks = 0x10000001;
constexpr unsigned kUsers = 255;
constexpr std::uint64_t kWriteLock = 0x20000000;
constexpr std::uint64_t kReadLock = 0x20000001;
constexpr std::size_t kEntrySize = 64;
constexpr std::size_t kCountOffset = 24;
constexpr std::size_t kUserOffset = 32;

/// Tries until it succeeds or the time is over.
template <typename Attempt>
bool Patiently(int milliseconds, Attempt attempt) {
  using Clock = std::chrono::steady_clock;
  const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
  auto pause = std::chrono::microseconds(100);
  while (!attempt()) {
    if (Clock::now() >= end) return false;
    std::this_thread::sleep_for(pause);
    pause = std::min<std::chrono::microseconds>(pause * 2, std::chrono::milliseconds(10));
  }
  return true;
}

}  // namespace

std::string Sharing::LockPath(const std::string& databasePath) {
  const auto slash = databasePath.find_last_of("/\\");
  const auto dot = databasePath.rfind('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return databasePath + ".ldb";
  return databasePath.substr(0, dot) + ".ldb";
}

Sharing::Sharing(FileSystem& files, const std::string& databasePath, bool exclusive, int waitMilliseconds)
    : files_(&files), path_(LockPath(databasePath)), exclusive_(exclusive), wait_(waitMilliseconds) {
  // The last user may remove the lock file between our opening and locking it: then what we hold is nobody's file, and we begin again.
  for (int attempt = 0; attempt < 100; ++attempt) {
    file_ = files.Open(path_, FileMode::kOpenOrCreate);
    TakeEntry(databasePath);
    if (file_->IsStillNamed()) return;
  }
  throw Error(ErrorCode::kInUse, "\"" + databasePath + "\" is being opened and closed by others all the time");
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
    if (!Patiently(wait_, takeFree))
      throw Error(ErrorCode::kInUse, "\"" + databasePath + "\" is opened exclusively by another user, or by 255 users");
  }
  std::array<std::byte, kEntrySize> entry{};
  const std::size_t had = file_->Read(entry_ * kEntrySize, entry);
  std::uint64_t count = had == kEntrySize ? Load64(entry.data() + kCountOffset) : 0;
  constexpr std::string_view kComputer = "LOCALHOST";
  constexpr std::string_view kUser = "Admin";
  entry.fill(std::byte{0});
  std::memcpy(entry.data(), kComputer.data(), kComputer.size());
  std::memcpy(entry.data() + kUserOffset, kUser.data(), kUser.size());
  Store64(entry.data() + kCountOffset, count);
  file_->Write(entry_ * kEntrySize, entry);
}

bool Sharing::WaitForLock(std::uint64_t offset, bool exclusive, int milliseconds) {
  return Patiently(milliseconds, [&] { return file_->TryLock(offset, 1, exclusive); });
}

void Sharing::EnterRead() {
  if (file_ && !exclusive_ && !WaitForLock(kReadLock, false, wait_))
    throw Error(ErrorCode::kInUse, "The database is being written by another user");
}

void Sharing::LeaveRead() noexcept {
  if (file_ && !exclusive_) file_->Unlock(kReadLock, 1);
}

void Sharing::EnterWrite() {
  if (file_ && !exclusive_ && !WaitForLock(kWriteLock, true, wait_))
    throw Error(ErrorCode::kInUse, "The database is being changed by another user");
}

void Sharing::LeaveWrite() noexcept {
  if (file_ && !exclusive_) file_->Unlock(kWriteLock, 1);
}

bool Sharing::KeepReadersOut(bool wait) { return !file_ || exclusive_ || WaitForLock(kReadLock, true, wait ? wait_ : 0); }

void Sharing::LetReadersIn() noexcept {
  if (!file_ || exclusive_) return;
  try {
    // From exclusive to shared there is nothing to wait for.
    if (!file_->TryLock(kReadLock, 1, false)) file_->Unlock(kReadLock, 1);
  } catch (const Error&) {
    file_->Unlock(kReadLock, 1);
  }
}

std::uint64_t Sharing::CommitCount() {
  if (!file_ || exclusive_) return 0;
  std::vector<std::byte> entries(kEntrySize * 16);
  std::uint64_t sum = 0;
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
