#include "base/Sentence.h"

#include <gtest/gtest.h>

#include <vector>

namespace tamlo::tests {
namespace {

std::string English(std::string_view pattern, const std::vector<std::string_view>& parts) {
  return base::Sentence(pattern, parts, base::Language::kEnglish);
}

TEST(Sentence, HasItsPartsWhereTheirNumbersStand) {
  EXPECT_EQ(English("the link %2 to %1: %2", {"a", "b"}), "the link b to a: b");
  EXPECT_EQ(English("%1 stands for no sign: a percent sign is written %25", {"%zz"}),
            "%zz stands for no sign: a percent sign is written %25");
  EXPECT_EQ(English("100%", {"a"}), "100%");
  EXPECT_EQ(English("%0 %a %", {"a"}), "%0 %a %");
}

TEST(Sentence, PartsAreNeverReadAsPatterns) { EXPECT_EQ(English("%1, %2", {"%2 {a|b}", "%1"}), "%2 {a|b}, %1"); }

TEST(Sentence, CountsInBothLanguages) {
  const std::string_view english = "%1 {row was|rows were} refused, %2 {value|values}";
  EXPECT_EQ(English(english, {"1", "2"}), "1 row was refused, 2 values");
  EXPECT_EQ(English(english, {"0", "1"}), "0 rows were refused, 1 value");
  EXPECT_EQ(English(english, {"11", "0"}), "11 rows were refused, 0 values");
  const auto french = [](std::string_view count) {
    return base::Sentence("%1 {ligne refusée|lignes refusées}", std::vector<std::string_view>{count}, base::Language::kFrench);
  };
  EXPECT_EQ(french("0"), "0 ligne refusée");
  EXPECT_EQ(french("1"), "1 ligne refusée");
  EXPECT_EQ(french("2"), "2 lignes refusées");
  EXPECT_EQ(English("{a|b", {}), "{a|b");
}

}  // namespace
}  // namespace tamlo::tests
