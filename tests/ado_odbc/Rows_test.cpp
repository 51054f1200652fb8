#include <array>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

#include "runtime/Conversions.h"
#include "tests/ado_odbc/Engine.h"

namespace tamlo::tests {
namespace {

using runtime::Null;
using runtime::Variant;

class Rows : public OdbcTest {
 protected:
  void MakeArt() {
    Execute("CREATE TABLE art (code VARCHAR(10) NOT NULL PRIMARY KEY, qte INTEGER, nom VARCHAR(20))");
    Execute("INSERT INTO art VALUES ('A', 1, 'un')");
    Execute("INSERT INTO art VALUES ('B', 2, 'deux')");
    Execute("INSERT INTO art VALUES ('C', 3, NULL)");
  }
};

TEST_P(Rows, AreReadInOrderToTheEnd) {
  MakeArt();
  for (const auto cursor : {ado::adOpenForwardOnly, ado::adOpenKeyset, ado::adOpenDynamic, ado::adOpenStatic}) {
    ado::Recordset rs = Open("SELECT * FROM art ORDER BY code", cursor, ado::adLockReadOnly);
    std::vector<Variant> codes;
    for (; !rs.Eof(); rs.MoveNext()) codes.push_back(rs.Fields("CODE").Value());
    EXPECT_EQ(codes, (std::vector<Variant>{"A", "B", "C"})) << cursor;
    rs.MoveFirst();
    EXPECT_EQ(rs.Fields("code").Value(), Variant("A")) << cursor;
    rs.MoveNext();
    rs.MoveFirst();
    EXPECT_EQ(rs.Fields("code").Value(), Variant("A")) << cursor;
  }
}

TEST_P(Rows, OfAnEmptyTableAreNone) {
  Execute("CREATE TABLE vide (x INTEGER)");
  const ado::Recordset rs = Open("SELECT * FROM vide");
  EXPECT_EQ(rs.FieldCount(), 1U);
  EXPECT_TRUE(rs.Eof());
  EXPECT_TRUE(rs.Bof());
}

TEST_P(Rows, MoreThanABlock) {
  Execute("CREATE TABLE n (x INTEGER NOT NULL PRIMARY KEY, y VARCHAR(10))");
  connection.BeginTrans();
  for (int i = 0; i < 1234; ++i) Execute("INSERT INTO n VALUES (" + std::to_string(i) + ", 'v" + std::to_string(i) + "')");
  connection.CommitTrans();
  ado::Recordset rs = Open("SELECT * FROM n ORDER BY x", ado::adOpenForwardOnly, ado::adLockReadOnly);
  std::int32_t expected = 0;
  for (; !rs.Eof(); rs.MoveNext(), ++expected) {
    ASSERT_EQ(rs.Fields(0).Value(), Variant(expected));
    ASSERT_EQ(rs.Fields(1).Value(), Variant("v" + std::to_string(expected)));
  }
  EXPECT_EQ(expected, 1234);
}

TEST_P(Rows, AStaticRecordsetKeepsWhatItRead) {
  MakeArt();
  ado::Recordset still = Open("SELECT * FROM art ORDER BY code", ado::adOpenStatic, ado::adLockReadOnly);
  ado::Recordset live = Open("SELECT * FROM art ORDER BY code", ado::adOpenDynamic);
  (void)still.Eof();
  (void)live.Eof();
  Execute("UPDATE art SET qte = 99 WHERE code = 'A'");
  still.MoveFirst();
  live.MoveFirst();
  EXPECT_EQ(still.Fields("qte").Value(), Variant(std::int32_t{1}));
  EXPECT_EQ(live.Fields("qte").Value(), Variant(std::int32_t{99}));
}

TEST_P(Rows, AreChangedAlone) {
  MakeArt();
  ado::Recordset rs = Open("SELECT * FROM art ORDER BY code");
  rs.MoveNext();
  rs.Fields("nom").Value("zwei");
  rs.Update();
  EXPECT_EQ(rs.Fields("nom").Value(), Variant("zwei"));
  EXPECT_EQ(Scalar("SELECT nom FROM art WHERE code = 'B'"), "zwei");
  EXPECT_EQ(Scalar("SELECT nom FROM art WHERE code = 'A'"), "un");
  rs.Fields("nom").Value("zwei");
  EXPECT_NO_THROW(rs.Update()) << "the same value again is no change by another";
  rs.Fields("code").Value("B2");
  rs.Update();
  rs.Fields("qte").Value(std::int32_t{22});
  rs.Update();
  EXPECT_EQ(Scalar("SELECT qte FROM art WHERE code = 'B2'"), "22") << "the key that was just written finds the row";
}

TEST_P(Rows, AreAddedWithTheBackendsDefaults) {
  Execute("CREATE TABLE d (code VARCHAR(10) NOT NULL PRIMARY KEY, qte INTEGER DEFAULT 7, nom VARCHAR(20))");
  ado::Recordset rs = Open("SELECT * FROM d");
  rs.AddNew();
  rs.Fields("code").Value("X");
  rs.Update();
  EXPECT_EQ(rs.Fields("code").Value(), Variant("X"));
  EXPECT_EQ(rs.Fields("qte").Value(), Variant(std::int32_t{7}));
  EXPECT_EQ(rs.Fields("nom").Value(), Variant(Null{}));
  rs.Fields("nom").Value("après");
  rs.Update();
  EXPECT_EQ(Scalar("SELECT nom FROM d WHERE code = 'X'"), "après");
}

TEST_P(Rows, ACounterIsReadBackAfterItsRowWasAdded) {
  const std::string counter = GetParam() == "SQLite"    ? "INTEGER PRIMARY KEY"
                              : GetParam() == "MariaDB" ? "INTEGER AUTO_INCREMENT PRIMARY KEY"
                                                        : "SERIAL PRIMARY KEY";
  Execute("CREATE TABLE c (id " + counter + ", nom VARCHAR(20))");
  ado::Recordset rs = Open("SELECT * FROM c");
  for (std::int32_t i = 1; i <= 3; ++i) {
    rs.AddNew();
    rs.Fields("nom").Value("n" + std::to_string(i));
    rs.Update();
    EXPECT_EQ(rs.Fields("id").Value(), Variant(i));
  }
}

TEST_P(Rows, DuplicateKeysAreError3022AndTheEditCanBeSavedWithAnotherKey) {
  MakeArt();
  ado::Recordset rs = Open("SELECT * FROM art");
  rs.AddNew();
  rs.Fields("code").Value("A");
  try {
    rs.Update();
    FAIL() << "no error";
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), 3022);
    EXPECT_FALSE(error.Diagnostics().empty());
    EXPECT_NE(error.Sent().find("INSERT "), std::string::npos);
  }
  rs.Fields("code").Value("D");
  rs.Update();
  EXPECT_EQ(Count("art"), 4);
  EXPECT_EQ(ErrorOf([&] { Execute("INSERT INTO art VALUES ('B', 0, '')"); }), 3022);
  EXPECT_EQ(ErrorOf([&] { Execute("INSERT INTO art VALUES (NULL, 0, '')"); }), -2147467259) << "another constraint is no duplicate";
}

TEST_P(Rows, AreDeletedAlone) {
  MakeArt();
  for (const auto cursor : {ado::adOpenDynamic, ado::adOpenStatic}) {
    ado::Recordset rs = Open("SELECT * FROM art ORDER BY code", cursor);
    rs.Delete();
    rs.MoveNext();
    EXPECT_FALSE(rs.Eof());
  }
  EXPECT_EQ(Scalar("SELECT code FROM art"), "C");
}

TEST_P(Rows, ChangedByAnotherIsAnError) {
  MakeArt();
  ado::Recordset rs = Open("SELECT * FROM art ORDER BY code");
  (void)rs.Eof();
  Execute("DELETE FROM art WHERE code = 'A'");
  rs.Fields("qte").Value(std::int32_t{5});
  try {
    rs.Update();
    FAIL() << "no error";
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), -2147217864);
    EXPECT_EQ(error.Description(),
              "La ligne ne peut pas être trouvée pour la mise à jour : certaines de ses valeurs ont changé depuis la dernière lecture.");
  }
  rs.CancelUpdate();
  EXPECT_EQ(ErrorOf([&] { rs.Delete(); }), -2147217864);
}

TEST_P(Rows, WithoutAPrimaryKeyAUniqueIndexFindsTheRowUnlessItHoldsANull) {
  Execute("CREATE TABLE u (a INTEGER, b INTEGER, c VARCHAR(10))");
  Execute("CREATE UNIQUE INDEX ua ON u (a)");
  Execute("INSERT INTO u VALUES (1, 1, 'x')");
  Execute("INSERT INTO u VALUES (NULL, 2, 'y')");
  Execute("INSERT INTO u VALUES (NULL, 3, 'z')");
  ado::Recordset rs = Open("SELECT * FROM u ORDER BY b");
  rs.Fields("c").Value("x1");
  rs.MoveNext();
  rs.Fields("c").Value("y1");
  rs.Update();
  EXPECT_EQ(Scalar("SELECT c FROM u WHERE b = 1"), "x1");
  EXPECT_EQ(Scalar("SELECT c FROM u WHERE b = 2"), "y1");
  EXPECT_EQ(Scalar("SELECT c FROM u WHERE b = 3"), "z");
}

TEST_P(Rows, WithoutAnyKeyTheWholeOldRowMustMeetExactlyOne) {
  Execute("CREATE TABLE k (a INTEGER, b VARCHAR(10), d " + engine->Type("datetime") + ", x " + engine->Type("double") + ")");
  Execute("INSERT INTO k VALUES (1, 'seul', '2003-02-01 10:30:00', 0.1)");
  Execute("INSERT INTO k VALUES (2, 'double', NULL, NULL)");
  Execute("INSERT INTO k VALUES (2, 'double', NULL, NULL)");
  ado::Recordset rs = Open("SELECT * FROM k ORDER BY a");
  rs.Fields("b").Value("changé");
  rs.Update();
  EXPECT_EQ(Scalar("SELECT b FROM k WHERE a = 1"), "changé");
  rs.MoveNext();
  for (const bool inTransaction : {false, true}) {
    if (inTransaction) connection.BeginTrans();
    rs.Fields("b").Value("deux");
    try {
      rs.Update();
      FAIL() << "no error";
    } catch (const runtime::Error& error) {
      EXPECT_EQ(error.Number(), -2147467259);
      EXPECT_EQ(error.Description(),
                "Informations insuffisantes sur la clé : la mise à jour toucherait plusieurs lignes. Rien n'a été modifié.");
    }
    rs.CancelUpdate();
    EXPECT_EQ(ErrorOf([&] { rs.Delete(); }), -2147467259);
    if (inTransaction) connection.CommitTrans();
    EXPECT_EQ(Scalar("SELECT COUNT(*) FROM k WHERE b = 'double'"), "2");
  }
}

TEST_P(Rows, OfAJoinCannotBeWritten) {
  MakeArt();
  ado::Recordset rs = Open("SELECT art.* FROM art, art b");
  EXPECT_EQ(ErrorOf([&] { rs.AddNew(); }), 3251);
  EXPECT_EQ(ErrorOf([&] { rs.Fields(0).Value("x"); }), 3251);
}

TEST_P(Rows, OfATableOpenedDirectly) {
  MakeArt();
  ado::Recordset rs;
  rs.Open("art", &connection, ado::adOpenKeyset, ado::adLockOptimistic, ado::adCmdTableDirect);
  EXPECT_EQ(rs.FieldCount(), 3U);
  EXPECT_FALSE(rs.CanSeek());
  rs.AddNew();
  rs.Fields("code").Value("Z");
  rs.Update();
  EXPECT_EQ(Count("art"), 4);
  rs.MoveFirst();
  rs.Find("[code]='c'");
  EXPECT_EQ(rs.Fields("qte").Value(), Variant(std::int32_t{3}));
}

TEST_P(Rows, OnTheClientsSideAreKeptAndCanBeWritten) {
  MakeArt();
  connection.CursorLocation(ado::adUseClient);
  ado::Recordset rs = Open("SELECT * FROM art ORDER BY code");
  (void)rs.Eof();
  Execute("UPDATE art SET qte = 99 WHERE code = 'C'");
  rs.Fields("qte").Value(std::int32_t{10});
  rs.MoveFirst();
  EXPECT_EQ(rs.Fields("qte").Value(), Variant(std::int32_t{10}));
  rs.AddNew();
  rs.Fields("code").Value("D");
  rs.Update();
  rs.MoveFirst();
  rs.Find("[code]='D'");
  EXPECT_FALSE(rs.Eof());
  EXPECT_EQ(Scalar("SELECT qte FROM art WHERE code = 'A'"), "10");
}

TEST_P(Rows, KeptOnesGoOnBehindADeletedFirstOne) {
  Execute("CREATE TABLE t (id INTEGER NOT NULL PRIMARY KEY)");
  Execute("INSERT INTO t VALUES (1), (2), (3)");
  ado::Recordset rows = Open("SELECT * FROM t ORDER BY id", ado::adOpenStatic);
  EXPECT_FALSE(rows.Eof());
  rows.Delete();
  rows.MoveFirst();
  ASSERT_FALSE(rows.Eof());
  EXPECT_EQ(rows.Fields(0).Value(), Variant(std::int32_t{2}));
  rows.MoveNext();
  EXPECT_EQ(rows.Fields(0).Value(), Variant(std::int32_t{3}));
}

TEST_P(Rows, LongValuesOfKeptOnesAreReadInPiecesOneAfterTheOther) {
  Execute("CREATE TABLE t (id INTEGER NOT NULL PRIMARY KEY, a " + engine->Type("text") + ", b " + engine->Type("text") + ")");
  Execute("INSERT INTO t VALUES (1, 'abcdefghijkl', 'mnopqrstuvwx')");
  ado::Recordset rows = Open("SELECT * FROM t", ado::adOpenStatic);
  std::array<std::byte, 8> piece;
  EXPECT_EQ(rows.Fields("a").ReadChunk(piece.data(), piece.size()), 8u);
  EXPECT_EQ(rows.Fields("b").ReadChunk(piece.data(), piece.size()), 8u);
  EXPECT_EQ(std::memcmp(piece.data(), "mnopqrst", 8), 0);
}

TEST_P(Rows, HaveTheValuesOfTheirColumnsOnceWritten) {
  const std::vector<std::pair<ado::CursorLocation, ado::CursorType>> cursors{
      {ado::adUseServer, ado::adOpenDynamic}, {ado::adUseClient, ado::adOpenDynamic}, {ado::adUseServer, ado::adOpenStatic}};
  for (const auto& [location, cursor] : cursors) {
    Execute("CREATE TABLE t (id INTEGER NOT NULL PRIMARY KEY, n INTEGER, d " + engine->Type("double") + ", m " + engine->Type("text") +
            ", s VARCHAR(10))");
    Execute("INSERT INTO t VALUES (1, 1, 1, 'one', 'one')");
    connection.CursorLocation(location);
    ado::Recordset rows = Open("SELECT * FROM t ORDER BY id", cursor);
    const auto expectRow = [&](std::int32_t id) {
      EXPECT_EQ(rows.Fields("id").Value(), Variant(id));
      EXPECT_EQ(rows.Fields("n").Value(), Variant(std::int32_t{12}));
      EXPECT_EQ(rows.Fields("d").Value(), Variant(3.0));
      EXPECT_EQ(rows.Fields("m").Value(), Variant("pieces"));
      EXPECT_EQ(rows.Fields("s").Value(), Variant("7"));
    };
    const auto assign = [&] {
      rows.Fields("n").Value("12");
      rows.Fields("d").Value(std::int16_t{3});
      rows.Fields("s").Value(std::int32_t{7});
      rows.Fields("m").WriteFrom([done = false](std::byte* buffer, std::size_t) mutable -> std::size_t {
        if (std::exchange(done, true)) return 0;
        std::memcpy(buffer, "pieces", 6);
        return 6;
      });
      rows.Update();
    };
    EXPECT_FALSE(rows.Eof());
    assign();
    expectRow(1);
    rows.AddNew();
    rows.Fields("id").Value("2");
    assign();
    expectRow(2);
    rows.MoveFirst();
    expectRow(1);
    rows.MoveNext();
    expectRow(2);
    rows.Close();
    Execute("DROP TABLE t");
  }
  connection.CursorLocation(ado::adUseServer);
}

TEST_P(Rows, ACounterIsThatOfItsOwnRowWhoeverInsertsBeforeItIsRead) {
  const std::map<std::string, std::string> counters{{"SQLite", "INTEGER PRIMARY KEY AUTOINCREMENT"},
                                                    {"MariaDB", "INTEGER AUTO_INCREMENT PRIMARY KEY"},
                                                    {"PostgreSQL", "SERIAL PRIMARY KEY"}};
  for (const char* table : {"a", "b"})
    Execute("CREATE TABLE " + std::string(table) + " (id " + counters.at(GetParam()) + ", s VARCHAR(10))");
  Execute("INSERT INTO b (s) VALUES ('1')");
  Execute("INSERT INTO b (s) VALUES ('2')");
  auto first = Open("SELECT * FROM a");
  first.AddNew();
  first.Fields("s").Value("a");
  first.Update();
  auto second = Open("SELECT * FROM b");
  second.AddNew();
  second.Fields("s").Value("b");
  second.Update();
  Execute("INSERT INTO b (s) VALUES ('4')");
  EXPECT_EQ(runtime::ToInt32(first.Fields("id").Value()), 1);
  EXPECT_EQ(runtime::ToInt32(second.Fields("id").Value()), 3);
  EXPECT_EQ(first.Fields("s").Value(), Variant("a"));
  // Changed after that, it is still the same row.
  first.Fields("s").Value("c");
  first.Update();
  EXPECT_EQ(Scalar("SELECT s FROM a WHERE id = 1"), "c");
  EXPECT_EQ(Count("a"), 1);
}

TEST_P(Rows, KeptOnesKnowTheCountersOfAddedOnes) {
  const std::map<std::string, std::string> counters{{"SQLite", "INTEGER PRIMARY KEY AUTOINCREMENT"},
                                                    {"MariaDB", "INTEGER NOT NULL AUTO_INCREMENT PRIMARY KEY"},
                                                    {"PostgreSQL", "SERIAL PRIMARY KEY"}};
  Execute("CREATE TABLE t (id " + counters.at(GetParam()) + ", s VARCHAR(10))");
  connection.CursorLocation(ado::adUseClient);
  ado::Recordset rows = Open("SELECT * FROM t ORDER BY id");
  EXPECT_TRUE(rows.Eof());
  for (const char* text : {"a", "b"}) {
    rows.AddNew();
    rows.Fields("s").Value(text);
    rows.Update();
  }
  rows.MoveFirst();
  EXPECT_EQ(rows.Fields("id").Value(), Variant(std::int32_t{1}));
  rows.MoveNext();
  EXPECT_EQ(rows.Fields("id").Value(), Variant(std::int32_t{2}));
  rows.Fields("s").Value("c");
  rows.Update();
  EXPECT_EQ(Scalar("SELECT s FROM t WHERE id = 2"), "c");
  EXPECT_EQ(Count("t"), 2);
}

TEST_P(Rows, NamesOfAnySpellingAreQuoted) {
  const std::string q = GetParam() == "MariaDB" ? "`" : "\"";
  Execute("CREATE TABLE " + q + "Straße/1 [x]" + q + " (" + q + "é clé" + q + " INTEGER NOT NULL PRIMARY KEY, " + q + "select" + q +
          " VARCHAR(10))");
  ado::Recordset rs = Open("SELECT * FROM " + q + "Straße/1 [x]" + q);
  rs.AddNew();
  rs.Fields("É CLÉ").Value(std::int32_t{1});
  rs.Fields("select").Value("a");
  rs.Update();
  rs.Fields("select").Value("b");
  rs.Update();
  ado::Recordset direct;
  direct.Open("Straße/1 [x]", &connection, ado::adOpenKeyset, ado::adLockOptimistic, ado::adCmdTableDirect);
  EXPECT_EQ(direct.Fields("select").Value(), Variant("b"));
}

TEST_P(Rows, TransactionsHaveOneLevel) {
  MakeArt();
  EXPECT_EQ(connection.BeginTrans(), 1);
  EXPECT_EQ(ErrorOf([&] { connection.BeginTrans(); }), -2147467259);
  Execute("DELETE FROM art");
  connection.RollbackTrans();
  EXPECT_EQ(Count("art"), 3);
  EXPECT_EQ(ErrorOf([&] { connection.CommitTrans(); }), -2147168242);
  connection.BeginTrans();
  Execute("DELETE FROM art WHERE code = 'A'");
  connection.CommitTrans();
  EXPECT_EQ(Count("art"), 2);
}

TEST_P(Rows, AConnectionThatEndsInATransactionHasRolledBack) {
  MakeArt();
  {
    ado::Connection other;
    Connect(other);
    other.BeginTrans();
    other.Execute("DELETE FROM art");
    EXPECT_EQ(ErrorOf([&] { other.Close(); }), 3246);
  }
  EXPECT_EQ(Count("art"), 3);
}

TEST_P(Rows, ExecuteTellsHowManyRowsWereAffected) {
  MakeArt();
  EXPECT_EQ(connection.Execute("UPDATE art SET qte = qte + 10 WHERE code <> 'A'"), 2);
  EXPECT_EQ(connection.Execute("UPDATE art SET qte = 0 WHERE code = 'ZZ'"), 0);
  EXPECT_NO_THROW(connection.Execute("SELECT * FROM art"));
}

INSTANTIATE_TEST_SUITE_P(Odbc, Rows, ::testing::Values("SQLite", "MariaDB", "PostgreSQL"), [](const auto& which) { return which.param; });

}  // namespace
}  // namespace tamlo::tests
