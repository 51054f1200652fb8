#include "ado/Rows.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string_view>

#include "runtime/Conversions.h"
#include "runtime/Error.h"

namespace tamlo::ado {
namespace {

void RequireValue(const Variant& value) {
  if (value.IsNull() || value.IsEmpty()) throw runtime::Error(runtime::kInvalidUseOfNull);
}

/// The number that plain decimal digits make, a half going to the even neighbour.
std::int64_t WholeOf(std::string_view text) {
  const bool negative = text.starts_with('-');
  if (negative) text.remove_prefix(1);
  const std::size_t point = std::min(text.find('.'), text.size());
  std::uint64_t whole = 0;
  for (const char digit : text.substr(0, point)) {
    if (digit < '0' || digit > '9') throw runtime::Error(runtime::kTypeMismatch);
    if (whole > (UINT64_MAX - 9) / 10) throw runtime::Error(runtime::kOverflow);
    whole = whole * 10 + static_cast<std::uint64_t>(digit - '0');
  }
  const std::string_view rest = text.substr(std::min(point + 1, text.size()));
  const bool half = rest.starts_with('5') && rest.find_first_not_of('0', 1) == std::string_view::npos;
  if (!rest.empty() && (half ? whole % 2 == 1 : rest[0] >= '5')) ++whole;
  constexpr std::uint64_t kMost = INT64_MAX;
  if (whole > kMost + (negative ? 1 : 0)) throw runtime::Error(runtime::kOverflow);
  return negative ? static_cast<std::int64_t>(0 - whole) : static_cast<std::int64_t>(whole);
}

}  // namespace

template <>
bool ValueAs<bool>(const Variant& value) {
  RequireValue(value);
  return runtime::ToBoolean(value);
}

template <>
std::int16_t ValueAs<std::int16_t>(const Variant& value) {
  RequireValue(value);
  return runtime::ToInt16(value);
}

template <>
std::int32_t ValueAs<std::int32_t>(const Variant& value) {
  RequireValue(value);
  return runtime::ToInt32(value);
}

template <>
std::int64_t ValueAs<std::int64_t>(const Variant& value) {
  RequireValue(value);
  if (const auto* number = value.If<std::int64_t>()) return *number;
  if (const auto* number = value.If<runtime::Decimal>()) return WholeOf(number->text);
  if (const auto* text = value.If<std::string>()) {
    const std::string_view digits = std::string_view(*text).substr(text->starts_with('-') ? 1 : 0);
    if (!digits.empty() && digits.find_first_not_of("0123456789") == std::string_view::npos) return WholeOf(*text);
  }
  if (const auto* amount = value.If<runtime::Currency>()) {
    const std::int64_t whole = amount->tenThousandths / 10000;
    const std::int64_t rest = std::abs(amount->tenThousandths % 10000);
    const bool away = rest > 5000 || (rest == 5000 && whole % 2 != 0);
    return away ? whole + (amount->tenThousandths < 0 ? -1 : 1) : whole;
  }
  const double rounded = std::nearbyint(runtime::ToDouble(value));
  if (!(rounded >= -9223372036854775808.0 && rounded < 9223372036854775808.0)) throw runtime::Error(runtime::kOverflow);
  return static_cast<std::int64_t>(rounded);
}

template <>
double ValueAs<double>(const Variant& value) {
  RequireValue(value);
  return runtime::ToDouble(value);
}

template <>
std::string ValueAs<std::string>(const Variant& value) {
  RequireValue(value);
  return runtime::ToText(value);
}

template <>
runtime::Bytes ValueAs<runtime::Bytes>(const Variant& value) {
  RequireValue(value);
  const auto* bytes = value.If<runtime::Bytes>();
  if (bytes == nullptr) throw runtime::Error(runtime::kTypeMismatch);
  return *bytes;
}

template <>
runtime::Date ValueAs<runtime::Date>(const Variant& value) {
  RequireValue(value);
  return runtime::ToDate(value);
}

}  // namespace tamlo::ado
