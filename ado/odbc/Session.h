#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ado/odbc/DriverFacts.h"
#include "ado/odbc/Handle.h"

namespace tamlo::ado::odbc {

/// An open connection of the driver manager with what is known of its driver. Shared by the provider's connection and all that was opened
/// on it, so that a catalog or a cursor that outlives the connection finds it closed instead of gone.
class Session {
 public:
  /// Connects. name stands for the data source in errors; what secret holds is struck out of them.
  Session(const std::string& connectionText, const std::string& name, const std::string& secret);
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
  /// An error when none is active.
  void End(bool commit);

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
  bool inTransaction_ = false;
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
