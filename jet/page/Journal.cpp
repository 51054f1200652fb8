#include "jet/page/Journal.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <map>
#include <random>
#include <unordered_map>

#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"
#include "jet/value/Mix.h"

namespace jet {
namespace {

constexpr char kMagic[8] = {'J', 'E', 'T', 'J', 'R', 'N', 'L', '2'};
constexpr std::size_t kMagicStem = 7;  // the last one tells the edition
constexpr std::size_t kSector = 512;
constexpr std::uint32_t kOldPage = 0;
constexpr std::uint32_t kNewPage = 1;
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

void Journal::Append(PageNumber page, std::uint32_t kind, std::span<const std::byte> bytes) {
  const std::size_t at = buffer_.size();
  buffer_.resize(at + kRecordHeader + bytes.size());
  Store32(buffer_.data() + at, page);
  Store32(buffer_.data() + at + 4, kind);
  Store64(buffer_.data() + at + 8, Sum(page, bytes) + kind);
  std::memcpy(buffer_.data() + at + kRecordHeader, bytes.data(), bytes.size());
  if (buffer_.size() >= kFlushAt) Flush();
}

void Journal::Add(PageNumber page, std::span<const std::byte> bytes) {
  Append(page, kOldPage, bytes);
  pages_.insert(page);
}

void Journal::AddNew(PageNumber page, std::span<const std::byte> bytes) {
  std::vector<std::byte> sums(bytes.size() / kSector * sizeof(std::uint64_t));
  for (std::size_t i = 0; i * kSector < bytes.size(); ++i)
    Store64(sums.data() + i * sizeof(std::uint64_t), Mix(nonce_, bytes.subspan(i * kSector, kSector)));
  Append(page, kNewPage, sums);
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
  const std::size_t count = std::min(start.size(), kMagicStem);
  const bool empty =
      std::all_of(start.begin(), start.begin() + static_cast<std::ptrdiff_t>(count), [](std::byte b) { return b == std::byte{0}; });
  if (!empty && std::memcmp(start.data(), kMagic, count) != 0)
    throw Error(ErrorCode::kIo, "\"" + path_ + "\" stands where the journal of \"" + databasePath_ + "\" goes and is none: move it away");
}

/// What a journal says that is whole.
struct Journal::Left {
  PageNumber pageCount = 0;
  PageNumber newCount = 0;  ///< pages that the transaction may have made the file have
  bool tellsNew = false;
  std::map<PageNumber, std::uint64_t> old;                          ///< where in the journal the bytes are
  std::unordered_map<PageNumber, std::vector<std::uint64_t>> sums;  ///< of all sectors in turn, for each time that it was written
};

Journal::Left Journal::Read(File& journal, std::span<const std::byte> header) {
  Left left;
  left.pageCount = left.newCount = Load32(header.data() + 12);
  left.tellsNew = header[kMagicStem] == static_cast<std::byte>(kMagic[kMagicStem]);
  nonce_ = Load64(header.data() + 16);
  const std::size_t sumsSize = pageSize_ / kSector * sizeof(std::uint64_t);
  std::vector<std::byte> record(kRecordHeader + pageSize_);
  for (std::uint64_t offset = kHeaderSize;;) {
    if (journal.Read(offset, std::span(record).first(kRecordHeader)) < kRecordHeader) return left;
    const PageNumber page = Load32(record.data());
    const std::uint32_t kind = Load32(record.data() + 4);
    if (kind > kNewPage || (kind == kOldPage && page >= left.pageCount)) return left;
    const auto bytes = std::span(record).subspan(kRecordHeader, kind == kOldPage ? pageSize_ : sumsSize);
    if (journal.Read(offset + kRecordHeader, bytes) < bytes.size() || Load64(record.data() + 8) != Sum(page, bytes) + kind) return left;
    offset += kRecordHeader + bytes.size();
    if (kind == kOldPage) {
      left.old.try_emplace(page, offset - bytes.size());
    } else {
      left.newCount = std::max(left.newCount, page + 1);
      for (std::size_t at = 0; at < bytes.size(); at += sizeof(std::uint64_t)) left.sums[page].push_back(Load64(bytes.data() + at));
    }
  }
}

void Journal::RefuseForeign(const std::string& what) const {
  throw Error(
      ErrorCode::kDamaged,
      "Another program has written \"" + databasePath_ + "\" (" + what + ") since a transaction of ours was left half written in it; its " +
          "old pages are in \"" + path_ + "\". Nothing was changed. Either what the other program wrote is wanted: then move the " +
          "journal away and let the database be checked and repaired. Or the state before the transaction is: then put the database " +
          "back as it was before the other program came, beside this journal, or take a backup without the journal");
}

/// Sector by sector: our own writes may have been torn.
void Journal::RequireOurOwn(File& database, File& journal, const Left& left) const {
  if (!left.tellsNew) return;
  const std::uint64_t size = database.Size();
  if (size < std::uint64_t{left.pageCount} * pageSize_) RefuseForeign("it is shorter");
  if (size > std::uint64_t{left.newCount} * pageSize_) RefuseForeign("it is longer");
  std::vector<std::byte> now(pageSize_);
  std::vector<std::byte> old(pageSize_);
  for (const auto& [page, where] : left.old) {
    if (journal.Read(where, old) < pageSize_) throw Error(ErrorCode::kIo, "\"" + path_ + "\" became shorter while it was being read");
    if (database.Read(std::uint64_t{page} * pageSize_, now) < pageSize_) RefuseForeign("it is shorter");
    const auto known = left.sums.find(page);
    for (std::size_t at = 0; at < pageSize_; at += kSector) {
      const auto sector = std::span<const std::byte>(now).subspan(at, kSector);
      if (std::equal(sector.begin(), sector.end(), old.begin() + static_cast<std::ptrdiff_t>(at))) continue;
      bool ours = false;
      const std::uint64_t sum = Mix(nonce_, sector);
      if (known != left.sums.end())
        for (std::size_t i = at / kSector; i < known->second.size(); i += pageSize_ / kSector) ours = ours || known->second[i] == sum;
      if (!ours) RefuseForeign("page " + std::to_string(page));
    }
  }
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
  const bool whole = headerSize == header.size() && Load64(header.data() + 32) == Mix(0, std::span(header).first(32)) &&
                     Load32(header.data() + 8) == pageSize_;
  if (whole) {
    const Left found = Read(*left, header);
    RequireOurOwn(database, *left, found);
    std::vector<std::byte> bytes(pageSize_);
    for (const auto& [page, where] : found.old) {
      if (left->Read(where, bytes) < pageSize_) throw Error(ErrorCode::kIo, "\"" + path_ + "\" became shorter while it was being read");
      database.Write(std::uint64_t{page} * pageSize_, bytes);
    }
    const std::uint64_t length = std::uint64_t{found.pageCount} * pageSize_;
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
