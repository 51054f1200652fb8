#include "base/Numbers.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

namespace base {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(Numbers, ARealIsAWholeText) {
  EXPECT_EQ(ReadReal("1.5"), 1.5);
  EXPECT_EQ(ReadReal("-.5"), -0.5);
  EXPECT_EQ(ReadReal("5."), 5.0);
  EXPECT_EQ(ReadReal("1e3"), 1000.0);
  EXPECT_EQ(ReadReal("1E-3"), 0.001);
  EXPECT_EQ(ReadReal("0.1"), 0.1);
  for (const char* text : {"", " 1", "1 ", "+1", "1,5", "1.5.2", "-", ".", "1e", "1e+", "inf", "-INF", "nan", "nan(1)", "0x1", "1x"}) {
    EXPECT_EQ(ReadReal(text), std::nullopt) << text;
  }
}

TEST(Numbers, ARealThatNoDoubleHoldsIsNone) {
  EXPECT_EQ(ReadReal("1.7976931348623157e308"), std::numeric_limits<double>::max());
  EXPECT_EQ(ReadReal("1e309"), std::nullopt);
  EXPECT_EQ(ReadReal("1e-400"), std::nullopt);
  EXPECT_EQ(ReadReal("0e400"), 0.0);
}

TEST(Numbers, ARealAsSomebodyWritesItMayHaveBlanksAPlusAndAComma) {
  EXPECT_EQ(ReadWrittenReal("  +1,5 ", ','), 1.5);
  EXPECT_EQ(ReadWrittenReal("1.5", ','), 1.5);
  EXPECT_EQ(ReadWrittenReal("-1,5e3", ','), -1500.0);
  EXPECT_EQ(ReadWrittenReal(" 1.5", '.'), 1.5);
  for (const char* text : {"", " ", "+", "1,5.2", "1 5", "++1", "+-5", "\t1", "inf"})
    EXPECT_EQ(ReadWrittenReal(text, ','), std::nullopt) << text;
  EXPECT_EQ(ReadWrittenReal("1,5", '.'), std::nullopt);
}

TEST(Numbers, AWholeNumberIsAWholeText) {
  EXPECT_EQ(ReadWhole<int>("-12"), -12);
  EXPECT_EQ(ReadWhole<std::uint8_t>("255"), std::uint8_t{255});
  EXPECT_EQ(ReadWhole<std::uint8_t>("256"), std::nullopt);
  EXPECT_EQ(ReadWhole<unsigned>("-1"), std::nullopt);
  EXPECT_EQ(ReadWhole<std::int64_t>("9223372036854775808"), std::nullopt);
  EXPECT_EQ(ReadWhole<std::uint64_t>("FFff", 16), 0xFFFFU);
  for (const char* text : {"", "+1", " 1", "1 ", "1.0", "1e3", "x"}) EXPECT_EQ(ReadWhole<int>(text), std::nullopt) << text;
}

TEST(Numbers, TheShortestTextReadsBackAsTheSameNumber) {
  std::mt19937_64 random(20030201);
  for (int i = 0; i < 20000; ++i) {
    const auto value = std::bit_cast<double>(random());
    if (!std::isfinite(value)) continue;
    ASSERT_EQ(ReadReal(ShortestText(value)), value);
    ASSERT_EQ(ReadReal(ScientificText(value)), value);
  }
  EXPECT_EQ(ShortestText(0.1), "0.1");
  EXPECT_EQ(ShortestText(0.1F), "0.1");
  EXPECT_EQ(ShortestText(1e20), "1e+20");
  EXPECT_EQ(ShortestText(-0.0), "-0");
  EXPECT_EQ(ShortestText(kInfinity), "inf");
  EXPECT_EQ(ScientificText(1.5), "1.5e+00");
  EXPECT_EQ(ScientificText(1.0 / 3, 3), "3.33e-01");
}

TEST(Numbers, RoundedTextsAreThoseOfTheCLibraryInTheCLocale) {
  std::mt19937_64 random(20030202);
  std::array<char, 512> buffer{};
  for (int i = 0; i < 5000; ++i) {
    auto value = std::bit_cast<double>(random());
    if (!std::isfinite(value)) continue;
    if (i % 2 == 0) value = std::fmod(value, 1e9);
    for (const int digits : {1, 7, 15, 17}) {
      std::snprintf(buffer.data(), buffer.size(), "%.*g", digits, value);
      ASSERT_EQ(SignificantText(value, digits), buffer.data());
      std::snprintf(buffer.data(), buffer.size(), "%.*f", digits, value);
      ASSERT_EQ(FixedText(value, digits), buffer.data());
    }
  }
  EXPECT_EQ(SignificantText(1.0 / 3, 15), "0.333333333333333");
  EXPECT_EQ(SignificantText(1.5e-7, 15), "1.5e-07");
  EXPECT_EQ(FixedText(2.5, 0), "2");
  EXPECT_EQ(FixedText(-std::numeric_limits<double>::max(), 28).size(), 1U + 309 + 1 + 28);
}

TEST(Numbers, PaddingStandsBehindTheSign) {
  std::string text;
  for (const std::int64_t value : {7, 42, 123, -7}) AppendPadded(text, value, 2);
  EXPECT_EQ(text, "0742123-7");
  text.clear();
  AppendPadded(text, -7, 4);
  EXPECT_EQ(text, "-007");
}

}  // namespace
}  // namespace base
