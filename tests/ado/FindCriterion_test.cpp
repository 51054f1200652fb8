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
      EXPECT_EQ(error.Number(), 5) << text;
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
