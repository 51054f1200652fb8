#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {
namespace {

/// True when the check passes a log of one statement.
bool Passes(const std::string& dialect, const std::string& jsonText) {
  const TemporaryFolder folder;
  const std::string log = folder.File("log");
  std::ofstream(log) << R"({"dialect":")" << dialect << R"(","text":")" << jsonText << "\"}\n";
  return std::system(("'" TAMLO_ENGINES_DIR "/check-grammar.sh' '" + log + "' >/dev/null 2>&1").c_str()) == 0;
}

TEST(GrammarCheck, RefusesAMalformedStorageClause) {
  EXPECT_TRUE(
      Passes("Oracle", R"(CREATE TABLE ADM.\"T\" (\"A\"  NUMBER) PCTFREE 10 STORAGE ( INITIAL 10 M NEXT 500 K) TABLESPACE \"TS\")"));
  EXPECT_FALSE(Passes("Oracle", R"(CREATE TABLE \"T\" (\"A\"  NUMBER) STORAGE ( INITIAL ))"));
}

TEST(GrammarCheck, RefusesAnOpenOuterJoinMark) {
  EXPECT_TRUE(Passes("Oracle", "SELECT * FROM A,B WHERE A.X = B.Y (+)"));
  EXPECT_FALSE(Passes("Oracle", "SELECT * FROM A,B WHERE A.X = B.Y (+"));
}

TEST(GrammarCheck, RefusesAColumnListThatDoesNotClose) {
  EXPECT_TRUE(Passes("MSSQLServer", R"(CREATE UNIQUE INDEX \"IX1\" ON \"UTL\" (\"NOM\" DESC))"));
  EXPECT_FALSE(Passes("MSSQLServer", R"(CREATE UNIQUE INDEX \"IX1\" ON \"UTL\" (\"NOM\" DESC)"));
}

TEST(GrammarCheck, RefusesAGrammarThatTakesWhatTheServerMustRefuse) {
  EXPECT_TRUE(Passes("MSSQLServer", R"(CREATE TABLE \"T\" (\"A\"  INT,CONSTRAINT \"IX\" (\"a\")))"));
  EXPECT_FALSE(Passes("MSSQLServer", R"(SELECT 'CONSTRAINT \"IX\" (' FROM T)")) << "named as refused, but well formed";
}

TEST(GrammarCheck, RefusesAnEmptyLog) {
  const TemporaryFolder folder;
  std::ofstream(folder.File("log")).flush();
  EXPECT_NE(std::system(("'" TAMLO_ENGINES_DIR "/check-grammar.sh' '" + folder.File("log") + "' >/dev/null 2>&1").c_str()), 0);
}

}  // namespace
}  // namespace tamlo::tests
