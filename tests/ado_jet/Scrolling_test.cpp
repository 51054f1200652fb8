// What a provider's cursor on an Access file promises of its rows in any order, and where many rows are kept.

#include <cstring>

#include "ado/Provider.h"
#include "tests/ado_jet/JetFixture.h"

using namespace tamlo;
using namespace tamlo::ado;
using runtime::IgnoringErrors;

namespace {

class JetScrolling : public tests::JetFixture {
 protected:
  void SetUp() override {
    JetFixture::SetUp();
    connection.Execute("CREATE TABLE T (Id LONG CONSTRAINT PK PRIMARY KEY, N LONG)");
    for (int i = 1; i <= 50; ++i) connection.Execute("INSERT INTO T VALUES (" + std::to_string(i) + ", " + std::to_string(100 - i) + ")");
    OpenRequest request;
    request.connectionString = path;
    native = FindProvider("Microsoft.Jet.OLEDB.4.0")(request);
  }
  void TearDown() override {
    native.reset();
    JetFixture::TearDown();
  }
  std::unique_ptr<ProviderRowset> OpenedAs(const std::string& source, CursorType cursor, CursorLocation location = adUseServer) {
    RowsetRequest request;
    request.source = source;
    request.cursor = cursor;
    request.lock = adLockOptimistic;
    request.location = location;
    return native->OpenRowset(request);
  }
  static std::int32_t IntOf(ProviderRowset& rows, std::size_t field = 0) { return runtime::ToInt32(rows.Value(field)); }

  std::unique_ptr<ProviderConnection> native;
};

TEST_F(JetScrolling, StaticAndKeysetCursorsStandOnAnyRow) {
  for (const CursorType cursor : {adOpenStatic, adOpenKeyset}) {
    auto rows = OpenedAs("SELECT Id, N FROM T ORDER BY N", cursor);
    ASSERT_TRUE(rows->CanScroll());
    EXPECT_EQ(rows->RowCount(), 50U);
    for (const std::size_t position : {49U, 0U, 7U, 30U}) {
      ASSERT_TRUE(rows->MoveTo(position));
      EXPECT_EQ(IntOf(*rows), 50 - static_cast<int>(position));
      EXPECT_EQ(IntOf(*rows, 1), 50 + static_cast<int>(position));
    }
    ASSERT_TRUE(rows->MoveNext());
    EXPECT_EQ(IntOf(*rows), 19) << "goes on from there";
    ASSERT_TRUE(rows->MoveTo(49));
    EXPECT_FALSE(rows->MoveNext());
    ASSERT_TRUE(rows->MoveFirst());
    EXPECT_EQ(IntOf(*rows), 50);
  }
  for (const CursorType cursor : {adOpenForwardOnly, adOpenDynamic}) {
    EXPECT_FALSE(OpenedAs("SELECT Id FROM T", cursor)->CanScroll());
    EXPECT_TRUE(OpenedAs("SELECT Id FROM T", cursor, adUseClient)->CanScroll());
  }
  EXPECT_TRUE(OpenedAs("SELECT DISTINCT N FROM T", adOpenKeyset)->CanScroll());
  EXPECT_EQ(OpenedAs("SELECT DISTINCT N FROM T", adOpenKeyset)->RowCount(), 50U);
}

TEST_F(JetScrolling, ANewRowComesLastAndADeletedOneKeepsItsPlace) {
  for (const CursorType cursor : {adOpenStatic, adOpenKeyset}) {
    auto rows = OpenedAs("SELECT Id, N FROM T ORDER BY N", cursor);
    const Assignment values[] = {{0, Variant(std::int32_t{60})}, {1, Variant(std::int32_t{1})}};
    rows->Insert(values);
    EXPECT_EQ(rows->RowCount(), 51U);
    EXPECT_EQ(IntOf(*rows), 60);
    ASSERT_TRUE(rows->MoveTo(10));
    rows->Delete();
    EXPECT_EQ(rows->RowCount(), 51U);
    EXPECT_FALSE(rows->MoveTo(10));
    ASSERT_TRUE(rows->MoveTo(9));
    ASSERT_TRUE(rows->MoveNext());
    EXPECT_EQ(IntOf(*rows), 39);
    connection.Execute("DELETE FROM T WHERE Id IN (39, 38)");
    EXPECT_EQ(rows->MoveTo(12), cursor == adOpenStatic) << "a row that others delete is gone from a keyset alone";
    EXPECT_EQ(rows->RowCount(), 51U);
    ASSERT_TRUE(rows->MoveTo(50));
    EXPECT_EQ(IntOf(*rows), 60);
    rows->Delete();
    connection.Execute("INSERT INTO T VALUES (38, 62)");
    connection.Execute("INSERT INTO T VALUES (39, 61)");
    connection.Execute("INSERT INTO T VALUES (40, 60)");
  }
}

TEST_F(JetScrolling, AStaticCursorOfManyBytesIsTheSameInAnyOrder) {
  connection.Execute("CREATE TABLE Gros (Id LONG CONSTRAINT PK PRIMARY KEY, Note LONGBINARY)");
  const auto noteOf = [](std::size_t i) { return Variant(runtime::Bytes(1000000, static_cast<std::byte>(i))); };
  const std::size_t kCount = 66;  // more than is kept in memory
  connection.BeginTrans();
  Recordset added;
  added.Open("Gros", &connection, adOpenKeyset, adLockOptimistic, adCmdTableDirect);
  for (std::size_t i = 0; i < kCount; ++i) {
    added.AddNew();
    added.Fields("Id").Value(static_cast<std::int32_t>(i));
    added.Fields("Note").Value(noteOf(i));
    added.Update();
  }
  added.Close();
  connection.CommitTrans();
  auto rows = OpenedAs("SELECT Id, Note FROM Gros ORDER BY Id", adOpenStatic);
  auto forward = OpenedAs("SELECT Id, Note FROM Gros ORDER BY Id", adOpenForwardOnly);
  ASSERT_TRUE(forward->MoveFirst());
  (void)native->Execute("UPDATE Gros SET Note = NULL WHERE Id IN (0, 1, 40)", 0);
  (void)native->Execute("DELETE FROM Gros WHERE Id = 3", 0);
  for (std::size_t i = kCount; i-- > 0;) {
    ASSERT_TRUE(rows->MoveTo(i));
    ASSERT_TRUE(rows->Value(1) == noteOf(i)) << i;
  }
  for (std::size_t i = 0; i < kCount; ++i) {
    ASSERT_TRUE(forward->Value(1) == noteOf(i)) << i;
    ASSERT_EQ(forward->MoveNext(), i < kCount - 1);
  }
}

}  // namespace
