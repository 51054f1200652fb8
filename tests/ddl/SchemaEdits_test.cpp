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

/// What each kind is sent for one edit of table UTL with the fields A and B; nothing where the connection's catalog does it.
struct CasEdition {
  std::int16_t kind;
  std::vector<std::string> ajouteChamp;
  std::vector<std::string> retireChamp;
  std::vector<std::string> ajouteIndex;
  std::string refusIndex;  // how a refused index begins; for an append, the table
};

class EachKind : public testing::TestWithParam<CasEdition> {
 protected:
  EachKind() : base_(GetParam().kind), tbl_(base_.AjouteTable("UTL", {"A", "B"})) {
    base_.Provider().AnswerPrefix(
        "SHOW KEYS FROM `UTL`",
        {{MakeField("KEY_NAME", ado::adVarWChar, 64), MakeField("COLUMN_NAME", ado::adVarWChar, 64)}, {{"IX", "A"}, {"IX", "B"}}});
  }

  [[nodiscard]] bool AvecCatalogue() const { return GetParam().kind != TypOdbc; }
  /// The rows of a catalog table; none where the kind has no catalog.
  [[nodiscard]] std::vector<std::vector<runtime::Variant>> Lignes(const char* catalogue) {
    const ScriptedTable* table = base_.Provider().FindTable(catalogue);
    return table == nullptr ? std::vector<std::vector<runtime::Variant>>() : table->rows;
  }
  [[nodiscard]] std::size_t Inserees() { return base_.Provider().Count(RecordedCall::Kind::kInsert); }

  BaseEnregistree base_;
  db::DbTbl& tbl_;
};

using Textes = std::vector<std::string>;
INSTANTIATE_TEST_SUITE_P(
    SchemaEdits, EachKind,
    testing::Values(CasEdition{TypJet,
                               {},
                               {"ALTER TABLE [UTL] DROP COLUMN [A]", "DELETE * FROM [$FLDKORV$] WHERE [TABLE]='UTL' AND [NOM]='a'",
                                "UPDATE [$FLDKORV$] SET [NO]=[NO]-1 WHERE [TABLE]='UTL' AND [NO]>0"},
                               {},
                               "UTL"},
                    CasEdition{TypSqlServer,
                               {},
                               {"ALTER TABLE [UTL] DROP COLUMN [A]", "DELETE  FROM [$FLDKORV$] WHERE [TABLE]='UTL' AND [NOM]='a'",
                                "UPDATE [$FLDKORV$] SET [NO]=[NO]-1 WHERE [TABLE]='UTL' AND [NO]>0"},
                               {"CREATE UNIQUE INDEX \"IX\" ON \"UTL\" (\"A\",\"B\" DESC)"},
                               "CREATE UNIQUE INDEX"},
                    CasEdition{TypOracle,
                               {"ALTER TABLE \"UTL\" ADD (\"C\"  NUMBER(5,0))"},
                               {"ALTER TABLE \"UTL\" DROP COLUMN \"A\"", "DELETE  FROM \"$FLDKORV$\" WHERE \"TABLE\"='UTL' AND \"NOM\"='a'",
                                "UPDATE \"$FLDKORV$\" SET \"NO\"=\"NO\"-1 WHERE \"TABLE\"='UTL' AND \"NO\">0"},
                               {"CREATE UNIQUE INDEX \"UTL_IX\" ON \"UTL\" (\"A\",\"B\" DESC)"},
                               "CREATE UNIQUE INDEX"},
                    CasEdition{TypMySql,
                               {"ALTER TABLE `UTL` ADD (`C`  SMALLINT)"},
                               {"ALTER TABLE `UTL` DROP COLUMN `A`", "DELETE  FROM `$FLDKORV$` WHERE `TABLE`=\"UTL\" AND `NOM`=\"a\"",
                                "UPDATE `$FLDKORV$` SET `NO`=`NO`-1 WHERE `TABLE`=\"UTL\" AND `NO`>0"},
                               {"CREATE UNIQUE INDEX `IX` ON `UTL` (`A`,`B` DESC)"},
                               "CREATE UNIQUE INDEX"},
                    CasEdition{TypOdbc, {}, {"ALTER TABLE `UTL` DROP COLUMN `A`"}, {}, ""}),
    [](const auto& cas) { return "Kind" + std::to_string(cas.param.kind); });

TEST_P(EachKind, AnAddedFieldGoesToBackendMemoryAndCatalog) {
  tbl_.AddFld(" C ", ado::adSmallInt, 2, false);
  EXPECT_EQ(base_.Provider().Statements(), GetParam().ajouteChamp);
  EXPECT_EQ(base_.Provider().Count(RecordedCall::Kind::kAppendColumn), GetParam().ajouteChamp.empty() ? 1U : 0U);
  ASSERT_EQ(tbl_.NbFld(), 3);
  EXPECT_EQ(tbl_.ListeFld("2").Nom(), "c");
  EXPECT_EQ(tbl_.ListeFld("2").No(), 2);
  EXPECT_EQ(Inserees(), AvecCatalogue() ? 1U : 0U);
  if (AvecCatalogue()) {
    const runtime::Null nul;
    const std::vector<runtime::Variant> ligne = {"UTL", std::int16_t{2}, "c", nul, nul, nul};
    EXPECT_TRUE(Lignes("$FLDKORV$").back() == ligne) << "INI, FMT and OBLIGATOIRE are the backend's";
  }
}

TEST_P(EachKind, AnAddedFieldIsNormalisedInMemoryAndNeitherMandatoryNorFormatted) {
  tbl_.AddFld("C", ado::adChar, 12, false);
  tbl_.AddFld("D", ado::adInteger, 4, true);
  const db::DbFld& c = tbl_.ListeFld("c");
  EXPECT_EQ(c.Typ(), ado::adVarWChar);
  EXPECT_EQ(c.Lg(), 12);
  EXPECT_FALSE(c.EstCpt());
  EXPECT_FALSE(c.Obg());
  EXPECT_EQ(c.Fmt(), "");
  EXPECT_EQ(c.Ini(), "");
  EXPECT_TRUE(tbl_.ListeFld("d").EstCpt());
  EXPECT_TRUE(tbl_.ExisteCpt());
}

TEST_P(EachKind, ARefusedFieldLeavesBackendMemoryAndCatalog) {
  base_.Provider().FailPrefix(GetParam().ajouteChamp.empty() ? "UTL" : "ALTER TABLE", kRefus, "refused");
  const auto erreur = Erreur([&] { tbl_.AddFld("C", ado::adSmallInt, 2, false); });
  EXPECT_EQ(erreur.number, kRefus);
  EXPECT_EQ(erreur.description, "refused");
  EXPECT_EQ(tbl_.NbFld(), 2);
  EXPECT_EQ(base_.Provider().FindTable("UTL")->columns.size(), 2U);
  EXPECT_EQ(Inserees(), 0U);
}

TEST_P(EachKind, ADroppedFieldGoesFromBackendMemoryAndCatalog) {
  tbl_.SupFld(" A ");
  EXPECT_EQ(base_.Provider().Statements(), GetParam().retireChamp);
  ASSERT_EQ(tbl_.NbFld(), 1);
  EXPECT_EQ(tbl_.ListeFld("0").Nom(), "b");
}

TEST_P(EachKind, ARefusedDropOfAFieldSendsNothingMore) {
  base_.Provider().FailPrefix("ALTER TABLE", kRefus, "refused");
  tbl_.SupFld("A");
  EXPECT_EQ(base_.Provider().Statements(), Textes{GetParam().retireChamp[0]});
  EXPECT_EQ(tbl_.NbFld(), 2);
  EXPECT_TRUE(tbl_.ExisteFld("a"));
}

TEST_P(EachKind, AnAddedIndexGoesToBackendMemoryAndCatalog) {
  tbl_.AddIdx("ix", "A;-B", false, true);
  EXPECT_EQ(base_.Provider().Statements(), GetParam().ajouteIndex);
  EXPECT_EQ(base_.Provider().Count(RecordedCall::Kind::kAppendIndex), GetParam().kind == TypJet ? 1U : 0U);
  ASSERT_EQ(tbl_.NbIdx(), 1);
  const std::string champs = GetParam().kind == TypMySql ? "a;b" : "a;-b";
  EXPECT_EQ(tbl_.ListeIdx("IX").SFld(), champs);
  EXPECT_EQ(Inserees(), AvecCatalogue() ? 1U : 0U);
  if (AvecCatalogue()) {
    const std::vector<runtime::Variant> ligne = {"UTL", "IX", champs, false, true, runtime::Null{}};
    EXPECT_TRUE(Lignes("$IDXKORV$").back() == ligne);
  }
  base_.Provider().ClearCalls();
  tbl_.AddIdx(" Ix ", "B", false, false);
  EXPECT_THAT(base_.Provider().Log(), IsEmpty()) << "what exists is not added";
}

TEST_P(EachKind, ARefusedIndexLeavesBackendMemoryAndCatalog) {
  if (GetParam().refusIndex.empty()) GTEST_SKIP() << "a generic source is asked for no index";
  base_.Provider().FailPrefix(GetParam().refusIndex, kRefus, "refused");
  const auto erreur = Erreur([&] { tbl_.AddIdx("ix", "A;-B", false, true); });
  EXPECT_EQ(erreur.number, kRefus);
  EXPECT_EQ(erreur.description, "refused");
  EXPECT_EQ(tbl_.NbIdx(), 0);
  EXPECT_THAT(base_.Provider().FindTable("UTL")->indexes, IsEmpty());
  EXPECT_EQ(Inserees(), 0U);
}

TEST_P(EachKind, WhatDoesNotExistIsDroppedWithoutAStatement) {
  tbl_.SupFld("absent");
  tbl_.SupIdx("absent");
  base_.Base().SupTbl("ABSENTE");
  EXPECT_THAT(base_.Provider().Statements(), IsEmpty());
  EXPECT_THAT(base_.Provider().Sources(), IsEmpty());
}

/// Counts all that a connection is asked during one edit: statements, appends, recordsets, rows, readings of the catalog.
TEST_P(EachKind, AnEditAsksForItsStatementsAndItsCatalogRowsAndNothingElse) {
  const std::size_t catalogue = AvecCatalogue() ? 1 : 0;
  const std::size_t cles = GetParam().kind == TypMySql ? 2 : 0;  // SHOW KEYS, opened and read
  const auto demandes = [&](auto&& edition) {
    base_.Provider().ClearCalls();
    edition();
    return base_.Provider().Calls().size();
  };
  EXPECT_EQ(demandes([&] { tbl_.AddFld("C", ado::adSmallInt, 2, false); }), 1 + 2 * catalogue) << "a recordset and its row";
  EXPECT_EQ(demandes([&] { tbl_.AddIdx("IX", "A;-B", false, true); }), 3 * catalogue + cles);
  EXPECT_EQ(demandes([&] { tbl_.SupIdx("IX"); }), 1 + catalogue);
  EXPECT_EQ(demandes([&] { tbl_.SupFld("A"); }), 1 + 2 * catalogue);
  EXPECT_EQ(demandes([&] { base_.Base().SupTbl("UTL"); }), 2 + 3 * catalogue) << "the list is read anew when it is asked for again";
  auto neuve = Definition("NEUVE");
  neuve->AddFld("A", ado::adInteger, 4, false);
  neuve->AddIdx("IX", "A", false, true);
  const std::size_t indexApart = GetParam().kind == TypOracle || GetParam().kind == TypMySql ? 1 : 0;
  EXPECT_EQ(demandes([&] { base_.Base().AddTbl(std::move(neuve)); }), 1 + catalogue * (2 + 6) + indexApart)
      << "the table, the list read anew, a recordset and a row of each of the three catalog tables";
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
  /// The statements of the kind: the first so many of its drop, then that of the catalog where there is one.
  static Textes Attendus(std::size_t tentatives, bool nettoie) {
    Textes textes = {GetParam().contrainte, GetParam().simple};
    textes.resize(tentatives);
    if (nettoie && GetParam().catalogue != nullptr) textes.emplace_back(GetParam().catalogue);
    return textes;
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
                                                   "DELETE  FROM `$IDXKORV$` WHERE `TABLE`=\"UTL\" AND `NOM`=\"IX1\""},
                                         CasSupIdx{TypOdbc, "ALTER TABLE `UTL` DROP CONSTRAINT `IX1`", "DROP INDEX `IX1`", nullptr}),
                         [](const auto& cas) { return "Kind" + std::to_string(cas.param.kind); });

TEST_P(DropIndex, ADroppedConstraintCleansMemoryAndCatalog) {
  BaseEnregistree base(GetParam().kind);
  auto& tbl = AvecIndex(base);
  tbl.SupIdx("IX1");
  EXPECT_THAT(base.Provider().Statements(), testing::ElementsAreArray(Attendus(1, true)));
  EXPECT_EQ(tbl.NbIdx(), 0);
}

TEST_P(DropIndex, WhereItIsNoConstraintTheBackendsPlainFormDropsIt) {
  BaseEnregistree base(GetParam().kind);
  auto& tbl = AvecIndex(base);
  base.Provider().FailPrefix("ALTER TABLE", kRefus, "no constraint of that name");
  tbl.SupIdx("IX1");
  EXPECT_THAT(base.Provider().Statements(), testing::ElementsAreArray(Attendus(2, true)));
  EXPECT_EQ(tbl.NbIdx(), 0);
}

TEST_P(DropIndex, WhenBothAreRefusedAndItIsStillThereEverythingStays) {
  BaseEnregistree base(GetParam().kind);
  auto& tbl = AvecIndex(base);
  base.Provider().FindTable("UTL")->indexes = {MakeIndex(GetParam().kind == TypOracle ? "UTL_IX1" : "IX1", {"NOM"})};
  base.Provider().FailPrefix("ALTER TABLE", kRefus, "refused");
  base.Provider().FailPrefix("DROP INDEX", kRefus, "refused");
  tbl.SupIdx("IX1");
  EXPECT_THAT(base.Provider().Statements(), testing::ElementsAreArray(Attendus(2, false)));
  EXPECT_EQ(tbl.NbIdx(), 1);
}

TEST_P(DropIndex, WhenBothAreRefusedBecauseItIsGoneMemoryAndCatalogAreCleaned) {
  BaseEnregistree base(GetParam().kind);
  auto& tbl = AvecIndex(base);
  base.Provider().FindTable("UTL")->indexes.clear();
  base.Provider().FailPrefix("ALTER TABLE", kRefus, "refused");
  base.Provider().FailPrefix("DROP INDEX", kRefus, "refused");
  tbl.SupIdx("IX1");
  EXPECT_THAT(base.Provider().Statements(), testing::ElementsAreArray(Attendus(2, true)));
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

TEST(SchemaEdits, AMySqlPrimaryKeyUnderAnotherNameIsDroppedByItsOwnFormToo) {
  BaseEnregistree base(TypMySql);
  auto& tbl = base.AjouteTable("UTL", {"NOM", "NIV"});
  base.Provider().AnswerPrefix("SHOW KEYS FROM `UTL`",
                               {{MakeField("KEY_NAME", ado::adVarWChar, 64), MakeField("COLUMN_NAME", ado::adVarWChar, 64)},
                                {{"PRIMARY", "NOM"}, {"PRIMARY", "NIV"}, {"AUTRE", "NIV"}}});
  tbl.AddIdx("pk_utl", "NOM;NIV", true, true);
  base.Provider().FindTable("UTL")->indexes = {MakeIndex("PRIMARY", {"NOM", "NIV"}, true, true)};
  base.Provider().ClearCalls();
  base.Provider().FailPrefix("ALTER TABLE `UTL` DROP CONSTRAINT", kRefus, "no such constraint");
  base.Provider().FailPrefix("DROP INDEX", kRefus, "no such index");
  tbl.SupIdx("pk_utl");
  EXPECT_THAT(base.Provider().Statements(),
              ElementsAre("ALTER TABLE `UTL` DROP CONSTRAINT `PK_UTL`", "DROP INDEX `PK_UTL` ON `UTL`",
                          "ALTER TABLE `UTL` DROP PRIMARY KEY", "DELETE  FROM `$IDXKORV$` WHERE `TABLE`=\"UTL\" AND `NOM`=\"PK_UTL\""));
  EXPECT_EQ(tbl.NbIdx(), 0);
}

TEST(SchemaEdits, AMySqlPrimaryKeyStaysWhenAnotherIndexHasGone) {
  BaseEnregistree base(TypMySql);
  auto& tbl = base.AjouteTable("UTL", {"NOM", "NIV"});
  base.Provider().AnswerPrefix(
      "SHOW KEYS FROM `UTL`",
      {{MakeField("KEY_NAME", ado::adVarWChar, 64), MakeField("COLUMN_NAME", ado::adVarWChar, 64)}, {{"PRIMARY", "NOM"}}});
  tbl.AddIdx("ix", "NIV", false, true);
  tbl.AddIdx("simple", "NOM", false, false);
  base.Provider().ClearCalls();
  base.Provider().FailPrefix("ALTER TABLE", kRefus, "no such constraint");
  base.Provider().FailPrefix("DROP INDEX", kRefus, "no such index");
  tbl.SupIdx("ix");
  tbl.SupIdx("simple");
  EXPECT_EQ(tbl.NbIdx(), 0);
  EXPECT_THAT(base.Provider().Statements(), testing::Not(testing::Contains("ALTER TABLE `UTL` DROP PRIMARY KEY")));
}

TEST(SchemaEdits, AMySqlPrimaryKeyUnderAnotherNameThatIsRefusedStays) {
  BaseEnregistree base(TypMySql);
  auto& tbl = base.AjouteTable("UTL", {"NOM"});
  base.Provider().AnswerPrefix(
      "SHOW KEYS FROM `UTL`",
      {{MakeField("KEY_NAME", ado::adVarWChar, 64), MakeField("COLUMN_NAME", ado::adVarWChar, 64)}, {{"PRIMARY", "NOM"}}});
  tbl.AddIdx("pk_utl", "NOM", true, true);
  base.Provider().ClearCalls();
  base.Provider().FailPrefix("ALTER TABLE", kRefus, "referenced");
  base.Provider().FailPrefix("DROP INDEX", kRefus, "no such index");
  tbl.SupIdx("pk_utl");
  EXPECT_EQ(tbl.NbIdx(), 1);
  EXPECT_EQ(base.Provider().Statements().back(), "ALTER TABLE `UTL` DROP PRIMARY KEY");
}

TEST(SchemaEdits, AnOracleIndexThatWasLoadedUnderTheServersNameIsDroppedByIt) {
  BaseEnregistree base(TypOracle);
  auto& tbl = base.AjouteTable("UTL", {"NOM"});
  tbl.AddIdx("utl_ix1", "NOM", false, false);
  base.Provider().FindTable("UTL")->indexes = {MakeIndex("UTL_IX1", {"NOM"})};
  base.Provider().ClearCalls();
  base.Provider().FailPrefix("ALTER TABLE", kRefus, "no such constraint");
  tbl.SupIdx("utl_ix1");
  EXPECT_THAT(base.Provider().Statements(), ElementsAre("ALTER TABLE \"UTL\" DROP CONSTRAINT \"UTL_UTL_IX1\"", "DROP INDEX \"UTL_IX1\"",
                                                        "DELETE  FROM \"$IDXKORV$\" WHERE \"TABLE\"='UTL' AND \"NOM\"='UTL_IX1'"));
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

struct CasNettoyage {
  std::int16_t kind;
  Textes textes;
};

class DropTableCatalog : public testing::TestWithParam<CasNettoyage> {};
INSTANTIATE_TEST_SUITE_P(
    SchemaEdits, DropTableCatalog,
    testing::Values(CasNettoyage{TypJet,
                                 {"DROP TABLE [UTL]", "DELETE * FROM [$TBLKORV$] WHERE [NOM]='UTL'",
                                  "DELETE * FROM [$FLDKORV$] WHERE [TABLE]='UTL'", "DELETE * FROM [$IDXKORV$] WHERE [TABLE]='UTL'"}},
                    CasNettoyage{TypOracle,
                                 {"DROP TABLE \"UTL\"", "DELETE  FROM \"$TBLKORV$\" WHERE \"NOM\"='UTL'",
                                  "DELETE  FROM \"$FLDKORV$\" WHERE \"TABLE\"='UTL'", "DELETE  FROM \"$IDXKORV$\" WHERE \"TABLE\"='UTL'"}},
                    CasNettoyage{TypMySql,
                                 {"DROP TABLE UTL", "DELETE  FROM `$TBLKORV$` WHERE `NOM`=\"UTL\"",
                                  "DELETE  FROM `$FLDKORV$` WHERE `TABLE`=\"UTL\"", "DELETE  FROM `$IDXKORV$` WHERE `TABLE`=\"UTL\""}},
                    CasNettoyage{TypOdbc, {"DROP TABLE [UTL]"}}),
    [](const auto& cas) { return "Kind" + std::to_string(cas.param.kind); });

TEST_P(DropTableCatalog, IsCleanedInItsOrderWhereThereIsOneAndTheBackendIsReadAnewFirst) {
  BaseEnregistree base(GetParam().kind);
  base.AjouteTable("UTL", {"A"});
  base.AjouteTable("VLM", {"A"});
  base.Base().SupTbl("UTL");
  EXPECT_THAT(base.Provider().Statements(), testing::ElementsAreArray(GetParam().textes));
  EXPECT_EQ(base.Provider().Log()[1], "REFRESH") << "behind the drop, before the list and the catalog are looked at";
  EXPECT_EQ(base.Base().ListeTbl("VLM").Nom(), "VLM");
}

TEST(SchemaEdits, AnOracleTableThatIsNotListedIsDroppedWithoutAnOwner) {
  BaseEnregistree base(TypOracle);
  ScriptedTable table;
  table.name = "AILLEURS";
  base.Provider().AddTable(std::move(table));
  base.Base().Catalogue().Refresh();
  base.Provider().ClearCalls();
  base.Base().SupTbl("AILLEURS");
  EXPECT_EQ(base.Provider().Statements()[0], "DROP TABLE \"AILLEURS\"");
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
