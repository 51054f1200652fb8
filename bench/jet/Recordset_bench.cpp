// Scans of an Access file through recordsets, and queries that compare texts, in one run with mdb-export on the same file.
//
// Usage: jet_recordset_bench [rows]      (500000)
// Works in a folder of its own under TMPDIR. Exit status 1 when something wanted is missed.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <random>
#include <string>

#include "ado/Connection.h"
#include "ado/Recordset.h"
#include "ado/jet/JetProvider.h"
#include "bench/jet/Goals.h"
#include "bench/jet/PeopleFile.h"
#include "runtime/Conversions.h"

namespace {

using jet::bench::Clock;
using jet::bench::Goals;
using jet::bench::Seconds;
using namespace tamlo;

std::size_t SizeOf(const ado::Variant& value) {
  if (const auto* text = value.If<std::string>()) return text->size();
  return value.IsNull() ? 0 : 1;
}

struct Walk {
  double seconds = 0;
  int rows = 0;
  std::size_t size = 0;  // what was read, so that nothing is left out
};

/// Opens the file and reads every field of every row.
Walk Scan(const std::string& path, const std::string& source, ado::CursorType cursor, ado::LockType lock, std::int32_t options) {
  const auto start = Clock::now();
  ado::Connection connection;
  connection.Provider("Microsoft.Jet.OLEDB.4.0");
  connection.Open(path, "", "");
  ado::Recordset rows;
  rows.Open(source, &connection, cursor, lock, options);
  Walk walk;
  const std::size_t fields = rows.FieldCount();
  for (; !rows.Eof(); rows.MoveNext(), ++walk.rows) {
    for (std::size_t i = 0; i < fields; ++i) walk.size += SizeOf(rows.Fields(i).Value());
  }
  walk.seconds = Seconds(start);
  return walk;
}

Walk Query(const std::string& path, const std::string& text) {
  return Scan(path, text, ado::adOpenForwardOnly, ado::adLockReadOnly, ado::adOptionUnspecified);
}

/// Best of three.
template <typename Work>
double Best(Work work) {
  double best = 1e9;
  for (int turn = 0; turn < 3; ++turn) best = std::min(best, work());
  return best;
}

void Scans(const std::string& path, int rows, Goals& goals) {
  const double raw = Best([&] { return jet::bench::ScanWithExport(path); });
  if (raw <= 0) return goals.Missed("mdb-export is not installed");
  std::printf("%d rows, %.1f MB; best of three each; mdb-export %.3f s\n", rows,
              static_cast<double>(std::filesystem::file_size(path)) / 1e6, raw);
  const auto measure = [&](const char* what, const std::string& source, ado::CursorType cursor, ado::LockType lock, std::int32_t options) {
    std::size_t size = 0;
    const double seconds = Best([&] {
      const Walk walk = Scan(path, source, cursor, lock, options);
      if (walk.rows != rows) goals.Missed("a recordset did not give all rows");
      size = walk.size;
      return walk.seconds;
    });
    if (size < static_cast<std::size_t>(rows) * 50) goals.Missed("a recordset did not give all values");
    goals.AtLeast(what, raw / seconds, 6, "times mdb-export's rows per second");
  };
  measure("forward-only", "SELECT * FROM People", ado::adOpenForwardOnly, ado::adLockReadOnly, ado::adOptionUnspecified);
  measure("table-direct", "People", ado::adOpenKeyset, ado::adLockOptimistic, ado::adCmdTableDirect);
  measure("dynamic", "SELECT * FROM People", ado::adOpenDynamic, ado::adLockOptimistic, ado::adOptionUnspecified);
  measure("static", "SELECT * FROM People", ado::adOpenStatic, ado::adLockReadOnly, ado::adOptionUnspecified);
}

/// The raw way beside each query: the same query where no text is compared.
void Texts(const std::string& path, int rows, Goals& goals) {
  const auto measure = [&](const char* what, const std::string& query, const std::string& raw, int groups) {
    const double seconds = Best([&] {
      const Walk walk = Query(path, query);
      if (walk.rows != groups) goals.Missed("a query gave a wrong number of rows");
      return walk.seconds;
    });
    const double bare = Best([&] { return Query(path, raw).seconds; });
    std::printf("%s: %.3f s, over a number instead %.3f s\n", what, seconds, bare);
    goals.AtMost(what, seconds / bare, 4, "times as long");
  };
  measure("GROUP BY a text with hyphen and accent, all different", "SELECT Name, Count(*) FROM People GROUP BY Name",
          "SELECT Born * 1000 + Id, Count(*) FROM People GROUP BY Born * 1000 + Id", rows);
  measure("GROUP BY a text of 5,000 different ones", "SELECT Town, Count(*) FROM People GROUP BY Town",
          "SELECT Id MOD 5000, Count(*) FROM People GROUP BY Id MOD 5000", std::min(rows, 5000));
  measure("ORDER BY a text with hyphen and accent", "SELECT Name, Id FROM People ORDER BY Name",
          "SELECT Born, Id FROM People ORDER BY Amount MOD 1000003", rows);
  measure("WHERE on a text with accents", "SELECT Id FROM People WHERE Name = 'customer 7919 of saint-étienne'",
          "SELECT Id FROM People WHERE Amount = 100", 1);
}

}  // namespace

int main(int argc, char** argv) {
  const int rows = argc > 1 ? std::atoi(argv[1]) : 500000;
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("jet_recordset_bench." + std::to_string(std::random_device()()));
  std::filesystem::create_directories(folder);
  const std::string path = (folder / "people.mdb").string();
  Goals goals;
  try {
    ado::jetprovider::RegisterJetProvider();
    jet::bench::MakePeopleFile(path, rows);
    Scans(path, rows, goals);
    Texts(path, rows, goals);
  } catch (const std::exception& error) {
    goals.Missed(error.what());
  }
  std::filesystem::remove_all(folder);
  return goals.ExitStatus();
}
