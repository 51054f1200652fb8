#include "ado/jet/JetConnection.h"

#include <algorithm>

#include "ado/Errors.h"
#include "ado/jet/FileSearch.h"
#include "ado/jet/JetBulkInsert.h"
#include "ado/jet/JetCatalog.h"
#include "ado/jet/JetErrors.h"
#include "ado/jet/JetValues.h"
#include "ado/jet/OdbcLink.h"
#include "ado/jet/QueryRowset.h"
#include "ado/jet/TableRowset.h"
#include "runtime/Conversions.h"
#include "runtime/Secret.h"
#include "runtime/Text.h"

namespace tamlo::ado::jetprovider {

namespace {

std::unique_ptr<jet::Database> OpenFile(ConnectionText wanted) {
  const runtime::WipedAtEnd wipe(wanted.password);
  const std::string path = FindFile(wanted.dataSource);
  jet::OpenOptions options;
  const runtime::WipedAtEnd wipeOption(options.password);
  options.password = wanted.password;
  if (wanted.mode == "SHARE EXCLUSIVE") options.mode = jet::OpenMode::kExclusive;
  if (wanted.mode == "READ") options.mode = jet::OpenMode::kReadOnly;
  try {
    try {
      return jet::Database::Open(path, options);
    } catch (const jet::Error& error) {
      // What cannot be written opens for reading, as it always did; the first change is then refused.
      if (error.Code() != jet::ErrorCode::kReadOnly || options.mode == jet::OpenMode::kReadOnly) throw;
      options.mode = jet::OpenMode::kReadOnly;
      return jet::Database::Open(path, options);
    }
  } catch (const jet::Error& error) {
    throw Translated(error, {}, true);
  }
}

// The table that a table-direct source names: plain or in brackets.
std::string TableName(const std::string& source) {
  std::string_view name = runtime::Trim(source);
  if (name.size() >= 2 && ((name.front() == '[' && name.back() == ']') || (name.front() == '`' && name.back() == '`')))
    name = name.substr(1, name.size() - 2);
  return std::string(name);
}

bool MayChangeRows(const std::string& text) {
  const std::string upper = runtime::UpperCase(runtime::Trim(text));
  return upper.rfind("SELECT", 0) != 0 || upper.find("INTO") != std::string::npos;
}

const OdbcTable* OdbcOf(const jet::sql::TableInfo& table) {
  return dynamic_cast<const OdbcTable*>(static_cast<const jet::sql::EngineTable&>(table).foreign.get());
}

}  // namespace

JetConnection::JetConnection(const OpenRequest& request)
    : database_(OpenFile(ReadConnectionText(request.connectionString))), generalNumbers_(request.generalNumbers) {
  jet::sql::SessionOptions options;
  options.text = UserTextSettings();
  options.openForeign = [links = std::make_shared<OdbcLinks>()](const std::string& connect, const std::string& table) {
    return links->Open(connect, table);
  };
  options.findFile = [](const std::string& name) -> jet::sql::NamedFile {
    // A source may be named as this connection's own string reads back: a plain file or "Data Source=...".
    try {
      const ConnectionText named = ReadConnectionText(name);
      return {FindFile(named.dataSource), named.password};
    } catch (const runtime::Error& error) {
      throw jet::Error(jet::ErrorCode::kIo, error.Description());
    }
  };
  session_ = OnEngine([&] { return std::make_unique<jet::sql::Session>(*database_, std::move(options)); });
}

JetConnection::~JetConnection() = default;

std::int64_t JetConnection::Execute(const std::string& text, std::int32_t timeoutSeconds) { return ExecuteWith(text, {}, timeoutSeconds); }

std::int64_t JetConnection::ExecuteWith(const std::string& text, std::span<const Parameter> parameters, std::int32_t timeoutSeconds) {
  Limit(timeoutSeconds);
  if (MayChangeRows(text)) BeforeChange();
  const RollbackWatch watch(*this);
  return OnStatement([&] { return session_->Execute(text, EngineParameters(parameters)); }, text);
}

std::vector<Parameter> JetConnection::DescribeParameters(const std::string& text) {
  const auto infos = OnEngine([&] { return session_->ParametersOf(text); }, text);
  std::vector<Parameter> parameters;
  for (const jet::sql::ParameterInfo& info : infos) {
    Parameter parameter;
    parameter.name = info.name;
    if (info.type.type != jet::sql::kNoType) parameter.type = AdoType(info.type.type);
    parameters.push_back(std::move(parameter));
  }
  return parameters;
}

std::string JetConnection::CallStatement(const std::string& name, std::size_t, bool) { return "EXECUTE [" + TableName(name) + "]"; }

void JetConnection::Limit(std::int32_t timeoutSeconds) {
  jet::sql::StatementLimits limits = limits_;
  if (timeoutSeconds > 0) limits.seconds = limits.seconds > 0 ? std::min(limits.seconds, timeoutSeconds) : timeoutSeconds;
  session_->Limits(limits);
}

void JetConnection::BeginsToRead(UnreadCopy& cursor) {
  if (std::find(unread_.begin(), unread_.end(), &cursor) == unread_.end()) unread_.push_back(&cursor);
}

void JetConnection::HasRead(UnreadCopy& cursor) noexcept { std::erase(unread_, &cursor); }

void JetConnection::BeforeChange(const jet::sql::EngineTable* table) {
  ++changes_;
  if (unread_.empty()) return;
  // What other tables refer to may take their rows along.
  const auto isReferenced = [](const jet::IndexDef& index) { return index.kind == jet::IndexKind::kForeignKey && !index.referencing; };
  if (table != nullptr && table->table != nullptr) {
    const auto& indexes = table->table->Indexes();
    if (std::any_of(indexes.begin(), indexes.end(), isReferenced)) table = nullptr;
  }
  const std::vector<UnreadCopy*> unread = unread_;
  for (UnreadCopy* cursor : unread) {
    if (table == nullptr || cursor->Reads(*table)) cursor->Settle();
  }
}

std::unique_ptr<ProviderRowset> JetConnection::OpenRowset(const RowsetRequest& request) {
  Limit(request.timeoutSeconds);
  const bool direct = request.options > 0 && (request.options & (adCmdTableDirect | adCmdTable)) != 0;
  const std::string upper = runtime::UpperCase(runtime::Trim(request.source));
  const bool statement = upper.rfind("SELECT", 0) == 0 || upper.rfind("(", 0) == 0 || upper == "COMMIT" || upper == "ROLLBACK";
  if (direct || (!statement && request.parameters.empty() && upper.find(' ') == std::string::npos)) return OpenTable(request);
  if (MayChangeRows(request.source)) BeforeChange();
  const RollbackWatch watch(*this);
  auto query = OnStatement([&] { return session_->OpenOrRun(request.source, EngineParameters(request.parameters), request.affected); },
                           request.source);
  if (query == nullptr) return nullptr;
  const jet::sql::SelectPlan& plan = query->Plan();
  if (plan.plainScan && !plan.limit && upper.find('*') != std::string::npos) {
    // The whole of a linked ODBC table: its own provider knows how to write it.
    if (auto* odbc = const_cast<OdbcTable*>(OdbcOf(*plan.sources[0].table));
        odbc != nullptr && plan.columns.size() == odbc->Columns().size()) {
      return odbc->OpenRowset(request);
    }
  }
  return OpenQuery(std::move(query), request);
}

std::unique_ptr<ProviderRowset> JetConnection::OpenTable(const RowsetRequest& request) {
  const std::string name = TableName(request.source);
  const auto table = OnEngine([&] { return session_->FindTable(name); }, request.source);
  if (table != nullptr && table->foreign != nullptr) {
    if (auto* odbc = const_cast<OdbcTable*>(OdbcOf(*table))) return odbc->OpenRowset(request);
  }
  const bool direct = request.options > 0 && (request.options & adCmdTableDirect) != 0;
  if (direct && (table == nullptr || table->table == nullptr))
    throw AdoError(generalNumbers_ ? runtime::kItemNotFound : runtime::kNoSuchTable, name);
  // A table's own cursor shows what the table holds now, and can search in its indexes; a copy does neither.
  const bool copies = request.cursor == adOpenStatic || request.location == adUseClient;
  if (!copies && table != nullptr && table->table != nullptr && (direct || request.cursor == adOpenDynamic))
    return std::make_unique<TableRowset>(*this, table, request.cursor);
  const std::string text = "SELECT * FROM [" + name + "]";
  return OpenQuery(OnStatement([&] { return session_->Open(text); }, text), request);
}

std::unique_ptr<ProviderRowset> JetConnection::OpenQuery(std::unique_ptr<jet::sql::Query> query, const RowsetRequest& request) {
  auto rowset = std::make_unique<QueryRowset>(*this, std::move(query), request);
  rowset->Fix();
  return rowset;
}

std::int32_t JetConnection::BeginTransaction() {
  return OnEngine([&] {
    database_->Begin();
    return static_cast<std::int32_t>(database_->TransactionDepth());
  });
}

void JetConnection::CommitTransaction() {
  if (database_->TransactionDepth() == 0) throw runtime::Error(runtime::kNoTransaction);
  OnEngine([&] { database_->Commit(); });
}

void JetConnection::RollbackTransaction() {
  if (database_->TransactionDepth() == 0) throw runtime::Error(runtime::kNoTransaction);
  BeforeChange();
  const RollbackWatch watch(*this);
  OnEngine([&] { database_->Rollback(); });
  session_->RowsChanged();
}

void JetConnection::Backup(const std::string& path) {
  try {
    database_->Backup(path);
  } catch (const jet::Error& error) {
    // What is not found is the folder of the copy, no object of the database.
    throw Translated(error, {}, error.Code() == jet::ErrorCode::kNotFound);
  }
}

std::optional<Variant> JetConnection::Property(const std::string& upperName) const {
  if (upperName == "JET OLEDB:ENGINE TYPE")
    return Variant(static_cast<std::int32_t>(database_->Release() != 0 ? 6 : database_->FormatVersion() == 3 ? 4 : 5));
  if (upperName == "JET OLEDB:ENCRYPT DATABASE") return Variant(database_->Encoded());
  if (upperName == "JET OLEDB:MAX LOCKS PER FILE") return Variant(maxLocks_);
  if (upperName == "LOCK WAIT") return Variant(lockWait_);
  if (upperName == "LINKS ALLOWED") return Variant(session_->LinksAllowed());
  if (upperName == "SECONDS ALLOWED") return Variant(limits_.seconds);
  if (upperName == "ROWS ALLOWED") return Variant(static_cast<std::int32_t>(limits_.rows));
  if (upperName == "MEGABYTES ALLOWED") return Variant(limits_.megabytes);
  if (upperName == "DATA SOURCE" || upperName == "DATA SOURCE NAME") return Variant(database_->Path());
  if (upperName == "READ-ONLY DATA SOURCE") return Variant(database_->ReadOnly());
  if (upperName == "DBMS NAME") return Variant("MS Jet");
  return std::nullopt;
}

bool JetConnection::SetProperty(const std::string& upperName, const Variant& value) {
  if (upperName == "LINKS ALLOWED") {
    OnEngine([&] { session_->AllowLinks(runtime::ToBoolean(value)); });
    return true;
  }
  if (upperName == "LOCK WAIT") {
    lockWait_ = std::max(runtime::ToInt32(value), 0);
    database_->SetLockWait(lockWait_);
    return true;
  }
  if (upperName == "SECONDS ALLOWED" || upperName == "ROWS ALLOWED" || upperName == "MEGABYTES ALLOWED") {
    const std::int32_t limit = runtime::ToInt32(value);
    if (limit < 0) throw runtime::Error(runtime::kInvalidArgument);
    if (upperName == "SECONDS ALLOWED") limits_.seconds = limit;
    if (upperName == "ROWS ALLOWED") limits_.rows = limit;
    if (upperName == "MEGABYTES ALLOWED") limits_.megabytes = limit;
    return true;
  }
  if (upperName != "JET OLEDB:MAX LOCKS PER FILE") return false;
  maxLocks_ = runtime::ToInt32(value);
  return true;
}

std::unique_ptr<ProviderCatalog> JetConnection::OpenCatalog() { return std::make_unique<JetCatalog>(*this); }

std::unique_ptr<ProviderBulkInsert> JetConnection::OpenBulkInsert(const std::string& table, const std::vector<std::string>& columns,
                                                                  const std::string& /*owner*/) {
  const auto found = OnEngine([&] { return session_->FindTable(TableName(table)); });
  if (found != nullptr && found->table == nullptr) return nullptr;  // behind an ODBC link: row by row
  return std::make_unique<JetBulkInsert>(*this, TableName(table), columns);
}

}  // namespace tamlo::ado::jetprovider
