// Statements that would take for ever, or all memory.
#include <chrono>

#include "tests/jet/sql/SessionFixture.h"

using namespace jet;
using jet::sql::tests::SessionFixture;

namespace {

class JetLimits : public SessionFixture {
 protected:
  void SetUp() override {
    SessionFixture::SetUp();
    Run("CREATE TABLE T (Id LONG CONSTRAINT PK PRIMARY KEY, N TEXT(50))");
    Transaction transaction(*database);
    for (int i = 0; i < 1000; ++i) Run("INSERT INTO T VALUES (" + std::to_string(i) + ", 'n" + std::to_string(i) + "')");
    transaction.Commit();
  }
  void ExpectLimit(const std::string& text, const std::string& said) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(Refusal(text), (std::pair<ErrorCode, std::string>{ErrorCode::kLimit, said})) << text;
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(60));
    EXPECT_EQ(Rows("SELECT Count(*) FROM T"), "1000");
  }
};

constexpr const char* kForEver = "T AS A, T AS B, T AS C, T AS D WHERE A.N & B.N & C.N & D.N = 'x'";

TEST_F(JetLimits, TimeEndsWhatWouldGoOnForEver) {
  session->Limits({.seconds = 1});
  ExpectLimit(std::string("SELECT Count(*) FROM ") + kForEver, "the statement takes more than 1 seconds");
  ExpectLimit(std::string("SELECT A.Id FROM ") + kForEver, "the statement takes more than 1 seconds");
  ExpectLimit(std::string("SELECT A.Id INTO U FROM ") + kForEver, "the statement takes more than 1 seconds");
  ExpectLimit("DELETE FROM T WHERE (SELECT Count(*) FROM T AS A, T AS B, T AS C WHERE A.N & B.N & C.N = T.N) = 1",
              "the statement takes more than 1 seconds");
  ExpectLimit("INSERT INTO T SELECT A.Id + 5000 AS Id FROM T AS A, T AS B, T AS C WHERE A.N & B.N & C.N = 'x'",
              "the statement takes more than 1 seconds");
}

TEST_F(JetLimits, RowsAreCounted) {
  session->Limits({.rows = 100});
  ExpectLimit("SELECT Id FROM T", "the query gives more than 100 rows");
  ExpectLimit("SELECT Id FROM T ORDER BY N", "the query gives more than 100 rows");
  ExpectLimit("UPDATE T SET N = 'x'", "the query gives more than 100 rows");
  EXPECT_EQ(Run("UPDATE T SET N = 'x' WHERE Id < 100"), 100);
  EXPECT_EQ(Rows("SELECT Count(*) FROM T WHERE N = 'x'"), "100");
}

TEST_F(JetLimits, MemoryIsCounted) {
  session->Limits({.megabytes = 8});
  const char* const text = "the statement takes more than 8 MB of memory";
  ExpectLimit("INSERT INTO T SELECT 1000 * (A.Id + 1) + B.Id AS Id, A.N & String(40, 'x') AS N FROM T AS A, T AS B", text);
  ExpectLimit("UPDATE T SET N = Left(N & String(40000, 'x'), 9000)", text);
  ExpectLimit("SELECT Len(Replace(String(60000, 'x'), 'x', String(200, 'y')))", "a value of the statement is too long");
  EXPECT_EQ(Run("UPDATE T SET N = N & '!'"), 1000);
  EXPECT_EQ(Rows("SELECT Len(Replace(String(60000, 'x'), 'x', String(100, 'y')))"), "6000000");
}

TEST_F(JetLimits, TheTimeBetweenTwoCallsDoesNotCount) {
  session->Limits({.seconds = 1});
  const auto query = session->Open("SELECT Id FROM T WHERE N LIKE 'n*'");
  ASSERT_TRUE(query->Next());
  const auto begin = std::chrono::steady_clock::now();
  while (std::chrono::steady_clock::now() - begin < std::chrono::milliseconds(1200)) {
  }
  int rows = 1;
  while (query->Next()) ++rows;
  EXPECT_EQ(rows, 1000);
}

}  // namespace
