// What is read of a statement before anybody asks what its names mean.
#include "jet/sql/parse/Parser.h"

#include <gtest/gtest.h>

using jet::Error;
using jet::sql::Parse;
namespace syntax = jet::sql::syntax;

namespace {

const syntax::Select& SelectOf(const syntax::Statement& statement) {
  return std::get<syntax::Select>(std::get<syntax::QueryPointer>(statement.what)->what);
}

TEST(JetParser, OperatorsOfOneRankStandSideBySideAndTighterOnesBelow) {
  const syntax::Statement statement = Parse("SELECT a - 2 + b * 3 FROM T");
  const auto& chain = *std::get<std::unique_ptr<syntax::Chain>>(SelectOf(statement).list.items[0].expression.what);
  ASSERT_EQ(chain.links.size(), 2U);
  EXPECT_EQ(chain.links[0].op, syntax::Operator::kSubtract);
  EXPECT_EQ(chain.links[0].at.position, 10U);
  EXPECT_EQ(chain.links[1].op, syntax::Operator::kAdd);
  const auto& product = *std::get<std::unique_ptr<syntax::Chain>>(chain.links[1].operands[0].what);
  EXPECT_EQ(product.links[0].op, syntax::Operator::kMultiply);
  EXPECT_EQ(product.links[0].after, 22U);
}

TEST(JetParser, JoinsKeepTheirNesting) {
  const syntax::Statement statement = Parse("SELECT * FROM A LEFT JOIN (B INNER JOIN C ON 1 = 1) ON 2 = 2, [D d] AS E");
  const syntax::From& from = SelectOf(statement).from;
  ASSERT_EQ(from.size(), 2U);
  ASSERT_EQ(from[0].joins.size(), 1U);
  EXPECT_EQ(from[0].joins[0].kind, syntax::JoinKind::kLeft);
  const auto& inner = *std::get<std::unique_ptr<syntax::Joined>>(from[0].joins[0].right.what);
  EXPECT_EQ(std::get<syntax::TableName>(inner.first.what).name, "B");
  EXPECT_EQ(inner.joins[0].kind, syntax::JoinKind::kInner);
  const auto& named = std::get<syntax::TableName>(from[1].first.what);
  EXPECT_EQ(named.name, "D d");
  EXPECT_EQ(named.alias, "E");
  EXPECT_EQ(named.at.position, 63U);
}

TEST(JetParser, NamesNeedMeanNothing) {
  const syntax::Statement statement = Parse("UPDATE Absente SET Rien = [Quoi]![donc]");
  const auto& update = std::get<syntax::Update>(statement.what);
  const auto& value = std::get<syntax::Reference>(update.assignments[0].value.what);
  EXPECT_EQ(value.qualifier, "Quoi");
  EXPECT_EQ(value.name.text, "donc");
  EXPECT_THROW((void)Parse("UPDATE Absente SET Rien = "), Error);
}

}  // namespace
