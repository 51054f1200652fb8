// The tool's OK on an Access file of 100,000 users: all that the program does from the click on, everything brought to the disk.
//
// Usage: jet_ok_bench [users]      (100000)
// Works in a folder of its own under TMPDIR. Exit status 1 when something wanted is missed.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "app/Demarrage.h"
#include "app/LigneCommande.h"
#include "ado/jet/JetProvider.h"
#include "app/TableCode.h"
#include "bench/jet/Goals.h"
#include "db/DataBase.h"
#include "jet/Database.h"
#include "jet/table/Table.h"
#include "tests/support_lib/FakePlatform.h"
#include "tests/support_lib/SyncCounter.h"
#include "tests/support_lib/TemporaryFolder.h"
#include "tests/support_lib/VolumesTables.h"

namespace {

using jet::bench::Clock;
using jet::bench::Goals;
using jet::bench::Seconds;
using namespace tamlo;

/// The journal, its name in the folder, the database, and that the journal is done with.
constexpr std::int64_t kSyncsOfACommit = 4;
constexpr int kTurns = 9;

/// The tables as the tool's own layer makes them.
void MakeTables(const std::string& path) {
  (void)jet::Database::Create(path);
  db::DataBase base;
  if (!base.Ouvre(path, db::TypJet, true)) throw std::runtime_error("the volumes database does not open");
  tests::MakeVolumesTables(base);
  base.Ferme();
}

std::string NameOf(int user) { return "UTILISATEUR " + std::to_string(user); }

void Fill(const std::string& path, int users) {
  const auto database = jet::Database::Open(path);
  app::InitTableCode();
  const std::string password = app::CodePwd("secret");
  app::LibereTableCode();
  database->Begin();
  jet::Table& utl = database->OpenTable("UTL");
  jet::Table& vlmUtl = database->OpenTable("VLMUTL");
  for (int user = 1; user <= users; ++user) {
    const jet::Value person[] = {jet::Value(user), jet::Value(NameOf(user)), jet::Value(password)};
    utl.Insert(std::span<const jet::Value>(person));
    const jet::Value link[] = {jet::Value(user), jet::Value(12), jet::Value(std::int16_t{3})};
    vlmUtl.Insert(std::span<const jet::Value>(link));
  }
  database->Commit();
}

/// Runs the tool for a user of volume 12 and clicks OK. Milliseconds from the click to its end.
double Ok(tests::FakePlatform& platform, const std::string& path, const std::string& user, std::int64_t syncs, Goals& goals) {
  double seconds = 0;
  std::int64_t synced = 0;
  platform.whileRunning = [&] {
    const std::int64_t before = tests::SyncsSoFar();
    const auto start = Clock::now();
    platform.Form().PressEnter();
    seconds = Seconds(start);
    synced = tests::SyncsSoFar() - before;
  };
  app::LigneCommande(path + " 0 12 \"" + user + "\" 3 secret");
  if (app::ExecuteProgramme() != 0 || !platform.messages.empty()) goals.Missed("the tool did not save");
  if (synced != syncs) goals.Missed("not every update was brought to the disk, or more than that was");
  return seconds * 1e3;
}

template <typename Turn>
void Measure(const char* what, Goals& goals, Turn turn) {
  std::vector<double> times;
  for (int i = 0; i < kTurns; ++i) times.push_back(turn(i));
  std::sort(times.begin(), times.end());
  std::printf("%s: %.1f to %.1f ms\n", what, times.front(), times.back());
  goals.AtMost(what, times[kTurns / 2], 50, "ms in the middle");
}

std::uint32_t RowsOf(const std::string& path, const char* table) { return jet::Database::Open(path)->OpenTable(table).RowCount(); }

}  // namespace

int main(int argc, char** argv) {
  const int users = argc > 1 ? std::atoi(argv[1]) : 100000;
  const std::filesystem::path folderBefore = std::filesystem::current_path();
  const tests::TemporaryFolder folder;
  const std::string path = folder.File("VOLUMES.MDB");
  tests::FakePlatform platform;
  Goals goals;
  try {
    ado::jetprovider::RegisterJetProvider();
    app::BrancheCouche(folder.Path().string());
    MakeTables(path);
    Fill(path, users);
    std::printf("%d users, %.1f MB; %d turns each\n", users, static_cast<double>(std::filesystem::file_size(path)) / 1e6, kTurns);
    Measure("OK for a known user (one commit)", goals,
            [&](int i) { return Ok(platform, path, NameOf(users / 2 + i), kSyncsOfACommit, goals); });
    Measure("OK for a new user (two commits)", goals,
            [&](int i) { return Ok(platform, path, "NOUVEAU " + std::to_string(i), 2 * kSyncsOfACommit, goals); });
    if (RowsOf(path, "UTL") != static_cast<std::uint32_t>(users + kTurns)) goals.Missed("not all new users were saved");
    if (RowsOf(path, "VLMUTL") != static_cast<std::uint32_t>(users + kTurns)) goals.Missed("not all new users were linked");
  } catch (const std::exception& error) {
    goals.Missed(error.what());
  }
  app::LibereTout();
  std::filesystem::current_path(folderBefore);
  return goals.ExitStatus();
}
