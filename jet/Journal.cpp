#include "jet/Journal.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <random>

#include "jet/ByteOrder.h"
#include "jet/Error.h"
#include "jet/Mix.h"

namespace jet {
namespace {

constexpr char kMagic[8] = {'J', 'E', 'T', 'J', 'R', 'N', 'L', '1'};
constexpr std::size_t kHeaderSize = 40;
constexpr std::size_t kRecordHeader = 16;
constexpr std::size_t kFlushAt = std::size_t{256} << 10;

}  // namespace

Journal::Journal(FileSystem& files, const std::string& databasePath, std::size_t pageSize)
    : files_(files), databasePath_(databasePath), path_(databasePath + "-journal"), pageSize_(pageSize) {}

std::uint64_t Journal::Sum(PageNumber page, std::span<const std::byte> bytes) const {
  return Mix(nonce_ ^ (std::uint64_t{page} << 17 | page), bytes);
}

void Journal::Start(PageNumber pageCount, File& database) {
  files_.Remove(path_);
  file_ = files_.OpenBeside(path_, FileMode::kCreateNew, database);
  started_ = true;
  std::random_device device;
  nonce_ =
      (std::uint64_t{device()} << 32 | device()) ^ static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  pages_.clear();
  folderSynced_ = false;
  flushed_ = 0;
  buffer_.assign(kHeaderSize, std::byte{0});
  std::memcpy(buffer_.data(), kMagic, sizeof kMagic);
  Store32(buffer_.data() + 8, static_cast<std::uint32_t>(pageSize_));
  Store32(buffer_.data() + 12, pageCount);
  Store64(buffer_.data() + 16, nonce_);
  Store64(buffer_.data() + 32, Mix(0, std::span(buffer_).first(32)));
}

void Journal::Add(PageNumber page, std::span<const std::byte> bytes) {
  const std::size_t at = buffer_.size();
  buffer_.resize(at + kRecordHeader + bytes.size());
  Store32(buffer_.data() + at, page);
  Store64(buffer_.data() + at + 8, Sum(page, bytes));
  std::memcpy(buffer_.data() + at + kRecordHeader, bytes.data(), bytes.size());
  pages_.insert(page);
  if (buffer_.size() >= kFlushAt) Flush();
}

void Journal::Flush() {
  if (buffer_.empty()) return;
  file_->Write(flushed_, buffer_);
  flushed_ += buffer_.size();
  buffer_.clear();
}

void Journal::Sync() {
  Flush();
  file_->Sync();
  ++syncs_;
  if (folderSynced_) return;
  files_.SyncFolder(path_);
  ++syncs_;
  folderSynced_ = true;
}

void Journal::Remove() {
  files_.Remove(path_);
  try {
    files_.SyncFolder(path_);
    ++syncs_;
  } catch (const Error&) {
    // The removal itself has happened, and that is what decides. Nothing better than trying can be done for its lasting.
  }
}

void Journal::Finish() {
  file_.reset();
  Remove();
  started_ = false;
  pages_.clear();
  buffer_.clear();
}

/// What the power cut short was ours, and begins as ours do or with nothing at all. Anything else is somebody's and is not touched.
void Journal::RequireJournal(std::span<const std::byte> start) const {
  const std::size_t count = std::min(start.size(), sizeof kMagic);
  const bool empty = std::all_of(start.begin(), start.begin() + static_cast<std::ptrdiff_t>(count), [](std::byte b) { return b == std::byte{0}; });
  if (!empty && std::memcmp(start.data(), kMagic, count) != 0)
    throw Error(ErrorCode::kIo, "\"" + path_ + "\" stands where the journal of \"" + databasePath_ + "\" goes and is none: move it away");
}

bool Journal::Recover(File& database) {
  file_.reset();
  buffer_.clear();
  pages_.clear();
  std::unique_ptr<File> left;
  try {
    left = files_.OpenBeside(path_, FileMode::kRead, database);
  } catch (const Error& error) {
    if (error.Code() != ErrorCode::kNotFound) throw;
    started_ = false;
    return false;
  }
  std::array<std::byte, kHeaderSize> header{};
  const std::size_t headerSize = left->Read(0, header);
  RequireJournal(std::span(header).first(headerSize));
  const bool whole = headerSize == header.size() && std::memcmp(header.data(), kMagic, sizeof kMagic) == 0 &&
                     Load64(header.data() + 32) == Mix(0, std::span(header).first(32)) && Load32(header.data() + 8) == pageSize_;
  if (whole) {
    const PageNumber pageCount = Load32(header.data() + 12);
    nonce_ = Load64(header.data() + 16);
    std::vector<std::byte> record(kRecordHeader + pageSize_);
    for (std::uint64_t offset = kHeaderSize; left->Read(offset, record) == record.size(); offset += record.size()) {
      const PageNumber page = Load32(record.data());
      const auto bytes = std::span<const std::byte>(record).subspan(kRecordHeader);
      if (page >= pageCount || Load64(record.data() + 8) != Sum(page, bytes)) break;
      database.Write(std::uint64_t{page} * pageSize_, bytes);
    }
    const std::uint64_t length = std::uint64_t{pageCount} * pageSize_;
    if (database.Size() > length) database.Truncate(length);
    database.Sync();
    ++syncs_;
  }
  left.reset();
  Remove();
  started_ = false;
  return whole;
}

}  // namespace jet
