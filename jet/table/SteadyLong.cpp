#include "jet/table/SteadyLong.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "base/Utf8.h"
#include "jet/table/TableSpace.h"
#include "jet/page/ReadLock.h"
#include "jet/value/Error.h"
#include "jet/value/Mix.h"
#include "jet/table/TableCore.h"

namespace jet {
namespace {

constexpr std::size_t kGulp = std::size_t{1} << 20;

/// Bytes handed out from a block; text is cut between characters.
std::size_t Give(std::span<const std::byte> held, bool text, std::span<std::byte> buffer) {
  const std::string_view bytes(reinterpret_cast<const char*>(held.data()), held.size());
  const std::size_t count = text ? base::WholeCharacters(bytes, buffer.size()) : std::min(bytes.size(), buffer.size());
  if (count > 0) std::memcpy(buffer.data(), held.data(), count);
  return count;
}

class SteadyReader final : public LongValueReader {
 public:
  SteadyReader(Table& table, RowId id, std::size_t column) : table_(table), id_(id), column_(column) {
    text_ = table.Columns()[column].type == ColumnType::kMemo;
  }

  /// In read. False for a null value.
  bool Start(Row& row) {
    print_ = row.Fingerprint();
    row_ = std::move(row);
    generation_ = Now();
    reader_ = row_.OpenLong(column_);
    if (reader_ == nullptr) return false;
    Gulp();
    return true;
  }

  std::size_t Read(std::span<std::byte> buffer) override {
    if (at_ == held_.size() && !ended_) {
      const ReadLock lock(*table_.Core().space.pager);
      if (generation_ != Now()) FindPlace();
      Gulp();
    }
    const std::size_t count = Give(std::span<const std::byte>(held_).subspan(at_), text_, buffer);
    at_ += count;
    return count;
  }

 private:
  [[nodiscard]] std::uint64_t Now() const { return table_.Core().space.pager->Generation(); }

  void Gulp() {
    at_ = 0;
    // As UTF-8 a text is at most twice as long as it is stored.
    held_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(kGulp, row_.StoredLength(column_) * 2 + 64)));
    std::size_t have = 0;
    while (have + 8 <= held_.size()) {
      const std::size_t count = reader_->Read(std::span(held_).subspan(have));
      if (count == 0) {
        ended_ = true;
        break;
      }
      have += count;
    }
    held_.resize(have);
    sum_ = Mix(sum_, held_);
    ++gulps_;
  }

  void FindPlace() {
    const std::uint64_t sum = sum_;
    const std::uint64_t gulps = gulps_;
    generation_ = Now();
    reader_ = nullptr;
    if (!table_.Read(id_, row_) || row_.Fingerprint() != print_) Refuse();
    reader_ = row_.OpenLong(column_);
    sum_ = gulps_ = 0;
    while (gulps_ < gulps && !ended_) Gulp();
    if (sum_ != sum || ended_) Refuse();
  }

  [[noreturn]] void Refuse() {
    ended_ = true;
    held_.clear();
    at_ = 0;
    throw Error(ErrorCode::kChangedMeanwhile,
                "A long value of the table \"" + table_.Name() + "\" was changed by another user while it was being read");
  }

  Table& table_;
  RowId id_;
  std::size_t column_;
  bool text_ = false;
  bool ended_ = false;
  Row row_;
  std::unique_ptr<LongValueReader> reader_;
  std::vector<std::byte> held_;
  std::size_t at_ = 0;
  std::uint64_t generation_ = 0;
  std::uint64_t print_ = 0;
  std::uint64_t sum_ = 0;
  std::uint64_t gulps_ = 0;
};

class HeldReader final : public LongValueReader {
 public:
  HeldReader(const Value& value, bool text) : text_(text) {
    const auto bytes = text ? std::as_bytes(std::span(value.AsText())) : std::as_bytes(std::span(value.AsBytes()));
    held_.assign(bytes.begin(), bytes.end());
  }
  std::size_t Read(std::span<std::byte> buffer) override {
    const std::size_t count = Give(std::span<const std::byte>(held_).subspan(at_), text_, buffer);
    at_ += count;
    return count;
  }

 private:
  std::vector<std::byte> held_;
  std::size_t at_ = 0;
  bool text_;
};

}  // namespace

std::unique_ptr<LongValueReader> OpenSteadyLong(Table& table, RowId id, std::size_t column, const Table::RowTest& isMeant, bool* found) {
  const ReadLock lock(*table.Core().space.pager);
  Row row;
  const bool there = table.Read(id, row) && (!isMeant || isMeant(row));
  if (found != nullptr) *found = there;
  if (!there) return nullptr;
  auto reader = std::make_unique<SteadyReader>(table, id, column);
  if (!reader->Start(row)) return nullptr;
  return reader;
}

std::unique_ptr<LongValueReader> OpenHeldLong(const Value& value) {
  if (value.IsNull()) return nullptr;
  return std::make_unique<HeldReader>(value, value.Type() == ValueType::kText);
}

}  // namespace jet
