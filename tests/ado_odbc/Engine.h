#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ado/Connection.h"
#include "ado/Recordset.h"
#include "runtime/Error.h"
#include "tests/support_lib/MariaDbServer.h"
#include "tests/support_lib/PostgresServer.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {

/// What differs between the engines behind the driver manager, one sentence each.
struct Capabilities {
  bool streams = true;          ///< the driver takes long values in pieces: SQLite's wants the length beforehand
  bool enforcesLengths = true;  ///< the engine refuses a text longer than declared: SQLite keeps any length
  bool declaresScale = true;    ///< fractions of seconds follow the declaration: SQLite keeps the text
};

/// An engine with a database of its own for one test.
class Engine {
 public:
  virtual ~Engine() = default;
  [[nodiscard]] virtual std::string ConnectionString() const = 0;
  [[nodiscard]] virtual std::string User() const { return {}; }
  [[nodiscard]] virtual std::string Password() const { return {}; }
  /// The engine's spelling of a type: "text", "blob", "double", "datetime", "boolean", "guid", "money".
  [[nodiscard]] virtual std::string Type(const std::string& what) const = 0;
  [[nodiscard]] virtual Capabilities Can() const { return {}; }
};

[[nodiscard]] std::unique_ptr<Engine> MakeEngine(const std::string& name);
/// The servers of this program, started at first use.
[[nodiscard]] MariaDbServer& MariaDb();
[[nodiscard]] PostgresServer& Postgres();

/// Tests that run on every engine.
class OdbcTest : public ::testing::TestWithParam<std::string> {
 protected:
  OdbcTest();

  void Connect(ado::Connection& target) const;
  void Execute(const std::string& sql) { connection.Execute(sql); }
  /// Opens a query: dynamic and optimistic.
  [[nodiscard]] ado::Recordset Open(const std::string& sql, ado::CursorType cursor = ado::adOpenDynamic,
                                    ado::LockType lock = ado::adLockOptimistic);
  /// The first value of a query's first row, as text.
  [[nodiscard]] std::string Scalar(const std::string& sql);
  [[nodiscard]] std::int64_t Count(const std::string& table) { return std::stoll(Scalar("SELECT COUNT(*) FROM " + table)); }
  template <typename Call>
  static std::int32_t ErrorOf(Call&& call) {
    return runtime::IgnoringErrors(call).number;
  }

  std::unique_ptr<Engine> engine;
  ado::Connection connection;
};

}  // namespace tamlo::tests
