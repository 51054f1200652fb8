// Several processes with one Access file. The processes are real ones: byte-range locks behave differently inside one.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <iostream>

#include "jet/Database.h"
#include "jet/Error.h"
#include "jet/Table.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace jet {
namespace {

using tamlo::tests::TemporaryFolder;

/// Runs the work in a process of its own, which gives its result as exit status (255: an error that was not expected).
pid_t Start(const std::function<int()>& work) {
  const pid_t child = fork();
  if (child != 0) return child;
  int status = 255;
  try {
    status = work();
  } catch (const std::exception& error) {
    std::cerr << "in the other process: " << error.what() << '\n';
  }
  _exit(status);
}

int Wait(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 254;
}

void MakeFile(const std::string& path) {
  const auto database = Database::Create(path);
  TableSpec spec;
  spec.name = "Counts";
  ColumnDef id;
  id.name = "Id";
  id.type = ColumnType::kLong;
  id.autoNumber = true;
  ColumnDef who;
  who.name = "Who";
  who.type = ColumnType::kText;
  who.size = 40;
  spec.columns = {id, who};
  IndexSpec primary;
  primary.name = "PrimaryKey";
  primary.columns = {{"Id", false}};
  primary.primary = true;
  IndexSpec names;
  names.name = "Who";
  names.columns = {{"Who", false}};
  spec.indexes = {primary, names};
  database->CreateTable(spec);
}

/// Inserts rows in transactions of ten; a transaction that meets another's is tried again.
int InsertRows(const std::string& path, const std::string& who, int transactions) {
  const auto database = Database::Open(path);
  for (int t = 0; t < transactions;) {
    try {
      Transaction transaction(*database);
      Table& table = database->OpenTable("Counts");
      for (int i = 0; i < 10; ++i) {
        const std::vector<Value> row{Value(), Value(who + " " + std::to_string(t))};
        table.Insert(std::span<const Value>(row));
      }
      transaction.Commit();
      ++t;
    } catch (const Error& error) {
      if (error.Code() != ErrorCode::kInUse) throw;
    }
  }
  return 0;
}

TEST(SharingOfProcesses, TwoWritersNeverLoseOrMixRows) {
  TemporaryFolder folder;
  const std::string path = folder.File("shared.mdb");
  MakeFile(path);
  const pid_t first = Start([&] { return InsertRows(path, "first", 40); });
  const pid_t second = Start([&] { return InsertRows(path, "second", 40); });
  EXPECT_EQ(Wait(first), 0);
  EXPECT_EQ(Wait(second), 0);
  const auto database = Database::Open(path);
  EXPECT_EQ(database->OpenTable("Counts").RowCount(), 800u);
  for (const Finding& finding : database->Check()) ADD_FAILURE() << finding.text;
}

TEST(SharingOfProcesses, AReaderSeesWholeTransactionsOnly) {
  TemporaryFolder folder;
  const std::string path = folder.File("shared.mdb");
  MakeFile(path);
  const pid_t writer = Start([&] { return InsertRows(path, "writer", 40); });
  int looked = 0;
  {
    const auto database = Database::Open(path);
    std::uint32_t rows = 0;
    while (rows < 400) {
      try {
        const Database::ReadScope scope(*database);
        Table& table = database->OpenTable("Counts");
        rows = 0;
        for (ScanCursor scan = table.Scan(); scan.Next();) ++rows;
        ASSERT_EQ(rows % 10, 0u);
        ASSERT_EQ(table.RowCount(), rows);
        ++looked;
      } catch (const Error& error) {
        ASSERT_EQ(error.Code(), ErrorCode::kInUse) << error.what();
      }
    }
  }
  EXPECT_EQ(Wait(writer), 0);
  EXPECT_GT(looked, 0);
}

TEST(SharingOfProcesses, ExclusiveUseKeepsOthersOut) {
  TemporaryFolder folder;
  const std::string path = folder.File("shared.mdb");
  MakeFile(path);
  OpenOptions exclusive;
  exclusive.mode = OpenMode::kExclusive;
  const auto database = Database::Open(path, exclusive);
  const pid_t other = Start([&] {
    try {
      (void)Database::Open(path);
    } catch (const Error& error) {
      return error.Code() == ErrorCode::kInUse ? 7 : 8;
    }
    return 9;
  });
  EXPECT_EQ(Wait(other), 7);
}

TEST(SharingOfProcesses, AFileInUseCannotBeOpenedExclusively) {
  TemporaryFolder folder;
  const std::string path = folder.File("shared.mdb");
  MakeFile(path);
  const auto database = Database::Open(path);
  const pid_t other = Start([&] {
    OpenOptions exclusive;
    exclusive.mode = OpenMode::kExclusive;
    try {
      (void)Database::Open(path, exclusive);
    } catch (const Error& error) {
      return error.Code() == ErrorCode::kInUse ? 7 : 8;
    }
    return 9;
  });
  EXPECT_EQ(Wait(other), 7);
}

/// The writer dies, without any chance to tidy up, at a random place; whoever opens next finds whole transactions.
TEST(SharingOfProcesses, AKilledWriterLeavesWholeTransactions) {
  TemporaryFolder folder;
  const std::string path = folder.File("shared.mdb");
  MakeFile(path);
  std::uint32_t before = 0;
  for (int round = 0; round < 15; ++round) {
    const pid_t writer = Start([&] { return InsertRows(path, "killed", 100000); });
    usleep(static_cast<useconds_t>(20000 + round * 3000));
    kill(writer, SIGKILL);
    EXPECT_EQ(Wait(writer), 254);
    const auto database = Database::Open(path);
    const std::uint32_t rows = database->OpenTable("Counts").RowCount();
    EXPECT_EQ(rows % 10, 0u);
    EXPECT_GE(rows, before);
    before = rows;
    for (const Finding& finding : database->Check()) ADD_FAILURE() << finding.text;
  }
  EXPECT_GT(before, 0u);
}

/// File permissions do not bind the administrator, so that what they forbid is tried as somebody else.
TEST(ReadOnlyFiles, AreReadAndRefuseChanges) {
  TemporaryFolder folder;
  const std::string path = folder.File("fixed.mdb");
  MakeFile(path);
  ASSERT_EQ(InsertRows(path, "before", 1), 0);
  for (const bool folderToo : {false, true}) {
    ASSERT_EQ(chmod(path.c_str(), 0444), 0);
    ASSERT_EQ(chmod(folder.Path().c_str(), folderToo ? 0555 : 0777), 0);
    const pid_t other = Start([&] {
      if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) return 20;
      OpenOptions options;
      options.mode = OpenMode::kReadOnly;
      const auto database = Database::Open(path, options);
      Table& table = database->OpenTable("Counts");
      std::uint32_t rows = 0;
      for (ScanCursor scan = table.Scan(); scan.Next();) ++rows;
      if (rows != 10) return 10;
      try {
        const std::vector<Value> row{Value(), Value("no")};
        table.Insert(std::span<const Value>(row));
        return 11;
      } catch (const Error& error) {
        if (error.Code() != ErrorCode::kReadOnly) return 12;
      }
      for (ScanCursor scan = table.Scan(); scan.Next();) --rows;
      return rows == 0 ? 0 : 13;
    });
    EXPECT_EQ(Wait(other), 0) << (folderToo ? "folder read-only too" : "file read-only");
    chmod(folder.Path().c_str(), 0755);
  }
}

}  // namespace
}  // namespace jet
