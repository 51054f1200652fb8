#include "ado/odbc/ValueDecoder.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>
#include <string>

#include "ado/odbc/Diagnostics.h"
#include "ado/odbc/NativeHeaders.h"
#include "ado/odbc/TypeMap.h"
#include "ado/odbc/WideText.h"
#include "runtime/Conversions.h"
#include "runtime/Dates.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

using Form = FetchPlan::Form;
using runtime::Variant;

template <typename T>
T As(const std::byte* data) {
  T value;
  std::memcpy(&value, data, sizeof value);
  return value;
}

FetchPlan Fixed(Form form, std::int16_t nativeType, std::size_t size) { return {form, nativeType, size, 0}; }
/// A text of at most so many characters; 0 when it is to be read in pieces. Four bytes for each character, and the terminator.
FetchPlan Text(Form form, std::int64_t characters, const DriverFacts& facts) {
  const std::size_t unit = facts.narrowIsUtf8 ? 1 : sizeof(char16_t);
  const bool bound = characters > 0 && characters <= kLongestBoundText;
  return {form, facts.narrowIsUtf8 ? std::int16_t{SQL_C_CHAR} : std::int16_t{SQL_C_WCHAR},
          bound ? static_cast<std::size_t>(characters) * 4 + unit : 0, unit};
}

std::string TextOf(const FetchPlan& plan, const std::byte* data, std::size_t length) {
  if (plan.unit == 1) return {reinterpret_cast<const char*>(data), length};
  return ToUtf8(reinterpret_cast<const char16_t*>(data), length / sizeof(char16_t));
}

/// Days since 1899-12-30 of a date of the proleptic Gregorian calendar.
double DaysOf(int year, int month, int day) {
  // Days from civil, counted in years that begin in March so that the leap day is the last one.
  const int shifted = month <= 2 ? year - 1 : year;
  const int era = (shifted >= 0 ? shifted : shifted - 399) / 400;
  const int yearOfEra = shifted - era * 400;
  const int dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const int dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
  return era * 146097.0 + dayOfEra - 693899.0;
}

/// Days with a time of day, which counts forward also before day 0: the fraction of a negative serial is taken off.
runtime::Date SerialOf(double days, double seconds) {
  const double fraction = seconds / 86400.0;
  return {days < 0 ? days - fraction : days + fraction};
}

Variant FromTimestamp(int year, int month, int day, int hour, int minute, int second, double nanoseconds) {
  if (month == 0 || day == 0) return runtime::Null{};  // MySQL's zero date
  if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 24 || minute > 59 || second > 61 || nanoseconds >= 1e9) {
    throw Unbelievable("une date de mois " + std::to_string(month) + ", jour " + std::to_string(day) + ", " + std::to_string(hour) + " h " +
                       std::to_string(minute) + " min " + std::to_string(second) + " s");
  }
  const double seconds = hour * 3600.0 + minute * 60.0 + second + nanoseconds / 1e9;
  return SerialOf(DaysOf(year, month, day), seconds);
}

std::optional<long long> WholeNumber(std::string_view text) {
  long long value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<double> Real(std::string_view text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

Variant CheckedInteger(long long value, std::int16_t type) {
  switch (type) {
    case adUnsignedTinyInt:
      if (value >= 0 && value <= 255) return static_cast<std::uint8_t>(value);
      break;
    case adTinyInt:
    case adSmallInt:
      if (value >= INT16_MIN && value <= INT16_MAX) return static_cast<std::int16_t>(value);
      break;
    case adInteger:
    case adUnsignedSmallInt:
      if (value >= INT32_MIN && value <= INT32_MAX) return static_cast<std::int32_t>(value);
      break;
    default:
      break;
  }
  return static_cast<std::int64_t>(value);
}

/// Ten-thousandths of a plain decimal; digits beyond are rounded, halves to the even neighbour.
Variant CurrencyOf(const std::string& plain) {
  const bool negative = plain.starts_with('-');
  std::string digits;
  std::size_t fraction = 0;
  bool point = false;
  for (const char c : std::string_view(plain).substr(negative ? 1 : 0)) {
    if (c == '.') {
      point = true;
    } else {
      digits.push_back(c);
      if (point) ++fraction;
    }
  }
  while (fraction < 4) {
    digits.push_back('0');
    ++fraction;
  }
  const std::string rest = digits.substr(digits.size() - (fraction - 4));
  digits.resize(digits.size() - (fraction - 4));
  const auto whole = WholeNumber(digits.empty() ? "0" : digits);
  if (!whole) throw runtime::Error(runtime::kOverflow);
  long long value = *whole;
  const bool half = !rest.empty() && rest[0] == '5' && rest.find_first_not_of('0', 1) == std::string::npos;
  if (!rest.empty() && (half ? value % 2 != 0 : rest[0] >= '5')) ++value;
  return runtime::Currency{negative ? -value : value};
}

/// The number that so many digits at the front of text make; -1 when one of them is no digit.
int DigitsOf(std::string_view text, std::size_t digits) {
  int number = 0;
  for (const char c : text.substr(0, digits)) {
    if (c < '0' || c > '9') return -1;
    number = number * 10 + (c - '0');
  }
  return number;
}

/// A date and time to the second in its usual spelling "2003-02-01 13:14:15"; null for any other.
Variant UsualDate(std::string_view text) {
  constexpr std::size_t kLength = 19;
  if (text.size() != kLength || text[4] != '-' || text[7] != '-' || text[10] != ' ' || text[13] != ':' || text[16] != ':') {
    return runtime::Null{};
  }
  const int year = DigitsOf(text, 4);
  const int month = DigitsOf(text.substr(5), 2);
  const int day = DigitsOf(text.substr(8), 2);
  const int hour = DigitsOf(text.substr(11), 2);
  const int minute = DigitsOf(text.substr(14), 2);
  const int second = DigitsOf(text.substr(17), 2);
  if (year < 0 || month < 1 || month > 12 || day < 1 || day > 31 || hour < 0 || minute < 0 || second < 0) return runtime::Null{};
  return SerialOf(DaysOf(year, month, day), hour * 3600 + minute * 60 + second);
}

Variant DateOf(const std::string& text, std::int16_t type) {
  if (Variant usual = UsualDate(text); !usual.IsNull()) return usual;
  // ISO texts are read here for their fraction; anything else is left to the runtime, and what it cannot read stays a text.
  int year = 0, month = 0, day = 0, hour = 0, minute = 0, used = 0;
  double second = 0;
  if (std::sscanf(text.c_str(), "%4d-%2d-%2d%n", &year, &month, &day, &used) == 3 && used == 10 && month >= 1 && month <= 12 && day >= 1 &&
      day <= 31) {
    const std::string_view rest = std::string_view(text).substr(10);
    if (rest.empty()) return runtime::Date{DaysOf(year, month, day)};
    if ((rest[0] == ' ' || rest[0] == 'T') && std::sscanf(text.c_str() + 11, "%2d:%2d:%lf", &hour, &minute, &second) >= 2) {
      return SerialOf(DaysOf(year, month, day), hour * 3600 + minute * 60 + second);
    }
  }
  if (type == adDBTime && std::sscanf(text.c_str(), "%2d:%2d:%lf", &hour, &minute, &second) >= 2) {
    return runtime::Date{(hour * 3600 + minute * 60 + second) / 86400.0};
  }
  if (const auto date = runtime::ParseDate(text)) return *date;
  return text;
}

Variant FromText(const FetchPlan& plan, const FieldInfo& field, std::string text) {
  switch (plan.form) {
    case Form::kDecimalText: {
      std::string plain = PlainDecimal(text);
      if (plain.empty()) return text;
      return runtime::Decimal{std::move(plain)};
    }
    case Form::kCurrencyText: {
      const std::string plain = PlainDecimal(text);
      if (plain.empty()) return text;
      return CurrencyOf(plain);
    }
    case Form::kGuidText: {
      const bool braces = text.starts_with('{');
      return runtime::Guid{runtime::UpperCase(braces ? text : "{" + text + "}")};
    }
    case Form::kBooleanText: {
      if (const auto number = Real(text)) return *number != 0;
      const std::string upper = runtime::UpperCase(text);
      return upper == "T" || upper == "TRUE" || upper == "Y" || upper == "YES";
    }
    case Form::kDateText:
      return DateOf(text, field.type);
    case Form::kTypedIntegerText:
      if (const auto number = WholeNumber(text)) return CheckedInteger(*number, adInteger);
      return text;
    case Form::kTypedDoubleText:
      if (const auto number = Real(text)) return *number;
      return text;
    default:
      return text;
  }
}

}  // namespace

FetchPlan PlanFor(const FieldInfo& field, const DriverFacts& facts) {
  const bool anyValue = facts.backend == Backend::kSqlite;
  switch (field.type) {
    case adBoolean:
      if (anyValue) return Text(Form::kBooleanText, 16, facts);
      // MariaDB's driver 3.1.15, fetching single rows as SQL_C_BIT, gives null for ever once it has given one.
      return Fixed(Form::kBit, facts.backend == Backend::kMySql ? SQL_C_UTINYINT : SQL_C_BIT, 1);
    case adUnsignedTinyInt:
    case adTinyInt:
    case adSmallInt:
    case adUnsignedSmallInt:
    case adInteger:
      if (anyValue) return Fixed(Form::kCheckedInteger, SQL_C_SBIGINT, 8);
      break;
    case adDate:
    case adDBTimeStamp:
    case adDBDate:
    case adDBTime:
      if (anyValue) return Text(Form::kDateText, 40, facts);
      break;
    default:
      break;
  }
  switch (field.type) {
    case adUnsignedTinyInt:
      return Fixed(Form::kUnsignedByte, SQL_C_UTINYINT, 1);
    case adTinyInt:
      return Fixed(Form::kSignedByte, SQL_C_STINYINT, 1);
    case adSmallInt:
      return Fixed(Form::kShort, SQL_C_SSHORT, 2);
    case adUnsignedSmallInt:
      return Fixed(Form::kUnsignedShort, SQL_C_USHORT, 2);
    case adInteger:
      return Fixed(Form::kInteger, SQL_C_SLONG, 4);
    case adUnsignedInt:
      return Fixed(Form::kUnsignedInteger, SQL_C_ULONG, 4);
    case adBigInt:
      return facts.numbersAsText ? Text(Form::kTypedIntegerText, 24, facts) : Fixed(Form::kBigInteger, SQL_C_SBIGINT, 8);
    case adSingle:
      // Never SQL_C_FLOAT: MariaDB's driver 3.1.15 and libsqliteodbc 0.9998 write blocks of it eight bytes apart, beyond the buffer's end.
      return Fixed(Form::kFloat, SQL_C_DOUBLE, 8);
    case adDouble:
      return Fixed(Form::kDouble, SQL_C_DOUBLE, 8);
    case adUnsignedBigInt:
    case adNumeric:
    case adVarNumeric:
      return Text(Form::kDecimalText, 140, facts);
    case adCurrency:
      return Text(Form::kCurrencyText, 40, facts);
    case adGUID:
      return Text(Form::kGuidText, 40, facts);
    case adDate:
    case adDBTimeStamp:
      return Fixed(Form::kTimestamp, SQL_C_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT));
    case adDBDate:
      return Fixed(Form::kDate, SQL_C_TYPE_DATE, sizeof(SQL_DATE_STRUCT));
    case adDBTime:
      return Fixed(Form::kTime, SQL_C_TYPE_TIME, sizeof(SQL_TIME_STRUCT));
    case adBinary:
    case adVarBinary:
      return {Form::kBytes, SQL_C_BINARY,
              field.definedSize > 0 && field.definedSize <= kLongestBoundBytes ? static_cast<std::size_t>(field.definedSize) : 0, 0};
    case adLongVarBinary:
      return {Form::kBytes, SQL_C_BINARY, 0, 0};
    case adLongVarChar:
    case adLongVarWChar:
      return Text(Form::kText, 0, facts);
    default:
      return Text(Form::kText, field.definedSize, facts);
  }
}

FetchPlan PlanForExpression(std::int16_t sqlType, const DriverFacts& facts) {
  switch (sqlType) {
    case SQL_INTEGER:
    case SQL_BIGINT:
    case SQL_SMALLINT:
    case SQL_TINYINT:
      return Text(Form::kTypedIntegerText, 255, facts);
    case SQL_DOUBLE:
    case SQL_FLOAT:
    case SQL_REAL:
      return Text(Form::kTypedDoubleText, 255, facts);
    default:
      return Text(Form::kText, 255, facts);
  }
}

Variant Decode(const FetchPlan& plan, const FieldInfo& field, const std::byte* data, std::size_t length) {
  switch (plan.form) {
    case Form::kText:
      return TextOf(plan, data, length);
    case Form::kInteger:
      return As<std::int32_t>(data);
    case Form::kDouble:
      return As<double>(data);
    case Form::kCheckedInteger:
      return CheckedInteger(As<std::int64_t>(data), field.type);
    case Form::kBit:
      return As<std::uint8_t>(data) != 0;
    case Form::kUnsignedByte:
      return As<std::uint8_t>(data);
    case Form::kSignedByte:
      return static_cast<std::int16_t>(As<std::int8_t>(data));
    case Form::kShort:
      return As<std::int16_t>(data);
    case Form::kUnsignedShort:
      return static_cast<std::int32_t>(As<std::uint16_t>(data));
    case Form::kUnsignedInteger:
      return static_cast<std::int64_t>(As<std::uint32_t>(data));
    case Form::kBigInteger:
      return As<std::int64_t>(data);
    case Form::kFloat:
      return static_cast<float>(As<double>(data));
    case Form::kTimestamp: {
      const auto stamp = As<SQL_TIMESTAMP_STRUCT>(data);
      return FromTimestamp(stamp.year, stamp.month, stamp.day, stamp.hour, stamp.minute, stamp.second, stamp.fraction);
    }
    case Form::kDate: {
      const auto date = As<SQL_DATE_STRUCT>(data);
      return FromTimestamp(date.year, date.month, date.day, 0, 0, 0, 0);
    }
    case Form::kTime: {
      const auto time = As<SQL_TIME_STRUCT>(data);
      return runtime::Date{(time.hour * 3600 + time.minute * 60 + time.second) / 86400.0};
    }
    case Form::kBytes:
      return runtime::Bytes(data, data + length);
    default:
      return FromText(plan, field, TextOf(plan, data, length));
  }
}

std::string PlainDecimal(std::string_view text) {
  text = runtime::Trim(text);
  if (text.find_first_of("eE") != std::string_view::npos) {
    const auto value = Real(text.starts_with('+') ? text.substr(1) : text);
    if (!value || !std::isfinite(*value)) return {};
    std::string digits(400, '\0');
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), *value, std::chars_format::fixed);
    digits.resize(static_cast<std::size_t>(end.ptr - digits.data()));
    return digits;
  }
  std::string out;
  bool digit = false;
  bool point = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '-' && out.empty()) {
      out.push_back('-');
    } else if (c >= '0' && c <= '9') {
      out.push_back(c);
      digit = true;
    } else if (c == '.' && !point) {
      if (!digit) out.push_back('0');
      out.push_back('.');
      point = true;
      digit = true;
    } else if (c != '+' && c != '$' && c != ',') {
      return {};
    }
  }
  if (!out.empty() && out.back() == '.') out.pop_back();
  return digit ? out : std::string();
}

}  // namespace tamlo::ado::odbc
