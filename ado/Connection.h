#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ado/Types.h"

namespace tamlo::ado {

class ProviderConnection;
class Recordset;
struct ConnectionState;

/// One connection to a data source. Provider and the settings may be given before Open; what an application gave to Open is what
/// ConnectionString reads back. Closing it closes its recordsets. Not safe for use by two threads at once.
/// Every failure is runtime::Error: 3704 on a closed connection, 3705 on an open one where a closed one is needed, 3706 for a provider
/// nobody registered, 3265 for an unknown property, else what the provider raises.
class Connection {
 public:
  Connection();
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  [[nodiscard]] const std::string& Provider() const noexcept;
  /// Error 3705 when open.
  void Provider(const std::string& name);
  [[nodiscard]] const std::string& ConnectionString() const noexcept;
  /// What Open connects with when it is given nothing. Error 3705 when open.
  void ConnectionString(const std::string& text);

  /// Set before Open for a connection string that others wrote (a link stored in a file): it then reaches only data sources and drivers
  /// that are registered on this machine, by name, and may hold no key that makes a driver load, write or create a file. What asks for more
  /// is refused by Open (-2147467259, which names the key) before anything is loaded. False at first.
  void RegisteredOnly(bool wanted) noexcept;
  [[nodiscard]] bool RegisteredOnly() const noexcept;

  /// Set before Open, for programs that tell -2147467259 apart and no other number of a provider: statements that are refused, rows that
  /// another has changed and time that is over then have that number as every other failure (3265 for a table that is not in an Access file),
  /// and values are judged when their row is written. False at first.
  void GeneralNumbers(bool wanted) noexcept;
  [[nodiscard]] bool GeneralNumbers() const noexcept;

  /// Connects. options: -1 (unspecified) is the only value in use. After a failure the object is closed and may be opened again.
  /// A text with a key "Provider" names the provider, in whose stead Provider() is then not asked, and is read as the OLE DB providers read
  /// it: "User ID" (or UID) and "Password" (or PWD) are the login unless one is given here; for ODBC sources "Data Source" is a data source's
  /// name, "Initial Catalog" a database, and "Extended Properties" a connection string of its own. Where RegisteredOnly is set the key has no
  /// such meaning.
  void Open(const std::string& connectionString = {}, const std::string& userId = {}, const std::string& password = {},
            std::int32_t options = adOptionUnspecified);
  /// Closes the recordsets and the connection. Error 3704 when closed already; 3246 in a transaction, and nothing is closed then. (The
  /// destructor rolls back and closes.)
  void Close();
  [[nodiscard]] bool IsOpen() const noexcept;
  /// True between BeginTrans and the call that ends the transaction, until a refused RollbackTrans: what is pending is then lost in any
  /// case, and the connection may be closed.
  [[nodiscard]] bool InTransaction() const noexcept;
  /// True while a recordset is open on it.
  [[nodiscard]] bool InUse() const noexcept;

  /// Runs a statement; the rows it might give are thrown away. Returns the number of rows affected, -1 when not known.
  std::int64_t Execute(const std::string& text, std::int32_t options = adExecuteNoRecords);
  /// Runs a statement and gives its rows, forward-only and read-only; a closed recordset when it gives none, and then the rows affected (else
  /// -1). options as Recordset::Open takes them. (Recordset.h is needed.)
  Recordset Execute(const std::string& text, std::int64_t& recordsAffected, std::int32_t options = adOptionUnspecified);

  /// Starts a transaction and returns its level, from 1. Whether levels above 1 exist is the provider's matter.
  std::int32_t BeginTrans();
  /// Error -2147168242 without a transaction, for both.
  void CommitTrans();
  void RollbackTrans();
  /// How many transactions are open inside each other; 0 for none, and for a closed connection.
  [[nodiscard]] std::int32_t TransactionLevel() const noexcept;

  /// Seconds that Open may take before it gives up with an error of the provider; 0 is without limit. 15 at first. Setting it: error 3705
  /// when open, 5 below 0. Access files are opened without waiting.
  [[nodiscard]] std::int32_t ConnectionTimeout() const noexcept;
  void ConnectionTimeout(std::int32_t seconds);
  /// Seconds a statement may take; 0 is without limit. 30 at first.
  [[nodiscard]] std::int32_t CommandTimeout() const noexcept;
  void CommandTimeout(std::int32_t seconds);
  /// Where cursors of recordsets opened from now on live. adUseServer at first; may be set open or closed.
  [[nodiscard]] ado::CursorLocation CursorLocation() const noexcept;
  void CursorLocation(ado::CursorLocation location);

  /// Copies the whole database into a new file, as it is at one moment, while other programs go on using it. Only of providers whose database
  /// is one file (Access): error 3251 with the others. Error 3246 in a transaction; else what the provider raises, and there is no copy then:
  /// -2147467259 when a file of that name is there, for a folder that is not and for a full disk, 3006 when another program writes for too long.
  void Backup(const std::string& path);

  /// A property by its name, without regard to case: "User ID", "Password" and those of the provider. Error 3265 for an unknown one.
  [[nodiscard]] Variant Property(const std::string& name) const;
  void Property(const std::string& name, const Variant& value);

  /// The provider's connection; error 3704 when closed. For the classes of this room.
  [[nodiscard]] ProviderConnection& Native() const;

 private:
  friend class Recordset;
  friend class Command;
  friend class Catalog;
  friend class BulkInsert;
  // Shared with the recordsets opened on it: they must see that it was closed, and outlive this object without dangling.
  std::shared_ptr<ConnectionState> state_;
};

/// A transaction as a scope: leaving it without Commit rolls back, with every level that was begun inside it and is still open. The
/// connection must outlive it.
class Transaction {
 public:
  explicit Transaction(Connection& connection) : connection_(connection), level_(connection.BeginTrans()) {}
  ~Transaction() { Rollback(); }
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  /// Ends it; the levels inside it must have been ended. When that fails the scope is open still, unless the backend has undone it all.
  void Commit();
  /// Undoes it now; nothing when it has ended. Failures are not raised: what a connection does not undo it undoes when it closes.
  void Rollback() noexcept;

 private:
  Connection& connection_;
  std::int32_t level_;
  bool ended_ = false;
};

}  // namespace tamlo::ado
