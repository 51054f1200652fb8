#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Error.h"
#include "schema/Dialect.h"

namespace tamlo::schema {

/// Where a database is, as a person names it: plain values, nothing is opened. A password is never part of it.
struct Address {
  std::string shown;             ///< the name for messages, without anything that could be a password
  std::optional<Engine> engine;  ///< none where only the driver knows ("odbc:")
  std::string file;              ///< of Access and SQLite; empty for servers
  std::string provider;          ///< of ado::Connection::Provider
  std::string connection;        ///< what ado::Connection::Open takes, without user and password
  std::string user;              ///< empty where none is named
};

/// What is wrong with a name. The text behind it is shown to people: it holds no password.
enum class AddressFault {
  kPasswordInside,  ///< what() is the name without it
  kUnknownScheme,   ///< "oracle" of "oracle://..."
  kUnknownOption,   ///< behind "?"
  kBadEscape,       ///< a "%" without two hexadecimal digits
  kBadPort,
  kNoDatabase,  ///< a server without the name of a database
  kBadFile,     ///< a file name that the driver would read otherwise (";" in it)
  kEmpty,
};

class AddressError : public base::Error {
 public:
  AddressError(AddressFault fault, const std::string& text) : base::Error(text), fault_(fault) {}
  [[nodiscard]] AddressFault Fault() const noexcept { return fault_; }

 private:
  AddressFault fault_;
};

/// Reads a name:
/// - "odbc:CONNECTION STRING", or "odbc:NAME" of a data source;
/// - "mariadb://user@host:port/database?socket=/path" ("mysql://" is the same), "postgresql://user@host:port/database?socket=/folder"
///   ("postgres://"; "host" is another word for "socket"). Parts but the database may be left out; "%20" stands for a blank, and so on;
///   "driver" names another ODBC driver, "sslmode" goes to PostgreSQL's;
/// - anything else is a file. One that is there is told by its first bytes, else by its ending: .sqlite, .sqlite3, .db, .db3 and .s3db are
///   SQLite's, all others Access's.
/// Errors: AddressError. Whether something is there is not looked at.
[[nodiscard]] Address ReadAddress(std::string_view name);

/// The name as messages may show it: whatever stands where a password could is left out.
[[nodiscard]] std::string ShownName(std::string_view name);

/// The connection string for reading rows one after another without keeping them, where the engine's driver can: memory stays flat.
/// Other cursors than forward-only ones are then not to be had.
[[nodiscard]] std::string StreamingConnection(const Address& address);

/// The engine that a connected driver names ("MariaDB", "PostgreSQL", "SQLite", "Microsoft SQL Server", "Oracle"); none for any other.
[[nodiscard]] std::optional<Engine> EngineNamed(std::string_view productName);

}  // namespace tamlo::schema
