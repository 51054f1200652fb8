#include "jet/value/Value.h"

#include <cmath>
#include <cstring>

#include "base/Calendar.h"
#include "base/Numbers.h"

namespace jet {
namespace {

constexpr std::string_view kHexDigits = "0123456789ABCDEF";

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

/// 128-bit magnitude in four 32-bit limbs, least significant first: enough arithmetic for decimal text and scales.
struct Magnitude {
  std::uint32_t limbs[4];

  explicit Magnitude(const Numeric& number)
      : limbs{static_cast<std::uint32_t>(number.low), static_cast<std::uint32_t>(number.low >> 32), static_cast<std::uint32_t>(number.high),
              static_cast<std::uint32_t>(number.high >> 32)} {}
  void Store(Numeric& number) const {
    number.low = std::uint64_t{limbs[1]} << 32 | limbs[0];
    number.high = std::uint64_t{limbs[3]} << 32 | limbs[2];
  }
  /// this = this * 10 + digit; false on overflow.
  bool TimesTenPlus(std::uint32_t digit) {
    std::uint64_t carry = digit;
    for (auto& limb : limbs) {
      carry += std::uint64_t{limb} * 10;
      limb = static_cast<std::uint32_t>(carry);
      carry >>= 32;
    }
    return carry == 0;
  }
  /// this = this / 10; gives the remainder.
  std::uint32_t DivideByTen() {
    std::uint64_t rest = 0;
    for (int i = 3; i >= 0; --i) {
      rest = rest << 32 | limbs[i];
      limbs[i] = static_cast<std::uint32_t>(rest / 10);
      rest %= 10;
    }
    return static_cast<std::uint32_t>(rest);
  }
  bool Increment() {
    for (auto& limb : limbs)
      if (++limb != 0) return true;
    return false;
  }
  [[nodiscard]] bool IsZero() const { return (limbs[0] | limbs[1] | limbs[2] | limbs[3]) == 0; }
};

std::string DescribeDate(double serial) {
  if (!std::isfinite(serial) || std::fabs(serial) > 3000000) return "#" + base::FixedText(serial, 6) + "#";
  const auto [day, seconds] = base::SplitSerial(serial, base::kSecondsADay);
  const base::CivilDay civil = base::CivilOf(day);
  std::string text = "#";
  base::AppendPadded(text, civil.year, 4);
  base::AppendPadded(text += '-', civil.month, 2);
  base::AppendPadded(text += '-', civil.day, 2);
  base::AppendPadded(text += ' ', seconds / 3600, 2);
  base::AppendPadded(text += ':', seconds / 60 % 60, 2);
  base::AppendPadded(text += ':', seconds % 60, 2);
  return text + "#";
}

}  // namespace

std::optional<Guid> Guid::Parse(std::string_view text) {
  if (text.size() >= 2 && text.front() == '{' && text.back() == '}') text = text.substr(1, text.size() - 2);
  if (text.size() != 36) return std::nullopt;
  Guid guid;
  std::size_t byte = 0;
  for (std::size_t i = 0; i < text.size();) {
    if (i == 8 || i == 13 || i == 18 || i == 23) {
      if (text[i++] != '-') return std::nullopt;
      continue;
    }
    const int high = HexValue(text[i]);
    const int low = HexValue(text[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    guid.bytes[byte++] = static_cast<std::uint8_t>(high << 4 | low);
    i += 2;
  }
  return guid;
}

std::string Guid::Text() const {
  std::string text = "{";
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    text += kHexDigits[bytes[i] >> 4];
    text += kHexDigits[bytes[i] & 15];
  }
  return text + "}";
}

std::optional<Numeric> Numeric::Parse(std::string_view text) {
  Numeric number;
  Magnitude magnitude(number);
  std::size_t i = 0;
  if (!text.empty() && (text[0] == '-' || text[0] == '+')) number.negative = text[i++] == '-';
  bool digits = false;
  bool point = false;
  for (; i < text.size(); ++i) {
    if (text[i] == '.' && !point) {
      point = true;
      continue;
    }
    if (text[i] < '0' || text[i] > '9' || (point && number.scale == 255)) return std::nullopt;
    digits = true;
    if (!magnitude.TimesTenPlus(static_cast<std::uint32_t>(text[i] - '0'))) return std::nullopt;
    if (point) ++number.scale;
  }
  if (!digits) return std::nullopt;
  if (magnitude.IsZero()) number.negative = false;
  magnitude.Store(number);
  return number;
}

std::string Numeric::Text() const {
  Magnitude magnitude(*this);
  std::string reversed;
  while (!magnitude.IsZero() || reversed.size() <= scale) {
    if (scale > 0 && reversed.size() == scale) reversed += '.';
    reversed += static_cast<char>('0' + magnitude.DivideByTen());
    if (scale > 0 && reversed.size() > scale && magnitude.IsZero()) break;
  }
  if (negative) reversed += '-';
  return {reversed.rbegin(), reversed.rend()};
}

double Numeric::ToDouble() const { return base::ReadReal(Text()).value_or(0); }

std::optional<Numeric> Numeric::WithScale(std::uint8_t newScale) const {
  Numeric result = *this;
  Magnitude magnitude(*this);
  std::uint32_t last = 0;
  for (; result.scale > newScale; --result.scale) last = magnitude.DivideByTen();
  if (last >= 5 && !magnitude.Increment()) return std::nullopt;
  for (; result.scale < newScale; ++result.scale)
    if (!magnitude.TimesTenPlus(0)) return std::nullopt;
  if (magnitude.IsZero()) result.negative = false;
  magnitude.Store(result);
  return result;
}

int Numeric::Digits() const {
  Magnitude magnitude(*this);
  int digits = 0;
  do {
    magnitude.DivideByTen();
    ++digits;
  } while (!magnitude.IsZero());
  return digits;
}

void Value::SetText(std::string_view text) {
  if (auto* held = std::get_if<std::string>(&data_))
    held->assign(text);
  else
    data_.emplace<std::string>(text);
}

void Value::SetBytes(const std::byte* data, std::size_t size) {
  if (auto* held = std::get_if<jet::Bytes>(&data_))
    held->assign(data, data + size);
  else
    data_.emplace<jet::Bytes>(data, data + size);
}

std::string Value::Describe() const {
  switch (Type()) {
    case ValueType::kNull:
      return "NULL";
    case ValueType::kBool:
      return AsBool() ? "True" : "False";
    case ValueType::kByte:
      return std::to_string(AsByte());
    case ValueType::kInteger:
      return std::to_string(AsInteger());
    case ValueType::kLong:
      return std::to_string(AsLong());
    case ValueType::kCurrency: {
      const auto scaled = AsCurrency().scaled;
      const Numeric number{0, scaled < 0 ? ~static_cast<std::uint64_t>(scaled) + 1 : static_cast<std::uint64_t>(scaled), 4, scaled < 0};
      return number.Text();
    }
    case ValueType::kSingle:
      return base::SignificantText(AsSingle(), 9);
    case ValueType::kDouble:
      return base::SignificantText(AsDouble(), 17);
    case ValueType::kDate:
      return DescribeDate(AsDate().serial);
    case ValueType::kText:
      return '"' + AsText() + '"';
    case ValueType::kBytes: {
      std::string text = "0x";
      for (const auto byte : AsBytes()) {
        text += kHexDigits[static_cast<unsigned>(byte) >> 4];
        text += kHexDigits[static_cast<unsigned>(byte) & 15];
      }
      return text;
    }
    case ValueType::kGuid:
      return AsGuid().Text();
    case ValueType::kNumeric:
      return AsNumeric().Text();
  }
  return {};
}

}  // namespace jet
