// DLookup, DSum, DCount and their family.
#include "jet/sql/run/StoredParts.h"
#include "tests/jet/sql/SessionFixture.h"

using namespace jet;
using jet::sql::tests::SessionFixture;

namespace {

class JetDomain : public SessionFixture {
 protected:
  void SetUp() override {
    SessionFixture::SetUp();
    Run("CREATE TABLE Clients (Id LONG CONSTRAINT PK PRIMARY KEY, Nom TEXT(30))");
    for (const char* row : {"1, 'Dupont'", "2, 'élise'", "3, 'O''Hara'"}) Run(std::string("INSERT INTO Clients VALUES (") + row + ")");
    Run("CREATE TABLE [Lignes de vente] (Client LONG, Montant CURRENCY, [Quel jour] DATETIME)");
    for (const char* row : {"1, 10.5, #1/2/2003#", "1, 2.25, #1/5/2003#", "2, 100, NULL", "2, NULL, #2/1/2003#"})
      Run(std::string("INSERT INTO [Lignes de vente] VALUES (") + row + ")");
  }
};

TEST_F(JetDomain, LooksUpTheFirstRowThatMeetsTheCondition) {
  EXPECT_EQ(Rows("SELECT DLookup('Nom','Clients','Id=2')"), "élise");
  EXPECT_EQ(Rows("SELECT DLookup(\"[Nom]\", \"Clients\", \"[Id]=\" & 2)"), "élise");
  EXPECT_EQ(Rows("SELECT DLookup('Nom & Id','Clients','Nom=''dupont''')"), "Dupont1");
  EXPECT_EQ(Rows("SELECT DLookup('Nom','Clients','Id=99')"), "NULL");
  EXPECT_EQ(Rows("SELECT Client, DLookup('Nom','Clients','Id=' & Client) AS Qui FROM [Lignes de vente] ORDER BY Client, Montant DESC"),
            "1|Dupont; 1|Dupont; 2|élise; 2|élise");
}

TEST_F(JetDomain, SumsOfNothingAreNullAndCountsZero) {
  EXPECT_EQ(Rows("SELECT DSum('Montant','Lignes de vente'), DSum('Montant','[Lignes de vente]','Client=9')"), "1127500/10000|NULL");
  EXPECT_EQ(Rows("SELECT DCount('*','Lignes de vente'), DCount('Montant','Lignes de vente'), DCount('*','Lignes de vente','Client=9')"),
            "4|3|0");
  EXPECT_EQ(
      Rows("SELECT DMin('Montant','Lignes de vente'), DMax('Montant','Lignes de vente'), DAvg('Montant','Lignes de vente','Client=2')"),
      "22500/10000|1000000/10000|1000000/10000");
  EXPECT_EQ(
      Rows("SELECT DFirst('Montant','Lignes de vente'), DLast('Client','Lignes de vente'), DMax('Montant','Lignes de vente','Client=9')"),
      "105000/10000|2|NULL");
  EXPECT_EQ(
      Rows(
          "SELECT DVarP('Client','Lignes de vente'), DStDevP('Client','Lignes de vente'), DVar('Id','Clients'), DStDev('Id','Clients','Id=1')"),
      "0.25|0.5|1|NULL");
}

TEST_F(JetDomain, TheyHaveTheTypeOfWhatTheyGive) {
  const auto query = session->Open(
      "SELECT DLookup('Nom','Clients'), DSum('Montant','Lignes de vente'), DMax('[Quel jour]','Lignes de vente'), DCount('*','Clients')");
  EXPECT_EQ(query->Columns()[0].type.type, ColumnType::kText);
  EXPECT_EQ(query->Columns()[1].type.type, ColumnType::kCurrency);
  EXPECT_EQ(query->Columns()[2].type.type, ColumnType::kDate);
  EXPECT_EQ(query->Columns()[3].type.type, ColumnType::kLong);
  EXPECT_EQ(Rows("SELECT Nom FROM Clients WHERE Nom = DLookup('Nom','Clients','Id=1')"), "Dupont");
  EXPECT_EQ(Refusal("SELECT Id FROM Clients WHERE Id = DLookup('Nom','Clients')").first, ErrorCode::kTypeMismatch);
}

TEST_F(JetDomain, StandInChangesToo) {
  EXPECT_EQ(Run("UPDATE [Lignes de vente] SET Montant = DSum('Montant','Lignes de vente','Client=' & Client) WHERE Client = 1"), 2);
  EXPECT_EQ(Rows("SELECT Montant FROM [Lignes de vente] WHERE Client = 1"), "127500/10000; 127500/10000");
  EXPECT_EQ(Run("DELETE FROM Clients WHERE DCount('*','Lignes de vente','Client=' & Id) = 0"), 1);
  EXPECT_EQ(Run("INSERT INTO Clients VALUES (DMax('Id','Clients') + 1, 'Neuf')"), 1);
  EXPECT_EQ(Rows("SELECT Max(Id) FROM Clients"), "3");
}

TEST_F(JetDomain, WhatIsWrongInTheirTextsIsToldAndTheSessionGoesOn) {
  EXPECT_EQ(Refusal("SELECT DLookup('Nom','Absente')").first, ErrorCode::kNotFound);
  EXPECT_EQ(Refusal("SELECT DLookup('Absent','Clients')").first, ErrorCode::kNotFound);
  EXPECT_EQ(Refusal("SELECT DLookup('Nom','Cli' & 'entes')").first, ErrorCode::kNotFound);
  EXPECT_EQ(Refusal("SELECT DLookup('Nom','Clients','Id=')").first, ErrorCode::kSyntax);
  EXPECT_EQ(Refusal("SELECT DLookup('Nom','Clients','Nom=O''Hara')").first, ErrorCode::kSyntax);
  EXPECT_EQ(Refusal("SELECT DLookup('Nom')").first, ErrorCode::kSyntax);
  EXPECT_EQ(Refusal("SELECT DLookup('DLookup(''Nom'',''Clients'') & Rien','Clients')").first, ErrorCode::kNotFound);
  EXPECT_EQ(Rows("SELECT DLookup('Nom','Clients','Id=3')"), "O'Hara");
}

TEST_F(JetDomain, QueriesThatAskForEachOtherEndWithAnError) {
  jet::sql::StoreQuery(*database, "V", jet::sql::DesignOf("SELECT DLookup('a', 'W') AS a"));
  jet::sql::StoreQuery(*database, "W", jet::sql::DesignOf("SELECT DLookup('a', 'V') AS a"));
  const auto refusal = Refusal("SELECT a FROM V");
  EXPECT_EQ(refusal.first, ErrorCode::kUnsupported);
  EXPECT_NE(refusal.second.find("DLookup and the like use each other too deeply"), std::string::npos) << refusal.second;
  EXPECT_EQ(Rows("SELECT DLookup('Nom','Clients','Id=1')"), "Dupont");
}

}  // namespace
