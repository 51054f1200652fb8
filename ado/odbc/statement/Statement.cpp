#include "ado/odbc/statement/Statement.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

#include "ado/odbc/driver/Diagnostics.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/driver/WideText.h"
#include "ado/odbc/statement/SqlText.h"

namespace tamlo::ado::odbc {
namespace {

using NameBuffer = std::array<char16_t, 512>;
// Of what catalog functions and counts give as text: nothing of it is longer than a comment.
constexpr std::size_t kMostPieces = 1 << 13;
constexpr int kMostResults = 100000;
constexpr std::int64_t kMostCatalogRows = 200000;

/// Up to its terminator; the length that a driver tells is not trusted.
std::string NameIn(const NameBuffer& name) {
  std::size_t count = 0;
  while (count < name.size() - 1 && name[count] != u'\0') ++count;
  return ToUtf8(name.data(), count);
}

SQLWCHAR* Wide(std::u16string& text) { return reinterpret_cast<SQLWCHAR*>(text.data()); }

}  // namespace

Statement::Statement(std::shared_ptr<Session> session, std::int32_t timeoutSeconds)
    : session_(std::move(session)), handle_(Handle::Kind::kStatement, session_->Connection()) {
  if (timeoutSeconds <= 0) return;
  limit_ = timeoutSeconds;
  const auto wanted = static_cast<SQLULEN>(timeoutSeconds);
  if (session_->HeedsLimit().value_or(true)) {
    const auto result = SQLSetStmtAttrW(handle_.Get(), SQL_ATTR_QUERY_TIMEOUT, reinterpret_cast<SQLPOINTER>(wanted), SQL_IS_UINTEGER);
    if (!session_->HeedsLimit()) {
      // MariaDB's driver says "option value changed", SQLite's success; both then have another value.
      SQLULEN now = 0;
      const auto read = SQLGetStmtAttrW(handle_.Get(), SQL_ATTR_QUERY_TIMEOUT, &now, SQL_IS_UINTEGER, nullptr);
      session_->LimitIsHeeded(SQL_SUCCEEDED(result) && SQL_SUCCEEDED(read) && now == wanted);
    }
  }
  watched_ = !*session_->HeedsLimit();
}

Statement::TimeLimit::TimeLimit(Statement& statement) : statement_(statement) {
  statement_.tooLate_ = false;
  Session& session = *statement_.session_;
  if (!statement_.watched_ && !session.CancelAllowed()) return;
  void* const cancelled = session.HeedsLimit().value_or(false) ? statement_.Native() : nullptr;
  session.Watch().Begin(statement_.watched_ ? statement_.limit_ : 0, cancelled);
  statement_.running_ = true;
}

Statement::TimeLimit::~TimeLimit() {
  if (std::exchange(statement_.running_, false)) statement_.tooLate_ = statement_.session_->Watch().End();
}

runtime::Error Statement::LastError() {
  auto records = ReadDiagnostics(Handle::Kind::kStatement, handle_.Get());
  if (running_) {
    running_ = false;
    tooLate_ = session_->Watch().End();
  }
  const bool heeded =
      limit_ > 0 && std::any_of(records.begin(), records.end(), [](const runtime::Diagnostic& record) {
        return record.sqlState == "HYT00" || (record.sqlState == "57014" && record.text.find("statement timeout") != std::string::npos);
      });
  if (tooLate_ || heeded) {
    records.insert(records.begin(),
                   {"HYT00", 0, "L'instruction a pris plus de " + std::to_string(limit_) + " secondes : elle a été arrêtée."});
    const std::int32_t number = session_->GeneralNumbers() ? runtime::kProviderFailure : runtime::kTimeout;
    return runtime::Error(number, records.front().text, "odbc").WithDiagnostics(std::move(records)).WithSent(sent_);
  }
  runtime::Error failure = MakeError(std::move(records), sent_, session_->GeneralNumbers());
  session_->Judge(failure);
  return failure;
}

void Statement::Raise() { throw LastError(); }

void Statement::Check(std::int16_t result) {
  if (!SQL_SUCCEEDED(result) && result != SQL_NO_DATA) Raise();
}

void Statement::Take(std::string_view sql) {
  session_->RequireTransaction();
  session_->NoteText(sql);
  sent_ = sql;
}

void Statement::Prepare(std::string_view sql) {
  Take(sql);
  auto wide = ToUtf16(sql);
  Check(SQLPrepareW(handle_.Get(), Wide(wide), static_cast<SQLINTEGER>(wide.size())));
}

void Statement::Execute() {
  session_->RequireTransaction();
  const TimeLimit limit(*this);
  Check(SQLExecute(handle_.Get()));
}

void Statement::ExecuteDirect(std::string_view sql) {
  Take(sql);
  auto wide = ToUtf16(sql);
  const TimeLimit limit(*this);
  Check(SQLExecDirectW(handle_.Get(), Wide(wide), static_cast<SQLINTEGER>(wide.size())));
}

std::int64_t Statement::RowsAffected() {
  SQLLEN count = -1;
  return SQL_SUCCEEDED(SQLRowCount(handle_.Get(), &count)) ? static_cast<std::int64_t>(count) : -1;
}

std::size_t Statement::ColumnCount() {
  SQLSMALLINT count = 0;
  Check(SQLNumResultCols(handle_.Get(), &count));
  if (count < 0) throw Unbelievable("une requête de " + std::to_string(count) + " colonnes");
  return static_cast<std::size_t>(count);
}

std::string Statement::TextAttribute(std::size_t column, std::uint16_t which) {
  std::array<char16_t, 256> text{};
  SQLSMALLINT bytes = 0;
  const auto result = SQLColAttributeW(handle_.Get(), static_cast<SQLUSMALLINT>(column), which, text.data(),
                                       static_cast<SQLSMALLINT>(sizeof(text)), &bytes, nullptr);
  if (!SQL_SUCCEEDED(result)) return {};
  std::size_t count = 0;
  while (count < text.size() - 1 && text[count] != u'\0') ++count;
  return ToUtf8(text.data(), count);
}

std::ptrdiff_t Statement::NumberAttribute(std::size_t column, std::uint16_t which, std::ptrdiff_t fallback) {
  SQLLEN value = 0;
  const auto result = SQLColAttributeW(handle_.Get(), static_cast<SQLUSMALLINT>(column), which, nullptr, 0, nullptr, &value);
  return SQL_SUCCEEDED(result) ? value : fallback;
}

std::string Statement::ColumnName(std::size_t column) {
  NameBuffer name{};
  SQLSMALLINT length = 0;
  Check(SQLDescribeColW(handle_.Get(), static_cast<SQLUSMALLINT>(column), reinterpret_cast<SQLWCHAR*>(name.data()),
                        static_cast<SQLSMALLINT>(name.size()), &length, nullptr, nullptr, nullptr, nullptr));
  return NameIn(name);
}

ColumnDescription Statement::Describe(std::size_t column) {
  NameBuffer name{};
  SQLSMALLINT length = 0;
  SQLSMALLINT nullable = SQL_NULLABLE_UNKNOWN;
  SQLULEN size = 0;
  ColumnDescription out;
  Check(SQLDescribeColW(handle_.Get(), static_cast<SQLUSMALLINT>(column), reinterpret_cast<SQLWCHAR*>(name.data()),
                        static_cast<SQLSMALLINT>(name.size()), &length, &out.sqlType, &size, &out.digits, &nullable));
  out.name = NameIn(name);
  out.size = static_cast<std::size_t>(size);
  out.nullable = nullable != SQL_NO_NULLS;
  out.typeName = TextAttribute(column, SQL_DESC_TYPE_NAME);
  out.table = TextAttribute(column, SQL_DESC_BASE_TABLE_NAME);
  if (out.table.empty()) out.table = TextAttribute(column, SQL_DESC_TABLE_NAME);
  out.schema = TextAttribute(column, SQL_DESC_SCHEMA_NAME);
  out.baseName = TextAttribute(column, SQL_DESC_BASE_COLUMN_NAME);
  if (out.baseName.empty()) out.baseName = out.name;
  out.isUnsigned = NumberAttribute(column, SQL_DESC_UNSIGNED, SQL_FALSE) == SQL_TRUE;
  out.autoIncrement = NumberAttribute(column, SQL_DESC_AUTO_UNIQUE_VALUE, SQL_FALSE) == SQL_TRUE;
  return out;
}

std::int16_t Statement::FetchBlock() {
  // SQLite finds the rows while they are fetched. A time limit ends with the execution.
  const bool cancellable = session_->CancelAllowed();
  if (cancellable) session_->Watch().Begin(0, session_->HeedsLimit().value_or(false) ? Native() : nullptr);
  const auto result = SQLFetch(handle_.Get());
  if (cancellable) (void)session_->Watch().End();
  return result;
}

bool Statement::Fetch() {
  const auto result = FetchBlock();
  Check(result);
  return result != SQL_NO_DATA;
}

bool Statement::IsScrollable() const {
  SQLULEN cursor = SQL_CURSOR_FORWARD_ONLY;
  return SQL_SUCCEEDED(SQLGetStmtAttrW(handle_.Get(), SQL_ATTR_CURSOR_TYPE, &cursor, SQL_IS_UINTEGER, nullptr)) &&
         cursor == SQL_CURSOR_STATIC;
}

bool Statement::FetchCatalogRow() {
  if (++catalogRows_ > kMostCatalogRows) throw Unbelievable("un catalogue de plus de " + std::to_string(kMostCatalogRows) + " lignes");
  return Fetch();
}

namespace {

/// A value in as many pieces as the driver makes of it; none for null.
template <typename Char>
std::optional<std::basic_string<Char>> InPieces(Statement& statement, std::size_t column, std::int16_t nativeType) {
  std::array<Char, 512> piece;
  std::basic_string<Char> text;
  for (std::size_t pieces = 0;; ++pieces) {
    if (pieces == kMostPieces) throw Unbelievable("un texte sans fin");
    SQLLEN bytes = 0;
    piece[0] = Char{};
    const auto result = SQLGetData(statement.Native(), static_cast<SQLUSMALLINT>(column), nativeType, piece.data(), sizeof(piece), &bytes);
    statement.Check(result);
    if (result == SQL_NO_DATA) break;
    if (bytes == SQL_NULL_DATA) return std::nullopt;
    piece.back() = Char{};
    text.append(piece.data());
    if (result == SQL_SUCCESS) break;
  }
  return text;
}

}  // namespace

std::optional<std::string> Statement::Text(std::size_t column) {
  // Where nobody need convert, the driver is not asked to: it would open a converter for each value.
  if (session_->Facts().narrowIsUtf8) return InPieces<char>(*this, column, SQL_C_CHAR);
  const auto text = InPieces<char16_t>(*this, column, SQL_C_WCHAR);
  if (!text) return std::nullopt;
  return ToUtf8(text->data(), text->size());
}

std::int64_t Statement::Integer(std::size_t column, std::int64_t fallback) {
  const auto text = Text(column);
  if (!text || text->empty()) return fallback;
  char* end = nullptr;
  const long long value = std::strtoll(text->c_str(), &end, 10);
  return end == text->c_str() ? fallback : value;
}

void Statement::CloseCursor() noexcept { SQLFreeStmt(handle_.Get(), SQL_CLOSE); }

void Statement::FinishResults() {
  if (session_->Facts().programsHaveNoResults && MakesProgram(sent_)) return;
  for (int results = 0;; ++results) {
    if (results == kMostResults) throw Unbelievable("une instruction aux résultats sans fin");
    const auto result = SQLMoreResults(handle_.Get());
    if (result == SQL_NO_DATA) return;
    Check(result);
  }
}

void Statement::SetAttribute(std::int32_t attribute, std::size_t value) {
  Check(SQLSetStmtAttrW(handle_.Get(), attribute, reinterpret_cast<SQLPOINTER>(value), SQL_IS_UINTEGER));
}

void Statement::SetAttribute(std::int32_t attribute, void* pointer) {
  Check(SQLSetStmtAttrW(handle_.Get(), attribute, pointer, SQL_IS_POINTER));
}

void LearnOthersDefinitions(const std::shared_ptr<Session>& session) {
  const std::string_view query = session->Facts().freshDefinitions;
  if (query.empty()) return;
  (void)runtime::IgnoringErrors([&] {
    Statement statement(session);
    statement.ExecuteDirect(query);
    (void)statement.Fetch();
  });
}

}  // namespace tamlo::ado::odbc
