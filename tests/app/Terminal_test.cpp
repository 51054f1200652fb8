#include "app/Terminal.h"

#include <gtest/gtest.h>

#include <vector>

namespace tamlo::app {
namespace {

std::optional<std::string> Answer(std::vector<const char*> arguments) {
  arguments.insert(arguments.begin(), "tamlo");
  return ReponseTerminal(static_cast<int>(arguments.size()), arguments.data());
}

TEST(Terminal, TheTwoWordsAloneAreAnswered) {
  EXPECT_EQ(Answer({"--version"}).value_or("").rfind("tamlo ", 0), 0U);
  const std::string help = Answer({"--help"}).value_or("");
  EXPECT_EQ(help.rfind("Usage : tamlo base type volume nom niveau", 0), 0U);
  for (const char* word : {"mot_de_passe_codé", "--help", "--version"}) EXPECT_NE(help.find(word), std::string::npos) << word;
  EXPECT_EQ(help.back(), '\n');
}

TEST(Terminal, EveryOtherLineIsTheToolsOwn) {
  EXPECT_FALSE(Answer({}));
  EXPECT_FALSE(Answer({"-h"}));
  EXPECT_FALSE(Answer({"--HELP"}));
  EXPECT_FALSE(Answer({"--help "}));
  EXPECT_FALSE(Answer({"--versions"}));
  EXPECT_FALSE(Answer({"--help", "--version"}));
  EXPECT_FALSE(Answer({"V", "0", "12", "--help", "3"}));
}

}  // namespace
}  // namespace tamlo::app
