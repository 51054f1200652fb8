#include <gmock/gmock.h>

#include "db/LignesCatalogue.h"
#include "runtime/Conversions.h"
#include "tests/db/BaseDeTest.h"

namespace tamlo::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Kind = RecordedCall::Kind;

class DataBaseCatalogue : public BaseDeTest {
 protected:
  std::vector<std::string> Noms(db::DataBase& base) {
    std::vector<std::string> noms;
    for (int i = 0; i < base.NbTbl(); ++i) noms.push_back(base.ListeTbl(std::to_string(i)).Nom());
    return noms;
  }
};

TEST_F(DataBaseCatalogue, TablesThatAreNotTheApplicationsAreLeftOut) {
  for (const char* type : {"ACCESS TABLE", "SYSTEM TABLE", "SYSTEM VIEW", "VIEW", "SYNONYM"}) AjouteTable(std::string("X") + type[0], type);
  AjouteTable("utl");
  AjouteTable("PASSE", "PASS-THROUGH");
  Ouvre(0, "BVIRTUEL.MDB");
  EXPECT_THAT(Noms(db), ElementsAre("UTL", "PASSE", "$RLTKORV$"));
}

TEST_F(DataBaseCatalogue, OneEntryStandsForTwoSpellingsOfAName) {
  AjouteTable("Utl");
  AjouteTable("UTL");
  Ouvre(0, "BVIRTUEL.MDB");
  EXPECT_THAT(Noms(db), ElementsAre("UTL", "$RLTKORV$"));
}

TEST_F(DataBaseCatalogue, AVirtualDatabaseGetsNoCatalog) {
  AjouteTable("UTL");
  Ouvre(0, "C:\\BVIRTUEL.MDB");
  EXPECT_EQ(provider.FindTable("$TBLKORV$"), nullptr);
  db::DataBase autre;
  ASSERT_TRUE(autre.Ouvre("C:\\bvirtuel.mdb", 0, true));
  EXPECT_NE(provider.FindTable("$TBLKORV$"), nullptr);
}

TEST_F(DataBaseCatalogue, AMissingCatalogIsCreatedFromTheTables) {
  AjouteTable("UTL");
  ASSERT_TRUE(db.Ouvre("V", 1, true));
  EXPECT_THAT(Noms(db), ElementsAre("UTL", "$TBLKORV$", "$FLDKORV$", "$IDXKORV$", "$RLTKORV$"));
  const runtime::Null nul;
  EXPECT_THAT(Lignes("$TBLKORV$"), ElementsAre(Ligne{"UTL", true}));
  EXPECT_THAT(Lignes("$FLDKORV$"),
              ElementsAre(Ligne{"UTL", std::int16_t{0}, "nom", nul, nul, nul}, Ligne{"UTL", std::int16_t{1}, "niveau", nul, nul, nul}));
  EXPECT_THAT(Lignes("$IDXKORV$"), ElementsAre(Ligne{"UTL", "PK", "nom", true, true, nul}));
}

TEST_F(DataBaseCatalogue, TheCatalogTablesHaveTheirFieldsAndIndexes) {
  ASSERT_TRUE(db.Ouvre("V", 1, true));
  EXPECT_THAT(provider.Statements(),
              ElementsAre("CREATE TABLE \"$TBLKORV$\" (\"NOM\"  NVARCHAR(30),\"MVT\"  BIT DEFAULT 0,CONSTRAINT \"NOM\"  "
                          "UNIQUE(\"NOM\"))",
                          "CREATE TABLE \"$FLDKORV$\" (\"TABLE\"  NVARCHAR(30),\"NO\"  SMALLINT,\"NOM\"  NVARCHAR(30),\"INI\"  "
                          "NVARCHAR(50),\"FMT\"  NVARCHAR(15),\"OBLIGATOIRE\"  BIT DEFAULT 0,CONSTRAINT \"TBLNO\"  "
                          "UNIQUE(\"TABLE\",\"NO\"))",
                          "CREATE TABLE \"$IDXKORV$\" (\"TABLE\"  NVARCHAR(30),\"NOM\"  NVARCHAR(30),\"CHAMPS\"  "
                          "NVARCHAR(50),\"PRIMAIRE\"  BIT "
                          "DEFAULT 0,\"UNIQUE\"  BIT DEFAULT 0,\"OBLIGATOIRE\"  BIT DEFAULT 0,CONSTRAINT \"TBLNOM\"  "
                          "UNIQUE(\"TABLE\",\"NOM\"))",
                          "CREATE TABLE \"$RLTKORV$\" (\"ALIASSRC\"  NVARCHAR(50),\"FLDSRC\"  NVARCHAR(30),\"ALIASCBL\"  "
                          "NVARCHAR(50),\"FLDCBL\"  NVARCHAR(30),\"TYP\"  TINYINT,\"TYPINV\"  TINYINT,\"OBLIGATOIRE\"  BIT "
                          "DEFAULT 0,CONSTRAINT \"SRCCBL\"  UNIQUE(\"ALIASSRC\",\"ALIASCBL\"))"));
}

TEST_F(DataBaseCatalogue, OnMySqlTheCatalogTablesHavePrimaryKeys) {
  ScripteCles({});
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  Textes textes = provider.Statements();
  ASSERT_GE(textes.size(), 8U);
  textes.resize(8);
  EXPECT_THAT(
      textes,
      ElementsAre(
          "CREATE TABLE `$TBLKORV$` (`NOM`  CHAR(30),`MVT`  NUMERIC(1))", "ALTER TABLE `$TBLKORV$` ADD PRIMARY KEY (`NOM`)",
          "CREATE TABLE `$FLDKORV$` (`TABLE`  CHAR(30),`NO`  SMALLINT,`NOM`  CHAR(30),`INI`  CHAR(50),`FMT`  CHAR(15),"
          "`OBLIGATOIRE`  NUMERIC(1))",
          "ALTER TABLE `$FLDKORV$` ADD PRIMARY KEY (`TABLE`,`NO`)",
          "CREATE TABLE `$IDXKORV$` (`TABLE`  CHAR(30),`NOM`  CHAR(30),`CHAMPS`  CHAR(50),`PRIMAIRE`  NUMERIC(1),`UNIQUE`  NUMERIC(1),"
          "`OBLIGATOIRE`  NUMERIC(1))",
          "ALTER TABLE `$IDXKORV$` ADD PRIMARY KEY (`TABLE`,`NOM`)",
          "CREATE TABLE `$RLTKORV$` (`ALIASSRC`  CHAR(50),`FLDSRC`  CHAR(30),`ALIASCBL`  CHAR(50),`FLDCBL`  CHAR(30),"
          "`TYP`  TINYINT UNSIGNED,`TYPINV`  TINYINT UNSIGNED,`OBLIGATOIRE`  NUMERIC(1))",
          "ALTER TABLE `$RLTKORV$` ADD PRIMARY KEY (`ALIASSRC`,`ALIASCBL`)"));
}

TEST_F(DataBaseCatalogue, OnOracleTheCatalogTablesHaveUniqueIndexesOfTheirOwnNames) {
  ScripteToutesTables({});
  ASSERT_TRUE(db.Ouvre("V", 2, true));
  EXPECT_THAT(
      provider.Statements(),
      ElementsAre(
          "ALTER SESSION SET NLS_SORT=BINARY", "CREATE TABLE \"$TBLKORV$\" (\"NOM\"  CHAR(30),\"MVT\"  NUMBER(1,0) DEFAULT 0)",
          "CREATE UNIQUE INDEX \"$TBLKORV$_NOM\" ON \"$TBLKORV$\" (\"NOM\")",
          "CREATE TABLE \"$FLDKORV$\" (\"TABLE\"  CHAR(30),\"NO\"  NUMBER(5,0),\"NOM\"  CHAR(30),\"INI\"  CHAR(50),\"FMT\"  CHAR(15),"
          "\"OBLIGATOIRE\"  NUMBER(1,0) DEFAULT 0)",
          "CREATE UNIQUE INDEX \"$FLDKORV$_TBLNO\" ON \"$FLDKORV$\" (\"TABLE\",\"NO\")",
          "CREATE TABLE \"$IDXKORV$\" (\"TABLE\"  CHAR(30),\"NOM\"  CHAR(30),\"CHAMPS\"  CHAR(50),\"PRIMAIRE\"  NUMBER(1,0) DEFAULT 0,"
          "\"UNIQUE\"  NUMBER(1,0) DEFAULT 0,\"OBLIGATOIRE\"  NUMBER(1,0) DEFAULT 0)",
          "CREATE UNIQUE INDEX \"$IDXKORV$_TBLNOM\" ON \"$IDXKORV$\" (\"TABLE\",\"NOM\")",
          "CREATE TABLE \"$RLTKORV$\" (\"ALIASSRC\"  CHAR(50),\"FLDSRC\"  CHAR(30),\"ALIASCBL\"  CHAR(50),\"FLDCBL\"  CHAR(30),"
          "\"TYP\"  NUMBER(3,0),\"TYPINV\"  NUMBER(3,0),\"OBLIGATOIRE\"  NUMBER(1,0) DEFAULT 0)",
          "CREATE UNIQUE INDEX \"$RLTKORV$_SRCCBL\" ON \"$RLTKORV$\" (\"ALIASSRC\",\"ALIASCBL\")"));
}

TEST_F(DataBaseCatalogue, OnAccessTheCatalogTablesAreAppendedWithTheirPrimaryIndex) {
  ASSERT_TRUE(db.Ouvre("V", 0, true));
  EXPECT_EQ(provider.Count(Kind::kAppendTable), 4U);
  const ScriptedTable* champs = provider.FindTable("$FLDKORV$");
  ASSERT_NE(champs, nullptr);
  std::vector<std::string> colonnes;
  for (const ado::Column& colonne : champs->columns) {
    colonnes.push_back(colonne.name + " " + std::to_string(colonne.type) + " " + std::to_string(colonne.definedSize));
  }
  EXPECT_THAT(colonnes, ElementsAre("table 202 30", "no 2 0", "nom 202 30", "ini 202 50", "fmt 202 15", "obligatoire 11 0"));
  ASSERT_EQ(champs->indexes.size(), 1U);
  EXPECT_EQ(champs->indexes[0].name, "TBLNO");
  EXPECT_TRUE(champs->indexes[0].primaryKey);
  EXPECT_TRUE(champs->indexes[0].unique);
  ASSERT_EQ(champs->indexes[0].columns.size(), 2U);
  EXPECT_EQ(champs->indexes[0].columns[1].name, "no");
  EXPECT_EQ(provider.FindTable("$RLTKORV$")->indexes[0].name, "SRCCBL");
}

TEST_F(DataBaseCatalogue, AnIncompleteCatalogIsMadeAnew) {
  AjouteCatalogue();
  provider.FindTable("$IDXKORV$")->name = "AUTRE";
  AjouteTable("UTL");
  LigneFld("PERDUE", 0, "x");
  ASSERT_TRUE(db.Ouvre("V", 1, true));
  EXPECT_THAT(Lignes("$TBLKORV$"), ElementsAre(Ligne{"AUTRE", true}, Ligne{"UTL", true}));
}

TEST_F(DataBaseCatalogue, GenericOdbcWithoutACatalogListsItAndGoesOn) {
  AjouteTable("UTL");
  ASSERT_TRUE(db.Ouvre("V", 4, true));
  EXPECT_EQ(provider.FindTable("$TBLKORV$"), nullptr);
  EXPECT_EQ(db.ListeTbl("UTL").NbFld(), 2);
}

TEST_F(DataBaseCatalogue, WithItsCatalogADatabaseListsTheCatalogTablesFirst) {
  AjouteTable("UTL");
  AjouteCatalogue();
  ASSERT_TRUE(db.Ouvre("V", 1, true));
  EXPECT_THAT(Noms(db), ElementsAre("$TBLKORV$", "$FLDKORV$", "$IDXKORV$", "UTL", "$RLTKORV$"));
  EXPECT_THAT(Envoyes(),
              ElementsAre("SELECT TOP 1 * FROM [$TBLKORV$]", "SELECT TOP 1 * FROM [$FLDKORV$]", "SELECT TOP 1 * FROM [$IDXKORV$]",
                          "SELECT * FROM [$FLDKORV$] ORDER BY [TABLE],[NO]", "SELECT * FROM [$IDXKORV$] ORDER BY [TABLE],[NOM]",
                          "SELECT * FROM [$TBLKORV$]", "SELECT * FROM [$RLTKORV$]"));
}

TEST_F(DataBaseCatalogue, OracleListsTheTablesOfItsOwners) {
  AjouteCatalogue();
  AjouteTable("UTL");
  ScripteToutesTables({{"ART", "SYS"}, {"UTL", "ADM"}});
  ASSERT_TRUE(db.Ouvre("BASE1", 2, true));
  EXPECT_THAT(Envoyes(), testing::Contains("SELECT * FROM ALL_TABLES WHERE (OWNER = 'ADM') ORDER BY TABLE_NAME"));
  EXPECT_THAT(Noms(db), ElementsAre("$TBLKORV$", "$FLDKORV$", "$IDXKORV$", "ART", "UTL"));
  EXPECT_EQ(db.ListeTbl("ART").Owner(), "SYS");
  EXPECT_EQ(db.ListeTbl("UTL").Owner(), "ADM");
}

TEST_F(DataBaseCatalogue, OracleListsAFurtherOwnerOfTheDatabaseName) {
  AjouteCatalogue();
  ScripteToutesTables({});
  db::EnvironnementCourant().nomLogin = "Scott";
  ASSERT_TRUE(db.Ouvre("BASE1;Owner=tiger", 2, true));
  EXPECT_THAT(Envoyes(), testing::Contains("SELECT * FROM ALL_TABLES WHERE (OWNER = 'Scott') OR (OWNER = 'TIGER') ORDER BY TABLE_NAME"));
}

TEST_F(DataBaseCatalogue, ALinkReadsTheStructureBehindItWhereThatDatabaseIsOpen) {
  AjouteCatalogue();
  AjouteTable("DISTANTE");
  ScriptedTable& lien = AjouteTable("LOCALE", "LINK");
  lien.columns = {};
  lien.indexes = {};
  lien.properties.Set("Jet OLEDB:Link Datasource", "C:\\AUTRE.MDB");
  lien.properties.Set("Jet OLEDB:Remote Table Name", "DISTANTE");
  LigneFld("LOCALE", 0, "nom");
  db::DataBase source;
  ASSERT_TRUE(source.Ouvre("C:\\AUTRE.MDB", 0, true));
  db::EnvironnementCourant().baseOuverte = [&](const std::string& nom) { return nom == "C:\\AUTRE.MDB" ? &source : nullptr; };
  ASSERT_TRUE(db.Ouvre("C:\\BASE.MDB", 0, true));
  ASSERT_EQ(db.ListeTbl("LOCALE").NbFld(), 1);
  EXPECT_EQ(db.ListeTbl("LOCALE").ListeFld("nom").Lg(), 30);
}

TEST_F(DataBaseCatalogue, AnUnresolvedLinkIsStillListedAndTheOthersToo) {
  AjouteTable("LIEN", "LINK");
  AjouteTable("UTL");
  Ouvre(0, "BVIRTUEL.MDB");
  EXPECT_THAT(Noms(db), ElementsAre("LIEN", "UTL", "$RLTKORV$"));
}

TEST_F(DataBaseCatalogue, RecreeCatalogueWritesARowForEachTableButItsOwn) {
  AjouteCatalogue();
  AjouteTable("UTL");
  LigneFld("PERDUE", 0, "x");
  LigneIdx("PERDUE", "i", "x", false, false);
  LigneFld("UTL", 0, "nom");
  LigneFld("UTL", 1, "niveau");
  LigneIdx("UTL", "PK", "nom", true, true);
  LigneRlt("A", "x", "B", "y", 0, 0, false);
  Ouvre(1);
  db.RecreeCatalogue();
  EXPECT_THAT(Lignes("$TBLKORV$"), ElementsAre(Ligne{"UTL", true}));
  EXPECT_THAT(Lignes("$FLDKORV$"), SizeIs(2));
  EXPECT_THAT(Lignes("$IDXKORV$"), SizeIs(1));
  EXPECT_THAT(Lignes("$RLTKORV$"), SizeIs(1));
  EXPECT_THAT(provider.Sources(), ElementsAre("$TBLKORV$", "$FLDKORV$", "$IDXKORV$"));
}

TEST_F(DataBaseCatalogue, ABuildingThatIsRolledBackListsNoCatalogTableThatTheBackendHasNot) {
  AjouteTable("UTL");
  provider.SetProperty("JET OLEDB:MAX LOCKS PER FILE", std::int32_t{0});
  provider.Fail("$IDXKORV$", 7, "refus");
  // What a backend does that has definitions in its transactions.
  int defaites = 0;
  provider.OnCall([&](const RecordedCall& appel) {
    if (appel.kind != Kind::kRollback) return;
    for (const char* nom : {"$TBLKORV$", "$FLDKORV$", "$IDXKORV$"}) {
      if (ScriptedTable* table = provider.FindTable(nom)) table->name = "~" + std::to_string(++defaites);
    }
  });
  ASSERT_TRUE(db.Ouvre("C:\\BASE.MDB", 0, true));
  EXPECT_EQ(defaites, 2);
  EXPECT_EQ(provider.TransactionLevel(), 0);
  EXPECT_THAT(Noms(db), ElementsAre("UTL", "$RLTKORV$"));
}

TEST_F(DataBaseCatalogue, SauveTblCatalogueOpensWhatItIsNotGiven) {
  AjouteCatalogue();
  AjouteTable("UTL");
  Ouvre(1);
  db::DbTbl tbl;
  tbl.Nom("CDE");
  tbl.AddFld("no", ado::adInteger, 4, false);
  ado::Recordset rsFld = db.OpenRecordSet("SELECT * FROM [$FLDKORV$]", 2);
  provider.ClearCalls();
  db.SauveTblCatalogue(tbl, nullptr, &rsFld, nullptr);
  EXPECT_THAT(provider.Sources(), ElementsAre("SELECT * FROM [$TBLKORV$]", "SELECT * FROM [$IDXKORV$]"));
  EXPECT_TRUE(rsFld.IsOpen());
  EXPECT_THAT(Lignes("$TBLKORV$"), SizeIs(1));
  EXPECT_THAT(Lignes("$FLDKORV$"), SizeIs(1));
}

TEST_F(DataBaseCatalogue, SauveTblCatalogueWritesNothingWithoutACatalogNorForItsTables) {
  Ouvre(4);
  db::DbTbl tbl;
  tbl.Nom("CDE");
  db.SauveTblCatalogue(tbl, nullptr, nullptr, nullptr);
  for (const char* nom : {"$TBLKORV$", "$FLDKORV$", "$IDXKORV$", "$RLTKORV$"}) {
    tbl.Nom(nom);
    db.SauveTblCatalogue(tbl, nullptr, nullptr, nullptr);
  }
  EXPECT_THAT(provider.Sources(), IsEmpty());
}

TEST_F(DataBaseCatalogue, TheKeySearchFindsTheFirstRowByFindOrBySeek) {
  AjouteCatalogue();
  for (const char* nom : {"ART", "CDE", "UTL"}) {
    LigneFld(nom, 0, "a");
    LigneFld(nom, 1, "b");
  }
  Ouvre(1);
  const auto essaie = [&](ado::Recordset& rs) {
    EXPECT_TRUE(db::ChercheCle(rs, "TBLNO", "TABLE", "UTL"));
    EXPECT_EQ(rs.Fields("NO").Value(), runtime::Variant(std::int16_t{0}));
    EXPECT_TRUE(db::ChercheCle(rs, "TBLNO", "TABLE", "ART"));
    EXPECT_EQ(rs.Fields("TABLE").Value(), runtime::Variant("ART"));
    EXPECT_FALSE(db::ChercheCle(rs, "TBLNO", "TABLE", "ABSENTE"));
    EXPECT_TRUE(rs.Eof());
    EXPECT_TRUE(db::ChercheCle(rs, "TBLNO", "TABLE", "CDE"));
  };
  ado::Recordset parFind = db.OpenRecordSet("SELECT * FROM [$FLDKORV$] ORDER BY [TABLE],[NO]", 3);
  essaie(parFind);
  EXPECT_TRUE(db::ChercheCle(parFind, "TBLNO", "NO", std::int16_t{1}));
  EXPECT_EQ(provider.Count(Kind::kSeek), 0U);
  provider.SupportSeek(true);
  ado::Recordset parSeek = db.OpenRecordSet("[$FLDKORV$]", 1);
  essaie(parSeek);
  EXPECT_EQ(provider.Count(Kind::kSeek), 4U);
}

TEST_F(DataBaseCatalogue, ACatalogThatWasNeverFilledIsBuiltAnew) {
  AjouteCatalogue();
  provider.FindTable("$TBLKORV$")->rows.clear();
  AjouteTable("UTL");
  ASSERT_TRUE(db.Ouvre("V", 1, true));
  EXPECT_THAT(Lignes("$TBLKORV$"), ElementsAre(Ligne{"UTL", true}));
  EXPECT_THAT(provider.FindTable("$FLDKORV$")->rows, SizeIs(2));
  EXPECT_EQ(db.NbErr(), 0);
}

TEST_F(DataBaseCatalogue, WithoutTablesAnEmptyCatalogIsLeftAsItIs) {
  AjouteCatalogue();
  provider.FindTable("$TBLKORV$")->rows.clear();
  provider.FindTable("$TBLKORV$")->indexes = {MakeIndex("NOM", {"NOM"}, true, true)};
  provider.FindTable("$FLDKORV$")->rows.clear();
  provider.SetProperty("JET OLEDB:MAX LOCKS PER FILE", std::int32_t{0});
  for (const std::int16_t kind : std::initializer_list<std::int16_t>{0, 1, 2}) {
    if (kind == 2) ScripteToutesTables({{"$TBLKORV$", "ADM"}});
    db::DataBase base;
    ASSERT_TRUE(base.Ouvre("V", kind, true));
    EXPECT_EQ(base.NbErr(), 0);
  }
  EXPECT_EQ(provider.Count(Kind::kAppendTable), 0U);
  for (const std::string& texte : provider.Statements()) EXPECT_EQ(texte.rfind("ALTER SESSION", 0), 0U) << texte;
}

TEST_F(DataBaseCatalogue, WhatStandsBeforeARefusedRowStaysAndNoTransactionIsOpen) {
  for (const std::int16_t kind : std::initializer_list<std::int16_t>{0, 1}) {
    RecordingProvider autre;
    autre.SetProperty("JET OLEDB:MAX LOCKS PER FILE", std::int32_t{0});
    for (const char* nom : {"ART", "CDE"}) {
      ScriptedTable table;
      table.name = nom;
      table.columns = {MakeColumn("A", ado::adInteger), MakeColumn("B", ado::adInteger)};
      table.indexes = {MakeIndex("PK", {"A"}, true, true)};
      autre.AddTable(table);
    }
    // At each of the two attempts.
    autre.FailWrite("$IDXKORV$", 7, "refus", 2);
    db::DataBase base;
    ASSERT_TRUE(base.Ouvre("V", kind, true));
    EXPECT_EQ(autre.TransactionLevel(), 0);
    ASSERT_EQ(base.NbErr(), 1);
    EXPECT_EQ(base.ListeErr(0).etape, "liste des tables");
    EXPECT_EQ(base.ListeErr(0).table, "ART");
    EXPECT_EQ(base.ListeErr(0).numero, 7);
    EXPECT_EQ(base.ListeErr(0).description, "catalogue de la table ART : ligne 1 : refus");
    EXPECT_THAT(autre.FindTable("$TBLKORV$")->rows, SizeIs(1));
    EXPECT_THAT(autre.FindTable("$FLDKORV$")->rows, SizeIs(2));
    EXPECT_THAT(autre.FindTable("$IDXKORV$")->rows, IsEmpty());
    base.Ferme();
    EXPECT_EQ(base.NbErr(), 0);
  }
}

TEST_F(DataBaseCatalogue, WhatTheOpeningAbsorbsCanBeAskedFor) {
  AjouteCatalogue();
  AjouteTable("UTL");
  provider.FailPrefix("SELECT * FROM `$RLTKORV$`", 17, "relations perdues");
  provider.FailPrefix("SELECT * FROM `TEST_DT` WHERE", 18, "littéral");
  ScripteCles({});
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  ASSERT_EQ(db.NbErr(), 2);
  EXPECT_EQ(db.ListeErr(0).etape, "relations");
  EXPECT_EQ(db.ListeErr(0).table, "$RLTKORV$");
  EXPECT_EQ(db.ListeErr(0).numero, 17);
  EXPECT_EQ(db.ListeErr(0).description, "relations perdues");
  EXPECT_EQ(db.ListeErr(1).etape, "format des dates");
  EXPECT_EQ(db.ListeErr(1).table, "TEST_DT");
  EXPECT_EQ(db.ListeErr(1).numero, 18);
  EXPECT_EQ(Numero([&] { (void)db.ListeErr(2); }), 9);
  EXPECT_EQ(Numero([&] { (void)db.ListeErr(-1); }), 9);
  EXPECT_THAT(platform.messages, IsEmpty());
}

TEST_F(DataBaseCatalogue, ATableThatCannotBeOpenedIsTold) {
  AjouteTable("BONNE");
  AjouteTable("UTL");
  provider.Fail("SELECT TOP 1 * FROM [UTL]", 31, "interdit");
  provider.SetProperty("JET OLEDB:MAX LOCKS PER FILE", std::int32_t{0});
  Ouvre(0, "BVIRTUEL.MDB");
  ASSERT_EQ(db.NbErr(), 1);
  EXPECT_EQ(db.ListeErr(0).etape, "liste des tables");
  EXPECT_EQ(db.ListeErr(0).table, "UTL");
  EXPECT_EQ(db.ListeErr(0).numero, 31);
  EXPECT_EQ(db.ListeErr(0).description, "interdit");
  EXPECT_EQ(db.ListeTbl("UTL").NbFld(), 0);
}

TEST_F(DataBaseCatalogue, AnEmptyTableOfTheCatalogIsReadOnce) {
  AjouteCatalogue();
  for (const char* nom : {"ART", "CDE", "UTL"}) AjouteTable(nom);
  ASSERT_TRUE(db.Ouvre("V", 1, true));
  int lectures = 0;
  for (const RecordedCall& appel : provider.Calls()) {
    lectures += appel.kind == Kind::kFirstRow && appel.text.starts_with("SELECT * FROM [$IDXKORV$]") ? 1 : 0;
  }
  EXPECT_EQ(lectures, 1);
}

TEST_F(DataBaseCatalogue, OfTwoTablesWhoseNamesDifferByCaseTheOneOfThatSpellingIsDropped) {
  for (const char* nom : {"Utl", "UTL", "utl"}) AjouteTable(nom);
  Ouvre(0, "BVIRTUEL.MDB");
  db.SupTbl(" UTL ");
  db.SupTbl("utl");
  EXPECT_THAT(provider.Statements(), testing::IsSupersetOf({"DROP TABLE [UTL]", "DROP TABLE [utl]"}));
  EXPECT_THAT(provider.Statements(), testing::Not(testing::Contains("DROP TABLE [Utl]")));
}

TEST_F(DataBaseCatalogue, NumbersThatAreCountedRowByRowMoveUpFromTheOneBehindThePosition) {
  AjouteCatalogue();
  for (const std::int16_t no : std::initializer_list<std::int16_t>{0, 1, 3, 4}) LigneFld("L'AN", no, "f" + std::to_string(no));
  LigneFld("UTL", 2, "f");
  Ouvre(0, "BVIRTUEL.MDB");
  db::RenumeroteChamps(db, "L'AN", 1);
  std::vector<std::string> numeros;
  for (const Ligne& ligne : Lignes("$FLDKORV$")) {
    numeros.push_back(runtime::ToText(ligne[0]) + " " + runtime::ToText(ligne[2]) + " " + runtime::ToText(ligne[1]));
  }
  EXPECT_THAT(numeros, ElementsAre("L'AN f0 0", "L'AN f1 1", "L'AN f3 2", "L'AN f4 3", "UTL f 2"));
}

class DataBaseSonde : public BaseDeTest {
 protected:
  void AccepteLitteral() { provider.AnswerPrefix("SELECT * FROM `TEST_DT` WHERE `DT` = \"", {{MakeField("DT", ado::adDate)}, {}}); }
};

TEST_F(DataBaseSonde, OtherKindsHaveNoProbeTableAndNoFormat) {
  for (const std::int16_t kind : std::initializer_list<std::int16_t>{0, 1, 2, 4}) {
    db::DataBase base;
    ASSERT_TRUE(base.Ouvre("V", kind, true));
    EXPECT_EQ(base.FmtDate(), "");
    EXPECT_EQ(provider.FindTable("TEST_DT"), nullptr);
  }
}

TEST_F(DataBaseSonde, AnAcceptedLiteralIsYearFirst) {
  AccepteLitteral();
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_EQ(db.FmtDate(), "YYYY-MM-DD");
  EXPECT_THAT(provider.Statements(),
              testing::IsSupersetOf({"CREATE TABLE `TEST_DT` (`DT`  DATETIME)", "CREATE INDEX `DT` ON `TEST_DT` (`DT`)"}));
  EXPECT_THAT(provider.Sources().back(), testing::MatchesRegex("SELECT \\* FROM `TEST_DT` WHERE `DT` = \"....-..-..\""));
}

TEST_F(DataBaseSonde, ARefusedLiteralIsDayFirst) {
  provider.FailPrefix("SELECT * FROM `TEST_DT` WHERE", 1, "refus");
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_EQ(db.FmtDate(), "DD-MM-YYYY");
  EXPECT_THAT(platform.messages, IsEmpty());
}

TEST_F(DataBaseSonde, ALiteralRefusedOnlyWhenRowsAreAskedForIsDayFirstToo) {
  AccepteLitteral();
  provider.FailRead("SELECT * FROM `TEST_DT` WHERE", 1, "refus");
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_EQ(db.FmtDate(), "DD-MM-YYYY");
}

TEST_F(DataBaseSonde, AnExistingProbeTableIsKeptAndTheOldOneRemoved) {
  AjouteCatalogue();
  AjouteSonde();
  AjouteTable("$TESTDT$");
  ScripteCles({});
  AccepteLitteral();
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_EQ(provider.FindTable("$TESTDT$"), nullptr);
  EXPECT_THAT(provider.Statements(),
              ElementsAre("DROP TABLE $TESTDT$", "DELETE  FROM `$TBLKORV$` WHERE `NOM`=\"$TESTDT$\"",
                          "DELETE  FROM `$FLDKORV$` WHERE `TABLE`=\"$TESTDT$\"", "DELETE  FROM `$IDXKORV$` WHERE `TABLE`=\"$TESTDT$\""));
  EXPECT_EQ(db.FmtDate(), "YYYY-MM-DD");
}

TEST_F(DataBaseSonde, AFailureBeforeTheProbeKeepsTheFormatOfThePreviousOpening) {
  provider.FailPrefix("SELECT * FROM `TEST_DT` WHERE", 1, "refus", 1);
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  ASSERT_EQ(db.FmtDate(), "DD-MM-YYYY");
  AccepteLitteral();
  AjouteTable("$TESTDT$");
  provider.FailPrefix("DROP TABLE ", 1, "refus", 2);  // also between quotes
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_EQ(db.FmtDate(), "DD-MM-YYYY");
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_EQ(db.FmtDate(), "YYYY-MM-DD");
  EXPECT_THAT(platform.messages, IsEmpty());
}

TEST_F(DataBaseSonde, AFailureBeforeTheProbeLeavesTheFormatEmpty) {
  AccepteLitteral();
  provider.FailPrefix("CREATE TABLE `TEST_DT`", 1, "refus");
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_EQ(db.FmtDate(), "");
  AjouteTable("$TESTDT$");
  provider.FailPrefix("DROP TABLE $TESTDT$", 1, "refus");
  db::DataBase autre;
  ASSERT_TRUE(autre.Ouvre("V", 3, true));
  EXPECT_EQ(autre.FmtDate(), "");
}

}  // namespace
}  // namespace tamlo::tests
