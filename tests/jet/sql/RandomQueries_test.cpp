#include <sqlite3.h>

#include <algorithm>
#include <random>

#include "jet/table/Table.h"
#include "jet/value/TextOrder.h"
#include "jet/sql/functions/Functions.h"
#include "tests/jet/sql/PlainSchema.h"
#include "tests/jet/sql/SessionFixture.h"
#include "tests/support_lib/Seed.h"

using namespace jet;
using jet::sql::tests::PlainSchema;
using jet::sql::tests::SessionFixture;

namespace {

// The same rows in an Access file with indexes and in plain SQLite tables without any: a query that is pushed to the file's indexes must
// give the same rows as one that walks.
class JetRandomQueries : public SessionFixture {
 protected:
  void Fill(std::mt19937& random) {
    Run("CREATE TABLE A (Id LONG CONSTRAINT PK PRIMARY KEY, T TEXT(20), N SHORT, D DOUBLE, W DATETIME)");
    Run("CREATE TABLE B (Ref LONG, T TEXT(20), N SHORT)");
    Run("CREATE INDEX ByText ON A (T, N DESC)");
    Run("CREATE INDEX ByNumber ON A (N DESC) WITH IGNORE NULL");
    Run("CREATE INDEX ByReal ON A (D)");
    Run("CREATE INDEX ByDate ON A (W)");
    Run("CREATE INDEX ByRef ON B (Ref, T)");
    plain.AddTable("A", {{"Id", ColumnType::kLong},
                         {"T", ColumnType::kText},
                         {"N", ColumnType::kInteger},
                         {"D", ColumnType::kDouble},
                         {"W", ColumnType::kDate}});
    plain.AddTable("B", {{"Ref", ColumnType::kLong}, {"T", ColumnType::kText}, {"N", ColumnType::kInteger}});
    Transaction transaction(*database);
    for (int i = 0; i < 120; ++i) {
      const std::string n = random() % 6 == 0 ? "NULL" : std::to_string(static_cast<int>(random() % 20) - 10);
      const std::string d = random() % 6 == 0 ? "NULL" : std::to_string(static_cast<int>(random() % 40) - 20) + ".5";
      const std::string w = random() % 6 == 0 ? "NULL" : std::to_string(static_cast<int>(random() % 400) - 200) + ".25";
      Both("A", std::to_string(i * 3) + ", " + Text(random) + ", " + n + ", " + d + ", " + w);
      if (i % 2 == 0) Both("B", std::to_string(random() % 400) + ", " + Text(random) + ", " + n);
    }
    transaction.Commit();
  }

  static std::string Text(std::mt19937& random) {
    static const char* const kWords[] = {"'a'", "'A'", "'é'",    "'E'",   "'abc'", "'ABC'", "'ab-c'", "'b '",
                                         "'b'", "''",  "'zeta'", "'Œuf'", "NULL",  "'10'",  "'9'"};
    return kWords[random() % std::size(kWords)];
  }
  void Both(const std::string& table, const std::string& values) {
    Run("INSERT INTO " + table + " VALUES (" + values + ")");
    plain.Run("INSERT INTO " + std::string(table == "A" ? "t0" : "t1") + " VALUES (" + values + ")");
  }

  static std::string Condition(std::mt19937& random, const std::string& alias) {
    static const char* const kOperators[] = {"=", "<", ">", "<=", ">=", "<>"};
    const std::string op = std::string(" ") + kOperators[random() % 6] + " ";
    switch (random() % 8) {
      case 0:
        return alias + ".T" + op + Text(random);
      case 1:
        return alias + ".N" + op + std::to_string(static_cast<int>(random() % 24) - 12) + (random() % 3 == 0 ? ".5" : "");
      case 2:
        return alias + ".Id" + op + std::to_string(random() % 380);
      case 3:
        return alias + ".D" + op + std::to_string(static_cast<int>(random() % 40) - 20) + (random() % 2 == 0 ? ".5" : "");
      case 4:
        return alias + ".N In (" + std::to_string(random() % 10) + ", -3, 100000)";
      case 5:
        return alias + ".T Between 'a' And " + Text(random);
      case 6:
        return alias + (random() % 2 == 0 ? ".T Is Null" : ".W Is Not Null");
      default:
        return alias + ".W" + op + "#1/" + std::to_string(random() % 28 + 1) + "/1900#";
    }
  }

  static std::string Query(std::mt19937& random) {
    std::string where = Condition(random, "A");
    for (unsigned i = 0; i < random() % 3; ++i) where += (random() % 3 == 0 ? " OR " : " AND ") + Condition(random, "A");
    static const char* const kOrders[] = {"A.Id",           "A.T, A.Id",      "A.N DESC, A.Id", "A.T DESC, A.N, A.Id",
                                          "A.D, A.Id DESC", "A.W DESC, A.Id", "A.N, A.Id"};
    const std::string order = std::string(" ORDER BY ") + kOrders[random() % std::size(kOrders)];
    switch (random() % 5) {
      case 0:
        return "SELECT A.Id, B.N FROM A LEFT JOIN B ON A.Id = B.Ref WHERE " + where + order + ", B.N, B.T";
      case 1:
        return "SELECT A.Id FROM A INNER JOIN B ON A.T = B.T AND A.N = B.N WHERE " + where + order;
      case 2:
        return "SELECT Count(*), Max(A.Id), Min(A.N), Max(A.N), Max(A.D) FROM A WHERE " + where;
      case 3:
        return "SELECT A.Id FROM A WHERE A.Id IN (SELECT Ref FROM B WHERE B.T = A.T OR B.N > 0) AND (" + where + ")" + order;
      default:
        return "SELECT A.Id, A.N FROM A WHERE " + where + order;
    }
  }

  PlainSchema plain;
};

TEST_F(JetRandomQueries, GiveWhatPlainTablesGive) {
  const unsigned seed = tamlo::tests::Seed();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  Fill(random);
  int rows = 0;
  for (int i = 0; i < 600 && !HasFailure(); ++i) {
    const std::string text = Query(random);
    const std::string expected = plain.Query(text);
    EXPECT_EQ(Rows(text), expected) << text;
    if (!expected.empty()) ++rows;
  }
  EXPECT_GT(rows, 100);  // else the queries prove nothing
}

}  // namespace
