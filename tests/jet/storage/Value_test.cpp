#include "jet/value/Value.h"

#include <gtest/gtest.h>

#include "jet/table/Convert.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

TableDefinition::Column StoredColumn(ColumnType type, std::uint16_t length = 510, std::uint8_t precision = 18, std::uint8_t scale = 0) {
  TableDefinition::Column column;
  column.name = "C";
  column.type = type;
  column.length = length;
  column.sort = {precision, scale, 0, 0};
  return column;
}

std::string Converted(const Value& value, const TableDefinition::Column& column) {
  Value scratch;
  return ConvertToColumn(value, column, scratch).Describe();
}

TEST(Value, DescribesItselfAsAPersonReadsIt) {
  EXPECT_EQ(Value().Describe(), "NULL");
  EXPECT_EQ(Value(true).Describe(), "True");
  EXPECT_EQ(Value(Currency{-12345}).Describe(), "-1.2345");
  EXPECT_EQ(Value(0.1).Describe(), "0.10000000000000001");
  EXPECT_EQ(Value("é").Describe(), "\"é\"");
  EXPECT_EQ(Value(Date{-1.25}).Describe(), "#1899-12-29 06:00:00#");
  EXPECT_EQ(Value(Date{43832.127835648149}).Describe(), "#2020-01-02 03:04:05#");
  EXPECT_EQ(Value(Bytes{std::byte{0x0A}, std::byte{0xFF}}).Describe(), "0x0AFF");
}

TEST(Value, GuidTextGoesThereAndBack) {
  const auto guid = Guid::Parse("{00112233-4455-6677-8899-aabbccddeeff}");
  ASSERT_TRUE(guid.has_value());
  EXPECT_EQ(guid->Text(), "{00112233-4455-6677-8899-AABBCCDDEEFF}");
  EXPECT_FALSE(Guid::Parse("{00112233-4455-6677-8899-aabbccddeef}").has_value());
  EXPECT_FALSE(Guid::Parse("00112233x4455-6677-8899-aabbccddeeff").has_value());
}

TEST(Value, NumericTextGoesThereAndBack) {
  for (const char* text : {"0", "-1", "12.340", "0.05", "-0.10", "340282366920938463463374607431768211455", "0.0000000001"})
    EXPECT_EQ(Numeric::Parse(text).value().Text(), text);
  EXPECT_FALSE(Numeric::Parse("340282366920938463463374607431768211456").has_value());
  EXPECT_FALSE(Numeric::Parse("1e5").has_value());
  EXPECT_FALSE(Numeric::Parse("-").has_value());
}

TEST(Value, NumericRoundsWhenItsScaleShrinks) {
  EXPECT_EQ(Numeric::Parse("1.25").value().WithScale(1).value().Text(), "1.3");
  EXPECT_EQ(Numeric::Parse("-0.04").value().WithScale(1).value().Text(), "0.0");
  EXPECT_FALSE(Numeric::Parse("-0.04").value().WithScale(1).value().negative);
  EXPECT_EQ(Numeric::Parse("7").value().WithScale(3).value().Text(), "7.000");
}

TEST(Convert, IntegersRoundHalvesToEvenAndKeepTheirRange) {
  EXPECT_EQ(Converted(Value(2.5), StoredColumn(ColumnType::kLong)), "2");
  EXPECT_EQ(Converted(Value(3.5), StoredColumn(ColumnType::kLong)), "4");
  EXPECT_EQ(Converted(Value(true), StoredColumn(ColumnType::kInteger)), "-1");
  EXPECT_EQ(Converted(Value(" 12 "), StoredColumn(ColumnType::kByte)), "12");
  EXPECT_EQ(CodeOf([] { Converted(Value(256), StoredColumn(ColumnType::kByte)); }), ErrorCode::kTypeMismatch);
  EXPECT_EQ(CodeOf([] { Converted(Value("abc"), StoredColumn(ColumnType::kLong)); }), ErrorCode::kTypeMismatch);
  EXPECT_EQ(TextOf([] { Converted(Value("abc"), StoredColumn(ColumnType::kLong)); }), "The value \"abc\" does not suit the column \"C\"");
}

TEST(Convert, CurrencyAndNumericAreExact) {
  EXPECT_EQ(Converted(Value("922337203685477.5807"), StoredColumn(ColumnType::kCurrency)), "922337203685477.5807");
  EXPECT_EQ(Converted(Value(0.1), StoredColumn(ColumnType::kNumeric, 17, 18, 4)), "0.1000");
  EXPECT_EQ(CodeOf([] { Converted(Value(12345), StoredColumn(ColumnType::kNumeric, 17, 4, 0)); }), ErrorCode::kTypeMismatch);
}

TEST(Convert, DatesHaveTheLimitsOfTheCalendar) {
  EXPECT_EQ(Converted(Value("2020-01-02 03:04:05"), StoredColumn(ColumnType::kDate)), "#2020-01-02 03:04:05#");
  EXPECT_EQ(Converted(Value("1899-12-29 06:00:00"), StoredColumn(ColumnType::kDate)), "#1899-12-29 06:00:00#");
  EXPECT_EQ(Converted(Value("13 févr. 2003 6:00 PM"), StoredColumn(ColumnType::kDate)), "#2003-02-13 18:00:00#") << "as people write it";
  EXPECT_EQ(Converted(Value("1/2/2003"), StoredColumn(ColumnType::kDate)), "#2003-02-01 00:00:00#") << "day first";
  EXPECT_EQ(CodeOf([] { Converted(Value("2019-02-31"), StoredColumn(ColumnType::kDate)); }), ErrorCode::kTypeMismatch);
  EXPECT_EQ(CodeOf([] { Converted(Value(2958466.0), StoredColumn(ColumnType::kDate)); }), ErrorCode::kTypeMismatch);
}

TEST(Convert, TextsAreMeasuredInUtf16Units) {
  EXPECT_EQ(Converted(Value("ééé"), StoredColumn(ColumnType::kText, 6)), "\"ééé\"");
  EXPECT_EQ(CodeOf([] { Converted(Value("éééé"), StoredColumn(ColumnType::kText, 6)); }), ErrorCode::kValueTooLong);
  EXPECT_EQ(CodeOf([] { Converted(Value("😀😀"), StoredColumn(ColumnType::kText, 6)); }), ErrorCode::kValueTooLong);
}

TEST(Convert, BoundsOfSearchesAreNeverRounded) {
  Value scratch;
  EXPECT_EQ(CodeOf([&] { (void)ConvertForSearch(Value(2.5), StoredColumn(ColumnType::kLong), scratch); }), ErrorCode::kTypeMismatch);
  EXPECT_EQ(ConvertForSearch(Value(2.0), StoredColumn(ColumnType::kLong), scratch), Value(2));
}

}  // namespace
}  // namespace jet::tests
