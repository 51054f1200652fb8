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

TEST_P(Commands, APreparedOneTakesValuesOfAnyKindAndLengthEachTime) {
  Execute("CREATE TABLE v (id INTEGER NOT NULL PRIMARY KEY, n BIGINT, t " + engine->Type("text") + ", b " + engine->Type("blob") +
          ", d DECIMAL(19,4), r " + engine->Type("double") + ", s " + engine->Type("datetime") + ")");
  command.CommandText("INSERT INTO v (id, n, t, b, d, r, s) VALUES (?, ?, ?, ?, ?, ?, ?)");
  command.Prepared(true);
  const auto bytes = [](std::size_t count, int value) { return Variant(runtime::Bytes(count, std::byte(value))); };
  const Variant null = runtime::Null{};
  const std::vector<std::vector<Variant>> rows{
      {std::int64_t{1}, "a", bytes(1, 1), runtime::Decimal{"1.5"}, 0.5, runtime::Date{40000.25}},
      {std::int64_t{-2}, "aé😀", bytes(3, 2), runtime::Decimal{"-2.0625"}, -0.25, runtime::Date{40000.5}},
      {null, null, null, null, null, null},
      {INT64_MAX, std::string(3000, 'x'), bytes(5000, 3), runtime::Decimal{"12345.0625"}, 1e300, runtime::Date{2.0}},
      {std::int64_t{5}, std::string(70000, 'y'), bytes(2, 4), runtime::Decimal{"7"}, 0.1, runtime::Date{30000.0}},
      {std::int64_t{6}, "", bytes(0, 0), runtime::Decimal{"0.0001"}, 5e-324, runtime::Date{40000.75}},
      {std::int64_t{7}, "short again", bytes(4, 5), null, 2.5, null},
      {INT64_MIN + 1, "0", bytes(1, 6), runtime::Decimal{"-1"}, null, runtime::Date{1000.0}}};
  for (int round = 0; round < 2; ++round) {
    for (std::size_t i = 0; i < rows.size(); ++i) {
      std::vector<Variant> values{Variant(static_cast<std::int32_t>(100 * round + static_cast<int>(i)))};
      values.insert(values.end(), rows[i].begin(), rows[i].end());
      // Untyped nulls too: the second time each null is of its column's type.
      static constexpr std::int16_t kTypes[] = {ado::adInteger, ado::adBigInt, ado::adLongVarWChar, ado::adLongVarBinary,
                                                ado::adNumeric, ado::adDouble, ado::adDBTimeStamp};
      while (command.Parameters().Count() < values.size()) command.Parameters().Append({});
      for (std::size_t k = 0; k < values.size(); ++k) {
        command.Parameters().Item(k).type = round == 1 || values[k].IsNull() ? kTypes[k] : std::int16_t{ado::adEmpty};
      }
      ASSERT_EQ(command.Execute(values), 1) << i;
    }
  }
  ado::Recordset read = Open("SELECT * FROM v ORDER BY id", ado::adOpenForwardOnly, ado::adLockReadOnly);
  for (int round = 0; round < 2; ++round) {
    for (const auto& row : rows) {
      for (std::size_t k = 0; k < row.size(); ++k) {
        const Variant value = read.Fields(k + 1).Value();
        if (const auto* decimal = row[k].If<runtime::Decimal>()) {
          ASSERT_EQ(runtime::ToDouble(value, {"", '.'}), std::stod(decimal->text)) << read.Fields(0).Name() << k;
        } else {
          ASSERT_EQ(value, row[k]) << "column " << k << " of row " << runtime::ToText(read.Fields(0).Value());
        }
      }
      read.MoveNext();
    }
  }
  EXPECT_TRUE(read.Eof());
  // After a refusal it goes on.
  const std::vector<Variant> wrong{Variant(std::int32_t{0}), null, null, null, null, null, null};
  EXPECT_EQ(ErrorOf([&] { command.Execute(wrong); }), 3022);
  command.Parameters().Item(1).type = ado::adBigInt;
  const std::vector<Variant> unfit{Variant(std::int32_t{900}), Variant("no number"), null, null, null, null, null};
  EXPECT_NE(ErrorOf([&] { command.Execute(unfit); }), 0);
  std::vector<Variant> right = wrong;
  right[0] = std::int32_t{901};
  EXPECT_EQ(command.Execute(right), 1);
  EXPECT_EQ(Count("v"), 17);
}

TEST_P(Commands, APreparedQueryRunsAgainAndAgain) {
  command.CommandText("SELECT nom FROM art WHERE code = ?");
  command.Prepared(true);
  for (int i = 0; i < 50; ++i) {
    const std::vector<Variant> one{Variant(i % 3 == 0 ? std::string("A") : std::string(static_cast<std::size_t>(i), 'z'))};
    command.Execute(one);
  }
  EXPECT_EQ(Count("art"), 2) << "the connection takes other statements";
  Execute("DROP TABLE art");
}

INSTANTIATE_TEST_SUITE_P(Odbc, Commands, ::testing::Values("SQLite", "MariaDB", "PostgreSQL"),
                         [](const auto& which) { return which.param; });

}  // namespace
}  // namespace tamlo::tests
