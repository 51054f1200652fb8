#pragma once

#include <sstream>
#include <string>

#include "jet/sql/Statement.h"

namespace jet::sql::tests {

/// A translated statement as lines of text: the query in SQLite's words, its columns, the tables that its rows come from, its parameters,
/// or what a change or definition says.
class Description {
 public:
  static std::string Of(const Statement& statement) {
    Description description;
    std::visit([&](const auto& plan) { description.Add(plan); }, statement);
    return description.out_.str();
  }

 private:
  void Add(const SelectPlan& plan) {
    out_ << "sql " << plan.sql << "\n";
    for (const ResultColumn& column : plan.columns) {
      out_ << "column " << column.name << " ";
      Add(column.type);
      out_ << " from " << column.source << "." << column.column << " parameter " << column.parameter << "\n";
    }
    for (const SelectPlan::Source& source : plan.sources)
      out_ << "source " << (source.table == nullptr ? "-" : source.table->name) << " " << source.rowIdColumn
           << (source.optional ? " optional" : "") << "\n";
    for (const TablePointer& table : plan.reads) out_ << "reads " << table->name << "\n";
    if (plan.plainScan) out_ << "plain scan\n";
    if (plan.singleRow) out_ << "single row\n";
    if (plan.limit) out_ << "limit " << *plan.limit << "\n";
    for (const std::size_t tie : plan.tieColumns) out_ << "tie " << tie << "\n";
    if (plan.parameters == nullptr) return;
    for (const Value& value : *plan.parameters) out_ << "value " << value.Describe() << "\n";
  }
  void Add(const TypeInfo& type) {
    out_ << "type " << static_cast<int>(type.type) << " " << type.size << " " << static_cast<int>(type.precision) << ","
         << static_cast<int>(type.scale) << (type.autoNumber ? " auto" : "") << (type.nullable ? "" : " required");
  }
  void Add(const TableTarget& target) { out_ << "target " << target.name << " file " << target.file << "\n"; }
  void Add(const SelectIntoPlan& plan) {
    Add(plan.target);
    Add(plan.query);
  }
  void Add(const InsertPlan& plan) {
    Add(plan.target);
    out_ << "into " << plan.table->name << ":";
    for (const std::size_t column : plan.columns) out_ << " " << column;
    out_ << "\n";
    Add(plan.query);
  }
  void Add(const UpdatePlan& plan) {
    for (const UpdatePlan::Item& item : plan.items) out_ << "set " << item.source << "." << item.column << " = " << item.value << "\n";
    Add(plan.query);
  }
  void Add(const DeletePlan& plan) {
    out_ << "delete " << plan.source << "\n";
    Add(plan.query);
  }
  void Add(const std::vector<std::string>& names) {
    for (const std::string& name : names) out_ << " " << name;
  }
  void Add(const ForeignKeySpec& key) {
    out_ << "key " << key.name << " (";
    Add(key.columns);
    out_ << ") to " << key.referencedTable << " (";
    Add(key.referencedColumns);
    out_ << ")" << (key.cascadeUpdates ? " cascade updates" : "") << (key.cascadeDeletes ? " cascade deletes" : "") << "\n";
  }
  void Add(const ColumnDef& column) {
    out_ << "column " << column.name << " type " << static_cast<int>(column.type) << " " << column.size << " "
         << static_cast<int>(column.precision) << "," << static_cast<int>(column.scale) << (column.autoNumber ? " auto" : "") << " first "
         << column.firstNumber << (column.required ? " required" : "") << (column.compressed ? " compressed" : "") << " default "
         << column.defaultValue << "\n";
  }
  void Add(const IndexSpec& index) {
    out_ << "index " << index.name;
    for (const IndexSpec::Part& part : index.columns) out_ << " " << part.column << (part.descending ? " desc" : "");
    out_ << (index.primary ? " primary" : "") << (index.unique ? " unique" : "") << (index.ignoreNulls ? " ignore nulls" : "")
         << (index.required ? " required" : "") << "\n";
  }
  template <typename Part>
  void AddAll(const std::vector<Part>& parts) {
    for (const Part& part : parts) Add(part);
  }
  void Add(const CreateTablePlan& plan) {
    out_ << "create table " << plan.table.name << "\n";
    AddAll(plan.table.columns);
    AddAll(plan.table.indexes);
    AddAll(plan.foreignKeys);
  }
  void Add(const AddColumnPlan& plan) {
    out_ << "add to " << plan.table << "\n";
    AddAll(plan.columns);
    AddAll(plan.indexes);
    AddAll(plan.foreignKeys);
  }
  void Add(const AlterColumnPlan& plan) {
    out_ << "alter " << plan.table << (plan.retyped ? " retyped" : "")
         << (plan.required ? *plan.required ? " required" : " not required" : "") << " default " << static_cast<int>(plan.defaultValue)
         << "\n";
    Add(plan.column);
    AddAll(plan.indexes);
    AddAll(plan.foreignKeys);
  }
  void Add(const DropColumnPlan& plan) {
    out_ << "drop from " << plan.table << ":";
    Add(plan.columns);
    out_ << "\n";
  }
  void Add(const DropConstraintPlan& plan) { out_ << "drop constraint " << plan.table << " " << plan.name << "\n"; }
  void Add(const CreateIndexPlan& plan) {
    out_ << "create index on " << plan.table << "\n";
    Add(plan.index);
  }
  void Add(const DropIndexPlan& plan) { out_ << "drop index " << plan.name << " on " << plan.table << "\n"; }
  void Add(const DropTablePlan& plan) { out_ << "drop " << (plan.query ? "query " : "table ") << plan.name << "\n"; }
  void Add(const CreateQueryPlan& plan) {
    out_ << "create " << (plan.view ? "view " : "procedure ") << plan.name << " (";
    Add(plan.columns);
    out_ << ") as " << plan.text << "\n";
  }
  void Add(TransactionPlan plan) { out_ << "transaction " << static_cast<int>(plan) << "\n"; }

  std::ostringstream out_;
};

/// What comes of a statement: its description, or the error's number and text.
template <typename Do>
std::string Outcome(Do&& translate) {
  try {
    return Description::Of(translate());
  } catch (const Error& error) {
    return "error " + std::to_string(static_cast<int>(error.Code())) + " " + error.what() + "\n";
  }
}

}  // namespace jet::sql::tests
