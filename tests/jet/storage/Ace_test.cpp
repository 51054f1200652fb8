// Files of Access 2007 and later, made of Jet 4 ones: the two differ in the header and in types that the latter have not.
#include <gtest/gtest.h>

#include <cstring>

#include "jet/page/crypto/Crypto.h"
#include "jet/value/ByteOrder.h"
#include "tests/jet/storage/AceSupport.h"

namespace jet::tests {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

class Ace : public testing::Test {
 protected:
  void MakeAce(std::uint8_t release = 2) { tests::MakeAce(world, release); }
  void Patch(std::size_t offset, std::uint8_t value) {
    auto bytes = world.files.Content("test.accdb");
    bytes[offset] ^= std::byte{value};
    world.files.SetContent("test.accdb", std::move(bytes));
  }
  std::string Refusal() {
    return TextOf([&] { (void)world.Open("test.accdb"); });
  }

  World world;
};

TEST_F(Ace, IsReadAndWritten) {
  std::vector<std::string> rows;
  {
    const auto database = world.Create();
    Table& table = database->CreateTable(PeopleTable("Été"));
    for (int i = 0; i < 300; ++i) table.Insert(Person("n" + std::to_string(i), std::string(static_cast<std::size_t>(i) * 20, 'm')));
    rows = Rows(table);
  }
  for (const int release : {2, 3, 5, 6}) {
    MakeAce(static_cast<std::uint8_t>(release));
    const auto database = world.Open("test.accdb");
    EXPECT_EQ(database->Release(), release);
    EXPECT_EQ(database->FormatVersion(), 4);
    EXPECT_FALSE(database->ReadOnly());
    EXPECT_EQ(Rows(database->OpenTable("Été")), rows);
    EXPECT_EQ(Findings(*database), "");
    database->OpenTable("Été").Insert(Person("x"));
    database->CreateTable(PeopleTable("Neu")).Insert(Person("y", std::string(9000, 'y')));
    EXPECT_EQ(Findings(*database), "");
    EXPECT_EQ(database->OpenTable("Été").RowCount(), 301U);
    const auto header = world.files.Content("test.accdb");
    EXPECT_EQ(std::memcmp(header.data() + 4, "Standard ACE DB", 16), 0);
    EXPECT_EQ(header[0x14], static_cast<std::byte>(release)) << "nothing new asks for a later release";
  }
}

TEST_F(Ace, KeepsItsPasswordOrNone) {
  world.Create().reset();
  MakeAce();
  const auto before = world.files.Content("test.accdb");
  EXPECT_EQ(TextOf([&] { world.Open("test.accdb")->SetPassword("x"); }),
            "\"test.accdb\" is a database of Access 2007 or later (.accdb): its password cannot be changed");
  EXPECT_EQ(CodeOf([&] { world.Open("test.accdb")->SetPassword(""); }), ErrorCode::kUnsupported);
  EXPECT_EQ(world.files.Content("test.accdb"), before);
}

TEST_F(Ace, IsMadeWhereTheNameAsksForIt) {
  for (const char* name : {"neu.accdb", "NEU2.ACCDB"}) {
    {
      const auto database = world.Create(name);
      EXPECT_EQ(database->Release(), 2);
      EXPECT_EQ(database->FormatVersion(), 4);
      EXPECT_EQ(Findings(*database), "");
      database->CreateTable(PeopleTable()).Insert(Person("Ada", std::string(9000, 'x')));
    }
    const auto bytes = world.files.Content(name);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes.data()), 0x18), std::string("\0\1\0\0Standard ACE DB\0\2\0\0\0", 0x18));
    const auto database = world.Open(name);
    EXPECT_EQ(Findings(*database), "");
    EXPECT_FALSE(database->HasPassword());
    EXPECT_EQ(database->Objects().size(), 19U);
    EXPECT_EQ(database->FindObject("MSysComplexColumns")->kind, ObjectKind::kSystemTable);
    EXPECT_EQ(database->OpenTable("People").RowCount(), 1U);
  }
  EXPECT_TRUE(world.files.Exists("neu.laccdb") || !world.files.Exists("neu.ldb"));
}

TEST_F(Ace, IsMadeWithoutProtectionOrNotAtAll) {
  for (const Protection& protection : {Protection{.password = "x"}, Protection{.encoded = true}}) {
    EXPECT_EQ(TextOf([&] { (void)Database::Create("neu.accdb", world.options, protection); }),
              "\"neu.accdb\" would be a database of Access 2007 or later (.accdb): a new one has no password and no encoded pages");
    EXPECT_FALSE(world.files.Exists("neu.accdb"));
  }
  EXPECT_EQ(Database::Create("neu.accdb", world.options, {.password = "", .encoded = false})->Release(), 2);
}

TEST_F(Ace, HasALockFileOfItsOwnKind) {
  world.Create().reset();
  MakeAce();
  const auto database = world.Open("test.accdb", OpenMode::kShared);
  EXPECT_TRUE(world.files.Exists("test.laccdb"));
  EXPECT_FALSE(world.files.Exists("test.ldb"));
  EXPECT_EQ(CodeOf([&] { (void)world.Open("test.laccdb"); }).has_value(), true);
}

TEST_F(Ace, WhatIsNotReadIsRefusedByName) {
  world.Create().reset();
  for (const std::uint8_t release : {0, 1, 7, 255}) {
    MakeAce(release);
    EXPECT_EQ(Refusal(), "\"test.accdb\" is a database of a later Access than 2019, which is not supported") << int{release};
  }
  MakeAce();
  Patch(0x3E, 1);  // the key of the pages
  EXPECT_EQ(Refusal(), "\"test.accdb\" is encrypted, and page 0 does not say how");
}

TEST_F(Ace, WhatDoesNotReadAsAnEncryptionIsDamage) {
  world.Create().reset();
  if (!HasCrypto()) GTEST_SKIP() << "this build has no cryptography";
  world.options.password = "geheim";
  const auto refusal = [&](std::string_view record) {
    MakeAce(3);
    auto bytes = world.files.Content("test.accdb");
    Store16(bytes.data() + 0x299, static_cast<std::uint16_t>(record.size()));
    std::memcpy(bytes.data() + 0x29B, record.data(), record.size());
    world.files.SetContent("test.accdb", std::move(bytes));
    return CodeOf([&] { (void)world.Open("test.accdb"); });
  };
  EXPECT_EQ(refusal("\1"sv), ErrorCode::kDamaged);
  EXPECT_EQ(refusal("\1\0\1\0"sv), ErrorCode::kUnsupported);
  EXPECT_EQ(refusal("\4\0\3\0xxxxxxxx"sv), ErrorCode::kUnsupported);
  EXPECT_EQ(refusal("\4\0\2\0\4\0\0\0\xFF\xFF\xFF\xFF"sv), ErrorCode::kDamaged);
  const std::string part =
      R"( cipherAlgorithm="AES" cipherChaining="ChainingModeCBC" keyBits="256" hashAlgorithm="SHA512" saltValue="AAAAAAAAAAAAAAAAAAAAAA==")";
  const auto agile = [&](const std::string& xml) { return refusal("\4\0\4\0\x40\0\0\0"s + xml); };
  EXPECT_EQ(agile(""), ErrorCode::kDamaged);
  EXPECT_EQ(agile("<p:encryptedKey " + part + ">"), ErrorCode::kDamaged);
  EXPECT_EQ(agile("<p:encryptedKey spinCount=\"99999999999\"" + part + ">"), ErrorCode::kDamaged);
  EXPECT_EQ(agile("<p:encryptedKey spinCount=\"4000000000\"" + part + ">"), ErrorCode::kDamaged) << "nobody waits for an hour";
  EXPECT_EQ(agile("<p:encryptedKey spinCount=\"1\" encryptedVerifierHashInput=\"AAAA\"" + part + ">"), ErrorCode::kDamaged);
  EXPECT_EQ(agile("<p:encryptedKey spinCount=\"1\" encryptedVerifierHashInput=\"?\"" + part + ">"), ErrorCode::kDamaged);
  std::string other = part;
  other.replace(other.find("AES"), 3, "RC2");
  EXPECT_EQ(agile("<p:encryptedKey spinCount=\"1\"" + other + ">"), ErrorCode::kUnsupported);
  const std::string zeros = "AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA==";  // 64 bytes
  EXPECT_EQ(agile("<p:encryptedKey spinCount=\"1\" encryptedVerifierHashInput=\"AAAAAAAAAAAAAAAAAAAAAA==\" encryptedVerifierHashValue=\"" +
                  zeros + "\"" + part + ">"),
            ErrorCode::kWrongPassword);
}

TEST_F(Ace, IsNotCompacted) {
  world.Create().reset();
  MakeAce();
  const auto database = world.Open("test.accdb");
  EXPECT_EQ(CodeOf([&] { database->Compact("neu.accdb"); }), ErrorCode::kUnsupported);
  EXPECT_FALSE(world.files.Exists("neu.accdb"));
}

class AceTypes : public Ace {
 protected:
  /// A table with columns whose types are changed afterwards: Big, Ext, CalcLong, CalcText, CalcYes, CalcNumber, Many, Odd.
  void SetUp() override {
    const auto database = world.Create();
    TableSpec spec;
    spec.name = "T";
    spec.columns = {Column("Id", ColumnType::kInteger), Column("Big", ColumnType::kCurrency), Column("Ext", ColumnType::kBinary, 42)};
    spec.columns.back().fixedLength = true;
    for (const char* name : {"CalcLong", "CalcText", "CalcYes", "CalcNumber"})
      spec.columns.push_back(Column(name, ColumnType::kBinary, 100));
    spec.columns.push_back(Column("Many", ColumnType::kLong));
    spec.columns.push_back(Column("Odd", ColumnType::kGuid));
    Table& table = database->CreateTable(spec);
    page_ = table.DefinitionPage();
    const std::string number("\x0E\x00\x02\x80\x00\x00\x00\x00\x7D\x00\x00\x00\x00\x00\x00\x00", 16);
    table.Insert(std::vector<Value>{Value(std::int16_t{1}), Value(Currency{INT64_MIN + 1}),
                                    Value(Letters("0000000000000737592:0000000432001234567:7")), Value(Wrapped("\x2A\0\0\0"sv)),
                                    Value(Wrapped("\xFF\xFE"
                                                  "Wayne")),
                                    Value(Wrapped("\xFF")), Value(Wrapped(number)), Value(std::int32_t{3}), Value(Guid{})});
    table.Insert(std::vector<Value>{Value(std::int16_t{2}), Value(Currency{INT64_MAX}),
                                    Value(Letters("0000000000000000000:0000000000000000000:7")), Value(Wrapped("")), Value(Wrapped("")),
                                    Value(Wrapped("\0"sv)), Value(Wrapped("")), Value(std::int32_t{4}), Value()});
    table.Insert(std::vector<Value>{Value(std::int16_t{3}), Value(), Value(), Value(), Value(), Value(), Value(), Value(), Value()});
    table.Insert(std::vector<Value>{Value(std::int16_t{4}), Value(), Value(Letters("no date")), Value(Bytes(5)),
                                    Value(Bytes(30, std::byte{0xFF})), Value(), Value(), Value(), Value()});
  }
  /// Gives the columns their types, and opens the file.
  std::unique_ptr<Database> OpenAce() {
    MakeAce(6);
    Retype(world, page_, {{1, 19}, {2, 20}, {3, 4, 0xC0}, {4, 10, 0xC0}, {5, 1, 0xC0}, {6, 16, 0xC0}, {7, 18}, {8, 71}});
    return world.Open("test.accdb");
  }

 private:
  PageNumber page_ = 0;
};

TEST_F(AceTypes, AreGivenAsWhatHoldsThemExactly) {
  const auto database = OpenAce();
  Table& table = database->OpenTable("T");
  std::vector<std::string> types;
  for (const ColumnDef& column : table.Columns()) types.push_back(std::to_string(static_cast<int>(column.type)));
  EXPECT_EQ(types, (std::vector<std::string>{"3", "16", "10", "4", "10", "1", "10", "4", "17"}));
  EXPECT_FALSE(table.Columns()[7].autoNumber);
  auto scan = table.Scan();
  Row row;
  ASSERT_TRUE(scan.Next());
  ASSERT_TRUE(table.Read(scan.Id(), row));
  EXPECT_EQ(row.Get(1).AsNumeric().Text(), "-9223372036854775807");
  EXPECT_EQ(row.Get(2).AsText(), "2020-06-17 12:00:00.1234567");
  EXPECT_EQ(row.Get(3).AsLong(), 42);
  EXPECT_EQ(row.Get(4).AsText(), "Wayne");
  EXPECT_EQ(row.Get(5).AsBool(), true);
  EXPECT_EQ(row.Get(6).AsText(), "-1.25");
  EXPECT_EQ(row.Get(7).AsLong(), 3);
  EXPECT_EQ(row.Get(8).AsBytes().size(), 16U);
  ASSERT_TRUE(scan.Next());
  ASSERT_TRUE(table.Read(scan.Id(), row));
  EXPECT_EQ(row.Get(1).AsNumeric().Text(), "9223372036854775807");
  EXPECT_EQ(row.Get(2).AsText(), "0001-01-01 00:00:00.0000000");
  for (const std::size_t calculated : {3, 4, 6}) EXPECT_TRUE(row.Get(calculated).IsNull()) << calculated;
  EXPECT_EQ(row.Get(5).AsBool(), false);
  ASSERT_TRUE(scan.Next());
  ASSERT_TRUE(table.Read(scan.Id(), row));
  for (const std::size_t column : {1, 2, 3, 4, 6, 7, 8}) EXPECT_TRUE(row.Get(column).IsNull()) << column;
  EXPECT_EQ(row.Get(5).AsBool(), false);
}

TEST_F(AceTypes, ValuesThatAreNoneAreDamage) {
  const auto database = OpenAce();
  Table& table = database->OpenTable("T");
  auto scan = table.Scan();
  for (int i = 0; i < 4; ++i) ASSERT_TRUE(scan.Next());
  Row row;
  ASSERT_TRUE(table.Read(scan.Id(), row));
  for (const std::size_t column : {2, 3, 4}) EXPECT_EQ(CodeOf([&] { (void)row.Get(column); }), ErrorCode::kDamaged) << column;
  EXPECT_EQ(row.Get(0).AsInteger(), 4);
}

}  // namespace
}  // namespace jet::tests
