// Copies of an Access file while two programs write into it, one of which is killed: each copy is the file of one moment.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <thread>

#include "ado/Connection.h"
#include "ado/jet/JetProvider.h"
#include "tests/jet/sharing/Turns.h"
#include "tests/jet/sharing/TurnsCheck.h"
#include "tests/support_lib/Seed.h"
#include "tests/support_lib/TemporaryFolder.h"

using namespace jet::tests;
using namespace tamlo;

namespace {

constexpr int kCopies = 6;
constexpr int kAnyNumber = 1 << 20;

class JetBackup : public testing::Test {
 protected:
  void SetUp() override {
    MakeTurns(path);
    ado::jetprovider::RegisterJetProvider();
    connection.Provider("Microsoft.Jet.OLEDB.4.0");
  }

  pid_t Start(const std::string& who, std::uint32_t seed) {
    const pid_t child = fork();
    if (child != 0) return child;
    int status = 0;
    try {
      TakeTurns({path, who, seed, Report(who), folder.File("stop")});
    } catch (const std::exception& error) {
      std::cerr << who << ": " << error.what() << '\n';
      status = 1;
    }
    _exit(status);
  }
  [[nodiscard]] std::string Report(const std::string& who) const { return folder.File(who); }
  std::map<std::string, Told> Reports(int untoldOfFirst, int untoldOfSecond) {
    return {{"first", ReadReport(Report("first"), untoldOfFirst)}, {"second", ReadReport(Report("second"), untoldOfSecond)}};
  }
  [[nodiscard]] std::size_t Reported() { return Reports(0, 0)["first"].turns.size() + Reports(0, 0)["second"].turns.size(); }
  void WaitFor(std::size_t turns) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (Reported() < turns && std::chrono::steady_clock::now() < end) std::this_thread::sleep_for(std::chrono::milliseconds(2));
    ASSERT_GE(Reported(), turns) << "nobody writes";
  }

  tests::TemporaryFolder folder;
  std::string path = folder.File("base.mdb");
  ado::Connection connection;
};

TEST_F(JetBackup, EachCopyIsTheFileOfOneMomentWhileTwoProgramsWrite) {
  const std::uint32_t seed = tests::Seed();
  const pid_t first = Start("first", seed);
  const pid_t second = Start("second", seed + 1);
  connection.Open(path, "", "");
  std::vector<std::map<std::string, Told>> before;
  std::vector<std::size_t> after;
  for (int i = 0; i < kCopies; ++i) {
    WaitFor(Reported() + 5);
    if (i == kCopies - 2) {
      // The others go on, and so do copies.
      kill(second, SIGKILL);
      int status = 0;
      ASSERT_EQ(waitpid(second, &status, 0), second);
      EXPECT_TRUE(WIFSIGNALED(status));
    }
    before.push_back(Reports(kAnyNumber, i < kCopies - 2 ? kAnyNumber : 1));
    connection.Backup(folder.File("copy" + std::to_string(i) + ".mdb"));
    after.push_back(Reported());
  }
  WaitFor(after.back() + 5);
  std::ofstream(folder.File("stop")) << "";
  int status = 0;
  ASSERT_EQ(waitpid(first, &status, 0), first);
  EXPECT_EQ(status, 0);
  connection.Close();
  for (int i = 0; i < kCopies; ++i) {
    SCOPED_TRACE("copy " + std::to_string(i));
    const TurnsRead copied = ExpectSound(folder.File("copy" + std::to_string(i) + ".mdb"));
    ExpectWhole(copied, before[static_cast<std::size_t>(i)]);
    // What was committed later is not in it: at most the two that had not told yet.
    EXPECT_LE(copied.log.size(), after[static_cast<std::size_t>(i)] + 2);
    EXPECT_FALSE(std::filesystem::exists(folder.File("copy" + std::to_string(i) + ".mdb-new")));
    std::cout << "copy " << i << ": " << copied.log.size() << " turns\n";
  }
  ExpectWhole(ExpectSound(path), Reports(0, 1));
}

}  // namespace
