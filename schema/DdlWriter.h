#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "schema/Ddl.h"
#include "schema/Names.h"

namespace tamlo::schema {

/// Writes the statements of one script. What it needs to know of a column beyond the column itself (its name there, whether a key holds it)
/// is found out once, by NameAll.
class DdlWriter {
 public:
  /// All three must outlive it.
  DdlWriter(const Database& database, const Dialect& dialect, Script& script) : database_(database), dialect_(dialect), script_(script) {}

  /// Gives every table, column and index its name on the engine. First of all.
  void NameAll();
  /// With its primary key, checks and defaults; with its foreign keys where the engine takes them nowhere else.
  void CreateTable(const Table& table, const std::vector<Relation>& relations);
  /// All but the primary key.
  void CreateIndexes(const Table& table, const std::vector<Relation>& relations);
  /// Validation rules as checks, as far as they can be such and do not stand in the table's own definition.
  void AddRules(const Table& table);
  void AddRelation(const Relation& relation);
  void RestartCounter(const Table& table);
  void Lost(const std::string& table, const std::string& column, What what, std::vector<std::string> parts = {}) {
    script_.findings.push_back({table, column, what, std::move(parts)});
  }
  /// The engine by its name, as findings have it.
  [[nodiscard]] std::string EngineName() const { return std::string(dialect_.name); }

 private:
  struct Named {
    std::string name;                            ///< there
    std::map<std::string, std::string> columns;  ///< name in the source -> name there
    std::vector<std::string> indexes;            ///< names there, in the order of Table::indexes
    std::set<std::string> longTexts;             ///< the texts that are written as memos, for rows would be too long
  };

  void NameTable(const Table& table, Names& globalIndexes);
  void Note(const std::string& table, const std::string& from, const std::string& to);
  [[nodiscard]] const Named& Of(const std::string& table) const;
  [[nodiscard]] std::string TableName(const std::string& table) const { return Quoted(dialect_, Of(table).name); }
  [[nodiscard]] std::string ColumnName(const std::string& table, const std::string& column) const;
  void FitRow(const Table& table);

  [[nodiscard]] std::string ColumnText(const Table& table, const Column& column);
  [[nodiscard]] std::string CounterText(const Table& table, const Column& column);
  [[nodiscard]] std::string DefaultText(const Table& table, const Column& column);
  [[nodiscard]] bool CascadesInto(const Table& table, const Column& column) const;
  void AddChecks(const Table& table, const Column& column, std::vector<std::string>& parts);
  [[nodiscard]] std::string KeyPrefix(const Table& table, const Index& key, const Column& column);
  void AddKeys(const Table& table, std::vector<std::string>& parts);
  [[nodiscard]] std::string RuleCondition(const Table& table, const Column* column, const std::string& rule);
  [[nodiscard]] std::vector<std::string> RuleConditions(const Table& table);
  void NoteHyperlinks(const Table& table);
  [[nodiscard]] std::string CommentInside(const Table& table, const std::string& column, const std::string& comment, std::size_t most);
  void AddComments(const Table& table);
  [[nodiscard]] Type TypeThere(const Table& table, const Column& column) const;
  [[nodiscard]] bool CounterIsKeyItself(const Table& table) const;
  [[nodiscard]] std::string ForeignKeyText(const Relation& relation) const;
  [[nodiscard]] std::string IndexText(const Table& table, std::size_t place, bool referred);
  [[nodiscard]] std::string IndexPartText(const Table& table, const Index& index, const IndexPart& part) const;
  [[nodiscard]] bool FitsKey(const Table& table, const Index& index) const;

  const Database& database_;
  const Dialect& dialect_;
  Script& script_;
  std::map<std::string, Named> tables_;                     ///< by name in the source
  std::map<std::string, std::vector<std::string>> checks_;  ///< conditions of its rules by table
  std::map<std::string, std::string> relations_;            ///< name in the source -> name there
};

/// What WriteDdl calls the key that MariaDB wants for a counter which stands at the head of no other.
inline constexpr std::string_view kCounterKey = "autonumber";

/// Bytes that a column may have in a key of MariaDB, of which a key has kMostKeyBytes; those of a text or bytes without a length are more.
[[nodiscard]] int KeyBytes(const Type& type);
inline constexpr int kMostKeyBytes = 3072;
/// Bytes that each part of the key may have there, so that all fit.
[[nodiscard]] int MostBytesOfAPart(const Table& table, const Index& key);

/// The primary key; null when there is none.
[[nodiscard]] const Index* PrimaryKey(const Table& table);
/// Whether an index over the column takes no nulls.
[[nodiscard]] bool InRequiredIndex(const Table& table, const Column& column);
/// The column that numbers its rows in steps; null when there is none.
[[nodiscard]] const Column* IncrementColumn(const Table& table);

}  // namespace tamlo::schema
