#include "db/DbTbl.h"

#include <gmock/gmock.h>

#include "runtime/Conversions.h"
#include "tests/db/BaseDeTest.h"

namespace tamlo::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Kind = RecordedCall::Kind;

class DbTblEdition : public BaseDeTest {
 protected:
  db::DbTbl& OuvreUtl(std::int16_t kind) {
    if (provider.FindTable("$FLDKORV$") == nullptr) AjouteCatalogue();
    ScriptedTable& table = AjouteTable("UTL");
    table.columns.push_back(MakeColumn("AGE", ado::adInteger, 4));
    LigneFld("UTL", 0, "nom");
    LigneFld("UTL", 1, "niveau");
    LigneFld("UTL", 2, "age");
    LigneIdx("UTL", "PK", "nom", true, true);
    LigneIdx("UTL", "I2", "niveau", false, false);
    ScripteToutesTables({{"UTL", "ADM"}});
    ScripteCles({{"PRIMARY", "NOM"}, {"I2", "NIVEAU"}});
    AjouteSonde();
    Ouvre(kind);
    return db.ListeTbl("UTL");
  }
};

TEST_F(DbTblEdition, ADefinitionWithoutADatabaseChangesInMemoryAlone) {
  Ouvre(1);
  db::DbTbl tbl;
  tbl.Nom("ART");
  tbl.AddFld("A", ado::adInteger, 4, false);
  tbl.AddFld("a", ado::adVarWChar, 10, false);
  tbl.AddIdx("I", "a", false, false);
  tbl.AddIdx("i", "b", true, true);
  EXPECT_EQ(tbl.NbFld(), 2);
  EXPECT_EQ(tbl.ListeFld("1").No(), 1);
  EXPECT_EQ(tbl.NbIdx(), 1);
  tbl.AvecMvt(true);
  tbl.ListeFld("0").Obg(true);
  tbl.SupFld("a");
  tbl.SupIdx("I");
  EXPECT_EQ(tbl.NbFld(), 1);
  EXPECT_EQ(tbl.NbIdx(), 0);
  EXPECT_THAT(provider.Calls(), IsEmpty());
}

TEST_F(DbTblEdition, AddFldOfAnExistingNameChangesNothing) {
  db::DbTbl& tbl = OuvreUtl(1);
  tbl.AddFld("NIVEAU", ado::adInteger, 4, false);
  EXPECT_EQ(tbl.NbFld(), 3);
  EXPECT_THAT(provider.Calls(), IsEmpty());
}

TEST_F(DbTblEdition, AddFldAddsToBackendMemoryAndCatalog) {
  db::DbTbl& tbl = OuvreUtl(3);
  tbl.AddFld("Ville", ado::adVarWChar, 20, false);
  ASSERT_EQ(tbl.NbFld(), 4);
  EXPECT_EQ(tbl.ListeFld("ville").No(), 3);
  EXPECT_EQ(tbl.ListeFld("ville").Lg(), 20);
  const runtime::Null nul;
  EXPECT_EQ(Lignes("$FLDKORV$").back(), (Ligne{"UTL", std::int16_t{3}, "ville", nul, nul, nul}));
  EXPECT_THAT(Envoyes(), ElementsAre("ALTER TABLE `UTL` ADD (`VILLE`  CHAR(20))", "SELECT * FROM `$FLDKORV$`"));
}

TEST_F(DbTblEdition, AddFldGoesThroughTheCatalogObjectsOnSqlServer) {
  db::DbTbl& tbl = OuvreUtl(1);
  tbl.AddFld("Ville", ado::adVarWChar, 20, false);
  EXPECT_EQ(provider.Count(Kind::kAppendColumn), 1U);
  EXPECT_THAT(Envoyes(), ElementsAre("SELECT * FROM [$FLDKORV$]"));
  EXPECT_EQ(tbl.NbFld(), 4);
}

/// The numbers and names that the catalog has for UTL.
std::vector<std::string> Numeros(RecordingProvider& provider) {
  std::vector<std::string> numeros;
  for (const auto& ligne : provider.FindTable("$FLDKORV$")->rows) {
    if (ligne[0] == runtime::Variant("UTL")) numeros.push_back(runtime::ToText(ligne[1]) + " " + runtime::ToText(ligne[2]));
  }
  return numeros;
}

TEST_F(DbTblEdition, AddFldIsNumberedBehindTheHighestNumberOfTheCatalogWhoeverHoldsIt) {
  AjouteCatalogue();
  LigneFld("UTL", 7, "fantome");
  db::DbTbl& tbl = OuvreUtl(1);
  tbl.AddFld("Ville", ado::adVarWChar, 20, false);
  EXPECT_EQ(tbl.ListeFld("ville").No(), 8);
  tbl.AddFld("Rue", ado::adVarWChar, 20, false);
  EXPECT_THAT(Numeros(provider), ElementsAre("7 fantome", "0 nom", "1 niveau", "2 age", "8 ville", "9 rue"));
}

TEST_F(DbTblEdition, AddFldIsNumberedBehindALeapInTheNumbersToo) {
  AjouteCatalogue();
  AjouteTable("ART");
  LigneFld("ART", 0, "nom");
  LigneFld("ART", 5, "niveau");
  Ouvre(1);
  db.ListeTbl("ART").AddFld("Ville", ado::adVarWChar, 20, false);
  EXPECT_EQ(db.ListeTbl("ART").ListeFld("ville").No(), 6);
}

TEST_F(DbTblEdition, AddFldTakesAnotherNumberWhenItsOwnWasGivenAwayAndKnowsItFromThenOn) {
  db::DbTbl& tbl = OuvreUtl(1);
  LigneFld("UTL", 3, "autre");
  provider.FailWrite("SELECT * FROM [$FLDKORV$]", runtime::kDuplicateKey, "doublon");
  tbl.AddFld("Ville", ado::adVarWChar, 20, false);
  EXPECT_EQ(tbl.ListeFld("ville").No(), 4);
  tbl.AddFld("Rue", ado::adVarWChar, 20, false);
  EXPECT_THAT(Numeros(provider), ElementsAre("0 nom", "1 niveau", "2 age", "3 autre", "4 ville", "5 rue"));
  EXPECT_EQ(provider.Count(Kind::kAppendColumn), 2U);
}

TEST_F(DbTblEdition, AddFldTakesTheRowAwayThatAFieldOfThatNameLeftBehind) {
  AjouteCatalogue();
  LigneFld("UTL", 7, "ville");
  db::DbTbl& tbl = OuvreUtl(1);
  tbl.AddFld("Ville", ado::adVarWChar, 20, false);
  EXPECT_THAT(provider.Statements(), ElementsAre("DELETE  FROM [$FLDKORV$] WHERE [TABLE]='UTL' AND [NOM]='ville'"));
  EXPECT_EQ(Numeros(provider).back(), "8 ville");
}

TEST_F(DbTblEdition, TwoRowsOfOneNameAreOneField) {
  AjouteCatalogue();
  LigneFld("UTL", 7, "niveau");
  EXPECT_EQ(OuvreUtl(1).NbFld(), 3);
}

TEST_F(DbTblEdition, DroppingAFieldThatTheCatalogNoLongerKnowsMovesNoNumber) {
  AjouteCatalogue();
  LigneFld("UTL", 7, "fantome");
  db::DbTbl& tbl = OuvreUtl(1);
  std::erase_if(provider.FindTable("$FLDKORV$")->rows, [](const Ligne& ligne) { return ligne[2] == runtime::Variant("niveau"); });
  tbl.SupFld("niveau");
  EXPECT_EQ(tbl.NbFld(), 2);
  EXPECT_THAT(provider.Statements(), ElementsAre("ALTER TABLE [UTL] DROP COLUMN [NIVEAU]"));
}

TEST_F(DbTblEdition, APositionIsTheNameOfAColumnThatMemoryDoesNotKnowAndDropsNoOther) {
  db::DbTbl& tbl = OuvreUtl(1);
  tbl.SupFld("0");
  EXPECT_THAT(provider.Statements(), testing::Contains("ALTER TABLE [UTL] DROP COLUMN [0]"));
  provider.ClearCalls();
  tbl.SupIdx("1");
  EXPECT_THAT(provider.Statements(), testing::Contains("ALTER TABLE [UTL] DROP CONSTRAINT [1]"));
  for (const std::string& texte : provider.Statements()) EXPECT_EQ(texte.find("I2"), std::string::npos) << texte;
  EXPECT_EQ(tbl.NbFld(), 3);
  EXPECT_EQ(tbl.NbIdx(), 2);
  EXPECT_THAT(Numeros(provider), ElementsAre("0 nom", "1 niveau", "2 age"));
}

TEST_F(DbTblEdition, ARefusedAddFldLeavesMemoryAndCatalog) {
  db::DbTbl& tbl = OuvreUtl(3);
  provider.FailPrefix("ALTER TABLE", 1060, "refus");
  EXPECT_EQ(Numero([&] { tbl.AddFld("Ville", ado::adVarWChar, 20, false); }), 1060);
  EXPECT_EQ(tbl.NbFld(), 3);
  EXPECT_EQ(Lignes("$FLDKORV$").size(), 3U);
  EXPECT_EQ(Numero([&] { tbl.AddFld("Ville", 70000, 20, false); }), runtime::kOverflow);
}

TEST_F(DbTblEdition, SupFldOfAnUnknownFieldSendsNothing) {
  db::DbTbl& tbl = OuvreUtl(1);
  tbl.SupFld("absent");
  tbl.SupFld("12");
  EXPECT_THAT(provider.Calls(), IsEmpty());
}

TEST_F(DbTblEdition, SupFldDropsTheColumnAndRenumbersTheCatalog) {
  db::DbTbl& tbl = OuvreUtl(1);
  tbl.SupFld("NIVEAU");
  ASSERT_EQ(tbl.NbFld(), 2);
  EXPECT_EQ(tbl.ListeFld("1").Nom(), "age");
  EXPECT_EQ(tbl.ListeFld("1").No(), 2);
  EXPECT_THAT(Envoyes(),
              ElementsAre("ALTER TABLE [UTL] DROP COLUMN [NIVEAU]", "DELETE  FROM [$FLDKORV$] WHERE [TABLE]='UTL' AND [NOM]='niveau'",
                          "UPDATE [$FLDKORV$] SET [NO]=[NO]-1 WHERE [TABLE]='UTL' AND [NO]>1"));
}

TEST_F(DbTblEdition, ARefusedSupFldLeavesEverything) {
  db::DbTbl& tbl = OuvreUtl(1);
  provider.FailPrefix("ALTER TABLE", 5074, "refus");
  tbl.SupFld("niveau");
  EXPECT_EQ(tbl.NbFld(), 3);
  EXPECT_THAT(Envoyes(), ElementsAre("ALTER TABLE [UTL] DROP COLUMN [NIVEAU]"));
}

TEST_F(DbTblEdition, AddIdxAddsToBackendMemoryAndCatalog) {
  db::DbTbl& tbl = OuvreUtl(1);
  tbl.AddIdx("ix1", "Nom;-Age", false, true);
  ASSERT_EQ(tbl.NbIdx(), 3);
  EXPECT_EQ(tbl.ListeIdx("IX1").SFld(), "nom;-age");
  EXPECT_THAT(provider.Statements(), ElementsAre("CREATE UNIQUE INDEX \"IX1\" ON \"UTL\" (\"NOM\",\"AGE\" DESC)"));
  EXPECT_EQ(Lignes("$IDXKORV$").back(), (Ligne{"UTL", "IX1", "nom;-age", false, true, runtime::Null{}}));
  provider.ClearCalls();
  tbl.AddIdx("IX1", "nom", false, false);
  EXPECT_THAT(provider.Calls(), IsEmpty());
}

TEST_F(DbTblEdition, SupIdxDropsTheIndexAndItsRow) {
  db::DbTbl& tbl = OuvreUtl(1);
  tbl.SupIdx("i2");
  EXPECT_EQ(tbl.NbIdx(), 1);
  EXPECT_THAT(Envoyes(),
              ElementsAre("ALTER TABLE [UTL] DROP CONSTRAINT [I2]", "DELETE  FROM [$IDXKORV$] WHERE [TABLE]='UTL' AND [NOM]='I2'"));
  provider.ClearCalls();
  tbl.SupIdx("absent");
  EXPECT_THAT(provider.Calls(), IsEmpty());
}

TEST_F(DbTblEdition, ARefusedSupIdxLeavesWhatTheBackendStillHas) {
  db::DbTbl& tbl = OuvreUtl(1);
  provider.FailPrefix("ALTER TABLE", 3728, "refus");
  provider.FailPrefix("DROP INDEX", 3723, "refus");
  tbl.SupIdx("PK");
  EXPECT_EQ(tbl.NbIdx(), 2);
  EXPECT_EQ(Lignes("$IDXKORV$").size(), 2U);
  // I2 is not among the backend's indexes: what is left of it goes.
  provider.ClearCalls();
  tbl.SupIdx("I2");
  EXPECT_EQ(tbl.NbIdx(), 1);
  EXPECT_EQ(provider.Statements().back(), "DELETE  FROM [$IDXKORV$] WHERE [TABLE]='UTL' AND [NOM]='I2'");
}

TEST_F(DbTblEdition, WithoutACatalogEditsWriteNoRows) {
  ScriptedTable table;
  table.name = "T";
  table.columns = {MakeColumn("A", ado::adInteger), MakeColumn("B", ado::adInteger)};
  provider.AddTable(table);
  Ouvre(4);
  db::DbTbl& tbl = db.ListeTbl("T");
  tbl.AddFld("C", ado::adInteger, 4, false);
  tbl.SupFld("A");
  EXPECT_EQ(tbl.NbFld(), 2);
  EXPECT_THAT(Envoyes(), ElementsAre("ALTER TABLE `T` DROP COLUMN `A`"));
}

TEST_F(DbTblEdition, CatalogTablesHaveNoRowsOfTheirOwn) {
  AjouteCatalogue();
  Ouvre(1);
  for (const char* nom : {"$TBLKORV$", "$FLDKORV$", "$IDXKORV$", "$RLTKORV$"}) {
    db::DbTbl tbl;
    tbl.Nom(nom);
    tbl.AddFld("a", ado::adInteger, 4, false);
    tbl.AddIdx("i", "a", false, false);
    tbl.Db(&db);
    tbl.SauveFld(tbl.ListeFld("0"), nullptr);
    tbl.SauveIdx(tbl.ListeIdx("0"), nullptr);
  }
  EXPECT_THAT(provider.Calls(), IsEmpty());
}

}  // namespace
}  // namespace tamlo::tests
