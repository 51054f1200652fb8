// Statements of the layer's dialect do what they say on every engine.

#include <gtest/gtest.h>

#include "runtime/Conversions.h"
#include "runtime/Dates.h"
#include "runtime/RegionalSettings.h"
#include "tests/backends/Backend.h"

namespace tamlo::tests {
namespace {

class Dialecte : public testing::TestWithParam<std::string> {
 protected:
  /// The first fields of the rows found, joined by ";".
  static std::string Trouve(db::DataBase& base, const std::string& sql) {
    std::string valeurs;
    auto rs = base.OpenRecordSet(sql, 0);
    for (; !rs.Eof(); rs.MoveNext()) valeurs += runtime::ToText(rs.Fields(0).Value()) + ";";
    return valeurs;
  }

  BaseOuverte base{BackendNomme(GetParam())};

 private:
  runtime::RegionalSettingsOverride reglages_{{"dd/MM/yyyy", ','}};
};

INSTANTIATE_TEST_SUITE_P(Backends, Dialecte, testing::Values("Jet", "MariaDb", "Sqlite", "SqlServer", "Oracle"),
                         [](const auto& nom) { return nom.param; });

TEST_P(Dialecte, AliasesBracketsAndDoubledQuotesAreUnderstoodInAnyCase) {
  base.Cree(Table("ART", {{"NOM", ado::adVarWChar, 30}, {"N", ado::adInteger, 4}}));
  base->ExecuteSQL("insert into [art] ([nom],[n]) values ('L''Ecole',1)");
  base->ExecuteSQL("insert into [art] ([nom],[n]) values ('été',2)");
  EXPECT_EQ(Trouve(*base, "select a.[n] from [art] as a where a.[nom]='L''Ecole'"), "1;");
  EXPECT_EQ(Trouve(*base, "select art.n from art where nom='été' and n=1+1"), "2;");
  EXPECT_EQ(Trouve(*base, "select a.[n] from [art] as a, [art] as b where a.[n] < b.[n]"), "1;");
}

TEST_P(Dialecte, ADeleteWithItsAsteriskTakesTheRowsThatItNames) {
  base.Cree(Table("ART", {{"N", ado::adInteger, 4}}));
  for (const char* n : {"1", "2", "3"}) base->ExecuteSQL(std::string("INSERT INTO [ART] ([N]) VALUES (") + n + ")");
  base->ExecuteSQL("delete * from [art] where [n]=2");
  EXPECT_EQ(Trouve(*base, "SELECT [N] FROM [ART] ORDER BY [N]"), "1;3;");
  base->ExecuteSQL("DELETE * FROM [ART]");
  EXPECT_EQ(Trouve(*base, "SELECT [N] FROM [ART]"), "");
}

/// SQL Server gets the text of the date as it was typed, and reads it by settings of its own; so does a generic source.
class DialecteDates : public Dialecte {};

INSTANTIATE_TEST_SUITE_P(Backends, DialecteDates, testing::Values("Jet", "MariaDb", "Oracle"), [](const auto& nom) { return nom.param; });

TEST_P(DialecteDates, ADateIsReadInTheOrderOfTheUsersShortDate) {
  base.Cree(Table("JOUR", {{"D", ado::adDate}, {"N", ado::adInteger, 4}}));
  auto rs = base->OpenRecordSet("SELECT * FROM [JOUR]", 2);
  for (const int mois : {1, 2}) {
    rs.AddNew();
    rs.Fields("D").Value(runtime::ToSerial({2003, mois, 3 - mois}));
    rs.Fields("N").Value(mois);
    rs.Update();
  }
  rs.Close();
  EXPECT_EQ(Trouve(*base, "select n from [jour] where [d] = cvdate('01/02/2003')"), "2;");
  EXPECT_EQ(Trouve(*base, "select [n] from jour where cvdate('02/01/2003')=[d]"), "1;");
  EXPECT_EQ(Trouve(*base, "select [n] from jour where [d]>cvdate('31/01/2003') and [d]<cvdate('28/02/2003')"), "2;");
}

}  // namespace
}  // namespace tamlo::tests
