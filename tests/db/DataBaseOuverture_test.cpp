#include <gmock/gmock.h>

#include "tests/db/BaseDeTest.h"

namespace tamlo::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using Kind = RecordedCall::Kind;

class DataBaseOuverture : public BaseDeTest {
 protected:
  const RecordedCall& Connexion() {
    for (const auto& appel : provider.Calls()) {
      if (appel.kind == Kind::kOpen) return appel;
    }
    throw std::logic_error("nothing was opened");
  }
  std::string Texte() { return platform.messages.empty() ? "" : platform.messages.back().text; }
};

TEST_F(DataBaseOuverture, EachKindHasItsProviderAndItsConnectionString) {
  struct Cas {
    std::int16_t kind;
    const char* fournisseur;
    const char* chaine;
  };
  for (const Cas& cas :
       {Cas{0, "Microsoft.Jet.OLEDB.4.0", "VOLUMES"}, Cas{1, "sqloledb", "Initial Catalog=VOLUMES;"}, Cas{2, "OraOLEDB.Oracle", "VOLUMES"},
        Cas{3, "MSDASQL.1", "VOLUMES"}, Cas{4, "MSDASQL", "VOLUMES"}, Cas{7, "MSDASQL", "VOLUMES"}, Cas{-1, "MSDASQL", "VOLUMES"}}) {
    provider.ClearCalls();
    db::DataBase base;
    ASSERT_TRUE(base.Ouvre("VOLUMES", cas.kind, true));
    EXPECT_EQ(Connexion().open.provider, cas.fournisseur);
    EXPECT_EQ(Connexion().open.connectionString, cas.chaine);
    EXPECT_EQ(base.Provider(), cas.fournisseur);
    EXPECT_EQ(base.ConnectionString(), cas.chaine);
    base.Ferme();
  }
  EXPECT_THAT(platform.messages, IsEmpty());
}

TEST_F(DataBaseOuverture, AnAccessFileIsOpenedWithoutALoginTheOthersAsTheConnectedUser) {
  for (std::int16_t kind = 0; kind <= 4; ++kind) {
    provider.ClearCalls();
    db::DataBase base;
    ASSERT_TRUE(base.Ouvre("V", kind, true));
    EXPECT_EQ(Connexion().open.userId, kind == 0 ? "" : "ADM");
    EXPECT_EQ(Connexion().open.password, kind == 0 ? "" : "secret");
    EXPECT_EQ(base.UID(), kind == 0 ? "" : "ADM");
    EXPECT_EQ(base.Pwd(), kind == 0 ? "" : "secret");
  }
}

TEST_F(DataBaseOuverture, AnExplicitLoginGoesBeforeTheConnectedUserABlankOneDoesNot) {
  db::EnvironnementCourant().nomLogin = "AUTRE";
  db::EnvironnementCourant().pwdLogin = "cle";
  ASSERT_TRUE(db.Ouvre("V", 1, true));
  EXPECT_EQ(Connexion().open.userId, "AUTRE");
  EXPECT_EQ(Connexion().open.password, "cle");
  provider.ClearCalls();
  db::EnvironnementCourant().nomLogin = "  ";
  ASSERT_TRUE(db.Ouvre("V", 1, true));
  EXPECT_EQ(Connexion().open.userId, "ADM");
}

TEST_F(DataBaseOuverture, TypIsADecimalText) {
  Ouvre(0);
  EXPECT_EQ(db.Typ(), "0");
  db::DataBase autre;
  ASSERT_TRUE(autre.Ouvre("V", 7, true));
  EXPECT_EQ(autre.Typ(), "7");
}

TEST_F(DataBaseOuverture, VersionIsTheEngineTypeOnAccessAndFiveElsewhere) {
  provider.SetProperty("JET OLEDB:ENGINE TYPE", std::int32_t{5});
  Ouvre(0);
  EXPECT_EQ(db.Version(), "5");
  provider.SetProperty("JET OLEDB:ENGINE TYPE", std::int32_t{4});
  EXPECT_EQ(db.Version(), "4");
  for (std::int16_t kind = 1; kind <= 4; ++kind) {
    db::DataBase base;
    ASSERT_TRUE(base.Ouvre("V", kind, true));
    provider.ClearCalls();
    EXPECT_EQ(base.Version(), "5");
    EXPECT_THAT(provider.Calls(), IsEmpty());
  }
}

TEST_F(DataBaseOuverture, PropertiesOfTheConnectionRaiseWithoutOne) {
  EXPECT_EQ(Numero([&] { (void)db.ConnectionString(); }), runtime::kObjectNotSet);
  EXPECT_EQ(Numero([&] { (void)db.Provider(); }), runtime::kObjectNotSet);
  EXPECT_EQ(Numero([&] { (void)db.UID(); }), runtime::kObjectNotSet);
  EXPECT_EQ(Numero([&] { (void)db.Pwd(); }), runtime::kObjectNotSet);
  EXPECT_EQ(Numero([&] { (void)db.Version(); }), runtime::kObjectNotSet);
  Ouvre(0);
  EXPECT_EQ(Numero([&] { (void)db.Version(); }), runtime::kItemNotFound);
}

TEST_F(DataBaseOuverture, TheLockLimitIsSetOnAccessAlone) {
  provider.SetProperty("Jet OLEDB:Max Locks Per File", std::int16_t{9500});
  ASSERT_TRUE(db.Ouvre("V", 0, true));
  EXPECT_EQ(provider.Property("Jet OLEDB:Max Locks Per File"), runtime::Variant(std::int16_t{12000}));
  provider.ClearCalls();
  db::DataBase autre;
  ASSERT_TRUE(autre.Ouvre("V", 1, true));
  EXPECT_EQ(provider.Count(Kind::kSetProperty), 0U);
}

TEST_F(DataBaseOuverture, OracleSwitchesItsSortOrder) {
  ASSERT_TRUE(db.Ouvre("V", 2, true));
  EXPECT_EQ(provider.Statements().front(), "ALTER SESSION SET NLS_SORT=BINARY");
  for (const std::int16_t kind : std::initializer_list<std::int16_t>{0, 1, 3, 4}) {
    provider.ClearCalls();
    db::DataBase base;
    ASSERT_TRUE(base.Ouvre("V", kind, true));
    EXPECT_THAT(provider.Statements(), Not(Contains("ALTER SESSION SET NLS_SORT=BINARY")));
  }
}

TEST_F(DataBaseOuverture, CursorsAreTheClientsOnMySqlAndAreLeftAloneElsewhere) {
  for (std::int16_t kind = 0; kind <= 4; ++kind) {
    db::DataBase base;
    ASSERT_TRUE(base.Ouvre("V", kind, true));
    EXPECT_EQ(base.Connexion().CursorLocation(), kind == 3 ? ado::adUseClient : ado::adUseServer);
  }
}

TEST_F(DataBaseOuverture, AFailureIsShownAndGivesFalse) {
  provider.FailOpen(-2147467259, "connexion refusée", 1);
  EXPECT_FALSE(db.Ouvre("VOLUMES", 1, true));
  EXPECT_THAT(platform.messages, ElementsAre(ShownMessage{"La base est incorrecte. Erreur -2147467259 (connexion refusée)", 48,
                                                          "Impossible d'ouvrir la base <VOLUMES>"}));
}

TEST_F(DataBaseOuverture, APasswordInTheNameIsNotShown) {
  provider.FailOpen(-2147467259, "connexion refusée", 1);
  EXPECT_FALSE(db.Ouvre("pwd = s ;DSN=VOLUMES;Password={a;b}", 3, true));
  EXPECT_THAT(platform.messages, ElementsAre(ShownMessage{"La base est incorrecte. Erreur -2147467259 (connexion refusée)", 48,
                                                          "Impossible d'ouvrir la base <pwd = ***;DSN=VOLUMES;Password=***>"}));
  EXPECT_EQ(db.Nom(), "pwd = s ;DSN=VOLUMES;Password={a;b}");
}

TEST_F(DataBaseOuverture, WithoutAScreenAFailureGivesFalseAndItsReasonCanBeAskedFor) {
  ui::UsePlatform(nullptr);
  provider.FailOpen(-2147467259, "connexion refusée", 1);
  EXPECT_FALSE(db.Ouvre("VOLUMES", 1, true));
  ui::UsePlatform(&platform);
  ASSERT_EQ(db.NbErr(), 1);
  EXPECT_EQ(db.ListeErr(0).etape, "ouverture");
  EXPECT_EQ(db.ListeErr(0).table, "");
  EXPECT_EQ(db.ListeErr(0).numero, -2147467259);
  EXPECT_EQ(db.ListeErr(0).description, "connexion refusée");
  EXPECT_EQ(Numero([&] { (void)db.ConnectionString(); }), runtime::kObjectNotSet);
  EXPECT_TRUE(db.Ouvre("VOLUMES", 1, true));
  EXPECT_EQ(db.NbErr(), 0);
}

TEST_F(DataBaseOuverture, AProgramThatTakesTheMessageTellsItItself) {
  std::vector<ShownMessage> dits;
  db::EnvironnementCourant().message = [&](const std::string& texte, const std::string& titre) { dits.push_back({texte, 0, titre}); };
  provider.FailOpen(3051, "en cours", 1);
  EXPECT_FALSE(db.Ouvre("PWD=s;DSN=V", 3, true));
  EXPECT_THAT(dits, ElementsAre(ShownMessage{"La base est en cours de définition par un autre poste", 0,
                                             "Impossible d'ouvrir la base <PWD=***;DSN=V>"}));
  EXPECT_THAT(platform.messages, IsEmpty());
  db::EnvironnementCourant().message = nullptr;
  provider.FailOpen(3051, "en cours", 1);
  EXPECT_FALSE(db.Ouvre("V", 3, true));
  EXPECT_EQ(db.ListeErr(0).numero, 3051);
}

TEST_F(DataBaseOuverture, AGenericFailureOnOracleReadsAsAWrongPassword) {
  provider.FailOpen(-2147467259, "ORA-01017", 1);
  EXPECT_FALSE(db.Ouvre("V", 2, true));
  EXPECT_EQ(Texte(), "Utilisateur ou mot de passe incorrect");
  provider.FailOpen(3704, "autre", 1);
  EXPECT_FALSE(db.Ouvre("V", 2, true));
  EXPECT_EQ(Texte(), "La base est incorrecte. Erreur 3704 (autre)");
}

TEST_F(DataBaseOuverture, AFileInUseReadsAsBeingDefinedElsewhere) {
  for (const std::int32_t numero : {3006, 3051, 3196}) {
    provider.FailOpen(numero, "en cours", 1);
    EXPECT_FALSE(db.Ouvre("V", 0, true));
    EXPECT_EQ(Texte(), "La base est en cours de définition par un autre poste");
  }
}

TEST_F(DataBaseOuverture, AfterAFailureNameAndKindHoldTheArgumentsAndThereIsNoConnection) {
  provider.FailOpen(1, "x", 1);
  EXPECT_FALSE(db.Ouvre("volumes", 3, true));
  EXPECT_EQ(db.Nom(), "volumes");
  EXPECT_EQ(db.Typ(), "3");
  EXPECT_TRUE(db.AvecMvt());
  EXPECT_EQ(Numero([&] { (void)db.ConnectionString(); }), runtime::kObjectNotSet);
  EXPECT_EQ(Numero([&] { (void)db.OpenRecordSet("SELECT 1", 0); }), runtime::kConnectionInvalid);
  EXPECT_EQ(Numero([&] { db.ExecuteSQL("X"); }), runtime::kObjectNotSet);
  EXPECT_EQ(db.NbTbl(), 0);
  db.Ferme();
  EXPECT_EQ(db.NbTbl(), 0);
}

TEST_F(DataBaseOuverture, AFailedReopeningLeavesTheListsUntouched) {
  AjouteCatalogue();
  AjouteTable("UTL");
  Ouvre(1);
  const std::int16_t tables = db.NbTbl();
  provider.FailOpen(1, "x", 1);
  EXPECT_FALSE(db.Ouvre("V", 1, true));
  EXPECT_EQ(db.NbTbl(), tables);
  EXPECT_EQ(Numero([&] { (void)db.ConnectionString(); }), runtime::kObjectNotSet);
  EXPECT_TRUE(db.ExisteTbl("UTL"));
}

TEST_F(DataBaseOuverture, OpeningAgainAddsToTheLists) {
  AjouteCatalogue();
  LigneRlt("A", "x", "B", "y", 0, 0, false);
  Ouvre(1);
  ASSERT_EQ(db.NbRlt(), 1);
  Ouvre(1);
  EXPECT_EQ(db.NbRlt(), 2);
}

TEST_F(DataBaseOuverture, FermeEmptiesTheListsAndKeepsTheName) {
  AjouteCatalogue();
  AjouteTable("UTL");
  LigneRlt("A", "x", "B", "y", 0, 0, false);
  Ouvre(1);
  db.AddAlias("UTL", "U", "", true);
  db.Ferme();
  EXPECT_EQ(provider.Count(Kind::kClose), 1U);
  EXPECT_EQ(db.NbTbl(), 0);
  EXPECT_EQ(db.NbRlt(), 0);
  EXPECT_EQ(db.TblReel("U"), "U");
  EXPECT_EQ(db.Nom(), "VOLUMES");
  EXPECT_EQ(db.Typ(), "1");
  EXPECT_TRUE(db.AvecMvt());
  EXPECT_FALSE(db.ExisteTbl("UTL"));
  db.Ferme();
}

TEST_F(DataBaseOuverture, EachStepAfterTheOpeningIsLeftAtItsFailureAndTheNextGoesOn) {
  AjouteCatalogue();
  AjouteTable("UTL");
  LigneRlt("A", "x", "B", "y", 0, 0, false);
  provider.Fail("ALTER SESSION SET NLS_SORT=BINARY", 1, "refus");
  provider.FailPrefix("SELECT * FROM ALL_TABLES", 2, "refus");
  EXPECT_TRUE(db.Ouvre("V", 2, true));
  EXPECT_THAT(platform.messages, IsEmpty());
  EXPECT_EQ(db.NbTbl(), 3);
  EXPECT_EQ(db.NbRlt(), 1);
}

TEST_F(DataBaseOuverture, OpeningADatabaseWithItsCatalogCostsTwoStatementsATableAtMost) {
  AjouteCatalogue();
  for (int i = 0; i < 200; ++i) {
    const std::string nom = "T" + std::to_string(1000 + i);
    AjouteTable(nom).indexes = {MakeIndex("PRIMARY", {"NOM"}, true, true), MakeIndex("I2", {"NIVEAU"}), MakeIndex("I3", {"NIVEAU"})};
    LigneFld(nom, 0, "nom");
    LigneFld(nom, 1, "niveau");
    for (const char* index : {"I2", "I3", "PRIMARY"}) LigneIdx(nom, index, "nom", false, false);
  }
  AjouteSonde();
  provider.AnswerPrefix("SELECT * FROM `TEST_DT` WHERE", {{MakeField("DT", ado::adDate)}, {}});
  ScripteCles({{"PRIMARY", "NOM"}, {"I2", "NIVEAU"}, {"I3", "NIVEAU"}});
  ASSERT_TRUE(db.Ouvre("V", 3, true));
  EXPECT_EQ(db.NbTbl(), 205);
  EXPECT_EQ(db.ListeTbl("T1199").NbFld(), 2);
  EXPECT_EQ(db.ListeTbl("T1199").NbIdx(), 3);
  EXPECT_EQ(provider.Count(Kind::kExecute), 0U);
  // The keys of each table and of the probe's; the columns of the three catalog tables and the keys of the two that have some; fields and
  // indexes of the catalog, whether it is whole, relations, whether it knows the probe, probe.
  EXPECT_EQ(provider.Count(Kind::kOpenRowset), 201U + 3 + 2 + 2 + 1 + 1 + 1 + 1);
  // Of each table its columns once.
  EXPECT_EQ(provider.Count(Kind::kListColumns), 201U);
  EXPECT_EQ(provider.Count(Kind::kListTables), 1U);
  for (const RecordedCall& appel : provider.Calls()) {
    if (appel.kind != Kind::kFirstRow) continue;
    EXPECT_THAT(appel.text, Not(StartsWith("SELECT * FROM `T1")));
  }
}

}  // namespace
}  // namespace tamlo::tests
