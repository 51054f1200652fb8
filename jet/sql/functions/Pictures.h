#pragma once

#include <string>
#include <string_view>

namespace jet::sql {

/// FORMAT with a picture, for the usual ones. Numbers: "0.00", "#,##0", "0%", "000", "Fixed", "Standard", "Percent", "Currency",
/// "General Number", "Yes/No", "True/False", "On/Off", sections for negative values and zero after ";". Dates: d dd ddd dddd m mm mmm mmmm
/// yy yyyy h hh n nn s ss q w y, "Short Date", "Long Date", "Medium Date", "Short Time", "Long Time", "General Date", AM/PM.
[[nodiscard]] std::string FormatNumber(double value, std::string_view picture, char decimalPoint);
[[nodiscard]] std::string FormatDatePicture(double serial, std::string_view picture);
/// "<" lower case, ">" upper case, "@" one character or a blank, "&" one character or nothing.
[[nodiscard]] std::string FormatText(std::string_view text, std::string_view picture);

}  // namespace jet::sql
