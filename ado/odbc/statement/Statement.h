#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "ado/odbc/driver/Handle.h"
#include "ado/odbc/statement/Session.h"
#include "runtime/Error.h"

namespace tamlo::ado::odbc {

/// How the driver describes a result column.
struct ColumnDescription {
  std::string name;
  std::string typeName;  ///< the backend's own, such as "decimal"
  std::string table;     ///< the base table as the driver names it; empty for an expression or when it does not tell
  std::string schema;
  std::string baseName;  ///< the column's own name where name is an alias; name itself when the driver does not tell
  std::int16_t sqlType = 0;
  std::size_t size = 0;     ///< characters, bytes or digits
  std::int16_t digits = 0;  ///< of the fraction
  bool nullable = true;
  bool isUnsigned = false;
  bool autoIncrement = false;
};

/// One statement of a session. Every failure is raised with all records and the text that was sent. An execution that takes longer than
/// timeoutSeconds (0 is without limit) is ended, with error -2147217871.
class Statement {
 public:
  explicit Statement(std::shared_ptr<Session> session, std::int32_t timeoutSeconds = 0);

  /// While it lives the statement's time limit runs.
  class TimeLimit {
   public:
    explicit TimeLimit(Statement& statement);
    ~TimeLimit();
    TimeLimit(const TimeLimit&) = delete;
    TimeLimit& operator=(const TimeLimit&) = delete;

   private:
    Statement& statement_;
  };

  void Prepare(std::string_view sql);
  /// Executes what was prepared.
  void Execute();
  void ExecuteDirect(std::string_view sql);
  /// Rows affected by the last execution, -1 when not known.
  [[nodiscard]] std::int64_t RowsAffected();
  /// 0 for what gives no rows.
  [[nodiscard]] std::size_t ColumnCount();
  /// By position from 1.
  [[nodiscard]] ColumnDescription Describe(std::size_t column);
  /// The name alone.
  [[nodiscard]] std::string ColumnName(std::size_t column);
  /// The next row or block of rows; the driver's own answer.
  [[nodiscard]] std::int16_t FetchBlock();
  /// The same; false at the end.
  bool Fetch();
  /// True when any row of the executed statement can be fetched again. False when the driver does not tell.
  [[nodiscard]] bool IsScrollable() const;
  /// The records of the last call, as the error that they make.
  [[nodiscard]] runtime::Error LastError();
  /// The same for the answers of catalog functions, which end.
  bool FetchCatalogRow();
  /// A value of the current row as text, whole; none for null.
  [[nodiscard]] std::optional<std::string> Text(std::size_t column);
  /// The same as a number; fallback for null or what is no number.
  [[nodiscard]] std::int64_t Integer(std::size_t column, std::int64_t fallback);
  /// Gives up the rows still to be read; the statement may be executed again.
  void CloseCursor() noexcept;
  /// Walks through further results, so that their errors are not lost.
  void FinishResults();

  void SetAttribute(std::int32_t attribute, std::size_t value);
  void SetAttribute(std::int32_t attribute, void* pointer);
  [[nodiscard]] void* Native() const noexcept { return handle_.Get(); }
  [[nodiscard]] Session& Owner() const noexcept { return *session_; }
  [[nodiscard]] const std::shared_ptr<Session>& SharedOwner() const noexcept { return session_; }
  /// Raises the records of the statement when result is a failure.
  void Check(std::int16_t result);
  [[noreturn]] void Raise();

 private:
  void Take(std::string_view sql);
  std::string TextAttribute(std::size_t column, std::uint16_t which);
  std::ptrdiff_t NumberAttribute(std::size_t column, std::uint16_t which, std::ptrdiff_t fallback);

  std::shared_ptr<Session> session_;  // first: the handle goes before its connection
  Handle handle_;
  std::string sent_;
  std::int32_t limit_ = 0;  // seconds
  bool watched_ = false;    // the session ends it, not the driver
  bool running_ = false;    // and is watching now
  bool tooLate_ = false;    // it was ended
  std::int64_t catalogRows_ = 0;
};

/// Where a driver describes tables as its connection last knew them, columns which another program has added would be missing in silence: a
/// step that reads learns of them. A failure is left to the statement that follows.
void LearnOthersDefinitions(const std::shared_ptr<Session>& session);

}  // namespace tamlo::ado::odbc
