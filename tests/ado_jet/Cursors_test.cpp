// What each type of recordset shows of the rows that its own program writes while it is open.

#include <algorithm>
#include <functional>
#include <set>

#include "tests/ado_jet/JetFixture.h"

using namespace tamlo;
using namespace tamlo::ado;
using runtime::IgnoringErrors;

namespace {

constexpr int kRows = 600;  // several blocks

class JetCursors : public tests::JetFixture {
 protected:
  void SetUp() override {
    JetFixture::SetUp();
    connection.Execute("CREATE TABLE T (Id LONG CONSTRAINT PK PRIMARY KEY, N LONG, Note MEMO)");
    connection.Execute("CREATE INDEX ByN ON T (N)");
    connection.Execute("CREATE TABLE Sans (Id LONG, N LONG)");
    connection.BeginTrans();
    for (int i = 1; i <= kRows; ++i) {
      const std::string number = std::to_string(i);
      connection.Execute("INSERT INTO T VALUES (" + number + ", " + number + ", 'note " + number + "')");
      connection.Execute("INSERT INTO Sans VALUES (" + number + ", " + number + ")");
    }
    connection.CommitTrans();
  }

  Recordset OpenedAs(const std::string& source, CursorType cursor, std::int32_t options = -1, LockType lock = adLockOptimistic) {
    Recordset rows;
    rows.Open(source, &connection, cursor, lock, options);
    return rows;
  }
  static std::int32_t IntOf(Recordset& rows, const char* field) { return runtime::ToInt32(rows.Fields(field).Value()); }
  void Run(const std::string& text) { connection.Execute(text); }

  /// Walks to the end, doing something on each row; gives how many rows were met, and says when one came twice.
  int Walk(Recordset& rows, const std::function<void(int met)>& onRow, const std::string& what) {
    std::multiset<std::int32_t> ids;
    int met = 0;
    for (; !rows.Eof() && met < 3 * kRows; rows.MoveNext()) {
      ids.insert(IntOf(rows, "Nr"));
      onRow(++met);
    }
    const bool twice = std::any_of(ids.begin(), ids.end(), [&](std::int32_t id) { return ids.count(id) > 1; });
    EXPECT_FALSE(twice) << what << ": a row came twice";
    return met;
  }
};

const std::string kByTable = "SELECT Id AS Nr, N FROM T";
const std::string kByIndex = "SELECT Id AS Nr, N FROM T WHERE N >= 0 ORDER BY N";
const std::string kByKey = "SELECT Id AS Nr, N FROM T WHERE Id > 0";
const std::string kJoined = "SELECT A.Id AS Nr, A.N FROM T AS A INNER JOIN T AS B ON A.Id = B.Id WHERE A.N >= 0 ORDER BY A.N";

TEST_F(JetCursors, RowsAddedWhileACopyOrAKeysetIsReadAreNotMet) {
  for (const std::string& source : {kByTable, kByIndex, kByKey, kJoined}) {
    for (const CursorType cursor : {adOpenForwardOnly, adOpenKeyset, adOpenStatic}) {
      const std::string what = source + ", type " + std::to_string(cursor);
      connection.BeginTrans();
      auto rows = OpenedAs(source, cursor);
      const int met = Walk(
          rows,
          [&](int n) {
            const std::string number = std::to_string(100000 + n);
            Run("INSERT INTO T VALUES (" + number + ", " + number + ", 'x')");
          },
          what);
      EXPECT_EQ(met, kRows) << what;
      rows.Close();
      connection.RollbackTrans();
    }
  }
}

TEST_F(JetCursors, ATablesOwnRowsAreMetOnceWhateverIsAddedOrMoved) {
  for (const CursorType cursor : {adOpenForwardOnly, adOpenKeyset, adOpenStatic}) {
    for (const std::int32_t options : {adCmdTable, adCmdTableDirect, adOptionUnspecified}) {
      connection.BeginTrans();
      auto rows = OpenedAs("Sans", cursor, options);
      int met = 0;
      for (; !rows.Eof() && met < 3 * kRows; rows.MoveNext()) Run("INSERT INTO Sans VALUES (" + std::to_string(100000 + ++met) + ", 0)");
      EXPECT_EQ(met, kRows) << "type " << cursor << ", options " << options;
      rows.Close();
      connection.RollbackTrans();
    }
  }
  for (const CursorType cursor : {adOpenKeyset, adOpenDynamic}) {
    connection.BeginTrans();
    auto rows = OpenedAs("T", cursor, adCmdTableDirect);
    rows.Index("ByN");
    int met = 0;
    for (; !rows.Eof() && met < 3 * kRows; rows.MoveNext(), ++met)
      Run("UPDATE T SET N = N + 10000 WHERE Id = " + std::to_string(IntOf(rows, "Id")));
    EXPECT_EQ(met, kRows) << "type " << cursor;
    rows.Close();
    connection.RollbackTrans();
  }
}

TEST_F(JetCursors, ARowWhoseOrderIsChangedByAStatementIsNotMetAgain) {
  for (const std::string& source : {kByTable, kByIndex, kByKey, kJoined}) {
    for (const CursorType cursor : {adOpenForwardOnly, adOpenKeyset, adOpenDynamic, adOpenStatic}) {
      const std::string what = source + ", type " + std::to_string(cursor);
      connection.BeginTrans();
      auto rows = OpenedAs(source, cursor);
      const int met = Walk(
          rows, [&](int) { Run("UPDATE T SET N = N + 10000 WHERE Id = " + std::to_string(IntOf(rows, "Nr"))); }, what);
      EXPECT_EQ(met, kRows) << what;
      EXPECT_EQ(Rows("SELECT Count(*) FROM T WHERE N = Id + 10000"), std::to_string(kRows)) << what;
      rows.Close();
      connection.RollbackTrans();
    }
  }
}

TEST_F(JetCursors, ARowWhoseOrderIsChangedThroughTheRecordsetIsNotMetAgain) {
  for (const std::string& source : {kByTable, kByIndex, kJoined}) {
    for (const CursorType cursor : {adOpenForwardOnly, adOpenKeyset, adOpenDynamic, adOpenStatic}) {
      const std::string what = source + ", type " + std::to_string(cursor);
      connection.BeginTrans();
      auto rows = OpenedAs(source, cursor);
      const int met = Walk(
          rows,
          [&](int) {
            rows.Fields("N").Value(IntOf(rows, "N") + 10000);
            rows.Update();
          },
          what);
      EXPECT_EQ(met, kRows) << what;
      rows.Close();
      connection.RollbackTrans();
    }
  }
}

TEST_F(JetCursors, ACopyShowsWhatItFoundWhateverIsChangedOrDeleted) {
  for (const std::string& source : {kByTable, kByIndex, kJoined}) {
    for (const CursorType cursor : {adOpenForwardOnly, adOpenStatic}) {
      const std::string what = source + ", type " + std::to_string(cursor);
      connection.BeginTrans();
      auto rows = OpenedAs(source, cursor);
      int met = 0;
      for (; !rows.Eof(); rows.MoveNext()) {
        ++met;
        EXPECT_EQ(IntOf(rows, "Nr"), met) << what;
        EXPECT_EQ(IntOf(rows, "N"), met) << what;
        if (met == 1) Run("UPDATE T SET N = -N");
        if (met == 2) Run("DELETE FROM T WHERE Id > 10");
      }
      EXPECT_EQ(met, kRows) << what;
      rows.Close();
      connection.RollbackTrans();
    }
  }
}

TEST_F(JetCursors, AForwardOnlyMemoThatIsBeingReadGoesOn) {
  std::string whole;
  for (int i = 0; i < 300000; ++i) whole += static_cast<char>('a' + i % 26);
  connection.Execute("UPDATE T SET Note = '" + whole + "' WHERE Id = 2");
  auto rows = OpenedAs("SELECT Id, Note FROM T WHERE Id < 5", adOpenForwardOnly);
  rows.MoveNext();
  std::string text;
  std::byte buffer[1000];
  while (const std::size_t count = rows.Fields("Note").ReadChunk(buffer, sizeof buffer)) {
    text.append(reinterpret_cast<const char*>(buffer), count);
    if (text.size() == 5000) Run("UPDATE T SET Note = 'neu'");
  }
  EXPECT_TRUE(text == whole) << text.size();
  EXPECT_EQ(TextOf(rows.Fields("Note").Value()).size(), whole.size());
  rows.MoveNext();
  EXPECT_EQ(TextOf(rows.Fields("Note").Value()), "note 3");
}

TEST_F(JetCursors, AKeysetHasItsMembersAndTheirValuesAsTheyAre) {
  for (const char* table : {"T", "Sans"}) {
    connection.BeginTrans();
    auto rows = OpenedAs(std::string("SELECT Id, N, N * 2 AS Doubled FROM ") + table + " WHERE N > 0", adOpenKeyset);
    Run(std::string("DELETE FROM ") + table + " WHERE Id BETWEEN 3 AND 8");
    for (int i = 3; i <= 8; ++i) Run(std::string("INSERT INTO ") + table + " (Id, N) VALUES (" + std::to_string(9000 + i) + ", 5)");
    Run(std::string("UPDATE ") + table + " SET N = -Id, Id = Id + 100000 WHERE Id < " + std::to_string(kRows));
    int met = 0;
    for (; !rows.Eof(); rows.MoveNext()) {
      ++met;
      const int id = met < 3 ? met : met + 6;
      EXPECT_EQ(IntOf(rows, "Id"), id < kRows ? 100000 + id : id) << table;
      EXPECT_EQ(IntOf(rows, "N"), id < kRows ? -id : id) << table;
      EXPECT_EQ(IntOf(rows, "Doubled"), id * 2) << table << ": of the moment when it was opened";
    }
    EXPECT_EQ(met, kRows - 6) << table;
    rows.MoveFirst();
    EXPECT_EQ(IntOf(rows, "Id"), 100001) << "the same members";
    rows.Close();
    connection.RollbackTrans();
  }
}

TEST_F(JetCursors, AKeysetsOwnNewRowIsItsLastMember) {
  auto rows = OpenedAs("SELECT Id, N FROM T WHERE N > 598 ORDER BY N", adOpenKeyset);
  rows.AddNew();
  rows.Fields("Id").Value(std::int32_t{5000});
  rows.Fields("N").Value(std::int32_t{1});
  rows.Update();
  EXPECT_EQ(IntOf(rows, "Id"), 5000);
  rows.MoveNext();
  EXPECT_TRUE(rows.Eof());
  rows.MoveFirst();
  EXPECT_EQ(Rows(rows), "599|599; 600|600; 5000|1");
}

TEST_F(JetCursors, TheIndexChosenAfterTheFirstReadGivesAllRows) {
  connection.Execute("DELETE FROM T WHERE Id > 9");
  connection.Execute("UPDATE T SET N = 100 - Id");
  auto rows = OpenedAs("T", adOpenKeyset, adCmdTableDirect);
  const auto ids = [&] {
    std::string out;
    for (; !rows.Eof(); rows.MoveNext()) out += std::to_string(IntOf(rows, "Id"));
    return out;
  };
  EXPECT_EQ(IntOf(rows, "Id"), 1);
  rows.Index("ByN");
  EXPECT_EQ(IntOf(rows, "Id"), 9) << "the first row of the new order";
  EXPECT_EQ(ids(), "987654321");
  rows.Index("PK");
  EXPECT_FALSE(rows.Eof()) << "chosen at the end";
  EXPECT_EQ(ids(), "123456789");
  rows.Index("PK");
  const Variant key[] = {Variant(std::int32_t{5})};
  rows.Seek(key);
  rows.Index("ByN");
  EXPECT_EQ(ids(), "987654321");
  rows.Index("");
  EXPECT_EQ(ids(), "123456789") << "no index";
  rows.Index("ByN");
  rows.Fields("N").Value(std::int32_t{500});
  rows.Index("PK");
  EXPECT_EQ(rows.EditMode(), adEditNone) << "saved, as by every move";
  EXPECT_EQ(Rows("SELECT Id FROM T WHERE N = 500"), "9");
  EXPECT_EQ(IgnoringErrors([&] { rows.Index("Nothing"); }).number, runtime::kItemNotFound);
}

}  // namespace
