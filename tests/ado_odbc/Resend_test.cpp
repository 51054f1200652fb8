// What the server undoes for another connection's sake: every conflict here is a deadlock of which the connection under test is the victim.
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "ado/BulkInsert.h"
#include "ado/Connection.h"
#include "ado/Recordset.h"
#include "ado/odbc/OdbcProvider.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "tests/support_lib/MariaDbServer.h"

namespace tamlo::tests {
namespace {

using runtime::Error;
using runtime::Variant;

constexpr const char* kUndone = "La transaction a été annulée en entier par le serveur ; elle peut être répétée.";

MariaDbServer& Server() {
  static MariaDbServer server;
  return server;
}

/// Whatever changes a row of t passes through row 1 of u (triggers), which the other connection holds; that one then asks for the row of t.
class Resent : public ::testing::Test {
 protected:
  void SetUp() override {
    ado::odbc::RegisterOdbcProviders();
    static int number = 0;
    database_ = "renvoi" + std::to_string(++number);
    {
      ado::Connection admin;
      admin.Provider("MSDASQL");
      admin.Open(Server().ConnectionString(), "tamlo", "tamlo");
      admin.Execute("CREATE DATABASE " + database_);
    }
    Connect(watcher_);
    Connect(other_);
    Connect(connection);
    watcher_.Execute("CREATE TABLE t (id INTEGER PRIMARY KEY, v INTEGER NOT NULL, note LONGTEXT)");
    watcher_.Execute("CREATE TABLE u (id INTEGER PRIMARY KEY, n INTEGER NOT NULL)");
    watcher_.Execute("CREATE TABLE lourd (id INTEGER PRIMARY KEY)");
    watcher_.Execute("CREATE TABLE brut (id INTEGER) ENGINE=MyISAM");
    watcher_.Execute("INSERT INTO u VALUES (1, 0)");
    watcher_.Execute("INSERT INTO t VALUES (1, 10, 'a'), (2, 20, 'b')");
    for (const char* when : {"UPDATE", "INSERT", "DELETE"}) {
      watcher_.Execute(std::string("CREATE TRIGGER apres_") + when + " AFTER " + when +
                       " ON t FOR EACH ROW UPDATE u SET n = n + 1 WHERE id = 1");
    }
  }

  void Connect(ado::Connection& target) const {
    target.Provider("MSDASQL");
    target.Open(Server().ConnectionString(database_), "tamlo", "tamlo");
  }

  std::string Scalar(const std::string& sql) {
    ado::Recordset rs;
    rs.Open(sql, &watcher_, ado::adOpenForwardOnly, ado::adLockReadOnly, -1);
    return rs.Eof() ? "(no row)" : runtime::ToText(rs.Fields(0).Value(), {"", '.'});
  }

  [[nodiscard]] std::int32_t ResentStatements() const { return runtime::ToInt32(connection.Property("Statements Resent")); }

  /// Runs the work on the connection under test while the other one holds what it needs, and then needs the row `id` of t that it holds: the
  /// server undoes the lighter one, which is ours. Gives the error of the work, if one came out of it.
  std::optional<Error> WhileAnotherHolds(int id, const std::function<void()>& work) {
    other_.BeginTrans();
    // Many changed rows make it the heavier one, and one in a table without transactions, which nobody can undo.
    other_.Execute("INSERT INTO brut VALUES (1)");
    other_.Execute("INSERT INTO lourd SELECT seq + " + std::to_string(1000 * ++conflicts_) + " FROM seq_1_to_500");
    other_.Execute("UPDATE u SET n = n + 100 WHERE id = 1");
    std::optional<Error> failure;
    std::thread ours([&] {
      try {
        work();
      } catch (const Error& error) {
        failure = error;
      }
    });
    // The server makes this table anew when nobody has read it for 100 ms.
    do {
      std::this_thread::sleep_for(std::chrono::milliseconds(150));
    } while (++polls_ < 400 && Scalar("SELECT COUNT(*) FROM information_schema.INNODB_TRX WHERE trx_state = 'LOCK WAIT'") == "0");
    const auto victim =
        runtime::IgnoringErrors([&] { other_.Execute("SELECT id FROM t WHERE id = " + std::to_string(id) + " FOR UPDATE"); });
    EXPECT_EQ(victim.description, "") << "the other one was to win";
    other_.CommitTrans();
    ours.join();
    return failure;
  }

  ado::Connection connection;

 private:
  std::string database_;
  ado::Connection watcher_;
  ado::Connection other_;
  int conflicts_ = 0;
  int polls_ = 0;
};

/// A failure in words, for what must not fail.
std::string Words(const std::optional<Error>& failure) { return failure ? failure->Description() : ""; }

void ExpectUndone(const std::optional<Error>& failure) {
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->Number(), -2147467259);
  EXPECT_EQ(failure->SqlState(), "40001");
  EXPECT_EQ(failure->NativeCode(), 1213);
}

TEST_F(Resent, AStatementIsAppliedOnce) {
  std::int64_t affected = 0;
  EXPECT_EQ(Words(WhileAnotherHolds(1, [&] { affected = connection.Execute("UPDATE t SET v = v + 1 WHERE id = 1"); })), "");
  EXPECT_EQ(affected, 1);
  EXPECT_EQ(ResentStatements(), 1);
  EXPECT_EQ(Scalar("SELECT v FROM t WHERE id = 1"), "11");
  EXPECT_EQ(Scalar("SELECT n FROM u"), "101");
}

TEST_F(Resent, ARecordsetsUpdateIsAppliedOnce) {
  ado::Recordset rs;
  rs.Open("SELECT * FROM t WHERE id = 1", &connection, ado::adOpenDynamic, ado::adLockOptimistic, -1);
  rs.Fields("v").Value(77);
  EXPECT_EQ(Words(WhileAnotherHolds(1, [&] { rs.Update(); })), "");
  EXPECT_EQ(ResentStatements(), 1);
  EXPECT_EQ(Scalar("SELECT v FROM t WHERE id = 1"), "77");
  EXPECT_EQ(Scalar("SELECT n FROM u"), "101");
}

TEST_F(Resent, ARecordsetsNewRowIsThereOnce) {
  ado::Recordset rs;
  rs.Open("SELECT * FROM t", &connection, ado::adOpenDynamic, ado::adLockOptimistic, -1);
  rs.AddNew();
  rs.Fields("id").Value(5);
  rs.Fields("v").Value(50);
  EXPECT_EQ(Words(WhileAnotherHolds(5, [&] { rs.Update(); })), "");
  EXPECT_EQ(ResentStatements(), 1);
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM t WHERE id = 5 AND v = 50"), "1");
}

TEST_F(Resent, ARecordsetsDeletedRowIsGone) {
  ado::Recordset rs;
  rs.Open("SELECT * FROM t WHERE id = 2", &connection, ado::adOpenDynamic, ado::adLockOptimistic, -1);
  EXPECT_EQ(Words(WhileAnotherHolds(2, [&] { rs.Delete(); })), "");
  EXPECT_EQ(ResentStatements(), 1);
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM t"), "1");
}

TEST_F(Resent, ABatchIsThereOnce) {
  ado::BulkInsert bulk(connection, "t", {"id", "v"});
  for (int id = 100; id < 400; ++id) bulk.Add(std::array<Variant, 2>{id, id});
  EXPECT_EQ(Words(WhileAnotherHolds(100, [&] { bulk.Flush(); })), "");
  EXPECT_EQ(ResentStatements(), 1);
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM t WHERE id = v"), "300");
}

TEST_F(Resent, ASingleRowOfABatchIsThereOnce) {
  ado::BulkInsert bulk(connection, "t", {"id", "v"});
  bulk.Add(std::array<Variant, 2>{100, 100});
  EXPECT_EQ(Words(WhileAnotherHolds(100, [&] { bulk.Flush(); })), "");
  EXPECT_EQ(ResentStatements(), 1);
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM t WHERE id = v"), "1");
}

/// A transaction of ours in which a statement is undone while it waits, with the whole transaction.
class ResentInTransaction : public Resent {
 protected:
  std::optional<Error> Undo(const std::function<void()>& work) {
    return WhileAnotherHolds(2, [&] {
      connection.BeginTrans();
      connection.Execute("INSERT INTO lourd VALUES (7)");
      connection.Execute("SELECT id FROM t WHERE id = 2 FOR UPDATE");
      work();
    });
  }
  void ExpectNothingIsLeftAndNothingCanBeAdded() {
    EXPECT_EQ(ResentStatements(), 0);
    const auto statement = runtime::IgnoringErrors([&] { connection.Execute("INSERT INTO lourd VALUES (8)"); });
    EXPECT_EQ(statement.number, -2147467259);
    EXPECT_EQ(statement.description,
              "La transaction a été annulée en entier par le serveur : elle doit être abandonnée, puis peut être répétée.");
    const auto commit = runtime::IgnoringErrors([&] { connection.CommitTrans(); });
    EXPECT_EQ(commit.number, -2147467259) << "a part of the transaction would be kept";
    connection.RollbackTrans();
    EXPECT_EQ(Scalar("SELECT COUNT(*) FROM lourd WHERE id IN (7, 8)"), "0");
    connection.BeginTrans();
    connection.Execute("INSERT INTO lourd VALUES (8)");
    connection.CommitTrans();
    EXPECT_EQ(Scalar("SELECT COUNT(*) FROM lourd WHERE id IN (7, 8)"), "1") << "the transaction can be repeated";
  }
};

TEST_F(ResentInTransaction, AStatementIsNotSentAgain) {
  const auto failure = Undo([&] { connection.Execute("UPDATE t SET v = v + 1 WHERE id = 2"); });
  ExpectUndone(failure);
  EXPECT_TRUE(Words(failure).ends_with(kUndone)) << Words(failure);
  ExpectNothingIsLeftAndNothingCanBeAdded();
}

TEST_F(ResentInTransaction, ARecordsetsRowIsNotSentAgain) {
  const auto failure = Undo([&] {
    ado::Recordset rs;
    rs.Open("SELECT * FROM t", &connection, ado::adOpenDynamic, ado::adLockOptimistic, -1);
    rs.AddNew();
    rs.Fields("id").Value(5);
    rs.Fields("v").Value(50);
    rs.Update();
  });
  ExpectUndone(failure);
  EXPECT_TRUE(Words(failure).ends_with(kUndone)) << Words(failure);
  ExpectNothingIsLeftAndNothingCanBeAdded();
}

TEST_F(ResentInTransaction, ABatchIsNotSentAgain) {
  const auto failure = Undo([&] {
    ado::BulkInsert bulk(connection, "t", {"id", "v"});
    for (int id = 100; id < 400; ++id) bulk.Add(std::array<Variant, 2>{id, id});
    bulk.Flush();
  });
  ExpectUndone(failure);
  EXPECT_TRUE(Words(failure).starts_with("lignes 1 à 300 : ")) << Words(failure);
  EXPECT_TRUE(Words(failure).ends_with(kUndone)) << Words(failure);
  ExpectNothingIsLeftAndNothingCanBeAdded();
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM t"), "2");
}

TEST_F(Resent, AStatementIsSentAgainTwentyTimesAtMost) {
  // A row is refused until the count of all attempts is beyond its number; variables of the session outlive what is undone.
  connection.Execute("CREATE TABLE refus (id INTEGER PRIMARY KEY)");
  connection.Execute("CREATE TABLE conflit (id INTEGER)");
  connection.Execute("CREATE TRIGGER conflit_avant BEFORE INSERT ON conflit FOR EACH ROW SIGNAL SQLSTATE '40001' SET MYSQL_ERRNO = 1213");
  connection.Execute(
      "CREATE TRIGGER refus_avant BEFORE INSERT ON refus FOR EACH ROW INSERT INTO conflit SELECT 1 FROM DUAL WHERE "
      "(@fois := IFNULL(@fois, 0) + 1) <= NEW.id");
  EXPECT_EQ(runtime::IgnoringErrors([&] { connection.Execute("INSERT INTO refus VALUES (20)"); }).description, "");
  EXPECT_EQ(ResentStatements(), 20);
  std::optional<Error> failure;
  try {
    connection.Execute("INSERT INTO refus VALUES (42)");  // 21 attempts were needed before, and 21 are refused now
  } catch (const Error& error) {
    failure = error;
  }
  ExpectUndone(failure);
  EXPECT_EQ(ResentStatements(), 40);
  EXPECT_EQ(Scalar("SELECT GROUP_CONCAT(id) FROM refus"), "20");
}

TEST_F(Resent, AStatementOfATransactionThatATextOpenedIsNotSentAgain) {
  connection.Execute(" /* à la main */ Start transaction");
  connection.Execute("INSERT INTO lourd VALUES (7)");
  ExpectUndone(WhileAnotherHolds(1, [&] { connection.Execute("UPDATE t SET v = v + 1 WHERE id = 1"); }));
  EXPECT_EQ(ResentStatements(), 0);
  EXPECT_EQ(Scalar("SELECT v FROM t WHERE id = 1"), "10");
  connection.Execute("COMMIT");
  EXPECT_EQ(Words(WhileAnotherHolds(1, [&] { connection.Execute("UPDATE t SET v = v + 1 WHERE id = 1"); })), "") << "it is over now";
  EXPECT_EQ(ResentStatements(), 1);
}

TEST_F(Resent, AProcedureThatMayHaveKeptItsBeginningIsNotCalledAgain) {
  connection.Execute("CREATE PROCEDURE p() BEGIN INSERT INTO lourd VALUES (7); UPDATE t SET v = v + 1 WHERE id = 1; END");
  ExpectUndone(WhileAnotherHolds(1, [&] { connection.Execute("CALL p()"); }));
  EXPECT_EQ(ResentStatements(), 0);
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM lourd WHERE id = 7"), "1") << "the test has no sense where its first statement is undone too";
}

TEST_F(Resent, WhereStatementsGatherInTransactionsNothingIsSentAgain) {
  connection.Execute("SET autocommit=0");
  connection.Execute("INSERT INTO lourd VALUES (7)");
  ExpectUndone(WhileAnotherHolds(1, [&] { connection.Execute("UPDATE t SET v = v + 1 WHERE id = 1"); }));
  EXPECT_EQ(ResentStatements(), 0);
}

TEST_F(Resent, WhatATableWithoutTransactionsHasKeptIsNotWrittenTwice) {
  connection.Execute("CREATE TABLE journal (id INTEGER) ENGINE=MyISAM");
  connection.Execute("CREATE TRIGGER note BEFORE UPDATE ON t FOR EACH ROW INSERT INTO journal VALUES (OLD.id)");
  ExpectUndone(WhileAnotherHolds(1, [&] { connection.Execute("UPDATE t SET v = v + 1 WHERE id = 1"); }));
  EXPECT_EQ(ResentStatements(), 0);
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM journal"), "1");
}

TEST_F(Resent, GoingBackToASavepointEndsNoTransaction) {
  connection.Execute("BEGIN");
  connection.Execute("SAVEPOINT s");
  connection.Execute("ROLLBACK TO s");
  ExpectUndone(WhileAnotherHolds(1, [&] { connection.Execute("UPDATE t SET v = v + 1 WHERE id = 1"); }));
  EXPECT_EQ(ResentStatements(), 0);
}

}  // namespace
}  // namespace tamlo::tests
