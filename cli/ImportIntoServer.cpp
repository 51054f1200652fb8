// Rows of a text file into a table of a server, of an SQLite file or of any ODBC source: one transaction.
#include <cstdio>

#include "ado/BulkInsert.h"
#include "base/Case.h"
#include "base/Utf8.h"
#include "cli/Failure.h"
#include "cli/Import.h"
#include "cli/Messages.h"
#include "cli/ServerValues.h"
#include "move/Target.h"
#include "runtime/Error.h"
#include "schema/Ask.h"
#include "schema/Ddl.h"
#include "schema/Read.h"
#include "schema/ReadAccess.h"

namespace tamlo::cli {
namespace {

using schema::Engine;

constexpr std::size_t kRowsTogether = 2000;
constexpr std::size_t kBytesTogether = 8 << 20;
constexpr TypeLimits kLimits{.text = 16000, .binary = 16000, .digits = 38, .big = true};

/// Writes the rows of one file into a table that is there.
class Rows {
 public:
  Rows(Opened& opened, const std::string& table, const ImportAsked& asked)
      : asked_(asked),
        engine_(opened.engine),
        connection_(*opened.connection),
        table_(table),
        records_(OpenRecords(asked.file, asked.records)) {
    const auto there = ServerColumns(connection_, engine_, table);
    std::vector<std::string> names;
    for (const auto& name : ColumnNames(*records_, asked)) {
      const ServerColumn* found = nullptr;
      for (const auto& column : there)
        if (column.name == name || (found == nullptr && base::SameName(column.name, name))) found = &column;
      if (found == nullptr) throw Failure(Status::kFailed, Say(Said::kNoColumnForHeader, {table, name, asked.file}));
      columns_.push_back(*found);
      names.push_back(found->name);
    }
    rows_.emplace(connection_, table, names);
  }

  std::int64_t Run() {
    std::int64_t count = 0;
    std::size_t bytes = 0;
    std::vector<ado::Variant> row(columns_.size());
    for (std::vector<Cell> cells; records_->Next(cells); ++count) {
      lines_.push_back(records_->Line());
      for (std::size_t i = 0; i < cells.size(); ++i) {
        row[i] = Value(cells[i], columns_[i]);
        bytes += cells[i].text.size();
      }
      Send([&] { rows_->Add(row); });
      if (lines_.size() < kRowsTogether && bytes < kBytesTogether) continue;
      Send([&] { rows_->Flush(); });
      sent_ += static_cast<std::int64_t>(lines_.size());
      lines_.clear();
      bytes = 0;
    }
    Send([&] { rows_->Flush(); });
    MoveCounters();
    return count;
  }

 private:
  ado::Variant Value(const Cell& cell, const ServerColumn& column) const {
    const auto refuse = [&](Said what, const std::string& more) {
      RefuseRow(asked_, records_->Line(), Say(what, {column.name, base::FirstCharacters(cell.text, 40), more}));
    };
    if (IsTooLong(cell, column)) refuse(Said::kTooLong, std::to_string(*column.length));
    auto value = ServerValueOf(cell, column, asked_.reading, engine_);
    if (!value) refuse(Said::kNoValueOf, column.declared);
    return std::move(*value);
  }
  /// PostgreSQL's counters do not see the numbers that rows bring; all others go on behind the largest.
  void MoveCounters() {
    if (engine_ != Engine::kPostgreSql) return;
    const schema::Dialect& dialect = schema::DialectOf(Engine::kPostgreSql);
    const std::string table = schema::Quoted(dialect, table_);
    for (const auto& column : columns_) {
      const std::string sequence =
          "pg_get_serial_sequence(" + schema::Literal(dialect, table) + ", " + schema::Literal(dialect, column.name) + ")";
      const auto found = schema::Ask(connection_, "SELECT " + sequence + "::text WHERE has_sequence_privilege(" + sequence + ", 'UPDATE')");
      if (found.empty() || found[0].IsNull(0)) continue;
      (void)schema::Ask(connection_, "SELECT setval(" + schema::Literal(dialect, found[0][0]) + "::regclass, m) FROM (SELECT max(" +
                                         schema::Quoted(dialect, column.name) + ") AS m FROM " + table + ") AS t, " + found[0][0] +
                                         " AS s WHERE m >= s.last_value");
    }
  }
  /// An error is that of a row, or of all.
  template <typename Step>
  void Send(const Step& step) {
    try {
      step();
    } catch (const runtime::Error& error) {
      const std::int64_t place = rows_->RefusedRow() - sent_;
      if (place < 1 || place > static_cast<std::int64_t>(lines_.size())) throw;
      RefuseRow(asked_, lines_[static_cast<std::size_t>(place - 1)], ServerText(error));
    }
  }

  const ImportAsked& asked_;
  std::optional<Engine> engine_;
  ado::Connection& connection_;
  std::string table_;
  std::unique_ptr<Records> records_;
  std::vector<ServerColumn> columns_;
  std::optional<ado::BulkInsert> rows_;
  std::vector<std::int64_t> lines_;  // of the rows behind those that were sent for sure
  std::int64_t sent_ = 0;
};

std::string NameThere(const Opened& opened, const std::string& wish) {
  std::string alike;
  for (const auto& name : schema::TableNames(*opened.connection, opened.engine)) {
    if (name == wish) return name;
    if (alike.empty() && base::SameName(name, wish)) alike = name;
  }
  return alike;
}

/// MariaDB has tables that keep what they were given whatever becomes of the transaction.
void LookForTransactions(const Opened& opened, const std::string& table) {
  if (opened.engine != Engine::kMariaDb) return;
  const auto answers = schema::Ask(*opened.connection,
                                   "SELECT t.ENGINE, e.TRANSACTIONS FROM information_schema.TABLES t JOIN information_schema.ENGINES e ON "
                                   "e.ENGINE = t.ENGINE WHERE t.TABLE_SCHEMA = DATABASE() AND t.TABLE_NAME = " +
                                       schema::Literal(schema::DialectOf(Engine::kMariaDb), table));
  if (!answers.empty() && !answers[0].Truth(1)) throw Failure(Status::kFailed, Say(Said::kKeepsRows, {table, answers[0][0]}));
}

schema::Script ScriptFor(const Opened& opened, const ImportAsked& asked) {
  if (!opened.engine) throw Failure(Status::kFailed, Say(Said::kUnknownProduct, {opened.address.shown, opened.product}));
  schema::Table table;
  table.name = asked.table;
  for (const auto& wanted : NewColumns(asked, kLimits)) {
    schema::Column column;
    column.name = wanted.column.name;
    column.type = wanted.big ? schema::Type{.kind = schema::Kind::kBig} : schema::TypeOf(wanted.column);
    if (wanted.column.autoNumber) {
      column.counter = schema::Counter{};
      table.indexes.push_back({.name = "PrimaryKey", .parts = {{column.name, false}}, .primary = true, .unique = true});
    }
    table.columns.push_back(std::move(column));
  }
  schema::Database database;
  database.tables.push_back(std::move(table));
  return schema::WriteDdl(database, schema::DialectOf(*opened.engine));
}

/// A table that MariaDB made for good goes again when its rows do not come; what became of it is said.
[[noreturn]] void TakeBack(const Opened& opened, const std::string& table, const Failure& why) {
  const auto problem = runtime::IgnoringErrors(
      [&] { opened.connection->Execute("DROP TABLE " + schema::Quoted(schema::DialectOf(*opened.engine), table)); });
  throw Failure(why.With(), std::string(why.what()) + "; " +
                                (problem ? Say(Said::kTableStays, {table, problem.description}) : Say(Said::kTableDropped, {table})));
}

class IntoServer {
 public:
  IntoServer(Opened& opened, const ImportAsked& asked) : opened_(opened), asked_(asked), table_(NameThere(opened, asked.table)) {}

  std::int64_t Run() {
    for (const std::string& setting : opened_.engine ? move::ExactSettings(*opened_.engine) : std::vector<std::string>{})
      opened_.connection->Execute(setting);
    // Whoever imports wants the relations looked at; a row without its parent is refused like any other.
    if (opened_.engine == Engine::kSqlite) opened_.connection->Execute("PRAGMA foreign_keys = ON");
    // To PostgreSQL names that differ in case are two.
    const bool isTaken = opened_.engine == Engine::kPostgreSql ? table_ == asked_.table : !table_.empty();
    if (asked_.create && isTaken) throw Failure(Status::kFailed, Say(Said::kExistsAlready, {table_}));
    if (!asked_.create && table_.empty()) throw Failure(Status::kUsage, Say(Said::kNoSuchTable, {asked_.table}));
    if (!asked_.create) LookForTransactions(opened_, table_);
    if (asked_.create && (opened_.engine == Engine::kMariaDb || opened_.engine == Engine::kOracle)) return MadeForGood();
    ado::Transaction transaction(*opened_.connection);
    if (asked_.create) MakeTable(ScriptFor(opened_, asked_));
    return Bring(transaction);
  }

 private:
  void MakeTable(const schema::Script& script) {
    table_ = script.tables.at(0).name;
    for (const auto& renaming : script.renamings)
      std::fprintf(stderr, "tamlo-db: %s\n", Say(Said::kRenamed, {renaming.from, renaming.to}).c_str());
    for (const auto& statement : script.statements)
      if (statement.phase != schema::Phase::kCounters) opened_.connection->Execute(statement.sql);
  }
  std::int64_t MadeForGood() {
    MakeTable(ScriptFor(opened_, asked_));
    try {
      ado::Transaction transaction(*opened_.connection);
      return Bring(transaction);
    } catch (const Failure& failure) {
      TakeBack(opened_, table_, failure);
    } catch (const runtime::Error& error) {
      TakeBack(opened_, table_, Failure(Status::kFailed, ServerText(error)));
    }
  }
  std::int64_t Bring(ado::Transaction& transaction) {
    const std::int64_t count = Rows(opened_, table_, asked_).Run();
    transaction.Commit();
    return count;
  }

  Opened& opened_;
  const ImportAsked& asked_;
  std::string table_;
};

}  // namespace

std::int64_t ImportIntoServer(Opened& opened, const ImportAsked& asked) {
  try {
    return IntoServer(opened, asked).Run();
  } catch (const runtime::Error& error) {
    throw Failure(Status::kFailed, asked.file + ": " + ServerText(error));
  }
}

}  // namespace tamlo::cli
