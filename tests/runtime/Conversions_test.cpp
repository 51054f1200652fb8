#include "runtime/Conversions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "tests/runtime/RuntimeErrors.h"

namespace tamlo::runtime {
namespace {

const RegionalSettings kFrench{"dd/MM/yyyy", ','};
const RegionalSettings kEnglish{"M/d/yyyy", '.'};

std::int32_t NumberOfInt16(const Variant& value) {
  return RaisedNumber([&] { static_cast<void>(ToInt16(value, kFrench)); });
}

TEST(Conversions, ATextThatIsNoNumberIsATypeMismatch) {
  for (const char* text : {"abc", "", "  ", "1 2", "12a", "--1", "1,2,3", ",", "-", "1E", "&", "&H", "&HG", "2.5", "\xC3\xA9"}) {
    EXPECT_EQ(NumberOfInt16(text), 13) << text;
    EXPECT_FALSE(IsNumeric(text, kFrench)) << text;
  }
}

TEST(Conversions, ANumberTooLargeForSixteenBitsOverflows) {
  EXPECT_EQ(NumberOfInt16("40000"), 6);
  EXPECT_EQ(NumberOfInt16("32767,5"), 6);
  EXPECT_EQ(NumberOfInt16("-32769"), 6);
  EXPECT_EQ(NumberOfInt16(std::int64_t{32768}), 6);
  EXPECT_EQ(NumberOfInt16("1E400"), 6);
  EXPECT_EQ(ToInt16("32767,4", kFrench), 32767);
  EXPECT_EQ(ToInt16("-32768,5", kFrench), -32768);
}

TEST(Conversions, TheUsersDecimalSeparatorIsRead) {
  EXPECT_EQ(ToInt16("2,5", kFrench), 2);
  EXPECT_DOUBLE_EQ(ToDouble("12,75", kFrench), 12.75);
  EXPECT_DOUBLE_EQ(ToDouble("12.75", kEnglish), 12.75);
  EXPECT_EQ(RaisedNumber([] { static_cast<void>(ToDouble("12,75", kEnglish)); }), 13);
}

TEST(Conversions, HalvesRoundToTheEvenNeighbour) {
  EXPECT_EQ(RoundToInt16(0.5), 0);
  EXPECT_EQ(RoundToInt16(1.5), 2);
  EXPECT_EQ(RoundToInt16(2.5), 2);
  EXPECT_EQ(RoundToInt16(-0.5), 0);
  EXPECT_EQ(RoundToInt16(-1.5), -2);
  EXPECT_EQ(RoundToInt16(-2.5), -2);
  EXPECT_EQ(RoundToInt16(2.4999), 2);
  EXPECT_EQ(RoundToInt16(2.5001), 3);
  EXPECT_EQ(RoundToInt32(2147483646.5), 2147483646);
  EXPECT_EQ(RaisedNumber([] { static_cast<void>(RoundToInt32(2147483647.5)); }), 6);
  EXPECT_EQ(RaisedNumber([] { static_cast<void>(RoundToInt16(std::numeric_limits<double>::quiet_NaN())); }), 6);
}

TEST(Conversions, BlanksSignsAndExponentsAreUnderstood) {
  EXPECT_EQ(ToInt16("  12  ", kFrench), 12);
  EXPECT_EQ(ToInt16("+7", kFrench), 7);
  EXPECT_EQ(ToInt16("-7", kFrench), -7);
  EXPECT_EQ(ToInt16("7-", kFrench), -7);
  EXPECT_DOUBLE_EQ(ToDouble("1E3", kFrench), 1000);
  EXPECT_DOUBLE_EQ(ToDouble("1d-2", kFrench), 0.01);
  EXPECT_DOUBLE_EQ(ToDouble(",5", kFrench), 0.5);
  EXPECT_DOUBLE_EQ(ToDouble("5,", kFrench), 5);
  EXPECT_DOUBLE_EQ(ToDouble("1E-400", kFrench), 0);
  EXPECT_DOUBLE_EQ(ToDouble("0,0000E-999", kFrench), 0);
}

TEST(Conversions, BaseSixteenAndEightTextsFillTheBitsOfTheType) {
  EXPECT_EQ(ToInt16("&H10", kFrench), 16);
  EXPECT_EQ(ToInt16(" &h1f ", kFrench), 31);
  EXPECT_EQ(ToInt16("&O17", kFrench), 15);
  EXPECT_EQ(ToInt16("&HFFFF", kFrench), -1);
  EXPECT_EQ(NumberOfInt16("&H10000"), 6);
  EXPECT_EQ(ToInt32("&HFFFF", kFrench), 65535);
  EXPECT_DOUBLE_EQ(ToDouble("&HFFFF", kFrench), 65535);
  EXPECT_EQ(NumberOfInt16("&HFFFFFFFFFFFFFFFFF"), 6);
  EXPECT_TRUE(IsNumeric("&H10", kFrench));
}

TEST(Conversions, NullIsAnErrorOfItsOwn) {
  EXPECT_EQ(NumberOfInt16(Null{}), 94);
  EXPECT_EQ(RaisedNumber([] { static_cast<void>(ToText(Null{})); }), 94);
  EXPECT_EQ(RaisedNumber([] { static_cast<void>(ToBoolean(Null{})); }), 94);
  EXPECT_EQ(RaisedNumber([] { static_cast<void>(ToDate(Null{})); }), 94);
}

TEST(Conversions, AValueNeverAssignedIsZeroFalseAndNoText) {
  EXPECT_EQ(ToInt16(Empty{}), 0);
  EXPECT_EQ(ToText(Empty{}), "");
  EXPECT_FALSE(ToBoolean(Empty{}));
  EXPECT_EQ(ToDate(Empty{}).serial, 0);
}

TEST(Conversions, ABooleanIsMinusOneOrZero) {
  EXPECT_EQ(ToInt16(true), -1);
  EXPECT_EQ(ToInt16(false), 0);
  EXPECT_EQ(ToText(true), "-1");
  EXPECT_EQ(ToText(false), "0");
}

TEST(Conversions, TextsAndNumbersReadAsBooleans) {
  EXPECT_TRUE(ToBoolean("-1"));
  EXPECT_TRUE(ToBoolean("2"));
  EXPECT_FALSE(ToBoolean("0"));
  EXPECT_TRUE(ToBoolean(" Vrai "));
  EXPECT_TRUE(ToBoolean("TRUE"));
  EXPECT_FALSE(ToBoolean("faux"));
  EXPECT_FALSE(ToBoolean("False"));
  EXPECT_TRUE(ToBoolean(0.25));
  EXPECT_EQ(RaisedNumber([] { static_cast<void>(ToBoolean("oui")); }), 13);
}

TEST(Conversions, NumbersBecomeTextInTheUsersSettings) {
  EXPECT_EQ(ToText(std::int16_t{-12}, kFrench), "-12");
  EXPECT_EQ(ToText(std::uint8_t{200}, kFrench), "200");
  EXPECT_EQ(ToText(2.5, kFrench), "2,5");
  EXPECT_EQ(ToText(0.1F, kFrench), "0,1");
  EXPECT_EQ(ToText(Currency{-12500}, kFrench), "-1,25");
  EXPECT_EQ(ToText(Currency{10001}, kEnglish), "1.0001");
  EXPECT_EQ(ToText(Currency{std::numeric_limits<std::int64_t>::min()}, kEnglish), "-922337203685477.5808");
  EXPECT_EQ(ToText(Decimal{"12345678901234567890.5"}, kFrench), "12345678901234567890,5");
  EXPECT_EQ(ToText(Guid{"{00000000-0000-0000-0000-000000000001}"}), "{00000000-0000-0000-0000-000000000001}");
  EXPECT_EQ(ToText(Date{37653.4375}, kFrench), "01/02/2003 10:30:00");
  EXPECT_EQ(RaisedNumber([] { static_cast<void>(ToText(Bytes{std::byte{1}})); }), 13);
}

TEST(Conversions, ADecimalIsReadWithoutRegardToTheSettings) { EXPECT_DOUBLE_EQ(ToDouble(Decimal{"-1.5"}, kFrench), -1.5); }

TEST(Conversions, TextsReadAsDates) {
  EXPECT_EQ(ToDate("01/02/2003", kFrench).serial, 37653);
  EXPECT_EQ(ToDate("01/02/2003", kEnglish).serial, 37623);
  EXPECT_EQ(RaisedNumber([] { static_cast<void>(ToDate("abc", kFrench)); }), 13);
  EXPECT_EQ(RaisedNumber([] { static_cast<void>(ToDate("37653", kFrench)); }), 13);
  EXPECT_EQ(ToDate(37653.5).serial, 37653.5);
  EXPECT_EQ(RaisedNumber([] { static_cast<void>(ToDate(1e9)); }), 6);
}

TEST(Conversions, TheShortestTextHasPlainDigitsUpToFifteen) {
  EXPECT_EQ(ShortestText(0), "0");
  EXPECT_EQ(ShortestText(-0.0), "0");
  EXPECT_EQ(ShortestText(12), "12");
  EXPECT_EQ(ShortestText(-2.5), "-2.5");
  EXPECT_EQ(ShortestText(0.1), "0.1");
  EXPECT_EQ(ShortestText(1200), "1200");
  EXPECT_EQ(ShortestText(0.00001), "0.00001");
  EXPECT_EQ(ShortestText(123456789012345), "123456789012345");
  EXPECT_EQ(ShortestText(1e20), "1E+20");
  EXPECT_EQ(ShortestText(1e15), "1E+15");
  EXPECT_EQ(ShortestText(1.5e-20), "1.5E-20");
  EXPECT_EQ(ShortestText(1e100, ','), "1E+100");
  EXPECT_EQ(ShortestText(1234.5, ','), "1234,5");
  EXPECT_EQ(ShortestText(-1.25e300, ','), "-1,25E+300");
}

TEST(Conversions, TheShortestTextReadsBackAsTheSameNumber) {
  std::mt19937_64 random(20240229);
  for (int i = 0; i < 20000; ++i) {
    const auto bits = random();
    const auto value = std::bit_cast<double>(bits);
    if (!std::isfinite(value) || std::fpclassify(value) == FP_SUBNORMAL) continue;
    const std::string text = ShortestText(value, ',');
    ASSERT_EQ(ToDouble(text, kFrench), value) << text;
  }
}

TEST(Conversions, SixteenBitSumsOverflow) {
  EXPECT_EQ(Add16(32766, 1), 32767);
  EXPECT_EQ(RaisedNumber([] { static_cast<void>(Add16(32767, 1)); }), 6);
  EXPECT_EQ(RaisedNumber([] { static_cast<void>(Add16(-32768, -1)); }), 6);
  EXPECT_EQ(CheckedInt16(32767), 32767);
  EXPECT_EQ(RaisedNumber([] { static_cast<void>(CheckedInt16(32768)); }), 6);
}

}  // namespace
}  // namespace tamlo::runtime
