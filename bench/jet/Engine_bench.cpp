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

#include "jet/Database.h"
#include "jet/Table.h"

namespace {

using Clock = std::chrono::steady_clock;

double Seconds(Clock::time_point since) { return std::chrono::duration<double>(Clock::now() - since).count(); }

std::string NameOf(int i) { return "Customer " + std::to_string(static_cast<long long>(i) * 7919 % 1000003) + " of Saint-Étienne"; }
std::string TownOf(int i) { return "Town number " + std::to_string(i % 5000) + " on the river"; }

jet::TableSpec People() {
  const auto column = [](const char* name, jet::ColumnType type, std::uint16_t size = 0) {
    jet::ColumnDef def;
    def.name = name;
    def.type = type;
    def.size = size;
    return def;
  };
  jet::TableSpec spec;
  spec.name = "People";
  spec.columns = {column("Id", jet::ColumnType::kLong), column("Name", jet::ColumnType::kText, 60),
                  column("Town", jet::ColumnType::kText, 60), column("Amount", jet::ColumnType::kCurrency),
                  column("Born", jet::ColumnType::kDate)};
  jet::IndexSpec primary;
  primary.name = "PrimaryKey";
  primary.columns = {{"Id", false}};
  primary.primary = true;
  spec.indexes = {primary};
  return spec;
}

double InsertWithEngine(const std::string& path, int rows) {
  const auto start = Clock::now();
  const auto database = jet::Database::Create(path);
  jet::Table& table = database->CreateTable(People());
  std::vector<jet::Value> row(5);
  database->Begin();
  for (int i = 0; i < rows; ++i) {
    row[0] = jet::Value(i);
    row[1].SetText(NameOf(i));
    row[2].SetText(TownOf(i));
    row[3] = jet::Value(jet::Currency{i * 100});
    row[4] = jet::Value(jet::Date{20000.0 + i % 20000});
    table.Insert(std::span<const jet::Value>(row));
  }
  database->Commit();
  return Seconds(start);
}

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

double ScanWithEngine(const std::string& path, int rows) {
  const auto start = Clock::now();
  const auto database = jet::Database::Open(path);
  jet::Table& table = database->OpenTable("People");
  std::uint64_t sum = 0;
  int seen = 0;
  for (jet::ScanCursor scan = table.Scan(); scan.Next(); ++seen) {
    jet::Row& row = scan.Current();
    sum += static_cast<std::uint64_t>(row.Integer(0)) + row.Text(1).size() + row.Text(2).size() +
           static_cast<std::uint64_t>(row.Integer(3)) + static_cast<std::uint64_t>(row.Real(4));
  }
  const double seconds = Seconds(start);
  if (seen != rows || sum == 0) std::printf("the scan saw %d rows instead of %d\n", seen, rows);
  return seconds;
}

double ScanWithExport(const std::string& path) {
  const auto start = Clock::now();
  const std::string command = "mdb-export '" + path + "' People > /dev/null 2>&1";
  return std::system(command.c_str()) == 0 ? Seconds(start) : 0;
}

void Lookup(const std::string& path, int rows) {
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
  const auto measure = [&](const char* what, unsigned range) {
    const auto begin = Clock::now();
    int found = 0;
    for (int i = 0; i < kLookups; ++i) {
      key[0].SetText(NameOf(static_cast<int>(random() % range)));
      const auto id = table.Seek(position, key);
      if (id && table.Read(*id, row) && row.Integer(0) >= 0) ++found;
    }
    std::printf("one row by an indexed text, %-38s %8.3f us (%d of %d found)\n", what, Seconds(begin) / kLookups * 1e6, found, kLookups);
  };
  measure("anywhere, each call with its own locks", static_cast<unsigned>(rows));
  const jet::Database::ReadScope scope(*database);
  measure("anywhere, inside a statement", static_cast<unsigned>(rows));
  measure("warm, inside a statement (goal 10)", 2000);
}

void OpenBigFile(const std::string& path) {
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
  std::printf("open of a file of %.0f MB         %8.3f ms (middle of 5; cache after reading all: %zu KB)\n",
              static_cast<double>(std::filesystem::file_size(path)) / 1e6, times[2] * 1e3, cached / 1024);
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
    engine = std::min(engine, InsertWithEngine(file, rows));
    const std::string other = (folder / "people.sqlite").string();
    std::filesystem::remove(other);
    sqlite = std::min(sqlite, InsertWithSqlite(other, rows));
  }
  std::printf("%d rows, %.1f MB; best of three each\n", rows, static_cast<double>(std::filesystem::file_size(file)) / 1e6);
  std::printf("insert: engine %.3f s, SQLite %.3f s: %.2f times SQLite's rows per second (goal 0.8)\n", engine, sqlite, sqlite / engine);

  double scan = 1e9;
  double raw = 1e9;
  for (int turn = 0; turn < 3; ++turn) {
    scan = std::min(scan, ScanWithEngine(file, rows));
    raw = std::min(raw, ScanWithExport(file));
  }
  if (raw > 0) {
    std::printf("scan: engine %.3f s, mdb-export %.3f s: %.1f times its rows per second (goal 6)\n", scan, raw, raw / scan);
  } else {
    std::printf("scan: engine %.3f s; mdb-export is not installed\n", scan);
  }
  Lookup(file, rows);
  if (big) OpenBigFile((folder / "big.mdb").string());
  std::filesystem::remove_all(folder);
}
