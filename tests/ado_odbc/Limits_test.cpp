#include <chrono>
#include <thread>

#include "ado/Command.h"
#include "tests/ado_odbc/Engine.h"

namespace tamlo::tests {
namespace {

using Clock = std::chrono::steady_clock;
using runtime::Variant;

/// Statements that take too long are ended, whatever the driver makes of a time limit.
class Limits : public OdbcTest {
 protected:
  /// Minutes of work for the engine.
  [[nodiscard]] std::string LongQuery() const {
    if (GetParam() == "SQLite")
      return "WITH RECURSIVE c(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c WHERE x < 2000000000) SELECT COUNT(*) FROM c";
    if (GetParam() == "MariaDB") return "SELECT COUNT(*) FROM seq_1_to_1000000 a, seq_1_to_1000000 b WHERE a.seq + b.seq = 1";
    return "SELECT COUNT(*) FROM generate_series(1, 1000000) a, generate_series(1, 1000000) b WHERE a + b = 1";
  }
  template <typename Call>
  void ExpectEnded(Call&& call) {
    const auto start = Clock::now();
    try {
      call();
      FAIL() << "no error";
    } catch (const runtime::Error& error) {
      EXPECT_EQ(error.Number(), -2147217871);
      EXPECT_EQ(error.Description(), "L'instruction a pris plus de 1 secondes : elle a été arrêtée.");
      EXPECT_EQ(error.SqlState(), "HYT00");
    }
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(Scalar("SELECT 1"), "1") << "the connection goes on";
  }
};

TEST_P(Limits, AnotherThreadEndsWhatRuns) {
  connection.CommandTimeout(0);
  connection.Property("Cancel", true);  // means nothing yet, and nothing runs
  connection.Property("Cancellable", true);
  for (int i = 0; i < 2; ++i) {
    const auto start = Clock::now();
    std::thread other([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(700));
      connection.Property("Cancel", true);
    });
    try {
      // Where the rows are found while they are fetched, they are.
      ado::Recordset rows;
      rows.Open(LongQuery(), &connection, ado::adOpenForwardOnly, ado::adLockReadOnly, ado::adCmdText);
      if (!rows.Eof()) rows.MoveNext();
      ADD_FAILURE() << "no error";
    } catch (const runtime::Error& error) {
      EXPECT_NE(error.Number(), -2147217871) << "no time is over: " << error.Description();
    }
    other.join();
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(Scalar("SELECT 1"), "1") << "the connection goes on";
  }
}

TEST_P(Limits, AStatementIsEndedAfterItsTime) {
  connection.CommandTimeout(1);
  ExpectEnded([&] { connection.Execute(LongQuery()); });
}

TEST_P(Limits, ARecordsetIsEndedAfterItsTime) {
  connection.CommandTimeout(1);
  ado::Recordset rows;
  rows.Open(LongQuery(), &connection, ado::adOpenForwardOnly, ado::adLockReadOnly, -1);
  ExpectEnded([&] { (void)rows.Eof(); });
  ado::Recordset still;
  ExpectEnded([&] { still.Open(LongQuery(), &connection, ado::adOpenStatic, ado::adLockReadOnly, -1); });
  EXPECT_FALSE(still.IsOpen());
}

TEST_P(Limits, ACommandHasATimeOfItsOwn) {
  ado::Command command;
  command.ActiveConnection(&connection);
  command.CommandText(LongQuery());
  command.CommandTimeout(1);
  for (const bool prepared : {false, true}) {
    command.Prepared(prepared);
    ExpectEnded([&] { command.Execute(); });
  }
}

TEST_P(Limits, StatementsInTimeAreLeftAlone) {
  Execute("CREATE TABLE t (id INTEGER NOT NULL PRIMARY KEY, s VARCHAR(20))");
  connection.CommandTimeout(1);
  // Longer together than the time of one.
  const auto end = Clock::now() + std::chrono::milliseconds(2500);
  std::int32_t count = 0;
  for (; Clock::now() < end; ++count) connection.Execute("INSERT INTO t VALUES (" + std::to_string(count) + ", 'x')");
  EXPECT_EQ(Count("t"), count);
  auto rows = Open("SELECT * FROM t ORDER BY id");
  rows.Fields("s").Value("y");
  rows.Update();
  EXPECT_EQ(Scalar("SELECT s FROM t WHERE id = 0"), "y");
}

INSTANTIATE_TEST_SUITE_P(Odbc, Limits, ::testing::Values("SQLite", "MariaDB", "PostgreSQL"), [](const auto& which) { return which.param; });

class Procedures : public OdbcTest {
 protected:
  void SetUp() override {
    Execute("CREATE TABLE art (code VARCHAR(10) NOT NULL PRIMARY KEY, qte INTEGER)");
    Execute("INSERT INTO art VALUES ('A', 1), ('B', 2), ('C', 3)");
    if (GetParam() == "MariaDB") {
      Execute("CREATE PROCEDURE lues(moins INTEGER) SELECT code FROM art WHERE qte >= moins ORDER BY code");
    } else {
      Execute(
          "CREATE FUNCTION lues(moins INTEGER) RETURNS SETOF VARCHAR AS 'SELECT code FROM art WHERE qte >= $1 ORDER BY code' LANGUAGE SQL");
    }
    command.ActiveConnection(&connection);
    command.CommandType(ado::adCmdStoredProc);
    command.CommandText("lues");
    command.Parameters().Append({.type = ado::adInteger, .value = std::int32_t{2}});
  }
  ado::Command command;
};

TEST_P(Procedures, LeaveTheConnectionUsableOnceTheirRowsAreRead) {
  for (const auto cursor : {ado::adOpenForwardOnly, ado::adOpenStatic, ado::adOpenDynamic}) {
    ado::Recordset rows;
    rows.Open(command, cursor, ado::adLockReadOnly);
    EXPECT_EQ(rows.Fields(0).Value(), Variant("B"));
    rows.MoveNext();
    rows.MoveNext();
    EXPECT_TRUE(rows.Eof());
    EXPECT_EQ(Scalar("SELECT COUNT(*) FROM art"), "3") << cursor;
    rows.MoveFirst();
    EXPECT_EQ(rows.Fields(0).Value(), Variant("B")) << cursor;
  }
  EXPECT_EQ(Scalar("SELECT COUNT(*) FROM art"), "3");
}

TEST_P(Procedures, LeaveTheConnectionUsableWhenTheyAreClosedBefore) {
  for (int i = 0; i < 3; ++i) {
    ado::Recordset rows;
    rows.Open(command, ado::adOpenForwardOnly, ado::adLockReadOnly);
    EXPECT_EQ(rows.Fields(0).Value(), Variant("B"));
    rows.Close();
    EXPECT_EQ(Scalar("SELECT COUNT(*) FROM art"), "3");
    command.Execute();
    EXPECT_EQ(Scalar("SELECT COUNT(*) FROM art"), "3");
  }
}

INSTANTIATE_TEST_SUITE_P(Odbc, Procedures, ::testing::Values("MariaDB", "PostgreSQL"), [](const auto& which) { return which.param; });

}  // namespace
}  // namespace tamlo::tests
