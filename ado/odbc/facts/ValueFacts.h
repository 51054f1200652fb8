#pragma once

#include <cstddef>
#include <cstdint>

namespace tamlo::ado::odbc {

/// Texts that a server writes for moments that no Date holds, and takes back.
enum class MomentWords { kNone, kInfinite, kAny };

/// Which values a database keeps as they are. What it does not keep is refused before it is sent.
struct ValueFacts {
  bool keepsAnyValue = false;      ///< any value in any column: wider forms are sent and fetched, so that none is cut
  bool keepsNul = true;            ///< a character 0 inside a text is written like any other
  bool hasNan = true;              ///< numbers that are none are stored as such
  bool hasInfinity = true;         ///< so are infinite ones
  bool decimalsMayBeNone = false;  ///< exact numbers too may be none, or infinite
  std::size_t decimalDigits = 0;   ///< that an exact number keeps beyond 64 bits; 0 is all
  std::int64_t hoursOfTime = 0;    ///< from so many on a time without a day becomes another without a word; 0 is none
  MomentWords momentWords = MomentWords::kNone;
};

}  // namespace tamlo::ado::odbc
