#include "ado/FieldValue.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>

#include "ado/Errors.h"
#include "ado/ExactNumber.h"
#include "ado/Rows.h"
#include "runtime/Conversions.h"
#include "runtime/Text.h"

namespace tamlo::ado {
namespace {

constexpr std::int64_t kTenThousand = 10000;

[[noreturn]] void DoesNotFit() { throw runtime::Error(runtime::kOverflow); }

template <typename T>
T Whole(const Variant& value, std::int64_t least, std::int64_t most) {
  const auto number = ValueAs<std::int64_t>(value);
  if (number < least || number > most) DoesNotFit();
  return static_cast<T>(number);
}

template <typename T>
T Whole(const Variant& value) {
  return Whole<T>(value, std::numeric_limits<T>::min(), std::numeric_limits<T>::max());
}

/// The number with every digit.
ExactNumber NumberOf(const Variant& value) {
  if (const auto* text = value.If<std::string>()) {
    if (auto number = ExactNumber::Read(*text)) return *std::move(number);
    // As the user writes numbers.
    return *ExactNumber::Of(Variant(runtime::ToDouble(value)));
  }
  auto number = ExactNumber::Of(value);
  if (!number) throw runtime::Error(runtime::kTypeMismatch);
  return *std::move(number);
}

/// Plain decimal text, "-12.5"; the number of its decimals and digits.
struct PlainNumber {
  std::string text;
  std::int64_t decimals = 0;
  std::int64_t digits = 0;
};

PlainNumber PlainOf(const ExactNumber& number) {
  constexpr std::int64_t kLongest = 400;
  if (number.point > kLongest || number.point < -kLongest) DoesNotFit();
  PlainNumber plain;
  if (number.sign == 0) return {"0", 0, 1};
  const auto count = static_cast<std::int64_t>(number.digits.size());
  std::string whole = number.point > 0 ? number.digits.substr(0, static_cast<std::size_t>(std::min(number.point, count))) : "";
  if (number.point > count) whole.append(static_cast<std::size_t>(number.point - count), '0');
  std::string fraction =
      number.point < count ? number.digits.substr(static_cast<std::size_t>(std::max<std::int64_t>(number.point, 0))) : "";
  if (number.point < 0) fraction.insert(0, static_cast<std::size_t>(-number.point), '0');
  plain.decimals = static_cast<std::int64_t>(fraction.size());
  plain.digits = static_cast<std::int64_t>(whole.size()) + plain.decimals;
  plain.text = (number.sign < 0 ? "-" : "") + (whole.empty() ? "0" : whole) + (fraction.empty() ? "" : "." + fraction);
  return plain;
}

Variant Amount(const Variant& value) {
  if (value.Is<runtime::Currency>()) return value;
  ExactNumber number = NumberOf(value);
  number.point += 4;
  const PlainNumber plain = PlainOf(number);
  return runtime::Currency{ValueAs<std::int64_t>(Variant(runtime::Decimal{plain.text}))};
}

Variant ExactDecimal(const FieldInfo& field, const Variant& value) {
  constexpr std::int64_t kMostDigits = 38;
  PlainNumber plain = PlainOf(NumberOf(value));
  const std::int64_t most = field.precision > 0 ? field.precision : kMostDigits;
  if (field.precision > 0 && plain.decimals > field.numericScale) DoesNotFit();
  if (plain.digits - plain.decimals > most - (field.precision > 0 ? field.numericScale : 0) || plain.digits > kMostDigits + 1) DoesNotFit();
  return runtime::Decimal{std::move(plain.text)};
}

Variant GuidOf(const Variant& value) {
  if (value.Is<runtime::Guid>()) return value;
  const auto* text = value.If<std::string>();
  static constexpr std::string_view kShape = "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}";
  if (text == nullptr || text->size() != kShape.size()) throw runtime::Error(runtime::kTypeMismatch);
  const std::string upper = runtime::UpperCase(*text);
  for (std::size_t i = 0; i < kShape.size(); ++i) {
    const bool isDigit = (upper[i] >= '0' && upper[i] <= '9') || (upper[i] >= 'A' && upper[i] <= 'F');
    if (kShape[i] == 'X' ? !isDigit : upper[i] != kShape[i]) throw runtime::Error(runtime::kTypeMismatch);
  }
  return runtime::Guid{upper};
}

Variant TextOfField(const FieldInfo& field, const Variant& value) {
  if (value.Is<runtime::Bytes>()) throw runtime::Error(runtime::kTypeMismatch);
  std::string text = runtime::ToText(value);
  if (!IsLongType(field.type) && field.definedSize > 0 && static_cast<std::int64_t>(runtime::Length(text)) > field.definedSize)
    DoesNotFit();
  return text;
}

Variant BytesOfField(const FieldInfo& field, const Variant& value) {
  const auto* bytes = value.If<runtime::Bytes>();
  if (bytes == nullptr) throw runtime::Error(runtime::kTypeMismatch);
  if (!IsLongType(field.type) && field.definedSize > 0 && static_cast<std::int64_t>(bytes->size()) > field.definedSize) DoesNotFit();
  return value;
}

Variant Held(const FieldInfo& field, const Variant& value) {
  switch (field.type) {
    case adBoolean:
      return ValueAs<bool>(value);
    case adUnsignedTinyInt:
      return Whole<std::uint8_t>(value);
    case adTinyInt:
      return Whole<std::int16_t>(value, INT8_MIN, INT8_MAX);
    case adSmallInt:
      return Whole<std::int16_t>(value);
    case adUnsignedSmallInt:
      return Whole<std::int32_t>(value, 0, UINT16_MAX);
    case adInteger:
      return Whole<std::int32_t>(value);
    case adUnsignedInt:
      return Whole<std::int64_t>(value, 0, UINT32_MAX);
    case adBigInt:
      return ValueAs<std::int64_t>(value);
    case adSingle: {
      const double number = runtime::ToDouble(value);
      const auto narrow = static_cast<float>(number);
      if (std::isinf(narrow) && !std::isinf(number)) DoesNotFit();
      return narrow;
    }
    case adDouble:
      return runtime::ToDouble(value);
    case adCurrency:
      return Amount(value);
    case adDate:
    case adDBDate:
    case adDBTime:
    case adDBTimeStamp:
      return runtime::ToDate(value);
    case adUnsignedBigInt:
    case adNumeric:
    case adVarNumeric:
      return ExactDecimal(field, value);
    case adGUID:
      return GuidOf(value);
    case adBinary:
    case adVarBinary:
    case adLongVarBinary:
      return BytesOfField(field, value);
    default:
      return IsTextType(field.type) ? TextOfField(field, value) : value;
  }
}

}  // namespace

Variant AsFieldValue(const FieldInfo& field, const Variant& value) {
  if (value.IsNull() || value.IsEmpty()) return runtime::Null{};
  try {
    return Held(field, value);
  } catch (const runtime::Error& error) {
    throw AdoError(error.Number() == runtime::kOverflow ? runtime::kValueRefused : runtime::kDataConversion, field.name);
  }
}

}  // namespace tamlo::ado
