#include "ado/sqlite/Session.h"

#include "ado/ConnectionKeys.h"
#include "ado/Errors.h"

namespace tamlo::ado::sqlite {
namespace {

constexpr int kWaitsMilliseconds = 5000;
constexpr int kStepsBetweenLooks = 10000;

bool IsDuplicateKey(int extended) {
  return extended == SQLITE_CONSTRAINT_UNIQUE || extended == SQLITE_CONSTRAINT_PRIMARYKEY || extended == SQLITE_CONSTRAINT_ROWID;
}

const char* StateOf(int code) {
  if (code == SQLITE_CONSTRAINT) return "23000";
  return code == SQLITE_MISMATCH || code == SQLITE_TOOBIG ? "22000" : "HY000";
}

}  // namespace

Session::Session(const std::string& path) {
  const int code = sqlite3_open_v2(path.c_str(), &database_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  if (code != SQLITE_OK) {
    const runtime::Error error = Failure(code, false);
    sqlite3_close_v2(database_);
    throw runtime::Error(error);
  }
  sqlite3_busy_timeout(database_, kWaitsMilliseconds);
  sqlite3_db_config(database_, SQLITE_DBCONFIG_ENABLE_FKEY, 1, nullptr);
}

runtime::Error Session::Failure(int code, bool whenPrepared) const {
  const int extended = database_ != nullptr ? sqlite3_extended_errcode(database_) : code;
  const int plain = code & 0xFF;
  std::string text = database_ != nullptr ? sqlite3_errmsg(database_) : sqlite3_errstr(code);
  std::int32_t number = runtime::kProviderFailure;
  if (IsDuplicateKey(extended)) number = runtime::kDuplicateKey;
  if (plain == SQLITE_INTERRUPT) number = runtime::kTimeout;
  if (whenPrepared && plain == SQLITE_ERROR)
    number = text.starts_with("no such table") ? runtime::kNoSuchTable : runtime::kStatementRefused;
  runtime::Error error(number, text, "sqlite");
  error.WithDiagnostics({{StateOf(plain), plain, std::move(text)}});
  return error;
}

Statement Session::Prepare(std::string_view sql) const {
  sqlite3_stmt* made = nullptr;
  const char* rest = nullptr;
  const int code = sqlite3_prepare_v2(database_, sql.data(), static_cast<int>(sql.size()), &made, &rest);
  Statement statement(made);
  if (code != SQLITE_OK) throw Failure(code, true).WithSent(std::string(sql));
  const std::string_view behind = sql.substr(static_cast<std::size_t>(rest - sql.data()));
  if (!statement || behind.find_first_not_of(" \t\r\n;") != std::string_view::npos)
    throw AdoError(runtime::kBadArguments).WithSent(std::string(sql));
  return statement;
}

bool Session::Step(const Statement& statement, std::int32_t timeoutSeconds) {
  const Limit limit(*this, timeoutSeconds);
  const int code = sqlite3_step(statement.get());
  if (code == SQLITE_ROW) return true;
  if (code == SQLITE_DONE) return false;
  runtime::Error error = Failure(code, false);
  sqlite3_reset(statement.get());
  throw error;
}

Session::Limit::Limit(Session& session, std::int32_t seconds) : session_(session), isSet_(seconds > 0) {
  if (!isSet_) return;
  deadline_ = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
  const auto isLate = [](void* limit) { return std::chrono::steady_clock::now() > static_cast<Limit*>(limit)->deadline_ ? 1 : 0; };
  sqlite3_progress_handler(session_.database_, kStepsBetweenLooks, isLate, this);
}

Session::Limit::~Limit() {
  if (isSet_) sqlite3_progress_handler(session_.database_, 0, nullptr, nullptr);
}

std::int64_t Session::Run(std::string_view sql, std::int32_t timeoutSeconds) {
  const Statement statement = Prepare(sql);
  const std::int64_t before = TotalChanges();
  const Limit limit(*this, timeoutSeconds);
  while (Step(statement)) {
  }
  return TotalChanges() == before ? 0 : sqlite3_changes64(database_);
}

std::string Session::DeclaredType(const std::string& table, const std::string& column) const {
  const char* type = nullptr;
  const int code =
      sqlite3_table_column_metadata(database_, nullptr, table.c_str(), column.c_str(), &type, nullptr, nullptr, nullptr, nullptr);
  if (code == SQLITE_OK) return Plain(type);
  if (code != SQLITE_ERROR) throw Failure(code, false);
  // Views are no tables here. Between brackets a name is never taken for a text.
  if (column.find(']') != std::string::npos) throw AdoError(runtime::kItemNotFound, table + "." + column);
  try {
    const Statement shown = Prepare("SELECT [" + column + "] FROM " + Quoted(table));
    return Plain(sqlite3_column_decltype(shown.get(), 0));
  } catch (const runtime::Error&) {
    throw AdoError(runtime::kItemNotFound, table + "." + column);
  }
}

std::string Plain(const char* text) { return text == nullptr ? std::string() : std::string(text); }

std::string AllRowsOf(const std::string& table) { return "SELECT * FROM " + Quoted(table); }

bool IsOfTheRow(const runtime::Error& error) {
  if (error.Diagnostics().empty()) return true;  // refused before SQLite saw it
  const int code = error.NativeCode();
  return code == SQLITE_CONSTRAINT || code == SQLITE_MISMATCH || code == SQLITE_TOOBIG;
}

}  // namespace tamlo::ado::sqlite
