#include "tests/ddl/BaseEnregistree.h"

namespace tamlo::tests {
namespace {

using db::TypJet;
using db::TypMySql;
using db::TypOdbc;
using db::TypOracle;
using db::TypSqlServer;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int32_t kRefus = -2147467259;

TEST(SchemaEdits, DroppingAnUnknownFieldSendsNoStatement) {
  BaseEnregistree base(TypSqlServer);
  auto& tbl = base.AjouteTable("UTL", {"A"});
  tbl.SupFld("inconnu");
  EXPECT_THAT(base.Provider().Log(), IsEmpty());
}

TEST(SchemaEdits, DroppingAnUnknownIndexSendsNoStatement) {
  BaseEnregistree base(TypSqlServer);
  auto& tbl = base.AjouteTable("UTL", {"A"});
  tbl.SupIdx("inconnu");
  EXPECT_THAT(base.Provider().Log(), IsEmpty());
}

TEST(SchemaEdits, DroppingTheMiddleOfThreeFieldsRenumbersTheCatalogFromItsPosition) {
  BaseEnregistree base(TypSqlServer);
  auto& tbl = base.AjouteTable("UTL", {"A", "B", "C"});
  tbl.SupFld("B");
  EXPECT_THAT(base.Provider().Statements(),
              ElementsAre("ALTER TABLE [UTL] DROP COLUMN [B]", "DELETE  FROM [$FLDKORV$] WHERE [TABLE]='UTL' AND [NOM]='b'",
                          "UPDATE [$FLDKORV$] SET [NO]=[NO]-1 WHERE [TABLE]='UTL' AND [NO]>1"));
  EXPECT_EQ(tbl.NbFld(), 2);
  EXPECT_EQ(tbl.ListeFld("1").Nom(), "c");
  EXPECT_EQ(tbl.ListeFld("c").No(), 2) << "numbers in memory stay";
}

TEST(SchemaEdits, ARefusedDropOfAFieldLeavesDefinitionAndCatalogUntouched) {
  BaseEnregistree base(TypSqlServer);
  auto& tbl = base.AjouteTable("UTL", {"A", "B"});
  base.Provider().FailPrefix("ALTER TABLE", kRefus, "column is in use");
  tbl.SupFld("A");
  EXPECT_THAT(base.Provider().Statements(), ElementsAre("ALTER TABLE [UTL] DROP COLUMN [A]"));
  EXPECT_EQ(tbl.NbFld(), 2);
  EXPECT_TRUE(tbl.ExisteFld("A"));
}

TEST(SchemaEdits, AddingAnExistingFieldChangesNothing) {
  BaseEnregistree base(TypOracle);
  auto& tbl = base.AjouteTable("UTL", {"A"});
  tbl.AddFld(" a ", ado::adInteger, 4, false);
  EXPECT_THAT(base.Provider().Log(), IsEmpty());
  EXPECT_EQ(tbl.NbFld(), 1);
}

TEST(SchemaEdits, WithoutADatabaseAFieldMayBeDescribedTwice) {
  auto tbl = Definition("T");
  tbl->AddFld("A", ado::adInteger, 4, false);
  tbl->AddFld("A", ado::adInteger, 4, false);
  EXPECT_EQ(tbl->NbFld(), 2);
}

TEST(SchemaEdits, AnIndexOfADefinitionWithoutADatabaseSendsNothing) {
  BaseEnregistree base(TypMySql);
  auto tbl = Definition("T");
  tbl->AddFld("A", ado::adInteger, 4, false);
  tbl->AddIdx("IX", "-A", false, true);
  EXPECT_THAT(base.Provider().Log(), IsEmpty());
  EXPECT_EQ(tbl->ListeIdx("IX").SFld(), "-a");
}

TEST(SchemaEdits, ARefusedColumnLeavesDefinitionAndCatalogUntouched) {
  BaseEnregistree base(TypMySql);
  auto& tbl = base.AjouteTable("T", {"A"});
  base.Provider().FailPrefix("ALTER TABLE", kRefus, "disk full");
  const auto erreur = Erreur([&] { tbl.AddFld("B", ado::adInteger, 4, false); });
  EXPECT_EQ(erreur.number, kRefus);
  EXPECT_EQ(erreur.description, "disk full");
  EXPECT_EQ(tbl.NbFld(), 1);
  EXPECT_EQ(base.Provider().Count(RecordedCall::Kind::kInsert), 0U);
}

TEST(SchemaEdits, ARefusedIndexLeavesDefinitionAndCatalogUntouched) {
  BaseEnregistree base(TypSqlServer);
  auto& tbl = base.AjouteTable("T", {"A"});
  base.Provider().FailPrefix("CREATE INDEX", kRefus, "duplicate name");
  EXPECT_EQ(Erreur([&] { tbl.AddIdx("IX", "A", false, false); }).number, kRefus);
  EXPECT_EQ(tbl.NbIdx(), 0);
  EXPECT_EQ(base.Provider().Count(RecordedCall::Kind::kInsert), 0U);
}

struct CasSupIdx {
  std::int16_t kind;
  const char* contrainte;
  const char* simple;
  const char* catalogue;
};

class DropIndex : public testing::TestWithParam<CasSupIdx> {
 protected:
  db::DbTbl& AvecIndex(BaseEnregistree& base) {
    auto& tbl = base.AjouteTable("UTL", {"NOM"});
    if (GetParam().kind == TypMySql) {
      base.Provider().AnswerPrefix(
          "SHOW KEYS FROM `UTL`",
          {{MakeField("KEY_NAME", ado::adVarWChar, 64), MakeField("COLUMN_NAME", ado::adVarWChar, 64)}, {{"IX1", "NOM"}}});
    }
    tbl.AddIdx("ix1", "NOM", false, false);
    base.Provider().ClearCalls();
    return tbl;
  }
};
INSTANTIATE_TEST_SUITE_P(SchemaEdits, DropIndex,
                         testing::Values(CasSupIdx{TypJet, "ALTER TABLE [UTL] DROP CONSTRAINT [IX1]", "DROP INDEX [IX1] ON [UTL]",
                                                   "DELETE * FROM [$IDXKORV$] WHERE [TABLE]='UTL' AND [NOM]='IX1'"},
                                         CasSupIdx{TypSqlServer, "ALTER TABLE [UTL] DROP CONSTRAINT [IX1]", "DROP INDEX [IX1] ON [UTL]",
                                                   "DELETE  FROM [$IDXKORV$] WHERE [TABLE]='UTL' AND [NOM]='IX1'"},
                                         CasSupIdx{TypOracle, "ALTER TABLE \"UTL\" DROP CONSTRAINT \"UTL_IX1\"", "DROP INDEX \"UTL_IX1\"",
                                                   "DELETE  FROM \"$IDXKORV$\" WHERE \"TABLE\"='UTL' AND \"NOM\"='IX1'"},
                                         CasSupIdx{TypMySql, "ALTER TABLE `UTL` DROP CONSTRAINT `IX1`", "DROP INDEX `IX1` ON `UTL`",
                                                   "DELETE  FROM `$IDXKORV$` WHERE `TABLE`=\"UTL\" AND `NOM`=\"IX1\""}),
                         [](const auto& cas) { return "Kind" + std::to_string(cas.param.kind); });

TEST_P(DropIndex, ADroppedConstraintCleansMemoryAndCatalog) {
  BaseEnregistree base(GetParam().kind);
  auto& tbl = AvecIndex(base);
  tbl.SupIdx("IX1");
  EXPECT_THAT(base.Provider().Statements(), ElementsAre(GetParam().contrainte, GetParam().catalogue));
  EXPECT_EQ(tbl.NbIdx(), 0);
}

TEST_P(DropIndex, WhereItIsNoConstraintTheBackendsPlainFormDropsIt) {
  BaseEnregistree base(GetParam().kind);
  auto& tbl = AvecIndex(base);
  base.Provider().FailPrefix("ALTER TABLE", kRefus, "no constraint of that name");
  tbl.SupIdx("IX1");
  EXPECT_THAT(base.Provider().Statements(), ElementsAre(GetParam().contrainte, GetParam().simple, GetParam().catalogue));
  EXPECT_EQ(tbl.NbIdx(), 0);
}

TEST_P(DropIndex, WhenBothAreRefusedAndItIsStillThereEverythingStays) {
  BaseEnregistree base(GetParam().kind);
  auto& tbl = AvecIndex(base);
  base.Provider().FindTable("UTL")->indexes = {MakeIndex(GetParam().kind == TypOracle ? "UTL_IX1" : "IX1", {"NOM"})};
  base.Provider().FailPrefix("ALTER TABLE", kRefus, "refused");
  base.Provider().FailPrefix("DROP INDEX", kRefus, "refused");
  tbl.SupIdx("IX1");
  EXPECT_THAT(base.Provider().Statements(), ElementsAre(GetParam().contrainte, GetParam().simple));
  EXPECT_EQ(tbl.NbIdx(), 1);
}

TEST_P(DropIndex, WhenBothAreRefusedBecauseItIsGoneMemoryAndCatalogAreCleaned) {
  BaseEnregistree base(GetParam().kind);
  auto& tbl = AvecIndex(base);
  base.Provider().FindTable("UTL")->indexes.clear();
  base.Provider().FailPrefix("ALTER TABLE", kRefus, "refused");
  base.Provider().FailPrefix("DROP INDEX", kRefus, "refused");
  tbl.SupIdx("IX1");
  EXPECT_THAT(base.Provider().Statements(), ElementsAre(GetParam().contrainte, GetParam().simple, GetParam().catalogue));
  EXPECT_EQ(tbl.NbIdx(), 0);
}

TEST(SchemaEdits, AMySqlPrimaryKeyIsDroppedByItsOwnForm) {
  BaseEnregistree base(TypMySql);
  auto& tbl = base.AjouteTable("UTL", {"NOM"});
  base.Provider().AnswerPrefix(
      "SHOW KEYS FROM `UTL`",
      {{MakeField("KEY_NAME", ado::adVarWChar, 64), MakeField("COLUMN_NAME", ado::adVarWChar, 64)}, {{"PRIMARY", "NOM"}}});
  tbl.AddIdx("primary", "NOM", true, true);
  base.Provider().ClearCalls();
  base.Provider().FailPrefix("ALTER TABLE `UTL` DROP CONSTRAINT", kRefus, "refused");
  tbl.SupIdx("PRIMARY");
  EXPECT_THAT(base.Provider().Statements(), ElementsAre("ALTER TABLE `UTL` DROP CONSTRAINT `PRIMARY`", "ALTER TABLE `UTL` DROP PRIMARY KEY",
                                                        "DELETE  FROM `$IDXKORV$` WHERE `TABLE`=\"UTL\" AND `NOM`=\"PRIMARY\""));
}

TEST(SchemaEdits, AnEditSendsNoMoreThanItsStatements) {
  BaseEnregistree base(TypOracle);
  auto& tbl = base.AjouteTable("UTL", {"A"});
  tbl.AddFld("B", ado::adInteger, 4, false);
  tbl.AddIdx("IX", "B", false, false);
  EXPECT_THAT(base.Provider().Statements(),
              ElementsAre("ALTER TABLE \"UTL\" ADD (\"B\"  NUMBER(10,0))", "CREATE INDEX \"UTL_IX\" ON \"UTL\" (\"B\")"));
  EXPECT_EQ(base.Provider().Count(RecordedCall::Kind::kOpenRowset), 2U) << "one recordset for each catalog row";
  EXPECT_EQ(base.Provider().Count(RecordedCall::Kind::kInsert), 2U);
}

struct CasSupTbl {
  std::int16_t kind;
  const char* owner;
  const char* texte;
};

class DropTable : public testing::TestWithParam<CasSupTbl> {};
INSTANTIATE_TEST_SUITE_P(SchemaEdits, DropTable,
                         testing::Values(CasSupTbl{TypJet, "", "DROP TABLE [UTL]"}, CasSupTbl{TypSqlServer, "", "DROP TABLE [UTL]"},
                                         CasSupTbl{TypOracle, "ADM", "DROP TABLE \"ADM\".\"UTL\""},
                                         CasSupTbl{TypOracle, " ", "DROP TABLE \"UTL\""}, CasSupTbl{TypMySql, "", "DROP TABLE UTL"},
                                         CasSupTbl{TypOdbc, "", "DROP TABLE [UTL]"}));

TEST_P(DropTable, TheTextIsTheKindsOwn) {
  BaseEnregistree base(GetParam().kind);
  base.AjouteTable("UTL", {"A"}).Owner(GetParam().owner);
  base.Base().SupTbl("UTL");
  ASSERT_FALSE(base.Provider().Statements().empty());
  EXPECT_EQ(base.Provider().Statements()[0], GetParam().texte);
  EXPECT_FALSE(base.Base().ExisteTbl("UTL"));
  EXPECT_EQ(Erreur([&] { (void)base.Base().ListeTbl("UTL"); }).number, 9);
}

TEST(SchemaEdits, DroppingATableCleansTheThreeCatalogsInTheirOrder) {
  BaseEnregistree base(TypSqlServer);
  base.AjouteTable("UTL", {"A"});
  base.Base().SupTbl("UTL");
  EXPECT_THAT(base.Provider().Statements(),
              ElementsAre("DROP TABLE [UTL]", "DELETE  FROM [$TBLKORV$] WHERE [NOM]='UTL'", "DELETE  FROM [$FLDKORV$] WHERE [TABLE]='UTL'",
                          "DELETE  FROM [$IDXKORV$] WHERE [TABLE]='UTL'"));
}

TEST(SchemaEdits, DroppingATableThatDoesNotExistDoesNothing) {
  BaseEnregistree base(TypOracle);
  base.Base().SupTbl("RIEN");
  EXPECT_THAT(base.Provider().Statements(), IsEmpty());
}

TEST(SchemaEdits, ARefusedDropOfATableKeepsItsCatalogRows) {
  BaseEnregistree base(TypSqlServer);
  base.AjouteTable("UTL", {"A"});
  base.Provider().FailPrefix("DROP TABLE", kRefus, "in use");
  EXPECT_EQ(Erreur([&] { base.Base().SupTbl("UTL"); }).number, kRefus);
  EXPECT_THAT(base.Provider().Statements(), ElementsAre("DROP TABLE [UTL]"));
  EXPECT_EQ(base.Base().ListeTbl("UTL").Nom(), "UTL");
}

}  // namespace
}  // namespace tamlo::tests
