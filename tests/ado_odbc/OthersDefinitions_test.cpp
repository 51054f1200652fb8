// Tables that another program changes while this one has them open for long.
#include "ado/BulkInsert.h"
#include "ado/Catalog.h"
#include "tests/ado_odbc/Engine.h"

namespace tamlo::tests {
namespace {

using runtime::Variant;

class OthersDefinitions : public OdbcTest {
 protected:
  void SetUp() override {
    Execute("CREATE TABLE t (id INTEGER NOT NULL PRIMARY KEY, a VARCHAR(20), b VARCHAR(20))");
    Execute("INSERT INTO t VALUES (1, 'un', 'one')");
    Connect(other);
    EXPECT_EQ(Names(), "id a b ");
    EXPECT_EQ(Listed(), "id a b ");
  }
  std::string Names() {
    std::string names;
    ado::Recordset rs = Open("SELECT * FROM t");
    for (std::size_t i = 0; i < rs.FieldCount(); ++i) names += rs.Fields(i).Name() + " ";
    return names;
  }
  std::string Listed() {
    ado::Catalog catalog(connection);
    std::string names;
    for (const ado::Column& column : catalog.Tables("t").Columns()) names += column.name + " ";
    return names;
  }
  ado::Connection other;
};

TEST_P(OthersDefinitions, AColumnThatAnotherProgramAddedIsThereWithItsValues) {
  other.Execute("ALTER TABLE t ADD COLUMN c VARCHAR(20)");
  other.Execute("UPDATE t SET c = 'eins'");
  EXPECT_EQ(Names(), "id a b c ");
  other.Execute("ALTER TABLE t ADD COLUMN d INTEGER");
  EXPECT_EQ(Listed(), "id a b c d ");
  other.Execute("ALTER TABLE t ADD COLUMN e VARCHAR(20)");
  ado::Recordset rs = Open("SELECT * FROM t");
  EXPECT_EQ(rs.Fields("c").Value(), Variant("eins"));
  rs.Fields("e").Value(Variant("neu"));
  rs.Update();
  EXPECT_EQ(Scalar("SELECT e FROM t"), "neu");
}

TEST_P(OthersDefinitions, AColumnThatAnotherProgramDroppedIsGone) {
  other.Execute("ALTER TABLE t DROP COLUMN b");
  ado::Recordset rs = Open("SELECT * FROM t");
  EXPECT_EQ(rs.FieldCount(), 2U);
  EXPECT_EQ(rs.Fields("a").Value(), Variant("un"));
  EXPECT_EQ(ErrorOf([&] { (void)rs.Fields("b"); }), 3265);
  EXPECT_EQ(Listed(), "id a ");
}

INSTANTIATE_TEST_SUITE_P(Odbc, OthersDefinitions, ::testing::Values("SQLite", "MariaDB", "PostgreSQL"),
                         [](const auto& which) { return which.param; });

}  // namespace
}  // namespace tamlo::tests
