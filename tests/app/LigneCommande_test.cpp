#include "app/LigneCommande.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "runtime/Error.h"

namespace tamlo::app {
namespace {

using Texts = std::vector<std::string>;

Texts Split(const std::string& line) {
  LigneCommande(line);
  LitParametres();
  Texts parameters;
  for (std::int16_t i = 1; i <= NbParametres(); ++i) parameters.push_back(Parametres(i));
  return parameters;
}

template <typename Call>
std::int32_t NumberRaisedBy(Call&& call) {
  return runtime::IgnoringErrors(std::forward<Call>(call)).number;
}

TEST(LitParametres, AnEmptyLineHasNoParameter) {
  EXPECT_EQ(Split(""), Texts{});
  EXPECT_EQ(NbParametres(), 0);
}

TEST(LitParametres, ALineOfSpacesHasNoParameter) { EXPECT_EQ(Split("    "), Texts{}); }

TEST(LitParametres, RunsOfSpacesSeparateOnce) { EXPECT_EQ(Split("  a  b   c "), (Texts{"a", "b", "c"})); }

TEST(LitParametres, AQuotedNameWithSpacesIsOneParameterWithoutItsQuotes) {
  EXPECT_EQ(Split("\"ma base  1\" 0"), (Texts{"ma base  1", "0"}));
}

TEST(LitParametres, QuotesStandAnywhereAndOnlySwitchTheMeaningOfSpaces) {
  EXPECT_EQ(Split("a\"b d\"e"), Texts{"ab de"});
  EXPECT_EQ(Split("a\"\"b"), Texts{"ab"});
}

TEST(LitParametres, APairOfQuotesIsAnEmptyParameter) {
  EXPECT_EQ(Split("a \"\" b"), (Texts{"a", "", "b"}));
  EXPECT_EQ(Split("\"\""), Texts{""});
}

TEST(LitParametres, ATabIsAnOrdinaryCharacter) { EXPECT_EQ(Split("a\tb c"), (Texts{"a\tb", "c"})); }

TEST(LitParametres, AQuoteThatIsNotClosedTakesTheRest) { EXPECT_EQ(Split("a \"b  c d"), (Texts{"a", "b  c d"})); }

TEST(LitParametres, AccentsAreKept) { EXPECT_EQ(Split("é \"à ç\""), (Texts{"é", "à ç"})); }

TEST(LitParametres, ParametersAreCountedFrom1) {
  Split("a b");
  EXPECT_EQ(Parametres(1), "a");
  EXPECT_EQ(Parametres(2), "b");
  EXPECT_EQ(NumberRaisedBy([] { static_cast<void>(Parametres(0)); }), 9);
  EXPECT_EQ(NumberRaisedBy([] { static_cast<void>(Parametres(3)); }), 9);
  EXPECT_EQ(NumberRaisedBy([] { static_cast<void>(Parametres(-1)); }), 9);
}

}  // namespace
}  // namespace tamlo::app
