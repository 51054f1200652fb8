#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "runtime/Variant.h"

namespace tamlo::ado::odbc {

/// A day, a time or both as servers write them, to the microsecond.
///
/// A Date counts days in a double: it is exact to the microsecond for 65,536 days on either side of 1899-12-30 (years 1720 to 2079), to the
/// millisecond elsewhere between the years 100 and 9999. What a Date cannot hold stays the server's text, and goes back as that text.
struct Moment {
  bool hasDay = false;
  bool hasTime = false;
  bool negative = false;  ///< a time below zero, which only MariaDB has
  int year = 1899;
  int month = 12;
  int day = 30;
  std::int64_t microseconds = 0;  ///< of the day; of a time alone any number of hours
};

/// Reads "2003-02-01", "2003-02-01 13:14:15.123456" (also with "T") and "-838:59:59.000001". Months and days may be 0, as MariaDB has them;
/// a day that no calendar has ("2003-02-31") is none. None for anything else: a zone, "infinity", "BC", a seventh digit that is not 0.
[[nodiscard]] std::optional<Moment> ReadMoment(std::string_view text);
/// A moment as text, without an allocation.
class MomentText {
 public:
  /// With so many digits of the fraction (6 at most, rounded, a half up) but without zeros at its end.
  MomentText(Moment moment, std::int16_t digits);
  [[nodiscard]] std::string_view Text() const { return {text_.data(), length_}; }

 private:
  void Number(std::int64_t value, std::size_t digits);
  void Sign(char sign) { text_[length_++] = sign; }

  std::array<char, 48> text_{};
  std::size_t length_ = 0;
};

/// The Date of a moment; none where it could not give every digit back.
[[nodiscard]] std::optional<runtime::Date> DateOfMoment(const Moment& moment);
/// A Date as a day and a time, rounded to so many digits of the fraction (6 at most) as far as a Date is exact.
/// Error 5 outside of the years 100 to 9999.
[[nodiscard]] Moment MomentOfDate(runtime::Date date, std::int16_t digits);

}  // namespace tamlo::ado::odbc
