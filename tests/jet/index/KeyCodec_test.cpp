#include "jet/index/KeyCodec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "jet/value/Error.h"
#include "jet/index/IndexPage.h"
#include "tests/jet/index/KeyText.h"

namespace jet {
namespace {

using tests::Hex;

std::string Key(ColumnType type, const Value& value, bool descending = false, std::uint8_t scale = 0) {
  Bytes key;
  AppendKey({type, descending, scale}, value, key);
  return Hex(key);
}

Bytes BytesOf(std::initializer_list<int> values) {
  Bytes bytes;
  for (const int value : values) bytes.push_back(static_cast<std::byte>(value));
  return bytes;
}

TEST(KeyCodec, NullIsItsFlagAlone) {
  for (const ColumnType type : {ColumnType::kLong, ColumnType::kText, ColumnType::kNumeric, ColumnType::kBinary, ColumnType::kGuid}) {
    EXPECT_EQ(Key(type, Value()), "00");
    EXPECT_EQ(Key(type, Value(), true), "FF");
  }
}

TEST(KeyCodec, TrueComesBeforeFalse) {
  EXPECT_EQ(Key(ColumnType::kBoolean, Value(true)), "7F 00");
  EXPECT_EQ(Key(ColumnType::kBoolean, Value(false)), "7F FF");
  EXPECT_EQ(Key(ColumnType::kBoolean, Value(true), true), "80 FF");
  EXPECT_EQ(Key(ColumnType::kBoolean, Value(false), true), "80 00");
}

TEST(KeyCodec, WholeNumbersAreBigEndianWithTheSignFlipped) {
  EXPECT_EQ(Key(ColumnType::kByte, Value(std::uint8_t{0x12})), "7F 12");
  EXPECT_EQ(Key(ColumnType::kByte, Value(std::uint8_t{0x12}), true), "80 ED");
  EXPECT_EQ(Key(ColumnType::kInteger, Value(std::int16_t{1})), "7F 80 01");
  EXPECT_EQ(Key(ColumnType::kInteger, Value(std::int16_t{-1})), "7F 7F FF");
  EXPECT_EQ(Key(ColumnType::kLong, Value(std::int32_t{1})), "7F 80 00 00 01");
  EXPECT_EQ(Key(ColumnType::kLong, Value(std::int32_t{-1}), true), "80 80 00 00 00");
  EXPECT_EQ(Key(ColumnType::kLong, Value(std::int32_t{1}), true), "80 7F FF FF FE");
  EXPECT_EQ(Key(ColumnType::kCurrency, Value(Currency{10000})), "7F 80 00 00 00 00 00 27 10");
  EXPECT_EQ(Key(ColumnType::kCurrency, Value(Currency{-10000})), "7F 7F FF FF FF FF FF D8 F0");
}

TEST(KeyCodec, FloatingPointNumbersOrderByTheirBits) {
  EXPECT_EQ(Key(ColumnType::kSingle, Value(1.5f)), "7F BF C0 00 00");
  EXPECT_EQ(Key(ColumnType::kSingle, Value(-1.5f)), "7F 40 3F FF FF");
  EXPECT_EQ(Key(ColumnType::kDouble, Value(1.0)), "7F BF F0 00 00 00 00 00 00");
  EXPECT_EQ(Key(ColumnType::kDouble, Value(-1.0)), "7F 40 0F FF FF FF FF FF FF");
  EXPECT_EQ(Key(ColumnType::kDouble, Value(1.0), true), "80 40 0F FF FF FF FF FF FF");
  EXPECT_EQ(Key(ColumnType::kDate, Value(Date{1.0})), "7F BF F0 00 00 00 00 00 00");
}

TEST(KeyCodec, MinusZeroComesJustBeforeZero) {
  EXPECT_EQ(Key(ColumnType::kDouble, Value(-0.0)), "7F 7F FF FF FF FF FF FF FF");
  EXPECT_EQ(Key(ColumnType::kDouble, Value(0.0)), "7F 80 00 00 00 00 00 00 00");
  EXPECT_EQ(Key(ColumnType::kSingle, Value(-0.0f)), "7F 7F FF FF FF");
}

TEST(KeyCodec, BinaryGoesInGroupsOfEight) {
  EXPECT_EQ(Key(ColumnType::kBinary, Value(Bytes())), "7F");
  EXPECT_EQ(Key(ColumnType::kBinary, Value(BytesOf({1, 2, 3}))), "7F 01 02 03 00 00 00 00 00 03");
  EXPECT_EQ(Key(ColumnType::kBinary, Value(BytesOf({1, 2, 3, 4, 5, 6, 7, 8}))), "7F 01 02 03 04 05 06 07 08 08");
  EXPECT_EQ(Key(ColumnType::kBinary, Value(BytesOf({1, 2, 3, 4, 5, 6, 7, 8, 9}))),
            "7F 01 02 03 04 05 06 07 08 09 09 00 00 00 00 00 00 00 01");
}

TEST(KeyCodec, DescendingBinaryLeavesTheCountsInBetweenAlone) {
  EXPECT_EQ(Key(ColumnType::kBinary, Value(BytesOf({1, 2, 3, 4, 5, 6, 7, 8, 9})), true),
            "80 FE FD FC FB FA F9 F8 F7 09 F6 FF FF FF FF FF FF FF FE");
  EXPECT_EQ(Key(ColumnType::kBinary, Value(Bytes()), true), "80");
}

TEST(KeyCodec, GuidsAreBinaryInTheOrderOfTheirText) {
  const Guid guid = Guid::Parse("{00112233-4455-6677-8899-AABBCCDDEEFF}").value();
  EXPECT_EQ(Key(ColumnType::kGuid, Value(guid)), "7F 00 11 22 33 44 55 66 77 09 88 99 AA BB CC DD EE FF 08");
  EXPECT_EQ(Key(ColumnType::kGuid, Value(guid), true), "80 FF EE DD CC BB AA 99 88 09 77 66 55 44 33 22 11 00 F7");
}

TEST(KeyCodec, NumericsHaveASignByteAndSixteenBytes) {
  const Value plus(Numeric{0, 0x1234, 0, false});
  const Value minus(Numeric{0, 0x1234, 0, true});
  EXPECT_EQ(Key(ColumnType::kNumeric, plus), "7F FF 00 00 00 00 00 00 00 00 00 00 00 00 00 00 12 34");
  EXPECT_EQ(Key(ColumnType::kNumeric, minus), "7F 00 FF FF FF FF FF FF FF FF FF FF FF FF FF FF ED CB");
}

TEST(KeyCodec, DescendingNumericsKeepTheOrderOfTheRealFiles) {
  EXPECT_EQ(Key(ColumnType::kNumeric, Value(Numeric{0, 0x1234, 0, false}), true), "80 FF FF FF FF FF FF FF FF FF FF FF FF FF FF FF ED CB");
  EXPECT_EQ(Key(ColumnType::kNumeric, Value(Numeric{0, 0x1234, 0, true}), true), "80 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 12 34");
}

TEST(KeyCodec, NumericsAreBroughtToTheScaleOfTheColumn) {
  EXPECT_EQ(Key(ColumnType::kNumeric, Value(Numeric{0, 15, 1, false}), false, 2),
            Key(ColumnType::kNumeric, Value(Numeric{0, 150, 2, false}), false, 2));
}

TEST(KeyCodec, KeysOrderAsValuesDo) {
  const std::array<double, 9> values{-1e300, -2.5, -1.0, -1e-300, 0.0, 1e-300, 1.0, 2.5, 1e300};
  Bytes before;
  for (const double value : values) {
    Bytes key;
    AppendDoubleKey(value, false, key);
    EXPECT_LT(before, key);
    before = key;
  }
  before.clear();
  for (auto value = values.rbegin(); value != values.rend(); ++value) {
    Bytes key;
    AppendDoubleKey(*value, true, key);
    EXPECT_LT(before, key);
    before = key;
  }
}

TEST(KeyCodec, ColumnsFollowEachOtherAndNullsAreTold) {
  const std::array<KeyColumn, 3> columns{{{ColumnType::kLong}, {ColumnType::kText}, {ColumnType::kByte, true}}};
  Bytes key;
  KeyNulls nulls = MakeKey(columns, std::array{Value(std::int32_t{7}), Value("a"), Value()}, key);
  EXPECT_EQ(Hex(key), "7F 80 00 00 07 7F 4A 01 00 FF");
  EXPECT_TRUE(nulls.any);
  EXPECT_FALSE(nulls.all);
  nulls = MakeKey(columns, std::array{Value(), Value(), Value()}, key);
  EXPECT_EQ(Hex(key), "00 00 FF");
  EXPECT_TRUE(nulls.any);
  EXPECT_TRUE(nulls.all);
  nulls = MakeKey(columns, std::array{Value(std::int32_t{7})}, key);
  EXPECT_EQ(Hex(key), "7F 80 00 00 07");
  EXPECT_FALSE(nulls.any);
}

TEST(KeyCodec, AValueOfAnotherTypeIsRefused) {
  Bytes key;
  try {
    AppendKey({ColumnType::kLong}, Value("12"), key);
    FAIL() << "no error";
  } catch (const Error& error) {
    EXPECT_EQ(error.Code(), ErrorCode::kTypeMismatch);
    EXPECT_STREQ(error.what(), "a value of another type cannot be looked up in this index: \"12\"");
  }
}

TEST(KeyCodec, LongBinariesCannotBeIndexed) {
  Bytes key;
  try {
    AppendKey({ColumnType::kOle}, Value(Bytes()), key);
    FAIL() << "no error";
  } catch (const Error& error) {
    EXPECT_EQ(error.Code(), ErrorCode::kUnsupported);
    EXPECT_STREQ(error.what(), "a column of this type cannot be part of an index");
  }
}

TEST(KeyCodec, AKeyThatFitsNoPageIsRefused) {
  const std::vector<KeyColumn> columns(10, KeyColumn{ColumnType::kText});
  const std::vector<Value> values(10, Value(std::string(255, 'a')));
  Bytes key;
  try {
    MakeKey(columns, values, key);
    FAIL() << "no error";
  } catch (const Error& error) {
    EXPECT_EQ(error.Code(), ErrorCode::kLimit);
    EXPECT_STREQ(error.what(), "the key of a row has 2580 bytes, an index can hold 1800");
  }
}

}  // namespace
}  // namespace jet
