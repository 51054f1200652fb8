#include "db/DbFld.h"

#include <gmock/gmock.h>

#include "db/DbIdx.h"
#include "db/DbRlt.h"
#include "tests/db/BaseDeTest.h"

namespace tamlo::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

db::DbFld Champ(std::int16_t typ, double lg) {
  db::DbFld champ;
  champ.Init(" CodeArt ", typ, lg, false, nullptr, 3, false, "fmt", "ini");
  return champ;
}

TEST(DbFld, TheNameIsTrimmedAndLowerCased) {
  EXPECT_EQ(Champ(3, 4).Nom(), "codeart");
  EXPECT_EQ(Champ(3, 4).No(), 3);
  EXPECT_EQ(Champ(3, 4).Fmt(), "fmt");
  EXPECT_EQ(Champ(3, 4).Ini(), "ini");
}

TEST(DbFld, TypesAreNormalised) {
  struct Cas {
    std::int16_t donne;
    double lg;
    std::int16_t typ;
    std::int16_t retenue;
  };
  for (const Cas& cas : {Cas{129, 10, 202, 10}, Cas{130, 10, 202, 10}, Cas{201, 10, 203, 0}, Cas{200, 1999, 202, 1999},
                         Cas{200, 2000, 203, 0}, Cas{135, 16, 7, 0}, Cas{133, 6, 7, 0}, Cas{134, 6, 134, 0}, Cas{204, 50, 204, 0},
                         Cas{139, 15, 5, 0}, Cas{16, 1, 17, 0}, Cas{128, 50, 205, 0}, Cas{5, 8, 5, 8}, Cas{202, 30, 202, 30},
                         Cas{203, 100, 203, 0}, Cas{3, 4, 3, 0}, Cas{131, 19, 131, 0}, Cas{11, 2, 11, 0}, Cas{72, 16, 72, 0}}) {
    EXPECT_EQ(Champ(cas.donne, cas.lg).Typ(), cas.typ) << cas.donne;
    EXPECT_EQ(Champ(cas.donne, cas.lg).Lg(), cas.retenue) << cas.donne;
  }
}

TEST(DbFld, AVariableTextOfTwoThousandIsAMemoWithoutWidth) {
  EXPECT_EQ(Champ(200, 1999).LgSais(), 1999);
  EXPECT_EQ(Champ(200, 2000).LgSais(), 0);
}

TEST(DbFld, TheInputWidthFollowsTheType) {
  struct Cas {
    std::int16_t typ;
    std::int16_t largeur;
  };
  for (const Cas& cas : {Cas{11, 1}, Cas{17, 3}, Cas{2, 5}, Cas{3, 15}, Cas{4, 15}, Cas{5, 15}, Cas{6, 15}, Cas{7, 10}, Cas{203, 0},
                         Cas{202, 8}, Cas{205, 0}, Cas{131, 0}}) {
    EXPECT_EQ(Champ(cas.typ, 8).LgSais(), cas.largeur) << cas.typ;
  }
}

TEST(DbFld, ADoubleKeepsItsLengthAndIsFifteenWide) {
  EXPECT_EQ(Champ(5, 8).Lg(), 8);
  EXPECT_EQ(Champ(5, 8).LgSais(), 15);
}

TEST(DbFld, ALengthRoundsHalvesToEvenAndOverflows) {
  EXPECT_EQ(Champ(202, 2.5).Lg(), 2);
  EXPECT_EQ(Champ(202, 3.5).Lg(), 4);
  EXPECT_EQ(Numero([] { (void)Champ(202, 32768); }), runtime::kOverflow);
}

class DbFldObg : public BaseDeTest {};

TEST_F(DbFldObg, AChangeIsWrittenToTheCatalogAnUnchangedFlagIsNot) {
  AjouteCatalogue();
  AjouteTable("UTL");
  LigneFld("UTL", 0, "nom");
  Ouvre(1);
  db::DbFld& champ = db.ListeTbl("UTL").ListeFld("nom");
  champ.Obg(false);
  EXPECT_THAT(provider.Calls(), IsEmpty());
  champ.Obg(true);
  champ.Obg(false);
  EXPECT_THAT(Envoyes(), ElementsAre("UPDATE [$FLDKORV$] SET [OBLIGATOIRE]=-1 WHERE  [TABLE]='UTL' AND [NOM]='nom'",
                                     "UPDATE [$FLDKORV$] SET [OBLIGATOIRE]=0 WHERE  [TABLE]='UTL' AND [NOM]='nom'"));
}

class DbIdx : public BaseDeTest {};

TEST_F(DbIdx, NamesAndFieldsAreFoldedAndPrimaryNeedsUnique) {
  db::DbIdx index;
  ado::Index description = MakeIndex("Pk", {"Code", "-DATE"}, true, true);
  index.Init(description, nullptr);
  EXPECT_EQ(index.Nom(), "PK");
  EXPECT_TRUE(index.Primary());
  EXPECT_TRUE(index.Unique());
  EXPECT_EQ(index.NbFld(), 2);
  EXPECT_EQ(index.NomFld(0), "code");
  EXPECT_EQ(index.SensFld(0), 1);
  EXPECT_EQ(index.SensFld(1), 2);
  EXPECT_EQ(index.SFld(), "code;-date");
  description.unique = false;
  index.Init(description, nullptr);
  EXPECT_FALSE(index.Primary());
  index.Nom("x");
  EXPECT_EQ(index.Nom(), "x");
}

TEST_F(DbIdx, AnIndexWithoutFieldsHasAnEmptyList) {
  db::DbIdx index;
  index.Init(MakeIndex("I", {}), nullptr);
  EXPECT_EQ(index.SFld(), "");
  EXPECT_EQ(index.NbFld(), 0);
}

TEST_F(DbIdx, APositionOutsideIsASubscriptError) {
  db::DbIdx index;
  index.Init(MakeIndex("I", {"a"}), nullptr);
  for (const std::int16_t i : std::initializer_list<std::int16_t>{-1, 1}) {
    EXPECT_EQ(Numero([&] { (void)index.NomFld(i); }), runtime::kSubscriptOutOfRange);
    EXPECT_EQ(Numero([&] { (void)index.SensFld(i); }), runtime::kSubscriptOutOfRange);
  }
}

TEST_F(DbIdx, MoreThan32767FieldsOverflow) {
  ado::Index description;
  description.columns.resize(32768);
  db::DbIdx index;
  EXPECT_EQ(Numero([&] { index.Init(description, nullptr); }), runtime::kOverflow);
}

TEST_F(DbIdx, OnMySqlTheFieldsComeFromTheServerAndPrimaryFromTheName) {
  AjouteSonde();
  AjouteCatalogue();
  ScripteCles({{"primary", "NOM"}, {"i2", "B"}, {"PRIMARY", "Niveau"}, {"I2", "A"}});
  Ouvre(3);
  db::DbTbl tbl;
  tbl.Nom("UTL");
  tbl.Db(&db);
  db::DbIdx index;
  index.Init(MakeIndex("Primary", {"-x"}, false, false), &tbl);
  EXPECT_EQ(provider.Sources(), Textes{"SHOW KEYS FROM `UTL`"});
  EXPECT_TRUE(index.Primary());
  EXPECT_FALSE(index.Unique());
  EXPECT_EQ(index.SFld(), "nom;niveau");
  index.Init(MakeIndex("i2", {"-x"}, true, true), &tbl);
  EXPECT_FALSE(index.Primary());
  EXPECT_EQ(index.SFld(), "b;a");
  // The server knows a primary key by one name only.
  index.Init(MakeIndex("PK", {"NOM"}, true, true), &tbl);
  EXPECT_FALSE(index.Primary());
  EXPECT_EQ(index.SFld(), "nom");
}

TEST_F(DbIdx, AFailingShowKeysGoesToTheCaller) {
  AjouteSonde();
  AjouteCatalogue();
  ScripteCles({});
  Ouvre(3);
  provider.FailPrefix("SHOW KEYS FROM `UTL`", 1146, "refus");
  db::DbTbl tbl;
  tbl.Nom("UTL");
  tbl.Db(&db);
  db::DbIdx index;
  EXPECT_EQ(Numero([&] { index.Init(MakeIndex("I", {}), &tbl); }), 1146);
}

TEST(DbRlt, DirectionsFollowTheTypes) {
  db::DbRlt relation;
  relation.Init("A", "x", "B", "y", 0, 0, true);
  EXPECT_EQ(relation.Sens(), 2);
  EXPECT_EQ(relation.SensInv(), 2);
  relation.Init("A", "x", "B", "y", 1, 0, true);
  EXPECT_EQ(relation.Sens(), 0);
  EXPECT_EQ(relation.SensInv(), 1);
  relation.Init("A", "x", "B", "y", 0, 300000, false);
  EXPECT_EQ(relation.Sens(), 0);
  EXPECT_EQ(relation.SensInv(), 1);
  EXPECT_EQ(relation.TypInv(), 300000);
  EXPECT_FALSE(relation.Obg());
}

}  // namespace
}  // namespace tamlo::tests
