#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "db/Environnement.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "tests/backends/Accord.h"
#include "tests/backends/Backend.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {
namespace {

/// The statements of Oracle alone, run by the engine without what it cannot parse; the grammar check reads them as they were sent.
class Oracle : public testing::Test {
 protected:
  ~Oracle() override { db::EnvironnementCourant() = {}; }

  void Parametres(const std::string& texte) {
    db::EnvironnementCourant().dossierProgramme = dossier_.Path().string();
    std::ofstream(dossier_.File("ORA_XE.PRM")) << texte;
  }

  TemporaryFolder dossier_;
  BaseOuverte base_{BackendNomme("Oracle")};
};

TEST_F(Oracle, TablesWithOwnerStorageAndTablespacesAreCreatedAndUsed) {
  Parametres("2\n10,40,\"TS1\",\"IDX\",10,0.5,1,100,0\n\"ADM\"\n\"PETITE\",,,,,0.5,2,,,\n");
  auto definition = Table("UTL", {{"NOM", ado::adVarWChar, 30}, {"NIV", ado::adSmallInt, 2}});
  definition->AddIdx("ix1", "NOM;-NIV", true, true);
  base_.Cree(std::move(definition));
  base_.Cree(Table("PETITE", {{"A", ado::adInteger, 4}})).AddIdx("ix1", "-A", false, false);
  EXPECT_EQ(Desaccord(base_, "UTL"), "");
  EXPECT_EQ(Desaccord(base_, "PETITE"), "");
  base_->ExecuteSQL("INSERT INTO [UTL] ([NOM],[NIV]) VALUES ('x',1)");
  EXPECT_EQ(runtime::IgnoringErrors([&] { base_->ExecuteSQL("INSERT INTO [UTL] ([NOM],[NIV]) VALUES ('x',1)"); }).number,
            runtime::kDuplicateKey);
  base_.Rouvre();
  EXPECT_EQ(base_->ListeTbl("UTL").Owner(), "ADM");
  base_->ListeTbl("UTL").AddFld("VILLE", ado::adVarWChar, 20, false);
  base_->ListeTbl("UTL").SupIdx("IX1");
  EXPECT_EQ(Desaccord(base_, "UTL"), "");
  base_->SupTbl("UTL");
  EXPECT_EQ(Desaccord(base_, "UTL"), "");
}

TEST_F(Oracle, APrivilegeOnATableOfAnotherOwnerIsLookedForInTheDictionary) {
  db::EnvironnementCourant().nomUtlConnecte = [] { return std::string("ADM"); };
  db::DbTbl tbl;
  tbl.Nom("PARTAGE");
  tbl.Owner("AUTRE");
  tbl.Db(&*base_);
  EXPECT_TRUE(tbl.PrivilegeOK("SELECT")) << "granted to a role";
  EXPECT_FALSE(tbl.PrivilegeOK("INSERT"));
  EXPECT_TRUE(base_->PrivilegeOK("CREATE SESSION")) << "by a role";
  EXPECT_TRUE(base_->PrivilegeOK("CREATE TABLE")) << "by itself";
  EXPECT_FALSE(base_->PrivilegeOK("DROP ANY TABLE"));
  tbl.Owner("ADM");
  EXPECT_TRUE(tbl.PrivilegeOK("INSERT")) << "of an own table";
}

TEST_F(Oracle, AFileThatIsWrongKeepsTheTableFromBeingMade) {
  Parametres("1\n10,40");
  const auto erreur = runtime::IgnoringErrors([&] { base_->AddTbl(Table("UTL", {{"A", ado::adInteger, 4}})); });
  EXPECT_EQ(erreur.number, 62);
  EXPECT_EQ(erreur.description, "Fichier de paramètres Oracle " + dossier_.File("ORA_XE.PRM") +
                                    " : la fin du fichier vient avant une valeur attendue, tablespace pour les valeurs par défaut");
  EXPECT_EQ(Desaccord(base_, "UTL"), "");
  Parametres("1\n,,,,,,,,\n");
  base_->AddTbl(Table("UTL", {{"A", ado::adInteger, 4}}));
  EXPECT_EQ(Desaccord(base_, "UTL"), "");
}

TEST_F(Oracle, ATableWithoutAColumnTypeIsRefusedBeforeTheServerSeesIt) {
  const auto erreur = runtime::IgnoringErrors([&] { base_->AddTbl(Table("T", {{"G", ado::adGUID}, {"A", ado::adInteger, 4}})); });
  EXPECT_EQ(erreur.number, 5);
  EXPECT_EQ(erreur.description, "Type 72 non géré");
  EXPECT_EQ(Desaccord(base_, "T"), "");
}

}  // namespace
}  // namespace tamlo::tests
