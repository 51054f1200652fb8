// PostgreSQL: rows that go as one array of values for each column are those that go one by one.
#include <array>
#include <vector>

#include "ado/BulkInsert.h"
#include "runtime/Dates.h"
#include "tests/ado_odbc/Engine.h"

namespace tamlo::tests {
namespace {

using runtime::Null;
using runtime::Variant;

class ColumnArrays : public OdbcTest {
 protected:
  /// The definition, for rows in arrays and for rows one by one; the first one counts the statements that fill it.
  void MakeTables(const std::string& columns) {
    Execute("CREATE TABLE lots (" + columns + ")");
    Execute("CREATE TABLE seules (" + columns + ")");
    Execute("CREATE SEQUENCE envois");
    Execute("CREATE FUNCTION compte() RETURNS trigger LANGUAGE plpgsql AS 'BEGIN PERFORM nextval(''envois''); RETURN NULL; END'");
    Execute("CREATE TRIGGER compte AFTER INSERT ON lots FOR EACH STATEMENT EXECUTE FUNCTION compte()");
  }
  void Fill(const std::vector<std::string>& columns, const std::vector<std::vector<Variant>>& rows) {
    ado::BulkInsert together(connection, "lots", columns);
    ado::BulkInsert alone(connection, "seules", columns);
    for (const auto& row : rows) {
      together.Add(row);
      alone.Add(row);
      alone.Flush();
    }
    together.Flush();
  }
  /// Rows of one table that the other has not, by the server's own text of all their values.
  void ExpectSame() {
    EXPECT_EQ(Scalar("SELECT count(*) FROM (SELECT t::text FROM lots t EXCEPT ALL SELECT t::text FROM seules t) d"), "0")
        << Scalar("SELECT t::text FROM lots t EXCEPT ALL SELECT t::text FROM seules t") << "\n"
        << Scalar("SELECT t::text FROM seules t EXCEPT ALL SELECT t::text FROM lots t");
    EXPECT_EQ(Count("lots"), Count("seules"));
  }
  std::string Sent() { return Scalar("SELECT last_value FROM envois"); }
};

TEST_P(ColumnArrays, BringEveryTypeAsItIs) {
  Execute("CREATE TYPE humeur AS ENUM ('gai', 'triste, \"très\"')");
  Execute("CREATE DOMAIN positif AS integer CHECK (VALUE > 0)");
  MakeTables(
      "i integer, s smallint, g bigint, n numeric(20,5), f numeric, r real, d double precision, o boolean, t text, v varchar(20), c char(10), "
      "y bytea, u uuid, m timestamp(3), z timestamptz, j date, h time, e humeur, p positif, b bit(3), x varbit, k \"char\", a inet, q jsonb");
  const std::vector<Variant> full{std::int32_t{-5},
                                  std::int16_t{-32768},
                                  std::int64_t{-9223372036854775807},
                                  runtime::Decimal{"-123456789012345.12345"},
                                  runtime::Decimal{"0.1000"},
                                  0.1F,
                                  1.0 / 3,
                                  true,
                                  "l'é\xF0\x9F\x98\x80",
                                  "vingt caractères, é",
                                  "court",
                                  runtime::Bytes{std::byte{0}, std::byte{0x5C}, std::byte{0x22}, std::byte{0xFF}},
                                  "{00112233-4455-6677-8899-AABBCCDDEEFF}",
                                  runtime::Date{37653.75},
                                  runtime::Date{37653.25},
                                  runtime::Date{37653.0},
                                  runtime::Date{0.5},
                                  "triste, \"très\"",
                                  std::int32_t{7},
                                  "101",
                                  "1101",
                                  "z",
                                  "192.168.0.1/24",
                                  "{\"a\": [1, \"\\\\\"]}"};
  std::vector<std::vector<Variant>> rows;
  for (std::int32_t i = 0; i < 1000; ++i) {
    rows.push_back(full);
    rows.back()[0] = i;
    for (std::size_t column = 1; column < full.size(); ++column)
      if ((static_cast<std::size_t>(i) + column) % 5 == 0) rows.back()[column] = Null{};
    if (i % 2 == 0) rows.back()[6] = i % 4 == 0 ? 1.7976931348623157e308 : -5e-324;
    if (i % 3 == 0) rows.back()[7] = false;
  }
  Fill({"i", "s", "g", "n", "f", "r", "d", "o", "t", "v", "c", "y", "u", "m", "z", "j", "h", "e", "p", "b", "x", "k", "a", "q"}, rows);
  ExpectSame();
  EXPECT_EQ(Sent(), "1");
}

TEST_P(ColumnArrays, TextsThatMeanSomethingInAnArrayAreTexts) {
  MakeTables("i integer, t text");
  std::vector<std::vector<Variant>> rows;
  for (const char* text :
       {"", "NULL", "null", "\"", "\\", "\\\"", "{a,b}", ",", "{}", " x ", "a\nb", "\x01", "\\x41", "\xC3\xA9", "%s?", "$1", "--"})
    rows.push_back({static_cast<std::int32_t>(rows.size()), text});
  Fill({"i", "t"}, rows);
  ExpectSame();
  EXPECT_EQ(Scalar("SELECT octet_length(t) FROM lots WHERE i = 0"), "0");
  EXPECT_EQ(Scalar("SELECT t FROM lots WHERE i = 1"), "NULL");
  EXPECT_EQ(Sent(), "1");
}

TEST_P(ColumnArrays, ColumnsThatStandInNoArrayTakeTheirRowsAllTheSame) {
  MakeTables("i integer, l integer[], p box");
  std::vector<std::vector<Variant>> rows;
  for (std::int32_t i = 0; i < 300; ++i) rows.push_back({i, "{1,NULL,3}", "(2,2),(1,1)"});
  Fill({"i", "l", "p"}, rows);
  ExpectSame();
  EXPECT_EQ(Count("lots"), 300);
}

TEST_P(ColumnArrays, ARefusedRowIsNamedAndThoseBeforeItAreStored) {
  MakeTables("i integer, v varchar(5) CHECK (v <> 'non'), c char(3)");
  ado::BulkInsert bulk(connection, "lots", {"i", "v", "c"});
  for (std::int32_t i = 1; i <= 100; ++i) bulk.Add(std::array<Variant, 3>{i, i == 40 ? "non" : "cinq", "abc"});
  const auto failure = runtime::IgnoringErrors([&] { bulk.Flush(); });
  EXPECT_NE(failure.description.find("ligne 40"), std::string::npos) << failure.description;
  EXPECT_EQ(bulk.RefusedRow(), 40);
  EXPECT_EQ(Scalar("SELECT count(*) FROM lots WHERE length(c::text) = 3"), "39");
}

INSTANTIATE_TEST_SUITE_P(Odbc, ColumnArrays, ::testing::Values("PostgreSQL"), [](const auto& which) { return which.param; });

}  // namespace
}  // namespace tamlo::tests
