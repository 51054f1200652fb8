// Rows that live cursors read before they are reached: few locks, and never a row as it was when somebody has changed something since.

#include <fstream>
#include <iterator>

#include "ado/jet/JetConnection.h"
#include "tests/ado_jet/JetFixture.h"

using namespace tamlo;
using namespace tamlo::ado;

namespace {

class JetReadAhead : public tests::JetFixture {
 protected:
  void SetUp() override {
    JetFixture::SetUp();
    other.Provider("Microsoft.Jet.OLEDB.4.0");
    other.Open(path, "", "");
    connection.Execute("CREATE TABLE T (ID LONG CONSTRAINT PK PRIMARY KEY, N TEXT(30), M CURRENCY, Z DATETIME)");
    connection.BeginTrans();
    for (int i = 1; i <= 600; ++i)
      connection.Execute("INSERT INTO T VALUES (" + std::to_string(i * 10) + ", 'n" + std::to_string(i) + "', 1.25, #2/1/2020#)");
    connection.CommitTrans();
  }
  void TearDown() override {
    other.Close();
    JetFixture::TearDown();
  }

  Recordset Live(const std::string& source) {
    Recordset rows;
    const bool table = source == "T";
    rows.Open(source, &connection, table ? adOpenKeyset : adOpenDynamic, adLockOptimistic, table ? adCmdTableDirect : -1);
    return rows;
  }
  static std::string Text(const Recordset& rows, const char* field) { return runtime::ToText(rows.Fields(field).Value()); }
  static std::string Rest(Recordset& rows) {
    std::string all;
    for (; !rows.Eof(); rows.MoveNext()) all += Text(rows, "ID") + Text(rows, "N") + " ";
    return all;
  }
  /// Every live way to the rows in the order of the key.
  static constexpr const char* kSources[] = {"T", "SELECT * FROM T", "SELECT * FROM T ORDER BY ID"};

  Connection other;
};

TEST_F(JetReadAhead, WalksTakeFewLocks) {
  for (const char* source : kSources) {
    OpenRequest request;
    request.connectionString = path;
    jetprovider::JetConnection native(request);
    RowsetRequest asked;
    asked.source = source;
    asked.cursor = std::string(source) == "T" ? adOpenKeyset : adOpenDynamic;
    asked.lock = adLockOptimistic;
    asked.options = std::string(source) == "T" ? adCmdTableDirect : adOptionUnspecified;
    const auto rows = native.OpenRowset(asked);
    const std::uint64_t before = native.Database().Count().stretches;
    int met = 0;
    for (bool on = rows->MoveFirst(); on; on = rows->MoveNext()) met += rows->Value(0).IsNull() ? 0 : 1;
    EXPECT_EQ(met, 600);
    EXPECT_LT(native.Database().Count().stretches - before, 40U) << source;
  }
}

TEST_F(JetReadAhead, WhatAnotherProgramChangesBeforeARowIsReachedIsSeen) {
  for (const char* source : kSources) {
    Recordset rows = Live(source);
    for (int i = 1; i < 200; ++i) {
      ASSERT_EQ(Text(rows, "ID"), std::to_string(i * 10)) << source;
      rows.MoveNext();
    }
    other.Execute("UPDATE T SET N='neu' WHERE ID=2010");
    other.Execute("DELETE FROM T WHERE ID=2020");
    EXPECT_EQ(Text(rows, "N"), "n200");
    rows.MoveNext();
    EXPECT_EQ(Text(rows, "N"), "neu") << source;
    rows.MoveNext();
    EXPECT_EQ(Text(rows, "ID"), "2030") << source;
    other.Execute("UPDATE T SET N='noch' WHERE ID=2040");
    rows.MoveNext();
    EXPECT_EQ(Text(rows, "N"), "noch") << source;
    int seen = 0;
    for (; !rows.Eof(); rows.MoveNext()) ++seen;
    EXPECT_EQ(seen, 600 - 203) << source;
    other.Execute("INSERT INTO T VALUES (2020, 'n202', 1, #2/1/2020#)");
    other.Execute("UPDATE T SET N='n201' WHERE ID=2010");
    other.Execute("UPDATE T SET N='n204' WHERE ID=2040");
  }
}

TEST_F(JetReadAhead, WhatThisProgramChangesBeforeARowIsReachedIsSeen) {
  int from = 300;
  for (const char* source : kSources) {
    const auto id = [&](int row) { return std::to_string((from + row) * 10); };
    Recordset rows = Live(source);
    for (int i = 1; i < from; ++i) rows.MoveNext();
    ASSERT_EQ(Text(rows, "ID"), id(0));
    connection.Execute("UPDATE T SET N='neu' WHERE ID=" + id(1));
    rows.Fields("N").Value(Variant("ici"));
    rows.Update();
    rows.MoveNext();
    EXPECT_EQ(Text(rows, "N"), "neu") << source;
    connection.BeginTrans();
    connection.Execute("UPDATE T SET N='fort' WHERE ID=" + id(2));
    connection.RollbackTrans();
    rows.MoveNext();
    EXPECT_EQ(Text(rows, "N"), "n" + std::to_string(from + 2)) << source;
    connection.Execute("DELETE FROM T WHERE ID=" + id(3));
    rows.MoveNext();
    EXPECT_EQ(Text(rows, "ID"), id(4)) << source;
    rows.Delete();
    rows.MoveNext();
    EXPECT_EQ(Text(rows, "ID"), id(5)) << source;
    from -= 100;  // where no row was taken away before
  }
}

TEST_F(JetReadAhead, AWalkByIndexGoesBackToWhereItStoodAndMeetsEachRowOnce) {
  Recordset rows = Live("T");
  rows.Index("PK");
  rows.MoveFirst();
  for (int i = 1; i < 100; ++i) rows.MoveNext();
  ASSERT_EQ(Text(rows, "ID"), "1000");
  // Another program puts rows before and behind, and takes the very one away that the walk stands on.
  other.Execute("INSERT INTO T VALUES (1001, 'neu', 1, #2/1/2020#)");
  other.Execute("INSERT INTO T VALUES (999, 'neu', 1, #2/1/2020#)");
  other.Execute("DELETE FROM T WHERE ID=1000");
  rows.MoveNext();
  EXPECT_EQ(Text(rows, "ID"), "1001");
  rows.MoveNext();
  EXPECT_EQ(Text(rows, "ID"), "1010");
  int seen = 0;
  int last = 0;
  for (; !rows.Eof(); rows.MoveNext(), ++seen) {
    const int id = std::stoi(Text(rows, "ID"));
    EXPECT_GT(id, last);
    last = id;
  }
  EXPECT_EQ(seen, 500);
}

TEST_F(JetReadAhead, WhoChangesEachRowThatHeReadsMeetsEachOnce) {
  connection.Execute("DELETE FROM T WHERE ID > 1000");
  for (const char* source : kSources) {
    Recordset rows = Live(source);
    int seen = 0;
    for (; !rows.Eof() && seen < 600; rows.MoveNext(), ++seen) {
      rows.Fields("N").Value(Variant("x" + std::to_string(seen)));
      rows.Update();
    }
    EXPECT_EQ(seen, 100) << source;
  }
}

TEST_F(JetReadAhead, WhatIsAddedBehindTheLastRowIsMet) {
  for (const char* index : {"", "PK"}) {
    Recordset rows = Live("T");
    rows.Index(index);
    rows.MoveFirst();
    for (int i = 1; i < 600; ++i) rows.MoveNext();
    ASSERT_EQ(Text(rows, "ID"), "6000");
    other.Execute("INSERT INTO T VALUES (6010, 'neu', 1, #2/1/2020#)");
    rows.MoveNext();
    ASSERT_FALSE(rows.Eof()) << index;
    EXPECT_EQ(Text(rows, "ID"), "6010") << index;
    rows.MoveNext();
    EXPECT_TRUE(rows.Eof()) << index;
    other.Execute("DELETE FROM T WHERE ID=6010");
  }
}

/// Long values that are not very long come with their rows, once they are asked for.
class JetLongReadAhead : public JetReadAhead {
 protected:
  void SetUp() override {
    JetReadAhead::SetUp();
    connection.Execute("CREATE TABLE L (ID LONG CONSTRAINT PK PRIMARY KEY, M MEMO, O LONGBINARY, S MEMO)");
    Recordset rows;
    rows.Open("L", &connection, adOpenKeyset, adLockOptimistic, adCmdTableDirect);
    connection.BeginTrans();
    for (std::int32_t i = 1; i <= 600; ++i) {
      rows.AddNew();
      rows.Fields("ID").Value(i);
      if (i % 3 != 0) rows.Fields("M").Value(Memo(i));
      rows.Fields("S").Value("jamais");
      rows.Update();
    }
    connection.CommitTrans();
  }
  static std::string Memo(int i) { return i % 100 == 0 ? std::string(90000, 'M') : "é" + std::string(static_cast<std::size_t>(i), 'm'); }
  static std::string InPieces(const Field& field) {
    std::string all;
    std::byte piece[100];
    while (const std::size_t read = field.ReadChunk(piece, sizeof piece)) all.append(reinterpret_cast<const char*>(piece), read);
    return all;
  }
};

TEST_F(JetLongReadAhead, WalksTakeFewLocks) {
  OpenRequest request;
  request.connectionString = path;
  jetprovider::JetConnection native(request);
  RowsetRequest asked;
  asked.source = "L";
  asked.options = adCmdTableDirect;
  for (const bool inPieces : {false, true}) {
    const auto rows = native.OpenRowset(asked);
    const std::uint64_t before = native.Database().Count().stretches;
    int i = 0;
    for (bool on = rows->MoveFirst(); on; on = rows->MoveNext()) {
      ++i;
      std::byte piece[64];
      const bool isNull = i % 3 == 0;
      if (inPieces) {
        ASSERT_EQ(rows->ReadChunk(1, piece, sizeof piece) > 0, !isNull);
      } else {
        ASSERT_EQ(rows->Value(1), isNull ? Variant(runtime::Null{}) : Variant(Memo(i)));
      }
    }
    EXPECT_EQ(i, 600);
    EXPECT_LT(native.Database().Count().stretches - before, 60U);
  }
}

TEST_F(JetLongReadAhead, ArriveWholeInPiecesAndAtOnce) {
  Recordset rows;
  rows.Open("L", &connection, adOpenForwardOnly, adLockReadOnly, adCmdTableDirect);
  for (int i = 1; !rows.Eof(); rows.MoveNext(), ++i) {
    const std::string memo = i % 3 == 0 ? "" : Memo(i);
    ASSERT_EQ(InPieces(rows.Fields("M")), memo);
    ASSERT_EQ(InPieces(rows.Fields("M")), memo) << "from the beginning again";
    ASSERT_EQ(rows.Fields("M").Value(), i % 3 == 0 ? Variant(runtime::Null{}) : Variant(memo));
    ASSERT_EQ(rows.Fields("O").Value(), Variant(runtime::Null{}));
  }
}

TEST_F(JetLongReadAhead, WhatAnybodyChangesIsSeen) {
  Recordset rows;
  rows.Open("L", &connection, adOpenKeyset, adLockOptimistic, adCmdTableDirect);
  for (int i = 1; i < 200; ++i, rows.MoveNext()) ASSERT_EQ(InPieces(rows.Fields("M")), i % 3 == 0 ? "" : Memo(i));
  rows.MoveNext();
  ASSERT_EQ(Text(rows, "ID"), "201");
  EXPECT_TRUE(rows.Fields("M").Value().IsNull());
  other.Execute("UPDATE L SET M='neu' WHERE ID IN (201, 202)");
  EXPECT_EQ(Text(rows, "M"), "neu") << "of the row stood on, when it is asked for";
  rows.MoveNext();
  EXPECT_EQ(InPieces(rows.Fields("M")), "neu");
  for (int i = 202; i < 300; ++i, rows.MoveNext()) (void)rows.Fields("M").Value();
  connection.Execute("UPDATE L SET M='ici' WHERE ID BETWEEN 300 AND 301");
  EXPECT_EQ(Text(rows, "M"), "ici");
  connection.BeginTrans();
  connection.Execute("UPDATE L SET M='fort' WHERE ID = 301");
  rows.MoveNext();
  EXPECT_EQ(Text(rows, "M"), "fort");
  connection.RollbackTrans();
  EXPECT_EQ(Text(rows, "M"), "ici");
  // A value that was read is compared when the row is written, one that only came along is not.
  other.Execute("UPDATE L SET S='autre' WHERE ID = 301");
  rows.Fields("S").Value("ma valeur");
  rows.Update();
  EXPECT_EQ(Text(rows, "S"), "ma valeur");
  EXPECT_EQ(Text(rows, "M"), "ici");
  other.Execute("UPDATE L SET M='autre' WHERE ID = 301");
  rows.Fields("M").Value("la mienne");
  EXPECT_EQ(runtime::IgnoringErrors([&] { rows.Update(); }).number, runtime::kChangedByAnother);
  rows.CancelUpdate();
}

TEST_F(JetReadAhead, TheRowsBeforeADamagedPageComeFirst) {
  std::streamoff at = 0;
  int first = 600;  // row of the damaged page
  const auto mark = [&](char type) {
    connection.Close();
    other.Close();
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    if (at == 0) {
      const std::string all{std::istreambuf_iterator<char>(file), {}};
      at = static_cast<std::streamoff>(all.rfind("n600") / 4096 * 4096);
      const std::string page = all.substr(static_cast<std::size_t>(at), 4096);
      while (page.find("n" + std::to_string(first - 1)) != std::string::npos) --first;
      file.clear();
    }
    file.seekp(at);
    file.put(type);
    file.close();
    connection.Open(path, "", "");
    other.Open(path, "", "");
  };
  mark('\x63');
  {
    Recordset rows = Live("T");
    int seen = 0;
    EXPECT_THROW(for (; seen < 600; ++seen) rows.MoveNext(), runtime::Error);
    EXPECT_GT(first, 400);
    EXPECT_EQ(seen + 1, first - 1) << "all rows before that page";
    EXPECT_EQ(Text(rows, "ID"), std::to_string((seen + 1) * 10)) << "the row before stays the current one";
  }
  mark('\x01');
}

TEST_F(JetReadAhead, ValuesAreTheSameByEveryWay) {
  connection.Execute(
      "CREATE TABLE V (ID COUNTER CONSTRAINT PK PRIMARY KEY, A BIT, B BYTE, C SHORT, D LONG, E SINGLE, F DOUBLE, G CURRENCY, H DATETIME,"
      " I TEXT(20), J DECIMAL(18,4), K GUID, L BINARY(8))");
  connection.Execute(
      "INSERT INTO V (A,B,C,D,E,F,G,H,I,J,K) VALUES (True,255,-3,70000,1.5,0.1,98765432.1098,#12/31/1899 23:59:59#,'é€',"
      "12345678901234.5678,{guid {12345678-1234-1234-1234-123456789ABC}})");
  connection.Execute("INSERT INTO V (A) VALUES (False)");
  const auto read = [&](CursorType cursor, std::int32_t options, const char* source) {
    Recordset rows;
    rows.Open(source, &connection, cursor, adLockOptimistic, options);
    std::vector<Variant> values;
    for (; !rows.Eof(); rows.MoveNext()) {
      for (std::size_t i = 0; i < rows.FieldCount(); ++i) values.push_back(rows.Fields(i).Value());
    }
    return values;
  };
  const auto plain = read(adOpenForwardOnly, -1, "SELECT * FROM V");
  EXPECT_EQ(plain.size(), 26U);
  EXPECT_TRUE(read(adOpenDynamic, -1, "SELECT * FROM V") == plain);
  EXPECT_TRUE(read(adOpenDynamic, -1, "SELECT * FROM V ORDER BY ID") == plain);
  EXPECT_TRUE(read(adOpenKeyset, -1, "SELECT * FROM V") == plain);
  EXPECT_TRUE(read(adOpenKeyset, adCmdTableDirect, "V") == plain);
}

}  // namespace
