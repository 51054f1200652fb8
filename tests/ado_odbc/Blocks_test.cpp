// Rows come in blocks into buffers of a settled size. What does not fit into them, and what the driver cannot give, must cost no other row.

#include <string>
#include <vector>

#include "tests/ado_odbc/Engine.h"

namespace tamlo::tests {
namespace {

using runtime::Variant;

/// On SQLite, which keeps texts longer than declared and anything in any column.
class Blocks : public OdbcTest {
 protected:
  static constexpr int kRows = 500;

  static bool IsLong(int row) { return row == 3 || row == 120 || row == 121 || row == kRows; }
  static std::string TextOf(int row) {
    const std::string text = "ligne " + std::to_string(row) + " é";
    return IsLong(row) ? text + std::string(40000 + row, 'x') : text;
  }
  void Fill() {
    Execute("CREATE TABLE b (id INTEGER NOT NULL PRIMARY KEY, x VARCHAR(20), y DOUBLE)");
    Execute(
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 500) INSERT INTO b SELECT i, 'ligne ' || i || ' é', i / 8.0 FROM n");
    for (int row = 1; row <= kRows; ++row) {
      if (IsLong(row)) Execute("UPDATE b SET x = '" + TextOf(row) + "' WHERE id = " + std::to_string(row));
    }
  }
  void ExpectAllRows(ado::Connection& where, const std::string& columns) {
    ado::Recordset rs;
    rs.Open("SELECT " + columns + " FROM b ORDER BY id", &where, ado::adOpenForwardOnly, ado::adLockReadOnly, -1);
    for (int pass = 0; pass < 2; ++pass) {
      int row = 0;
      for (; !rs.Eof(); rs.MoveNext()) {
        ++row;
        ASSERT_EQ(rs.Fields("id").Value(), Variant(std::int32_t{row}));
        ASSERT_EQ(rs.Fields("x").Value(), Variant(TextOf(row))) << "row " << row;
        ASSERT_EQ(rs.Fields("y").Value(), Variant(row / 8.0)) << "row " << row;
        ASSERT_EQ(rs.Fields("id").Value(), Variant(std::int32_t{row})) << "behind the text of row " << row;
      }
      EXPECT_EQ(row, kRows);
      rs.MoveFirst();
    }
  }
};

TEST_P(Blocks, ATextLongerThanDeclaredIsReadWholeAndTheRowsBehindItAreTheirOwn) {
  Fill();
  ExpectAllRows(connection, "id, x, y");
  ExpectAllRows(connection, "y, x, id");
}

TEST_P(Blocks, WithoutACursorThatGoesBackLongTextsAreReadWholeToo) {
  Fill();
  ado::Connection stepping;
  stepping.Open(engine->ConnectionString() + ";StepAPI=1", "", "");
  ExpectAllRows(stepping, "id, x, y");
}

TEST_P(Blocks, ALongTextComesInPiecesFromInsideABlock) {
  Fill();
  ado::Recordset rs = Open("SELECT id, x FROM b ORDER BY id", ado::adOpenForwardOnly, ado::adLockReadOnly);
  for (int row = 1; row < 121; ++row) rs.MoveNext();
  std::string all;
  std::vector<std::byte> piece(10000);
  while (const std::size_t count = rs.Fields("x").ReadChunk(piece.data(), piece.size())) {
    all.append(reinterpret_cast<const char*>(piece.data()), count);
  }
  EXPECT_EQ(all, TextOf(121));
  rs.MoveNext();
  EXPECT_EQ(rs.Fields("x").Value(), Variant(TextOf(122)));
}

TEST_P(Blocks, BytesAmongTextsLongerThanTheirBufferAreReadWhole) {
  Execute("CREATE TABLE b (id INTEGER NOT NULL PRIMARY KEY, x VARCHAR(20))");
  Execute(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 200) "
      "INSERT INTO b SELECT i, CASE i WHEN 77 THEN zeroblob(500) WHEN 78 THEN 'a' || char(0) || hex(zeroblob(200)) ELSE 'x' || i END FROM n");
  ado::Recordset rs = Open("SELECT id, x FROM b ORDER BY id", ado::adOpenForwardOnly, ado::adLockReadOnly);
  for (int row = 1; !rs.Eof(); rs.MoveNext(), ++row) {
    const Variant expected = row == 77   ? Variant(runtime::Bytes(500))
                             : row == 78 ? Variant(std::string("a\0", 2) + std::string(400, '0'))
                                         : Variant("x" + std::to_string(row));
    ASSERT_EQ(rs.Fields("x").Value(), expected) << "row " << row;
    ASSERT_EQ(rs.Fields("id").Value(), Variant(std::int32_t{row}));
  }
}

TEST_P(Blocks, ARowThatTheDriverCannotGiveIsRefusedAloneAndNothingOfAnotherStandsInItsPlace) {
  Execute("CREATE TABLE b (id INTEGER NOT NULL PRIMARY KEY, x VARBINARY(20))");
  // libsqliteodbc reads a text between X' and ' as the digits of bytes.
  Execute(
      "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 200) "
      "INSERT INTO b SELECT i, CASE i WHEN 50 THEN 'X''zz''' ELSE x'0102' END FROM n");
  ado::Recordset rs = Open("SELECT id, x FROM b ORDER BY id", ado::adOpenForwardOnly, ado::adLockReadOnly);
  std::vector<int> given;
  std::vector<std::string> errors;
  int told = 0;
  while (!rs.Eof()) {
    if (errors.size() == static_cast<std::size_t>(told)) given.push_back(*rs.Fields("id").Value().If<std::int32_t>());
    const auto failure = runtime::IgnoringErrors([&] { rs.MoveNext(); });
    if (!failure) continue;
    errors.push_back(failure.description);
    // There is no row: what is asked of it is refused with the same error.
    for (const char* field : {"id", "x"}) {
      const auto value = runtime::IgnoringErrors([&] { (void)rs.Fields(field).Value(); });
      EXPECT_EQ(value.number, failure.number) << field;
      EXPECT_NE(value.description.find("conversion error"), std::string::npos) << value.description;
    }
    ASSERT_FALSE(runtime::IgnoringErrors([&] { rs.MoveNext(); }));
    told = static_cast<int>(errors.size());
  }
  ASSERT_EQ(errors.size(), 1U);
  EXPECT_NE(errors[0].find("conversion error"), std::string::npos) << errors[0];
  std::vector<int> expected;
  for (int row = 1; row <= 200; ++row) {
    if (row != 50) expected.push_back(row);
  }
  EXPECT_EQ(given, expected);
}

TEST_P(Blocks, ATextThatLooksLikeANumberStaysATextAmongNumbers) {
  Execute("CREATE TABLE b (id INTEGER NOT NULL PRIMARY KEY, n INTEGER, y DOUBLE, x VARCHAR(20))");
  Execute("INSERT INTO b VALUES (1, 5, 2.5, '5'), (2, 6, 9007199254740994.0, '2.5')");
  const auto values = [&](const std::string& sql) {
    std::vector<Variant> all;
    ado::Recordset rs = Open(sql, ado::adOpenForwardOnly, ado::adLockReadOnly);
    for (; !rs.Eof(); rs.MoveNext()) all.push_back(rs.Fields(0).Value());
    return all;
  };
  EXPECT_EQ(values("SELECT n FROM b UNION ALL SELECT x FROM b"), (std::vector<Variant>{std::int32_t{5}, std::int32_t{6}, "5", "2.5"}));
  EXPECT_EQ(values("SELECT y FROM b UNION ALL SELECT x FROM b"), (std::vector<Variant>{2.5, 9007199254740994.0, "5", "2.5"}));
  EXPECT_EQ(values("SELECT y FROM b UNION ALL SELECT n FROM b"), (std::vector<Variant>{2.5, 9007199254740994.0, 5.0, 6.0}));
  EXPECT_EQ(values("SELECT n FROM b UNION ALL SELECT y FROM b"),
            (std::vector<Variant>{std::int32_t{5}, std::int32_t{6}, 2.5, std::int64_t{9007199254740994}}));
}

INSTANTIATE_TEST_SUITE_P(Odbc, Blocks, ::testing::Values("SQLite"), [](const auto& which) { return which.param; });

}  // namespace
}  // namespace tamlo::tests
