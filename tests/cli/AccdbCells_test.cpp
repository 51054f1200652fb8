// Every cell of real .accdb files as `export` gives it, beside what mdb-export (mdbtools 1.0.0) gives.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <sstream>
#include <tuple>

#include "tests/cli/Command.h"
#include "tests/cli/Csv.h"
#include "tests/support_lib/SampleFiles.h"

namespace tamlo::tests {
namespace {

namespace fs = std::filesystem;

/// Where mdb-export does not know what stands in a column: how many cells it gives otherwise.
struct Known {
  const char* sample;
  const char* table;
  const char* column;
  std::size_t cells;
};

const Known kKnown[] = {
    // Big Integer: empty there
    {"bigint2016", "Table", "Numeric", 1},
    // calculated columns: nothing, zeros, or their wrapping read as a value
    {"calcFieldTestV2010", "Table1", "LastFirst", 4},
    {"calcFieldTestV2010", "Table1", "LastFirstLen", 4},
    {"calcFieldTestV2010", "Table1", "MonthlySalary", 4},
    {"calcFieldTestV2010", "Table1", "IsRich", 1},
    {"calcFieldTestV2010", "Table1", "AllNames", 4},
    {"calcFieldTestV2010", "Table1", "WeeklySalary", 3},
    {"calcFieldTestV2010", "Table1", "SalaryTest", 3},
    {"calcFieldTestV2010", "Table1", "BoolTest", 4},
    {"calcFieldTestV2010", "Table1", "DecimalTest", 4},
    {"calcFieldTestV2010", "Table1", "FloatTest", 4},
    {"calcFieldTestV2010", "Table1", "BigNumTest", 4},
    {"extDateTestV2019", "Table1", "DateNormalCalc", 9},
    // extended dates: empty there
    {"extDateTestV2019", "Table1", "DateExt", 8},
    // days long before 1900: 1900-01-00 there
    {"extDateTestV2019", "Table1", "DateNormal", 3},
    // characters beyond 16 bits: "??" there
    {"testEmoticonsV2010", "data", "data", 80},
    // types that no Access has, made by hand: empty there
    {"unsupportedFieldsTestV2007", "Test", "UnknownVar", 2},
    {"unsupportedFieldsTestV2007", "Test", "UnknownFix", 3},
};

/// The .accdb files that ask for no password, by their names.
std::map<std::string, std::string> Samples() {
  std::map<std::string, std::string> samples;
  for (const auto& file : AllSampleFiles({".accdb"}))
    if (!file.stem().string().starts_with("enc-")) samples[file.stem().string()] = file.string();
  return samples;
}

using Lines = std::vector<std::vector<Cell>>;
using Differences = std::map<std::tuple<std::string, std::string, std::string>, std::size_t>;

/// The rows in the order of their first column, behind the line of names.
Lines Sorted(const std::string& csv) {
  Lines lines = ReadCsv(csv);
  if (!lines.empty()) std::stable_sort(lines.begin() + 1, lines.end(), [](const auto& a, const auto& b) { return a.at(0) < b.at(0); });
  return lines;
}

class AccdbCells : public testing::Test {
 protected:
  void SetUp() override {
    if (Samples().empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with .accdb files";
    if (std::system("command -v mdb-export >/dev/null") != 0) GTEST_SKIP() << "mdb-export is not installed";
  }
  void LookAt(const std::string& sample, const std::string& file, const std::string& table) {
    const auto theirs = RunLine(folder_, "mdb-export -D %Y-%m-%d -T '%Y-%m-%d %H:%M:%S' -b hex " + Word(file) + " " + Word(table));
    const auto ours = TamloDb(folder_, {"export", file, "-t", table, "-F", "csv", "--binary", "hex"});
    ASSERT_EQ(ours.status, 0) << ours.err;
    const Lines there = Sorted(theirs.out), here = Sorted(ours.out);
    ASSERT_EQ(here.size(), there.size());
    ASSERT_FALSE(here.empty());
    EXPECT_EQ(here.front(), there.front());
    for (std::size_t i = 1; i < here.size(); ++i) {
      ASSERT_EQ(here[i].size(), there[i].size());
      for (std::size_t c = 0; c < here[i].size(); ++c) {
        ++cells_;
        // It writes nothing for an empty text and for a null alike.
        if (here[i][c].value_or("") == there[i][c].value_or("")) continue;
        const std::string column = here.front()[c].value_or("");
        ++different_[{sample, table, column}];
        examples_[column] = there[i][c].value_or("") + " there, " + here[i][c].value_or("") + " here";
      }
    }
  }

  TemporaryFolder folder_;
  std::size_t cells_ = 0;
  std::size_t tables_ = 0;
  Differences different_;
  std::map<std::string, std::string> examples_;
};

TEST_F(AccdbCells, AreThoseOfMdbExportButForWhatItDoesNotKnow) {
  for (const auto& [sample, file] : Samples()) {
    std::istringstream names(RunLine(folder_, "mdb-tables -1 " + Word(file)).out);
    for (std::string table; std::getline(names, table);) {
      if (table.empty()) continue;
      SCOPED_TRACE(sample + " " + table);
      ++tables_;
      LookAt(sample, file, table);
    }
  }
  for (const Known& known : kKnown) {
    const auto found = different_.extract({known.sample, known.table, known.column});
    EXPECT_EQ(found.empty() ? 0U : found.mapped(), known.cells) << known.sample << " " << known.table << " " << known.column;
  }
  for (const auto& [place, count] : different_)
    ADD_FAILURE() << std::get<0>(place) << " " << std::get<1>(place) << "." << std::get<2>(place) << ": " << count << " cells, such as "
                  << examples_[std::get<2>(place)];
  EXPECT_EQ(tables_, 20U);
  EXPECT_EQ(cells_, 1572U);
}

}  // namespace
}  // namespace tamlo::tests
