// Real Access files that several processes write at once, one of which is killed: nothing of theirs is lost, and nothing else is changed.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "jet/Database.h"
#include "jet/value/Error.h"
#include "jet/table/Table.h"
#include "tests/jet/sharing/Turns.h"
#include "tests/jet/sharing/TurnsCheck.h"
#include "tests/support_lib/SampleFiles.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace jet::tests {
namespace {

namespace fs = std::filesystem;
constexpr int kTurnsEach = 12;

pid_t Start(const Taker& taker) {
  const pid_t child = fork();
  if (child != 0) return child;
  int status = 0;
  try {
    TakeTurns(taker);
  } catch (const std::exception& error) {
    std::cerr << taker.who << ": " << error.what() << '\n';
    status = 1;
  }
  _exit(status);
}

/// The rows of all tables but those of the turns, by table.
std::map<std::string, std::vector<std::string>> RowsOfOthers(const std::string& path) {
  std::map<std::string, std::vector<std::string>> rows;
  const auto database = Database::Open(path);
  for (const CatalogObject& object : database->Objects()) {
    if (object.kind != ObjectKind::kTable || object.name.rfind("Turns", 0) == 0) continue;
    Table& table = database->OpenTable(object.name);
    auto& texts = rows[object.name];
    for (ScanCursor scan = table.Scan(); scan.Next();) {
      std::string text;
      for (std::size_t i = 0; i < table.Columns().size(); ++i) text += scan.Current().Get(i).Describe() + "|";
      texts.push_back(std::move(text));
    }
  }
  return rows;
}

/// False when the file cannot be written here, whose reason must be one that is known.
bool CanBeWritten(const std::string& path) {
  try {
    return !Database::Open(path)->ReadOnly();
  } catch (const Error& error) {
    EXPECT_EQ(error.Code(), ErrorCode::kPasswordProtected) << path << ": " << error.what();
    return false;
  }
}

void ShareAndKill(const std::string& path, const tamlo::tests::TemporaryFolder& folder) {
  std::map<std::string, Told> takers;
  std::vector<std::pair<std::string, pid_t>> processes;
  for (const char* who : {"first", "second", "victim"}) {
    fs::remove(folder.File(who));
    const int most = who == std::string("victim") ? 1 << 30 : kTurnsEach;
    processes.emplace_back(who,
                           Start({path, who, static_cast<std::uint32_t>(processes.size()), folder.File(who), folder.File("stop"), most}));
  }
  for (const auto& [who, process] : processes) {
    if (who == "victim") {
      for (int i = 0; i < 60000 && ReadReport(folder.File("victim"), 0).turns.empty(); ++i) usleep(1000);
      EXPECT_FALSE(ReadReport(folder.File("victim"), 0).turns.empty()) << "the victim never took a turn";
      kill(process, SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(waitpid(process, &status, 0), process);
    if (who != "victim") {
      EXPECT_EQ(status, 0) << who;
    }
    takers[who] = ReadReport(folder.File(who), who == "victim" ? 1 : 0);
  }
  for (const char* who : {"first", "second"}) EXPECT_EQ(takers[who].turns.size(), static_cast<std::size_t>(kTurnsEach));
  ExpectWhole(ReadTurns(path), takers);
}

TEST(SharingOfRealFiles, LosesNothingAndChangesNothingElse) {
  const std::vector<fs::path> samples = tamlo::tests::AllSampleFiles();
  if (samples.empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with Access files";
  int shared = 0;
  for (const fs::path& sample : samples) {
    SCOPED_TRACE(sample.string());
    tamlo::tests::TemporaryFolder folder;
    const std::string path = folder.File("copy.mdb");
    fs::copy_file(sample, path);
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    if (!CanBeWritten(path)) {
      std::cout << sample.filename().string() << ": cannot be written here\n";
      continue;
    }
    ++shared;
    const auto before = RowsOfOthers(path);
    AddTurns(path);
    ShareAndKill(path, folder);
    ExpectSound(path, sample.string());
    EXPECT_EQ(RowsOfOthers(path), before);
    EXPECT_FALSE(fs::exists(folder.File("copy.ldb")));
    EXPECT_FALSE(fs::exists(path + "-journal"));
  }
  std::cout << shared << " of " << samples.size() << " files shared\n";
  EXPECT_GE(shared, 20);
}

}  // namespace
}  // namespace jet::tests
