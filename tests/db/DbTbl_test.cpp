#include "db/DbTbl.h"

#include <gmock/gmock.h>

#include "tests/db/BaseDeTest.h"

namespace tamlo::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Kind = RecordedCall::Kind;

class DbTbl : public BaseDeTest {
 protected:
  /// A definition of its own: fields code, lib, prix; indexes PK on code, I2 on lib and prix descending.
  void Decrit(db::DbTbl& tbl) {
    tbl.Nom("ART");
    tbl.AddFld("Code", ado::adInteger, 4, false);
    tbl.AddFld("LIB", ado::adVarWChar, 40, false);
    tbl.AddFld("prix", ado::adCurrency, 8, false);
    tbl.AddIdx("pk", "code", true, true);
    tbl.AddIdx("i2", "lib;-prix", false, false);
  }
  /// The definition of a backend's table, loaded without a catalog.
  std::unique_ptr<db::DbTbl> Charge(db::DataBase& base, const std::string& nom) {
    auto tbl = std::make_unique<db::DbTbl>();
    tbl->Init(base, base.Catalogue().Tables(nom), true, nullptr, nullptr, "ADM");
    return tbl;
  }
};

TEST_F(DbTbl, NomIsTrimmedAndUpperCased) {
  db::DbTbl tbl;
  tbl.Nom(" clients ");
  EXPECT_EQ(tbl.Nom(), "CLIENTS");
  tbl.Nom("été");
  EXPECT_EQ(tbl.Nom(), "ÉTÉ");
}

TEST_F(DbTbl, FieldsAreFoundInAnyCaseOrByPosition) {
  db::DbTbl tbl;
  Decrit(tbl);
  EXPECT_TRUE(tbl.ExisteFld("Code"));
  EXPECT_TRUE(tbl.ExisteFld(" LIB "));
  EXPECT_FALSE(tbl.ExisteFld("absent"));
  EXPECT_EQ(tbl.ListeFld("PRIX").Nom(), "prix");
  EXPECT_EQ(tbl.ListeFld("2").Nom(), "prix");
  EXPECT_EQ(tbl.NbFld(), 3);
}

TEST_F(DbTbl, ExisteFldOfANumberIsAlwaysTrue) {
  db::DbTbl tbl;
  Decrit(tbl);
  EXPECT_TRUE(tbl.ExisteFld("7"));
  EXPECT_TRUE(tbl.ExisteFld("0"));
  EXPECT_TRUE(tbl.ExisteIdx("7"));
}

TEST_F(DbTbl, AFieldOrIndexThatIsNotThereIsASubscriptError) {
  db::DbTbl tbl;
  Decrit(tbl);
  for (const char* cle : {"absent", "3", "-1", ""}) {
    EXPECT_EQ(Numero([&] { (void)tbl.ListeFld(cle); }), runtime::kSubscriptOutOfRange);
    EXPECT_EQ(Numero([&] { (void)tbl.ListeIdx(cle); }), runtime::kSubscriptOutOfRange);
  }
}

TEST_F(DbTbl, IndexesAreFoundInAnyCaseOrByPosition) {
  db::DbTbl tbl;
  Decrit(tbl);
  EXPECT_TRUE(tbl.ExisteIdx(" Pk "));
  EXPECT_EQ(tbl.ListeIdx("i2").Nom(), "I2");
  EXPECT_EQ(tbl.ListeIdx("0").Nom(), "PK");
  EXPECT_EQ(tbl.NbIdx(), 2);
}

TEST_F(DbTbl, ExisteIdxSurFldLooksAtEveryPositionOfEveryIndex) {
  db::DbTbl tbl;
  Decrit(tbl);
  EXPECT_TRUE(tbl.ExisteIdxSurFld("CODE"));
  EXPECT_TRUE(tbl.ExisteIdxSurFld("Prix"));
  EXPECT_FALSE(tbl.ExisteIdxSurFld("autre"));
}

TEST_F(DbTbl, ExisteCptLooksForACounter) {
  db::DbTbl tbl;
  Decrit(tbl);
  EXPECT_FALSE(tbl.ExisteCpt());
  tbl.AddFld("no", ado::adInteger, 4, true);
  EXPECT_TRUE(tbl.ExisteCpt());
}

TEST_F(DbTbl, OnOracleExisteIdxLooksForTheNameBehindTheTables) {
  Ouvre(2);
  db::DbTbl tbl;
  tbl.Nom("ART");
  tbl.AddIdx("ART_PK", "code", true, true);
  EXPECT_TRUE(tbl.ExisteIdx("ART_PK"));
  tbl.Db(&db);
  EXPECT_TRUE(tbl.ExisteIdx("pk"));
  EXPECT_FALSE(tbl.ExisteIdx("ART_PK"));
}

TEST_F(DbTbl, PrivilegesAreAllHeldButOnOracle) {
  for (const std::int16_t kind : std::initializer_list<std::int16_t>{0, 1, 3, 4}) {
    db::DataBase base;
    ASSERT_TRUE(base.Ouvre("V", kind, true));
    db::DbTbl tbl;
    tbl.Db(&base);
    provider.ClearCalls();
    EXPECT_TRUE(tbl.PrivilegeOK("INSERT"));
    EXPECT_THAT(provider.Calls(), IsEmpty());
  }
}

TEST_F(DbTbl, TheOwnerHoldsEveryOraclePrivilege) {
  Ouvre(2);
  db::DbTbl tbl;
  tbl.Db(&db);
  tbl.Owner("ADM");
  EXPECT_TRUE(tbl.PrivilegeOK("INSERT"));
  EXPECT_THAT(provider.Calls(), IsEmpty());
}

TEST_F(DbTbl, AnOraclePrivilegeIsLookedForOnAnyTableThenOnThisOne) {
  Ouvre(2);
  db::DbTbl tbl;
  tbl.Nom("UTL");
  tbl.Db(&db);
  tbl.Owner("adm");
  const std::string roles =
      "SELECT * FROM ROLE_SYS_PRIVS,USER_ROLE_PRIVS WHERE ROLE = GRANTED_ROLE AND USERNAME = 'ADM' AND "
      "PRIVILEGE='INSERT ANY TABLE'";
  const std::string directs = "SELECT * FROM USER_SYS_PRIVS WHERE USERNAME = 'ADM' AND PRIVILEGE='INSERT ANY TABLE'";
  const std::string table =
      "SELECT * FROM ALL_TAB_PRIVS,USER_ROLE_PRIVS WHERE GRANTEE = GRANTED_ROLE (+) AND (GRANTEE = 'ADM' OR USERNAME = "
      "'ADM') AND "
      "TABLE_SCHEMA='adm' AND TABLE_NAME='UTL' AND PRIVILEGE='INSERT'";
  const ScriptedResult aucune{{MakeField("PRIVILEGE", ado::adVarWChar, 40)}, {}};
  for (const auto& sql : {roles, directs, table}) provider.Answer(sql, aucune);
  EXPECT_FALSE(tbl.PrivilegeOK("INSERT"));
  EXPECT_THAT(Envoyes(), ElementsAre(roles, directs, table));
  provider.Answer(table, {aucune.fields, {{"INSERT"}}});
  EXPECT_TRUE(tbl.PrivilegeOK("INSERT"));
  provider.Answer(table, aucune);
  provider.Answer(directs, {aucune.fields, {{"INSERT ANY TABLE"}}});
  EXPECT_TRUE(tbl.PrivilegeOK("INSERT"));
}

TEST_F(DbTbl, SettingAvecMvtToItsValueSendsNothing) {
  AjouteCatalogue();
  AjouteTable("UTL");
  Ouvre(1);
  db::DbTbl& tbl = db.ListeTbl("UTL");
  ASSERT_TRUE(tbl.AvecMvt());
  tbl.AvecMvt(true);
  EXPECT_THAT(provider.Calls(), IsEmpty());
  tbl.AvecMvt(false);
  tbl.AvecMvt(true);
  EXPECT_THAT(Envoyes(),
              ElementsAre("UPDATE [$TBLKORV$] SET [MVT]=0 WHERE [NOM]='UTL'", "UPDATE [$TBLKORV$] SET [MVT]=-1 WHERE [NOM]='UTL'"));
}

TEST_F(DbTbl, AvecMvtFollowsTheRelationsOfSomeTypesOnly) {
  struct Cas {
    int typ;
    int typInv;
    bool suivie;
  };
  AjouteCatalogue();
  AjouteTable("ART");
  AjouteTable("UTL");
  for (const Cas& cas : {Cas{0, 0, true}, Cas{0, 2, true}, Cas{0, 3, true}, Cas{2, 0, true}, Cas{3, 0, true}, Cas{1, 0, false},
                         Cas{0, 1, false}, Cas{2, 2, false}, Cas{2, 3, false}, Cas{0, 4, false}}) {
    for (const bool source : {true, false}) {
      db::DataBase base;
      ASSERT_TRUE(base.Ouvre("V", 1, true));
      base.AddAlias("UTL", "USAGERS", "", true);
      base.AddRlt(source ? "ART" : "USAGERS", "x", source ? "USAGERS" : "ART", "y", cas.typ, cas.typInv, false);
      base.ListeTbl("ART").AvecMvt(false);
      EXPECT_EQ(base.ListeTbl("UTL").AvecMvt(), !cas.suivie) << cas.typ << "," << cas.typInv;
    }
  }
}

TEST_F(DbTbl, AvecMvtReachesATableNamedByANumberAndNotTheOneAtThatPosition) {
  AjouteCatalogue();
  AjouteTable("ART");
  AjouteTable("4");
  AjouteTable("UTL");
  Ouvre(1);
  ASSERT_EQ(db.ListeTbl("4").Nom(), "ART");
  db.AddAlias("4", "QUATRE", "", true);
  db.AddRlt("UTL", "x", "QUATRE", "y", 0, 0, false);
  db.ListeTbl("UTL").AvecMvt(false);
  EXPECT_TRUE(db.ListeTbl("ART").AvecMvt());
  ASSERT_EQ(db.ListeTbl("5").Nom(), "4");
  EXPECT_FALSE(db.ListeTbl("5").AvecMvt());
}

TEST_F(DbTbl, AvecMvtGoesOnFromTableToTableAndEndsInCycles) {
  AjouteCatalogue();
  for (const char* nom : {"A", "B", "C", "D"}) AjouteTable(nom);
  Ouvre(1);
  db.AddRlt("A", "x", "B", "y", 0, 2, false);
  db.AddRlt("B", "x", "C", "y", 0, 0, false);
  db.AddRlt("C", "x", "A", "y", 0, 0, false);
  db.AddRlt("C", "x", "ABSENTE", "y", 0, 0, false);
  db.ListeTbl("A").AvecMvt(false);
  EXPECT_FALSE(db.ListeTbl("B").AvecMvt());
  EXPECT_FALSE(db.ListeTbl("C").AvecMvt());
  EXPECT_TRUE(db.ListeTbl("D").AvecMvt());
  EXPECT_EQ(provider.Count(Kind::kExecute), 3U);
}

TEST_F(DbTbl, InitReadsTheColumnsWithoutReadingRows) {
  AjouteTable("UTL").rows = {{"x", std::int16_t{1}}};
  for (std::int16_t kind = 0; kind <= 4; ++kind) {
    db::DataBase base;
    ASSERT_TRUE(base.Ouvre("BVIRTUEL.MDB", kind, true));
    ScripteCles({{"PK", "NOM"}});
    provider.ClearCalls();
    const auto tbl = Charge(base, "UTL");
    const char* attendus[] = {"SELECT TOP 1 * FROM [UTL]", "SELECT TOP 1 * FROM [UTL]", "SELECT * FROM \"UTL\"", "SELECT * FROM `UTL`",
                              "SELECT * FROM `UTL`"};
    EXPECT_EQ(provider.Sources().front(), attendus[kind]);
    EXPECT_EQ(tbl->NbFld(), 2);
    EXPECT_EQ(tbl->ListeFld("0").Nom(), "nom");
    EXPECT_EQ(tbl->ListeFld("0").Lg(), 30);
    EXPECT_EQ(tbl->ListeFld("1").No(), 1);
    EXPECT_EQ(tbl->ListeFld("1").Typ(), ado::adSmallInt);
    EXPECT_EQ(tbl->ListeIdx("PK").SFld(), "nom");
    EXPECT_EQ(tbl->Owner(), "ADM");
    EXPECT_TRUE(tbl->AvecMvt());
    EXPECT_THAT(provider.Log(), testing::Not(testing::Contains(testing::HasSubstr("FIRST ROW SELECT TOP"))));
  }
}

TEST_F(DbTbl, ATableThatCannotBeOpenedStaysEmpty) {
  AjouteTable("UTL");
  Ouvre(1, "BVIRTUEL.MDB");
  provider.FailPrefix("SELECT TOP 1 * FROM [UTL]", 208, "refus");
  const auto tbl = Charge(db, "UTL");
  EXPECT_EQ(tbl->NbFld(), 0);
  EXPECT_EQ(tbl->NbIdx(), 0);
  EXPECT_FALSE(tbl->AvecMvt());
  EXPECT_EQ(tbl->Nom(), "UTL");
}

TEST_F(DbTbl, ExactNumericsOfOracleAndMySqlTakeTheirTypeFromTheirPrecision) {
  const auto charge = [&](std::int16_t kind, std::int16_t precision, std::int16_t echelle, bool parCatalogue) {
    RecordingProvider propre;
    ado::Column colonne = MakeColumn("X", ado::adNumeric, 19);
    colonne.precision = precision;
    colonne.numericScale = echelle;
    ScriptedTable table;
    table.name = "T";
    table.columns = {colonne};
    propre.AddTable(table);
    ScriptedTable catalogue;
    catalogue.name = "LIGNES";
    catalogue.columns = {MakeColumn("TABLE", ado::adVarWChar, 30), MakeColumn("NO", ado::adSmallInt),
                         MakeColumn("NOM", ado::adVarWChar, 30)};
    catalogue.rows = {{"T", std::int16_t{0}, "x"}};
    propre.AddTable(catalogue);
    db::DataBase base;
    EXPECT_TRUE(base.Ouvre("BVIRTUEL.MDB", kind, true));
    db::DbTbl tbl;
    ado::Recordset lignes = base.OpenRecordSet("SELECT * FROM [LIGNES]", 3);
    tbl.Init(base, base.Catalogue().Tables("T"), true, parCatalogue ? &lignes : nullptr, nullptr, "");
    return std::pair(tbl.ListeFld("x").Typ(), tbl.ListeFld("x").Lg());
  };
  using Resultat = std::pair<std::int16_t, std::int16_t>;
  for (const bool parCatalogue : {false, true}) {
    EXPECT_EQ(charge(2, 1, 0, parCatalogue), Resultat(ado::adBoolean, 0));
    EXPECT_EQ(charge(2, 3, 0, parCatalogue), Resultat(ado::adUnsignedTinyInt, 0));
    EXPECT_EQ(charge(2, 5, 0, parCatalogue), Resultat(ado::adSmallInt, 0));
    EXPECT_EQ(charge(2, 10, 0, parCatalogue), Resultat(ado::adInteger, 0));
    EXPECT_EQ(charge(2, 12, 0, parCatalogue), Resultat(ado::adNumeric, 0));
    EXPECT_EQ(charge(3, 1, 0, parCatalogue), Resultat(ado::adBoolean, 0));
    EXPECT_EQ(charge(3, 10, 0, parCatalogue), Resultat(ado::adDouble, 8));
    EXPECT_EQ(charge(3, 15, 2, parCatalogue), Resultat(ado::adDouble, 8));
    EXPECT_EQ(charge(3, 15, 0, parCatalogue), Resultat(ado::adDouble, 15));
    EXPECT_EQ(charge(1, 1, 0, parCatalogue), Resultat(ado::adNumeric, 0));
  }
}

TEST_F(DbTbl, CountersAreKnownOnAccessAlone) {
  ScriptedTable table;
  table.name = "T";
  table.columns = {MakeColumn("NO", ado::adInteger), MakeColumn("AUTRE", ado::adInteger), MakeColumn("COURT", ado::adSmallInt)};
  table.columns[0].properties.Set("AutoIncrement", true);
  table.columns[1].properties.Set("AutoIncrement", false);
  table.columns[2].properties.Set("AutoIncrement", true);
  provider.AddTable(table);
  AjouteCatalogue();
  for (const char* nom : {"NO", "AUTRE", "COURT"}) LigneFld("T", 0, nom);
  for (const std::int16_t kind : std::initializer_list<std::int16_t>{0, 1}) {
    db::DataBase base;
    ASSERT_TRUE(base.Ouvre("V", kind, true));
    const auto sansCatalogue = Charge(base, "T");
    for (db::DbTbl* tbl : {sansCatalogue.get(), &base.ListeTbl("T")}) {
      EXPECT_EQ(tbl->ListeFld("no").EstCpt(), kind == 0);
      EXPECT_FALSE(tbl->ListeFld("autre").EstCpt());
      EXPECT_FALSE(tbl->ListeFld("court").EstCpt());
    }
  }
}

TEST_F(DbTbl, WithACatalogNamesAndNumbersComeFromItTypesFromTheBackend) {
  AjouteCatalogue();
  AjouteTable("UTL");
  LigneFld("ART", 0, "autre");
  LigneFld("UTL", 4, "NIVEAU ");
  LigneFld("UTL", 9, "nom");
  LigneFld("VLM", 0, "autre");
  LigneIdx("UTL", "i1", "nom;+niveau", false, true);
  LigneIdx("UTL", "i2", "NOM;-NIVEAU", true, true);
  provider.FindTable("$FLDKORV$")->rows[1][5] = true;
  Ouvre(1);
  db::DbTbl& tbl = db.ListeTbl("UTL");
  ASSERT_EQ(tbl.NbFld(), 2);
  EXPECT_EQ(tbl.ListeFld("0").Nom(), "niveau");
  EXPECT_EQ(tbl.ListeFld("0").No(), 4);
  EXPECT_EQ(tbl.ListeFld("0").Typ(), ado::adSmallInt);
  EXPECT_FALSE(tbl.ListeFld("0").Obg());
  EXPECT_EQ(tbl.ListeFld("1").No(), 9);
  EXPECT_EQ(tbl.ListeFld("1").Lg(), 30);
  ASSERT_EQ(tbl.NbIdx(), 2);
  EXPECT_EQ(tbl.ListeIdx("I1").SFld(), "nom;niveau");
  EXPECT_FALSE(tbl.ListeIdx("I1").Primary());
  EXPECT_TRUE(tbl.ListeIdx("I1").Unique());
  EXPECT_EQ(tbl.ListeIdx("I2").SFld(), "nom;-niveau");
  EXPECT_TRUE(tbl.ListeIdx("I2").Primary());
}

TEST_F(DbTbl, ATableWithoutCatalogRowsHasNoFields) {
  AjouteCatalogue();
  AjouteTable("UTL");
  Ouvre(1);
  EXPECT_EQ(db.ListeTbl("UTL").NbFld(), 0);
  EXPECT_EQ(db.ListeTbl("UTL").NbIdx(), 0);
  EXPECT_TRUE(db.ListeTbl("UTL").AvecMvt());
}

TEST_F(DbTbl, ALengthBeyondSixteenBitsLeavesAFieldWithoutALength) {
  ScriptedTable table;
  table.name = "T";
  table.columns = {MakeColumn("LONG", ado::adVarWChar, 65535), MakeColumn("NOM", ado::adVarWChar, 30)};
  provider.AddTable(table);
  Ouvre(1, "BVIRTUEL.MDB");
  const db::DbTbl& tbl = db.ListeTbl("T");
  ASSERT_EQ(tbl.NbFld(), 2);
  EXPECT_EQ(db.ListeTbl("T").ListeFld("long").Lg(), 0);
  EXPECT_EQ(db.ListeTbl("T").ListeFld("long").Typ(), ado::adVarWChar);
}

}  // namespace
}  // namespace tamlo::tests
