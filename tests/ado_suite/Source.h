#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

#include "ado/Connection.h"
#include "ado/Recordset.h"
#include "runtime/Error.h"
#include "tests/ado_odbc/Engine.h"

namespace tamlo::tests {

/// An empty database of one provider: an Access file, or one of the engines behind ODBC.
class Source {
 public:
  explicit Source(std::string name);

  void Connect(ado::Connection& connection) const;
  /// A connection string with its provider.
  [[nodiscard]] std::string WholeString() const;
  [[nodiscard]] const std::string& Name() const noexcept { return name_; }
  /// A name as the catalog keeps one that was made without quotes.
  [[nodiscard]] std::string Kept(const std::string& name) const;
  /// "double", "text" ...; see Engine.
  [[nodiscard]] std::string Type(const std::string& what) const;

 private:
  std::string name_;
  TemporaryFolder folder_;
  std::unique_ptr<Engine> engine_;  // null for Access
};

/// A test that runs on every provider, with a table ART: CODE text key, QTE number, NOM text; A1 3 "un", B2 1 "Deux", C3 2 null, D4 1 "été".
class SuiteTest : public ::testing::TestWithParam<std::string> {
 protected:
  SuiteTest();

  [[nodiscard]] ado::Recordset Open(const std::string& sql, ado::CursorType cursor = ado::adOpenStatic,
                                    ado::LockType lock = ado::adLockOptimistic, std::int32_t options = -1);
  [[nodiscard]] ado::Recordset Art(ado::CursorType cursor = ado::adOpenStatic) { return Open("SELECT * FROM ART ORDER BY CODE", cursor); }
  [[nodiscard]] std::int64_t Count(const std::string& table);
  static std::string Text(const ado::Recordset& rows, const std::string& field);
  static std::string Code(const ado::Recordset& rows) { return Text(rows, "CODE"); }
  template <typename Call>
  static std::int32_t ErrorOf(Call&& call) {
    return runtime::IgnoringErrors(call).number;
  }

  Source source;
  ado::Connection connection;
};

[[nodiscard]] std::string NameOf(const ::testing::TestParamInfo<std::string>& which);

}  // namespace tamlo::tests
