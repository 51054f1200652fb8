#include "tests/ado_suite/Source.h"

#include <algorithm>
#include <map>
#include <utility>

#include "ado/jet/JetProvider.h"
#include "ado/odbc/OdbcProvider.h"
#include "jet/Database.h"
#include "runtime/Conversions.h"

namespace tamlo::tests {

Source::Source(std::string name) : name_(std::move(name)) {
  ado::odbc::RegisterOdbcProviders();
  ado::jetprovider::RegisterJetProvider();
  if (name_ == "Access") {
    (void)::jet::Database::Create(folder_.File("Base.mdb"));
  } else {
    engine_ = MakeEngine(name_);
  }
}

void Source::Connect(ado::Connection& connection) const {
  connection.Provider(engine_ ? "MSDASQL" : "Microsoft.Jet.OLEDB.4.0");
  if (engine_) return connection.Open(engine_->ConnectionString(), engine_->User(), engine_->Password());
  connection.Open(folder_.File("Base.mdb"), "", "");
}

std::string Source::WholeString() const {
  if (!engine_) return "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=" + folder_.File("Base.mdb") + ";";
  const std::string login = engine_->User().empty() ? "" : "User ID=" + engine_->User() + ";Password=" + engine_->Password() + ";";
  return "Provider=MSDASQL;" + login + "Extended Properties=\"" + engine_->ConnectionString() + "\"";
}

std::string Source::Kept(const std::string& name) const {
  std::string kept = name;
  if (name_ == "PostgreSQL") std::transform(kept.begin(), kept.end(), kept.begin(), [](char c) { return static_cast<char>(c | 0x20); });
  return kept;
}

std::string Source::Type(const std::string& what) const {
  static const std::map<std::string, std::string> kAccess{{"text", "MEMO"},         {"blob", "LONGBINARY"}, {"double", "DOUBLE"},
                                                          {"datetime", "DATETIME"}, {"boolean", "BIT"},     {"money", "CURRENCY"}};
  return engine_ ? engine_->Type(what) : kAccess.at(what);
}

SuiteTest::SuiteTest() : source(GetParam()) {
  source.Connect(connection);
  connection.Execute("CREATE TABLE ART (CODE VARCHAR(10) NOT NULL PRIMARY KEY, QTE INTEGER, NOM VARCHAR(20))");
  connection.Execute("INSERT INTO ART VALUES ('A1', 3, 'un')");
  connection.Execute("INSERT INTO ART VALUES ('B2', 1, 'Deux')");
  connection.Execute("INSERT INTO ART VALUES ('C3', 2, NULL)");
  connection.Execute("INSERT INTO ART VALUES ('D4', 1, 'été')");
}

ado::Recordset SuiteTest::Open(const std::string& sql, ado::CursorType cursor, ado::LockType lock, std::int32_t options) {
  ado::Recordset rows;
  rows.Open(sql, &connection, cursor, lock, options);
  return rows;
}

std::int64_t SuiteTest::Count(const std::string& table) {
  const auto rows = Open("SELECT COUNT(*) FROM " + table, ado::adOpenForwardOnly, ado::adLockReadOnly);
  return static_cast<std::int64_t>(runtime::ToDouble(rows.Fields(0).Value()));
}

std::string SuiteTest::Text(const ado::Recordset& rows, const std::string& field) {
  const runtime::Variant value = rows.Fields(field).Value();
  return value.IsNull() ? "(null)" : runtime::ToText(value, {"", '.'});
}

std::string NameOf(const ::testing::TestParamInfo<std::string>& which) { return which.param; }

}  // namespace tamlo::tests
