// The names of a script: what each table, column, index and relation is called on the engine.
#include "schema/DdlWriter.h"

namespace tamlo::schema {

void DdlWriter::Note(const std::string& table, const std::string& from, const std::string& to) {
  if (from != to) script_.renamings.push_back({table, from, to});
}

void DdlWriter::NameAll() {
  Names tables(dialect_);
  Names indexes(dialect_);
  Names relations(dialect_);
  for (const Table& table : database_.tables) {
    Named named;
    named.name = tables.Take(table.name);
    Note({}, table.name, named.name);
    indexes.Reserve(named.name);  // PostgreSQL and SQLite: tables and indexes share one space
    tables_.emplace(table.name, std::move(named));
  }
  for (const Table& table : database_.tables) NameTable(table, indexes);
  for (const Relation& relation : database_.relations) {
    const std::string name = relations.Take(relation.name);
    Note({}, relation.name, name);
    relations_[relation.name] = name;
  }
}

void DdlWriter::NameTable(const Table& table, Names& globalIndexes) {
  Named& named = tables_.at(table.name);
  TableThere there{table.name, named.name, {}};
  Names columns(dialect_);
  for (const Column& column : table.columns) {
    const std::string name = columns.Take(column.name);
    Note(table.name, column.name, name);
    named.columns.emplace(column.name, name);
    there.columns.push_back(name);
  }
  script_.tables.push_back(std::move(there));
  Names own(dialect_);
  if (dialect_.engine == Engine::kMariaDb) own.Reserve(kCounterKey);
  for (const Index& index : table.indexes) {
    const bool global = dialect_.indexNamesAreGlobal;
    // A name of the kind that Access gives to every table's index tells more with the table's in front.
    const std::string name = global ? globalIndexes.Take(table.name + "_" + index.name) : own.Take(index.name);
    if (!index.primary && !global) Note(table.name, index.name, name);
    named.indexes.push_back(name);
  }
  FitRow(table);
}

/// MariaDB holds 65,535 bytes of a row beside its long values, and counts four for each character that a text may have. The widest texts that
/// are in no key become memos until the rest fits.
void DdlWriter::FitRow(const Table& table) {
  if (dialect_.engine != Engine::kMariaDb) return;
  constexpr int kMostBytes = 65000;
  int bytes = 0;
  const auto width = [](const Column& column) {
    return column.type.kind == Kind::kText ? column.type.length * 4 + 2 : column.type.length + 12;
  };
  for (const Column& column : table.columns) bytes += width(column);
  std::set<std::string> keyed;
  for (const Index& index : table.indexes)
    for (const IndexPart& part : index.parts) keyed.insert(part.column);
  for (const Relation& relation : database_.relations)
    for (const auto& [from, to] : relation.columns) {
      if (relation.table == table.name) keyed.insert(from);
      if (relation.referenced == table.name) keyed.insert(to);
    }
  Named& named = tables_.at(table.name);
  while (bytes > kMostBytes) {
    const Column* widest = nullptr;
    for (const Column& column : table.columns) {
      const std::string& name = column.name;
      if (column.type.kind != Kind::kText || keyed.contains(name) || named.longTexts.contains(name)) continue;
      if (widest == nullptr || column.type.length > widest->type.length) widest = &column;
    }
    if (widest == nullptr) return;
    bytes -= width(*widest) - 12;
    named.longTexts.insert(widest->name);
    Lost(table.name, widest->name, What::kRowTooLong, {EngineName()});
  }
}

const DdlWriter::Named& DdlWriter::Of(const std::string& table) const { return tables_.at(table); }

std::string DdlWriter::ColumnName(const std::string& table, const std::string& column) const {
  return Quoted(dialect_, Of(table).columns.at(column));
}

}  // namespace tamlo::schema
