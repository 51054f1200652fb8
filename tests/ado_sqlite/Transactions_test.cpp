#include "ado/ConnectionKeys.h"
#include "tests/ado_sqlite/SqliteFile.h"
#include "tests/support_lib/SmallDisk.h"

namespace tamlo::tests {
namespace {

using runtime::Variant;

class SqliteTransactions : public SqliteFile {
 protected:
  SqliteTransactions() { (void)Shell("CREATE TABLE t (id INTEGER, m TEXT);"); }
};

TEST_F(SqliteTransactions, AreThereWholeOrNotAtAll) {
  for (const bool commits : {true, false}) {
    connection.BeginTrans();
    EXPECT_EQ(connection.TransactionLevel(), 1);
    Add("t", {"id"}, {std::int32_t{1}});
    connection.Execute("UPDATE t SET m = 'x'");
    EXPECT_EQ(Shell("SELECT count(*) FROM t;"), commits ? "0\n" : "1\n");
    commits ? connection.CommitTrans() : connection.RollbackTrans();
    EXPECT_EQ(Shell("SELECT * FROM t;"), "1|x\n");
  }
}

TEST_F(SqliteTransactions, ThatAreOpenWhenTheConnectionGoesAreUndone) {
  {
    ado::Connection other;
    other.Provider("SQLITE");
    other.Open("Data Source=" + ado::Quoted(file));
    other.BeginTrans();
    other.Execute("INSERT INTO t VALUES (1, 'x')");
  }
  EXPECT_EQ(Shell("SELECT count(*) FROM t;"), "0\n");
}

TEST_F(SqliteTransactions, HaveOneLevel) {
  connection.BeginTrans();
  EXPECT_EQ(ErrorOf([&] { connection.BeginTrans(); }).number, runtime::kOperationNotSupported);
  connection.CommitTrans();
  EXPECT_EQ(ErrorOf([&] { connection.CommitTrans(); }).number, runtime::kNoTransaction);
}

TEST_F(SqliteTransactions, ThatATriggerUndoesAreNotCommitted) {
  (void)Shell("CREATE TRIGGER tout BEFORE INSERT ON t WHEN NEW.id = 2 BEGIN SELECT RAISE(ROLLBACK, 'pas de 2'); END;");
  connection.BeginTrans();
  ado::BulkInsert bulk(connection, "t", {"id"});
  bulk.Add(std::vector<Variant>{std::int32_t{1}});
  EXPECT_EQ(ErrorOf([&] { bulk.Add(std::vector<Variant>{std::int32_t{2}}); }).description, "ligne 2 : pas de 2");
  EXPECT_EQ(bulk.RefusedRow(), 0) << "the rows before it are gone too";
  EXPECT_EQ(ErrorOf([&] { connection.CommitTrans(); }).number, runtime::kNoTransaction);
  EXPECT_EQ(connection.TransactionLevel(), 0);
  EXPECT_EQ(Shell("SELECT count(*) FROM t;"), "0\n");
  connection.BeginTrans();
  connection.RollbackTrans();
}

TEST_F(SqliteTransactions, WaitForAnotherWriterAndThenSaySo) {
  ado::Connection other;
  other.Provider("SQLITE");
  other.Open("Data Source=\"" + folder.File("deux.sqlite") + "\"");
  Connect(folder.File("deux.sqlite"));
  other.BeginTrans();
  other.Execute("CREATE TABLE u (id INTEGER)");
  const auto failure = ErrorOf([&] { connection.BeginTrans(); });
  EXPECT_EQ(failure.description, "database is locked");
  EXPECT_EQ(connection.TransactionLevel(), 0);
  other.CommitTrans();
  connection.BeginTrans();
  Add("u", {"id"}, {std::int32_t{1}});
  connection.CommitTrans();
  EXPECT_EQ(Shell("SELECT * FROM u;"), "1\n");
}

TEST_F(SqliteTransactions, OnAFullDiskAreUndoneAndNoRowIsBlamed) {
  SmallDisk disk(1 << 20);
  if (!disk.Refused().empty()) GTEST_SKIP() << disk.Refused();
  Connect(disk.File("plein.sqlite"));
  connection.Execute("CREATE TABLE t (id INTEGER, m TEXT)");
  Add("t", {"id"}, {std::int32_t{0}});
  connection.BeginTrans();
  connection.Execute("PRAGMA cache_size = 10");
  ado::BulkInsert bulk(connection, "t", {"id", "m"});
  const auto failure = ErrorOf([&] {
    for (std::int32_t id = 1; id < 2000; ++id) bulk.Add(std::vector<Variant>{id, std::string(1000, 'm')});
    connection.CommitTrans();
  });
  EXPECT_NE(failure.description.find("full"), std::string::npos) << failure.description;
  EXPECT_EQ(bulk.RefusedRow(), 0);
  if (connection.TransactionLevel() > 0) connection.RollbackTrans();
  EXPECT_EQ(Shell("SELECT count(*) FROM t; PRAGMA integrity_check;"), "1\nok\n");
  connection.Close();
}

}  // namespace
}  // namespace tamlo::tests
