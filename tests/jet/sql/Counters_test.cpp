// Counters, what they gave last, and transactions written as statements.
#include "tests/jet/sql/SessionFixture.h"

using namespace jet;
using jet::sql::tests::SessionFixture;

namespace {

class JetCounters : public SessionFixture {
 protected:
  void SetUp() override {
    SessionFixture::SetUp();
    Run("CREATE TABLE Clients (Id COUNTER CONSTRAINT PK PRIMARY KEY, Nom TEXT(30))");
  }
};

TEST_F(JetCounters, BeginWhereTheyAreToldTo) {
  Run("CREATE TABLE Factures (No COUNTER(1000, 1) CONSTRAINT PF PRIMARY KEY, Montant CURRENCY)");
  Run("INSERT INTO Factures (Montant) VALUES (1)");
  Run("INSERT INTO Factures (Montant) VALUES (2)");
  EXPECT_EQ(Rows("SELECT No FROM Factures ORDER BY No"), "1000; 1001");
  Run("CREATE TABLE Avoirs (No AUTOINCREMENT(7), Montant CURRENCY)");
  Run("INSERT INTO Avoirs (Montant) VALUES (1)");
  EXPECT_EQ(Rows("SELECT No FROM Avoirs"), "7");
  const auto refusal = Refusal("CREATE TABLE Pas (No COUNTER(1, 10))");
  EXPECT_EQ(refusal.first, ErrorCode::kUnsupported);
  EXPECT_NE(refusal.second.find("a counter counts by 1"), std::string::npos);
}

TEST_F(JetCounters, AnAddedOneNumbersTheRowsFromItsFirstNumber) {
  Run("CREATE TABLE Notes (Texte TEXT(30))");
  Run("INSERT INTO Notes VALUES ('a')");
  Run("INSERT INTO Notes VALUES ('b')");
  Run("ALTER TABLE Notes ADD COLUMN No COUNTER(50, 1)");
  Run("INSERT INTO Notes (Texte) VALUES ('c')");
  EXPECT_EQ(Rows("SELECT Texte, No FROM Notes ORDER BY No"), "a|50; b|51; c|52");
  Run("CREATE TABLE Vide (Texte TEXT(30))");
  Run("ALTER TABLE Vide ADD COLUMN No COUNTER(50, 1)");
  Run("INSERT INTO Vide (Texte) VALUES ('a')");
  EXPECT_EQ(Rows("SELECT No FROM Vide"), "50");
}

TEST_F(JetCounters, TheLastNumberGivenIsTheSessionsOwn) {
  EXPECT_EQ(Rows("SELECT @@IDENTITY"), "0");
  Run("INSERT INTO Clients (Nom) VALUES ('a')");
  Run("INSERT INTO Clients (Nom) VALUES ('b')");
  EXPECT_EQ(Rows("SELECT @@IDENTITY"), "2");
  EXPECT_EQ(Rows("SELECT @@identity AS n, Nom FROM Clients WHERE Id = @@IDENTITY"), "2|b");
  Run("INSERT INTO Clients (Id, Nom) VALUES (90, 'c')");
  EXPECT_EQ(Rows("SELECT @@IDENTITY"), "2");  // that number was not given by the counter
  Run("CREATE TABLE Copie (No COUNTER, Nom TEXT(30))");
  Run("INSERT INTO Copie (Nom) SELECT Nom FROM Clients");
  EXPECT_EQ(Rows("SELECT @@IDENTITY"), "3");
}

TEST_F(JetCounters, TransactionsAreWrittenAsStatementsToo) {
  for (const char* begin : {"BEGIN TRANSACTION", "begin work;"}) {
    Run(begin);
    Run("INSERT INTO Clients (Nom) VALUES ('x')");
    EXPECT_EQ(database->TransactionDepth(), 1);
    Run("ROLLBACK TRANSACTION");
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM Clients"), "0");
  }
  Run("BEGIN TRANSACTION");
  Run("INSERT INTO Clients (Nom) VALUES ('garde')");
  Run("BEGIN TRANSACTION");
  Run("DELETE FROM Clients");
  Run("ROLLBACK");
  Run("COMMIT");
  EXPECT_EQ(database->TransactionDepth(), 0);
  EXPECT_EQ(Rows("SELECT Nom FROM Clients"), "garde");
}

TEST_F(JetCounters, TheEndOfNoTransactionIsAnError) {
  EXPECT_EQ(Refusal("COMMIT TRANSACTION").first, ErrorCode::kNoTransaction);
  EXPECT_EQ(Refusal("ROLLBACK").first, ErrorCode::kNoTransaction);
  EXPECT_EQ(Refusal("BEGIN").first, ErrorCode::kSyntax);
}

}  // namespace
