// CREATE VIEW and CREATE PROCEDURE: statements stored in a file as Access stores them.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <set>

#include "jet/sql/run/StoredParts.h"
#include "tests/jet/sql/SessionFixture.h"
#include "tests/support_lib/SampleFiles.h"

using namespace jet;
using jet::sql::DesignOf;
using jet::sql::QueryAttribute;
using jet::sql::QueryDesign;
using jet::sql::QueryParts;
using jet::sql::StatementOf;

namespace {

namespace fs = std::filesystem;

class JetStoredWriter : public jet::sql::tests::SessionFixture {
 protected:
  void SetUp() override {
    SessionFixture::SetUp();
    Run("CREATE TABLE Clients (Id LONG CONSTRAINT PK PRIMARY KEY, Nom TEXT(30), Ville TEXT(30))");
    Run("CREATE TABLE Commandes (No LONG, Client LONG, Montant CURRENCY, Jour DATETIME)");
    for (const char* row : {"1,'Dupont','Lyon'", "2,'élise','Paris'", "3,'ZOLA','Paris'"})
      Run(std::string("INSERT INTO Clients VALUES (") + row + ")");
    for (const char* row : {"10,1,5,#2001-02-03#", "11,1,7.5,#2001-03-03#", "12,2,9,#2002-02-03#"})
      Run(std::string("INSERT INTO Commandes VALUES (") + row + ")");
  }
  /// What the statement gives by itself and, stored and opened anew, by its name.
  void ExpectSame(const std::string& statement) {
    const std::string direct = Rows(statement);
    Run("CREATE VIEW [La vue] AS " + statement);
    const std::string path = database->Path();
    session.reset();
    database.reset();
    database = Database::Open(path);
    session = std::make_unique<jet::sql::Session>(*database);
    EXPECT_EQ(Rows("SELECT * FROM [la VUE]"), direct) << statement;
    Run("DROP VIEW [La vue]");
    EXPECT_EQ(database->FindObject("La vue"), nullptr);
  }
};

TEST_F(JetStoredWriter, AViewGivesWhatItsStatementGives) {
  for (
      const char* statement : {
          "SELECT * FROM Clients",
          "SELECT Nom, Ville AS [Où] FROM Clients AS C WHERE C.Ville = 'Paris' ORDER BY Nom DESC, Id;",
          "SELECT DISTINCT Ville FROM Clients",
          "SELECT TOP 2 Nom, Left(Nom, 2) AS Début FROM Clients ORDER BY Id",
          "SELECT TOP 50 PERCENT Id FROM Clients ORDER BY Id DESC",
          "SELECT C.Nom, Sum(O.Montant) AS Total FROM Clients C LEFT JOIN Commandes O ON C.Id = O.Client GROUP BY C.Nom HAVING Count(*) > 0 ORDER BY C.Nom",
          "SELECT A.Nom, B.Nom AS Autre, O.No FROM (Clients AS A INNER JOIN Commandes AS O ON A.Id = O.Client) LEFT JOIN Clients AS B ON "
          "(A.Ville = B.Ville AND Right(A.Nom, 1) <> Right(B.Nom, 1)) ORDER BY O.No",
          "SELECT Clients.Nom, Commandes.No FROM Clients, Commandes WHERE Clients.Id = Commandes.Client AND Commandes.No IN (10, 12) ORDER BY No",
          "SELECT X.n FROM (SELECT Id + 1 AS n FROM Clients) AS X ORDER BY X.n",
          "SELECT Id FROM Clients UNION SELECT Client FROM Commandes ORDER BY Id DESC",
          "SELECT Id FROM Clients UNION ALL SELECT Client FROM Commandes UNION ALL SELECT No FROM Commandes ORDER BY Id",
          "SELECT Nom FROM Clients WHERE EXISTS (SELECT * FROM Commandes WHERE Client = Clients.Id ORDER BY No) ORDER BY Nom",
          "TRANSFORM Sum(Montant) AS S SELECT Client FROM Commandes GROUP BY Client ORDER BY Client PIVOT Year(Jour)",
          "TRANSFORM Sum(Montant) SELECT Client FROM Commandes GROUP BY Client ORDER BY Client PIVOT Year(Jour) IN (2002, 2001, 1999)",
      })
    ExpectSame(statement);
}

TEST_F(JetStoredWriter, AViewMayNameItsColumns) {
  Run("CREATE VIEW Gens (Qui, Endroit) AS SELECT Nom, Ville FROM Clients");
  EXPECT_EQ(Rows("SELECT Endroit FROM Gens WHERE Qui = 'ZOLA'"), "Paris");
  EXPECT_EQ(Refusal("CREATE VIEW G2 (Qui) AS SELECT Nom, Ville FROM Clients").first, ErrorCode::kSyntax);
  EXPECT_EQ(Refusal("CREATE VIEW G2 (Qui) AS SELECT * FROM Clients").first, ErrorCode::kSyntax);
}

TEST_F(JetStoredWriter, AProcedureRunsWithItsParameters) {
  Run("CREATE PROCEDURE Ajoute ([le numéro] LONG, nom TEXT(30)) AS INSERT INTO Clients (Id, Nom) VALUES ([le numéro], nom)");
  Run("EXECUTE Ajoute 7, 'Sept'");
  EXPECT_EQ(Rows("SELECT Nom FROM Clients WHERE Id = 7"), "Sept");
  Run("CREATE PROC Change n LONG AS UPDATE Clients INNER JOIN Commandes ON Clients.Id = Commandes.Client SET Ville = 'X', Clients.Nom = Nom & '!' WHERE Id = n");
  Run("EXECUTE Change 2");
  EXPECT_EQ(Rows("SELECT Nom, Ville FROM Clients WHERE Id = 2"), "élise!|X");
  Run("CREATE PROCEDURE Vers AS INSERT INTO Clients (Id, Nom) SELECT No, 'de ' & No FROM Commandes WHERE No > 10");
  Run("EXECUTE Vers");
  EXPECT_EQ(Rows("SELECT Nom FROM Clients WHERE Id > 10 ORDER BY Id"), "de 11; de 12");
  Run("CREATE PROCEDURE Copie AS SELECT * INTO Archive FROM Commandes");
  Run("Copie");
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM Archive"), "3");
  Run("CREATE PROCEDURE Vide AS DELETE * FROM Archive WHERE No = 11");
  Run("EXEC Vide");
  EXPECT_EQ(Rows("SELECT No FROM Archive ORDER BY No"), "10; 12");
  Run("CREATE PROCEDURE Table2 AS CREATE TABLE Autre (A LONG, B TEXT(5))");
  Run("EXEC Table2");
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM Autre"), "0");
  Run("CREATE PROCEDURE Cherche AS PARAMETERS [Quelle ville] TEXT; SELECT Nom FROM Clients WHERE Ville = [Quelle ville]");
  const auto query = session->Open("EXECUTE Cherche 'Lyon'");
  ASSERT_TRUE(query->Next());
  EXPECT_EQ(query->Get(0).AsText(), "Dupont");
}

TEST_F(JetStoredWriter, WhatCannotBeIsRefusedAndLeavesNothing) {
  Run("CREATE VIEW Une AS SELECT Nom FROM Clients");
  const std::size_t objects = database->Objects().size();
  const std::string rows = Rows("SELECT COUNT(*) FROM MSysQueries");
  for (const auto& [statement, code] : std::initializer_list<std::pair<const char*, ErrorCode>>{
           {"CREATE VIEW Une AS SELECT Id FROM Clients", ErrorCode::kAlreadyExists},
           {"CREATE VIEW Clients AS SELECT Id FROM Clients", ErrorCode::kAlreadyExists},
           {"CREATE VIEW Deux AS SELECT Id FROM Absente", ErrorCode::kNotFound},
           {"CREATE VIEW Deux AS SELECT FROM", ErrorCode::kSyntax},
           {"CREATE VIEW Deux AS DELETE * FROM Clients", ErrorCode::kUnsupported},
           {"CREATE VIEW Deux AS SELECT Id FROM Clients UNION SELECT No FROM Commandes UNION ALL SELECT 1 FROM Clients",
            ErrorCode::kUnsupported},
           {"CREATE VIEW [a.b] AS SELECT Id FROM Clients", ErrorCode::kUnsupported},
           {"CREATE PROCEDURE Deux n AS SELECT Id FROM Clients", ErrorCode::kSyntax},
           {"CREATE VIEW Deux SELECT Id FROM Clients", ErrorCode::kSyntax},
           {"DROP VIEW Clients", ErrorCode::kNotFound},
           {"DROP PROCEDURE Absente", ErrorCode::kNotFound}}) {
    EXPECT_EQ(Refusal(statement).first, code) << statement;
    EXPECT_EQ(database->Objects().size(), objects) << statement;
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM MSysQueries"), rows) << statement;
  }
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM Clients"), "3");
}

#ifndef _WIN32
TEST_F(JetStoredWriter, AnotherReaderPrintsTheStatement) {
  Run("CREATE VIEW Gens AS SELECT TOP 5 C.Nom, Sum(Montant) AS Total FROM Clients AS C LEFT JOIN Commandes AS O ON C.Id = O.Client WHERE C.Id < 9 "
      "GROUP BY C.Nom ORDER BY C.Nom DESC");
  const std::string path = database->Path();
  session.reset();
  database.reset();
  FILE* pipe = ::popen(("LC_ALL=C.UTF-8 mdb-queries '" + path + "' Gens").c_str(), "r");
  std::string printed;
  for (int c; (c = std::fgetc(pipe)) != EOF;) printed += static_cast<char>(c);
  EXPECT_EQ(::pclose(pipe), 0);
  // It knows of no joins, aliases and groups.
  EXPECT_NE(printed.find("SELECT TOP 5 C.Nom,Sum(Montant) FROM [Clients],[Commandes] WHERE C.Id < 9 ORDER BY C.Nom DESC"),
            std::string::npos)
      << printed;
}
#endif

/// Null for a file that is encrypted or has a password.
std::unique_ptr<Database> Opened(const fs::path& file) {
  OpenOptions options;
  options.mode = OpenMode::kReadOnly;
  try {
    return Database::Open(file.string(), options);
  } catch (const Error&) {
    return nullptr;
  }
}

// Putting parts together adds parentheses of its own.
std::string WithoutParentheses(std::string text) {
  std::erase_if(text, [](char c) { return c == '(' || c == ')'; });
  return text;
}

/// Which tables the joins are between, and how: several conditions between the same two are one.
std::set<std::string> Joins(const QueryParts& parts) {
  std::set<std::string> joins;
  if (const auto found = parts.find(QueryAttribute::kJoin); found != parts.end())
    for (const auto& part : found->second) joins.insert(part.name1 + " " + std::to_string(part.flag) + " " + part.name2);
  return joins;
}

/// Taken apart, the queries that others stored have the very parts under which they stored them.
TEST(JetStoredWriterOnSamples, TheQueriesOfRealFilesComeApartAsTheyWereStored) {
  if (tamlo::tests::AllSampleFiles().empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with Access files";
  int all = 0;
  for (const fs::path& file : tamlo::tests::AllSampleFiles()) {
    const std::unique_ptr<Database> database = Opened(file);
    if (database == nullptr) continue;
    for (const CatalogObject& object : database->Objects()) {
      if (object.kind != ObjectKind::kQuery || object.name.rfind("~sq_", 0) == 0) continue;
      const QueryParts stored = jet::sql::ReadQueryParts(*database, object.id);
      const auto type = stored.find(QueryAttribute::kType);
      if (type != stored.end() && type->second.front().flag == static_cast<int>(jet::sql::QueryType::kPassThrough)) continue;
      const std::string text = StatementOf(stored, object.name, false);
      const QueryDesign design = DesignOf(text);
      EXPECT_EQ(WithoutParentheses(StatementOf(design.parts, object.name, false)), WithoutParentheses(text)) << file << ": " << object.name;
      EXPECT_EQ(Joins(design.parts), Joins(stored)) << file << ": " << object.name;
      ++all;
    }
  }
  EXPECT_GE(all, 49);
}

}  // namespace
