#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tamlo::ado::odbc {

/// The database below a connection, as far as it makes a difference here.
enum class Backend { kSqlite, kMySql, kPostgres, kSqlServer, kOracle, kOther };

/// How many rows at once are written.
enum class BatchMethod { kArray, kMultiRowValues, kRowByRow };

/// What is known of a driver and its database: measured for those that are named, asked of the driver for the rest.
struct DriverFacts {
  Backend backend = Backend::kOther;
  std::string driverName;        ///< as the driver gives it, such as "libmaodbc.so"
  std::string openQuote = "\"";  ///< around names
  std::string closeQuote = "\"";
  std::string patternEscape;  ///< takes the meaning from a sign of a pattern; empty where there is none
  std::string catalog;        ///< the current one, where catalog functions must be told; else empty

  bool readsAnyColumn = false;  ///< SQLGetData also before the last bound column
  bool readsAnyOrder = false;   ///< SQLGetData in any order of columns
  bool readsBound = false;      ///< SQLGetData of bound columns
  bool readsInBlock = false;    ///< SQLGetData after positioning inside a block
  bool leavesBlocks = false;    ///< of a static cursor: goes back from a block to any row of it, and on from there one by one

  bool enforcesLengths = true;      ///< declared lengths of texts hold
  bool streamsParameters = true;    ///< takes parameters in pieces without being told their length
  bool keepsWideStatements = true;  ///< characters beyond the 16-bit plane survive in statement texts
  bool numbersAsText = false;       ///< exact and 64-bit numbers are bound as texts
  bool narrowIsUtf8 = false;        ///< narrow texts are UTF-8 in both directions, so that nobody need convert them
  bool momentsAreTexts = false;     ///< days and times go as texts: the driver's structures hold less than the backend's values
  bool castsToText = false;         ///< PostgreSQL's own server: "value::text" is its text of a value. Others speak its protocol
  bool keepsNul = true;             ///< a character 0 inside a text is written like any other
  bool hasNan = true;               ///< numbers that are none are stored as such
  bool hasInfinity = true;          ///< so are infinite ones
  bool keepsByteLengths = false;    ///< bytes keep the length of their parameter's first execution: they are bound anew for each
  bool listsAllColumns = false;     ///< one catalog call gives the columns of every table
  bool showsTables = false;         ///< SHOW FULL TABLES lists the tables, much faster than the catalog call

  std::size_t readBlockRows = 1000;
  BatchMethod batch = BatchMethod::kRowByRow;
  std::size_t batchRows = 1;        ///< rows of one batch at most
  std::size_t batchParameters = 0;  ///< parameters of one statement at most; 0 is without limit
  bool testArrays = false;          ///< array binding is tried out once before it is trusted
};

/// What is known of the driver of an open connection.
[[nodiscard]] DriverFacts LearnFacts(void* connection);

}  // namespace tamlo::ado::odbc
