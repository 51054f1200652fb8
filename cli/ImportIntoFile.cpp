// Rows of a text file into a table of an Access file.
#include <algorithm>

#include "base/Utf8.h"
#include "cli/Failure.h"
#include "cli/Import.h"
#include "cli/Messages.h"
#include "jet/sql/Session.h"
#include "jet/table/Table.h"
#include "jet/value/Text.h"

namespace tamlo::cli {
namespace {

std::string TypeWord(const jet::ColumnDef& column) {
  using Type = jet::ColumnType;
  switch (column.type) {
    case Type::kBoolean:
      return "boolean";
    case Type::kByte:
      return "byte";
    case Type::kInteger:
      return "integer";
    case Type::kLong:
      return "long";
    case Type::kCurrency:
      return "currency";
    case Type::kSingle:
      return "single";
    case Type::kDouble:
      return "double";
    case Type::kDate:
      return "date";
    case Type::kGuid:
      return "guid";
    case Type::kNumeric:
      return "decimal(" + std::to_string(column.precision) + "," + std::to_string(column.scale) + ")";
    default:
      return "binary";
  }
}

/// Writes the rows of one file.
class Import {
 public:
  Import(jet::Database& file, const ImportAsked& asked)
      : asked_(asked), table_(file.OpenTable(asked.table)), records_(OpenRecords(asked.file, asked.records)) {
    for (const auto& name : ColumnNames(*records_, asked)) {
      const auto place = table_.FindColumn(name);
      if (!place) throw Failure(Status::kFailed, Say(Said::kNoColumnForHeader, {table_.Name(), name, asked.file}));
      places_.push_back(*place);
    }
    jet::sql::Session session(file);
    for (auto& initial : session.Defaults(*session.FindTable(asked.table)))
      if (std::find(places_.begin(), places_.end(), initial.first) == places_.end()) defaults_.push_back(std::move(initial));
  }

  std::int64_t Run() {
    std::int64_t rows = 0;
    std::vector<jet::Value> values(places_.size());
    std::vector<jet::Assignment> row;
    for (std::size_t i = 0; i < values.size(); ++i) row.push_back({.column = places_[i], .value = &values[i], .source = nullptr});
    for (const auto& [column, value] : defaults_) row.push_back({.column = column, .value = &value, .source = nullptr});
    for (std::vector<Cell> cells; records_->Next(cells); ++rows) {
      for (std::size_t i = 0; i < cells.size(); ++i) values[i] = Value(cells[i], places_[i]);
      try {
        table_.Insert(row);
      } catch (const jet::Error& error) {
        RefuseRow(asked_, records_->Line(), error.what());
      }
    }
    return rows;
  }

 private:
  jet::Value Value(const Cell& cell, std::size_t place) const {
    const jet::ColumnDef& column = table_.Columns()[place];
    auto value = ValueOf(cell, column, asked_.reading);
    const auto refuse = [&](Said what, const std::string& more) {
      RefuseRow(asked_, records_->Line(), Say(what, {column.name, base::FirstCharacters(cell.text, 40), more}));
    };
    if (!value) refuse(Said::kNoValueOf, TypeWord(column));
    if (column.type == jet::ColumnType::kText && !value->IsNull() && jet::CountUtf16(cell.text) > column.size)
      refuse(Said::kTooLong, std::to_string(column.size));
    return std::move(*value);
  }

  const ImportAsked& asked_;
  jet::Table& table_;
  std::unique_ptr<Records> records_;
  std::vector<std::size_t> places_;
  std::vector<std::pair<std::size_t, jet::Value>> defaults_;
};

}  // namespace

std::int64_t ImportIntoFile(jet::Database& file, const ImportAsked& asked) {
  jet::Transaction transaction(file);
  if (asked.create) {
    if (file.FindObject(asked.table) != nullptr) throw Failure(Status::kFailed, Say(Said::kExistsAlready, {asked.table}));
    jet::TableSpec spec{.name = asked.table, .columns = {}, .indexes = {}, .properties = {}, .flags = 0};
    for (auto& wanted : NewColumns(asked, {})) spec.columns.push_back(std::move(wanted.column));
    file.CreateTable(spec);
  } else {
    const auto* object = file.FindObject(asked.table);
    if (object == nullptr || object->kind != jet::ObjectKind::kTable) throw Failure(Status::kUsage, Say(Said::kNoSuchTable, {asked.table}));
  }
  const std::int64_t rows = Import(file, asked).Run();
  transaction.Commit();
  return rows;
}

}  // namespace tamlo::cli
