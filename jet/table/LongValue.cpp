#include "jet/table/LongValue.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/Utf16.h"
#include "base/Utf8.h"
#include "jet/value/ByteOrder.h"
#include "jet/page/DataPage.h"
#include "jet/value/Error.h"
#include "jet/value/Text.h"
#include "jet/page/UsageMap.h"

namespace jet {
namespace {

constexpr std::uint32_t kLengthMask = 0x3FFFFFFF;
constexpr unsigned kRoomWorthTrying = 128;
constexpr int kPagesTried = 8;

std::span<const std::byte> Piece(PageStore& store, PackedPointer where, PageRef& page) {
  const RowId id = Unpack(where);
  page = store.Read(id.page);
  const DataPage data(page);
  if (data.Owner() != DataPage::kLongValueOwner)
    throw Error(ErrorCode::kDamaged, "A long value lies on a page of another kind", id.page, 4);
  const auto row = data.RowBytes(id.slot);
  if ((data.Slot(id.slot) & DataPage::kDeletedFlags) != 0)
    throw Error(ErrorCode::kDamaged, "A long value has been deleted", id.page,
                static_cast<std::uint32_t>(data.HeaderSize() + 2u * id.slot));
  return row;
}

/// Plain texts are turned to UTF-8 piece by piece.
class TextReader final : public LongValueReader {
 public:
  TextReader(LongValueStream stream, std::uint16_t codePage) : stream_(std::move(stream)), codePage_(codePage) {}

  std::size_t Read(std::span<std::byte> buffer) override {
    while (at_ == ready_.size() && Refill()) {
    }
    const std::size_t count = base::WholeCharacters(std::string_view(ready_).substr(at_), buffer.size());
    std::memcpy(buffer.data(), ready_.data() + at_, count);
    at_ += count;
    return count;
  }

 private:
  bool Refill() {
    if (ended_) return false;
    ready_.clear();
    at_ = 0;
    auto piece = stream_.Next();
    if (codePage_ != 0) {
      ended_ = piece.empty();
      AppendAnsi(piece, codePage_, ready_);
      return !ended_;
    }
    raw_.insert(raw_.end(), piece.begin(), piece.end());
    if (raw_.size() >= 2 && !begun_) {
      begun_ = true;
      compressed_ = Load16(raw_.data()) == 0xFEFF;
    }
    if (piece.empty() || (compressed_ && raw_.size() >= stream_.Length())) {
      ended_ = true;
      if (compressed_)
        AppendStoredText(raw_, ready_);
      else
        AppendUtf16(raw_, ready_);
      raw_.clear();
      return !ready_.empty();
    }
    if (compressed_) return true;  // short by nature: decoded when whole
    std::size_t usable = raw_.size() & ~std::size_t{1};
    if (usable >= 2 && base::IsFirstHalf(Load16(raw_.data() + usable - 2))) usable -= 2;
    AppendUtf16(std::span<const std::byte>(raw_).first(usable), ready_);
    raw_.erase(raw_.begin(), raw_.begin() + static_cast<std::ptrdiff_t>(usable));
    return true;
  }

  LongValueStream stream_;
  std::uint16_t codePage_;
  std::string ready_;
  std::size_t at_ = 0;
  Bytes raw_;
  bool begun_ = false;
  bool compressed_ = false;
  bool ended_ = false;
};

class BytesReader final : public LongValueReader {
 public:
  explicit BytesReader(LongValueStream stream) : stream_(std::move(stream)) {}

  std::size_t Read(std::span<std::byte> buffer) override {
    std::size_t done = 0;
    while (done < buffer.size()) {
      if (piece_.empty()) piece_ = stream_.Next();
      if (piece_.empty()) break;
      const std::size_t part = std::min(piece_.size(), buffer.size() - done);
      std::memcpy(buffer.data() + done, piece_.data(), part);
      piece_ = piece_.subspan(part);
      done += part;
    }
    return done;
  }

 private:
  LongValueStream stream_;
  std::span<const std::byte> piece_;
};

}  // namespace

LongValueDefinition LongValueDefinition::Parse(std::span<const std::byte> stored, PageNumber page, std::uint32_t offset) {
  if (stored.size() < kSize) throw Error(ErrorCode::kDamaged, "The definition of a long value is too short", page, offset);
  LongValueDefinition definition;
  const std::uint32_t head = Load32(stored.data());
  definition.length = head & kLengthMask;
  definition.first = Load32(stored.data() + 4);
  switch (head >> 30) {
    case 2:
      definition.kind = Kind::kInline;
      break;
    case 1:
      definition.kind = Kind::kSinglePage;
      break;
    case 0:
      definition.kind = Kind::kChain;
      break;
    default:
      throw Error(ErrorCode::kDamaged, "A long value is of no known kind", page, offset);
  }
  if (definition.kind == Kind::kInline) {
    if (definition.length > stored.size() - kSize) throw Error(ErrorCode::kDamaged, "A long value is longer than its row", page, offset);
    definition.inlineBytes = stored.subspan(kSize, definition.length);
  }
  return definition;
}

LongValueStream::LongValueStream(PageStore& store, const LongValueDefinition& definition, PageNumber page, std::uint32_t offset)
    : store_(store), definition_(definition), next_(definition.first), left_(definition.length) {
  if (definition.kind != LongValueDefinition::Kind::kInline && std::uint64_t{left_} > std::uint64_t{store.PageCount()} * store.PageSize())
    throw Error(ErrorCode::kDamaged, "A long value is longer than the file", page, offset);
}

std::span<const std::byte> LongValueStream::Next() {
  if (left_ == 0) return {};
  if (definition_.kind == LongValueDefinition::Kind::kInline) {
    left_ = 0;
    return definition_.inlineBytes;
  }
  if (next_ == 0) throw Error(ErrorCode::kDamaged, "A long value ends too early", page_ ? page_.Number() : 0, 0);
  const RowId id = Unpack(next_);
  auto data = Piece(store_, next_, page_);
  if (definition_.kind == LongValueDefinition::Kind::kSinglePage) {
    if (data.size() < left_) throw Error(ErrorCode::kDamaged, "A long value is shorter than its row says", id.page, 0);
    next_ = 0;
  } else {
    // Each piece brings at least one byte of a length that is less than the file's, so a circle comes to an end.
    if (data.size() <= 4) throw Error(ErrorCode::kDamaged, "A piece of a long value is empty", id.page, 0);
    next_ = Load32(data.data());
    data = data.subspan(4);
  }
  data = data.first(std::min<std::size_t>(data.size(), left_));
  left_ -= static_cast<std::uint32_t>(data.size());
  return data;
}

void AppendLongBytes(PageStore& store, const LongValueDefinition& definition, PageNumber page, std::uint32_t offset, std::string& bytes) {
  LongValueStream stream(store, definition, page, offset);
  bytes.reserve(bytes.size() + definition.length);
  for (auto piece = stream.Next(); !piece.empty(); piece = stream.Next())
    bytes.append(reinterpret_cast<const char*>(piece.data()), piece.size());
}

void AppendLongText(PageStore& store, const LongValueDefinition& definition, std::uint16_t codePage, PageNumber page, std::uint32_t offset,
                    std::string& text) {
  const auto decode = [&](std::span<const std::byte> bytes) {
    if (codePage != 0)
      AppendAnsi(bytes, codePage, text);
    else
      AppendStoredText(bytes, text);
  };
  if (definition.kind != LongValueDefinition::Kind::kChain) {
    LongValueStream stream(store, definition, page, offset);
    decode(stream.Next());
    return;
  }
  std::string raw;
  AppendLongBytes(store, definition, page, offset, raw);
  decode(std::as_bytes(std::span(raw)));
}

std::unique_ptr<LongValueReader> OpenLongValue(PageStore& store, const LongValueDefinition& definition, bool text, std::uint16_t codePage,
                                               PageNumber page, std::uint32_t offset) {
  LongValueStream stream(store, definition, page, offset);
  if (text) return std::make_unique<TextReader>(std::move(stream), codePage);
  return std::make_unique<BytesReader>(std::move(stream));
}

void LongValuePages::Free(const LongValueDefinition& definition) {
  if (definition.kind == LongValueDefinition::Kind::kInline) return;
  std::uint64_t pieces = 0;
  for (PackedPointer where = definition.first; where != 0;) {
    const RowId id = Unpack(where);
    PageRef page;
    const auto data = Piece(store_, where, page);
    if (++pieces > std::uint64_t{store_.PageCount()} * DataPage::kMaxSlots)
      throw Error(ErrorCode::kDamaged, "A long value runs in circles", id.page, 0);
    // Pages of long values do not say whose they are: what another column keeps there must not go because a pointer went wrong.
    if (!UsageMap(store_, ownedMap_).Contains(id.page))
      throw Error(ErrorCode::kDamaged, "A long value lies on a page of another column", id.page, 0);
    where = definition.kind == LongValueDefinition::Kind::kChain && data.size() >= 4 ? Load32(data.data()) : 0;
    page = store_.Edit(id.page);
    DataPageEditor editor(page);
    editor.Delete(id.slot);
    if (editor.Empty()) {
      UsageMap(store_, ownedMap_).Remove(id.page);
      if (freeMap_ != 0) UsageMap(store_, freeMap_).Remove(id.page);
      store_.Free(id.page);
    } else if (freeMap_ != 0 && editor.FreeBytes() >= kRoomWorthTrying) {
      UsageMap(store_, freeMap_).Add(id.page);
    }
  }
}

PackedPointer LongValuePages::StoreOnNewPage(std::span<const std::byte> row) {
  const PageRef page = store_.Allocate();
  auto editor = DataPageEditor::Format(page, DataPage::kLongValueOwner);
  const unsigned slot = editor.Add(row);
  UsageMap(store_, ownedMap_).Add(page.Number());
  if (freeMap_ != 0 && editor.FreeBytes() >= kRoomWorthTrying) UsageMap(store_, freeMap_).Add(page.Number());
  return Pack({page.Number(), static_cast<std::uint8_t>(slot)});
}

PackedPointer LongValuePages::Store(std::span<const std::byte> row) {
  if (freeMap_ == 0) return StoreOnNewPage(row);
  UsageMap map(store_, freeMap_);
  auto candidate = map.NextFrom(0, store_.PageCount());
  UsageMap owned(store_, ownedMap_);
  for (int tried = 0; candidate && tried < kPagesTried; ++tried) {
    if (!owned.Contains(*candidate)) {  // nobody would know whose the value is
      candidate = map.NextFrom(*candidate + 1, store_.PageCount());
      continue;
    }
    PageRef page = store_.Edit(*candidate);
    DataPageEditor editor(page);
    if (editor.Owner() != DataPage::kLongValueOwner)
      throw Error(ErrorCode::kDamaged, "A page listed for long values is of another kind", *candidate, 4);
    const bool fits = editor.Fits(row.size());
    const unsigned slot = fits ? editor.Add(row) : 0;
    if (editor.FreeBytes() < kRoomWorthTrying || editor.SlotCount() >= DataPage::kMaxSlots) map.Remove(*candidate);
    if (fits) return Pack({*candidate, static_cast<std::uint8_t>(slot)});
    // What cannot take a value of middling size is not worth being tried for the next one either.
    if (row.size() < 1024) map.Remove(*candidate);
    candidate = map.NextFrom(*candidate + 1, store_.PageCount());
  }
  return StoreOnNewPage(row);
}

void LongValueWriter::Append(std::span<const std::byte> bytes) {
  const std::size_t longest = pages_.Layout().longOnePage;
  const std::size_t piece = pages_.Layout().longPiece;
  length_ += bytes.size();
  while (!bytes.empty()) {
    const std::size_t part = std::min(bytes.size(), longest + 1 - buffer_.size());
    buffer_.insert(buffer_.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(part));
    bytes = bytes.subspan(part);
    if (buffer_.size() <= longest) return;
    StorePiece(std::span<const std::byte>(buffer_).first(piece));
    buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(piece));
  }
}

void LongValueWriter::Discard() {
  LongValueDefinition stored;
  stored.kind = LongValueDefinition::Kind::kChain;
  stored.first = std::exchange(first_, 0);
  pages_.Free(stored);
}

void LongValueWriter::StorePiece(std::span<const std::byte> data) {
  Bytes row(4 + data.size());
  std::memcpy(row.data() + 4, data.data(), data.size());
  const PackedPointer where = pages_.StoreOnNewPage(row);
  if (first_ == 0) {
    first_ = where;
  } else {
    const RowId previous = Unpack(last_);
    const PageRef page = pages_.store_.Edit(previous.page);
    Store32(DataPageEditor(page).Writable(previous.slot).data(), where);
  }
  last_ = where;
}

std::string LongValueWriter::Finish() {
  if (length_ > kLengthMask) throw Error(ErrorCode::kLimit, "A value is longer than 1 gigabyte");
  std::string stored(LongValueDefinition::kSize, '\0');
  auto kind = LongValueDefinition::Kind::kChain;
  if (first_ == 0 && length_ <= LongValuePages::kInlineLimit && (allowInline_ || length_ == 0)) {
    kind = LongValueDefinition::Kind::kInline;
    stored.append(reinterpret_cast<const char*>(buffer_.data()), buffer_.size());
  } else if (first_ == 0 && pages_.freeMap_ != 0 && length_ <= pages_.Layout().longOnePage) {
    kind = LongValueDefinition::Kind::kSinglePage;
    first_ = pages_.Store(buffer_);
  } else {
    const std::size_t piece = pages_.Layout().longPiece;
    for (std::size_t at = 0; at < buffer_.size(); at += piece)
      StorePiece(std::span<const std::byte>(buffer_).subspan(at).first(std::min(piece, buffer_.size() - at)));
  }
  auto* head = reinterpret_cast<std::byte*>(stored.data());
  Store32(head, static_cast<std::uint32_t>(length_) | static_cast<std::uint32_t>(kind) << 30);
  Store32(head + 4, first_);
  return stored;
}

}  // namespace jet
