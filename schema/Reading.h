#pragma once

#include <optional>
#include <string>
#include <vector>

#include "schema/Ask.h"
#include "schema/Read.h"
#include "schema/SqlText.h"

namespace tamlo::schema {

/// Something that rows decide: whether the condition holds for one of them.
struct Question {
  std::string table;
  std::string column;
  std::string condition;        ///< in the engine's SQL
  std::optional<Type> becomes;  ///< the column's type if it does
  What finding = {};            ///< what is then told; it has no parts
};

/// A database while it is being read, and what the readers of all engines share.
class Reading {
 public:
  /// The connection must outlive it.
  Reading(ado::Connection& connection, Engine engine, const ReadOptions& options)
      : connection_(connection), dialect_(DialectOf(engine)), options_(options) {}

  [[nodiscard]] const Dialect& In() const noexcept { return dialect_; }
  [[nodiscard]] ado::Connection& On() const noexcept { return connection_; }
  [[nodiscard]] bool LooksAtValues() const noexcept { return options_.values; }
  [[nodiscard]] std::vector<Answer> Ask(const std::string& sql) const { return schema::Ask(connection_, sql); }
  [[nodiscard]] Database& Read() noexcept { return database_; }
  /// The table of exactly that name, else one whose name differs in case alone; null when there is none.
  [[nodiscard]] Table* Find(const std::string& table);
  void Lost(const std::string& table, const std::string& column, What what, std::vector<std::string> parts = {}) {
    database_.findings.push_back({table, column, what, std::move(parts)});
  }
  void Ponder(Question question) { questions_.push_back(std::move(question)); }

  /// A condition that the engine holds the rows to: one that the description knows goes to its column, any other is its rule or the table's.
  void AddCheck(Table& table, const std::string& condition);
  /// Names as people use them in one table: without the table's in front, "PrimaryKey" for the primary key.
  void NameIndex(const Table& table, Index& index) const;

  /// What becomes of referring rows, in SQL's words: cascades are kept; what else there is beyond refusing is told.
  void SetRules(Relation& relation, const std::string& onUpdate, const std::string& onDelete);

  /// Answers the questions, counts the rows, makes the types of relations agree, puts everything in order.
  [[nodiscard]] Database Finish();

 private:
  void AskRows(Table& table);
  void AlignRelations();
  void AlignTexts(const Relation& relation, Column& own, Column& other);
  void FindOneToOne();

  ado::Connection& connection_;
  const Dialect& dialect_;
  ReadOptions options_;
  Database database_;
  std::vector<Question> questions_;
};

}  // namespace tamlo::schema
