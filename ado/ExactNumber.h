#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "runtime/Variant.h"

namespace tamlo::ado {

/// A number with all its digits, so that comparing two of different types loses none: 0.digits times ten to the power of point.
/// Binary fractions count as the shortest decimals that read back as them: 0.1 is one tenth.
struct ExactNumber {
  int sign = 0;  ///< 0 for zero, whose digits are empty
  std::string digits;
  std::int64_t point = 0;

  /// Reads "12", "-0.5", ".5", "1E+20", blanks around; none for anything else.
  [[nodiscard]] static std::optional<ExactNumber> Read(std::string_view text);
  /// The number that a value is; a boolean is -1 or 0, a date its days. None for other values, texts among them, and for what is no number.
  [[nodiscard]] static std::optional<ExactNumber> Of(const runtime::Variant& value);

  /// All its digits, with "." before the decimals and "-" in front, without an exponent: "0" for zero. Error 6 beyond 400 places on either side
  /// of the point.
  [[nodiscard]] std::string Text() const;

  friend std::strong_ordering operator<=>(const ExactNumber& a, const ExactNumber& b);
  friend bool operator==(const ExactNumber& a, const ExactNumber& b) = default;
};

/// Two values of one column in order: nulls first, numbers by value, texts without regard to case, bytes by bytes.
[[nodiscard]] std::strong_ordering OrderOf(const runtime::Variant& a, const runtime::Variant& b);

}  // namespace tamlo::ado
