// The stored queries of a file of Access 97 beside the same queries on Jet 4: they must find their rows by the indexes of either.
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
#include <memory>

#include "tests/jet/sql/SessionFixture.h"
#include "tests/support_lib/SampleFiles.h"

using namespace jet;
using jet::sql::Parameter;
using jet::sql::Session;

namespace {

namespace fs = std::filesystem;

/// Times as much work as the sibling's query, at most; below kNothing both are as good as nothing.
constexpr std::uint64_t kMost = 5;
constexpr std::uint64_t kNothing = 20;

struct Work {
  std::uint64_t rowsMet = 0;
  std::uint64_t pagesRead = 0;
  std::size_t rowsGiven = 0;
  double milliseconds = 0;
  std::string refusal;
};

Value AnswerTo(const jet::sql::ParameterInfo& parameter) {
  if (parameter.type.type == ColumnType::kDate) return Value(Date{parameter.name.find("nd") != std::string::npos ? 36525.0 : 30000.0});
  return Value(std::int32_t{1});
}

/// In a file opened for it alone, with a cache for a third of it: pages that are read again and again count each time.
Work Measure(const std::string& path, const std::string& query) {
  OpenOptions options;
  options.mode = OpenMode::kReadOnly;
  options.cacheBytes = 512 << 10;
  const auto database = Database::Open(path, options);
  Session session(*database);
  Work work;
  try {
    std::vector<Parameter> values;
    for (const auto& parameter : session.ParametersOf("EXECUTE [" + query + "]")) values.push_back({parameter.name, AnswerTo(parameter)});
    const auto pages = database->Count().pagesRead;
    const auto begin = std::chrono::steady_clock::now();
    const auto rows = session.Open("EXECUTE [" + query + "]", values);
    while (rows->Next()) ++work.rowsGiven;
    work.milliseconds = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin).count();
    work.pagesRead = database->Count().pagesRead - pages;
    work.rowsMet = session.RowsMet();
  } catch (const Error& error) {
    work.refusal = error.what();
  }
  return work;
}

std::vector<std::string> QueriesOf(const std::string& path) {
  std::vector<std::string> names;
  const auto database = Database::Open(path, {.mode = OpenMode::kReadOnly});
  for (const CatalogObject& object : database->Objects()) {
    if (object.kind == ObjectKind::kQuery && object.name.front() != '~') names.push_back(object.name);
  }
  return names;
}

/// Compares each query that both have and that gives rows; tells how many.
int Compare(const std::string& older, const std::string& newer, bool sameRows) {
  const std::vector<std::string> there = QueriesOf(newer);
  int compared = 0;
  for (const std::string& name : QueriesOf(older)) {
    if (std::find(there.begin(), there.end(), name) == there.end()) continue;
    SCOPED_TRACE(name);
    const Work old = Measure(older, name);
    const Work now = Measure(newer, name);
    if (!old.refusal.empty() || !now.refusal.empty()) {
      // The newer file lacks a query that three of its queries are made of.
      EXPECT_EQ(old.refusal, "");
      EXPECT_TRUE(!sameRows && now.refusal.find("no table or query \"Order Subtotals\"") != std::string::npos) << now.refusal;
      continue;
    }
    ++compared;
    std::printf("%-36s rows met %6llu and %6llu, pages %5llu and %5llu, %.1f ms and %.1f ms for %zu and %zu rows\n", name.c_str(),
                static_cast<unsigned long long>(old.rowsMet), static_cast<unsigned long long>(now.rowsMet),
                static_cast<unsigned long long>(old.pagesRead), static_cast<unsigned long long>(now.pagesRead), old.milliseconds,
                now.milliseconds, old.rowsGiven, now.rowsGiven);
    if (sameRows) {
      EXPECT_EQ(old.rowsGiven, now.rowsGiven);
    }
    EXPECT_LE(old.rowsMet, kMost * std::max(now.rowsMet, kNothing));
    EXPECT_LE(old.pagesRead, kMost * std::max(now.pagesRead, kNothing));
  }
  return compared;
}

TEST(JetSiblings, StoredQueriesOfAccess97WorkLikeThoseOfTheJet4File) {
  const fs::path older = tamlo::tests::SecondSampleFolder() / "d9-Nwind97.mdb";
  const fs::path newer = tamlo::tests::SecondSampleFolder() / "d2-Nwind2000.mdb";
  if (!fs::exists(older) || !fs::exists(newer)) GTEST_SKIP() << "JET_SAMPLES names no folder with the two files beside it";
  EXPECT_GE(Compare(older.string(), newer.string(), false), 4);
}

TEST(JetSiblings, StoredQueriesOfAccess97WorkLikeThoseOfItsOwnRowsOnJet4) {
  const fs::path older = tamlo::tests::SecondSampleFolder() / "d9-Nwind97.mdb";
  if (!fs::exists(older)) GTEST_SKIP() << "JET_SAMPLES names no folder with the file beside it";
  tamlo::tests::TemporaryFolder folder;
  const std::string newer = folder.File("same.mdb");
  Database::Open(older.string(), {.mode = OpenMode::kReadOnly})->Compact(newer);
  EXPECT_GE(Compare(older.string(), newer, true), 22);
}

}  // namespace
