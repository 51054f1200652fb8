#include "base/MomentText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "base/Calendar.h"

namespace base {
namespace {

std::string TextOf(double serial) {
  std::string text = "<";
  return AppendMomentText(text, serial) ? text.substr(1) : text;
}

TEST(MomentText, AMomentIsWrittenToTheMillisecond) {
  EXPECT_EQ(TextOf(0), "1899-12-30 00:00:00");
  EXPECT_EQ(TextOf(37986.4375), "2003-12-31 10:30:00");
  EXPECT_EQ(TextOf(37986 + 0.001 / 86400), "2003-12-31 00:00:00.001");
  EXPECT_EQ(TextOf(37986 + 0.25 / 86400), "2003-12-31 00:00:00.250");
  EXPECT_EQ(TextOf(-1.25), "1899-12-29 06:00:00");
  EXPECT_EQ(TextOf(37986.999999999), "2004-01-01 00:00:00") << "rounded to the day behind";
  EXPECT_EQ(TextOf(-0.999999999), "1899-12-31 00:00:00");
}

TEST(MomentText, NothingIsWrittenOutsideOfTheCalendar) {
  EXPECT_EQ(TextOf(static_cast<double>(kFirstDay)), "0100-01-01 00:00:00");
  EXPECT_EQ(TextOf(static_cast<double>(kLastDay)), "9999-12-31 00:00:00");
  for (const double serial : {kFirstDay - 1.0, kLastDay + 1.0, kLastDay + 0.9999999999, 1e300, -1e300, std::nan("")})
    EXPECT_EQ(TextOf(serial), "<") << serial;
}

}  // namespace
}  // namespace base
