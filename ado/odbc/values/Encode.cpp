#include "ado/odbc/values/Encode.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/values/MomentEncoding.h"
#include "ado/odbc/values/NumberEncoding.h"
#include "ado/odbc/values/TextEncoding.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

using Form = ParameterShape::Form;
using runtime::Error;

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

std::string GuidText(const Variant& value, const ParameterShape& shape) {
  std::string text = TextOf(value);
  return shape.limit == 36 && text.size() == 38 ? text.substr(1, 36) : text;
}

void AppendBytes(const Variant& value, const ParameterShape& shape, std::vector<std::byte>& out) {
  const auto* bytes = value.If<runtime::Bytes>();
  if (!bytes) throw Error(runtime::kTypeMismatch);
  CheckLength(bytes->size(), shape);
  out.insert(out.end(), bytes->begin(), bytes->end());
}

void AppendCharacters(const Variant& value, const ParameterShape& shape, std::vector<std::byte>& out) {
  const auto* known = value.If<std::string>();
  const std::string other = known ? std::string() : TextOf(value);
  const std::string& text = known ? *known : other;
  if (shape.limit > 0 && static_cast<std::int64_t>(text.size()) > shape.limit) CheckLength(runtime::Length(text), shape);
  CheckCharacters(text, shape);
  AppendText(out, text, shape);
}

std::int64_t CheckedWhole(const Variant& value, const ParameterShape& shape) {
  const std::int64_t whole = WholeOf(value);
  CheckRange(whole, shape);
  return whole;
}

template <typename T>
T First(const std::vector<std::byte>& bytes) {
  T value{};
  std::memcpy(&value, bytes.data(), sizeof value);
  return value;
}

/// A whole number of the column's type; of the other types the value as it was given.
Variant HeldWhole(const Variant& value, std::int64_t whole, std::int16_t adoType) {
  if (adoType == adUnsignedTinyInt) return static_cast<std::uint8_t>(whole);
  if (adoType == adSmallInt) return static_cast<std::int16_t>(whole);
  const bool fits = whole >= INT32_MIN && whole <= INT32_MAX;
  if (adoType == adInteger && fits) return static_cast<std::int32_t>(whole);
  return adoType == adBigInt || adoType == adInteger ? Variant(whole) : value;
}

/// A long text or long bytes in a column of their kind.
bool IsLongOfItsKind(const Variant& value, const ParameterShape& shape) {
  constexpr std::size_t kLong = 64 * 1024;
  if (shape.form == Form::kBytes) {
    const auto* bytes = value.If<runtime::Bytes>();
    return bytes != nullptr && bytes->size() > kLong;
  }
  const auto* text = value.If<std::string>();
  return shape.form == Form::kText && text != nullptr && text->size() > kLong;
}

}  // namespace

bool Encode(const Variant& value, const ParameterShape& shape, std::vector<std::byte>& out) {
  if (value.IsNull() || value.IsEmpty()) return false;
  switch (shape.form) {
    case Form::kInteger:
      Append(out, static_cast<std::int32_t>(CheckedWhole(value, shape)));
      break;
    case Form::kBigInteger:
      Append(out, CheckedWhole(value, shape));
      break;
    case Form::kDouble:
      Append(out, DoubleOf(value, shape));
      break;
    case Form::kBit:
      Append(out, static_cast<std::uint8_t>(runtime::ToBoolean(value) ? 1 : 0));
      break;
    case Form::kDecimalText:
      AppendText(out, NumberTextOf(value, shape), shape);
      break;
    case Form::kTimestamp:
    case Form::kDate:
    case Form::kTime:
      AppendMomentStructure(value, shape, out);
      break;
    case Form::kMomentText:
      AppendMoment(value, shape, out);
      break;
    case Form::kGuidText:
      AppendText(out, GuidText(value, shape), shape);
      break;
    case Form::kBytes:
      AppendBytes(value, shape, out);
      break;
    case Form::kText:
      AppendCharacters(value, shape, out);
      break;
  }
  return true;
}

Variant Held(const Variant& value, const ParameterShape& shape) {
  if (IsLongOfItsKind(value, shape)) return value;
  std::vector<std::byte> encoded;
  if (!Encode(value, shape, encoded)) return value;
  const bool isText = value.Is<std::string>();
  switch (shape.form) {
    case Form::kInteger:
      return HeldWhole(value, First<std::int32_t>(encoded), shape.adoType);
    case Form::kBigInteger:
      return HeldWhole(value, First<std::int64_t>(encoded), shape.adoType);
    case Form::kDouble: {
      // Where any value is kept, every number of such a column has double precision.
      const auto real = First<double>(encoded);
      return shape.adoType == adSingle && !shape.values.keepsAnyValue ? Variant(static_cast<float>(real)) : Variant(real);
    }
    case Form::kBit:
      return First<std::uint8_t>(encoded) != 0;
    case Form::kDecimalText:
      return isText ? Variant(runtime::Decimal{NumberTextOf(value, shape)}) : value;
    case Form::kText:
      return isText ? value : Variant(TextOf(value));
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

}  // namespace tamlo::ado::odbc
