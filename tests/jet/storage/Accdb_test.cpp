// Real .accdb files, read and written.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

#include "jet/page/AceEncryption.h"
#include "jet/schema/Engine.h"
#include "jet/schema/PageSurvey.h"
#include "jet/table/IndexCursor.h"
#include "jet/table/TableCore.h"
#include "jet/value/ByteOrder.h"
#include "tests/jet/storage/JetTestSupport.h"
#include "tests/jet/storage/SampleSupport.h"
#include "tests/support_lib/SampleFiles.h"
#include "tests/support_lib/SamplePassword.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace jet::tests {
namespace {

namespace fs = std::filesystem;

/// The .accdb files of the samples by their names; none without them.
std::map<std::string, std::string> AccdbSamples() {
  std::map<std::string, std::string> samples;
  for (const auto& file : tamlo::tests::AllSampleFiles({".accdb"})) samples[file.stem().string()] = file.string();
  return samples;
}

TEST(AccdbSamples, AreSound) {
  const auto samples = AccdbSamples();
  if (samples.empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with .accdb files";
  // As their programs left them.
  const std::map<std::string, std::size_t> known{{"calcFieldTestV2010", 1}, {"enc-agile-aes256-password", 1}, {"odbcLinkerTestV2007", 7}};
  OpenOptions reading;
  reading.mode = OpenMode::kReadOnly;
  for (const auto& [name, path] : samples) {
    SCOPED_TRACE(name);
    reading.password = {};
    if (name.starts_with("enc-")) {
      EXPECT_EQ(CodeOf([&] { (void)Database::Open(path, reading); }), ErrorCode::kPasswordProtected);
      for (const char* wrong : {"password ", "Password", "x", "1234567890123456789012345678901234567890"}) {
        reading.password = wrong;
        EXPECT_EQ(CodeOf([&] { (void)Database::Open(path, reading); }), ErrorCode::kWrongPassword) << wrong;
      }
      reading.password = tamlo::tests::SamplePassword(path);
    }
    const auto database = Database::Open(path, reading);
    const auto found = known.find(name);
    EXPECT_EQ(database->Check().size(), found == known.end() ? 0U : found->second) << Findings(*database);
    for (const CatalogObject& object : database->Objects())
      if (object.kind == ObjectKind::kTable) {
        EXPECT_EQ(Rows(database->OpenTable(object.name)).empty(), database->OpenTable(object.name).RowCount() == 0);
      }
  }
}

/// The first row's value of a column.
Value FirstValue(const std::string& path, const std::string& tableName, const std::string& column) {
  OpenOptions reading;
  reading.mode = OpenMode::kReadOnly;
  const auto database = Database::Open(path, reading);
  Table& table = database->OpenTable(tableName);
  auto scan = table.Scan();
  Row row;
  if (!scan.Next() || !table.Read(scan.Id(), row)) return {};
  for (std::size_t i = 0; i < table.Columns().size(); ++i)
    if (table.Columns()[i].name == column) return row.Get(i);
  return {};
}

TEST(AccdbSamples, TypesThatJet4HasNotAreGivenExactly) {
  auto samples = AccdbSamples();
  if (samples.empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with .accdb files";
  EXPECT_EQ(FirstValue(samples["bigint2016"], "Table", "Numeric").AsNumeric().Text(), "42");
  EXPECT_EQ(FirstValue(samples["extDateTestV2019"], "Table1", "DateExt").AsText(), "2020-06-17 00:00:00.0000000");
  const std::string& calculated = samples["calcFieldTestV2010"];
  EXPECT_EQ(FirstValue(calculated, "Table1", "LastFirst").AsText(), "Wayne, Bruce");
  EXPECT_EQ(FirstValue(calculated, "Table1", "LastFirstLen").AsLong(), 12);
  EXPECT_EQ(FirstValue(calculated, "Table1", "MonthlySalary").AsCurrency().scaled, 833333333);
  EXPECT_EQ(FirstValue(calculated, "Table1", "IsRich").AsBool(), true);
  EXPECT_EQ(FirstValue(calculated, "Table1", "AllNames").AsText(), "Wayne, Bruce=Wayne, Bruce");
  EXPECT_EQ(FirstValue(calculated, "Table1", "WeeklySalary").AsText(), "19230.7692307692");
}

std::vector<std::byte> BytesOf(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  const std::string content{std::istreambuf_iterator<char>(stream), {}};
  const auto* bytes = reinterpret_cast<const std::byte*>(content.data());
  return {bytes, bytes + content.size()};
}

std::vector<std::string> Names() {
  std::vector<std::string> names;
  for (const auto& [name, path] : AccdbSamples()) names.push_back(name);
  if (names.empty()) names.emplace_back();
  return names;
}

/// A copy of one file.
class AccdbFile : public testing::Test {
 protected:
  void Take(const std::string& name) {
    name_ = name;
    const auto samples = AccdbSamples();
    if (samples.count(name) == 0) GTEST_SKIP() << "JET_SAMPLES names no folder with .accdb files";
    original_ = samples.at(name);
    copy_ = folder_.File("copy.accdb");
    fs::copy_file(original_, copy_, fs::copy_options::overwrite_existing);
    fs::permissions(copy_, fs::perms::owner_read | fs::perms::owner_write);
    password_ = tamlo::tests::SamplePassword(original_);
    // Some are left by their programs with findings; which they are is in AreSound.
    const auto database = Open(OpenMode::kReadOnly);
    findings_ = Wrong(*database);
    sound_ = database->Check().empty();
  }
  [[nodiscard]] std::unique_ptr<Database> Open(OpenMode mode = OpenMode::kExclusive) const {
    OpenOptions options;
    options.mode = mode;
    options.password = password_;
    return Database::Open(copy_, options);
  }
  static std::vector<std::string> TablesOf(Database& database) {
    std::vector<std::string> tables;
    for (const auto& object : database.Objects())
      if (object.kind == ObjectKind::kTable) tables.push_back(object.name);
    return tables;
  }
  /// What other programs read. Of files whose method or types they do not know, a decrypted copy by mdb-export, which knows no encryption.
  void CompareWithReaders(Database& database) {
    // mdb-reader 3.2 gives up on them as they are, before anything was written: three ways of encryption, a type, an empty attachment.
    static const std::set<std::string> kNotRead{"enc-aes256-standard-password", "enc-agile-aes128-sha1-Test123", "enc-rc4-40-Test123",
                                                "unsupportedFieldsTestV2007",   "complexDataTestV2007",          "complexDataTestV2010"};
    const bool mdbtools = std::system("command -v mdb-export >/dev/null") == 0;
    const char* modules = std::getenv("TAMLO_NODE_MODULES");
    const bool other = modules != nullptr && fs::exists(std::string(modules) + "/mdb-reader");
    // Letters beyond 16 bits come as "??".
    if (mdbtools && name_.find("Emoticons") == std::string::npos) ExpectSameAsExport(database, Plain(copy_));
    if (other && kNotRead.count(name_) == 0) ExpectSameAsOtherReader(database, copy_, password_);
    ExpectStrictlySound();
    EXPECT_TRUE(mdbtools || other) << "neither mdb-export nor mdb-reader is installed";
  }
  /// The path itself, or that of a decrypted copy of an encrypted file.
  std::string Plain(const std::string& path, const char* name = "plain.accdb") const {
    if (password_.empty()) return path;
    auto bytes = BytesOf(path);
    const FileHeader header = FileHeader::Read(bytes, path);
    const auto codec = UnlockAce(header, password_, path);
    for (PageNumber page = 1; page < bytes.size() / kPage; ++page) {
      const auto whole = std::span(bytes).subspan(page * kPage, kPage);
      if (std::any_of(whole.begin(), whole.end(), [](std::byte byte) { return byte != std::byte{0}; })) codec->Decode(page, whole);
    }
    Store32(bytes.data() + 0x3E, Load32(bytes.data() + 0x3E) ^ header.encryptionKey);  // the mask over the head is a stream
    std::fill(bytes.begin() + FileHeader::kEncryptionOffset, bytes.begin() + 0xE00, std::byte{0});
    std::ofstream(folder_.File(name), std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return folder_.File(name);
  }
  /// The checker that shares no code with the engine. One file counts its rows wrongly as it is, and otherwise wrongly when one has gone.
  void ExpectStrictlySound() const {
    if (name_ == "calcFieldTestV2010") return;
    const std::string command = "python3 -B " JET_STRICT_CHECK " --like '" + Plain(original_, "was.accdb") + "' '" + Plain(copy_) +
                                "' > '" + folder_.File("said") + "'";
    EXPECT_EQ(std::system(command.c_str()), 0) << std::ifstream(folder_.File("said")).rdbuf();
  }
  void ExpectAsSound(Database& database) const {
    EXPECT_LE(Wrong(database), findings_) << Findings(database);
    if (sound_) {
      EXPECT_EQ(Findings(database), "");
    }
  }
  /// Findings but for pages that nobody owned before either.
  static std::size_t Wrong(Database& database) {
    const auto findings = database.Check();
    return static_cast<std::size_t>(std::count_if(findings.begin(), findings.end(), [](const Finding& finding) {
      return finding.text != "The page is in use and belongs to nobody";
    }));
  }
  /// Pages that belonged to others than these tables must be as they were.
  void ExpectOthersUntouched(const std::vector<std::byte>& before, const std::vector<std::byte>& after,
                             const std::set<std::string>& edited) {
    OpenOptions options;
    options.mode = OpenMode::kReadOnly;
    options.password = password_;
    const auto database = Database::Open(original_, options);
    const auto owners = SurveyPages(database->Internals());
    std::size_t compared = 0;
    for (PageNumber page = 1; page < before.size() / kPage; ++page) {
      const std::string* owner = owners.OwnerOf(page);
      if (owner == nullptr || owner->find("usage map") != std::string::npos) continue;
      if (std::any_of(edited.begin(), edited.end(),
                      [&](const std::string& name) { return owner->ends_with("the table \"" + name + "\""); }))
        continue;
      ++compared;
      const auto same = std::equal(before.begin() + page * kPage, before.begin() + (page + 1) * kPage, after.begin() + page * kPage);
      EXPECT_TRUE(same) << "page " << page << " of " << *owner;
    }
    EXPECT_GT(compared, 30U);
  }

  static constexpr std::ptrdiff_t kPage = 4096;
  tamlo::tests::TemporaryFolder folder_;
  std::string name_, original_, copy_, password_;
  std::size_t findings_ = 0;
  bool sound_ = false;  ///< without any finding
};

class AccdbSample : public AccdbFile, public testing::WithParamInterface<std::string> {
 protected:
  void SetUp() override { Take(GetParam()); }
};

TEST_P(AccdbSample, RowsWrittenToItAreSoundAndReadAlikeAndNothingElseChanges) {
  std::mt19937 random(20261123);
  Done done;
  const auto original = BytesOf(copy_);
  for (const std::string& name : TablesOf(*Open(OpenMode::kReadOnly))) {
    SCOPED_TRACE(name);
    fs::copy_file(original_, copy_, fs::copy_options::overwrite_existing);
    auto database = Open();
    std::set<std::string> edited = Related(*database, name);
    for (const auto& object : database->Objects())
      if (object.name.starts_with("f_")) edited.insert(object.name);  // the values of complex columns
    const auto before = AllBut(*database, edited);
    EditAtRandom(*database, name, random, done);
    ExpectAsSound(*database);
    EXPECT_EQ(AllBut(*database, edited), before);
    database = nullptr;
    ExpectOthersUntouched(original, BytesOf(copy_), edited);
    CompareWithReaders(*Open());
  }
  std::printf("%s: %d inserted, %d updated, %d deleted, %d refused, the last one because: %s\n", GetParam().c_str(), done.inserted,
              done.updated, done.deleted, done.refused, done.lastRefusal.c_str());
}

TEST_P(AccdbSample, WhatIsRolledBackLeavesEveryByte) {
  const auto before = BytesOf(copy_);
  std::mt19937 random(7);
  Done done;
  {
    const auto database = Open();
    database->Begin();
    for (const std::string& name : TablesOf(*database)) EditAtRandom(*database, name, random, done);
    database->Rollback();
  }
  EXPECT_EQ(BytesOf(copy_), before);
}

TEST_P(AccdbSample, TablesMadeInItAreSoundAndReadAlike) {
  auto database = Open();
  const int release = database->Release();
  Table& people = database->CreateTable(PeopleTable("Des gens"));
  TableSpec child = PeopleTable("Enfants");
  child.columns.push_back(Column("Parent", ColumnType::kLong));
  database->CreateTable(child);
  for (int i = 0; i < 300; ++i)
    people.Insert(Person("n" + std::to_string(i), std::string(static_cast<std::size_t>(i * 20 + 1), 'x'), i % 2 == 0, i));
  Relationship relationship;
  relationship.name = "GensEnfants";
  relationship.table = "Enfants";
  relationship.referencedTable = "Des gens";
  relationship.columns = {{"Parent", "Id"}};
  relationship.cascadeDeletes = true;
  database->CreateRelationship(relationship);
  Table& children = database->OpenTable("Enfants");
  for (int i = 1; i <= 50; ++i)
    children.Insert(std::vector<Value>{Value(), Value("e" + std::to_string(i)), Value(), Value(false), Value(), Value(std::int32_t{i})});
  EXPECT_EQ(CodeOf([&] {
              children.Insert(std::vector<Value>{Value(), Value("e"), Value(), Value(false), Value(), Value(std::int32_t{999})});
            }),
            ErrorCode::kRelationViolated);
  database->AddColumn("Des gens", Column("More", ColumnType::kCurrency));
  database->DropColumn("Des gens", "Amount");
  database->AlterColumn("Des gens", Column("Name", ColumnType::kText, 80));
  database->CreateIndex("Des gens", Index("More", {"More", "Name"}));
  database->CreateTable(PeopleTable("Dropped"));
  database->DropTable("Dropped");
  ExpectAsSound(*database);
  EXPECT_EQ(database->Release(), release);
  database = nullptr;
  database = Open();
  ExpectAsSound(*database);
  CompareWithReaders(*database);
}

INSTANTIATE_TEST_SUITE_P(Files, AccdbSample, testing::ValuesIn(Names()));

/// Every page of the file comes out as it was when it is decoded and encoded.
TEST(AccdbSamples, PagesAreEncryptedAsTheyWere) {
  std::size_t pages = 0;
  for (const auto& [name, path] : AccdbSamples()) {
    if (!name.starts_with("enc-")) continue;
    SCOPED_TRACE(name);
    const auto bytes = BytesOf(path);
    const auto codec = UnlockAce(FileHeader::Read(bytes, path), tamlo::tests::SamplePassword(path), path);
    for (PageNumber page = 1; page < bytes.size() / 4096; ++page) {
      const std::vector<std::byte> stored(bytes.begin() + page * 4096, bytes.begin() + (page + 1) * 4096);
      auto plain = stored;
      codec->Decode(page, plain);
      EXPECT_NE(plain, stored);
      codec->Encode(page, plain);
      EXPECT_EQ(plain, stored) << page;
      ++pages;
    }
  }
  if (pages == 0) GTEST_SKIP() << "JET_SAMPLES names no folder with encrypted .accdb files";
}

using AccdbTypes = AccdbFile;

std::vector<std::byte> FirstPage(const std::string& path) {
  auto bytes = BytesOf(path);
  bytes.resize(4096);
  return bytes;
}

TEST_F(AccdbTypes, BigIntegersAreWrittenExactly) {
  Take("bigint2016");
  if (IsSkipped()) return;
  const auto database = Open();
  Table& table = database->OpenTable("Table");
  for (const char* number : {"9223372036854775807", "-9223372036854775808", "9007199254740993"})
    table.Insert(std::vector<Value>{Value(), Value(number)});
  EXPECT_EQ(CodeOf([&] { table.Insert(std::vector<Value>{Value(), Value("9223372036854775808")}); }), ErrorCode::kTypeMismatch);
  EXPECT_EQ(Findings(*database), "");
  EXPECT_EQ(FirstPage(copy_)[0x14], std::byte{5});
  CompareWithReaders(*database);
}

TEST_F(AccdbTypes, ExtendedDatesAreOrderedAmongThoseOfAccess) {
  Take("extDateTestV2019");
  if (IsSkipped()) return;
  const auto database = Open();
  Table& table = database->OpenTable("Table1");
  std::size_t searched = 0;
  for (const auto& index : table.Indexes()) {
    const auto column = index.columns.at(0).column;
    if (table.Core().Stored()[column].shape != TableDefinition::Shape::kExtendedDate) continue;
    ++searched;
    IndexCursor cursor(table, *table.FindIndex(index.name));
    cursor.SetRange(std::nullopt, std::nullopt);
    std::vector<std::string> texts;
    while (cursor.Next()) texts.push_back((*table.Read(cursor.Id()))[column].Describe());
    if (index.columns.at(0).descending) std::reverse(texts.begin(), texts.end());
    EXPECT_TRUE(std::is_sorted(texts.begin(), texts.end()) || texts.back() == "NULL" || texts.front() == "NULL") << index.name;
    EXPECT_EQ(texts.size(), table.RowCount());
  }
  EXPECT_EQ(searched, 2U);
}

TEST_F(AccdbTypes, AttachmentsComeWithNewRowsAndGoWithOldOnes) {
  Take("attachments2016");
  if (IsSkipped()) return;
  const auto database = Open();
  Table& table = database->OpenTable("Table1");
  const std::size_t files = table.ColumnAt("Attachments");
  std::int64_t highest = 0;
  std::vector<RowId> rows;
  for (ScanCursor scan = table.Scan(); scan.Next();) {
    rows.push_back(scan.Id());
    highest = std::max(highest, scan.Current().Integer(files));
  }
  const auto id = table.Insert(std::vector<Value>{Value(), Value("neu"), Value()});
  EXPECT_GT((*table.Read(id))[files].AsLong(), highest);
  std::vector<ComplexColumn> complex = database->Internals().catalog.ComplexColumnsOf(table.DefinitionPage());
  ASSERT_EQ(complex.size(), 1U);
  const auto count = [&] { return Rows(database->Internals().TableAt(complex[0].values, {})).size(); };
  EXPECT_GT(count(), 0U);
  for (const RowId row : rows) table.Delete(row);
  EXPECT_EQ(count(), 0U);
  EXPECT_EQ(Findings(*database), "");
  CompareWithReaders(*database);
  database->DropTable("Table1");
  EXPECT_EQ(Findings(*database), "");
  EXPECT_EQ(database->Internals().catalog.FindById(static_cast<std::int32_t>(complex[0].values)), nullptr);
}

TEST_F(AccdbTypes, AMemoThatKeepsItsHistoryIsKnown) {
  for (const char* name : {"complexDataTestV2007", "complexDataTestV2010"}) {
    Take(name);
    if (IsSkipped()) return;
    const auto database = Open();
    Table& table = database->OpenTable("Table1");
    ScanCursor scan = table.Scan();
    ASSERT_TRUE(scan.Next());
    const RowId first = scan.Id();
    scan.Rest();
    const Value text("neu");
    const Assignment history[] = {{table.ColumnAt("append-memo-data"), &text, nullptr}},
                     plain[] = {{table.ColumnAt("memo-data"), &text, nullptr}};
    EXPECT_EQ(TextOf([&] { table.Update(first, history); }),
              "The column \"append-memo-data\" keeps the history of its values: it is not written");
    EXPECT_EQ(TextOf([&] { table.Insert(history); }), "The column \"append-memo-data\" keeps the history of its values: it is not written");
    table.Update(first, plain);
    EXPECT_EQ((*table.Read(first))[table.ColumnAt("memo-data")].AsText(), "neu");
    EXPECT_EQ(Findings(*database), "");
    database->DropTable("Table1");
    EXPECT_EQ(Findings(*database), "");
  }
}

TEST_F(AccdbTypes, ATableWithCalculatedColumnsIsOnlyDeletedFrom) {
  Take("calcFieldTestV2010");
  if (IsSkipped()) return;
  const auto database = Open();
  Table& table = database->OpenTable("Table1");
  EXPECT_EQ(CodeOf([&] { table.Insert(std::vector<Value>(table.Columns().size())); }), ErrorCode::kUnsupported);
  ScanCursor scan = table.Scan();
  ASSERT_TRUE(scan.Next());
  const RowId first = scan.Id();
  scan.Rest();
  table.Delete(first);
  EXPECT_EQ(Rows(table).size(), 3U);
  ExpectAsSound(*database);
}

/// What the definition says but for where things lie.
std::string Described(const TableDefinition& definition) {
  std::string text = std::string(1, static_cast<char>(definition.tableType)) + " " + std::to_string(definition.maxColumns) + " " +
                     std::to_string(definition.variableColumns) + " " + std::to_string(definition.Encode().size());
  const auto number = [&](auto value) { text += " " + std::to_string(static_cast<unsigned>(value)); };
  for (const auto& column : definition.columns) {
    text += "\n  " + column.name;
    for (const unsigned value : {static_cast<unsigned>(column.type), unsigned{column.number}, unsigned{column.variableIndex},
                                 unsigned{column.numberAgain}, unsigned{column.flags}, unsigned{column.extraFlags},
                                 unsigned{column.IsFixed() ? column.fixedOffset : 0U}, unsigned{column.length}})
      number(value);
    for (const auto byte : column.sort) number(byte);
  }
  for (const auto& tree : definition.trees) {
    text += "\n  tree";
    number(tree.flags);
    for (const auto& part : tree.columns) number(part.number);
  }
  for (const auto& index : definition.indexes) {
    text += "\n  index " + index.name;
    for (const unsigned value :
         {index.number, index.tree, unsigned{index.type}, unsigned{index.cascadeUpdates}, unsigned{index.cascadeDeletes}})
      number(value);
  }
  for (const auto& maps : definition.longMaps) number(maps.column);
  return text;
}

/// The tables that every .accdb has, by name.
std::map<std::string, std::string> AceTables(Database& database) {
  std::map<std::string, std::string> tables;
  for (const auto& object : std::vector<CatalogObject>(database.Objects()))
    if (object.name.starts_with("MSysComplex"))
      tables[object.name] = std::to_string(object.flags) + " " + Described(database.OpenTable(object.name).Core().Definition());
  return tables;
}

TEST(OurAccdb, HasTheTablesOfOneThatAccessMade) {
  const auto samples = AccdbSamples();
  if (samples.count("empty2007") == 0) GTEST_SKIP() << "JET_SAMPLES names no folder with .accdb files";
  const tamlo::tests::TemporaryFolder folder;
  const auto ours = Database::Create(folder.File("neu.accdb"));
  OpenOptions reading;
  reading.mode = OpenMode::kReadOnly;
  const auto theirs = Database::Open(samples.at("empty2007"), reading);
  EXPECT_EQ(AceTables(*ours).size(), 10U);
  EXPECT_EQ(AceTables(*ours), AceTables(*theirs));
  const auto head = [](const std::string& path) {
    auto page = BytesOf(path);
    page.resize(0xA0);  // the commit bytes lie behind
    return page;
  };
  EXPECT_EQ(head(folder.File("neu.accdb")), head(samples.at("empty2007")));
}

TEST(OurAccdb, IsReadByOthers) {
  const tamlo::tests::TemporaryFolder folder;
  const std::string path = folder.File("neu.accdb");
  {
    const auto database = Database::Create(path);
    Table& people = database->CreateTable(PeopleTable("Des gens"));
    for (int i = 0; i < 300; ++i)
      people.Insert(Person("n" + std::to_string(i), std::string(static_cast<std::size_t>(i * 20 + 1), 'x'), i % 2 == 0, i));
    database->CreateTable(PeopleTable("Leer"));
  }
  const auto database = Database::Open(path);
  EXPECT_EQ(Findings(*database), "");
  EXPECT_EQ(std::system(("python3 -B " JET_STRICT_CHECK " '" + path + "'").c_str()), 0);
  const char* modules = std::getenv("TAMLO_NODE_MODULES");
  if (modules != nullptr && fs::exists(std::string(modules) + "/mdb-reader")) ExpectSameAsOtherReader(*database, path);
  if (std::system("command -v mdb-export >/dev/null") != 0) GTEST_SKIP() << "mdb-export is not installed";
  ExpectSameAsExport(*database, path);
  EXPECT_EQ(std::system(("mdb-ver '" + path + "' | grep -q ACE12").c_str()), 0);
}

}  // namespace
}  // namespace jet::tests
