#include "runtime/Conversions.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>

#include "base/Blanks.h"
#include "base/Calendar.h"
#include "base/Numbers.h"
#include "runtime/Dates.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::runtime {

namespace {

bool IsDigit(char letter) { return letter >= '0' && letter <= '9'; }

std::string_view TrimBlanks(std::string_view text) { return base::TrimOf(text, " \t"); }

/// A number written in base 16 ("&H1F") or 8 ("&O17"): its bits, whose meaning depends on the size that they go to.
struct Bits {
  std::uint64_t value = 0;
};

std::optional<Bits> ParseBits(std::string_view text) {
  text = TrimBlanks(text);
  if (text.size() < 3 || text[0] != '&') return std::nullopt;
  const char letter = text[1];
  const int base = letter == 'H' || letter == 'h' ? 16 : letter == 'O' || letter == 'o' ? 8 : 0;
  if (base == 0) return std::nullopt;
  Bits bits;
  const char* const end = text.data() + text.size();
  const auto [stopped, failure] = std::from_chars(text.data() + 2, end, bits.value, base);
  if (failure == std::errc::result_out_of_range) throw Error(kOverflow);
  if (failure != std::errc() || stopped != end) return std::nullopt;
  return bits;
}

bool IsSign(char letter) { return letter == '-' || letter == '+'; }

/// Moves the digits that a text begins with; how many they are.
std::size_t TakeDigits(std::string_view& text, std::string& out) {
  std::size_t count = 0;
  while (count < text.size() && IsDigit(text[count])) ++count;
  out += text.substr(0, count);
  text.remove_prefix(count);
  return count;
}

/// The sign in front of a number, else that behind it.
void TakeSign(std::string_view& text, std::string& out) {
  if (text.empty()) return;
  const bool inFront = IsSign(text.front());
  if (!inFront && !IsSign(text.back())) return;
  if ((inFront ? text.front() : text.back()) == '-') out.push_back('-');
  inFront ? text.remove_prefix(1) : text.remove_suffix(1);
}

/// False for an exponent without digits.
bool TakeExponent(std::string_view& text, std::string& out) {
  if (text.empty() || std::string_view("eEdD").find(text.front()) == std::string_view::npos) return true;
  text.remove_prefix(1);
  out.push_back('e');
  if (!text.empty() && IsSign(text.front())) {
    if (text.front() == '-') out.push_back('-');
    text.remove_prefix(1);
  }
  return TakeDigits(text, out) != 0;
}

/// The number in plain form, with "." as its separator and "e" before its exponent; empty when the text is no number.
std::string Normalized(std::string_view text, char decimalPoint) {
  text = TrimBlanks(text);
  std::string out;
  TakeSign(text, out);
  std::size_t digits = TakeDigits(text, out);
  if (!text.empty() && text.front() == decimalPoint) {
    out.push_back('.');
    text.remove_prefix(1);
    digits += TakeDigits(text, out);
  }
  if (digits == 0 || !TakeExponent(text, out) || !text.empty()) return {};
  return out;
}

/// The value of a text in plain form. Too large is error 6; too small to tell from zero is zero.
double Value(const std::string& plain) {
  if (const auto value = base::ReadReal(plain)) return *value;
  const std::size_t exponent = plain.find('e');
  const bool tiny = exponent != std::string::npos ? plain[exponent + 1] == '-' : plain.find_first_of("123456789") > plain.find('.');
  if (tiny) return 0;
  throw Error(kOverflow);
}

double TextToDouble(std::string_view text, char decimalPoint) {
  if (const auto bits = ParseBits(text)) return static_cast<double>(bits->value);
  const std::string plain = Normalized(text, decimalPoint);
  if (plain.empty()) throw Error(kTypeMismatch);
  return Value(plain);
}

/// Base 16 and base 8 texts fill the bits of the type: "&HFFFF" is -1 as a 16-bit number.
template <typename Integer>
Integer FromBits(Bits bits) {
  using Unsigned = std::make_unsigned_t<Integer>;
  if (bits.value > std::numeric_limits<Unsigned>::max()) throw Error(kOverflow);
  return static_cast<Integer>(static_cast<Unsigned>(bits.value));
}

double RoundHalfToEven(double value) {
  const double below = std::floor(value);
  const double rest = value - below;
  if (rest < 0.5) return below;
  if (rest > 0.5) return below + 1;
  return std::fmod(below, 2) == 0 ? below : below + 1;
}

template <typename Integer>
Integer RoundTo(double value) {
  const double rounded = RoundHalfToEven(value);
  // Written so that "not a number" fails too.
  if (!(rounded >= std::numeric_limits<Integer>::min() && rounded <= std::numeric_limits<Integer>::max())) throw Error(kOverflow);
  return static_cast<Integer>(rounded);
}

template <typename Integer>
Integer ToInteger(const Variant& value, const RegionalSettings& settings) {
  if (const auto* text = value.If<std::string>()) {
    if (const auto bits = ParseBits(*text)) return FromBits<Integer>(*bits);
  }
  if (const auto* whole = value.If<std::int64_t>()) {
    if (*whole < std::numeric_limits<Integer>::min() || *whole > std::numeric_limits<Integer>::max()) throw Error(kOverflow);
    return static_cast<Integer>(*whole);
  }
  return RoundTo<Integer>(ToDouble(value, settings));
}

/// The decimal text from the digits and exponent that to_chars gives in scientific form.
std::string FromScientific(std::string_view scientific, char decimalPoint) {
  constexpr int kPlainDigits = 15;
  std::string out;
  if (scientific.front() == '-') {
    out.push_back('-');
    scientific.remove_prefix(1);
  }
  const std::size_t mark = scientific.find('e');
  const std::size_t sign = scientific[mark + 1] == '+' ? 1 : 0;
  const int exponent = base::ReadWhole<int>(scientific.substr(mark + 1 + sign)).value_or(0);
  std::string digits(1, scientific.front());
  if (mark > 2) digits += scientific.substr(2, mark - 2);

  if (exponent >= kPlainDigits || exponent < -kPlainDigits) {
    out.push_back(digits.front());
    if (digits.size() > 1) out.append(1, decimalPoint).append(digits, 1);
    const std::string magnitude = std::to_string(std::abs(exponent));
    out.append(exponent < 0 ? "E-" : "E+").append(magnitude.size() < 2 ? "0" : "").append(magnitude);
  } else if (exponent < 0) {
    out.append("0").append(1, decimalPoint).append(static_cast<std::size_t>(-exponent - 1), '0').append(digits);
  } else {
    const auto whole = static_cast<std::size_t>(exponent) + 1;
    if (digits.size() <= whole) {
      out.append(digits).append(whole - digits.size(), '0');
    } else {
      out.append(digits, 0, whole).append(1, decimalPoint).append(digits, whole);
    }
  }
  return out;
}

template <typename Float>
std::string Shortest(Float value, char decimalPoint) {
  if (!std::isfinite(value)) throw Error(kOverflow);
  if (value == 0) return "0";
  return FromScientific(base::ScientificText(value), decimalPoint);
}

std::string CurrencyText(Currency amount, char decimalPoint) {
  const bool negative = amount.tenThousandths < 0;
  std::uint64_t magnitude = static_cast<std::uint64_t>(amount.tenThousandths);
  if (negative) magnitude = 0 - magnitude;
  std::string out = (negative ? "-" : "") + std::to_string(magnitude / 10000);
  std::string decimals = std::to_string(10000 + magnitude % 10000).substr(1);
  while (!decimals.empty() && decimals.back() == '0') decimals.pop_back();
  if (!decimals.empty()) out.append(1, decimalPoint).append(decimals);
  return out;
}

bool EqualsIgnoringCase(std::string_view text, std::string_view lower) { return LowerCase(text) == lower; }

bool TextToBoolean(std::string_view text, char decimalPoint) {
  const std::string_view word = TrimBlanks(text);
  if (EqualsIgnoringCase(word, "true") || EqualsIgnoringCase(word, "vrai")) return true;
  if (EqualsIgnoringCase(word, "false") || EqualsIgnoringCase(word, "faux")) return false;
  return TextToDouble(word, decimalPoint) != 0;
}

struct TextWriter {
  char decimalPoint;
  const RegionalSettings& settings;

  std::string operator()(Empty) const { return {}; }
  std::string operator()(Null) const { throw Error(kInvalidUseOfNull); }
  std::string operator()(bool value) const { return value ? "-1" : "0"; }
  std::string operator()(float value) const { return Shortest(value, decimalPoint); }
  std::string operator()(double value) const { return Shortest(value, decimalPoint); }
  std::string operator()(Currency value) const { return CurrencyText(value, decimalPoint); }
  std::string operator()(Date value) const { return FormatDate(value, "", settings); }
  std::string operator()(const Decimal& value) const {
    std::string text = value.text;
    if (const auto point = text.find('.'); point != std::string::npos) text[point] = decimalPoint;
    return text;
  }
  std::string operator()(const Guid& value) const { return value.text; }
  std::string operator()(const std::string& value) const { return value; }
  std::string operator()(const Bytes&) const { throw Error(kTypeMismatch); }
  template <typename Integer>
  requires std::is_integral_v<Integer> std::string operator()(Integer value) const { return std::to_string(value); }
};

struct NumberReader {
  char decimalPoint;

  double operator()(Empty) const { return 0; }
  double operator()(Null) const { throw Error(kInvalidUseOfNull); }
  double operator()(bool value) const { return value ? -1 : 0; }
  double operator()(Currency value) const { return static_cast<double>(value.tenThousandths) / 10000; }
  double operator()(Date value) const { return value.serial; }
  double operator()(const Decimal& value) const { return TextToDouble(value.text, '.'); }
  double operator()(const Guid&) const { throw Error(kTypeMismatch); }
  double operator()(const std::string& value) const { return TextToDouble(value, decimalPoint); }
  double operator()(const Bytes&) const { throw Error(kTypeMismatch); }
  template <typename Number>
  requires std::is_arithmetic_v<Number>
  double operator()(Number value) const { return static_cast<double>(value); }
};

}  // namespace

std::string ToText(const Variant& value, const RegionalSettings& settings) {
  return std::visit(TextWriter{settings.decimalPoint, settings}, value.Stored());
}

std::int16_t ToInt16(const Variant& value, const RegionalSettings& settings) { return ToInteger<std::int16_t>(value, settings); }

std::int32_t ToInt32(const Variant& value, const RegionalSettings& settings) { return ToInteger<std::int32_t>(value, settings); }

double ToDouble(const Variant& value, const RegionalSettings& settings) {
  return std::visit(NumberReader{settings.decimalPoint}, value.Stored());
}

bool ToBoolean(const Variant& value, const RegionalSettings& settings) {
  if (const auto* text = value.If<std::string>()) return TextToBoolean(*text, settings.decimalPoint);
  return ToDouble(value, settings) != 0;
}

Date ToDate(const Variant& value, const RegionalSettings& settings) {
  if (const auto* date = value.If<Date>()) return *date;
  if (const auto* text = value.If<std::string>()) {
    if (const auto date = ParseDate(*text, settings)) return *date;
    throw Error(kTypeMismatch);
  }
  const double serial = ToDouble(value, settings);
  if (!(serial > base::kFirstDay - 1 && serial < base::kLastDay + 1)) throw Error(kOverflow);
  return {serial};
}

bool IsNumeric(std::string_view text, const RegionalSettings& settings) {
  return !Normalized(text, settings.decimalPoint).empty() || IgnoringErrors([&] {
                                                               if (!ParseBits(text)) throw Error(kTypeMismatch);
                                                             }).number == 0;
}

std::string ShortestText(double value, char decimalPoint) { return Shortest(value, decimalPoint); }

std::int16_t RoundToInt16(double value) { return RoundTo<std::int16_t>(value); }

std::int32_t RoundToInt32(double value) { return RoundTo<std::int32_t>(value); }

std::int16_t Add16(std::int16_t a, std::int32_t b) { return CheckedInt16(std::int64_t{a} + b); }

std::int16_t CheckedInt16(std::int64_t value) {
  if (value < std::numeric_limits<std::int16_t>::min() || value > std::numeric_limits<std::int16_t>::max()) throw Error(kOverflow);
  return static_cast<std::int16_t>(value);
}

}  // namespace tamlo::runtime
