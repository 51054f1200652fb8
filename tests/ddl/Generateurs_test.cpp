#include <fstream>

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

std::unique_ptr<db::DbTbl> Utilisateurs() {
  auto tbl = Definition("utl");
  tbl->AddFld("IdUtl", ado::adDouble, 15, false);
  tbl->AddFld("Nom", ado::adVarWChar, 30, false);
  tbl->AddFld("Actif", ado::adBoolean, 1, false);
  tbl->AddFld("Memo", ado::adLongVarWChar, 0, false);
  tbl->AddIdx("pk_utl", "NOM", true, true);
  tbl->AddIdx("ix1", "Nom;-Actif", false, false);
  tbl->AddIdx("ix2", "IdUtl", false, true);
  return tbl;
}

TEST(GenerateurMySql, CreatesTheTableThenItsIndexesOneByOne) {
  BaseEnregistree base(TypMySql);
  base.Base().AddTbl(Utilisateurs());
  EXPECT_THAT(base.Provider().Statements(),
              ElementsAre("CREATE TABLE `UTL` (`IDUTL`  DECIMAL(15,0),`NOM`  CHAR(30),`ACTIF`  NUMERIC(1),`MEMO`  MEDIUMTEXT)",
                          "ALTER TABLE `UTL` ADD PRIMARY KEY (`NOM`)", "CREATE INDEX `IX1` ON `UTL` (`NOM`,`ACTIF` DESC)",
                          "CREATE UNIQUE INDEX `IX2` ON `UTL` (`IDUTL`)"));
}

TEST(GenerateurMySql, ADoubleOfLength15IsDecimalAndOneOfLength8IsDouble) {
  BaseEnregistree base(TypMySql);
  auto tbl = Definition("T");
  tbl->AddFld("A", ado::adDouble, 15, false);
  tbl->AddFld("B", ado::adDouble, 8, false);
  base.Base().AddTbl(std::move(tbl));
  EXPECT_THAT(base.Provider().Statements(), ElementsAre("CREATE TABLE `T` (`A`  DECIMAL(15,0),`B`  DOUBLE)"));
}

struct CasSansType {
  std::int16_t kind;
  std::int16_t typ;
};

class ColumnWithoutType : public testing::TestWithParam<CasSansType> {};
INSTANTIATE_TEST_SUITE_P(Generateurs, ColumnWithoutType,
                         testing::Values(CasSansType{TypSqlServer, 72}, CasSansType{TypSqlServer, ado::adNumeric},
                                         CasSansType{TypOracle, 72}, CasSansType{TypMySql, 72}),
                         [](const auto& cas) { return "Kind" + std::to_string(cas.param.kind) + "Type" + std::to_string(cas.param.typ); });

TEST_P(ColumnWithoutType, IsError5OfANewTableBeforeAnythingRuns) {
  BaseEnregistree base(GetParam().kind);
  auto tbl = Definition("T");
  tbl->AddFld("A", ado::adInteger, 4, false);
  tbl->AddFld("B", GetParam().typ, 0, false);
  const auto erreur = Erreur([&] { base.Base().AddTbl(std::move(tbl)); });
  EXPECT_EQ(erreur.number, 5);
  EXPECT_EQ(erreur.description, "Type " + std::to_string(GetParam().typ) + " non géré");
  EXPECT_THAT(base.Provider().Statements(), IsEmpty());
  EXPECT_EQ(Erreur([&] { (void)base.Base().ListeTbl("T"); }).number, 9);
}

TEST(GenerateurMySql, AnUnknownTypeOfAnAddedColumnIsWrittenWithoutAType) {
  BaseEnregistree base(TypMySql);
  auto& tbl = base.AjouteTable("T", {"A"});
  tbl.AddFld("G", 72, 0, false);
  EXPECT_THAT(base.Provider().Statements(), ElementsAre("ALTER TABLE `T` ADD (`G` )"));
}

TEST(GenerateurMySql, AnOwnerStandsBeforeTheTableOfAnAddedColumn) {
  BaseEnregistree base(TypMySql);
  auto& tbl = base.AjouteTable("T", {"A"});
  tbl.Owner("ADM");
  tbl.AddFld("niv", ado::adDouble, 15, false);
  EXPECT_THAT(base.Provider().Statements(), ElementsAre("ALTER TABLE ADM.`T` ADD (`NIV`  DECIMAL(15,0))"));
}

TEST(GenerateurSqlServer, IndexesAreConstraintsInsideTheCreateTable) {
  BaseEnregistree base(TypSqlServer);
  base.Base().AddTbl(Utilisateurs());
  EXPECT_THAT(base.Provider().Statements(),
              ElementsAre("CREATE TABLE \"UTL\" (\"IDUTL\"  FLOAT,\"NOM\"  NVARCHAR(30),\"ACTIF\"  BIT DEFAULT 0,\"MEMO\"  NTEXT"
                          ",CONSTRAINT \"PK_UTL\"  UNIQUE(\"NOM\"),CONSTRAINT \"IX1\" (\"Nom\",\"Actif\" DESC)"
                          ",CONSTRAINT \"IX2\"  UNIQUE(\"IdUtl\"))"));
}

TEST(GenerateurSqlServer, TheFieldsOfAConstraintKeepTheCaseInWhichTheIndexWasDescribed) {
  BaseEnregistree base(TypSqlServer);
  auto tbl = Definition("utl");
  tbl->AddFld("NOM", ado::adVarWChar, 30, false);
  tbl->AddFld("prénom", ado::adVarWChar, 30, false);
  tbl->AddIdx("pk_utl", "NOM", true, true);
  tbl->AddIdx("ix", "-prénom;+Nom", false, true);
  EXPECT_EQ(tbl->ListeIdx("PK_UTL").NomFld(0), "nom") << "in memory names are in lower case";
  base.Base().AddTbl(std::move(tbl));
  EXPECT_THAT(base.Provider().Statements(),
              ElementsAre("CREATE TABLE \"UTL\" (\"NOM\"  NVARCHAR(30),\"PRÉNOM\"  NVARCHAR(30),CONSTRAINT \"PK_UTL\"  UNIQUE(\"NOM\")"
                          ",CONSTRAINT \"IX\"  UNIQUE(\"prénom\" DESC,\"Nom\"))"));
  EXPECT_EQ(base.Provider().Statements()[0].find("\"nom\""), std::string::npos);
}

TEST(GenerateurSqlServer, ACopiedTableNamesItsFieldsAsTheyAreKept) {
  BaseEnregistree source(TypMySql, "SOURCE");
  BaseEnregistree cible(TypSqlServer, "CIBLE");
  auto tbl = Definition("T");
  tbl->AddFld("NOM", ado::adVarWChar, 30, false);
  tbl->AddIdx("IX", "NOM", false, true);
  source.Base().AddTbl(std::move(tbl));
  (void)source.Base().TblCopie("T", cible.Base(), true, false);
  EXPECT_THAT(cible.Provider().Statements(), ElementsAre("CREATE TABLE \"T\" (\"NOM\"  NVARCHAR(30),CONSTRAINT \"IX\"  UNIQUE(\"nom\"))"));
}

TEST(GenerateurSqlServer, AnIndexOnAnExistingTableIsCreatedByItsOwnStatement) {
  BaseEnregistree base(TypSqlServer);
  auto& tbl = base.AjouteTable("UTL", {"NOM", "NIV"});
  tbl.AddIdx("ix1", "NOM", false, true);
  tbl.AddIdx("pk", "NOM;-NIV", true, true);
  tbl.AddIdx("ix3", "NIV", false, false);
  EXPECT_THAT(base.Provider().Statements(),
              ElementsAre("CREATE UNIQUE INDEX \"IX1\" ON \"UTL\" (\"NOM\")",
                          "CREATE UNIQUE INDEX \"PK\" ON \"UTL\" (\"NOM\",\"NIV\" DESC)", "CREATE INDEX \"IX3\" ON \"UTL\" (\"NIV\")"));
}

TEST(GenerateurMySql, AnIndexOnAnExistingTableIsCreatedByItsOwnStatement) {
  BaseEnregistree base(TypMySql);
  auto& tbl = base.AjouteTable("UTL", {"NOM", "NIV"});
  base.Provider().AnswerPrefix("SHOW KEYS FROM `UTL`",
                               {{MakeField("KEY_NAME", ado::adVarWChar, 64), MakeField("COLUMN_NAME", ado::adVarWChar, 64)}, {}});
  tbl.AddIdx("pk", "nom;-niv", true, true);
  tbl.AddIdx("ix1", "nom", false, true);
  tbl.AddIdx("ix2", "-niv", false, false);
  EXPECT_THAT(base.Provider().Statements(),
              ElementsAre("ALTER TABLE `UTL` ADD PRIMARY KEY (`NOM`,`NIV` DESC)", "CREATE UNIQUE INDEX `IX1` ON `UTL` (`NOM`)",
                          "CREATE INDEX `IX2` ON `UTL` (`NIV` DESC)"));
}

struct CasPrimaire {
  std::int16_t kind;
  const char* texte;
};

class PrimaryWithoutUnique : public testing::TestWithParam<CasPrimaire> {};
INSTANTIATE_TEST_SUITE_P(Generateurs, PrimaryWithoutUnique,
                         testing::Values(CasPrimaire{TypSqlServer, "CREATE UNIQUE INDEX \"PK\" ON \"UTL\" (\"NOM\")"},
                                         CasPrimaire{TypOracle, "CREATE UNIQUE INDEX \"UTL_PK\" ON \"UTL\" (\"NOM\")"},
                                         CasPrimaire{TypMySql, "ALTER TABLE `UTL` ADD PRIMARY KEY (`NOM`)"}),
                         [](const auto& cas) { return "Kind" + std::to_string(cas.param.kind); });

TEST_P(PrimaryWithoutUnique, IsUniqueInTheBackendAndNeitherInMemory) {
  BaseEnregistree base(GetParam().kind);
  auto& tbl = base.AjouteTable("UTL", {"NOM"});
  base.Provider().AnswerPrefix("SHOW KEYS FROM `UTL`",
                               {{MakeField("KEY_NAME", ado::adVarWChar, 64), MakeField("COLUMN_NAME", ado::adVarWChar, 64)}, {}});
  tbl.AddIdx("pk", "NOM", true, false);
  EXPECT_THAT(base.Provider().Statements(), ElementsAre(GetParam().texte));
  EXPECT_FALSE(tbl.ListeIdx("PK").Primary());
  EXPECT_FALSE(tbl.ListeIdx("PK").Unique());
}

TEST(GenerateurOracle, WithoutAParameterFileNothingFollowsTheColumns) {
  BaseEnregistree base(TypOracle);
  base.Base().AddTbl(Utilisateurs());
  EXPECT_THAT(
      base.Provider().Statements(),
      ElementsAre("CREATE TABLE \"UTL\" (\"IDUTL\"  NUMBER,\"NOM\"  CHAR(30),\"ACTIF\"  NUMBER(1,0) DEFAULT 0,\"MEMO\"  VARCHAR2(2000))",
                  "CREATE UNIQUE INDEX \"UTL_PK_UTL\" ON \"UTL\" (\"NOM\")", "CREATE INDEX \"UTL_IX1\" ON \"UTL\" (\"NOM\",\"ACTIF\" DESC)",
                  "CREATE UNIQUE INDEX \"UTL_IX2\" ON \"UTL\" (\"IDUTL\")"));
}

class ParametresOracle : public testing::Test {
 protected:
  /// What CREATE TABLE and CREATE INDEX say with these nine defaults and an owner.
  std::vector<std::string> Textes(const std::string& valeurs, const std::string& owner) {
    std::ofstream(base_.Dossier().File("ORA_BASE1.PRM")) << "2\n" << valeurs << "\n\"" << owner << "\"\n";
    auto tbl = Definition("UTL");
    tbl->AddFld("NOM", ado::adVarWChar, 30, false);
    tbl->AddFld("NIV", ado::adSmallInt, 2, false);
    tbl->AddIdx("ix1", "NOM;-NIV", false, false);
    base_.Base().AddTbl(std::move(tbl));
    return base_.Provider().Statements();
  }

  BaseEnregistree base_{TypOracle};
};

TEST_F(ParametresOracle, AllOfThemStandInTheirOrder) {
  EXPECT_THAT(Textes("10,40,\"TS1\",\"IDX\",10,0.5,1,100,0", "ADM"),
              ElementsAre("CREATE TABLE ADM.\"UTL\" (\"NOM\"  CHAR(30),\"NIV\"  NUMBER(5,0)) PCTFREE 10 PCTUSED 40"
                          " STORAGE ( INITIAL 10 M NEXT 500 K MINEXTENTS 1 MAXEXTENTS 100 PCTINCREASE 0) TABLESPACE \"TS1\"",
                          "CREATE INDEX \"UTL_IX1\" ON ADM.\"UTL\" (\"NOM\",\"NIV\" DESC) TABLESPACE IDX"));
}

TEST_F(ParametresOracle, AWholeNextStaysInMegabytes) {
  EXPECT_EQ(Textes(",,,,,2,,,", "")[0], "CREATE TABLE \"UTL\" (\"NOM\"  CHAR(30),\"NIV\"  NUMBER(5,0)) STORAGE ( NEXT 2 M)");
}

TEST_F(ParametresOracle, AFractionalNextBecomesThousandthsButAFractionalInitialDoesNot) {
  EXPECT_EQ(Textes(",,,,0.5,0.5,,,", "")[0],
            "CREATE TABLE \"UTL\" (\"NOM\"  CHAR(30),\"NIV\"  NUMBER(5,0)) STORAGE ( INITIAL 0.5 M NEXT 500 K)");
}

TEST_F(ParametresOracle, ANextOfOneThousandsFractionIsWrittenInItsShortestForm) {
  EXPECT_EQ(Textes(",,,,,0.0005,,,", "")[0], "CREATE TABLE \"UTL\" (\"NOM\"  CHAR(30),\"NIV\"  NUMBER(5,0)) STORAGE ( NEXT 0.5 K)");
}

TEST_F(ParametresOracle, ANextWithoutAFiniteBinaryFormHidesItsRemainder) {
  EXPECT_EQ(Textes(",,,,,\"0,57\",,,", "")[0], "CREATE TABLE \"UTL\" (\"NOM\"  CHAR(30),\"NIV\"  NUMBER(5,0)) STORAGE ( NEXT 570 K)");
}

TEST_F(ParametresOracle, ANextThatIsNoNumberIsAnErrorBeforeAnythingRuns) {
  const auto erreur = Erreur([&] { (void)Textes(",,,,,beaucoup,,,", ""); });
  EXPECT_EQ(erreur.number, 13);
  EXPECT_EQ(erreur.description, "Fichier de paramètres Oracle : NEXT n'est pas un nombre (\"beaucoup\")");
  EXPECT_THAT(base_.Provider().Statements(), IsEmpty());
}

TEST_F(ParametresOracle, AnInitialIsNeverConvertedAndBlankValuesLeaveTheirClauseOut) {
  EXPECT_EQ(Textes("\"  \",30,,,1.25,,2,,50", " ")[0],
            "CREATE TABLE \"UTL\" (\"NOM\"  CHAR(30),\"NIV\"  NUMBER(5,0)) PCTUSED 30"
            " STORAGE ( INITIAL 1.25 M MINEXTENTS 2 PCTINCREASE 50)");
}

TEST_F(ParametresOracle, AFileThatIsCutOffIsAnErrorBeforeAnythingRuns) {
  std::ofstream(base_.Dossier().File("ORA_BASE1.PRM")) << "2\n10,40,TS1";
  auto tbl = Definition("UTL");
  tbl->AddFld("NOM", ado::adVarWChar, 30, false);
  const auto erreur = Erreur([&] { base_.Base().AddTbl(std::move(tbl)); });
  EXPECT_EQ(erreur.number, 62);
  EXPECT_EQ(erreur.description,
            "Fichier de paramètres Oracle " + base_.Dossier().File("ORA_BASE1.PRM") +
                " : la fin du fichier vient avant une valeur attendue, tablespace des index pour les valeurs par défaut");
  EXPECT_THAT(base_.Provider().Log(), IsEmpty());
  EXPECT_EQ(Erreur([&] { (void)base_.Base().ListeTbl("UTL"); }).number, 9);
}

TEST_F(ParametresOracle, AWrongFileIsAnErrorOfAnAddedIndexBeforeAnythingRuns) {
  auto& tbl = base_.AjouteTable("UTL", {"NOM"});
  std::ofstream(base_.Dossier().File("ORA_BASE1.PRM")) << "deux\n,,,,,,,,\n";
  const auto erreur = Erreur([&] { tbl.AddIdx("IX", "NOM", false, false); });
  EXPECT_EQ(erreur.number, 13);
  EXPECT_EQ(erreur.description, "Fichier de paramètres Oracle " + base_.Dossier().File("ORA_BASE1.PRM") +
                                    " : la version du format n'est pas un nombre (\"deux\")");
  EXPECT_THAT(base_.Provider().Log(), IsEmpty());
  EXPECT_EQ(tbl.NbIdx(), 0);
}

TEST_F(ParametresOracle, AnIndexOnAnExistingTableTakesOwnerAndTablespaceFromTheFile) {
  auto& tbl = base_.AjouteTable("UTL", {"NOM", "NIV"});
  tbl.Owner("AUTRE");
  std::ofstream(base_.Dossier().File("ORA_BASE1.PRM")) << "2\n,,,IDX,,,,,\nADM\n";
  tbl.AddIdx("ix1", "NOM;-NIV", false, false);
  EXPECT_THAT(base_.Provider().Statements(), ElementsAre("CREATE INDEX \"UTL_IX1\" ON ADM.\"UTL\" (\"NOM\",\"NIV\" DESC) TABLESPACE IDX"));
}

TEST_F(ParametresOracle, AnAddedColumnTakesTheOwnerOfTheTable) {
  auto& tbl = base_.AjouteTable("UTL", {"NOM"});
  std::ofstream(base_.Dossier().File("ORA_BASE1.PRM")) << "2\n,,,IDX,,,,,\nADM\n";
  tbl.AddFld("NIV", ado::adSmallInt, 2, false);
  tbl.Owner("AUTRE");
  tbl.AddFld("G", 72, 0, false);
  EXPECT_THAT(base_.Provider().Statements(),
              ElementsAre("ALTER TABLE \"UTL\" ADD (\"NIV\"  NUMBER(5,0))", "ALTER TABLE AUTRE.\"UTL\" ADD (\"G\" )"));
}

class KindsWithStatements : public testing::TestWithParam<std::int16_t> {};
INSTANTIATE_TEST_SUITE_P(Generateurs, KindsWithStatements, testing::Values(TypSqlServer, TypOracle, TypMySql));

TEST_P(KindsWithStatements, ATableWithoutFieldsCreatesNothingAndIsNoError) {
  BaseEnregistree base(GetParam());
  base.Base().AddTbl(Definition("VIDE"));
  EXPECT_THAT(base.Provider().Statements(), IsEmpty());
  EXPECT_EQ(base.Base().ListeTbl("VIDE").Nom(), "VIDE");
}

TEST_P(KindsWithStatements, ARefusedCreationLeavesTheTableOutOfTheList) {
  BaseEnregistree base(GetParam());
  base.Provider().FailPrefix("CREATE TABLE", -2147467259, "no room");
  const auto erreur = Erreur([&] { base.Base().AddTbl(Utilisateurs()); });
  EXPECT_EQ(erreur.number, -2147467259);
  EXPECT_EQ(erreur.description, "no room");
  EXPECT_EQ(Erreur([&] { (void)base.Base().ListeTbl("UTL"); }).number, 9);
}

struct CasIndexRefuse {
  std::int16_t kind;
  const char* refuse;
};

class KindsWithIndexesApart : public testing::TestWithParam<CasIndexRefuse> {};
INSTANTIATE_TEST_SUITE_P(Generateurs, KindsWithIndexesApart,
                         testing::Values(CasIndexRefuse{TypMySql, "CREATE INDEX `IX1`"},
                                         CasIndexRefuse{TypOracle, "CREATE INDEX \"UTL_IX1\""}),
                         [](const auto& cas) { return "Kind" + std::to_string(cas.param.kind); });

TEST_P(KindsWithIndexesApart, ARefusedIndexOfANewTableLeavesTheTableInTheBackendAndOutOfTheList) {
  BaseEnregistree base(GetParam().kind);
  base.Provider().FailPrefix(GetParam().refuse, -2147467259, "no room");
  const auto erreur = Erreur([&] { base.Base().AddTbl(Utilisateurs()); });
  EXPECT_EQ(erreur.number, -2147467259);
  EXPECT_EQ(erreur.description, "no room");
  EXPECT_EQ(base.Provider().Statements().size(), 3U) << "the table, its key, the refused index, and no more";
  EXPECT_TRUE(base.Base().ExisteTbl("UTL"));
  EXPECT_EQ(Erreur([&] { (void)base.Base().ListeTbl("UTL"); }).number, 9);
  EXPECT_EQ(base.Provider().Count(RecordedCall::Kind::kInsert), 0U) << "no catalog row";
}

TEST_P(KindsWithStatements, TheCatalogIsReadAnewAfterTheCreation) {
  BaseEnregistree base(GetParam());
  auto tbl = Definition("NEUVE");
  tbl->AddFld("A", ado::adInteger, 4, false);
  base.Base().AddTbl(std::move(tbl));
  EXPECT_TRUE(base.Base().ExisteTbl("neuve"));
}

TEST(GenerateurAdox, ColumnsCountTakeNullsOrTheEmptyString) {
  BaseEnregistree base(TypJet);
  auto tbl = Definition("T");
  tbl->AddFld("C", ado::adInteger, 4, true);
  tbl->AddFld("N", ado::adInteger, 4, false);
  tbl->AddFld("X", ado::adVarWChar, 30, false);
  tbl->AddFld("M", ado::adLongVarWChar, 0, false);
  tbl->AddFld("B", ado::adBoolean, 1, false);
  tbl->AddIdx("pk", "C;-X", true, true);
  base.Base().AddTbl(std::move(tbl));

  const ScriptedTable* faite = base.Provider().FindTable("T");
  ASSERT_NE(faite, nullptr);
  ASSERT_EQ(faite->columns.size(), 5U);
  const auto& [c, n, x, m, b] = std::tie(faite->columns[0], faite->columns[1], faite->columns[2], faite->columns[3], faite->columns[4]);
  EXPECT_EQ(c.name, "c");
  EXPECT_TRUE(c.properties.Has("AutoIncrement"));
  EXPECT_EQ(c.attributes, 0);
  EXPECT_FALSE(n.properties.Has("AutoIncrement"));
  EXPECT_EQ(n.attributes, ado::adColNullable);
  EXPECT_EQ(x.type, ado::adVarWChar);
  EXPECT_EQ(x.definedSize, 30);
  EXPECT_TRUE(x.properties.Has("Jet OLEDB:Allow Zero Length"));
  EXPECT_EQ(x.attributes, 0) << "a text takes the empty string but no null";
  EXPECT_TRUE(m.properties.Has("Jet OLEDB:Allow Zero Length"));
  EXPECT_TRUE(b.properties.All().empty());
  EXPECT_EQ(b.attributes, 0);

  ASSERT_EQ(faite->indexes.size(), 1U);
  EXPECT_EQ(faite->indexes[0].name, "PK");
  EXPECT_TRUE(faite->indexes[0].primaryKey);
  EXPECT_TRUE(faite->indexes[0].unique);
  EXPECT_EQ(faite->indexes[0].indexNulls, ado::adIndexNullsIgnore);
  EXPECT_EQ(faite->indexes[0].columns[1].name, "x");
  EXPECT_EQ(faite->indexes[0].columns[1].sortOrder, ado::adSortDescending);
  EXPECT_THAT(base.Provider().Statements(), IsEmpty());
}

class KindsWithCatalogColumns : public testing::TestWithParam<std::int16_t> {};
INSTANTIATE_TEST_SUITE_P(Generateurs, KindsWithCatalogColumns, testing::Values(TypJet, TypSqlServer, TypOdbc));

TEST_P(KindsWithCatalogColumns, AnAddedColumnIsAppendedToTheCatalogsTable) {
  BaseEnregistree base(GetParam());
  auto& tbl = base.AjouteTable("T", {"A"});
  tbl.AddFld("Neuf", ado::adLongVarWChar, 0, false);
  tbl.AddFld("Cpt", ado::adInteger, 4, true);
  EXPECT_EQ(base.Provider().Count(RecordedCall::Kind::kAppendColumn), 2U);
  EXPECT_THAT(base.Provider().Statements(), IsEmpty());
  const auto& colonnes = base.Provider().FindTable("T")->columns;
  ASSERT_EQ(colonnes.size(), 3U);
  EXPECT_EQ(colonnes[1].name, "Neuf");
  EXPECT_TRUE(colonnes[1].properties.Has("Jet OLEDB:Allow Zero Length"));
  EXPECT_TRUE(colonnes[2].properties.Has("AutoIncrement"));
}

TEST_P(KindsWithCatalogColumns, AnAddedColumnIsABooleanWithNothingMoreOrElseTakesNulls) {
  BaseEnregistree base(GetParam());
  auto& tbl = base.AjouteTable("T", {"A"});
  tbl.AddFld("B", ado::adBoolean, 1, true);
  tbl.AddFld("X", ado::adVarWChar, 20, true);
  tbl.AddFld("N", ado::adDouble, 8, false);
  const auto& colonnes = base.Provider().FindTable("T")->columns;
  ASSERT_EQ(colonnes.size(), 4U);
  EXPECT_TRUE(colonnes[1].properties.All().empty());
  EXPECT_EQ(colonnes[1].attributes, 0);
  EXPECT_TRUE(colonnes[2].properties.Item("Jet OLEDB:Allow Zero Length") == runtime::Variant(true));
  EXPECT_FALSE(colonnes[2].properties.Has("AutoIncrement")) << "a text is no counter";
  EXPECT_EQ(colonnes[2].attributes, 0);
  EXPECT_EQ(colonnes[2].definedSize, 20);
  EXPECT_TRUE(colonnes[3].properties.All().empty());
  EXPECT_EQ(colonnes[3].attributes, 2);
}

TEST(GenerateurAdox, AnIndexOnAnExistingTableIsAppendedToTheCatalogsTable) {
  BaseEnregistree base(TypJet);
  auto& tbl = base.AjouteTable("T", {"A", "B"});
  tbl.AddIdx("ix1", "A;-B", false, true);
  EXPECT_EQ(base.Provider().Count(RecordedCall::Kind::kAppendIndex), 1U);
  EXPECT_THAT(base.Provider().Statements(), IsEmpty());
  const auto& index = base.Provider().FindTable("T")->indexes;
  ASSERT_EQ(index.size(), 1U);
  EXPECT_EQ(index[0].name, "ix1");
  EXPECT_FALSE(index[0].primaryKey);
  EXPECT_TRUE(index[0].unique);
  EXPECT_EQ(index[0].indexNulls, 2);
  ASSERT_EQ(index[0].columns.size(), 2U);
  EXPECT_EQ(index[0].columns[0].sortOrder, 1);
  EXPECT_EQ(index[0].columns[1].name, "B");
  EXPECT_EQ(index[0].columns[1].sortOrder, 2);
}

TEST(GenerateurAdox, ATableWithoutFieldsIsAppendedAllTheSame) {
  BaseEnregistree base(TypJet);
  base.Base().AddTbl(Definition("VIDE"));
  EXPECT_EQ(base.Provider().Count(RecordedCall::Kind::kAppendTable), 1U);
}

class KindsWithoutGenerator : public testing::TestWithParam<std::int16_t> {};
INSTANTIATE_TEST_SUITE_P(Generateurs, KindsWithoutGenerator,
                         testing::ValuesIn(std::vector<std::int16_t>{TypOdbc, std::int16_t{7}, std::int16_t{-1}}));

TEST_P(KindsWithoutGenerator, AnIndexIsCreatedInMemoryAlone) {
  BaseEnregistree base(GetParam());
  auto tbl = Definition("T");
  tbl->AddFld("A", ado::adInteger, 4, false);
  auto& listee = base.Base().AddTbl(std::move(tbl));
  listee.AddIdx("ix", "-A", true, true);
  EXPECT_THAT(base.Provider().Statements(), IsEmpty());
  EXPECT_EQ(base.Provider().Count(RecordedCall::Kind::kAppendTable) + base.Provider().Count(RecordedCall::Kind::kAppendIndex), 0U);
  EXPECT_EQ(listee.ListeIdx("IX").SFld(), "-a");
  EXPECT_TRUE(listee.ListeIdx("IX").Primary());
}

TEST(GenerateurOdbc, ATableIsOnlyListed) {
  BaseEnregistree base(TypOdbc);
  auto tbl = Definition("T");
  tbl->AddFld("A", ado::adInteger, 4, false);
  tbl->AddIdx("IX", "A", false, false);
  base.Base().AddTbl(std::move(tbl));
  EXPECT_THAT(base.Provider().Statements(), IsEmpty());
  EXPECT_EQ(base.Provider().Count(RecordedCall::Kind::kAppendTable), 0U);
  EXPECT_EQ(base.Base().ListeTbl("T").NbFld(), 1);
}

}  // namespace
}  // namespace tamlo::tests
