#include "jet/sql/Session.h"

#include <cstring>

#include "jet/table/Table.h"
#include "tests/jet/sql/SessionFixture.h"

using namespace jet;
using jet::sql::Query;
using jet::sql::Session;
using jet::sql::tests::SessionFixture;

namespace {

class JetSession : public SessionFixture {
 protected:
  void MakeUsers() {
    Run("CREATE TABLE Utl (IdUtl LONG CONSTRAINT PK PRIMARY KEY, Nom TEXT(30) NOT NULL, MotPasse TEXT(20), Solde CURRENCY, Actif YESNO, Cree DATETIME, Note MEMO)");
    Run("CREATE INDEX NomIdx ON Utl (Nom)");
    Run("INSERT INTO Utl (IdUtl, Nom, Solde, Actif, Cree) VALUES (1, 'Dupont', 12.5, True, #2/1/2003#)");
    Run("INSERT INTO Utl (IdUtl, Nom, Solde, Actif, Note) VALUES (2, 'élise', 12345.6789, False, 'une note')");
    Run("INSERT INTO Utl (IdUtl, Nom) VALUES (3, 'ZOLA')");
  }
};

TEST_F(JetSession, RowsWrittenAreReadBack) {
  MakeUsers();
  EXPECT_EQ(Rows("SELECT IdUtl, Nom, Solde, Actif FROM Utl ORDER BY IdUtl").substr(0, 40), "1|Dupont|125000/10000|True; 2|élise|123");
  EXPECT_EQ(Rows("SELECT Nom, Note FROM Utl WHERE Note Is Not Null"), "élise|une note");
  EXPECT_EQ(Rows("SELECT * FROM [UTL] WHERE [NOM]='DUPONT'"), "1|Dupont|NULL|125000/10000|True|#2003-02-01 00:00:00#|NULL");
  EXPECT_EQ(Rows("SELECT Count(*), Max(IdUtl), Min(Nom) FROM Utl"), "3|3|Dupont");
}

TEST_F(JetSession, CurrencyComesBackToTheLastDigit) {
  MakeUsers();
  Table& table = database->OpenTable("Utl");
  const auto column = *table.FindColumn("Solde");
  Value large(Currency{9223372036854775807});
  const auto id = table.Seek(*table.FindIndex("PK"), std::vector<Value>{Value(std::int32_t{3})});
  table.Update(*id, std::vector<Assignment>{{column, &large, nullptr}});
  session->RowsChanged();
  EXPECT_EQ(Rows("SELECT Solde FROM Utl WHERE IdUtl=3"), "9223372036854775807/10000");
  EXPECT_EQ(Rows("SELECT Solde FROM Utl WHERE IdUtl=3 ORDER BY Nom"), "9223372036854775807/10000");
  Run("UPDATE Utl AS A, Utl AS B SET A.Solde = B.Solde WHERE A.IdUtl=1 AND B.IdUtl=3");
  EXPECT_EQ(Rows("SELECT Solde FROM Utl WHERE IdUtl=1"), "9223372036854775807/10000");
}

TEST_F(JetSession, UpdatesAndDeletesGiveTheirCount) {
  MakeUsers();
  EXPECT_EQ(Run("UPDATE Utl SET Nom = UCase(Nom), Actif = Not Actif WHERE IdUtl < 3"), 2);
  EXPECT_EQ(Rows("SELECT Nom, Actif FROM Utl ORDER BY IdUtl"), "DUPONT|False; ÉLISE|True; ZOLA|False");
  EXPECT_EQ(Run("DELETE * FROM Utl WHERE Nom Like 'z*'"), 1);
  EXPECT_EQ(Run("UPDATE Utl SET IdUtl = IdUtl + 1"), 2);
  EXPECT_EQ(Rows("SELECT IdUtl FROM Utl ORDER BY 1"), "2; 3");
  EXPECT_EQ(Run("UPDATE Utl SET IdUtl = IdUtl - 1"), 2);
  EXPECT_EQ(Rows("SELECT IdUtl FROM Utl ORDER BY 1"), "1; 2");
  EXPECT_EQ(Run("DELETE FROM Utl"), 2);
  EXPECT_EQ(Rows("SELECT Max([IdUtl]) FROM Utl"), "NULL");
}

TEST_F(JetSession, AStatementIsWholeOrNotAtAll) {
  MakeUsers();
  Run("CREATE TABLE Source (IdUtl LONG, Nom TEXT(30))");
  for (const char* row : {"10,'a'", "11,'b'", "1,'c'", "12,'d'"}) Run(std::string("INSERT INTO Source VALUES (") + row + ")");
  EXPECT_EQ(Refusal("INSERT INTO Utl (IdUtl, Nom) SELECT IdUtl, Nom FROM Source").first, ErrorCode::kDuplicateKey);
  EXPECT_EQ(Rows("SELECT Count(*) FROM Utl"), "3");
  EXPECT_EQ(Refusal("UPDATE Utl SET IdUtl = 5").first, ErrorCode::kDuplicateKey);
  EXPECT_EQ(Rows("SELECT IdUtl FROM Utl ORDER BY IdUtl"), "1; 2; 3");
  EXPECT_EQ(Refusal("INSERT INTO Utl (IdUtl) VALUES (20)").first, ErrorCode::kNullNotAllowed);
}

TEST_F(JetSession, InsertFromItselfEnds) {
  MakeUsers();
  EXPECT_EQ(Run("INSERT INTO Utl (IdUtl, Nom, Note) SELECT IdUtl+100, Nom, Note FROM Utl"), 3);
  EXPECT_EQ(Rows("SELECT IdUtl, Note FROM Utl WHERE IdUtl > 100 ORDER BY IdUtl"), "101|NULL; 102|une note; 103|NULL");
}

TEST_F(JetSession, SelectIntoMakesTheTable) {
  MakeUsers();
  EXPECT_EQ(Run("SELECT Nom, Solde, Cree, Note, IdUtl*2 AS Double_ INTO [Copie de Utl] FROM Utl WHERE IdUtl<3"), 2);
  EXPECT_EQ(Rows("SELECT Nom, Note, Double_ FROM [copie de utl] ORDER BY Nom"), "Dupont|NULL|2; élise|une note|4");
  Table& copy = database->OpenTable("Copie de Utl");
  EXPECT_EQ(copy.Columns()[1].type, ColumnType::kCurrency);
  EXPECT_EQ(copy.Columns()[2].type, ColumnType::kDate);
  EXPECT_EQ(copy.Columns()[4].type, ColumnType::kLong);
  EXPECT_EQ(Refusal("SELECT Nom INTO Utl FROM Utl").first, ErrorCode::kAlreadyExists);
}

TEST_F(JetSession, TopGivesTheTiesOfItsLastRow) {
  Run("CREATE TABLE T (A LONG, B TEXT(10))");
  for (const char* row : {"1,'x'", "2,'y'", "2,'Y'", "3,'z'", "2,'w'"}) Run(std::string("INSERT INTO T VALUES (") + row + ")");
  EXPECT_EQ(Rows("SELECT TOP 2 A FROM T ORDER BY A"), "1; 2; 2; 2");
  EXPECT_EQ(Rows("SELECT TOP 1 A FROM T ORDER BY B DESC"), "3");
  EXPECT_EQ(Rows("SELECT TOP 2 B FROM T ORDER BY B DESC").substr(0, 5), "z; y;");
  EXPECT_EQ(Rows("SELECT TOP 2 A FROM T"), "1; 2");
  EXPECT_EQ(Rows("SELECT TOP 0 A FROM T ORDER BY A"), "");
}

TEST_F(JetSession, LookupsAndMaximaUseTheIndex) {
  Run("CREATE TABLE Big (Id LONG CONSTRAINT PK PRIMARY KEY, Nom TEXT(30), V DOUBLE)");
  {
    Transaction transaction(*database);
    Table& table = database->OpenTable("Big");
    for (std::int32_t i = 1; i <= 5000; ++i) {
      table.Insert(std::vector<Value>{Value(i), Value("Nom" + std::to_string(i)), Value(i / 7.0)});
    }
    transaction.Commit();
  }
  Run("CREATE UNIQUE INDEX N ON Big (Nom)");
  Run("CREATE INDEX V ON Big (V)");
  const std::string path = database->Path();
  const auto pages = [&](const std::string& text, const std::string& expected) {
    session.reset();
    database.reset();
    database = Database::Open(path);
    session = std::make_unique<Session>(*database);
    (void)Rows("SELECT TOP 1 * FROM Big");
    const auto before = database->Count().pagesRead;
    EXPECT_EQ(Rows(text), expected) << text;
    return database->Count().pagesRead - before;
  };
  EXPECT_LE(pages("SELECT Max(Id) FROM Big", "5000"), 8U);
  EXPECT_LE(pages("SELECT Id FROM Big WHERE Nom='NOM4321'", "4321"), 8U);
  EXPECT_LE(pages("SELECT Nom FROM Big WHERE Id=17", "Nom17"), 8U);
  EXPECT_LE(pages("SELECT Id FROM Big WHERE Id BETWEEN 100.5 AND 102.5 ORDER BY Id DESC", "102; 101"), 8U);
  EXPECT_LE(pages("SELECT TOP 2 Id FROM Big ORDER BY Id DESC", "5000; 4999"), 10U);
  EXPECT_LE(pages("SELECT B.Id FROM Big A INNER JOIN Big B ON A.Id = B.Id WHERE A.Nom = 'Nom77'", "77"), 12U);
  EXPECT_LE(pages("SELECT Count(*) FROM Big WHERE V < 1", "6"), 8U);
  EXPECT_LE(pages("SELECT Id FROM Big WHERE Id IN (3, 4999)", "3; 4999"), 12U);
}

TEST_F(JetSession, ReadingGoesOnWhileRowsChange) {
  Run("CREATE TABLE T (Id LONG CONSTRAINT PK PRIMARY KEY, N LONG)");
  for (int i = 0; i < 50; ++i) Run("INSERT INTO T VALUES (" + std::to_string(i) + ", 0)");
  const auto query = session->Open("SELECT A.Id, B.N FROM T A INNER JOIN T B ON A.Id = B.Id WHERE A.N = 0");
  int count = 0;
  while (query->Next()) {
    ++count;
    Run("DELETE FROM T WHERE Id = " + std::to_string(49 - count));
    Run("UPDATE T SET N = N WHERE Id = 0");
  }
  EXPECT_GE(count, 20);
  EXPECT_LE(count, 50);
}

TEST_F(JetSession, DefinitionsAreSeenAtOnce) {
  MakeUsers();
  const auto open = session->Open("SELECT * FROM Utl");
  Run("ALTER TABLE Utl ADD COLUMN [Né le] DATETIME");
  EXPECT_EQ(Rows("SELECT Nom, [né LE] FROM Utl WHERE IdUtl=1"), "Dupont|NULL");
  Run("ALTER TABLE Utl DROP COLUMN MotPasse");
  EXPECT_EQ(Refusal("SELECT MotPasse FROM Utl").first, ErrorCode::kNotFound);
  Run("DROP INDEX NomIdx ON Utl");
  Run("CREATE UNIQUE INDEX NomIdx ON Utl (Nom)");
  EXPECT_EQ(Refusal("INSERT INTO Utl (IdUtl, Nom) VALUES (9, 'dupont')").first, ErrorCode::kDuplicateKey);
  Run("ALTER TABLE Utl DROP CONSTRAINT NomIdx");
  EXPECT_EQ(Run("INSERT INTO Utl (IdUtl, Nom) VALUES (9, 'dupont')"), 1);
  EXPECT_EQ(Refusal("ALTER TABLE Utl DROP CONSTRAINT Nothing").first, ErrorCode::kNotFound);
  const auto joined = session->Open("SELECT A.Nom FROM Utl A INNER JOIN Utl B ON A.IdUtl = B.IdUtl ORDER BY A.IdUtl");
  Run("CREATE TABLE Autre (A LONG)");
  ASSERT_TRUE(joined->Next());
  EXPECT_EQ(joined->Get(0).AsText(), "Dupont");
  const auto late = session->Open("SELECT Nom FROM Utl WHERE IdUtl=1");
  joined->Rewind();
  Run("DROP TABLE Utl");
  for (Query* query : {open.get(), late.get(), joined.get()}) {
    try {
      query->Next();
      ADD_FAILURE() << "a dropped table was read";
    } catch (const Error& error) {
      EXPECT_EQ(error.Code(), ErrorCode::kNotFound) << error.what();
    }
  }
  EXPECT_EQ(Refusal("SELECT * FROM Utl").first, ErrorCode::kNotFound);
}

TEST_F(JetSession, CountersAndDefaults) {
  Run("CREATE TABLE T (Id COUNTER CONSTRAINT PK PRIMARY KEY, A TEXT(10) DEFAULT \"abc\", B LONG DEFAULT 7, C DATETIME DEFAULT Date(), D TEXT(5) NOT NULL DEFAULT '')");
  Run("INSERT INTO T (B) VALUES (8)");
  Run("INSERT INTO T (A) VALUES (Null)");
  EXPECT_EQ(Rows("SELECT Id, A, B, C = Date(), D FROM T ORDER BY Id"), "1|abc|8|True|; 2|NULL|7|True|");
  EXPECT_EQ(Refusal("INSERT INTO T (D) VALUES (Null)").first, ErrorCode::kNullNotAllowed);
}

TEST_F(JetSession, TextsBecomeWhatTheColumnHolds) {
  Run("CREATE TABLE T (L LONG, D DATETIME, C CURRENCY, T TEXT(30), N DECIMAL(28,4), Y YESNO)");
  Run("INSERT INTO T VALUES ('12', '01/02/2003', '1.2345', 1.5, '-123456789012345678901234.5678', 'True')");
  Run("INSERT INTO T (T) VALUES (#2/1/2003 10:00:00#)");
  EXPECT_EQ(Rows("SELECT L, Format(D,'yyyy-mm-dd'), C, T, Y FROM T"),
            "12|2003-02-01|12345/10000|1.5|True; NULL|NULL|NULL|01/02/2003 10:00:00|False");
  EXPECT_EQ(Rows("SELECT N FROM T WHERE L=12"), Value(*Numeric::Parse("-123456789012345678901234.5678")).Describe());
  EXPECT_EQ(Refusal("INSERT INTO T (L) VALUES ('x')").first, ErrorCode::kTypeMismatch);
}

TEST_F(JetSession, ForeignKeysOfCreateTable) {
  MakeUsers();
  Run("CREATE TABLE VlmUtl (IdUtl LONG CONSTRAINT FkUtl REFERENCES Utl ON DELETE CASCADE, IdVlm LONG, CONSTRAINT PkVlm PRIMARY KEY (IdUtl, IdVlm))");
  Run("INSERT INTO VlmUtl VALUES (1, 10)");
  EXPECT_EQ(Refusal("INSERT INTO VlmUtl VALUES (99, 10)").first, ErrorCode::kRelationViolated);
  Run("DELETE FROM Utl WHERE IdUtl=1");
  EXPECT_EQ(Rows("SELECT Count(*) FROM VlmUtl"), "0");
  Run("ALTER TABLE VlmUtl DROP CONSTRAINT FkUtl");
  EXPECT_TRUE(database->Relationships().empty());
  Run("INSERT INTO VlmUtl VALUES (99, 10)");
}

TEST_F(JetSession, OtherFilesAndLinks) {
  MakeUsers();
  const std::string other = folder.File("autre base.mdb");
  {
    const auto second = Database::Create(other);
    Session(*second).Execute("CREATE TABLE Utl (IdUtl LONG CONSTRAINT PK PRIMARY KEY, Nom TEXT(30))");
  }
  EXPECT_EQ(Run("INSERT INTO [UTL] IN \"" + other + "\" SELECT IdUtl, Nom FROM [UTL]"), 3);
  EXPECT_EQ(Rows("SELECT Nom FROM Utl IN '" + other + "' WHERE IdUtl=1"), "Dupont");
  EXPECT_EQ(Rows("SELECT Nom FROM [" + other + "].[Utl] WHERE IdUtl=1"), "Dupont");
  database->CreateLink({.name = "Attachée", .odbc = false, .database = other, .connect = "", .foreignName = "Utl"});
  database->CreateLink({.name = "Partie", .odbc = false, .database = folder.File("nulle part.mdb"), .connect = "", .foreignName = "Utl"});
  database->CreateLink({.name = "Serveur", .odbc = true, .database = "", .connect = "DSN=x;UID=u;PWD=secret", .foreignName = "dbo.T"});
  EXPECT_EQ(Rows("SELECT A.Nom, U.Actif FROM [attachée] A INNER JOIN Utl U ON A.IdUtl=U.IdUtl WHERE A.IdUtl=1"), "Dupont|True");
  EXPECT_EQ(Run("UPDATE [Attachée] SET Nom='Durand' WHERE IdUtl=1"), 1);
  EXPECT_EQ(Run("INSERT INTO [Attachée] VALUES (4, 'Quatre')"), 1);
  EXPECT_EQ(Rows("SELECT Nom FROM [Attachée] ORDER BY IdUtl"), "Durand; élise; ZOLA; Quatre");
  auto refusal = Refusal("SELECT * FROM Partie");
  EXPECT_EQ(refusal.first, ErrorCode::kLinkUnreachable);
  EXPECT_NE(refusal.second.find("nulle part.mdb"), std::string::npos) << refusal.second;
  refusal = Refusal("SELECT * FROM Serveur");
  EXPECT_EQ(refusal.first, ErrorCode::kLinkUnreachable);
  EXPECT_NE(refusal.second.find("dbo.T"), std::string::npos) << refusal.second;
  EXPECT_EQ(refusal.second.find("secret"), std::string::npos) << refusal.second;
  EXPECT_EQ(Rows("SELECT Count(*) FROM Utl"), "3");
}

TEST_F(JetSession, LongValuesAreReadInPieces) {
  Run("CREATE TABLE T (Id LONG, M MEMO)");
  std::string text;
  for (int i = 0; i < 30000; ++i) text += "élève ";
  Value value(text);
  Value id(std::int32_t{1});
  database->OpenTable("T").Insert(std::vector<Assignment>{{0, &id, nullptr}, {1, &value, nullptr}});
  const auto query = session->Open("SELECT M FROM T WHERE Id=1");
  ASSERT_TRUE(query->Next());
  const auto reader = query->OpenLong(0);
  ASSERT_NE(reader, nullptr);
  std::string read;
  std::byte buffer[1000];
  while (const std::size_t count = reader->Read(buffer)) read.append(reinterpret_cast<const char*>(buffer), count);
  EXPECT_EQ(read, text);
  Run("INSERT INTO T SELECT Id+1 AS Id, M FROM T");
  Run("SELECT * INTO U FROM T WHERE Id=2");
  EXPECT_EQ(Rows("SELECT Len(M) FROM U"), "180000");
}

class ForeignNumbers final : public jet::sql::ForeignTable {
 public:
  ForeignNumbers() {
    jet::sql::TypeInfo number;
    number.type = ColumnType::kLong;
    columns_.push_back({"N", "N", number});
  }
  const std::vector<jet::sql::ColumnInfo>& Columns() const override { return columns_; }
  std::unique_ptr<jet::sql::ForeignCursor> Scan() override {
    struct Cursor final : jet::sql::ForeignCursor {
      explicit Cursor(std::vector<std::int32_t> source) : rows(std::move(source)) {}
      bool Next() override { return ++at < static_cast<int>(rows.size()); }
      Value Get(std::size_t) override { return Value(rows[static_cast<std::size_t>(at)]); }
      std::vector<std::int32_t> rows;
      int at = -1;
    };
    return std::make_unique<Cursor>(rows);
  }
  void Insert(std::span<const Assignment> values) override { rows.push_back(values[0].value->AsLong()); }
  std::vector<std::int32_t> rows = {3, 1, 2};

 private:
  std::vector<jet::sql::ColumnInfo> columns_;
};

TEST_F(JetSession, OdbcLinksOpenThroughTheGivenHook) {
  MakeUsers();
  database->CreateLink({.name = "Serveur", .odbc = true, .database = "", .connect = "DSN=x", .foreignName = "dbo.T"});
  const auto foreign = std::make_shared<ForeignNumbers>();
  std::string asked;
  jet::sql::SessionOptions options;
  options.openForeign = [&](const std::string& connect, const std::string& table) {
    asked = connect + " " + table;
    return foreign;
  };
  session = std::make_unique<Session>(*database, options);
  EXPECT_EQ(Rows("SELECT N FROM Serveur ORDER BY N"), "1; 2; 3");
  EXPECT_EQ(asked, "DSN=x dbo.T");
  EXPECT_EQ(Rows("SELECT Nom FROM Utl INNER JOIN Serveur ON Utl.IdUtl = Serveur.N WHERE N = 2"), "élise");
  EXPECT_EQ(Run("INSERT INTO Serveur SELECT IdUtl+10 AS N FROM Utl WHERE IdUtl=1"), 1);
  EXPECT_EQ(Rows("SELECT Max(N) FROM Serveur"), "11");
  EXPECT_EQ(Refusal("DELETE FROM Serveur").first, ErrorCode::kUnsupported);
}

TEST_F(JetSession, ReadOnlyFilesRefuseChanges) {
  MakeUsers();
  const std::string path = database->Path();
  session.reset();
  database.reset();
  database = Database::Open(path, {.mode = OpenMode::kReadOnly});
  session = std::make_unique<Session>(*database);
  EXPECT_EQ(Rows("SELECT Count(*) FROM Utl"), "3");
  EXPECT_EQ(Refusal("DELETE FROM Utl").first, ErrorCode::kReadOnly);
  EXPECT_EQ(Refusal("CREATE TABLE X (A LONG)").first, ErrorCode::kReadOnly);
}

}  // namespace
