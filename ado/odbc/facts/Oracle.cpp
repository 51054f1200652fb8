#include "ado/odbc/facts/Drivers.h"

namespace tamlo::ado::odbc {
namespace {

void Writes(DriverFacts& facts) {
  // 64-bit integers are refused as parameters, and more than 1024 rows at once.
  facts.numbersAsText = true;
  facts.batch = BatchMethod::kArray;
  facts.batchRows = 1000;
  facts.testArrays = true;
  facts.lockClause = " FOR UPDATE";
  facts.releaseSavepoint = "";
}

void Defines(DriverFacts& facts) {
  facts.types.truth = "NUMBER(1,0)";
  facts.types.tiny = "NUMBER(3,0)";
  facts.types.small = "NUMBER(5,0)";
  facts.types.whole = "NUMBER(10,0)";
  facts.types.big = "NUMBER(19,0)";
  facts.types.real = "NUMBER";
  facts.types.currency = "NUMBER(19,4)";
  facts.types.decimal = "NUMBER";
  facts.types.plainDecimal = "NUMBER";
  facts.types.moment = "DATE";
  facts.types.time = "DATE";
  facts.types.text = "VARCHAR2(#)";
  facts.types.longText = "CLOB";
  facts.types.bytes = "RAW(#)";
  facts.foldsNames = true;
  facts.bracketsNewColumns = true;
  facts.renamesTables = true;
  facts.refusesDefaultRules = true;
  facts.refusesUpdateRules = true;
}

/// It has no INFORMATION_SCHEMA.
void Catalogs(DriverFacts& facts) {
  facts.uniqueKeys = {
      "SELECT C.CONSTRAINT_NAME, K.COLUMN_NAME FROM ALL_CONSTRAINTS C JOIN ALL_CONS_COLUMNS K ON K.OWNER = C.OWNER AND "
      "K.CONSTRAINT_NAME = C.CONSTRAINT_NAME WHERE C.CONSTRAINT_TYPE = 'U' AND C.TABLE_NAME = ",
      "", " AND C.OWNER = ", " ORDER BY C.CONSTRAINT_NAME, K.POSITION"};
  facts.viewsQuery = "SELECT OWNER, VIEW_NAME, TEXT FROM ALL_VIEWS";
}

}  // namespace

// Its own driver, by its documents; definitions are held by DriverFacts.*.
void LearnOracle(DriverFacts& facts, const DriverAnswers& /*driver*/) {
  Writes(facts);
  Defines(facts);
  Catalogs(facts);
}

}  // namespace tamlo::ado::odbc
