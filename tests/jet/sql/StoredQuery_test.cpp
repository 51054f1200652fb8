#include "tests/jet/sql/StoredQueryFixture.h"

using namespace jet;
using JetStoredQuery = jet::sql::tests::StoredQueryFixture;

namespace {

TEST_F(JetStoredQuery, SelectsAreUsedByTheirName) {
  Store("Niveaux élevés", 0,
        {{1, nullptr, nullptr, nullptr, 1},
         {3, nullptr, nullptr, nullptr, 0},
         {5, nullptr, "Utl", "U", 0},
         {5, nullptr, "VlmUtl", nullptr, 0},
         {6, "U.Nom", "Qui", nullptr, 0},
         {6, "Max(VlmUtl.Niveau)", "Plus", nullptr, 0},
         {7, "U.IdUtl = VlmUtl.IdUtl", "U", "VlmUtl", 1},
         {8, "VlmUtl.Niveau > 4", nullptr, nullptr, 0},
         {9, "U.Nom", nullptr, nullptr, 0},
         {11, "U.Nom", "D", nullptr, 0}});
  EXPECT_EQ(Rows("SELECT * FROM [NIVEAUX ÉLEVÉS]"), "élise|7; Dupont|6");
  EXPECT_EQ(Rows("SELECT Q.Plus FROM [Niveaux élevés] Q WHERE Q.Qui = 'DUPONT'"), "6");
  EXPECT_EQ(session->StoredQueryText("niveaux élevés").value_or("").rfind("SELECT U.Nom AS [Qui]", 0), 0U);
}

TEST_F(JetStoredQuery, OuterJoinsOptionsAndUnions) {
  Store("Sans", 0,
        {{1, nullptr, nullptr, nullptr, 1},
         {3, nullptr, "1", nullptr, 0x10},
         {5, nullptr, "Utl", nullptr, 0},
         {5, nullptr, "VlmUtl", nullptr, 0},
         {6, "Utl.Nom", nullptr, nullptr, 0},
         {7, "Utl.IdUtl = VlmUtl.IdUtl", "Utl", "VlmUtl", 2},
         {8, "VlmUtl.IdUtl Is Null", nullptr, nullptr, 0},
         {11, "Utl.Nom", "D", nullptr, 0}});
  Store("Tous", 0x80,
        {{1, nullptr, nullptr, nullptr, 9},
         {3, nullptr, nullptr, nullptr, 2},
         {5, "SELECT IdUtl FROM Utl", nullptr, "X7YZ_____1", 0},
         {5, "SELECT IdUtl FROM VlmUtl", nullptr, "X7YZ_____2", 0}});
  Run("INSERT INTO Utl VALUES (4,'Abel')");
  EXPECT_EQ(Rows("SELECT * FROM Sans"), "ZOLA");
  EXPECT_EQ(Rows("SELECT Count(*) FROM Tous"), "4");
}

TEST_F(JetStoredQuery, WhatGivesNoRowsIsRefusedByName) {
  Store("Vide", 0x20, {{1, nullptr, nullptr, nullptr, 5}, {5, nullptr, "Utl", nullptr, 0}});
  Store("Direct", 0x70, {{1, "SELECT 1", "ODBC;", nullptr, 8}});
  Store("Boucle", 0, {{1, nullptr, nullptr, nullptr, 1}, {3, nullptr, nullptr, nullptr, 1}, {5, nullptr, "Boucle", nullptr, 0}});
  for (const char* name : {"Vide", "Direct", "Boucle"}) {
    const auto refusal = Refusal(std::string("SELECT * FROM ") + name);
    EXPECT_EQ(refusal.first, ErrorCode::kUnsupported);
    EXPECT_NE(refusal.second.find(name), std::string::npos) << refusal.second;
  }
}

TEST_F(JetStoredQuery, ActionsRunByTheirName) {
  Store("Ajoute un", 0x40,
        {{1, nullptr, "Utl", nullptr, 3},
         {2, nullptr, "[Quel nom]", nullptr, 10},
         {2, nullptr, "Numéro", nullptr, 4},
         {6, "[Numéro]", nullptr, "IdUtl", 0x8000 - 0x10000},
         {6, "[Quel nom]", nullptr, "Nom", 0x8000 - 0x10000}});
  Store("Reprend", 0x40,
        {{1, nullptr, "VlmUtl", nullptr, 3},
         {5, nullptr, "Utl", "U", 0},
         {6, "U.IdUtl", nullptr, "IdUtl", 0},
         {6, "9", "Neuf", "Niveau", 0}});
  Store("Monte", 0x30,
        {{1, nullptr, nullptr, nullptr, 4},
         {5, nullptr, "Utl", nullptr, 0},
         {5, nullptr, "VlmUtl", nullptr, 0},
         {6, "VlmUtl.Niveau + [De combien]", nullptr, "VlmUtl.Niveau", 0},
         {7, "Utl.IdUtl = VlmUtl.IdUtl", "Utl", "VlmUtl", 1},
         {8, "Utl.Nom = 'Dupont'", nullptr, nullptr, 0}});
  Store("Retire", 0x20,
        {{1, nullptr, nullptr, nullptr, 5},
         {5, nullptr, "VlmUtl", nullptr, 0},
         {6, "VlmUtl.*", nullptr, nullptr, 0},
         {8, "Niveau > 8", nullptr, nullptr, 0}});
  Store("Copie", 0x50,
        {{1, nullptr, "Copie de Utl", nullptr, 2},
         {5, nullptr, "Utl", nullptr, 0},
         {6, "Nom", "Qui", nullptr, 0},
         {8, "IdUtl < 3", nullptr, nullptr, 0}});
  Store("Définit", 0x60, {{1, "CREATE TABLE Faite (A LONG);", nullptr, nullptr, 7}});
  Store("Sans fin", 0x60, {{1, "EXECUTE [Sans fin]", nullptr, nullptr, 7}});
  Store("Sans fin non plus", 0x60, {{1, "Sans fin non plus", nullptr, nullptr, 7}});

  EXPECT_EQ(Run("EXECUTE [Ajoute un] 'Abel', 4"), 1);
  EXPECT_EQ(Run("exec [ajoute un]('Zoé', 2 + 3);"), 1);
  EXPECT_EQ(Rows("SELECT Nom FROM Utl WHERE IdUtl > 3 ORDER BY 1"), "Abel; Zoé");
  EXPECT_EQ(Run("Reprend"), 5);
  EXPECT_EQ(session->Execute("[MONTE];", std::vector<jet::sql::Parameter>{{"De combien", Value(std::int32_t{100})}}), 3);
  EXPECT_EQ(Rows("SELECT Niveau FROM VlmUtl WHERE IdUtl = 1 ORDER BY Niveau"), "105; 106; 109");
  EXPECT_EQ(Run("EXECUTE Retire"), 7);
  EXPECT_EQ(Run("Copie"), 2);
  EXPECT_EQ(Rows("SELECT Qui FROM [Copie de Utl]"), "Dupont; élise");
  EXPECT_EQ(Run("Définit"), 0);
  EXPECT_EQ(Run("INSERT INTO Faite VALUES (1)"), 1);

  EXPECT_EQ(Refusal("EXECUTE [Ajoute un] 'Abel'").second,
            "in the query \"Ajoute un\": no column or parameter value \"Numéro\" (at character 87)");
  EXPECT_EQ(Refusal("EXECUTE [Ajoute un] 'Abel', 4, 5").first, ErrorCode::kNotFound);
  EXPECT_EQ(Refusal("EXECUTE [Ajoute un] 'Abel', 'quatre'").first, ErrorCode::kTypeMismatch);
  EXPECT_EQ(Refusal("EXECUTE Absente").second, "no stored query \"Absente\" (at character 9)");
  for (const char* name : {"Sans fin", "Sans fin non plus"}) EXPECT_EQ(Refusal(name).first, ErrorCode::kUnsupported) << name;
  EXPECT_EQ(Refusal("SELECT * FROM Retire").first, ErrorCode::kUnsupported);
}

TEST_F(JetStoredQuery, ParametersOfStoredQueriesBelongToTheStatementThatUsesThem) {
  Store("Depuis", 0,
        {{1, nullptr, nullptr, nullptr, 1},
         {2, nullptr, "Niveau minimal", nullptr, 4},
         {5, nullptr, "VlmUtl", nullptr, 0},
         {6, "IdUtl", nullptr, nullptr, 0},
         {8, "Niveau >= [Niveau minimal] And IdUtl <> [Sauf]", nullptr, nullptr, 0}});
  const auto parameters = session->ParametersOf("SELECT * FROM Utl, Depuis WHERE Utl.IdUtl = Depuis.IdUtl AND Nom <> [Qui]");
  ASSERT_EQ(parameters.size(), 3U);
  EXPECT_EQ(parameters[0].name, "Niveau minimal");
  EXPECT_EQ(parameters[0].type.type, ColumnType::kLong);
  EXPECT_EQ(parameters[1].name, "Sauf");
  EXPECT_EQ(parameters[2].name, "Qui");
  const auto query = session->Open("SELECT Nom FROM Utl, Depuis WHERE Utl.IdUtl = Depuis.IdUtl AND Nom <> [Qui] ORDER BY Nom",
                                   std::vector<jet::sql::Parameter>{{"qui", Value("x")}, {"", Value("6")}, {"", Value(std::int32_t{7})}});
  ASSERT_TRUE(query->Next());
  EXPECT_EQ(query->Get(0).AsText(), "Dupont");
  ASSERT_TRUE(query->Next());
  EXPECT_EQ(query->Get(0).AsText(), "élise");
  EXPECT_FALSE(query->Next());
  EXPECT_EQ(Refusal("SELECT * FROM Depuis").second,
            "in the query \"Depuis\": no column or parameter value \"Niveau minimal\" (at character 79)");
}

TEST_F(JetStoredQuery, FormsAreNamed) {
  Store(
      "Filtre", 0,
      {{1, nullptr, nullptr, nullptr, 1}, {5, nullptr, "Utl", nullptr, 0}, {8, "IdUtl = [Forms]![Saisie]![Numéro]", nullptr, nullptr, 0}});
  const auto [code, text] = Refusal("SELECT * FROM Filtre");
  EXPECT_EQ(code, ErrorCode::kUnsupported);
  EXPECT_NE(text.find("\"Forms!Saisie!Numéro\" is a control of a form"), std::string::npos) << text;
}

TEST_F(JetStoredQuery, CrosstabsWithAFixedListOfColumns) {
  Store("Croisé", 0x10,
        {{1, nullptr, nullptr, nullptr, 6},
         {5, nullptr, "Utl", nullptr, 0},
         {5, nullptr, "VlmUtl", nullptr, 0},
         {6, "Utl.Nom", nullptr, nullptr, 2},
         {6, "\"N\" & Niveau In (\"N7\",\"N5\",\"N1\")", nullptr, nullptr, 1},
         {6, "Count(VlmUtl.IdUtl)", "Combien", nullptr, 0},
         {7, "Utl.IdUtl = VlmUtl.IdUtl", "Utl", "VlmUtl", 1},
         {9, "Utl.Nom", nullptr, nullptr, 2},
         {9, "\"N\" & Niveau", nullptr, nullptr, 1}});
  EXPECT_EQ(Rows("SELECT * FROM Croisé"), "Dupont|NULL|1|NULL; élise|1|NULL|NULL");
  EXPECT_EQ(Rows("SELECT Nom FROM [Croisé] WHERE N7 = 1"), "élise");
}

}  // namespace
