// The text that SQLite gets for a statement, its columns, parameters and rows, or the error: as they stand in emitted.txt.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "tests/jet/sql/EmittedSchema.h"
#include "tests/jet/sql/StatementMaker.h"

using jet::sql::tests::EmittedSchema;
using jet::sql::tests::StatementMaker;

namespace {

struct Entry {
  std::string statement;
  std::string outcome;
};

// "> statement" and below it the lines of what comes of it.
std::vector<Entry> Read(const std::string& path) {
  std::ifstream in(path);
  std::vector<Entry> entries;
  for (std::string line; std::getline(in, line);) {
    if (line.rfind("> ", 0) == 0)
      entries.push_back({line.substr(2), {}});
    else if (!entries.empty())
      entries.back().outcome += line + "\n";
  }
  return entries;
}

class JetEmitted : public testing::Test {
 protected:
  std::string OutcomeOf(const std::string& statement) { return ofFile.Translated(statement) + plain.RowsOf(statement); }

  EmittedSchema ofFile{true};
  EmittedSchema plain{false};
};

// When the texts are to change: TAMLO_EMITTED names a file that takes what comes now; read the difference before it becomes emitted.txt.
TEST_F(JetEmitted, TextsAreThoseOfTheList) {
  const std::vector<Entry> entries = Read(EMITTED_LIST);
  ASSERT_GT(entries.size(), 300U);
  const char* path = std::getenv("TAMLO_EMITTED");
  std::ofstream out(path == nullptr ? "" : path);
  for (const Entry& entry : entries) {
    const std::string outcome = OutcomeOf(entry.statement);
    EXPECT_EQ(outcome, entry.outcome) << entry.statement;
    if (out) out << "> " << entry.statement << "\n" << outcome;
  }
}

// With TAMLO_EMITTED_RANDOM, a file takes what comes of 10,000 statements: two versions of the translator are compared by two such files.
TEST_F(JetEmitted, StatementsAtRandomAreTakenOrRefusedByAnErrorOfTheirOwn) {
  const char* path = std::getenv("TAMLO_EMITTED_RANDOM");
  std::ofstream out(path == nullptr ? "" : path);
  StatementMaker maker(1);
  int taken = 0;
  const int count = path == nullptr ? 1000 : 10000;
  for (int i = 0; i < count; ++i) {
    const std::string statement = maker.Next();
    const std::string outcome = OutcomeOf(statement);
    if (outcome.find("error ") == std::string::npos) ++taken;
    if (out) out << "> " << statement << "\n" << outcome;
  }
  EXPECT_GT(taken * 4, count);
}

}  // namespace
