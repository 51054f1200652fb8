// tamlo-db on whole files against what one would write by hand, or have, for the same work in the same run: mdb-export for rows as text, the
// best arrays of parameters fed from memory for MariaDB, COPY from a file that lies ready for PostgreSQL, the C interface for SQLite. The
// command is timed whole, from its start to its end; by hand the tables stand ready and are empty. Prints ratios; the exit status is 1 when
// one of those wanted is missed.
//
// Usage: tamlo_bench_move [rows] [--big]    (rows: 500000; --big: 10,000,000 rows, a file of 1 GB, for the memory and for "tables")
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "bench/jet/Goals.h"
#include "bench/jet/PeopleFile.h"
#include "bench/move/ByHand.h"
#include "bench/move/Program.h"
#include "tests/support_lib/MariaDbServer.h"
#include "tests/support_lib/PostgresServer.h"

namespace {

using jet::bench::Goals;
using tamlo::bench::IntoOdbc;
using tamlo::bench::IntoSqlite;
using tamlo::bench::Ran;
using tamlo::bench::Rows;
using tamlo::bench::Run;

constexpr int kRounds = 3;

double Middle(std::vector<double> times) {
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

/// A target of copies: its name for the command, and how it is emptied.
struct Place {
  std::string name;
  std::function<void()> empty;
};

Ran Copy(const std::string& file, const Place& place, const std::vector<std::string>& options = {}) {
  place.empty();
  std::vector<std::string> words{TAMLO_DB, "copy", file, place.name, "--progress", "none"};
  words.insert(words.end(), options.begin(), options.end());
  return Run(words);
}

/// Both in turn, so that they meet the same machine; the middle of each. The loop by hand has the tables that the command makes.
void Compare(const char* what, const std::string& file, const Place& place, const std::function<double()>& byHand, double wanted,
             Goals& goals) {
  std::vector<double> hand;
  std::vector<double> ours;
  for (int round = 0; round < kRounds; ++round) {
    ours.push_back(Copy(file, place).seconds);
    Copy(file, place, {"--schema-only"});
    hand.push_back(byHand());
  }
  std::printf("%s: by hand %.2f s, tamlo-db copy %.2f s\n", what, Middle(hand), Middle(ours));
  goals.AtLeast(what, Middle(hand) / Middle(ours), wanted, "times by hand");
}

void Export(const std::string& file, Goals& goals) {
  std::vector<double> ours;
  std::vector<double> theirs;
  for (int round = 0; round < kRounds; ++round) {
    ours.push_back(Run({TAMLO_DB, "export", file, "-t", "People", "-F", "csv"}).seconds);
    theirs.push_back(Run({"mdb-export", file, "People"}).seconds);
  }
  std::printf("export: mdb-export %.2f s, tamlo-db export -F csv %.2f s\n", Middle(theirs), Middle(ours));
  goals.AtLeast("export as CSV, rows per second", Middle(theirs) / Middle(ours), 8, "times mdb-export's");
}

void Big(const std::string& folder, const std::vector<Place>& places, const std::vector<long>& peaks, Goals& goals) {
  const std::string file = folder + "/big.mdb";
  constexpr int kMany = 10'000'000;
  std::printf("%d rows written in %.1f s\n", kMany, jet::bench::MakePeopleFile(file, kMany));
  std::vector<double> times;
  for (int i = 0; i < 5; ++i) times.push_back(Run({TAMLO_DB, "tables", file}).seconds * 1e3);
  std::printf("a file of %.0f MB\n", static_cast<double>(std::filesystem::file_size(file)) / 1e6);
  goals.AtMost("tamlo-db tables, middle of 5", Middle(times), 30, "ms");
  for (std::size_t i = 0; i < places.size(); ++i) {
    const Ran ran = Copy(file, places[i]);
    std::printf("%s: %.1f s, %ld MB of memory\n", places[i].name.c_str(), ran.seconds, ran.peakKiB / 1024);
    goals.AtMost("memory beyond that of the smaller copy", static_cast<double>(ran.peakKiB - peaks[i]) / 1024, 8, "MB");
  }
}

}  // namespace

int main(int argc, char** argv) {
  int count = 500000;
  bool big = false;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--big") == 0) {
      big = true;
    } else {
      count = std::atoi(argv[i]);
    }
  }
  setenv("TAMLO_DB_TO_PASSWORD", "tamlo", 1);
  setenv("PGPASSWORD", "tamlo", 1);
  tamlo::tests::TemporaryFolder folder;
  const tamlo::tests::MariaDbServer maria;
  const tamlo::tests::PostgresServer postgres;
  const std::string file = folder.File("people.mdb");
  const std::string csv = folder.File("people.csv");
  jet::bench::MakePeopleFile(file, count);
  const Rows rows(count);
  rows.WriteCsv(csv);

  const auto psql = [&](const std::string& line) { Run({"psql", "-qX", "-h", postgres.Folder(), "-U", "tamlo", "-c", line, "tamlo"}); };
  const Place sqlite{folder.File("people.sqlite"), [&] { std::filesystem::remove(folder.File("people.sqlite")); }};
  const Place mariadb{"mariadb://tamlo@localhost/tamlo?socket=" + maria.Socket(), [&] {
                        Run({"mariadb", "-S", maria.Socket(), "-utamlo", "-ptamlo", "-e", "DROP TABLE IF EXISTS People", "tamlo"});
                      }};
  const Place postgresql{"postgresql://tamlo@/tamlo?socket=" + postgres.Folder(), [&] { psql("DROP TABLE IF EXISTS \"People\""); }};

  Goals goals;
  Export(file, goals);
  Compare(
      "to SQLite", file, sqlite, [&] { return IntoSqlite(folder.File("people.sqlite"), rows); }, 0.5, goals);
  const std::string connection = maria.ConnectionString() + ";UID=tamlo;PWD=tamlo";
  Compare(
      "to MariaDB", file, mariadb,
      [&] {
        double best = 1e9;
        for (const std::size_t batch : {1000U, 4000U, 16000U}) {
          best = std::min(best, IntoOdbc(connection, rows, batch));
          Run({"mariadb", "-S", maria.Socket(), "-utamlo", "-ptamlo", "-e", "TRUNCATE TABLE People", "tamlo"});
        }
        return best;
      },
      0.9, goals);
  Compare(
      "to PostgreSQL", file, postgresql,
      [&] {
        const auto start = jet::bench::Clock::now();
        psql("\\copy \"People\" FROM '" + csv + "' CSV");
        return jet::bench::Seconds(start);
      },
      0.5, goals);
  if (big) {
    const std::vector<Place> places{sqlite, mariadb, postgresql};
    std::vector<long> peaks;
    for (const Place& place : places) peaks.push_back(Copy(file, place).peakKiB);
    Big(folder.Path().string(), places, peaks, goals);
  }
  return goals.ExitStatus();
}
