// The lock file seen through a window: what others write there is seen at once, and whoever cuts it short ends nobody.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "jet/file/FileSystem.h"
#include "jet/file/Sharing.h"
#include "tests/jet/storage/JetTestSupport.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace jet::tests {
namespace {

class Window : public testing::Test {
 protected:
  void SetUp() override { Database::Create(path)->CreateTable(PeopleTable()); }
  [[nodiscard]] std::unique_ptr<Database> Shared() const {
    OpenOptions options;
    options.mode = OpenMode::kShared;
    return Database::Open(path, options);
  }
  [[nodiscard]] bool HasWindows() const {
    const auto file = FileSystem::Real().Open(path, FileMode::kRead);
    return file->OpenWindow(4096) != nullptr;
  }

  const tamlo::tests::TemporaryFolder folder;
  const std::string path = folder.File("base.mdb");
  const std::string lockPath = Sharing::LockPath(path);
};

TEST_F(Window, ShowsWhatOthersWriteAndZerosOnceTheFileIsCut) {
  const std::string name = folder.File("file");
  const auto writer = FileSystem::Real().Open(name, FileMode::kCreateNew);
  const std::vector<std::byte> ones(16, std::byte{1});
  writer->Write(0, ones);
  const auto reader = FileSystem::Real().Open(name, FileMode::kRead);
  const auto window = reader->OpenWindow(4096);
  if (window == nullptr) GTEST_SKIP() << "the folder of temporary files lies where no windows are";
  EXPECT_EQ(window->Number(8), 0x0101010101010101u);
  EXPECT_EQ(window->Number(16), 0u);
  writer->Write(4088, std::vector<std::byte>(8, std::byte{2}));
  EXPECT_EQ(window->Number(4088), 0x0202020202020202u);
  writer->Truncate(0);
  EXPECT_EQ(window->Number(8), 0u);
  EXPECT_EQ(window->Number(4088), 0u);
  // Another one beside it goes on.
  writer->Write(0, ones);
  const auto second = reader->OpenWindow(4096);
  EXPECT_EQ(second->Number(8), 0x0101010101010101u);
}

TEST_F(Window, AFaultThatIsNoneOfTheirsEndsTheProgramAsEver) {
  EXPECT_EXIT(
      {
        const auto first = Shared();
        const auto second = Shared();
        std::raise(SIGBUS);
      },
      [](int status) { return !(WIFEXITED(status) && WEXITSTATUS(status) == 0); }, "");
}

TEST_F(Window, ALockFileCutShortUnderItsUsersEndsNobody) {
  const auto reader = Shared();
  const auto writer = Shared();
  std::uint64_t version = reader->PagesVersion();
  EXPECT_TRUE(reader->NothingSince(version));
  writer->OpenTable("People").Insert(Person("Ada"));
  EXPECT_EQ(reader->OpenTable("People").RowCount(), 1u);
  version = reader->PagesVersion();
  EXPECT_TRUE(reader->NothingSince(version));

  std::filesystem::resize_file(lockPath, 0);
  EXPECT_FALSE(reader->NothingSince(version));
  EXPECT_EQ(Rows(reader->OpenTable("People")).size(), 1u);
  for (std::size_t i = 2; i < 5; ++i) {
    version = reader->PagesVersion();
    EXPECT_TRUE(reader->NothingSince(version));
    writer->OpenTable("People").Insert(Person("Bob"));
    EXPECT_FALSE(reader->NothingSince(version)) << "commits are counted on";
    EXPECT_EQ(Rows(reader->OpenTable("People")).size(), i);
  }
}

TEST_F(Window, ThoseWhoseEntriesLieBehindItAreSeen) {
  std::vector<std::unique_ptr<Database>> users;
  for (int i = 0; i < 70; ++i) users.push_back(Shared());
  if (!HasWindows()) GTEST_SKIP() << "the folder of temporary files lies where no windows are";
  std::size_t rows = 0;
  for (const auto& [writer, reader] : {std::pair{69, 0}, {0, 69}, {68, 69}, {63, 1}, {1, 2}}) {
    const std::uint64_t version = users[reader]->PagesVersion();
    EXPECT_TRUE(users[reader]->NothingSince(version));
    users[writer]->OpenTable("People").Insert(Person("Ada"));
    EXPECT_FALSE(users[reader]->NothingSince(version)) << writer << " writes, " << reader << " looks";
    EXPECT_EQ(Rows(users[reader]->OpenTable("People")).size(), ++rows);
  }
}

}  // namespace
}  // namespace jet::tests
