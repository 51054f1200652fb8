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
  /// Goes on to the next row, in so many seconds at most (0: in any time), or else error kTimeout; false at the end. Behind an error the statement
  /// stands before its first row again.
  bool Step(const Statement& statement, std::int32_t timeoutSeconds = 0);
  /// Runs a statement to its end, throwing away the rows that it gives. Rows affected.
  std::int64_t Run(std::string_view sql, std::int32_t timeoutSeconds = 0);

  /// Whether a transaction is open: SQLite ends one by itself when there is no room, or as a table or trigger wants it.
  [[nodiscard]] bool InTransaction() const noexcept { return sqlite3_get_autocommit(database_) == 0; }
  /// Rows that all statements have changed so far, those of triggers too.
  [[nodiscard]] std::int64_t TotalChanges() const noexcept { return sqlite3_total_changes64(database_); }
  /// The type with which a column of a table or view was declared, blank where there is none. Error 3265 for no such one.
  [[nodiscard]] std::string DeclaredType(const std::string& table, const std::string& column) const;

 private:
  /// As long as it lives nothing runs for longer than so many seconds; 0: any time.
  class Limit {
   public:
    Limit(Session& session, std::int32_t seconds);
    ~Limit();
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;

   private:
    Session& session_;
    bool isSet_;
    std::chrono::steady_clock::time_point deadline_;
  };
  [[nodiscard]] runtime::Error Failure(int code, bool whenPrepared) const;

  sqlite3* database_ = nullptr;
};

/// What SQLite gives as a text; blank for none.
[[nodiscard]] std::string Plain(const char* text);

/// The query of all rows of a table.
[[nodiscard]] std::string AllRowsOf(const std::string& table);

/// Whether the error is one of what stands in a row; else the next row would meet the same.
[[nodiscard]] bool IsOfTheRow(const runtime::Error& error);

}  // namespace tamlo::ado::sqlite
