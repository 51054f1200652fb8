// One Access file, four programs at once: two of this system and two Windows programs under Wine. One of each goes on to the end, the other
// is killed at moments of chance and begun again. Afterwards every turn that was reported is there once (see Turns.h).

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <thread>

#include "tests/jet/sharing/Turns.h"
#include "tests/jet/sharing/TurnsCheck.h"
#include "tests/support_lib/Seed.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace jet::tests {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kPatience = std::chrono::seconds(60);
constexpr std::size_t kTurnsWanted = 6;
constexpr auto kLongestLife = std::chrono::milliseconds(500);

/// How many of each kind are killed: twice what the environment variable TAMLO_TOURS says.
int Deaths() {
  const char* given = std::getenv("TAMLO_TOURS");
  return 2 * (given == nullptr ? 1 : std::max(1, std::atoi(given)));
}

enum class System { kThis, kWindows };

class SharedFile : public testing::Test {
 protected:
  void SetUp() override {
    if (std::system("command -v wine >/dev/null") != 0) GTEST_SKIP() << "Wine is not installed (see scripts/setup)";
    ASSERT_TRUE(std::filesystem::exists(TAMLO_WINDOWS_TURN_TAKER)) << "win32_build_64 makes it";
    MakeTurns(path_);
  }

  [[nodiscard]] std::string Report(const std::string& who) const { return folder_.File(who + ".report"); }

  pid_t Start(System system, const std::string& who) {
    const std::string seed = std::to_string(random_());
    const std::string drive = system == System::kWindows ? "Z:" : "";
    const std::array<std::string, 5> words{drive + path_, who, seed, drive + Report(who), drive + folder_.File("stop")};
    std::vector<std::string> command{TAMLO_TURN_TAKER};
    if (system == System::kWindows) command = {TAMLO_WINE, "become", TAMLO_WINE_PREFIX, TAMLO_WINDOWS_TURN_TAKER};
    command.insert(command.end(), words.begin(), words.end());
    const pid_t child = fork();
    if (child != 0) return child;
    std::vector<char*> arguments;
    for (std::string& word : command) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    execv(arguments[0], arguments.data());
    _exit(126);
  }

  /// One that is killed after its first turn, and begun again under another name.
  struct Victim {
    System system;
    std::string who;
    pid_t process = 0;
    int deaths = 0;
    Clock::time_point started;
    Clock::time_point end = Clock::time_point::max();
  };

  void Begin(Victim& victim) {
    victim.who = (victim.system == System::kWindows ? "Windows victim " : "victim ") + std::to_string(victim.deaths + 1);
    victim.started = Clock::now();
    victim.end = Clock::time_point::max();
    victim.process = Start(victim.system, victim.who);
  }

  void Watch(Victim& victim) {
    ASSERT_EQ(waitpid(victim.process, nullptr, WNOHANG), 0) << victim.who << " ended by itself";
    if (victim.end == Clock::time_point::max()) {
      ASSERT_LT(Clock::now() - victim.started, kPatience) << victim.who << " never took a turn";
      if (ReadReport(Report(victim.who), 0).turns.empty()) return;
      victim.end = Clock::now() + std::chrono::microseconds(random_() % std::chrono::microseconds(kLongestLife).count());
    }
    if (Clock::now() < victim.end) return;
    Kill(victim);
    if (victim.deaths < Deaths()) Begin(victim);
  }

  void Kill(Victim& victim) {
    kill(victim.process, SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(victim.process, &status, 0), victim.process);
    EXPECT_TRUE(WIFSIGNALED(status)) << victim.who << " had ended before, with status " << status;
    takers_[victim.who] = ReadReport(Report(victim.who), 1);
    ++victim.deaths;
  }

  void ExpectEnded(pid_t process, const std::string& who) {
    int status = 0;
    for (const auto end = Clock::now() + kPatience; waitpid(process, &status, WNOHANG) == 0;) {
      if (Clock::now() > end) {
        kill(process, SIGKILL);
        ADD_FAILURE() << who << " did not come to its end";
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(status, 0) << who;
    takers_[who] = ReadReport(Report(who), 0);
    EXPECT_GE(takers_[who].turns.size(), kTurnsWanted) << who << " hardly came to its turn";
  }

  void WaitForTurns(const std::string& who) {
    for (const auto end = Clock::now() + kPatience; ReadReport(Report(who), 0).turns.size() < kTurnsWanted && Clock::now() < end;)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }

  tamlo::tests::TemporaryFolder folder_;
  std::string path_ = folder_.File("shared.mdb");
  std::mt19937 random_{tamlo::tests::Seed()};
  std::map<std::string, Told> takers_;
};

/// How often a turn of a Windows program follows one of this system or the other way round.
int Changes(const TurnsRead& turns) {
  std::map<int, bool> windows;
  for (const std::string& row : turns.log) windows[std::atoi(row.c_str())] = row.find("|Windows") != std::string::npos;
  int changes = 0;
  for (auto turn = windows.begin(); turn != windows.end(); ++turn)
    changes += std::next(turn) != windows.end() && turn->second != std::next(turn)->second;
  return changes;
}

TEST_F(SharedFile, NoTurnIsLostOrTakenTwiceByProgramsOfBothSystemsSomeOfWhichAreKilled) {
  const pid_t here = Start(System::kThis, "steady");
  const pid_t there = Start(System::kWindows, "Windows steady");
  Victim victims[] = {{System::kThis}, {System::kWindows}};
  for (Victim& victim : victims) Begin(victim);
  while (!HasFatalFailure() && (victims[0].deaths < Deaths() || victims[1].deaths < Deaths())) {
    for (Victim& victim : victims) {
      if (victim.deaths < Deaths()) Watch(victim);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  for (const char* who : {"steady", "Windows steady"}) WaitForTurns(who);
  std::ofstream(folder_.File("stop")) << "";
  ExpectEnded(here, "steady");
  ExpectEnded(there, "Windows steady");
  ASSERT_FALSE(HasFatalFailure());
  const TurnsRead turns = ExpectSound(path_);
  ExpectWhole(turns, takers_);
  const int changes = Changes(turns);
  std::cout << turns.log.size() << " turns, " << changes << " changes between the systems, " << 2 * Deaths() << " killed\n";
  EXPECT_GE(changes, 4) << "they did not write at the same time";
}

}  // namespace
}  // namespace jet::tests
