#include "ado/odbc/values/ValueDecoder.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string>

#include "ado/odbc/driver/Diagnostics.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/driver/WideText.h"
#include "ado/odbc/values/Moment.h"
#include "ado/odbc/values/TypeMap.h"
#include "base/Numbers.h"
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

std::string TextOf(const FetchPlan& plan, const std::byte* data, std::size_t length) {
  if (plan.unit == 1) return {reinterpret_cast<const char*>(data), length};
  return ToUtf8(reinterpret_cast<const char16_t*>(data), length / sizeof(char16_t));
}

struct TimeOfDay {
  int hour = 0;
  int minute = 0;
  int second = 0;
  std::uint32_t nanoseconds = 0;
};

/// MariaDB's zero date and days that no Date holds are texts; what no server has is a driver's invention.
Variant FromTimestamp(Moment moment, const TimeOfDay& time) {
  if (moment.month < 0 || moment.month > 12 || moment.day < 0 || moment.day > 31 || time.hour > 24 || time.minute > 59 ||
      time.second > 61 || time.nanoseconds >= 1'000'000'000) {
    throw Unbelievable("une date de mois " + std::to_string(moment.month) + ", jour " + std::to_string(moment.day) + ", " +
                       std::to_string(time.hour) + " h " + std::to_string(time.minute) + " min " + std::to_string(time.second) + " s");
  }
  moment.microseconds = ((time.hour * 60LL + time.minute) * 60 + time.second) * 1'000'000 + time.nanoseconds / 1000;
  if (const auto date = DateOfMoment(moment)) return *date;
  return std::string(MomentText(moment, 6).Text());
}

std::optional<long long> WholeNumber(std::string_view text) { return base::ReadWhole<long long>(text); }

std::optional<double> Real(std::string_view text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (end != text.data() + text.size()) return std::nullopt;
  // SQLite writes the infinite as 9.0e+999; what is too small for a double cannot come from one.
  if (error == std::errc::result_out_of_range && text.find("e+") != std::string_view::npos) {
    return text.starts_with('-') ? -std::numeric_limits<double>::infinity() : std::numeric_limits<double>::infinity();
  }
  if (error != std::errc()) return std::nullopt;
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

/// Ten-thousandths of a plain decimal; one with more digits than an amount has, before the point or behind it, stays a decimal.
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
  const auto whole = WholeNumber((negative ? "-" : "") + (digits.empty() ? "0" : digits));
  if (!whole || rest.find_first_not_of('0') != std::string::npos) return runtime::Decimal{plain};
  return runtime::Currency{*whole};
}

Variant GuidOf(std::string_view text);
bool TruthOf(std::string_view text);

/// A text that no server writes for a day or a time stays one: it is never guessed at.
Variant MomentValue(std::string_view text) {
  if (const auto moment = ReadMoment(text)) {
    if (const auto date = DateOfMoment(*moment)) return *date;
  }
  return text;
}

Variant RealOf(double value, std::int16_t type) {
  if (type == adSingle && (std::isnan(value) || static_cast<double>(static_cast<float>(value)) == value)) return static_cast<float>(value);
  return value;
}

/// The division that the server has made, which is right to the last bit on both sides.
double FromTenThousandths(long long scaled) { return static_cast<double>(scaled) / 1e4; }

/// The fewest digits that give the number again.
std::string DigitsOf(std::string_view digits) {
  const auto number = WholeNumber(digits) ? std::nullopt : Real(digits);
  return number ? base::ShortestText(*number) : std::string(digits);
}

/// A number that SQLite holds in a column of any type.
Variant NumberOf(std::string_view digits, std::int16_t type) {
  if (type == adDouble) {
    if (const auto number = Real(digits)) return *number;
  }
  const auto whole = WholeNumber(digits);
  switch (type) {
    case adBoolean:
      if (whole) return *whole != 0;
      break;
    case adSingle:
      if (const auto number = Real(digits)) return RealOf(*number, type);
      break;
    case adCurrency:
      if (const std::string plain = PlainDecimal(digits); !plain.empty()) return CurrencyOf(plain);
      break;
    case adNumeric:
    case adVarNumeric:
    case adUnsignedBigInt:
      if (std::string plain = PlainDecimal(digits); !plain.empty()) return runtime::Decimal{std::move(plain)};
      break;
    case adBigInt:
    case adTinyInt:
    case adUnsignedTinyInt:
    case adSmallInt:
    case adUnsignedSmallInt:
    case adInteger:
    case adUnsignedInt:
      if (whole) return CheckedInteger(*whole, type);
      break;
    case adDate:
    case adDBDate:
    case adDBTime:
    case adDBTimeStamp:
      return DigitsOf(digits);
    default:
      if (whole) return CheckedInteger(*whole, adInteger);
      break;
  }
  if (const auto number = Real(digits)) return type == adBoolean ? Variant(*number != 0) : Variant(*number);
  return digits;
}

std::optional<runtime::Bytes> BytesOfHex(std::string_view hex) {
  const auto digit = [](char c) { return c >= '0' && c <= '9' ? c - '0' : c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1; };
  runtime::Bytes bytes;
  bytes.reserve(hex.size() / 2);
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    if (digit(hex[i]) < 0 || digit(hex[i + 1]) < 0) return std::nullopt;
    bytes.push_back(static_cast<std::byte>(digit(hex[i]) * 16 + digit(hex[i + 1])));
  }
  return bytes;
}

/// A text between single quotes, those inside doubled.
std::string Unquoted(std::string_view literal) {
  std::string text;
  for (std::size_t i = 1; i + 1 < literal.size(); ++i) {
    text.push_back(literal[i]);
    if (literal[i] == '\'') ++i;
  }
  return text;
}

Variant FromLiteral(const FieldInfo& field, std::string_view literal) {
  if (literal == "NULL") return runtime::Null{};
  if (literal.starts_with("X'")) {
    if (auto bytes = BytesOfHex(literal.substr(2, literal.size() - 3))) return std::move(*bytes);
  }
  if (!literal.starts_with('\'')) return NumberOf(literal, field.type);
  const std::string_view inside = literal.substr(1, literal.size() - 2);
  const bool moment = field.type == adDate || field.type == adDBDate || field.type == adDBTime || field.type == adDBTimeStamp;
  if (moment && inside.find('\'') == std::string_view::npos) return MomentValue(inside);  // the usual ones need no memory
  std::string text = Unquoted(literal);
  switch (field.type) {
    case adBoolean:
      return TruthOf(text);
    case adGUID:
      return GuidOf(text);
    default:
      return text;
  }
}

Variant FromHex(std::string_view hex) {
  const bool isBytes = hex.starts_with('X');
  auto bytes = BytesOfHex(hex.substr(isBytes ? 1 : 0));
  if (!bytes) return hex;
  if (isBytes) return std::move(*bytes);
  return std::string(reinterpret_cast<const char*>(bytes->data()), bytes->size());
}

Variant GuidOf(std::string_view text) {
  const bool braces = text.starts_with('{');
  if (text.size() != (braces ? 38U : 36U)) return text;
  return runtime::Guid{runtime::UpperCase(braces ? std::string(text) : "{" + std::string(text) + "}")};
}

bool TruthOf(std::string_view text) {
  if (const auto number = Real(text)) return *number != 0;
  const std::string upper = runtime::UpperCase(text);
  return upper == "T" || upper == "TRUE" || upper == "Y" || upper == "YES";
}

Variant SingleOf(std::string_view text) {
  float number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error == std::errc() && end == text.data() + text.size()) return number;
  return text;
}

Variant DecimalOf(std::string_view text) {
  std::string plain = PlainDecimal(text);
  if (plain.empty()) return text;
  return runtime::Decimal{std::move(plain)};
}

Variant AmountOf(std::string_view text) {
  const std::string plain = PlainDecimal(text);
  return plain.empty() ? Variant(text) : CurrencyOf(plain);
}

Variant FromScaledLiteral(const FieldInfo& field, std::string_view text) {
  if (const auto scaled = WholeNumber(text)) return RealOf(FromTenThousandths(*scaled), field.type);
  return FromLiteral(field, text);
}

/// In a column of texts a number is one too.
Variant FromLiteralText(const FieldInfo& field, std::string_view text) {
  Variant value = FromLiteral(field, text);
  const bool number = !text.starts_with('\'') && !text.starts_with('X') && !value.IsNull();
  return number ? Variant(DigitsOf(text)) : value;
}

Variant IntegerOf(const FieldInfo& field, std::string_view text) {
  const auto number = WholeNumber(text);
  return number ? CheckedInteger(*number, IsTextType(field.type) ? std::int16_t{adInteger} : field.type) : Variant(text);
}

Variant DoubleOf(std::string_view text) {
  const auto number = Real(text);
  return number ? Variant(*number) : Variant(text);
}

Variant FromText(const FetchPlan& plan, const FieldInfo& field, std::string_view text) {
  switch (plan.form) {
    case Form::kDecimalText:
      return DecimalOf(text);
    case Form::kCurrencyText:
      return AmountOf(text);
    case Form::kGuidText:
      return GuidOf(text);
    case Form::kBooleanText:
      return TruthOf(text);
    case Form::kDateText:
    case Form::kMomentText:
      return MomentValue(text);
    case Form::kLiteral:
      return FromLiteral(field, text);
    case Form::kScaledLiteral:
      return FromScaledLiteral(field, text);
    case Form::kLiteralText:
      return FromLiteralText(field, text);
    case Form::kHexText:
      return FromHex(text);
    case Form::kFloatText:
      return SingleOf(text);
    case Form::kTypedIntegerText:
      return IntegerOf(field, text);
    case Form::kTypedDoubleText:
      return DoubleOf(text);
    default:
      return text;
  }
}

}  // namespace

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
      return FromTimestamp({true, true, false, stamp.year, stamp.month, stamp.day, 0},
                           {stamp.hour, stamp.minute, stamp.second, stamp.fraction});
    }
    case Form::kDate: {
      const auto date = As<SQL_DATE_STRUCT>(data);
      return FromTimestamp({true, false, false, date.year, date.month, date.day, 0}, {});
    }
    case Form::kTime: {
      const auto time = As<SQL_TIME_STRUCT>(data);
      return FromTimestamp({false, true, false, 0, 1, 1, 0}, {time.hour, time.minute, time.second, 0});
    }
    case Form::kBytes:
      return runtime::Bytes(data, data + length);
    default:
      // Most are short and need no memory of their own.
      if (plan.unit == 1) return FromText(plan, field, {reinterpret_cast<const char*>(data), length});
      return FromText(plan, field, TextOf(plan, data, length));
  }
}

bool HasUsual(Form form) noexcept {
  return form == Form::kText || form == Form::kInteger || form == Form::kDouble || form == Form::kLiteral || form == Form::kScaledLiteral;
}

Variant DecodeUsual(const FetchPlan& plan, const FieldInfo& field, const std::byte* data, std::size_t length) {
  const std::string_view text(reinterpret_cast<const char*>(data), length);
  switch (plan.form) {
    case Form::kText:
      if (plan.unit == 1) return std::string(text);
      if (length % sizeof(char16_t) == 0) return TextOf(plan, data, length);
      break;
    case Form::kInteger:
      return As<std::int32_t>(data);
    case Form::kDouble:
      return As<double>(data);
    case Form::kLiteral:
      if (field.type != adInteger) break;
      if (const auto number = WholeNumber(text)) return CheckedInteger(*number, adInteger);
      break;
    case Form::kScaledLiteral:
      if (field.type != adDouble) break;
      if (const auto scaled = WholeNumber(text)) return FromTenThousandths(*scaled);
      if (const auto number = Real(text)) return *number;
      break;
    default:
      break;
  }
  return {};
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
