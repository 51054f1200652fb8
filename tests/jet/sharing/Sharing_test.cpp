// Several processes with one Access file. The processes are real ones: byte-range locks behave differently inside one.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <random>
#include <set>

#include "jet/Database.h"
#include "jet/value/Error.h"
#include "jet/table/Table.h"
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

/// Rows in pairs whose amounts add up to nothing: what a transaction leaves half done is seen in the sum.
void MakeLedger(const std::string& path) {
  const auto database = Database::Create(path);
  TableSpec spec;
  spec.name = "Ledger";
  const auto column = [&](const char* name, ColumnType type, std::uint16_t size = 0) {
    ColumnDef made;
    made.name = name;
    made.type = type;
    made.size = size;
    spec.columns.push_back(made);
  };
  column("Id", ColumnType::kLong);
  spec.columns[0].autoNumber = true;
  column("Who", ColumnType::kText, 20);
  column("Pair", ColumnType::kLong);
  column("Second", ColumnType::kBoolean);
  column("Amount", ColumnType::kLong);
  column("Note", ColumnType::kMemo);
  IndexSpec primary;
  primary.name = "PrimaryKey";
  primary.columns = {{"Id", false}};
  primary.primary = true;
  IndexSpec pair;
  pair.name = "pair";
  pair.columns = {{"Who", false}, {"Pair", false}, {"Second", false}};
  pair.unique = true;
  IndexSpec amount;
  amount.name = "amount";
  amount.columns = {{"Amount", true}, {"Who", false}};
  spec.indexes = {primary, pair, amount};
  database->CreateTable(spec);
}

struct LedgerSums {
  std::int64_t total = 0;
  std::map<std::string, int> rowsOf;
};

LedgerSums ReadLedger(Database& database) {
  const Database::ReadScope scope(database);
  LedgerSums sums;
  Table& table = database.OpenTable("Ledger");
  for (ScanCursor scan = table.Scan(); scan.Next();) {
    sums.total += scan.Current().Integer(4);
    ++sums.rowsOf[std::string(scan.Current().Text(1))];
  }
  return sums;
}

/// One change of a pair: made, changed in its indexed amount and its note, or taken away. Gives by how many pairs there are more.
int ChangePair(Database& database, std::mt19937& random, const std::string& who, std::set<int>& pairs, int& next) {
  Transaction transaction(database);
  Table& table = database.OpenTable("Ledger");
  const std::size_t index = table.FindIndex("pair").value();
  const auto amount = static_cast<std::int32_t>(random() % 1000);
  const Value note(std::string(1 + (random() % 4 == 0 ? random() % 6000 : random() % 50), 'n'));
  const auto choice = static_cast<unsigned>(pairs.size() < 5 ? 0 : random() % 3);
  const int chosen = choice == 0 ? next : *std::next(pairs.begin(), static_cast<std::ptrdiff_t>(random() % pairs.size()));
  for (const bool second : {false, true}) {
    const Value sum(second ? -amount : amount);
    if (choice == 0) {
      const std::vector<Value> row{Value(), Value(who), Value(std::int32_t{chosen}), Value(second), sum, note};
      table.Insert(std::span<const Value>(row));
      continue;
    }
    const std::vector<Value> key{Value(who), Value(std::int32_t{chosen}), Value(second)};
    const auto row = table.Seek(index, key);
    if (!row) throw std::runtime_error("a row of " + who + " is gone");
    if (choice == 1) {
      const Assignment assignments[] = {{4, &sum, nullptr}, {5, &note, nullptr}};
      table.Update(*row, assignments);
    } else {
      table.Delete(*row);
    }
  }
  transaction.Commit();
  if (choice == 0) pairs.insert(next++);
  if (choice == 2) pairs.erase(chosen);
  return choice == 0 ? 1 : choice == 2 ? -1 : 0;
}

/// Exit status: the pairs that there are at the end; 200 and more: something was wrong.
int KeepLedger(const std::string& path, const std::string& who, unsigned seed, int transactions) {
  OpenOptions patient;  // the lock goes to whoever asks at the right moment, which may be others for long
  patient.lockWaitMilliseconds = 60000;
  const auto database = Database::Open(path, patient);
  std::mt19937 random(seed);
  std::set<int> pairs;
  int next = 0;
  int count = 0;
  for (int done = 0; done < transactions;) {
    try {
      count += ChangePair(*database, random, who, pairs, next);
      if (++done % 25 == 0 && ReadLedger(*database).total != 0) return 201;
    } catch (const Error& error) {
      if (error.Code() != ErrorCode::kInUse) throw;
    }
  }
  return count;
}

TEST(SharingOfProcesses, WritersGoOnWhenOthersAreKilledAmongThem) {
  TemporaryFolder folder;
  const std::string path = folder.File("shared.mdb");
  MakeLedger(path);
  std::vector<std::pair<std::string, pid_t>> writers;
  for (const char* who : {"anne", "Béa", "carl"})
    writers.emplace_back(who, Start([&, seed = static_cast<unsigned>(writers.size())] { return KeepLedger(path, who, seed, 120); }));
  for (unsigned round = 0; round < 6; ++round) {
    const std::string who = "victim " + std::to_string(round);
    const pid_t victim = Start([&] { return KeepLedger(path, who, 50 + round, 1000000); });
    usleep(150000 + 40000 * round);
    kill(victim, SIGKILL);
    EXPECT_EQ(Wait(victim), 254);
  }
  std::map<std::string, int> pairs;
  for (const auto& [who, process] : writers) pairs[who] = Wait(process);
  {
    const auto database = Database::Open(path);
    const LedgerSums sums = ReadLedger(*database);
    EXPECT_EQ(sums.total, 0);
    for (const auto& [who, count] : pairs) EXPECT_EQ(sums.rowsOf.at(who), 2 * count) << who;
    for (const auto& [who, rows] : sums.rowsOf) EXPECT_EQ(rows % 2, 0) << who;
    for (const Finding& finding : database->Check()) ADD_FAILURE() << finding.text;
  }
  EXPECT_EQ(std::system(("python3 -B " JET_STRICT_CHECK " --made '" + path + "'").c_str()), 0);
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
