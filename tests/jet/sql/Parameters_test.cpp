// PARAMETERS, prompts and "?".
#include <vector>

#include "jet/Database.h"

#include "tests/jet/sql/SessionFixture.h"

using namespace jet;
using jet::sql::Parameter;
using jet::sql::tests::SessionFixture;

namespace {

class JetParameters : public SessionFixture {
 protected:
  void SetUp() override {
    SessionFixture::SetUp();
    Run("CREATE TABLE T (Id LONG CONSTRAINT PK PRIMARY KEY, N TEXT(20), C CURRENCY, D DATETIME, F DOUBLE, Y YESNO, G GUID, B LONGBINARY, M MEMO, E DECIMAL(28,4))");
    for (const char* row : {"1,'un',1.5,#1/2/2003#,0.5,Yes", "2,'deux',2.5,#2/2/2003#,1.5,No", "3,'trois',NULL,NULL,NULL,No"})
      Run(std::string("INSERT INTO T (Id,N,C,D,F,Y) VALUES (") + row + ")");
  }
  std::string With(const std::string& text, const std::vector<Parameter>& parameters) {
    const auto query = session->Open(text, parameters);
    std::string out;
    for (bool first = true; query->Next(); first = false) {
      if (!first) out += "; ";
      for (std::size_t i = 0; i < query->Columns().size(); ++i) out += (i > 0 ? "|" : "") + TextOf(query->Get(i));
    }
    return out;
  }
  std::pair<ErrorCode, std::string> RefusalWith(const std::string& text, const std::vector<Parameter>& parameters) {
    try {
      (void)With(text, parameters);
    } catch (const Error& error) {
      return {error.Code(), error.what()};
    }
    ADD_FAILURE() << text << " was taken";
    return {ErrorCode::kIo, ""};
  }
  static Value L(std::int32_t number) { return Value(number); }
};

TEST_F(JetParameters, DeclaredOnesTakeTheirType) {
  const std::string text =
      "PARAMETERS [Quel numéro] Long, Nom Text ( 255 ); SELECT Id FROM T WHERE Id = [Quel numéro] OR N = Nom ORDER BY Id;";
  EXPECT_EQ(With(text, {{"Quel numéro", L(1)}, {"Nom", Value("DEUX")}}), "1; 2");
  EXPECT_EQ(With(text, {{"[nom]", Value("trois")}, {"QUEL NUMÉRO", Value("2")}}), "2; 3");
  EXPECT_EQ(With(text, {{"", L(1)}, {"", Value("deux")}}), "1; 2");
  EXPECT_EQ(With(text, {{"", Value()}, {"", Value("deux")}}), "2");
  EXPECT_EQ(RefusalWith(text, {{"", Value("un")}, {"", Value("deux")}}),
            (std::pair<ErrorCode, std::string>{ErrorCode::kTypeMismatch, "the parameter \"Quel numéro\": \"un\" is not a number"}));
  EXPECT_EQ(With("PARAMETERS [Depuis] DateTime; SELECT Id FROM T WHERE D >= Depuis", {{"Depuis", Value(Date{37653})}}), "2");
  EXPECT_EQ(With("PARAMETERS p Value; SELECT p, p + 1", {{"p", L(4)}}), "4|5");
  EXPECT_EQ(With("PARAMETERS p Bit; SELECT Id FROM T WHERE Y = p", {{"p", Value(true)}}), "1");
}

TEST_F(JetParameters, ADeclaredNameHidesAColumn) {
  EXPECT_EQ(With("PARAMETERS Id Long; SELECT N FROM T WHERE T.Id = Id", {{"Id", L(2)}}), "deux");
  EXPECT_EQ(Refusal("SELECT N FROM T WHERE T.Id = Id AND Rien = 1").first, ErrorCode::kNotFound);
  EXPECT_EQ(RefusalWith("PARAMETERS Id Long; SELECT N FROM T WHERE T.Id = Id", {}).second,
            "no column or parameter value \"Id\" (at character 50)");
}

TEST_F(JetParameters, WhatMeansNothingIsAPrompt) {
  EXPECT_EQ(With("SELECT N FROM T WHERE Id = [Entrez un numéro :]", {{"Entrez un numéro :", L(3)}}), "trois");
  EXPECT_EQ(With("SELECT N, [x] FROM T WHERE Id = [z]", {{"", L(7)}, {"", L(2)}}), "deux|7");
  EXPECT_EQ(With("SELECT N FROM T WHERE Id = [x] OR Id = [X] + 1 ORDER BY Id", {{"x", L(1)}}), "un; deux");
  EXPECT_EQ(With("SELECT A.N FROM (SELECT N FROM T WHERE Id = [in]) AS A WHERE A.N LIKE [pat] & '*'", {{"in", L(2)}, {"pat", Value("d")}}),
            "deux");
  EXPECT_EQ(With("SELECT N FROM T WHERE D BETWEEN [du] AND [au]", {{"du", Value("01/01/2003")}, {"au", Value("31/01/2003")}}), "un");
  EXPECT_EQ(With("SELECT Id FROM T WHERE N = [p] OR Id IN ([q], 3) ORDER BY Id", {{"p", L(5)}, {"q", Value("1")}}), "1; 3");
  EXPECT_EQ(RefusalWith("SELECT N FROM T WHERE Id = [p]", {{"p", Value("un")}}).first, ErrorCode::kTypeMismatch);
  EXPECT_EQ(With("SELECT N FROM T WHERE Id = [Forms]![Saisie]![Numéro]", {{"[Forms]![Saisie]![Numéro]", L(1)}}), "un");
}

TEST_F(JetParameters, MarkersTakeValuesInTheOrderOfTheText) {
  EXPECT_EQ(With("SELECT ? & N FROM T WHERE Id = ? AND N <> ?", {{"", Value("<")}, {"", L(2)}, {"", Value("x")}}), "<deux");
  EXPECT_EQ(With("SELECT ?, N FROM (SELECT N, Id FROM T WHERE Id < ?) AS Q WHERE Id > ?", {{"c", L(9)}, {"a", L(3)}, {"b", L(1)}}),
            "9|deux");
  EXPECT_EQ(RefusalWith("SELECT N FROM T WHERE Id = ? OR Id = ?", {{"", L(2)}}).second,
            "no column or parameter value \"?\" (at character 38)");
  EXPECT_EQ(RefusalWith("SELECT N FROM T WHERE Id = ?", {{"", L(2)}, {"", L(2)}}).first, ErrorCode::kNotFound);
}

TEST_F(JetParameters, ANameThatTheStatementDoesNotHaveIsToldAndValuesAreCounted) {
  EXPECT_EQ(RefusalWith("SELECT N FROM T WHERE Id = [p]", {{"q", L(2)}}).second, "the statement has no parameter \"q\"");
  EXPECT_EQ(RefusalWith("SELECT N FROM T WHERE Id = [p]", {{"p", L(2)}, {"P", L(2)}}).second,
            "two values are given for the parameter \"P\"");
  EXPECT_EQ(RefusalWith("SELECT N FROM T", {{"", L(2)}}).first, ErrorCode::kNotFound);
  EXPECT_EQ(Refusal("UPDATE T SET Absent = 1").first, ErrorCode::kNotFound);
  EXPECT_EQ(RefusalWith("UPDATE T SET Absent = ?", {{"", L(2)}}).first, ErrorCode::kNotFound);
}

TEST_F(JetParameters, EveryTypeGoesThroughExactly) {
  const std::string large(700000, 'x');
  const Bytes bytes(1000, std::byte{0});
  const Guid guid = *Guid::Parse("{00112233-4455-6677-8899-AABBCCDDEEFF}");
  const Numeric numeric = *Numeric::Parse("123456789012345678901234.5678");
  const std::vector<Parameter> values = {{"", L(10)},
                                         {"", Value("é'\"")},
                                         {"", Value(Currency{9223372036854775807})},
                                         {"", Value(Date{37653.25})},
                                         {"", Value(0.1)},
                                         {"", Value(true)},
                                         {"", Value(guid)},
                                         {"", Value(bytes)},
                                         {"", Value(large)},
                                         {"", Value(numeric)}};
  EXPECT_EQ(session->Execute("INSERT INTO T (Id,N,C,D,F,Y,G,B,M,E) VALUES (?,?,?,?,?,?,?,?,?,?)", values), 1);
  const auto query = session->Open("SELECT * FROM T WHERE Id = 10");
  ASSERT_TRUE(query->Next());
  for (std::size_t i = 0; i < values.size(); ++i) EXPECT_EQ(query->Get(i), values[i].value) << i;
  EXPECT_EQ(session->Execute("UPDATE T SET C = [Montant], E = [E2] WHERE Id = 1",
                             std::vector<Parameter>{{"Montant", Value(Currency{-9223372036854775807})}, {"E2", Value(numeric)}}),
            1);
  EXPECT_EQ(Rows("SELECT C FROM T WHERE Id = 1"), "-9223372036854775807/10000");
  EXPECT_EQ(session->Execute("DELETE FROM T WHERE G = ? OR D = ?", std::vector<Parameter>{{"", Value(guid)}, {"", Value(Date{37623})}}), 2);
  EXPECT_EQ(session->Execute("SELECT [v] AS V, N INTO U FROM T", std::vector<Parameter>{{"v", Value(Currency{123456})}}), 2);
  EXPECT_EQ(Rows("SELECT V FROM U"), "123456/10000; 123456/10000");
}

TEST_F(JetParameters, OfAStatementThatIsExecutedAreItsArguments) {
  Run("CREATE PROCEDURE P (a LONG, b LONG) AS SELECT [a] * 10 + [b] AS V FROM T WHERE Id = 1");
  EXPECT_EQ(With("EXECUTE P 5, 7", {}), "57");
  EXPECT_EQ(With("EXECUTE P 5, ?", {{"", L(7)}}), "57");
  EXPECT_EQ(With("EXECUTE P ?, 7", {{"", L(5)}}), "57");
}

TEST_F(JetParameters, TheIndexIsUsedForThem) {
  {
    Transaction transaction(*database);
    for (int i = 100; i < 3000; ++i) Run("INSERT INTO T (Id, M) VALUES (" + std::to_string(i) + ", String(200, 'm'))");
    transaction.Commit();
  }
  const auto pages = [&](const std::string& text, const std::vector<Parameter>& parameters) {
    const std::string path = database->Path();
    session.reset();
    database = nullptr;
    database = Database::Open(path);
    session = std::make_unique<jet::sql::Session>(*database);
    (void)With("SELECT Id FROM T WHERE 1=0", {});
    const auto before = database->Count().pagesRead;
    EXPECT_EQ(With(text, parameters), "2000");
    return database->Count().pagesRead - before;
  };
  EXPECT_LE(pages("SELECT Id FROM T WHERE Id = ?", {{"", L(2000)}}), 6U);
  EXPECT_LE(pages("PARAMETERS p Text; SELECT Id FROM T WHERE Id = [q]", {{"q", Value("2000")}}), 6U);
  EXPECT_GT(pages("SELECT Id FROM T WHERE Id + 0 = ?", {{"", L(2000)}}), 50U);
}

}  // namespace
