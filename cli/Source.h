#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ado/Connection.h"
#include "cli/Password.h"
#include "jet/Database.h"
#include "runtime/Error.h"
#include "schema/Address.h"

namespace tamlo::cli {

enum class Access { kRead, kWrite };

/// An open database: a file of Access, or a connection to any other.
struct Opened {
  schema::Address address;
  std::optional<schema::Engine> engine;         ///< none for a source whose product is not known here
  std::string product;                          ///< as the driver names it; empty for Access files
  std::unique_ptr<jet::Database> file;          ///< Access files
  std::unique_ptr<ado::Connection> connection;  ///< all others
  Secret password;                              ///< for opening it once more
};

/// Opens what the name says. For reading alone, the server is told that nothing is to be changed, and moments with a zone come in UTC; rows can
/// then only be read forward. For writing, an SQLite file that is not there is made; an Access file is not. Statements may take as long as they take.
/// Where the server wants a password and none is given, a person is asked. Failure with kCannotOpen, in one line without any password, for
/// whatever cannot be opened.
[[nodiscard]] Opened Open(const std::string& name, const Login& login = {}, Access access = Access::kRead);

/// The same database by one more connection, an Access file too; nobody is asked for a password again. Failure as Open.
[[nodiscard]] std::unique_ptr<ado::Connection> OpenAgain(const Opened& opened, Access access);

/// A connection of its own for writing many rows, of files: Access ones by our engine, SQLite's by SQLite's own interface where this build has it. Null
/// for all else: the rows then go through the one that there is. Failure as Open.
[[nodiscard]] std::unique_ptr<ado::Connection> OpenForRows(const Opened& opened);

/// Opens an Access file, for reading unless it is to be changed. Where it wants a password and none is given, a person is asked. used: becomes
/// the password. Failure with kCannotOpen, naming the file and why.
[[nodiscard]] std::unique_ptr<jet::Database> OpenFile(const std::string& name, bool toWrite = false, const Login& login = {},
                                                      Secret* used = nullptr);

/// Where a database is, as ReadAddress says. Failure with kCannotOpen for what it refuses.
[[nodiscard]] schema::Address AddressOf(const std::string& name);

/// What the driver said, in one line without passwords; what the provider says where no driver did.
[[nodiscard]] std::string ServerText(const runtime::Error& error);

/// True when the name matches a pattern with "*" and "?", without regard to case.
[[nodiscard]] bool Matches(std::string_view name, std::string_view pattern);
/// The tables of the file whose names match one of the patterns, in the order of their names; all for none. A pattern that no table matches is
/// a Failure with kUsage.
[[nodiscard]] std::vector<std::string> TablesNamed(jet::Database& database, const std::vector<std::string>& patterns);
/// The same of a list of names.
[[nodiscard]] std::vector<std::string> NamesMatching(const std::vector<std::string>& all, const std::vector<std::string>& patterns);

}  // namespace tamlo::cli
