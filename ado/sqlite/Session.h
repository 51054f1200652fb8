#pragma once

#include <sqlite3.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "runtime/Error.h"

namespace tamlo::ado::sqlite {

struct Finalizer {
  void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, Finalizer>;

/// An open file. Shared by the connection and what was opened on it. All errors carry SQLite's own code, without its extension, and its text as
/// their diagnostic record.
class Session {
 public:
  /// Error kProviderFailure for what cannot be opened; a file that is no database is found out by the first statement.
  explicit Session(const std::string& path);
  ~Session() { sqlite3_close_v2(database_); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Error kStatementRefused or kNoSuchTable; kBadArguments for a text of no statement, or of several.
  [[nodiscard]] Statement Prepare(std::string_view sql) const;
  /// Goes on to the next row; false at the end. Behind an error the statement stands before its first row again.
  bool Step(const Statement& statement) const;
  /// Runs a statement to its end, throwing away the rows that it gives. Rows affected.
  std::int64_t Run(std::string_view sql, std::int32_t timeoutSeconds = 0);
  /// Ends what runs, from so many seconds from now on, by error kTimeout; 0: never.
  void Limit(std::int32_t seconds);

  /// Whether a transaction is open: SQLite ends one by itself when there is no room, or as a table or trigger wants it.
  [[nodiscard]] bool InTransaction() const noexcept { return sqlite3_get_autocommit(database_) == 0; }
  /// Rows that the last INSERT, UPDATE or DELETE changed itself.
  [[nodiscard]] std::int64_t Changes() const noexcept { return sqlite3_changes64(database_); }
  /// The type with which a column was declared, blank where there is none. Error 3265 for no such table or column.
  [[nodiscard]] std::string DeclaredType(const std::string& table, const std::string& column) const;

 private:
  [[nodiscard]] runtime::Error Failure(int code, bool whenPrepared) const;

  sqlite3* database_ = nullptr;
  std::chrono::steady_clock::time_point deadline_;
};

/// A name as it stands in a statement.
[[nodiscard]] std::string Quoted(std::string_view name);

/// Whether the error is one of what stands in a row; else the next row would meet the same.
[[nodiscard]] bool IsOfTheRow(const runtime::Error& error);

}  // namespace tamlo::ado::sqlite
