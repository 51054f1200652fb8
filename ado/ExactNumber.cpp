#include "ado/ExactNumber.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>

#include "base/Numbers.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado {
namespace {

using runtime::Variant;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::optional<std::int64_t> WholeOf(const Variant& value) {
  if (const auto* n = value.If<std::int32_t>()) return *n;
  if (const auto* n = value.If<std::int64_t>()) return *n;
  if (const auto* n = value.If<std::int16_t>()) return *n;
  if (const auto* n = value.If<std::uint8_t>()) return *n;
  if (const auto* n = value.If<bool>()) return *n ? -1 : 0;
  return std::nullopt;
}

template <typename Real>
std::optional<ExactNumber> OfReal(Real value) {
  if (std::isnan(value)) return std::nullopt;
  if (std::isinf(value)) return ExactNumber{value < 0 ? -1 : 1, "1", std::numeric_limits<std::int64_t>::max()};
  return ExactNumber::Read(base::ShortestText(value));
}

/// Nulls, numbers, texts, everything else.
int Rank(const Variant& value, const std::optional<ExactNumber>& number) {
  if (value.IsNull() || value.IsEmpty()) return 0;
  return number ? 1 : 2;
}

std::string FoldedText(const Variant& value) {
  if (const auto* text = value.If<std::string>()) return runtime::UpperCase(*text);
  if (const auto* guid = value.If<runtime::Guid>()) return guid->text;
  if (const auto* bytes = value.If<runtime::Bytes>()) return {reinterpret_cast<const char*>(bytes->data()), bytes->size()};
  return {};
}

}  // namespace

std::optional<ExactNumber> ExactNumber::Read(std::string_view text) {
  text = runtime::Trim(text);
  ExactNumber number;
  number.sign = 1;
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
    if (text.front() == '-') number.sign = -1;
    text.remove_prefix(1);
  }
  bool any = false;
  bool fraction = false;
  for (; !text.empty() && (IsDigit(text.front()) || (text.front() == '.' && !fraction)); text.remove_prefix(1)) {
    if (text.front() == '.') {
      fraction = true;
      continue;
    }
    any = true;
    number.digits.push_back(text.front());
    if (!fraction) ++number.point;
  }
  if (!any) return std::nullopt;
  if (!text.empty()) {
    if (text.front() != 'e' && text.front() != 'E') return std::nullopt;
    text.remove_prefix(1);
    if (!text.empty() && text.front() == '+') text.remove_prefix(1);
    const auto exponent = base::ReadWhole<int>(text);
    if (!exponent) return std::nullopt;
    number.point += *exponent;
  }
  const std::size_t zeros = std::min(number.digits.find_first_not_of('0'), number.digits.size());
  number.digits.erase(0, zeros);
  number.point -= static_cast<std::int64_t>(zeros);
  number.digits.erase(number.digits.find_last_not_of('0') + 1);
  if (number.digits.empty()) return ExactNumber{};
  return number;
}

std::optional<ExactNumber> ExactNumber::Of(const Variant& value) {
  if (const auto whole = WholeOf(value)) return Read(std::to_string(*whole));
  if (const auto* n = value.If<double>()) return OfReal(*n);
  if (const auto* n = value.If<float>()) return OfReal(*n);
  if (const auto* n = value.If<runtime::Date>()) return OfReal(n->serial);
  if (const auto* n = value.If<runtime::Decimal>()) return Read(n->text);
  if (const auto* n = value.If<runtime::Currency>()) {
    auto number = Read(std::to_string(n->tenThousandths));
    if (number->sign != 0) number->point -= 4;
    return number;
  }
  return std::nullopt;
}

std::string ExactNumber::Text() const {
  constexpr std::int64_t kMostPlaces = 400;
  if (sign == 0) return "0";
  const auto count = static_cast<std::int64_t>(digits.size());
  if (point > kMostPlaces || count - point > kMostPlaces) throw runtime::Error(runtime::kOverflow);
  std::string text = sign < 0 ? "-" : "";
  if (point <= 0) return text + "0." + std::string(static_cast<std::size_t>(-point), '0') + digits;
  if (point >= count) return text + digits + std::string(static_cast<std::size_t>(point - count), '0');
  const auto whole = static_cast<std::size_t>(point);
  return text + digits.substr(0, whole) + "." + digits.substr(whole);
}

std::strong_ordering operator<=>(const ExactNumber& a, const ExactNumber& b) {
  if (a.sign != b.sign) return a.sign <=> b.sign;
  const auto size = a.point != b.point ? a.point <=> b.point : a.digits.compare(b.digits) <=> 0;
  if (a.sign >= 0 || size == 0) return size;
  return size < 0 ? std::strong_ordering::greater : std::strong_ordering::less;
}

std::strong_ordering OrderOf(const Variant& a, const Variant& b) {
  const auto wholeA = WholeOf(a);
  const auto wholeB = WholeOf(b);
  if (wholeA && wholeB) return *wholeA <=> *wholeB;
  const auto numberA = ExactNumber::Of(a);
  const auto numberB = ExactNumber::Of(b);
  const int rankA = Rank(a, numberA);
  const int rankB = Rank(b, numberB);
  if (rankA != rankB) return rankA <=> rankB;
  if (rankA == 1) return *numberA <=> *numberB;
  return FoldedText(a).compare(FoldedText(b)) <=> 0;
}

}  // namespace tamlo::ado
