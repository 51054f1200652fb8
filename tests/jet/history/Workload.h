#pragma once

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "jet/Database.h"
#include "jet/table/Table.h"
#include "jet/value/TextOrder.h"

namespace jet::tests {

/// A table as it must be.
struct ModelTable {
  std::vector<ColumnDef> columns;
  std::vector<IndexSpec> indexes;
  std::map<RowId, std::vector<Value>> rows;
  std::int32_t lastNumber = 0;
  TextOrder order = TextOrder::kGeneral;
};

/// A database as it must be: user tables by name.
using Model = std::map<std::string, ModelTable>;

/// What a history may do and how big its values are.
struct WorkloadLimits {
  std::size_t tables = 3;
  std::size_t rows = 60;         ///< about as many rows in a table
  std::size_t longBytes = 9000;  ///< of memo and long binary values
  bool schema = true;            ///< tables, columns and indexes are made and dropped
  bool transactions = true;      ///< several steps in one transaction, nested ones, rollbacks
  bool textIndexes = true;       ///< off for files whose texts, names too, go in another order than the model's
  int version = 4;               ///< of the file: 3 has no decimals, and texts of Windows-1252 alone
};

/// The same for a file of Access 97.
[[nodiscard]] constexpr WorkloadLimits As97(WorkloadLimits limits) {
  limits.version = 3;
  return limits;
}

/// Does random things to a database and, independently, to a model of it. Each difference is a test failure with the step in its text.
class Workload {
 public:
  Workload(unsigned seed, WorkloadLimits limits) : random_(seed), limits_(limits) {}

  /// One random operation; a transaction of its own unless one is open.
  void Step(Database& database);
  /// Ends the open transaction, if any, with a commit.
  void CommitAll(Database& database);
  /// What the database holds now, the open transaction's changes included.
  [[nodiscard]] const Model& State() const noexcept { return model_; }
  [[nodiscard]] int Depth() const noexcept { return static_cast<int>(saved_.size()); }
  /// What the last steps did, for failure messages.
  [[nodiscard]] const std::string& LastStep() const noexcept { return lastStep_; }

 private:
  std::size_t Below(std::size_t limit) { return limit == 0 ? 0 : random_() % limit; }
  bool Chance(unsigned percent) { return random_() % 100 < percent; }
  ModelTable* AnyTable(std::string& name);
  Value RandomValue(const ColumnDef& column);
  ColumnDef RandomColumn(std::size_t number);
  /// Without columns when nothing that can be indexed was met.
  IndexSpec RandomIndex(const ModelTable& table);
  /// The row with some of its values, never the first, drawn anew.
  std::vector<Value> Changed(const ModelTable& table, const std::vector<Value>& row);
  std::string RandomText(std::size_t longest);
  Bytes RandomBytes(std::size_t longest);

  void CreateTable(Database& database);
  void DropTable(Database& database);
  void AddColumn(Database& database);
  void DropColumn(Database& database);
  void CreateIndex(Database& database);
  void DropIndex(Database& database);
  void Insert(Database& database);
  void Update(Database& database);
  void Delete(Database& database);
  void BeginOrEnd(Database& database);

  std::mt19937 random_;
  WorkloadLimits limits_;
  Model model_;
  std::vector<Model> saved_;
  std::string lastStep_;
  std::size_t counter_ = 0;
};

/// Tables beside the model's that nobody is to change: their rows as one text, by name.
using Untouched = std::map<std::string, std::string>;
/// All tables of a database as they are.
[[nodiscard]] Untouched AllTables(Database& database);

/// Compares a database with a model: tables, columns, rows by scan and by every index both ways, and the structural check.
/// Gives the differences, empty when there are none.
[[nodiscard]] std::string Compare(Database& database, const Model& model, const Untouched& others = {});

}  // namespace jet::tests
