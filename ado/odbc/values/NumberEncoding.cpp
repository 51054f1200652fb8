#include "ado/odbc/values/NumberEncoding.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>

#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/values/TextEncoding.h"
#include "ado/odbc/values/ValueDecoder.h"
#include "base/Numbers.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"

namespace tamlo::ado::odbc {
namespace {

using runtime::Error;

/// The number that decimal digits make, a half going to the even neighbour; a double would keep 53 bits of it.
std::int64_t WholeOfDigits(std::string_view text) {
  const std::size_t point = std::min(text.find('.'), text.size());
  std::string_view rest = text.substr(std::min(point + 1, text.size()));
  const bool negative = text.starts_with('-');
  const bool none = point == (negative ? 1U : 0U);
  const std::optional<std::int64_t> digits = none ? 0 : base::ReadWhole<std::int64_t>(text.substr(0, point));
  if (!digits) throw Error(runtime::kOverflow);
  const std::int64_t whole = *digits;
  const bool half = rest.starts_with('5') && rest.find_first_not_of('0', 1) == std::string_view::npos;
  if (rest.empty() || (half ? whole % 2 == 0 : rest[0] < '5')) return whole;
  if (whole == (negative ? INT64_MIN : INT64_MAX)) throw Error(runtime::kOverflow);
  return negative ? whole - 1 : whole + 1;
}

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

/// Some keep an exact number as an integer of 64 bits or as a double, and turn it into one without a word.
void CheckDecimalDigits(const std::string& plain, const ParameterShape& shape) {
  const std::size_t most = shape.values.decimalDigits;
  if (most == 0) return;
  if (base::ReadWhole<std::int64_t>(plain)) return;
  const std::string digits = SignificantDigits(plain);
  if (digits.size() <= most) return;
  Refuse(shape, "a " + std::to_string(digits.size()) + " chiffres, et la base n'en garde que " + std::to_string(most));
}

}  // namespace

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
      // Where any value is kept nobody says whether the type has a sign.
      return within(INT8_MIN, shape.values.keepsAnyValue ? UINT8_MAX : INT8_MAX);
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

}  // namespace tamlo::ado::odbc
