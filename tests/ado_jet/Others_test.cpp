// Recordsets that stay open while others write: nothing is locked between two calls, and each kind shows what it promises.

#include <array>
#include <chrono>

#include "jet/value/Error.h"
#include "tests/ado_jet/JetFixture.h"

using namespace tamlo;
using namespace tamlo::ado;
using runtime::IgnoringErrors;

namespace {

constexpr int kForward = 0;
constexpr int kTableDirect = 1;

/// The file open a second time, as another program has it: locks bind the two as they bind processes.
class JetBesideOthers : public tests::JetFixture {
 protected:
  void SetUp() override {
    JetFixture::SetUp();
    other.Provider("Microsoft.Jet.OLEDB.4.0");
    other.Open(path, "", "");
    connection.Execute("CREATE TABLE Utl (IdUtl LONG CONSTRAINT PK PRIMARY KEY, Nom TEXT(30), Note MEMO)");
    connection.Execute("CREATE INDEX NomIdx ON Utl (Nom)");
    connection.BeginTrans();
    for (int i = 1; i <= 600; ++i)
      connection.Execute("INSERT INTO Utl VALUES (" + std::to_string(i) + ", 'nom', 'note " + std::to_string(i) + "')");
    connection.CommitTrans();
  }
  void TearDown() override {
    other.Close();
    JetFixture::TearDown();
  }

  Recordset OpenedAs(const std::string& text, CursorType kind, std::int32_t options = -1) {
    Recordset rows;
    rows.Open(text, &connection, kind, adLockOptimistic, options);
    return rows;
  }

  Connection other;
};

TEST_F(JetBesideOthers, AnOpenRecordsetOfAnyKindKeepsNobodyFromWriting) {
  int next = 1000;
  for (const char* text : {"SELECT * FROM Utl", "SELECT * FROM Utl WHERE Nom='nom'", "SELECT * FROM Utl ORDER BY Note",
                           "SELECT A.IdUtl FROM Utl AS A INNER JOIN Utl AS B ON A.IdUtl=B.IdUtl", "SELECT MAX(IdUtl) FROM Utl"}) {
    for (const CursorType kind : {adOpenForwardOnly, adOpenStatic, adOpenKeyset, adOpenDynamic}) {
      auto rows = OpenedAs(text, kind);
      for (int i = 0; i < 3 && !rows.Eof(); ++i) rows.MoveNext();
      const auto outcome = IgnoringErrors([&] { other.Execute("INSERT INTO Utl VALUES (" + std::to_string(++next) + ", 'x', '')"); });
      EXPECT_EQ(outcome.number, 0) << text << ", kind " << kind << ": " << outcome.description;
    }
  }
  auto direct = Opened("Utl", kTableDirect);
  direct.MoveNext();
  EXPECT_EQ(IgnoringErrors([&] { other.Execute("DELETE FROM Utl WHERE IdUtl > 1000"); }).number, 0);
  direct.Index("PK");
  const Variant key[] = {Variant(std::int32_t{20})};
  direct.Seek(key, adSeekFirstEQ);
  EXPECT_EQ(IgnoringErrors([&] { other.Execute("UPDATE Utl SET Nom='y' WHERE IdUtl=5"); }).number, 0);
  direct.MoveNext();
  EXPECT_EQ(TextOf(direct.Fields("IdUtl").Value()), "21");
}

TEST_F(JetBesideOthers, ALockIsWaitedForAsLongAsThePropertySays) {
  EXPECT_EQ(runtime::ToInt32(connection.Property("Lock Wait")), 30000);
  connection.Property("Lock Wait", std::int32_t{50});
  other.BeginTrans();
  other.Execute("UPDATE Utl SET Nom='x' WHERE IdUtl=1");
  const auto begin = std::chrono::steady_clock::now();
  const auto refused = IgnoringErrors([&] { connection.Execute("UPDATE Utl SET Nom='y' WHERE IdUtl=1"); });
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
  EXPECT_EQ(refused.number, 3006);
  EXPECT_EQ(refused.description, "La base de données ou l'objet est verrouillé : un autre utilisateur modifie la base");
  other.CommitTrans();
  connection.Execute("UPDATE Utl SET Nom='y' WHERE IdUtl=1");
}

TEST_F(JetBesideOthers, AStaticRecordsetShowsTheRowsAsTheyWere) {
  auto rows = OpenedAs("SELECT IdUtl, Nom, Note FROM Utl", adOpenStatic);
  other.Execute("UPDATE Utl SET Nom='neu', Note='neu'");
  other.Execute("DELETE FROM Utl WHERE IdUtl > 300");
  int seen = 0;
  for (; !rows.Eof(); rows.MoveNext()) {
    ++seen;
    ASSERT_EQ(TextOf(rows.Fields("Nom").Value()), "nom");
    ASSERT_EQ(TextOf(rows.Fields("Note").Value()), "note " + std::to_string(seen));
  }
  EXPECT_EQ(seen, 600);
}

TEST_F(JetBesideOthers, RowsReadAheadStayAsTheyWereWithTheirMemos) {
  auto rows = OpenedAs("SELECT IdUtl, Nom, Note FROM Utl", adOpenForwardOnly);
  rows.MoveNext();  // the second block has been read
  other.Execute("DELETE FROM Utl WHERE IdUtl = 3");
  other.Execute("INSERT INTO Utl VALUES (5000, 'autre', 'une autre note')");
  other.Execute("UPDATE Utl SET Note = 'neu'");
  rows.MoveNext();
  EXPECT_EQ(TextOf(rows.Fields("IdUtl").Value()), "3");
  EXPECT_EQ(TextOf(rows.Fields("Note").Value()), "note 3");
  int seen = 3;
  for (rows.MoveNext(); !rows.Eof(); rows.MoveNext()) {
    ++seen;
    const std::string note = TextOf(rows.Fields("Note").Value());
    ASSERT_TRUE(note == "neu" || note == "note " + std::to_string(seen)) << note;
  }
  EXPECT_GE(seen, 600);
}

TEST_F(JetBesideOthers, ALongMemoOfARowReadAheadIsItsOwnOrRefused) {
  const std::string was(100000, 'a');
  connection.Execute("UPDATE Utl SET Note='" + was + "' WHERE IdUtl IN (2, 3)");
  auto rows = OpenedAs("SELECT IdUtl, Note FROM Utl", adOpenForwardOnly);
  rows.MoveNext();
  other.Execute("UPDATE Utl SET Nom='z' WHERE IdUtl=9");
  EXPECT_EQ(TextOf(rows.Fields("Note").Value()), was) << "somebody else's row was changed, not this one";
  other.Execute("UPDATE Utl SET Note='" + std::string(100000, 'b') + "x' WHERE IdUtl=2");
  const auto refused = IgnoringErrors([&] { (void)rows.Fields("Note").Value(); });
  EXPECT_EQ(refused.number, runtime::kProviderFailure);
  EXPECT_EQ(refused.description.rfind("La ligne a été modifiée par un autre utilisateur depuis sa lecture : ", 0), 0U)
      << refused.description;
}

TEST_F(JetBesideOthers, KeysetAndDynamicRowsAreAsTheyAre) {
  for (const CursorType kind : {adOpenKeyset, adOpenDynamic}) {
    const std::string to = "'" + std::to_string(kind) + "'";
    auto rows = OpenedAs("SELECT IdUtl, Nom, Note FROM Utl WHERE IdUtl BETWEEN 1 AND 600 ORDER BY IdUtl", kind);
    for (int i = 0; i < 4; ++i) rows.MoveNext();
    other.Execute("UPDATE Utl SET Nom=" + to + ", Note=" + to + " WHERE IdUtl > 5");
    other.Execute("DELETE FROM Utl WHERE IdUtl=7");
    rows.MoveNext();
    EXPECT_EQ(Rows(rows).substr(0, 12), kind == adOpenKeyset ? "6|1|1; 8|1|1" : "6|2|2; 8|2|2");
    connection.Execute("INSERT INTO Utl VALUES (7, 'nom', 'note 7')");
  }
}

TEST_F(JetBesideOthers, ARowThatTakesThePlaceOfADeletedOneIsNotTakenForIt) {
  for (const char* text : {"SELECT IdUtl, Nom FROM Utl WHERE Nom='nom'", "SELECT Nom FROM Utl WHERE Nom='nom'"}) {
    auto rows = OpenedAs(text, adOpenKeyset);
    rows.MoveNext();  // rows 2 to 9 are known by now
    other.Execute("DELETE FROM Utl WHERE IdUtl BETWEEN 3 AND 8");
    for (int i = 0; i < 6; ++i) other.Execute("INSERT INTO Utl VALUES (" + std::to_string(9001 + i) + ", 'autre', '')");
    for (; !rows.Eof(); rows.MoveNext()) ASSERT_EQ(TextOf(rows.Fields("Nom").Value()), "nom");
    rows.Close();
    other.Execute("DELETE FROM Utl WHERE IdUtl > 9000");
    for (int i = 3; i <= 8; ++i) other.Execute("INSERT INTO Utl VALUES (" + std::to_string(i) + ", 'nom', 'note')");
  }
}

TEST_F(JetBesideOthers, TheMemoOfARowThatIsGoneIsNoOtherRowsMemo) {
  auto query = OpenedAs("SELECT IdUtl, Note FROM Utl", adOpenKeyset);
  auto direct = Opened("Utl", kTableDirect);
  ASSERT_EQ(TextOf(query.Fields("IdUtl").Value()), "1");
  ASSERT_EQ(TextOf(direct.Fields("IdUtl").Value()), "1");
  other.Execute("DELETE FROM Utl WHERE IdUtl = 1");
  other.Execute("INSERT INTO Utl VALUES (7000, 'autre', 'une autre note')");
  EXPECT_EQ(IgnoringErrors([&] { (void)query.Fields("Note").Value(); }).number, runtime::kNoCurrentRecord);
  EXPECT_EQ(IgnoringErrors([&] { (void)direct.Fields("Note").Value(); }).number, runtime::kNoCurrentRecord);
  std::array<std::byte, 16> piece{};
  EXPECT_EQ(IgnoringErrors([&] { (void)query.Fields("Note").ReadChunk(piece.data(), piece.size()); }).number, runtime::kNoCurrentRecord);
  EXPECT_EQ(IgnoringErrors([&] { (void)direct.Fields("Note").ReadChunk(piece.data(), piece.size()); }).number, runtime::kNoCurrentRecord);
}

TEST_F(JetBesideOthers, AWalkByIndexGoesOnBehindTheRowItStoodOn) {
  connection.Execute("UPDATE Utl SET Nom = 'nom ' & Format(IdUtl, '000')");
  auto rows = OpenedAs("SELECT Nom FROM Utl WHERE Nom > 'nom 000' ORDER BY Nom", adOpenForwardOnly);
  std::string last;
  int seen = 0;
  for (; !rows.Eof(); rows.MoveNext()) {
    const std::string name = TextOf(rows.Fields("Nom").Value());
    ASSERT_LT(last, name);
    last = name;
    if (name.size() == 7) ++seen;
    // Before and behind: the tree splits and shrinks under the walk.
    if (name.size() == 7 && seen % 40 == 0) {
      other.Execute("INSERT INTO Utl VALUES (" + std::to_string(10000 + seen) + ", 'nom " + std::to_string(100 + seen) + "-', '')");
      other.Execute("DELETE FROM Utl WHERE Nom LIKE '*-' AND Nom < '" + name + "'");
    }
  }
  EXPECT_EQ(seen, 600);
}

TEST_F(JetBesideOthers, ATableDefinedAnewMeanwhileIsToldNotMisread) {
  auto forward = OpenedAs("SELECT * FROM Utl", adOpenForwardOnly);
  auto direct = Opened("Utl", kTableDirect);
  other.Execute("DROP TABLE Utl");
  other.Execute("CREATE TABLE Utl (Nom TEXT(5), IdUtl DOUBLE)");
  EXPECT_EQ(IgnoringErrors([&] {
              for (int i = 0; i < 300; ++i) forward.MoveNext();
            }).number,
            runtime::kItemNotFound);
  EXPECT_EQ(IgnoringErrors([&] { direct.MoveNext(); }).number, runtime::kItemNotFound);
}

}  // namespace
