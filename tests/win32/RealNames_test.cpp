// Names, links, locks of others and files beside a file, as the real file systems have them: the same behaviour on both systems.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#endif

#include "jet/Database.h"
#include "jet/value/Error.h"
#include "jet/file/FileSystem.h"
#include "jet/table/Table.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace jet {
namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t kFar = std::uint64_t{1} << 44;
constexpr std::uint64_t kStretch = std::uint64_t{1} << 40;

fs::path AsPath(const std::string& utf8) { return {std::u8string(utf8.begin(), utf8.end())}; }
std::string AsText(const fs::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
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

#ifdef _WIN32
/// Runs a program of the system below Wine in a folder until the condition holds: it gives no handle to wait for.
template <typename Condition>
void RunBelow(const fs::path& folder, const wchar_t* program, const std::string& arguments, Condition done) {
  std::wstring command = L"x " + AsPath(arguments).wstring();
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (CreateProcessW(program, command.data(), nullptr, nullptr, FALSE, 0, nullptr, folder.c_str(), &startup, &process) == 0) return;
  if (process.hThread != nullptr) CloseHandle(process.hThread);
  if (process.hProcess != nullptr) CloseHandle(process.hProcess);
  for (int i = 0; i < 1000 && !done(); ++i) Sleep(5);
}
#endif

/// A link in a folder, both names of ASCII inside of it, to what is there. Wine makes no links, but it shows those of the system below it, whose
/// programs it can start; it cannot remove them either.
class Link {
 public:
  Link(const fs::path& folder, const std::string& target, const std::string& name) : folder_(folder), target_(target), name_(name) {
#ifdef _WIN32
    // Wine says that it has made one and has not.
    (void)CreateSymbolicLinkW((folder / name).c_str(), AsPath(target).c_str(), SYMBOLIC_LINK_FLAG_ALLOW_UNPRIVILEGED_CREATE);
    if (!fs::exists(folder / name)) RunBelow(folder, L"Z:\\bin\\ln", "-s " + target + " " + name, [&] { return IsThere(); });
#else
    fs::create_symlink(target, folder / name);
#endif
    made_ = IsThere();
  }
  ~Link() {
    if (!made_) return;
#ifdef _WIN32
    if (!fs::exists(folder_ / target_)) std::ofstream(folder_ / target_) << "";
    RunBelow(folder_, L"Z:\\bin\\rm", name_, [&] { return !IsThere(); });
#endif
  }
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;
  /// Why there is none; empty when there is.
  [[nodiscard]] std::string Refused() const { return made_ ? "" : "this user may make no links here"; }

 private:
  [[nodiscard]] bool IsThere() const { return fs::exists(folder_ / name_); }

  fs::path folder_;
  std::string target_;
  std::string name_;
  bool made_ = false;
};

#define NEED_LINK(link) \
  if (!(link).Refused().empty()) GTEST_SKIP() << (link).Refused()

class RealNames : public testing::Test {
 protected:
  [[nodiscard]] std::string Path(const std::string& name = "Base élu.mdb") const { return AsText(folder_.Path() / AsPath(name)); }
  std::unique_ptr<File> Open(const std::string& name = "Base élu.mdb", FileMode mode = FileMode::kOpenOrCreate) {
    return files_.Open(Path(name), mode);
  }
  void Write(const std::string& name, std::string_view text) const {
    std::ofstream(folder_.Path() / AsPath(name), std::ios::binary) << text;
  }
  [[nodiscard]] std::string Content(const std::string& name) const {
    std::ifstream in(folder_.Path() / AsPath(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  void MakeDatabase(const std::string& name) const {
    const auto database = Database::Create(Path(name));
    TableSpec spec;
    spec.name = "T";
    ColumnDef id;
    id.name = "Id";
    id.type = ColumnType::kLong;
    id.autoNumber = true;
    spec.columns = {id};
    database->CreateTable(spec);
  }
  static void InsertRow(Database& database) {
    const std::vector<Value> row{Value()};
    database.OpenTable("T").Insert(std::span<const Value>(row));
  }
  static OpenOptions Impatient() {
    OpenOptions options;
    options.lockWaitMilliseconds = 50;
    return options;
  }

  tamlo::tests::TemporaryFolder folder_;
  FileSystem& files_ = FileSystem::Real();
};

// ----- one path for a file

TEST_F(RealNames, EverySpellingOfAPathLeadsToOne) {
  fs::create_directories(folder_.Path() / "sub" / "deeper");
  Write("sub/Base élu.mdb", "x");
  const std::string real = files_.RealPath(Path("sub/Base élu.mdb"));
  for (const char* spelling : {"sub/./Base élu.mdb", "sub/../sub/Base élu.mdb", "sub/deeper/../Base élu.mdb", "sub//Base élu.mdb"})
    EXPECT_EQ(files_.RealPath(Path(spelling)), real) << spelling;
  EXPECT_EQ(files_.RealPath(real), real);
  EXPECT_EQ(AsText(AsPath(real).filename()), "Base élu.mdb");
  EXPECT_EQ(files_.Open(real, FileMode::kRead)->Identity(), Open("sub/Base élu.mdb")->Identity());
#ifdef _WIN32
  EXPECT_EQ(files_.RealPath(Path("SUB\\base ÉLU.MDB")), real) << "case is nothing here";
  EXPECT_EQ(real.rfind("\\\\?\\", 0), std::string::npos) << "names of devices are not for messages";
#endif
}

TEST_F(RealNames, ARelativePathIsTheSameFile) {
  Write("base.mdb", "x");
  const fs::path before = fs::current_path();
  fs::current_path(folder_.Path());
  const std::string relative = files_.RealPath("base.mdb");
  fs::current_path(before);
  EXPECT_EQ(relative, files_.RealPath(Path("base.mdb")));
}

TEST_F(RealNames, OfWhatIsNotThereThereIsNoPath) {
  EXPECT_NE(ErrorOf(ErrorCode::kNotFound, [&] { (void)files_.RealPath(Path("absent.mdb")); }), "");
  EXPECT_NE(ErrorOf(ErrorCode::kNotFound, [&] { (void)files_.RealPath(Path("absent/base.mdb")); }), "");
}

TEST_F(RealNames, ALinkLeadsToTheFile) {
  fs::create_directory(folder_.Path() / "sub");
  Write("sub/base.mdb", "x");
  const Link link(folder_.Path(), "sub/base.mdb", "link.mdb");
  NEED_LINK(link);
  EXPECT_EQ(files_.RealPath(Path("link.mdb")), files_.RealPath(Path("sub/base.mdb")));
}

TEST_F(RealNames, ADatabaseOpenedThroughALinkHasTheLockFileOfTheFile) {
  fs::create_directory(folder_.Path() / "sub");
  MakeDatabase("sub/base.mdb");
  const Link link(folder_.Path(), "sub/base.mdb", "link.mdb");
  NEED_LINK(link);
  const auto first = Database::Open(Path("sub/base.mdb"));
  const auto second = Database::Open(Path("link.mdb"), Impatient());
  EXPECT_FALSE(fs::exists(folder_.Path() / "link.ldb"));
  first->Begin();
  InsertRow(*first);
  EXPECT_NE(ErrorOf(ErrorCode::kInUse, [&] { InsertRow(*second); }), "") << "each is alone with its file";
  first->Commit();
  InsertRow(*second);
  EXPECT_EQ(first->OpenTable("T").RowCount(), 2U);
}

// ----- several names

TEST_F(RealNames, TheNamesOfAFileAreCounted) {
  auto file = Open();
  EXPECT_EQ(file->NameCount(), 1U);
  fs::create_hard_link(folder_.Path() / AsPath("Base élu.mdb"), folder_.Path() / "twin.mdb");
  EXPECT_EQ(file->NameCount(), 2U);
  EXPECT_EQ(Open("twin.mdb")->Identity(), file->Identity());
  EXPECT_NE(Open("other.mdb")->Identity(), file->Identity());
  // A name of an open file may live on, as another one, until the file is closed.
  files_.Remove(Path("twin.mdb"));
  file.reset();
  EXPECT_EQ(Open()->NameCount(), 1U);
}

TEST_F(RealNames, ADatabaseWithTwoNamesIsRefusedByBoth) {
  MakeDatabase("base.mdb");
  fs::create_hard_link(folder_.Path() / "base.mdb", folder_.Path() / "twin.mdb");
  for (const char* name : {"base.mdb", "twin.mdb"}) {
    EXPECT_EQ(ErrorOf(ErrorCode::kUnsupported, [&] { (void)Database::Open(Path(name)); }),
              "\"" + Path(name) +
                  "\" has 2 names (hard links): programs that open it by different ones cannot see each other, nor undo what another one "
                  "left half written. Copy the file, or remove the other names");
  }
  files_.Remove(Path("twin.mdb"));
  EXPECT_NO_THROW(InsertRow(*Database::Open(Path("base.mdb"))));
}

TEST_F(RealNames, ADatabaseRenamedWhileItIsOpenIsNotOpenedUnderTheNewName) {
  MakeDatabase("base.mdb");
  {
    const auto first = Database::Open(Path("base.mdb"));
    files_.Rename(Path("base.mdb"), Path("new.mdb"));
    const std::string text = ErrorOf(ErrorCode::kInUse, [&] { (void)Database::Open(Path("new.mdb"), Impatient()); });
    EXPECT_NE(text.find("is opened under another name, whose users cannot be seen from here"), std::string::npos) << text;
  }
  EXPECT_NO_THROW(InsertRow(*Database::Open(Path("new.mdb"))));
}

// ----- locks of others

TEST_F(RealNames, LocksOfAnotherAreSeenWhateverTheirKind) {
  const auto mine = Open();
  const auto other = Open();
  EXPECT_FALSE(mine->IsLocked(kFar, kStretch));
  for (const bool exclusive : {false, true}) {
    ASSERT_TRUE(other->TryLock(kFar + 1000, 1, exclusive));
    EXPECT_TRUE(mine->IsLocked(kFar, kStretch)) << exclusive;
    EXPECT_TRUE(mine->IsLocked(kFar + 1000, 1)) << exclusive;
    EXPECT_FALSE(mine->IsLocked(kFar, 1000)) << exclusive;
    EXPECT_FALSE(mine->IsLocked(kFar + 1001, kStretch - 1001)) << exclusive;
    other->Unlock(kFar + 1000, 1);
    EXPECT_FALSE(mine->IsLocked(kFar, kStretch)) << exclusive;
  }
}

TEST_F(RealNames, LookingForLocksLeavesNone) {
  const auto mine = Open();
  const auto other = Open();
  EXPECT_FALSE(mine->IsLocked(kFar, kStretch));
  EXPECT_TRUE(other->TryLock(kFar, kStretch, true));
  EXPECT_TRUE(mine->IsLocked(kFar, kStretch));
  other->Unlock(kFar, kStretch);
  EXPECT_TRUE(mine->TryLock(kFar, kStretch, true));
}

TEST_F(RealNames, OnesOwnLockIsNoneOfAnotherAndIsThereStillAfterLooking) {
  const auto mine = Open();
  const auto other = Open();
  for (const bool exclusive : {false, true}) {
    ASSERT_TRUE(mine->TryLock(kFar + 5, 10, exclusive));
    EXPECT_FALSE(mine->IsLocked(kFar, 100)) << exclusive;
    EXPECT_FALSE(mine->IsLocked(kFar + 5, 10)) << exclusive;
    EXPECT_FALSE(mine->IsLocked(kFar + 7, 2)) << exclusive;
    EXPECT_FALSE(other->TryLock(kFar + 5, 10, true)) << "looking has given it up";
    EXPECT_EQ(other->TryLock(kFar + 14, 1, false), !exclusive) << "looking has changed its kind";
    other->Unlock(kFar + 14, 1);
    ASSERT_TRUE(other->TryLock(kFar + 50, 1, false));
    EXPECT_TRUE(mine->IsLocked(kFar, 100)) << exclusive;
    other->Unlock(kFar + 50, 1);
    mine->Unlock(kFar + 5, 10);
  }
}

TEST_F(RealNames, ALockSharedWithAnotherIsSeen) {
  const auto mine = Open();
  const auto other = Open();
  ASSERT_TRUE(mine->TryLock(kFar, 1, false));
  ASSERT_TRUE(other->TryLock(kFar, 1, false));
  EXPECT_TRUE(mine->IsLocked(kFar, 1));
  other->Unlock(kFar, 1);
  EXPECT_FALSE(mine->IsLocked(kFar, 1));
  EXPECT_FALSE(other->TryLock(kFar, 1, true)) << "looking has given ours up";
}

// ----- files beside a file

TEST_F(RealNames, AFileBesideAnotherIsMadeOrFound) {
  const auto base = Open();
  EXPECT_NE(ErrorOf(ErrorCode::kNotFound, [&] { (void)files_.OpenBeside(Path("x.ldb"), FileMode::kReadWrite, *base); }), "");
  EXPECT_NE(ErrorOf(ErrorCode::kNotFound, [&] { (void)files_.OpenBeside(Path("x.ldb"), FileMode::kRead, *base); }), "");
  files_.OpenBeside(Path("x.ldb"), FileMode::kOpenOrCreate, *base)->Write(0, std::as_bytes(std::span("abc", 3)));
  EXPECT_EQ(Content("x.ldb"), "abc");
  EXPECT_EQ(files_.OpenBeside(Path("x.ldb"), FileMode::kOpenOrCreate, *base)->Size(), 3U);
  EXPECT_NE(ErrorOf(ErrorCode::kAlreadyExists, [&] { (void)files_.OpenBeside(Path("x.ldb"), FileMode::kCreateNew, *base); }), "");
  EXPECT_EQ(Content("x.ldb"), "abc");
  files_.OpenBeside(Path("y.ldb"), FileMode::kCreateNew, *base)->Write(0, std::as_bytes(std::span("y", 1)));
  EXPECT_EQ(Content("y.ldb"), "y");
}

TEST_F(RealNames, AFolderBesideIsNoFile) {
  const auto base = Open();
  fs::create_directory(folder_.Path() / "x.ldb");
  for (const FileMode mode : {FileMode::kRead, FileMode::kReadWrite, FileMode::kOpenOrCreate})
    EXPECT_NE(ErrorOf(ErrorCode::kIo, [&] { (void)files_.OpenBeside(Path("x.ldb"), mode, *base); }), "");
}

TEST_F(RealNames, ALinkBesideIsNeitherFollowedNorMade) {
  const auto base = Open();
  Write("secret", "untouched");
  const Link link(folder_.Path(), "secret", "x.ldb");
  NEED_LINK(link);
  for (const FileMode mode : {FileMode::kRead, FileMode::kReadWrite, FileMode::kOpenOrCreate})
    EXPECT_NE(ErrorOf(ErrorCode::kIo, [&] { (void)files_.OpenBeside(Path("x.ldb"), mode, *base); }).find("not a file"), std::string::npos);
  EXPECT_EQ(Content("secret"), "untouched");
  MakeDatabase("base.mdb");
  const Link second(folder_.Path(), "secret", "base.ldb");
  NEED_LINK(second);
  EXPECT_NE(ErrorOf(ErrorCode::kIo, [&] { (void)Database::Open(Path("base.mdb")); }).find("not a file"), std::string::npos);
  EXPECT_EQ(Content("secret"), "untouched");
}

TEST_F(RealNames, NothingIsMadeThroughALinkBeside) {
  const auto base = Open();
  Write("nowhere", "");
  const Link link(folder_.Path(), "nowhere", "x.ldb");
  NEED_LINK(link);
  fs::remove(folder_.Path() / "nowhere");
  for (const FileMode mode : {FileMode::kOpenOrCreate, FileMode::kCreateNew}) {
    const ErrorCode expected = mode == FileMode::kCreateNew ? ErrorCode::kAlreadyExists : ErrorCode::kIo;
    EXPECT_NE(ErrorOf(expected, [&] { (void)files_.OpenBeside(Path("x.ldb"), mode, *base); }), "");
    EXPECT_FALSE(fs::exists(folder_.Path() / "nowhere")) << "made through a link";
  }
}

/// Protects a file from writing, or says why that binds nobody here.
std::string Protect(const fs::path& path) {
#ifdef _WIN32
  SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY);
#else
  fs::permissions(path, fs::perms::owner_read);
#endif
  if (!std::ofstream(path, std::ios::app | std::ios::binary).is_open()) return {};
  fs::permissions(path, fs::perms::owner_all);
  return "the administrator of this system may write protected files";
}

TEST_F(RealNames, AProtectedDatabaseIsReadAndALockFileThatBarsUsIsTold) {
  MakeDatabase("base.mdb");
  InsertRow(*Database::Open(Path("base.mdb")));
  fs::copy_file(folder_.Path() / "base.mdb", folder_.Path() / "fixed.mdb");
  if (const std::string why = Protect(folder_.Path() / "fixed.mdb"); !why.empty()) GTEST_SKIP() << why;
  {
    const auto fixed = Database::Open(Path("fixed.mdb"));
    EXPECT_TRUE(fixed->ReadOnly());
    EXPECT_EQ(fixed->OpenTable("T").RowCount(), 1U);
    EXPECT_NE(ErrorOf(ErrorCode::kReadOnly, [&] { InsertRow(*fixed); }), "");
  }
  Write("base.ldb", "");
  ASSERT_EQ(Protect(folder_.Path() / "base.ldb"), "");
  const std::string text = ErrorOf(ErrorCode::kIo, [&] { (void)Database::Open(Path("base.mdb")); });
  EXPECT_NE(text.find("does not let us in"), std::string::npos) << text;
  for (const char* name : {"base.ldb", "fixed.mdb"}) fs::permissions(folder_.Path() / name, fs::perms::owner_all);
}

}  // namespace
}  // namespace jet
