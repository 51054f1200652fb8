#include "ado/FindCriterion.h"

#include <gtest/gtest.h>

#include "ado/Types.h"
#include "runtime/Dates.h"
#include "runtime/Error.h"

namespace tamlo::tests {
namespace {

using ado::FindCriterion;
using runtime::Null;
using runtime::Variant;

bool Meets(const char* criterion, const Variant& value, std::int16_t type = ado::adVarWChar) {
  return FindCriterion(criterion).Matches(value, type);
}

TEST(FindCriterion, ReadsNamesWithAndWithoutBrackets) {
  EXPECT_EQ(FindCriterion("[TABLE]='X'").FieldName(), "TABLE");
  EXPECT_EQ(FindCriterion("  NO >= 3").FieldName(), "NO");
  EXPECT_EQ(FindCriterion("[Straße/Postfach n° 1] <> 'X'").FieldName(), "Straße/Postfach n° 1");
}

TEST(FindCriterion, RefusesWhatDoesNotReadAsOne) {
  for (const char* text : {"", "CODE", "[CODE", "[CODE]", "[CODE]=", "[CODE]='x", "[CODE]=x", "=1", "[CODE] ! 1", "[]=1", "[CODE]='"}) {
    try {
      const FindCriterion criterion(text);
      ADD_FAILURE() << "accepted: " << text;
    } catch (const runtime::Error& error) {
      EXPECT_EQ(error.Number(), 3001) << text;
    }
  }
}

TEST(FindCriterion, TextsCompareWithoutRegardToCase) {
  EXPECT_TRUE(Meets("[A]='été'", Variant("ÉTÉ")));
  EXPECT_FALSE(Meets("[A]='ete'", Variant("ÉTÉ")));
  EXPECT_TRUE(Meets("[A]<'b'", Variant("A")));
  EXPECT_TRUE(Meets("[A]<>'b'", Variant("A")));
  EXPECT_TRUE(Meets("[A]=''", Variant("")));
}

TEST(FindCriterion, QuotesInsideATextStandForThemselves) {
  EXPECT_TRUE(Meets("[A]='O'Brien'", Variant("O'BRIEN")));
  EXPECT_TRUE(Meets("[A]='O''Brien'", Variant("O'Brien")));
}

TEST(FindCriterion, TrailingBlanksOfFixedLengthColumnsDoNotCount) {
  EXPECT_TRUE(Meets("[A]='ART'", Variant("ART   "), ado::adWChar));
  EXPECT_FALSE(Meets("[A]='ART'", Variant("ART   "), ado::adVarWChar));
}

TEST(FindCriterion, LikeTakesARunOfCharactersAtTheEnds) {
  EXPECT_TRUE(Meets("[A] like 'art*'", Variant("ARTICLE")));
  EXPECT_TRUE(Meets("[A] LIKE '*tic%'", Variant("ARTICLE")));
  EXPECT_FALSE(Meets("[A] like 'tic*'", Variant("ARTICLE")));
  EXPECT_TRUE(Meets("[A] like 'article'", Variant("ARTICLE")));
}

TEST(FindCriterion, NumbersCompareAsNumbers) {
  EXPECT_TRUE(Meets("[A]=3", Variant(std::int16_t{3}), ado::adSmallInt));
  EXPECT_TRUE(Meets("[A]='3'", Variant(std::int32_t{3}), ado::adInteger));
  EXPECT_TRUE(Meets("[A]>=2.5", Variant(2.5), ado::adDouble));
  EXPECT_FALSE(Meets("[A]<2.5", Variant(2.5), ado::adDouble));
  EXPECT_TRUE(Meets("[A]=-1", Variant(true), ado::adBoolean));
  EXPECT_TRUE(Meets("[A]=10", Variant(runtime::Decimal{"10.00"}), ado::adNumeric));
}

TEST(FindCriterion, NumbersCompareWithEveryDigit) {
  const Variant whole(std::int64_t{9007199254740992});
  EXPECT_FALSE(Meets("[A]=9007199254740993", whole, ado::adBigInt));
  EXPECT_TRUE(Meets("[A]<9007199254740993", whole, ado::adBigInt));
  EXPECT_FALSE(Meets("[A]='9007199254740993'", whole, ado::adBigInt));
  EXPECT_TRUE(Meets("[A]=9007199254740993", Variant(std::int64_t{9007199254740993}), ado::adBigInt));
  EXPECT_FALSE(Meets("[A]=9007199254740993", Variant(9007199254740992.0), ado::adDouble));
  EXPECT_TRUE(Meets("[A]=-12345678901234567890.1234", Variant(runtime::Decimal{"-12345678901234567890.12340"}), ado::adNumeric));
  EXPECT_FALSE(Meets("[A]=-12345678901234567890.1235", Variant(runtime::Decimal{"-12345678901234567890.1234"}), ado::adNumeric));
  EXPECT_TRUE(Meets("[A]>-12345678901234567890.1235", Variant(runtime::Decimal{"-12345678901234567890.1234"}), ado::adNumeric));
  EXPECT_FALSE(Meets("[A]=922337203685477.5806", Variant(runtime::Currency{9223372036854775807}), ado::adCurrency));
  EXPECT_TRUE(Meets("[A]=922337203685477.5807", Variant(runtime::Currency{9223372036854775807}), ado::adCurrency));
  // A binary fraction is the decimal that people write for it.
  EXPECT_TRUE(Meets("[A]=0.1", Variant(0.1), ado::adDouble));
  EXPECT_TRUE(Meets("[A]=0.1", Variant(0.1F), ado::adSingle));
  EXPECT_TRUE(Meets("[A]=1e3", Variant(std::int32_t{1000}), ado::adInteger));
  EXPECT_TRUE(Meets("[A]=-0", Variant(std::int32_t{0}), ado::adInteger));
  EXPECT_TRUE(Meets("[A]<1e300", Variant(std::int32_t{1000}), ado::adInteger));
}

TEST(FindCriterion, DatesAreReadBetweenSharps) {
  const Variant day(runtime::ToSerial({2003, 2, 1, 0, 0, 0, 0}));
  EXPECT_TRUE(Meets("[A]=#2003-02-01#", day, ado::adDate));
  EXPECT_TRUE(Meets("[A]>'2003-01-31'", day, ado::adDate));
  EXPECT_FALSE(Meets("[A]<#2003-02-01#", day, ado::adDate));
}

TEST(FindCriterion, ANullMeetsOnlyNull) {
  EXPECT_TRUE(Meets("[A]=null", Variant(Null{})));
  EXPECT_FALSE(Meets("[A]=null", Variant("")));
  EXPECT_TRUE(Meets("[A]<>NULL", Variant("x")));
  EXPECT_FALSE(Meets("[A]='x'", Variant(Null{})));
  EXPECT_FALSE(Meets("[A]<>'x'", Variant(Null{})));
}

TEST(FindCriterion, WhatCannotBeComparedIsError13) {
  try {
    (void)Meets("[A]='abc'", Variant(std::int32_t{1}), ado::adInteger);
    FAIL() << "no error";
  } catch (const runtime::Error& error) {
    EXPECT_EQ(error.Number(), 13);
  }
}

}  // namespace
}  // namespace tamlo::tests
