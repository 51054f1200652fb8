#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <vector>

#include "jet/value/Error.h"
#include "jet/file/FileSystem.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace jet {
namespace {

std::span<const std::byte> BytesOf(std::string_view text) { return std::as_bytes(std::span(text.data(), text.size())); }

std::string ReadAll(File& file) {
  std::string text(static_cast<std::size_t>(file.Size()), '\0');
  EXPECT_EQ(file.Read(0, std::as_writable_bytes(std::span(text.data(), text.size()))), text.size());
  return text;
}

template <typename Call>
ErrorCode CodeOf(Call&& call) {
  try {
    call();
  } catch (const Error& error) {
    EXPECT_STRNE(error.what(), "");
    return error.Code();
  }
  ADD_FAILURE() << "no error was raised";
  return ErrorCode::kLimit;
}

class RealFiles : public testing::Test {
 protected:
  [[nodiscard]] std::string Path(const std::string& name = "Volumes élu.mdb") const {
    const std::u8string path = (folder_.Path() / std::filesystem::path(std::u8string(name.begin(), name.end()))).u8string();
    return {path.begin(), path.end()};
  }
  std::unique_ptr<File> Open(FileMode mode = FileMode::kOpenOrCreate) { return files_.Open(Path(), mode); }

  tamlo::tests::TemporaryFolder folder_;
  FileSystem& files_ = FileSystem::Real();
};

TEST_F(RealFiles, WhatIsWrittenIsReadBackByAnother) {
  const auto file = Open();
  file->Write(0, BytesOf("abc"));
  file->Write(5, BytesOf("z"));
  file->Sync();
  EXPECT_EQ(ReadAll(*Open(FileMode::kRead)), std::string("abc\0\0z", 6));
  EXPECT_EQ(file->Size(), 6U);
}

TEST_F(RealFiles, ReadingPastTheEndGivesWhatIsThere) {
  const auto file = Open();
  file->Write(0, BytesOf("abc"));
  std::array<std::byte, 8> buffer{};
  EXPECT_EQ(file->Read(1, buffer), 2U);
  EXPECT_EQ(file->Read(3, buffer), 0U);
  EXPECT_EQ(file->Read(100, buffer), 0U);
}

TEST_F(RealFiles, TruncateCutsAndGrowsWithZeros) {
  const auto file = Open();
  file->Write(0, BytesOf("abcdef"));
  file->Truncate(2);
  file->Truncate(4);
  EXPECT_EQ(ReadAll(*file), std::string("ab\0\0", 4));
}

TEST_F(RealFiles, ModesSayWhetherTheFileMustBeThere) {
  EXPECT_EQ(CodeOf([&] { static_cast<void>(Open(FileMode::kRead)); }), ErrorCode::kNotFound);
  EXPECT_EQ(CodeOf([&] { static_cast<void>(Open(FileMode::kReadWrite)); }), ErrorCode::kNotFound);
  EXPECT_EQ(CodeOf([&] { static_cast<void>(files_.Open(Path("no/such/folder"), FileMode::kOpenOrCreate)); }), ErrorCode::kNotFound);
  EXPECT_FALSE(files_.Exists(Path()));
  static_cast<void>(Open(FileMode::kCreateNew));
  EXPECT_TRUE(files_.Exists(Path()));
  EXPECT_EQ(CodeOf([&] { static_cast<void>(Open(FileMode::kCreateNew)); }), ErrorCode::kAlreadyExists);
  static_cast<void>(Open(FileMode::kReadWrite));
}

TEST_F(RealFiles, AFolderIsNoFile) {
  std::filesystem::create_directory(folder_.Path() / "sub");
  EXPECT_EQ(CodeOf([&] { static_cast<void>(files_.Open(Path("sub"), FileMode::kOpenOrCreate)); }), ErrorCode::kIo);
}

TEST_F(RealFiles, WritingAFileOpenedForReadingIsRefused) {
  static_cast<void>(Open());
  const auto file = Open(FileMode::kRead);
  EXPECT_ANY_THROW(file->Write(0, BytesOf("x")));
  file->Sync();
}

TEST_F(RealFiles, RemovingWhatIsNotThereIsNoError) {
  files_.Remove(Path());
  static_cast<void>(Open());
  files_.Remove(Path());
  EXPECT_FALSE(files_.Exists(Path()));
  files_.SyncFolder(Path());
}

TEST_F(RealFiles, RenamingReplacesTheOther) {
  Open()->Write(0, BytesOf("new"));
  files_.Open(Path("other"), FileMode::kCreateNew)->Write(0, BytesOf("old and longer"));
  files_.Rename(Path(), Path("other"));
  EXPECT_FALSE(files_.Exists(Path()));
  EXPECT_EQ(ReadAll(*files_.Open(Path("other"), FileMode::kRead)), "new");
}

TEST_F(RealFiles, AnExclusiveLockKeepsEveryOtherOpenOut) {
  const auto mine = Open();
  const auto other = Open();
  EXPECT_TRUE(mine->TryLock(1000, 10, true));
  EXPECT_FALSE(other->TryLock(1005, 1, true));
  EXPECT_FALSE(other->TryLock(1005, 1, false));
  EXPECT_TRUE(other->TryLock(1010, 1, true));
  mine->Unlock(1000, 10);
  EXPECT_TRUE(other->TryLock(1005, 1, true));
}

TEST_F(RealFiles, SharedLocksStandTogether) {
  const auto mine = Open();
  const auto other = Open();
  EXPECT_TRUE(mine->TryLock(7, 1, false));
  EXPECT_TRUE(other->TryLock(7, 1, false));
  EXPECT_FALSE(mine->TryLock(7, 1, true));
  other->Unlock(7, 1);
  EXPECT_TRUE(mine->TryLock(7, 1, true));
  EXPECT_FALSE(other->TryLock(7, 1, false));
}

TEST_F(RealFiles, ARefusedExclusiveWishLeavesTheSharedLock) {
  const auto mine = Open();
  const auto other = Open();
  ASSERT_TRUE(mine->TryLock(7, 1, false));
  ASSERT_TRUE(other->TryLock(7, 1, false));
  ASSERT_FALSE(mine->TryLock(7, 1, true));
  other->Unlock(7, 1);
  EXPECT_FALSE(other->TryLock(7, 1, true));
  mine->Unlock(7, 1);
  EXPECT_TRUE(other->TryLock(7, 1, true));
}

TEST_F(RealFiles, ALockChangesItsKindBothWays) {
  const auto mine = Open();
  const auto other = Open();
  ASSERT_TRUE(mine->TryLock(7, 1, true));
  EXPECT_TRUE(mine->TryLock(7, 1, false));
  EXPECT_TRUE(other->TryLock(7, 1, false));
  mine->Unlock(7, 1);
  EXPECT_TRUE(other->TryLock(7, 1, true));
  EXPECT_FALSE(mine->TryLock(7, 1, false));
}

TEST_F(RealFiles, ALockGrowsAroundWhatIsHeld) {
  const auto mine = Open();
  const auto other = Open();
  ASSERT_TRUE(mine->TryLock(0x10000005, 1, true));
  ASSERT_TRUE(other->TryLock(0x10000009, 1, true));
  EXPECT_FALSE(mine->TryLock(0x10000001, 255, true));
  EXPECT_FALSE(other->TryLock(0x10000005, 1, true));
  EXPECT_TRUE(other->TryLock(0x10000001, 1, true));
  other->Unlock(0x10000001, 255);
  EXPECT_TRUE(mine->TryLock(0x10000001, 255, true));
  EXPECT_FALSE(other->TryLock(0x10000009, 1, false));
  mine->Unlock(0x10000001, 255);
  EXPECT_TRUE(other->TryLock(0x10000001, 255, true));
}

TEST_F(RealFiles, PartOfALockIsGivenBack) {
  const auto mine = Open();
  const auto other = Open();
  ASSERT_TRUE(mine->TryLock(100, 10, true));
  mine->Unlock(104, 2);
  EXPECT_TRUE(other->TryLock(104, 2, true));
  EXPECT_FALSE(other->TryLock(103, 1, true));
  EXPECT_FALSE(other->TryLock(106, 1, true));
}

TEST_F(RealFiles, LocksBeyondTheEndDoNotHinderReadingAndWriting) {
  const auto mine = Open();
  const auto other = Open();
  ASSERT_TRUE(mine->TryLock(0x20000000, 1, true));
  other->Write(0, BytesOf("abc"));
  EXPECT_EQ(ReadAll(*mine), "abc");
}

TEST_F(RealFiles, LocksGoWithTheOpenFile) {
  auto mine = Open();
  const auto other = Open();
  ASSERT_TRUE(mine->TryLock(7, 1, true));
  mine.reset();
  EXPECT_TRUE(other->TryLock(7, 1, true));
}

TEST_F(RealFiles, AFileKnowsWhetherItsNameStillLeadsToIt) {
  const auto file = Open();
  EXPECT_TRUE(file->IsStillNamed());
  files_.Rename(Path(), Path("elsewhere"));
  EXPECT_FALSE(file->IsStillNamed());
  static_cast<void>(Open(FileMode::kCreateNew));
  EXPECT_FALSE(file->IsStillNamed());
}

TEST_F(RealFiles, AnOpenFileCanBeRemoved) {
  const auto file = Open();
  files_.Remove(Path());
  EXPECT_FALSE(file->IsStillNamed());
}

}  // namespace
}  // namespace jet
