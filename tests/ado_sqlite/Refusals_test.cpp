#include <fstream>
#include <limits>

#include "tests/ado_sqlite/SqliteFile.h"

namespace tamlo::tests {
namespace {

using runtime::Variant;

class SqliteRefusals : public SqliteFile {
 protected:
  /// What is said of a value that a column of that type is to take.
  std::string Said(const std::string& type, const Variant& value) {
    connection.Execute("CREATE TABLE IF NOT EXISTS one (v " + type + ")");
    const std::string said = ErrorOf([&] { Add("one", {"v"}, {value}); }).description;
    EXPECT_EQ(Shell("SELECT count(*) FROM one; DROP TABLE one;"), "0\n") << type;
    return said;
  }
};

TEST_F(SqliteRefusals, WhatWouldBecomeAnotherValue) {
  EXPECT_EQ(Said("DOUBLE", std::numeric_limits<double>::quiet_NaN()),
            "ligne 1 : La valeur du champ v n'est pas un nombre, et la base n'en garde rien.");
  const std::string digits = "ligne 1 : La valeur du champ v a 20 chiffres, et la base n'en garde que 15.";
  EXPECT_EQ(Said("DECIMAL(30,10)", runtime::Decimal{"1234567890.1234567891"}), digits);
  EXPECT_EQ(Said("NUMERIC", "12345678901234567891"), digits);
  const std::string text = "ligne 1 : La valeur du champ v est un texte dont la base ferait un nombre.";
  for (const char* one : {"12345678901234567891", "007", "1.50", " 7", "1e3", "-0"}) EXPECT_EQ(Said("STRING", one), text) << one;
  EXPECT_EQ(Said("DOUBLE", std::int64_t{9007199254740993}), "ligne 1 : La valeur du champ v a 16 chiffres, et la base n'en garde que 15.");
  EXPECT_EQ(Said("NUMERIC", "1e400"), "ligne 1 : La valeur du champ v est trop grande pour un nombre.");
  EXPECT_EQ(Said("TEXT", "a\xFFz"), "ligne 1 : La valeur du champ v contient des octets qui ne sont pas un caractère.");
  EXPECT_EQ(Said("DATETIME", runtime::Date{1e9}), "ligne 1 : La valeur du champ v n'est pas un jour que la base garde.");
}

TEST_F(SqliteRefusals, ARefusedRowIsNamedAndTheOthersAreThere) {
  (void)Shell("CREATE TABLE t (id INTEGER PRIMARY KEY, n INTEGER NOT NULL CHECK (n < 10), nom TEXT);");
  connection.BeginTrans();
  ado::BulkInsert bulk(connection, "t", {"id", "n", "nom"});
  bulk.RowsBefore(100);
  const auto add = [&](std::int32_t id, const Variant& n) { return ErrorOf([&] { bulk.Add(std::vector<Variant>{id, n, "x"}); }); };
  EXPECT_FALSE(add(1, std::int32_t{1}));
  EXPECT_EQ(bulk.RefusedRow(), 0);
  auto failure = add(1, std::int32_t{2});
  EXPECT_EQ(failure.number, runtime::kDuplicateKey);
  EXPECT_EQ(failure.description, "ligne 102, colonne id : UNIQUE constraint failed: t.id");
  EXPECT_EQ(bulk.RefusedRow(), 2);
  EXPECT_EQ(add(3, runtime::Null{}).description, "ligne 103, colonne n : NOT NULL constraint failed: t.n");
  EXPECT_EQ(add(4, std::int32_t{10}).description, "ligne 104 : CHECK constraint failed: n < 10");
  EXPECT_FALSE(add(5, std::int32_t{5}));
  EXPECT_EQ(bulk.RefusedRow(), 0);
  EXPECT_EQ(bulk.Stored().atLeast, 2);
  connection.CommitTrans();
  EXPECT_EQ(Shell("SELECT id, n FROM t;"), "1|1\n5|5\n");
}

TEST_F(SqliteRefusals, WhatATableWantsDoneAtAConflictLosesNoRow) {
  for (const std::string word : {"IGNORE", "REPLACE", "ROLLBACK", "FAIL"}) {
    SCOPED_TRACE(word);
    (void)Shell("CREATE TABLE t (id INTEGER UNIQUE ON CONFLICT " + word + ", nom TEXT NOT NULL ON CONFLICT " + word +
                " DEFAULT 'rien'); INSERT INTO t VALUES (2, 'avant');");
    connection.BeginTrans();
    ado::BulkInsert bulk(connection, "t", {"id", "nom"});
    for (const std::int32_t id : {1, 2, 3}) {
      const Variant name = id == 3 ? Variant(runtime::Null{}) : Variant("nouveau");
      EXPECT_EQ(static_cast<bool>(ErrorOf([&] { bulk.Add(std::vector<Variant>{id, name}); })), id != 1);
    }
    connection.CommitTrans();
    EXPECT_EQ(Shell("SELECT * FROM t ORDER BY id; DROP TABLE t;"), "1|nouveau\n2|avant\n");
  }
}

TEST_F(SqliteRefusals, ARowThatATriggerLeavesOutIsOne) {
  (void)Shell("CREATE TABLE t (id INTEGER); CREATE TRIGGER sans_2 BEFORE INSERT ON t WHEN NEW.id = 2 BEGIN SELECT RAISE(IGNORE); END;");
  ado::BulkInsert bulk(connection, "t", {"id"});
  for (const std::int32_t id : {1, 2, 3}) {
    const auto failure = ErrorOf([&] { bulk.Add(std::vector<Variant>{id}); });
    EXPECT_EQ(failure.description, id == 2 ? "ligne 2 : the table has not taken the row" : "");
    EXPECT_EQ(bulk.RefusedRow(), id == 2 ? 2 : 0);
  }
  EXPECT_EQ(Shell("SELECT * FROM t;"), "1\n3\n");
}

TEST_F(SqliteRefusals, WhatIsNoDatabaseSaysSo) {
  const std::string other = folder.File("texte.sqlite");
  std::ofstream(other) << std::string(5000, 'x');
  Connect(other);
  const auto failure = ErrorOf([&] { connection.Execute("CREATE TABLE t (a)"); });
  EXPECT_EQ(failure.description, "file is not a database");
  const auto folderItself = ErrorOf([&] { Connect(folder.Path().string()); });
  EXPECT_EQ(folderItself.number, runtime::kProviderFailure);
  EXPECT_EQ(folderItself.description, "unable to open database file");
}

}  // namespace
}  // namespace tamlo::tests
