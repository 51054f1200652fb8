#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "db/kinds/Moteur.h"
#include "db/kinds/Moteurs.h"
#include "db/sql/TablesQualifiees.h"
#include "runtime/Error.h"
#include "runtime/RegionalSettings.h"

namespace {

using tamlo::db::sql::TablesQualifiees;
using Tables = std::vector<std::pair<std::string, std::string>>;

constexpr std::int16_t kJet = 0;
constexpr std::int16_t kSqlServer = 1;
constexpr std::int16_t kOracle = 2;
constexpr std::int16_t kMySql = 3;
constexpr std::int16_t kOdbc = 4;

/// On a day-first system with the short date dd/MM/yyyy.
class FormateSSQL : public testing::Test {
 protected:
  static std::string Traduit(std::int16_t kind, std::string sql, const Tables& tables = {{"UTL", "ADM"}, {"VLM", "ADM"}},
                             const std::string& fmtDate = "YYYY-MM-DD") {
    TablesQualifiees qualifiees;
    for (const auto& [nom, owner] : tables) qualifiees.Ajoute(nom, owner);
    tamlo::db::kinds::MoteurDe(kind).FormateSSQL(sql, {fmtDate, &qualifiees});
    return sql;
  }
  static std::int32_t Erreur(std::int16_t kind, std::string& sql) {
    return tamlo::runtime::IgnoringErrors([&] { tamlo::db::kinds::MoteurDe(kind).FormateSSQL(sql, {"YYYY-MM-DD", nullptr}); }).number;
  }

 private:
  tamlo::runtime::RegionalSettingsOverride reglages_{{"dd/MM/yyyy", ','}};
};

const std::string kExemple = "select u.[NOM], v.* from [UTL] as u, VLM v where u.[DTCRE] >= cvdate('01/02/2003') and u.NOM = 'Dupont'";

}  // namespace

TEST_F(FormateSSQL, TranslatesTheWorkedExampleForEachKind) {
  EXPECT_EQ(Traduit(kJet, kExemple),
            "SELECT U.[NOM], V.* FROM [UTL] AS U, VLM V WHERE U.[DTCRE] >= CVDATE('01/02/2003') AND U.NOM = 'Dupont'");
  EXPECT_EQ(Traduit(kSqlServer, kExemple),
            "SELECT U.[NOM], V.* FROM [UTL] AS U, VLM V WHERE U.[DTCRE] >= ('01/02/2003') AND U.NOM = 'Dupont'");
  EXPECT_EQ(Traduit(kOracle, kExemple),
            "SELECT U.\"NOM\", V.* FROM ADM.\"UTL\" U, ADM.VLM V WHERE U.\"DTCRE\" >= "
            "TO_DATE('01/02/2003','dd/MM/yyyy') AND U.NOM = "
            "'Dupont'");
  const std::string mySql = "SELECT U.`NOM`, V.* FROM `UTL` AS U, VLM V WHERE U.`DTCRE` >= \"2003-02-01\" AND U.NOM = \"Dupont\"";
  EXPECT_EQ(Traduit(kMySql, kExemple), mySql);
  EXPECT_EQ(Traduit(kOdbc, kExemple), mySql);
}

TEST_F(FormateSSQL, ATableInBracketsReadsAsEachKindWantsIt) {
  EXPECT_EQ(Traduit(kJet, "FROM [UTL]"), "FROM [UTL]");
  EXPECT_EQ(Traduit(kSqlServer, "FROM [UTL]"), "FROM [UTL]");
  EXPECT_EQ(Traduit(kMySql, "FROM [UTL]"), "FROM `UTL`");
  for (const char* suite : {" X", ".X", ",X", "(X)", ")"}) {
    EXPECT_EQ(Traduit(kOracle, "A [UTL]" + std::string(suite)), "A ADM.\"UTL\"" + std::string(suite));
    EXPECT_EQ(Traduit(kOracle, "A,[UTL]" + std::string(suite)), "A,ADM.\"UTL\"" + std::string(suite));
    EXPECT_EQ(Traduit(kOracle, "A([UTL]" + std::string(suite)), "A(\"UTL\"" + std::string(suite));
  }
  EXPECT_EQ(Traduit(kOracle, "A [UTL]=1"), "A \"UTL\"=1");
}

TEST_F(FormateSSQL, ABareTableIsQualifiedOnOracleAlone) {
  const std::string sql = "SELECT 1 FROM UTL WHERE UTL.NOM=1";
  for (const std::int16_t kind : {kJet, kSqlServer, kMySql, kOdbc}) EXPECT_EQ(Traduit(kind, sql), sql);
  EXPECT_EQ(Traduit(kOracle, sql), "SELECT 1 FROM ADM.UTL WHERE ADM.UTL.NOM=1");
}

TEST_F(FormateSSQL, LiteralsKeepTheirQuotesButOnMySqlAndOdbc) {
  for (const std::int16_t kind : {kJet, kSqlServer, kOracle}) EXPECT_EQ(Traduit(kind, "'Dupont'"), "'Dupont'");
  EXPECT_EQ(Traduit(kMySql, "'Dupont'"), "\"Dupont\"");
  EXPECT_EQ(Traduit(kOdbc, "'Dupont'"), "\"Dupont\"");
}

TEST_F(FormateSSQL, ADateReadsAsEachKindWantsIt) {
  const std::string sql = "CVDATE('01/02/2003')";
  EXPECT_EQ(Traduit(kJet, sql), sql);
  EXPECT_EQ(Traduit(kSqlServer, sql), "('01/02/2003')");
  EXPECT_EQ(Traduit(kOracle, sql), "TO_DATE('01/02/2003','dd/MM/yyyy')");
  EXPECT_EQ(Traduit(kMySql, sql), "\"2003-02-01\"");
  EXPECT_EQ(Traduit(kMySql, sql, {}, "DD-MM-YYYY"), "\"01-02-2003\"");
}

TEST_F(FormateSSQL, ADateWithATimeKeepsItButOnMySqlAndOdbc) {
  const std::string sql = "CVDATE('01/02/2003 10:30:00')";
  EXPECT_EQ(Traduit(kJet, sql), sql);
  EXPECT_EQ(Traduit(kSqlServer, sql), "('01/02/2003 10:30:00')");
  EXPECT_EQ(Traduit(kOracle, sql), "TO_DATE('01/02/2003 10:30:00','dd/MM/yyyy HH24:MI:SS')");
  EXPECT_EQ(Traduit(kMySql, sql), "\"2003-02-01\"");
}

TEST_F(FormateSSQL, GenericOdbcWithoutAPictureWritesTheGeneralDate) {
  EXPECT_EQ(Traduit(kOdbc, "CVDATE('01/02/2003')", {}, ""), "\"01/02/2003\"");
  EXPECT_EQ(Traduit(kOdbc, "CVDATE('01/02/2003 10:30:00')", {}, ""), "\"01/02/2003 10:30:00\"");
  EXPECT_EQ(Traduit(kOdbc, "CVDATE('10:30')", {}, ""), "\"10:30:00\"");
}

TEST_F(FormateSSQL, TheAliasWordGoesOnOracleAlone) {
  EXPECT_EQ(Traduit(kJet, "FROM [UTL] AS U"), "FROM [UTL] AS U");
  EXPECT_EQ(Traduit(kSqlServer, "FROM [UTL] AS U"), "FROM [UTL] AS U");
  EXPECT_EQ(Traduit(kOracle, "FROM [UTL] AS U"), "FROM ADM.\"UTL\" U");
  EXPECT_EQ(Traduit(kMySql, "FROM [UTL] AS U"), "FROM `UTL` AS U");
}

TEST_F(FormateSSQL, TheStarOfADeleteGoesWhereItIsUnknown) {
  EXPECT_EQ(Traduit(kJet, "DELETE * FROM [UTL]"), "DELETE * FROM [UTL]");
  EXPECT_EQ(Traduit(kSqlServer, "DELETE * FROM [UTL]"), "DELETE  FROM [UTL]");
  EXPECT_EQ(Traduit(kOracle, "DELETE * FROM [UTL]"), "DELETE  FROM ADM.\"UTL\"");
  EXPECT_EQ(Traduit(kMySql, "DELETE * FROM [UTL]"), "DELETE  FROM `UTL`");
  EXPECT_EQ(Traduit(kJet, "DELETE U.* FROM [UTL] U"), "DELETE U.* FROM [UTL] U");
  EXPECT_EQ(Traduit(kSqlServer, "DELETE U.* FROM [UTL] U"), "DELETE U FROM [UTL] U");
  EXPECT_EQ(Traduit(kOracle, "DELETE U.* FROM [UTL] U"), "DELETE U FROM ADM.\"UTL\" U");
  EXPECT_EQ(Traduit(kMySql, "DELETE U.* FROM [UTL] U"), "DELETE U FROM `UTL` U");
}

TEST_F(FormateSSQL, EveryAsteriskOfADeleteGoes) {
  const std::string sql = "DELETE * FROM [T] WHERE [A] = 2 * 3";
  EXPECT_EQ(Traduit(kSqlServer, sql), "DELETE  FROM [T] WHERE [A] = 2  3");
  EXPECT_EQ(Traduit(kOracle, sql), "DELETE  FROM \"T\" WHERE \"A\" = 2  3");
  EXPECT_EQ(Traduit(kMySql, sql), "DELETE  FROM `T` WHERE `A` = 2  3");
  EXPECT_EQ(Traduit(kSqlServer, "DELETE * FROM [T] WHERE [A]='*'"), "DELETE  FROM [T] WHERE [A]=''");
}

TEST_F(FormateSSQL, ATextWithoutQuotesComesBackInUpperCase) {
  for (const std::int16_t kind : {kJet, kSqlServer, kOracle, kMySql, kOdbc, std::int16_t{-1}}) {
    EXPECT_EQ(Traduit(kind, "select été, œuvre"), "SELECT ÉTÉ, ŒUVRE");
  }
}

TEST_F(FormateSSQL, LiteralsKeepTheirCaseAlsoOnJet) { EXPECT_EQ(Traduit(kJet, "a='été' and b='L''école'"), "A='été' AND B='L''école'"); }

TEST_F(FormateSSQL, AnUnfinishedPartKeepsItsCaseFromItsStart) {
  EXPECT_EQ(Traduit(kJet, "select 'a' from utl where nom='x"), "SELECT 'a' from utl where nom='x");
  EXPECT_EQ(Traduit(kJet, "select nom='x"), "select nom='x");
  // Not a DELETE for SQL Server, which compares as it stands; one for the others.
  EXPECT_EQ(Traduit(kSqlServer, "delete * from t where a='x"), "delete * from t where a='x");
  EXPECT_EQ(Traduit(kOracle, "delete * from t where a='x"), "delete  from t where a='x");
  EXPECT_EQ(Traduit(kMySql, "delete * from t where a='x"), "delete  from t where a=\"x");
}

TEST_F(FormateSSQL, ATableWithABlankOwnerIsNeverQualified) {
  EXPECT_EQ(Traduit(kOracle, "SELECT 1 FROM UTL,[VLM]", {{"UTL", ""}, {"VLM", "   "}}), "SELECT 1 FROM UTL,\"VLM\"");
}

TEST_F(FormateSSQL, ANameBehindABracketOrAtTheStartIsNeverQualified) {
  EXPECT_EQ(Traduit(kOracle, "UTL X"), "UTL X");
  EXPECT_EQ(Traduit(kOracle, "[UTL] X"), "\"UTL\" X");
  EXPECT_EQ(Traduit(kOracle, "A (UTL )"), "A (UTL )");
  EXPECT_EQ(Traduit(kOracle, "INSERT INTO UTL(NOM)"), "INSERT INTO UTL(NOM)");
  EXPECT_EQ(Traduit(kOracle, "INSERT INTO [UTL](NOM)"), "INSERT INTO ADM.\"UTL\"(NOM)");
}

TEST_F(FormateSSQL, QualificationActsInsideLiterals) { EXPECT_EQ(Traduit(kOracle, "A='la UTL ici'"), "A='la ADM.UTL ici'"); }

TEST_F(FormateSSQL, TheSameFormRightBehindItselfIsPassedOver) {
  EXPECT_EQ(Traduit(kOracle, "X UTL UTL UTL Y"), "X ADM.UTL UTL ADM.UTL Y");
  EXPECT_EQ(Traduit(kOracle, "X UTL UTL,UTL,UTL"), "X ADM.UTL ADM.UTL,ADM.UTL,ADM.UTL");
}

TEST_F(FormateSSQL, ALaterTableIsFoundInsideAnOwnerPutIn) {
  EXPECT_EQ(Traduit(kOracle, "SELECT 1 FROM UTL X", {{"UTL", "ADM"}, {"ADM", "SYS"}}), "SELECT 1 FROM SYS.ADM.UTL X");
  EXPECT_EQ(Traduit(kOracle, "SELECT 1 FROM UTL X", {{"ADM", "SYS"}, {"UTL", "ADM"}}), "SELECT 1 FROM ADM.UTL X");
  EXPECT_EQ(Traduit(kOracle, "SELECT 1 FROM ADM X", {{"ADM", "ADM"}}), "SELECT 1 FROM ADM.ADM.ADM X");
}

TEST_F(FormateSSQL, AnOracleDateOfTenCharactersGetsThePlainMaskOneOfElevenTheLongOne) {
  EXPECT_EQ(Traduit(kOracle, "CVDATE('1234567890')"), "TO_DATE('1234567890','dd/MM/yyyy')");
  EXPECT_EQ(Traduit(kOracle, "CVDATE('12345678901')"), "TO_DATE('12345678901','dd/MM/yyyy HH24:MI:SS')");
  EXPECT_EQ(Traduit(kOracle, "CVDATE('éééééééééé')"), "TO_DATE('éééééééééé','dd/MM/yyyy')");
}

TEST_F(FormateSSQL, TheLengthOfAnOracleDateIsTakenBehindTheQualification) {
  EXPECT_EQ(Traduit(kOracle, "CVDATE('01 UTL 03')"), "TO_DATE('01 ADM.UTL 03','dd/MM/yyyy HH24:MI:SS')");
  EXPECT_EQ(Traduit(kOracle, "CVDATE('01 UTX 03')"), "TO_DATE('01 UTX 03','dd/MM/yyyy')");
}

TEST_F(FormateSSQL, TheLaterPassesActOnTheOracleMaskToo) {
  const tamlo::runtime::RegionalSettingsOverride etrange({"dd AS [MM]", ','});
  EXPECT_EQ(Traduit(kOracle, "CVDATE('01/02/2003')"), "TO_DATE('01/02/2003','dd \"MM\"')");
}

TEST_F(FormateSSQL, ATableOfSeveralWordsIsQualifiedInItsBrackets) {
  EXPECT_EQ(Traduit(kOracle, "SELECT 1 FROM [MA TABLE] X", {{"MA TABLE", "ADM"}}), "SELECT 1 FROM ADM.\"MA TABLE\" X");
  EXPECT_EQ(Traduit(kOracle, "SELECT 1 FROM MA TABLE X", {{"MA TABLE", "ADM"}}), "SELECT 1 FROM ADM.MA TABLE X");
}

TEST_F(FormateSSQL, WithoutAShortDateTheOracleMaskIsABlank) {
  const tamlo::runtime::RegionalSettingsOverride aucun({"", '.'});
  EXPECT_EQ(Traduit(kOracle, "CVDATE('01/02/2003')"), "TO_DATE('01/02/2003',' ')");
}

TEST_F(FormateSSQL, DoubledQuotesDoubleOnMySqlAndOdbc) {
  EXPECT_EQ(Traduit(kMySql, "'L''ECOLE'"), "\"L\"\"ECOLE\"");
  EXPECT_EQ(Traduit(kOdbc, "'L''ECOLE'"), "\"L\"\"ECOLE\"");
}

TEST_F(FormateSSQL, ADateInsideALiteralIsRewrittenToo) {
  EXPECT_EQ(Traduit(kSqlServer, "A='CVDATE(1)'"), "A='(1)'");
  EXPECT_EQ(Traduit(kOracle, "A='CVDATE(1)'"), "A='TO_DATE(1,'dd/MM/yyyy')'");
  EXPECT_EQ(Traduit(kMySql, "A='cvdate(31/12/1999)'"), "A=\"\"1999-12-31\"\"");
  EXPECT_EQ(Traduit(kOracle, "A='cvdate(1)'"), "A='cvdate(1)'");
}

TEST_F(FormateSSQL, ATextThatIsNoDateStaysAsItIs) {
  EXPECT_EQ(Traduit(kMySql, "CVDATE('31/02/2003')"), "\"31/02/2003\"");
  EXPECT_EQ(Traduit(kMySql, "CVDATE('01/02/0099')"), "\"01/02/0099\"");
  EXPECT_EQ(Traduit(kMySql, "CVDATE('01/02/0100')"), "\"0100-02-01\"");
  EXPECT_EQ(Traduit(kMySql, "CVDATE('')"), "\"\"");
  EXPECT_EQ(Traduit(kMySql, "CVDATE()"), "\"\"");
  EXPECT_EQ(Traduit(kMySql, "CVDATE( [X] )"), "\"`X`\"");
}

TEST_F(FormateSSQL, DatesFollowTheUsersOrderOfDayAndMonth) {
  const tamlo::runtime::RegionalSettingsOverride americain({"M/d/yyyy", '.'});
  EXPECT_EQ(Traduit(kMySql, "CVDATE('01/02/2003')"), "\"2003-01-02\"");
  EXPECT_EQ(Traduit(kMySql, "CVDATE('2003-02-01')"), "\"2003-02-01\"");
  EXPECT_EQ(Traduit(kOracle, "CVDATE('01/02/2003')"), "TO_DATE('01/02/2003','M/d/yyyy')");
}

TEST_F(FormateSSQL, ADateWithoutItsClosingBracketIsAnInvalidArgument) {
  for (const std::int16_t kind : {kOracle, kMySql, kOdbc}) {
    std::string sql = "select cvdate('01/02/2003'), cvdate('x'";
    EXPECT_EQ(Erreur(kind, sql), tamlo::runtime::kInvalidArgument);
    EXPECT_EQ(sql, kind == kOracle ? "SELECT CVDATE('01/02/2003','dd/MM/yyyy'), CVDATE('x'" : "SELECT \"2003-02-01\", CVDATE(\"x\"");
  }
  for (const std::int16_t kind : {kJet, kSqlServer}) {
    std::string sql = "CVDATE('x'";
    EXPECT_EQ(Erreur(kind, sql), 0);
  }
}

TEST_F(FormateSSQL, ASearchedTokenBeyondPosition32767Overflows) {
  const std::string avant(32767, 'X');
  const std::string accents = [] {
    std::string texte;
    for (int i = 0; i < 32767; ++i) texte += "É";
    return texte;
  }();
  for (const std::string& debut : {avant, accents}) {
    std::string sql = debut + "CVDATE('1')";
    EXPECT_EQ(Erreur(kSqlServer, sql), tamlo::runtime::kOverflow);
    EXPECT_EQ(sql, debut + "CVDATE('1')");
    EXPECT_EQ(Erreur(kOracle, sql), tamlo::runtime::kOverflow);
    EXPECT_EQ(Erreur(kMySql, sql), tamlo::runtime::kOverflow);
    EXPECT_EQ(Erreur(kJet, sql), 0);
  }
}

TEST_F(FormateSSQL, ATokenWithinPosition32767Translates) {
  const std::string avant(32760, 'X');
  std::string sql = avant + "CVDATE" + std::string(100, 'Y');
  EXPECT_EQ(Erreur(kSqlServer, sql), 0);
  EXPECT_EQ(sql, avant + std::string(100, 'Y'));
  // The search cannot go on behind a token that ends at the last position.
  sql = avant + "XCVDATE";
  EXPECT_EQ(Erreur(kSqlServer, sql), tamlo::runtime::kOverflow);
}

TEST_F(FormateSSQL, APositionCountsCharactersNotBytes) {
  std::string sql;
  for (int i = 0; i < 20000; ++i) sql += "É";
  EXPECT_EQ(Traduit(kSqlServer, sql + "CVDATE"), sql);
  EXPECT_EQ(Traduit(kMySql, sql + "'"), sql + "\"");
}

TEST_F(FormateSSQL, AnEmptyTextStaysEmpty) {
  for (const std::int16_t kind : {kJet, kSqlServer, kOracle, kMySql, kOdbc}) {
    EXPECT_EQ(Traduit(kind, ""), "");
    EXPECT_EQ(Traduit(kind, "   "), kind == kOracle ? "" : "   ");
  }
}
