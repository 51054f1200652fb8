#include "ado/odbc/connect/ConnectionText.h"

#include <algorithm>
#include <array>

#include "ado/ConnectionKeys.h"
#include "ado/odbc/driver/Handle.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/driver/WideText.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

using Keys = ConnectionKeys;

bool Has(const std::vector<std::string>& sources, const std::string& name) {
  const std::string upper = runtime::UpperCase(name);
  return std::any_of(sources.begin(), sources.end(), [&](const std::string& source) { return runtime::UpperCase(source) == upper; });
}

void AppendKey(std::string& text, std::string_view key, const std::string& value) {
  if (value.empty()) return;
  if (!text.empty() && text.back() != ';') text += ';';
  text += std::string(key) + "=" + BracedIfNeeded(value);
}

/// "MSDASQL": the text is the driver manager's own; only the login is added when it has none.
std::string GenericText(const std::string& given, const Keys& keys) {
  if (given.find('=') == std::string::npos) return "DSN=" + BracedIfNeeded(runtime::Trim(given));
  // Keys of the provider itself mean nothing to a driver.
  const std::string extended = ValueOf(keys, {"EXTENDED PROPERTIES"});
  return extended.empty() ? given : extended;
}

std::string SqlServerText(const Keys& keys, bool hasSource) {
  std::string text = hasSource ? "DSN=sqloledb" : "DRIVER={FreeTDS};PORT=1433;TDS_Version=7.4";
  const std::string server = ValueOf(keys, {"DATA SOURCE", "SERVER", "ADDR", "ADDRESS"});
  if (!hasSource || !server.empty()) AppendKey(text, "SERVER", server.empty() ? "localhost" : server);
  AppendKey(text, "DATABASE", ValueOf(keys, {"INITIAL CATALOG", "DATABASE"}));
  return text;
}

std::string OracleText(const std::string& given, const Keys& keys, bool hasSource) {
  const std::string name = given.find('=') == std::string::npos ? given : ValueOf(keys, {"DATA SOURCE", "DBQ", "SERVER"});
  std::string text = hasSource ? "DSN=OraOLEDB.Oracle" : "DRIVER={Oracle}";
  if (!hasSource) AppendKey(text, "DBQ", name.empty() ? "localhost" : name);
  return text;
}

/// The names that SQLDataSources or SQLDrivers gives; both take their arguments alike.
template <typename Next>
std::vector<std::string> Enumerated(Next next) {
  std::vector<std::string> names;
  std::array<char16_t, 256> name{};
  std::array<char16_t, 256> description{};
  SQLSMALLINT nameLength = 0;
  SQLSMALLINT descriptionLength = 0;
  SQLUSMALLINT direction = SQL_FETCH_FIRST;
  while (SQL_SUCCEEDED(next(SharedEnvironment(), direction, reinterpret_cast<SQLWCHAR*>(name.data()), static_cast<SQLSMALLINT>(name.size()),
                            &nameLength, reinterpret_cast<SQLWCHAR*>(description.data()), static_cast<SQLSMALLINT>(description.size()),
                            &descriptionLength))) {
    std::size_t count = 0;
    while (count < name.size() - 1 && name[count] != u'\0') ++count;
    names.push_back(ToUtf8(name.data(), count));
    direction = SQL_FETCH_NEXT;
  }
  return names;
}

}  // namespace

ConnectionText BuildConnectionText(const OpenRequest& request, const std::vector<std::string>& sources) {
  const Keys keys = ParseKeys(request.connectionString);
  const std::string provider = runtime::UpperCase(request.provider);
  ConnectionText result;
  if (provider == "SQLOLEDB") {
    result.text = SqlServerText(keys, Has(sources, "sqloledb"));
  } else if (provider == "ORAOLEDB.ORACLE") {
    result.text = OracleText(request.connectionString, keys, Has(sources, "OraOLEDB.Oracle"));
  } else {
    result.text = GenericText(request.connectionString, keys);
  }
  const Keys chosen = ParseKeys(result.text);
  const auto uid = {std::string_view("UID"), std::string_view("USER"), std::string_view("USER ID"), std::string_view("USERNAME")};
  const auto pwd = {std::string_view("PWD"), std::string_view("PASSWORD")};
  const bool hasLogin = !ValueOf(chosen, uid).empty();
  if (!hasLogin) AppendKey(result.text, "UID", request.userId.empty() ? ValueOf(keys, uid) : request.userId);
  if (ValueOf(chosen, pwd).empty()) AppendKey(result.text, "PWD", request.password.empty() ? ValueOf(keys, pwd) : request.password);
  result.name = ValueOf(chosen, {"DSN", "FILEDSN"});
  if (result.name.empty()) result.name = ValueOf(chosen, {"DRIVER"});
  return result;
}

std::vector<std::string> DataSources() { return Enumerated(SQLDataSourcesW); }
std::vector<std::string> Drivers() { return Enumerated(SQLDriversW); }

}  // namespace tamlo::ado::odbc
