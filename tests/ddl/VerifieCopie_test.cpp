#include "db/copie/EmpreinteLigne.h"
#include "tests/ddl/BaseEnregistree.h"

namespace tamlo::tests {
namespace {

using runtime::Date;
using runtime::Null;
using runtime::Variant;
using Rangees = std::vector<std::vector<Variant>>;

class VerifieCopie : public testing::Test {
 protected:
  static void Ajoute(BaseEnregistree& base, const std::vector<ado::Column>& colonnes, const Rangees& rangees) {
    ScriptedTable table;
    table.name = "T";
    table.columns = colonnes;
    table.rows = rangees;
    base.Provider().AddTable(std::move(table));
    base.Base().Catalogue().Refresh();
  }
  db::VerifieBilan Compare(const std::vector<ado::Column>& ici, const Rangees& source, const std::vector<ado::Column>& labas,
                           const Rangees& cible) {
    Ajoute(source_, ici, source);
    Ajoute(cible_, labas, cible);
    return source_.Base().VerifieCopie("T", cible_.Base());
  }
  db::VerifieBilan Compare(const std::vector<ado::Column>& colonnes, const Rangees& source, const Rangees& cible) {
    return Compare(colonnes, source, colonnes, cible);
  }
  /// Makes ID the key of T on the source.
  void Cle() {
    auto tbl = Definition("T");
    tbl->AddFld("ID", ado::adInteger, 4, false);
    tbl->AddIdx("PK", "ID", true, true);
    source_.Base().AddTbl(std::move(tbl));
    source_.Base().Connexion().Execute("DROP TABLE T");
  }

  BaseEnregistree source_{db::TypSqlServer, "SOURCE"};
  BaseEnregistree cible_{db::TypOracle, "CIBLE"};
};

const std::vector<ado::Column> kIdNom = {MakeColumn("ID", ado::adInteger), MakeColumn("NOM", ado::adVarWChar, 30)};

TEST_F(VerifieCopie, EqualRowsInAnyOrderAreEqual) {
  const auto bilan = Compare(kIdNom, {{1, "a"}, {2, "b"}, {2, "b"}}, {{2, "b"}, {1, "a"}, {2, "b"}});
  EXPECT_TRUE(bilan.Egales());
  EXPECT_EQ(bilan.lignesSource, 3);
  EXPECT_EQ(bilan.lignesCible, 3);
  EXPECT_EQ(bilan.premiereDifference, "");
}

TEST_F(VerifieCopie, AMissingRowIsOneDifference) {
  const auto bilan = Compare(kIdNom, {{1, "a"}, {2, "b"}}, {{1, "a"}});
  EXPECT_FALSE(bilan.Egales());
  EXPECT_EQ(bilan.differences, 1);
  EXPECT_EQ(bilan.premiereDifference, "table T, ligne 2 : absente de la cible");
}

TEST_F(VerifieCopie, ARepeatedRowCountsEachTime) {
  const auto bilan = Compare(kIdNom, {{1, "a"}}, {{1, "a"}, {1, "a"}});
  EXPECT_EQ(bilan.differences, 1);
  EXPECT_EQ(bilan.premiereDifference, "table T, ligne 1 de la cible : absente de la source");
}

TEST_F(VerifieCopie, WithAKeyTheColumnIsNamed) {
  Cle();
  const auto bilan = Compare(kIdNom, {{1, "a"}, {7, "b"}, {8, "c"}}, {{8, "c"}, {7, "B"}, {1, "a"}});
  EXPECT_EQ(bilan.differences, 1);
  EXPECT_EQ(bilan.premiereDifference, "table T, ligne 2 (clé ID=7), colonne NOM");
}

TEST_F(VerifieCopie, BlankTextsAndTrailingBlanksAreNoDifference) {
  EXPECT_TRUE(Compare(kIdNom, {{1, "a  "}, {2, "   "}, {3, ""}}, {{1, "a"}, {2, Null{}}, {3, "                "}}).Egales());
}

TEST_F(VerifieCopie, LeadingBlanksAreADifference) { EXPECT_EQ(Compare(kIdNom, {{1, " a"}}, {{1, "a"}}).differences, 1); }

TEST_F(VerifieCopie, ABooleanIsTrueForAnyNumberButZero) {
  EXPECT_TRUE(Compare({MakeColumn("B", ado::adBoolean)}, {{true}, {false}, {Null{}}}, {MakeColumn("B", ado::adNumeric)},
                      {{std::int16_t{-1}}, {runtime::Decimal{"0"}}, {Null{}}})
                  .Egales());
}

TEST_F(VerifieCopie, ANullBooleanIsNotFalse) {
  EXPECT_EQ(Compare({MakeColumn("B", ado::adBoolean)}, {{Null{}}}, {{false}}).differences, 1);
}

TEST_F(VerifieCopie, NumbersOfOtherTypesAreComparedByTheirValue) {
  EXPECT_TRUE(Compare({MakeColumn("A", ado::adInteger), MakeColumn("B", ado::adSingle), MakeColumn("C", ado::adCurrency)},
                      {{12, 0.1F, runtime::Currency{125000}}},
                      {MakeColumn("A", ado::adNumeric), MakeColumn("B", ado::adDouble), MakeColumn("C", ado::adNumeric)},
                      {{runtime::Decimal{"12.00"}, 0.1, runtime::Decimal{"12.5000"}}})
                  .Egales());
}

TEST_F(VerifieCopie, ALastDigitOfADoubleIsADifference) {
  EXPECT_EQ(Compare({MakeColumn("A", ado::adDouble)}, {{0.1}}, {{0.10000000000001}}).differences, 1);
}

TEST_F(VerifieCopie, DatesAreComparedToTheSecond) {
  EXPECT_TRUE(
      Compare({MakeColumn("D", ado::adDate)}, {{Date{37653.5}}}, {MakeColumn("D", ado::adDBTimeStamp)}, {{Date{37653.5 + 0.2 / 86400}}})
          .Egales());
}

TEST_F(VerifieCopie, AnEmptyLongTextIsNotANull) {
  EXPECT_EQ(Compare({MakeColumn("M", ado::adLongVarWChar)}, {{""}}, {{Null{}}}).differences, 1);
}

TEST_F(VerifieCopie, AColumnThatTheTargetLacksIsAnError) {
  EXPECT_EQ(Erreur([&] { (void)Compare(kIdNom, {}, {MakeColumn("ID", ado::adInteger)}, {}); }).number, 3265);
}

}  // namespace
}  // namespace tamlo::tests
