#include "ado/odbc/facts/Drivers.h"

namespace tamlo::ado::odbc {
namespace {

using Question = DriverAnswers::Question;

void Reads(DriverFacts& facts, bool isMariaDbs) {
  facts.tellsTables = true;
  // It says that it can, and then gives the first row's value for every row of the block.
  facts.readsInBlock = false;
  // Fetching single rows as SQL_C_BIT gives null for ever once it has given one (Values.TruthsBehindANullAreKeptInRowsOfLongValuesToo).
  facts.bitsAreNumbers = true;
  facts.serverForms = ServerForms::kFunctions;
  // Another driver than MariaDB's was never asked for them (OutputParameters.*).
  if (isMariaDbs) facts.callOutputs = CallOutputs::kRowBehind;
}

void Writes(DriverFacts& facts, const DriverAnswers& driver, bool isMariaDbs) {
  // Narrow texts are handed on as they are, in the character set that the connection speaks
  // (OtherCharacterSet.OfTheConnectionLeavesTextsAsTheyAre).
  facts.narrowIsUtf8 = isMariaDbs && driver.Text(Question::kCharacterSet).starts_with("utf8mb4");
  // Its structures have no hours beyond 23, no sign, no day 0; and for each one of an array the driver keeps memory for ever.
  facts.momentsAreTexts = true;
  facts.emptyRow = " () VALUES ()";
  facts.lastCounter = "SELECT LAST_INSERT_ID()";
  facts.lockClause = " FOR UPDATE";
  facts.showsOldRows = true;  // Conflicts.InsideATransactionTheRowIsLookedForAsItIs
  facts.comparesLongValues = true;
  facts.beforeExactText = "CAST(CONVERT(";
  facts.afterExactText = " USING utf8mb4) AS BINARY) = ?";
  facts.batch = BatchMethod::kArray;
  facts.batchRows = 4000;
  // MyISAM, Aria and MEMORY keep the rows before a refused one (NonTransactional.TablesHoldEachRowBeforeARefusedOneOnce).
  facts.transactionalTables =
      "SELECT e.TRANSACTIONS FROM information_schema.TABLES t JOIN information_schema.ENGINES e ON e.ENGINE = t.ENGINE "
      "WHERE t.TABLE_SCHEMA = DATABASE() AND t.TABLE_NAME = ?";
}

void Keeps(DriverFacts& facts) {
  facts.hasNan = facts.hasInfinity = false;
  // Without its strict mode the server makes other values of these, with a warning that nobody sees.
  facts.hoursOfTime = 839;
}

/// Resend_test.cpp, all of it.
void Undoes(DriverFacts& facts) {
  facts.savepointGone = 1305;
  facts.deadlock = 1213;
  facts.keptInPart = 1196;  // "Some non-transactional changed tables couldn't be rolled back"
  facts.warnings = u"SHOW WARNINGS";
  facts.standsAlone = u"SELECT @@autocommit = 1 AND @@completion_type = 'NO_CHAIN'";
  facts.textsOpenTransactions = true;
  // The driver looks for a prepared statement where the server did not prepare any, and the program dies (Bodies.*).
  facts.programsHaveNoResults = true;
}

void Defines(DriverFacts& facts) {
  facts.types.truth = "NUMERIC(1)";
  facts.types.tiny = "TINYINT UNSIGNED";
  facts.types.single = "FLOAT";
  facts.types.moment = "DATETIME";
  facts.types.longText = "LONGTEXT";
  facts.types.longBytes = "LONGBLOB";
  facts.types.counter = "INTEGER AUTO_INCREMENT UNIQUE";
  facts.backslashEscapes = true;
  facts.renamesTables = true;
  facts.dropsKeysByKind = true;
  facts.indexesAreOfTables = true;
  facts.refusesDefaultRules = true;
}

void Catalogs(DriverFacts& facts, const DriverAnswers& driver) {
  facts.catalog = driver.Text(Question::kDatabase);
  // The driver says "null" for no database, which may be the name of one (OdbcCatalogMariaDb.*).
  if (facts.catalog == "null" && !driver.HasDatabase()) facts.catalog.clear();
  facts.listsAllColumns = true;
  // The catalog call asks for comments too, for which the server opens every table.
  facts.showsTables = true;
  facts.namesPrimaryIndex = true;
  // The catalog calls lose the order of a primary key, and foreign keys that refer to another unique one (CatalogKeys.*).
  facts.keySource = KeySource::kIndexes;
  // The table's name is no literal: a backslash may count in it or not.
  facts.foreignKeys = {
      "SELECT K.TABLE_NAME, K.CONSTRAINT_NAME, K.COLUMN_NAME, K.REFERENCED_TABLE_NAME, K.REFERENCED_COLUMN_NAME, R.UPDATE_RULE, "
      "R.DELETE_RULE FROM INFORMATION_SCHEMA.KEY_COLUMN_USAGE K JOIN INFORMATION_SCHEMA.REFERENTIAL_CONSTRAINTS R ON "
      "R.CONSTRAINT_SCHEMA = K.CONSTRAINT_SCHEMA AND R.CONSTRAINT_NAME = K.CONSTRAINT_NAME AND R.TABLE_NAME = K.TABLE_NAME "
      "WHERE K.TABLE_SCHEMA = DATABASE() AND K.TABLE_NAME = CONVERT(X'",
      "' USING utf8mb4)", "", " ORDER BY K.CONSTRAINT_NAME, K.ORDINAL_POSITION", true};
  facts.losesForeignKeys = true;  // CatalogOfMySql.ForeignKeysOfTablesWhoseEngineHasNoneAreRefused
  facts.viewsQuery = "SELECT '', TABLE_NAME, VIEW_DEFINITION FROM INFORMATION_SCHEMA.VIEWS WHERE TABLE_SCHEMA = DATABASE()";
}

}  // namespace

// MariaDB Connector/ODBC 3.1.15 against MariaDB 10.11.
void LearnMySql(DriverFacts& facts, const DriverAnswers& driver) {
  const bool isMariaDbs = driver.Text(Question::kDriver).find("maodbc") != std::string::npos;
  Reads(facts, isMariaDbs);
  Writes(facts, driver, isMariaDbs);
  Keeps(facts);
  Undoes(facts);
  Defines(facts);
  Catalogs(facts, driver);
}

}  // namespace tamlo::ado::odbc
