#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "jet/sql/Session.h"

namespace jet::sql {

/// What the parts of a session share. Only for the files of this folder.
struct SessionState final : SchemaSource {
  SessionState(Database& mainDatabase, SessionOptions sessionOptions);
  ~SessionState() override;

  [[nodiscard]] TablePointer FindTable(std::string_view name, const std::string& file) override;
  [[nodiscard]] std::optional<std::string> FindQuery(std::string_view name) override;
  [[nodiscard]] std::optional<std::string> FindStatement(std::string_view name) override;
  [[nodiscard]] std::vector<std::vector<Value>> Evaluate(const SelectPlan& plan, std::size_t most) override;
  /// The statement with its parameters.
  [[nodiscard]] jet::sql::Statement Translated(std::string_view text, std::span<const Parameter> values);

  /// The database of that path, opened once and kept. Errors of opening; kLinkUnreachable when link is given.
  /// password: of the database, where its name does not tell another.
  Database& OtherDatabase(const std::string& name, const std::string& link, const std::string& password = {});
  /// Error kLinkUnreachable where links are forbidden; what: who asks.
  void RequireLinks(const std::string& what) const;
  std::shared_ptr<const EngineTable> LinkedTable(const CatalogObject& link);
  std::shared_ptr<const EngineTable> Declare(std::shared_ptr<EngineTable> table);
  void LimitTexts();
  /// Forgets declared tables after a change of the schema.
  void ForgetTables();

  /// Turns the failure of a SQLite call into jet::Error; an error raised inside a callback comes out as it was.
  [[noreturn]] void Fail(const std::string& sql);
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Finalizer>;
  [[nodiscard]] Statement Prepare(const std::string& sql);

  Database& database;
  SessionOptions options;
  sqlite3* connection = nullptr;
  Budget budget;
  std::exception_ptr pending;  ///< raised inside a callback
  std::uint64_t changes = 0;   ///< counts changes of rows: cursors read their row again
  std::uint64_t rowsMet = 0;   ///< see Session::RowsMet
  std::uint64_t schemaVersion = 0;
  int nextTable = 0;
  int domainDepth = 0;                                               ///< of functions like DLookup that stand inside each other
  std::map<int, std::shared_ptr<const EngineTable>> declared;        ///< by the number in their SQLite name
  std::map<std::string, std::shared_ptr<const EngineTable>> byName;  ///< folded name, or path, a NUL and the name
  std::vector<int> stale;                                            ///< declared under an older schema
  std::map<std::string, std::unique_ptr<Database>> others;           ///< by path
};

/// A table of the engine as statements see it, not yet declared.
[[nodiscard]] std::shared_ptr<EngineTable> Described(Database& database, Table& table);

/// Makes the virtual tables known to a connection.
void RegisterModule(sqlite3* connection, SessionState& state);
/// A value of the engine as SQLite's result of a column.
void ReturnValue(sqlite3_context* context, const Value& value);
/// Binds the values of ?1, ?2 and so on; they must outlive the statement.
void Bind(sqlite3_stmt* statement, const std::vector<Value>& values);
void ReturnColumn(sqlite3_context* context, Row& row, std::size_t column, ColumnType type);
/// A value that SQLite computed, as a value of the type that the translation expects; kNoType: as it comes.
[[nodiscard]] Value ValueFrom(sqlite3_stmt* statement, int column, const TypeInfo& type);
/// The identity of a row as SQLite's rowid.
[[nodiscard]] inline sqlite3_int64 RowIdNumber(RowId id) { return static_cast<sqlite3_int64>(id.page) << 8 | id.slot; }
[[nodiscard]] inline RowId RowIdFrom(sqlite3_int64 number) {
  return {static_cast<PageNumber>(number >> 8), static_cast<std::uint8_t>(number & 0xFF)};
}

std::int64_t RunInsert(SessionState& state, const InsertPlan& plan);
std::int64_t RunSelectInto(SessionState& state, const SelectIntoPlan& plan);
std::int64_t RunUpdate(SessionState& state, const UpdatePlan& plan);
std::int64_t RunDelete(SessionState& state, const DeletePlan& plan);
void RunDefinition(SessionState& state, const jet::sql::Statement& statement);

/// The defaults of the table's columns: column and value. Error kUnsupported, naming table and column, for one that cannot be evaluated.
[[nodiscard]] std::vector<std::pair<std::size_t, Value>> EvaluateDefaults(SessionState& state, const EngineTable& table);

/// Opens a translated query on the session.
[[nodiscard]] std::unique_ptr<Query> OpenPlan(SessionState& state, SelectPlan plan);

}  // namespace jet::sql
