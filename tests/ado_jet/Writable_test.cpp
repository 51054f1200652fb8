// Copies (static and forward-only recordsets) that are written, and what rows show after a rollback.

#include "tests/ado_jet/JetFixture.h"

using namespace tamlo;
using namespace tamlo::ado;
using runtime::IgnoringErrors;

namespace {

constexpr const char* kChanged =
    "La ligne ne peut pas être trouvée pour la mise à jour : certaines de ses valeurs ont changé depuis la dernière lecture.";

class JetWritable : public tests::JetFixture {
 protected:
  void SetUp() override {
    JetFixture::SetUp();
    connection.Execute("CREATE TABLE T (Id LONG CONSTRAINT PK PRIMARY KEY, Nom TEXT(20), Prix CURRENCY, Note MEMO)");
    connection.Execute("CREATE TABLE C (Id COUNTER CONSTRAINT PK PRIMARY KEY, Nom TEXT(20))");
    for (const char* row : {"1, 'un', 1.5, 'note 1'", "2, 'deux', 2.5, 'note 2'", "3, 'trois', 3.5, NULL"})
      connection.Execute(std::string("INSERT INTO T VALUES (") + row + ")");
    connection.Execute("INSERT INTO C (Nom) VALUES ('a')");
  }
  Recordset OpenedAs(const std::string& source, CursorType cursor, std::int32_t options = -1) {
    Recordset rows;
    rows.Open(source, &connection, cursor, adLockOptimistic, options);
    return rows;
  }
  static const char* All() { return "SELECT * FROM T ORDER BY Id"; }
};

TEST_F(JetWritable, ACopyWithAnOptimisticLockIsWritten) {
  for (const CursorType cursor : {adOpenStatic, adOpenForwardOnly}) {
    for (const CursorLocation location : {adUseServer, adUseClient}) {
      const std::string what = "type " + std::to_string(cursor) + ", location " + std::to_string(location);
      connection.BeginTrans();
      connection.CursorLocation(location);
      auto rows = OpenedAs(All(), cursor);
      rows.MoveNext();
      rows.Fields("Nom").Value("DEUX");
      rows.Fields("Note").Value("neu");
      rows.Update();
      EXPECT_EQ(TextOf(rows.Fields("Nom").Value()), "DEUX") << what;
      EXPECT_EQ(TextOf(rows.Fields("Note").Value()), "neu") << what;
      rows.MoveNext();
      EXPECT_EQ(TextOf(rows.Fields("Nom").Value()), "trois") << what;
      rows.Delete();
      EXPECT_EQ(IgnoringErrors([&] { (void)rows.Fields("Nom").Value(); }).number, runtime::kNoCurrentRecord) << what;
      rows.AddNew();
      rows.Fields("Id").Value(std::int32_t{4});
      rows.Fields("Nom").Value("quatre");
      rows.Update();
      EXPECT_EQ(TextOf(rows.Fields("Nom").Value()), "quatre") << what;
      EXPECT_EQ(TextOf(rows.Fields("Note").Value()), "NULL") << what;
      rows.MoveNext();
      EXPECT_TRUE(rows.Eof()) << what;
      EXPECT_EQ(Rows("SELECT Id, Nom, Note FROM T ORDER BY Id"), "1|un|note 1; 2|DEUX|neu; 4|quatre|NULL") << what;
      rows.MoveFirst();
      EXPECT_EQ(Rows(rows), "1|un|1.5|note 1; 2|DEUX|2.5|neu; 4|quatre|NULL|NULL") << what << ": its own changes show";
      rows.Close();
      connection.RollbackTrans();
    }
  }
}

TEST_F(JetWritable, ACopyWithoutSuchALockIsNot) {
  for (const LockType lock : {adLockUnspecified, adLockReadOnly}) {
    for (const CursorType cursor : {adOpenStatic, adOpenForwardOnly}) {
      Recordset rows;
      rows.Open(All(), &connection, cursor, lock, -1);
      EXPECT_EQ(IgnoringErrors([&] { rows.Fields("Nom").Value("x"); }).number, runtime::kOperationNotSupported);
    }
  }
  for (const CursorType cursor : {adOpenStatic, adOpenForwardOnly, adOpenKeyset, adOpenDynamic}) {
    auto counted = OpenedAs("SELECT Count(*) AS N FROM T", cursor);
    EXPECT_EQ(IgnoringErrors([&] { counted.Fields("N").Value(std::int32_t{1}); }).number, runtime::kOperationNotSupported);
  }
}

TEST_F(JetWritable, ACopyDoesNotOverwriteWhatHasChangedSince) {
  for (const CursorType cursor : {adOpenStatic, adOpenForwardOnly, adOpenKeyset, adOpenDynamic}) {
    for (const char* field : {"Nom", "Note", "Prix"}) {
      connection.BeginTrans();
      auto rows = OpenedAs(All(), cursor);
      (void)rows.Fields(field).Value();
      connection.Execute(std::string("UPDATE T SET ") + field + " = '7' WHERE Id = 1");
      rows.Fields(field).Value("8");
      const auto failure = IgnoringErrors([&] { rows.Update(); });
      EXPECT_EQ(failure.description, kChanged) << field << ", type " << cursor;
      rows.CancelUpdate();
      EXPECT_EQ(Rows(std::string("SELECT ") + field + " FROM T WHERE Id = 1"), "7");
      rows.Close();
      connection.RollbackTrans();
    }
  }
}

TEST_F(JetWritable, StaticRowsAndThoseOfAClientAreThoseOfTheOpening) {
  for (const CursorType cursor : {adOpenStatic, adOpenForwardOnly, adOpenKeyset, adOpenDynamic}) {
    for (const CursorLocation location : {adUseServer, adUseClient}) {
      if (location == adUseServer && cursor != adOpenStatic) continue;
      connection.CursorLocation(location);
      auto counted = OpenedAs("SELECT Count(*) AS N FROM T", cursor);
      auto named = OpenedAs("T", cursor, adCmdTable);
      auto all = OpenedAs(All(), cursor);
      connection.Execute("INSERT INTO T (Id) VALUES (9)");
      EXPECT_EQ(Rows(counted), "3") << "type " << cursor << ", location " << location;
      EXPECT_EQ(Rows(named), "1|un|1.5|note 1; 2|deux|2.5|note 2; 3|trois|3.5|NULL");
      EXPECT_EQ(Rows(all), "1|un|1.5|note 1; 2|deux|2.5|note 2; 3|trois|3.5|NULL");
      connection.Execute("DELETE FROM T WHERE Id = 9");
    }
  }
}

TEST_F(JetWritable, ACounterOfARowThatIsThereIsNotAssigned) {
  for (const CursorType cursor : {adOpenStatic, adOpenForwardOnly, adOpenKeyset, adOpenDynamic}) {
    for (const char* source : {"SELECT * FROM C", "C"}) {
      auto rows = OpenedAs(source, cursor, source[0] == 'C' ? adCmdTableDirect : -1);
      const auto failure = IgnoringErrors([&] {
        rows.Fields("Id").Value(std::int32_t{77});
        rows.Update();
      });
      EXPECT_EQ(failure.number, -2147217887) << source << ", type " << cursor;
      EXPECT_NE(failure.description.find("Id"), std::string::npos) << failure.description;
      rows.CancelUpdate();
      rows.Fields("Nom").Value("b");
      EXPECT_NO_THROW(rows.Update());
      EXPECT_EQ(Rows("SELECT * FROM C"), "1|b");
      rows.Close();
      connection.Execute("UPDATE C SET Nom = 'a'");
    }
  }
  auto rows = OpenedAs("SELECT * FROM C", adOpenKeyset);
  rows.AddNew();
  rows.Fields("Id").Value(std::int32_t{77});
  rows.Update();
  EXPECT_EQ(Rows("SELECT Id FROM C ORDER BY Id"), "1; 77") << "a new row's counter is";
}

TEST_F(JetWritable, AfterARollbackRowsShowWhatTheDatabaseHolds) {
  for (const int kind : {0, 1, 2, 3, 4}) {
    const auto cursor = static_cast<CursorType>(kind % 4);
    const bool direct = kind == 4;
    const std::string what = "kind " + std::to_string(kind);
    auto rows = direct ? Opened("T", 1) : OpenedAs(All(), cursor);
    EXPECT_FALSE(rows.Eof());
    connection.BeginTrans();
    rows.Fields("Id").Value(std::int32_t{11});
    rows.Fields("Nom").Value("perdu");
    rows.Fields("Note").Value("perdue");
    rows.Update();
    EXPECT_EQ(TextOf(rows.Fields("Nom").Value()), "perdu") << what;
    connection.RollbackTrans();
    EXPECT_EQ(TextOf(rows.Fields("Id").Value()), "1") << what;
    EXPECT_EQ(TextOf(rows.Fields("Nom").Value()), "un") << what;
    EXPECT_EQ(TextOf(rows.Fields("Note").Value()), "note 1") << what;
    rows.Fields("Nom").Value("encore");
    EXPECT_NO_THROW(rows.Update()) << what << ": it can be changed from there";
    EXPECT_EQ(Rows("SELECT Nom FROM T WHERE Id = 1"), "encore") << what;
    rows.MoveFirst();
    connection.BeginTrans();
    rows.MoveNext();
    rows.Delete();
    connection.Execute("ROLLBACK");
    rows.MoveFirst();
    EXPECT_EQ(Rows(rows), "1|encore|1.5|note 1; 2|deux|2.5|note 2; 3|trois|3.5|NULL") << what;
    connection.BeginTrans();
    rows.AddNew();
    rows.Fields("Id").Value(std::int32_t{4});
    rows.Update();
    connection.RollbackTrans();
    EXPECT_EQ(IgnoringErrors([&] { (void)rows.Fields("Id").Value(); }).number, runtime::kNoCurrentRecord) << what;
    rows.MoveFirst();
    EXPECT_EQ(Rows(rows), "1|encore|1.5|note 1; 2|deux|2.5|note 2; 3|trois|3.5|NULL") << what;
    rows.Close();
    connection.Execute("UPDATE T SET Nom = 'un' WHERE Id = 1");
  }
}

TEST_F(JetWritable, ARollbackInsideATransactionIsOneToo) {
  for (const CursorType cursor : {adOpenStatic, adOpenKeyset}) {
    auto rows = OpenedAs(All(), cursor);
    connection.BeginTrans();
    rows.Fields("Nom").Value("erste");
    rows.Update();
    connection.BeginTrans();
    rows.Fields("Nom").Value("zweite");
    rows.Update();
    connection.RollbackTrans();
    EXPECT_EQ(TextOf(rows.Fields("Nom").Value()), "erste");
    connection.RollbackTrans();
    EXPECT_EQ(TextOf(rows.Fields("Nom").Value()), "un");
  }
}

}  // namespace
