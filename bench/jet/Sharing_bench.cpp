// What eight readers cost one writer of the same file: commits of ten rows a second beside them against those without, and against those
// beside eight readers of another file, who take as much of the processors and of the disk and share no lock. All in one run.
//
// Usage: jet_sharing_bench [seconds]      (2: of each round; nine rounds of the three in turn, the medians of their ratios count)
// Works in files of its own in the current folder. The readers walk the table in blocks of 256 rows, as recordsets do, without a pause.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "bench/jet/Goals.h"
#include "jet/Database.h"
#include "jet/table/Table.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace {

using jet::bench::Clock;
constexpr int kReaders = 8;
constexpr int kBlock = 256;
constexpr double kGoal = 0.7;

void MakeFile(const std::string& path) {
  const auto database = jet::Database::Create(path);
  jet::TableSpec spec;
  spec.name = "T";
  spec.columns.resize(2);
  spec.columns[0].name = "Id";
  spec.columns[0].type = jet::ColumnType::kLong;
  spec.columns[0].autoNumber = true;
  spec.columns[1].name = "Who";
  spec.columns[1].type = jet::ColumnType::kText;
  spec.columns[1].size = 20;
  database->CreateTable(spec);
}

int Write(const std::string& path, int seconds) {
  const auto database = jet::Database::Open(path);
  const std::vector<jet::Value> row{jet::Value(), jet::Value("writer")};
  int commits = 0;
  for (const auto end = Clock::now() + std::chrono::seconds(seconds); Clock::now() < end; ++commits) {
    jet::Transaction transaction(*database);
    for (int i = 0; i < 10; ++i) database->OpenTable("T").Insert(std::span<const jet::Value>(row));
    transaction.Commit();
  }
  return commits;
}

void Read(const std::string& path, int seconds) {
  const auto database = jet::Database::Open(path);
  const auto end = Clock::now() + std::chrono::seconds(seconds);
  while (Clock::now() < end) {
    jet::ScanCursor scan = database->OpenTable("T").Scan();
    for (bool more = true; more && Clock::now() < end; scan.Rest())
      for (int i = 0; i < kBlock && more; ++i) more = scan.Next();
  }
}

int WriteBesideReaders(const std::string& path, const std::string& readersPath, int seconds) {
  std::vector<pid_t> readers;
  for (int i = 0; i < kReaders; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      try {
        Read(readersPath, seconds + 1);
        _exit(0);
      } catch (const std::exception& error) {
        std::fprintf(stderr, "reader: %s\n", error.what());
        _exit(1);
      }
    }
    readers.push_back(child);
  }
  const int commits = Write(path, seconds);
  for (const pid_t reader : readers) {
    int status = 0;
    waitpid(reader, &status, 0);
    if (status != 0) std::exit(1);
  }
  return commits;
}

int InANewFile(const std::string& path, const std::function<int()>& work) {
  MakeFile(path);
  const int commits = work();
  std::filesystem::remove(path);
  return commits;
}

double Median(std::array<double, 9> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

}  // namespace

int main(int count, char** arguments) {
  const int seconds = count > 1 ? std::max(1, std::atoi(arguments[1])) : 2;
  const tamlo::tests::TemporaryFolder folder;
  const std::string path = folder.File("written.mdb");
  const std::string other = folder.File("other.mdb");
  std::array<double, 9> againstAlone{};
  std::array<double, 9> againstOthers{};
  // What the readers of another file walk is as long as what the writer makes in the time.
  MakeFile(other);
  (void)Write(other, seconds);
  for (std::size_t round = 0; round < againstAlone.size(); ++round) {
    // A file of its own for each: a longer table costs the readers more.
    const int alone = InANewFile(path, [&] { return Write(path, seconds); });
    const int besideOthers = InANewFile(path, [&] { return WriteBesideReaders(path, other, seconds); });
    const int beside = InANewFile(path, [&] { return WriteBesideReaders(path, path, seconds); });
    againstAlone[round] = static_cast<double>(beside) / std::max(1, alone);
    againstOthers[round] = static_cast<double>(beside) / std::max(1, besideOthers);
    std::printf("%d commits alone, %d beside %d readers of another file, %d beside as many of this one: %.2f and %.2f\n", alone,
                besideOthers, kReaders, beside, againstAlone[round], againstOthers[round]);
  }
  jet::bench::Goals goals;
  goals.AtLeast("a writer beside eight readers against the same alone", Median(againstAlone), kGoal, "");
  goals.AtLeast("the same against it beside eight readers of another file", Median(againstOthers), kGoal, "");
  return goals.ExitStatus();
}
