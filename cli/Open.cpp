// Opening databases, and what is said of one that cannot be opened.
#include <filesystem>

#include "ado/ConnectionKeys.h"
#include "ado/Recordset.h"
#include "ado/Secrets.h"
#include "base/FilePath.h"
#include "cli/Failure.h"
#include "cli/Messages.h"
#include "cli/Source.h"
#include "runtime/Error.h"
#include "runtime/Secret.h"

namespace tamlo::cli {
namespace {

[[noreturn]] void CannotOpen(const schema::Address& address, const std::string& why) {
  throw Failure(Status::kCannotOpen, Say(Said::kCannotOpen, {address.shown, why}));
}

bool IsLoginFailure(const runtime::Error& error) {
  for (const auto& record : error.Diagnostics()) {
    if (record.sqlState == "28000" || record.sqlState == "28P01" || record.native == 1045 || record.native == 1698) return true;
    if (record.text.find("no password supplied") != std::string::npos) return true;
    if (record.text.find("password authentication failed") != std::string::npos) return true;
  }
  return false;
}

bool IsMissingDriver(const runtime::Error& error) {
  for (const auto& record : error.Diagnostics())
    if (record.sqlState == "IM002" || record.sqlState == "IM003" || record.text.find("Can't open lib") != std::string::npos) return true;
  return false;
}

/// A connection, or the login's refusal; everything else is a Failure.
struct Attempt {
  std::unique_ptr<ado::Connection> connection;
  std::string refusal;
};

Attempt TryToOpen(const schema::Address& address, Access access, const std::string& password) {
  auto connection = std::make_unique<ado::Connection>();
  try {
    connection->Provider(address.provider);
    connection->CommandTimeout(0);
    connection->Open(access == Access::kRead ? schema::StreamingConnection(address) : address.connection, address.user, password);
  } catch (const runtime::Error& error) {
    if (IsLoginFailure(error)) return {nullptr, ServerText(error)};
    CannotOpen(address, IsMissingDriver(error) ? Say(Said::kNoDriver, {ServerText(error)}) : ServerText(error));
  }
  return {std::move(connection), {}};
}

std::unique_ptr<ado::Connection> Connected(const schema::Address& address, const Login& login, Access access, Secret& used) {
  auto password = GivenPassword(login, address);
  Attempt attempt = TryToOpen(address, access, password.value_or(std::string()));
  if (!attempt.connection && !password) {
    password = AskPassword(address);
    if (password) attempt = TryToOpen(address, access, *password);
  }
  if (password) {
    used.text = *password;
    runtime::Wipe(*password);
  }
  if (!attempt.connection) CannotOpen(address, Say(Said::kLoginRefused, {attempt.refusal}));
  return std::move(attempt.connection);
}

/// The statements that keep a session from changing anything, and have it give moments in UTC.
std::vector<std::string> ReadingOnly(schema::Engine engine) {
  switch (engine) {
    case schema::Engine::kMariaDb:
      return {"SET SESSION TRANSACTION READ ONLY", "SET time_zone = '+00:00'"};
    case schema::Engine::kPostgreSql:
      return {"SET SESSION CHARACTERISTICS AS TRANSACTION READ ONLY", "SET TIME ZONE 'UTC'"};
    case schema::Engine::kSqlite:
      return {"PRAGMA query_only = 1"};
    default:
      return {};
  }
}

std::string ProductOf(const ado::Connection& connection) {
  const ado::Variant name = connection.Property("DBMS Name");
  return name.IsText() ? *name.If<std::string>() : std::string();
}

/// SQLite's driver opens anything: whether it is a database shows with the first statement.
void LookInside(const schema::Address& address, ado::Connection& connection, std::optional<schema::Engine> engine, Access access) {
  try {
    if (engine == schema::Engine::kSqlite) connection.Execute("SELECT count(*) FROM sqlite_master");
    if (!engine || access == Access::kWrite) return;
    for (const std::string& statement : ReadingOnly(*engine)) connection.Execute(statement);
  } catch (const runtime::Error& error) {
    CannotOpen(address, engine == schema::Engine::kSqlite ? Say(Said::kNotADatabase) : ServerText(error));
  }
}

void LookForFile(const schema::Address& address, Access access) {
  if (address.file.empty()) return;
  std::error_code ignored;
  if (std::filesystem::is_directory(base::FilePath(address.file), ignored)) CannotOpen(address, Say(Said::kIsAFolder));
  const bool mayBeMade = access == Access::kWrite && address.engine == schema::Engine::kSqlite;
  if (!mayBeMade && !std::filesystem::exists(base::FilePath(address.file), ignored)) CannotOpen(address, Say(Said::kNoFile));
}

Said SaidOf(schema::AddressFault fault) {
  switch (fault) {
    case schema::AddressFault::kPasswordInside:
      return Said::kPasswordInside;
    case schema::AddressFault::kUnknownScheme:
      return Said::kUnknownScheme;
    case schema::AddressFault::kUnknownOption:
      return Said::kUnknownOption;
    case schema::AddressFault::kBadEscape:
      return Said::kBadEscape;
    case schema::AddressFault::kBadPort:
      return Said::kBadPort;
    case schema::AddressFault::kNoDatabase:
      return Said::kNoDatabase;
    case schema::AddressFault::kBadFile:
      return Said::kBadFileName;
    case schema::AddressFault::kEmpty:
      break;
  }
  return Said::kNoName;
}

}  // namespace

std::string ServerText(const runtime::Error& error) {
  return OneLine(ado::WithoutSecrets(error.Diagnostics().empty() ? error.Description() : error.Diagnostics().front().text));
}

schema::Address AddressOf(const std::string& name) {
  try {
    return schema::ReadAddress(name);
  } catch (const schema::AddressError& error) {
    const std::string why = Say(SaidOf(error.Fault()), {error.what()});
    throw Failure(Status::kCannotOpen, Say(Said::kCannotOpen, {schema::ShownName(name), why}));
  }
}

std::unique_ptr<ado::Connection> OpenAgain(const Opened& opened, Access access) {
  if (!opened.file) {
    Attempt attempt = TryToOpen(opened.address, access, opened.password.text);
    if (!attempt.connection) CannotOpen(opened.address, Say(Said::kLoginRefused, {attempt.refusal}));
    LookInside(opened.address, *attempt.connection, opened.engine, access);
    return std::move(attempt.connection);
  }
  std::string text = opened.address.connection + (access == Access::kRead ? ";Mode=Read" : "");
  const runtime::WipedAtEnd wipe(text);
  if (!opened.password.text.empty()) text += ";Jet OLEDB:Database Password=" + ado::Quoted(opened.password.text);
  auto connection = std::make_unique<ado::Connection>();
  connection->Provider(opened.address.provider);
  connection->Open(text);
  return connection;
}

std::unique_ptr<ado::Connection> OpenForRows(const Opened& opened) {
  if (opened.file) return OpenAgain(opened, Access::kWrite);
  if (opened.engine != schema::Engine::kSqlite || opened.address.file.empty()) return nullptr;
  auto connection = std::make_unique<ado::Connection>();
  try {
    connection->Provider("SQLITE");
    connection->CommandTimeout(0);
    connection->Open("Data Source=" + ado::Quoted(opened.address.file));
  } catch (const runtime::Error& error) {
    if (error.Number() == runtime::kProviderNotFound) return nullptr;
    CannotOpen(opened.address, ServerText(error));
  }
  return connection;
}

Opened Open(const std::string& name, const Login& login, Access access) {
  Opened opened;
  opened.address = AddressOf(name);
  opened.engine = opened.address.engine;
  LookForFile(opened.address, access);
  if (opened.engine == schema::Engine::kAccess) {
    opened.file = OpenFile(name, access == Access::kWrite, login, &opened.password);
    return opened;
  }
  opened.connection = Connected(opened.address, login, access, opened.password);
  opened.product = ProductOf(*opened.connection);
  if (!opened.engine) opened.engine = schema::EngineNamed(opened.product);
  LookInside(opened.address, *opened.connection, opened.engine, access);
  return opened;
}

}  // namespace tamlo::cli
