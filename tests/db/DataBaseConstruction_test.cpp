// The catalog is built beside other programs, over what a program that died has left, and its tables are looked at again where another one
// was in the way.
#include <gmock/gmock.h>

#include <algorithm>
#include <functional>

#include "db/kinds/Moteur.h"
#include "db/kinds/Moteurs.h"
#include "runtime/Conversions.h"
#include "tests/db/BaseDeTest.h"

namespace tamlo::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Kind = RecordedCall::Kind;

/// What MySQL refuses because of what another program does at that moment is looked at again.
class DataBaseAPlusieurs : public BaseDeTest {
 protected:
  DataBaseAPlusieurs() {
    AjouteTable("ART");
    AjouteTable("UTL");
    ScripteCles({});
    provider.AnswerPrefix("SELECT * FROM `TEST_DT` WHERE `DT` = \"", {{MakeField("DT", ado::adDate)}, {}});
  }
  std::ptrdiff_t Lectures(const std::string& texte) {
    const auto textes = provider.Sources();
    return std::count(textes.begin(), textes.end(), texte);
  }
  /// At a statement that begins so: what another program does at that moment.
  void PendantCe(const std::string& debut, const std::function<void()>& faire) {
    provider.OnCall([debut, faire, fait = false](const RecordedCall& appel) mutable {
      if (fait || !appel.text.starts_with(debut)) return;
      fait = true;
      faire();
    });
  }
  /// The opening has gone well, and the catalog knows both tables with their fields.
  void AttendEntiere() {
    for (int i = 0; i < db.NbErr(); ++i) ADD_FAILURE() << db.ListeErr(static_cast<std::int16_t>(i)).description;
    std::vector<std::string> noms;
    for (int i = 0; i < db.NbTbl(); ++i) noms.push_back(db.ListeTbl(std::to_string(i)).Nom());
    EXPECT_THAT(noms, testing::UnorderedElementsAre("ART", "UTL", "TEST_DT", "$TBLKORV$", "$FLDKORV$", "$IDXKORV$", "$RLTKORV$"));
    for (const char* nom : {"ART", "UTL"}) EXPECT_EQ(db.ListeTbl(nom).NbFld(), 2) << nom;
    EXPECT_THAT(Lignes("$TBLKORV$"), SizeIs(2));
    EXPECT_THAT(Lignes("$FLDKORV$"), SizeIs(4));
    EXPECT_THAT(Lignes("$IDXKORV$"), SizeIs(2));
  }
};

TEST_F(DataBaseAPlusieurs, WhatIsAnothersDoingIsToldByTheServersNumber) {
  const auto autre = [](std::int32_t numero, std::int32_t duServeur) {
    runtime::Error erreur(numero, "x");
    if (duServeur != 0) erreur.WithDiagnostics({{"HY000", duServeur, "x"}});
    return db::kinds::MoteurDe(db::TypMySql).DUnAutreProgramme(erreur);
  };
  EXPECT_TRUE(autre(runtime::kDuplicateKey, 0));
  EXPECT_FALSE(autre(runtime::kProviderFailure, 0));
  for (const std::int32_t du : {1047, 1050, 1051, 1061, 1068, 1146, 1205, 1213, 1317, 1412, 1020}) {
    EXPECT_TRUE(autre(runtime::kProviderFailure, du)) << du;
  }
  for (const std::int32_t du : {1044, 1045, 1054, 1062, 1064, 1142, 1406, 2006, 2013}) {
    EXPECT_FALSE(autre(runtime::kProviderFailure, du)) << du;
  }
}

TEST_F(DataBaseAPlusieurs, ATableOfTheCatalogThatIsRefusedIsLookedAtAgain) {
  provider.FailNative("CREATE TABLE `$FLDKORV$`", 1050, "exists");
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  AttendEntiere();
  EXPECT_EQ(Lectures("SELECT * FROM `UTL`"), 1) << "the tables need not be read again for that";
}

TEST_F(DataBaseAPlusieurs, ARowThatIsUndoneForAnothersSakeIsWrittenAgainAndEndsNothing) {
  // At both attempts of one writing: a row that were taken for refused would end the catalog there.
  provider.FailWriteNative("$FLDKORV$", 1213, "deadlock");
  provider.FailWriteNative("$FLDKORV$", 1213, "deadlock");
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  AttendEntiere();
}

TEST_F(DataBaseAPlusieurs, RowsThatCannotBeLookedAtNowAreLookedAtAgain) {
  provider.FailNative("SELECT `TABLE` FROM `$FLDKORV$` FOR UPDATE", 1205, "lock wait");
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  AttendEntiere();
  EXPECT_GE(provider.Count(Kind::kRollback), 1U) << "begun anew";
}

TEST_F(DataBaseAPlusieurs, ATableThatIsOnItsWayIsReadAgainWithTheWholeList) {
  provider.FailNative("SELECT * FROM `UTL`", 1412, "definition changed");
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  AttendEntiere();
}

TEST_F(DataBaseAPlusieurs, ATableThatIsNotThereIsToldAndStaysWithoutFields) {
  provider.FailNative("SELECT * FROM `UTL`", 1146, "no such table");
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  ASSERT_EQ(db.NbErr(), 1);
  EXPECT_EQ(db.ListeErr(0).table, "UTL");
  EXPECT_EQ(db.ListeTbl("UTL").NbFld(), 0);
}

TEST_F(DataBaseAPlusieurs, WhatTheFirstReadingToldIsNotToldTwice) {
  provider.FailPrefix("SELECT * FROM `ART`", 31, "interdit");
  provider.FailNative("SELECT * FROM `UTL`", 1205, "lock wait");
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  ASSERT_EQ(db.NbErr(), 1);
  EXPECT_EQ(db.ListeErr(0).table, "ART");
  EXPECT_EQ(db.ListeErr(0).numero, 31);
}

TEST_F(DataBaseAPlusieurs, OnOtherKindsTheWholeCatalogIsMadeAgainSixTimesAtMost) {
  provider.FailPrefix("CREATE TABLE \"$IDXKORV$\"", 7, "another one was there", 5);
  ASSERT_TRUE(db.Ouvre("V", 1, true));
  EXPECT_EQ(db.NbErr(), 0);
  EXPECT_THAT(Lignes("$TBLKORV$"), SizeIs(2));
  RecordingProvider autre;
  autre.FailPrefix("CREATE TABLE \"$IDXKORV$\"", 7, "refus", 6);
  db::DataBase base;
  ASSERT_TRUE(base.Ouvre("V", 1, true));
  ASSERT_EQ(base.NbErr(), 1);
  EXPECT_EQ(base.ListeErr(0).numero, 7);
}

TEST_F(DataBaseAPlusieurs, TheListThatIsReadAgainIsTodays) {
  provider.FailNative("SELECT * FROM `UTL`", 1412, "definition changed");
  PendantCe("SELECT * FROM `UTL`", [&] { AjouteTable("CDE"); });
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_EQ(db.NbErr(), 0);
  EXPECT_EQ(db.ListeTbl("CDE").NbFld(), 2);
}

TEST_F(DataBaseAPlusieurs, ATableOfRelationsThatAnotherMakesIsTakenAsItIs) {
  provider.FailNative("CREATE TABLE `$RLTKORV$`", 1050, "exists");
  PendantCe("CREATE TABLE `$RLTKORV$`", [&] {
    ScriptedTable table;
    table.name = "$RLTKORV$";
    for (const char* nom : {"ALIASSRC", "FLDSRC", "ALIASCBL", "FLDCBL", "TYP", "TYPINV", "OBLIGATOIRE"}) {
      table.columns.push_back(MakeColumn(nom, ado::adVarWChar, 50));
    }
    table.indexes = {MakeIndex("PRIMARY", {"ALIASSRC", "ALIASCBL"}, true, true)};
    provider.AddTable(std::move(table));
    LigneRlt("ART", "x", "UTL", "y", 1, 2, false);
  });
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  for (int i = 0; i < db.NbErr(); ++i) ADD_FAILURE() << db.ListeErr(static_cast<std::int16_t>(i)).description;
  ASSERT_EQ(db.NbRlt(), 1);
  EXPECT_EQ(db.ListeRlt(0).AliasCbl(), "UTL");
}

TEST_F(DataBaseAPlusieurs, RelationsThatCannotBeReadNowAreReadAgain) {
  ScriptedTable table;
  table.name = "$RLTKORV$";
  for (const char* nom : {"ALIASSRC", "FLDSRC", "ALIASCBL", "FLDCBL", "TYP", "TYPINV", "OBLIGATOIRE"}) {
    table.columns.push_back(MakeColumn(nom, ado::adVarWChar, 50));
  }
  provider.AddTable(std::move(table));
  LigneRlt("ART", "x", "UTL", "y", 1, 2, false);
  provider.FailNative("SELECT * FROM `$RLTKORV$`", 1205, "lock wait");
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_EQ(db.NbErr(), 0);
  EXPECT_EQ(db.NbRlt(), 1);
}

TEST_F(DataBaseAPlusieurs, AProbeThatAnotherMakesIsCompleted) {
  provider.FailNative("CREATE TABLE `TEST_DT`", 1050, "exists");
  PendantCe("CREATE TABLE `TEST_DT`", [&] {
    ScriptedTable table;
    table.name = "TEST_DT";
    table.columns = {MakeColumn("DT", ado::adDate)};
    provider.AddTable(std::move(table));
  });
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  AttendEntiere();
  EXPECT_THAT(provider.Statements(), testing::Contains("CREATE INDEX `DT` ON `TEST_DT` (`DT`)"));
  EXPECT_EQ(provider.FindTable("$TBLKORV$")->rows.back().front(), runtime::Variant("TEST_DT"));
  EXPECT_EQ(db.FmtDate(), "YYYY-MM-DD");
}

/// What stands in the catalog's tables when MySQL's rows are looked at with the lock of the transaction.
class DataBaseLignesPresentes : public DataBaseAPlusieurs {
 protected:
  DataBaseLignesPresentes() {
    AjouteCatalogue();
    for (const char* nom : {"$TBLKORV$", "$FLDKORV$", "$IDXKORV$"}) provider.FindTable(nom)->rows.clear();
    provider.FindTable("$TBLKORV$")->indexes = {MakeIndex("PRIMARY", {"NOM"}, true, true)};
  }
  void Presentes(const Textes& tables, const Textes& champs, const Textes& index) {
    const auto reponse = [&](const std::string& catalogue, const std::string& colonne, const Textes& noms) {
      ScriptedResult resultat{{MakeField(colonne, ado::adVarWChar, 30)}, {}};
      for (const std::string& nom : noms) resultat.rows.push_back({nom});
      provider.Answer("SELECT `" + colonne + "` FROM `" + catalogue + "` FOR UPDATE", resultat);
    };
    reponse("$TBLKORV$", "NOM", tables);
    reponse("$FLDKORV$", "TABLE", champs);
    reponse("$IDXKORV$", "TABLE", index);
  }
  /// No key of any table.
  static ScriptedResult Cles() { return {{MakeField("Key_name", ado::adVarWChar, 64), MakeField("Column_name", ado::adVarWChar, 64)}, {}}; }
  /// The names for which rows of tables were written, but for the probe's.
  Textes Ecrites() {
    Textes noms;
    for (const Ligne& ligne : Lignes("$TBLKORV$")) noms.push_back(runtime::ToText(ligne.front()));
    return noms;
  }
  bool Supprime() {
    const auto textes = provider.Statements();
    return std::any_of(textes.begin(), textes.end(), [](const std::string& texte) { return texte == "DELETE  FROM `$FLDKORV$`"; });
  }
};

TEST_F(DataBaseLignesPresentes, NoneAreWrittenAlone) {
  Presentes({}, {}, {});
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_THAT(Ecrites(), testing::UnorderedElementsAre("ART", "UTL"));
  EXPECT_FALSE(Supprime());
}

TEST_F(DataBaseLignesPresentes, ThoseOfAnotherThatHasEndedAreLeftAsTheyAre) {
  Presentes({"ART", "UTL"}, {"ART"}, {});
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_EQ(db.NbErr(), 0);
  EXPECT_THAT(Ecrites(), IsEmpty());
  EXPECT_FALSE(Supprime());
}

TEST_F(DataBaseLignesPresentes, LeftoversGiveWay) {
  for (const auto& [tables, champs, index] : std::vector<std::tuple<Textes, Textes, Textes>>{{{}, {"ART"}, {}},
                                                                                             {{"ART"}, {}, {}},
                                                                                             {{}, {}, {"ART"}},
                                                                                             {{"TEST_DT"}, {"TEST_DT"}, {"TEST_DT"}},
                                                                                             {{"TEST_DT"}, {"ART"}, {}},
                                                                                             {{"ART"}, {"TEST_DT"}, {}}}) {
    for (const char* nom : {"$TBLKORV$", "$FLDKORV$", "$IDXKORV$"}) provider.FindTable(nom)->rows.clear();
    Presentes(tables, champs, index);
    provider.ClearCalls();
    db::DataBase base;
    ASSERT_TRUE(base.Ouvre("V", 3, true));
    EXPECT_THAT(Ecrites(), testing::UnorderedElementsAre("ART", "UTL"));
    EXPECT_TRUE(Supprime());
  }
}

TEST_F(DataBaseAPlusieurs, ACatalogThatAnotherBuildsMeanwhileIsTakenAsItIs) {
  PendantCe("SELECT GET_LOCK", [&] { AjouteCatalogue(); });
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_EQ(db.NbErr(), 0);
  EXPECT_THAT(Lignes("$TBLKORV$"), SizeIs(2));
  for (const std::string& texte : provider.Statements()) {
    EXPECT_FALSE(texte.starts_with("DROP TABLE") || texte.starts_with("CREATE TABLE `$")) << texte;
  }
}

TEST_F(DataBaseLignesPresentes, TheProbesRowsAloneAreNoCatalog) {
  AjouteSonde();
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_THAT(Ecrites(), testing::UnorderedElementsAre("ART", "UTL"));
}

TEST_F(DataBaseLignesPresentes, TheProbeAloneIsNoTableThatTheCatalogLacks) {
  RecordingProvider seul;
  for (const char* nom : {"$TBLKORV$", "$FLDKORV$", "$IDXKORV$", "$RLTKORV$"}) seul.AddTable(*provider.FindTable(nom));
  ScriptedTable sonde;
  sonde.name = "TEST_DT";
  sonde.columns = {MakeColumn("DT", ado::adDate)};
  sonde.indexes = {MakeIndex("DT", {"DT"})};
  seul.AddTable(std::move(sonde));
  seul.AnswerPrefix("SHOW KEYS FROM ", Cles());
  db::DataBase base;
  ASSERT_TRUE(base.Ouvre("V", 3, true));
  const auto textes = seul.Sources();
  EXPECT_TRUE(std::none_of(textes.begin(), textes.end(), [](const std::string& texte) { return texte.starts_with("SELECT GET_LOCK"); }));
}

TEST_F(DataBaseLignesPresentes, OfTablesComeLast) {
  Presentes({}, {}, {});
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  std::string ordre;
  for (const RecordedCall& appel : provider.Calls()) {
    if (appel.kind == Kind::kCommit) break;
    if (appel.kind == Kind::kInsert) ordre += appel.text.substr(1, 1);
  }
  // Two tables of an index and two fields.
  EXPECT_EQ(ordre, "FFIFFITT");
}

/// Tables of the catalog of which a program that died has made the first half.
class DataBaseSansCle : public DataBaseLignesPresentes {
 protected:
  DataBaseSansCle() {
    provider.FindTable("$TBLKORV$")->indexes.clear();
    provider.FindTable("$RLTKORV$")->indexes.clear();
  }
  Textes Sur(const std::string& table) {
    Textes textes;
    for (const std::string& texte : provider.Statements()) {
      if (texte.find(table) != std::string::npos && texte.find("TABLE") < 10) textes.push_back(texte.substr(0, texte.find(" (")));
    }
    return textes;
  }
};

TEST_F(DataBaseSansCle, GetTheirKeyAndStay) {
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_THAT(Sur("$TBLKORV$"), ElementsAre("ALTER TABLE `$TBLKORV$` ADD PRIMARY KEY"));
  EXPECT_THAT(Sur("$RLTKORV$"), ElementsAre("ALTER TABLE `$RLTKORV$` ADD PRIMARY KEY"));
}

TEST_F(DataBaseSansCle, GetItInADatabaseWithoutTablesToo) {
  RecordingProvider seul;
  for (const char* nom : {"$TBLKORV$", "$FLDKORV$", "$IDXKORV$", "$RLTKORV$"}) seul.AddTable(*provider.FindTable(nom));
  seul.AnswerPrefix("SHOW KEYS FROM ", Cles());
  db::DataBase base;
  ASSERT_TRUE(base.Ouvre("V", 3, true));
  EXPECT_THAT(seul.Statements(), testing::Contains("ALTER TABLE `$TBLKORV$` ADD PRIMARY KEY (`NOM`)"));
}

TEST_F(DataBaseSansCle, GiveWayWhenTheirRowsAllowNoKey) {
  provider.FailPrefix("ALTER TABLE `$TBLKORV$` ADD", runtime::kDuplicateKey, "doublon", 1);
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_EQ(db.NbErr(), 0);
  EXPECT_THAT(Sur("$TBLKORV$"), ElementsAre("ALTER TABLE `$TBLKORV$` ADD PRIMARY KEY", "DROP TABLE $TBLKORV$", "CREATE TABLE `$TBLKORV$`",
                                            "ALTER TABLE `$TBLKORV$` ADD PRIMARY KEY"));
}

TEST_F(DataBaseSansCle, OnOracleTheTableOfRelationsIsMadeAnew) {
  provider.FindTable("$TBLKORV$")->indexes = {MakeIndex("$TBLKORV$_NOM", {"NOM"}, false, true)};
  ScripteToutesTables({{"$TBLKORV$", "ADM"}, {"$FLDKORV$", "ADM"}, {"$IDXKORV$", "ADM"}, {"$RLTKORV$", "ADM"}});
  ASSERT_TRUE(db.Ouvre("V", 2, true));
  ASSERT_THAT(Sur("$RLTKORV$"), testing::Not(IsEmpty()));
  EXPECT_TRUE(Sur("$RLTKORV$").front().starts_with("DROP TABLE")) << Sur("$RLTKORV$").front();
}

TEST_F(DataBaseSansCle, OfOtherColumnsAreMadeAnewAndOfUntoldOnesStay) {
  provider.FindTable("$FLDKORV$")->columns = {MakeColumn("TABLE", ado::adVarWChar, 30), MakeColumn("AUTRE", ado::adVarWChar, 30)};
  provider.FindTable("$IDXKORV$")->columns.clear();
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_THAT(Sur("$FLDKORV$"), testing::IsSupersetOf({"DROP TABLE $FLDKORV$", "CREATE TABLE `$FLDKORV$`"}));
  EXPECT_THAT(Sur("$IDXKORV$"), testing::Not(testing::Contains("DROP TABLE $IDXKORV$")));
}

TEST_F(DataBaseAPlusieurs, ARollbackThatIsRefusedIsTriedAgainBeforeTheOpeningEnds) {
  AjouteCatalogue();
  AjouteSonde();
  provider.FindTable("$IDXKORV$")->rows.pop_back();  // the probe's index: its rows are written again
  provider.FailWrite("SELECT * FROM `$TBLKORV$`", 31, "interdit");
  provider.FailRollback(32, "refus", 1);
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_EQ(provider.TransactionLevel(), 0);
  EXPECT_EQ(provider.Count(Kind::kRollback), 2U);
  ASSERT_EQ(db.NbErr(), 1);
  EXPECT_EQ(db.ListeErr(0).numero, 31);
  EXPECT_EQ(db.ListeErr(0).table, "TEST_DT");
}

TEST_F(DataBaseAPlusieurs, ARollbackThatIsAlwaysRefusedIsTold) {
  AjouteCatalogue();
  AjouteSonde();
  provider.FindTable("$IDXKORV$")->rows.pop_back();
  provider.FailWrite("SELECT * FROM `$TBLKORV$`", 31, "interdit");
  provider.FailRollback(32, "refus");
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  ASSERT_EQ(db.NbErr(), 2);
  EXPECT_EQ(db.ListeErr(1).etape, "format des dates");
  EXPECT_EQ(db.ListeErr(1).numero, 32);
  EXPECT_EQ(db.ListeErr(1).description, "refus");
}

}  // namespace
}  // namespace tamlo::tests
