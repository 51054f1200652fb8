// One file, one lock file, one journal, by whatever path it is opened; and what stands beside a database is nobody else's business.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>

#include "jet/Database.h"
#include "jet/value/Error.h"
#include "jet/table/Table.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace jet {
namespace {

namespace fs = std::filesystem;
using tamlo::tests::TemporaryFolder;

void MakeFile(const std::string& path) {
  const auto database = Database::Create(path);
  TableSpec spec;
  spec.name = "T";
  ColumnDef id;
  id.name = "Id";
  id.type = ColumnType::kLong;
  id.autoNumber = true;
  spec.columns = {id};
  database->CreateTable(spec);
}

void InsertRow(Database& database) {
  const std::vector<Value> row{Value()};
  database.OpenTable("T").Insert(std::span<const Value>(row));
}

/// The error of the call: its text, empty when there is none.
template <typename Call>
std::string ErrorOf(ErrorCode code, Call call) {
  try {
    call();
  } catch (const Error& error) {
    EXPECT_EQ(error.Code(), code) << error.what();
    return error.what();
  }
  return {};
}

int InAnotherProcess(const std::function<int()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    int status = 255;
    try {
      status = work();
    } catch (const std::exception& error) {
      std::cerr << "in the other process: " << error.what() << '\n';
    }
    _exit(status);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 254;
}

mode_t ModeOf(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
  return status.st_mode & 07777;
}

OpenOptions Impatient() {
  OpenOptions options;
  options.lockWaitMilliseconds = 50;
  return options;
}

TEST(NamesOfAFile, LinksAndDotsLeadToOneLockFileAndOneJournal) {
  TemporaryFolder folder;
  fs::create_directory(folder.File("a"));
  fs::create_directory(folder.File("b"));
  const std::string path = folder.File("a/base.mdb");
  MakeFile(path);
  fs::create_symlink("../a/base.mdb", folder.File("b/other.mdb"));
  fs::create_directory_symlink("a", folder.File("c"));
  const auto first = Database::Open(path);
  for (const std::string& other : {folder.File("b/other.mdb"), folder.File("c/base.mdb"), folder.File("b/.././a/base.mdb")}) {
    const auto second = Database::Open(other, Impatient());
    first->Begin();
    InsertRow(*first);
    EXPECT_NE(ErrorOf(ErrorCode::kInUse, [&] { InsertRow(*second); }), "") << other;
    first->Commit();
    InsertRow(*second);
    EXPECT_EQ(first->OpenTable("T").RowCount(), second->OpenTable("T").RowCount());
    EXPECT_FALSE(fs::exists(folder.File("b/other.ldb")));
  }
  EXPECT_EQ(first->OpenTable("T").RowCount(), 6u);
}

TEST(NamesOfAFile, AJournalIsFoundByEveryPath) {
  TemporaryFolder folder;
  const std::string path = folder.File("base.mdb");
  MakeFile(path);
  fs::create_directory(folder.File("b"));
  fs::create_symlink("../base.mdb", folder.File("b/link.mdb"));
  // A writer by the link dies in the middle of what does not fit its cache.
  const int status = InAnotherProcess([&] {
    OpenOptions small;
    small.cacheBytes = 0;
    const auto database = Database::Open(folder.File("b/link.mdb"), small);
    database->Begin();
    for (int i = 0; i < 60000; ++i) InsertRow(*database);
    _exit(fs::exists(folder.File("base.mdb-journal")) && !fs::exists(folder.File("b/link.mdb-journal")) ? 7 : 8);
    return 9;
  });
  EXPECT_EQ(status, 7);
  const auto database = Database::Open(path);
  EXPECT_EQ(database->OpenTable("T").RowCount(), 0u);
  for (const Finding& finding : database->Check()) ADD_FAILURE() << finding.text;
  EXPECT_FALSE(fs::exists(folder.File("base.mdb-journal")));
}

TEST(NamesOfAFile, AFileWithTwoNamesIsRefusedByBoth) {
  TemporaryFolder folder;
  const std::string path = folder.File("base.mdb");
  MakeFile(path);
  fs::create_hard_link(path, folder.File("twin.mdb"));
  for (const std::string& name : {path, folder.File("twin.mdb")})
    EXPECT_EQ(ErrorOf(ErrorCode::kUnsupported, [&] { (void)Database::Open(name); }),
              "\"" + name +
                  "\" has 2 names (hard links): programs that open it by different ones cannot see each other, nor undo what another one "
                  "left half written. Copy the file, or remove the other names");
  fs::remove(folder.File("twin.mdb"));
  EXPECT_NO_THROW((void)Database::Open(path));
}

TEST(NamesOfAFile, AFileRenamedWhileItIsOpenIsNotOpenedUnderTheNewName) {
  TemporaryFolder folder;
  const std::string path = folder.File("base.mdb");
  MakeFile(path);
  {
    const auto first = Database::Open(path);
    fs::rename(path, folder.File("new.mdb"));
    const std::string text = ErrorOf(ErrorCode::kInUse, [&] { (void)Database::Open(folder.File("new.mdb"), Impatient()); });
    EXPECT_NE(text.find("is opened under another name, whose users cannot be seen from here"), std::string::npos) << text;
    OpenOptions reading = Impatient();
    reading.mode = OpenMode::kReadOnly;
    EXPECT_NE(ErrorOf(ErrorCode::kInUse, [&] { (void)Database::Open(folder.File("new.mdb"), reading); }), "");
  }
  EXPECT_NO_THROW((void)Database::Open(folder.File("new.mdb")));
}

TEST(NamesOfAFile, ADatabaseIsNotItsOwnLockFile) {
  TemporaryFolder folder;
  MakeFile(folder.File("base.mdb"));
  for (const char* name : {"x.ldb", "y.LDB"}) {
    fs::copy_file(folder.File("base.mdb"), folder.File(name));
    const auto size = fs::file_size(folder.File(name));
    EXPECT_EQ(ErrorOf(ErrorCode::kUnsupported, [&] { (void)Database::Open(folder.File(name)); }),
              "A database cannot be called \"" + folder.File(name) + "\": that is the name of its own lock file");
    EXPECT_EQ(fs::file_size(folder.File(name)), size);
    EXPECT_NE(ErrorOf(ErrorCode::kUnsupported, [&] { (void)Database::Create(folder.File(std::string("new") + name)); }), "");
    EXPECT_NE(
        ErrorOf(ErrorCode::kUnsupported, [&] { Database::Open(folder.File("base.mdb"))->Compact(folder.File(std::string("c") + name)); }),
        "");
  }
}

TEST(BesideTheFile, WhatIsNoLockFileOrJournalIsLeftAlone) {
  TemporaryFolder folder;
  const std::string path = folder.File("base.mdb");
  MakeFile(path);
  for (const char* name : {"base.ldb", "base.mdb-journal"}) {
    const std::string beside = folder.File(name);
    std::ofstream(beside) << "somebody's letter";
    EXPECT_NE(ErrorOf(ErrorCode::kIo, [&] { (void)Database::Open(path); }).find("is none: move it away"), std::string::npos);
    std::string text;
    std::getline(std::ifstream(beside), text);
    EXPECT_EQ(text, "somebody's letter") << name;
    fs::remove(beside);
    ASSERT_EQ(mkfifo(beside.c_str(), 0600), 0);
    EXPECT_NE(ErrorOf(ErrorCode::kIo, [&] { (void)Database::Open(path); }).find("not a file"), std::string::npos) << name;
    fs::remove(beside);
    std::ofstream(folder.File("secret")) << "";
    fs::create_symlink("secret", beside);
    EXPECT_NE(ErrorOf(ErrorCode::kIo, [&] { (void)Database::Open(path); }).find("not a file but a link"), std::string::npos) << name;
    fs::remove(beside);
    fs::create_symlink("nowhere", beside);
    (void)ErrorOf(ErrorCode::kIo, [&] { InsertRow(*Database::Open(path)); });
    EXPECT_FALSE(fs::exists(folder.File("nowhere"))) << "made through a link";
    fs::remove(beside);
  }
  EXPECT_NO_THROW(InsertRow(*Database::Open(path)));
}

TEST(BesideTheFile, LockFileAndJournalTakeTheRightsOfTheDatabase) {
  for (const mode_t mode : {0600, 0640, 0660, 0666}) {
    TemporaryFolder folder;
    const std::string path = folder.File("base.mdb");
    MakeFile(path);
    ASSERT_EQ(chmod(path.c_str(), mode), 0);
    if (geteuid() == 0) {
      ASSERT_EQ(chown(path.c_str(), 65534, 65533), 0);
    }
    const mode_t before = umask(022);
    OpenOptions small;
    small.cacheBytes = 0;
    {
      const auto database = Database::Open(path, small);
      database->Begin();
      for (int i = 0; i < 60000; ++i) InsertRow(*database);
      for (const char* name : {"base.ldb", "base.mdb-journal"}) {
        EXPECT_EQ(ModeOf(folder.File(name)), mode) << name;
        struct stat status {};
        ASSERT_EQ(stat(folder.File(name).c_str(), &status), 0);
        if (geteuid() == 0) {
          EXPECT_EQ(status.st_uid, 65534u) << name;
          EXPECT_EQ(status.st_gid, 65533u) << name;
        }
      }
    }
    umask(before);
  }
}

/// Needs the administrator, who can become somebody else.
TEST(BesideTheFile, ASecondUserWritesToo) {
  if (geteuid() != 0) GTEST_SKIP() << "only the administrator can be two users";
  TemporaryFolder folder;
  ASSERT_EQ(chmod(folder.Path().c_str(), 0777), 0);
  const std::string path = folder.File("base.mdb");
  MakeFile(path);
  ASSERT_EQ(chmod(path.c_str(), 0666), 0);
  umask(022);
  const auto first = Database::Open(path);
  InsertRow(*first);
  const auto asAnother = [&](const std::function<int()>& work) {
    return InAnotherProcess([&] { return setgid(65534) != 0 || setuid(65534) != 0 ? 20 : work(); });
  };
  EXPECT_EQ(asAnother([&] {
              const auto database = Database::Open(path);
              if (database->ReadOnly()) return 10;
              InsertRow(*database);
              return 0;
            }),
            0);
  EXPECT_EQ(first->OpenTable("T").RowCount(), 2u);
  // A lock file that bars him is told, not taken for a file that can only be read.
  ASSERT_EQ(chmod(folder.File("base.ldb").c_str(), 0600), 0);
  EXPECT_EQ(asAnother([&] { return ErrorOf(ErrorCode::kIo, [&] { (void)Database::Open(path); }).empty() ? 11 : 0; }), 0);
}

}  // namespace
}  // namespace jet
