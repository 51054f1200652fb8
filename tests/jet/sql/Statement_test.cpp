#include <gtest/gtest.h>

#include "tests/jet/sql/PlainSchema.h"

using jet::ColumnType;
using jet::sql::Translate;
using jet::sql::tests::PlainSchema;

namespace {

class JetStatement : public testing::Test {
 protected:
  JetStatement() {
    schema.AddTable(
        "Utl", {{"IdUtl", ColumnType::kLong}, {"Nom", ColumnType::kText}, {"Né le", ColumnType::kDate}, {"Actif", ColumnType::kBoolean}});
    schema.AddTable("VlmUtl", {{"IdUtl", ColumnType::kLong}, {"IdVlm", ColumnType::kLong}, {"Niveau", ColumnType::kInteger}});
    schema.AddTable("Straße/Élève", {{"ORDER", ColumnType::kLong}, {"élément", ColumnType::kText}});
    schema.Run("INSERT INTO t0 VALUES (1,'Dupont',37653,-1),(2,'élise',NULL,0),(3,'ZOLA',1.5,-1)");
    schema.Run("INSERT INTO t1 VALUES (1,10,5),(1,11,6),(2,10,7)");
    schema.Run("INSERT INTO t2 VALUES (7,'x')");
  }
  std::vector<std::string> Names(const std::string& text) {
    const auto statement = Translate(text, schema, schema.settings);
    std::vector<std::string> names;
    for (const auto& column : std::get<jet::sql::SelectPlan>(statement).columns) names.push_back(column.name);
    return names;
  }
  template <typename Plan>
  Plan PlanOf(const std::string& text) {
    return std::get<Plan>(Translate(text, schema, schema.settings));
  }
  PlainSchema schema;
};

TEST_F(JetStatement, NamesCompareWithoutCaseAccentedLettersToo) {
  EXPECT_EQ(schema.Query("SELECT [NÉ LE] FROM [UTL] WHERE [NOM]='Dupont'"), "37653.0");
  EXPECT_EQ(schema.Query("select [order], [ÉLÉMENT] from [STRAßE/éLèVE]"), "7|x");
}

TEST_F(JetStatement, TextsCompareWithoutCase) {
  EXPECT_EQ(schema.Query("SELECT IdUtl FROM Utl WHERE Nom='DUPONT'"), "1");
  EXPECT_EQ(schema.Query("SELECT Nom FROM Utl ORDER BY Nom"), "Dupont; élise; ZOLA");
  EXPECT_EQ(schema.Query("SELECT Nom FROM Utl WHERE Nom > 'e' ORDER BY 1 DESC"), "ZOLA; élise");
}

TEST_F(JetStatement, TopPercentAndTies) {
  EXPECT_EQ(schema.Query("SELECT TOP 2 IdUtl FROM Utl"), "1; 2");
  EXPECT_EQ(schema.Query("SELECT TOP 34 PERCENT IdUtl FROM Utl ORDER BY IdUtl"), "1; 2");
  const auto plan = PlanOf<jet::sql::SelectPlan>("SELECT TOP 1 IdVlm FROM VlmUtl ORDER BY Niveau");
  ASSERT_TRUE(plan.limit);
  EXPECT_EQ(*plan.limit, 1);
  EXPECT_EQ(plan.tieColumns, std::vector<std::size_t>{1});
}

TEST_F(JetStatement, JoinsNestedInParentheses) {
  EXPECT_EQ(schema.Query("SELECT U.Nom, V.IdVlm FROM Utl AS U INNER JOIN VlmUtl V ON U.IdUtl = V.IdUtl ORDER BY U.IdUtl, V.IdVlm"),
            "Dupont|10; Dupont|11; élise|10");
  EXPECT_EQ(schema.Query("SELECT U.Nom, V.IdVlm FROM Utl U LEFT JOIN VlmUtl V ON U.IdUtl = V.IdUtl WHERE V.IdUtl Is Null"), "ZOLA|NULL");
  EXPECT_EQ(schema.Query("SELECT U.Nom FROM VlmUtl V RIGHT JOIN Utl U ON U.IdUtl = V.IdUtl WHERE V.IdUtl Is Null"), "ZOLA");
  EXPECT_EQ(
      schema.Query("SELECT Count(*) FROM ((Utl U INNER JOIN VlmUtl V ON U.IdUtl=V.IdUtl) LEFT JOIN [Straße/Élève] S ON S.[ORDER]=U.IdUtl)"),
      "3");
  EXPECT_EQ(schema.Query("SELECT Count(*) FROM Utl, VlmUtl"), "9");
  EXPECT_EQ(schema.Query("SELECT Count(*) FROM Utl, (VlmUtl V LEFT JOIN [Straße/Élève] S ON S.[ORDER]=V.IdUtl)"), "9");
}

TEST_F(JetStatement, GroupsAndAggregates) {
  EXPECT_EQ(schema.Query("SELECT IdUtl, Count(*), Sum(Niveau) AS S FROM VlmUtl GROUP BY IdUtl HAVING Count(*)>1"), "1|2|11");
  EXPECT_EQ(schema.Query("SELECT Max([IdUtl]) FROM Utl"), "3");
  EXPECT_EQ(schema.Query("SELECT Max(IdUtl)+1 FROM Utl WHERE IdUtl > 100"), "NULL");
  EXPECT_EQ(schema.Query("SELECT First(Niveau), Last(Niveau), Var(Niveau), StDevP(Niveau) > 0.8 FROM VlmUtl"), "5|7|1.0|-1");
  EXPECT_EQ(schema.Query("SELECT Sum(Actif) FROM Utl"), "-2");
  EXPECT_EQ(schema.Query("SELECT Left(Nom,1) & '.', Count(*) FROM Utl GROUP BY Left(Nom,1) ORDER BY Left(Nom,1)"), "D.|1; é.|1; Z.|1");
  EXPECT_EQ(schema.Query("SELECT DISTINCT UCase(Nom) FROM (SELECT Nom FROM Utl UNION ALL SELECT UCase(Nom) FROM Utl) AS Q ORDER BY 1"),
            "DUPONT; ÉLISE; ZOLA");
}

TEST_F(JetStatement, UnionsAndSubqueries) {
  EXPECT_EQ(schema.Query("SELECT IdUtl FROM Utl UNION SELECT IdUtl FROM VlmUtl ORDER BY IdUtl DESC"), "3; 2; 1");
  EXPECT_EQ(schema.Query("SELECT Count(*) FROM (SELECT Nom FROM Utl UNION SELECT LCase(Nom) FROM Utl) AS Q"), "3");
  EXPECT_EQ(schema.Query("SELECT Nom FROM Utl WHERE IdUtl IN (SELECT IdUtl FROM VlmUtl WHERE Niveau > 6)"), "élise");
  EXPECT_EQ(schema.Query("SELECT Nom FROM Utl U WHERE EXISTS (SELECT * FROM VlmUtl WHERE IdUtl = U.IdUtl)"), "Dupont; élise");
  EXPECT_EQ(schema.Query("SELECT Nom, (SELECT Count(*) FROM VlmUtl V WHERE V.IdUtl=U.IdUtl) AS N FROM Utl U"), "Dupont|2; élise|1; ZOLA|0");
  EXPECT_EQ(schema.Query("SELECT Nom FROM Utl WHERE IdUtl >= ALL (SELECT IdUtl FROM Utl)"), "ZOLA");
  EXPECT_EQ(schema.Query("SELECT Nom FROM Utl WHERE IdUtl < ANY (SELECT IdUtl FROM VlmUtl)"), "Dupont");
  schema.AddQuery("Les élus", "SELECT Nom AS Élu, IdUtl FROM Utl WHERE Actif;");
  EXPECT_EQ(schema.Query("SELECT Q.[élu] FROM [les Élus] Q WHERE Q.IdUtl > 1"), "ZOLA");
}

TEST_F(JetStatement, ColumnsHaveTheirNames) {
  EXPECT_EQ(Names("SELECT * FROM Utl"), (std::vector<std::string>{"IdUtl", "Nom", "Né le", "Actif"}));
  EXPECT_EQ(Names("SELECT NOM, 1+1, Count(*) AS [Le nombre] FROM Utl GROUP BY NOM"),
            (std::vector<std::string>{"Nom", "Expr1000", "Le nombre"}));
  EXPECT_EQ(Names("SELECT Utl.*, VlmUtl.IdUtl FROM Utl, VlmUtl"),
            (std::vector<std::string>{"Utl.IdUtl", "Nom", "Né le", "Actif", "VlmUtl.IdUtl"}));
}

TEST_F(JetStatement, ColumnsKeepTheirTypes) {
  const auto plan = PlanOf<jet::sql::SelectPlan>(
      "SELECT [Né le], [Né le]+1, Max(Actif), Count(*), Nom & 'x', 1/2, Niveau FROM Utl, VlmUtl GROUP BY [Né le], Nom, Niveau");
  std::vector<ColumnType> types;
  for (const auto& column : plan.columns) types.push_back(column.type.type);
  EXPECT_EQ(types, (std::vector<ColumnType>{ColumnType::kDate, ColumnType::kDate, ColumnType::kBoolean, ColumnType::kLong,
                                            ColumnType::kText, ColumnType::kDouble, ColumnType::kInteger}));
}

TEST_F(JetStatement, AWholeTableIsAPlainScan) {
  EXPECT_TRUE(PlanOf<jet::sql::SelectPlan>("SELECT * FROM Utl").plainScan);
  EXPECT_TRUE(PlanOf<jet::sql::SelectPlan>("SELECT TOP 1 * FROM [UTL];").plainScan);
  EXPECT_TRUE(PlanOf<jet::sql::SelectPlan>("SELECT Nom, IdUtl FROM Utl").plainScan);
  EXPECT_FALSE(PlanOf<jet::sql::SelectPlan>("SELECT * FROM Utl WHERE IdUtl=1").plainScan);
  EXPECT_FALSE(PlanOf<jet::sql::SelectPlan>("SELECT * FROM Utl ORDER BY Nom").plainScan);
  EXPECT_FALSE(PlanOf<jet::sql::SelectPlan>("SELECT IdUtl+1 FROM Utl").plainScan);
  EXPECT_FALSE(PlanOf<jet::sql::SelectPlan>("SELECT DISTINCT Nom FROM Utl").plainScan);
}

TEST_F(JetStatement, DeletesNameTheirTable) {
  for (const char* text : {"DELETE * FROM Utl WHERE IdUtl=2", "DELETE FROM Utl WHERE IdUtl=2", "DELETE Utl.* FROM Utl WHERE IdUtl=2",
                           "DELETE U.* FROM Utl AS U WHERE U.IdUtl=2", "DELETE DISTINCTROW Utl.* FROM Utl WHERE IdUtl=2"}) {
    const auto plan = PlanOf<jet::sql::DeletePlan>(text);
    EXPECT_EQ(schema.Rows(plan.query.sql, 1), "2") << text;
  }
  const auto joined = PlanOf<jet::sql::DeletePlan>("DELETE V.* FROM Utl U INNER JOIN VlmUtl V ON U.IdUtl=V.IdUtl WHERE U.Nom='Dupont'");
  EXPECT_EQ(joined.source, 1U);
  EXPECT_EQ(schema.Rows(joined.query.sql, 2), "1|1; 1|2");
}

TEST_F(JetStatement, UpdatesMayJoin) {
  const auto plan = PlanOf<jet::sql::UpdatePlan>(
      "UPDATE Utl INNER JOIN VlmUtl V ON Utl.IdUtl=V.IdUtl SET V.Niveau = V.Niveau+1, Utl.Nom = UCase(Nom) WHERE IdVlm=10");
  ASSERT_EQ(plan.items.size(), 2U);
  EXPECT_EQ(plan.items[0].source, 1U);
  EXPECT_EQ(plan.items[0].column, 2U);
  EXPECT_EQ(plan.items[1].source, 0U);
  EXPECT_EQ(schema.Rows(plan.query.sql, 2), "6|DUPONT; 8|ÉLISE");
}

TEST_F(JetStatement, InsertForms) {
  auto plan = PlanOf<jet::sql::InsertPlan>("INSERT INTO [UTL] ([NOM],[ACTIF]) VALUES ('L''ECOLE', TRUE)");
  EXPECT_EQ(plan.columns, (std::vector<std::size_t>{1, 3}));
  EXPECT_EQ(schema.Rows(plan.query.sql, 2), "L'ECOLE|-1");
  plan = PlanOf<jet::sql::InsertPlan>("INSERT INTO [VLMUTL] IN \"C:\\Mes bases\\x.mdb\" SELECT * FROM [VLMUTL]");
  EXPECT_EQ(plan.target.file, "C:\\Mes bases\\x.mdb");
  EXPECT_EQ(schema.lastFile, "C:\\Mes bases\\x.mdb");
  plan = PlanOf<jet::sql::InsertPlan>("INSERT INTO VlmUtl SELECT 3 AS Niveau, IdUtl FROM Utl");
  EXPECT_EQ(plan.columns, (std::vector<std::size_t>{2, 0}));
  const auto into = PlanOf<jet::sql::SelectIntoPlan>("SELECT Nom INTO [Copie de] FROM Utl WHERE Actif=True");
  EXPECT_EQ(into.target.name, "Copie de");
  EXPECT_EQ(schema.Rows(into.query.sql, 1), "Dupont; ZOLA");
}

TEST_F(JetStatement, CreateTableWithEveryType) {
  const auto plan = PlanOf<jet::sql::CreateTablePlan>(
      "CREATE TABLE [Ma table] (Id COUNTER CONSTRAINT PK PRIMARY KEY, L LONG NOT NULL, T TEXT(30), M MEMO, Y YESNO, D DATETIME, C CURRENCY, B BYTE, S SHORT, F SINGLE,"
      " G DOUBLE, U GUID, X BINARY(20), O LONGBINARY, N DECIMAL(10,2) DEFAULT 1.5, R LONG CONSTRAINT FK REFERENCES Utl (IdUtl) ON DELETE CASCADE, CONSTRAINT U2 UNIQUE (L, T))");
  const auto& columns = plan.table.columns;
  ASSERT_EQ(columns.size(), 16U);
  EXPECT_TRUE(columns[0].autoNumber);
  EXPECT_TRUE(columns[1].required);
  EXPECT_EQ(columns[2].size, 30);
  EXPECT_EQ(columns[3].type, ColumnType::kMemo);
  EXPECT_EQ(columns[4].type, ColumnType::kBoolean);
  EXPECT_EQ(columns[12].size, 20);
  EXPECT_EQ(columns[14].precision, 10);
  EXPECT_EQ(columns[14].scale, 2);
  EXPECT_EQ(columns[14].defaultValue, "1.5");
  ASSERT_EQ(plan.table.indexes.size(), 2U);
  EXPECT_TRUE(plan.table.indexes[0].primary);
  EXPECT_EQ(plan.table.indexes[0].name, "PK");
  EXPECT_EQ(plan.table.indexes[1].columns.size(), 2U);
  ASSERT_EQ(plan.foreignKeys.size(), 1U);
  EXPECT_EQ(plan.foreignKeys[0].name, "FK");
  EXPECT_TRUE(plan.foreignKeys[0].cascadeDeletes);
  EXPECT_EQ(plan.foreignKeys[0].referencedColumns, std::vector<std::string>{"IdUtl"});
}

TEST_F(JetStatement, IndexesAndAlterations) {
  const auto index = PlanOf<jet::sql::CreateIndexPlan>("CREATE UNIQUE INDEX [Mon idx] ON [UTL] ([NOM] DESC, IdUtl) WITH DISALLOW NULL");
  EXPECT_TRUE(index.index.unique);
  EXPECT_TRUE(index.index.required);
  EXPECT_TRUE(index.index.columns[0].descending);
  EXPECT_TRUE(PlanOf<jet::sql::CreateIndexPlan>("CREATE INDEX p ON Utl (IdUtl) WITH PRIMARY").index.primary);
  EXPECT_TRUE(PlanOf<jet::sql::CreateIndexPlan>("CREATE INDEX p ON Utl (IdUtl) WITH IGNORE NULL").index.ignoreNulls);
  EXPECT_EQ(PlanOf<jet::sql::DropIndexPlan>("DROP INDEX p ON [UTL]").table, "UTL");
  EXPECT_EQ(PlanOf<jet::sql::DropTablePlan>("DROP TABLE [$TBLKORV$];").name, "$TBLKORV$");
  EXPECT_EQ(PlanOf<jet::sql::DropColumnPlan>("ALTER TABLE [UTL] DROP COLUMN [NOM]").columns, std::vector<std::string>{"NOM"});
  EXPECT_EQ(PlanOf<jet::sql::DropConstraintPlan>("ALTER TABLE [UTL] DROP CONSTRAINT [IX1]").name, "IX1");
  EXPECT_EQ(PlanOf<jet::sql::AddColumnPlan>("ALTER TABLE Utl ADD COLUMN X TEXT(5), Y LONG").columns.size(), 2U);
  EXPECT_EQ(PlanOf<jet::sql::AddColumnPlan>("ALTER TABLE Utl ADD X TEXT(5) NOT NULL").columns[0].name, "X");
  EXPECT_TRUE(PlanOf<jet::sql::AddColumnPlan>("ALTER TABLE Utl ADD CONSTRAINT PK PRIMARY KEY (IdUtl)").indexes[0].primary);
  EXPECT_EQ(PlanOf<jet::sql::AddColumnPlan>("ALTER TABLE Utl ADD CONSTRAINT F FOREIGN KEY (IdUtl) REFERENCES VlmUtl (IdUtl)")
                .foreignKeys[0]
                .referencedTable,
            "VlmUtl");
}

}  // namespace
