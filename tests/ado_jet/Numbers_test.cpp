// Which number comes when on an Access file, what becomes of an assigned value, and what the provider does to tables.

#include "ado/jet/JetCatalog.h"
#include "ado/jet/QueryRowset.h"
#include "ado/jet/TableRowset.h"
#include "tests/ado_jet/JetFixture.h"

using namespace tamlo;
using namespace tamlo::ado;
using runtime::IgnoringErrors;

namespace {

class JetNumbers : public tests::JetFixture {
 protected:
  void SetUp() override {
    JetFixture::SetUp();
    connection.Execute(
        "CREATE TABLE T (Id LONG CONSTRAINT PK PRIMARY KEY, B BYTE, S SHORT, C CURRENCY, N DECIMAL(6,2), F SINGLE, D DATETIME, G GUID, Y YESNO, "
        "Nom TEXT(10), Note MEMO, X BINARY(4))");
    connection.Execute("INSERT INTO T (Id, Nom) VALUES (1, 'un')");
    OpenRequest request;
    request.connectionString = path;
    native = std::make_unique<jetprovider::JetConnection>(request);
  }
  void TearDown() override {
    native.reset();
    JetFixture::TearDown();
  }
  std::unique_ptr<ProviderRowset> OpenedAt(const std::string& source, CursorType cursor, std::int32_t options = -1) {
    RowsetRequest request;
    request.source = source;
    request.cursor = cursor;
    request.lock = adLockOptimistic;
    request.options = options;
    return native->OpenRowset(request);
  }
  static std::size_t FieldOf(const ProviderRowset& rows, const std::string& name) {
    std::size_t i = 0;
    while (rows.Fields()[i].name != name) ++i;
    return i;
  }
  Recordset OpenedAs(const std::string& source, CursorType cursor, std::int32_t options = -1) {
    Recordset rows;
    rows.Open(source, &connection, cursor, adLockOptimistic, options);
    return rows;
  }

  std::unique_ptr<jetprovider::JetConnection> native;
};

TEST_F(JetNumbers, AValueThatAFieldDoesNotHoldIsRefusedWhenItIsAssigned) {
  struct Case {
    const char* field;
    Variant value;
    std::int32_t number;
  };
  const Case cases[] = {{"Id", "abc", 3421},
                        {"Id", "99999999999", -2147217887},
                        {"Id", 3e9, -2147217887},
                        {"B", std::int32_t{256}, -2147217887},
                        {"B", std::int32_t{-1}, -2147217887},
                        {"S", std::int32_t{40000}, -2147217887},
                        {"S", runtime::Bytes{std::byte{1}}, 3421},
                        {"C", 1e16, -2147217887},
                        {"N", runtime::Decimal{"12345.6"}, -2147217887},
                        {"F", 1e300, -2147217887},
                        {"D", "le trente", 3421},
                        {"D", 1e8, -2147217887},
                        {"G", "{0}", 3421},
                        {"Y", "peut-être", 3421},
                        {"Nom", "onze lettres", -2147217887},
                        {"X", runtime::Bytes(5), -2147217887},
                        {"X", "texte", 3421}};
  auto rows = OpenedAt("SELECT * FROM T", adOpenKeyset);
  auto& query = dynamic_cast<jetprovider::QueryRowset&>(*rows);
  auto table = OpenedAt("T", adOpenKeyset, adCmdTableDirect);
  auto& direct = dynamic_cast<jetprovider::TableRowset&>(*table);
  for (const Case& refused : cases) {
    const std::size_t field = FieldOf(*rows, refused.field);
    for (const auto& error : {IgnoringErrors([&] { (void)query.Converted(field, refused.value); }),
                              IgnoringErrors([&] { (void)direct.Converted(field, refused.value); })}) {
      EXPECT_EQ(error.number, refused.number) << refused.field;
      EXPECT_NE(error.description.find(refused.field), std::string::npos) << error.description;
    }
  }
}

TEST_F(JetNumbers, AnAssignedValueHasTheTypeOfItsField) {
  auto rows = OpenedAt("SELECT *, Id + 1 AS Suite FROM T", adOpenStatic);
  auto& query = dynamic_cast<jetprovider::QueryRowset&>(*rows);
  const auto converted = [&](const char* field, const Variant& value) { return query.Converted(FieldOf(*rows, field), value); };
  EXPECT_EQ(converted("Id", "12"), Variant(std::int32_t{12}));
  EXPECT_EQ(converted("B", 7.5), Variant(std::uint8_t{8}));
  EXPECT_EQ(converted("Nom", std::int32_t{42}), Variant("42"));
  EXPECT_EQ(converted("Y", std::int32_t{5}), Variant(true));
  EXPECT_EQ(converted("C", runtime::Decimal{"1.23456"}), Variant(runtime::Currency{12346}));
  EXPECT_EQ(converted("Nom", runtime::Null{}), Variant(runtime::Null{}));
  EXPECT_EQ(converted("Note", std::string(100000, 'x')), Variant(std::string(100000, 'x')));
  EXPECT_EQ(converted("Suite", "texte"), Variant("texte")) << "an expression takes no value, Update says so";
}

TEST_F(JetNumbers, ARowIsReadAnew) {
  for (const CursorType cursor : {adOpenStatic, adOpenKeyset, adOpenDynamic}) {
    auto rows = OpenedAt("SELECT Id, Nom, Note FROM T", cursor);
    auto& query = dynamic_cast<jetprovider::QueryRowset&>(*rows);
    ASSERT_TRUE(rows->MoveFirst());
    connection.Execute("UPDATE T SET Nom = 'leur', Note = 'neu'");
    EXPECT_EQ(TextOf(rows->Value(1)), "un");
    ASSERT_TRUE(query.Refresh());
    EXPECT_EQ(TextOf(rows->Value(1)), "leur");
    EXPECT_EQ(TextOf(rows->Value(2)), "neu");
    connection.Execute("DELETE FROM T");
    EXPECT_FALSE(query.Refresh());
    connection.Execute("INSERT INTO T (Id, Nom) VALUES (1, 'un')");
  }
}

TEST_F(JetNumbers, TablesAreRenamedAndDropped) {
  jetprovider::JetCatalog catalog(*native);
  (void)native->Execute("CREATE TABLE A (Id LONG CONSTRAINT PK PRIMARY KEY, N LONG)", 0);
  (void)native->Execute("CREATE INDEX ByN ON A (N)", 0);
  (void)native->Execute("CREATE TABLE Autre (Id LONG)", 0);
  (void)native->Execute("INSERT INTO A VALUES (1, 2)", 0);
  auto rows = OpenedAt("SELECT N FROM A", adOpenForwardOnly);
  ASSERT_TRUE(rows->MoveFirst());
  catalog.RenameTable("a", "B");
  EXPECT_EQ(TextOf(rows->Value(0)), "2") << "a copy stays what it was";
  rows.reset();
  EXPECT_EQ(Rows("SELECT * FROM B"), "1|2");
  EXPECT_EQ(IgnoringErrors([&] { catalog.RenameTable("B", "autre"); }).number, runtime::kProviderFailure);
  EXPECT_EQ(IgnoringErrors([&] { catalog.DeleteColumn("B", "N"); }).number, runtime::kProviderFailure) << "an index stands on it";
  catalog.DeleteIndex("B", "byn");
  catalog.DeleteColumn("B", "n");
  EXPECT_EQ(Rows("SELECT * FROM B"), "1");
  EXPECT_EQ(IgnoringErrors([&] { catalog.DeleteIndex("B", "ByN"); }).number, runtime::kItemNotFound);
  catalog.DeleteTable("b");
  EXPECT_EQ(IgnoringErrors([&] { catalog.DeleteTable("b"); }).number, runtime::kItemNotFound);
}

TEST_F(JetNumbers, ARowThatAnotherHasChangedOrDeleted) {
  for (const CursorType cursor : {adOpenStatic, adOpenForwardOnly, adOpenKeyset, adOpenDynamic}) {
    for (const bool direct : {false, true}) {
      connection.BeginTrans();
      auto rows = direct ? OpenedAs("T", cursor, adCmdTableDirect) : OpenedAs("SELECT * FROM T", cursor);
      (void)rows.Fields("Nom").Value();
      connection.Execute("UPDATE T SET Nom = 'leur'");
      rows.Fields("Nom").Value("mien");
      EXPECT_EQ(IgnoringErrors([&] { rows.Update(); }).number, -2147217864);
      rows.CancelUpdate();
      connection.Execute("DELETE FROM T");
      rows.Fields("B").Value(std::int32_t{3});
      EXPECT_EQ(IgnoringErrors([&] { rows.Update(); }).number, -2147217864);
      rows.CancelUpdate();
      EXPECT_EQ(IgnoringErrors([&] { rows.Delete(); }).number, -2147217864);
      rows.Close();
      connection.RollbackTrans();
    }
  }
}

TEST_F(JetNumbers, NumbersThatStayAsTheyAre) {
  auto rows = OpenedAs("SELECT * FROM T", adOpenStatic);
  rows.AddNew();
  rows.Fields("Id").Value(std::int32_t{1});
  EXPECT_EQ(IgnoringErrors([&] { rows.Update(); }).number, 3022);
  rows.CancelUpdate();
  rows.AddNew();
  EXPECT_EQ(IgnoringErrors([&] { rows.Update(); }).number, -2147467259) << "a key without a value";
  rows.CancelUpdate();
  EXPECT_EQ(IgnoringErrors([&] { OpenedAs("SELECT * FROM Rien", adOpenStatic); }).number, -2147217865);
  EXPECT_EQ(IgnoringErrors([&] { connection.Execute("SELEC"); }).number, -2147217900);
}

TEST_F(JetNumbers, OneRootCatchesWhatTheEngineAndWhatTheProviderRaise) {
  std::vector<std::string> texts;
  for (const std::function<void()>& call : {std::function<void()>([] { throw jet::Error(jet::ErrorCode::kDamaged, "torn", 3, 10); }),
                                            std::function<void()>([&] { connection.Execute("SELEC"); })}) {
    try {
      call();
    } catch (const base::Error& error) {
      texts.emplace_back(error.what());
    }
  }
  ASSERT_EQ(texts.size(), 2U);
  EXPECT_EQ(texts[0], "torn (page 3, offset 10)");
  EXPECT_NE(texts[1].find("Erreur de syntaxe dans l'instruction SQL"), std::string::npos);
}

}  // namespace
