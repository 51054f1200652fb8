#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ado/Connection.h"
#include "move/Plan.h"
#include "runtime/Error.h"

namespace tamlo::move {

/// The database into which a copy goes: what differs between the engines that SQL makes and a file of our own engine. Errors of all operations
/// are runtime::Error as the engine gives them.
class Target {
 public:
  virtual ~Target() = default;

  [[nodiscard]] virtual const schema::Dialect& Dialect() const = 0;
  /// Through which rows and the copy's own small table are written.
  [[nodiscard]] virtual ado::Connection& Connection() = 0;
  /// Makes the session fit for a copy: zone, strictness, no checks of relations where those are there before the rows.
  virtual void Prepare() = 0;
  /// The tables that are there, as they are called.
  [[nodiscard]] virtual std::vector<std::string> Tables() = 0;
  /// The columns of a table.
  [[nodiscard]] virtual std::vector<std::string> Columns(const std::string& table) = 0;
  virtual void Drop(const std::string& table) = 0;
  /// Carries out one statement of a plan; what it could not do in full is told.
  virtual std::vector<schema::Finding> Define(const schema::Statement& statement) = 0;
  /// Whether a definition can be undone with what else is in its transaction.
  [[nodiscard]] virtual bool DefinesInTransactions() const = 0;
  /// Whether a definition was refused because what it makes is there.
  [[nodiscard]] virtual bool StandsAlready(const runtime::Error& error) const = 0;
  /// Whether a row was refused because one that it refers to is not there.
  [[nodiscard]] virtual bool LacksParent(const runtime::Error& error) const = 0;
  [[nodiscard]] virtual std::int64_t CountRows(const std::string& table) = 0;
  /// Rows that refer to none, where the engine was not asked to look while they came. Each is a finding.
  [[nodiscard]] virtual std::vector<schema::Finding> Orphans() = 0;

  /// Whether two names are one here.
  [[nodiscard]] bool SameName(const std::string& left, const std::string& right) const;
};

/// The statements that make a session take values as they are or refuse them, and moments in UTC.
[[nodiscard]] std::vector<std::string> ExactSettings(schema::Engine engine);

/// A target that statements make. The connection must outlive it.
[[nodiscard]] std::unique_ptr<Target> SqlTarget(schema::Engine engine, ado::Connection& connection);

}  // namespace tamlo::move
