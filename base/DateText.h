#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace base {

/// Which order of three numbers the user writes.
enum class DateOrder { kDayFirst, kMonthFirst, kYearFirst };

/// Reads a date as people write it; a serial (see Calendar.h), or nothing for a text that is no date. Understood are:
/// - three numbers between two "/", "-", "." or blanks, in the given order, or with day and month changed where the order makes no date;
///   a first number of more than two digits, or above 31, is the year, whatever the order. Two-digit years: 00-29 are 2000-2029, 30-99
///   are 1930-1999.
/// - a month's name, French or English or one of monthNames (UTF-8; name i is that of month i % 12 + 1), without regard to case and
///   accents, whole or its beginning of three letters or more; a day and a year stand around it ("31 déc. 2003", "dec 31, 2003").
/// - day and month of this year ("31/12", "31 dec"), month and year for the first of a month ("12/2003", "dec 2003").
/// - a time "h:mm[:ss]", "h AM", "h:mm[:ss] PM" (also A and P), behind the day, in front of it or alone (then on day 0).
[[nodiscard]] std::optional<double> ReadDateText(std::string_view text, DateOrder order, std::span<const std::string> monthNames = {});

}  // namespace base
