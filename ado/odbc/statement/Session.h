#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "ado/odbc/driver/Handle.h"
#include "ado/odbc/facts/DriverFacts.h"
#include "ado/odbc/statement/StatementWatch.h"
#include "runtime/Error.h"

namespace tamlo::ado::odbc {

/// An open connection of the driver manager with what is known of its driver. Shared by the provider's connection and all that was opened
/// on it, so that a catalog or a cursor that outlives the connection finds it closed instead of gone.
class Session {
 public:
  /// Connects within so many seconds, 0 for as long as it takes. name stands for the data source in errors, which show no value of a key that
  /// names a password. Error 5 for a text that the driver manager cannot take whole.
  Session(const std::string& connectionText, const std::string& name, std::int32_t timeoutSeconds);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Rolls back what is pending and disconnects; nothing when that was done already.
  void Close() noexcept;

  /// Error 3704 when closed.
  [[nodiscard]] void* Connection() const;
  [[nodiscard]] const DriverFacts& Facts() const noexcept { return facts_; }
  /// For the outcome of trying arrays out.
  DriverFacts& MutableFacts() noexcept { return facts_; }

  [[nodiscard]] bool InTransaction() const noexcept { return inTransaction_; }
  /// An error when one is active: the levels of an ODBC connection end at 1.
  void Begin();
  /// An error when none is active. After a refused commit it stays active, to be rolled back.
  void End(bool commit);

  /// Whatever a statement of this session raises passes here: when the server has undone the session's whole transaction, the error says so,
  /// and until it is rolled back the session refuses statements and its commit, which would keep a part of it only.
  void Judge(runtime::Error& failure);
  /// The same where it was learnt otherwise.
  void TransactionWasUndone() noexcept { transactionUndone_ = inTransaction_; }
  /// Error -2147467259 while the transaction is one that the server has undone.
  void RequireTransaction() const;
  /// Error (08S01) when the connection is known to be lost, where the driver would commit nothing and say that it did.
  void RequireLife();
  [[nodiscard]] bool TransactionUndone() const noexcept { return transactionUndone_; }

  /// True when the last thing that the server undid has left something in tables without transactions.
  [[nodiscard]] bool UndoneInPart() const noexcept { return undoneInPart_; }

  /// Takes note of a statement's text before it runs: it may open a transaction that only the server knows of.
  void NoteText(std::string_view sql);
  [[nodiscard]] bool MayHoldTransaction() const noexcept { return mayHoldTransaction_; }

  /// How often something was sent again because the server had undone it (see Resend).
  [[nodiscard]] std::int64_t Resent() const noexcept { return resent_; }
  void CountResent() noexcept { ++resent_; }
  /// True when the driver says that the connection is gone.
  [[nodiscard]] bool IsDead() const;

  /// See Connection::GeneralNumbers.
  void GeneralNumbers(bool wanted) noexcept { generalNumbers_ = wanted; }
  [[nodiscard]] bool GeneralNumbers() const noexcept { return generalNumbers_; }

  /// Takes note of whether the driver heeds the time limit of a statement. The first answer holds.
  void LimitIsHeeded(bool heeded) noexcept { heedsLimit_ = heeded; }
  /// None before it was tried.
  [[nodiscard]] std::optional<bool> HeedsLimit() const noexcept { return heedsLimit_; }
  /// For drivers that do not; made at first use.
  [[nodiscard]] StatementWatch& Watch();
  /// From now on Cancel ends what runs. It costs each statement a lock.
  void AllowCancel();
  [[nodiscard]] bool CancelAllowed() const noexcept;
  /// Ends the statement that is being executed: from any thread, while the session is open. Nothing before AllowCancel.
  void Cancel() noexcept;

  /// Grows with each statement that may have changed the definition of a table.
  [[nodiscard]] std::int64_t SchemaVersion() const noexcept { return schemaVersion_; }
  void SchemaChanged() noexcept { ++schemaVersion_; }

  /// A name between the backend's quotes.
  [[nodiscard]] std::string Quoted(const std::string& name) const;
  /// A pattern that a name matches, for catalog functions; other names may match it too.
  [[nodiscard]] std::string Pattern(const std::string& name) const;

 private:
  void SetAutocommit(bool on);

  Handle connection_;
  DriverFacts facts_;
  bool open_ = false;
  bool generalNumbers_ = false;
  bool inTransaction_ = false;
  bool transactionUndone_ = false;   // by the server, while inTransaction_
  bool undoneInPart_ = false;        // the last thing that the server undid
  bool mayHoldTransaction_ = false;  // opened by the text of a statement
  std::optional<bool> heedsLimit_;
  std::unique_ptr<StatementWatch> watch_;
  std::int64_t resent_ = 0;
  std::int64_t schemaVersion_ = 0;
};

/// A transaction of a few statements: joins one that is active, else rolls back when it goes without Commit.
class TransactionScope {
 public:
  explicit TransactionScope(Session& session);
  ~TransactionScope();
  TransactionScope(const TransactionScope&) = delete;
  TransactionScope& operator=(const TransactionScope&) = delete;
  void Commit();
  /// True when it began the transaction itself, so that leaving it undoes everything.
  [[nodiscard]] bool Owns() const noexcept { return owns_; }

 private:
  Session& session_;
  bool owns_;
};

}  // namespace tamlo::ado::odbc
