#include "tests/jet/storage/JetTestSupport.h"

#include <utility>

namespace jet::tests {

ColumnDef Column(std::string name, ColumnType type, std::uint16_t size) {
  ColumnDef column;
  column.name = std::move(name);
  column.type = type;
  column.size = size;
  column.allowZeroLength = true;
  return column;
}

ColumnDef Counter(std::string name) {
  ColumnDef column = Column(std::move(name), ColumnType::kLong);
  column.autoNumber = true;
  return column;
}

IndexSpec PrimaryKey(std::string column) {
  IndexSpec index;
  index.name = "PrimaryKey";
  index.columns = {{std::move(column), false}};
  index.primary = true;
  return index;
}

IndexSpec Index(std::string name, std::vector<std::string> columns, bool unique) {
  IndexSpec index;
  index.name = std::move(name);
  for (auto& column : columns) index.columns.push_back({std::move(column), false});
  index.unique = unique;
  return index;
}

TableSpec PeopleTable(const std::string& name) {
  TableSpec spec;
  spec.name = name;
  spec.columns = {Counter("Id"), Column("Name", ColumnType::kText, 50), Column("Note", ColumnType::kMemo),
                  Column("Flag", ColumnType::kBoolean), Column("Amount", ColumnType::kDouble)};
  spec.indexes = {PrimaryKey("Id"), Index("Name", {"Name"})};
  return spec;
}

std::vector<Value> Person(const std::string& name, const std::string& note, bool flag, double amount) {
  return {Value(), Value(name), Value(note), Value(flag), Value(amount)};
}

std::string Findings(Database& database) {
  std::string text;
  for (const auto& finding : database.Check())
    text += "page " + std::to_string(finding.page) + " offset " + std::to_string(finding.offset) + ": " + finding.text + "\n";
  return text;
}

std::string Describe(const std::vector<Value>& values) {
  std::string text;
  for (const auto& value : values) text += (text.empty() ? "" : "|") + value.Describe();
  return text;
}

std::vector<std::string> Rows(Table& table) {
  std::vector<std::string> rows;
  for (ScanCursor cursor = table.Scan(); cursor.Next();) {
    std::vector<Value> values(table.Columns().size());
    for (std::size_t i = 0; i < values.size(); ++i) cursor.Current().Get(i, values[i]);
    rows.push_back(Describe(values));
  }
  return rows;
}

}  // namespace jet::tests
