// Reading and writing many rows through the data access objects, as a ratio to the same work written by hand against the driver manager in
// the same run. The last lines of the output are the ratios (1 is as fast as by hand); the exit status is 1 when one is below its limit.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ado/BulkInsert.h"
#include "ado/Command.h"
#include "ado/Connection.h"
#include "ado/Recordset.h"
#include "ado/odbc/OdbcProvider.h"
#include "bench/ado_odbc/RawRows.h"
#include "tests/support_lib/MariaDbServer.h"
#include "tests/support_lib/PostgresServer.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace {

using tamlo::bench::RawRows;
using tamlo::runtime::Variant;
namespace ado = tamlo::ado;

constexpr std::size_t kReadRows = 500000;
constexpr std::size_t kWriteRows = 100000;
constexpr std::size_t kStaticRows = 200000;

struct Engine {
  std::string name;
  std::string connectionString;
  std::string doubleType;
  std::size_t readBlock;  // the best one by hand
  bool arrays;            // the best way to write by hand
  std::size_t writeBatch;
  bool narrowTexts;  // the best form of texts by hand
  double readLimit;  // 0.9 is wanted of all; what is guarded is less, for the clocks of a loaded machine
  double writeLimit;
  double preparedLimit;
  std::size_t preparedRuns;  // on a server each takes a tenth of a millisecond and more
  std::string exactDouble;   // how val is asked for where the driver gives another double; empty: as it stands
};

struct Ratio {
  std::string what;
  double ratio = 0;
  double processor = 0;  // the same of our process' processor time: what the server and other programs do does not count
  double limit = 0;
};
std::vector<Ratio> ratios;

struct Times {
  double wall = 0;
  double processor = 0;
};

Times Measured(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  const std::clock_t used = std::clock();
  work();
  return {std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(),
          static_cast<double>(std::clock() - used) / static_cast<double>(CLOCKS_PER_SEC)};
}

double Seconds(const std::function<void()>& work) { return Measured(work).wall; }

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

double ReadRecordset(ado::Connection& connection, const std::string& sql, ado::CursorType cursor) {
  ado::Recordset rs;
  rs.Open(sql, &connection, cursor, ado::adLockReadOnly, -1);
  const ado::Field& id = rs.Fields("id");
  const ado::Field& name = rs.Fields("name");
  const ado::Field& val = rs.Fields("val");
  double sum = 0;
  for (; !rs.Eof(); rs.MoveNext()) {
    sum += *id.Value().If<std::int32_t>() + *val.Value().If<double>() + static_cast<double>(name.Value().If<std::string>()->size());
  }
  return sum;
}

void InsertBulk(ado::Connection& connection, const std::string& table) {
  connection.BeginTrans();
  ado::BulkInsert bulk(connection, table, {"id", "name", "val"});
  std::array<Variant, 3> row;
  for (std::size_t i = 0; i < kWriteRows; ++i) {
    row[0] = static_cast<std::int32_t>(i);
    row[1] = "name " + std::to_string(i);
    row[2] = static_cast<double>(i) * 0.5;
    bulk.Add(row);
  }
  bulk.Flush();
  connection.CommitTrans();
}

/// Each iteration does both, one after the other, so that whatever else the machine does slows both; the ratio is that of the medians.
void Compare(benchmark::State& state, const std::string& what, double limit, const std::function<void()>& byHand,
             const std::function<void()>& ours) {
  std::vector<double> wall[2];
  std::vector<double> processor[2];
  for (auto _ : state) {
    for (const std::size_t which : {0U, 1U}) {
      const Times times = Measured(which == 0 ? byHand : ours);
      wall[which].push_back(times.wall);
      processor[which].push_back(times.processor);
      if (which == 1) state.SetIterationTime(times.wall);
    }
  }
  const Ratio ratio{what, Median(wall[0]) / Median(wall[1]), Median(processor[0]) / Median(processor[1]), limit};
  state.counters["by_hand_s"] = Median(wall[0]);
  state.counters["ours_s"] = Median(wall[1]);
  state.counters["ratio"] = ratio.ratio;
  ratios.push_back(ratio);
}

/// careless: by hand the doubles come as the driver gives them, which on SQLite is 15 digits of them; else with every bit, as ours do.
void Read(benchmark::State& state, const Engine& engine, bool careless) {
  RawRows raw(engine.connectionString, engine.narrowTexts);
  const bool exact = !careless && !engine.exactDouble.empty();
  if (exact) raw.ReadDoublesAsTexts();
  const std::string byHandSql = "SELECT id, name, " + (exact ? engine.exactDouble : "val") + " FROM big";
  ado::Connection connection;
  connection.Open(engine.connectionString, "", "");
  const std::string sql = "SELECT id, name, val FROM big";
  double byHandSum = 0;
  double sum = 0;
  Compare(
      state, "read 500000 rows, " + engine.name + (careless ? ", 15 digits by hand" : ""), careless ? 0 : engine.readLimit,
      [&] { byHandSum = raw.Read(byHandSql, engine.readBlock); }, [&] { sum = ReadRecordset(connection, sql, ado::adOpenForwardOnly); });
  if (byHandSum != sum) state.SkipWithError("both do not read the same");
}

/// A static recordset against a forward-only one of the same rows: what keeping them costs. Nothing is asked of it but not to become worse.
void ReadStatic(benchmark::State& state, const Engine& engine) {
  ado::Connection connection;
  connection.Open(engine.connectionString, "", "");
  const std::string sql = "SELECT id, name, val FROM big WHERE id < " + std::to_string(kStaticRows);
  double forwardSum = 0;
  double sum = 0;
  Compare(
      state, "read 200000 rows, static by forward-only, " + engine.name, 0,
      [&] { forwardSum = ReadRecordset(connection, sql, ado::adOpenForwardOnly); },
      [&] { sum = ReadRecordset(connection, sql, ado::adOpenStatic); });
  if (forwardSum != sum) state.SkipWithError("both do not read the same");
}

/// A prepared command with one integer, run often in a transaction. Of the query nothing is fetched on either side, so that on SQLite a run takes
/// a millionth of a second: of that the count of rows and the watch of the time limit, which the loop by hand does without, are a fifth.
void RunPrepared(benchmark::State& state, const Engine& engine, bool inserts) {
  RawRows raw(engine.connectionString, engine.narrowTexts);
  ado::Connection connection;
  connection.Open(engine.connectionString, "", "");
  int tables = 0;
  const auto statement = [&] {
    if (!inserts) return std::string("SELECT name FROM big WHERE id = ?");
    const std::string table = "p" + std::to_string(++tables) + "_" + std::to_string(reinterpret_cast<std::uintptr_t>(&state) % 100000);
    raw.Execute("CREATE TABLE " + table + " (id INTEGER NOT NULL PRIMARY KEY)");
    return "INSERT INTO " + table + " (id) VALUES (?)";
  };
  std::string sql;
  Compare(
      state,
      std::string(inserts ? "prepared INSERT" : "prepared SELECT") + " " + std::to_string(engine.preparedRuns) + " times, " + engine.name,
      inserts ? engine.preparedLimit : engine.preparedLimit - 0.1, [&] { raw.RunPrepared(statement(), engine.preparedRuns, !inserts); },
      [&] {
        ado::Command command;
        command.ActiveConnection(&connection);
        command.CommandText(statement());
        command.Prepared(true);
        connection.BeginTrans();
        std::array<Variant, 1> value;
        for (std::size_t i = 0; i < engine.preparedRuns; ++i) {
          value[0] = static_cast<std::int32_t>(i);
          (void)command.Execute(value);
        }
        connection.CommitTrans();
      });
}

void Write(benchmark::State& state, const Engine& engine) {
  RawRows raw(engine.connectionString, engine.narrowTexts);
  ado::Connection connection;
  connection.Open(engine.connectionString, "", "");
  int tables = 0;
  const auto makeTable = [&] {
    const std::string table = "w" + std::to_string(++tables) + "_" + std::to_string(reinterpret_cast<std::uintptr_t>(&state) % 100000);
    connection.Execute("CREATE TABLE " + table + " (id INTEGER NOT NULL PRIMARY KEY, name VARCHAR(40), val " + engine.doubleType + ")");
    return table;
  };
  Compare(
      state, "write 100000 rows, " + engine.name, engine.writeLimit,
      [&] {
        const std::string table = makeTable();
        engine.arrays ? raw.InsertArrays(table, kWriteRows, engine.writeBatch) : raw.InsertValues(table, kWriteRows, engine.writeBatch);
      },
      [&] { InsertBulk(connection, makeTable()); });
}

/// The ways to write by hand, which docs/backends/odbc.md compares.
void WriteByHand(benchmark::State& state, const Engine& engine, bool arrays, std::size_t batch) {
  RawRows raw(engine.connectionString, engine.narrowTexts);
  int tables = 0;
  double best = 1e9;
  for (auto _ : state) {
    const std::string table = "h" + std::to_string(++tables) + "_" + std::to_string(reinterpret_cast<std::uintptr_t>(&state) % 100000) +
                              (arrays ? "a" : "v") + std::to_string(batch);
    raw.Execute("CREATE TABLE " + table + " (id INTEGER NOT NULL PRIMARY KEY, name VARCHAR(40), val " + engine.doubleType + ")");
    const std::size_t rows = batch == 1 ? 10000 : kWriteRows;
    const double time = Seconds([&] { arrays ? raw.InsertArrays(table, rows, batch) : raw.InsertValues(table, rows, batch); });
    best = std::min(best, time);
    state.SetIterationTime(time);
    state.counters["rows_per_s"] = static_cast<double>(rows) / best;
  }
}

void FillBig(const Engine& engine) {
  RawRows raw(engine.connectionString, engine.narrowTexts);
  raw.Execute("CREATE TABLE big (id INTEGER NOT NULL PRIMARY KEY, name VARCHAR(40), val " + engine.doubleType + ")");
  engine.arrays ? raw.InsertArrays("big", kReadRows, engine.writeBatch) : raw.InsertValues("big", kReadRows, engine.writeBatch);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  const bool compareByHand = argc > 1 && std::string(argv[1]) == "--by-hand";
  ado::odbc::RegisterOdbcProviders();
  const tamlo::tests::TemporaryFolder folder;
  tamlo::tests::MariaDbServer mariaDb;
  tamlo::tests::PostgresServer postgres;
  const std::vector<Engine> engines{
      {"SQLite", "DRIVER={SQLite3};DATABASE=" + folder.File("bench.db"), "DOUBLE", 1000, false, 200, true, 0.8, 0.6, 0.8, 100000,
       "printf('%!.18e', val)"},
      {"MariaDB", mariaDb.ConnectionString() + ";UID=tamlo;PWD=tamlo", "DOUBLE", 100, true, 4000, true, 0.7, 0.7, 0.8, 20000, ""},
      {"PostgreSQL", postgres.ConnectionString() + ";UID=tamlo;PWD=tamlo", "DOUBLE PRECISION", 1000, false, 200, false, 0.6, 0.6, 0.8,
       20000, ""}};
  for (const Engine& engine : engines) {
    if (compareByHand) {
      for (const bool arrays : {true, false}) {
        for (const std::size_t batch : {1, 50, 200, 1000}) {
          if (!arrays && batch == 1) continue;
          benchmark::RegisterBenchmark(("ByHand/" + engine.name + (arrays ? "/array/" : "/values/") + std::to_string(batch)).c_str(),
                                       WriteByHand, engine, arrays, batch)
              ->UseManualTime()
              ->Unit(benchmark::kMillisecond)
              ->Iterations(2);
        }
      }
      continue;
    }
    FillBig(engine);
    for (const bool careless : {false, true}) {
      if (careless && engine.exactDouble.empty()) continue;
      benchmark::RegisterBenchmark(("Read/" + engine.name + (careless ? "/15digits" : "")).c_str(), Read, engine, careless)
          ->UseManualTime()
          ->Unit(benchmark::kMillisecond)
          ->Iterations(7);
    }
    benchmark::RegisterBenchmark(("Static/" + engine.name).c_str(), ReadStatic, engine)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond)
        ->Iterations(7);
    for (const bool inserts : {true, false}) {
      benchmark::RegisterBenchmark(("Prepared/" + engine.name + (inserts ? "/insert" : "/select")).c_str(), RunPrepared, engine, inserts)
          ->UseManualTime()
          ->Unit(benchmark::kMillisecond)
          ->Iterations(5);
    }
    benchmark::RegisterBenchmark(("Write/" + engine.name).c_str(), Write, engine)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond)
        ->Iterations(7);
  }
  benchmark::RunSpecifiedBenchmarks();
  bool good = true;
  for (const Ratio& one : ratios) {
    std::printf("ratio %-48s %.2f (at least %.2f), of processor time %.2f\n", one.what.c_str(), one.ratio, one.limit, one.processor);
    good = good && one.ratio >= one.limit;
  }
  return good ? 0 : 1;
}
