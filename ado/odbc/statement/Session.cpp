#include "ado/odbc/statement/Session.h"

#include <algorithm>
#include <utility>

#include "ado/Errors.h"
#include "ado/Secrets.h"
#include "ado/odbc/connect/ConnectAttempt.h"
#include "ado/odbc/driver/Diagnostics.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/statement/Resend.h"
#include "ado/odbc/statement/SqlText.h"

namespace tamlo::ado::odbc {

Session::Session(const std::string& connectionText, const std::string& name, std::int32_t timeoutSeconds) {
  if (connectionText.size() > kLongestConnectionText) {
    throw runtime::Error(runtime::kInvalidArgument,
                         "La chaîne de connexion est trop longue (" + std::to_string(connectionText.size()) + " octets au lieu de " +
                             std::to_string(kLongestConnectionText) + " au plus).",
                         "odbc");
  }
  ConnectOutcome outcome = TryToConnect(connectionText, timeoutSeconds);
  if (!outcome.connected) {
    auto records = std::move(outcome.records);
    for (auto& record : records) record.text = WithoutSecrets(record.text);
    if (records.empty()) records.push_back({"08001", 0, "The driver refused the connection without saying why."});
    const runtime::Error plain = MakeError(std::move(records), {});
    runtime::Error named(plain.Number(), plain.Description() + " (source de données <" + WithoutSecrets(name) + ">)", plain.Source());
    named.WithDiagnostics(plain.Diagnostics());
    throw named;
  }
  connection_ = std::move(outcome.connection);
  facts_ = std::move(outcome.facts);
  open_ = true;
}

Session::~Session() { Close(); }

void Session::Close() noexcept {
  if (!open_) return;
  watch_.reset();
  if (inTransaction_) SQLEndTran(SQL_HANDLE_DBC, connection_.Get(), SQL_ROLLBACK);
  inTransaction_ = false;
  SQLDisconnect(connection_.Get());
  open_ = false;
}

void* Session::Connection() const {
  if (!open_) throw AdoError(runtime::kObjectClosed);
  return connection_.Get();
}

StatementWatch& Session::Watch() {
  if (!watch_) watch_ = std::make_unique<StatementWatch>(Connection());
  return *watch_;
}

void Session::AllowCancel() { Watch().AllowCancel(); }

bool Session::CancelAllowed() const noexcept { return watch_ && watch_->CancelAllowed(); }

void Session::Cancel() noexcept {
  if (watch_) watch_->Cancel();
}

bool Session::IsDead() const {
  if (!open_) return true;
  SQLUINTEGER dead = SQL_CD_FALSE;
  return SQL_SUCCEEDED(SQLGetConnectAttrW(connection_.Get(), SQL_ATTR_CONNECTION_DEAD, &dead, SQL_IS_UINTEGER, nullptr)) &&
         dead == SQL_CD_TRUE;
}

void Session::SetAutocommit(bool on) {
  const auto value = static_cast<SQLULEN>(on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF);
  const auto result = SQLSetConnectAttrW(Connection(), SQL_ATTR_AUTOCOMMIT, reinterpret_cast<SQLPOINTER>(value), SQL_IS_UINTEGER);
  if (!SQL_SUCCEEDED(result)) throw MakeError(ReadDiagnostics(Handle::Kind::kConnection, Connection()), {});
}

void Session::Begin() {
  (void)Connection();
  if (inTransaction_) {
    throw runtime::Error(runtime::kProviderFailure, "Impossible de commencer plusieurs transactions sur cette session.", "odbc");
  }
  SetAutocommit(false);
  inTransaction_ = true;
}

void Session::Judge(runtime::Error& failure) {
  if (!UndoneWhole(failure, facts_)) return;
  undoneInPart_ = KeptSomething(Connection(), facts_);
  if (!inTransaction_) return;
  transactionUndone_ = true;
  failure.WithRemark("La transaction a été annulée en entier par le serveur ; elle peut être répétée.");
}

void Session::RequireTransaction() const {
  if (transactionUndone_) {
    throw runtime::Error(runtime::kProviderFailure,
                         "La transaction a été annulée en entier par le serveur : elle doit être abandonnée, puis peut être répétée.",
                         "odbc");
  }
}

void Session::NoteText(std::string_view sql) {
  if (!facts_.textsOpenTransactions) return;
  const TransactionEffect effect = EffectOnTransaction(sql);
  if (effect != TransactionEffect::kNone) mayHoldTransaction_ = effect == TransactionEffect::kMayOpen;
}

void Session::RequireLife() {
  if (!facts_.commitsWhenLost || !IsDead()) return;
  const std::string text = "La connexion au serveur est perdue : la transaction n'est pas validée, ou nul ne le sait.";
  runtime::Error lost(runtime::kProviderFailure, text, "odbc");
  throw lost.WithDiagnostics({{"08S01", 0, text}});
}

void Session::End(bool commit) {
  (void)Connection();
  if (!inTransaction_) throw runtime::Error(runtime::kNoTransaction);
  if (commit) {
    RequireTransaction();
    RequireLife();
  }
  const auto result = SQLEndTran(SQL_HANDLE_DBC, Connection(), commit ? SQL_COMMIT : SQL_ROLLBACK);
  // A commit that the server refused leaves the transaction open: the caller may still roll it back. Where a failed write has undone it
  // already, the rollback is refused.
  const bool undone = !commit && facts_.undoesByItself;
  if (!SQL_SUCCEEDED(result) && !undone) {
    runtime::Error failure = MakeError(ReadDiagnostics(Handle::Kind::kConnection, Connection()), {});
    Judge(failure);
    throw failure;
  }
  if (commit) RequireLife();
  inTransaction_ = false;
  transactionUndone_ = false;
  mayHoldTransaction_ = false;
  SetAutocommit(true);
}

std::string Session::Quoted(const std::string& name) const {
  std::string out = facts_.openQuote;
  for (const char c : name) {
    out.push_back(c);
    if (!facts_.closeQuote.empty() && c == facts_.closeQuote.front()) out.push_back(c);
  }
  return out + facts_.closeQuote;
}

std::string Session::Pattern(const std::string& name) const {
  std::string out = name;
  // psqlODBC 13.02 does not find the sign doubled.
  if (facts_.patternEscape.size() == 1) std::replace(out.begin(), out.end(), facts_.patternEscape.front(), '_');
  return out;
}

TransactionScope::TransactionScope(Session& session) : session_(session), owns_(!session.InTransaction()) {
  if (owns_) session_.Begin();
}

TransactionScope::~TransactionScope() {
  if (owns_ && session_.InTransaction()) (void)runtime::IgnoringErrors([&] { session_.End(false); });
}

void TransactionScope::Commit() {
  if (owns_) session_.End(true);
}

}  // namespace tamlo::ado::odbc
