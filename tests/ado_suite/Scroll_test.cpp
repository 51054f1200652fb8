#include <vector>

#include "tests/ado_suite/Source.h"

namespace tamlo::tests {
namespace {

using runtime::Variant;

/// Cursors whose rows can be reached in any order.
class Scroll : public SuiteTest {
 protected:
  static std::string Codes(ado::Recordset& rows) {
    std::string codes;
    if (rows.Bof() && rows.Eof()) return codes;
    for (rows.MoveFirst(); !rows.Eof(); rows.MoveNext()) codes += (codes.empty() ? "" : " ") + Code(rows);
    return codes;
  }
};

TEST_P(Scroll, MovesToAnyRow) {
  auto rows = Art();
  ASSERT_TRUE(rows.CanScroll());
  EXPECT_EQ(rows.RecordCount(), 4);
  EXPECT_EQ(rows.AbsolutePosition(), 1);
  rows.MoveLast();
  EXPECT_EQ(Code(rows), "D4");
  EXPECT_EQ(rows.AbsolutePosition(), 4);
  rows.MovePrevious();
  EXPECT_EQ(Code(rows), "C3");
  rows.Move(-2);
  EXPECT_EQ(Code(rows), "A1");
  rows.Move(3);
  EXPECT_EQ(Code(rows), "D4");
  rows.Move(0);
  EXPECT_EQ(Code(rows), "D4");
  rows.AbsolutePosition(2);
  EXPECT_EQ(Code(rows), "B2");
  rows.MoveNext();
  EXPECT_EQ(Code(rows), "C3") << "the next row is that behind the one moved to";
}

TEST_P(Scroll, StandsBeforeTheFirstRowAndBehindTheLast) {
  auto rows = Art();
  rows.MovePrevious();
  EXPECT_TRUE(rows.Bof());
  EXPECT_FALSE(rows.Eof());
  EXPECT_EQ(rows.AbsolutePosition(), ado::adPosBOF);
  EXPECT_EQ(ErrorOf([&] { rows.MovePrevious(); }), 3021);
  EXPECT_EQ(ErrorOf([&] { (void)rows.Fields(0).Value(); }), 3021);
  EXPECT_EQ(ErrorOf([&] { rows.Move(-1); }), 3021);
  rows.MoveNext();
  EXPECT_EQ(Code(rows), "A1");
  rows.Move(100);
  EXPECT_TRUE(rows.Eof());
  EXPECT_FALSE(rows.Bof());
  EXPECT_EQ(rows.AbsolutePosition(), ado::adPosEOF);
  EXPECT_EQ(ErrorOf([&] { rows.Move(1); }), 3021);
  rows.MovePrevious();
  EXPECT_EQ(Code(rows), "D4");
  rows.Move(-100);
  EXPECT_TRUE(rows.Bof());
  rows.Move(2);
  EXPECT_EQ(Code(rows), "B2");
}

TEST_P(Scroll, WithoutRowsThereIsNowhereToGo) {
  auto rows = Open("SELECT * FROM ART WHERE QTE > 99");
  EXPECT_EQ(rows.RecordCount(), 0);
  EXPECT_TRUE(rows.Bof());
  EXPECT_TRUE(rows.Eof());
  EXPECT_EQ(rows.AbsolutePosition(), ado::adPosUnknown);
  EXPECT_EQ(ErrorOf([&] { rows.MoveFirst(); }), 3021);
  EXPECT_EQ(ErrorOf([&] { rows.MoveLast(); }), 3021);
  EXPECT_EQ(ErrorOf([&] { rows.MovePrevious(); }), 3021);
  EXPECT_EQ(ErrorOf([&] { rows.MoveNext(); }), 3021);
  EXPECT_EQ(ErrorOf([&] { rows.Move(1); }), 3021);
  EXPECT_EQ(ErrorOf([&] { rows.Find("CODE='A1'"); }), 3021);
  EXPECT_EQ(ErrorOf([&] { (void)rows.Bookmark(); }), 3021);
  EXPECT_EQ(ErrorOf([&] { rows.AbsolutePosition(1); }), 3001);
}

TEST_P(Scroll, BookmarksLeadBack) {
  auto rows = Art();
  rows.MoveNext();
  const Variant second = rows.Bookmark();
  rows.MoveLast();
  rows.Bookmark(second);
  EXPECT_EQ(Code(rows), "B2");
  rows.Move(1, second);
  EXPECT_EQ(Code(rows), "C3");
  auto other = Art();
  const Variant foreign = other.Bookmark();
  EXPECT_EQ(ErrorOf([&] { rows.Bookmark(foreign); }), 3001);
  EXPECT_EQ(ErrorOf([&] { rows.Bookmark(Variant("B2")); }), 3001);
  EXPECT_EQ(ErrorOf([&] { rows.Move(0, foreign); }), 3001);
  EXPECT_EQ(Code(rows), "C3") << "it stands where it stood";
  rows.Bookmark(second);
  rows.Delete();
  rows.MoveNext();
  EXPECT_EQ(ErrorOf([&] { rows.Bookmark(second); }), 3021) << "that row is gone";
  EXPECT_EQ(Code(rows), "C3");
  const Variant third = rows.Bookmark();
  rows.Requery();
  EXPECT_EQ(ErrorOf([&] { rows.Bookmark(third); }), 3001) << "of another execution";
}

TEST_P(Scroll, DeletedRowsCountNoMore) {
  auto rows = Art();
  rows.MoveNext();
  rows.Delete();
  EXPECT_EQ(rows.RecordCount(), 3);
  EXPECT_EQ(ErrorOf([&] { (void)Code(rows); }), 3021);
  rows.MovePrevious();
  EXPECT_EQ(Code(rows), "A1");
  rows.MoveNext();
  EXPECT_EQ(Code(rows), "C3");
  EXPECT_EQ(rows.AbsolutePosition(), 2);
  rows.AbsolutePosition(3);
  EXPECT_EQ(Code(rows), "D4");
  rows.MoveFirst();
  rows.Delete();
  rows.MoveFirst();
  EXPECT_EQ(Code(rows), "C3");
  EXPECT_EQ(Codes(rows), "C3 D4");
  EXPECT_EQ(Count("ART"), 2);
}

TEST_P(Scroll, AddedRowsComeLast) {
  auto rows = Art();
  rows.AddNew();
  EXPECT_EQ(rows.AbsolutePosition(), ado::adPosUnknown);
  rows.Fields("CODE").Value("AA");
  rows.Update();
  EXPECT_EQ(Code(rows), "AA");
  EXPECT_EQ(rows.RecordCount(), 5);
  EXPECT_EQ(rows.AbsolutePosition(), 5);
  EXPECT_EQ(Code(rows), "AA");
  rows.MovePrevious();
  EXPECT_EQ(Code(rows), "D4");
  rows.MoveLast();
  EXPECT_EQ(Code(rows), "AA");
  rows.MoveNext();
  EXPECT_TRUE(rows.Eof());
}

TEST_P(Scroll, ChangesAreSeenWhereverItGoes) {
  auto rows = Art();
  rows.Move(2);
  rows.Fields("NOM").Value("trois");
  rows.MoveFirst();
  rows.Move(2);
  EXPECT_EQ(Text(rows, "NOM"), "trois");
  rows.Fields("NOM").Value("drei");
  rows.AbsolutePosition(1);
  EXPECT_EQ(Text(Open("SELECT NOM FROM ART WHERE CODE='C3'"), "NOM"), "drei") << "moving has saved it";
}

TEST_P(Scroll, AFilterShowsSomeRows) {
  auto rows = Art();
  rows.Filter("QTE = 1");
  EXPECT_EQ(rows.Filter(), "QTE = 1");
  EXPECT_EQ(rows.RecordCount(), 2);
  EXPECT_EQ(Codes(rows), "B2 D4");
  rows.MoveLast();
  EXPECT_EQ(rows.AbsolutePosition(), 2);
  rows.MovePrevious();
  EXPECT_EQ(Code(rows), "B2");
  rows.Filter("(QTE > 1 AND NOM <> null) OR [CODE] = 'd4'");
  EXPECT_EQ(Codes(rows), "A1 D4");
  rows.Filter("NOM = null");
  EXPECT_EQ(Codes(rows), "C3");
  rows.Filter("NOM like 'é*' or NOM = 'x and y'");
  EXPECT_EQ(Codes(rows), "D4");
  rows.Filter("QTE > 99");
  EXPECT_TRUE(rows.Bof() && rows.Eof());
  EXPECT_EQ(ErrorOf([&] { rows.MoveFirst(); }), 3021);
  rows.Filter("");
  EXPECT_EQ(Codes(rows), "A1 B2 C3 D4");
  rows.AbsolutePosition(3);
  for (const char* wrong : {"QTE", "QTE = 1 AND", "(QTE = 1", "QTE = 1)", "QTE = 1 QTE = 2", "OR QTE = 1"}) {
    EXPECT_EQ(ErrorOf([&] { rows.Filter(wrong); }), 3001) << wrong;
  }
  EXPECT_EQ(ErrorOf([&] { rows.Filter("PRIX = 1"); }), 3265);
  EXPECT_EQ(rows.Filter(), "");
  EXPECT_EQ(Code(rows), "C3") << "a filter that does not read moves nothing";
}

TEST_P(Scroll, SortOrdersTheRowsShown) {
  auto rows = Art();
  rows.Sort("QTE, CODE DESC");
  EXPECT_EQ(Codes(rows), "D4 B2 C3 A1");
  rows.Sort("[NOM] desc");
  EXPECT_EQ(Codes(rows), "D4 A1 B2 C3") << "nulls come first, so last the other way";
  rows.Filter("QTE < 3");
  EXPECT_EQ(Codes(rows), "D4 B2 C3");
  rows.MoveLast();
  const Variant mark = rows.Bookmark();
  rows.Sort("");
  EXPECT_EQ(Codes(rows), "B2 C3 D4");
  rows.Bookmark(mark);
  EXPECT_EQ(Code(rows), "C3");
  EXPECT_EQ(ErrorOf([&] { rows.Sort("QTE UP"); }), 3001);
  EXPECT_EQ(ErrorOf([&] { rows.Sort("PRIX"); }), 3265);
  EXPECT_EQ(Codes(rows), "B2 C3 D4");
}

TEST_P(Scroll, RequeryRunsTheQueryAgain) {
  auto rows = Art();
  rows.Filter("QTE = 1");
  rows.Sort("CODE desc");
  connection.Execute("INSERT INTO ART VALUES ('E5', 1, 'cinq')");
  EXPECT_EQ(rows.RecordCount(), 2);
  rows.Requery();
  EXPECT_EQ(Codes(rows), "E5 D4 B2") << "filter and order hold on";
  connection.Execute("DROP TABLE ART");
  EXPECT_NE(ErrorOf([&] { rows.Requery(); }), 0);
  EXPECT_FALSE(rows.IsOpen());
}

TEST_P(Scroll, ResyncReadsTheCurrentRowAnew) {
  auto rows = Art();
  connection.Execute("UPDATE ART SET NOM = 'neuf' WHERE CODE = 'A1'");
  connection.Execute("DELETE FROM ART WHERE CODE = 'B2'");
  EXPECT_EQ(Text(rows, "NOM"), "un");
  rows.Resync();
  EXPECT_EQ(Text(rows, "NOM"), "neuf");
  rows.Fields("NOM").Value("encore");
  rows.Update();
  EXPECT_EQ(Text(Open("SELECT NOM FROM ART WHERE CODE='A1'"), "NOM"), "encore") << "what was read anew is what is compared";
  rows.MoveNext();
  EXPECT_EQ(ErrorOf([&] { rows.Resync(); }), 3021);
  rows.MoveNext();
  EXPECT_EQ(Code(rows), "C3");
  rows.MovePrevious();
  EXPECT_EQ(Code(rows), "A1") << "the row that is gone is skipped";
  auto forward = Art(ado::adOpenForwardOnly);
  EXPECT_EQ(ErrorOf([&] { forward.Resync(); }), 3251);
}

TEST_P(Scroll, FindGoesBothWaysFromWhereItIsTold) {
  auto rows = Art();
  const Variant first = rows.Bookmark();
  rows.Find("QTE = 1");
  EXPECT_EQ(Code(rows), "B2");
  rows.Find("QTE = 1");
  EXPECT_EQ(Code(rows), "B2") << "the current row counts";
  rows.Find("QTE = 1", 1);
  EXPECT_EQ(Code(rows), "D4");
  rows.Find("QTE = 1", 1, ado::adSearchBackward);
  EXPECT_EQ(Code(rows), "B2");
  rows.Find("QTE = 1", 1, ado::adSearchBackward);
  EXPECT_TRUE(rows.Bof());
  rows.Find("QTE = 2", 0, ado::adSearchForward, first);
  EXPECT_EQ(Code(rows), "C3");
  rows.Find("QTE = 99");
  EXPECT_TRUE(rows.Eof());
  rows.Find("NOM = 'deux'", 0, ado::adSearchBackward);
  EXPECT_EQ(Code(rows), "B2");
}

TEST_P(Scroll, CursorsThatGoForwardRefuseTheRest) {
  auto rows = Art(ado::adOpenForwardOnly);
  EXPECT_FALSE(rows.CanScroll());
  EXPECT_EQ(rows.RecordCount(), -1);
  EXPECT_EQ(rows.AbsolutePosition(), ado::adPosUnknown);
  EXPECT_EQ(ErrorOf([&] { rows.MoveLast(); }), 3251);
  EXPECT_EQ(ErrorOf([&] { rows.MovePrevious(); }), 3251);
  EXPECT_EQ(ErrorOf([&] { rows.Move(-1); }), 3251);
  EXPECT_EQ(ErrorOf([&] { rows.AbsolutePosition(1); }), 3251);
  EXPECT_EQ(ErrorOf([&] { (void)rows.Bookmark(); }), 3251);
  EXPECT_EQ(ErrorOf([&] { rows.Filter("QTE=1"); }), 3251);
  EXPECT_EQ(ErrorOf([&] { rows.Sort("QTE"); }), 3251);
  EXPECT_EQ(ErrorOf([&] { rows.Find("QTE=1", 0, ado::adSearchBackward); }), 3251);
  rows.Move(2);
  EXPECT_EQ(Code(rows), "C3");
  rows.Find("QTE=1", 1);
  EXPECT_EQ(Code(rows), "D4");
  rows.Move(5);
  EXPECT_TRUE(rows.Eof());
}

TEST_P(Scroll, ClientCursorsKeepTheirRows) {
  connection.CursorLocation(ado::adUseClient);
  for (const auto cursor : {ado::adOpenStatic, ado::adOpenKeyset, ado::adOpenDynamic}) {
    auto rows = Art(cursor);
    ASSERT_TRUE(rows.CanScroll()) << cursor;
    EXPECT_EQ(rows.RecordCount(), 4) << cursor;
    rows.MoveLast();
    EXPECT_EQ(Code(rows), "D4") << cursor;
    rows.MovePrevious();
    EXPECT_EQ(Code(rows), "C3") << cursor;
  }
  auto rows = Art(ado::adOpenDynamic);
  rows.AddNew();
  rows.Fields("CODE").Value("AA");
  rows.Update();
  EXPECT_EQ(rows.RecordCount(), 5) << "the row that was added before any was read is counted once";
  EXPECT_EQ(Code(rows), "AA");
  EXPECT_EQ(Codes(rows), "A1 B2 C3 D4 AA");
  auto unread = Art(ado::adOpenDynamic);
  unread.AddNew();
  unread.Fields("CODE").Value("AB");
  unread.Update();
  unread.Delete();
  EXPECT_EQ(ErrorOf([&] { (void)Code(unread); }), 3021);
  unread.MovePrevious();
  EXPECT_EQ(Code(unread), "D4");
  EXPECT_EQ(unread.RecordCount(), 5);
}

INSTANTIATE_TEST_SUITE_P(Suite, Scroll, ::testing::Values("Access", "SQLite", "MariaDB", "PostgreSQL"), NameOf);

}  // namespace
}  // namespace tamlo::tests
