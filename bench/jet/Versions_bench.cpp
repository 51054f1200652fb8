// Scan and insert on files of Access 97, and on encoded ones, against the same on a plain file of Access 2000, in one run. Prints ratios.
//
// Usage: jet_versions_bench [rows]      (rows: 300000)
// Works in a folder of its own under TMPDIR.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include "bench/jet/Goals.h"
#include "bench/jet/PeopleFile.h"

namespace {

struct Kind {
  const char* name;
  int version;
  bool encoded;
  double wanted;  ///< of the plain file's rows per second
};
constexpr Kind kKinds[] = {{"Access 2000", 4, false, 1}, {"Access 97", 3, false, 0.8}, {"Access 2000, encoded", 4, true, 0.5}};
constexpr int kTurns = 5;

struct Best {
  double insert = 1e9;
  double scan = 1e9;
};

}  // namespace

int main(int argc, char** argv) {
  const int rows = argc > 1 ? std::atoi(argv[1]) : 300000;
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("jet_versions_bench." + std::to_string(std::random_device()()));
  std::filesystem::create_directories(folder);
  Best best[std::size(kKinds)];
  for (int turn = 0; turn < kTurns; ++turn) {
    for (std::size_t i = 0; i < std::size(kKinds); ++i) {
      const std::string path = (folder / "people.mdb").string();
      best[i].insert = std::min(best[i].insert, jet::bench::MakePeopleFile(path, rows, kKinds[i].version, kKinds[i].encoded));
      best[i].scan = std::min(best[i].scan, jet::bench::ScanWithEngine(path, rows));
      std::filesystem::remove(path);
    }
  }
  std::filesystem::remove_all(folder);
  std::printf("%d rows, best of %d in turn; Access 2000: insert %.3f s, scan %.3f s\n", rows, kTurns, best[0].insert, best[0].scan);
  jet::bench::Goals goals;
  for (std::size_t i = 1; i < std::size(kKinds); ++i) {
    goals.AtLeast((std::string("insert, ") + kKinds[i].name).c_str(), best[0].insert / best[i].insert, kKinds[i].wanted,
                  "times Access 2000's");
    goals.AtLeast((std::string("scan, ") + kKinds[i].name).c_str(), best[0].scan / best[i].scan, kKinds[i].wanted, "times Access 2000's");
  }
  return goals.ExitStatus();
}
