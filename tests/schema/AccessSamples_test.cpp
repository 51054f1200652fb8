// Every Access file at hand, made anew from its description and its rows.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>

#include "jet/table/Table.h"
#include "schema/MakeAccess.h"
#include "schema/ReadAccess.h"
#include "tests/schema/Told.h"
#include "tests/support_lib/SampleFiles.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {
namespace {

namespace fs = std::filesystem;

jet::OpenOptions ReadOnly() {
  jet::OpenOptions options;
  options.mode = jet::OpenMode::kReadOnly;
  return options;
}

std::vector<std::string> Printed(const std::string& line) {
  std::vector<std::string> lines;
  std::FILE* pipe = popen(line.c_str(), "r");
  std::array<char, 4096> piece{};
  while (std::fgets(piece.data(), piece.size(), pipe) != nullptr) {
    lines.emplace_back(piece.data());
    lines.back().pop_back();
  }
  EXPECT_EQ(pclose(pipe), 0) << line;
  return lines;
}

void CopyRows(jet::Database& from, jet::Database& to, const std::string& source, const std::string& target) {
  jet::Table& rows = from.OpenTable(source);
  jet::Table& copies = to.OpenTable(target);
  std::vector<jet::Value> values(rows.Columns().size());
  jet::Transaction whole(to);
  for (auto cursor = rows.Scan(); cursor.Next();) {
    for (std::size_t i = 0; i < values.size(); ++i) cursor.Current().Get(i, values[i]);
    copies.Insert(values);
  }
  whole.Commit();
}

/// Lines of the first that the second has not.
std::vector<std::string> Missing(const std::vector<std::string>& lines, const std::vector<std::string>& others) {
  std::vector<std::string> missing;
  for (const auto& line : lines)
    if (std::find(others.begin(), others.end(), line) == others.end()) missing.push_back(line);
  return missing;
}

class AccessSample : public testing::TestWithParam<fs::path> {};

TEST_P(AccessSample, ComesBackEqual) {
  std::unique_ptr<jet::Database> source;
  try {
    source = jet::Database::Open(GetParam().string(), ReadOnly());
  } catch (const jet::Error& error) {
    const std::set<jet::ErrorCode> locked = {jet::ErrorCode::kPasswordProtected, jet::ErrorCode::kNotAnAccessFile};
    EXPECT_TRUE(locked.contains(error.Code())) << error.what();
    return;
  }
  const auto described = schema::ReadAccess(*source);
  const auto plan = PlanAccess(described, schema::Expressions::kAccess);
  ASSERT_TRUE(plan.refusals.empty());
  EXPECT_TRUE(plan.renamings.empty());
  const TemporaryFolder folder;
  const std::string path = folder.File("new.mdb");
  {
    const auto file = jet::Database::Create(path);
    schema::AccessTarget target(*file, plan);
    target.MakeTables();
    for (std::size_t i = 0; i < described.tables.size(); ++i) CopyRows(*source, *file, described.tables[i].name, plan.there.tables[i].name);
    EXPECT_EQ(Told(target.Finish()), std::vector<std::string>());
    for (const auto& finding : file->Check()) ADD_FAILURE() << finding.text;
  }
  const auto file = jet::Database::Open(path, ReadOnly());
  const auto back = schema::ReadAccess(*file);
  EXPECT_EQ(Missing(Told(back), Told(plan.there)), std::vector<std::string>());
  EXPECT_EQ(Told(back), Told(plan.there));
  for (std::size_t i = 0; i < back.tables.size(); ++i) EXPECT_EQ(back.tables[i].rows, described.tables[i].rows) << back.tables[i].name;
  // What is not as it was is told, a finding for each.
  const auto changed = Missing(Told(described), Told(back));
  EXPECT_EQ(changed.size(), plan.findings.size()) << testing::PrintToString(changed) << testing::PrintToString(Told(plan.findings));
  // Another program finds the tables and their columns.
  std::vector<std::string> names;
  for (const auto& table : back.tables) names.push_back(table.name);
  auto listed = Printed("mdb-tables -1 '" + path + "'");
  for (const auto& link : back.links) std::erase(listed, link.name);
  std::sort(listed.begin(), listed.end());
  std::sort(names.begin(), names.end());
  EXPECT_EQ(listed, names);
  EXPECT_FALSE(names.empty() ? false : Printed("mdb-schema --no-comments '" + path + "'").empty());
}

INSTANTIATE_TEST_SUITE_P(Files, AccessSample, testing::ValuesIn(tamlo::tests::AllSampleFiles()), [](const auto& file) {
  std::string name = std::to_string(file.index) + "_" + file.param.stem().string();
  std::replace_if(
      name.begin(), name.end(), [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
  return name;
});
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(AccessSample);

TEST(AccessSamples, AreThere) {
  if (std::getenv("JET_SAMPLES") == nullptr) GTEST_SKIP() << "JET_SAMPLES names no folder with Access files";
  EXPECT_GE(tamlo::tests::AllSampleFiles().size(), 20u);
}

}  // namespace
}  // namespace tamlo::tests
