#include "jet/table/TableDefinition.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <unordered_set>

#include "jet/page/Format.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"
#include "jet/value/Text.h"

namespace jet {
namespace {

constexpr std::size_t kPageHeader = 8;
/// Where Jet 4 counts free bytes on a page of a definition, Jet 3 has "VC".
constexpr std::uint16_t kJet3Mark = 0x4356;
constexpr std::size_t kLongestStream = std::size_t{1} << 20;  // 255 columns and 32 indexes need a tenth of it

/// Reads fields off the stream; running over its end is damage.
class Reader {
 public:
  Reader(PageNumber page, const std::vector<std::byte>& stream) : page_(page), stream_(stream) {}

  const std::byte* Take(std::size_t size) {
    if (stream_.size() - at_ < size)
      throw Error(ErrorCode::kDamaged, "A table definition ends too early", page_, static_cast<std::uint32_t>(at_));
    const std::byte* bytes = stream_.data() + at_;
    at_ += size;
    return bytes;
  }
  std::uint8_t U8() { return Load8(Take(1)); }
  std::uint16_t U16() { return Load16(Take(2)); }
  std::uint32_t U32() { return Load32(Take(4)); }
  template <std::size_t kSize>
  void Copy(std::array<std::uint8_t, kSize>& target) {
    std::memcpy(target.data(), Take(kSize), kSize);
  }
  [[nodiscard]] bool AtEnd() const noexcept { return at_ >= stream_.size(); }
  [[nodiscard]] std::size_t Position() const noexcept { return at_; }
  /// A number of things of so many bytes each must fit in what is left.
  std::size_t Count(std::uint32_t count, std::size_t size, std::size_t limit, const char* what) {
    if (count > limit || std::uint64_t{count} * size > stream_.size() - at_)
      throw Error(ErrorCode::kDamaged, std::string("A table definition has too many ") + what, page_, static_cast<std::uint32_t>(at_));
    return count;
  }

 private:
  PageNumber page_;
  const std::vector<std::byte>& stream_;
  std::size_t at_ = 0;
};

std::vector<std::byte> ReadStream(PageStore& store, PageNumber first, std::vector<PageNumber>& pages) {
  std::vector<std::byte> stream;
  std::unordered_set<PageNumber> seen;
  std::size_t length = 0;
  for (PageNumber number = first; number != 0;) {
    const PageRef page = store.Read(number);
    const auto bytes = page.Bytes();
    if (Load8(bytes.data()) != 2) throw Error(ErrorCode::kDamaged, "A table definition is expected here", number, 0);
    if (!seen.insert(number).second) throw Error(ErrorCode::kDamaged, "A table definition runs in circles", number, 4);
    pages.push_back(number);
    if (number == first) {
      length = Load32(bytes.data() + 8);
      if (length > kLongestStream) throw Error(ErrorCode::kDamaged, "A table definition is impossibly long", number, 8);
    }
    const auto part = number == first ? bytes : bytes.subspan(kPageHeader);
    stream.insert(stream.end(), part.begin(), part.end());
    if (stream.size() >= length) break;
    number = Load32(bytes.data() + 4);
  }
  if (stream.size() < length) throw Error(ErrorCode::kDamaged, "A table definition ends too early", first, 8);
  return stream;
}

class Parser {
 public:
  Parser(PageStore& store, PageNumber page, std::uint16_t codePage)
      : page_(page),
        codePage_(codePage),
        jet3_(Format::Of(store.PageSize()).IsJet3()),
        stream_(ReadStream(store, page, result_.pages)),
        reader_(page, stream_) {}

  TableDefinition Parse() {
    if (jet3_) result_.codePage = codePage_;
    ReadHeader();
    ReadTreeCounts();
    ReadColumns();
    ReadTrees();
    ReadIndexes();
    ReadLongMaps();
    Validate();
    return std::move(result_);
  }

 private:
  std::string Name() {
    const std::size_t size = jet3_ ? reader_.U8() : reader_.U16();
    const std::span<const std::byte> bytes(reader_.Take(size), size);
    std::string name;
    if (jet3_)
      AppendAnsi(bytes, codePage_, name);
    else
      AppendUtf16(bytes, name);
    return name;
  }

  void ReadHeader() {
    reader_.Take(kPageHeader + 4);
    if (!jet3_) result_.magic = reader_.U32();
    result_.rowCount = reader_.U32();
    result_.autoNumber = reader_.U32();
    if (!jet3_) {
      result_.autoNumberFlag = reader_.U8();
      reader_.Copy(result_.unknown);
    }
    result_.tableType = reader_.U8();
    result_.maxColumns = reader_.U16();
    result_.variableColumns = reader_.U16();
    const std::uint16_t columns = reader_.U16();
    const std::uint32_t indexes = reader_.U32();
    const std::uint32_t trees = reader_.U32();
    result_.ownedMap = reader_.U32();
    result_.freeMap = reader_.U32();
    result_.trees.resize(reader_.Count(trees, jet3_ ? 47 : 64, 1000, "trees"));
    result_.columns.resize(reader_.Count(columns, jet3_ ? 19 : 27, TableDefinition::kMaxColumns, "columns"));
    result_.indexes.resize(reader_.Count(indexes, jet3_ ? 21 : 30, 1000, "indexes"));
  }

  void ReadTreeCounts() {
    for (auto& tree : result_.trees) {
      tree.counts[0] = reader_.U32();
      tree.counts[1] = reader_.U32();
      if (!jet3_) tree.counts[2] = reader_.U32();
    }
  }

  void ReadJet3Words(TableDefinition::Column& column) {
    column.codePage = codePage_;
    if (column.type == ColumnType::kNumeric) {
      reader_.Copy(column.sort);
      column.unknown[0] = reader_.U8();
      column.unknown[1] = reader_.U8();
      return;
    }
    for (auto& byte : {&column.unknown[0], &column.unknown[1], &column.sort[0], &column.sort[1], &column.unknown[2], &column.unknown[3]})
      *byte = reader_.U8();
  }

  void ReadColumns() {
    for (auto& column : result_.columns) {
      column.type = static_cast<ColumnType>(reader_.U8());
      if (!jet3_) column.magic = reader_.U32();
      column.number = reader_.U16();
      column.variableIndex = reader_.U16();
      column.numberAgain = reader_.U16();
      if (jet3_)
        ReadJet3Words(column);
      else
        reader_.Copy(column.sort);
      column.flags = reader_.U8();
      if (!jet3_) {
        column.extraFlags = reader_.U8();
        reader_.Copy(column.unknown);
      }
      column.fixedOffset = reader_.U16();
      column.length = reader_.U16();
    }
    for (auto& column : result_.columns) column.name = Name();
    if (jet3_ && !result_.columns.empty()) result_.orderMark = Load16(std::as_bytes(std::span(result_.columns[0].unknown)).data());
  }

  void ReadTrees() {
    for (auto& tree : result_.trees) {
      if (!jet3_) tree.magic = reader_.U32();
      for (auto& column : tree.columns) {
        column.number = reader_.U16();
        column.order = reader_.U8();
      }
      tree.ownedMap = reader_.U32();
      tree.root = reader_.U32();
      if (!jet3_) tree.unknown = reader_.U32();
      tree.flags = reader_.U8();
      if (!jet3_) reader_.Copy(tree.tail);
    }
  }

  void ReadIndexes() {
    for (auto& index : result_.indexes) {
      if (!jet3_) index.magic = reader_.U32();
      index.number = reader_.U32();
      index.tree = reader_.U32();
      index.side = reader_.U8();
      index.partnerIndex = static_cast<std::int32_t>(reader_.U32());
      index.partnerTable = reader_.U32();
      index.cascadeUpdates = reader_.U8();
      index.cascadeDeletes = reader_.U8();
      index.type = reader_.U8();
      if (!jet3_) index.unknown = reader_.U32();
    }
    for (auto& index : result_.indexes) index.name = Name();
  }

  void ReadLongMaps() {
    while (!reader_.AtEnd()) {
      const std::uint16_t column = reader_.U16();
      if (column == TableDefinition::kNoColumn) break;
      if (result_.longMaps.size() >= TableDefinition::kMaxColumns) Fail("A table definition has too many long columns");
      TableDefinition::LongMaps maps;
      maps.column = column;
      maps.ownedMap = reader_.U32();
      maps.freeMap = reader_.U32();
      result_.longMaps.push_back(maps);
    }
  }

  void Validate() {
    if (result_.maxColumns > 4 * TableDefinition::kMaxColumns || result_.variableColumns > result_.maxColumns)
      Fail("A table definition has impossible column counts");
    std::unordered_set<std::uint16_t> numbers;
    for (const auto& column : result_.columns) {
      if (column.number >= result_.maxColumns || !numbers.insert(column.number).second)
        Fail("A column of a table definition has an impossible number");
      if (!column.IsFixed() && column.type != ColumnType::kBoolean && column.variableIndex >= result_.variableColumns)
        Fail("A column of a table definition has an impossible place");
    }
    for (const auto& index : result_.indexes)
      if (index.tree >= result_.trees.size()) Fail("An index of a table definition has no tree");
    for (const auto& tree : result_.trees)
      for (const auto& column : tree.columns)
        if (column.number != TableDefinition::kNoColumn && numbers.count(column.number) == 0)
          Fail("An index of a table definition names a column that is not there");
  }

  [[noreturn]] void Fail(const char* text) {
    throw Error(ErrorCode::kDamaged, text, page_, static_cast<std::uint32_t>(std::min<std::size_t>(reader_.Position(), 0xFFFFFFFF)));
  }

  PageNumber page_;
  std::uint16_t codePage_;
  bool jet3_;
  TableDefinition result_;
  std::vector<std::byte> stream_;
  Reader reader_;
};

class Writer {
 public:
  void U8(std::uint8_t value) { bytes_.push_back(static_cast<std::byte>(value)); }
  void U16(std::uint16_t value) { Store16(Grow(2), value); }
  void U32(std::uint32_t value) { Store32(Grow(4), value); }
  template <std::size_t kSize>
  void Copy(const std::array<std::uint8_t, kSize>& source) {
    std::memcpy(Grow(kSize), source.data(), kSize);
  }
  void Name(const std::string& name, std::uint16_t codePage) {
    const std::string stored = codePage != 0 ? NameInCodePage(name, codePage) : ToUtf16(name);
    if (codePage != 0)
      U8(static_cast<std::uint8_t>(stored.size()));
    else
      U16(static_cast<std::uint16_t>(stored.size()));
    std::memcpy(Grow(stored.size()), stored.data(), stored.size());
  }
  std::byte* Grow(std::size_t size) {
    bytes_.resize(bytes_.size() + size);
    return bytes_.data() + bytes_.size() - size;
  }
  std::vector<std::byte>& Bytes() { return bytes_; }

 private:
  std::vector<std::byte> bytes_;
};

void WriteColumn(Writer& writer, const TableDefinition::Column& column) {
  writer.U8(static_cast<std::uint8_t>(column.type));
  writer.U32(column.magic);
  writer.U16(column.number);
  writer.U16(column.variableIndex);
  writer.U16(column.numberAgain);
  writer.Copy(column.sort);
  writer.U8(column.flags);
  writer.U8(column.extraFlags);
  writer.Copy(column.unknown);
  writer.U16(column.fixedOffset);
  writer.U16(column.length);
}

void WriteJet3Column(Writer& writer, const TableDefinition::Column& column) {
  writer.U8(static_cast<std::uint8_t>(column.type));
  writer.U16(column.number);
  writer.U16(column.variableIndex);
  writer.U16(column.numberAgain);
  const auto& [word, wordHigh, page, pageHigh] = column.unknown;
  const bool numeric = column.type == ColumnType::kNumeric;
  if (numeric) writer.Copy(column.sort);
  writer.U8(word);
  writer.U8(wordHigh);
  if (!numeric)
    for (const std::uint8_t byte : {column.sort[0], column.sort[1], page, pageHigh}) writer.U8(byte);
  writer.U8(column.flags);
  writer.U16(column.fixedOffset);
  writer.U16(column.length);
}

void WriteTree(Writer& writer, const TableDefinition::Tree& tree, bool jet3) {
  if (!jet3) writer.U32(tree.magic);
  for (const auto& column : tree.columns) {
    writer.U16(column.number);
    writer.U8(column.order);
  }
  writer.U32(tree.ownedMap);
  writer.U32(tree.root);
  if (!jet3) writer.U32(tree.unknown);
  writer.U8(tree.flags);
  if (!jet3) writer.Copy(tree.tail);
}

void WriteIndex(Writer& writer, const TableDefinition::Index& index, bool jet3) {
  if (!jet3) writer.U32(index.magic);
  writer.U32(index.number);
  writer.U32(index.tree);
  writer.U8(index.side);
  writer.U32(static_cast<std::uint32_t>(index.partnerIndex));
  writer.U32(index.partnerTable);
  writer.U8(index.cascadeUpdates);
  writer.U8(index.cascadeDeletes);
  writer.U8(index.type);
  if (!jet3) writer.U32(index.unknown);
}

/// What Jet 4 says of a page that has so many bytes of the stream behind its header.
std::uint16_t FreeBytes(std::size_t pageSize, std::size_t part) {
  const std::size_t used = 2 * kPageHeader + part;
  return static_cast<std::uint16_t>(used < pageSize ? pageSize - used : 0);
}

}  // namespace

TableDefinition TableDefinition::Read(PageStore& store, PageNumber page, std::uint16_t codePage) {
  return Parser(store, page, codePage).Parse();
}

std::vector<std::byte> TableDefinition::Encode() const {
  const bool jet3 = IsJet3();
  Writer writer;
  writer.U32(0x00000102);
  writer.U32(0);
  writer.U32(0);
  if (!jet3) writer.U32(magic);
  writer.U32(rowCount);
  writer.U32(autoNumber);
  if (!jet3) {
    writer.U8(autoNumberFlag);
    writer.Copy(unknown);
  }
  writer.U8(tableType);
  writer.U16(maxColumns);
  writer.U16(variableColumns);
  writer.U16(static_cast<std::uint16_t>(columns.size()));
  writer.U32(static_cast<std::uint32_t>(indexes.size()));
  writer.U32(static_cast<std::uint32_t>(trees.size()));
  writer.U32(ownedMap);
  writer.U32(freeMap);
  for (const auto& tree : trees)
    for (const auto count : std::span(tree.counts).first(jet3 ? 2 : 3)) writer.U32(count);
  for (const auto& column : columns) jet3 ? WriteJet3Column(writer, column) : WriteColumn(writer, column);
  for (const auto& column : columns) writer.Name(column.name, codePage);
  for (const auto& tree : trees) WriteTree(writer, tree, jet3);
  for (const auto& index : indexes) WriteIndex(writer, index, jet3);
  for (const auto& index : indexes) writer.Name(index.name, codePage);
  for (const auto& maps : longMaps) {
    writer.U16(maps.column);
    writer.U32(maps.ownedMap);
    writer.U32(maps.freeMap);
  }
  writer.U16(kNoColumn);
  auto& bytes = writer.Bytes();
  Store32(bytes.data() + 8, static_cast<std::uint32_t>(bytes.size()));
  return bytes;
}

void TableDefinition::Write(PageStore& store) {
  const auto stream = Encode();
  const std::size_t pageSize = store.PageSize();
  std::size_t needed = 1;
  for (std::size_t room = pageSize; room < stream.size(); room += pageSize - kPageHeader) ++needed;
  while (pages.size() < needed) pages.push_back(store.Allocate().Number());
  while (pages.size() > needed) {
    store.Free(pages.back());
    pages.pop_back();
  }
  std::size_t at = 0;
  for (std::size_t i = 0; i < pages.size(); ++i) {
    const PageRef page = store.Edit(pages[i]);
    const auto bytes = page.Writable();
    const std::size_t header = i == 0 ? 0 : kPageHeader;
    const std::size_t part = std::min(stream.size() - at, pageSize - header);
    std::memcpy(bytes.data() + header, stream.data() + at, part);
    std::memset(bytes.data() + header + part, 0, pageSize - header - part);
    at += part;
    Store16(bytes.data(), 0x0102);
    Store16(bytes.data() + 2, IsJet3() ? kJet3Mark : FreeBytes(pageSize, i == 0 ? part - kPageHeader : part));
    Store32(bytes.data() + 4, i + 1 < pages.size() ? pages[i + 1] : 0);
  }
}

const TableDefinition::Column* TableDefinition::FindByNumber(std::uint16_t number) const noexcept {
  for (const auto& column : columns)
    if (column.number == number) return &column;
  return nullptr;
}

const TableDefinition::LongMaps* TableDefinition::FindLongMaps(std::uint16_t number) const noexcept {
  for (const auto& maps : longMaps)
    if (maps.column == number) return &maps;
  return nullptr;
}

std::size_t TableDefinition::FixedSize() const noexcept {
  std::size_t size = 0;
  for (const auto& column : columns)
    if (column.IsFixed() && column.type != ColumnType::kBoolean) size = std::max<std::size_t>(size, column.fixedOffset + column.length);
  return size;
}

}  // namespace jet
