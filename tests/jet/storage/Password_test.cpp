// Database passwords: who may open a file, and how the password changes.
#include <gtest/gtest.h>

#include "jet/page/Header.h"
#include "jet/value/ByteOrder.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

/// Opens with that password, in shared use.
std::unique_ptr<Database> OpenWith(World& world, const std::string& password, const std::string& path = "test.mdb") {
  OpenOptions options = world.options;
  options.password = password;
  return Database::Open(path, options);
}

World& WithPassword(World& world, const std::string& password) {
  Database::Create("test.mdb", world.options, {.password = password})->CreateTable(PeopleTable()).Insert(Person("Ada"));
  return world;
}

TEST(Password, OpensWithItAndSaysSoWithout) {
  World world;
  WithPassword(world, "Sésame");
  EXPECT_EQ(Rows(OpenWith(world, "Sésame")->OpenTable("People")), (std::vector<std::string>{"1|\"Ada\"|\"note\"|False|0"}));
  EXPECT_EQ(CodeOf([&] { world.Open(); }), ErrorCode::kPasswordProtected);
  EXPECT_EQ(TextOf([&] { world.Open(); }), "\"test.mdb\" is protected by a database password, and none was given");
  for (const std::string wrong :
       {"sésame", "Sésam", "Sésame ", "S\xE9same", "12345678901234567890", "123456789012345678901", "Sésame\xF0"}) {
    EXPECT_EQ(CodeOf([&] { OpenWith(world, wrong); }), ErrorCode::kWrongPassword) << wrong;
    EXPECT_EQ(TextOf([&] { OpenWith(world, wrong); }), "the password given for \"test.mdb\" is wrong");
  }
  EXPECT_EQ(CodeOf([&] { OpenWith(world, std::string("Sésame\0", 8)); }), ErrorCode::kWrongPassword);
}

TEST(Password, IsNotLookedAtWhereThereIsNone) {
  World world;
  world.Create()->CreateTable(PeopleTable());
  EXPECT_FALSE(OpenWith(world, "x")->HasPassword());
}

TEST(Password, MayHaveTwentyUnitsOfAnyLetters) {
  std::string keys;
  for (int i = 0; i < 10; ++i) keys += "\U0001F511";
  for (const std::string& password : {std::string("12345678901234567890"), std::string("é€Ωя語"), keys, std::string(" x ")}) {
    World world;
    WithPassword(world, password);
    EXPECT_TRUE(OpenWith(world, password)->HasPassword()) << password;
    EXPECT_EQ(CodeOf([&] { OpenWith(world, password + "\U0001F511"); }), ErrorCode::kWrongPassword) << password;
  }
}

TEST(Password, ThatTheFieldCannotHoldIsRefusedAndNothingMade) {
  const std::pair<std::string, ErrorCode> refused[] = {{"123456789012345678901", ErrorCode::kValueTooLong},
                                                       {"1234567890123456789\U0001F511", ErrorCode::kValueTooLong},
                                                       {std::string("a\0b", 3), ErrorCode::kUnsupported},
                                                       {"\xE9t\xE9", ErrorCode::kUnsupported}};
  for (const auto& [password, code] : refused) {
    World world;
    EXPECT_EQ(CodeOf([&] { WithPassword(world, password); }), code) << password;
    EXPECT_TRUE(world.files.Names().empty()) << password;
    const auto database = world.Create();
    const auto before = world.files.Content("test.mdb");
    EXPECT_EQ(CodeOf([&, wanted = password] { database->SetPassword(wanted); }), code) << password;
    EXPECT_EQ(CodeOf([&, wanted = password] { database->Compact("new.mdb", {.password = wanted}); }), code) << password;
    EXPECT_FALSE(world.files.Exists("new.mdb")) << password;
    EXPECT_EQ(world.files.Content("test.mdb"), before) << password;
  }
  World world;
  world.Create();
  EXPECT_EQ(TextOf([&] { world.Open()->SetPassword("123456789012345678901"); }), "A database password has at most 20 characters");
  EXPECT_EQ(TextOf([&] { world.Open()->SetPassword(std::string(1, '\0')); }), "A database password cannot hold the character NUL");
  EXPECT_EQ(TextOf([&] { world.Open()->SetPassword("\xFF"); }), "The password is no text in UTF-8");
}

TEST(Password, IsSetChangedAndTakenAwayInItsFieldAlone) {
  World world;
  world.Create()->CreateTable(PeopleTable()).Insert(Person("Ada"));
  const auto plain = world.files.Content("test.mdb");
  world.Open()->SetPassword("one");
  const auto locked = world.files.Content("test.mdb");
  ASSERT_EQ(locked.size(), plain.size());
  for (std::size_t i = 0; i < plain.size(); ++i) {
    const bool ofTheField = i >= 0x42 && i < 0x42 + 6 && i % 2 == 0;  // three letters of one byte
    ASSERT_EQ(plain[i] == locked[i], !ofTheField) << i;
  }
  const auto other = OpenWith(world, "one");  // stays open meanwhile
  OpenWith(world, "one")->SetPassword("another");
  EXPECT_EQ(CodeOf([&] { OpenWith(world, "one"); }), ErrorCode::kWrongPassword);
  EXPECT_TRUE(other->HasPassword());
  OpenWith(world, "another")->SetPassword({});
  EXPECT_FALSE(other->HasPassword());
  EXPECT_EQ(world.files.Content("test.mdb"), plain);
}

TEST(Password, GoesWithItsTransaction) {
  World world;
  const auto database = world.Create();
  database->Begin();
  database->SetPassword("one");
  EXPECT_TRUE(database->HasPassword());
  database->Rollback();
  EXPECT_FALSE(database->HasPassword());
  EXPECT_EQ(CodeOf([&] { world.Open("test.mdb", OpenMode::kReadOnly)->SetPassword("x"); }), ErrorCode::kInUse);
}

TEST(Password, IsNotSetWhereNothingCanBeWritten) {
  World world;
  world.Create();
  const auto database = world.Open("test.mdb", OpenMode::kReadOnly);
  EXPECT_EQ(CodeOf([&] { database->SetPassword("one"); }), ErrorCode::kReadOnly);
}

TEST(Password, StaysWhenTheFileIsCompactedUnlessAnotherIsAsked) {
  World world;
  WithPassword(world, "one");
  const auto database = OpenWith(world, "one");
  database->Compact("same.mdb");
  database->Compact("other.mdb", {.password = "two"});
  database->Compact("none.mdb", {.password = ""});
  database->Backup("backup.mdb");
  EXPECT_EQ(OpenWith(world, "one", "same.mdb")->OpenTable("People").RowCount(), 1u);
  EXPECT_EQ(OpenWith(world, "two", "other.mdb")->OpenTable("People").RowCount(), 1u);
  EXPECT_EQ(OpenWith(world, "", "none.mdb")->OpenTable("People").RowCount(), 1u);
  EXPECT_EQ(OpenWith(world, "one", "backup.mdb")->OpenTable("People").RowCount(), 1u);
  EXPECT_EQ(CodeOf([&] { OpenWith(world, "one", "other.mdb"); }), ErrorCode::kWrongPassword);
}

/// A cut in the middle of the change leaves the one or the other, and never a file that neither opens.
TEST(Password, SurvivesAPowerCutInItsChange) {
  World world;
  WithPassword(world, "one");
  std::map<std::string, std::vector<std::byte>> start{{"test.mdb", world.files.Content("test.mdb")}};
  world.files.Record(true);
  OpenWith(world, "one")->SetPassword("two");
  const auto events = world.files.TakeRecord();
  std::size_t old = 0;
  for (std::size_t cut = 0; cut <= events.size(); ++cut) {
    for (const bool kept : {false, true}) {
      World after;
      for (const auto& [name, bytes] : ReplayWithPowerCut(start, events, cut, [&](std::size_t) { return kept; }))
        after.files.SetContent(name, bytes);
      const bool opens = !CodeOf([&] { OpenWith(after, "one"); }).has_value();
      old += opens ? 1 : 0;
      EXPECT_NE(opens, !CodeOf([&] { OpenWith(after, "two"); }).has_value()) << "cut " << cut;
    }
  }
  EXPECT_GT(old, 4u);
}

TEST(Password, OfJet3LiesInItsCodePage) {
  std::vector<std::byte> page(2048);
  Store32(page.data(), 0x00000100);
  std::memcpy(page.data() + 4, "Standard Jet DB", 16);
  FileHeader::SetPassword(page, {});
  const auto plain = page;
  FileHeader::SetPassword(page, "été€");
  const FileHeader header = FileHeader::Read(page, "97.mdb");
  EXPECT_EQ(header.version, 3);
  EXPECT_EQ(header.PasswordText(), "été€");
  EXPECT_TRUE(header.HasPassword("été€"));
  EXPECT_FALSE(header.HasPassword("ete€"));
  EXPECT_FALSE(header.HasPassword("Ω"));
  EXPECT_EQ(CodeOf([&] { FileHeader::SetPassword(page, "Ω"); }), ErrorCode::kUnsupported);
  EXPECT_EQ(CodeOf([&] { FileHeader::SetPassword(page, "123456789012345678901"); }), ErrorCode::kValueTooLong);
  FileHeader::SetPassword(page, {});
  EXPECT_EQ(page, plain);
}

}  // namespace
}  // namespace jet::tests
