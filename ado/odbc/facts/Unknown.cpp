#include "ado/odbc/facts/Drivers.h"

namespace tamlo::ado::odbc {

void LearnUnknown(DriverFacts& facts, const DriverAnswers& /*driver*/) {
  facts.batch = BatchMethod::kArray;
  facts.batchRows = 500;
  // Some drivers take an array and store its first row again and again.
  facts.testArrays = true;
  facts.savepoint = facts.releaseSavepoint = facts.undoToSavepoint = "";
  facts.undoesBatches = false;
  facts.catalogsMayFail = true;
}

}  // namespace tamlo::ado::odbc
