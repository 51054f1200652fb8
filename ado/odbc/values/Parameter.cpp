#include "ado/odbc/values/Parameter.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "ado/odbc/driver/Diagnostics.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/driver/WideText.h"
#include "ado/odbc/values/Moment.h"
#include "ado/odbc/values/ValueDecoder.h"
#include "runtime/Conversions.h"
#include "runtime/Dates.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

using Form = ParameterShape::Form;
using runtime::Error;

// psqlODBC copies what it has so far for each piece: few large pieces.
constexpr std::size_t kPieceBytes = 256 * 1024;

template <typename T>
void Append(std::vector<std::byte>& out, const T& value) {
  const auto* bytes = reinterpret_cast<const std::byte*>(&value);
  out.insert(out.end(), bytes, bytes + sizeof value);
}

[[noreturn]] void Refuse(const ParameterShape& shape, const std::string& why) {
  throw Error(runtime::kProviderFailure, "La valeur du champ " + shape.column + " " + why + ".", "odbc");
}

/// Drivers make anything of bytes that are no character, and some end a text at a character 0.
void CheckCharacters(std::string_view text, const ParameterShape& shape) {
  if (!shape.values.keepsNul && text.find('\0') != std::string_view::npos) {
    Refuse(shape, "contient un caractère nul, que la base ne garderait pas");
  }
  unsigned char all = 0;
  for (const char c : text) all = static_cast<unsigned char>(all | static_cast<unsigned char>(c));
  if (all < 0x80) return;
  while (!text.empty()) {
    if (base::IsStrayByte(runtime::NextCharacter(text))) Refuse(shape, "contient des octets qui ne sont pas un caractère");
  }
}

void AppendText(std::vector<std::byte>& out, std::string_view text, const ParameterShape& shape) {
  if (shape.nativeType == SQL_C_CHAR) {
    AppendUtf8(out, text);
  } else {
    AppendUtf16(out, text);
  }
}

/// The number that decimal digits make, a half going to the even neighbour; a double would keep 53 bits of it.
std::int64_t WholeOfDigits(std::string_view text) {
  const std::size_t point = std::min(text.find('.'), text.size());
  std::string_view rest = text.substr(std::min(point + 1, text.size()));
  const bool negative = text.starts_with('-');
  std::int64_t whole = 0;
  const bool none = point == (negative ? 1U : 0U);
  const auto [end, error] = std::from_chars(text.data(), text.data() + point, whole);
  if (!none && (error != std::errc() || end != text.data() + point)) throw Error(runtime::kOverflow);
  const bool half = rest.starts_with('5') && rest.find_first_not_of('0', 1) == std::string_view::npos;
  if (rest.empty() || (half ? whole % 2 == 0 : rest[0] < '5')) return whole;
  if (whole == (negative ? INT64_MIN : INT64_MAX)) throw Error(runtime::kOverflow);
  return negative ? whole - 1 : whole + 1;
}

std::string DecimalOf(const Variant& value);

/// The digits of a plain decimal from the first to the last that is not 0.
std::string SignificantDigits(std::string_view plain) {
  std::string digits;
  for (const char c : plain) {
    if (c >= '0' && c <= '9') digits.push_back(c);
  }
  const auto first = digits.find_first_not_of('0');
  if (first == std::string::npos) return "0";
  return digits.substr(first, digits.find_last_not_of('0') - first + 1);
}

std::int64_t WholeOf(const Variant& value) {
  if (const auto* n = value.If<std::int32_t>()) return *n;
  if (const auto* n = value.If<std::int64_t>()) return *n;
  if (const auto* n = value.If<std::int16_t>()) return *n;
  if (const auto* n = value.If<bool>()) return *n ? -1 : 0;
  if (value.Is<runtime::Decimal>() || value.Is<runtime::Currency>()) return WholeOfDigits(DecimalOf(value));
  if (const auto* text = value.If<std::string>()) {
    const std::string_view digits = std::string_view(*text).substr(text->starts_with('-') ? 1 : 0);
    if (!digits.empty() && digits.find_first_not_of("0123456789") == std::string_view::npos) return WholeOfDigits(*text);
  }
  const double rounded = std::nearbyint(runtime::ToDouble(value));
  constexpr double kEnd = 9223372036854775808.0;
  if (!(rounded >= -kEnd && rounded < kEnd)) throw Error(runtime::kOverflow);
  return static_cast<std::int64_t>(rounded);
}

void CheckRange(std::int64_t value, const ParameterShape& shape) {
  const auto within = [&](std::int64_t low, std::int64_t high) {
    if (value < low || value > high) throw Error(runtime::kOverflow);
  };
  switch (shape.adoType) {
    case adUnsignedTinyInt:
      return within(0, UINT8_MAX);
    case adTinyInt:
      return within(INT8_MIN, INT8_MAX);
    case adSmallInt:
      return within(INT16_MIN, INT16_MAX);
    case adUnsignedSmallInt:
      return within(0, UINT16_MAX);
    case adInteger:
      return shape.nativeType == SQL_C_SBIGINT ? void() : within(INT32_MIN, INT32_MAX);
    case adUnsignedInt:
      return within(0, UINT32_MAX);
    default:
      return;
  }
}

std::string DecimalOf(const Variant& value) {
  if (const auto* decimal = value.If<runtime::Decimal>()) return decimal->text;
  if (const auto* text = value.If<std::string>()) {
    const bool plain = !text->empty() && text->find_first_not_of("+-.0123456789") == std::string::npos;
    if (plain) {
      std::string exact = PlainDecimal(*text);
      if (!exact.empty()) return exact;
    }
    return PlainDecimal(runtime::ShortestText(runtime::ToDouble(value)));
  }
  if (const auto* currency = value.If<runtime::Currency>()) {
    const bool negative = currency->tenThousandths < 0;
    std::string digits = std::to_string(currency->tenThousandths).substr(negative ? 1 : 0);
    if (digits.size() < 5) digits.insert(0, 5 - digits.size(), '0');
    digits.insert(digits.size() - 4, ".");
    return (negative ? "-" : "") + digits;
  }
  if (value.Is<double>() || value.Is<float>()) return PlainDecimal(runtime::ShortestText(runtime::ToDouble(value)));
  return std::to_string(WholeOf(value));
}

/// A day and time out of any value; texts are read as the user writes them.
Moment MomentOf(const Variant& value, std::int16_t digits) {
  if (const auto* text = value.If<std::string>()) {
    if (const auto moment = ReadMoment(*text)) return *moment;
  }
  return MomentOfDate(runtime::ToDate(value), digits);
}

/// Texts that the server itself writes for what no Date holds. It reads them again, and refuses those that mean nothing to it.
bool IsServersOwn(std::string_view text, MomentWords words) {
  if (words != MomentWords::kInfinite) return words == MomentWords::kAny;
  const std::string upper = runtime::UpperCase(text);
  if (upper == "INFINITY" || upper == "-INFINITY") return true;
  const auto digits = upper.find_first_not_of("0123456789");
  return digits != std::string::npos && digits >= 4 && upper[digits] == '-' &&
         upper.find_first_not_of("0123456789-+:. BC") == std::string::npos;
}

void CheckMomentRange(const Moment& moment, const ParameterShape& shape) {
  constexpr std::int64_t kHour = 3600LL * 1000000;
  const std::int64_t end = shape.values.hoursOfTime * kHour;
  if (end != 0 && !moment.hasDay && moment.microseconds >= end) throw Error(runtime::kOverflow);
}

/// What the column keeps of it: a column of days no time, one of times no day.
void KeepPart(Moment& moment, std::int16_t adoType) {
  if (adoType == adDBTime && moment.hasTime) moment.hasDay = false;
  if (adoType == adDBDate && moment.hasDay) moment.hasTime = false;
}

void AppendMoment(const Variant& value, const ParameterShape& shape, std::vector<std::byte>& out) {
  const auto* text = value.If<std::string>();
  auto moment = text ? ReadMoment(*text) : std::nullopt;
  if (text && !moment) {
    if (const auto date = runtime::ParseDate(*text)) moment = MomentOfDate(*date, shape.digits);
  }
  if (text && !moment && IsServersOwn(*text, shape.values.momentWords)) {
    CheckCharacters(*text, shape);
    return AppendText(out, *text, shape);
  }
  if (!moment) moment = MomentOfDate(runtime::ToDate(value), shape.adoType == adDBDate ? std::int16_t{0} : shape.digits);
  // A time alone in a column of days and times stands on day 0.
  if (!moment->hasDay && shape.adoType != adDBTime && !shape.values.keepsAnyValue) {
    if (moment->negative || moment->microseconds >= 24LL * 3600 * 1000000) throw Error(runtime::kTypeMismatch);
    moment->hasDay = true;
  }
  KeepPart(*moment, shape.adoType);
  CheckMomentRange(*moment, shape);
  AppendText(out, MomentText(*moment, shape.digits).Text(), shape);
}

std::string TextOf(const Variant& value) {
  if (const auto* guid = value.If<runtime::Guid>()) return guid->text;
  if (const auto* decimal = value.If<runtime::Decimal>()) return decimal->text;
  if (value.Is<runtime::Bytes>()) throw Error(runtime::kTypeMismatch);
  return runtime::ToText(value);
}

void CheckLength(std::size_t length, const ParameterShape& shape) {
  if (shape.limit <= 0 || static_cast<std::int64_t>(length) <= shape.limit) return;
  throw Error(runtime::kProviderFailure,
              "La valeur du champ " + shape.column + " est trop longue (" + std::to_string(length) + " au lieu de " +
                  std::to_string(shape.limit) + " au plus).",
              "odbc");
}

void EncodeTimestamp(const Variant& value, const ParameterShape& shape, std::vector<std::byte>& out) {
  const Moment moment = MomentOf(value, shape.digits);
  const std::int64_t seconds = moment.microseconds / 1000000;
  // What a structure has no room for.
  if (moment.negative || seconds >= 86400 || moment.month == 0 || moment.day == 0) throw Error(runtime::kTypeMismatch);
  if (shape.form == Form::kDate) {
    Append(out, SQL_DATE_STRUCT{static_cast<SQLSMALLINT>(moment.year), static_cast<SQLUSMALLINT>(moment.month),
                                static_cast<SQLUSMALLINT>(moment.day)});
  } else if (shape.form == Form::kTime) {
    Append(out, SQL_TIME_STRUCT{static_cast<SQLUSMALLINT>(seconds / 3600), static_cast<SQLUSMALLINT>(seconds / 60 % 60),
                                static_cast<SQLUSMALLINT>(seconds % 60)});
  } else {
    SQL_TIMESTAMP_STRUCT stamp{};
    stamp.year = static_cast<SQLSMALLINT>(moment.year);
    stamp.month = static_cast<SQLUSMALLINT>(moment.month);
    stamp.day = static_cast<SQLUSMALLINT>(moment.day);
    stamp.hour = static_cast<SQLUSMALLINT>(seconds / 3600);
    stamp.minute = static_cast<SQLUSMALLINT>(seconds / 60 % 60);
    stamp.second = static_cast<SQLUSMALLINT>(seconds % 60);
    stamp.fraction = static_cast<SQLUINTEGER>(moment.microseconds % 1000000 * 1000);
    Append(out, stamp);
  }
}

/// Some keep an exact number as an integer of 64 bits or as a double, and turn it into one without a word.
void CheckDecimalDigits(const std::string& plain, const ParameterShape& shape) {
  const std::size_t most = shape.values.decimalDigits;
  if (most == 0) return;
  std::int64_t whole = 0;
  const auto [end, error] = std::from_chars(plain.data(), plain.data() + plain.size(), whole);
  if (error == std::errc() && end == plain.data() + plain.size()) return;
  const std::string digits = SignificantDigits(plain);
  if (digits.size() <= most) return;
  Refuse(shape, "a " + std::to_string(digits.size()) + " chiffres, et la base n'en garde que " + std::to_string(most));
}

/// A decimal as the backend reads it, which may be none, or infinite.
std::string NumberTextOf(const Variant& value, const ParameterShape& shape) {
  if (shape.values.decimalsMayBeNone) {
    const auto* text = value.If<std::string>();
    const bool real = value.Is<double>() || value.Is<float>();
    const double number = real ? runtime::ToDouble(value) : 0;
    if ((text && *text == "NaN") || std::isnan(number)) return "NaN";
    if (text && (*text == "Infinity" || *text == "-Infinity")) return *text;
    if (std::isinf(number)) return number < 0 ? "-Infinity" : "Infinity";
  }
  std::string plain = DecimalOf(value);
  if (plain.empty()) Refuse(shape, "n'est pas un nombre que la base garde");
  CheckDecimalDigits(plain, shape);
  return plain;
}

double DoubleOf(const Variant& value, const ParameterShape& shape) {
  const double number = runtime::ToDouble(value);
  if (std::isnan(number) && !shape.values.hasNan) Refuse(shape, "n'est pas un nombre, et la base n'en garde rien");
  if (std::isinf(number) && !shape.values.hasInfinity) Refuse(shape, "est infinie, et la base n'en garde rien");
  if (shape.adoType == adSingle && std::isfinite(number) && std::isinf(static_cast<float>(number))) throw Error(runtime::kOverflow);
  return number;
}

/// sqlType is that of wide texts.
ParameterShape TextShape(ParameterShape shape, Form form, std::int16_t sqlType, const DriverFacts& facts) {
  shape.form = form;
  shape.nativeType = SQL_C_WCHAR;
  shape.sqlType = sqlType;
  if (!facts.narrowIsUtf8) return shape;
  shape.nativeType = SQL_C_CHAR;
  if (sqlType == SQL_WVARCHAR) shape.sqlType = SQL_VARCHAR;
  if (sqlType == SQL_WLONGVARCHAR) shape.sqlType = SQL_LONGVARCHAR;
  return shape;
}

ParameterShape FixedShape(ParameterShape shape, Form form, std::int16_t nativeType, std::int16_t sqlType, std::size_t bytes,
                          std::size_t size) {
  shape.form = form;
  shape.nativeType = nativeType;
  shape.sqlType = sqlType;
  shape.fixedSize = bytes;
  shape.columnSize = size;
  return shape;
}

/// ASCII alone: any driver takes it as it is.
ParameterShape AsciiShape(ParameterShape shape, Form form, std::int16_t sqlType) {
  shape.form = form;
  shape.nativeType = SQL_C_CHAR;
  shape.sqlType = sqlType;
  return shape;
}

/// Digits of the fraction of a second that a column keeps.
std::int16_t MomentDigits(const FieldInfo& field, const DriverFacts& facts) {
  if (facts.keepsMomentTexts || (facts.roundsMoments && field.numericScale == 255 && field.type == adDBTimeStamp)) return 6;
  const bool told = field.type == adDBTimeStamp || (field.type == adDBTime && facts.momentsAreTexts);
  return told && field.numericScale != 255 ? field.numericScale : std::int16_t{0};
}

}  // namespace

ParameterShape ShapeFor(const FieldInfo& field, std::int16_t sqlType, const DriverFacts& facts) {
  ParameterShape shape;
  shape.adoType = field.type;
  shape.column = field.name;
  shape.values = facts;
  switch (field.type) {
    case adTinyInt:
    case adUnsignedTinyInt:
    case adSmallInt:
    case adUnsignedSmallInt:
    case adInteger:
      if (facts.keepsAnyValue) return FixedShape(shape, Form::kBigInteger, SQL_C_SBIGINT, SQL_BIGINT, 8, 19);
      return FixedShape(shape, Form::kInteger, SQL_C_SLONG, SQL_INTEGER, 4, 10);
    case adUnsignedInt:
    case adBigInt:
      if (facts.numbersAsText) break;
      return FixedShape(shape, Form::kBigInteger, SQL_C_SBIGINT, SQL_BIGINT, 8, 19);
    case adSingle:
    case adDouble:
      return FixedShape(shape, Form::kDouble, SQL_C_DOUBLE, SQL_DOUBLE, 8, 15);
    case adBoolean:
      return FixedShape(shape, Form::kBit, SQL_C_BIT, SQL_BIT, 1, 1);
    case adDate:
    case adDBTimeStamp:
    case adDBDate:
    case adDBTime: {
      shape.digits = MomentDigits(field, facts);
      if (facts.momentsAreTexts) return AsciiShape(shape, Form::kMomentText, SQL_VARCHAR);
      if (field.type == adDBDate) return FixedShape(shape, Form::kDate, SQL_C_TYPE_DATE, SQL_TYPE_DATE, sizeof(SQL_DATE_STRUCT), 10);
      if (field.type == adDBTime) return FixedShape(shape, Form::kTime, SQL_C_TYPE_TIME, SQL_TYPE_TIME, sizeof(SQL_TIME_STRUCT), 8);
      const std::size_t size = shape.digits > 0 ? 20U + static_cast<std::size_t>(shape.digits) : 19U;
      return FixedShape(shape, Form::kTimestamp, SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT), size);
    }
    case adGUID:
      shape.limit = field.definedSize == 36 ? 36 : 0;
      return TextShape(shape, Form::kGuidText, sqlType == SQL_GUID ? SQL_GUID : SQL_WVARCHAR, facts);
    case adBinary:
    case adVarBinary:
    case adLongVarBinary:
      shape.form = Form::kBytes;
      shape.nativeType = SQL_C_BINARY;
      shape.sqlType = field.type == adLongVarBinary ? SQL_LONGVARBINARY : SQL_VARBINARY;
      shape.limit = field.type == adLongVarBinary || !facts.enforcesLengths ? 0 : field.definedSize;
      return shape;
    case adCurrency:
    case adNumeric:
    case adVarNumeric:
    case adUnsignedBigInt:
      break;
    default:
      shape.limit = IsLongType(field.type) || !facts.enforcesLengths ? 0 : field.definedSize;
      return TextShape(shape, Form::kText, IsLongType(field.type) || field.definedSize > 4000 ? SQL_WLONGVARCHAR : SQL_WVARCHAR, facts);
  }
  shape.digits = field.type == adCurrency ? std::int16_t{4} : field.numericScale == 255 ? std::int16_t{0} : field.numericScale;
  shape.columnSize = 38;
  return TextShape(shape, Form::kDecimalText, SQL_NUMERIC, facts);
}

bool Encode(const Variant& value, const ParameterShape& shape, std::vector<std::byte>& out) {
  if (value.IsNull() || value.IsEmpty()) return false;
  switch (shape.form) {
    case Form::kInteger: {
      const std::int64_t whole = WholeOf(value);
      CheckRange(whole, shape);
      Append(out, static_cast<std::int32_t>(whole));
      return true;
    }
    case Form::kBigInteger: {
      const std::int64_t whole = WholeOf(value);
      CheckRange(whole, shape);
      Append(out, whole);
      return true;
    }
    case Form::kDouble:
      Append(out, DoubleOf(value, shape));
      return true;
    case Form::kBit:
      Append(out, static_cast<std::uint8_t>(runtime::ToBoolean(value) ? 1 : 0));
      return true;
    case Form::kDecimalText:
      AppendText(out, NumberTextOf(value, shape), shape);
      return true;
    case Form::kTimestamp:
    case Form::kDate:
    case Form::kTime:
      EncodeTimestamp(value, shape, out);
      return true;
    case Form::kMomentText:
      AppendMoment(value, shape, out);
      return true;
    case Form::kGuidText: {
      std::string text = TextOf(value);
      if (shape.limit == 36 && text.size() == 38) text = text.substr(1, 36);
      AppendText(out, text, shape);
      return true;
    }
    case Form::kBytes: {
      const auto* bytes = value.If<runtime::Bytes>();
      if (!bytes) throw Error(runtime::kTypeMismatch);
      CheckLength(bytes->size(), shape);
      out.insert(out.end(), bytes->begin(), bytes->end());
      return true;
    }
    case Form::kText: {
      const auto* known = value.If<std::string>();
      const std::string other = known ? std::string() : TextOf(value);
      const std::string& text = known ? *known : other;
      if (shape.limit > 0 && static_cast<std::int64_t>(text.size()) > shape.limit) CheckLength(runtime::Length(text), shape);
      CheckCharacters(text, shape);
      AppendText(out, text, shape);
      return true;
    }
  }
  return false;
}

namespace {

template <typename T>
std::size_t Put(std::span<std::byte> slot, T value) {
  if (slot.size() < sizeof value) return 0;
  std::memcpy(slot.data(), &value, sizeof value);
  return sizeof value;
}

/// ASCII without a character 0, which no driver makes anything else of.
std::size_t PutAscii(std::span<std::byte> slot, std::string_view text, const ParameterShape& shape) {
  if (shape.limit > 0 && static_cast<std::int64_t>(text.size()) > shape.limit) return 0;
  const bool ascii = std::all_of(text.begin(), text.end(), [](char c) { return static_cast<signed char>(c) > 0; });
  if (!ascii) return 0;
  if (shape.nativeType == SQL_C_CHAR) {
    if (text.size() > slot.size()) return 0;
    std::memcpy(slot.data(), text.data(), text.size());
    return text.size();
  }
  if (text.size() * sizeof(char16_t) > slot.size()) return 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto unit = static_cast<char16_t>(text[i]);
    std::memcpy(slot.data() + i * sizeof unit, &unit, sizeof unit);
  }
  return text.size() * sizeof(char16_t);
}

}  // namespace

Variant Held(const Variant& value, const ParameterShape& shape) {
  constexpr std::size_t kLong = 64 * 1024;
  const auto* const text = value.If<std::string>();
  const auto* const bytes = value.If<runtime::Bytes>();
  const bool isLong = (text != nullptr && text->size() > kLong) || (bytes != nullptr && bytes->size() > kLong);
  if (isLong && (shape.form == Form::kBytes ? bytes != nullptr : shape.form == Form::kText && text != nullptr)) return value;
  std::vector<std::byte> encoded;
  if (!Encode(value, shape, encoded)) return value;
  const auto as = [&]<typename T>(T number) {
    std::memcpy(&number, encoded.data(), sizeof number);
    return number;
  };
  switch (shape.form) {
    case Form::kInteger:
    case Form::kBigInteger: {
      const std::int64_t whole = shape.form == Form::kInteger ? as(std::int32_t{}) : as(std::int64_t{});
      if (shape.adoType == adUnsignedTinyInt) return static_cast<std::uint8_t>(whole);
      if (shape.adoType == adSmallInt) return static_cast<std::int16_t>(whole);
      const bool fits = whole >= INT32_MIN && whole <= INT32_MAX;
      if (shape.adoType == adInteger && fits) return static_cast<std::int32_t>(whole);
      return shape.adoType == adBigInt || shape.adoType == adInteger ? Variant(whole) : value;
    }
    case Form::kDouble:
      // Where any value is kept, every number of such a column has double precision.
      return shape.adoType == adSingle && !shape.values.keepsAnyValue ? Variant(static_cast<float>(as(0.0))) : Variant(as(0.0));
    case Form::kBit:
      return as(std::uint8_t{}) != 0;
    case Form::kDecimalText:
      return text != nullptr ? Variant(runtime::Decimal{NumberTextOf(value, shape)}) : value;
    case Form::kText:
      return text != nullptr ? value : Variant(TextOf(value));
    default:
      return value;
  }
}

std::size_t EncodeUsual(const Variant& value, const ParameterShape& shape, std::span<std::byte> slot) {
  switch (shape.form) {
    case Form::kInteger:
    case Form::kBigInteger: {
      const auto* whole = value.If<std::int32_t>();
      if (!whole || shape.adoType != adInteger) return 0;
      return shape.form == Form::kInteger ? Put(slot, *whole) : Put(slot, std::int64_t{*whole});
    }
    case Form::kDouble: {
      const auto* real = value.If<double>();
      return real && shape.adoType == adDouble && std::isfinite(*real) ? Put(slot, *real) : 0;
    }
    case Form::kText: {
      const auto* text = value.If<std::string>();
      return text ? PutAscii(slot, *text, shape) : 0;
    }
    default:
      return 0;
  }
}

void ParameterSet::Add(const Variant& value, const ParameterShape& shape) {
  auto bound = std::make_unique<Bound>();
  bound->shape = shape;
  Encoded(*bound, value);
  Bind(*bound, bound_.size());
  bound_.push_back(std::move(bound));
}

void ParameterSet::Encoded(Bound& bound, const Variant& value) {
  const ParameterShape& shape = bound.shape;
  bool present = false;
  try {
    present = Encode(value, shape, bound.data);
  } catch (Error& error) {
    const bool named = error.Description().find(shape.column) != std::string::npos;
    throw named || shape.column.empty() ? error : error.WithContext("colonne " + shape.column);
  }
  bound.indicator = present ? static_cast<std::ptrdiff_t>(bound.data.size()) : SQL_NULL_DATA;
}

void ParameterSet::Refill(std::size_t position, const Variant& value) {
  Bound& bound = *bound_[position];
  bound.data.clear();
  Encoded(bound, value);
  // A driver that knows where the value is, and has room enough for it, reads it there anew.
  const bool isKnown =
      bound.data.data() == bound.place && bound.data.size() <= bound.size && bound.shape.form != ParameterShape::Form::kBytes;
  if (!isKnown) Bind(bound, position);
}

void ParameterSet::Add(const ChunkSource& source, const ParameterShape& shape) {
  if (!statement_.Owner().Facts().streamsParameters) {
    // The driver wants to know the length beforehand and keeps the whole value itself: it is collected here.
    std::vector<std::byte> piece(kPieceBytes);
    std::vector<std::byte> whole;
    while (const std::size_t count = source(piece.data(), piece.size()))
      whole.insert(whole.end(), piece.begin(), piece.begin() + static_cast<std::ptrdiff_t>(count));
    if (shape.form == Form::kBytes) return Add(Variant(runtime::Bytes(std::move(whole))), shape);
    return Add(Variant(std::string(reinterpret_cast<const char*>(whole.data()), whole.size())), shape);
  }
  auto bound = std::make_unique<Bound>();
  bound->shape = shape;
  bound->shape.sqlType = shape.form == Form::kBytes       ? SQL_LONGVARBINARY
                         : shape.nativeType == SQL_C_CHAR ? SQL_LONGVARCHAR
                                                          : SQL_WLONGVARCHAR;
  bound->source = source;
  bound->indicator = SQL_LEN_DATA_AT_EXEC(0);
  Bind(*bound, bound_.size());
  bound_.push_back(std::move(bound));
}

void ParameterSet::Bind(Bound& bound, std::size_t number) {
  const auto& shape = bound.shape;
  const std::size_t unit = shape.nativeType == SQL_C_WCHAR ? sizeof(char16_t) : 1;
  std::size_t size = shape.columnSize;
  if (bound.source) {
    size = 1073741823;
  } else if (shape.fixedSize == 0) {
    size = std::max<std::size_t>({size, bound.data.size() / unit, 1});
  }
  void* data = bound.source ? static_cast<void*>(&bound) : bound.data.data();
  // An empty value still needs an address.
  if (data == nullptr) data = &bound.indicator;
  const auto position = static_cast<SQLUSMALLINT>(number + 1);
  statement_.Check(SQLBindParameter(statement_.Native(), position, SQL_PARAM_INPUT, shape.nativeType, shape.sqlType, size, shape.digits,
                                    data, static_cast<SQLLEN>(bound.data.size()), AsNativeLengths(&bound.indicator)));
  bound.place = data;
  bound.size = bound.data.size();
}

void ParameterSet::SendPieces(const Bound& bound) {
  std::vector<std::byte> piece(kPieceBytes);
  std::size_t count = bound.source(piece.data(), piece.size());
  do {  // of an empty value an empty piece: without any the driver manager does not go on
    std::vector<std::byte> text;
    if (bound.shape.form != Form::kBytes) {
      const std::string_view characters(reinterpret_cast<const char*>(piece.data()), count);
      CheckCharacters(characters, bound.shape);
      AppendText(text, characters, bound.shape);
    }
    auto* data = text.empty() ? piece.data() : text.data();
    statement_.Check(SQLPutData(statement_.Native(), data, static_cast<SQLLEN>(text.empty() ? count : text.size())));
    if (count > 0) count = bound.source(piece.data(), piece.size());
  } while (count > 0);
}

void ParameterSet::Execute() {
  statement_.Owner().RequireTransaction();
  const Statement::TimeLimit limit(statement_);
  auto result = SQLExecute(statement_.Native());
  try {
    while (result == SQL_NEED_DATA) {
      SQLPOINTER which = nullptr;
      result = SQLParamData(statement_.Native(), &which);
      if (result != SQL_NEED_DATA) break;
      const auto wanted = std::find_if(bound_.begin(), bound_.end(), [&](const auto& bound) { return bound.get() == which; });
      if (wanted == bound_.end() || !(*wanted)->source || std::exchange((*wanted)->sent, true)) {
        throw Unbelievable("il demande une valeur qui n'est pas à envoyer");
      }
      SendPieces(**wanted);
    }
  } catch (...) {
    SQLCancel(statement_.Native());
    throw;
  }
  statement_.Check(result);
}

}  // namespace tamlo::ado::odbc
