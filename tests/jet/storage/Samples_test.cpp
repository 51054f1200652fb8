#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>

#include "tests/jet/storage/JetTestSupport.h"
#include "tests/jet/storage/SampleSupport.h"
#include "tests/support_lib/SampleFiles.h"
#include "tests/support_lib/SamplePassword.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace jet::tests {
namespace {

namespace fs = std::filesystem;

TEST(OurFiles, TruthValuesBehindADroppedColumnAreReadByOthers) {
  if (std::system("command -v mdb-export >/dev/null") != 0) GTEST_SKIP() << "mdb-export is not installed";
  const tamlo::tests::TemporaryFolder folder;
  const std::string path = folder.File("ours.mdb");
  const auto database = Database::Create(path);
  TableSpec spec;
  spec.name = "T";
  spec.columns = {Column("Id", ColumnType::kLong), Column("Amount", ColumnType::kDouble), Column("Flag", ColumnType::kBoolean)};
  database->CreateTable(spec);
  const auto insert = [&](std::vector<Value> row) { database->OpenTable("T").Insert(row); };
  insert({Value(1), Value(1.5), Value(true)});
  database->DropColumn("T", "Amount");
  insert({Value(2), Value(true)});
  insert({Value(3), Value(false)});
  ExpectSameAsExport(*database, path);
  database->AddColumn("T", Column("Number", ColumnType::kLong));
  insert({Value(4), Value(true), Value(7)});
  ExpectSameAsExport(*database, path);
  EXPECT_EQ(Findings(*database), "");
}

class SampleTest : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    if (GetParam().empty()) GTEST_SKIP() << "JET_SAMPLES is not set: real Access files are not there";
    copy_ = folder_.File("sample.mdb");
    fs::copy_file(GetParam(), copy_);
    fs::permissions(copy_, fs::perms::owner_read | fs::perms::owner_write);
    password_ = tamlo::tests::SamplePassword(GetParam());
    other_ = std::getenv("TAMLO_NODE_MODULES") != nullptr && fs::exists(std::string(std::getenv("TAMLO_NODE_MODULES")) + "/mdb-reader");
  }
  OpenOptions With(OpenMode mode = OpenMode::kShared) const {
    OpenOptions options;
    options.mode = mode;
    options.password = password_;
    return options;
  }
  void CompareWithReaders(Database& database) {
    const bool mdbtools = std::system("command -v mdb-export >/dev/null") == 0;
    if (mdbtools) ExpectSameAsExport(database, copy_);
    if (other_) ExpectSameAsOtherReader(database, copy_, password_);
    if (!mdbtools && !other_) GTEST_SKIP() << "neither mdb-export nor mdb-reader is installed";
  }

  tamlo::tests::TemporaryFolder folder_;
  std::string copy_;
  std::string password_;
  bool other_ = false;
};

TEST_P(SampleTest, OpensWithItsPasswordAlone) {
  OpenOptions options = With(OpenMode::kReadOnly);
  EXPECT_EQ(Database::Open(copy_, options)->HasPassword(), !password_.empty());
  if (password_.empty()) return;
  options.password.clear();
  EXPECT_EQ(CodeOf([&] { (void)Database::Open(copy_, options); }), ErrorCode::kPasswordProtected);
  options.password = "Password";  // each letter counts as it is
  EXPECT_EQ(CodeOf([&] { (void)Database::Open(copy_, options); }), ErrorCode::kWrongPassword);
}

/// Compacting makes of a plain file an encoded one behind a password, which the others read too, and the way back makes it plain.
TEST_P(SampleTest, EncodedAndBehindAPasswordIsReadAlikeToo) {
  const std::string source = copy_;
  const auto database = Database::Open(source, With());
  const std::string plain = folder_.File("plain.mdb");
  copy_ = folder_.File("encoded.mdb");
  database->Compact(copy_, {.password = "Sésame é", .encoded = true});
  password_ = "Sésame é";
  {
    const auto encoded = Database::Open(copy_, With());
    EXPECT_TRUE(encoded->Encoded());
    EXPECT_EQ(Findings(*encoded), "");
    encoded->CreateTable(PeopleTable("Des gens")).Insert(Person("Ada", std::string(9000, 'x')));
    CompareWithReaders(*encoded);
    encoded->Compact(plain, {.password = "", .encoded = false});
  }
  EXPECT_EQ(Findings(*Database::Open(plain)), "");
}

TEST_P(SampleTest, IsSoundAsItIs) {
  const OpenOptions options = With(OpenMode::kReadOnly);
  EXPECT_EQ(Findings(*Database::Open(copy_, options)), "");
}

TEST_P(SampleTest, ReadsLikeTheOtherReaders) {
  const OpenOptions options = With(OpenMode::kReadOnly);
  const auto database = Database::Open(copy_, options);
  CompareWithReaders(*database);
}

TEST_P(SampleTest, OpeningAndReadingChangesNoByte) {
  const auto read = [&] {
    std::ifstream stream(copy_, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
  };
  const std::string before = read();
  {
    const auto database = Database::Open(copy_, With());
    (void)ByUs(*database);
    (void)database->Relationships();
  }
  EXPECT_EQ(read(), before);
}

TEST_P(SampleTest, WrittenToItIsStillSoundAndReadAlike) {
  const OpenOptions options = With(OpenMode::kExclusive);
  auto database = Database::Open(copy_, options);
  if (database->ReadOnly()) {
    EXPECT_EQ(CodeOf([&] { database->CreateTable(PeopleTable()); }), ErrorCode::kReadOnly);
    GTEST_SKIP() << "The code page of the file is not known whole";
  }
  Done done;
  for (const auto& object : std::vector<CatalogObject>(database->Objects())) {
    if (object.kind != ObjectKind::kTable) continue;
    Work(*database, object.name, done);
    ASSERT_EQ(Findings(*database), "") << object.name;
  }
  Table& people = database->CreateTable(PeopleTable("Des gens"));
  for (int i = 0; i < 300; ++i)
    people.Insert(Person("n" + std::to_string(i), std::string(static_cast<std::size_t>(i * 20 + 1), 'x'), i % 2 == 0, i));
  database->CreateTable(PeopleTable("Dropped"));
  database->DropTable("Dropped");
  EXPECT_EQ(Findings(*database), "");
  database.reset();
  std::printf("%s: %d inserted, %d updated, %d deleted, %d refused by the table's own rules\n", fs::path(GetParam()).filename().c_str(),
              done.inserted, done.updated, done.deleted, done.refused);
  database = Database::Open(copy_, options);
  EXPECT_EQ(Findings(*database), "");
  CompareWithReaders(*database);
}

TEST_P(SampleTest, CompactsIntoASoundFileWithTheSameRows) {
  const auto database = Database::Open(copy_, With());
  const std::string target = folder_.File("compact.mdb");
  database->Compact(target);
  const auto compacted = Database::Open(target, With());
  EXPECT_EQ(Findings(*compacted), "");
  auto ours = ByUs(*database);
  auto theirs = ByUs(*compacted);
  for (auto* tables : {&ours, &theirs})
    for (auto& [name, rows] : *tables) std::sort(rows.begin(), rows.end());
  EXPECT_EQ(ours, theirs);
  EXPECT_EQ(database->Relationships().size(), compacted->Relationships().size());
}

TEST_P(SampleTest, WhatIsNotEditedStaysAsItWas) {
  const OpenOptions options = With(OpenMode::kExclusive);
  auto database = Database::Open(copy_, options);
  if (database->ReadOnly()) GTEST_SKIP() << GetParam() << ": files of Access 97 are only read";
  std::vector<std::string> tables;
  for (const auto& object : std::vector<CatalogObject>(database->Objects()))
    if (object.kind == ObjectKind::kTable) tables.push_back(object.name);
  if (tables.empty()) GTEST_SKIP() << GetParam() << ": there is no table in it";
  constexpr unsigned kSeed = 20251122;
  SCOPED_TRACE("seed " + std::to_string(kSeed));
  std::mt19937 random(kSeed);
  Done done;
  for (int round = 0; round < 4; ++round) {
    const std::string name = tables[random() % tables.size()];
    const auto edited = Related(*database, name);
    const auto before = AllBut(*database, edited);
    EditAtRandom(*database, name, random, done);
    ASSERT_EQ(Findings(*database), "") << name;
    database = nullptr;
    database = Database::Open(copy_, options);
    const auto after = AllBut(*database, edited);
    for (const auto& [table, rows] : before) ASSERT_EQ(after.at(table), rows) << table << " after editing " << name;
    ASSERT_EQ(after.size(), before.size());
  }
  std::printf("%s: %d inserted, %d updated, %d deleted, %d refused\n", fs::path(GetParam()).filename().c_str(), done.inserted, done.updated,
              done.deleted, done.refused);
}

INSTANTIATE_TEST_SUITE_P(Files, SampleTest, testing::ValuesIn(tamlo::tests::OrOneEmpty(tamlo::tests::AllSampleFiles())));

}  // namespace
}  // namespace jet::tests
