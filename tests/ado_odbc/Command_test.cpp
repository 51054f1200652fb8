#include "ado/Command.h"

#include "runtime/Conversions.h"
#include "tests/ado_odbc/Engine.h"

namespace tamlo::tests {
namespace {

using runtime::Variant;

class Commands : public OdbcTest {
 protected:
  void SetUp() override {
    Execute("CREATE TABLE art (code VARCHAR(30) NOT NULL PRIMARY KEY, nom VARCHAR(100), qte INTEGER, prix DECIMAL(19,4), r " +
            engine->Type("double") + ")");
    Execute("INSERT INTO art (code, nom, qte) VALUES ('A', 'un', 1)");
    Execute("INSERT INTO art (code, nom, qte) VALUES ('B', 'deux', 2)");
    command.ActiveConnection(&connection);
  }
  std::string First() {
    ado::Recordset rows;
    rows.Open(command, ado::adOpenForwardOnly, ado::adLockReadOnly);
    return rows.Eof() ? "none" : runtime::ToText(rows.Fields(0).Value());
  }
  ado::Command command;
};

TEST_P(Commands, MarksTakeValuesInOrder) {
  command.CommandText("SELECT nom FROM art WHERE code = ? AND qte = ?");
  command.Parameters().Append({.name = "x", .value = "B"});
  command.Parameters().Append({.value = std::int32_t{2}});
  EXPECT_EQ(First(), "deux");
  command.Parameters().Item(1).value = std::int32_t{1};
  EXPECT_EQ(First(), "none");
}

TEST_P(Commands, ValuesAreNeverPartOfTheText) {
  command.CommandText("INSERT INTO art (code, nom, qte, prix, r) VALUES (?, ?, ?, ?, ?)");
  const std::string hostile = "'); DROP TABLE art; -- \\ ? é 😀";
  for (const Variant& value :
       {Variant("C"), Variant(hostile), Variant(runtime::Null{}), Variant(runtime::Decimal{"123456789.0125"}), Variant(0.1)})
    command.Parameters().Append({.value = value});
  command.Parameters().Item(2).type = ado::adInteger;
  EXPECT_EQ(command.Execute(), 1);
  ado::Recordset rows;
  rows.Open("SELECT nom, qte, prix, r FROM art WHERE code = 'C'", &connection, ado::adOpenForwardOnly, ado::adLockReadOnly, -1);
  EXPECT_EQ(rows.Fields(0).Value(), Variant(hostile));
  EXPECT_TRUE(rows.Fields(1).Value().IsNull());
  EXPECT_EQ(runtime::ToDouble(rows.Fields(2).Value(), {"", '.'}), 123456789.0125);
  EXPECT_EQ(runtime::ToDouble(rows.Fields(3).Value(), {"", '.'}), 0.1);
}

TEST_P(Commands, LiteralsBeyondThePlaneKeepTheirPlaceAmongTheMarks) {
  command.CommandText("UPDATE art SET nom = '😀?', code = ? WHERE code = ? AND nom <> '🎉'");
  command.Parameters().Append({.value = "Z"});
  command.Parameters().Append({.value = "A"});
  EXPECT_EQ(command.Execute(), 1);
  EXPECT_EQ(Scalar("SELECT nom FROM art WHERE code = 'Z'"), "😀?");
}

TEST_P(Commands, AsManyValuesAsMarks) {
  command.CommandText("UPDATE art SET nom = ? WHERE code = ?");
  command.Parameters().Append({.value = "x"});
  const auto refused = runtime::IgnoringErrors([&] { command.Execute(); });
  EXPECT_EQ(refused.number, -2147467259);
  EXPECT_EQ(refused.description, "L'instruction attend 2 paramètres, 1 sont donnés.");
  command.Parameters().Append({.value = "A"});
  command.Parameters().Append({.value = "A"});
  EXPECT_EQ(ErrorOf([&] { command.Execute(); }), -2147467259);
  command.Parameters().Delete(2);
  EXPECT_EQ(command.Execute(), 1);
  command.Parameters().Clear();
  command.Refresh();
  EXPECT_EQ(command.Parameters().Count(), 2U);
}

TEST_P(Commands, ARecordsetIsExecutedAnewWithTheSameValues) {
  command.CommandText("SELECT * FROM art WHERE qte >= ? ORDER BY code");
  command.Parameters().Append({.value = std::int32_t{2}});
  ado::Recordset rows;
  rows.Open(command, ado::adOpenDynamic, ado::adLockOptimistic);
  rows.Fields("nom").Value("zwei");
  rows.Update();
  Execute("INSERT INTO art (code, nom, qte) VALUES ('A2', 'drei', 3)");
  rows.MoveFirst();
  EXPECT_EQ(rows.Fields("nom").Value(), Variant("drei"));
  rows.MoveNext();
  EXPECT_EQ(rows.Fields("nom").Value(), Variant("zwei"));
}

INSTANTIATE_TEST_SUITE_P(Odbc, Commands, ::testing::Values("SQLite", "MariaDB", "PostgreSQL"),
                         [](const auto& which) { return which.param; });

}  // namespace
}  // namespace tamlo::tests
