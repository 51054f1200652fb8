#include "ado/Recordset.h"

#include <array>
#include <vector>

#include "ado/Errors.h"
#include "tests/ado/AdoFixture.h"

namespace tamlo::tests {
namespace {

using Kind = RecordedCall::Kind;
using runtime::Null;
using runtime::Variant;

class Recordset : public AdoFixture {
 protected:
  Recordset() { Open(); }

  void OpenArt(ado::CursorType cursor = ado::adOpenDynamic, ado::LockType lock = ado::adLockOptimistic) {
    rs.Open("SELECT * FROM ART", &connection, cursor, lock, -1);
  }
  void OpenEmpty() {
    backend.Answer("VIDE", {{MakeField("CODE", ado::adVarWChar, 10)}, {}});
    rs.Open("VIDE", &connection, ado::adOpenDynamic, ado::adLockOptimistic, -1);
  }

  ado::Recordset rs;
};

TEST_F(Recordset, EverythingOnAClosedOneIsError3704) {
  EXPECT_FALSE(rs.IsOpen());
  EXPECT_EQ(ErrorOf([&] { (void)rs.Eof(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { (void)rs.Bof(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { rs.MoveFirst(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { rs.MoveNext(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { (void)rs.FieldCount(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { (void)rs.Fields(0); }), 3704);
  EXPECT_EQ(ErrorOf([&] { rs.AddNew(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { rs.Update(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { rs.CancelUpdate(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { rs.Delete(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { (void)rs.CanSeek(); }), 3704);
  EXPECT_EQ(ErrorOf([&] { rs.Find("[A]=1"); }), 3704);
  EXPECT_EQ(ErrorOf([&] { rs.Close(); }), 3704);
}

TEST_F(Recordset, OpeningNeedsAnOpenConnection) {
  ado::Connection closed;
  EXPECT_EQ(ErrorOf([&] { rs.Open("ART", nullptr, ado::adOpenDynamic, ado::adLockOptimistic, -1); }), 3709);
  EXPECT_EQ(ErrorOf([&] { rs.Open("ART", &closed, ado::adOpenDynamic, ado::adLockOptimistic, -1); }), 3709);
  OpenArt();
  EXPECT_EQ(ErrorOf([&] { OpenArt(); }), 3705);
}

TEST_F(Recordset, StaysClosedWhenTheSourceFails) {
  EXPECT_EQ(ErrorOf([&] { rs.Open("SELECT 1", &connection, ado::adOpenStatic, ado::adLockReadOnly, -1); }), -2147467259);
  EXPECT_FALSE(rs.IsOpen());
  EXPECT_NO_THROW(OpenArt());
}

TEST_F(Recordset, ReadsNoRowBeforeOneIsAskedFor) {
  OpenArt();
  EXPECT_EQ(rs.FieldCount(), 3U);
  EXPECT_EQ(rs.Fields("qte").Type(), ado::adInteger);
  EXPECT_EQ(rs.Fields(0).Name(), "CODE");
  EXPECT_EQ(rs.Fields(0).DefinedSize(), 10);
  EXPECT_EQ(backend.Count(Kind::kFirstRow), 0U);
  EXPECT_FALSE(rs.Eof());
  EXPECT_EQ(backend.Count(Kind::kFirstRow), 1U);
  (void)rs.Eof();
  (void)rs.Fields(0).Value();
  EXPECT_EQ(backend.Count(Kind::kFirstRow), 1U);
}

TEST_F(Recordset, AFailureOfTheFirstReadIsRaisedAgainAtTheNextOne) {
  backend.FailRead("SELECT * FROM ART", -2147467259, "parti", 2);
  OpenArt();
  EXPECT_EQ(ErrorOf([&] { (void)rs.Eof(); }), -2147467259);
  EXPECT_EQ(ErrorOf([&] { (void)rs.Fields(0).Value(); }), -2147467259);
  EXPECT_EQ(rs.Fields(0).Value(), Variant("A1"));
}

TEST_F(Recordset, WalksToTheEnd) {
  OpenArt();
  std::vector<Variant> codes;
  for (; !rs.Eof(); rs.MoveNext()) codes.push_back(rs.Fields("CODE").Value());
  EXPECT_EQ(codes, (std::vector<Variant>{"A1", "B2", "C3"}));
  EXPECT_FALSE(rs.Bof());
  EXPECT_EQ(ErrorOf([&] { rs.MoveNext(); }), 3021);
  EXPECT_EQ(ErrorOf([&] { (void)rs.Fields(0).Value(); }), 3021);
  EXPECT_EQ(ErrorOf([&] { rs.Fields(0).Value("Z"); }), 3021);
  EXPECT_EQ(ErrorOf([&] { rs.Delete(); }), 3021);
  rs.MoveFirst();
  EXPECT_EQ(rs.Fields(0).Value(), Variant("A1"));
}

TEST_F(Recordset, MoveNextFirstOfAllStandsOnTheSecondRow) {
  OpenArt();
  rs.MoveNext();
  EXPECT_EQ(rs.Fields(0).Value(), Variant("B2"));
}

TEST_F(Recordset, AnEmptyOneIsAtBothEnds) {
  OpenEmpty();
  EXPECT_TRUE(rs.Bof());
  EXPECT_TRUE(rs.Eof());
  EXPECT_EQ(ErrorOf([&] { (void)rs.Fields(0).Value(); }), 3021);
  EXPECT_EQ(ErrorOf([&] { rs.MoveNext(); }), 3021);
  EXPECT_EQ(ErrorOf([&] { rs.MoveFirst(); }), 3021);
  EXPECT_TRUE(rs.Eof());
  EXPECT_EQ(ErrorOf([&] { rs.Find("[CODE]='A1'"); }), 3021);
  EXPECT_TRUE(rs.Eof());
}

TEST_F(Recordset, FieldsAreFoundWithoutRegardToCaseAndByPosition) {
  OpenArt();
  EXPECT_EQ(&rs.Fields("Code"), &rs.Fields(0));
  EXPECT_EQ(ErrorOf([&] { (void)rs.Fields("PRIX"); }), 3265);
  EXPECT_EQ(ErrorOf([&] { (void)rs.Fields(3); }), 3265);
  EXPECT_EQ(rs.Fields(1).Property("IsAutoIncrement"), Variant(false));
  EXPECT_EQ(ErrorOf([&] { (void)rs.Fields(1).Property("Autre"); }), 3265);
}

TEST_F(Recordset, AnEditIsSavedByUpdateWithTheChangedFieldsOnly) {
  OpenArt();
  EXPECT_EQ(rs.EditMode(), ado::adEditNone);
  rs.Fields("QTE").Value(std::int32_t{9});
  EXPECT_EQ(rs.EditMode(), ado::adEditInProgress);
  EXPECT_EQ(rs.Fields("QTE").Value(), Variant(std::int32_t{9}));
  EXPECT_EQ(backend.Count(Kind::kUpdate), 0U);
  rs.Update();
  EXPECT_EQ(rs.EditMode(), ado::adEditNone);
  ASSERT_EQ(backend.Calls().back().kind, Kind::kUpdate);
  ASSERT_EQ(backend.Calls().back().values.size(), 1U);
  EXPECT_EQ(backend.Calls().back().values[0].first, "QTE");
  rs.Update();
  EXPECT_EQ(backend.Count(Kind::kUpdate), 1U) << "without an edit there is nothing to save";
}

TEST_F(Recordset, MovingSavesThePendingEdit) {
  OpenArt();
  rs.Fields("QTE").Value(std::int32_t{9});
  rs.MoveNext();
  EXPECT_EQ(backend.Count(Kind::kUpdate), 1U);
  EXPECT_EQ(rs.Fields(0).Value(), Variant("B2"));
  rs.Fields("QTE").Value(std::int32_t{8});
  rs.MoveFirst();
  EXPECT_EQ(backend.Count(Kind::kUpdate), 2U);
  EXPECT_EQ(rs.Fields("QTE").Value(), Variant(std::int32_t{9}));
}

TEST_F(Recordset, MovingWithAnEditThatCannotBeSavedDoesNotMove) {
  OpenArt();
  backend.FailWrite("SELECT * FROM ART", 3022, "doublon");
  rs.Fields("CODE").Value("B2");
  EXPECT_EQ(ErrorOf([&] { rs.MoveNext(); }), 3022);
  EXPECT_EQ(rs.EditMode(), ado::adEditInProgress);
  rs.CancelUpdate();
  EXPECT_EQ(rs.Fields("CODE").Value(), Variant("A1"));
}

TEST_F(Recordset, ANewRowIsTheCurrentOneOnceSaved) {
  OpenArt();
  rs.AddNew();
  EXPECT_EQ(rs.EditMode(), ado::adEditAdd);
  EXPECT_FALSE(rs.Eof());
  EXPECT_EQ(rs.Fields("CODE").Value(), Variant(Null{}));
  rs.Fields("CODE").Value("D4");
  EXPECT_EQ(rs.Fields("CODE").Value(), Variant("D4"));
  rs.Update();
  EXPECT_EQ(backend.Count(Kind::kFirstRow), 0U) << "adding rows reads none";
  EXPECT_EQ(rs.Fields("CODE").Value(), Variant("D4"));
  rs.Fields("QTE").Value(std::int32_t{4});
  rs.Update();
  EXPECT_EQ(backend.FindTable("ART")->rows[3][1], Variant(std::int32_t{4}));
  rs.MoveNext();
  EXPECT_TRUE(rs.Eof());
}

TEST_F(Recordset, ANewRowInAnEmptyOneEndsItsEmptiness) {
  OpenEmpty();
  ASSERT_TRUE(rs.Eof());
  rs.AddNew();
  EXPECT_FALSE(rs.Bof());
  rs.Fields(0).Value("X");
  rs.Update();
  EXPECT_FALSE(rs.Eof());
  EXPECT_FALSE(rs.Bof());
}

TEST_F(Recordset, AddNewTwiceSavesTheFirstRow) {
  OpenArt();
  rs.AddNew();
  rs.Fields("CODE").Value("D4");
  rs.AddNew();
  EXPECT_EQ(backend.Count(Kind::kInsert), 1U);
  EXPECT_EQ(rs.Fields("CODE").Value(), Variant(Null{}));
}

TEST_F(Recordset, AFailedUpdateKeepsTheEditForAnotherTry) {
  OpenArt();
  backend.FailWrite("SELECT * FROM ART", 3022, "doublon", 2);
  rs.AddNew();
  rs.Fields("CODE").Value("A1");
  EXPECT_EQ(ErrorOf([&] { rs.Update(); }), 3022);
  EXPECT_EQ(rs.EditMode(), ado::adEditAdd);
  rs.Fields("CODE").Value("B2");
  EXPECT_EQ(ErrorOf([&] { rs.Update(); }), 3022);
  rs.Fields("CODE").Value("E5");
  rs.Update();
  EXPECT_EQ(rs.EditMode(), ado::adEditNone);
  EXPECT_EQ(rs.Fields("CODE").Value(), Variant("E5"));
}

TEST_F(Recordset, CancelUpdateReturnsToTheRowThatWasCurrent) {
  OpenArt();
  rs.MoveNext();
  rs.AddNew();
  rs.Fields("CODE").Value("D4");
  rs.CancelUpdate();
  EXPECT_EQ(rs.EditMode(), ado::adEditNone);
  EXPECT_EQ(rs.Fields("CODE").Value(), Variant("B2"));
  EXPECT_EQ(backend.Count(Kind::kInsert), 0U);
}

TEST_F(Recordset, ClosingInAnEditIsRefusedAndClosesNothing) {
  OpenArt();
  rs.AddNew();
  rs.Fields("CODE").Value("D4");
  EXPECT_EQ(ErrorOf([&] { rs.Close(); }), 3219);
  EXPECT_EQ(rs.Fields("CODE").Value(), Variant("D4"));
  rs.CancelUpdate();
  rs.Fields("QTE").Value(std::int32_t{9});
  EXPECT_EQ(ErrorOf([&] { rs.Close(); }), 3219);
  { const ado::Recordset gone = std::move(rs); }
  EXPECT_EQ(backend.Count(Kind::kInsert) + backend.Count(Kind::kUpdate), 0U) << "the end of the object gives the edit up";
}

TEST_F(Recordset, AReadOnlyOneRefusesEveryWrite) {
  for (const auto lock : {ado::adLockUnspecified, ado::adLockReadOnly}) {
    ado::Recordset readOnly;
    readOnly.Open("SELECT * FROM ART", &connection, ado::adOpenStatic, lock, -1);
    EXPECT_EQ(ErrorOf([&] { readOnly.AddNew(); }), 3251);
    EXPECT_EQ(ErrorOf([&] { readOnly.Fields(0).Value("Z"); }), 3251);
    EXPECT_EQ(ErrorOf([&] { readOnly.Delete(); }), 3251);
  }
  backend.SupportUpdate(false);
  OpenArt();
  EXPECT_EQ(ErrorOf([&] { rs.AddNew(); }), 3251) << "the provider cannot write either";
}

TEST_F(Recordset, AStatementWithoutRowsIsRunAndComesBackClosed) {
  backend.Answer("DELETE FROM ART", {});
  for (const auto cursor : {ado::adOpenForwardOnly, ado::adOpenDynamic, ado::adOpenStatic}) {
    backend.ClearCalls();
    rs.Open("DELETE FROM ART", &connection, cursor, ado::adLockOptimistic, -1);
    EXPECT_FALSE(rs.IsOpen());
    EXPECT_EQ(ErrorOf([&] { (void)rs.Eof(); }), 3704);
    EXPECT_EQ(backend.Log().size(), 1U);
  }
  EXPECT_NO_THROW(OpenArt());
}

TEST_F(Recordset, AStaticOneIsReadWhenItIsOpened) {
  OpenArt(ado::adOpenStatic, ado::adLockReadOnly);
  EXPECT_EQ(backend.Count(Kind::kFirstRow), 1U);
  EXPECT_EQ(rs.Fields(0).Value(), Variant("A1"));
  EXPECT_EQ(backend.Count(Kind::kFirstRow), 1U);
  rs.Close();
  backend.FailRead("SELECT * FROM ART", -2147467259, "lost");
  EXPECT_EQ(ErrorOf([&] { OpenArt(ado::adOpenStatic, ado::adLockReadOnly); }), -2147467259);
  EXPECT_FALSE(rs.IsOpen());
  EXPECT_EQ(ErrorOf([&] { OpenArt(ado::adOpenForwardOnly, ado::adLockReadOnly); }), 0)
      << "the others wait for their first row to be asked for";
}

TEST_F(Recordset, ADeletedRowIsNoCurrentRowUntilTheNextMove) {
  OpenArt();
  rs.Delete();
  EXPECT_FALSE(rs.Eof());
  EXPECT_EQ(ErrorOf([&] { (void)rs.Fields(0).Value(); }), 3021);
  EXPECT_EQ(ErrorOf([&] { rs.Delete(); }), 3021);
  rs.MoveNext();
  EXPECT_EQ(rs.Fields(0).Value(), Variant("B2"));
}

TEST_F(Recordset, FindLooksFromTheCurrentRowOn) {
  OpenArt();
  rs.Find("[CODE]='b2'");
  EXPECT_EQ(rs.Fields("QTE").Value(), Variant(std::int32_t{2}));
  rs.Find("[QTE] > 2");
  EXPECT_EQ(rs.Fields("CODE").Value(), Variant("C3"));
  rs.Find("[CODE]='A1'");
  EXPECT_TRUE(rs.Eof()) << "it does not look behind";
  rs.Find("[CODE]='A1'");
  EXPECT_TRUE(rs.Eof());
  rs.MoveFirst();
  rs.Find("[CODE]='A1'");
  EXPECT_EQ(rs.Fields("QTE").Value(), Variant(std::int32_t{1}));
  EXPECT_EQ(ErrorOf([&] { rs.Find("[PRIX]=1"); }), 3265);
  EXPECT_EQ(ErrorOf([&] { rs.Find("CODE"); }), 3001);
}

TEST_F(Recordset, SeekNeedsAProviderThatHasIt) {
  OpenArt();
  EXPECT_FALSE(rs.CanSeek());
  EXPECT_EQ(ErrorOf([&] { rs.Index("PK"); }), 3251);
  EXPECT_EQ(ErrorOf([&] { rs.Seek(std::array<Variant, 1>{Variant("B2")}); }), 3251);
}

TEST_F(Recordset, SeekStandsOnTheRowOrAtTheEnd) {
  backend.SupportSeek(true);
  rs.Open("ART", &connection, ado::adOpenKeyset, ado::adLockOptimistic, ado::adCmdTableDirect);
  ASSERT_TRUE(rs.CanSeek());
  EXPECT_EQ(ErrorOf([&] { rs.Index("AUTRE"); }), 3265);
  rs.Index("pk");
  rs.Seek(std::array<Variant, 1>{Variant("B2")});
  EXPECT_EQ(rs.Fields("QTE").Value(), Variant(std::int32_t{2}));
  rs.Seek(std::array<Variant, 1>{Variant("Z")});
  EXPECT_TRUE(rs.Eof());
  EXPECT_FALSE(rs.Bof());
}

TEST_F(Recordset, LongValuesAreReadInPieces) {
  OpenArt();
  rs.MoveNext();
  std::array<std::byte, 16> buffer{};
  const ado::Field& note = rs.Fields("NOTE");
  EXPECT_EQ(note.ReadChunk(buffer.data(), buffer.size()), 5U);
  EXPECT_EQ(note.ReadChunk(buffer.data(), buffer.size()), 0U);
  rs.Fields("NOTE").Value("abcédb");
  EXPECT_EQ(note.ReadChunk(buffer.data(), 4), 3U) << "the accented letter does not fit whole";
  EXPECT_EQ(note.ReadChunk(buffer.data(), 4), 4U);
  EXPECT_EQ(note.ReadChunk(buffer.data(), 4), 0U);
  EXPECT_EQ(note.ReadChunk(buffer.data(), 4), 3U) << "reading starts anew after the end";
}

TEST_F(Recordset, LongValuesAreNotReadInPiecesThatMayHaveNoRoomForACharacter) {
  OpenArt();
  std::array<std::byte, 4> buffer{};
  rs.Fields("NOTE").Value("é");
  for (const std::size_t capacity : {0U, 1U, 3U}) {
    const auto failure = runtime::IgnoringErrors([&] { (void)rs.Fields("NOTE").ReadChunk(buffer.data(), capacity); });
    EXPECT_EQ(failure.number, 5) << capacity;
  }
  EXPECT_EQ(rs.Fields("NOTE").ReadChunk(buffer.data(), buffer.size()), 2U);
}

TEST_F(Recordset, MovedObjectsKeepTheirRowsAndFields) {
  OpenArt();
  const ado::Field* code = &rs.Fields("CODE");
  ado::Recordset moved = std::move(rs);
  EXPECT_EQ(&moved.Fields("CODE"), code);
  EXPECT_EQ(code->Value(), Variant("A1"));
}

TEST(AdoError, ReadsAsTheRuntimeDescribesTheNumberWithItsDetailBehind) {
  EXPECT_EQ(ado::AdoError(3251).Description(), "L'objet ou le fournisseur n'est pas capable d'exécuter l'opération demandée.");
  EXPECT_EQ(ado::AdoError(3265, "MotPasse").Description(),
            "Impossible de trouver l'objet dans la collection correspondant au nom ou à la référence ordinale demandé. (MotPasse)");
  EXPECT_EQ(ado::AdoError(3265).Source(), "ado");
}

}  // namespace
}  // namespace tamlo::tests
