#include <array>
#include <cmath>
#include <vector>

#include "ado/BulkInsert.h"
#include "runtime/Conversions.h"
#include "runtime/Dates.h"
#include "tests/ado_odbc/Engine.h"

namespace tamlo::tests {
namespace {

using runtime::Null;
using runtime::Variant;

class Bulk : public OdbcTest {
 protected:
  void MakeTable() {
    Execute("CREATE TABLE b (id INTEGER NOT NULL PRIMARY KEY, nom VARCHAR(40), prix " + engine->Type("double") + ", jour " +
            engine->Type("datetime") + ", n INTEGER DEFAULT 7, note " + engine->Type("text") + ")");
  }
};

TEST_P(Bulk, WritesEveryRowWithItsOwnValues) {
  MakeTable();
  constexpr std::int32_t kRows = 5321;
  ado::BulkInsert bulk(connection, "b", {"id", "nom", "prix", "jour", "note"});
  for (std::int32_t i = 0; i < kRows; ++i) {
    const Variant nom = i % 5 == 0 ? Variant(Null{}) : Variant("nom \xF0\x9F\x98\x80 " + std::to_string(i));
    bulk.Add(std::array<Variant, 5>{i, nom, i * 0.5, runtime::Date{37653.0 + i % 1000},
                                    i % 7 == 0 ? Variant() : Variant("note " + std::to_string(i))});
  }
  bulk.Flush();
  EXPECT_EQ(bulk.RowsAdded(), kRows);
  ado::Recordset rs = Open("SELECT * FROM b ORDER BY id", ado::adOpenForwardOnly, ado::adLockReadOnly);
  std::int32_t i = 0;
  for (; !rs.Eof(); rs.MoveNext(), ++i) {
    ASSERT_EQ(rs.Fields("id").Value(), Variant(i));
    ASSERT_EQ(rs.Fields("nom").Value(), i % 5 == 0 ? Variant(Null{}) : Variant("nom \xF0\x9F\x98\x80 " + std::to_string(i)));
    ASSERT_EQ(rs.Fields("prix").Value(), Variant(i * 0.5));
    ASSERT_EQ(rs.Fields("jour").Value(), Variant(runtime::Date{37653.0 + i % 1000}));
    ASSERT_EQ(rs.Fields("n").Value(), Variant(std::int32_t{7}));
    ASSERT_EQ(rs.Fields("note").Value(), i % 7 == 0 ? Variant(Null{}) : Variant("note " + std::to_string(i)));
  }
  EXPECT_EQ(i, kRows);
}

TEST_P(Bulk, AnEmptyValueLeavesTheColumnToItsDefaultRowByRow) {
  MakeTable();
  ado::BulkInsert bulk(connection, "b", {"id", "n"});
  for (std::int32_t i = 0; i < 100; ++i)
    bulk.Add(std::array<Variant, 2>{i, i % 3 == 0 ? Variant() : i % 3 == 1 ? Variant(Null{}) : Variant(i)});
  bulk.Flush();
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM b WHERE n = 7"), "34");
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM b WHERE n IS NULL"), "33");
}

TEST_P(Bulk, DefaultsAreThoseOfTheTableHoweverItIsNamed) {
  const std::string quote = GetParam() == "MariaDB" ? "`" : "\"";
  // What stands in these names means something in a statement or in a pattern; the last one is what a pattern would take for another one.
  for (const std::string name : {"commandes 2024", "a.b", "taux%", "x_y", "d'août", "a\\b", "(t)", "xay"}) {
    Execute("CREATE TABLE " + quote + name + quote + " (id INTEGER, n " + (name == "xay" ? "INTEGER" : "INTEGER DEFAULT 7 NOT NULL") + ")");
    ado::BulkInsert bulk(connection, name, {"id", "n"});
    bulk.Add(std::array<Variant, 2>{std::int32_t{1}, Variant()});
    bulk.Add(std::array<Variant, 2>{std::int32_t{2}, std::int32_t{5}});
    EXPECT_EQ(runtime::IgnoringErrors([&] { bulk.Flush(); }).description, "") << name;
    EXPECT_EQ(Scalar("SELECT n FROM " + quote + name + quote + " WHERE id = 1"), name == "xay" ? "(null)" : "7") << name;
  }
}

TEST_P(Bulk, AFailingRowIsNamedAndThoseBeforeItAreStored) {
  MakeTable();
  ado::BulkInsert bulk(connection, "b", {"id", "nom"});
  const auto add = [&](std::int32_t id) { bulk.Add(std::array<Variant, 2>{id, "x"}); };
  try {
    for (std::int32_t i = 1; i <= 2500; ++i) add(i == 1503 ? 7 : i);
    bulk.Flush();
    FAIL() << "no error";
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), 3022);
    EXPECT_TRUE(error.Description().starts_with("ligne 1503")) << error.Description();
  }
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM b WHERE id <= 1502"), "1502");
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM b WHERE id = 1503"), "0");
  bulk.Flush();
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM b WHERE id <= 1504"), "1503") << "the rows behind the refused one follow at the next Flush";
}

TEST_P(Bulk, InsideATransactionAFailedBatchLeavesTheRestOfItAlone) {
  MakeTable();
  connection.BeginTrans();
  Execute("INSERT INTO b (id) VALUES (100000)");
  ado::BulkInsert bulk(connection, "b", {"id"});
  for (std::int32_t i = 1; i <= 500; ++i) bulk.Add(std::array<Variant, 1>{i});
  bulk.Add(std::array<Variant, 1>{std::int32_t{3}});
  EXPECT_EQ(ErrorOf([&] { bulk.Flush(); }), 3022);
  connection.CommitTrans();
  EXPECT_EQ(Count("b"), 501);
}

TEST_P(Bulk, AValueThatDoesNotConvertNamesRowAndColumn) {
  MakeTable();
  ado::BulkInsert bulk(connection, "b", {"id", "prix"});
  bulk.Add(std::array<Variant, 2>{std::int32_t{1}, 1.0});
  try {
    bulk.Add(std::array<Variant, 2>{std::int32_t{2}, "abc"});
    FAIL() << "no error";
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), 13);
    EXPECT_TRUE(error.Description().starts_with("ligne 2, colonne prix : ")) << error.Description();
  }
  bulk.Add(std::array<Variant, 2>{std::int32_t{3}, 3.0});
  bulk.Flush();
  EXPECT_EQ(Count("b"), 2);
}

TEST_P(Bulk, LongAndShortValuesMayAlternate) {
  MakeTable();
  ado::BulkInsert bulk(connection, "b", {"id", "note"});
  const auto noteOf = [](std::int32_t i) {
    return std::string(i % 10 == 9 ? 3000000 : i % 10 == 5 ? 70000 : 20, static_cast<char>('a' + i % 26));
  };
  for (std::int32_t i = 0; i < 40; ++i) bulk.Add(std::array<Variant, 2>{i, noteOf(i)});
  bulk.Flush();
  ado::Recordset rs = Open("SELECT id, note FROM b ORDER BY id", ado::adOpenForwardOnly, ado::adLockReadOnly);
  std::int32_t i = 0;
  for (; !rs.Eof(); rs.MoveNext(), ++i) {
    const Variant note = rs.Fields("note").Value();
    ASSERT_TRUE(note.IsText());
    ASSERT_TRUE(*note.If<std::string>() == noteOf(i)) << i;
  }
  EXPECT_EQ(i, 40);
}

/// Values of every length take one another's place in the batches: short after long, empty after full, null after both.
TEST_P(Bulk, BytesAndTextsKeepTheirOwnLengthInEveryBatch) {
  Execute("CREATE TABLE l (id INTEGER NOT NULL PRIMARY KEY, octets " + engine->Type("blob") + ", nom VARCHAR(250), note " +
          engine->Type("text") + ")");
  const auto lengthOf = [](std::int32_t i) { return static_cast<std::size_t>(i * 7919 % 251); };
  const auto isNull = [](std::int32_t i) { return i * 7919 % 11 == 0; };
  const auto bytesOf = [&](std::int32_t i) {
    return isNull(i) ? Variant(Null{}) : Variant(runtime::Bytes(lengthOf(i), static_cast<std::byte>(i)));
  };
  const auto textOf = [&](std::int32_t i) {
    return isNull(i + 1) ? Variant(Null{}) : Variant(std::string(1 + lengthOf(i + 1) % 249, static_cast<char>('a' + i % 26)));
  };
  constexpr std::int32_t kRows = 1500;
  ado::BulkInsert bulk(connection, "l", {"id", "octets", "nom", "note"});
  for (std::int32_t i = 0; i < kRows; ++i) bulk.Add(std::array<Variant, 4>{i, bytesOf(i), textOf(i), textOf(i + 3)});
  bulk.Flush();
  ado::Recordset rs = Open("SELECT * FROM l ORDER BY id", ado::adOpenForwardOnly, ado::adLockReadOnly);
  std::int32_t i = 0;
  for (; !rs.Eof(); rs.MoveNext(), ++i) {
    ASSERT_EQ(rs.Fields("octets").Value(), bytesOf(i)) << i;
    ASSERT_EQ(rs.Fields("nom").Value(), textOf(i)) << i;
    ASSERT_EQ(rs.Fields("note").Value(), textOf(i + 3)) << i;
  }
  EXPECT_EQ(i, kRows);
}

TEST_P(Bulk, DatesDaysAndTimesOfDayKeepTheirValue) {
  Execute("CREATE TABLE d (id INTEGER NOT NULL PRIMARY KEY, moment " + engine->Type("datetime") + ", jour DATE, heure TIME)");
  ado::BulkInsert bulk(connection, "d", {"id", "moment", "jour", "heure"});
  const runtime::Date moments[] = {runtime::ToSerial({100, 1, 1, 0, 0, 0, 0}), runtime::ToSerial({1789, 7, 14, 6, 5, 4, 0}),
                                   runtime::ToSerial({2024, 2, 29, 13, 14, 15, 0}), runtime::ToSerial({9999, 12, 31, 23, 59, 59, 0})};
  for (std::int32_t i = 0; i < 400; ++i) {
    const runtime::Date moment = moments[i % 4];
    bulk.Add(std::array<Variant, 4>{i, moment, runtime::Date{std::trunc(moment.serial)},
                                    i % 5 == 0 ? Variant(Null{}) : Variant(runtime::Date{0.75})});
  }
  bulk.Flush();
  ado::Recordset rs = Open("SELECT * FROM d ORDER BY id", ado::adOpenForwardOnly, ado::adLockReadOnly);
  std::int32_t i = 0;
  for (; !rs.Eof(); rs.MoveNext(), ++i) {
    ASSERT_EQ(rs.Fields("moment").Value(), Variant(moments[i % 4])) << i;
    ASSERT_EQ(rs.Fields("jour").Value(), Variant(runtime::Date{std::trunc(moments[i % 4].serial)})) << i;
    ASSERT_EQ(rs.Fields("heure").Value(), i % 5 == 0 ? Variant(Null{}) : Variant(runtime::Date{0.75})) << i;
  }
  EXPECT_EQ(i, 400);
}

TEST_P(Bulk, FractionsOfASecondAreRoundedToWhatTheColumnKeeps) {
  MakeTable();
  ado::BulkInsert bulk(connection, "b", {"id", "jour"});
  const runtime::Date moment = runtime::ToSerial({2003, 2, 1, 10, 30, 59, 600000000});
  for (std::int32_t i = 0; i < 3; ++i) bulk.Add(std::array<Variant, 2>{i, moment});
  bulk.Flush();
  ado::Recordset rs = Open("SELECT jour FROM b", ado::adOpenForwardOnly, ado::adLockReadOnly);
  const auto expected = engine->Can().declaresScale ? runtime::ToSerial({2003, 2, 1, 10, 31, 0, 0}) : moment;
  for (; !rs.Eof(); rs.MoveNext()) EXPECT_NEAR(rs.Fields(0).Value().If<runtime::Date>()->serial, expected.serial, 1e-9);
}

TEST_P(Bulk, BytesThatAreNoCharacterAreRefusedAndTheRowsBeforeThemAreThere) {
  MakeTable();
  for (const char* text : {"caf\xE9 noir", "\xED\xA0\x80 été"}) {
    Execute("DELETE FROM b");
    ado::BulkInsert bulk(connection, "b", {"id", "note"});
    bulk.Add(std::array<Variant, 2>{std::int32_t{0}, "café"});
    try {
      bulk.Add(std::array<Variant, 2>{std::int32_t{1}, text});
      bulk.Flush();
      FAIL() << "no error";
    } catch (const runtime::Error& error) {
      EXPECT_EQ(error.Number(), -2147467259);
      EXPECT_EQ(error.Description(), "ligne 2, colonne note : La valeur du champ note contient des octets qui ne sont pas un caractère.");
    }
    EXPECT_EQ(Count("b"), 1);
  }
}

TEST_P(Bulk, IntoATableThatIsMissingFailsAtOnce) {
  EXPECT_EQ(ErrorOf([&] { ado::BulkInsert bulk(connection, "absente", {"x"}); }), -2147217865);
}

class OtherCharacterSet : public OdbcTest {};

TEST_P(OtherCharacterSet, OfTheConnectionLeavesTextsAsTheyAre) {
  Execute("CREATE TABLE t (id INTEGER NOT NULL PRIMARY KEY, nom VARCHAR(40)) CHARACTER SET utf8mb4");
  ado::Connection latin;
  latin.Provider("MSDASQL");
  const std::string name = engine->ConnectionString();
  latin.Open(name.substr(0, name.find(";CHARSET=")) + ";CHARSET=latin1", engine->User(), engine->Password());
  {
    ado::BulkInsert bulk(latin, "t", {"id", "nom"});
    for (std::int32_t i = 0; i < 10; ++i) bulk.Add(std::array<Variant, 2>{i, "été à l'île"});
    bulk.Flush();
    ado::Recordset rows;
    rows.Open("SELECT * FROM t", &latin, ado::adOpenDynamic, ado::adLockOptimistic, -1);
    rows.AddNew();
    rows.Fields("id").Value(std::int32_t{10});
    rows.Fields("nom").Value("été à l'île");
    rows.Update();
  }
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM t WHERE nom = 'été à l''île'"), "11");
}

using LockedRow = OdbcTest;

TEST_P(LockedRow, IsWaitedForTwiceNotOnceForEachHalf) {
  Execute("CREATE TABLE v (id INTEGER NOT NULL PRIMARY KEY)");
  Execute("SET SESSION innodb_lock_wait_timeout = 1");
  ado::Connection other;
  Connect(other);
  other.BeginTrans();
  other.Execute("INSERT INTO v VALUES (3000)");
  const auto waits = [&] {
    ado::Recordset rs = Open("SHOW GLOBAL STATUS LIKE 'Innodb_row_lock_waits'", ado::adOpenForwardOnly, ado::adLockReadOnly);
    return runtime::ToInt32(rs.Fields(1).Value());
  };
  const std::int32_t before = waits();
  ado::BulkInsert bulk(connection, "v", {"id"});
  for (std::int32_t i = 1; i <= 3500; ++i) bulk.Add(std::array<Variant, 1>{i});
  EXPECT_EQ(ErrorOf([&] { bulk.Flush(); }), runtime::kProviderFailure);
  EXPECT_EQ(waits() - before, 2) << "the batch and the row";
  other.RollbackTrans();
}

INSTANTIATE_TEST_SUITE_P(Odbc, LockedRow, ::testing::Values("MariaDB"), [](const auto& which) { return which.param; });

using NonTransactional = OdbcTest;

TEST_P(NonTransactional, TablesHoldEachRowBeforeARefusedOneOnce) {
  for (const char* storage : {"MyISAM", "Aria", "MEMORY"}) {
    for (const char* key : {"", ", PRIMARY KEY (id)"}) {
      Execute(std::string("CREATE TABLE nt (id INTEGER, n INTEGER CHECK (n < 9000)") + key + ") ENGINE=" + storage);
      Execute("INSERT INTO nt VALUES (-1, -1)");
      ado::BulkInsert bulk(connection, "nt", {"id", "n"});
      const auto failure = runtime::IgnoringErrors([&] {
        for (std::int32_t i = 1; i <= 6000; ++i) bulk.Add(std::array<Variant, 2>{i, std::int32_t{i == 5500 ? 9500 : 0}});
        bulk.Flush();
      });
      EXPECT_EQ(failure.number, runtime::kProviderFailure) << storage << key;
      EXPECT_TRUE(failure.description.starts_with("ligne 5500")) << storage << key << ": " << failure.description;
      EXPECT_EQ(Count("nt"), 5500) << storage << key;
      EXPECT_EQ(Scalar("SELECT COUNT(DISTINCT id) FROM nt WHERE id < 5500"), "5500") << storage << key;
      Execute("DROP TABLE nt");
    }
  }
}

/// Tables whose definition says what is to be done with a row that meets another one.
class ConflictWords : public OdbcTest {};

TEST_P(ConflictWords, OfATableLoseNoRow) {
  for (const std::string word : {"IGNORE", "REPLACE", "ROLLBACK"}) {
    SCOPED_TRACE(word);
    Execute("CREATE TABLE k (id INTEGER NOT NULL UNIQUE ON CONFLICT " + word + ", nom VARCHAR(20))");
    Execute("INSERT INTO k VALUES (2, 'avant')");
    connection.BeginTrans();
    ado::BulkInsert bulk(connection, "k", {"id", "nom"});
    for (const std::int32_t id : {1, 2, 3}) bulk.Add(std::array<Variant, 2>{id, "nouveau"});
    EXPECT_EQ(ErrorOf([&] { bulk.Flush(); }), runtime::kDuplicateKey);
    EXPECT_EQ(bulk.RefusedRow(), 2);
    bulk.Flush();
    connection.CommitTrans();
    auto rows = Open("SELECT id, nom FROM k");
    EXPECT_EQ(ErrorOf([&] {
                rows.AddNew();
                rows.Fields("id").Value(std::int32_t{2});
                rows.Update();
              }),
              runtime::kDuplicateKey);
    rows.CancelUpdate();
    rows.Close();
    EXPECT_EQ(Scalar("SELECT group_concat(id || nom) FROM (SELECT * FROM k ORDER BY id)"), "1nouveau,2avant,3nouveau");
    Execute("DROP TABLE k");
  }
}

INSTANTIATE_TEST_SUITE_P(Odbc, ConflictWords, ::testing::Values("SQLite"), [](const auto& which) { return which.param; });
INSTANTIATE_TEST_SUITE_P(Odbc, NonTransactional, ::testing::Values("MariaDB"), [](const auto& which) { return which.param; });
INSTANTIATE_TEST_SUITE_P(Odbc, OtherCharacterSet, ::testing::Values("MariaDB"), [](const auto& which) { return which.param; });

INSTANTIATE_TEST_SUITE_P(Odbc, Bulk, ::testing::Values("SQLite", "MariaDB", "PostgreSQL"), [](const auto& which) { return which.param; });

}  // namespace
}  // namespace tamlo::tests
