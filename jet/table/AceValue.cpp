#include "jet/table/AceValue.h"

#include <cmath>
#include <optional>

#include "base/Calendar.h"
#include "jet/value/AceTypes.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Conversion.h"
#include "jet/value/Error.h"

namespace jet {
namespace {

using Column = TableDefinition::Column;
using Shape = TableDefinition::Shape;

/// Beyond it neighbouring whole numbers are one Double: what was meant cannot be known.
constexpr double kLastExact = 9007199254740992.0;

std::optional<std::int64_t> WholeOf(const Value& value) {
  switch (value.Type()) {
    case ValueType::kText: {
      const auto read = ReadAs(ColumnType::kNumeric, value.AsText(), TextSettings());
      return read ? WholeOf(*read) : std::nullopt;
    }
    case ValueType::kNumeric:
      return WholeNumber(value.AsNumeric());
    case ValueType::kCurrency: {
      const std::int64_t scaled = value.AsCurrency().scaled;
      return scaled % 10000 == 0 ? std::optional(scaled / 10000) : std::nullopt;
    }
    default:
      break;
  }
  const auto real = AsReal(value);
  if (!real || !(std::fabs(*real) <= kLastExact) || *real != std::trunc(*real)) return std::nullopt;
  return static_cast<std::int64_t>(*real);
}

/// A date of a whole second, as dates of the other type are shown and given.
std::optional<ExtendedDate> MomentOf(Date date) {
  constexpr double kNothing = 1e-9;  // days: below what a serial of our time can tell from a second
  if (!(date.serial > static_cast<double>(base::kFirstDay) - 1 && date.serial < static_cast<double>(base::kLastDay) + 1))
    return std::nullopt;
  const auto [day, seconds] = base::SplitSerial(date.serial, base::kSecondsADay);
  const double whole = base::JoinDayAndTime(static_cast<double>(day), static_cast<double>(seconds) / base::kSecondsADay);
  if (std::fabs(whole - date.serial) > kNothing || day > base::kLastDay) return std::nullopt;
  constexpr std::int64_t kTicksASecond = 10000000;
  return ExtendedDate{day - base::DayNumber(1, 1, 1), seconds * kTicksASecond};
}

std::optional<Value> Converted(const Value& value, const Column& column) {
  if (column.shape == Shape::kBigInteger) {
    const auto whole = WholeOf(value);
    return whole ? std::optional(Value(NumericOf(*whole))) : std::nullopt;
  }
  std::optional<ExtendedDate> date;
  if (value.Type() == ValueType::kText) date = ExtendedDate::Parse(value.AsText());
  if (value.Type() == ValueType::kDate) date = MomentOf(value.AsDate());
  return date ? std::optional(Value(date->Text())) : std::nullopt;
}

}  // namespace

bool IsAceValue(const Column& column) noexcept { return column.shape == Shape::kBigInteger || column.shape == Shape::kExtendedDate; }

const Value& ConvertToAce(const Value& value, const Column& column, Value& scratch) {
  auto converted = Converted(value, column);
  if (!converted)
    throw Error(ErrorCode::kTypeMismatch, "The value " + value.Describe() + " does not suit the column \"" + column.name + "\"");
  scratch = std::move(*converted);
  return scratch;
}

void StoreAceValue(const Value& value, const Column& column, std::string& stored) {
  if (column.shape == Shape::kBigInteger) {
    stored.resize(sizeof(std::int64_t));
    StoreLittle(reinterpret_cast<std::byte*>(stored.data()), WholeNumber(value.AsNumeric()).value());
    return;
  }
  const auto bytes = ExtendedDate::Parse(value.AsText()).value().Stored();
  stored.assign(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

}  // namespace jet
