#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>

#include "jet/table/IndexCursor.h"
#include "jet/file/Sharing.h"
#include "tests/jet/storage/JetTestSupport.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace jet::tests {
namespace {

constexpr std::uint64_t kUserLocks = 0x10000001;
constexpr std::uint64_t kWriteLock = 0x20000000;
constexpr std::uint64_t kReadLock = 0x20000001;

/// Another file system with a word to say about lengths and locks.
class WatchedFiles final : public FileSystem {
 public:
  explicit WatchedFiles(FileSystem& files) : files_(files) {}

  std::unique_ptr<File> Open(const std::string& path, FileMode mode) override {
    return std::make_unique<Watched>(*this, files_.Open(path, mode), path);
  }
  bool Exists(const std::string& path) override { return files_.Exists(path); }
  void Remove(const std::string& path) override { files_.Remove(path); }
  void Rename(const std::string& from, const std::string& to) override { files_.Rename(from, to); }
  void SyncFolder(const std::string& pathOfFile) override { files_.SyncFolder(pathOfFile); }

  std::function<void(const std::string& path)> measured;                                                    ///< a length has been read
  std::function<void(std::uint64_t offset, std::uint64_t length, bool exclusive, bool granted)> triedLock;  ///< a lock has been asked for

 private:
  class Watched final : public File {
   public:
    Watched(WatchedFiles& owner, std::unique_ptr<File> file, std::string path)
        : owner_(owner), file_(std::move(file)), path_(std::move(path)) {}
    std::size_t Read(std::uint64_t offset, std::span<std::byte> buffer) override { return file_->Read(offset, buffer); }
    void Write(std::uint64_t offset, std::span<const std::byte> bytes) override { file_->Write(offset, bytes); }
    std::uint64_t Size() override {
      const std::uint64_t size = file_->Size();
      if (owner_.measured) owner_.measured(path_);
      return size;
    }
    void Truncate(std::uint64_t size) override { file_->Truncate(size); }
    void Sync() override { file_->Sync(); }
    bool TryLock(std::uint64_t offset, std::uint64_t length, bool exclusive) override {
      const bool granted = file_->TryLock(offset, length, exclusive);
      if (owner_.triedLock) owner_.triedLock(offset, length, exclusive, granted);
      return granted;
    }
    void Unlock(std::uint64_t offset, std::uint64_t length) override { file_->Unlock(offset, length); }
    bool IsStillNamed() override { return file_->IsStillNamed(); }
    bool IsLocked(std::uint64_t offset, std::uint64_t length) override { return file_->IsLocked(offset, length); }
    std::uint64_t Identity() override { return file_->Identity(); }

   private:
    WatchedFiles& owner_;
    std::unique_ptr<File> file_;
    std::string path_;
  };

  FileSystem& files_;
};

/// A user who dies in the middle of a commit: the journal stays.
void LeaveAJournal(World& world) {
  auto victim = world.Open("test.mdb", OpenMode::kShared);
  bool dead = false;
  world.files.SetHook([&](const MemoryFileSystem::Event& event) {
    if (dead) throw Error(ErrorCode::kIo, "dead");
    if (event.operation == MemoryFileSystem::Operation::kWrite && event.path == "test.mdb") dead = true;
  });
  EXPECT_EQ(CodeOf([&] { victim->OpenTable("People").Insert(Person("Victim")); }), ErrorCode::kIo);
  victim.reset();
  world.files.SetHook({});
  ASSERT_TRUE(world.files.Exists("test.mdb-journal"));
}

TEST(Sharing, ExclusiveUseKeepsOthersOut) {
  World world;
  auto first = world.Create();
  EXPECT_EQ(CodeOf([&] { world.Open("test.mdb", OpenMode::kShared); }), ErrorCode::kInUse);
  EXPECT_EQ(CodeOf([&] { world.Open("test.mdb", OpenMode::kReadOnly); }), ErrorCode::kInUse);
  first.reset();
  EXPECT_NO_THROW(world.Open("test.mdb", OpenMode::kShared));
}

TEST(Sharing, ExclusiveUseIsRefusedWhileAnotherIsIn) {
  World world;
  world.Create();
  const auto shared = world.Open("test.mdb", OpenMode::kShared);
  EXPECT_EQ(CodeOf([&] { world.Open("test.mdb", OpenMode::kExclusive); }), ErrorCode::kInUse);
}

TEST(Sharing, TheLockFileGoesWithTheLastUser) {
  World world;
  world.Create();
  auto first = world.Open("test.mdb", OpenMode::kShared);
  auto second = world.Open("test.mdb", OpenMode::kShared);
  EXPECT_TRUE(world.files.Exists("test.ldb"));
  first.reset();
  EXPECT_TRUE(world.files.Exists("test.ldb"));
  second.reset();
  EXPECT_FALSE(world.files.Exists("test.ldb"));
}

TEST(Sharing, OneSeesWhatTheOtherCommitted) {
  World world;
  world.Create()->CreateTable(PeopleTable());
  const auto first = world.Open("test.mdb", OpenMode::kShared);
  const auto second = world.Open("test.mdb", OpenMode::kShared);
  Table& there = second->OpenTable("People");
  EXPECT_EQ(there.RowCount(), 0u);
  first->OpenTable("People").Insert(Person("Ada"));
  EXPECT_EQ(there.RowCount(), 1u);
  there.Insert(Person("Bob"));
  EXPECT_EQ(Rows(first->OpenTable("People")), (std::vector<std::string>{"1|\"Ada\"|\"note\"|False|0", "2|\"Bob\"|\"note\"|False|0"}));
  first->CreateTable(PeopleTable("Other"));
  EXPECT_NE(second->FindObject("Other"), nullptr);
  EXPECT_EQ(Findings(*second), "");
}

TEST(Sharing, WhatIsNotCommittedIsNotSeen) {
  World world;
  world.Create()->CreateTable(PeopleTable());
  const auto first = world.Open("test.mdb", OpenMode::kShared);
  const auto second = world.Open("test.mdb", OpenMode::kShared);
  first->Begin();
  first->OpenTable("People").Insert(Person("Ada"));
  EXPECT_EQ(second->OpenTable("People").RowCount(), 0u);
  first->Commit();
  EXPECT_EQ(second->OpenTable("People").RowCount(), 1u);
}

TEST(Sharing, ThatNothingWasChangedSinceIsLearntWithoutALock) {
  World world;
  world.Create()->CreateTable(PeopleTable());
  WatchedFiles watched(world.files);
  OpenOptions shared;
  shared.mode = OpenMode::kShared;
  shared.fileSystem = &watched;
  const auto reader = Database::Open("test.mdb", shared);
  const auto writer = world.Open("test.mdb", OpenMode::kShared);
  int locks = 0;
  const auto quiet = [&](std::uint64_t version) {
    watched.triedLock = [&](std::uint64_t, std::uint64_t, bool, bool) { ++locks; };
    const bool nothing = reader->NothingSince(version);
    watched.triedLock = {};
    return nothing;
  };
  std::uint64_t version = reader->PagesVersion();
  EXPECT_TRUE(quiet(version));
  EXPECT_FALSE(quiet(version + 1));
  writer->Begin();
  writer->OpenTable("People").Insert(Person("Ada"));
  EXPECT_TRUE(quiet(version)) << "not committed yet";
  writer->Commit();
  EXPECT_FALSE(quiet(version));
  EXPECT_EQ(Rows(reader->OpenTable("People")).size(), 1u);
  EXPECT_FALSE(quiet(version)) << "seen by another reading of the same file";
  version = reader->PagesVersion();
  EXPECT_TRUE(quiet(version));
  reader->Begin();
  reader->OpenTable("People").Insert(Person("Bob"));
  reader->Rollback();
  EXPECT_FALSE(quiet(version));
  version = reader->PagesVersion();
  reader->OpenTable("People").Insert(Person("Carl"));
  EXPECT_TRUE(quiet(version)) << "nobody else";
  EXPECT_EQ(locks, 0);
}

TEST(Sharing, OnlyOneWritesAtATime) {
  World world;
  world.Create()->CreateTable(PeopleTable());
  const auto first = world.Open("test.mdb", OpenMode::kShared);
  const auto second = world.Open("test.mdb", OpenMode::kShared);
  first->Begin();
  first->OpenTable("People").Insert(Person("Ada"));
  EXPECT_EQ(CodeOf([&] { second->OpenTable("People").Insert(Person("Bob")); }), ErrorCode::kInUse);
  first->Commit();
  EXPECT_NO_THROW(second->OpenTable("People").Insert(Person("Bob")));
  EXPECT_EQ(Findings(*first), "");
}

TEST(Sharing, AWriterDoesNotChangeWhatAReaderIsReading) {
  World world;
  world.Create()->CreateTable(PeopleTable());
  const auto reader = world.Open("test.mdb", OpenMode::kShared);
  const auto writer = world.Open("test.mdb", OpenMode::kShared);
  writer->OpenTable("People").Insert(Person("Ada"));
  {
    ScanCursor cursor = reader->OpenTable("People").Scan();
    ASSERT_TRUE(cursor.Next());
    EXPECT_EQ(CodeOf([&] { writer->OpenTable("People").Insert(Person("Bob")); }), ErrorCode::kInUse);
    EXPECT_EQ(cursor.Current().Text(1), "Ada");
  }
  EXPECT_NO_THROW(writer->OpenTable("People").Insert(Person("Bob")));
}

TEST(Sharing, ACursorAtRestKeepsNobodyOutAndGoesOnBehindItsRow) {
  World world;
  world.Create()->CreateTable(PeopleTable());
  const auto reader = world.Open("test.mdb", OpenMode::kShared);
  const auto writer = world.Open("test.mdb", OpenMode::kShared);
  for (const char* name : {"Ada", "Bob", "Carl", "Dora"}) writer->OpenTable("People").Insert(Person(name));
  Table& people = reader->OpenTable("People");
  ScanCursor scan = people.Scan();
  IndexCursor walk(people, people.FindIndex("Name").value());
  walk.SetRange(std::nullopt, std::nullopt);
  ASSERT_TRUE(scan.Next());
  ASSERT_TRUE(walk.Next());
  scan.Rest();
  walk.Rest();
  const RowId second{walk.Id().page, static_cast<std::uint8_t>(walk.Id().slot + 1)};
  EXPECT_EQ(CodeOf([&] { writer->OpenTable("People").Delete(second); }), std::nullopt);
  EXPECT_EQ(scan.Current().Text(1), "Ada");
  ASSERT_TRUE(scan.Next());
  EXPECT_EQ(scan.Current().Text(1), "Carl");
  scan.Rest();
  EXPECT_EQ(CodeOf([&] { writer->OpenTable("People").Insert(Person("Aline")); }), std::nullopt);
  std::string names;
  while (walk.Next()) names += people.Read(walk.Id()).value()[1].AsText() + " ";
  EXPECT_EQ(names, "Aline Carl Dora ");
}

TEST(Sharing, OfTwoWhoWaitForEachOtherTheReaderGivesUpAtOnce) {
  World world;
  world.Create()->CreateTable(PeopleTable());
  world.options.lockWaitMilliseconds = 60000;
  const auto first = world.Open("test.mdb", OpenMode::kShared);
  const auto second = world.Open("test.mdb", OpenMode::kShared);
  second->Begin();
  second->OpenTable("People").Insert(Person("Ada"));
  std::optional<ErrorCode> writing;
  std::thread writer;
  {
    const Database::ReadScope scope(*first);
    writer = std::thread([&] { writing = CodeOf([&] { second->Commit(); }); });
    EXPECT_EQ(CodeOf([&] { first->OpenTable("People").Insert(Person("Bob")); }), ErrorCode::kInUse);
  }
  writer.join();
  EXPECT_EQ(writing, std::nullopt);
  EXPECT_NO_THROW(first->OpenTable("People").Insert(Person("Bob")));
}

TEST(Sharing, AWriterIsNotKeptWaitingByReadersWhoComeOneAfterTheOther) {
  World world;
  world.Create();
  const auto file = world.files.Open("test.mdb", FileMode::kReadWrite);
  Sharing writer(world.files, "test.mdb", *file, false, 1000);
  Sharing first(world.files, "test.mdb", *file, false, 0);
  Sharing second(world.files, "test.mdb", *file, false, 0);
  writer.EnterWrite();
  writer.EnterRead();
  first.EnterRead();
  std::thread leaving([&] {
    // As soon as the writer waits nobody else gets in; without that the two would hand the file to each other for ever.
    Sharing* in = &first;
    Sharing* out = &second;
    while (!CodeOf([&] { out->EnterRead(); })) {
      in->LeaveRead();
      std::swap(in, out);
    }
    in->LeaveRead();
  });
  EXPECT_TRUE(writer.KeepReadersOut(true));
  leaving.join();
  writer.LetReadersIn();
  EXPECT_NO_THROW(second.EnterRead());
}

TEST(Sharing, WritersGoInTheOrderOfTheirComing) {
  World world;
  world.Create();
  const auto file = world.files.Open("test.mdb", FileMode::kReadWrite);
  Sharing first(world.files, "test.mdb", *file, false, 60000);
  std::vector<std::unique_ptr<Sharing>> others;
  for (int i = 0; i < 4; ++i) others.push_back(std::make_unique<Sharing>(world.files, "test.mdb", *file, false, 60000));
  first.EnterWrite();
  std::mutex mutex;
  std::vector<int> order;
  std::vector<std::thread> threads;
  const auto lockFile = world.files.Open("test.ldb", FileMode::kReadWrite);
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      others[static_cast<std::size_t>(i)]->EnterWrite();
      {
        const std::lock_guard lock(mutex);
        order.push_back(i);
      }
      others[static_cast<std::size_t>(i)]->LeaveWrite();
    });
    // In line as soon as its place is locked: entry i + 1.
    while (lockFile->TryLock(0x20000100 + static_cast<std::uint64_t>(i) + 1, 1, false)) {
      lockFile->Unlock(0x20000100 + static_cast<std::uint64_t>(i) + 1, 1);
      std::this_thread::yield();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  first.LeaveWrite();
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3}));
}

TEST(Sharing, RealFilesAreLockedBetweenTwoOpens) {
  const tamlo::tests::TemporaryFolder folder;
  const std::string path = folder.File("real.mdb");
  OpenOptions options;
  options.lockWaitMilliseconds = 20;
  auto first = Database::Create(path, options);
  EXPECT_EQ(CodeOf([&] { Database::Open(path, options); }), ErrorCode::kInUse);
  first->CreateTable(PeopleTable());
  first.reset();
  first = Database::Open(path, options);
  const auto second = Database::Open(path, options);
  first->OpenTable("People").Insert(Person("Ada"));
  EXPECT_EQ(second->OpenTable("People").RowCount(), 1u);
}

TEST(Sharing, LockFileNameReplacesTheExtension) {
  EXPECT_EQ(Sharing::LockPath("/a.b/base"), "/a.b/base.ldb");
  EXPECT_EQ(Sharing::LockPath("/a.b/base.mdb"), "/a.b/base.ldb");
}

TEST(Sharing, WhoUndoesWhatACrashLeftAndGoesOnToChangeIsTheOnlyWriter) {
  World world;
  world.Create()->CreateTable(PeopleTable()).Insert(Person("Ada"));
  const auto first = world.Open("test.mdb", OpenMode::kShared);
  const auto second = world.Open("test.mdb", OpenMode::kShared);
  Table& people = first->OpenTable("People");
  LeaveAJournal(world);
  first->Begin();
  people.Insert(Person("Bob"));
  EXPECT_FALSE(world.files.Exists("test.mdb-journal"));
  EXPECT_EQ(CodeOf([&] { second->OpenTable("People").Insert(Person("Carl")); }), ErrorCode::kInUse);
  second->Begin();
  EXPECT_EQ(CodeOf([&] { second->OpenTable("People").Insert(Person("Dora")); }), ErrorCode::kInUse);
  EXPECT_EQ(CodeOf([&] { first->Commit(); }), std::nullopt);
  EXPECT_EQ(Rows(first->OpenTable("People")), (std::vector<std::string>{"1|\"Ada\"|\"note\"|False|0", "2|\"Bob\"|\"note\"|False|0"}));
  EXPECT_EQ(Findings(*first), "");
}

/// A repair program, a restored backup: whoever does not know of the journal writes beside it.
TEST(Sharing, NothingIsUndoneInAFileThatAnotherProgramHasWrittenSince) {
  World world;
  world.Create()->CreateTable(PeopleTable()).Insert(Person("Ada"));
  const auto before = world.files.Content("test.mdb");
  LeaveAJournal(world);
  const auto halfWritten = world.files.Content("test.mdb");
  const auto journal = world.files.Content("test.mdb-journal");
  // Which pages the transaction was about to write, as its journal's old pages tell: found by changing one page after the other.
  int refused = 0;
  for (std::size_t page = 0; page < before.size() / 4096; ++page) {
    auto foreign = halfWritten;
    foreign[page * 4096 + 700] ^= std::byte{0x55};
    world.files.SetContent("test.mdb", foreign);
    world.files.SetContent("test.mdb-journal", journal);
    std::string text;
    try {
      (void)world.Open();
    } catch (const Error& error) {
      EXPECT_EQ(error.Code(), ErrorCode::kDamaged);
      text = error.what();
    }
    if (text.rfind("Another program has written \"test.mdb\" (page " + std::to_string(page), 0) != 0) continue;
    ++refused;
    EXPECT_NE(text.find("its old pages are in \"test.mdb-journal\""), std::string::npos) << text;
    EXPECT_NE(text.find("move the journal away"), std::string::npos) << text;
    EXPECT_NE(text.find("put the database back as it was"), std::string::npos) << text;
    EXPECT_EQ(world.files.Content("test.mdb"), foreign);
    EXPECT_EQ(world.files.Content("test.mdb-journal"), journal);
  }
  EXPECT_GE(refused, 2);
  // Another program made it longer.
  auto longer = halfWritten;
  longer.resize(longer.size() + 40 * 4096);
  world.files.SetContent("test.mdb", longer);
  EXPECT_EQ(CodeOf([&] { (void)world.Open(); }), ErrorCode::kDamaged);
  EXPECT_EQ(world.files.Content("test.mdb"), longer);
  // Both ways out.
  world.files.SetContent("test.mdb", halfWritten);
  const auto undone = world.Open();
  EXPECT_EQ(Rows(undone->OpenTable("People")), (std::vector<std::string>{"1|\"Ada\"|\"note\"|False|0"}));
  EXPECT_EQ(Findings(*undone), "");
}

TEST(Sharing, ACopyIsMadeWhileOthersHaveTheFileOpenAndIsWhole) {
  World world;
  world.Create()->CreateTable(PeopleTable());
  const auto first = world.Open("test.mdb", OpenMode::kShared);
  const auto second = world.Open("test.mdb", OpenMode::kShared);
  second->OpenTable("People").Insert(Person("Ada"));
  second->Begin();
  second->OpenTable("People").Insert(Person("Bob"));
  first->Backup("copy.mdb");
  EXPECT_EQ(CodeOf([&] { first->Backup("copy.mdb"); }), ErrorCode::kAlreadyExists);
  EXPECT_EQ(CodeOf([&] { second->Backup("other.mdb"); }), ErrorCode::kInUse);
  EXPECT_EQ(CodeOf([&] { first->Backup("copy.ldb"); }), ErrorCode::kUnsupported);
  second->Commit();
  const auto copy = world.Open("copy.mdb");
  EXPECT_EQ(Rows(copy->OpenTable("People")), (std::vector<std::string>{"1|\"Ada\"|\"note\"|False|0"}));
  EXPECT_EQ(Findings(*copy), "");
  EXPECT_FALSE(world.files.Exists("copy.mdb-new"));
}

TEST(Sharing, ACopyTouchesNoFileThatItHasNotMade) {
  World world;
  world.Create()->CreateTable(PeopleTable());
  const auto database = world.Open("test.mdb", OpenMode::kShared);
  world.files.Open("copy.mdb-new", FileMode::kCreateNew)->Write(0, std::as_bytes(std::span("letter", 6)));
  const auto letter = world.files.Content("copy.mdb-new");
  EXPECT_EQ(CodeOf([&] { database->Backup("copy.mdb"); }), ErrorCode::kAlreadyExists);
  EXPECT_EQ(world.files.Content("copy.mdb-new"), letter);
  EXPECT_FALSE(world.files.Exists("copy.mdb"));
  world.files.Remove("copy.mdb-new");
  // A file of the copy's name comes while it is being written.
  world.files.SetHook([&](const MemoryFileSystem::Event& event) {
    if (event.operation == MemoryFileSystem::Operation::kSync && event.path == "copy.mdb-new") world.files.SetContent("copy.mdb", letter);
  });
  EXPECT_EQ(CodeOf([&] { database->Backup("copy.mdb"); }), ErrorCode::kAlreadyExists);
  world.files.SetHook({});
  EXPECT_EQ(world.files.Content("copy.mdb"), letter);
  EXPECT_FALSE(world.files.Exists("copy.mdb-new"));
}

TEST(Sharing, AReaderThatWaitsForTheUndoingOfACrashDoesNotHinderIt) {
  World world;
  world.Create()->CreateTable(PeopleTable()).Insert(Person("Ada"));
  WatchedFiles watched(world.files);
  OpenOptions options = world.options;
  options.mode = OpenMode::kShared;
  options.fileSystem = &watched;
  const auto reader = Database::Open("test.mdb", options);
  Table& people = reader->OpenTable("People");
  LeaveAJournal(world);
  // Another one has found the journal a moment earlier: it has the right to change and wants all readers out.
  const auto other = world.files.Open("test.ldb", FileMode::kReadWrite);
  ASSERT_TRUE(other->TryLock(kWriteLock, 1, true));
  bool waited = false;
  watched.triedLock = [&](std::uint64_t offset, std::uint64_t, bool, bool granted) {
    if (offset != kWriteLock || granted || std::exchange(waited, true)) return;
    EXPECT_TRUE(other->TryLock(kReadLock, 1, true)) << "the one who waits keeps the one who works from working";
    other->Unlock(kReadLock, 1);
    other->Unlock(kWriteLock, 1);
  };
  EXPECT_EQ(people.RowCount(), 1u);
  EXPECT_TRUE(waited);
  EXPECT_FALSE(world.files.Exists("test.mdb-journal"));
}

TEST(Sharing, WhatIsCommittedWhileAFileIsBeingOpenedIsSeen) {
  World world;
  world.Create()->CreateTable(PeopleTable());
  const auto writer = world.Open("test.mdb", OpenMode::kShared);
  WatchedFiles watched(world.files);
  OpenOptions options = world.options;
  options.mode = OpenMode::kShared;
  options.fileSystem = &watched;
  int committed = 0;
  for (int moment = 1; moment <= 3; ++moment) {  // at each time that the length is read
    int measured = 0;
    watched.measured = [&](const std::string& path) {
      if (path != "test.mdb" || ++measured != moment) return;
      const auto code = CodeOf([&] {
        for (int i = 0; i < 40; ++i) writer->OpenTable("People").Insert(Person("Ada", std::string(1500, 'n')));
      });
      EXPECT_TRUE(!code || code == ErrorCode::kInUse);  // under the lock nobody else writes
      committed += code ? 0 : 1;
    };
    std::unique_ptr<Database> opened;
    EXPECT_EQ(CodeOf([&] { opened = Database::Open("test.mdb", options); }), std::nullopt);
    watched.measured = nullptr;
    if (!opened) continue;
    Table& people = opened->OpenTable("People");
    EXPECT_EQ(Rows(people).size(), Rows(writer->OpenTable("People")).size());
    people.Insert(Person("Bob", std::string(3000, 'b')));
    EXPECT_EQ(Findings(*opened), "");
    EXPECT_EQ(Findings(*writer), "");
  }
  EXPECT_GT(committed, 0);
}

TEST(Sharing, OpeningWaitsForTheLastUserWhoIsAboutToLeave) {
  World world;
  world.Create();
  WatchedFiles watched(world.files);
  OpenOptions options;
  options.mode = OpenMode::kShared;
  options.lockWaitMilliseconds = 60000;
  options.fileSystem = &watched;
  auto leaving = Database::Open("test.mdb", options);

  std::mutex mutex;
  std::condition_variable changed;
  bool refused = false;
  std::optional<ErrorCode> code;
  std::thread opening;
  const auto leaver = std::this_thread::get_id();
  watched.triedLock = [&](std::uint64_t offset, std::uint64_t length, bool, bool granted) {
    if (std::this_thread::get_id() == leaver) {
      if (offset != kUserLocks || length == 1 || !granted || opening.joinable()) return;
      // All users' places are taken for the moment of the lock file's removal: right now somebody comes.
      opening = std::thread([&] { code = CodeOf([&] { (void)Database::Open("test.mdb", options); }); });
      std::unique_lock lock(mutex);
      changed.wait(lock, [&] { return refused; });
    } else if (!granted) {
      const std::lock_guard lock(mutex);
      refused = true;
      changed.notify_all();
    }
  };
  leaving.reset();
  ASSERT_TRUE(opening.joinable());
  opening.join();
  EXPECT_EQ(code, std::nullopt);
  EXPECT_FALSE(world.files.Exists("test.ldb"));
}

}  // namespace
}  // namespace jet::tests
