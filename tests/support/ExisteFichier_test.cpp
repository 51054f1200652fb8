#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "support/Support.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::support {
namespace {

class ExisteFichierTest : public testing::Test {
 protected:
  void Make(const std::string& name) {
    const std::filesystem::path path = folder_.Path() / std::filesystem::path(std::u8string(name.begin(), name.end()));
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << "x";
  }
  [[nodiscard]] std::string At(const std::string& name) const { return folder_.Path().string() + "/" + name; }

  tests::TemporaryFolder folder_;
};

TEST_F(ExisteFichierTest, AFileThatIsThere) {
  Make("ORA.PRM");
  EXPECT_TRUE(ExisteFichier(At("ORA.PRM")));
  EXPECT_FALSE(ExisteFichier(At("ORA_X.PRM")));
}

TEST_F(ExisteFichierTest, BothSeparatorsAreUnderstood) {
  Make("sub/ORA.PRM");
  EXPECT_TRUE(ExisteFichier(At("sub\\ORA.PRM")));
  EXPECT_TRUE(ExisteFichier(At("sub/ORA.PRM")));
}

TEST_F(ExisteFichierTest, TheEmptyPathIsFalse) { EXPECT_FALSE(ExisteFichier("")); }

TEST_F(ExisteFichierTest, AFolderThatEndsInASeparatorIsFalseEvenWhenItExists) {
  Make("sub/file");
  EXPECT_FALSE(ExisteFichier(At("sub\\")));
  EXPECT_FALSE(ExisteFichier(At("sub/")));
  EXPECT_FALSE(ExisteFichier(At("sub")));
}

TEST_F(ExisteFichierTest, WildcardsAreTrueWhenAnyNormalFileMatches) {
  Make("été1.txt");
  for (const char* pattern : {"*", "*.*", "*.txt", "été?.txt", "?t?1.*", "*1*", "été1.txt*", "**"}) {
    EXPECT_TRUE(ExisteFichier(At(pattern))) << pattern;
  }
  for (const char* pattern : {"*.prm", "?.txt", "été1?.txt", "????.txt?", "x*"}) {
    EXPECT_FALSE(ExisteFichier(At(pattern))) << pattern;
  }
}

TEST_F(ExisteFichierTest, AWildcardDoesNotMatchFolders) {
  std::filesystem::create_directory(folder_.Path() / "only");
  EXPECT_FALSE(ExisteFichier(At("*")));
  Make("file");
  EXPECT_TRUE(ExisteFichier(At("*")));
}

TEST_F(ExisteFichierTest, WildcardsStandOnlyInTheLastComponent) {
  Make("sub/file");
  EXPECT_FALSE(ExisteFichier(At("s*/file")));
}

TEST_F(ExisteFichierTest, ErrorsOfTheFileSystemAreFalse) {
  EXPECT_FALSE(ExisteFichier(At("no/such/folder/*")));
  EXPECT_FALSE(ExisteFichier(At("no/such/folder/file")));
  Make("file");
  EXPECT_FALSE(ExisteFichier(At("file/*")));
  EXPECT_FALSE(ExisteFichier(At("file/below")));
  EXPECT_FALSE(ExisteFichier(At(std::string(5000, 'a'))));
  EXPECT_FALSE(ExisteFichier(At(std::string("file\0", 5))));
  EXPECT_FALSE(ExisteFichier(At("\xFF\xFE")));
}

TEST_F(ExisteFichierTest, ARelativePathIsLookedUpInTheCurrentFolder) {
  Make("here.txt");
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder_.Path());
  const bool plain = ExisteFichier("here.txt");
  const bool wild = ExisteFichier("*.txt");
  std::filesystem::current_path(before);
  EXPECT_TRUE(plain);
  EXPECT_TRUE(wild);
}

#ifndef _WIN32
TEST_F(ExisteFichierTest, HiddenFilesAreNoNormalFiles) {
  Make(".hidden");
  EXPECT_FALSE(ExisteFichier(At(".hidden")));
  EXPECT_FALSE(ExisteFichier(At("*")));
}
#endif

}  // namespace
}  // namespace tamlo::support
