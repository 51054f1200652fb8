// Every stored query of the real files: it opens, or it says what it needs that is not there.
#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>

#include "jet/Database.h"
#include "tests/jet/sql/SessionFixture.h"
#include "tests/support_lib/SampleFiles.h"

using namespace jet;
using jet::sql::Parameter;
using jet::sql::Session;

namespace {

namespace fs = std::filesystem;

// A value that a column or comparison of any type takes.
Value SomeValue(ColumnType type) {
  if (type == jet::sql::kNoType) return {};
  switch (type) {
    case ColumnType::kDate:
      return Value(Date{35000});
    case ColumnType::kText:
    case ColumnType::kMemo:
      return Value("1");
    default:
      return Value(std::int32_t{1});
  }
}

/// Empty when the query gives its rows, or stands ready to change what it is made for; else why not. A prompt is answered, a form's control is not.
std::string Refusal(Session& session, const std::string& name) {
  try {
    std::vector<Parameter> values;
    for (const auto& parameter : session.ParametersOf("EXECUTE [" + name + "]")) {
      if (parameter.name.rfind("Forms!", 0) == 0 || parameter.name.rfind("Reports!", 0) == 0) continue;
      values.push_back({parameter.name, SomeValue(parameter.type.type)});
    }
    const auto text = session.StoredQueryText(name);
    const auto query = session.Open("EXECUTE [" + name + "]", values);
    while (query->Next()) {
    }
  } catch (const Error& error) {
    return error.what();
  }
  return {};
}

// What a refusal may come from; nothing: the statement should have been understood.
std::string Reason(const std::string& refusal) {
  constexpr std::pair<const char*, const char*> kReasons[] = {
      {"is a control of a form of Access", "form"},      {"the link \"", "absent link"},
      {"no table or query \"", "absent table or query"}, {"unknown function ", "module"},
      {"handed to a server as it stands", "server"},
  };
  for (const auto& [text, reason] : kReasons) {
    if (refusal.find(text) != std::string::npos) return reason;
  }
  return {};
}

TEST(JetStoredQueryCensus, WhatNeedsNoFormModuleOrAbsentSourceOpens) {
  if (tamlo::tests::AllSampleFiles().empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with Access files";
  int all = 0;
  int opened = 0;
  std::map<std::string, int> reasons;
  for (const fs::path& file : tamlo::tests::AllSampleFiles()) {
    std::unique_ptr<Database> database;
    try {
      database = Database::Open(file.string(), {.mode = OpenMode::kReadOnly});
    } catch (const Error& error) {
      const bool said = error.Code() == ErrorCode::kNotAnAccessFile || error.Code() == ErrorCode::kPasswordProtected ||
                        error.Code() == ErrorCode::kUnsupported;
      EXPECT_TRUE(said) << file << ": " << error.what();
      continue;
    }
    Session session(*database);
    for (const CatalogObject& object : database->Objects()) {
      if (object.kind != ObjectKind::kQuery) continue;
      ++all;
      const std::string refusal = Refusal(session, object.name);
      if (refusal.empty()) {
        ++opened;
        continue;
      }
      const std::string reason = Reason(refusal);
      EXPECT_NE(reason, "") << file << ", " << object.name << ": " << refusal;
      ++reasons[reason];
      std::cout << file.filename().string() << ", " << object.name << ": " << reason << ": " << refusal << "\n";
    }
  }
  std::cout << opened << " of " << all << " stored queries open";
  for (const auto& [reason, count] : reasons) std::cout << ", " << count << " want: " << reason;
  std::cout << "\n";
  EXPECT_GE(all, 80);  // else the files are not those that were looked for
  EXPECT_GE(opened * 100, all * 80);
}

}  // namespace
