#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "tests/backends/Accord.h"
#include "tests/backends/Backend.h"

namespace tamlo::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// What drops goes by the name that it was given, never by a position; what the catalog cannot keep is refused before anything is done.
class NomsNombres : public testing::TestWithParam<std::string> {
 protected:
  [[nodiscard]] Backend& Sur() const { return BackendNomme(GetParam()); }

  /// STOCK with the fields ARTICLE, PRIX, 1 and 2, an index named 1 over PRIX and one row of 10, 20, 30, 40.
  [[nodiscard]] static std::unique_ptr<db::DbTbl> Definition() {
    auto definition =
        Table("STOCK", {{"ARTICLE", ado::adInteger, 4}, {"PRIX", ado::adInteger, 4}, {"1", ado::adInteger, 4}, {"2", ado::adInteger, 4}});
    definition->AddIdx("IX", "ARTICLE", false, true);
    definition->AddIdx("UN", "PRIX", false, true);
    definition->ListeIdx("UN").Nom("1");
    return definition;
  }
  static void Remplis(db::DataBase& base) {
    auto rs = base.OpenRecordSet("SELECT * FROM [STOCK]", 2);
    rs.AddNew();
    for (std::size_t i = 0; i < 4; ++i) rs.Fields(i).Value(static_cast<std::int32_t>(10 * (i + 1)));
    rs.Update();
  }
  static std::vector<int> Valeurs(db::DataBase& base, const std::string& table = "STOCK") {
    std::vector<int> valeurs;
    auto rs = base.OpenRecordSet("SELECT * FROM [" + table + "]", 0);
    for (std::size_t i = 0; i < rs.FieldCount(); ++i) valeurs.push_back(runtime::ToInt32(rs.Fields(i).Value()));
    return valeurs;
  }
};
INSTANTIATE_TEST_SUITE_P(Backends, NomsNombres, testing::Values("Jet", "MariaDb", "Sqlite", "SqlServer", "Oracle"),
                         [](const auto& nom) { return nom.param; });

TEST_P(NomsNombres, AFieldNamedByANumberIsDroppedAndNotTheOneAtThatPosition) {
  BaseOuverte base(Sur());
  base.Cree(Definition());
  Remplis(*base);
  base->ListeTbl("STOCK").SupFld("1");
  EXPECT_THAT(ChampsEnMemoire(base->ListeTbl("STOCK")), ElementsAre("article", "prix", "2"));
  EXPECT_THAT(Valeurs(*base), ElementsAre(10, 20, 40));
  EXPECT_EQ(Desaccord(base, "STOCK"), "");
  base->ListeTbl("STOCK").SupFld(" 2 ");
  EXPECT_THAT(Valeurs(*base), ElementsAre(10, 20));
  base.Rouvre();
  EXPECT_THAT(ChampsEnMemoire(base->ListeTbl("STOCK")), ElementsAre("article", "prix"));
  EXPECT_EQ(Desaccord(base, "STOCK"), "");
}

TEST_P(NomsNombres, ANumberThatNamesNothingDropsNothing) {
  BaseOuverte base(Sur());
  base.Cree(Definition());
  Remplis(*base);
  for (const char* nombre : {"0", "3", "4", "-1", "1.0", "&H1", "32768", "1e9"}) {
    EXPECT_EQ(runtime::IgnoringErrors([&] { base->ListeTbl("STOCK").SupFld(nombre); }).description, "") << nombre;
    EXPECT_EQ(runtime::IgnoringErrors([&] { base->ListeTbl("STOCK").SupIdx(nombre); }).description, "") << nombre;
  }
  EXPECT_THAT(Valeurs(*base), ElementsAre(10, 20, 30, 40));
  EXPECT_EQ(base->ListeTbl("STOCK").NbIdx(), 2);
  EXPECT_EQ(Desaccord(base, "STOCK"), "");
  base.Rouvre();
  EXPECT_EQ(Desaccord(base, "STOCK"), "");
}

TEST_P(NomsNombres, AnIndexNamedByANumberIsDroppedAndNotTheOneAtThatPosition) {
  BaseOuverte base(Sur());
  base.Cree(Definition());
  base->ListeTbl("STOCK").SupIdx("0");
  EXPECT_EQ(base->ListeTbl("STOCK").NbIdx(), 2);
  base->ListeTbl("STOCK").SupIdx("1");
  ASSERT_EQ(base->ListeTbl("STOCK").NbIdx(), 1);
  EXPECT_EQ(base->ListeTbl("STOCK").ListeIdx("0").Nom(), "IX");
  EXPECT_EQ(Desaccord(base, "STOCK"), "");
  base.Rouvre();
  EXPECT_EQ(Desaccord(base, "STOCK"), "");
}

TEST_P(NomsNombres, ADefinitionWithoutADatabaseLosesTheFieldOfThatName) {
  const auto definition = Definition();
  definition->SupFld("0");
  EXPECT_EQ(definition->NbFld(), 4);
  definition->SupFld("1");
  EXPECT_THAT(ChampsEnMemoire(*definition), ElementsAre("article", "prix", "2"));
  definition->SupIdx("0");
  EXPECT_EQ(definition->NbIdx(), 2);
  definition->SupIdx("1");
  EXPECT_EQ(definition->ListeIdx("0").Nom(), "IX");
}

TEST_P(NomsNombres, ATableNamedByANumberIsCopiedAndNotTheOneAtThatPosition) {
  BaseOuverte base(Sur());
  base.Cree(Definition());
  BaseOuverte cible(BackendNomme("Jet"));
  const std::int16_t avant = cible->NbTbl();
  EXPECT_EQ(runtime::IgnoringErrors([&] { (void)base->CopieDonnees("0", *cible); }).number, runtime::kSubscriptOutOfRange);
  EXPECT_EQ(runtime::IgnoringErrors([&] { (void)base->TblCopie("3", *cible, true, true); }).number, runtime::kSubscriptOutOfRange);
  EXPECT_EQ(cible->NbTbl(), avant);
}

TEST_P(NomsNombres, ACopyHasTheIndexesNamedByNumbersToo) {
  if (Sur().Kind() == db::TypOracle) GTEST_SKIP() << "indexes of an Oracle table are not copied";
  BaseOuverte base(Sur());
  base.Cree(Definition());
  BaseOuverte cible(BackendNomme("Jet"));
  (void)base->TblCopie("STOCK", *cible, true, true);
  EXPECT_THAT(IndexEnMemoire(cible->ListeTbl("STOCK")), testing::UnorderedElementsAre("IX(article)u", "1(prix)u"));
  EXPECT_EQ(Desaccord(cible, "STOCK"), "");
}

/// Rows of the catalog that nothing in the backend stands behind.
class LignesPerdues : public NomsNombres {
 protected:
  static void Fantome(BaseOuverte& base, const std::string& table, int no, const std::string& nom) {
    auto rs = base->OpenRecordSet("SELECT * FROM [$FLDKORV$]", 2);
    rs.AddNew();
    rs.Fields("TABLE").Value(table);
    rs.Fields("NO").Value(no);
    rs.Fields("NOM").Value(nom);
    rs.Update();
  }
  static void CreeUtl(BaseOuverte& base) { base.Cree(Table("UTL", {{"A", ado::adInteger, 4}, {"B", ado::adInteger, 4}})); }
};
INSTANTIATE_TEST_SUITE_P(Backends, LignesPerdues, testing::Values("Jet", "MariaDb", "SqlServer", "Oracle"),
                         [](const auto& nom) { return nom.param; });

TEST_P(LignesPerdues, AFieldIsAddedBehindThem) {
  BaseOuverte base(Sur());
  CreeUtl(base);
  Fantome(base, "UTL", 2, "fantome");
  base.Rouvre();
  EXPECT_EQ(runtime::IgnoringErrors([&] { base->ListeTbl("UTL").AddFld("C", ado::adInteger, 4, false); }).description, "");
  base.Rouvre();
  EXPECT_THAT(ChampsEnMemoire(base->ListeTbl("UTL")), ElementsAre("a", "b", "c"));
  EXPECT_EQ(base->ListeTbl("UTL").ListeFld("c").No(), 3);
}

TEST_P(LignesPerdues, ThatCameSinceTheTableWasLoadedDoNotStopAnEditEither) {
  BaseOuverte base(Sur());
  CreeUtl(base);
  base.Rouvre();
  Fantome(base, "UTL", 2, "fantome");
  EXPECT_EQ(runtime::IgnoringErrors([&] { base->ListeTbl("UTL").AddFld("C", ado::adInteger, 4, false); }).description, "");
  base.Rouvre();
  EXPECT_THAT(ChampsEnMemoire(base->ListeTbl("UTL")), ElementsAre("a", "b", "c"));
  EXPECT_EQ(base->ListeTbl("UTL").ListeFld("c").No(), 3);
}

TEST_P(LignesPerdues, DoNotStopADrop) {
  BaseOuverte base(Sur());
  CreeUtl(base);
  base->ListeTbl("UTL").AddFld("C", ado::adInteger, 4, false);
  base->ExecuteSQL("UPDATE [$FLDKORV$] SET [NO]=5 WHERE [TABLE]='UTL' AND [NOM]='c'");
  base->ExecuteSQL("UPDATE [$FLDKORV$] SET [NO]=4 WHERE [TABLE]='UTL' AND [NOM]='b'");
  for (int no = 1; no < 4; ++no) Fantome(base, "UTL", no, "fantome" + std::to_string(no));
  base.Rouvre();
  EXPECT_THAT(ChampsEnMemoire(base->ListeTbl("UTL")), ElementsAre("a", "b", "c"));
  EXPECT_EQ(runtime::IgnoringErrors([&] { base->ListeTbl("UTL").SupFld("B"); }).description, "");
  base.Rouvre();
  EXPECT_THAT(ChampsEnMemoire(base->ListeTbl("UTL")), ElementsAre("a", "c"));
  EXPECT_EQ(base->ListeTbl("UTL").ListeFld("c").No(), 4);
}

TEST_P(LignesPerdues, OfThatNameDoNotMakeANewFieldTwo) {
  BaseOuverte base(Sur());
  CreeUtl(base);
  Fantome(base, "UTL", 7, "c");
  base.Rouvre();
  EXPECT_EQ(runtime::IgnoringErrors([&] { base->ListeTbl("UTL").AddFld("C", ado::adInteger, 4, false); }).description, "");
  base.Rouvre();
  EXPECT_THAT(ChampsEnMemoire(base->ListeTbl("UTL")), ElementsAre("a", "b", "c"));
}

TEST_P(LignesPerdues, OfATableOfThatNameDoNotStopANewOne) {
  BaseOuverte base(Sur());
  Fantome(base, "UTL", 0, "vieux");
  Fantome(base, "UTL", 1, "fantome");
  base->ExecuteSQL("INSERT INTO [$TBLKORV$] ([NOM],[MVT]) VALUES ('UTL',0)");
  EXPECT_EQ(runtime::IgnoringErrors([&] { CreeUtl(base); }).description, "");
  EXPECT_EQ(Desaccord(base, "UTL"), "");
  base.Rouvre();
  EXPECT_EQ(Desaccord(base, "UTL"), "");
}

/// Names and lists that the catalog's columns cannot hold.
class NomsTropLongs : public NomsNombres {
 protected:
  static inline const std::string k30 = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123";
  static inline const std::string k31 = k30 + "4";
};
INSTANTIATE_TEST_SUITE_P(Backends, NomsTropLongs, testing::Values("Jet", "MariaDb", "SqlServer", "Oracle"),
                         [](const auto& nom) { return nom.param; });

TEST_P(NomsTropLongs, OfAFieldOrIndexAreRefusedBeforeAnythingIsDone) {
  BaseOuverte base(Sur());
  base.Cree(Table("UTL", {{k30.c_str(), ado::adInteger, 4}, {"ABCDEFGHIJKLMNOPQRSTUVWXYZ", ado::adInteger, 4}}));
  db::DbTbl& tbl = base->ListeTbl("UTL");
  const auto champ = runtime::IgnoringErrors([&] { tbl.AddFld(k31, ado::adInteger, 4, false); });
  EXPECT_EQ(champ.number, runtime::kInvalidArgument);
  EXPECT_EQ(champ.description, "Nom de champ \"" + k31 + "\" : 31 caractères, le catalogue en tient 30");
  const auto index = runtime::IgnoringErrors([&] { tbl.AddIdx(k31, k30, false, true); });
  EXPECT_EQ(index.number, runtime::kInvalidArgument);
  EXPECT_EQ(index.description, "Nom d'index \"" + k31 + "\" : 31 caractères, le catalogue en tient 30");
  const auto liste = runtime::IgnoringErrors([&] { tbl.AddIdx("IX", k30 + ";ABCDEFGHIJKLMNOPQRSTUVWXYZ", false, true); });
  EXPECT_EQ(liste.number, runtime::kInvalidArgument);
  EXPECT_EQ(liste.description,
            "Champs d'index \"abcdefghijklmnopqrstuvwxyz0123;abcdefghijklmnopqrstuvwxyz\" : 57 caractères, le catalogue en tient 50");
  EXPECT_EQ(Desaccord(base, "UTL"), "");
  base.Rouvre();
  EXPECT_EQ(base->ListeTbl("UTL").NbFld(), 2);
  EXPECT_EQ(Desaccord(base, "UTL"), "");
}

TEST_P(NomsTropLongs, OfATableAreRefusedBeforeAnythingIsDone) {
  BaseOuverte base(Sur());
  const std::int16_t avant = base->NbTbl();
  const auto nom = runtime::IgnoringErrors([&] { base->AddTbl(Table(k31, {{"A", ado::adInteger, 4}})); });
  EXPECT_EQ(nom.number, runtime::kInvalidArgument);
  EXPECT_EQ(nom.description, "Nom de table \"" + k31 + "\" : 31 caractères, le catalogue en tient 30");
  EXPECT_EQ(runtime::IgnoringErrors([&] {
              base->AddTbl(Table("UTL", {{k31.c_str(), ado::adInteger, 4}}));
            }).number,
            runtime::kInvalidArgument);
  EXPECT_FALSE(base->ExisteTbl(k31));
  EXPECT_FALSE(base->ExisteTbl("UTL"));
  EXPECT_EQ(base->NbTbl(), avant);
}

TEST(CleMySql, OfAnotherNameIsGoneWithItsOnlyField) {
  BaseOuverte base(BackendNomme("MariaDb"));
  auto definition = Table("UTL", {{"A", ado::adInteger, 4}, {"B", ado::adInteger, 4}});
  definition->AddIdx("PK_UTL", "A", true, true);
  base.Cree(std::move(definition));
  base->ListeTbl("UTL").SupFld("A");
  EXPECT_EQ(base->ListeTbl("UTL").NbIdx(), 0);
  EXPECT_EQ(Desaccord(base, "UTL"), "");
  base.Rouvre();
  EXPECT_EQ(base->ListeTbl("UTL").NbIdx(), 0);
  EXPECT_EQ(Desaccord(base, "UTL"), "");
}

TEST(CleMySql, OfAnotherNameKeepsTheFieldThatTheServerDoesNotTakeOutOfIt) {
  BaseOuverte base(BackendNomme("MariaDb"));
  auto definition = Table("UTL", {{"A", ado::adInteger, 4}, {"B", ado::adInteger, 4}, {"C", ado::adInteger, 4}});
  definition->AddIdx("PK_UTL", "A;B", true, true);
  base.Cree(std::move(definition));
  base->ListeTbl("UTL").SupFld("A");
  EXPECT_THAT(ChampsEnMemoire(base->ListeTbl("UTL")), ElementsAre("a", "b", "c"));
  base.Rouvre();
  EXPECT_THAT(IndexEnMemoire(base->ListeTbl("UTL")), ElementsAre("PK_UTL(a;b)u"));
}

}  // namespace
}  // namespace tamlo::tests
