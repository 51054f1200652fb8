#include "ado/Connection.h"

#include <utility>

#include "ado/ConnectionKeys.h"
#include "ado/ConnectionState.h"
#include "ado/Errors.h"
#include "ado/Recordset.h"
#include "ado/RecordsetState.h"
#include "runtime/Conversions.h"
#include "runtime/Secret.h"
#include "runtime/Text.h"

namespace tamlo::ado {

ProviderConnection& ConnectionState::Native(std::int32_t errorNumber) const {
  if (!native) throw AdoError(errorNumber);
  return *native;
}

void ConnectionState::Close() noexcept {
  while (!dependents.empty()) dependents.back()->ConnectionCloses();
  while (!recordsets.empty()) recordsets.back()->Close();
  native.reset();
  rollbackRefused = false;
}

ConnectionState::~ConnectionState() {
  runtime::Wipe(password);
  runtime::Wipe(connectionString);
}

Connection::Connection() : state_(std::make_shared<ConnectionState>()) { state_->owner = this; }

Connection::~Connection() {
  state_->owner = nullptr;
  state_->Close();
}

const std::string& Connection::Provider() const noexcept { return state_->provider; }

void Connection::Provider(const std::string& name) {
  if (state_->native) throw AdoError(runtime::kObjectOpen);
  state_->provider = name;
}

const std::string& Connection::ConnectionString() const noexcept { return state_->connectionString; }

void Connection::ConnectionString(const std::string& text) {
  if (state_->native) throw AdoError(runtime::kObjectOpen);
  state_->connectionString = text;
}

void Connection::Open(const std::string& connectionString, const std::string& userId, const std::string& password,
                      std::int32_t /*options*/) {
  if (state_->native) throw AdoError(runtime::kObjectOpen);
  if (!connectionString.empty()) state_->connectionString = connectionString;
  OpenRequest request{state_->provider,          state_->connectionString, {}, {}, state_->registeredOnly,
                      state_->connectionTimeout, state_->generalNumbers};
  const runtime::WipedAtEnd wipe(request.password);
  const runtime::WipedAtEnd wipeString(request.connectionString);
  if (!request.registeredOnly) ReadProviderKey(request);
  const ProviderFactory& factory = FindProvider(request.provider);
  state_->provider = request.provider;
  if (!userId.empty()) state_->userId = userId;
  if (!password.empty()) state_->password = password;
  if (!state_->userId.empty() || request.userId.empty()) request.userId = state_->userId;
  if (!state_->password.empty() || request.password.empty()) request.password = state_->password;
  state_->native = factory(request);
}

bool Connection::GeneralNumbers() const noexcept { return state_->generalNumbers; }
void Connection::GeneralNumbers(bool wanted) noexcept { state_->generalNumbers = wanted; }

bool Connection::RegisteredOnly() const noexcept { return state_->registeredOnly; }
void Connection::RegisteredOnly(bool wanted) noexcept { state_->registeredOnly = wanted; }

void Connection::Close() {
  (void)state_->Native(runtime::kObjectClosed);
  if (InTransaction()) throw AdoError(runtime::kTransactionOpen);
  state_->Close();
}

bool Connection::IsOpen() const noexcept { return state_->native != nullptr; }
bool Connection::InTransaction() const noexcept { return TransactionLevel() > 0 && !state_->rollbackRefused; }
bool Connection::InUse() const noexcept { return !state_->recordsets.empty(); }

std::int64_t Connection::Execute(const std::string& text, std::int32_t /*options*/) {
  return Native().Execute(text, state_->commandTimeout);
}

Recordset Connection::Execute(const std::string& text, std::int64_t& recordsAffected, std::int32_t options) {
  recordsAffected = -1;
  (void)Native();
  Recordset rows;
  rows.OpenCounting(text, *this, options == adExecuteNoRecords ? adOptionUnspecified : options, recordsAffected);
  return rows;
}

std::int32_t Connection::BeginTrans() {
  const std::int32_t level = Native().BeginTransaction();
  state_->rollbackRefused = false;
  return level;
}

void Connection::CommitTrans() {
  auto& native = Native();
  if (native.TransactionLevel() == 0) throw AdoError(runtime::kNoTransaction);
  native.CommitTransaction();
  state_->rollbackRefused = false;
}

void Connection::RollbackTrans() {
  auto& native = Native();
  if (native.TransactionLevel() == 0) throw AdoError(runtime::kNoTransaction);
  state_->rollbackRefused = true;
  native.RollbackTransaction();
  state_->rollbackRefused = false;
}

std::int32_t Connection::TransactionLevel() const noexcept { return state_->native ? state_->native->TransactionLevel() : 0; }

void Transaction::Commit() {
  connection_.CommitTrans();
  ended_ = true;
}

void Transaction::Rollback() noexcept {
  // A failure of the backend may have undone it already; a rollback that fails must not be asked for for ever.
  for (std::int32_t open = connection_.TransactionLevel(); !ended_ && open >= level_; --open) {
    (void)runtime::IgnoringErrors([&] {
      if (connection_.TransactionLevel() >= level_) connection_.RollbackTrans();
    });
  }
  ended_ = true;
}

std::int32_t Connection::ConnectionTimeout() const noexcept { return state_->connectionTimeout; }
void Connection::ConnectionTimeout(std::int32_t seconds) {
  if (state_->native) throw AdoError(runtime::kObjectOpen);
  if (seconds < 0) throw runtime::Error(runtime::kInvalidArgument);
  state_->connectionTimeout = seconds;
}

std::int32_t Connection::CommandTimeout() const noexcept { return state_->commandTimeout; }
void Connection::CommandTimeout(std::int32_t seconds) { state_->commandTimeout = seconds; }

CursorLocation Connection::CursorLocation() const noexcept { return state_->cursorLocation; }
void Connection::CursorLocation(ado::CursorLocation location) { state_->cursorLocation = location; }

void Connection::Backup(const std::string& path) {
  auto& native = Native();
  if (native.TransactionLevel() > 0) throw AdoError(runtime::kTransactionOpen);
  native.Backup(path);
}

Variant Connection::Property(const std::string& name) const {
  const std::string upper = runtime::UpperCase(name);
  if (upper == "USER ID") return state_->userId;
  if (upper == "PASSWORD") return state_->password;
  if (state_->native) {
    if (auto value = state_->native->Property(upper)) return *std::move(value);
  }
  throw AdoError(runtime::kItemNotFound, name);
}

void Connection::Property(const std::string& name, const Variant& value) {
  const std::string upper = runtime::UpperCase(name);
  if (upper == "USER ID" || upper == "PASSWORD") {
    if (state_->native) throw AdoError(runtime::kObjectOpen);
    (upper == "PASSWORD" ? state_->password : state_->userId) = runtime::ToText(value);
    return;
  }
  if (!state_->native || !state_->native->SetProperty(upper, value)) throw AdoError(runtime::kItemNotFound, name);
}

ProviderConnection& Connection::Native() const { return state_->Native(runtime::kObjectClosed); }

}  // namespace tamlo::ado
