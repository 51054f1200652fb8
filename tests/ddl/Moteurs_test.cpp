#include "db/kinds/Moteurs.h"

#include <gtest/gtest.h>

#include "ado/Types.h"
#include "db/DataBase.h"
#include "db/kinds/Moteur.h"

namespace tamlo::db::kinds {
namespace {

struct Attendu {
  std::int16_t typ;
  std::int32_t lg;
  const char* mySql;
  const char* sqlServer;
  const char* oracle;
};

// As people write these types for the three servers; the odd ones are meant.
constexpr Attendu kAttendus[] = {
    {ado::adVarWChar, 30, " CHAR(30)", " NVARCHAR(30)", " CHAR(30)"},
    {ado::adChar, 30, " CHAR(30)", " NVARCHAR(30)", " CHAR(30)"},
    {ado::adWChar, 1, " CHAR(1)", " NVARCHAR(1)", " CHAR(1)"},
    {ado::adLongVarWChar, 0, " MEDIUMTEXT", " NTEXT", " VARCHAR2(2000)"},
    {ado::adLongVarChar, 0, " MEDIUMTEXT", " NTEXT", " VARCHAR2(2000)"},
    {ado::adVarChar, 50, " MEDIUMTEXT", " NTEXT", " VARCHAR2(2000)"},
    {ado::adDate, 0, " DATETIME", " DATETIME", " DATE"},
    {ado::adDBTimeStamp, 0, " DATETIME", " DATETIME", " DATE"},
    {ado::adBoolean, 1, " NUMERIC(1)", " BIT DEFAULT 0", " NUMBER(1,0) DEFAULT 0"},
    {ado::adUnsignedTinyInt, 1, " TINYINT UNSIGNED", " TINYINT", " NUMBER(3,0)"},
    {ado::adTinyInt, 1, " TINYINT UNSIGNED", " TINYINT", " NUMBER(3,0)"},
    {ado::adSmallInt, 2, " SMALLINT", " SMALLINT", " NUMBER(5,0)"},
    {ado::adInteger, 4, " INT", " INT", " NUMBER(10,0)"},
    {ado::adNumeric, 0, " INT", nullptr, " NUMBER(10,0)"},
    {ado::adDouble, 8, " DOUBLE", " FLOAT", " NUMBER"},
    {ado::adDouble, 0, " DOUBLE", " FLOAT", " NUMBER"},
    {ado::adDouble, 15, " DECIMAL(15,0)", " FLOAT", " NUMBER"},
    {ado::adCurrency, 8, " DOUBLE", " MONEY", " NUMBER"},
    {ado::adVarNumeric, 0, " DOUBLE", " FLOAT", " NUMBER"},
    {ado::adSingle, 4, " FLOAT", " REAL", " FLOAT"},
    {ado::adLongVarBinary, 0, " LONGBLOB", " VARBINARY", " BLOB"},
    {ado::adBinary, 16, " LONGBLOB", " VARBINARY", " BLOB"},
};

std::optional<std::string> Texte(const char* attendu) { return attendu == nullptr ? std::nullopt : std::optional<std::string>(attendu); }

TEST(TypesColonnes, EveryTypeCodeHasItsTextOnEachServer) {
  for (const auto& attendu : kAttendus) {
    SCOPED_TRACE(attendu.typ);
    EXPECT_EQ(MoteurDe(TypMySql).TypeColonne(attendu.typ, attendu.lg), Texte(attendu.mySql));
    EXPECT_EQ(MoteurDe(TypSqlServer).TypeColonne(attendu.typ, attendu.lg), Texte(attendu.sqlServer));
    EXPECT_EQ(MoteurDe(TypOracle).TypeColonne(attendu.typ, attendu.lg), Texte(attendu.oracle));
    EXPECT_EQ(MoteurDe(TypJet).TypeColonne(attendu.typ, attendu.lg), std::nullopt);
    EXPECT_EQ(MoteurDe(TypOdbc).TypeColonne(attendu.typ, attendu.lg), std::nullopt);
  }
}

TEST(TypesColonnes, ACodeOutsideTheTableHasNoType) {
  for (const std::int32_t typ : {72, 0, 20, 204, -1, 65538}) {
    for (const std::int16_t kind : {TypJet, TypSqlServer, TypOracle, TypMySql, TypOdbc}) {
      EXPECT_EQ(MoteurDe(kind).TypeColonne(typ, 0), std::nullopt) << kind;
    }
  }
}

TEST(Moteurs, EveryOtherNumberIsGenericOdbc) {
  for (const std::int16_t kind : std::initializer_list<std::int16_t>{-1, -32768, 5, 7, 32767})
    EXPECT_EQ(&MoteurDe(kind), &MoteurDe(TypOdbc)) << kind;
  for (const std::int16_t kind : {TypJet, TypSqlServer, TypOracle, TypMySql}) EXPECT_NE(&MoteurDe(kind), &MoteurDe(TypOdbc)) << kind;
}

}  // namespace
}  // namespace tamlo::db::kinds
