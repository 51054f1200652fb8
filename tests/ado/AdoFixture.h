#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "ado/Connection.h"
#include "runtime/Error.h"
#include "tests/support_lib/RecordingProvider.h"

namespace tamlo::tests {

/// A recording backend with a table ART (CODE text key, QTE number, NOTE long text) of three rows, and a connection to it.
class AdoFixture : public ::testing::Test {
 protected:
  AdoFixture() {
    ScriptedTable art;
    art.name = "ART";
    art.columns = {MakeColumn("CODE", ado::adVarWChar, 10), MakeColumn("QTE", ado::adInteger), MakeColumn("NOTE", ado::adLongVarWChar)};
    art.indexes = {MakeIndex("PK", {"CODE"}, true)};
    art.rows = {{"A1", std::int32_t{1}, runtime::Null{}}, {"B2", std::int32_t{2}, "été"}, {"C3", std::int32_t{3}, "x"}};
    backend.AddTable(std::move(art));
  }

  void Open() {
    connection.Provider("MSDASQL");
    connection.Open("BASE", "moi", "secret");
    backend.ClearCalls();
  }

  /// Number of the error that the call raises; 0 when it raises none.
  template <typename Call>
  static std::int32_t ErrorOf(Call&& call) {
    return runtime::IgnoringErrors(call).number;
  }

  RecordingProvider backend;
  ado::Connection connection;
};

}  // namespace tamlo::tests
