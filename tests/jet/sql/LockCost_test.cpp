// How often a file's locks are taken: each time costs several calls of the system, more than reading a cached page.

#include <gtest/gtest.h>

#include "jet/file/MemoryFileSystem.h"
#include "jet/sql/Session.h"

namespace {

/// Counts how often somebody looks for a journal left behind, which is once for each stretch of reading.
class CountingFiles final : public jet::FileSystem {
 public:
  std::unique_ptr<jet::File> Open(const std::string& path, jet::FileMode mode) override { return files_.Open(path, mode); }
  bool Exists(const std::string& path) override {
    ++stretches;
    return files_.Exists(path);
  }
  void Remove(const std::string& path) override { files_.Remove(path); }
  void Rename(const std::string& from, const std::string& to) override { files_.Rename(from, to); }
  void SyncFolder(const std::string& pathOfFile) override { files_.SyncFolder(pathOfFile); }

  int stretches = 0;

 private:
  jet::MemoryFileSystem files_;
};

/// CLIENTS(ID), alone in a file of its own, which is then opened to be shared.
jet::OpenOptions SharedClients(CountingFiles& files) {
  jet::OpenOptions options;
  options.fileSystem = &files;
  jet::TableSpec clients;
  clients.name = "CLIENTS";
  clients.columns.resize(1);
  clients.columns[0].name = "ID";
  clients.columns[0].type = jet::ColumnType::kLong;
  jet::Database::Create("test.mdb", options)->CreateTable(clients);
  options.mode = jet::OpenMode::kShared;
  return options;
}

TEST(LockCost, FindingATableReadsTheFileInOneStretch) {
  CountingFiles files;
  const jet::OpenOptions options = SharedClients(files);
  const auto database = jet::Database::Open("test.mdb", options);
  jet::sql::Session session(*database, {});
  files.stretches = 0;
  ASSERT_NE(session.FindTable("clients"), nullptr);
  EXPECT_EQ(files.stretches, 1);
  ASSERT_NE(session.FindTable("clients"), nullptr);
  EXPECT_EQ(files.stretches, 2) << "what another process has defined anew meanwhile must be seen";
}

/// What others commit between two stretches has the list of objects read again: whoever looks at one of them must not leave it in between.
TEST(LockCost, WhetherATableIsStillTheSameIsAskedInOneStretch) {
  CountingFiles files;
  const jet::OpenOptions options = SharedClients(files);
  const auto database = jet::Database::Open("test.mdb", options);
  const auto other = jet::Database::Open("test.mdb", options);
  jet::sql::Session session(*database, {});
  jet::sql::Session others(*other, {});
  session.Execute("CREATE VIEW V AS SELECT ID FROM CLIENTS");
  const auto table = session.FindTable("CLIENTS");
  ASSERT_NE(table, nullptr);
  others.Execute("INSERT INTO CLIENTS VALUES (1)");
  files.stretches = 0;
  jet::sql::RequireCurrent(*table);
  EXPECT_EQ(files.stretches, 1);
  others.Execute("CREATE TABLE AUTRE (ID LONG)");
  files.stretches = 0;
  jet::sql::RequireCurrent(*table);
  EXPECT_EQ(files.stretches, 1);
}

}  // namespace
