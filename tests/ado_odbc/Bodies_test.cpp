// Statements that hold other statements: the driver must not take their semicolons for ends of its own.
#include "tests/ado_odbc/Engine.h"

namespace tamlo::tests {
namespace {

using runtime::Variant;

class Bodies : public OdbcTest {
 protected:
  void SetUp() override { Execute("CREATE TABLE t (id INTEGER NOT NULL PRIMARY KEY, a VARCHAR(20))"); }
};

TEST_P(Bodies, ATriggerOfSeveralStatementsIsMadeAndWorks) {
  Execute("CREATE TRIGGER tr BEFORE INSERT ON t FOR EACH ROW BEGIN SET NEW.a = CONCAT(NEW.a, '1'); SET NEW.a = CONCAT(NEW.a, '2'); END");
  Execute("INSERT INTO t VALUES (1, 'x')");
  EXPECT_EQ(Scalar("SELECT a FROM t"), "x12");
  Execute("/* two */ create or replace trigger tr before insert on t for each row begin set NEW.a = 'y'; set NEW.id = NEW.id + 10; end;");
  Execute("INSERT INTO t VALUES (2, 'x')");
  EXPECT_EQ(Scalar("SELECT a FROM t WHERE id = 12"), "y");
}

TEST_P(Bodies, AProcedureAnEventAndABlockOfSeveralStatementsRun) {
  Execute("CREATE PROCEDURE p(n INT) BEGIN INSERT INTO t VALUES (n, 'p'); INSERT INTO t VALUES (n + 1, 'q'); END");
  Execute("CREATE FUNCTION f(n INT) RETURNS INT DETERMINISTIC BEGIN DECLARE m INT; SET m = n * 2; RETURN m; END");
  Execute(
      "CREATE DEFINER = tamlo@localhost EVENT e ON SCHEDULE EVERY 1 YEAR STARTS '2037-01-01' DO BEGIN DELETE FROM t; DELETE FROM t; END");
  Execute("ALTER EVENT e DO BEGIN DELETE FROM t; DELETE FROM t; END");
  Execute("CALL p(1)");
  Execute("BEGIN NOT ATOMIC INSERT INTO t VALUES (5, 'b'); INSERT INTO t VALUES (6, 'c'); END");
  EXPECT_EQ(Count("t"), 4);
  EXPECT_EQ(Scalar("SELECT f(21)"), "42");
}

TEST_P(Bodies, AFailingStatementInsideIsTold) {
  EXPECT_EQ(ErrorOf([&] { Execute("CREATE TRIGGER tr BEFORE INSERT ON t FOR EACH ROW BEGIN SET NEW.b = 1; SET NEW.a = 2; END"); }),
            -2147217900);
  EXPECT_EQ(ErrorOf([&] { Execute("BEGIN NOT ATOMIC INSERT INTO t VALUES (5, 'b'); INSERT INTO t VALUES (5, 'c'); END"); }), 3022);
  EXPECT_EQ(Count("t"), 1);
}

TEST_P(Bodies, AProcedureThatGivesRowsLeavesTheConnectionUsable) {
  Execute("INSERT INTO t VALUES (1, 'x')");
  Execute("CREATE PROCEDURE r() BEGIN SELECT a FROM t; SELECT id FROM t; END");
  Execute("CALL r()");
  EXPECT_EQ(Count("t"), 1);
  {
    ado::Recordset rs = Open("CALL r()", ado::adOpenForwardOnly, ado::adLockReadOnly);
    ASSERT_TRUE(rs.IsOpen());
    EXPECT_EQ(rs.Fields(0).Value(), Variant("x"));
    rs.MoveNext();
    EXPECT_TRUE(rs.Eof());
  }
  EXPECT_EQ(Count("t"), 1);
}

INSTANTIATE_TEST_SUITE_P(Odbc, Bodies, ::testing::Values("MariaDB"), [](const auto& which) { return which.param; });

}  // namespace
}  // namespace tamlo::tests
