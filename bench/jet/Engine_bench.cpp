// The Access engine against the raw way to do the same work, in one run on the same machine and the same file. Prints ratios.
//
// Usage: jet_engine_bench [rows] [--big]      (rows: 500000; --big also makes and opens a file of 1 GB)
// Works in a folder of its own under TMPDIR. mdb-export is used when it is installed.

#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "bench/jet/Goals.h"
#include "bench/jet/PeopleFile.h"
#include "jet/Database.h"
#include "jet/table/Table.h"

namespace {

using jet::bench::Clock;
using jet::bench::Goals;
using jet::bench::MakePeopleFile;
using jet::bench::NameOf;
using jet::bench::ScanWithEngine;
using jet::bench::ScanWithExport;
using jet::bench::Seconds;
using jet::bench::TownOf;

double InsertWithSqlite(const std::string& path, int rows) {
  const auto start = Clock::now();
  sqlite3* database = nullptr;
  sqlite3_open(path.c_str(), &database);
  sqlite3_exec(database, "CREATE TABLE People(Id INTEGER PRIMARY KEY, Name TEXT, Town TEXT, Amount INTEGER, Born REAL); BEGIN", nullptr,
               nullptr, nullptr);
  sqlite3_stmt* insert = nullptr;
  sqlite3_prepare_v2(database, "INSERT INTO People VALUES(?,?,?,?,?)", -1, &insert, nullptr);
  for (int i = 0; i < rows; ++i) {
    const std::string name = NameOf(i);
    const std::string town = TownOf(i);
    sqlite3_bind_int(insert, 1, i);
    sqlite3_bind_text(insert, 2, name.data(), static_cast<int>(name.size()), SQLITE_STATIC);
    sqlite3_bind_text(insert, 3, town.data(), static_cast<int>(town.size()), SQLITE_STATIC);
    sqlite3_bind_int64(insert, 4, i * 100);
    sqlite3_bind_double(insert, 5, 20000.0 + i % 20000);
    sqlite3_step(insert);
    sqlite3_reset(insert);
  }
  sqlite3_finalize(insert);
  sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr);
  sqlite3_close(database);
  return Seconds(start);
}

void Lookup(const std::string& path, int rows, Goals& goals) {
  const auto database = jet::Database::Open(path);
  auto start = Clock::now();
  jet::IndexSpec index;
  index.name = "Name";
  index.columns = {{"Name", false}};
  database->CreateIndex("People", index);
  std::printf("index over %d texts made in       %8.3f s\n", rows, Seconds(start));
  jet::Table& table = database->OpenTable("People");
  const std::size_t position = table.FindIndex("Name").value();
  std::mt19937 random(1);
  std::vector<jet::Value> key(1);
  jet::Row row;
  constexpr int kLookups = 100000;
  const auto measure = [&](unsigned range) {
    const auto begin = Clock::now();
    int found = 0;
    for (int i = 0; i < kLookups; ++i) {
      key[0].SetText(NameOf(static_cast<int>(random() % range)));
      const auto id = table.Seek(position, key);
      if (id && table.Read(*id, row) && row.Integer(0) >= 0) ++found;
    }
    if (found != kLookups) goals.Missed("an indexed text was not found");
    return Seconds(begin) / kLookups * 1e6;
  };
  std::printf("one row by an indexed text, anywhere, each call with its own locks %9.2f us\n", measure(static_cast<unsigned>(rows)));
  const jet::Database::ReadScope scope(*database);
  std::printf("one row by an indexed text, anywhere, inside a statement       %9.2f us\n", measure(static_cast<unsigned>(rows)));
  goals.AtMost("one row by an indexed text, warm, inside a statement", measure(2000), 10, "us");
}

void OpenBigFile(const std::string& path, Goals& goals) {
  {
    jet::OpenOptions options;
    const auto database = jet::Database::Create(path, options);
    jet::TableSpec spec;
    spec.name = "Big";
    jet::ColumnDef id;
    id.name = "Id";
    id.type = jet::ColumnType::kLong;
    jet::ColumnDef data;
    data.name = "Data";
    data.type = jet::ColumnType::kOle;
    spec.columns = {id, data};
    jet::Table& table = database->CreateTable(spec);
    std::vector<jet::Value> row{jet::Value(0), jet::Value(jet::Bytes(40720, std::byte{1}))};
    for (int portion = 0; portion < 26; ++portion) {
      database->Begin();
      for (int i = 0; i < 1000; ++i) table.Insert(std::span<const jet::Value>(row));
      database->Commit();
    }
  }
  std::vector<double> times;
  std::size_t cached = 0;
  for (int i = 0; i < 5; ++i) {
    const auto start = Clock::now();
    const auto database = jet::Database::Open(path);
    jet::Table& table = database->OpenTable("Big");
    if (table.RowCount() != 26000) std::printf("the big file has %u rows\n", table.RowCount());
    times.push_back(Seconds(start));
    for (jet::ScanCursor scan = table.Scan(); scan.Next();) {
      if (scan.Current().Blob(1).size() != 40720) std::printf("a value of the big file is not whole\n");
    }
    cached = database->Count().cachedBytes;
  }
  std::sort(times.begin(), times.end());
  std::printf("a file of %.0f MB; cache after reading all of it: %zu KB\n", static_cast<double>(std::filesystem::file_size(path)) / 1e6,
              cached / 1024);
  goals.AtMost("opening it, middle of 5", times[2] * 1e3, 20, "ms");
  goals.AtMost("its cache", static_cast<double>(cached) / (1 << 20), 17, "MB");
}

}  // namespace

int main(int argc, char** argv) {
  int rows = 500000;
  bool big = false;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--big") == 0) {
      big = true;
    } else {
      rows = std::atoi(argv[i]);
    }
  }
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("jet_engine_bench." + std::to_string(std::random_device()()));
  std::filesystem::create_directories(folder);
  const std::string file = (folder / "people.mdb").string();

  double engine = 1e9;
  double sqlite = 1e9;
  for (int turn = 0; turn < 3; ++turn) {
    std::filesystem::remove(file);
    engine = std::min(engine, MakePeopleFile(file, rows));
    const std::string other = (folder / "people.sqlite").string();
    std::filesystem::remove(other);
    sqlite = std::min(sqlite, InsertWithSqlite(other, rows));
  }
  Goals goals;
  std::printf("%d rows, %.1f MB; best of three each\n", rows, static_cast<double>(std::filesystem::file_size(file)) / 1e6);
  std::printf("insert: engine %.3f s, SQLite %.3f s\n", engine, sqlite);
  goals.AtLeast("insert with one primary key, rows per second", sqlite / engine, 0.9, "times SQLite's");

  double scan = 1e9;
  double raw = 1e9;
  for (int turn = 0; turn < 3; ++turn) {
    scan = std::min(scan, ScanWithEngine(file, rows));
    raw = std::min(raw, ScanWithExport(file));
  }
  if (raw > 0) {
    std::printf("scan: engine %.3f s, mdb-export %.3f s\n", scan, raw);
    goals.AtLeast("scan through the engine, rows per second", raw / scan, 20, "times mdb-export's");
  } else {
    goals.Missed("mdb-export is not installed");
  }
  Lookup(file, rows, goals);
  if (big) OpenBigFile((folder / "big.mdb").string(), goals);
  std::filesystem::remove_all(folder);
  return goals.ExitStatus();
}
