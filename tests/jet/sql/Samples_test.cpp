#include <filesystem>
#include <map>

#include "jet/table/Table.h"
#include "tests/jet/sql/SessionFixture.h"
#include "tests/support_lib/SampleFiles.h"

using namespace jet;
using jet::sql::Session;

namespace {

namespace fs = std::filesystem;

/// The .mdb files but those that ask for a password or are encoded.
std::vector<fs::path> Samples() {
  std::vector<fs::path> files = tamlo::tests::AllSampleFiles();
  std::erase_if(files, [](const fs::path& file) {
    const std::string name = file.filename().string();
    return name.find("password") != std::string::npos || name.find("encoded") != std::string::npos;
  });
  return files;
}

#define NEED_SAMPLES() \
  if (Samples().empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with Access files"

TEST(JetSqlSamples, EveryTableGivesAllItsRowsByScanAndByQuery) {
  NEED_SAMPLES();
  for (const fs::path& file : Samples()) {
    SCOPED_TRACE(file.string());
    const auto database = Database::Open(file.string(), {.mode = OpenMode::kReadOnly});
    Session session(*database);
    for (const CatalogObject& object : database->Objects()) {
      if (object.kind != ObjectKind::kTable) continue;
      SCOPED_TRACE(object.name);
      const auto rowCount = database->OpenTable(object.name).RowCount();
      const auto scan = session.Open("SELECT * FROM [" + object.name + "]");
      const auto query = session.Open("SELECT * FROM [" + object.name + "] WHERE 1=1");
      ASSERT_TRUE(scan->Plan().plainScan);
      ASSERT_FALSE(query->Plan().plainScan);
      std::map<std::string, int> rows;
      const auto row = [&](jet::sql::Query& source) {
        std::string text;
        for (std::size_t i = 0; i < source.Columns().size(); ++i) text += source.Get(i).Describe() + "|";
        return text;
      };
      std::uint32_t scanned = 0;
      for (; scan->Next(); ++scanned) ++rows[row(*scan)];
      EXPECT_EQ(scanned, rowCount);
      while (query->Next()) --rows[row(*query)];
      for (const auto& [text, count] : rows) EXPECT_EQ(count, 0) << text;
    }
  }
}

TEST(JetSqlSamples, EqualityOnEveryIndexFindsTheRow) {
  NEED_SAMPLES();
  for (const fs::path& file : Samples()) {
    SCOPED_TRACE(file.string());
    const auto database = Database::Open(file.string(), {.mode = OpenMode::kReadOnly});
    Session session(*database);
    for (const CatalogObject& object : database->Objects()) {
      if (object.kind != ObjectKind::kTable) continue;
      Table& table = database->OpenTable(object.name);
      for (const IndexDef& index : table.Indexes()) {
        const ColumnDef& column = table.Columns()[index.columns[0].column];
        const bool text = column.type == ColumnType::kText;
        if (!text && column.type != ColumnType::kLong) continue;
        const std::string key = "[" + column.name + "]";
        const auto rows = session.Open("SELECT " + key + " FROM [" + object.name + "]");
        for (int i = 0; i < 100 && rows->Next(); ++i) {
          const Value value = rows->Get(0);
          if (value.IsNull()) continue;
          std::string literal = text ? "'" : std::to_string(value.AsLong());
          if (text) {
            for (const char c : value.AsText()) literal += c == '\'' ? "''" : std::string(1, c);
            literal += "'";
          }
          const auto found = session.Open("SELECT Count(*) FROM [" + object.name + "] WHERE " + key + " = " + literal);
          // The same without any index: an expression is never looked up.
          const auto walked =
              session.Open("SELECT Count(*) FROM [" + object.name + "] WHERE " + (text ? key + " & ''" : key + " + 0") + " = " + literal);
          ASSERT_TRUE(found->Next() && walked->Next());
          EXPECT_GE(found->Get(0).AsLong(), 1) << object.name << "." << column.name << " = " << literal;
          EXPECT_EQ(found->Get(0), walked->Get(0)) << object.name << "." << column.name << " = " << literal;
        }
      }
    }
  }
}

TEST(JetSqlSamples, SearchesInFilesOfAccess97ReadTheIndexAndNotTheTable) {
  NEED_SAMPLES();
  for (const fs::path& file : Samples()) {
    if (file.filename() != "d9-Nwind97.mdb") continue;
    const auto pagesFor = [&](const std::string& statement, std::size_t expected) {
      const auto database = Database::Open(file.string(), {.mode = OpenMode::kReadOnly});
      Session session(*database);
      (void)session.Open("SELECT * FROM Orders WHERE 1=0")->Next();
      const auto before = database->Count().pagesRead;
      const auto query = session.Open(statement);
      std::size_t rows = 0;
      while (query->Next()) ++rows;
      EXPECT_EQ(rows, expected) << statement;
      return database->Count().pagesRead - before;
    };
    const auto whole = pagesFor("SELECT * FROM Orders WHERE OrderID + 0 = 10300", 1);
    EXPECT_LE(pagesFor("SELECT * FROM Orders WHERE OrderID = 10300", 1), 4u);
    EXPECT_LE(pagesFor("SELECT OrderID FROM Orders WHERE OrderID BETWEEN 10300 AND 10302 ORDER BY OrderID", 3), 8u);
    EXPECT_GT(whole, 40u);
    return;
  }
  GTEST_SKIP() << "there is no d9-Nwind97.mdb beside the samples";
}

TEST(JetSqlSamples, StoredQueriesGiveRowsOrSayWhyNot) {
  NEED_SAMPLES();
  int answered = 0;
  for (const fs::path& file : Samples()) {
    SCOPED_TRACE(file.string());
    const auto database = Database::Open(file.string(), {.mode = OpenMode::kReadOnly});
    Session session(*database);
    for (const CatalogObject& object : database->Objects()) {
      if (object.kind != ObjectKind::kQuery) continue;
      SCOPED_TRACE(object.name);
      try {
        const auto query = session.Open("SELECT * FROM [" + object.name + "]");
        while (query->Next()) {
        }
        ++answered;
      } catch (const Error& error) {
        const bool said =
            error.Code() == ErrorCode::kUnsupported || error.Code() == ErrorCode::kLinkUnreachable || error.Code() == ErrorCode::kNotFound;
        EXPECT_TRUE(said) << error.what();
        RecordProperty(object.name, error.what());
      }
    }
  }
  RecordProperty("answered", answered);
}

TEST(JetSqlSamples, StatementsChangeACopyAndLeaveItSound) {
  NEED_SAMPLES();
  tamlo::tests::TemporaryFolder folder;
  for (const fs::path& file : Samples()) {
    SCOPED_TRACE(file.string());
    const std::string copy = folder.File(file.filename().string());
    fs::copy_file(file, copy);
    fs::permissions(copy, fs::perms::owner_read | fs::perms::owner_write);
    const auto database = Database::Open(copy);
    if (database->ReadOnly()) {
      EXPECT_EQ(database->FormatVersion(), 3);
      continue;
    }
    Session session(*database);
    session.Execute("CREATE TABLE [Essai/ß é] (Id COUNTER CONSTRAINT PK PRIMARY KEY, T TEXT(40), M MEMO)");
    for (int i = 0; i < 50; ++i)
      session.Execute("INSERT INTO [Essai/ß é] (T, M) VALUES ('ligne " + std::to_string(i) + "', '" +
                      std::string(static_cast<std::size_t>(i) * 100, 'm') + "')");
    session.Execute("CREATE INDEX ParTexte ON [Essai/ß é] (T DESC)");
    EXPECT_EQ(session.Execute("UPDATE [Essai/ß é] SET T = T & '!' WHERE Id MOD 2 = 0"), 25);
    EXPECT_EQ(session.Execute("DELETE * FROM [Essai/ß é] WHERE Id <= 10"), 10);
    session.Execute("ALTER TABLE [Essai/ß é] ADD COLUMN N LONG");
    EXPECT_EQ(session.Execute("UPDATE [Essai/ß é] SET N = Len(M)"), 40);
    EXPECT_EQ(session.Execute("SELECT T, N INTO Essai2 FROM [Essai/ß é] WHERE N > 2000"), 29);
    session.Execute("ALTER TABLE [Essai/ß é] DROP COLUMN M");
    session.Execute("DROP INDEX ParTexte ON [Essai/ß é]");
    session.Execute("DROP TABLE Essai2");
    for (const Finding& finding : database->Check())
      ADD_FAILURE() << "page " << finding.page << " offset " << finding.offset << ": " << finding.text;
  }
}

}  // namespace
