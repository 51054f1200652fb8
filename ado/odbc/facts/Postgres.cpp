#include <cstdlib>

#include "ado/odbc/facts/Drivers.h"

namespace tamlo::ado::odbc {
namespace {

void Reads(DriverFacts& facts) {
  // An unlimited text is shown as a varchar of the longest length that the driver's settings allow.
  facts.longTextsLookShort = true;
  facts.roundsMoments = true;
}

void Writes(DriverFacts& facts) {
  facts.lastCounter = "SELECT lastval()";
  facts.lockClause = " FOR UPDATE";
  facts.comparesLongValues = true;
  facts.beforeExactText = "CAST(";
  facts.afterExactText = " AS TEXT) = ?";
  // Blanks at the end of a char(n) are lost as a text.
  facts.comparedAsTheyAre = {"bpchar", "char"};
  facts.batch = BatchMethod::kMultiRowValues;
  facts.batchRows = 200;
  facts.batchParameters = 1600;
  // SQLEndTran on a lost connection is a success (LostInTransaction.*).
  facts.commitsWhenLost = true;
}

void Keeps(DriverFacts& facts) {
  facts.keepsNul = false;  // a text ends there
  facts.decimalsMayBeNone = true;
  facts.momentWords = MomentWords::kInfinite;
}

void Defines(DriverFacts& facts) {
  facts.types.truth = "BOOLEAN";
  facts.types.tiny = "SMALLINT";
  facts.types.real = "DOUBLE PRECISION";
  facts.types.guid = "UUID";
  facts.types.longText = "TEXT";
  facts.types.bytes = "BYTEA";
  facts.types.longBytes = "BYTEA";
  facts.types.counter = "SERIAL";
  facts.trueText = "TRUE";
  facts.falseText = "FALSE";
  facts.foldsNames = true;
  facts.renamesTables = true;
  facts.listsAllColumns = true;
}

/// What PostgreSQL's own server alone does: "value::text" is its text of a value.
void OwnServer(DriverFacts& facts) {
  // "infinity", years from 10000 and before Christ are other days in the driver's structures (EveryValue.*).
  facts.momentsAreTexts = true;
  facts.serverForms = ServerForms::kCasts;
  facts.callOutputs = CallOutputs::kOnlyRow;  // OutputParameters.*
  // One parameter for each column costs a server less than one for each value. Without their schemas bpchar[] and bit[] would be arrays of
  // texts of one character.
  facts.batch = BatchMethod::kColumnArrays;
  facts.arrayRows = 2000;
  facts.elementTypes =
      "SELECT a.attname, quote_ident(n.nspname) || '.' || quote_ident(t.typname) FROM pg_catalog.pg_attribute a "
      "JOIN pg_catalog.pg_type t ON t.oid = a.atttypid JOIN pg_catalog.pg_namespace n ON n.oid = t.typnamespace "
      "LEFT JOIN pg_catalog.pg_type b ON b.oid = t.typbasetype "
      "WHERE a.attrelid = CAST(? AS regclass) AND a.attnum > 0 AND NOT a.attisdropped AND t.typarray <> 0 AND t.typdelim = ',' "
      "AND t.typtype <> 'c' AND coalesce(b.typtype, 'b') <> 'c'";
  // A longer name is cut and goes by another one (CatalogKeys.KeepTheirWholeNameOrAreRefused).
  facts.longestName = 63;
  // INFORMATION_SCHEMA shows only the owner the text.
  facts.viewsQuery =
      "SELECT schemaname, viewname, definition FROM pg_catalog.pg_views WHERE schemaname NOT IN ('pg_catalog', 'information_schema')";
}

/// What engines that speak its protocol (H2 among them) do otherwise: DialectCatalog.*.
void OtherServer(DriverFacts& facts) {
  // The driver says 6, whatever the column keeps.
  facts.tellsMomentDigits = false;
  // The driver asks for them in a way that PostgreSQL's own server alone understands.
  facts.asksDriverForForeignKeys = false;
}

}  // namespace

// psqlODBC 13.02 against PostgreSQL 15.
void LearnPostgres(DriverFacts& facts, const DriverAnswers& driver) {
  Reads(facts);
  Writes(facts);
  Keeps(facts);
  Defines(facts);
  // The others say that they are of version 8.
  const bool isOwn = std::atoi(driver.Text(DriverAnswers::Question::kVersion).c_str()) >= 9;
  isOwn ? OwnServer(facts) : OtherServer(facts);
}

}  // namespace tamlo::ado::odbc
