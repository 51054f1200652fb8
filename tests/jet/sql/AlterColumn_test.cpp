// ALTER TABLE ... ALTER COLUMN: another type, size, default or counter for a column that has rows.
#include "tests/jet/sql/SessionFixture.h"

using namespace jet;
using jet::sql::tests::SessionFixture;

namespace {

class JetAlterColumn : public SessionFixture {
 protected:
  void SetUp() override {
    SessionFixture::SetUp();
    Run("CREATE TABLE Articles (Id LONG CONSTRAINT PK PRIMARY KEY, Code TEXT(6) NOT NULL, Prix DOUBLE, Notes MEMO, Vrai YESNO)");
    Run("CREATE INDEX ParCode ON Articles (Code DESC, Prix)");
    Run("INSERT INTO Articles VALUES (1, '10', 2.5, 'un', True)");
    Run("INSERT INTO Articles VALUES (2, '20', NULL, NULL, False)");
    Run("INSERT INTO Articles VALUES (3, '007', -3, 'trois', True)");
  }
  std::string Names() {
    std::string names;
    for (const ColumnDef& column : database->OpenTable("Articles").Columns()) names += column.name + " ";
    return names;
  }
  const ColumnDef& Column(const char* name) {
    Table& table = database->OpenTable("Articles");
    return table.Columns()[*table.FindColumn(name)];
  }
};

TEST_F(JetAlterColumn, TheValuesStandInTheNewTypeAtTheOldPlace) {
  Run("ALTER TABLE Articles ALTER COLUMN Code LONG");
  EXPECT_EQ(Names(), "Id Code Prix Notes Vrai ");
  EXPECT_EQ(Column("Code").type, ColumnType::kLong);
  EXPECT_EQ(Rows("SELECT * FROM Articles ORDER BY Id"), "1|10|2.5|un|True; 2|20|NULL|NULL|False; 3|7|-3|trois|True");
  Run("INSERT INTO Articles VALUES (4, 40, 1, 'quatre', False)");
  EXPECT_EQ(Rows("SELECT Id FROM Articles WHERE Code = 40"), "4");
  EXPECT_EQ(Rows("SELECT Id FROM Articles ORDER BY Code DESC"), "4; 2; 1; 3");
  // The index was built over the new values, in its directions, and the column still asks for a value.
  Table& table = database->OpenTable("Articles");
  const IndexDef& index = table.Indexes()[*table.FindIndex("ParCode")];
  ASSERT_EQ(index.columns.size(), 2U);
  EXPECT_TRUE(index.columns[0].descending);
  EXPECT_FALSE(index.columns[1].descending);
  EXPECT_EQ(Refusal("INSERT INTO Articles (Id) VALUES (5)").first, ErrorCode::kNullNotAllowed);
}

TEST_F(JetAlterColumn, EveryTypeBecomesATextAndAMemo) {
  for (const char* column : {"Id", "Prix", "Vrai", "Notes"}) Run(std::string("ALTER TABLE Articles ALTER COLUMN ") + column + " TEXT(20)");
  EXPECT_EQ(Rows("SELECT * FROM Articles ORDER BY Id"), "1|10|2.5|un|-1; 2|20|NULL|NULL|0; 3|007|-3|trois|-1");
  for (const char* column : {"Id", "Code", "Prix", "Vrai", "Notes"}) {
    Run(std::string("ALTER TABLE Articles ALTER COLUMN ") + column + (std::string(column) == "Id" ? " TEXT(255)" : " TEXT(30)"));
  }
  Run("DROP INDEX ParCode ON Articles");
  Run("ALTER TABLE Articles ALTER COLUMN Code MEMO");
  EXPECT_EQ(Column("Code").type, ColumnType::kMemo);
  EXPECT_EQ(Rows("SELECT Code FROM Articles ORDER BY Id"), "10; 20; 007");
  EXPECT_EQ(Names(), "Id Code Prix Notes Vrai ");
}

TEST_F(JetAlterColumn, AValueThatDoesNotFitLeavesEverythingAsItWas) {
  const std::string before = Rows("SELECT * FROM Articles ORDER BY Id");
  for (const auto& [statement, code] : std::initializer_list<std::pair<const char*, ErrorCode>>{
           {"ALTER TABLE Articles ALTER COLUMN Code TEXT(2)", ErrorCode::kValueTooLong},
           {"ALTER TABLE Articles ALTER COLUMN Notes LONG", ErrorCode::kTypeMismatch},
           {"ALTER TABLE Articles ALTER COLUMN Notes TEXT(3)", ErrorCode::kValueTooLong},
           {"ALTER TABLE Articles ALTER COLUMN Prix LONG", ErrorCode::kTypeMismatch},
           {"ALTER TABLE Articles ALTER COLUMN Prix DOUBLE NOT NULL", ErrorCode::kNullNotAllowed},
           {"ALTER TABLE Articles ALTER COLUMN Vrai YESNO CONSTRAINT U UNIQUE", ErrorCode::kDuplicateKey},
           {"ALTER TABLE Articles ALTER COLUMN Prix COUNTER", ErrorCode::kUnsupported},
           {"ALTER TABLE Articles ALTER COLUMN Pas LONG", ErrorCode::kNotFound},
           {"ALTER TABLE Pas ALTER COLUMN Id LONG", ErrorCode::kNotFound},
           {"ALTER TABLE Articles ALTER COLUMN Code", ErrorCode::kSyntax}}) {
    EXPECT_EQ(Refusal(statement).first, code) << statement;
    EXPECT_EQ(Rows("SELECT * FROM Articles ORDER BY Id"), before) << statement;
    EXPECT_EQ(Names(), "Id Code Prix Notes Vrai ") << statement;
    EXPECT_EQ(database->OpenTable("Articles").Indexes().size(), 2U) << statement;
  }
}

TEST_F(JetAlterColumn, ADefaultIsSetAndTakenAway) {
  Run("ALTER TABLE Articles ALTER COLUMN Prix SET DEFAULT 9.5");
  Run("INSERT INTO Articles (Id, Code) VALUES (4, 'x')");
  EXPECT_EQ(Rows("SELECT Prix FROM Articles WHERE Id = 4"), "9.5");
  Run("ALTER TABLE Articles ALTER Prix DROP DEFAULT");
  Run("INSERT INTO Articles (Id, Code) VALUES (5, 'x')");
  EXPECT_EQ(Rows("SELECT Prix FROM Articles WHERE Id = 5"), "NULL");
  Run("ALTER TABLE Articles ALTER COLUMN Code TEXT(40) NULL DEFAULT 'neuf'");
  Run("INSERT INTO Articles (Id) VALUES (6)");
  Run("INSERT INTO Articles (Id, Code) VALUES (7, NULL)");
  EXPECT_EQ(Rows("SELECT Code FROM Articles WHERE Id > 5 ORDER BY Id"), "neuf; NULL");
}

TEST_F(JetAlterColumn, ANumberBecomesACounterThatGoesOnBehindTheHighest) {
  Run("ALTER TABLE Articles ALTER COLUMN Id COUNTER");
  Run("INSERT INTO Articles (Code) VALUES ('x')");
  EXPECT_EQ(Rows("SELECT MAX(Id) FROM Articles"), "4");
  Run("ALTER TABLE Articles ALTER COLUMN Id COUNTER(100, 1)");
  Run("INSERT INTO Articles (Code) VALUES ('y')");
  EXPECT_EQ(Rows("SELECT MAX(Id) FROM Articles"), "100");
  Run("ALTER TABLE Articles ALTER COLUMN Id LONG");
  EXPECT_FALSE(Column("Id").autoNumber);
  EXPECT_EQ(Refusal("INSERT INTO Articles (Code) VALUES ('z')").first, ErrorCode::kNullNotAllowed);
  Run("ALTER TABLE Articles ALTER COLUMN Id COUNTER");
  Run("ALTER TABLE Articles ALTER COLUMN Id TEXT(12)");
  EXPECT_EQ(Rows("SELECT Id FROM Articles ORDER BY Id"), "1; 100; 2; 3; 4");
}

TEST_F(JetAlterColumn, AColumnOfARelationshipStays) {
  Run("CREATE TABLE Lignes (Article LONG CONSTRAINT F REFERENCES Articles (Id))");
  EXPECT_EQ(Refusal("ALTER TABLE Articles ALTER COLUMN Id TEXT(9)").second, "The column \"Id\" is used by the relationship \"F\"");
  EXPECT_EQ(Refusal("ALTER TABLE Lignes ALTER COLUMN Article DOUBLE").first, ErrorCode::kUnsupported);
}

TEST_F(JetAlterColumn, ALargeAmountKeepsItsDigitsOnItsWayToAText) {
  Run("CREATE TABLE Comptes (Solde CURRENCY)");
  Run("INSERT INTO Comptes VALUES ('922337203685477.5807')");
  Run("INSERT INTO Comptes VALUES ('-0.5')");
  Run("ALTER TABLE Comptes ALTER COLUMN Solde TEXT(30)");
  EXPECT_EQ(Rows("SELECT Solde FROM Comptes ORDER BY Solde"), "-0.5; 922337203685477.5807");
  Run("ALTER TABLE Comptes ALTER COLUMN Solde CURRENCY");
  EXPECT_EQ(Rows("SELECT Solde FROM Comptes ORDER BY Solde"), "-5000/10000; 9223372036854775807/10000");
}

TEST_F(JetAlterColumn, ManyRowsAndManyChangesStaySound) {
  Run("CREATE TABLE Grand (Id LONG, Valeur LONG, Texte TEXT(50), Gros MEMO)");
  for (int i = 0; i < 300; ++i) {
    const std::string n = std::to_string(i);
    Run("INSERT INTO Grand VALUES (" + n + ", " + (i % 7 == 0 ? "NULL" : n) + ", 'texte " + n + "', '" +
        std::string(i % 5 == 0 ? 3000 : 3, 'g') + "')");
  }
  const std::string texts = Rows("SELECT Texte, Gros FROM Grand ORDER BY Id");
  for (const char* type : {"DOUBLE", "TEXT(20)", "MEMO", "CURRENCY", "DECIMAL(18, 2)", "SHORT", "DATETIME", "LONG"}) {
    Run(std::string("ALTER TABLE Grand ALTER COLUMN Valeur ") + type);
    EXPECT_EQ(Rows("SELECT COUNT(Valeur) FROM Grand"), "257") << type;
    EXPECT_EQ(Rows("SELECT Texte, Gros FROM Grand ORDER BY Id"), texts) << type;
    for (const Finding& finding : database->Check()) ADD_FAILURE() << type << ": page " << finding.page << ": " << finding.text;
  }
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM Grand WHERE Valeur = Id"), "257");
}

}  // namespace
