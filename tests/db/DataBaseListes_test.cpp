#include <gmock/gmock.h>

#include "tests/db/BaseDeTest.h"

namespace tamlo::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Kind = RecordedCall::Kind;

class DataBaseListes : public BaseDeTest {
 protected:
  void OuvreAvecTables(std::int16_t kind = 1) {
    AjouteCatalogue();
    AjouteTable("ART");
    AjouteTable("UTL");
    ScripteToutesTables({{"ART", "ADM"}, {"UTL", "ADM"}});
    ScripteCles({});
    AjouteSonde();
    Ouvre(kind);
  }
  std::vector<std::string> Noms() {
    std::vector<std::string> noms;
    for (int i = 0; i < db.NbTbl(); ++i) noms.push_back(db.ListeTbl(std::to_string(i)).Nom());
    return noms;
  }
};

TEST_F(DataBaseListes, ListeTblTakesANameInAnyCaseOrAPosition) {
  OuvreAvecTables();
  EXPECT_THAT(Noms(), ElementsAre("$TBLKORV$", "$FLDKORV$", "$IDXKORV$", "$RLTKORV$", "ART", "UTL", "TEST_DT"));
  EXPECT_EQ(&db.ListeTbl(" utl "), &db.ListeTbl("5"));
  EXPECT_EQ(db.ListeTbl("2").Nom(), "$IDXKORV$");
  EXPECT_EQ(db.ListeTbl("UTL").Db(), &db);
}

TEST_F(DataBaseListes, ATableThatIsNotListedIsASubscriptError) {
  OuvreAvecTables();
  for (const char* cle : {"ABSENTE", "7", "-1", ""}) {
    EXPECT_EQ(Numero([&] { (void)db.ListeTbl(cle); }), runtime::kSubscriptOutOfRange) << cle;
  }
  EXPECT_EQ(Numero([&] { (void)db.ListeTbl("40000"); }), runtime::kOverflow);
}

TEST_F(DataBaseListes, ExisteTblAsksTheCatalogWithoutAStatement) {
  OuvreAvecTables();
  EXPECT_TRUE(db.ExisteTbl(" utl "));
  EXPECT_FALSE(db.ExisteTbl("ABSENTE"));
  EXPECT_FALSE(db.ExisteTbl(""));
  EXPECT_THAT(provider.Calls(), IsEmpty());
  AjouteTable("NOUVELLE");
  db.Catalogue().Refresh();
  EXPECT_TRUE(db.ExisteTbl("nouvelle"));
  EXPECT_EQ(Numero([&] { (void)db.ListeTbl("NOUVELLE"); }), runtime::kSubscriptOutOfRange);
}

TEST_F(DataBaseListes, ExisteTblIsFalseOnAnyError) { EXPECT_FALSE(db.ExisteTbl("UTL")); }

TEST_F(DataBaseListes, SupporteTableIsFalseOnEveryKind) {
  for (std::int16_t kind = 0; kind <= 4; ++kind) {
    db::DataBase base;
    ASSERT_TRUE(base.Ouvre("V", kind, true));
    EXPECT_FALSE(base.SupporteTable());
  }
}

TEST_F(DataBaseListes, AnUnknownAliasReadsAsItselfAndInvisible) {
  EXPECT_EQ(db.TblReel("Inconnu"), "Inconnu");
  EXPECT_EQ(db.LibAlias("Inconnu"), "Inconnu");
  EXPECT_FALSE(db.VisAlias("Inconnu"));
}

TEST_F(DataBaseListes, AnAliasGivesTableLabelAndVisibility) {
  db.AddAlias("utl", "usagers", "Les usagers", true);
  EXPECT_EQ(db.TblReel(" Usagers "), "UTL");
  EXPECT_EQ(db.LibAlias("usagers"), "Les usagers");
  EXPECT_TRUE(db.VisAlias("USAGERS"));
}

TEST_F(DataBaseListes, ABlankAliasIsTheTableItselfAndABlankTableIsNothing) {
  db.AddAlias("utl", "  ", "Lib", false);
  EXPECT_EQ(db.TblReel("utl"), "UTL");
  EXPECT_EQ(db.LibAlias("UTL"), "Lib");
  db.AddAlias("  ", "vide", "Lib", true);
  EXPECT_EQ(db.TblReel("vide"), "vide");
}

TEST_F(DataBaseListes, ASecondAliasOfThatNameKeepsTheFirstTableAndFillsABlankLabel) {
  db.AddAlias("utl", "a", " ", false);
  db.AddAlias("art", "A", "Libelle", true);
  EXPECT_EQ(db.TblReel("a"), "UTL");
  EXPECT_EQ(db.LibAlias("a"), "Libelle");
  EXPECT_FALSE(db.VisAlias("a"));
  db.AddAlias("art", "a", "Autre", true);
  EXPECT_EQ(db.LibAlias("a"), "Libelle");
}

TEST_F(DataBaseListes, ANumericAliasIsAPosition) {
  db.AddAlias("utl", "a", "", true);
  EXPECT_EQ(db.TblReel("0"), "UTL");
  EXPECT_EQ(Numero([&] { (void)db.TblReel("1"); }), runtime::kSubscriptOutOfRange);
}

TEST_F(DataBaseListes, AnAliasThatIsANumberGivesItsLabelToNoOther) {
  db.AddAlias("utl", "a", "", true);
  db.AddAlias("art", "0", "Libelle", true);
  EXPECT_EQ(db.LibAlias("a"), "");
  EXPECT_EQ(db.LibAlias("1"), "Libelle");
  EXPECT_EQ(db.TblReel("1"), "ART");
}

TEST_F(DataBaseListes, AddTblCreatesListsAndRecordsATable) {
  OuvreAvecTables();
  auto tbl = std::make_unique<db::DbTbl>();
  tbl->Nom(" cde ");
  tbl->AddFld("No", ado::adInteger, 4, false);
  tbl->AddFld("Nom", ado::adVarWChar, 20, false);
  tbl->AddIdx("pk", "no;-nom", true, true);
  const db::DbTbl& inscrite = db.AddTbl(std::move(tbl));
  EXPECT_EQ(inscrite.Db(), &db);
  EXPECT_EQ(&db.ListeTbl("CDE"), &inscrite);
  EXPECT_EQ(provider.Statements().size(), 1U);
  EXPECT_EQ(provider.Statements()[0].substr(0, 18), "CREATE TABLE \"CDE\"");
  EXPECT_THAT(Lignes("$TBLKORV$"), ElementsAre(Ligne{"CDE", false}));
  const runtime::Null nul;
  EXPECT_THAT(Lignes("$FLDKORV$"),
              ElementsAre(Ligne{"CDE", std::int16_t{0}, "no", nul, nul, nul}, Ligne{"CDE", std::int16_t{1}, "nom", nul, nul, nul}));
  EXPECT_THAT(Lignes("$IDXKORV$"), ElementsAre(Ligne{"CDE", "PK", "no;-nom", true, true, nul}));
}

TEST_F(DataBaseListes, ATableWhoseCreationFailsIsNotListed) {
  OuvreAvecTables();
  const std::int16_t avant = db.NbTbl();
  provider.FailPrefix("CREATE TABLE", 4711, "refus");
  auto tbl = std::make_unique<db::DbTbl>();
  tbl->Nom("CDE");
  tbl->AddFld("No", ado::adInteger, 4, false);
  EXPECT_EQ(Numero([&] { db.AddTbl(std::move(tbl)); }), 4711);
  EXPECT_EQ(db.NbTbl(), avant);
  EXPECT_THAT(Lignes("$TBLKORV$"), IsEmpty());
}

TEST_F(DataBaseListes, GenericOdbcListsATableWithoutCreatingIt) {
  OuvreAvecTables(4);
  auto tbl = std::make_unique<db::DbTbl>();
  tbl->Nom("CDE");
  tbl->AddFld("No", ado::adInteger, 4, false);
  db.AddTbl(std::move(tbl));
  EXPECT_EQ(db.ListeTbl("CDE").NbFld(), 1);
  EXPECT_THAT(provider.Statements(), IsEmpty());
  EXPECT_EQ(Lignes("$TBLKORV$").size(), 1U);
}

TEST_F(DataBaseListes, ATableOfAListedNameIsListedAgainAndTheLastOneFoundIsFoundAgain) {
  const auto ajoute = [&](const char* nom) {
    auto tbl = std::make_unique<db::DbTbl>();
    tbl->Nom(nom);
    return &db.AddTbl(std::move(tbl));
  };
  AjouteCatalogue();
  Ouvre(4);
  const std::int16_t avant = db.NbTbl();
  const db::DbTbl* premiere = ajoute("CDE");
  EXPECT_EQ(&db.ListeTbl("CDE"), premiere);
  const db::DbTbl* seconde = ajoute("CDE");
  EXPECT_EQ(db.NbTbl(), avant + 2);
  EXPECT_EQ(&db.ListeTbl("CDE"), premiere);
  EXPECT_EQ(&db.ListeTbl(std::to_string(avant + 1)), seconde);
  // What was found last is looked at first, before the entries in front of it.
  ajoute("ART");
  EXPECT_EQ(&db.ListeTbl("ART"), &db.ListeTbl(std::to_string(avant + 2)));
  db.Ferme();
  Ouvre(4);
  ajoute("CDE");
  ajoute("ART");
  const db::DbTbl* art = ajoute("ART");
  EXPECT_EQ(&db.ListeTbl("ART"), art);
}

TEST_F(DataBaseListes, SupTblDropsTheTableItsEntryAndItsCatalogRows) {
  struct Cas {
    std::int16_t kind;
    const char* drop;
    Textes catalogue;
  };
  const Textes dialecte{"DELETE  FROM [$TBLKORV$] WHERE [NOM]='UTL'", "DELETE  FROM [$FLDKORV$] WHERE [TABLE]='UTL'",
                        "DELETE  FROM [$IDXKORV$] WHERE [TABLE]='UTL'"};
  const Textes jet{"DELETE * FROM [$TBLKORV$] WHERE [NOM]='UTL'", "DELETE * FROM [$FLDKORV$] WHERE [TABLE]='UTL'",
                   "DELETE * FROM [$IDXKORV$] WHERE [TABLE]='UTL'"};
  const Textes oracle{"DELETE  FROM \"$TBLKORV$\" WHERE \"NOM\"='UTL'", "DELETE  FROM \"$FLDKORV$\" WHERE \"TABLE\"='UTL'",
                      "DELETE  FROM \"$IDXKORV$\" WHERE \"TABLE\"='UTL'"};
  const Textes mySql{"DELETE  FROM `$TBLKORV$` WHERE `NOM`=\"UTL\"", "DELETE  FROM `$FLDKORV$` WHERE `TABLE`=\"UTL\"",
                     "DELETE  FROM `$IDXKORV$` WHERE `TABLE`=\"UTL\""};
  OuvreAvecTables();
  for (const Cas& cas :
       {Cas{0, "DROP TABLE [UTL]", jet}, Cas{1, "DROP TABLE [UTL]", dialecte}, Cas{2, "DROP TABLE \"ADM\".\"UTL\"", oracle},
        Cas{3, "DROP TABLE UTL", mySql}, Cas{4, "DROP TABLE [UTL]", mySql}}) {
    if (provider.FindTable("UTL") == nullptr) AjouteTable("UTL");
    db::DataBase base;
    ASSERT_TRUE(base.Ouvre("V", cas.kind, true));
    const std::int16_t avant = base.NbTbl();
    provider.ClearCalls();
    base.SupTbl("UTL");
    Textes attendus{cas.drop};
    attendus.insert(attendus.end(), cas.catalogue.begin(), cas.catalogue.end());
    EXPECT_EQ(Envoyes(), attendus);
    EXPECT_EQ(base.NbTbl(), avant - 1);
    EXPECT_FALSE(base.ExisteTbl("UTL"));
    EXPECT_EQ(Numero([&] { (void)base.ListeTbl("UTL"); }), runtime::kSubscriptOutOfRange);
  }
}

TEST_F(DataBaseListes, SupTblOfAMissingTableDoesNothing) {
  OuvreAvecTables();
  db.SupTbl("ABSENTE");
  EXPECT_THAT(Envoyes(), IsEmpty());
}

TEST_F(DataBaseListes, SupTblOfABackendThatNoLongerAnswersIsItsErrorAndNeverDone) {
  OuvreAvecTables();
  provider.Fail("DROP TABLE [UTL]", 3003, "la connexion est perdue");
  provider.Fail("LIST TABLES", 3004, "elle l'est toujours");
  EXPECT_EQ(Numero([&] { db.SupTbl("UTL"); }), 3003);
  EXPECT_EQ(Numero([&] { db.SupTbl("ABSENTE"); }), 3004);
  EXPECT_EQ(db.ListeTbl("UTL").Nom(), "UTL");
}

TEST_F(DataBaseListes, ARefusedDropLeavesListAndCatalogRows) {
  OuvreAvecTables();
  provider.Fail("DROP TABLE [UTL]", 3003, "table verrouillée");
  EXPECT_EQ(Numero([&] { db.SupTbl("UTL"); }), 3003);
  EXPECT_THAT(Envoyes(), ElementsAre("DROP TABLE [UTL]"));
  EXPECT_EQ(db.ListeTbl("UTL").Nom(), "UTL");
}

TEST_F(DataBaseListes, LookupsFollowTheListAfterARemoval) {
  OuvreAvecTables();
  EXPECT_EQ(db.ListeTbl("UTL").Nom(), "UTL");
  db.SupTbl("ART");
  EXPECT_EQ(db.ListeTbl("UTL").Nom(), "UTL");
  EXPECT_EQ(db.ListeTbl("4").Nom(), "UTL");
}

class DataBaseRelations : public BaseDeTest {
 protected:
  /// The chain as "A-B,C-B".
  std::string Chaine(const std::string& de, const std::string& vers, const std::string& visites = "") {
    std::vector<db::DbRlt*> chaine{nullptr};
    std::int16_t longueur = 99;
    db.GetListeRlt(de, vers, chaine, longueur, visites);
    EXPECT_EQ(chaine.size(), static_cast<std::size_t>(longueur));
    std::string texte;
    for (const db::DbRlt* relation : chaine) texte += (texte.empty() ? "" : ",") + relation->AliasSrc() + "-" + relation->AliasCbl();
    return texte;
  }
  void Relie(const std::string& de, const std::string& vers) { EXPECT_TRUE(db.AddRlt(de, "x", vers, "y", 0, 0, false)); }
};

TEST_F(DataBaseRelations, AddRltFoldsTheNamesAndInvertsTheFlag) {
  EXPECT_TRUE(db.AddRlt("utl", "IdUtl", "vlmutl", "IDUTL", 1, 2, true));
  ASSERT_EQ(db.NbRlt(), 1);
  const db::DbRlt& relation = db.ListeRlt(0);
  EXPECT_EQ(relation.AliasSrc(), "UTL");
  EXPECT_EQ(relation.FldSrc(), "idutl");
  EXPECT_EQ(relation.AliasCbl(), "VLMUTL");
  EXPECT_EQ(relation.FldCbl(), "idutl");
  EXPECT_EQ(relation.Typ(), 1);
  EXPECT_EQ(relation.TypInv(), 2);
  EXPECT_FALSE(relation.Obg());
  EXPECT_TRUE(db.AddRlt("a", "x", "b", "y", 0, 0, false));
  EXPECT_TRUE(db.ListeRlt(1).Obg());
}

TEST_F(DataBaseRelations, ASecondRelationBetweenTheSameAliasesIsRefused) {
  Relie("A", "B");
  EXPECT_FALSE(db.AddRlt("a", "autre", "b", "champ", 1, 1, true));
  EXPECT_EQ(db.NbRlt(), 1);
  EXPECT_TRUE(db.AddRlt("B", "x", "A", "y", 0, 0, false));
}

TEST_F(DataBaseRelations, AddRltWritesNothing) {
  AjouteCatalogue();
  Ouvre(1);
  Relie("A", "B");
  EXPECT_THAT(provider.Calls(), IsEmpty());
}

TEST_F(DataBaseRelations, ListeRltOutsideIsASubscriptError) {
  EXPECT_EQ(Numero([&] { (void)db.ListeRlt(0); }), runtime::kSubscriptOutOfRange);
  EXPECT_EQ(Numero([&] { (void)db.ListeRlt(-1); }), runtime::kSubscriptOutOfRange);
}

TEST_F(DataBaseRelations, AnAttachedRelationIsAppendedAsItStandsOnAccessAlone) {
  db::DbRlt relation;
  relation.Init("a", "X", "b", "Y", 0, 0, true);
  Ouvre(1);
  db.AddRltAttachee(relation);
  EXPECT_EQ(db.NbRlt(), 0);
  db::DataBase access;
  ASSERT_TRUE(access.Ouvre("V", 0, true));
  access.AddRltAttachee(relation);
  access.AddRltAttachee(relation);
  ASSERT_EQ(access.NbRlt(), 2);
  EXPECT_EQ(access.ListeRlt(1).AliasSrc(), "a");
  EXPECT_TRUE(access.ListeRlt(1).Obg());
}

TEST_F(DataBaseRelations, ADirectRelationGoesBeforeALongerChainInBothDirections) {
  Relie("A", "B");
  Relie("B", "C");
  Relie("C", "A");
  EXPECT_EQ(Chaine("A", "C"), "C-A");
  EXPECT_EQ(Chaine("C", "A"), "C-A");
}

TEST_F(DataBaseRelations, TheFirstChainInRegistryOrderIsKeptNotTheShortest) {
  Relie("A", "B");
  Relie("B", "C");
  Relie("C", "D");
  Relie("A", "E");
  Relie("E", "D");
  EXPECT_EQ(Chaine("A", "D"), "A-B,B-C,C-D");
}

TEST_F(DataBaseRelations, ARelationIsFollowedFromItsTargetToItsSourceToo) {
  Relie("B", "A");
  Relie("C", "B");
  Relie("C", "D");
  EXPECT_EQ(Chaine("A", "D"), "B-A,C-B,C-D");
  EXPECT_EQ(Chaine("D", "A"), "C-D,C-B,B-A");
}

TEST_F(DataBaseRelations, AliasesAreComparedAsTheyStand) {
  Relie("A", "B");
  EXPECT_EQ(Chaine("a", "B"), "");
  EXPECT_EQ(Chaine("A", "B", "a;b"), "A-B");
}

TEST_F(DataBaseRelations, CyclesEndAndNoChainIsLengthZero) {
  Relie("A", "B");
  Relie("B", "C");
  Relie("C", "A");
  EXPECT_EQ(Chaine("A", "Z"), "");
  EXPECT_EQ(Chaine("Z", "A"), "");
}

TEST_F(DataBaseRelations, AVisitedAliasIsNotEnteredAgainAndIsNotTakenForALongerOne) {
  Relie("A", "B");
  EXPECT_EQ(Chaine("A", "B", "A"), "");
  EXPECT_EQ(Chaine("A", "B", "X;A;Y"), "");
  EXPECT_EQ(Chaine("A", "B", "AA;BA"), "A-B");
  EXPECT_EQ(Chaine("A", "B", ""), "A-B");
}

TEST_F(DataBaseRelations, TheRegistryIsReadFromItsTableInOrder) {
  AjouteCatalogue();
  LigneRlt("utl", "idUtl", "vlmutl", "idutl", 1, 2, true);
  LigneRlt("B", "x", "A", "y", 0, 0, false);
  ASSERT_TRUE(db.Ouvre("V", 1, true));
  ASSERT_EQ(db.NbRlt(), 2);
  EXPECT_EQ(db.ListeRlt(0).AliasSrc(), "utl");
  EXPECT_EQ(db.ListeRlt(0).FldSrc(), "idUtl");
  EXPECT_EQ(db.ListeRlt(0).Typ(), 1);
  EXPECT_EQ(db.ListeRlt(0).TypInv(), 2);
  EXPECT_TRUE(db.ListeRlt(0).Obg());
  EXPECT_EQ(db.ListeRlt(1).AliasCbl(), "A");
}

TEST_F(DataBaseRelations, AMissingRegistryTableIsCreatedEmpty) {
  ASSERT_TRUE(db.Ouvre("V", 1, true));
  EXPECT_EQ(db.NbRlt(), 0);
  EXPECT_EQ(provider.Statements().back(),
            "CREATE TABLE \"$RLTKORV$\" (\"ALIASSRC\"  NVARCHAR(50),\"FLDSRC\"  NVARCHAR(30),\"ALIASCBL\"  "
            "NVARCHAR(50),\"FLDCBL\"  "
            "NVARCHAR(30),\"TYP\"  TINYINT,\"TYPINV\"  TINYINT,\"OBLIGATOIRE\"  BIT DEFAULT 0,CONSTRAINT \"SRCCBL\"  "
            "UNIQUE(\"ALIASSRC\",\"ALIASCBL\"))");
}

}  // namespace
}  // namespace tamlo::tests
