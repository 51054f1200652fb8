#include "ado/odbc/OdbcConnection.h"

#include <array>
#include <utility>

#include "ado/odbc/catalog/OdbcCatalog.h"
#include "ado/odbc/command/CallRowset.h"
#include "ado/odbc/command/OdbcCommand.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/driver/WideText.h"
#include "ado/odbc/rows/BatchInsert.h"
#include "ado/odbc/rows/OdbcRowset.h"
#include "ado/odbc/statement/Resend.h"
#include "ado/odbc/statement/SqlText.h"
#include "ado/odbc/statement/Statement.h"
#include "ado/odbc/values/CommandParameters.h"
#include "ado/odbc/values/ParameterSet.h"
#include "runtime/Error.h"

namespace tamlo::ado::odbc {
namespace {

struct InfoProperty {
  const char* name;
  SQLUSMALLINT info;
};
constexpr std::array<InfoProperty, 6> kProperties{{{"DBMS NAME", SQL_DBMS_NAME},
                                                   {"DBMS VERSION", SQL_DBMS_VER},
                                                   {"DRIVER NAME", SQL_DRIVER_NAME},
                                                   {"DATA SOURCE NAME", SQL_DATA_SOURCE_NAME},
                                                   {"CURRENT CATALOG", SQL_DATABASE_NAME},
                                                   {"USER NAME", SQL_USER_NAME}}};

/// Whether nothing can be written. What the driver says, or else a step that would write, and is undone at once.
bool IsReadOnly(const std::shared_ptr<Session>& session) {
  std::array<char16_t, 8> answer{};
  SQLSMALLINT bytes = 0;
  const auto result =
      SQLGetInfoW(session->Connection(), SQL_DATA_SOURCE_READ_ONLY, answer.data(), static_cast<SQLSMALLINT>(sizeof(answer)), &bytes);
  if (SQL_SUCCEEDED(result) && answer[0] == u'Y') return true;
  const std::string_view test = session->Facts().writeTest;
  if (test.empty() || session->InTransaction()) return false;
  const auto execute = [&](std::string_view sql) { return runtime::IgnoringErrors([&] { Statement(session, 0).ExecuteDirect(sql); }); };
  if (execute("BEGIN")) return false;
  const runtime::PendingError refusal = execute(test);
  (void)execute("ROLLBACK");
  // Another writer is no answer.
  return refusal && refusal.description.find("readonly") != std::string::npos;
}

}  // namespace

OdbcConnection::OdbcConnection(std::shared_ptr<Session> session) : session_(std::move(session)) {}
OdbcConnection::~OdbcConnection() { session_->Close(); }

std::int64_t OdbcConnection::Execute(const std::string& text, std::int32_t timeoutSeconds) { return ExecuteWith(text, {}, timeoutSeconds); }

std::int64_t OdbcConnection::ExecuteWith(const std::string& text, std::span<const ado::Parameter> parameters, std::int32_t timeoutSeconds) {
  std::int64_t affected = 0;
  Resending(*session_, IsSingleChangeOrQuery(text), [&] { affected = Send(text, parameters, timeoutSeconds); });
  return affected;
}

std::unique_ptr<ProviderCommand> OdbcConnection::Prepare(const std::string& text) { return std::make_unique<OdbcCommand>(session_, text); }

std::vector<ado::Parameter> OdbcConnection::DescribeParameters(const std::string& text) {
  Statement statement(session_, 0);
  statement.Prepare(text);
  ado::Parameter one;
  one.type = adVarWChar;
  return std::vector<ado::Parameter>(MarksOf(statement).value_or(0), one);
}

std::string OdbcConnection::TableStatement(const std::string& table) { return "SELECT * FROM " + session_->Quoted(table); }

std::int64_t OdbcConnection::Send(const std::string& text, std::span<const ado::Parameter> parameters, std::int32_t timeoutSeconds) {
  Statement statement(session_, timeoutSeconds);
  BoundTexts bound(text, session_->Facts());
  if (ChangesSchema(bound.Sql())) session_->SchemaChanged();
  if (bound.NeedsNone() && parameters.empty()) {
    statement.ExecuteDirect(bound.Sql());
  } else {
    statement.Prepare(bound.Sql());
    ParameterSet set(statement);
    bound.AddTo(set, statement, parameters, session_->Facts());
    set.Execute();
  }
  const std::int64_t affected = statement.RowsAffected();
  statement.FinishResults();
  return affected;
}

bool OdbcConnection::HasOutputParameters() const { return HasCalls(session_->Facts()); }

std::unique_ptr<ProviderRowset> OdbcConnection::OpenRowset(const RowsetRequest& request) {
  if (HasOutputs(request.parameters)) return OpenCall(session_, request);
  auto rowset = std::make_unique<OdbcRowset>(session_, request);
  return rowset->Fields().empty() ? nullptr : std::move(rowset);
}

std::int32_t OdbcConnection::BeginTransaction() {
  session_->Begin();
  return 1;
}

void OdbcConnection::CommitTransaction() { session_->End(true); }
void OdbcConnection::RollbackTransaction() { session_->End(false); }

std::optional<Variant> OdbcConnection::Property(const std::string& upperName) const {
  if (upperName == "STATEMENTS RESENT") return Variant(session_->Resent());
  if (upperName == "READ-ONLY DATA SOURCE") return Variant(IsReadOnly(session_));
  for (const auto& [name, info] : kProperties) {
    if (upperName != name) continue;
    std::array<char16_t, 512> text{};
    SQLSMALLINT bytes = 0;
    if (!SQL_SUCCEEDED(SQLGetInfoW(session_->Connection(), info, text.data(), static_cast<SQLSMALLINT>(sizeof(text)), &bytes))) break;
    std::size_t count = 0;
    while (count < text.size() - 1 && text[count] != u'\0') ++count;
    return Variant(ToUtf8(text.data(), count));
  }
  return std::nullopt;
}

bool OdbcConnection::SetProperty(const std::string& upperName, const Variant& /*value*/) {
  if (upperName == "CANCEL") {
    session_->Cancel();
    return true;
  }
  if (upperName != "CANCELLABLE") return false;
  // A statement with a limit finds out what the driver does with limits, and so through what it can be cancelled.
  constexpr std::int32_t kLong = 86400;
  if (!session_->HeedsLimit()) const Statement tried(session_, kLong);
  session_->AllowCancel();
  return true;
}

std::unique_ptr<ProviderCatalog> OdbcConnection::OpenCatalog() { return std::make_unique<OdbcCatalog>(session_); }

std::unique_ptr<ProviderBulkInsert> OdbcConnection::OpenBulkInsert(const std::string& table, const std::vector<std::string>& columns,
                                                                   const std::string& owner) {
  return std::make_unique<BatchInsert>(session_, table, columns, owner);
}

}  // namespace tamlo::ado::odbc
