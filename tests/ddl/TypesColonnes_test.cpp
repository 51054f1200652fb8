#include "db/kinds/TypesColonnes.h"

#include <gtest/gtest.h>

#include "ado/Types.h"

namespace tamlo::db::ddl {
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
    {ado::adNumeric, 0, " INT", "", " NUMBER(10,0)"},
    {ado::adDouble, 8, " DOUBLE", " FLOAT", " NUMBER"},
    {ado::adDouble, 0, " DOUBLE", " FLOAT", " NUMBER"},
    {ado::adDouble, 15, " DECIMAL(15,0)", " FLOAT", " NUMBER"},
    {ado::adCurrency, 8, " DOUBLE", " MONEY", " NUMBER"},
    {ado::adVarNumeric, 0, " DOUBLE", " FLOAT", " NUMBER"},
    {ado::adSingle, 4, " FLOAT", " REAL", " FLOAT"},
    {ado::adLongVarBinary, 0, " LONGBLOB", " VARBINARY", " BLOB"},
    {ado::adBinary, 16, " LONGBLOB", " VARBINARY", " BLOB"},
};

TEST(TypesColonnes, EveryTypeCodeHasItsTextOnEachServer) {
  for (const auto& attendu : kAttendus) {
    SCOPED_TRACE(attendu.typ);
    EXPECT_EQ(TypeColonne(Dialecte::kMySql, attendu.typ, attendu.lg), attendu.mySql);
    EXPECT_EQ(TypeColonne(Dialecte::kSqlServer, attendu.typ, attendu.lg), attendu.sqlServer);
    EXPECT_EQ(TypeColonne(Dialecte::kOracle, attendu.typ, attendu.lg), attendu.oracle);
  }
}

TEST(TypesColonnes, ACodeOutsideTheTableHasNoType) {
  for (const std::int32_t typ : {72, 0, 20, 204, -1, 65538}) {
    EXPECT_EQ(TypeColonne(Dialecte::kMySql, typ, 0), std::nullopt);
    EXPECT_EQ(TypeColonne(Dialecte::kSqlServer, typ, 0), std::nullopt);
    EXPECT_EQ(TypeColonne(Dialecte::kOracle, typ, 0), std::nullopt);
  }
}

}  // namespace
}  // namespace tamlo::db::ddl
