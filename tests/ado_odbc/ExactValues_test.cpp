// Values as the server has them, whatever its driver makes of them: in blocks and singly, read and written, every bit.

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <limits>
#include <random>

#include "ado/BulkInsert.h"
#include "runtime/Conversions.h"
#include "runtime/Dates.h"
#include "tests/ado_odbc/Engine.h"

namespace tamlo::tests {
namespace {

using runtime::Date;
using runtime::Null;
using runtime::Variant;

/// How rows are read: many at once into bound buffers, or one at a time because a long value stands beside them.
struct Way {
  const char* name;
  const char* columns;
};
constexpr std::array<Way, 3> kWays{{{"in blocks", "id, x"}, {"singly", "id, x, m"}, {"singly, behind the long value", "id, m, x"}}};

class ExactValues : public OdbcTest {
 protected:
  bool Is(const char* name) const { return GetParam() == name; }
  /// A table v of a key, a column of that type and a long text.
  void MakeTable(const std::string& type) {
    (void)runtime::IgnoringErrors([&] { Execute("DROP TABLE v"); });
    Execute("CREATE TABLE v (id INTEGER NOT NULL PRIMARY KEY, x " + type + ", m " + engine->Type("text") + ")");
  }
  /// The values of column x, in the order of the keys.
  std::vector<Variant> Read(const Way& way) {
    std::vector<Variant> values;
    ado::Recordset reader = Open(std::string("SELECT ") + way.columns + " FROM v ORDER BY id", ado::adOpenForwardOnly, ado::adLockReadOnly);
    for (; !reader.Eof(); reader.MoveNext()) values.push_back(reader.Fields("x").Value());
    return values;
  }
};

template <typename Real>
bool SameBits(Real a, Real b) {
  using Bits = std::conditional_t<sizeof(Real) == 4, std::uint32_t, std::uint64_t>;
  return std::bit_cast<Bits>(a) == std::bit_cast<Bits>(b);
}

TEST_P(ExactValues, NumbersOfSinglePrecisionKeepEveryBitInBlocksAndSingly) {
  MakeTable(Is("MariaDB") ? "FLOAT" : Is("SQLite") ? "SINGLE" : "REAL");
  std::vector<float> expected{1.5F, 2.5F, 3.5F, 0.1F, -2.25F, 16777217.0F, 1e-30F, 1.17549435e-38F, 3.4028235e38F, 0.0F, 1.0F / 3};
  std::mt19937 random(20261122);
  while (expected.size() < 3000) {
    const auto value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
    if (std::isnormal(value)) expected.push_back(value);
  }
  {
    ado::BulkInsert bulk(connection, "v", {"id", "x"});
    for (std::size_t i = 0; i < expected.size(); ++i) bulk.Add(std::array<Variant, 2>{static_cast<std::int32_t>(i), expected[i]});
    bulk.Flush();
  }
  for (const Way& way : kWays) {
    const auto values = Read(way);
    ASSERT_EQ(values.size(), expected.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
      ASSERT_TRUE(values[i].Is<float>()) << way.name << ", row " << i;
      ASSERT_TRUE(SameBits(*values[i].If<float>(), expected[i]))
          << way.name << ", row " << i << ": " << *values[i].If<float>() << " " << expected[i];
    }
  }
}

/// A value as a statement of the server writes it, and as it is read.
struct Sample {
  std::string literal;
  Variant value;
  bool isOfType = true;  ///< a value that SQLite lets into a column of another type
};
struct Column {
  std::string type;
  std::vector<Sample> samples;
};

Variant Moment(int year, int month, int day, int hour = 0, int minute = 0, int second = 0, int micro = 0) {
  // Reckoned apart from the code under test: whole days by the runtime, the time of day by one division.
  const double days = runtime::ToSerial({year, month, day, 0, 0, 0, 0}).serial;
  const double fraction = (((hour * 60.0 + minute) * 60 + second) * 1e6 + micro) / 86400e6;
  return Date{days < 0 ? days - fraction : days + fraction};
}
Variant TimeOfDay(int hour, int minute, int second, int micro = 0) { return Moment(1899, 12, 30, hour, minute, second, micro); }
Variant Exact(const char* text) { return runtime::Decimal{text}; }
Variant Octets(std::initializer_list<int> octets) {
  runtime::Bytes bytes;
  for (const int octet : octets) bytes.push_back(static_cast<std::byte>(octet));
  return bytes;
}

const std::string kDigits38 = std::string(38, '9');
const std::string kDigits65 = "12345678901234567890123456789012345.012345678901234567890123456789";
const double kLargest = std::numeric_limits<double>::max();
const double kNone = std::numeric_limits<double>::quiet_NaN();
const double kInfinite = std::numeric_limits<double>::infinity();

const std::string kNulText("a\0b", 3);

std::vector<Column> ColumnsOfMariaDb() {
  return {
      {"TINYINT", {{"-128", std::int16_t{-128}}, {"127", std::int16_t{127}}}},
      {"TINYINT UNSIGNED", {{"255", std::uint8_t{255}}, {"128", std::uint8_t{128}}}},
      {"SMALLINT", {{"-32768", std::int16_t{-32768}}}},
      {"SMALLINT UNSIGNED", {{"65535", std::int32_t{65535}}}},
      {"MEDIUMINT UNSIGNED", {{"16777215", std::int64_t{16777215}}}},
      {"INT", {{"-2147483648", std::int32_t{INT32_MIN}}}},
      {"INT UNSIGNED", {{"4294967295", std::int64_t{4294967295}}}},
      {"BIGINT", {{"-9223372036854775808", std::int64_t{INT64_MIN}}, {"9007199254740993", std::int64_t{9007199254740993}}}},
      {"BIGINT UNSIGNED", {{"18446744073709551615", Exact("18446744073709551615")}}},
      {"DECIMAL(38,0)", {{kDigits38, runtime::Decimal{kDigits38}}, {"-" + kDigits38, runtime::Decimal{"-" + kDigits38}}}},
      {"DECIMAL(65,30)", {{kDigits65, runtime::Decimal{kDigits65}}}},
      {"DECIMAL(19,4)", {{"922337203685477.5807", Exact("922337203685477.5807")}, {"-0.0001", Exact("-0.0001")}}},
      {"FLOAT", {{"0.1", 0.1F}, {"3.4028234663852886e38", 3.4028234663852886e38F}}},
      {"DOUBLE", {{"0.30000000000000004", 0.1 + 0.2}, {"1.7976931348623157e308", kLargest}, {"5e-324", 5e-324}}},
      {"BIT(1)", {{"b'1'", true}, {"b'0'", false}}},
      {"BIT(8)", {{"b'11111111'", Octets({255})}, {"b'1'", Octets({1})}}},
      {"BIT(64)", {{"0xFFFFFFFFFFFFFFFF", Octets({255, 255, 255, 255, 255, 255, 255, 255})}}},
      {"YEAR", {{"2155", std::int32_t{2155}}, {"0", std::int32_t{0}}}},
      {"DATE",
       {{"'9999-12-31'", Moment(9999, 12, 31)},
        {"'0001-01-01'", "0001-01-01"},
        {"'0000-00-00'", "0000-00-00"},
        {"'2026-00-00'", "2026-00-00"},
        {"'2026-02-00'", "2026-02-00"},
        {"'0100-01-01'", Moment(100, 1, 1)}}},
      {"DATETIME(6)",
       {{"'2026-02-28 23:59:59.123456'", Moment(2026, 2, 28, 23, 59, 59, 123456)},
        {"'9999-12-31 23:59:59.999999'", "9999-12-31 23:59:59.999999"},
        {"'9999-12-31 23:59:59.999'", Moment(9999, 12, 31, 23, 59, 59, 999000)},
        {"'0000-00-00 00:00:00'", "0000-00-00 00:00:00.000000"},
        {"'0001-01-01 00:00:00.000001'", "0001-01-01 00:00:00.000001"}}},
      {"TIMESTAMP(6) NULL", {{"'2026-02-28 23:59:59.654321'", Moment(2026, 2, 28, 23, 59, 59, 654321)}}},
      {"TIME",
       {{"'12:34:56'", TimeOfDay(12, 34, 56)},
        {"'-12:34:56'", "-12:34:56"},
        {"'838:59:59'", "838:59:59"},
        {"'25:00:00'", "25:00:00"},
        {"'24:00:00'", "24:00:00"}}},
      {"TIME(6)",
       {{"'12:34:56.123456'", TimeOfDay(12, 34, 56, 123456)},
        {"'-00:00:00.000001'", "-00:00:00.000001"},
        {"'838:59:59.999999'", "838:59:59.999999"},
        {"'00:00:00.000001'", TimeOfDay(0, 0, 0, 1)}}},
      {"VARCHAR(50)", {{"CONCAT('a',CHAR(0),'b')", kNulText}, {"''", ""}, {"'é  '", "é  "}}},
      {"LONGTEXT", {{"CONCAT('a',CHAR(0),'b')", kNulText}}},
      {"VARBINARY(20)", {{"0x0001FF00", Octets({0, 1, 255, 0})}, {"''", Octets({})}}},
      {"LONGBLOB", {{"0x0001FF00", Octets({0, 1, 255, 0})}, {"''", Octets({})}}},
      {"UUID", {{"'6ccd780c-baba-1026-9564-5b8c656024db'", "6ccd780c-baba-1026-9564-5b8c656024db"}}},
      {"INET6", {{"'fe80::1'", "fe80::1"}}},
  };
}

std::vector<Column> ColumnsOfPostgreSql() {
  return {
      {"SMALLINT", {{"-32768", std::int16_t{-32768}}}},
      {"INTEGER", {{"-2147483648", std::int32_t{INT32_MIN}}}},
      {"BIGINT", {{"-9223372036854775808", std::int64_t{INT64_MIN}}, {"9007199254740993", std::int64_t{9007199254740993}}}},
      {"NUMERIC(38,0)", {{kDigits38, runtime::Decimal{kDigits38}}}},
      {"NUMERIC", {{kDigits65, runtime::Decimal{kDigits65}}, {"'NaN'", "NaN"}, {"'-Infinity'", "-Infinity"}, {"0.1", Exact("0.1")}}},
      {"REAL", {{"0.1", 0.1F}, {"'Infinity'", std::numeric_limits<float>::infinity()}}},
      {"DOUBLE PRECISION",
       {{"0.30000000000000004", 0.1 + 0.2}, {"'-Infinity'", -kInfinite}, {"1.7976931348623157e308", kLargest}, {"5e-324", 5e-324}}},
      {"MONEY", {{"1234567.89", runtime::Currency{12345678900}}, {"-0.01", runtime::Currency{-100}}}},
      {"BOOLEAN", {{"TRUE", true}, {"FALSE", false}}},
      {"DATE",
       {{"'9999-12-31'", Moment(9999, 12, 31)},
        {"'infinity'", "infinity"},
        {"'-infinity'", "-infinity"},
        {"'10000-01-01'", "10000-01-01"},
        {"'0044-03-15 BC'", "0044-03-15 BC"},
        {"'0001-01-01'", "0001-01-01"},
        {"'1582-10-10'", Moment(1582, 10, 10)}}},
      {"TIMESTAMP",
       {{"'2026-02-28 23:59:59.123456'", Moment(2026, 2, 28, 23, 59, 59, 123456)},
        {"'infinity'", "infinity"},
        {"'-infinity'", "-infinity"},
        {"'10000-01-01'", "10000-01-01 00:00:00"},
        {"'0044-03-15 12:00 BC'", "0044-03-15 12:00:00 BC"},
        {"'9999-12-31 23:59:59.999999'", "9999-12-31 23:59:59.999999"},
        {"'9999-12-31 23:59:59'", Moment(9999, 12, 31, 23, 59, 59)}}},
      {"TIME", {{"'12:34:56.123456'", TimeOfDay(12, 34, 56, 123456)}, {"'24:00:00'", "24:00:00"}}},
      {"TIMETZ", {{"'12:34:56.123456+02'", "12:34:56.123456+02"}}},
      {"INTERVAL", {{"'1 year 2 mons 3 days 04:05:06'", "1 year 2 mons 3 days 04:05:06"}, {"'-838:59:59.000001'", "-838:59:59.000001"}}},
      {"VARCHAR(50)", {{"''", ""}, {"'é  '", "é  "}}},
      {"TEXT",
       {{"repeat('é', 9000)",
         [] {
           std::string all;
           for (int i = 0; i < 9000; ++i) all += "é";
           return all;
         }()}}},
      {"BYTEA", {{"'\\x0001FF00'", Octets({0, 1, 255, 0})}, {"''", Octets({})}}},
      {"UUID", {{"'6ccd780c-baba-1026-9564-5b8c656024db'", runtime::Guid{"{6CCD780C-BABA-1026-9564-5B8C656024DB}"}}}},
      {"INTEGER[]", {{"'{1,NULL}'", "{1,NULL}"}}},
  };
}

std::vector<Column> ColumnsOfSqlite() {
  return {
      {"INTEGER",
       {{"-2147483648", std::int32_t{INT32_MIN}},
        {"9223372036854775807", std::int64_t{INT64_MAX}},
        {"'abc'", "abc", false},
        {"1.5", 1.5, false},
        {"0.30000000000000004", 0.1 + 0.2, false},
        {"x'00FF'", Octets({0, 255}), false}}},
      {"SMALLINT", {{"70000", std::int64_t{70000}, false}, {"-1", std::int16_t{-1}}}},
      {"DOUBLE",
       {{"0.30000000000000004", 0.1 + 0.2},
        {"1.7976931348623157e308", kLargest},
        {"9e999", kInfinite},
        {"-9e999", -kInfinite},
        {"1.0/3", 1.0 / 3},
        {"5e-324", 5e-324},
        {"'abc'", "abc", false},
        {"7", 7.0}}},
      {"SINGLE", {{"0.5", 0.5F}, {"0.1", 0.1}}},
      {"DECIMAL(19,4)", {{"1234567.891", Exact("1234567.891")}, {"-0.001", Exact("-0.001")}, {"'abc'", "abc", false}}},
      {"CURRENCY", {{"1234567.891", runtime::Currency{12345678910}}, {"0.12345", Exact("0.12345")}}},
      {"BIT", {{"1", true}, {"0", false}}},
      {"DATETIME",
       {{"'2026-02-28 23:59:59.123456'", Moment(2026, 2, 28, 23, 59, 59, 123456)},
        {"'9999-12-31 23:59:59.999999'", "9999-12-31 23:59:59.999999"},
        {"'0000-00-00'", "0000-00-00"},
        {"'2026-02-31'", "2026-02-31"},
        {"'infinity'", "infinity"},
        {"46000.5", "46000.5", false}}},
      {"DATE",
       {{"'0001-01-01'", "0001-01-01"},
        {"'2026-02-28'", Moment(2026, 2, 28)},
        {"'1/2'", "1/2", false},
        {"'31/12/2003'", "31/12/2003", false},
        {"'12/2003'", "12/2003", false},
        {"' 2026-02-28'", " 2026-02-28", false}}},
      {"TIME",
       {{"'8:30'", "8:30", false},
        {"'12:34:56.123456'", TimeOfDay(12, 34, 56, 123456)},
        {"'25:00:00'", "25:00:00"},
        {"'-12:00:00'", "-12:00:00"}}},
      {"VARCHAR(50)", {{"'a'||char(0)||'b'", kNulText}, {"''", ""}, {"'é  '", "é  "}, {"x'00FF'", Octets({0, 255}), false}}},
      {"TEXT", {{"'a'||char(0)||'b'", kNulText}, {"x'00FF'", Octets({0, 255}), false}, {"5", "5"}}},
      {"BLOB", {{"x'0001FF00'", Octets({0, 1, 255, 0})}, {"x''", Octets({})}}},
      // Written in this one spelling, read in any.
      {"GUID", {{"'{6CCD780C-BABA-1026-9564-5B8C656024DB}'", runtime::Guid{"{6CCD780C-BABA-1026-9564-5B8C656024DB}"}}}},
  };
}

std::vector<Column> ColumnsOf(const std::string& engine) {
  if (engine == "MariaDB") return ColumnsOfMariaDb();
  return engine == "PostgreSQL" ? ColumnsOfPostgreSql() : ColumnsOfSqlite();
}

bool Same(const Variant& a, const Variant& b) {
  if (const auto* x = a.If<double>(); x && b.Is<double>()) return SameBits(*x, *b.If<double>());
  if (const auto* x = a.If<float>(); x && b.Is<float>()) return SameBits(*x, *b.If<float>());
  return a == b;
}

std::string Shown(const Variant& value) {
  if (value.IsNull()) return "(null)";
  if (const auto* bytes = value.If<runtime::Bytes>()) return std::to_string(bytes->size()) + " bytes";
  if (const auto* date = value.If<Date>()) return "date " + std::to_string(date->serial);
  return "type " + std::to_string(value.Stored().index()) + " " + runtime::ToText(value, {"", '.'});
}

/// The server's own text of column x of a table.
std::string TextExpression(const std::string& engine, const std::string& type) {
  if (engine == "SQLite") return "typeof(x) || ' ' || quote(x) || ' ' || ifnull(hex(x), '')";
  if (engine == "PostgreSQL") return type == "BYTEA" ? "encode(x, 'hex')" : "x::text";
  if (type == "FLOAT") return "CAST(CAST(x AS DOUBLE) AS CHAR)";
  const bool bytes = type.find("BIN") == 3 || type.find("BLOB") != std::string::npos || type.starts_with("BIT") ||
                     type.find("TEXT") != std::string::npos || type.starts_with("VARCHAR");
  return bytes ? "HEX(x)" : "CAST(x AS CHAR)";
}

class EveryValue : public ExactValues {
 protected:
  void SetUp() override {
    if (Is("MariaDB")) Execute("SET sql_mode=''");
  }
  void Fill(const Column& column) {
    MakeTable(column.type);
    int id = 0;
    for (const auto& sample : column.samples)
      Execute("INSERT INTO v (id, x, m) VALUES (" + std::to_string(++id) + ", " + sample.literal + ", 'm')");
    Execute("INSERT INTO v (id, x, m) VALUES (" + std::to_string(++id) + ", NULL, NULL)");
    // Behind a null, once more.
    for (const auto& sample : column.samples)
      Execute("INSERT INTO v (id, x, m) VALUES (" + std::to_string(++id) + ", " + sample.literal + ", 'm')");
  }
  static std::vector<Variant> Expected(const Column& column) {
    std::vector<Variant> values;
    for (const auto& sample : column.samples) values.push_back(sample.value);
    values.emplace_back(Null{});
    for (const auto& sample : column.samples) values.push_back(sample.value);
    return values;
  }
  /// What the server says of column x of a table, row by row.
  std::string Said(const std::string& table, const std::string& type) {
    std::string all;
    ado::Recordset rs = Open("SELECT " + TextExpression(GetParam(), type) + " AS t FROM " + table + " ORDER BY id", ado::adOpenForwardOnly,
                             ado::adLockReadOnly);
    for (; !rs.Eof(); rs.MoveNext()) {
      const Variant text = rs.Fields(0).Value();
      all += (text.IsNull() ? "(null)" : runtime::ToText(text, {"", '.'})) + "\n";
    }
    return all;
  }
};

TEST_P(EveryValue, ComesAsTheServerHasItInBlocksAndSingly) {
  for (const auto& column : ColumnsOf(GetParam())) {
    Fill(column);
    const auto expected = Expected(column);
    for (const Way& way : kWays) {
      const auto values = Read(way);
      ASSERT_EQ(values.size(), expected.size()) << column.type;
      for (std::size_t i = 0; i < values.size(); ++i) {
        EXPECT_TRUE(Same(values[i], expected[i]))
            << column.type << " " << way.name << ", row " << i + 1 << ": " << Shown(values[i]) << " instead of " << Shown(expected[i]);
      }
    }
  }
}

TEST_P(EveryValue, GoesBackAsItCameInBatchesAndSingly) {
  for (auto column : ColumnsOf(GetParam())) {
    std::erase_if(column.samples, [](const Sample& sample) { return !sample.isOfType; });
    Fill(column);
    const auto values = Read(kWays[0]);
    const std::string said = Said("v", column.type);
    for (const bool batch : {true, false}) {
      (void)runtime::IgnoringErrors([&] { Execute("DROP TABLE w"); });
      Execute("CREATE TABLE w (id INTEGER NOT NULL PRIMARY KEY, x " + column.type + ")");
      const auto failure = runtime::IgnoringErrors([&] {
        if (batch) {
          ado::BulkInsert bulk(connection, "w", {"id", "x"});
          for (std::size_t i = 0; i < values.size(); ++i) bulk.Add(std::array<Variant, 2>{static_cast<std::int32_t>(i), values[i]});
          bulk.Flush();
        } else {
          ado::Recordset writer = Open("SELECT * FROM w");
          for (std::size_t i = 0; i < values.size(); ++i) {
            writer.AddNew();
            writer.Fields("id").Value(static_cast<std::int32_t>(i));
            writer.Fields("x").Value(values[i]);
            writer.Update();
            EXPECT_TRUE(Same(writer.Fields("x").Value(), values[i]))
                << column.type << ", as read back: " << Shown(writer.Fields("x").Value());
          }
        }
      });
      EXPECT_EQ(failure.description, "") << column.type;
      EXPECT_EQ(Said("w", column.type), said) << column.type << (batch ? " in batches" : " singly");
    }
  }
}

TEST_P(EveryValue, DoublesOfAllSizesKeepEveryBit) {
  MakeTable(engine->Type("double"));
  std::mt19937_64 random(7);
  std::vector<double> expected{0.1 + 0.2, 1.0 / 3, kLargest, -3.7848324015355698e+205, 1e22, 123456789.12345679};
  while (expected.size() < 5000) {
    const auto value = std::bit_cast<double>(random());
    if (std::isnormal(value)) expected.push_back(value);
  }
  // Numbers of few decimals and their neighbours, up to where ten-thousandths are no whole numbers of 64 bits any more.
  for (const double scale : {1.0, 10.0, 100.0, 1e4, 1e5, 1e6}) {
    for (int i = 0; i < 500; ++i) {
      const auto digits = static_cast<double>(random() >> (12 + i % 40));
      for (const double value : {digits / scale, -digits / scale, std::nextafter(digits / scale, kInfinite)}) expected.push_back(value);
    }
  }
  for (const double edge : {922337203685477.5807, 9007199254740992.0, 9223372036854775808.0, 0.00005, 1e-300}) {
    for (const double value : {edge, -edge, std::nextafter(edge, 0.0), std::nextafter(edge, kInfinite)}) expected.push_back(value);
  }
  std::erase_if(expected, [](double value) { return value == 0 && std::signbit(value); });
  {
    ado::BulkInsert bulk(connection, "v", {"id", "x"});
    for (std::size_t i = 0; i < expected.size(); ++i) bulk.Add(std::array<Variant, 2>{static_cast<std::int32_t>(i), expected[i]});
    bulk.Flush();
  }
  for (const Way& way : kWays) {
    const auto values = Read(way);
    ASSERT_EQ(values.size(), expected.size());
    for (std::size_t i = 0; i < values.size(); ++i)
      ASSERT_TRUE(Same(values[i], expected[i])) << way.name << ", row " << i << " " << expected[i];
  }
}

/// A value that a column cannot hold: never stored as another one.
TEST_P(EveryValue, WhatTheColumnCannotHoldIsRefusedWithItsRowAndColumn) {
  struct Refused {
    std::string type;
    Variant value;
    std::string why;
  };
  const std::string nulText("a\0b", 3);
  const std::string notText("caf\xE9 bar", 8);
  std::vector<Refused> refused{{"VARCHAR(50)", notText, "contient des octets qui ne sont pas un caractère"},
                               {"VARCHAR(50)",
                                "a\xED\xA0\xBD"
                                "b",
                                "contient des octets qui ne sont pas un caractère"}};
  if (Is("PostgreSQL")) refused.push_back({"TEXT", nulText, "contient un caractère nul, que la base ne garderait pas"});
  if (Is("SQLite")) {
    refused.push_back({"DOUBLE", kNone, "n'est pas un nombre, et la base n'en garde rien"});
    refused.push_back({"DECIMAL(38,0)", runtime::Decimal{kDigits38}, "a 38 chiffres, et la base n'en garde que 15"});
    refused.push_back({"CURRENCY", runtime::Currency{INT64_MAX}, "a 19 chiffres, et la base n'en garde que 15"});
  }
  if (Is("MariaDB")) {
    refused.push_back({"DOUBLE", kNone, "n'est pas un nombre, et la base n'en garde rien"});
    refused.push_back({"DOUBLE", kInfinite, "est infinie, et la base n'en garde rien"});
    refused.push_back({"FLOAT", 1e39, "Dépassement de capacité"});
    refused.push_back({"TIME", "839:00:00", "Dépassement de capacité"});
    refused.push_back({"DATETIME", "2026-02-31", "Incompatibilité de type"});
    refused.push_back({"DATETIME", "infinity", "Incompatibilité de type"});
  }
  for (const auto& one : refused) {
    MakeTable(one.type);
    try {
      ado::BulkInsert bulk(connection, "v", {"id", "x"});
      bulk.Add(std::array<Variant, 2>{std::int32_t{1}, Null{}});
      bulk.Add(std::array<Variant, 2>{std::int32_t{2}, one.value});
      bulk.Flush();
      FAIL() << one.type << ": no error; the server holds "
             << Scalar("SELECT " + TextExpression(GetParam(), one.type) + " FROM v WHERE id = 2");
    } catch (const runtime::Error& error) {
      EXPECT_NE(error.Description().find("ligne 2, colonne x : "), std::string::npos) << error.Description();
      EXPECT_NE(error.Description().find(one.why), std::string::npos) << one.type << ": " << error.Description();
    }
    EXPECT_EQ(Count("v"), 1) << one.type;
  }
}

TEST_P(EveryValue, ARowOfARecordsetIsFoundAgainWhateverItsValuesAre) {
  const std::string type = Is("MariaDB") ? "TIME(6)" : Is("SQLite") ? "DOUBLE" : "TIMESTAMP";
  const std::string literal = Is("MariaDB") ? "'-838:59:59.999999'" : Is("SQLite") ? "0.30000000000000004" : "'infinity'";
  Execute("CREATE TABLE k (x " + type + ", n INTEGER)");
  Execute("INSERT INTO k VALUES (" + literal + ", 1)");
  Execute("INSERT INTO k VALUES (NULL, 1)");
  ado::Recordset rs = Open("SELECT * FROM k WHERE x IS NOT NULL");
  rs.Fields("n").Value(std::int32_t{2});
  rs.Update();
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM k WHERE n = 2 AND x = " + literal), "1");
}

INSTANTIATE_TEST_SUITE_P(Odbc, EveryValue, ::testing::Values("SQLite", "MariaDB", "PostgreSQL"),
                         [](const auto& which) { return which.param; });

INSTANTIATE_TEST_SUITE_P(Odbc, ExactValues, ::testing::Values("SQLite", "MariaDB", "PostgreSQL"),
                         [](const auto& which) { return which.param; });

}  // namespace
}  // namespace tamlo::tests
