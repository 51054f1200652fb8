#include "ado/odbc/connect/RegisteredText.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>

#include "ado/ConnectionKeys.h"
#include "ado/odbc/connect/ConnectionText.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

/// What a value may be.
enum class Kind {
  kText,      ///< anything that every reader takes alike
  kName,      ///< no path either
  kDatabase,  ///< a name, or the path of a file that is there
  kSecret,    ///< as kText; messages leave it out
};

struct Key {
  std::string_view name;
  Kind kind;
};

/// Keys that say whom to talk to, as whom, and how values are shown. Everything that is not here is refused: drivers know keys that load a
/// library, write a log, read another settings file or run a program, and nobody has the whole list of those.
constexpr std::array kKeys{
    Key{"UID", Kind::kText},
    Key{"USER", Kind::kText},
    Key{"USERNAME", Kind::kText},
    Key{"USER ID", Kind::kText},
    Key{"PWD", Kind::kSecret},
    Key{"PASSWORD", Kind::kSecret},
    Key{"SERVER", Kind::kText},
    Key{"SERVERNAME", Kind::kText},
    Key{"HOST", Kind::kText},
    Key{"ADDRESS", Kind::kText},
    Key{"ADDR", Kind::kText},
    Key{"PORT", Kind::kName},
    Key{"TCPIP_PORT", Kind::kName},
    Key{"SOCKET", Kind::kText},
    Key{"NETWORK", Kind::kName},
    Key{"DATABASE", Kind::kDatabase},
    Key{"DB", Kind::kDatabase},
    Key{"DBQ", Kind::kDatabase},
    Key{"SCHEMA", Kind::kName},
    Key{"SID", Kind::kName},
    Key{"SERVICE", Kind::kName},
    Key{"TABLE", Kind::kText},
    Key{"APP", Kind::kText},
    Key{"WSID", Kind::kText},
    Key{"DESCRIPTION", Kind::kText},
    Key{"DESC", Kind::kText},
    Key{"LANGUAGE", Kind::kName},
    Key{"TRUSTED_CONNECTION", Kind::kName},
    Key{"ENCRYPT", Kind::kName},
    Key{"TRUSTSERVERCERTIFICATE", Kind::kName},
    Key{"QUOTEDID", Kind::kName},
    Key{"ANSINPW", Kind::kName},
    Key{"AUTOTRANSLATE", Kind::kName},
    Key{"REGIONAL", Kind::kName},
    Key{"CHARSET", Kind::kName},
    Key{"CLIENTCHARSET", Kind::kName},
    Key{"OPTION", Kind::kName},
    Key{"TDS_VERSION", Kind::kName},
    Key{"SSLMODE", Kind::kName},
    Key{"FORCETLS", Kind::kName},
    Key{"TIMEOUT", Kind::kName},
    Key{"LOGINTIMEOUT", Kind::kName},
    Key{"CONN_TIMEOUT", Kind::kName},
    Key{"READTIMEOUT", Kind::kName},
    Key{"WRITETIMEOUT", Kind::kName},
    Key{"READONLY", Kind::kName},
    Key{"PROTOCOL", Kind::kName},
    Key{"FAKEOIDINDEX", Kind::kName},
    Key{"SHOWOIDCOLUMN", Kind::kName},
    Key{"ROWVERSIONING", Kind::kName},
    Key{"SHOWSYSTEMTABLES", Kind::kName},
    Key{"UNKNOWNSIZES", Kind::kName},
    Key{"MAXVARCHARSIZE", Kind::kName},
    Key{"MAXLONGVARCHARSIZE", Kind::kName},
    Key{"BOOLSASCHAR", Kind::kName},
    Key{"BYTEAASLONGVARBINARY", Kind::kName},
    Key{"TEXTASLONGVARCHAR", Kind::kName},
    Key{"UNKNOWNSASLONGVARCHAR", Kind::kName},
    Key{"LOWERCASEIDENTIFIER", Kind::kName},
    Key{"USESERVERSIDEPREPARE", Kind::kName},
    Key{"UPDATABLECURSORS", Kind::kName},
    Key{"LFCONVERSION", Kind::kName},
    Key{"TRUEISMINUS1", Kind::kName},
    Key{"BI", Kind::kName},
    Key{"STEPAPI", Kind::kName},
    Key{"SYNCPRAGMA", Kind::kName},
    Key{"NOTXN", Kind::kName},
    Key{"SHORTNAMES", Kind::kName},
    Key{"LONGNAMES", Kind::kName},
    Key{"NOCREAT", Kind::kName},
    Key{"NOWCHAR", Kind::kName},
    Key{"FKSUPPORT", Kind::kName},
    Key{"OEMCP", Kind::kName},
    Key{"BIGINT", Kind::kName},
    Key{"JDCONV", Kind::kName},
};

[[noreturn]] void Refuse(const std::string& why) {
  throw runtime::Error(runtime::kProviderFailure, "La chaîne de connexion d'un lien est refusée : " + why);
}

bool HasAny(std::string_view value, std::string_view signs) { return value.find_first_of(signs) != std::string_view::npos; }

bool IsKnown(const std::vector<std::string>& names, const std::string& name) {
  const std::string upper = runtime::UpperCase(name);
  return std::any_of(names.begin(), names.end(), [&](const std::string& known) { return runtime::UpperCase(known) == upper; });
}

/// Letters and digits of a driver's short keys ("A0" to "DZ" of PostgreSQL's), which only hold numbers and flags.
bool IsShortKey(const std::string& key) {
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  const auto isLetter = [](char c) { return c >= 'A' && c <= 'Z'; };
  return key.size() == 2 && key[0] >= 'A' && key[0] <= 'D' && (isDigit(key[1]) || isLetter(key[1]));
}

void RequireFile(const std::string& key, const std::string& value) {
  std::error_code problem;
  const std::filesystem::path path(std::u8string(value.begin(), value.end()));
  if (!std::filesystem::is_regular_file(path, problem)) Refuse(key + " nomme \"" + value + "\", qui n'est pas un fichier présent");
}

void RequireValue(const std::string& key, Kind kind, const std::string& value) {
  const bool twoWays = std::any_of(value.begin(), value.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; }) ||
                       HasAny(value, kind == Kind::kSecret ? "{};" : "{};=\"'[]");
  if (twoWays) Refuse("la valeur de " + key + " contient un signe qui peut se lire de deux façons");
  const bool path = HasAny(value, "/\\");
  if (kind == Kind::kName && path) Refuse(key + " ne peut pas être un chemin");
  if (kind == Kind::kDatabase && path) RequireFile(key, value);
}

void RequireKnownName(const std::string& key, const std::string& name, const std::vector<std::string>& known) {
  if (HasAny(name, "/\\{};=\"'") || !IsKnown(known, name)) {
    Refuse("\"" + name + "\" n'est pas " + (key == "DSN" ? "une source de données" : "un pilote") + " de cette machine");
  }
}

Kind KindOf(const std::string& key) {
  const auto found = std::find_if(kKeys.begin(), kKeys.end(), [&](const Key& known) { return known.name == key; });
  if (found != kKeys.end()) return found->kind;
  if (IsShortKey(key)) return Kind::kName;
  Refuse("la clé " + key + " n'y est pas admise");
}

}  // namespace

OpenRequest Registered(const OpenRequest& request, const std::vector<std::string>& sources, const std::vector<std::string>& drivers) {
  OpenRequest safe = request;
  if (request.connectionString.find('=') == std::string::npos) {
    RequireKnownName("DSN", std::string(runtime::Trim(request.connectionString)), sources);
    return safe;
  }
  safe.connectionString.clear();
  std::set<std::string> seen;
  for (const auto& [key, value] : ParseKeys(request.connectionString)) {
    if (value.empty()) continue;
    if (!seen.insert(key).second) Refuse("la clé " + key + " y est deux fois");
    if (key == "DSN" || key == "DRIVER") {
      RequireKnownName(key, value, key == "DSN" ? sources : drivers);
      safe.connectionString += key + "=" + (key == "DRIVER" ? "{" + value + "}" : value) + ";";
      continue;
    }
    RequireValue(key, KindOf(key), value);
    safe.connectionString += key + "=" + value + ";";
  }
  if (seen.count("DSN") + seen.count("DRIVER") != 1) Refuse("elle doit nommer une source de données ou un pilote, et un seul");
  return safe;
}

}  // namespace tamlo::ado::odbc
