#include <gtest/gtest.h>

#include "tests/jet/sql/PlainSchema.h"

using jet::sql::tests::PlainSchema;

namespace {

struct Case {
  const char* expression;
  const char* value;
};

class JetExpression : public testing::TestWithParam<Case> {};

TEST_P(JetExpression, HasTheValueThatAccessGives) {
  PlainSchema schema;
  EXPECT_EQ(schema.Query(std::string("SELECT ") + GetParam().expression), GetParam().value) << GetParam().expression;
}

INSTANTIATE_TEST_SUITE_P(Operators, JetExpression,
                         testing::Values(Case{"1+2*3", "7"}, Case{"(1+2)*3", "9"}, Case{"7/2", "3.5"}, Case{"7\\2", "3"},
                                         Case{"-7\\2", "-3"}, Case{"7.6\\2", "4"}, Case{"7 MOD 3", "1"}, Case{"-7 MOD 3", "-1"},
                                         Case{"8 MOD 2.6", "2"}, Case{"2^3", "8.0"}, Case{"-2^2", "-4.0"}, Case{"2^-1", "0.5"},
                                         Case{"2^3^2", "64.0"}, Case{"10 - 4 - 3", "3"}, Case{"2*3\\4", "1"}, Case{"10\\4*2", "1"},
                                         Case{"5 MOD 3 + 1", "3"}, Case{"'a' & 'b' & 1", "ab1"}, Case{"'a' & 1+1", "a2"},
                                         Case{"Null & 'x'", "x"}, Case{"Null & Null", "NULL"}, Case{"'a' + 'b'", "ab"},
                                         Case{"'a' + Null", "NULL"}, Case{"1 & 2", "12"}, Case{"'12' + 1", "13.0"},
                                         Case{"\"double \"\"quoted\"\"\"", "double \"quoted\""}, Case{"'L''ECOLE'", "L'ECOLE"},
                                         Case{"1.5E2", "150.0"}, Case{".5", "0.5"}, Case{"&HFF", "255"}, Case{"&HFFFF", "-1"},
                                         Case{"3000000000", "3000000000.0"}));

INSTANTIATE_TEST_SUITE_P(TruthValues, JetExpression,
                         testing::Values(Case{"True", "-1"}, Case{"False", "0"}, Case{"1=1", "-1"}, Case{"1=2", "0"}, Case{"Not True", "0"},
                                         Case{"Not (1=2)", "-1"}, Case{"True And False", "0"}, Case{"True Or False", "-1"},
                                         Case{"True Xor True", "0"}, Case{"True Xor False", "-1"}, Case{"True Eqv False", "0"},
                                         Case{"False Eqv False", "-1"}, Case{"False Imp False", "-1"}, Case{"True Imp False", "0"},
                                         Case{"(1=1)=True", "-1"}, Case{"6 And 3", "2"}, Case{"6 Or 3", "7"}, Case{"6 Xor 3", "5"},
                                         Case{"Not 5", "-6"}, Case{"Null Is Null", "-1"}, Case{"1 Is Not Null", "-1"},
                                         Case{"IsNull(Null)", "-1"}, Case{"1 In (1,2)", "-1"}, Case{"'A' In ('a','b')", "-1"},
                                         Case{"3 Not In (1,2)", "-1"}, Case{"2 Between 1 And 3", "-1"}, Case{"4 Not Between 1 And 3", "-1"},
                                         Case{"'b' Between 'A' And 'C'", "-1"}, Case{"1 = Null", "NULL"}, Case{"1 <> 2 And 3 >= 3", "-1"},
                                         Case{"'a' = 'A'", "-1"}, Case{"'été' = 'ÉTÉ'", "-1"}, Case{"'été' = 'ete'", "0"},
                                         Case{"'abc' < 'ABD'", "-1"}));

INSTANTIATE_TEST_SUITE_P(Like, JetExpression,
                         testing::Values(Case{"'Dupont' Like 'D*'", "-1"}, Case{"'Dupont' Like 'd*T'", "-1"},
                                         Case{"'Dupont' Like 'D?pont'", "-1"}, Case{"'Dupont' Not Like 'D?'", "-1"},
                                         Case{"'a1' Like 'a#'", "-1"}, Case{"'ab' Like 'a#'", "0"}, Case{"'b' Like '[a-c]'", "-1"},
                                         Case{"'d' Like '[a-c]'", "0"}, Case{"'d' Like '[!a-c]'", "-1"}, Case{"'a*b' Like 'a[*]b'", "-1"},
                                         Case{"'axb' Like 'a[*]b'", "0"}, Case{"'É' Like 'é'", "-1"}, Case{"'50%' Like '50%'", "-1"},
                                         Case{"'500' Like '50%'", "0"}, Case{"'500' Alike '50%'", "-1"}, Case{"'5x0' Alike '5_0'", "-1"},
                                         Case{"'' Like '*'", "-1"}, Case{"Null Like '*'", "NULL"},
                                         Case{"'aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaab' Like '*a*a*a*a*a*a*a*a*c'", "0"},
                                         Case{"']' Like ']'", "-1"}, Case{"'élise' Like '[a-z]*'", "-1"}, Case{"'É' Like '[e-f]'", "-1"},
                                         Case{"'é' Like '[f-z]'", "0"}, Case{"'É' Like '[!a-d]'", "-1"}, Case{"'-' Like '[a-z]'", "0"},
                                         Case{"'-' Like '[a-]'", "-1"}, Case{"'ab' Like 'a[]b'", "-1"}, Case{"'ab' Like '[]ab[]'", "-1"},
                                         Case{"'ab' Like '*[]'", "-1"}));

INSTANTIATE_TEST_SUITE_P(Texts, JetExpression,
                         testing::Values(Case{"Left('élève',2)", "él"}, Case{"Right('élève',3)", "ève"}, Case{"Mid('abcdef',2,3)", "bcd"},
                                         Case{"Mid('abc',2)", "bc"}, Case{"Mid('abc',9)", ""}, Case{"Len('été')", "3"},
                                         Case{"UCase('été')", "ÉTÉ"}, Case{"LCase('ÉTÉ')", "été"}, Case{"Trim('  a ')", "a"},
                                         Case{"LTrim(' a ') & '.'", "a ."}, Case{"RTrim(' a ') & '.'", " a."},
                                         Case{"InStr('abcabc','C')", "3"}, Case{"InStr(4,'abcabc','c')", "6"},
                                         Case{"InStr('abc','x')", "0"}, Case{"InStr(1,'abc','C',0)", "0"},
                                         Case{"InStrRev('abcabc','b')", "5"}, Case{"Replace('aXbx','x','-')", "a-b-"},
                                         Case{"Space(3) & '.'", "   ."}, Case{"String(3,'é')", "ééé"}, Case{"StrReverse('abc')", "cba"},
                                         Case{"StrComp('a','A')", "0"}, Case{"StrComp('a','b')", "-1"}, Case{"Chr(65)", "A"},
                                         Case{"Chr(128)", "€"}, Case{"Asc('€')", "128"}, Case{"Asc('A')", "65"}, Case{"AscW('€')", "8364"},
                                         Case{"Hex(255)", "FF"}, Case{"Oct(8)", "10"}, Case{"StrConv('jean dupont',3)", "Jean Dupont"},
                                         Case{"Left$('abc',1)", "a"}, Case{"Left(Null,1)", "NULL"}, Case{"Len(12345)", "5"}));

INSTANTIATE_TEST_SUITE_P(Numbers, JetExpression,
                         testing::Values(Case{"Abs(-3)", "3"}, Case{"Abs(-2.5)", "2.5"}, Case{"Sgn(-3)", "-1"}, Case{"Int(-2.5)", "-3.0"},
                                         Case{"Fix(-2.5)", "-2.0"}, Case{"Round(2.5)", "2.0"}, Case{"Round(3.5)", "4.0"},
                                         Case{"Round(2.675,2)", "2.68"}, Case{"Sqr(9)", "3.0"}, Case{"CInt(2.5)", "2"},
                                         Case{"CInt(3.5)", "4"}, Case{"CLng('12')", "12"}, Case{"CDbl('1.5')", "1.5"},
                                         Case{"CStr(1.5)", "1.5"}, Case{"CStr(True)", "-1"}, Case{"Val('12abc')", "12.0"},
                                         Case{"Val('1 2')", "12.0"}, Case{"Val('x')", "0.0"}, Case{"Str(5)", " 5"}, Case{"Str(-5)", "-5"},
                                         Case{"CBool(2)", "-1"}, Case{"CByte(200)", "200"}, Case{"CCur(1.23456)", "1.2346"},
                                         Case{"CSng(0.1) & ''", "0.1"}, Case{"IIf(1=1,'a','b')", "a"}, Case{"IIf(Null,'a','b')", "b"},
                                         Case{"Nz(Null,5)", "5"}, Case{"Nz('x','y')", "x"}, Case{"Switch(1=2,'a',2=2,'b')", "b"},
                                         Case{"IsNumeric('12,5')", "0"}, Case{"IsNumeric('+-5')", "0"}, Case{"IsNumeric('12.5')", "-1"},
                                         Case{"IsDate('31/12/2003')", "-1"}, Case{"IsDate('x')", "0"},
                                         Case{"IsDate('31 février 2003')", "0"}));

INSTANTIATE_TEST_SUITE_P(
    Dates, JetExpression,
    testing::Values(
        Case{"CStr(#2/1/2003#)", "01/02/2003"}, Case{"CStr(#13/2/2003#)", "13/02/2003"},
        Case{"CStr(#2/1/2003 6:00:00 PM#)", "01/02/2003 18:00:00"}, Case{"CStr(CVDate('1 févr. 2003 6 PM'))", "01/02/2003 18:00:00"},
        Case{"CStr(CVDate('2/13/2003'))", "13/02/2003"}, Case{"CStr(CVDate('1 août 99'))", "01/08/1999"},
        Case{"CStr(CVDate('01/02/2003'))", "01/02/2003"}, Case{"CStr(CDate('2003-02-01 10:30:00'))", "01/02/2003 10:30:00"},
        Case{"#2003-02-01# + 1", "37654.0"}, Case{"Year(#2/1/2003#)", "2003"}, Case{"Month(#2/1/2003#)", "2"}, Case{"Day(#2/1/2003#)", "1"},
        Case{"Hour(#10:30:15#)", "10"}, Case{"Minute(#10:30:15#)", "30"}, Case{"Second(#10:30:15#)", "15"}, Case{"#13/2/2003#", "37665.0"},
        Case{"#1 Feb 2003#", "37653.0"}, Case{"#10:30 PM#", "0.9375"}, Case{"CStr(DateAdd('m',1,#1/31/2003#))", "28/02/2003"},
        Case{"CStr(DateAdd('yyyy',1,#2/29/2004#))", "28/02/2005"}, Case{"CStr(DateAdd('n',-30,#2/1/2003#))", "31/01/2003 23:30:00"},
        Case{"DateDiff('d',#1/1/2003#,#2/1/2003#)", "31"}, Case{"DateDiff('yyyy',#12/31/2002#,#1/1/2003#)", "1"},
        Case{"DateDiff('h',#1/1/2003 10:59:00#,#1/1/2003 11:01:00#)", "1"}, Case{"DatePart('q',#5/1/2003#)", "2"},
        Case{"DatePart('ww',#1/1/2004#,2,2)", "1"}, Case{"CStr(DateSerial(2003,13,1))", "01/01/2004"},
        Case{"CStr(DateValue('01/02/2003 10:00'))", "01/02/2003"}, Case{"Weekday(#2/1/2003#)", "7"}, Case{"Weekday(#2/1/2003#,2)", "6"},
        Case{"CStr(TimeSerial(1,2,3))", "01:02:03"}, Case{"Year(Date()) > 2000", "-1"}, Case{"Now() >= Date()", "-1"},
        Case{"CStr(#12/29/1899 06:00:00#)", "29/12/1899 06:00:00"}, Case{"#12/29/1899 06:00:00#", "-1.25"},
        Case{"#2/1/2003# - #1/1/2003#", "31.0"}, Case{"'le ' & #2/1/2003#", "le 01/02/2003"}));

INSTANTIATE_TEST_SUITE_P(Pictures, JetExpression,
                         testing::Values(Case{"Format(1234.5,'0.00')", "1234.50"}, Case{"Format(1234567.891,'#,##0.0')", "1 234 567.9"},
                                         Case{"Format(0.256,'0%')", "26%"}, Case{"Format(7,'000')", "007"},
                                         Case{"Format(-5,'0;(0)')", "(5)"}, Case{"Format(0,'0;(0);zéro')", "zéro"},
                                         Case{"Format(#2/1/2003 09:05:07#,'dd/mm/yyyy hh:nn:ss')", "01/02/2003 09:05:07"},
                                         Case{"Format(#2/1/2003 09:05:07#,'hh:mm')", "09:05"},
                                         Case{"Format(#2/1/2003#,'d mmmm yyyy')", "1 février 2003"},
                                         Case{"Format(#2/1/2003#,'dddd')", "samedi"}, Case{"Format('abc','>')", "ABC"},
                                         Case{"Format('abc','@@@@@')", "  abc"}, Case{"Format(2.5,'#.##')", "2.5"},
                                         Case{"Format(0.5,'#.00')", ".50"}, Case{"Format(True,'Yes/No')", "Oui"},
                                         Case{"Format(12,'\"N° \"0')", "N° 12"}));

struct Wrong {
  const char* statement;
  jet::ErrorCode code;
  const char* text;
};
class JetWrongStatement : public testing::TestWithParam<Wrong> {};

TEST_P(JetWrongStatement, IsRefusedWithItsPosition) {
  PlainSchema schema;
  schema.AddTable("T", {{"A", jet::ColumnType::kLong}, {"B", jet::ColumnType::kText}, {"D", jet::ColumnType::kDate}});
  schema.AddTable("U", {{"A", jet::ColumnType::kLong}});
  schema.AddQuery("Circle", "SELECT * FROM Circle");
  try {
    (void)jet::sql::Translate(GetParam().statement, schema, schema.settings);
    FAIL() << GetParam().statement << " was taken";
  } catch (const jet::Error& error) {
    EXPECT_EQ(error.Code(), GetParam().code) << error.what();
    EXPECT_NE(std::string(error.what()).find(GetParam().text), std::string::npos) << error.what();
  }
}

INSTANTIATE_TEST_SUITE_P(
    Statements, JetWrongStatement,
    testing::Values(Wrong{"SELECT * FROM T WHERE A = ", jet::ErrorCode::kSyntax, "(at character 27)"},
                    Wrong{"SELECT 'abc", jet::ErrorCode::kSyntax, "(at character 8)"},
                    Wrong{"SELECT 'é' & [abc", jet::ErrorCode::kSyntax, "(at character 14)"},
                    Wrong{"SELECT #1/2", jet::ErrorCode::kSyntax, "(at character 8)"},
                    Wrong{"SELECT * FROM Nowhere", jet::ErrorCode::kNotFound, "no table or query \"Nowhere\" (at character 15)"},
                    Wrong{"SELECT Nothing FROM T", jet::ErrorCode::kNotFound, "\"Nothing\" (at character 8)"},
                    Wrong{"SELECT A FROM T, U", jet::ErrorCode::kSyntax, "more than one table"},
                    Wrong{"SELECT A, Count(*) FROM T", jet::ErrorCode::kSyntax, "neither grouped nor part of an aggregate"},
                    Wrong{"SELECT * FROM T WHERE Count(*) > 1", jet::ErrorCode::kSyntax, "aggregate cannot stand in WHERE"},
                    Wrong{"SELECT Sum(Count(A)) FROM T", jet::ErrorCode::kSyntax, "aggregate inside an aggregate"},
                    Wrong{"SELECT * FROM T WHERE A = '5'", jet::ErrorCode::kTypeMismatch, "(at character 25)"},
                    Wrong{"SELECT * FROM T WHERE D = '01/02/2003'", jet::ErrorCode::kTypeMismatch, "(at character 25)"},
                    Wrong{"SELECT CVDate('x')", jet::ErrorCode::kTypeMismatch, "not a date: 'x'"},
                    Wrong{"SELECT Foo(1)", jet::ErrorCode::kUnsupported, "unknown function Foo"},
                    Wrong{"SELECT ? FROM T", jet::ErrorCode::kNotFound, "no column or parameter value \"?\" (at character 8)"},
                    Wrong{"TRANSFORM Sum(A) SELECT B FROM T GROUP BY B PIVOT D", jet::ErrorCode::kUnsupported, "TRANSFORM"},
                    Wrong{"SELECT * FROM Circle", jet::ErrorCode::kUnsupported, "uses itself"},
                    Wrong{"HELLO", jet::ErrorCode::kSyntax, "(at character 1)"},
                    Wrong{"SELECT 1 2", jet::ErrorCode::kSyntax, "end of the statement"},
                    Wrong{"SELECT Left('a')", jet::ErrorCode::kSyntax, "wrong number of arguments"},
                    Wrong{"INSERT INTO T (A) VALUES (1,2)", jet::ErrorCode::kSyntax, "number of values"},
                    Wrong{"INSERT INTO T (X) VALUES (1)", jet::ErrorCode::kNotFound, "no column \"X\""},
                    Wrong{"UPDATE T SET A", jet::ErrorCode::kSyntax, "\"=\" expected"},
                    Wrong{"DELETE FROM T, U", jet::ErrorCode::kSyntax, "must be named"},
                    Wrong{"CREATE TABLE X (A WHAT)", jet::ErrorCode::kSyntax, "unknown column type WHAT (at character 19)"},
                    Wrong{"ALTER TABLE T ALTER COLUMN A", jet::ErrorCode::kSyntax, "type of the column expected"},
                    Wrong{"SELECT A FROM T UNION SELECT A, B FROM T", jet::ErrorCode::kSyntax, "same number of columns"},
                    Wrong{"SELECT * FROM T ORDER BY 9", jet::ErrorCode::kSyntax, "no such column"},
                    Wrong{"SELECT DISTINCT A FROM T ORDER BY B", jet::ErrorCode::kSyntax, "with DISTINCT"},
                    Wrong{"SELECT * FROM T AS X, U AS X", jet::ErrorCode::kSyntax, "stands twice"},
                    Wrong{"SELECT 1 ~ 2", jet::ErrorCode::kSyntax, "character that means nothing"},
                    Wrong{"SELECT Count(DISTINCT A) FROM T", jet::ErrorCode::kUnsupported, "DISTINCT inside an aggregate"}));

TEST(JetExpressionErrors, OfEvaluationReachTheCaller) {
  PlainSchema schema;
  EXPECT_EQ(schema.Query("SELECT 1/0"), "error: division by zero");
  EXPECT_EQ(schema.Query("SELECT CLng('abc')"), "error: type mismatch: \"abc\" is not a number");
  EXPECT_EQ(schema.Query("SELECT CByte(300)"), "error: overflow");
  EXPECT_EQ(schema.Query("SELECT TimeSerial(900000000000000000,0,0)"), "error: overflow");
}

TEST(JetExpressionErrors, DeepNestingIsRefusedNotACrash) {
  PlainSchema schema;
  const std::string deep = std::string(100000, '(') + "1" + std::string(100000, ')');
  EXPECT_THROW((void)jet::sql::Translate("SELECT " + deep, schema, schema.settings), jet::Error);
  std::string minus(100000, '-');
  EXPECT_THROW((void)jet::sql::Translate("SELECT " + minus + "1", schema, schema.settings), jet::Error);
  std::string nots;
  for (int i = 0; i < 50000; ++i) nots += "NOT ";
  EXPECT_THROW((void)jet::sql::Translate("SELECT " + nots + "1", schema, schema.settings), jet::Error);
  std::string joins = "SELECT * FROM ";
  joins += std::string(100000, '(');
  EXPECT_THROW((void)jet::sql::Translate(joins, schema, schema.settings), jet::Error);
}

TEST(JetExpressionSettings, DateTextsAreReadAsTheCallerSays) {
  PlainSchema schema;
  schema.settings.parseDate = [](std::string_view text) -> std::optional<double> {
    return text == "heute" ? std::optional<double>(100) : std::nullopt;
  };
  schema.settings.decimalPoint = ',';
  EXPECT_EQ(schema.Query("SELECT CVDATE('heute')"), "100.0");
  EXPECT_EQ(schema.Query("SELECT CDbl('1,5')"), "1.5");
  EXPECT_EQ(schema.Query("SELECT CStr(1.5)"), "1,5");
}

}  // namespace
