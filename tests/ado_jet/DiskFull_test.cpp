// The provider on a disk that is really full.

#include <filesystem>

#include "tests/ado_jet/JetFixture.h"
#include "tests/support_lib/SmallDisk.h"

namespace tamlo::tests {
namespace {

constexpr std::size_t kBlock = 4096;
constexpr char kFull[] = "Disque plein : la transaction a été annulée : Writing \"";

class ProviderOnAFullDisk : public testing::Test {
 protected:
  void SetUp() override {
    if (!disk.Refused().empty()) GTEST_SKIP() << disk.Refused();
    ado::jetprovider::RegisterJetProvider();
    path = disk.File("Base.mdb");
    (void)::jet::Database::Create(path);
    Connect();
    connection.Execute("CREATE TABLE T (Id INTEGER NOT NULL PRIMARY KEY, Nom TEXT(50), Note MEMO)");
    for (int i = 0; i < 20; ++i)
      connection.Execute("INSERT INTO T VALUES (" + std::to_string(i) + ", 'avant " + std::to_string(i) + "', 'n')");
  }
  void TearDown() override {
    if (connection.IsOpen()) connection.Close();
    if (!disk.Refused().empty()) return;
    disk.MakeRoom();
    for (const ::jet::Finding& finding : ::jet::Database::Open(path)->Check())
      ADD_FAILURE() << "page " << finding.page << " offset " << finding.offset << ": " << finding.text;
  }

  void Connect() {
    connection.Provider("Microsoft.Jet.OLEDB.4.0");
    connection.Open(path, "", "");
  }
  std::string Sums() {
    ado::Recordset rows;
    rows.Open("SELECT Count(*), Sum(Id), Sum(Len(Nom)), Sum(Len(Note)) FROM T", &connection, ado::adOpenForwardOnly, ado::adLockReadOnly,
              -1);
    std::string sums;
    for (std::size_t i = 0; i < rows.FieldCount(); ++i) sums += runtime::ToText(rows.Fields(i).Value()) + " ";
    return sums;
  }
  ado::Recordset Table() {
    ado::Recordset rows;
    rows.Open("T", &connection, ado::adOpenKeyset, ado::adLockOptimistic, ado::adCmdTableDirect);
    return rows;
  }
  static void Add(ado::Recordset& rows, int id) {
    rows.AddNew();
    rows.Fields("Id").Value(std::int32_t{id});
    rows.Fields("Nom").Value("nouveau " + std::to_string(id));
    rows.Fields("Note").Value(std::string(9000, 'x'));
    rows.Update();
  }
  /// Number and beginning of the text of what the work raises.
  template <typename Work>
  static void ExpectFull(Work work) {
    try {
      work();
      ADD_FAILURE() << "no error";
    } catch (const runtime::Error& error) {
      EXPECT_EQ(error.Number(), -2147467259);
      EXPECT_EQ(error.Description().substr(0, sizeof kFull - 1), kFull);
      EXPECT_NE(error.Description().find("No space left on device"), std::string::npos) << error.Description();
    }
  }

  SmallDisk disk{std::size_t{2} << 20};
  std::string path;
  ado::Connection connection;
};

TEST_F(ProviderOnAFullDisk, ATransactionIsRolledBackWithItsMessage) {
  const std::string before = Sums();
  disk.FillUpTo(6 * kBlock);
  ExpectFull([&] {
    ado::Recordset rows = Table();
    connection.BeginTrans();
    for (int id = 100; id < 110; ++id) Add(rows, id);
    connection.CommitTrans();
  });
  EXPECT_EQ(Sums(), before);
  try {
    connection.CommitTrans();
    ADD_FAILURE() << "the transaction was still there";
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), runtime::kNoTransaction);
    EXPECT_EQ(error.Description(), "Aucune transaction n'est active.");
  }
  // The connection goes on once there is room.
  disk.MakeRoom();
  ado::Recordset rows = Table();
  Add(rows, 100);
  rows.Close();
  EXPECT_NE(Sums(), before);
}

TEST_F(ProviderOnAFullDisk, AnUpdateThatHasNoRoomStaysPendingAndCanBeSavedLater) {
  const std::string before = Sums();
  ado::Recordset rows = Table();
  disk.FillUpTo(0);
  ExpectFull([&] { Add(rows, 100); });
  EXPECT_EQ(rows.EditMode(), ado::adEditAdd);
  EXPECT_EQ(Sums(), before);
  disk.MakeRoom();
  rows.Update();
  EXPECT_EQ(rows.EditMode(), ado::adEditNone);
  rows.Close();
  EXPECT_EQ(Sums(), "21 290 161 9020 ");
}

TEST_F(ProviderOnAFullDisk, AStatementIsAllOrNothing) {
  const std::string before = Sums();
  disk.FillUpTo(4 * kBlock);
  ExpectFull([&] { connection.Execute("INSERT INTO T (Id, Nom, Note) SELECT Id + 1000, Nom, String(2000, 'y') FROM T"); });
  EXPECT_EQ(Sums(), before);
  disk.MakeRoom();
  EXPECT_EQ(connection.Execute("INSERT INTO T (Id, Nom, Note) SELECT Id + 1000, Nom, String(2000, 'y') FROM T"), 20);
}

TEST_F(ProviderOnAFullDisk, OpeningSaysSo) {
  connection.Close();
  disk.FillUpTo(0);
  ExpectFull([&] { Connect(); });
  disk.MakeRoom();
  Connect();
  EXPECT_EQ(Sums(), "20 190 150 20 ");
}

}  // namespace
}  // namespace tamlo::tests
