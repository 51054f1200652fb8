#include "jet/table/Row.h"

#include <cstring>
#include <optional>

#include "jet/table/TableSpace.h"
#include "jet/value/AceTypes.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"
#include "jet/table/LongValue.h"
#include "jet/value/Mix.h"
#include "jet/table/StoredValue.h"
#include "jet/table/SteadyLong.h"
#include "jet/table/TableCore.h"
#include "jet/value/Text.h"

namespace jet {
namespace {

using Column = TableDefinition::Column;

using Shape = TableDefinition::Shape;

/// Around the value of a calculated column.
constexpr std::size_t kCalculatedHead = 20;
constexpr std::size_t kCalculatedTail = 3;
constexpr std::size_t kCalculatedLength = 16;

bool IsWrapped(const Column& column) { return column.shape == Shape::kCalculated || column.shape == Shape::kCalculatedNumber; }

/// The value of a calculated column; none where its bytes cannot be one.
std::optional<std::span<const std::byte>> Unwrapped(std::span<const std::byte> stored) {
  if (stored.size() < kCalculatedHead + kCalculatedTail) return std::nullopt;
  const std::size_t length = Load32(stored.data() + kCalculatedLength);
  if (length > stored.size() - kCalculatedHead - kCalculatedTail) return std::nullopt;
  return stored.subspan(kCalculatedHead, length);
}

std::size_t FixedSize(const Column& column) {
  if (column.shape == Shape::kPlain || column.shape == Shape::kComplex) return FixedLength(column.type);
  return column.shape == Shape::kBigInteger ? sizeof(std::int64_t) : column.shape == Shape::kExtendedDate ? ExtendedDate::kSize : 0;
}

}  // namespace

// Jet 3 rows have offsets of one byte and, past 255 bytes, a table of the first columns of each further 256 bytes.
//
//   u8 N, fixed part, variable data, u8 end and offsets (backwards), jumps (backwards), u8 V, mask
static bool VariableExtentOfJet3(const std::byte* row, std::size_t size, std::size_t maskOffset, unsigned variableCount, unsigned index,
                                 std::size_t& begin, std::size_t& end) {
  unsigned jumps = static_cast<unsigned>((size - 1) / 256);
  if (maskOffset < 2u + jumps + variableCount + 1) return false;
  const std::size_t lastOffset = maskOffset - 2 - jumps;  // of variable column 0
  const std::size_t firstJump = maskOffset - 2;
  unsigned usable = jumps;
  if ((lastOffset - variableCount) / 256 < jumps) --usable;  // the last one is a filler
  const auto offsetOf = [&](unsigned i) {
    std::size_t offset = Load8(row + lastOffset - i);
    for (unsigned j = 0; j < usable; ++j)
      if (Load8(row + firstJump - j) <= i) offset += 256;
    return offset;
  };
  begin = offsetOf(index);
  end = offsetOf(index + 1);
  return begin <= end && end <= lastOffset - variableCount;
}

Row::Place Row::LocateStored(std::size_t position) const {
  const Column& column = table_->layout_.columns[position];
  const auto damaged = [&](const char* text) -> Error { return {ErrorCode::kDamaged, text, dataPage_, dataOffset_}; };
  const bool jet3 = table_->layout_.jet3;
  std::size_t begin = 0;
  std::size_t end = 0;
  if (column.IsFixed()) {
    begin = table_->layout_.CountSize() + column.fixedOffset;
    end = begin + column.length;
    if (end > tableOffset_) throw damaged("A row is too short for its columns");
  } else if (jet3) {
    if (!VariableExtentOfJet3(bytes_, size_, maskOffset_, variableCount_, column.variableIndex, begin, end))
      throw damaged("A row's columns overlap");
  } else {
    // tableOffset_ is where the entry of the end of data lies; the entry of column 0 is the last one, before V.
    const std::byte* entry = bytes_ + maskOffset_ - 4 - 2u * column.variableIndex;
    begin = Load16(entry);
    end = Load16(entry - 2);
    if (begin > end || end > tableOffset_ || begin < 2) throw damaged("A row's columns overlap");
  }
  if (end - begin < FixedSize(column)) throw damaged("A value is too short for its type");
  return {bytes_ + begin, end - begin};
}

Row::Place Row::Locate(std::size_t position) const {
  const Column& column = table_->layout_.columns[position];
  const Place place = LocateStored(position);
  if (!IsWrapped(column) || column.IsLong()) return place;
  const auto value = Unwrapped({place.data, place.size});
  const std::size_t least = column.shape == Shape::kCalculatedNumber ? kCalculatedNumericSize : FixedLength(column.type);
  if (!value || (!value->empty() && value->size() < least))
    throw Error(ErrorCode::kDamaged, "A calculated value is too short", dataPage_, dataOffset_);
  return {value->data(), value->size()};
}

std::string Row::CalculatedLong(std::size_t position) const {
  const Place place = Locate(position);
  std::string bytes;
  if (place.size == 0) return bytes;
  AppendLongBytes(*table_->space.pager, LongValueDefinition::Parse({place.data, place.size}, dataPage_, dataOffset_), dataPage_,
                  dataOffset_, bytes);
  const auto value = Unwrapped(std::as_bytes(std::span(bytes)));
  if (!value) throw Error(ErrorCode::kDamaged, "A calculated value is too short", dataPage_, dataOffset_);
  return {reinterpret_cast<const char*>(value->data()), value->size()};
}

bool Row::IsNull(std::size_t position) const {
  const Column& column = table_->layout_.columns[position];
  if (column.type == ColumnType::kBoolean) return false;
  if (IsAbsent(position)) return true;
  return IsWrapped(column) && (column.IsLong() ? CalculatedLong(position).empty() : Locate(position).size == 0);
}

bool Row::IsAbsent(std::size_t position) const {
  const Column& column = table_->layout_.columns[position];
  if (column.number >= columnCount_) return true;
  if ((Load8(bytes_ + maskOffset_ + column.number / 8) >> (column.number % 8) & 1) == 0) return true;
  return !column.IsFixed() && column.variableIndex >= variableCount_;
}

bool Row::Bool(std::size_t position) const {
  const Column& column = table_->layout_.columns[position];
  if (column.shape == Shape::kCalculated) {
    if (IsAbsent(position)) return false;
    const Place place = Locate(position);
    return place.size != 0 && Load8(place.data) != 0;
  }
  return column.number < columnCount_ && (Load8(bytes_ + maskOffset_ + column.number / 8) >> (column.number % 8) & 1) != 0;
}

std::int64_t Row::Integer(std::size_t position) const {
  const Column& column = table_->layout_.columns[position];
  if (column.type == ColumnType::kBoolean) return Bool(position) ? -1 : 0;
  if (IsNull(position)) return 0;
  const Place place = Locate(position);
  switch (column.type) {
    case ColumnType::kByte:
      return Load8(place.data);
    case ColumnType::kInteger:
      return LoadLittle<std::int16_t>(place.data);
    case ColumnType::kLong:
      return LoadLittle<std::int32_t>(place.data);
    case ColumnType::kCurrency:
      return LoadLittle<std::int64_t>(place.data);
    default:
      return 0;
  }
}

double Row::Real(std::size_t position) const {
  const Column& column = table_->layout_.columns[position];
  switch (column.type) {
    case ColumnType::kBoolean:
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong:
      return static_cast<double>(Integer(position));
    case ColumnType::kCurrency:
      return static_cast<double>(Integer(position)) / 10000;
    default:
      break;
  }
  if (IsNull(position)) return 0;
  const Place place = Locate(position);
  switch (column.type) {
    case ColumnType::kSingle:
      return LoadLittle<float>(place.data);
    case ColumnType::kDouble:
    case ColumnType::kDate:
      return LoadLittle<double>(place.data);
    case ColumnType::kNumeric:
      return NumericIn(column, place.data).ToDouble();
    default:
      return 0;
  }
}

std::string_view Row::Text(std::size_t position) {
  const Column& column = table_->layout_.columns[position];
  if (texts_.size() < table_->layout_.columns.size()) texts_.resize(table_->layout_.columns.size());
  std::string& text = texts_[position];
  text.clear();
  if (!column.IsText() || IsNull(position)) return text;
  const Place place = Locate(position);
  const std::span<const std::byte> stored(place.data, place.size);
  const std::uint16_t codePage = table_->space.CodePage();
  if (column.shape == Shape::kExtendedDate) {
    const auto date = ExtendedDate::Load(stored);
    if (!date) throw Error(ErrorCode::kDamaged, "An extended date is none", dataPage_, dataOffset_);
    text = date->Text();
    return text;
  }
  if (column.shape == Shape::kCalculatedNumber) {
    text = NumericIn(column, place.data).Text();
    return text;
  }
  if (column.shape == Shape::kCalculated && column.IsLong()) {
    const std::string wrapped = CalculatedLong(position);
    AppendStoredText(std::as_bytes(std::span(wrapped)), text);
    return text;
  }
  if (column.type == ColumnType::kText) {
    if (codePage != 0)
      AppendAnsi(stored, codePage, text);
    else
      AppendStoredText(stored, text);
    return text;
  }
  if (place.size == 0) return text;
  AppendLongText(*table_->space.pager, LongValueDefinition::Parse(stored, dataPage_, dataOffset_), codePage, dataPage_, dataOffset_, text);
  return text;
}

std::span<const std::byte> Row::Blob(std::size_t position) {
  const Column& column = table_->layout_.columns[position];
  if (IsNull(position)) return {};
  const Place place = Locate(position);
  if (!column.IsLong() || place.size == 0) return {place.data, place.size};
  if (texts_.size() < table_->layout_.columns.size()) texts_.resize(table_->layout_.columns.size());
  std::string& bytes = texts_[position];
  bytes.clear();
  AppendLongBytes(*table_->space.pager, LongValueDefinition::Parse({place.data, place.size}, dataPage_, dataOffset_), dataPage_,
                  dataOffset_, bytes);
  return std::as_bytes(std::span(bytes));
}

void Row::Get(std::size_t position, Value& value) {
  const Column& column = table_->layout_.columns[position];
  if (IsNull(position)) {
    value.SetNull();
    return;
  }
  switch (column.type) {
    case ColumnType::kBoolean:
      value = Value(Bool(position));
      return;
    case ColumnType::kByte:
      value = Value(static_cast<std::uint8_t>(Integer(position)));
      return;
    case ColumnType::kInteger:
      value = Value(static_cast<std::int16_t>(Integer(position)));
      return;
    case ColumnType::kLong:
      value = Value(static_cast<std::int32_t>(Integer(position)));
      return;
    case ColumnType::kCurrency:
      value = Value(Currency{Integer(position)});
      return;
    case ColumnType::kSingle:
      value = Value(LoadLittle<float>(Locate(position).data));
      return;
    case ColumnType::kDouble:
      value = Value(LoadLittle<double>(Locate(position).data));
      return;
    case ColumnType::kDate:
      value = Value(Date{LoadLittle<double>(Locate(position).data)});
      return;
    case ColumnType::kText:
    case ColumnType::kMemo:
      value.SetText(Text(position));
      return;
    case ColumnType::kGuid:
      value = Value(LoadGuid(Locate(position).data));
      return;
    case ColumnType::kNumeric:
      value = Value(NumericIn(column, Locate(position).data));
      return;
    default:
      break;
  }
  const auto bytes = Blob(position);
  value.SetBytes(bytes.data(), bytes.size());
}

Value Row::Get(std::size_t position) {
  Value value;
  Get(position, value);
  return value;
}

std::uint64_t Row::StoredLength(std::size_t position) const {
  if (table_->layout_.columns[position].type == ColumnType::kBoolean || IsNull(position)) return 0;
  const Place place = Locate(position);
  if (!table_->layout_.columns[position].IsLong() || place.size == 0) return place.size;
  return LongValueDefinition::Parse({place.data, place.size}, dataPage_, dataOffset_).length;
}

std::uint64_t Row::Fingerprint(std::span<const std::size_t> columns) const {
  std::uint64_t print = columns.size();
  for (const std::size_t column : columns) {
    if (table_->layout_.columns[column].type == ColumnType::kBoolean) {
      print = print * 31 + (Bool(column) ? 2 : 1);
    } else if (IsNull(column)) {
      print = print * 31 + 3;
    } else {
      const Place place = Locate(column);
      print = Mix(print ^ place.size, {place.data, place.size});
    }
  }
  return print;
}

std::uint64_t Row::Fingerprint() const { return Mix(size_, {bytes_, size_}); }

std::unique_ptr<LongValueReader> Row::OpenLong(std::size_t position) {
  const Column& column = table_->layout_.columns[position];
  if (!column.IsLong() || IsNull(position)) return nullptr;
  if (column.shape == Shape::kCalculated) return OpenHeldLong(Get(position));
  const Place place = Locate(position);
  LongValueDefinition definition;
  if (place.size > 0) definition = LongValueDefinition::Parse({place.data, place.size}, dataPage_, dataOffset_);
  return OpenLongValue(*table_->space.pager, definition, column.type == ColumnType::kMemo, table_->space.CodePage(), dataPage_,
                       dataOffset_);
}

}  // namespace jet
