#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <random>

#include "runtime/Conversions.h"
#include "runtime/Dates.h"
#include "runtime/Error.h"
#include "runtime/Text.h"
#include "tests/backends/Accord.h"
#include "tests/backends/Backend.h"

namespace tamlo::tests {
namespace {

using runtime::Variant;
using testing::ElementsAre;
using testing::IsEmpty;

class Structure : public testing::TestWithParam<std::string> {
 protected:
  [[nodiscard]] Backend& Sur() const { return BackendNomme(GetParam()); }
  [[nodiscard]] Capacites Capacite() const { return Sur().Capacite(); }
};
INSTANTIATE_TEST_SUITE_P(Backends, Structure, testing::Values("Jet", "MariaDb", "Sqlite", "SqlServer", "Oracle"),
                         [](const auto& nom) { return nom.param; });

std::vector<std::string> Champs(db::DbTbl& tbl) {
  std::vector<std::string> noms;
  for (std::int16_t i = 0; i < tbl.NbFld(); ++i) noms.push_back(tbl.ListeFld(std::to_string(i)).Nom());
  return noms;
}

std::vector<std::string> Index(db::DbTbl& tbl) {
  std::vector<std::string> noms;
  for (std::int16_t i = 0; i < tbl.NbIdx(); ++i) {
    const db::DbIdx& idx = tbl.ListeIdx(std::to_string(i));
    noms.push_back(idx.Nom() + "(" + idx.SFld() + ")" + (idx.Unique() ? "u" : ""));
  }
  return noms;
}

/// The catalog's rows of a table: "no nom" of each field, in the order of the numbers.
std::vector<std::string> CatalogueChamps(db::DataBase& base, const std::string& table) {
  std::vector<std::string> rangees;
  auto rs = base.OpenRecordSet("SELECT [NO],[NOM] FROM [$FLDKORV$] WHERE [TABLE]='" + table + "' ORDER BY [NO]", 0);
  for (; !rs.Eof(); rs.MoveNext()) {
    rangees.push_back(runtime::ToText(rs.Fields(0).Value()) + " " + std::string(runtime::Trim(runtime::ToText(rs.Fields(1).Value()))));
  }
  return rangees;
}

std::vector<std::string> ColonnesDuBackend(db::DataBase& base, const std::string& table) {
  std::vector<std::string> noms;
  auto rs = base.OpenRecordSet("SELECT * FROM [" + table + "]", 0);
  for (std::size_t i = 0; i < rs.FieldCount(); ++i) noms.push_back(runtime::LowerCase(rs.Fields(i).Name()));
  return noms;
}

TEST_P(Structure, AnEmptyDatabaseOpensAndGetsItsCatalog) {
  BaseOuverte base(Sur());
  for (const char* nom : {"$TBLKORV$", "$FLDKORV$", "$IDXKORV$", "$RLTKORV$"}) {
    EXPECT_EQ(base->ExisteTbl(nom), Capacite().creeTables) << nom;
  }
  EXPECT_EQ(base->NbRlt(), 0);
  EXPECT_EQ(base->ConnectionString().empty(), false);
}

TEST_P(Structure, OpeningAgainFindsTheCatalogThatIsThere) {
  BaseOuverte base(Sur());
  base.Cree(Table("UTL", {{"NOM", ado::adVarWChar, 30}}));
  base.Rouvre();
  EXPECT_THAT(Champs(base->ListeTbl("UTL")), ElementsAre("nom"));
  if (Capacite().creeTables) {
    EXPECT_THAT(CatalogueChamps(*base, "UTL"), ElementsAre("0 nom"));
    EXPECT_THAT(Champs(base->ListeTbl("$TBLKORV$")), ElementsAre("nom", "mvt"));
  }
}

TEST_P(Structure, TheDateProbeRunsWhereItIsNeededAndLeavesOneTable) {
  BaseOuverte base(Sur());
  EXPECT_EQ(base->ExisteTbl("TEST_DT"), Capacite().sondeDates);
  EXPECT_EQ(base->FmtDate(), Capacite().sondeDates ? "YYYY-MM-DD" : "");
  EXPECT_FALSE(base->ExisteTbl("$TESTDT$"));
}

TEST_P(Structure, ACreatedTableIsTheSameAfterOpeningAgain) {
  BaseOuverte base(Sur());
  base.Cree(Table("UTL", {{"IDUTL", ado::adInteger, 4},
                          {"NOM", ado::adVarWChar, 30},
                          {"ACTIF", ado::adBoolean, 1},
                          {"MEMO", ado::adLongVarWChar},
                          {"D", ado::adDate},
                          {"N", ado::adSmallInt, 2},
                          {"O", ado::adUnsignedTinyInt, 1},
                          {"X", ado::adDouble, 8}}));
  base.Rouvre();
  auto& tbl = base->ListeTbl("UTL");
  EXPECT_THAT(Champs(tbl), ElementsAre("idutl", "nom", "actif", "memo", "d", "n", "o", "x"));
  EXPECT_EQ(tbl.ListeFld("nom").Typ(), ado::adVarWChar);
  EXPECT_EQ(tbl.ListeFld("nom").Lg(), 30);
  EXPECT_EQ(tbl.ListeFld("memo").Typ(), ado::adLongVarWChar);
  EXPECT_EQ(tbl.ListeFld("d").Typ(), ado::adDate);
}

TEST_P(Structure, ADroppedTableIsGoneFromBackendListAndCatalog) {
  BaseOuverte base(Sur());
  base.Cree(Table("UTL", {{"NOM", ado::adVarWChar, 30}}));
  base.Cree(Table("VLM", {{"NOM", ado::adVarWChar, 30}}));
  base->SupTbl("UTL");
  EXPECT_FALSE(base->ExisteTbl("UTL"));
  EXPECT_EQ(runtime::IgnoringErrors([&] { (void)base->ListeTbl("UTL"); }).number, 9);
  EXPECT_TRUE(base->ExisteTbl("VLM"));
  if (Capacite().creeTables) {
    EXPECT_THAT(CatalogueChamps(*base, "UTL"), IsEmpty());
    EXPECT_THAT(CatalogueChamps(*base, "VLM"), ElementsAre("0 nom"));
  }
  base.Rouvre();
  EXPECT_EQ(runtime::IgnoringErrors([&] { (void)base->ListeTbl("UTL"); }).number, 9);
}

TEST_P(Structure, AnAddedFieldStandsInBackendMemoryAndCatalog) {
  BaseOuverte base(Sur());
  auto& tbl = base.Cree(Table("UTL", {{"A", ado::adInteger, 4}}));
  tbl.AddFld("B", ado::adVarWChar, 20, false);
  tbl.AddFld("C", ado::adDate, 0, false);
  EXPECT_THAT(Champs(tbl), ElementsAre("a", "b", "c"));
  EXPECT_THAT(ColonnesDuBackend(*base, "UTL"), ElementsAre("a", "b", "c"));
  if (Capacite().creeTables) {
    EXPECT_THAT(CatalogueChamps(*base, "UTL"), ElementsAre("0 a", "1 b", "2 c"));
  }
  base.Rouvre();
  EXPECT_THAT(Champs(base->ListeTbl("UTL")), ElementsAre("a", "b", "c"));
  EXPECT_EQ(base->ListeTbl("UTL").ListeFld("b").Lg(), 20);
}

TEST_P(Structure, ADroppedFieldLeavesDenseNumbersInTheCatalog) {
  BaseOuverte base(Sur());
  auto& tbl = base.Cree(Table(
      "UTL",
      {{"A", ado::adInteger, 4}, {"B", ado::adInteger, 4}, {"C", ado::adInteger, 4}, {"D", ado::adInteger, 4}, {"E", ado::adInteger, 4}}));
  tbl.SupFld("C");
  EXPECT_THAT(Champs(tbl), ElementsAre("a", "b", "d", "e"));
  EXPECT_THAT(ColonnesDuBackend(*base, "UTL"), ElementsAre("a", "b", "d", "e"));
  if (Capacite().creeTables) {
    EXPECT_THAT(CatalogueChamps(*base, "UTL"), ElementsAre("0 a", "1 b", "2 d", "3 e"));
  }
}

TEST_P(Structure, ARefusedDropOfTheLastFieldLeavesEverythingAsItWas) {
  BaseOuverte base(Sur());
  auto& tbl = base.Cree(Table("UTL", {{"A", ado::adInteger, 4}}));
  tbl.SupFld("A");
  EXPECT_THAT(Champs(tbl), ElementsAre("a"));
  EXPECT_THAT(ColonnesDuBackend(*base, "UTL"), ElementsAre("a"));
  if (Capacite().creeTables) {
    EXPECT_THAT(CatalogueChamps(*base, "UTL"), ElementsAre("0 a"));
  }
}

TEST_P(Structure, AnIndexIsCreatedUsedAndDropped) {
  if (!Capacite().creeTables) GTEST_SKIP() << "the layer creates no index on a generic ODBC source";
  BaseOuverte base(Sur());
  auto& tbl = base.Cree(Table("UTL", {{"A", ado::adInteger, 4}, {"B", ado::adInteger, 4}}));
  tbl.AddIdx("ix1", "A;-B", false, true);
  tbl.AddIdx("ix2", "B", false, false);
  const char* ix1 = Capacite().indexDescendant ? "IX1(a;-b)u" : "IX1(a;b)u";
  EXPECT_THAT(Index(tbl), ElementsAre(ix1, "IX2(b)"));
  base->ExecuteSQL("INSERT INTO [UTL] ([A],[B]) VALUES (1,2)");
  const auto doublon = runtime::IgnoringErrors([&] { base->ExecuteSQL("INSERT INTO [UTL] ([A],[B]) VALUES (1,2)"); });
  EXPECT_EQ(doublon.number, runtime::kDuplicateKey) << doublon.description;

  base.Rouvre();
  auto& rouverte = base->ListeTbl("UTL");
  EXPECT_THAT(Index(rouverte), ElementsAre(ix1, "IX2(b)"));
  rouverte.SupIdx("IX1");
  rouverte.SupIdx("IX2");
  EXPECT_THAT(Index(rouverte), IsEmpty());
  base->ExecuteSQL("INSERT INTO [UTL] ([A],[B]) VALUES (1,2)");
  base.Rouvre();
  EXPECT_THAT(Index(base->ListeTbl("UTL")), IsEmpty());
}

TEST_P(Structure, APrimaryKeyOfANewTableIsUnique) {
  if (!Capacite().creeTables) GTEST_SKIP() << "the layer creates no index on a generic ODBC source";
  BaseOuverte base(Sur());
  auto definition = Table("UTL", {{"A", ado::adInteger, 4}, {"B", ado::adInteger, 4}});
  definition->AddIdx(Capacite().nomPrimary ? "PRIMARY" : "PK_UTL", "A", true, true);
  auto& tbl = base.Cree(std::move(definition));
  base->ExecuteSQL("INSERT INTO [UTL] ([A],[B]) VALUES (1,2)");
  EXPECT_EQ(runtime::IgnoringErrors([&] { base->ExecuteSQL("INSERT INTO [UTL] ([A],[B]) VALUES (1,3)"); }).number, runtime::kDuplicateKey);
  tbl.SupIdx(Capacite().nomPrimary ? "PRIMARY" : "PK_UTL");
  EXPECT_EQ(tbl.NbIdx(), 0);
  base->ExecuteSQL("INSERT INTO [UTL] ([A],[B]) VALUES (1,3)");
}

TEST_P(Structure, ANewTableWithAPlainIndexIsCreatedOrRefusedWhole) {
  if (!Capacite().creeTables) GTEST_SKIP() << "the layer creates no index on a generic ODBC source";
  BaseOuverte base(Sur());
  auto definition = Table("UTL", {{"A", ado::adInteger, 4}});
  definition->AddIdx("IX", "A", false, false);
  const auto erreur = runtime::IgnoringErrors([&] { base->AddTbl(std::move(definition)); });
  EXPECT_EQ(erreur.number == 0, Capacite().indexSimple) << erreur.description;
  EXPECT_EQ(base->ExisteTbl("UTL"), Capacite().indexSimple);
  EXPECT_EQ(runtime::IgnoringErrors([&] { (void)base->ListeTbl("UTL"); }).number, Capacite().indexSimple ? 0 : 9);
}

TEST_P(Structure, ARefusedIndexLeavesMemoryAndCatalogAsTheyWere) {
  if (!Capacite().creeTables) GTEST_SKIP() << "the layer creates no index on a generic ODBC source";
  BaseOuverte base(Sur());
  auto& tbl = base.Cree(Table("UTL", {{"A", ado::adInteger, 4}}));
  base->ExecuteSQL("INSERT INTO [UTL] ([A]) VALUES (1)");
  base->ExecuteSQL("INSERT INTO [UTL] ([A]) VALUES (1)");
  EXPECT_NE(runtime::IgnoringErrors([&] { tbl.AddIdx("IX", "A", false, true); }).number, 0);
  EXPECT_EQ(tbl.NbIdx(), 0);
  base.Rouvre();
  EXPECT_EQ(base->ListeTbl("UTL").NbIdx(), 0);
}

TEST_P(Structure, AnIndexThatWasDroppedBehindTheLayersBackIsCleanedAway) {
  if (!Capacite().creeTables) GTEST_SKIP() << "the layer creates no index on a generic ODBC source";
  BaseOuverte base(Sur());
  auto& tbl = base.Cree(Table("UTL", {{"A", ado::adInteger, 4}}));
  tbl.AddIdx("IX", "A", false, false);
  base->ExecuteSQL(Sur().Kind() == db::TypOracle ? "DROP INDEX [UTL_IX]" : "DROP INDEX [IX] ON [UTL]");
  tbl.SupIdx("IX");
  EXPECT_EQ(tbl.NbIdx(), 0);
  base.Rouvre();
  EXPECT_EQ(base->ListeTbl("UTL").NbIdx(), 0);
}

TEST_P(Structure, AFieldThatWasDroppedBehindTheLayersBackHidesNeitherItsTableNorOthers) {
  if (!Capacite().creeTables) GTEST_SKIP() << "a generic ODBC source has no catalog tables";
  BaseOuverte base(Sur());
  base.Cree(Table("UTL", {{"A", ado::adInteger, 4}, {"B", ado::adInteger, 4}, {"C", ado::adInteger, 4}}));
  base.Cree(Table("VLM", {{"A", ado::adInteger, 4}})).AddIdx("IX", "A", false, true);
  base->ExecuteSQL("ALTER TABLE [UTL] DROP COLUMN [B]");
  base.Rouvre();
  EXPECT_THAT(Champs(base->ListeTbl("UTL")), ElementsAre("a", "c"));
  EXPECT_THAT(Champs(base->ListeTbl("VLM")), ElementsAre("a"));
  EXPECT_THAT(Index(base->ListeTbl("VLM")), ElementsAre("IX(a)u"));
  base->RecreeCatalogue();
  EXPECT_THAT(CatalogueChamps(*base, "UTL"), ElementsAre("0 a", "1 c"));
}

TEST_P(Structure, TheCatalogIsRebuiltFromTheTableList) {
  if (!Capacite().creeTables) GTEST_SKIP() << "a generic ODBC source has no catalog tables";
  BaseOuverte base(Sur());
  base.Cree(Table("UTL", {{"A", ado::adInteger, 4}, {"B", ado::adVarWChar, 30}}));
  base->ExecuteSQL("DELETE * FROM [$FLDKORV$]");
  base->RecreeCatalogue();
  EXPECT_THAT(CatalogueChamps(*base, "UTL"), ElementsAre("0 a", "1 b"));
  EXPECT_THAT(CatalogueChamps(*base, "$FLDKORV$"), IsEmpty());
}

TEST_P(Structure, FlagsOfFieldsAndTablesReachTheCatalog) {
  if (!Capacite().creeTables) GTEST_SKIP() << "a generic ODBC source has no catalog tables";
  BaseOuverte base(Sur());
  auto& tbl = base.Cree(Table("UTL", {{"A", ado::adInteger, 4}}));
  tbl.ListeFld("A").Obg(true);
  tbl.AvecMvt(!tbl.AvecMvt());
  auto rs = base->OpenRecordSet("SELECT [OBLIGATOIRE] FROM [$FLDKORV$] WHERE [TABLE]='UTL'", 0);
  EXPECT_TRUE(runtime::ToBoolean(rs.Fields(0).Value()));
  rs.Close();
  rs = base->OpenRecordSet("SELECT [MVT] FROM [$TBLKORV$] WHERE [NOM]='UTL'", 0);
  EXPECT_EQ(runtime::ToBoolean(rs.Fields(0).Value()), tbl.AvecMvt());
}

/// Names that end a text literal, or that the translation of some kind rewrites inside of one.
const std::vector<std::string> kHorsLitteral = {"[x]", "x]y", "d'entrée", "x\"y", "x\\y", "x*y", "cvdate(a)", "a,utl,b"};

TEST_P(Structure, FlagsOfFieldsThatALiteralDoesNotHoldReachTheCatalog) {
  if (!Capacite().creeTables) GTEST_SKIP() << "a generic ODBC source has no catalog tables";
  BaseOuverte base(Sur());
  auto& tbl = base.Cree(Table("UTL", {{"A", ado::adInteger, 4}}));
  int pris = 0;
  for (const std::string& nom : kHorsLitteral) {
    if (runtime::IgnoringErrors([&] { tbl.AddFld(nom, ado::adInteger, 4, false); })) continue;
    ++pris;
    tbl.ListeFld(nom).Obg(true);
    auto rs = base->OpenRecordSet("SELECT * FROM [$FLDKORV$]", 0);
    bool vu = false;
    for (; !rs.Eof(); rs.MoveNext()) {
      if (runtime::TrimRight(runtime::ToText(rs.Fields("NOM").Value())) != nom) continue;
      vu = true;
      EXPECT_TRUE(runtime::ToBoolean(rs.Fields("OBLIGATOIRE").Value())) << nom;
    }
    EXPECT_TRUE(vu) << nom;
    rs.Close();
  }
  EXPECT_GT(pris, 0);
}

TEST_P(Structure, IndexesThatALiteralDoesNotHoldGoWithTheirField) {
  if (!Capacite().creeTables) GTEST_SKIP() << "a generic ODBC source has no catalog tables";
  BaseOuverte base(Sur());
  auto& tbl = base.Cree(Table("UTL", {{"A", ado::adInteger, 4}, {"B", ado::adInteger, 4}}));
  for (const std::string& nom : kHorsLitteral) {
    if (runtime::IgnoringErrors([&] { tbl.AddIdx(nom, "B", false, false); })) continue;
    EXPECT_EQ(Desaccord(base, "UTL"), "") << nom;
  }
  (void)runtime::IgnoringErrors([&] { tbl.SupFld("B"); });
  EXPECT_EQ(Desaccord(base, "UTL"), "");
}

// The translation makes x"y of x'y on MySQL and ODBC: the wrong one went, with its values.
TEST_P(Structure, ANameThatTheTranslationMakesAnothersDropsNothingOfTheOther) {
  if (!Capacite().creeTables) GTEST_SKIP() << "a generic ODBC source has no catalog tables";
  BaseOuverte base(Sur());
  auto& tbl = base.Cree(Table("UTL", {{"A", ado::adInteger, 4}, {"B", ado::adInteger, 4}}));
  for (const char* nom : {"x\"y", "x'y"}) {
    if (runtime::IgnoringErrors([&] { tbl.AddFld(nom, ado::adInteger, 4, false); })) GTEST_SKIP() << "the backend takes no such names";
    if (runtime::IgnoringErrors([&] { tbl.AddIdx(nom, nom, false, false); })) GTEST_SKIP() << "the backend takes no such names";
  }
  tbl.SupIdx("x'y");
  EXPECT_THAT(Index(tbl), ElementsAre(testing::StartsWith("X\"Y")));
  EXPECT_EQ(Desaccord(base, "UTL"), "");
  tbl.SupFld("x'y");
  EXPECT_THAT(Champs(tbl), ElementsAre("a", "b", "x\"y"));
  EXPECT_EQ(Desaccord(base, "UTL"), "");
}

TEST_P(Structure, ATableWhoseNameHoldsOthersIsDroppedAlone) {
  if (!Capacite().creeTables) GTEST_SKIP() << "a generic ODBC source has no catalog tables";
  BaseOuverte base(Sur());
  base.Cree(Table("A", {{"X", ado::adInteger, 4}}));
  base.Cree(Table("B", {{"X", ado::adInteger, 4}}));
  int pris = 0;
  for (const char* nom : {"A,B", "A#B", "A -- B", "A B"}) {
    if (runtime::IgnoringErrors([&] { base.Cree(Table(nom, {{"X", ado::adInteger, 4}})); })) continue;
    ++pris;
    (void)runtime::IgnoringErrors([&] { base->SupTbl(nom); });
    base->Catalogue().Refresh();
    EXPECT_NE(base->Catalogue().Find("A"), nullptr) << nom;
    EXPECT_NE(base->Catalogue().Find("B"), nullptr) << nom;
  }
  EXPECT_GT(pris, 0);
}

TEST_P(Structure, ATableWhoseNameIsNoWordWithoutQuotesIsDropped) {
  if (!Capacite().creeTables) GTEST_SKIP() << "a generic ODBC source has no catalog tables";
  BaseOuverte base(Sur());
  for (const char* nom : {"TABLE", "SELECT", "1", "1E5"}) {
    base.Cree(Table(nom, {{"X", ado::adInteger, 4}}));
    ASSERT_TRUE(base->ExisteTbl(nom)) << nom;
    base->SupTbl(nom);
    EXPECT_FALSE(base->ExisteTbl(nom)) << nom;
    EXPECT_EQ(base->VerifieCatalogue(nom).size(), 0U) << nom;
  }
}

TEST_P(Structure, ATableThatAnotherProgramHasMadeIsDroppedAndOneThatItHasDroppedIsGone) {
  if (!Capacite().creeTables) GTEST_SKIP() << "a generic ODBC source has no catalog tables";
  BaseOuverte base(Sur());
  base.Cree(Table("ANCIENNE", {{"X", ado::adInteger, 4}}));
  BaseOuverte autre(Sur(), base.Nom());
  base.Cree(Table("NEUVE", {{"X", ado::adInteger, 4}}));
  autre->SupTbl("NEUVE");
  base->Catalogue().Refresh();
  EXPECT_EQ(base->Catalogue().Find("NEUVE"), nullptr);
  ASSERT_TRUE(autre->ExisteTbl("ANCIENNE"));
  base->SupTbl("ANCIENNE");
  autre->SupTbl("ANCIENNE");
  base.Rouvre();
  EXPECT_EQ(base->VerifieCatalogue().size(), 0U);
}

TEST_P(Structure, RelationsAreReadFromTheirTableAtTheOpening) {
  if (!Capacite().creeTables) GTEST_SKIP() << "a generic ODBC source has no catalog tables";
  BaseOuverte base(Sur());
  base->ExecuteSQL(
      "INSERT INTO [$RLTKORV$] ([ALIASSRC],[FLDSRC],[ALIASCBL],[FLDCBL],[TYP],[TYPINV],[OBLIGATOIRE]) VALUES ('UTL','idutl','VLMUTL','idutl',1,2,1)");
  base.Rouvre();
  ASSERT_EQ(base->NbRlt(), 1);
  const db::DbRlt& rlt = base->ListeRlt(0);
  EXPECT_EQ(runtime::TrimRight(rlt.AliasSrc()), "UTL");
  EXPECT_EQ(runtime::TrimRight(rlt.FldCbl()), "idutl");
  EXPECT_EQ(rlt.Typ(), 1);
  EXPECT_EQ(rlt.TypInv(), 2);
  EXPECT_TRUE(rlt.Obg());
}

TEST_P(Structure, NullsAreTakenWhereTheColumnTypesHaveThem) {
  BaseOuverte base(Sur());
  base.Cree(Table("UTL", {{"ID", ado::adInteger, 4}, {"T", ado::adVarWChar, 30}, {"M", ado::adLongVarWChar}, {"B", ado::adBoolean, 1}}));
  for (const char* texte : {"T", "M"}) {
    base->ExecuteSQL("DELETE * FROM [UTL]");
    const char* autre = *texte == 'T' ? "M" : "T";
    const auto erreur = runtime::IgnoringErrors(
        [&] { base->ExecuteSQL(std::string("INSERT INTO [UTL] ([ID],[") + texte + "],[" + autre + "]) VALUES (1,NULL,'x')"); });
    EXPECT_EQ(erreur.number, Capacite().texteNul ? 0 : runtime::kProviderFailure) << erreur.description;
    EXPECT_EQ(base->GetCptSuiv("[UTL]", "ID"), Capacite().texteNul ? 2 : 1);
  }
  base->ExecuteSQL("INSERT INTO [UTL] ([ID],[T],[M],[B]) VALUES (5,'x','x',NULL)");
  auto rs = base->OpenRecordSet("SELECT [B] FROM [UTL] WHERE [ID]=5", 0);
  EXPECT_EQ(rs.Fields(0).Value().IsNull(), Capacite().booleenNul);
}

TEST_P(Structure, ACounterFollowsTheLargestValue) {
  BaseOuverte base(Sur());
  base.Cree(Table("UTL", {{"ID", ado::adInteger, 4}}));
  EXPECT_EQ(base->GetCptSuiv("[UTL]", "ID"), 1);
  base->ExecuteSQL("INSERT INTO [UTL] ([ID]) VALUES (41)");
  EXPECT_EQ(base->GetCptSuiv("[UTL]", "ID"), 42);
}

TEST_P(Structure, RollingBackUndoesWhereTheLayerHasTransactions) {
  BaseOuverte base(Sur());
  base.Cree(Table("UTL", {{"ID", ado::adInteger, 4}}));
  base->BeginTrans();
  base->ExecuteSQL("INSERT INTO [UTL] ([ID]) VALUES (1)");
  base->RollBack();
  EXPECT_EQ(base->GetCptSuiv("[UTL]", "ID"), Capacite().transactions ? 1 : 2);
}

TEST_P(Structure, NamesWithAccentsSlashesAndBlanksWork) {
  BaseOuverte base(Sur());
  auto& tbl = base.Cree(Table("Straße/Postfach", {{"Prénom œ", ado::adVarWChar, 30}, {"N° (1)", ado::adInteger, 4}}));
  auto rs = base->OpenRecordSet("SELECT * FROM [" + tbl.Nom() + "]", 2);
  rs.AddNew();
  rs.Fields("prénom œ").Value("été");
  rs.Fields("N° (1)").Value(7);
  rs.Update();
  rs.Close();
  rs = base->OpenRecordSet("SELECT * FROM [" + tbl.Nom() + "]", 0);
  EXPECT_EQ(runtime::TrimRight(runtime::ToText(rs.Fields(0).Value())), "été");
  EXPECT_EQ(runtime::ToInt16(rs.Fields(1).Value()), 7);
  rs.Close();
  base.Rouvre();
  auto& rouverte = base->ListeTbl("straße/postfach");
  EXPECT_THAT(Champs(rouverte), ElementsAre("prénom œ", "n° (1)"));
}

TEST_P(Structure, ANameWithAQuotingCharacterIsRefusedAndNothingElseIsHarmed) {
  BaseOuverte base(Sur());
  base.Cree(Table("UTL", {{"A", ado::adInteger, 4}}));
  for (const char* nom : {"X]Y", "X`Y", "X\"Y", "X'Y"}) {
    runtime::IgnoringErrors([&] { base.Cree(Table(nom, {{"A", ado::adInteger, 4}})); });
    runtime::IgnoringErrors([&] { base->SupTbl(nom); });
  }
  EXPECT_TRUE(base->ExisteTbl("UTL"));
  base->ExecuteSQL("INSERT INTO [UTL] ([A]) VALUES (1)");
  base.Rouvre();
  EXPECT_THAT(Champs(base->ListeTbl("UTL")), ElementsAre("a"));
}

/// A random edit of a table: fields and indexes come and go, and rows come.
void Edite(db::DbTbl& tbl, db::DataBase& base, std::mt19937& hasard) {
  const auto tire = [&](int nombre) { return static_cast<int>(hasard() % static_cast<unsigned>(nombre)); };
  const std::string champ = "F" + std::to_string(tire(6));
  // The engine that stands for SQL Server takes an index name once in a database.
  const std::string index = tbl.Nom() + "IX" + std::to_string(tire(3));
  switch (tire(5)) {
    case 0:
      tbl.AddFld(champ, tire(2) == 0 ? ado::adInteger : ado::adDate, 4, false);
      break;
    case 1:
      if (!tbl.ExisteIdxSurFld(champ)) tbl.SupFld(champ);
      break;
    case 2: {
      const std::string premier = tbl.ListeFld(std::to_string(tire(tbl.NbFld()))).Nom();
      tbl.AddIdx(index, premier == "id" ? "ID" : premier + ";ID", false, tire(2) == 0);
      break;
    }
    case 3:
      tbl.SupIdx(index);
      break;
    default: {
      const std::string id = std::to_string(base.GetCptSuiv("[" + tbl.Nom() + "]", "ID"));
      base.ExecuteSQL("INSERT INTO [" + tbl.Nom() + "] ([ID]) VALUES (" + id + ")");
    }
  }
}

TEST_P(Structure, ARandomHistoryOfEditsIsTheSameAfterOpeningAgain) {
  if (!Capacite().creeTables) GTEST_SKIP() << "the layer edits no structure on a generic ODBC source";
  BaseOuverte base(Sur());
  std::mt19937 hasard(20031);
  const std::vector<std::string> tables = {"T1", "T2", "T3"};
  const auto etat = [&] {
    std::vector<std::string> lignes;
    for (const std::string& nom : tables) {
      if (!base->ExisteTbl(nom)) continue;
      db::DbTbl& tbl = base->ListeTbl(nom);
      lignes.push_back(nom);
      for (const std::string& champ : Champs(tbl)) lignes.push_back(champ);
      EXPECT_THAT(ColonnesDuBackend(*base, nom), testing::UnorderedElementsAreArray(Champs(tbl)));
      std::vector<std::string> index = Index(tbl);
      std::sort(index.begin(), index.end());
      lignes.insert(lignes.end(), index.begin(), index.end());
      lignes.push_back(std::to_string(base->GetCptSuiv("[" + nom + "]", "ID")));
    }
    return lignes;
  };
  for (int pas = 0; pas < 120; ++pas) {
    const std::string& nom = tables[hasard() % tables.size()];
    if (!base->ExisteTbl(nom)) {
      base.Cree(Table(nom, {{"ID", ado::adInteger, 4}, {"F0", ado::adInteger, 4}}));
    } else if (hasard() % 15 == 0) {
      base->SupTbl(nom);
    } else {
      Edite(base->ListeTbl(nom), *base, hasard);
    }
    if (pas % 20 != 19) continue;
    const auto avant = etat();
    base.Rouvre();
    ASSERT_EQ(etat(), avant) << "step " << pas;
  }
}

TEST(AccessFile, ThatIsDamagedIsToldWhenItIsClosed) {
  Backend& backend = BackendNomme("Jet");
  const std::string nom = backend.BaseVide();
  {
    BaseOuverte base(backend, nom);
    base.Cree(Table("UTL", {{"A", ado::adInteger, 4}})).AddIdx("IX", "A", false, true);
    base->ExecuteSQL("INSERT INTO [UTL] ([A]) VALUES (1)");
  }
  ASSERT_EQ(backend.Defauts(nom), "");
  std::fstream fichier(nom, std::ios::in | std::ios::out | std::ios::binary);
  fichier.seekp(-4096 + 2, std::ios::end);  // the free space that the last page tells
  fichier.write("\x34\x12", 2);
  fichier.close();
  EXPECT_NE(backend.Defauts(nom), "");
}

TEST(Type131, OnSqlServerTheColumnHasNoTypeAndTheServerRefusesTheTable) {
  BaseOuverte base(BackendNomme("SqlServer"));
  const auto erreur = runtime::IgnoringErrors([&] { base->AddTbl(Table("T", {{"A", ado::adNumeric}, {"B", ado::adInteger, 4}})); });
  EXPECT_NE(erreur.number, 0);
  EXPECT_FALSE(base->ExisteTbl("T"));
  EXPECT_EQ(runtime::IgnoringErrors([&] { (void)base->ListeTbl("T"); }).number, 9);
}

TEST(Type72, OnMySqlIsError5AndNoTable) {
  BaseOuverte base(BackendNomme("MariaDb"));
  const auto erreur = runtime::IgnoringErrors([&] { base->AddTbl(Table("T", {{"A", ado::adInteger, 4}, {"G", ado::adGUID}})); });
  EXPECT_EQ(erreur.number, 5);
  EXPECT_EQ(erreur.description, "Type 72 non géré");
  EXPECT_FALSE(base->ExisteTbl("T"));
}

}  // namespace
}  // namespace tamlo::tests
