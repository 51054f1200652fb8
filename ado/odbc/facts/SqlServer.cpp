#include "ado/odbc/facts/Drivers.h"

namespace tamlo::ado::odbc {

// Through FreeTDS, by its documents; definitions are held by DriverFacts.*.
void LearnSqlServer(DriverFacts& facts, const DriverAnswers& driver) {
  facts.openQuote = "[";
  facts.closeQuote = "]";
  facts.catalog = driver.Text(DriverAnswers::Question::kDatabase);
  facts.lastCounter = "SELECT @@IDENTITY";
  facts.batch = BatchMethod::kArray;
  facts.batchRows = 1000;
  facts.testArrays = true;
  facts.savepoint = "SAVE TRANSACTION tamlo_lot";
  facts.releaseSavepoint = "";
  facts.undoToSavepoint = "ROLLBACK TRANSACTION tamlo_lot";
  facts.types.real = "FLOAT";
  facts.types.currency = "MONEY";
  facts.types.moment = "DATETIME";
  facts.types.guid = "UNIQUEIDENTIFIER";
  facts.types.fixedText = "NCHAR(#)";
  facts.types.text = "NVARCHAR(#)";
  facts.types.longText = "NVARCHAR(MAX)";
  facts.types.longBytes = "VARBINARY(MAX)";
  facts.types.counter = "INT IDENTITY";
  facts.indexesAreOfTables = true;
}

}  // namespace tamlo::ado::odbc
