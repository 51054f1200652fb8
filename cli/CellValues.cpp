#include "cli/CellValues.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <span>

#include "base/Base64.h"
#include "base/Calendar.h"
#include "base/Case.h"
#include "base/FilePath.h"
#include "base/Numbers.h"

namespace tamlo::cli {
namespace {

/// The decimal with exactly so many digits behind the point; nothing where it has more.
std::optional<jet::Numeric> Decimal(const std::string& text, int scale) {
  const auto read = jet::Numeric::Parse(text);
  if (!read) return std::nullopt;
  const auto scaled = read->WithScale(static_cast<std::uint8_t>(scale));
  if (!scaled) return std::nullopt;
  if (read->scale <= scale) return scaled;
  const auto back = scaled->WithScale(read->scale);
  return back && *back == *read ? scaled : std::nullopt;
}

std::optional<std::int64_t> WholeOf(const jet::Numeric& number) {
  constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (number.high != 0 || number.low > kMost + (number.negative ? 1U : 0U)) return std::nullopt;
  return number.negative ? static_cast<std::int64_t>(std::uint64_t{0} - number.low) : static_cast<std::int64_t>(number.low);
}

template <typename Whole>
std::optional<jet::Value> WholeIn(const std::string& text) {
  const auto number = Decimal(text, 0);
  const auto whole = number ? WholeOf(*number) : std::nullopt;
  if (!whole || *whole < std::numeric_limits<Whole>::min() || *whole > std::numeric_limits<Whole>::max()) return std::nullopt;
  return jet::Value(static_cast<Whole>(*whole));
}

std::optional<jet::Value> Amount(const std::string& text) {
  const auto number = Decimal(text, 4);
  const auto whole = number ? WholeOf(*number) : std::nullopt;
  return whole ? std::optional(jet::Value(jet::Currency{*whole})) : std::nullopt;
}

/// As to_chars writes it, infinities and "nan" included.
template <typename Real>
std::optional<Real> RealIn(const std::string& text) {
  Real value = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, problem] = std::from_chars(text.data(), end, value);
  return problem == std::errc() && stopped == end ? std::optional(value) : std::nullopt;
}

std::optional<jet::Value> Truth(const Cell& cell, const Reading& reading) {
  if (cell.text == reading.yes || (cell.kind == Cell::Kind::kTruth && cell.text == "true")) return jet::Value(true);
  if (cell.text == reading.no || (cell.kind == Cell::Kind::kTruth && cell.text == "false")) return jet::Value(false);
  return std::nullopt;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  c = base::AsciiLower(c);
  return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

std::optional<jet::Value> FromHex(std::string_view text) {
  jet::Bytes bytes;
  if (text.size() % 2 != 0) return std::nullopt;
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const int high = HexDigit(text[i]);
    const int low = HexDigit(text[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes.push_back(static_cast<std::byte>(high * 16 + low));
  }
  return jet::Value(std::move(bytes));
}

std::optional<jet::Value> FromBase64(std::string_view text) {
  auto bytes = base::ReadBase64(text);
  return bytes ? std::optional(jet::Value(*std::move(bytes))) : std::nullopt;
}

/// The bytes of a file in a folder. A name that leads out of the folder is none: a text file from elsewhere must not read others.
std::optional<jet::Value> FromFile(const std::string& folder, const std::string& name) {
  const auto relative = base::FilePath(name);
  if (name.empty() || relative.is_absolute() || relative.has_root_path()) return std::nullopt;
  if (std::find(relative.begin(), relative.end(), "..") != relative.end()) return std::nullopt;
  const auto path = base::FilePath(folder) / relative;
  std::error_code ignored;
  std::ifstream file(path, std::ios::binary);
  if (!file || !std::filesystem::is_regular_file(path, ignored)) return std::nullopt;
  const std::string read{std::istreambuf_iterator<char>(file), {}};
  if (file.bad()) return std::nullopt;
  const auto bytes = std::as_bytes(std::span(read));
  return jet::Value(jet::Bytes(bytes.begin(), bytes.end()));
}

/// The parts of a moment while it is read.
struct Parts {
  std::int64_t year = 1899;
  std::int64_t month = 12;
  std::int64_t day = 30;
  std::int64_t hour = 0;
  std::int64_t minute = 0;
  std::int64_t second = 0;
  std::int64_t millisecond = 0;
};

std::optional<double> SerialOf(const Parts& parts) {
  if (!base::IsCivilDay(parts.year, parts.month, parts.day)) return std::nullopt;
  if (parts.hour > 23 || parts.minute > 59 || parts.second > 59) return std::nullopt;
  const auto day = base::DayNumber(parts.year, static_cast<int>(parts.month), static_cast<int>(parts.day));
  const auto ticks = ((parts.hour * 60 + parts.minute) * 60 + parts.second) * 1000 + parts.millisecond;
  return base::JoinDayAndTime(static_cast<double>(day), static_cast<double>(ticks) / 86400000.0);
}

/// Takes up to `most` digits off the front.
std::optional<std::int64_t> TakeDigits(std::string_view& text, std::size_t most) {
  std::size_t count = 0;
  while (count < most && count < text.size() && text[count] >= '0' && text[count] <= '9') ++count;
  const auto number = base::ReadWhole<std::int64_t>(text.substr(0, count));
  text.remove_prefix(count);
  return number;
}

std::optional<std::int64_t> TakeMilliseconds(std::string_view& text) {
  const std::size_t before = text.size();
  const auto number = TakeDigits(text, 3);
  if (!number) return std::nullopt;
  std::int64_t scaled = *number;
  for (std::size_t digits = before - text.size(); digits < 3; ++digits) scaled *= 10;
  return scaled;
}

/// One part that a letter of the format names.
bool TakePart(char letter, std::string_view& text, Parts& parts) {
  const auto into = [&](std::int64_t& part, std::size_t digits) {
    const auto number = TakeDigits(text, digits);
    if (number) part = *number;
    return number.has_value();
  };
  switch (letter) {
    case 'Y':
      return into(parts.year, 4);
    case 'y':
      if (!into(parts.year, 2)) return false;
      parts.year += parts.year < 30 ? 2000 : 1900;
      return true;
    case 'm':
      return into(parts.month, 2);
    case 'd':
      return into(parts.day, 2);
    case 'H':
      return into(parts.hour, 2);
    case 'M':
      return into(parts.minute, 2);
    case 'S':
      return into(parts.second, 2);
    case 'f': {
      const auto number = TakeMilliseconds(text);
      parts.millisecond = number.value_or(0);
      return number.has_value();
    }
    default:
      return false;
  }
}

/// The text as far as the format goes; what is left of it must be nothing.
std::optional<double> ReadBy(std::string_view format, std::string_view text) {
  Parts parts;
  for (std::size_t i = 0; i < format.size(); ++i) {
    if (format[i] == '%' && i + 1 < format.size() && format[i + 1] != '%') {
      if (!TakePart(format[++i], text, parts)) return std::nullopt;
      continue;
    }
    if (format[i] == '%') ++i;
    if (i >= format.size() || !text.starts_with(format[i])) return std::nullopt;
    text.remove_prefix(1);
  }
  return text.empty() ? SerialOf(parts) : std::nullopt;
}

std::optional<jet::Value> Moment(const std::string& text, const Reading& reading) {
  auto serial = ReadMoment(text, reading.dateFormat);
  // What is no day is exported as its number.
  if (!serial) serial = RealIn<double>(text);
  return serial ? std::optional(jet::Value(jet::Date{*serial})) : std::nullopt;
}

template <typename Read>
std::optional<jet::Value> AsValue(const std::optional<Read>& read) {
  return read ? std::optional(jet::Value(*read)) : std::nullopt;
}

}  // namespace

std::optional<double> ReadMoment(std::string_view text, const std::string& format) {
  if (!format.empty()) return ReadBy(format, text);
  for (const char* known :
       {"%Y-%m-%d %H:%M:%S", "%Y-%m-%d", "%Y-%m-%d %H:%M:%S.%f", "%Y-%m-%dT%H:%M:%S", "%Y-%m-%dT%H:%M:%S.%f", "%Y-%m-%d %H:%M"})
    if (const auto serial = ReadBy(known, text)) return serial;
  return std::nullopt;
}

std::optional<jet::Value> ValueOf(const Cell& cell, const jet::ColumnDef& column, const Reading& reading) {
  if (cell.kind == Cell::Kind::kNull) return jet::Value();
  switch (column.type) {
    case jet::ColumnType::kBoolean:
      return Truth(cell, reading);
    case jet::ColumnType::kByte:
      return WholeIn<std::uint8_t>(cell.text);
    case jet::ColumnType::kInteger:
      return WholeIn<std::int16_t>(cell.text);
    case jet::ColumnType::kLong:
      return WholeIn<std::int32_t>(cell.text);
    case jet::ColumnType::kCurrency:
      return Amount(cell.text);
    case jet::ColumnType::kSingle:
      return AsValue(RealIn<float>(cell.text));
    case jet::ColumnType::kDouble:
      return AsValue(RealIn<double>(cell.text));
    case jet::ColumnType::kDate:
      return Moment(cell.text, reading);
    case jet::ColumnType::kText:
    case jet::ColumnType::kMemo:
      return jet::Value(cell.text);
    case jet::ColumnType::kBinary:
    case jet::ColumnType::kOle:
    case jet::ColumnType::kInternal:
      if (reading.bytesFrom) return FromFile(*reading.bytesFrom, cell.text);
      return reading.base64 ? FromBase64(cell.text) : FromHex(cell.text);
    case jet::ColumnType::kGuid:
      return AsValue(jet::Guid::Parse(cell.text));
    case jet::ColumnType::kNumeric: {
      const auto number = Decimal(cell.text, column.scale);
      return number && number->Digits() <= column.precision ? AsValue(number) : std::nullopt;
    }
  }
  return std::nullopt;
}

}  // namespace tamlo::cli
