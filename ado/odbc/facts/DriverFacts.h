#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "ado/odbc/facts/CatalogFacts.h"
#include "ado/odbc/facts/DriverAnswers.h"
#include "ado/odbc/facts/ValueFacts.h"

namespace tamlo::ado::odbc {

/// How many rows at once are written.
enum class BatchMethod { kArray, kMultiRowValues, kColumnArrays, kRowByRow };

/// How the server is asked for values that its driver would spoil, by a query around the query: not at all, as SQLite's literals, by
/// PostgreSQL's casts, or by MySQL's functions, which is done for the most careful reading alone.
enum class ServerForms { kNone, kLiterals, kCasts, kFunctions };

/// Where the output parameters of a call are: nowhere, in a row behind the call's other rows, or in its only row.
enum class CallOutputs { kNone, kRowBehind, kOnlyRow };

/// Names in statements and patterns.
struct NameFacts {
  std::string openQuote = "\"";  ///< around names
  std::string closeQuote = "\"";
  std::string patternEscape;  ///< takes the meaning from a sign of a pattern; empty where there is none
  std::string catalog;        ///< the current one, where catalog functions must be told; else empty
  bool foldsNames = false;    ///< a word without quotes is another name than one between them
};

/// How rows are described and fetched.
struct ReadFacts {
  bool readsAnyColumn = false;  ///< SQLGetData also before the last bound column
  bool readsAnyOrder = false;   ///< SQLGetData in any order of columns
  bool readsBound = false;      ///< SQLGetData of bound columns
  bool readsInBlock = false;    ///< SQLGetData after positioning inside a block
  bool leavesBlocks = false;    ///< of a static cursor: goes back from a block to any row of it, and on from there one by one
  bool drainsToRewind = false;  ///< begins a value anew only after it has said that there is no more of it; else after another column
  bool bitsAreNumbers = false;  ///< truth values are fetched as small numbers
  std::size_t readBlockRows = 1000;

  bool declaredTypesDecide = false;   ///< the type's name as declared decides, not the driver's code of it
  bool longTextsLookShort = false;    ///< TEXT and JSON are described as a varchar
  bool tellsMomentDigits = true;      ///< describes how many digits of a second a column keeps
  bool keepsMomentTexts = false;      ///< moments keep as many digits as were written
  bool roundsMoments = false;         ///< the server rounds where it does not tell them
  bool tellsTables = false;           ///< columns are described with their table, expressions without
  bool firstRowTellsTypes = false;    ///< expressions have their type once a first row is there
  std::string_view freshDefinitions;  ///< a query that lets the driver learn what others have defined; empty where it knows
  ServerForms serverForms = ServerForms::kNone;
  CallOutputs callOutputs = CallOutputs::kNone;
};

/// How values and rows are written.
struct WriteFacts {
  bool enforcesLengths = true;      ///< declared lengths of texts hold
  bool streamsParameters = true;    ///< takes parameters in pieces without being told their length
  bool keepsWideStatements = true;  ///< characters beyond the 16-bit plane survive in statement texts
  bool numbersAsText = false;       ///< exact and 64-bit numbers are bound as texts
  bool narrowIsUtf8 = false;        ///< narrow texts are UTF-8 in both directions, so that nobody need convert them
  bool momentsAreTexts = false;     ///< days and times go as texts: the driver's structures hold less than the backend's values
  bool keepsByteLengths = false;    ///< bytes keep the length of their parameter's first execution: they are bound anew for each

  std::string_view insertWords = "INSERT INTO ";  ///< before the table
  std::string_view emptyRow = " DEFAULT VALUES";  ///< behind it
  std::string_view lastCounter;                   ///< a query of the counter given last on this connection; empty where there is none
  bool anyNumberCounts = false;                   ///< any column of whole numbers may be a counter

  std::string_view lockClause;       ///< keeps others from the rows of a query until the transaction ends
  bool showsOldRows = false;         ///< a transaction reads rows as they were at first, and changes them as they are
  bool keepsAnyTruth = false;        ///< truth values are stored as any number, and given as 0 or 1
  bool comparesLongValues = false;   ///< long values can be compared
  std::string_view beforeExactText;  ///< around a text column: a comparison that tells case, accents and blanks apart
  std::string_view afterExactText = " = ?";
  std::array<std::string_view, 2> comparedAsTheyAre{};  ///< types of columns for which that is not done

  BatchMethod batch = BatchMethod::kRowByRow;
  std::size_t batchRows = 1;        ///< rows of one batch at most
  std::size_t batchParameters = 0;  ///< parameters of one statement at most; 0 is without limit
  std::size_t arrayRows = 0;        ///< rows of one batch that goes as an array for each column
  std::string_view elementTypes;    ///< a query of a table's columns whose values can stand in arrays, and of the types that they are there
  bool testArrays = false;          ///< array binding is tried out once before it is trusted
  bool undoesBatches = true;        ///< a batch that failed left nothing behind, unless transactionalTables says so
  std::string_view transactionalTables;  ///< a query whether tables of a name undo what failed; empty where all do
};

/// Transactions and what the server does to them by itself.
struct TransactionFacts {
  std::string_view savepoint = "SAVEPOINT tamlo_lot";                 ///< empty where there are none
  std::string_view releaseSavepoint = "RELEASE SAVEPOINT tamlo_lot";  ///< empty where they end with the transaction
  std::string_view undoToSavepoint = "ROLLBACK TO SAVEPOINT tamlo_lot";
  std::int32_t savepointGone = 0;  ///< code for a savepoint that went with its transaction; 0 is none

  std::int32_t deadlock = 0;           ///< code, with the state 40001, when the server has undone the whole transaction; 0 is none
  std::int32_t keptInPart = 0;         ///< code of the warning that something could not be undone
  std::u16string_view warnings;        ///< the query of warnings, whose codes are its second column
  std::u16string_view standsAlone;     ///< a query that gives 1 where a statement is a transaction of its own
  bool textsOpenTransactions = false;  ///< those that only the server knows of are taken note of
  bool undoesByItself = false;         ///< refuses to roll back what it has undone after a failed write
  bool commitsWhenLost = false;        ///< says that it has committed when the connection is gone; knows by then that it is
  bool programsHaveNoResults = false;  ///< a driver that dies when asked for more results behind CREATE PROCEDURE and its like
  std::string_view writeTest;          ///< a step that fails where nothing can be written; empty where the driver tells
};

/// What is known of a driver and its database: measured for those that are named, asked of the driver for the rest. What a driver does
/// otherwise stands in its own file of this folder, with the reason; nothing else asks which one it is.
struct DriverFacts : NameFacts, ReadFacts, WriteFacts, ValueFacts, TransactionFacts, CatalogFacts {};

/// The facts of the driver that answers so.
[[nodiscard]] DriverFacts FactsOf(const DriverAnswers& answers);

/// What is known of the driver of an open connection.
[[nodiscard]] DriverFacts LearnFacts(void* connection);

}  // namespace tamlo::ado::odbc
