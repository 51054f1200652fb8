#include "ado/odbc/facts/DriverFacts.h"

#include <array>
#include <cstdlib>

#include "ado/odbc/driver/Handle.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/driver/WideText.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

std::string TextInfo(void* connection, SQLUSMALLINT which) {
  std::array<char16_t, 256> text{};
  SQLSMALLINT bytes = 0;
  const auto result = SQLGetInfoW(connection, which, text.data(), static_cast<SQLSMALLINT>(sizeof(text)), &bytes);
  if (!SQL_SUCCEEDED(result)) return {};
  std::size_t count = 0;
  while (count < text.size() - 1 && text[count] != u'\0') ++count;
  return ToUtf8(text.data(), count);
}

SQLUINTEGER NumberInfo(void* connection, SQLUSMALLINT which) {
  SQLUINTEGER value = 0;
  SQLSMALLINT length = 0;
  return SQL_SUCCEEDED(SQLGetInfoW(connection, which, &value, sizeof value, &length)) ? value : 0;
}

/// MariaDB's driver 3.1.15 says "null" for no database, which may be the name of one.
bool HasDatabase(void* connection) {
  const Handle statement(Handle::Kind::kStatement, connection);
  std::u16string sql = u"SELECT DATABASE()";
  std::array<char, 8> name{};
  SQLLEN length = SQL_NULL_DATA;
  return SQL_SUCCEEDED(SQLExecDirectW(statement.Get(), reinterpret_cast<SQLWCHAR*>(sql.data()), static_cast<SQLINTEGER>(sql.size()))) &&
         SQL_SUCCEEDED(SQLFetch(statement.Get())) &&
         SQL_SUCCEEDED(SQLGetData(statement.Get(), 1, SQL_C_CHAR, name.data(), name.size(), &length)) && length != SQL_NULL_DATA;
}

Backend BackendOf(const std::string& product) {
  const std::string upper = runtime::UpperCase(product);
  const auto has = [&](const char* word) { return upper.find(word) != std::string::npos; };
  if (has("SQLITE")) return Backend::kSqlite;
  if (has("MARIADB") || has("MYSQL")) return Backend::kMySql;
  if (has("POSTGRES")) return Backend::kPostgres;
  if (has("SQL SERVER") || has("SYBASE")) return Backend::kSqlServer;
  if (has("ORACLE")) return Backend::kOracle;
  return Backend::kOther;
}

/// The numbers are those of docs/backends/odbc.md.
void Measured(DriverFacts& facts, void* connection) {
  switch (facts.backend) {
    case Backend::kSqlite:
      facts.enforcesLengths = false;
      facts.streamsParameters = false;
      facts.keepsByteLengths = true;
      facts.keepsWideStatements = false;
      facts.listsAllColumns = true;
      // The Windows build of libsqliteodbc takes narrow texts for ANSI.
      facts.narrowIsUtf8 = facts.driverName.ends_with(".so");
      facts.momentsAreTexts = true;
      facts.keepsNul = facts.narrowIsUtf8;
      facts.hasNan = false;  // becomes null
      // libsqliteodbc 0.9998 cannot be positioned inside a block, and its texts may be longer than declared: they must be read again.
      facts.leavesBlocks = true;
      facts.batch = BatchMethod::kMultiRowValues;
      facts.batchRows = 200;
      facts.batchParameters = 900;
      break;
    case Backend::kMySql:
      facts.listsAllColumns = true;
      // The catalog call asks for comments too, for which the server opens every table.
      facts.showsTables = true;
      if (facts.catalog == "null" && !HasDatabase(connection)) facts.catalog.clear();
      // MariaDB's driver 3.1.15 says that it can, and then gives the first row's value for every row of the block.
      facts.readsInBlock = false;
      // MariaDB's driver hands narrow texts on as they are, in the character set that the connection speaks.
      facts.narrowIsUtf8 =
          facts.driverName.find("maodbc") != std::string::npos && TextInfo(connection, SQL_COLLATION_SEQ).starts_with("utf8mb4");
      // Its structures have no hours beyond 23, no sign, no day 0; and for each one of an array the driver keeps memory for ever.
      facts.momentsAreTexts = true;
      facts.hasNan = facts.hasInfinity = false;
      facts.batch = BatchMethod::kArray;
      facts.batchRows = 4000;
      break;
    case Backend::kPostgres:
      facts.listsAllColumns = true;
      // Engines that speak its protocol (H2 among them) say that they are of version 8.
      facts.castsToText = std::atoi(TextInfo(connection, SQL_DBMS_VER).c_str()) >= 9;
      facts.momentsAreTexts = facts.castsToText;
      facts.keepsNul = false;
      facts.batch = BatchMethod::kMultiRowValues;
      facts.batchRows = 200;
      facts.batchParameters = 1600;
      break;
    case Backend::kSqlServer:
      facts.openQuote = "[";
      facts.closeQuote = "]";
      facts.batch = BatchMethod::kArray;
      facts.batchRows = 1000;
      facts.testArrays = true;
      break;
    case Backend::kOracle:
      // Its drivers refuse 64-bit integers as parameters, and more than 1024 rows at once.
      facts.numbersAsText = true;
      facts.batch = BatchMethod::kArray;
      facts.batchRows = 1000;
      facts.testArrays = true;
      break;
    case Backend::kOther:
      facts.batch = BatchMethod::kArray;
      facts.batchRows = 500;
      facts.testArrays = true;
      break;
  }
}

}  // namespace

DriverFacts LearnFacts(void* connection) {
  DriverFacts facts;
  facts.backend = BackendOf(TextInfo(connection, SQL_DBMS_NAME));
  facts.driverName = TextInfo(connection, SQL_DRIVER_NAME);
  const std::string quote = TextInfo(connection, SQL_IDENTIFIER_QUOTE_CHAR);
  // A blank means that the driver has no quoting.
  facts.openQuote = facts.closeQuote = quote == " " ? std::string() : quote;
  facts.patternEscape = TextInfo(connection, SQL_SEARCH_PATTERN_ESCAPE);
  if (facts.backend == Backend::kMySql || facts.backend == Backend::kSqlServer) facts.catalog = TextInfo(connection, SQL_DATABASE_NAME);
  const SQLUINTEGER reads = NumberInfo(connection, SQL_GETDATA_EXTENSIONS);
  facts.readsAnyColumn = (reads & SQL_GD_ANY_COLUMN) != 0;
  facts.readsAnyOrder = (reads & SQL_GD_ANY_ORDER) != 0;
  facts.readsBound = (reads & SQL_GD_BOUND) != 0;
  facts.readsInBlock = (reads & SQL_GD_BLOCK) != 0;
  Measured(facts, connection);
  return facts;
}

}  // namespace tamlo::ado::odbc
