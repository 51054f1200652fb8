#include <gtest/gtest.h>

#include "ado/odbc/OdbcProvider.h"
#include "db/DataBase.h"
#include "db/Environnement.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "tests/support_lib/FakePlatform.h"
#include "tests/support_lib/PostgresServer.h"

namespace tamlo::tests {
namespace {

/// PostgreSQL as a generic source: a back quote is no quoting mark there, and a double quote can only mean a name.
class Postgres : public testing::Test {
 protected:
  void SetUp() override {
    ado::odbc::RegisterOdbcProviders();
    db::EnvironnementCourant().nomLogin = "tamlo";
    db::EnvironnementCourant().pwdLogin = "tamlo";
    ASSERT_TRUE(base_.Ouvre(serveur_.ConnectionString(), db::TypOdbc, true));
  }
  void TearDown() override {
    base_.Ferme();
    db::EnvironnementCourant() = {};
  }

  FakePlatform plateforme_;
  PostgresServer serveur_;
  db::DataBase base_;
};

TEST_F(Postgres, OpensListsAndRunsWhatHasBareNamesAndNumbersOnly) {
  base_.ExecuteSQL("create table utl (idutl integer, dbl double precision)");
  base_.ExecuteSQL("insert into utl values (41, 1.5)");
  auto rs = base_.OpenRecordSet("select max(idutl) from utl", 0);
  EXPECT_EQ(runtime::ToInt32(rs.Fields(0).Value()), 41);
  rs.Close();
  EXPECT_EQ(runtime::IgnoringErrors([&] { (void)base_.GetCptSuiv("utl", "idutl"); }).number, runtime::kProviderFailure)
      << "the counter's field stands between brackets";
}

TEST_F(Postgres, RefusesBracketedNamesAndTextLiterals) {
  base_.ExecuteSQL("create table utl (idutl integer, nom varchar(30))");
  const auto crochets = runtime::IgnoringErrors([&] { (void)base_.OpenRecordSet("select * from [utl]", 0).Eof(); });
  EXPECT_EQ(crochets.number, runtime::kProviderFailure) << crochets.description;
  const auto litteral = runtime::IgnoringErrors([&] { base_.ExecuteSQL("insert into utl values (1, 'x')"); });
  EXPECT_EQ(litteral.number, runtime::kProviderFailure) << litteral.description;
  base_.Ferme();
  ASSERT_TRUE(base_.Ouvre(serveur_.ConnectionString(), db::TypOdbc, true));
  EXPECT_TRUE(base_.ExisteTbl("UTL"));
  EXPECT_EQ(base_.ListeTbl("UTL").NbFld(), 0) << "a table that cannot be opened stays without fields";
}

TEST_F(Postgres, ValuesOfRecordsetsAreBoundAndSoPass) {
  base_.ExecuteSQL("create table utl (idutl integer, nom varchar(30))");
  auto rs = base_.OpenRecordSet("select * from utl", 2);
  rs.AddNew();
  rs.Fields("idutl").Value(1);
  rs.Fields("nom").Value("l'été \"[œ]\"");
  rs.Update();
  rs.Close();
  rs = base_.OpenRecordSet("select * from utl", 0);
  EXPECT_EQ(runtime::ToText(rs.Fields("NOM").Value()), "l'été \"[œ]\"");
}

TEST_F(Postgres, ACopyIsRefusedWithTheTableNamedAndNothingDone) {
  base_.ExecuteSQL("create table utl (idutl integer)");
  base_.Ferme();
  ASSERT_TRUE(base_.Ouvre(serveur_.ConnectionString(), db::TypOdbc, true));
  db::DataBase autre;
  ASSERT_TRUE(autre.Ouvre(serveur_.ConnectionString(), db::TypOdbc, true));
  const auto erreur = runtime::IgnoringErrors([&] { (void)base_.CopieDonnees("UTL", autre); });
  EXPECT_EQ(erreur.number, runtime::kProviderFailure);
  EXPECT_TRUE(erreur.description.starts_with("copie de la table UTL : ")) << erreur.description;
  autre.Ferme();
}

}  // namespace
}  // namespace tamlo::tests
