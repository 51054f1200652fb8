#include <malloc.h>
#include <sys/resource.h>

#include <csignal>
#include <random>

#include "ado/odbc/OdbcProvider.h"
#include "tests/ado_odbc/Engine.h"

// Rows that a recordset keeps, beyond what it keeps in memory.
namespace tamlo::tests {
namespace {

using runtime::Variant;

class KeptRows : public ::testing::Test {
 protected:
  KeptRows() : engine(MakeEngine("SQLite")) {
    ado::odbc::RegisterOdbcProviders();
    Connect("");
  }

  void Connect(const std::string& more) {
    connection.Provider("MSDASQL.1");
    connection.Open(engine->ConnectionString() + more, "", "");
  }
  void Fill(int rows) {
    connection.Execute("CREATE TABLE t (id INTEGER NOT NULL PRIMARY KEY, n INTEGER, s VARCHAR(2000), b BLOB)");
    connection.Execute(
        "WITH RECURSIVE c(x) AS (SELECT 0 UNION ALL SELECT x + 1 FROM c WHERE x < " + std::to_string(rows - 1) +
        ") INSERT INTO t SELECT x, x * 7, printf('%d é %.*c', x, 600 + x % 100, 'z'), CASE WHEN x % 3 = 0 THEN NULL ELSE x'00FF' END FROM c");
  }
  static std::string TextOf(std::int32_t id) {
    return std::to_string(id) + " é " + std::string(static_cast<std::size_t>(600 + id % 100), 'z');
  }
  static void ExpectRow(ado::Recordset& rows, std::int32_t id) {
    ASSERT_EQ(rows.Fields(0).Value(), Variant(id));
    ASSERT_EQ(rows.Fields(1).Value(), Variant(id * 7));
    ASSERT_EQ(rows.Fields(2).Value(), Variant(TextOf(id)));
    ASSERT_EQ(rows.Fields(3).Value().IsNull(), id % 3 == 0);
  }
  void Open(ado::Recordset& rows, ado::CursorType cursor = ado::adOpenStatic, ado::CursorLocation location = ado::adUseServer) {
    connection.CursorLocation(location);
    rows.Open("SELECT * FROM t ORDER BY id", &connection, cursor, ado::adLockOptimistic, -1);
  }

  std::unique_ptr<Engine> engine;
  ado::Connection connection;
};

constexpr std::int32_t kMany = 150000;  // more than 64 MB

TEST_F(KeptRows, BeyondTheMemoryThatTheyMayTakeTheyAreTheSameInAnyOrder) {
  Fill(kMany);
  ado::Recordset rows;
  Open(rows);
  ASSERT_EQ(rows.RecordCount(), kMany);
  std::mt19937 random(11);
  for (int i = 0; i < 3000; ++i) {
    const auto id = static_cast<std::int32_t>(random() % kMany);
    rows.AbsolutePosition(id + 1);
    ExpectRow(rows, id);
  }
  std::int32_t id = 0;
  for (rows.MoveFirst(); !rows.Eof(); rows.MoveNext(), ++id) ExpectRow(rows, id);
  EXPECT_EQ(id, kMany);
  // Changed, added and deleted among them.
  rows.AbsolutePosition(5);
  rows.Fields(1).Value(std::int32_t{-5});
  rows.Update();
  rows.AbsolutePosition(100001);
  rows.Delete();
  rows.AddNew();
  rows.Fields(0).Value(kMany);
  rows.Fields(2).Value(TextOf(kMany));
  rows.Update();
  rows.MoveLast();
  EXPECT_EQ(rows.Fields(0).Value(), Variant(kMany));
  EXPECT_TRUE(rows.Fields(1).Value().IsNull());
  EXPECT_EQ(rows.RecordCount(), kMany);
  rows.AbsolutePosition(5);
  EXPECT_EQ(rows.Fields(1).Value(), Variant(std::int32_t{-5}));
  EXPECT_EQ(rows.Fields(2).Value(), Variant(TextOf(4)));
  rows.AbsolutePosition(100001);
  ExpectRow(rows, 100001);
}

TEST_F(KeptRows, MemoryDoesNotGrowWithTheRows) {
  Fill(4 * kMany);
  connection.Close();
  Connect(";StepAPI=1");  // the driver too keeps nothing
  ado::Recordset rows;
  const auto before = ::mallinfo2();
  Open(rows);
  rows.MoveLast();
  ExpectRow(rows, 4 * kMany - 1);
  const auto after = ::mallinfo2();
  const auto grown = static_cast<std::int64_t>(after.uordblks + after.hblkhd) - static_cast<std::int64_t>(before.uordblks + before.hblkhd);
  EXPECT_LT(grown, 100'000'000) << "of 400 MB that the rows are";
}

/// No file of this process gets longer than that, as long as the object lives: a disk that is full beyond it.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    ::getrlimit(RLIMIT_FSIZE, &before_);
    rlimit now = before_;
    now.rlim_cur = bytes;
    ::setrlimit(RLIMIT_FSIZE, &now);
  }
  ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &before_); }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit before_{};
};

void ExpectDiskFull(const runtime::PendingError& refusal) {
  EXPECT_EQ(refusal.number, -2147467259);
  EXPECT_NE(refusal.description.find("ne peuvent pas être gardées dans un fichier temporaire"), std::string::npos) << refusal.description;
}

TEST_F(KeptRows, AFullDiskIsAnErrorAndNoRecordsetOfHalfTheRows) {
  Fill(kMany);
  ado::Recordset rows;
  {
    const FullDisk full(1 << 20);
    ExpectDiskFull(runtime::IgnoringErrors([&] { Open(rows); }));
    EXPECT_FALSE(rows.IsOpen());
  }
  Open(rows);
  EXPECT_EQ(rows.RecordCount(), kMany);
  rows.MoveLast();
  ExpectRow(rows, kMany - 1);
}

TEST_F(KeptRows, OfACursorThatReadsOnNoRowIsLostByAFullDisk) {
  Fill(kMany);
  ado::Recordset rows;
  Open(rows, ado::adOpenDynamic, ado::adUseClient);
  std::int32_t refusals = 0;
  std::int32_t id = 0;
  ExpectRow(rows, id);
  while (id < kMany - 1) {
    runtime::PendingError refusal;
    {
      const FullDisk full(refusals > 0 ? RLIM_INFINITY : 1 << 20);
      refusal = runtime::IgnoringErrors([&] { rows.MoveNext(); });
    }
    if (refusal) {
      ExpectDiskFull(refusal);
      ASSERT_EQ(++refusals, 1);
      continue;
    }
    ++id;
    ASSERT_EQ(rows.Fields(0).Value(), Variant(id));
  }
  EXPECT_EQ(refusals, 1);
}

}  // namespace
}  // namespace tamlo::tests
