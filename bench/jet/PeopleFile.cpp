#include "bench/jet/PeopleFile.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "bench/jet/Goals.h"
#include "jet/Database.h"
#include "jet/table/Table.h"

namespace jet::bench {

std::string NameOf(int i) { return "Customer " + std::to_string(static_cast<long long>(i) * 7919 % 1000003) + " of Saint-Étienne"; }
std::string TownOf(int i) { return "Town number " + std::to_string(i % 5000) + " on the river"; }

namespace {

TableSpec People() {
  const auto column = [](const char* name, ColumnType type, std::uint16_t size = 0) {
    ColumnDef def;
    def.name = name;
    def.type = type;
    def.size = size;
    return def;
  };
  TableSpec spec;
  spec.name = "People";
  spec.columns = {column("Id", ColumnType::kLong), column("Name", ColumnType::kText, 60), column("Town", ColumnType::kText, 60),
                  column("Amount", ColumnType::kCurrency), column("Born", ColumnType::kDate)};
  IndexSpec primary;
  primary.name = "PrimaryKey";
  primary.columns = {{"Id", false}};
  primary.primary = true;
  spec.indexes = {primary};
  return spec;
}

}  // namespace

double MakePeopleFile(const std::string& path, int rows, int version, bool encoded) {
  const auto start = Clock::now();
  const auto database = Database::Create(path, {}, {.encoded = encoded}, version);
  Table& table = database->CreateTable(People());
  std::vector<Value> row(5);
  database->Begin();
  for (int i = 0; i < rows; ++i) {
    row[0] = Value(i);
    row[1].SetText(NameOf(i));
    row[2].SetText(TownOf(i));
    row[3] = Value(Currency{i * 100});
    row[4] = Value(Date{20000.0 + i % 20000});
    table.Insert(std::span<const Value>(row));
  }
  database->Commit();
  return Seconds(start);
}

double ScanWithEngine(const std::string& path, int rows) {
  const auto start = Clock::now();
  const auto database = Database::Open(path);
  Table& table = database->OpenTable("People");
  std::uint64_t sum = 0;
  int seen = 0;
  for (ScanCursor scan = table.Scan(); scan.Next(); ++seen) {
    Row& row = scan.Current();
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

}  // namespace jet::bench
