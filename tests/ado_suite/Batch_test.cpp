#include <functional>
#include <memory>
#include <string>

#include "runtime/Conversions.h"
#include "tests/ado_suite/Source.h"

// Changes that wait for UpdateBatch, recordsets without a connection, and clones.
namespace tamlo::tests {
namespace {

using runtime::Variant;

std::string Codes(ado::Recordset& rows) {
  std::string codes;
  if (rows.Bof() && rows.Eof()) return codes;
  for (rows.MoveFirst(); !rows.Eof(); rows.MoveNext()) {
    codes += (codes.empty() ? "" : " ") + runtime::ToText(rows.Fields("CODE").Value()) + "=";
    const Variant name = rows.Fields("NOM").Value();
    codes += name.IsNull() ? "-" : runtime::ToText(name);
  }
  return codes;
}

class Batch : public SuiteTest {
 protected:
  [[nodiscard]] ado::Recordset Waiting() { return Open("SELECT * FROM ART ORDER BY CODE", ado::adOpenStatic, ado::adLockBatchOptimistic); }
  [[nodiscard]] std::string Stored() {
    auto rows = Open("SELECT * FROM ART ORDER BY CODE", ado::adOpenForwardOnly, ado::adLockReadOnly);
    std::string all;
    for (; !rows.Eof(); rows.MoveNext()) {
      const Variant name = rows.Fields("NOM").Value();
      all += (all.empty() ? "" : " ") + runtime::ToText(rows.Fields("CODE").Value()) + "=" + (name.IsNull() ? "-" : runtime::ToText(name));
    }
    return all;
  }
  static void Change(ado::Recordset& rows, const std::string& code, const std::string& name) {
    rows.MoveFirst();
    rows.Find("CODE = '" + code + "'");
    rows.Fields("NOM").Value(name);
    rows.Update();
  }
  static void Add(ado::Recordset& rows, const std::string& code, const std::string& name) {
    rows.AddNew();
    rows.Fields("CODE").Value(code);
    rows.Fields("NOM").Value(name);
    rows.Update();
  }
  static void Remove(ado::Recordset& rows, const std::string& code) {
    rows.MoveFirst();
    rows.Find("CODE = '" + code + "'");
    rows.Delete();
  }
  static constexpr const char* kBefore = "A1=un B2=Deux C3=- D4=été";
};

TEST_P(Batch, ChangesWaitUntilTheyAreSavedTogether) {
  auto rows = Waiting();
  EXPECT_EQ(rows.Status(), ado::adRecUnmodified);
  Change(rows, "B2", "deux");
  EXPECT_EQ(rows.Status(), ado::adRecModified);
  EXPECT_EQ(rows.Fields("NOM").OriginalValue(), Variant("Deux"));
  Remove(rows, "A1");
  Add(rows, "E5", "cinq");
  EXPECT_EQ(rows.Status(), ado::adRecNew);
  Change(rows, "C3", "trois");
  EXPECT_EQ(Stored(), kBefore) << "nothing is written before";
  EXPECT_EQ(Codes(rows), "B2=deux C3=trois D4=été E5=cinq");
  EXPECT_EQ(rows.RecordCount(), 4);
  rows.UpdateBatch();
  EXPECT_EQ(Stored(), "B2=deux C3=trois D4=été E5=cinq");
  EXPECT_EQ(Codes(rows), "B2=deux C3=trois D4=été E5=cinq");
  rows.MoveFirst();
  EXPECT_EQ(rows.Status(), ado::adRecUnmodified);
  EXPECT_EQ(rows.Fields("NOM").OriginalValue(), Variant("deux"));
  // And again, on what was saved.
  Change(rows, "E5", "cinquième");
  Remove(rows, "B2");
  rows.UpdateBatch();
  EXPECT_EQ(Stored(), "C3=trois D4=été E5=cinquième");
}

TEST_P(Batch, ChangesAreGivenUp) {
  auto rows = Waiting();
  Change(rows, "B2", "deux");
  Remove(rows, "A1");
  Add(rows, "E5", "cinq");
  rows.CancelBatch();
  EXPECT_EQ(Codes(rows), kBefore);
  rows.UpdateBatch();
  EXPECT_EQ(Stored(), kBefore);
  Remove(rows, "D4");
  rows.Close();
  EXPECT_EQ(Stored(), kBefore) << "closing saves nothing";
}

TEST_P(Batch, ARowThatAnotherHasChangedIsAConflictAndTheOthersAreSaved) {
  auto rows = Waiting();
  Change(rows, "A1", "mien");
  Change(rows, "B2", "deux");
  Remove(rows, "C3");
  Remove(rows, "D4");
  connection.Execute("UPDATE ART SET NOM = 'sien' WHERE CODE = 'A1'");
  connection.Execute("DELETE FROM ART WHERE CODE = 'D4'");
  const auto conflict = runtime::IgnoringErrors([&] { rows.UpdateBatch(); });
  EXPECT_EQ(conflict.number, -2147217864);
  EXPECT_TRUE(conflict.description.starts_with("2 des 4 lignes en attente n'ont pas été écrites : ")) << conflict.description;
  EXPECT_EQ(Stored(), "A1=sien B2=deux");
  rows.Filter(ado::adFilterConflictingRecords);
  EXPECT_EQ(Codes(rows), "A1=mien D4=été") << "a row whose deletion was refused is there again";
  rows.MoveFirst();
  EXPECT_EQ(rows.Status(), ado::adRecModified | ado::adRecConcurrencyViolation);
  rows.MoveNext();
  EXPECT_EQ(rows.Status(), ado::adRecDeleted | ado::adRecConcurrencyViolation);
  EXPECT_EQ(ErrorOf([&] { rows.Resync(); }), 3021) << "it is gone";
  rows.MoveFirst();
  rows.Resync(ado::adResyncUnderlyingValues);
  EXPECT_EQ(rows.Fields("NOM").Value(), Variant("mien"));
  EXPECT_EQ(rows.Fields("NOM").OriginalValue(), Variant("sien"));
  rows.Filter(ado::adFilterNone);
  rows.UpdateBatch();
  EXPECT_EQ(Stored(), "A1=mien B2=deux") << "what was read anew is what the change is compared with";
  EXPECT_EQ(Codes(rows), "A1=mien B2=deux");
}

TEST_P(Batch, ARowThatTheTableRefusesGoesOnWaiting) {
  auto rows = Waiting();
  Add(rows, "A1", "encore");
  Add(rows, "E5", "cinq");
  EXPECT_EQ(ErrorOf([&] { rows.UpdateBatch(); }), 3022);
  EXPECT_EQ(Stored(), "A1=un B2=Deux C3=- D4=été E5=cinq");
  rows.Filter(ado::adFilterPendingRecords);
  EXPECT_EQ(Codes(rows), "A1=encore");
  rows.MoveFirst();
  EXPECT_EQ(rows.Status(), ado::adRecNew | ado::adRecIntegrityViolation);
  rows.Fields("CODE").Value("F6");
  rows.UpdateBatch();
  EXPECT_EQ(Stored(), "A1=un B2=Deux C3=- D4=été E5=cinq F6=encore");
}

TEST_P(Batch, IsRefusedWhereNothingWaits) {
  auto rows = Art();
  EXPECT_EQ(ErrorOf([&] { rows.UpdateBatch(); }), 3251);
  EXPECT_EQ(ErrorOf([&] { rows.CancelBatch(); }), 3251);
  EXPECT_EQ(ErrorOf([&] { rows.Filter(ado::adFilterPendingRecords); }), 3251);
  auto waiting = Waiting();
  Change(waiting, "A1", "x");
  EXPECT_EQ(ErrorOf([&] { waiting.Requery(); }), 3219) << "what waits would be lost";
  waiting.CancelBatch();
  waiting.Requery();
  EXPECT_EQ(Codes(waiting), kBefore);
}

TEST_P(Batch, ARecordsetLivesWithoutItsConnectionAndIsSavedOnAnother) {
  auto rows = Waiting();
  rows.MoveNext();
  const Variant second = rows.Bookmark();
  rows.ActiveConnection(nullptr);
  EXPECT_EQ(rows.ActiveConnection(), nullptr);
  EXPECT_EQ(Code(rows), "B2") << "it stands where it stood";
  connection.Close();
  EXPECT_TRUE(rows.IsOpen());
  EXPECT_EQ(Codes(rows), kBefore);
  Change(rows, "A1", "mien");
  Change(rows, "B2", "deux");
  Remove(rows, "C3");
  Add(rows, "E5", "cinq");
  rows.Bookmark(second);
  EXPECT_EQ(Code(rows), "B2");
  EXPECT_EQ(ErrorOf([&] { rows.UpdateBatch(); }), 3709);
  EXPECT_EQ(ErrorOf([&] { rows.Requery(); }), 3219);
  EXPECT_EQ(ErrorOf([&] { rows.ActiveConnection(&connection); }), 3709) << "closed";
  source.Connect(connection);
  connection.Execute("UPDATE ART SET NOM = 'sien' WHERE CODE = 'A1'");
  rows.ActiveConnection(&connection);
  EXPECT_EQ(ErrorOf([&] { rows.UpdateBatch(); }), -2147217864);
  EXPECT_EQ(Stored(), "A1=sien B2=deux D4=été E5=cinq");
  EXPECT_EQ(Codes(rows), "A1=mien B2=deux D4=été E5=cinq");
  rows.CancelBatch();
  EXPECT_EQ(Codes(rows), "A1=un B2=deux D4=été E5=cinq");
  Change(rows, "E5", "V");
  rows.UpdateBatch();
  EXPECT_EQ(Stored(), "A1=sien B2=deux D4=été E5=V");
}

TEST_P(Batch, AnyRecordsetThatKeepsItsRowsLeavesItsConnection) {
  auto rows = Art();
  Remove(rows, "B2");
  Change(rows, "C3", "trois");
  rows.ActiveConnection(nullptr);
  connection.Close();
  EXPECT_EQ(Codes(rows), "A1=un C3=trois D4=été");
  rows.Sort("CODE DESC");
  EXPECT_EQ(Codes(rows), "D4=été C3=trois A1=un");
  source.Connect(connection);
  auto lazy = Open("SELECT * FROM ART", ado::adOpenForwardOnly, ado::adLockReadOnly);
  EXPECT_EQ(ErrorOf([&] { lazy.ActiveConnection(nullptr); }), 3251);
  auto edited = Art();
  edited.Fields("NOM").Value("x");
  EXPECT_EQ(ErrorOf([&] { edited.ActiveConnection(nullptr); }), 3219);
  ado::Connection other;
  source.Connect(other);
  edited.CancelUpdate();
  EXPECT_EQ(ErrorOf([&] { edited.ActiveConnection(&other); }), 3219) << "only by way of none";
}

TEST_P(Batch, AClosedRecordsetIsGivenItsConnectionBefore) {
  ado::Recordset rows;
  rows.ActiveConnection(&connection);
  rows.CursorLocation(ado::adUseClient);
  rows.Open("SELECT * FROM ART ORDER BY CODE", nullptr, ado::adOpenKeyset, ado::adLockOptimistic, -1);
  EXPECT_EQ(rows.ActiveConnection(), &connection);
  EXPECT_TRUE(rows.CanScroll());
  EXPECT_EQ(Codes(rows), kBefore);
  EXPECT_EQ(ErrorOf([&] { rows.CursorLocation(ado::adUseServer); }), 3705);
}

TEST_P(Batch, AClonesRowsAreTheSameAndItsPlaceIsItsOwn) {
  auto rows = Art();
  rows.MoveNext();
  auto clone = rows.Clone();
  EXPECT_EQ(Code(clone), "A1") << "it stands on the first row";
  EXPECT_EQ(Code(rows), "B2");
  clone.MoveLast();
  EXPECT_EQ(Code(rows), "B2");
  clone.Bookmark(rows.Bookmark());
  EXPECT_EQ(Code(clone), "B2");
  clone.Fields("NOM").Value("deux");
  EXPECT_EQ(rows.Fields("NOM").Value(), Variant("Deux")) << "an edit is its own";
  clone.Update();
  EXPECT_EQ(rows.Fields("NOM").Value(), Variant("deux"));
  rows.MoveNext();
  EXPECT_EQ(Code(rows), "C3");
  clone.MovePrevious();
  clone.Delete();
  EXPECT_EQ(rows.RecordCount(), 3);
  rows.MovePrevious();
  rows.MovePrevious();
  EXPECT_TRUE(rows.Bof());
  Add(rows, "E5", "cinq");
  Add(clone, "F6", "six");
  EXPECT_EQ(Code(rows), "E5");
  EXPECT_EQ(Codes(rows), "B2=deux C3=- D4=été E5=cinq F6=six");
  clone.Filter("QTE = 1");
  EXPECT_EQ(clone.RecordCount(), 2);
  EXPECT_EQ(rows.RecordCount(), 5);
  rows.MoveLast();
  clone.Filter("");
  clone.MoveLast();
  clone.Delete();
  EXPECT_EQ(ErrorOf([&] { (void)Code(rows); }), 3021) << "its row is gone";
  rows.MovePrevious();
  EXPECT_EQ(Code(rows), "E5");
  rows.Close();
  EXPECT_EQ(Codes(clone), "B2=deux C3=- D4=été E5=cinq");
  EXPECT_EQ(Stored(), "B2=deux C3=- D4=été E5=cinq");
}

TEST_P(Batch, ClonesPartWhenOneIsReadAnewAndCloseWithTheConnection) {
  auto rows = Art();
  auto clone = rows.Clone(ado::adLockReadOnly);
  EXPECT_EQ(ErrorOf([&] { clone.AddNew(); }), 3251);
  EXPECT_EQ(ErrorOf([&] { rows.ActiveConnection(nullptr); }), 3219);
  connection.Execute("DELETE FROM ART WHERE CODE = 'A1'");
  rows.Requery();
  EXPECT_EQ(Codes(rows), "B2=Deux C3=- D4=été");
  EXPECT_EQ(clone.RecordCount(), 4);
  EXPECT_EQ(ErrorOf([&] { rows.Bookmark(clone.Bookmark()); }), 3001);
  auto lazy = Open("SELECT * FROM ART", ado::adOpenForwardOnly, ado::adLockReadOnly);
  EXPECT_EQ(ErrorOf([&] { (void)lazy.Clone(); }), 3251);
  EXPECT_EQ(ErrorOf([&] { (void)rows.Clone(ado::adLockOptimistic); }), 3001);
  connection.Close();
  EXPECT_FALSE(rows.IsOpen());
  EXPECT_FALSE(clone.IsOpen());
}

INSTANTIATE_TEST_SUITE_P(Suite, Batch, ::testing::Values("Access", "SQLite", "MariaDB", "PostgreSQL"), NameOf);

/// Rows that no provider has.
class MadeRows : public ::testing::Test {
 protected:
  static std::int32_t ErrorOf(const std::function<void()>& call) { return runtime::IgnoringErrors(call).number; }
};

TEST_F(MadeRows, AreKeptSortedAndFiltered) {
  ado::Recordset rows;
  EXPECT_EQ(ErrorOf([&] { rows.Open(); }), 3709);
  rows.AppendField("CODE", ado::adVarWChar, 10);
  rows.AppendField("QTE", ado::adInteger);
  rows.AppendField("PRIX", ado::adNumeric, 0, 9, 2);
  EXPECT_EQ(ErrorOf([&] { rows.AppendField("code", ado::adInteger); }), 3367);
  rows.Open();
  EXPECT_EQ(ErrorOf([&] { rows.AppendField("X", ado::adInteger); }), 3219);
  EXPECT_TRUE(rows.Eof());
  EXPECT_EQ(rows.RecordCount(), 0);
  for (int i = 5; i > 0; --i) {
    rows.AddNew();
    rows.Fields("CODE").Value("K" + std::to_string(i));
    rows.Fields("QTE").Value(std::to_string(i * 10));
    rows.Fields("PRIX").Value(i + 0.25);
    rows.Update();
  }
  EXPECT_EQ(rows.RecordCount(), 5);
  EXPECT_EQ(rows.Fields("QTE").Value(), Variant(std::int32_t{10}));
  EXPECT_EQ(rows.Fields("PRIX").Value(), Variant(runtime::Decimal{"1.25"}));
  rows.Sort("CODE");
  EXPECT_EQ(rows.Fields("CODE").Value(), Variant("K1"));
  rows.Filter("QTE > 20 AND PRIX < 5");
  EXPECT_EQ(rows.RecordCount(), 2);
  rows.UpdateBatch();
  rows.Filter("");
  rows.MoveFirst();
  EXPECT_EQ(rows.Status(), ado::adRecUnmodified);
  rows.Fields("QTE").Value(std::int32_t{7});
  rows.Update();
  rows.Delete();
  rows.CancelBatch();
  EXPECT_EQ(rows.RecordCount(), 5);
  rows.MoveFirst();
  EXPECT_EQ(rows.Fields("QTE").Value(), Variant(std::int32_t{10})) << "as it was taken";
}

TEST_F(MadeRows, HoldWhatTheirTypesHold) {
  struct Case {
    ado::DataType type;
    std::int64_t size;
    Variant given;
    Variant held;  // Empty where it is refused
    std::int32_t number = 0;
  };
  const Case cases[] = {
      {ado::adUnsignedTinyInt, 0, std::int32_t{255}, std::uint8_t{255}},
      {ado::adUnsignedTinyInt, 0, std::int32_t{256}, {}, -2147217887},
      {ado::adSmallInt, 0, "40000", {}, -2147217887},
      {ado::adInteger, 0, 2.5, std::int32_t{2}},
      {ado::adInteger, 0, "abc", {}, 3421},
      {ado::adInteger, 0, std::int64_t{1} << 40, {}, -2147217887},
      {ado::adBigInt, 0, "9223372036854775807", INT64_MAX},
      {ado::adBigInt, 0, runtime::Decimal{"9223372036854775808"}, {}, -2147217887},
      {ado::adSingle, 0, 1e300, {}, -2147217887},
      {ado::adDouble, 0, runtime::Currency{15000}, 1.5},
      {ado::adCurrency, 0, runtime::Decimal{"-12.34"}, runtime::Currency{-123400}},
      {ado::adCurrency, 0, 0.1, runtime::Currency{1000}},
      {ado::adCurrency, 0, 1e300, {}, -2147217887},
      {ado::adBoolean, 0, std::int32_t{5}, true},
      {ado::adBoolean, 0, "peut-être", {}, 3421},
      {ado::adNumeric, 0, runtime::Decimal{"1.234"}, runtime::Decimal{"1.234"}},
      {ado::adVarWChar, 3, "été", "été"},
      {ado::adVarWChar, 3, "étés", {}, -2147217887},
      {ado::adVarWChar, 3, runtime::Bytes(2), {}, 3421},
      {ado::adVarBinary, 3, "abc", {}, 3421},
      {ado::adVarBinary, 3, runtime::Bytes(4), {}, -2147217887},
      {ado::adGUID, 0, "{00112233-4455-6677-8899-aabbccddeeff}", runtime::Guid{"{00112233-4455-6677-8899-AABBCCDDEEFF}"}},
      {ado::adGUID, 0, "{0}", {}, 3421},
      {ado::adDate, 0, "le trente", {}, 3421},
      {ado::adInteger, 0, runtime::Null{}, runtime::Null{}},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(std::to_string(one.type) + " from " +
                 (one.given.If<runtime::Bytes>() != nullptr ? "bytes"
                  : one.given.IsNull()                      ? "null"
                                                            : runtime::ToText(one.given)));
    ado::Recordset rows;
    rows.AppendField("V", one.type, one.size);
    rows.Open();
    rows.AddNew();
    const auto failure = runtime::IgnoringErrors([&] { rows.Fields("V").Value(one.given); });
    EXPECT_EQ(failure.number, one.number);
    if (one.held.IsEmpty()) continue;
    rows.Update();
    EXPECT_EQ(rows.Fields("V").Value(), one.held);
  }
}

TEST_F(MadeRows, TakeDecimalsThatTheirFieldHas) {
  ado::Recordset rows;
  rows.AppendField("N", ado::adNumeric, 0, 5, 2);
  rows.Open();
  rows.AddNew();
  for (const char* fits : {"999.99", "-0.01", "0", "12"}) {
    rows.Fields("N").Value(runtime::Decimal{fits});
    EXPECT_EQ(rows.Fields("N").Value(), Variant(runtime::Decimal{fits}));
  }
  for (const char* tooMuch : {"1000", "1.234", "-0.001"}) {
    EXPECT_EQ(ErrorOf([&] { rows.Fields("N").Value(runtime::Decimal{tooMuch}); }), -2147217887) << tooMuch;
  }
}

}  // namespace
}  // namespace tamlo::tests
