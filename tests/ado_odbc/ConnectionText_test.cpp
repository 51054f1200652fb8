#include "ado/odbc/connect/ConnectionText.h"

#include <gtest/gtest.h>

#include "ado/ConnectionKeys.h"

namespace tamlo::tests {
namespace {

using ado::ParseKeys;
using ado::odbc::BuildConnectionText;

std::string Text(const std::string& provider, const std::string& given, const std::vector<std::string>& sources = {},
                 const std::string& user = "moi", const std::string& password = "pw") {
  return BuildConnectionText({provider, given, user, password}, sources).text;
}

TEST(ConnectionText, ANameWithoutKeysIsADataSource) {
  EXPECT_EQ(Text("MSDASQL", "VOLUMES"), "DSN=VOLUMES;UID=moi;PWD=pw");
  EXPECT_EQ(Text("MSDASQL.1", "Mes volumes", {}, "", ""), "DSN={Mes volumes}");
}

TEST(ConnectionText, AConnectionStringIsHandedOnWithItsLoginCompleted) {
  EXPECT_EQ(Text("MSDASQL", "DRIVER={SQLite3};DATABASE=/a b/c.db", {}, "", ""), "DRIVER={SQLite3};DATABASE=/a b/c.db");
  EXPECT_EQ(Text("MSDASQL", "DSN=X;"), "DSN=X;UID=moi;PWD=pw");
  EXPECT_EQ(Text("MSDASQL", "DSN=X;UID=elle;PWD=z"), "DSN=X;UID=elle;PWD=z");
}

TEST(ConnectionText, SpecialCharactersOfAPasswordAreBraced) {
  EXPECT_EQ(Text("MSDASQL", "X", {}, "u", "a;b}c=d"), "DSN=X;UID=u;PWD={a;b}}c=d}");
}

TEST(ConnectionText, SqlServerTakesItsDataSourceOrFreeTds) {
  EXPECT_EQ(Text("sqloledb", "Initial Catalog=VOLUMES;", {"SQLOLEDB"}), "DSN=sqloledb;DATABASE=VOLUMES;UID=moi;PWD=pw");
  EXPECT_EQ(Text("sqloledb", "Initial Catalog=VOLUMES;"),
            "DRIVER={FreeTDS};PORT=1433;TDS_Version=7.4;SERVER=localhost;DATABASE=VOLUMES;UID=moi;PWD=pw");
  EXPECT_EQ(Text("sqloledb", "Data Source=srv;Initial Catalog=V;User ID=a;Password=b", {}, "", ""),
            "DRIVER={FreeTDS};PORT=1433;TDS_Version=7.4;SERVER=srv;DATABASE=V;UID=a;PWD=b");
}

TEST(ConnectionText, OracleTakesItsDataSourceOrItsDriver) {
  EXPECT_EQ(Text("OraOLEDB.Oracle", "BASE1", {"oraoledb.oracle"}), "DSN=OraOLEDB.Oracle;UID=moi;PWD=pw");
  EXPECT_EQ(Text("OraOLEDB.Oracle", "BASE1"), "DRIVER={Oracle};DBQ=BASE1;UID=moi;PWD=pw");
}

TEST(ConnectionText, KeysAreReadWithBracesAndBlanks) {
  const auto keys = ParseKeys(" Driver = {a;b}}c} ; pwd=x y;;uid=z");
  ASSERT_EQ(keys.size(), 3U);
  EXPECT_EQ(keys[0], (std::pair<std::string, std::string>{"DRIVER", "a;b}c"}));
  EXPECT_EQ(keys[1].second, "x y");
  EXPECT_EQ(keys[2].first, "UID");
}

TEST(ConnectionText, WhatHasNoValueIsNoKeyAndHidesNone) {
  const auto keys = ParseKeys("Trusted;UID=z;PWD={a;UID=root}");
  ASSERT_EQ(keys.size(), 2U);
  EXPECT_EQ(ado::ValueOf(keys, {"UID"}), "z");
  EXPECT_EQ(ado::ValueOf(keys, {"PWD"}), "a;UID=root");
}

}  // namespace
}  // namespace tamlo::tests
