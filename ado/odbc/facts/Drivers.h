#pragma once

#include "ado/odbc/facts/DriverFacts.h"

/// One function for each database whose drivers are known, in a file of its own: what differs from the facts of DriverFacts.h, and why.
/// docs/backends/odbc.md tells what was measured. SQL Server and Oracle stand as their documents say.
namespace tamlo::ado::odbc {

void LearnSqlite(DriverFacts& facts, const DriverAnswers& driver);
void LearnMySql(DriverFacts& facts, const DriverAnswers& driver);
void LearnPostgres(DriverFacts& facts, const DriverAnswers& driver);
void LearnSqlServer(DriverFacts& facts, const DriverAnswers& driver);
void LearnOracle(DriverFacts& facts, const DriverAnswers& driver);
/// Of a database that none of the others knows: what the standard says, and nothing is trusted.
void LearnUnknown(DriverFacts& facts, const DriverAnswers& driver);

}  // namespace tamlo::ado::odbc
