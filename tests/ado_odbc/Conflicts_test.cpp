#include <cstring>

#include "tests/ado_odbc/Engine.h"

namespace tamlo::tests {
namespace {

using runtime::Null;
using runtime::Variant;

constexpr const char* kChanged =
    "La ligne ne peut pas être trouvée pour la mise à jour : certaines de ses valeurs ont changé depuis la dernière lecture.";

/// Two connections that work on the same rows.
class Conflicts : public OdbcTest {
 protected:
  Conflicts() {
    Connect(other);
    Execute("CREATE TABLE c (id INTEGER NOT NULL PRIMARY KEY, n INTEGER, nom VARCHAR(30), x " + engine->Type("double") + ", d " +
            engine->Type("datetime") + ", m " + engine->Type("text") + ", p NUMERIC(10,2), f REAL)");
    Execute("INSERT INTO c VALUES (1, 10, 'Dupont', 0.1, '2003-02-01 10:30:00', 'mémo', 1.50, 0.7)");
    Execute("INSERT INTO c VALUES (2, NULL, NULL, NULL, NULL, NULL, NULL, NULL)");
    Execute("INSERT INTO c VALUES (3, 10, '  bord  ', 0.30000000000000004, '1850-12-31 23:59:59', '', -0.01, 1e-20)");
  }

  ado::Recordset Row(int id) { return Open("SELECT * FROM c WHERE id = " + std::to_string(id)); }

  /// The description of the refusal, or "" when it was taken.
  static std::string Refusal(ado::Recordset& rows) {
    try {
      rows.Update();
    } catch (const runtime::Error& error) {
      EXPECT_EQ(error.Number(), -2147217864);
      rows.CancelUpdate();
      return error.Description();
    }
    return {};
  }

  ado::Connection other;
};

TEST_P(Conflicts, AnothersChangeOfTheSameColumnIsNotOverwritten) {
  const struct {
    const char* field;
    Variant mine;
    const char* theirs;
  } cases[] = {{"n", std::int32_t{11}, "12"},
               {"nom", "Moi", "'Eux'"},
               {"nom", "Moi", "'DUPONT'"},
               {"nom", "Moi", "'Dupont '"},
               {"nom", "Moi", "NULL"},
               {"x", 0.2, "0.3"},
               {"d", runtime::Date{100.5}, "'2003-02-01 10:30:01'"},
               {"p", runtime::Decimal{"2.00"}, "1.51"},
               {"f", 0.5, "0.25"}};
  for (const auto& one : cases) {
    Execute("UPDATE c SET n = 10, nom = 'Dupont', x = 0.1, d = '2003-02-01 10:30:00', p = 1.50, f = 0.7 WHERE id = 1");
    ado::Recordset rows = Row(1);
    (void)rows.Eof();
    other.Execute(std::string("UPDATE c SET ") + one.field + " = " + one.theirs + " WHERE id = 1");
    const std::string stands = Scalar(std::string("SELECT ") + one.field + " FROM c WHERE id = 1");
    rows.Fields(one.field).Value(one.mine);
    EXPECT_EQ(Refusal(rows), kChanged) << one.field << " = " << one.theirs;
    EXPECT_EQ(Scalar(std::string("SELECT ") + one.field + " FROM c WHERE id = 1"), stands) << one.theirs;
  }
}

TEST_P(Conflicts, AnothersChangeOfANullIsNotOverwritten) {
  ado::Recordset rows = Row(2);
  (void)rows.Eof();
  other.Execute("UPDATE c SET n = 5 WHERE id = 2");
  rows.Fields("n").Value(std::int32_t{6});
  EXPECT_EQ(Refusal(rows), kChanged);
  EXPECT_EQ(Scalar("SELECT n FROM c WHERE id = 2"), "5");
}

TEST_P(Conflicts, AnothersChangeOfALongValueThatWasReadIsNotOverwritten) {
  for (const bool read : {true, false}) {
    Execute("UPDATE c SET m = 'mémo' WHERE id = 1");
    ado::Recordset rows = Row(1);
    if (read) EXPECT_EQ(rows.Fields("m").Value(), Variant("mémo"));
    (void)rows.Eof();
    other.Execute("UPDATE c SET m = 'leur mémo' WHERE id = 1");
    rows.Fields("m").Value("le mien");
    EXPECT_EQ(Refusal(rows), read ? kChanged : "");
    EXPECT_EQ(Scalar("SELECT m FROM c WHERE id = 1"), read ? "leur mémo" : "le mien") << "what was never seen is not compared";
  }
}

TEST_P(Conflicts, AnothersChangeOfAnotherColumnStandsBesideOurs) {
  ado::Recordset rows = Row(1);
  (void)rows.Eof();
  other.Execute("UPDATE c SET n = 77 WHERE id = 1");
  rows.Fields("nom").Value("Durand");
  EXPECT_EQ(Refusal(rows), "");
  EXPECT_EQ(Scalar("SELECT n FROM c WHERE id = 1"), "77");
  EXPECT_EQ(Scalar("SELECT nom FROM c WHERE id = 1"), "Durand");
}

TEST_P(Conflicts, EveryValueThatNobodyChangedCanBeChanged) {
  for (const auto cursor : {ado::adOpenDynamic, ado::adOpenStatic}) {
    ado::Recordset rows = Open("SELECT * FROM c ORDER BY id", cursor);
    for (int id = 1; !rows.Eof(); rows.MoveNext(), ++id) {
      const Variant note = rows.Fields("m").Value();
      for (const char* field : {"n", "nom", "x", "d", "m", "p", "f"}) {
        const Variant value = rows.Fields(field).Value();
        const bool date = std::strcmp(field, "d") == 0;
        const bool text = std::strcmp(field, "nom") == 0 || std::strcmp(field, "m") == 0;
        rows.Fields(field).Value(date ? Variant(runtime::Date{40000.25}) : text ? Variant("autre é") : Variant(std::int32_t{3}));
        EXPECT_EQ(Refusal(rows), "") << field << " of row " << id;
        rows.Fields(field).Value(value);
        EXPECT_EQ(Refusal(rows), "") << field << " of row " << id << ", back";
        rows.Fields(field).Value(value);
        EXPECT_EQ(Refusal(rows), "") << field << " of row " << id << ", the same again";
      }
    }
  }
}

TEST_P(Conflicts, AValueThatTheBackendStoredOtherwiseCanBeChangedAgain) {
  ado::Recordset rows = Row(1);
  for (int i = 0; i < 2; ++i) {
    rows.Fields("p").Value(1.005);
    EXPECT_EQ(Refusal(rows), "");
    rows.Fields("f").Value(0.123456789);
    EXPECT_EQ(Refusal(rows), "");
    rows.Fields("n").Value("42");
    EXPECT_EQ(Refusal(rows), "");
    rows.Fields("p").Value(2.004);
    EXPECT_EQ(Refusal(rows), "");
    rows.Fields("f").Value(0.987654321);
    EXPECT_EQ(Refusal(rows), "");
    rows.Fields("n").Value("43");
    EXPECT_EQ(Refusal(rows), "");
  }
  other.Execute("UPDATE c SET n = 44 WHERE id = 1");
  rows.Fields("n").Value("45");
  EXPECT_EQ(Refusal(rows), kChanged);
}

TEST_P(Conflicts, ATruthValueWrittenByAStatementIsFoundAgainInATableWithoutAKey) {
  const bool postgres = GetParam() == "PostgreSQL";
  other.Execute(std::string("CREATE TABLE v (n INTEGER, ok ") + (GetParam() == "MariaDB" ? "TINYINT(1)" : "BOOLEAN") + ")");
  for (const char* value : {"-1", "0", "NULL"}) {
    const std::string truth = postgres && *value != 'N' ? (*value == '0' ? "FALSE" : "TRUE") : value;
    other.Execute("INSERT INTO v VALUES (1, " + truth + ")");
    other.Execute("INSERT INTO v VALUES (2, " + truth + ")");
  }
  ado::Recordset rows = Open("SELECT * FROM v");
  for (; !rows.Eof(); rows.MoveNext()) {
    if (rows.Fields("n").Value() == Variant(std::int32_t{1})) {
      rows.Delete();
    } else {
      rows.Fields("n").Value(std::int32_t{3});
      EXPECT_EQ(Refusal(rows), "");
    }
  }
  EXPECT_EQ(Open("SELECT COUNT(*) FROM v WHERE n = 3").Fields(0).Value(), Open("SELECT COUNT(*) FROM v").Fields(0).Value());
}

TEST_P(Conflicts, InsideATransactionTheRowIsLookedForAsItIs) {
  if (GetParam() == "SQLite") GTEST_SKIP() << "SQLite lets nobody write while another's transaction has read";
  connection.BeginTrans();
  ado::Recordset rows = Row(1);
  EXPECT_EQ(rows.Fields("n").Value(), Variant(std::int32_t{10}));
  other.Execute("UPDATE c SET n = 12 WHERE id = 1");
  rows.Fields("n").Value(std::int32_t{11});
  EXPECT_EQ(Refusal(rows), kChanged) << "the transaction's own view still shows the old value";
  rows.Close();
  connection.RollbackTrans();
  connection.BeginTrans();
  rows = Row(3);
  (void)rows.Eof();
  other.Execute("DELETE FROM c WHERE id = 3");
  rows.Fields("n").Value(std::int32_t{11});
  EXPECT_EQ(Refusal(rows), kChanged);
  rows.Close();
  connection.RollbackTrans();
}

INSTANTIATE_TEST_SUITE_P(Odbc, Conflicts, ::testing::Values("SQLite", "MariaDB", "PostgreSQL"),
                         [](const auto& which) { return which.param; });

}  // namespace
}  // namespace tamlo::tests
