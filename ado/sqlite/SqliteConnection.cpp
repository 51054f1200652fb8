#include "ado/sqlite/SqliteConnection.h"

#include "ado/ConnectionKeys.h"
#include "ado/Errors.h"
#include "ado/sqlite/SqliteBulkInsert.h"
#include "ado/sqlite/SqliteRowset.h"

namespace tamlo::ado::sqlite {
namespace {

std::string PathOf(const OpenRequest& request) {
  std::string path = ValueOf(ParseKeys(request.connectionString), {"DATA SOURCE"});
  if (path.empty()) throw AdoError(runtime::kBadArguments, "Data Source");
  return path;
}

}  // namespace

SqliteConnection::SqliteConnection(const OpenRequest& request) : session_(std::make_shared<Session>(PathOf(request))) {}

SqliteConnection::~SqliteConnection() {
  if (begun_) (void)runtime::IgnoringErrors([this] { RollbackTransaction(); });
}

std::unique_ptr<ProviderRowset> SqliteConnection::OpenRowset(const RowsetRequest& request) {
  if (!request.parameters.empty()) throw AdoError(runtime::kOperationNotSupported);
  if (request.cursor == adOpenStatic || request.location == adUseClient) throw AdoError(runtime::kOperationNotSupported);
  auto rowset = std::make_unique<SqliteRowset>(session_, request);
  if (!rowset->Fields().empty()) return rowset;
  rowset->RunWhole(request.affected);
  return nullptr;
}

std::int32_t SqliteConnection::BeginTransaction() {
  if (begun_) throw AdoError(runtime::kOperationNotSupported);
  (void)session_->Run("BEGIN IMMEDIATE");
  begun_ = true;
  return 1;
}

void SqliteConnection::CommitTransaction() {
  if (!session_->InTransaction()) begun_ = false;
  if (!begun_) throw AdoError(runtime::kNoTransaction);
  (void)session_->Run("COMMIT");
  begun_ = false;
}

void SqliteConnection::RollbackTransaction() {
  if (!begun_) throw AdoError(runtime::kNoTransaction);
  if (session_->InTransaction()) (void)session_->Run("ROLLBACK");
  begun_ = false;
}

std::optional<Variant> SqliteConnection::Property(const std::string& upperName) const {
  if (upperName == "DBMS NAME") return Variant("SQLite");
  return std::nullopt;
}

std::unique_ptr<ProviderCatalog> SqliteConnection::OpenCatalog() { throw AdoError(runtime::kOperationNotSupported); }

std::unique_ptr<ProviderBulkInsert> SqliteConnection::OpenBulkInsert(const std::string& table, const std::vector<std::string>& columns,
                                                                     const std::string& owner) {
  if (!owner.empty()) throw AdoError(runtime::kOperationNotSupported);
  return std::make_unique<SqliteBulkInsert>(session_, table, columns);
}

}  // namespace tamlo::ado::sqlite
