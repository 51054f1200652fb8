#include "ado/odbc/facts/Drivers.h"

namespace tamlo::ado::odbc {
namespace {

void Describes(DriverFacts& facts) {
  // It knows few type names: the declared ones decide (Values.*).
  facts.declaredTypesDecide = true;
  // The text of a moment is kept as it was written.
  facts.keepsMomentTexts = true;
  facts.tellsTables = true;
  // Expressions are varchar(255) until the first row is there (Values.ExpressionsHaveTheirTypeOnceRead).
  facts.firstRowTellsTypes = true;
  // It describes tables as its connection last knew them; a step that reads learns of others' definitions (OthersDefinitions.*).
  facts.freshDefinitions = "SELECT 1 FROM sqlite_master LIMIT 1";
}

void Reads(DriverFacts& facts) {
  // It cannot be positioned inside a block, and its texts may be longer than declared: they must be read again (Blocks.*).
  facts.leavesBlocks = true;
  facts.drainsToRewind = true;
  // Doubles in 15 digits, texts that end at a character 0, integers cut to 32 bits: its literals say all (EveryValue.*).
  facts.serverForms = ServerForms::kLiterals;
}

void Writes(DriverFacts& facts, const DriverAnswers& driver) {
  facts.enforcesLengths = false;
  facts.streamsParameters = false;
  // The length of a parameter's first execution stays (Bulk.BytesAndTextsKeepTheirOwnLengthInEveryBatch).
  facts.keepsByteLengths = true;
  // U+1F601 arrives as two others (Values.StatementTextsKeepCharactersOfEveryPlane).
  facts.keepsWideStatements = false;
  // The Windows build takes narrow texts for ANSI.
  facts.narrowIsUtf8 = driver.Text(DriverAnswers::Question::kDriver).ends_with(".so");
  facts.momentsAreTexts = true;
  facts.lastCounter = "SELECT last_insert_rowid()";
  // Any column of whole numbers may be the rowid by another name (Rows.ACounterIsReadBackAfterItsRowWasAdded).
  facts.anyNumberCounts = true;
  // The -1 of a statement stands as it is, and is given as 1 (Conflicts.ATruthValueWrittenByAStatementIsFoundAgainInATableWithoutAKey).
  facts.keepsAnyTruth = true;
  facts.comparesLongValues = true;
  facts.afterExactText = " = ? COLLATE BINARY";
  // What a table wants done at a conflict (IGNORE, REPLACE, ROLLBACK) would lose rows without a word.
  facts.insertWords = "INSERT OR ABORT INTO ";
  facts.batch = BatchMethod::kMultiRowValues;
  facts.batchRows = 200;
  facts.batchParameters = 900;
  // After a failed write the transaction is undone already, and its rollback refused.
  facts.undoesByItself = true;
  // Its driver never says that a file is read-only; a step that would write does (Connecting.AReadOnlyFileCanBeReadAndRefusesWrites).
  facts.writeTest = "PRAGMA incremental_vacuum(1)";
}

void Keeps(DriverFacts& facts) {
  facts.keepsAnyValue = true;
  facts.momentWords = MomentWords::kAny;
  // Exact numbers are integers of 64 bits or doubles (Values.ExactNumbersAreExact).
  facts.decimalDigits = 15;
  facts.keepsNul = facts.narrowIsUtf8;
  facts.hasNan = false;  // becomes null
}

void Defines(DriverFacts& facts) {
  facts.types.currency = "CURRENCY";
  facts.types.moment = "DATETIME";
  facts.types.guid = "GUID";
  facts.types.longText = "TEXT";
  facts.types.counter = "INTEGER PRIMARY KEY AUTOINCREMENT";
  facts.counterIsPrimaryKey = true;
  facts.keysAreFixed = true;
  facts.renamesTables = true;
  facts.listsAllColumns = true;
  // The driver has no names of keys, and the columns of a primary key in the order of the table (CatalogKeys.*).
  facts.keySource = KeySource::kPragmas;
  facts.viewsQuery = "SELECT '', name, sql FROM sqlite_master WHERE type = 'view'";
  // Both would be found out later only (CatalogKeys.ReferToWhatIsUnique, CatalogViews.WhoseTextDoesNotReadLeaveNothing).
  facts.keepsKeysToNothing = true;
  facts.keepsViewsThatDoNotRead = true;
}

}  // namespace

// libsqliteodbc 0.9998.
void LearnSqlite(DriverFacts& facts, const DriverAnswers& driver) {
  Describes(facts);
  Reads(facts);
  Writes(facts, driver);
  Keeps(facts);
  Defines(facts);
}

}  // namespace tamlo::ado::odbc
