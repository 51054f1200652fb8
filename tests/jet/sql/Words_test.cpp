// Constants and functions that people write into their statements.
#include "tests/jet/sql/SessionFixture.h"

using namespace jet;
using jet::sql::tests::SessionFixture;

namespace {

class JetWords : public SessionFixture {
 protected:
  void SetUp() override {
    SessionFixture::SetUp();
    Run("CREATE TABLE Produits (Id LONG CONSTRAINT PK PRIMARY KEY, Nom TEXT(30), Prix CURRENCY, Remise SINGLE, Poids DOUBLE, Fini YESNO)");
    Run("INSERT INTO Produits VALUES (1, 'Thé', 18, 0.25, 0.5, Yes)");
    Run("INSERT INTO Produits VALUES (2, 'Bière', 19.5, 0, 1.5, No)");
    Run("INSERT INTO Produits VALUES (3, NULL, NULL, 0.5, 2, Off)");
    Run("CREATE TABLE [Lignes d'achat] (Id LONG, No LONG, [Yes] LONG)");
    Run("INSERT INTO [Lignes d'achat] VALUES (1, 7, 70)");
  }
  ColumnType TypeOf(const std::string& expression) {
    return session->Open("SELECT " + expression + " FROM Produits")->Columns()[0].type.type;
  }
};

TEST_F(JetWords, TruthValuesHaveSixNames) {
  EXPECT_EQ(Rows("SELECT Yes, No, True, False, On, Off"), "True|False|True|False|True|False");
  EXPECT_EQ(Rows("SELECT Id FROM Produits WHERE Fini = Yes"), "1");
  EXPECT_EQ(Rows("SELECT Id FROM Produits WHERE (((Produits.Fini)=No)) ORDER BY Id"), "2; 3");
  EXPECT_EQ(Rows("SELECT Id FROM Produits WHERE Fini = ON"), "1");
  EXPECT_EQ(Rows("SELECT A.Id FROM Produits AS A INNER JOIN Produits AS B ON A.Id = B.Id WHERE A.Fini = On"), "1");
  EXPECT_EQ(Run("UPDATE Produits SET Fini = Off WHERE Fini = On"), 1);
}

TEST_F(JetWords, AColumnOfThatNameComesFirst) {
  EXPECT_EQ(Rows("SELECT No, [Yes] FROM [Lignes d'achat]"), "7|70");
  EXPECT_EQ(Run("UPDATE [Lignes d'achat] SET No = No - 1"), 1);
  EXPECT_EQ(Rows("SELECT No FROM [Lignes d'achat]"), "6");
  EXPECT_EQ(Refusal("SELECT [No] FROM Produits").first, ErrorCode::kNotFound);  // in brackets it is a name and nothing else
}

TEST_F(JetWords, ChooseCountsFromOneAndGivesNullOutside) {
  EXPECT_EQ(Rows("SELECT Choose(1,'a','b'), Choose(2,'a','b'), Choose(3,'a','b'), Choose(0,'a','b'), Choose(Null,'a','b')"),
            "a|b|NULL|NULL|NULL");
  EXPECT_EQ(Rows("SELECT Choose(1.4, 10, 20), Choose(1.6, 10, 20)"), "10|20");
  EXPECT_EQ(Rows("SELECT Choose(Id, Nom, 'x') FROM Produits ORDER BY Id"), "Thé; x; NULL");
  EXPECT_EQ(Refusal("SELECT Choose(1)").first, ErrorCode::kSyntax);
}

TEST_F(JetWords, SwitchWithoutATrueOneIsNull) {
  EXPECT_EQ(Rows("SELECT Switch(Id=1,'un',Id=2,'deux') FROM Produits ORDER BY Id"), "un; deux; NULL");
  EXPECT_EQ(Rows("SELECT Switch(Null,'x',True,'y')"), "y");
}

TEST_F(JetWords, PartitionPadsItsRanges) {
  EXPECT_EQ(Rows("SELECT Partition(-5,0,99,5), Partition(3,0,99,5), Partition(97,0,99,5), Partition(150,0,99,5)"),
            "   : -1|  0:  4| 95: 99|100:   ");
  EXPECT_EQ(Rows("SELECT Partition(19,20,199,10), Partition(20,20,199,10), Partition(199,20,199,10), Partition(200,20,199,10)"),
            "   : 19| 20: 29|190:199|200:   ");
  EXPECT_EQ(Rows("SELECT Partition(99,100,1010,20), Partition(100,100,1010,20), Partition(1005,100,1010,20), Partition(1011,100,1010,20)"),
            "    :  99| 100: 119|1000:1010|1011:    ");
  EXPECT_EQ(Rows("SELECT Partition(267,0,1000,1)"), " 267: 267");
  EXPECT_EQ(Rows("SELECT Partition(Null,0,99,5)"), "NULL");
  EXPECT_EQ(Refusal("SELECT Partition(5,-1,99,5)").first, ErrorCode::kTypeMismatch);
  EXPECT_EQ(Refusal("SELECT Partition(5,10,10,5)").first, ErrorCode::kTypeMismatch);
  EXPECT_EQ(Refusal("SELECT Partition(5,0,99,0)").first, ErrorCode::kTypeMismatch);
  EXPECT_EQ(Rows("SELECT Partition(2147483647,0,2147483646,2147483647)"), "2147483647:          ");
}

TEST_F(JetWords, NamesOfDaysAndTheTimer) {
  EXPECT_EQ(Rows("SELECT WeekdayName(1), WeekdayName(1, True), WeekdayName(1, False, 2), WeekdayName(7, 0, 2), MonthName(2)"),
            "dimanche|dim.|lundi|dimanche|février");
  EXPECT_EQ(Refusal("SELECT WeekdayName(8)").first, ErrorCode::kTypeMismatch);
  EXPECT_EQ(Rows("SELECT Timer() >= 0 AND Timer() < 86400"), "True");
  EXPECT_EQ(session->Open("SELECT Timer()")->Columns()[0].type.type, ColumnType::kSingle);
}

TEST_F(JetWords, AmountsKeepTheirTypeWithWholeNumbersAndAmounts) {
  EXPECT_EQ(TypeOf("Prix * 3"), ColumnType::kCurrency);
  EXPECT_EQ(TypeOf("Prix * Prix"), ColumnType::kCurrency);
  EXPECT_EQ(TypeOf("Prix + 1"), ColumnType::kCurrency);
  EXPECT_EQ(TypeOf("Prix * Poids"), ColumnType::kDouble);
  EXPECT_EQ(TypeOf("Poids * Prix"), ColumnType::kDouble);
  EXPECT_EQ(TypeOf("Prix + Poids"), ColumnType::kDouble);
  EXPECT_EQ(TypeOf("Prix - 0.5"), ColumnType::kCurrency);
  EXPECT_EQ(TypeOf("Prix * 0.5"), ColumnType::kDouble);
  EXPECT_EQ(TypeOf("Prix - 0.00001"), ColumnType::kDouble);
  EXPECT_EQ(TypeOf("Prix / 2"), ColumnType::kDouble);
  EXPECT_EQ(TypeOf("Prix * (1 - Remise)"), ColumnType::kDouble);
  EXPECT_EQ(TypeOf("CCur(Prix * (1 - Remise) / 100) * 100"), ColumnType::kCurrency);
  // What the third decimal behind the fourth holds is not lost on the way.
  EXPECT_EQ(Rows("SELECT Prix * 0.00001 * 100000 = 18 FROM Produits WHERE Id = 1"), "True");
}

TEST_F(JetWords, ASubqueryMayStandInBracketsWithAPoint) {
  EXPECT_EQ(Rows("SELECT x.Nom FROM [SELECT Nom, Id FROM Produits WHERE Id < 3]. AS x WHERE x.Id = 2"), "Bière");
  EXPECT_EQ(Rows("SELECT Count(*) FROM [SELECT Nom FROM Produits; ]. AS x, [SELECT Nom FROM Produits]. AS y"), "9");
  EXPECT_EQ(Rows("SELECT Max(y) FROM [ select Id*2 as y from Produits ]. x"), "6");
  EXPECT_EQ(Refusal("SELECT * FROM [SELECT Nom FROM Absente]. AS x").first, ErrorCode::kNotFound);
  EXPECT_EQ(Refusal("SELECT * FROM [SELECT Nom FROM Produits WHERE]. AS x").first, ErrorCode::kSyntax);
}

TEST_F(JetWords, AFunctionOfAModuleIsRefusedByItsName) {
  const auto [code, text] = Refusal("SELECT MaFonction(Id) FROM Produits");
  EXPECT_EQ(code, ErrorCode::kUnsupported);
  EXPECT_NE(text.find("MaFonction"), std::string::npos) << text;
}

}  // namespace
