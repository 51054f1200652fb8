#include "move/Values.h"

#include <array>
#include <charconv>
#include <type_traits>
#include <variant>

#include "base/Case.h"
#include "base/MomentText.h"

namespace tamlo::move {
namespace {

using runtime::Variant;
using schema::Engine;
using schema::Kind;

template <typename Number>
std::string Shortest(Number number) {
  std::array<char, 64> text{};
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number);
  return {text.data(), end.ptr};
}

std::string AmountText(std::int64_t tenThousandths) {
  const bool negative = tenThousandths < 0;
  std::string digits =
      std::to_string(negative ? 0 - static_cast<std::uint64_t>(tenThousandths) : static_cast<std::uint64_t>(tenThousandths));
  if (digits.size() < 5) digits.insert(0, 5 - digits.size(), '0');
  digits.insert(digits.size() - 4, ".");
  return (negative ? "-" : "") + digits;
}

std::string WithoutBraces(std::string text) {
  if (text.size() == 38 && text.front() == '{' && text.back() == '}') text = text.substr(1, 36);
  return base::LowerCase(text);
}

std::string HexText(const runtime::Bytes& bytes) {
  static constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  for (const std::byte byte : bytes) {
    text += kDigits[std::to_integer<unsigned>(byte) >> 4U];
    text += kDigits[std::to_integer<unsigned>(byte) & 15U];
  }
  return text;
}

/// -1 of Access is 1 everywhere else.
void ToOneOrZero(Variant& value) {
  if (const bool* truth = value.If<bool>()) value = Variant(static_cast<std::int16_t>(*truth ? 1 : 0));
}

void ToPlainGuid(Variant& value) {
  if (const auto* guid = value.If<runtime::Guid>()) {
    value = Variant(WithoutBraces(guid->text));
  } else if (const auto* text = value.If<std::string>()) {
    value = Variant(WithoutBraces(*text));
  }
}

/// Engines without exact numbers keep their text, with as many digits behind the point as the column has.
void ToDecimalText(Variant& value, int scale) {
  if (const auto* amount = value.If<runtime::Currency>()) value = Variant(AmountText(amount->tenThousandths));
  std::visit(
      [&](const auto& stored) {
        using Stored = std::remove_cvref_t<decltype(stored)>;
        if constexpr (std::is_integral_v<Stored> && !std::is_same_v<Stored, bool>) value = Variant(runtime::Decimal{Shortest(stored)});
      },
      Variant(value).Stored());
  const auto* decimal = value.If<runtime::Decimal>();
  if (decimal == nullptr) return;
  std::string text = decimal->text;
  const auto point = text.find('.');
  const std::size_t digits = point == std::string::npos ? 0 : text.size() - point - 1;
  if (digits < static_cast<std::size_t>(scale)) {
    if (point == std::string::npos) text += '.';
    text.append(static_cast<std::size_t>(scale) - digits, '0');
  }
  value = Variant(std::move(text));
}

/// To the millisecond, which is as exact as Access's days are.
void ToMomentText(Variant& value) {
  const auto* date = value.If<runtime::Date>();
  std::string text;
  if (date != nullptr && base::AppendMomentText(text, date->serial)) value = Variant(std::move(text));
}

}  // namespace

std::function<void(Variant&)> ConversionFor(const schema::Type& type, Engine engine) {
  if (engine == Engine::kAccess) return {};
  switch (type.kind) {
    case Kind::kBoolean:
      return engine == Engine::kPostgreSql ? nullptr : ToOneOrZero;
    case Kind::kGuid:
      return ToPlainGuid;
    case Kind::kCurrency:
    case Kind::kDecimal:
      if (engine != Engine::kSqlite) return {};
      return [scale = type.kind == Kind::kCurrency ? 4 : type.scale](Variant& value) { ToDecimalText(value, scale); };
    case Kind::kMoment:
      return ToMomentText;
    default:
      return {};
  }
}

std::string PlainText(const Variant& value) {
  return std::visit(
      [](const auto& stored) -> std::string {
        using Stored = std::remove_cvref_t<decltype(stored)>;
        if constexpr (std::is_same_v<Stored, runtime::Empty> || std::is_same_v<Stored, runtime::Null>)
          return "NULL";
        else if constexpr (std::is_same_v<Stored, bool>)
          return stored ? "1" : "0";
        else if constexpr (std::is_arithmetic_v<Stored>)
          return Shortest(stored);
        else if constexpr (std::is_same_v<Stored, runtime::Currency>)
          return AmountText(stored.tenThousandths);
        else if constexpr (std::is_same_v<Stored, runtime::Decimal>)
          return stored.text;
        else if constexpr (std::is_same_v<Stored, runtime::Guid>)
          return WithoutBraces(stored.text);
        else if constexpr (std::is_same_v<Stored, std::string>)
          return stored;
        else if constexpr (std::is_same_v<Stored, runtime::Bytes>)
          return HexText(stored);
        else {
          std::string text;
          return base::AppendMomentText(text, stored.serial) ? text : Shortest(stored.serial);
        }
      },
      value.Stored());
}

}  // namespace tamlo::move
