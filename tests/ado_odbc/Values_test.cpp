#include <cstddef>

#include "runtime/Conversions.h"
#include "runtime/Dates.h"
#include "tests/ado_odbc/Engine.h"

namespace tamlo::tests {
namespace {

using runtime::Bytes;
using runtime::Currency;
using runtime::Date;
using runtime::Decimal;
using runtime::Guid;
using runtime::Null;
using runtime::Variant;

class Values : public OdbcTest {
 protected:
  /// Writes a value into a fresh table with one column of that type beside a key, and reads it back through another recordset.
  Variant RoundTrip(const std::string& type, const Variant& value) {
    if (++tables_ > 1) Execute("DROP TABLE v");
    Execute("CREATE TABLE v (id INTEGER NOT NULL PRIMARY KEY, x " + type + ")");
    {
      ado::Recordset writer = Open("SELECT * FROM v");
      writer.AddNew();
      writer.Fields("id").Value(std::int32_t{1});
      writer.Fields("x").Value(value);
      writer.Update();
    }
    const ado::Recordset reader = Open("SELECT * FROM v", ado::adOpenForwardOnly, ado::adLockUnspecified);
    type_ = reader.Fields("x").Type();
    EXPECT_FALSE(reader.Eof());
    return reader.Fields("x").Value();
  }

  std::int16_t type_ = 0;
  int tables_ = 0;
};

TEST_P(Values, WholeNumbersKeepTheirValueAndType) {
  EXPECT_EQ(RoundTrip("SMALLINT", std::int16_t{-32768}), Variant(std::int16_t{-32768}));
  EXPECT_EQ(type_, ado::adSmallInt);
  EXPECT_EQ(RoundTrip("INTEGER", std::int32_t{2147483647}), Variant(std::int32_t{2147483647}));
  EXPECT_EQ(type_, ado::adInteger);
  EXPECT_EQ(RoundTrip("BIGINT", std::int64_t{-9007199254740993}), Variant(std::int64_t{-9007199254740993}));
  EXPECT_EQ(type_, ado::adBigInt);
}

TEST_P(Values, WholeNumbersOfEveryKindAreExactBeyondThoseOfADouble) {
  const std::int64_t greatest = 9223372036854775807;
  EXPECT_EQ(RoundTrip("BIGINT", Decimal{"9223372036854775807"}), Variant(greatest));
  EXPECT_EQ(RoundTrip("BIGINT", Variant("9223372036854775807")), Variant(greatest));
  EXPECT_EQ(RoundTrip("BIGINT", Variant("-9223372036854775808")), Variant(-greatest - 1));
  EXPECT_EQ(RoundTrip("BIGINT", Decimal{"-9007199254740993.4"}), Variant(std::int64_t{-9007199254740993}));
  // Halves go to the even neighbour.
  EXPECT_EQ(RoundTrip("BIGINT", Decimal{"9007199254740993.5"}), Variant(std::int64_t{9007199254740994}));
  EXPECT_EQ(RoundTrip("BIGINT", Decimal{"9007199254740992.500"}), Variant(std::int64_t{9007199254740992}));
  EXPECT_EQ(RoundTrip("BIGINT", Decimal{"-9007199254740992.501"}), Variant(std::int64_t{-9007199254740993}));
  EXPECT_EQ(RoundTrip("BIGINT", Decimal{"-0.5"}), Variant(std::int64_t{0}));
  EXPECT_EQ(RoundTrip("BIGINT", Currency{9223372036854775807}), Variant(std::int64_t{922337203685478}));
  EXPECT_EQ(RoundTrip("BIGINT", -9223372036854775808.0), Variant(-greatest - 1));
  for (const Variant& beyond : {Variant(Decimal{"9223372036854775808"}), Variant("-9223372036854775809"), Variant(9223372036854775808.0),
                                Variant(Decimal{"9223372036854775807.5"})}) {
    EXPECT_EQ(ErrorOf([&] { (void)RoundTrip("BIGINT", beyond); }), -2147217887);
  }
}

TEST_P(Values, AccentsOfAStatementAreThoseOfAParameterWhateverTheLocaleOfTheProcess) {
  // This program never calls setlocale: its characters are those of the C locale.
  const std::string text = "élise œuf €";
  EXPECT_EQ(RoundTrip("VARCHAR(30)", Variant(text)), Variant(text));
  Execute("INSERT INTO v VALUES (2, '" + text + "')");
  EXPECT_EQ(Scalar("SELECT x FROM v WHERE id = 2"), text);
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM v WHERE x = '" + text + "'"), "2");
}

TEST_P(Values, NumbersThatDoNotFitAreRefused) {
  EXPECT_EQ(ErrorOf([&] { (void)RoundTrip("SMALLINT", std::int32_t{40000}); }), -2147217887);
  EXPECT_EQ(ErrorOf([&] { (void)RoundTrip("INTEGER", Variant("abc")); }), 3421);
}

TEST_P(Values, RealNumbersKeepEveryBit) {
  for (const double value : {0.1, -1.5e300, 123456.789012345}) {
    EXPECT_EQ(RoundTrip(engine->Type("double"), value), Variant(value));
  }
  EXPECT_EQ(type_, ado::adDouble);
  for (const double value : {0.1 + 0.2, 1.0 / 3, -1e22 / 7, 123456789.12345679}) {
    EXPECT_EQ(RoundTrip(engine->Type("double"), value), Variant(value));
  }
}

TEST_P(Values, ExactNumbersAreExact) {
  const Variant back = RoundTrip("DECIMAL(15,2)", Decimal{"-1234567890.12"});
  ASSERT_TRUE(back.Is<Decimal>());
  EXPECT_EQ(back.If<Decimal>()->text, "-1234567890.12");
  EXPECT_EQ(type_, ado::adNumeric);
  EXPECT_EQ(runtime::ToDouble(RoundTrip("DECIMAL(15,2)", 0.25)), 0.25);
  EXPECT_EQ(runtime::ToDouble(RoundTrip("NUMERIC(1)", true)), -1) << "a boolean is -1 as a number";
}

TEST_P(Values, AmountsKeepFourDecimals) {
  const Variant back = RoundTrip(engine->Type("money"), Currency{123456789});
  EXPECT_EQ(runtime::ToDouble(back), 12345.6789);
  if (type_ == ado::adCurrency) {
    EXPECT_EQ(back, Variant(Currency{123456789}));
  }
}

TEST_P(Values, BooleansAreBooleans) {
  EXPECT_EQ(RoundTrip(engine->Type("boolean"), true), Variant(true));
  EXPECT_EQ(type_, ado::adBoolean);
  EXPECT_EQ(RoundTrip(engine->Type("boolean"), false), Variant(false));
  EXPECT_EQ(RoundTrip(engine->Type("boolean"), std::int16_t{-1}), Variant(true));
}

TEST_P(Values, DatesKeepTheirSecond) {
  const Date moment = runtime::ToSerial({2003, 2, 1, 10, 30, 59, 0});
  const Variant back = RoundTrip(engine->Type("datetime"), moment);
  ASSERT_TRUE(back.Is<Date>());
  EXPECT_EQ(runtime::ToCalendar(*back.If<Date>()), (runtime::CalendarTime{2003, 2, 1, 10, 30, 59, 0}));
  EXPECT_EQ(type_, ado::adDBTimeStamp);
  const Date before = runtime::ToSerial({1789, 7, 14, 6, 0, 0, 0});
  EXPECT_EQ(RoundTrip(engine->Type("datetime"), before), Variant(before)) << "days before 1899-12-30 too";
}

TEST_P(Values, FractionsOfASecondAreRoundedToWhatTheColumnKeeps) {
  const Date moment = runtime::ToSerial({2003, 2, 1, 10, 30, 59, 600000000});
  const Variant back = RoundTrip(engine->Type("datetime"), moment);
  const auto expected = engine->Can().declaresScale ? runtime::ToSerial({2003, 2, 1, 10, 31, 0, 0}) : moment;
  EXPECT_NEAR(back.If<Date>()->serial, expected.serial, 1e-9);
}

TEST_P(Values, DaysAndTimesOfDay) {
  const Date day = runtime::ToSerial({2024, 2, 29, 0, 0, 0, 0});
  EXPECT_EQ(RoundTrip("DATE", day), Variant(day));
  EXPECT_EQ(type_, ado::adDBDate);
  const Variant time = RoundTrip("TIME", Date{0.5});
  EXPECT_EQ(time, Variant(Date{0.5}));
  EXPECT_EQ(type_, ado::adDBTime);
}

TEST_P(Values, TextsOfEveryPlane) {
  for (const char* text :
       {"", "abc", "été à l'Œuvre €", "日本語", "\xF0\x9F\x98\x80 et \xF0\x9F\x98\x81", "O'Brien \"x\" `y` [z] \\ %_?"}) {
    EXPECT_EQ(RoundTrip("VARCHAR(60)", text), Variant(text));
    EXPECT_EQ(RoundTrip(engine->Type("text"), text), Variant(text));
  }
  EXPECT_TRUE(ado::IsLongType(type_));
}

TEST_P(Values, AFullColumnLosesNoCharacter) {
  std::string text;
  for (int i = 0; i < 60; ++i) text += "\xF0\x9F\x98\x80";
  EXPECT_EQ(RoundTrip("VARCHAR(60)", text), Variant(text));
}

TEST_P(Values, TooLongTextsAreRefusedNeverCut) {
  const std::string text(61, 'x');
  if (!engine->Can().enforcesLengths) {
    EXPECT_EQ(RoundTrip("VARCHAR(60)", text), Variant(text));
    return;
  }
  try {
    (void)RoundTrip("VARCHAR(60)", text);
    FAIL() << "no error";
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), -2147217887);
    EXPECT_EQ(error.Description(), "La valeur du champ x est trop longue (61 au lieu de 60 au plus).");
  }
}

TEST_P(Values, BytesAreKeptAsTheyAre) {
  Bytes bytes;
  for (int i = 0; i < 700; ++i) bytes.push_back(static_cast<std::byte>(i % 256));
  EXPECT_EQ(RoundTrip(engine->Type("blob"), bytes), Variant(bytes));
  EXPECT_EQ(type_, ado::adLongVarBinary);
}

TEST_P(Values, Guids) {
  const Guid guid{"{01234567-89AB-CDEF-0123-456789ABCDEF}"};
  const Variant back = RoundTrip(engine->Type("guid"), guid);
  EXPECT_EQ(back.IsText() ? Variant(Guid{*back.If<std::string>()}) : back, Variant(guid));
}

TEST_P(Values, NullOfEveryType) {
  for (const char* what : {"text", "blob", "double", "datetime", "boolean", "guid", "money"}) {
    EXPECT_EQ(RoundTrip(engine->Type(what), Null{}), Variant(Null{})) << what;
    EXPECT_EQ(RoundTrip(engine->Type(what), Variant()), Variant(Null{})) << what;
  }
  EXPECT_EQ(RoundTrip("INTEGER", Null{}), Variant(Null{}));
  EXPECT_EQ(RoundTrip("VARCHAR(10)", Null{}), Variant(Null{}));
}

TEST_P(Values, TruthsBehindANullAreKeptInRowsOfLongValuesToo) {
  Execute("CREATE TABLE t (id INTEGER NOT NULL PRIMARY KEY, x " + engine->Type("boolean") + ", m " + engine->Type("text") + ")");
  const std::vector<Variant> truths{Null{}, true, false, Null{}, true, false};
  {
    ado::Recordset writer = Open("SELECT * FROM t");
    for (std::size_t i = 0; i < truths.size(); ++i) {
      writer.AddNew();
      writer.Fields("id").Value(static_cast<std::int32_t>(i));
      writer.Fields("x").Value(truths[i]);
      writer.Update();
    }
  }
  for (const char* query : {"SELECT id, x, m FROM t ORDER BY id", "SELECT id, x FROM t ORDER BY id"}) {
    ado::Recordset reader = Open(query, ado::adOpenForwardOnly, ado::adLockUnspecified);
    for (const Variant& truth : truths) {
      EXPECT_EQ(reader.Fields("x").Value(), truth) << query;
      reader.MoveNext();
    }
  }
}

TEST_P(Values, ExpressionsHaveTheirTypeOnceRead) {
  Execute("CREATE TABLE n (a INTEGER)");
  EXPECT_EQ(Open("SELECT MAX(a) FROM n").Fields(0).Value(), Variant(Null{}));
  Execute("INSERT INTO n VALUES (41)");
  EXPECT_EQ(Open("SELECT MAX(a) FROM n").Fields(0).Value(), Variant(std::int32_t{41}));
}

TEST_P(Values, StatementTextsKeepCharactersOfEveryPlane) {
  Execute("CREATE TABLE s (id INTEGER, x VARCHAR(20))");
  Execute("INSERT INTO s VALUES (1, 'é \xF0\x9F\x98\x80 ''q''')");
  EXPECT_EQ(Open("SELECT x FROM s WHERE x = 'é \xF0\x9F\x98\x80 ''q'''").Fields(0).Value(), Variant("é \xF0\x9F\x98\x80 'q'"));
}

INSTANTIATE_TEST_SUITE_P(Odbc, Values, ::testing::Values("SQLite", "MariaDB", "PostgreSQL"), [](const auto& which) { return which.param; });

}  // namespace
}  // namespace tamlo::tests
