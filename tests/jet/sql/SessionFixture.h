#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace jet::sql::tests {

/// An empty database in a folder of its own, with a session on it. At the end of each test the file must be sound.
class SessionFixture : public testing::Test {
 protected:
  void SetUp() override {
    database = Database::Create(folder.File("base.mdb"));
    session = std::make_unique<Session>(*database);
  }
  void TearDown() override {
    if (database == nullptr) return;
    for (const Finding& finding : database->Check())
      ADD_FAILURE() << "page " << finding.page << " offset " << finding.offset << ": " << finding.text;
    session.reset();
    database.reset();
  }

  std::int64_t Run(const std::string& text) { return session->Execute(text); }

  static std::string TextOf(const Value& value) {
    switch (value.Type()) {
      case ValueType::kNull:
        return "NULL";
      case ValueType::kBool:
        return value.AsBool() ? "True" : "False";
      case ValueType::kByte:
        return std::to_string(value.AsByte());
      case ValueType::kInteger:
        return std::to_string(value.AsInteger());
      case ValueType::kLong:
        return std::to_string(value.AsLong());
      case ValueType::kCurrency:
        return std::to_string(value.AsCurrency().scaled) + "/10000";
      case ValueType::kText:
        return value.AsText();
      default:
        return value.Describe();
    }
  }
  /// Rows as "a|b" joined by "; ".
  std::string Rows(const std::string& text) {
    const auto query = session->Open(text);
    std::string out;
    for (bool first = true; query->Next(); first = false) {
      if (!first) out += "; ";
      for (std::size_t i = 0; i < query->Columns().size(); ++i) out += (i > 0 ? "|" : "") + TextOf(query->Get(i));
    }
    return out;
  }
  /// Code and text of the error that a statement raises.
  std::pair<ErrorCode, std::string> Refusal(const std::string& text) {
    try {
      if (text.rfind("SELECT", 0) == 0 && text.find(" INTO ") == std::string::npos)
        (void)Rows(text);
      else
        Run(text);
    } catch (const Error& error) {
      return {error.Code(), error.what()};
    }
    ADD_FAILURE() << text << " was taken";
    return {ErrorCode::kIo, ""};
  }

  tamlo::tests::TemporaryFolder folder;
  std::unique_ptr<Database> database;
  std::unique_ptr<Session> session;
};

}  // namespace jet::sql::tests
