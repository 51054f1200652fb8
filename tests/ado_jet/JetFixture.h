#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "ado/Catalog.h"
#include "ado/Connection.h"
#include "ado/Recordset.h"
#include "ado/jet/JetProvider.h"
#include "jet/Database.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/RegionalSettings.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {

/// A new Access file in a folder of its own, open through the provider. At the end of each test the file must be sound.
class JetFixture : public testing::Test {
 protected:
  void SetUp() override {
    ado::jetprovider::RegisterJetProvider();
    path = folder.File("Base.mdb");
    (void)::jet::Database::Create(path);
    connection.Provider("Microsoft.Jet.OLEDB.4.0");
    connection.Open(path, "", "");
  }
  void TearDown() override {
    if (connection.IsOpen()) connection.Close();
    const auto database = ::jet::Database::Open(path);
    for (const ::jet::Finding& finding : database->Check())
      ADD_FAILURE() << "page " << finding.page << " offset " << finding.offset << ": " << finding.text;
  }

  /// With a point, whatever the locale of who runs the tests.
  static std::string TextOf(const ado::Variant& value) {
    const runtime::RegionalSettingsOverride point({"", '.'});
    return value.IsNull() ? "NULL" : runtime::ToText(value);
  }

  static std::string Rows(ado::Recordset& rows) {
    std::string out;
    for (bool first = true; !rows.Eof(); rows.MoveNext(), first = false) {
      if (!first) out += "; ";
      for (std::size_t i = 0; i < rows.FieldCount(); ++i) out += (i > 0 ? "|" : "") + TextOf(rows.Fields(i).Value());
    }
    return out;
  }
  std::string Rows(const std::string& text) {
    ado::Recordset rows;
    rows.Open(text, &connection, ado::adOpenForwardOnly, ado::adLockUnspecified, -1);
    return Rows(rows);
  }
  ado::Recordset Opened(const std::string& text, int option) {
    ado::Recordset rows;
    if (option == 0) rows.Open(text, &connection, ado::adOpenForwardOnly, ado::adLockUnspecified, -1);
    if (option == 1) rows.Open(text, &connection, ado::adOpenKeyset, ado::adLockOptimistic, ado::adCmdTableDirect);
    if (option == 2) rows.Open(text, &connection, ado::adOpenDynamic, ado::adLockOptimistic, -1);
    if (option == 3) rows.Open(text, &connection, ado::adOpenStatic, ado::adLockUnspecified, -1);
    return rows;
  }

  TemporaryFolder folder;
  std::string path;
  ado::Connection connection;
};

}  // namespace tamlo::tests
