#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "jet/Database.h"
#include "jet/table/Row.h"
#include "jet/table/Table.h"
#include "jet/sql/Limits.h"
#include "jet/sql/Schema.h"
#include "jet/sql/Statement.h"

/// SQL on top of the engine: Access statements over the tables of a database, its links and its stored queries.
namespace jet::sql {

struct SessionState;

/// A walk over the rows of a table that lies behind an ODBC link.
class ForeignCursor {
 public:
  virtual ~ForeignCursor() = default;
  virtual bool Next() = 0;
  [[nodiscard]] virtual Value Get(std::size_t column) = 0;
};

/// A table that lies behind an ODBC link. Errors of its operations are jet::Error.
class ForeignTable {
 public:
  virtual ~ForeignTable() = default;
  [[nodiscard]] virtual const std::vector<ColumnInfo>& Columns() const = 0;
  [[nodiscard]] virtual std::unique_ptr<ForeignCursor> Scan() = 0;
  virtual void Insert(std::span<const Assignment> values) = 0;
};

/// Opens the table behind an ODBC link: its connection string (without "ODBC;") and the name of the table there.
using ForeignOpener = std::function<std::shared_ptr<ForeignTable>(const std::string& connect, const std::string& table)>;

/// Another Access file, as a statement or link names it.
struct NamedFile {
  std::string path;
  std::string password = {};  ///< of its database; empty where none is named
};

struct SessionOptions {
  TextSettings text;
  ForeignOpener openForeign;  ///< unset: ODBC links are unreachable
  /// What the name of a database in a statement or link means; unset: a path as it stands.
  std::function<NamedFile(const std::string&)> findFile;
  bool links = true;  ///< see Session::AllowLinks
  StatementLimits limits;
};

/// A table as statements and cursors see it: of this file or of a linked one, or behind an ODBC link.
struct EngineTable : TableInfo {
  Database* database = nullptr;  ///< null behind an ODBC link
  Table* table = nullptr;
  std::shared_ptr<ForeignTable> foreign;
  bool ofCatalog = false;                    ///< one of the tables that hold the definitions: its rows are read only
  std::int32_t definition = 0;               ///< page of its definition: its identity in the file
  mutable std::uint64_t checkedVersion = 0;  ///< schema version of its database at which it was last found unchanged
};

/// Makes sure that the table is still defined as it was when it was found. Error kNotFound when it was dropped or its columns changed.
void RequireCurrent(const EngineTable& table);
/// The same before a change of its rows. Error kReadOnly for a table of the catalog too.
void RequireWritable(const EngineTable& table);

/// The rows of a query, forward only; Rewind begins anew. Rows are read ahead in blocks, so that a change made meanwhile to a row read
/// ahead is not seen through Get; Identity tells which row of the table to read again. Between two calls no lock is held: what others commit
/// then is met from the next block on. Must not outlive its session.
class Query {
 public:
  struct State;
  /// Made by Session::Open.
  explicit Query(std::unique_ptr<State> state);
  ~Query();
  Query(const Query&) = delete;
  Query& operator=(const Query&) = delete;

  [[nodiscard]] const SelectPlan& Plan() const noexcept;
  [[nodiscard]] const std::vector<ResultColumn>& Columns() const noexcept;
  /// Executes at the first call; false at the end. Errors: those of evaluation (kTypeMismatch) and of the engine.
  bool Next();
  void Rewind();
  /// The value of the current row; long values whole. A long value past 64 KB is read when it is asked for: error kChangedMeanwhile when another
  /// process has changed its row since the row was read.
  [[nodiscard]] const Value& Get(std::size_t column);
  /// Opens a long value in pieces; null where the value is null or the column is no plain long column (then Get has it). Errors as Get.
  [[nodiscard]] std::unique_ptr<LongValueReader> OpenLong(std::size_t column);
  /// The row of a source table that the current row is made of; none for a missing side of a join and for grouped rows.
  [[nodiscard]] std::optional<RowId> Identity(std::size_t source) const;
  /// Before the first Next: the caller reads each row again from its table and wants nothing of the long columns through Get.
  void ReadRowsAgain() noexcept;
  /// After ReadRowsAgain: whether what the table holds now under the identity of the current row is still that row, not another one that
  /// has taken its place since: by its primary key, or, where there is none, by its identity alone.
  [[nodiscard]] bool IsStill(std::size_t source, const Row& row) const;
  /// After ReadRowsAgain: Row::Fingerprint of the primary key of the current row's row in a source; 0 where it has no row or the table no key.
  [[nodiscard]] std::uint64_t KeyPrint(std::size_t source) const;
  /// Whether the current row, as it was read ahead, is still what the tables hold: true when nobody has changed anything since, this session
  /// included. Takes no lock; false may only mean that something else was changed.
  [[nodiscard]] bool IsAsRead() const;
  /// Database::PagesVersion of a source when the current row was read.
  [[nodiscard]] std::uint64_t Version(std::size_t source) const;
  /// Keeps all that the query reads as it is while the scopes live.
  [[nodiscard]] std::vector<std::unique_ptr<Database::ReadScope>> HoldStill() const;

 private:
  std::unique_ptr<State> state_;
};

/// A parameter of a statement: the name as it is first written (empty for "?"), the type that PARAMETERS declares (else kNoType).
struct ParameterInfo {
  std::string name;
  TypeInfo type;
};

/// Statements on one database. Must not outlive it. Not for several threads at a time.
class Session {
 public:
  explicit Session(Database& database, SessionOptions options = {});
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Runs a statement whole or not at all; gives the number of rows affected (0 for a query and for definitions).
  /// Errors: kSyntax, kUnsupported (with the position), kNotFound, kTypeMismatch, kLinkUnreachable (with the target), those of the engine.
  /// The text may also be the name of a stored query, or EXECUTE with one and its arguments. Parameters: declared by PARAMETERS, names that
  /// mean nothing else, and "?"; error kNotFound names one that has no value, or a value that finds none.
  std::int64_t Execute(std::string_view text, std::span<const Parameter> parameters = {});
  /// Translates a query; it is executed when its first row is asked for. Error kSyntax for a statement that gives no rows.
  [[nodiscard]] std::unique_ptr<Query> Open(std::string_view text, std::span<const Parameter> parameters = {});
  /// The same; a statement that gives no rows is run, as Execute does, and null comes back; affected, where given, gets the number of rows.
  [[nodiscard]] std::unique_ptr<Query> OpenOrRun(std::string_view text, std::span<const Parameter> parameters = {},
                                                 std::int64_t* affected = nullptr);
  /// The parameters of a statement in the order in which values without a name go to them: declared ones, then the others as the text has them.
  [[nodiscard]] std::vector<ParameterInfo> ParametersOf(std::string_view text);
  /// The table of that name, through its link if it is one; null when there is none. file: another database, or empty.
  [[nodiscard]] std::shared_ptr<const EngineTable> FindTable(std::string_view name, const std::string& file = {});
  /// The text of a stored query that gives rows; nothing when there is none of that name.
  [[nodiscard]] std::optional<std::string> StoredQueryText(std::string_view name);
  /// The values that a new row of a recordset takes where none is given: column and value. A required text column that takes empty texts
  /// and has no default of its own takes the empty text (an INSERT statement must give it one). Error kUnsupported for a default that cannot be evaluated.
  [[nodiscard]] std::vector<std::pair<std::size_t, Value>> Defaults(const EngineTable& table);
  [[nodiscard]] const TextSettings& Settings() const noexcept;
  /// False: links, ODBC links and other databases named in a statement (IN "file") are refused from now on with kLinkUnreachable, and what
  /// was reached before is let go as soon as no open query reads it. True at first.
  void AllowLinks(bool allowed);
  [[nodiscard]] bool LinksAllowed() const noexcept;
  /// For the statements executed and the queries opened from now on.
  void Limits(const StatementLimits& limits) noexcept;
  [[nodiscard]] const StatementLimits& Limits() const noexcept;
  /// Must be called after rows were changed past this session (by Table::Insert and the like): cursors read their rows again.
  void RowsChanged() noexcept;
  /// How many rows of tables the statements of this session have met in walks, searches and look-ups, for tests and benches: what must not
  /// grow is guarded by it.
  [[nodiscard]] std::uint64_t RowsMet() const noexcept;

 private:
  std::int64_t Run(const jet::sql::Statement& statement);
  void RunTransaction(TransactionPlan plan);
  std::unique_ptr<SessionState> state_;
};

}  // namespace jet::sql
