#include "tests/ado_jet/JetFixture.h"

namespace tamlo::tests {
namespace {

class JetStatementLimits : public JetFixture {
 protected:
  void SetUp() override {
    JetFixture::SetUp();
    connection.Execute("CREATE TABLE T (Id LONG)");
    connection.BeginTrans();
    for (int i = 0; i < 500; ++i) connection.Execute("INSERT INTO T VALUES (" + std::to_string(i) + ")");
    connection.CommitTrans();
  }
  runtime::PendingError Refusal(const std::string& text) {
    return runtime::IgnoringErrors([&] { (void)Rows(text); });
  }
};

constexpr const char* kForEver = "SELECT Count(*) FROM T AS A, T AS B, T AS C, T AS D WHERE A.Id & B.Id & C.Id & D.Id = 'x'";

TEST_F(JetStatementLimits, TheTimeOutOfTheConnectionEndsAStatement) {
  connection.CommandTimeout(1);
  const auto refusal = Refusal(kForEver);
  EXPECT_EQ(refusal.number, -2147467259);
  EXPECT_NE(refusal.description.find("l'instruction prend plus de 1 secondes"), std::string::npos) << refusal.description;
  EXPECT_EQ(runtime::IgnoringErrors([&] { connection.Execute(kForEver); }).number, -2147467259);
  EXPECT_EQ(Rows("SELECT Count(*) FROM T"), "500");
}

TEST_F(JetStatementLimits, PropertiesOfTheConnection) {
  EXPECT_EQ(connection.Property("Seconds Allowed"), ado::Variant(std::int32_t{0}));
  EXPECT_EQ(connection.Property("Rows Allowed"), ado::Variant(std::int32_t{0}));
  EXPECT_EQ(connection.Property("Megabytes Allowed"), ado::Variant(std::int32_t{1024}));
  connection.Property("Seconds Allowed", std::int32_t{1});
  connection.CommandTimeout(0);
  EXPECT_EQ(Refusal(kForEver).number, -2147467259);
  connection.Property("Rows Allowed", std::int32_t{100});
  EXPECT_EQ(Refusal("SELECT Id FROM T ORDER BY Id DESC").number, -2147467259);
  EXPECT_EQ(Rows("SELECT TOP 1 Id FROM T ORDER BY Id DESC"), "499");
  connection.Property("Rows Allowed", std::int32_t{0});
  EXPECT_EQ(Rows("SELECT Count(*) FROM (SELECT Id FROM T) AS A"), "500");
  EXPECT_EQ(runtime::IgnoringErrors([&] { connection.Property("Rows Allowed", std::int32_t{-1}); }).number, 5);
}

}  // namespace
}  // namespace tamlo::tests
