#include <array>
#include <cstring>

#include "ado/BulkInsert.h"
#include "runtime/Dates.h"
#include "tests/ado_jet/JetFixture.h"

using namespace tamlo;
using namespace tamlo::ado;
using runtime::IgnoringErrors;

namespace {

class JetRecordset : public tests::JetFixture {
 protected:
  void SetUp() override {
    JetFixture::SetUp();
    connection.Execute(
        "CREATE TABLE Utl (IdUtl LONG CONSTRAINT PK PRIMARY KEY, Nom TEXT(30), MotPasse TEXT(20), Note MEMO, Photo LONGBINARY)");
    connection.Execute("CREATE INDEX NomIdx ON Utl (Nom)");
    for (const char* row : {"1, 'Dupont'", "2, 'élise'", "3, 'ZOLA'"})
      connection.Execute(std::string("INSERT INTO Utl (IdUtl, Nom) VALUES (") + row + ")");
  }
};

TEST_F(JetRecordset, ForwardOnlyRowsCannotBeWritten) {
  auto rows = Opened("SELECT * FROM Utl", 0);
  EXPECT_FALSE(rows.Eof());
  EXPECT_EQ(IgnoringErrors([&] { rows.AddNew(); }).number, runtime::kOperationNotSupported);
  EXPECT_EQ(IgnoringErrors([&] { rows.Fields("Nom").Value("x"); }).number, runtime::kOperationNotSupported);
}

TEST_F(JetRecordset, ForwardOnlyRowsStartAnewAtMoveFirst) {
  auto rows = Opened("SELECT Nom FROM Utl ORDER BY IdUtl", 0);
  EXPECT_EQ(Rows(rows), "Dupont; élise; ZOLA");
  rows.MoveFirst();
  EXPECT_EQ(Rows(rows), "Dupont; élise; ZOLA");
}

TEST_F(JetRecordset, TheToolsOkWritesUserAndLink) {
  connection.Execute("CREATE TABLE VlmUtl (IdUtl DOUBLE, IdVlm DOUBLE, Niveau SHORT, CONSTRAINT P PRIMARY KEY (IdUtl, IdVlm))");
  auto user = Opened("SELECT * FROM UTL WHERE NOM='NOUVEAU'", 2);
  ASSERT_TRUE(user.Eof());
  user.AddNew();
  auto highest = Opened("SELECT MAX([IDUTL]) FROM UTL", 0);
  const double id = runtime::ToDouble(highest.Fields(std::size_t{0}).Value()) + 1;
  EXPECT_EQ(id, 4);
  user.Fields("IdUtl").Value(id);
  user.Fields("Nom").Value("NOUVEAU");
  user.Fields("MotPasse").Value("!\x01\x7f");
  user.Update();
  auto link = Opened("SELECT * FROM VLMUTL WHERE IDUTL=4 AND IDVLM=10", 2);
  ASSERT_TRUE(link.Eof());
  link.AddNew();
  link.Fields("IdUtl").Value(4.0);
  link.Fields("IdVlm").Value(10.0);
  link.Fields("Niveau").Value(std::int16_t{5});
  link.Update();
  EXPECT_EQ(Rows("SELECT IdUtl, Nom FROM Utl WHERE Nom='nouveau'"), "4|NOUVEAU");
  EXPECT_EQ(Rows("SELECT * FROM VlmUtl"), "4|10|5");
}

TEST_F(JetRecordset, ADuplicateKeyIs3022AndTheEditStays) {
  auto rows = Opened("SELECT * FROM Utl WHERE Nom='X'", 2);
  rows.AddNew();
  rows.Fields("IdUtl").Value(1.0);
  rows.Fields("Nom").Value("X");
  const auto error = IgnoringErrors([&] { rows.Update(); });
  EXPECT_EQ(error.number, 3022);
  EXPECT_NE(error.description.find("doublon"), std::string::npos) << error.description;
  EXPECT_EQ(rows.EditMode(), adEditAdd);
  rows.Fields("IdUtl").Value(9.0);
  rows.Update();
  EXPECT_EQ(Rows("SELECT IdUtl FROM Utl WHERE Nom='x'"), "9");
}

TEST_F(JetRecordset, DynamicRowsAreUpdatedAndDeletedWhereTheyStand) {
  auto rows = Opened("SELECT IdUtl, Nom FROM Utl WHERE IdUtl > 1 ORDER BY IdUtl", 2);
  rows.Fields("Nom").Value("Élise B.");
  rows.MoveNext();  // saves
  EXPECT_EQ(TextOf(rows.Fields("Nom").Value()), "ZOLA");
  rows.Delete();
  rows.MoveNext();
  EXPECT_TRUE(rows.Eof());
  EXPECT_EQ(Rows("SELECT IdUtl, Nom FROM Utl ORDER BY IdUtl"), "1|Dupont; 2|Élise B.");
}

TEST_F(JetRecordset, ARowWhoseKeyIsRaisedIsNotMetAgain) {
  connection.Execute("CREATE TABLE K (Id LONG CONSTRAINT P PRIMARY KEY, N LONG)");
  connection.Execute("CREATE INDEX ByN ON K (N)");
  for (int i = 0; i < 20; ++i) connection.Execute("INSERT INTO K VALUES (" + std::to_string(i) + ", " + std::to_string(i) + ")");
  for (const char* source : {"SELECT * FROM K WHERE N >= 0 ORDER BY N", "SELECT Id, N FROM K WHERE N >= 0",
                             "SELECT A.Id, A.N FROM K AS A INNER JOIN K AS B ON A.Id = B.Id WHERE A.N >= 0 ORDER BY A.N"}) {
    auto rows = Opened(source, 2);
    int count = 0;
    for (; !rows.Eof() && count < 100; rows.MoveNext(), ++count) {
      rows.Fields("N").Value(runtime::ToDouble(rows.Fields("N").Value()) + 1000);
      rows.Update();
    }
    EXPECT_EQ(count, 20) << source;
    EXPECT_EQ(Rows("SELECT Count(*) FROM K WHERE N = Id + 1000"), "20") << source;
    rows.MoveFirst();
    EXPECT_FALSE(rows.Eof());
    rows.Close();
    connection.Execute("UPDATE K SET N = Id");
  }
}

TEST_F(JetRecordset, RowsOfTheCatalogCannotBeWritten) {
  for (const int option : {1, 2}) {
    auto rows = Opened(option == 1 ? "MSysObjects" : "SELECT * FROM MSysObjects", option);
    ASSERT_FALSE(rows.Eof());
    const auto error = IgnoringErrors([&] { rows.Delete(); });
    EXPECT_EQ(error.number, runtime::kProviderFailure);
    EXPECT_NE(error.description.find("lecture seule"), std::string::npos) << error.description;
  }
  EXPECT_EQ(Rows("SELECT Count(*) FROM Utl"), "3");
}

TEST_F(JetRecordset, RowsDeletedMeanwhileAreSkippedByADynamicCursor) {
  auto rows = Opened("SELECT Nom FROM Utl ORDER BY IdUtl", 2);
  EXPECT_FALSE(rows.Eof());
  connection.Execute("DELETE FROM Utl WHERE IdUtl=2");
  rows.MoveNext();
  EXPECT_EQ(TextOf(rows.Fields("Nom").Value()), "ZOLA");
}

TEST_F(JetRecordset, ARowDeletedByAnotherIsToldAsOne) {
  for (const int option : {1, 2}) {
    const std::string source = option == 1 ? "Utl" : "SELECT * FROM Utl ORDER BY IdUtl";
    auto rows = Opened(source, option);
    EXPECT_FALSE(rows.Eof());
    rows.Fields("Nom").Value("changé");
    auto other = Opened(source, option);
    other.Delete();
    EXPECT_EQ(IgnoringErrors([&] { rows.Update(); }).number, -2147217864);
    EXPECT_EQ(rows.EditMode(), ado::adEditInProgress);
    rows.CancelUpdate();
    EXPECT_EQ(IgnoringErrors([&] { rows.Delete(); }).number, -2147217864);
    rows.MoveNext();
    EXPECT_FALSE(rows.Eof());
  }
}

TEST_F(JetRecordset, AnothersChangeOfTheSameColumnIsNotOverwritten) {
  connection.Execute("UPDATE Utl SET Note='la note'");
  for (const int option : {1, 2}) {
    const std::string source = option == 1 ? "Utl" : "SELECT * FROM Utl ORDER BY IdUtl";
    for (const char* field : {"Nom", "MotPasse", "Note"}) {
      auto rows = Opened(source, option);
      const auto before = rows.Fields(field).Value();
      for (const char* theirs : {"LEUR", "leur"}) {
        rows.MoveFirst();
        (void)rows.Fields(field).Value();
        connection.Execute(std::string("UPDATE Utl SET ") + field + "='" + theirs + "' WHERE IdUtl=1");
        rows.Fields(field).Value("le mien");
        const auto failure = IgnoringErrors([&] { rows.Update(); });
        EXPECT_EQ(failure.number, -2147217864) << source << " " << field << " " << theirs;
        EXPECT_EQ(
            failure.description,
            "La ligne ne peut pas être trouvée pour la mise à jour : certaines de ses valeurs ont changé depuis la dernière lecture.");
        rows.CancelUpdate();
        EXPECT_EQ(Rows(std::string("SELECT ") + field + " FROM Utl WHERE IdUtl=1"), theirs);
      }
      rows.MoveFirst();
      rows.Fields(field).Value("le mien");
      EXPECT_NO_THROW(rows.Update()) << "read again, it can be changed";
      rows.Fields(field).Value(before);
      EXPECT_NO_THROW(rows.Update());
    }
  }
}

TEST_F(JetRecordset, AnothersChangeOfAnotherColumnOrOfAnUnreadLongValueIsNone) {
  for (const int option : {1, 2}) {
    auto rows = Opened(option == 1 ? "Utl" : "SELECT * FROM Utl ORDER BY IdUtl", option);
    EXPECT_FALSE(rows.Eof());
    connection.Execute("UPDATE Utl SET MotPasse='x', Note='leur note' WHERE IdUtl=1");
    rows.Fields("Nom").Value("Durand");
    rows.Fields("Note").Value("ma note");
    EXPECT_NO_THROW(rows.Update());
    EXPECT_EQ(Rows("SELECT Nom, MotPasse, Note FROM Utl WHERE IdUtl=1"), "Durand|x|ma note");
  }
}

TEST_F(JetRecordset, ANewRowInThePlaceOfADeletedOneIsNotTakenForIt) {
  for (const char* key : {" CONSTRAINT PK PRIMARY KEY", ""}) {
    for (const int option : {1, 2}) {
      connection.Execute(std::string("CREATE TABLE Seul (No LONG") + key + ", Nom TEXT(10))");
      connection.Execute("INSERT INTO Seul (No, Nom) VALUES (1, 'un')");
      const std::string source = option == 1 ? "Seul" : "SELECT No, Nom FROM Seul";
      auto rows = Opened(source, option);
      auto other = Opened(source, option);
      EXPECT_FALSE(rows.Eof());
      EXPECT_FALSE(other.Eof());
      other.Delete();
      other.AddNew();
      other.Fields("No").Value(std::int32_t{2});
      other.Fields("Nom").Value("deux");
      other.Update();
      rows.Fields("Nom").Value("perdu");
      EXPECT_EQ(IgnoringErrors([&] { rows.Update(); }).number, -2147217864);
      rows.CancelUpdate();
      EXPECT_EQ(IgnoringErrors([&] { rows.Delete(); }).number, -2147217864);
      EXPECT_EQ(Rows("SELECT * FROM Seul"), "2|deux");
      rows.Close();
      other.Close();
      connection.Execute("DROP TABLE Seul");
    }
  }
}

TEST_F(JetRecordset, AStaticCursorKeepsWhatItRead) {
  auto rows = Opened("SELECT Nom FROM Utl ORDER BY IdUtl", 3);
  auto named = Opened("Utl", 3);
  const std::string before = Rows(named);
  EXPECT_EQ(Rows(rows), "Dupont; élise; ZOLA");
  connection.Execute("UPDATE Utl SET Nom='changé'");
  rows.MoveFirst();
  EXPECT_EQ(Rows(rows), "Dupont; élise; ZOLA");
  named.MoveFirst();
  EXPECT_EQ(Rows(named), before) << "a table by its name is no other than a query";
}

TEST_F(JetRecordset, FindOnAStaticCursorAsTheCatalogLoaderDoes) {
  auto rows = Opened("SELECT * FROM Utl ORDER BY Nom", 3);
  rows.Find("[NOM]='ZOLA'");
  EXPECT_EQ(TextOf(rows.Fields("IdUtl").Value()), "3");
  rows.MoveFirst();
  rows.Find("[NOM]='nobody'");
  EXPECT_TRUE(rows.Eof());
  EXPECT_FALSE(rows.CanSeek());
}

TEST_F(JetRecordset, TableDirectSeeksByItsIndex) {
  auto rows = Opened("[UTL]", 1);
  ASSERT_TRUE(rows.CanSeek());
  rows.Index("nomidx");
  rows.Seek(std::vector<Variant>{Variant("dupont")});
  ASSERT_FALSE(rows.Eof());
  EXPECT_EQ(TextOf(rows.Fields("IdUtl").Value()), "1");
  rows.MoveNext();
  EXPECT_EQ(TextOf(rows.Fields("Nom").Value()), "élise");
  rows.Seek(std::vector<Variant>{Variant("nobody")});
  EXPECT_TRUE(rows.Eof());
  rows.Seek(std::vector<Variant>{Variant("f")}, adSeekAfterEQ);
  EXPECT_EQ(TextOf(rows.Fields("Nom").Value()), "ZOLA");
  rows.Seek(std::vector<Variant>{Variant("f")}, adSeekBefore);
  EXPECT_EQ(TextOf(rows.Fields("Nom").Value()), "élise");
  rows.Seek(std::vector<Variant>{Variant("élise")}, adSeekAfter);
  EXPECT_EQ(TextOf(rows.Fields("Nom").Value()), "ZOLA");
  rows.Seek(std::vector<Variant>{Variant("ÉLISE")}, adSeekLastEQ);
  EXPECT_EQ(TextOf(rows.Fields("IdUtl").Value()), "2");
  EXPECT_EQ(IgnoringErrors([&] { rows.Index("Nothing"); }).number, runtime::kItemNotFound);
}

TEST_F(JetRecordset, TableDirectOfANameThatIsNoTableIsRefused) {
  EXPECT_EQ(IgnoringErrors([&] { Opened("NOTHING", 1); }).number, runtime::kNoSuchTable);
}

TEST_F(JetRecordset, CountersShowThemselves) {
  connection.Execute("CREATE TABLE C (Id COUNTER CONSTRAINT PK PRIMARY KEY, T TEXT(10))");
  auto rows = Opened("SELECT TOP 1 * FROM [C]", 0);
  EXPECT_TRUE(runtime::ToBoolean(rows.Fields("Id").Property("IsAutoIncrement")));
  EXPECT_FALSE(runtime::ToBoolean(rows.Fields("T").Property("ISAUTOINCREMENT")));
  auto added = Opened("C", 1);
  added.AddNew();
  added.Fields("T").Value("a");
  added.Update();
  EXPECT_EQ(TextOf(added.Fields("Id").Value()), "1");
  added.AddNew();
  added.Update();
  EXPECT_EQ(TextOf(added.Fields("Id").Value()), "2");
}

TEST_F(JetRecordset, EveryTypeKeepsItsCodeAndValue) {
  connection.Execute(
      "CREATE TABLE T (Y YESNO, B BYTE, S SHORT, L LONG, C CURRENCY, F SINGLE, D DOUBLE, A DATETIME, X BINARY(8), T TEXT(30), M MEMO, O LONGBINARY, G GUID, N DECIMAL(20,5))");
  auto rows = Opened("SELECT * FROM T", 2);
  std::vector<std::int16_t> types;
  for (std::size_t i = 0; i < rows.FieldCount(); ++i) types.push_back(rows.Fields(i).Type());
  EXPECT_EQ(types, (std::vector<std::int16_t>{11, 17, 2, 3, 6, 4, 5, 7, 204, 202, 203, 205, 72, 131}));
  EXPECT_EQ(rows.Fields("T").DefinedSize(), 30);
  EXPECT_EQ(rows.Fields("D").DefinedSize(), 8);
  EXPECT_EQ(rows.Fields("N").Precision(), 20);
  EXPECT_EQ(rows.Fields("N").NumericScale(), 5);
  const std::vector<Variant> values = {true,
                                       std::uint8_t{200},
                                       std::int16_t{-5},
                                       std::int32_t{70000},
                                       runtime::Currency{123456789012345678},
                                       1.5F,
                                       0.1,
                                       runtime::Date{37653.25},
                                       runtime::Bytes{std::byte{0}, std::byte{255}},
                                       "été €",
                                       "mémo",
                                       runtime::Bytes(5000, std::byte{7}),
                                       runtime::Guid{"{00112233-4455-6677-8899-AABBCCDDEEFF}"},
                                       runtime::Decimal{"-123456789012345.12345"}};
  rows.AddNew();
  for (std::size_t i = 0; i < values.size(); ++i) rows.Fields(i).Value(values[i]);
  rows.Update();
  for (const int option : {0, 2, 3}) {
    auto read = Opened("SELECT * FROM T", option);
    for (std::size_t i = 0; i < values.size(); ++i)
      EXPECT_EQ(read.Fields(i).Value(), values[i]) << "option " << option << " field " << read.Fields(i).Name();
    auto filtered = Opened("SELECT * FROM T WHERE L > 1 ORDER BY D", option);
    for (std::size_t i = 0; i < values.size(); ++i)
      EXPECT_EQ(filtered.Fields(i).Value(), values[i]) << "option " << option << " field " << filtered.Fields(i).Name();
  }
  auto direct = Opened("T", 1);
  for (std::size_t i = 0; i < values.size(); ++i) EXPECT_EQ(direct.Fields(i).Value(), values[i]);
}

/// Before 1899-12-30 the time of day counts forward from a whole number below zero, so that it makes the number smaller.
TEST_F(JetRecordset, TheFirstAndTheLastDayOfTheCalendarHaveTheirTimeOfDay) {
  connection.Execute("CREATE TABLE J (ID INTEGER, D DATETIME)");
  const runtime::Date moments[] = {runtime::ToSerial({100, 1, 1, 0, 0, 0, 0}), runtime::ToSerial({100, 1, 1, 23, 59, 59, 0}),
                                   runtime::ToSerial({9999, 12, 31, 23, 59, 59, 0})};
  ado::BulkInsert bulk(connection, "J", {"ID", "D"});
  for (std::int32_t i = 0; i < 3; ++i) bulk.Add(std::array<ado::Variant, 2>{i, moments[i]});
  bulk.Flush();
  EXPECT_EQ(runtime::IgnoringErrors([&] { connection.Execute("INSERT INTO J (ID, D) VALUES (4, -657435)"); }).number,
            runtime::kProviderFailure)
      << "the day before the first one";
  auto rows = Opened("SELECT D FROM J ORDER BY ID", 0);
  for (const runtime::Date& moment : moments) {
    ASSERT_FALSE(rows.Eof());
    EXPECT_EQ(rows.Fields("D").Value(), ado::Variant(moment));
    rows.MoveNext();
  }
  EXPECT_TRUE(rows.Eof());
}

TEST_F(JetRecordset, LongValuesTravelInPieces) {
  auto rows = Opened("SELECT * FROM Utl WHERE IdUtl=1", 2);
  const std::string piece = "élève ";
  int left = 20000;
  rows.Fields("Note").WriteFrom([&](std::byte* buffer, std::size_t capacity) -> std::size_t {
    if (left == 0 || capacity < piece.size()) return 0;
    --left;
    std::memcpy(buffer, piece.data(), piece.size());
    return piece.size();
  });
  rows.Update();
  for (const int option : {0, 1, 2, 3}) {
    auto read = Opened(option == 1 ? "Utl" : "SELECT * FROM Utl WHERE IdUtl=1", option);
    std::string text;
    std::byte buffer[1001];
    while (const std::size_t count = read.Fields("Note").ReadChunk(buffer, sizeof buffer))
      text.append(reinterpret_cast<const char*>(buffer), count);
    EXPECT_EQ(text.size(), 20000 * piece.size()) << option;
    EXPECT_EQ(text.substr(0, piece.size()), piece);
    EXPECT_EQ(read.Fields("Photo").ReadChunk(buffer, sizeof buffer), 0U);
  }
}

TEST_F(JetRecordset, TransactionsNestByLevel) {
  EXPECT_EQ(connection.BeginTrans(), 1);
  connection.Execute("DELETE FROM Utl WHERE IdUtl=1");
  EXPECT_EQ(connection.BeginTrans(), 2);
  connection.Execute("DELETE FROM Utl WHERE IdUtl=2");
  connection.RollbackTrans();
  EXPECT_EQ(Rows("SELECT IdUtl FROM Utl ORDER BY 1"), "2; 3");
  connection.CommitTrans();
  EXPECT_EQ(Rows("SELECT IdUtl FROM Utl ORDER BY 1"), "2; 3");
  const auto error = IgnoringErrors([&] { connection.CommitTrans(); });
  EXPECT_EQ(error.number, runtime::kNoTransaction);
  EXPECT_NE(error.description.find("transaction"), std::string::npos);
}

TEST_F(JetRecordset, ATransactionBegunByAStatementIsTheConnectionsOwn) {
  connection.Execute("BEGIN TRANSACTION");
  connection.Execute("DELETE FROM Utl WHERE IdUtl=1");
  EXPECT_EQ(IgnoringErrors([&] { connection.Close(); }).number, 3246);
  EXPECT_EQ(connection.BeginTrans(), 2);
  connection.Execute("COMMIT");
  connection.RollbackTrans();
  EXPECT_EQ(Rows("SELECT IdUtl FROM Utl ORDER BY 1"), "1; 2; 3");
  EXPECT_EQ(IgnoringErrors([&] { connection.Execute("ROLLBACK TRANSACTION"); }).number, runtime::kNoTransaction);
}

TEST_F(JetRecordset, AConnectionThatEndsInATransactionHasRolledBack) {
  connection.Close();
  {
    ado::Connection other;
    other.Provider(connection.Provider());
    other.Open(path, "", "");
    other.BeginTrans();
    other.Execute("DELETE FROM Utl");
    EXPECT_EQ(IgnoringErrors([&] { other.Close(); }).number, runtime::kTransactionOpen);
  }
  connection.Open(path, "", "");
  EXPECT_EQ(Rows("SELECT Count(*) FROM Utl"), "3");
}

TEST_F(JetRecordset, JoinedRowsAreUpdatedInTheirTables) {
  connection.Execute("CREATE TABLE V (IdUtl LONG, Niveau LONG)");
  connection.Execute("INSERT INTO V VALUES (2, 7)");
  auto rows = Opened("SELECT Utl.Nom, V.Niveau FROM Utl INNER JOIN V ON Utl.IdUtl = V.IdUtl", 2);
  rows.Fields("Nom").Value("Nouvelle");
  rows.Fields("Niveau").Value(std::int32_t{8});
  rows.Update();
  EXPECT_EQ(Rows("SELECT Nom, Niveau FROM Utl INNER JOIN V ON Utl.IdUtl = V.IdUtl"), "Nouvelle|8");
  EXPECT_EQ(IgnoringErrors([&] { rows.Delete(); }).number, runtime::kOperationNotSupported);
}

TEST_F(JetRecordset, BulkRowsBeforeABadOneAreStored) {
  BulkInsert bulk(connection, "Utl", {"IdUtl", "Nom"});
  bulk.Add(std::vector<Variant>{std::int32_t{10}, "a"});
  bulk.Add(std::vector<Variant>{std::int32_t{11}, "b"});
  bulk.Add(std::vector<Variant>{std::int32_t{10}, "c"});
  const auto error = IgnoringErrors([&] { bulk.Flush(); });
  EXPECT_EQ(error.number, 3022);
  EXPECT_EQ(error.description.rfind("ligne 3 : ", 0), 0U) << error.description;
  EXPECT_EQ(bulk.RefusedRow(), 3);
  EXPECT_EQ(Rows("SELECT IdUtl FROM Utl WHERE IdUtl > 9 ORDER BY 1"), "10; 11");
  bulk.Add(std::vector<Variant>{std::int32_t{12}, "d"});
  bulk.Flush();
  EXPECT_EQ(Rows("SELECT IdUtl FROM Utl WHERE IdUtl > 9 ORDER BY 1"), "10; 11; 12");
}

TEST_F(JetRecordset, BulkRowsOfSeveralTablesSideBySideAreEachOnesOwn) {
  for (const char* table : {"A", "B", "C"})
    connection.Execute("CREATE TABLE " + std::string(table) + " (N TEXT(3) CONSTRAINT P PRIMARY KEY)");
  {
    BulkInsert a(connection, "A", {"N"});
    BulkInsert b(connection, "B", {"N"});
    BulkInsert c(connection, "C", {"N"});
    for (const char* row : {"1", "2", "3"}) {
      a.Add(std::vector<Variant>{row});
      b.Add(std::vector<Variant>{row});
      c.Add(std::vector<Variant>{row});
    }
    b.Add(std::vector<Variant>{"too long"});
    b.Add(std::vector<Variant>{"4"});
    const auto error = IgnoringErrors([&] { b.Flush(); });
    EXPECT_EQ(error.number, runtime::kProviderFailure);
    EXPECT_EQ(error.description.rfind("ligne 4 : Le champ est trop petit pour la valeur", 0), 0U) << error.description;
    EXPECT_EQ(connection.TransactionLevel(), 0);
    a.Flush();
    EXPECT_EQ(Rows("SELECT N FROM A ORDER BY 1"), "1; 2; 3");
    EXPECT_EQ(Rows("SELECT N FROM B ORDER BY 1"), "1; 2; 3");
    EXPECT_EQ(Rows("SELECT COUNT(*) FROM C"), "0");
  }
  EXPECT_EQ(connection.TransactionLevel(), 0);
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM C"), "0") << "never flushed";
  connection.Execute("INSERT INTO C (N) VALUES ('k')");
  connection.Close();
  connection.Open(path, "", "");
  EXPECT_EQ(Rows("SELECT N FROM A ORDER BY 1"), "1; 2; 3");
  EXPECT_EQ(Rows("SELECT N FROM B ORDER BY 1"), "1; 2; 3");
  EXPECT_EQ(Rows("SELECT N FROM C"), "k");
}

TEST_F(JetRecordset, BulkRowsInATransactionAreUndoneWithIt) {
  {
    Transaction outer(connection);
    BulkInsert bulk(connection, "Utl", {"IdUtl"});
    for (const std::int32_t id : {10, 11, 10}) bulk.Add(std::vector<Variant>{id});
    EXPECT_EQ(IgnoringErrors([&] { bulk.Flush(); }).number, 3022);
    EXPECT_EQ(connection.TransactionLevel(), 1);
    EXPECT_EQ(Rows("SELECT IdUtl FROM Utl WHERE IdUtl > 9 ORDER BY 1"), "10; 11");
  }
  EXPECT_EQ(connection.TransactionLevel(), 0);
  EXPECT_EQ(Rows("SELECT COUNT(*) FROM Utl WHERE IdUtl > 9"), "0");
}

TEST_F(JetRecordset, LeavingATransactionUndoesAllLevelsInsideIt) {
  {
    Transaction outer(connection);
    connection.Execute("DELETE FROM Utl WHERE IdUtl=1");
    EXPECT_EQ(connection.BeginTrans(), 2);
    connection.Execute("DELETE FROM Utl WHERE IdUtl=2");
    EXPECT_EQ(connection.BeginTrans(), 3);
  }
  EXPECT_EQ(connection.TransactionLevel(), 0);
  EXPECT_EQ(Rows("SELECT IdUtl FROM Utl ORDER BY 1"), "1; 2; 3");
  {
    Transaction kept(connection);
    connection.Execute("DELETE FROM Utl WHERE IdUtl=1");
    kept.Commit();
    EXPECT_EQ(connection.BeginTrans(), 1);
  }
  EXPECT_EQ(connection.TransactionLevel(), 1) << "begun after it had ended";
  connection.RollbackTrans();
  EXPECT_EQ(Rows("SELECT IdUtl FROM Utl ORDER BY 1"), "2; 3");
}

TEST_F(JetRecordset, RowsHeldBackAreNotStoredWithoutFlush) {
  {
    BulkInsert bulk(connection, "Utl", {"IdUtl", "Nom"});
    bulk.Add(std::vector<Variant>{std::int32_t{10}, "a"});
  }
  EXPECT_EQ(Rows("SELECT Count(*) FROM Utl"), "3");
}

TEST_F(JetRecordset, ErrorsCarryNumberTextAndStatement) {
  try {
    connection.Execute("SELECT * FROM Utl WHERE");
    FAIL();
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), runtime::kStatementRefused);
    EXPECT_EQ(error.Description(), "Erreur de syntaxe dans l'instruction SQL : expression attendue à la fin du texte (caractère 24)");
    EXPECT_EQ(error.Diagnostics().at(0).text, "expression expected, the text ends here (at character 24)");
    EXPECT_EQ(error.Sent(), "SELECT * FROM Utl WHERE");
  }
}

}  // namespace
