#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "runtime/RegionalSettings.h"
#include "runtime/Variant.h"

namespace tamlo::runtime {

/// Conversions between values as the language's runtime made them, in the user's regional settings.
/// All raise error 13 for a text that is no number (no date, no boolean), 94 for Null where a value is needed, 6 when the result does not fit.
/// Empty converts as 0, "", false. Fractions round halves to the even neighbour. A boolean is -1 or 0 as a number, "True"/"False" is
/// never written by the system: as text a boolean gives "-1" or "0".

[[nodiscard]] std::string ToText(const Variant& value, const RegionalSettings& settings = UserSettings());
[[nodiscard]] std::int16_t ToInt16(const Variant& value, const RegionalSettings& settings = UserSettings());
[[nodiscard]] std::int32_t ToInt32(const Variant& value, const RegionalSettings& settings = UserSettings());
[[nodiscard]] double ToDouble(const Variant& value, const RegionalSettings& settings = UserSettings());
[[nodiscard]] bool ToBoolean(const Variant& value, const RegionalSettings& settings = UserSettings());
[[nodiscard]] Date ToDate(const Variant& value, const RegionalSettings& settings = UserSettings());

/// True when the text reads as a number under the settings (blanks around allowed; empty text is not a number).
[[nodiscard]] bool IsNumeric(std::string_view text, const RegionalSettings& settings = UserSettings());

/// The shortest decimal text that reads back as the same double: plain digits, no thousands separator, "." as separator when
/// decimalPoint says so; an exponent only beyond 15 digits ("1E+20").
[[nodiscard]] std::string ShortestText(double value, char decimalPoint = '.');

/// Nearest whole number, halves to the even neighbour. Error 6 outside the 16-bit (32-bit) range.
[[nodiscard]] std::int16_t RoundToInt16(double value);
[[nodiscard]] std::int32_t RoundToInt32(double value);

/// 16-bit additions whose overflow is error 6.
[[nodiscard]] std::int16_t Add16(std::int16_t a, std::int32_t b);
/// A count or position as 16 bits; error 6 beyond 32767.
[[nodiscard]] std::int16_t CheckedInt16(std::int64_t value);

}  // namespace tamlo::runtime
