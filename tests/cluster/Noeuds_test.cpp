// The fast look at the cluster: a few users on three nodes at once, conflicts that are sent again, and how a connection string names nodes.
#include <thread>

#include "ado/Connection.h"
#include "ado/Recordset.h"
#include "ado/odbc/OdbcProvider.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "tests/cluster/Volumes.h"

namespace tamlo::tests {
namespace {

class Noeuds : public Volumes {
 protected:
  void SetUp() override {
    ado::odbc::RegisterOdbcProviders();
    Volumes::SetUp();
  }
  static void Connect(ado::Connection& target, const std::string& text) {
    target.Provider("MSDASQL.1");
    target.Open(text, "tamlo", "tamlo");
  }
  static std::string Scalar(ado::Connection& connection, const std::string& sql) {
    ado::Recordset rs;
    rs.Open(sql, &connection, ado::adOpenForwardOnly, ado::adLockReadOnly, -1);
    return rs.Eof() ? "(no row)" : runtime::ToText(rs.Fields(0).Value(), {"", '.'});
  }
};

TEST_F(Noeuds, UsersOfThreeNodesAtOnceHaveIdsOfTheirOwn) {
  constexpr int kUsers = 24;
  EXPECT_EQ(SaveMany(kUsers, 6, [](int i) { return Cluster().ConnectionString(1 + i % 3); }), "");
  ExpectUsers(kUsers, {1, 2, 3});
}

TEST_F(Noeuds, TheFirstProgramsOfThreeNodesBuildOneWholeCatalog) {
  constexpr int kUsers = 6;
  for (int round = 1; round <= 6; ++round) {
    // In every other round a node may not see yet what another has just defined.
    const std::string wait = round % 2 == 0 ? "" : ";INITSTMT={SET SESSION wsrep_sync_wait=7}";
    const auto base = [&](int i) { return Cluster().ConnectionString(1 + i % 3) + wait; };
    ASSERT_EQ(Cluster().Client(1,
                               "DELETE FROM VLMUTL; DELETE FROM UTL; DROP TABLE IF EXISTS `$TBLKORV$`, `$FLDKORV$`, `$IDXKORV$`, "
                               "`$RLTKORV$`, TEST_DT"),
              "");
    EXPECT_EQ(SaveMany(kUsers, 6, base), "") << "round " << round;
    ExpectUsers(kUsers, {1, 2, 3});
    for (const int node : {1, 2, 3}) ExpectCatalog(node);
    if (HasFailure()) return;
  }
}

TEST_F(Noeuds, ARowThatThreeNodesChangeAtOnceTakesEachChangeOnce) {
  constexpr int kChanges = 100;
  ASSERT_EQ(Cluster().Client(1, "CREATE OR REPLACE TABLE compte (id INTEGER PRIMARY KEY, n INTEGER); INSERT INTO compte VALUES (1, 0)"),
            "");
  std::array<ado::Connection, 3> connections;
  std::vector<std::thread> threads;
  std::array<std::string, 3> failures;
  for (std::size_t i = 0; i < 3; ++i) {
    Connect(connections[i], Cluster().ConnectionString(static_cast<int>(i) + 1));
    threads.emplace_back([&, i] {
      for (int change = 0; change < kChanges; ++change) {
        failures[i] += runtime::IgnoringErrors([&] { connections[i].Execute("UPDATE compte SET n = n + 1 WHERE id = 1"); }).description;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  int resent = 0;
  for (auto& connection : connections) resent += runtime::ToInt32(connection.Property("Statements Resent"));
  EXPECT_EQ(failures, (std::array<std::string, 3>{}));
  EXPECT_EQ(Cluster().Client(2, "SET SESSION wsrep_sync_wait = 7; SELECT n FROM compte"), "300\n");
  EXPECT_GT(resent, 0) << "without a conflict this proves nothing";
  std::cout << "sent again: " << resent << "\n";
}

TEST_F(Noeuds, TheLaterCommitOfTwoTransactionsIsRefusedAndMayBeRepeated) {
  ASSERT_EQ(
      Cluster().Client(1, "CREATE OR REPLACE TABLE compte (id INTEGER PRIMARY KEY, n INTEGER); INSERT INTO compte VALUES (1, 0), (2, 0)"),
      "");
  ado::Connection first;
  ado::Connection second;
  Connect(first, Cluster().ConnectionString(1));
  Connect(second, Cluster().ConnectionString(2) + ";INITSTMT={SET SESSION wsrep_sync_wait=7}");
  EXPECT_EQ(Scalar(second, "SELECT COUNT(*) FROM compte"), "2");
  second.BeginTrans();
  second.Execute("UPDATE compte SET n = n + 10 WHERE id = 2");
  second.Execute("UPDATE compte SET n = n + 10 WHERE id = 1");
  first.Execute("UPDATE compte SET n = n + 1 WHERE id = 1");
  std::optional<runtime::Error> failure;
  try {
    for (int i = 0; i < 50; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      second.Execute("UPDATE compte SET n = n WHERE id = 2");
    }
    second.CommitTrans();
  } catch (const runtime::Error& error) {
    failure = error;
  }
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->SqlState(), "40001");
  EXPECT_EQ(failure->NativeCode(), 1213);
  EXPECT_TRUE(failure->Description().ends_with("La transaction a été annulée en entier par le serveur ; elle peut être répétée."))
      << failure->Description();
  second.RollbackTrans();
  EXPECT_EQ(Scalar(second, "SELECT SUM(n) FROM compte"), "1") << "nothing of it is left";
  second.BeginTrans();
  second.Execute("UPDATE compte SET n = n + 10");
  second.CommitTrans();
  EXPECT_EQ(Cluster().Client(3, "SET SESSION wsrep_sync_wait = 7; SELECT SUM(n) FROM compte"), "21\n");
}

TEST_F(Noeuds, AReadThatWaitsSeesWhatAnotherNodeHasJustCommitted) {
  ASSERT_EQ(Cluster().Client(1, "CREATE OR REPLACE TABLE compte (id INTEGER PRIMARY KEY)"), "");
  ado::Connection writer;
  ado::Connection reader;
  ado::Connection hasty;
  Connect(writer, Cluster().ConnectionString(1));
  Connect(reader, Cluster().ConnectionString(3) + ";INITSTMT={SET SESSION wsrep_sync_wait=1}");
  Connect(hasty, Cluster().ConnectionString(3));
  EXPECT_EQ(Scalar(reader, "SELECT @@wsrep_sync_wait"), "1");
  int late = 0;
  int hastyLate = 0;
  for (int i = 1; i <= 200; ++i) {
    writer.Execute("INSERT INTO compte VALUES (" + std::to_string(i) + ")");
    if (Scalar(hasty, "SELECT COUNT(*) FROM compte") != std::to_string(i)) ++hastyLate;
    if (Scalar(reader, "SELECT COUNT(*) FROM compte") != std::to_string(i)) ++late;
  }
  EXPECT_EQ(late, 0);
  std::cout << "of 200 reads without waiting came too early: " << hastyLate << "\n";
}

TEST_F(Noeuds, AConnectionGoesToTheFirstServerOfTheListThatAnswers) {
  ado::Connection connection;
  Connect(connection, "DRIVER={MariaDB Unicode};SERVER=127.0.0.1:1,127.0.0.1:" + Cluster().Port(2) + ",127.0.0.1:" + Cluster().Port(3) +
                          ";DATABASE=tamlo");
  EXPECT_EQ(Scalar(connection, "SELECT @@port"), Cluster().Port(2));
  ado::Connection both;
  Connect(both, Cluster().AnyOf({3, 1}));
  EXPECT_EQ(Scalar(both, "SELECT @@port"), Cluster().Port(3));
}

}  // namespace
}  // namespace tamlo::tests
