// The lists of a database and their elements, walked by range-based loops, and the lists as values of their own.
#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "ado/Types.h"
#include "tests/db/BaseDeTest.h"

namespace tamlo::tests {
namespace {

using testing::ElementsAre;

// What is walked through a constant cannot be changed, what is walked through a variable can.
static_assert(std::is_same_v<decltype(*std::declval<const db::DbTbl&>().Champs().begin()), const db::DbFld&>);
static_assert(std::is_same_v<decltype(*std::declval<db::DbTbl&>().Champs().begin()), db::DbFld&>);
static_assert(std::is_same_v<decltype(*std::declval<const db::DbTbl&>().Index().begin()), const db::DbIdx&>);
static_assert(std::is_same_v<decltype(*std::declval<const db::DataBase&>().Tables().begin()), const db::DbTbl&>);
static_assert(std::is_same_v<decltype(*std::declval<db::DataBase&>().Tables().begin()), db::DbTbl&>);
static_assert(std::is_same_v<decltype(*std::declval<db::DataBase&>().Relations().begin()), const db::DbRlt&>);

class Parcours : public BaseDeTest {};

std::unique_ptr<db::DbTbl> Table(const std::string& nom) {
  auto tbl = std::make_unique<db::DbTbl>();
  tbl->Nom(nom);
  return tbl;
}

TEST_F(Parcours, TheTablesOfADatabaseComeInTheOrderOfTheirPositions) {
  AjouteCatalogue();
  AjouteTable("ART");
  AjouteTable("UTL");
  Ouvre(1);
  const db::DataBase& constante = db;
  Textes noms;
  for (const db::DbTbl& tbl : constante.Tables()) noms.push_back(tbl.Nom());
  EXPECT_THAT(noms, ElementsAre("$TBLKORV$", "$FLDKORV$", "$IDXKORV$", "$RLTKORV$", "ART", "UTL"));
  EXPECT_EQ(constante.Tables().size(), static_cast<std::size_t>(db.NbTbl()));
  std::int16_t place = 0;
  for (db::DbTbl& tbl : db.Tables()) EXPECT_EQ(&tbl, &db.ListeTbl(std::to_string(place++)));
  EXPECT_EQ(&constante.ListeTbl(" utl "), &db.ListeTbl("5"));
}

TEST_F(Parcours, ADatabaseThatIsNotOpenHasNothingToWalk) {
  EXPECT_TRUE(db.Tables().empty());
  EXPECT_EQ(db.Tables().begin(), db.Tables().end());
  EXPECT_TRUE(db.Relations().empty());
  EXPECT_EQ(db.Alias().begin(), db.Alias().end());
}

TEST_F(Parcours, FieldsIndexesAndTheFieldsOfAnIndexComeInTheirOrder) {
  db::DbTbl tbl;
  tbl.Nom("CDE");
  tbl.AddFld("Zone", ado::adVarWChar, 20, false);
  tbl.AddFld("Art", ado::adInteger, 4, false);
  tbl.AddIdx("Pk", "Zone;-Art", true, true);
  tbl.AddIdx("Autre", "art", false, false);
  const db::DbTbl& constante = tbl;
  Textes champs;
  for (const db::DbFld& fld : constante.Champs()) champs.push_back(fld.Nom());
  EXPECT_THAT(champs, ElementsAre("zone", "art"));
  Textes index;
  for (const db::DbIdx& idx : constante.Index()) {
    std::string texte = idx.Nom();
    for (const db::DbIdx::Champ& champ : idx.Champs()) texte += " " + champ.nom + "/" + champ.decrit + "/" + std::to_string(champ.sens);
    index.push_back(texte);
  }
  EXPECT_THAT(index, ElementsAre("PK zone/Zone/1 art/Art/2", "AUTRE art/art/1"));
  EXPECT_EQ(&constante.ListeFld("ART"), &tbl.ListeFld("1"));
  EXPECT_EQ(&constante.ListeIdx("1"), &tbl.ListeIdx("autre"));
  EXPECT_EQ(Numero([&] { (void)constante.ListeFld("absent"); }), runtime::kSubscriptOutOfRange);
}

TEST_F(Parcours, WhatIsWalkedCanBeChanged) {
  db::DbTbl tbl;
  tbl.AddFld("a", ado::adInteger, 4, false);
  tbl.AddFld("b", ado::adInteger, 4, false);
  for (db::DbFld& fld : tbl.Champs()) fld.Obg(true);
  EXPECT_TRUE(tbl.ListeFld("b").Obg());
}

TEST_F(Parcours, RelationsAndAliasesComeInTheOrderInWhichTheyWereAdded) {
  db.AddAlias("utl", "usagers", "Les usagers", true);
  db.AddAlias("art", "", "", false);
  EXPECT_TRUE(db.AddRlt("usagers", "Id", "cde", "IdUtl", 1, 2, false));
  EXPECT_TRUE(db.AddRlt("cde", "no", "lig", "no", 0, 0, true));
  Textes alias;
  for (const db::Alias::Entree& entree : db.Alias())
    alias.push_back(entree.alias + " " + entree.table + " " + entree.libelle + (entree.visible ? " visible" : " cache"));
  EXPECT_THAT(alias, ElementsAre("USAGERS UTL Les usagers visible", "ART ART  cache"));
  Textes relations;
  for (const db::DbRlt& rlt : db.Relations()) relations.push_back(rlt.AliasSrc() + "." + rlt.FldSrc() + ">" + rlt.AliasCbl());
  EXPECT_THAT(relations, ElementsAre("USAGERS.id>CDE", "CDE.no>LIG"));
  const db::DataBase& constante = db;
  EXPECT_EQ(constante.ListeRlt(1).AliasCbl(), "LIG");
}

/// The definition of a table of another file is read when it is first asked for, whatever the first question is.
class ParcoursLien : public Parcours {
 protected:
  void SetUp() override {
    AjouteTable("DISTANTE").columns[1].properties.Set("AutoIncrement", true);
    provider.FindTable("DISTANTE")->columns[1].type = ado::adInteger;
    ScriptedTable& lien = AjouteTable("LOCALE", "LINK");
    lien.columns = {};
    lien.indexes = {};
    lien.properties.Set("Jet OLEDB:Link Datasource", "C:\\AUTRE.MDB");
    lien.properties.Set("Jet OLEDB:Remote Table Name", "DISTANTE");
    ASSERT_TRUE(source.Ouvre("C:\\AUTRE.MDB", 0, true));
    db::EnvironnementCourant().baseOuverte = [&](const std::string& nom) { return nom == "C:\\AUTRE.MDB" ? &source : nullptr; };
    ASSERT_TRUE(db.Ouvre("C:\\BVIRTUEL.MDB", 0, true));
  }
  db::DataBase source;
};

TEST_F(ParcoursLien, ExisteCptIsTheFirstQuestion) { EXPECT_TRUE(db.ListeTbl("LOCALE").ExisteCpt()); }
TEST_F(ParcoursLien, ExisteIdxSurFldIsTheFirstQuestion) { EXPECT_TRUE(db.ListeTbl("LOCALE").ExisteIdxSurFld("NOM")); }
TEST_F(ParcoursLien, AWalkThroughAConstantIsTheFirstQuestion) {
  const db::DbTbl& lien = std::as_const(db).ListeTbl("LOCALE");
  Textes champs;
  for (const db::DbFld& fld : lien.Champs()) champs.push_back(fld.Nom());
  EXPECT_THAT(champs, ElementsAre("nom", "niveau"));
}

TEST(ListeTables, RetireTakesTheFirstOfThatNameAndTheOthersMoveUp) {
  db::ListeTables tables;
  const db::DbTbl& a = tables.Ajoute(Table("A"));
  tables.Ajoute(Table("B"));
  const db::DbTbl& encore = tables.Ajoute(Table("A"));
  EXPECT_EQ(tables.Nommee(" a "), &a);
  tables.Retire("a");
  EXPECT_EQ(tables.Nb(), 2);
  EXPECT_EQ(&tables.Liste("A"), &encore);
  EXPECT_EQ(&tables.Liste("1"), &encore);
  tables.Retire("absente");
  EXPECT_EQ(tables.Nb(), 2);
}

TEST(ListeTables, RemplaceKeepsThePlace) {
  db::ListeTables tables;
  tables.Ajoute(Table("A"));
  tables.Ajoute(Table("B"));
  const db::DbTbl& nouvelle = tables.Remplace(Table("a"));
  EXPECT_EQ(&tables.Liste("0"), &nouvelle);
  EXPECT_EQ(tables.Nb(), 2);
  tables.Remplace(Table("C"));
  EXPECT_EQ(tables.Liste("2").Nom(), "C");
}

TEST(ListeTables, ATableIsListedUnderTheNameThatItHadThen) {
  db::ListeTables tables;
  tables.Ajoute(Table("A")).Nom("Z");
  EXPECT_EQ(tables.Nommee("Z"), nullptr);
  EXPECT_EQ(tables.Liste("A").Nom(), "Z");
}

TEST(ListeTables, TheLastOneFoundIsNoAnswerOnceItHasMoved) {
  db::ListeTables tables;
  for (const char* nom : {"A", "B", "C"}) tables.Ajoute(Table(nom));
  EXPECT_EQ(tables.Liste("B").Nom(), "B");
  tables.Retire("A");
  EXPECT_EQ(tables.Liste("B").Nom(), "B");
  EXPECT_EQ(tables.Liste("C").Nom(), "C");
  tables.Vide();
  EXPECT_EQ(Numero([&] { (void)tables.Liste("C"); }), runtime::kSubscriptOutOfRange);
}

TEST(Relations, HoldAsManyAs16BitsCount) {
  db::Relations relations;
  const db::DbRlt rlt;
  for (int i = 0; i < 32767; ++i) relations.Ajoute(rlt);
  EXPECT_EQ(Numero([&] { relations.Ajoute(rlt); }), runtime::kOverflow);
  EXPECT_EQ(relations.Nb(), 32767);
  relations.Garde(2);
  EXPECT_EQ(relations.Nb(), 2);
}

}  // namespace
}  // namespace tamlo::tests
