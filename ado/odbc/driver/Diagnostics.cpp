#include "ado/odbc/driver/Diagnostics.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "ado/odbc/driver/ErrorCodes.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/driver/WideText.h"

namespace tamlo::ado::odbc {
namespace {

using runtime::Diagnostic;

constexpr std::size_t kUsualText = 1024;
constexpr SQLSMALLINT kMostRecords = 200;  // more of them say nothing new

/// Five characters, or nothing where the driver gave something else.
std::string StateOf(const SQLWCHAR* state) {
  std::string text;
  for (int i = 0; i < 5; ++i) {
    const auto unit = static_cast<unsigned>(state[i]);
    const bool fits = (unit >= '0' && unit <= '9') || (unit >= 'A' && unit <= 'Z') || (unit >= 'a' && unit <= 'z');
    if (!fits) return {};
    text.push_back(static_cast<char>(unit));
  }
  return text;
}

bool IsDuplicateKey(const Diagnostic& record) {
  if (record.sqlState == "23505") return true;
  if (record.sqlState == "23000" && Means(record.native, CodeMeaning::kDuplicateKey)) return true;
  // libsqliteodbc 0.9998 gives HY000 and 19 for every constraint; the text tells which one it was.
  return record.native == 19 && record.text.find("UNIQUE constraint failed") != std::string::npos;
}

bool IsNoSuchTable(const Diagnostic& record) {
  // Codes of the backends: MariaDB 1146 and 1051, SQL Server 208, Oracle 942; SQLite's driver has the text alone.
  static constexpr std::array<std::string_view, 3> kStates{"42S02", "42P01", "S0002"};
  if (std::find(kStates.begin(), kStates.end(), record.sqlState) != kStates.end()) return true;
  return record.native == 1 && record.text.find("no such table") != std::string::npos;
}

/// What the backend does not read or cannot make sense of, rights aside, some of which have the state 42000.
bool IsOfTheStatement(const Diagnostic& record) {
  if (record.sqlState == "42501" || Means(record.native, CodeMeaning::kRights)) return false;
  if (record.sqlState.starts_with("42") || record.sqlState == "37000" || record.sqlState == "07001") return true;
  // SQLITE_ERROR is the class of what its compiler refuses.
  return record.sqlState == "HY000" && record.native == 1 && record.text.starts_with("[SQLite]");
}

std::int32_t NumberOf(const std::vector<Diagnostic>& records, bool ofAStatement) {
  if (std::any_of(records.begin(), records.end(), IsDuplicateKey)) return runtime::kDuplicateKey;
  if (records.empty() || !ofAStatement) return runtime::kProviderFailure;
  if (IsNoSuchTable(records.front())) return runtime::kNoSuchTable;
  return IsOfTheStatement(records.front()) ? runtime::kStatementRefused : runtime::kProviderFailure;
}

}  // namespace

std::vector<Diagnostic> ReadDiagnostics(Handle::Kind kind, void* handle) {
  std::vector<Diagnostic> records;
  std::array<SQLWCHAR, 6> state{};
  std::u16string text(kUsualText, u'\0');
  for (SQLSMALLINT number = 1; number <= kMostRecords; ++number) {
    SQLINTEGER native = 0;
    SQLSMALLINT length = 0;
    const auto read = [&] {
      return SQLGetDiagRecW(static_cast<SQLSMALLINT>(kind), handle, number, state.data(), &native, reinterpret_cast<SQLWCHAR*>(text.data()),
                            static_cast<SQLSMALLINT>(text.size()), &length);
    };
    auto result = read();
    if (result == SQL_SUCCESS_WITH_INFO && length >= 0 && static_cast<std::size_t>(length) >= text.size() && length < INT16_MAX) {
      text.resize(static_cast<std::size_t>(length) + 1);
      result = read();
    }
    if (!SQL_SUCCEEDED(result)) break;
    Diagnostic record;
    record.sqlState = StateOf(state.data());
    record.native = native;
    // A length that cannot be is none: the text then ends where its terminator stands, or its room.
    const std::size_t room = text.size() - 1;
    const std::size_t told = length >= 0 ? std::min(static_cast<std::size_t>(length), room) : room;
    record.text = ToUtf8(text.data(), std::min(told, text.find(u'\0')));
    records.push_back(std::move(record));
  }
  return records;
}

runtime::Error MakeError(std::vector<Diagnostic> records, std::string sent, bool general) {
  const auto decisive =
      std::find_if(records.begin(), records.end(), [](const Diagnostic& record) { return !record.sqlState.starts_with("01"); });
  if (decisive != records.end()) std::rotate(records.begin(), decisive, decisive + 1);
  const std::int32_t number = NumberOf(records, !sent.empty() && !general);
  std::string description = records.empty() ? std::string("The driver failed without saying why.") : records.front().text;
  runtime::Error error(number, std::move(description), "odbc");
  error.WithDiagnostics(std::move(records)).WithSent(std::move(sent));
  return error;
}

runtime::Error Unbelievable(const std::string& what) {
  return {runtime::kProviderFailure, "Le pilote ODBC se contredit : " + what + ".", "odbc"};
}

bool SaysConnectionLost(const runtime::Error& error) {
  // PostgreSQL's 57P01 to 57P03 end it too.
  const auto& records = error.Diagnostics();
  return std::any_of(records.begin(), records.end(), [](const Diagnostic& record) {
    if (record.sqlState.starts_with("08") || record.sqlState.starts_with("57P0")) return true;
    return Means(record.native, CodeMeaning::kConnectionLost);
  });
}

bool IsLockTimeout(const runtime::Error& error) {
  // libsqliteodbc gives SQLite's own codes, 5 and 6.
  const auto& records = error.Diagnostics();
  return std::any_of(records.begin(), records.end(), [](const Diagnostic& record) {
    if (record.sqlState == "55P03" || record.sqlState == "HYT00") return true;
    return Means(record.native, CodeMeaning::kLockTimeout) ||
           ((record.native == 5 || record.native == 6) && record.text.find("locked") != std::string::npos);
  });
}

bool IsOfTheRow(const runtime::Error& error) {
  // Classes of SQLSTATE: no connection, statements that come too late, transactions undone (deadlocks), no such object, no room, ended by an
  // operator, timeouts. Some backends give such things the state HY000 and a code of their own; libsqliteodbc gives SQLite's (busy to full).
  static constexpr std::array<std::string_view, 8> kClasses{"08", "25", "40", "42", "53", "57", "58", "HYT"};
  if (IsLockTimeout(error)) return false;
  const auto& records = error.Diagnostics();
  return std::none_of(records.begin(), records.end(), [](const Diagnostic& record) {
    const auto is = [&](std::string_view start) { return record.sqlState.starts_with(start); };
    if (std::any_of(kClasses.begin(), kClasses.end(), is)) return true;
    const bool sqlite = record.sqlState == "HY000" && record.native >= 5 && record.native <= 14;
    return sqlite || Means(record.native, CodeMeaning::kBeyondTheRow);
  });
}

}  // namespace tamlo::ado::odbc
