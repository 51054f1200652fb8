#include "schema/Address.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <map>

#include "ado/ConnectionKeys.h"
#include "ado/Secrets.h"
#include "base/Case.h"
#include "base/FilePath.h"
#include "base/Numbers.h"

namespace tamlo::schema {
namespace {

constexpr std::string_view kOdbc = "MSDASQL";
constexpr std::string_view kJet = "Microsoft.Jet.OLEDB.4.0";

/// Texts of a URL, "%41" read as "A".
std::string Decoded(std::string_view text) {
  std::string decoded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded += text[i];
      continue;
    }
    const auto code = i + 2 < text.size() ? base::ReadWhole<unsigned>(text.substr(i + 1, 2), 16) : std::nullopt;
    if (!code || *code == 0) throw AddressError(AddressFault::kBadEscape, std::string(text.substr(i, 3)));
    decoded += static_cast<char>(*code);
    i += 2;
  }
  return decoded;
}

struct Parts {
  std::string host, port, database, user;
  std::map<std::string, std::string> options;
};

std::map<std::string, std::string> OptionsOf(std::string_view query) {
  std::map<std::string, std::string> options;
  while (!query.empty()) {
    const std::string_view pair = query.substr(0, query.find('&'));
    query.remove_prefix(std::min(query.size(), pair.size() + 1));
    const auto equals = pair.find('=');
    const std::string key = base::LowerCase(Decoded(pair.substr(0, equals)));
    if (!key.empty()) options[key] = equals == std::string_view::npos ? std::string() : Decoded(pair.substr(equals + 1));
  }
  return options;
}

/// A password stands between the first ":" and an "@" behind it. It may hold anything, "/" and "@" too: up to the last "@" nothing is shown.
bool HasPassword(std::string_view rest) {
  const auto first = rest.find_first_of(":@");
  return first != std::string_view::npos && rest[first] == ':' && rest.find('@', first) != std::string_view::npos;
}

Parts PartsOf(std::string_view scheme, std::string_view rest) {
  const std::string shown = ShownName(std::string(scheme) + "://" + std::string(rest));
  if (HasPassword(rest)) throw AddressError(AddressFault::kPasswordInside, shown);
  Parts parts;
  if (const auto mark = rest.find('?'); mark != std::string_view::npos) {
    parts.options = OptionsOf(rest.substr(mark + 1));
    rest = rest.substr(0, mark);
  }
  for (const auto& [key, value] : parts.options)
    if (key.find("pass") != std::string::npos || key.find("pwd") != std::string::npos)
      throw AddressError(AddressFault::kPasswordInside, shown);
  const auto slash = rest.find('/');
  if (slash != std::string_view::npos) parts.database = Decoded(rest.substr(slash + 1));
  std::string_view authority = rest.substr(0, slash);
  if (const auto at = authority.rfind('@'); at != std::string_view::npos) {
    parts.user = Decoded(authority.substr(0, at));
    authority = authority.substr(at + 1);
  }
  // An address of IPv6 stands between brackets, for its colons.
  const auto colon = authority.find(':', authority.starts_with('[') ? std::min(authority.find(']'), authority.size()) : 0);
  if (colon != std::string_view::npos) parts.port = std::string(authority.substr(colon + 1));
  parts.host = Decoded(authority.substr(0, colon));
  if (parts.host.starts_with('[') && parts.host.ends_with(']')) parts.host = parts.host.substr(1, parts.host.size() - 2);
  const auto port = base::ReadWhole<unsigned>(parts.port);
  if (!parts.port.empty() && (!port || *port == 0 || *port > 65535)) throw AddressError(AddressFault::kBadPort, parts.port);
  if (parts.database.empty()) throw AddressError(AddressFault::kNoDatabase, shown);
  return parts;
}

/// What a kind of server calls the parts of a URL.
struct Server {
  Engine engine;
  std::string_view driver, hostKey, socketKey;
  std::string_view always;                       ///< keys that every connection has
  std::array<std::string_view, 2> socketOption;  ///< words of the URL for a socket
  std::string_view sslKey;
};
constexpr Server kMariaDb{Engine::kMariaDb, "MariaDB Unicode", "SERVER", "SOCKET", "CHARSET=utf8mb4", {"socket", "socket"}, ""};
// Truth values as such, bytes of any length, and texts as long as they may be (docs/backends/odbc.md).
constexpr Server kPostgreSql{Engine::kPostgreSql,
                             "PostgreSQL Unicode",
                             "SERVERNAME",
                             "SERVERNAME",
                             "BoolsAsChar=0;ByteaAsLongVarBinary=1;MaxVarcharSize=8190",
                             {"socket", "host"},
                             "SSLMODE"};

struct Scheme {
  std::string_view name;
  const Server* server;
};
constexpr std::array<Scheme, 4> kSchemes{
    {{"mariadb", &kMariaDb}, {"mysql", &kMariaDb}, {"postgresql", &kPostgreSql}, {"postgres", &kPostgreSql}}};

void AddPair(std::string& text, std::string_view key, std::string_view value) {
  if (!value.empty()) text += std::string(key) + "=" + ado::BracedIfNeeded(value) + ";";
}

/// Takes the options that are known out of the parts.
std::string TakeOption(Parts& parts, std::string_view name) {
  const auto found = parts.options.find(std::string(name));
  if (found == parts.options.end()) return {};
  std::string value = std::move(found->second);
  parts.options.erase(found);
  return value;
}

Address ServerAddress(const Server& server, std::string_view name, Parts parts) {
  Address address;
  address.shown = name;
  address.engine = server.engine;
  address.provider = kOdbc;
  address.user = parts.user;
  std::string driver = TakeOption(parts, "driver");
  std::string socket = TakeOption(parts, server.socketOption[0]);
  if (socket.empty()) socket = TakeOption(parts, server.socketOption[1]);
  const std::string ssl = server.sslKey.empty() ? std::string() : TakeOption(parts, "sslmode");
  if (!parts.options.empty()) throw AddressError(AddressFault::kUnknownOption, parts.options.begin()->first);
  std::string& text = address.connection;
  text = "DRIVER={" + (driver.empty() ? std::string(server.driver) : driver) + "};";
  if (socket.empty()) {
    AddPair(text, server.hostKey, parts.host.empty() ? "localhost" : parts.host);
  } else {
    AddPair(text, server.socketKey, socket);
  }
  AddPair(text, "PORT", parts.port.empty() && server.engine == Engine::kPostgreSql ? "5432" : parts.port);
  AddPair(text, "DATABASE", parts.database);
  AddPair(text, server.sslKey, ssl);
  text += server.always;
  return address;
}

Address OdbcAddress(std::string_view given) {
  const std::string shown = "odbc:" + ado::WithoutSecrets(given);
  if (!ado::SecretRanges(given).empty()) throw AddressError(AddressFault::kPasswordInside, shown);
  if (given.find_first_not_of(' ') == std::string_view::npos) throw AddressError(AddressFault::kEmpty, shown);
  Address address;
  address.shown = shown;
  address.provider = kOdbc;
  address.connection = given;
  address.user = ado::ValueOf(ado::ParseKeys(given), {"UID", "USER", "USER ID", "USERNAME"});
  return address;
}

bool HasSqliteEnding(std::string_view name) {
  constexpr std::array<std::string_view, 5> kEndings{".sqlite", ".sqlite3", ".db", ".db3", ".s3db"};
  const std::string lower = base::LowerCase(name);
  return std::any_of(kEndings.begin(), kEndings.end(), [&](std::string_view ending) { return lower.ends_with(ending); });
}

bool IsSqliteFile(std::string_view name) {
  std::array<char, 16> first{};
  std::ifstream file{base::FilePath(name), std::ios::binary};
  file.read(first.data(), first.size());
  const std::string_view read(first.data(), static_cast<std::size_t>(file.gcount()));
  if (read == std::string_view("SQLite format 3\0", 16)) return true;
  const std::string_view words = read.substr(std::min<std::size_t>(read.size(), 4));
  const bool isAccess = words.starts_with("Standard Jet") || words.starts_with("Standard ACE");
  return !isAccess && HasSqliteEnding(name);
}

Address FileAddress(std::string_view name) {
  if (name.empty()) throw AddressError(AddressFault::kEmpty, {});
  Address address;
  address.shown = name;
  address.file = name;
  if (!IsSqliteFile(name)) {
    address.engine = Engine::kAccess;
    address.provider = kJet;
    const bool quoted = name.find_first_of(";\"") != std::string_view::npos;
    address.connection = quoted ? "Data Source=\"" + address.file + '"' : "Data Source=" + address.file;
    return address;
  }
  // The driver takes everything up to the next ";" and knows no braces.
  if (name.find(';') != std::string_view::npos) throw AddressError(AddressFault::kBadFile, address.shown);
  address.engine = Engine::kSqlite;
  address.provider = kOdbc;
  address.connection = "DRIVER={SQLite3};FKSUPPORT=1;TIMEOUT=5000;DATABASE=" + address.file;
  return address;
}

}  // namespace

std::string ShownName(std::string_view name) {
  const auto scheme = name.find("://");
  if (scheme == std::string_view::npos) return ado::WithoutSecrets(name);
  const std::string_view rest = name.substr(scheme + 3);
  if (!HasPassword(rest)) return ado::WithoutSecrets(name);
  return std::string(name.substr(0, scheme + 3)) + std::string(rest.substr(0, rest.find(':'))) +
         ado::WithoutSecrets(rest.substr(rest.rfind('@')));
}

Address ReadAddress(std::string_view name) {
  if (base::LowerCase(name.substr(0, 5)) == "odbc:") return OdbcAddress(name.substr(5));
  const auto scheme = name.find("://");
  if (scheme == std::string_view::npos) return FileAddress(name);
  const std::string word = base::LowerCase(name.substr(0, scheme));
  const auto known = std::find_if(kSchemes.begin(), kSchemes.end(), [&](const Scheme& one) { return one.name == word; });
  if (known == kSchemes.end()) throw AddressError(AddressFault::kUnknownScheme, word);
  return ServerAddress(*known->server, name, PartsOf(word, name.substr(scheme + 3)));
}

std::string StreamingConnection(const Address& address) {
  if (address.engine == Engine::kSqlite) return "STEPAPI=1;NOCREAT=1;" + address.connection;
  // psqlodbc 13.02 then reads by a cursor of the server, some rows at a time; a driver of another source would not know the words.
  if (address.engine == Engine::kPostgreSql) return address.connection + ";USEDECLAREFETCH=1;FETCH=2000";
  return address.connection;
}

std::optional<Engine> EngineNamed(std::string_view productName) {
  struct Product {
    std::string_view word;
    Engine engine;
  };
  constexpr std::array<Product, 6> kProducts{{{"mariadb", Engine::kMariaDb},
                                              {"mysql", Engine::kMariaDb},
                                              {"postgresql", Engine::kPostgreSql},
                                              {"sqlite", Engine::kSqlite},
                                              {"sql server", Engine::kSqlServer},
                                              {"oracle", Engine::kOracle}}};
  const std::string lower = base::LowerCase(productName);
  for (const Product& product : kProducts)
    if (lower.find(product.word) != std::string::npos) return product.engine;
  return std::nullopt;
}

}  // namespace tamlo::schema
