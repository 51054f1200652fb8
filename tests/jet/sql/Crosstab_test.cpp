// TRANSFORM ... PIVOT.
#include <map>
#include <random>
#include <set>

#include "tests/jet/sql/SessionFixture.h"
#include "tests/support_lib/Seed.h"

using namespace jet;
using jet::sql::Parameter;
using jet::sql::tests::SessionFixture;

namespace {

class JetCrosstab : public SessionFixture {
 protected:
  void SetUp() override {
    SessionFixture::SetUp();
    Run("CREATE TABLE V (Qui TEXT(20), An LONG, Prix CURRENCY, Jour DATETIME, Ok YESNO, R DOUBLE)");
    for (const char* row : {"'a', 2001, 10, #1/2/2003#, Yes, 1.5", "'b', 2001, 20, #1/2/2003#, No, 2",
                            "'A', 2002, 5.5, #2/3/2003#, Yes, 1.5", "'a', 2001, 1, NULL, No, 1.5", "'c', NULL, NULL, NULL, No, NULL"})
      Run(std::string("INSERT INTO V VALUES (") + row + ")");
  }
  std::string Names(const std::string& text) {
    std::string names;
    const auto query = session->Open(text);
    for (const auto& column : query->Columns()) names += (names.empty() ? "" : "|") + column.name;
    return names;
  }
  std::string Whole(const std::string& text) {  // names and rows; Refusal wants a SELECT
    return Names(text) + " : " + Rows(text);
  }
};

TEST_F(JetCrosstab, OneColumnForEachValue) {
  EXPECT_EQ(Whole("TRANSFORM Sum(Prix) AS Somme SELECT Qui FROM V GROUP BY Qui PIVOT An"),
            "Qui|<>|2001|2002 : a|NULL|110000/10000|55000/10000; b|NULL|200000/10000|NULL; c|NULL|NULL|NULL");
  EXPECT_EQ(session->Open("TRANSFORM Sum(Prix) SELECT Qui FROM V GROUP BY Qui PIVOT An")->Columns()[2].type.type, ColumnType::kCurrency);
  EXPECT_EQ(Whole("TRANSFORM Count(*) SELECT Qui, Sum(Prix) AS Total FROM V WHERE An IS NOT NULL GROUP BY Qui ORDER BY Qui DESC PIVOT An"),
            "Qui|Total|2001|2002 : b|200000/10000|1|NULL; a|165000/10000|2|1");
}

TEST_F(JetCrosstab, AFixedListHasItsOrderAndLeavesTheOthersOut) {
  EXPECT_EQ(Whole("TRANSFORM Count(*) SELECT Qui FROM V GROUP BY Qui PIVOT An IN (2002, 1999, 2001);"),
            "Qui|2002|1999|2001 : a|1|NULL|2; b|NULL|NULL|1; c|NULL|NULL|NULL");
  EXPECT_EQ(Whole("TRANSFORM First(Prix) SELECT Qui FROM V GROUP BY Qui PIVOT 'T ' & An In ('T 2001')"),
            "Qui|T 2001 : a|100000/10000; b|200000/10000; c|NULL");
}

TEST_F(JetCrosstab, HeadingsOfOtherTypes) {
  EXPECT_EQ(Names("TRANSFORM Count(*) SELECT Qui FROM V GROUP BY Qui PIVOT Ok"), "Qui|-1|0");
  EXPECT_EQ(Names("TRANSFORM Count(*) SELECT Qui FROM V GROUP BY Qui PIVOT Jour"), "Qui|<>|02/01/2003|03/02/2003");
  EXPECT_EQ(Names("TRANSFORM Count(*) SELECT Qui FROM V GROUP BY Qui PIVOT R"), "Qui|<>|1_5|2");
  EXPECT_EQ(Names("TRANSFORM Count(*) SELECT An FROM V GROUP BY An PIVOT Qui"), "An|a|b|c");
  EXPECT_EQ(Rows("TRANSFORM Count(*) SELECT An FROM V GROUP BY An PIVOT An > 2001"),
            "NULL|1|NULL|NULL; 2001|NULL|NULL|3; 2002|NULL|1|NULL");
}

TEST_F(JetCrosstab, TheValueMayBeAnyExpressionOfAggregates) {
  EXPECT_EQ(Rows("TRANSFORM Nz(Sum(Prix), 0) & '/' & Count(Prix) SELECT Qui FROM V GROUP BY Qui PIVOT An IN (2001, 2002)"),
            "a|11/2|5.5/1; b|20/1|NULL; c|NULL|NULL");
  EXPECT_EQ(Rows("TRANSFORM Max(R) - Min(R) SELECT Qui FROM V GROUP BY Qui PIVOT Ok IN (Yes)").substr(0, 2), "a|");
  EXPECT_EQ(
      Rows("TRANSFORM IIf((SELECT Count(*) FROM V) = 5, Sum(R), 0) SELECT 'x' AS X FROM V GROUP BY 'x' PIVOT Ok IN (Yes)").substr(0, 2),
      "x|");
}

TEST_F(JetCrosstab, InsideOfOtherStatements) {
  EXPECT_EQ(Run("SELECT * INTO W FROM (TRANSFORM Sum(Prix) SELECT Qui FROM V GROUP BY Qui PIVOT An IN (2001)) AS X"), 3);
  EXPECT_EQ(Rows("SELECT Qui, [2001] FROM W WHERE Qui = 'b'"), "b|200000/10000");
  const auto query = session->Open("PARAMETERS p Long; TRANSFORM Sum(Prix * [k]) SELECT Qui FROM V WHERE An >= p GROUP BY Qui PIVOT An",
                                   std::vector<Parameter>{{"p", Value(std::int32_t{2002})}, {"k", Value(std::int32_t{2})}});
  ASSERT_EQ(query->Columns().size(), 2U);
  ASSERT_TRUE(query->Next());
  EXPECT_EQ(TextOf(query->Get(1)), "110000/10000");
}

TEST_F(JetCrosstab, WhatIsNoCrosstabIsToldWithItsPosition) {
  const auto refused = [&](const std::string& text) {
    try {
      (void)session->Open(text);
    } catch (const Error& error) {
      return std::make_pair(error.Code(), std::string(error.what()));
    }
    return std::make_pair(ErrorCode::kIo, std::string("taken"));
  };
  EXPECT_EQ(refused("TRANSFORM Prix SELECT Qui FROM V GROUP BY Qui PIVOT An").first, ErrorCode::kSyntax);
  EXPECT_EQ(refused("TRANSFORM Sum(Prix) SELECT Qui FROM V PIVOT An").first, ErrorCode::kSyntax);
  EXPECT_EQ(refused("TRANSFORM Sum(Prix) SELECT Qui FROM V GROUP BY Qui").second, "PIVOT expected, the text ends here (at character 51)");
  EXPECT_EQ(refused("TRANSFORM Sum(Rien) SELECT Qui FROM V GROUP BY Qui PIVOT An").first, ErrorCode::kNotFound);
  EXPECT_EQ(refused("TRANSFORM Sum(Prix) SELECT Qui FROM V GROUP BY Qui PIVOT Sum(An)").first, ErrorCode::kSyntax);
  EXPECT_EQ(refused("TRANSFORM Sum(Prix) SELECT Qui FROM V GROUP BY Qui PIVOT An IN ('x')").first, ErrorCode::kTypeMismatch);
  Run("CREATE TABLE Large (A LONG)");
  Transaction transaction(*database);
  for (int i = 0; i < 260; ++i) Run("INSERT INTO Large VALUES (" + std::to_string(i) + ")");
  transaction.Commit();
  EXPECT_EQ(refused("TRANSFORM Count(*) SELECT 1 AS X FROM Large PIVOT A").first, ErrorCode::kLimit);
}

// The same worked out by hand.
TEST_F(JetCrosstab, GivesWhatAPlainModelGives) {
  const unsigned seed = tamlo::tests::Seed();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  Run("CREATE TABLE Z (L LONG, P LONG, X LONG)");
  std::map<int, std::map<int, std::pair<int, long>>> cells;
  std::set<int> pivots;
  Transaction transaction(*database);
  for (int i = 0; i < 400; ++i) {
    const int l = static_cast<int>(random() % 12);
    const int p = static_cast<int>(random() % 9) - 3;
    const int x = static_cast<int>(random() % 1000) - 300;
    Run("INSERT INTO Z VALUES (" + std::to_string(l) + "," + std::to_string(p) + "," + std::to_string(x) + ")");
    auto& cell = cells[l][p];
    ++cell.first;
    cell.second += x;
    pivots.insert(p);
  }
  transaction.Commit();
  std::string expected;
  for (const auto& [l, row] : cells) {
    long total = 0;
    std::string line;
    for (const int p : pivots) {
      const auto cell = row.find(p);
      line += "|" + (cell == row.end() ? "NULL" : std::to_string(cell->second.second - cell->second.first));
      if (cell != row.end()) total += cell->second.second;
    }
    expected += (expected.empty() ? "" : "; ") + std::to_string(l) + "|" + std::to_string(total) + line;
  }
  EXPECT_EQ(Rows("TRANSFORM CLng(Sum(X) - Count(*)) SELECT L, CLng(Sum(X)) AS T FROM Z GROUP BY L PIVOT P"), expected);
}

}  // namespace
