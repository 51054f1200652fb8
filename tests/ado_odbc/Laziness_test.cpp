#include "ado/Catalog.h"
#include "ado/odbc/OdbcProvider.h"
#include "tests/ado_odbc/Engine.h"

namespace tamlo::tests {
namespace {

/// What must not grow is counted by the server itself.
class Laziness : public ::testing::Test {
 protected:
  Laziness() {
    ado::odbc::RegisterOdbcProviders();
    connection.Provider("MSDASQL.1");
    connection.Open(server.ConnectionString(), "tamlo", "tamlo");
  }

  /// A counter of this connection's own.
  std::int64_t Status(const std::string& name) {
    ado::Recordset rs;
    rs.Open("SHOW SESSION STATUS LIKE '" + name + "'", &connection, ado::adOpenForwardOnly, ado::adLockReadOnly, -1);
    return std::stoll(*rs.Fields(1).Value().If<std::string>());
  }

  MariaDbServer server;
  ado::Connection connection;
};

TEST_F(Laziness, OpeningAQueryReadsNoRowWhateverTheTableHolds) {
  connection.Execute("CREATE TABLE big (id INTEGER PRIMARY KEY, name VARCHAR(40)) ENGINE=InnoDB");
  connection.Execute("INSERT INTO big SELECT seq, CONCAT('name ', seq) FROM seq_1_to_2000000");
  const std::int64_t selects = Status("Com_select");
  const std::int64_t executed = Status("Com_stmt_execute");
  const std::int64_t readsBefore = Status("Handler_read_rnd_next");
  const std::int64_t ownCost = Status("Handler_read_rnd_next") - readsBefore;  // of asking for the counter itself
  const std::int64_t before = Status("Handler_read_rnd_next");
  {
    ado::Recordset rs;
    rs.Open("SELECT * FROM big", &connection, ado::adOpenForwardOnly, ado::adLockUnspecified, -1);
    EXPECT_EQ(rs.FieldCount(), 2U);
    EXPECT_EQ(rs.Fields(1).DefinedSize(), 40);
    rs.Close();
  }
  EXPECT_LE(Status("Handler_read_rnd_next") - before, 2 * ownCost) << "no row of the table was read";
  EXPECT_EQ(Status("Com_select"), selects) << "no query was executed";
  EXPECT_LE(Status("Com_stmt_execute") - executed, 8) << "only the counters were asked";
  ado::Recordset rs;
  rs.Open("SELECT * FROM big", &connection, ado::adOpenForwardOnly, ado::adLockUnspecified, -1);
  EXPECT_FALSE(rs.Eof());
  EXPECT_EQ(Status("Com_select"), selects + 1) << "the first row asked for executes it";
}

TEST_F(Laziness, CountingAStaticRecordsetAndGoingToItsEndReadsItOnce) {
  connection.Execute("CREATE TABLE big (id INTEGER PRIMARY KEY, name VARCHAR(40)) ENGINE=InnoDB");
  connection.Execute("INSERT INTO big SELECT seq, CONCAT('name ', seq) FROM seq_1_to_50000");
  const auto rowsRead = [&] { return Status("Handler_read_next") + Status("Handler_read_rnd_next") + Status("Handler_read_first"); };
  const std::int64_t start = rowsRead();
  const std::int64_t own = rowsRead() - start;  // of asking
  const std::int64_t selects = Status("Com_select");
  const std::int64_t before = rowsRead();
  ado::Recordset rs;
  rs.Open("SELECT * FROM big", &connection, ado::adOpenStatic, ado::adLockReadOnly, -1);
  EXPECT_EQ(rs.RecordCount(), 50000);
  rs.MoveLast();
  EXPECT_EQ(rs.Fields(0).Value(), runtime::Variant(std::int32_t{50000}));
  EXPECT_EQ(rs.RecordCount(), 50000);
  rs.MoveFirst();
  rs.AbsolutePosition(25000);
  EXPECT_EQ(rs.Fields(0).Value(), runtime::Variant(std::int32_t{25000}));
  const std::int64_t read = rowsRead() - before - own;
  EXPECT_GE(read, 50000);
  EXPECT_LE(read, 51000) << "each row once";
  EXPECT_EQ(Status("Com_select"), selects + 1);
}

TEST_F(Laziness, AddingRowsToAHugeTableReadsNone) {
  connection.Execute("CREATE TABLE big (id INTEGER PRIMARY KEY, name VARCHAR(40)) ENGINE=InnoDB");
  connection.Execute("INSERT INTO big SELECT seq, CONCAT('name ', seq) FROM seq_1_to_100000");
  const std::int64_t selects = Status("Com_select");
  ado::Recordset rs;
  rs.Open("SELECT * FROM big", &connection, ado::adOpenDynamic, ado::adLockOptimistic, -1);
  for (std::int32_t i = 0; i < 10; ++i) {
    rs.AddNew();
    rs.Fields(0).Value(std::int32_t{200000 + i});
    rs.Update();
  }
  EXPECT_EQ(Status("Com_select"), selects);
}

TEST_F(Laziness, DescribingManyTablesTakesAFixedNumberOfStatements) {
  for (int i = 0; i < 200; ++i) connection.Execute("CREATE TABLE t" + std::to_string(i) + " (a INTEGER PRIMARY KEY, b VARCHAR(10))");
  ado::Catalog catalog(connection);
  const std::int64_t before = Status("Questions");
  ASSERT_EQ(catalog.TableCount(), 200U);
  std::size_t columns = 0;
  for (std::size_t i = 0; i < 200; ++i) columns += catalog.Tables(i).Columns().size();
  EXPECT_EQ(columns, 400U);
  EXPECT_LE(Status("Questions") - before, 10);
}

TEST_F(Laziness, ReadingTheColumnsOfATableByAQueryTakesNoExecution) {
  connection.Execute("CREATE TABLE t (a INTEGER PRIMARY KEY, b VARCHAR(10))");
  const std::int64_t before = Status("Questions");
  const std::int64_t own = Status("Questions") - before;
  const std::int64_t start = Status("Questions");
  for (int i = 0; i < 20; ++i) {
    ado::Recordset rs;
    rs.Open("SELECT * FROM t", &connection, ado::adOpenForwardOnly, ado::adLockUnspecified, -1);
  }
  EXPECT_EQ(Status("Questions") - start, own) << "preparing is no question to the server";
}

}  // namespace
}  // namespace tamlo::tests
