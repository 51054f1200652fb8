#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>

#include "tests/jet/storage/JetTestSupport.h"
#include "tests/support_lib/SamplePassword.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace jet::tests {
namespace {

namespace fs = std::filesystem;

/// The files in the folder that JET_SAMPLES names and in "samples2" beside it, which holds what other programs leave in unusual states.
std::vector<std::string> Samples() {
  std::vector<std::string> samples;
  const char* folder = std::getenv("JET_SAMPLES");
  if (folder == nullptr) return {""};
  for (const fs::path& place : {fs::path(folder), fs::absolute(folder).parent_path() / "samples2"}) {
    if (!fs::is_directory(place)) continue;
    for (const auto& entry : fs::recursive_directory_iterator(place))
      if (entry.path().extension() == ".mdb") samples.push_back(entry.path().string());
  }
  std::sort(samples.begin(), samples.end());
  return samples;
}

/// Output of a command under a time limit. Names of tables have accents, which some readers take in such a locale only.
std::string Output(const std::string& command) {
  std::string text;
  FILE* pipe = ::popen(("LC_ALL=C.UTF-8 timeout 60 " + command).c_str(), "r");
  std::array<char, 65536> buffer;
  for (std::size_t count; (count = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) text.append(buffer.data(), count);
  EXPECT_EQ(::pclose(pipe), 0) << command;
  return text;
}

std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

std::string Hex(std::string_view bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const char c : bytes) {
    text += kDigits[static_cast<unsigned char>(c) >> 4];
    text += kDigits[static_cast<unsigned char>(c) & 15];
  }
  return text;
}

std::string Exponential(double value) {
  std::array<char, 64> text;
  std::string printed(text.data(), std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::scientific, 6).ptr);
  const auto sign = printed.find('e') + 2;
  while (printed.size() > sign + 1 && printed[sign] == '0') printed.erase(sign, 1);
  return printed;
}

/// Seconds since 1970 of a serial, whose fraction counts forward also before 1899-12-30.
long long Seconds(double serial) {
  const double day = std::trunc(serial);
  return std::llround((day - 25569) * 86400 + std::fabs(serial - day) * 86400);
}

/// The value as tests/jet/readers/dump.mjs prints it.
std::string AsOtherReader(const Value& value) {
  switch (value.Type()) {
    case ValueType::kNull:
      return "null";
    case ValueType::kBool:
      return value.AsBool() ? "true" : "false";
    case ValueType::kByte:
      return "N" + Exponential(value.AsByte());
    case ValueType::kInteger:
      return "N" + Exponential(value.AsInteger());
    case ValueType::kLong:
      return "N" + Exponential(value.AsLong());
    case ValueType::kSingle:
      return "N" + Exponential(value.AsSingle());
    case ValueType::kDouble:
      return "N" + Exponential(value.AsDouble());
    case ValueType::kDate:
      return "D" + std::to_string(Seconds(value.AsDate().serial));
    case ValueType::kText:
      return "T" + Hex(value.AsText());
    case ValueType::kBytes:
      return "B" + Hex({reinterpret_cast<const char*>(value.AsBytes().data()), value.AsBytes().size()});
    case ValueType::kGuid:
      return "T" + Hex(value.AsGuid().Text());
    default:
      return "T" + Hex(value.Describe());
  }
}

/// Numbers in text (currency, numeric) come with or without their last zeros, GUIDs with or without braces.
std::string Loose(std::string text) {
  if (text.size() < 2 || text[0] != 'T') return text;
  std::string plain;
  for (std::size_t i = 1; i + 1 < text.size(); i += 2) plain += static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16));
  if (plain.find_first_not_of("-0123456789.") == std::string::npos && plain.find('.') != std::string::npos) {
    plain.erase(plain.find_last_not_of('0') + 1);
    if (plain.back() == '.') plain.pop_back();
    return "T" + plain;
  }
  if (plain.size() == 38 && plain.front() == '{') plain = plain.substr(1, 36);
  std::transform(plain.begin(), plain.end(), plain.begin(), [](unsigned char c) { return std::tolower(c); });
  return "T" + plain;
}

using Contents = std::map<std::string, std::vector<std::map<std::string, std::string>>>;  // table -> rows -> column -> value

std::vector<std::string> Split(const std::string& text, const std::string& separator) {
  std::vector<std::string> parts;
  std::size_t at = 0;
  for (std::size_t end; (end = text.find(separator, at)) != std::string::npos; at = end + separator.size())
    parts.push_back(text.substr(at, end - at));
  parts.push_back(text.substr(at));
  return parts;
}

Contents ByOtherReader(const std::string& path, const std::string& password) {
  Contents tables;
  const char* script = std::getenv("TAMLO_READERS");
  for (const auto& line :
       Split(Output("node " + Quoted(std::string(script) + "/dump.mjs") + " " + Quoted(path) + " " + Quoted(password)), "\n")) {
    const auto parts = Split(line, "\t");
    if (parts.size() < 2) continue;
    if (parts[0] == "table") {
      tables[parts[1]];
      continue;
    }
    auto& row = tables[parts[0]].emplace_back();
    for (std::size_t i = 1; i < parts.size(); ++i)
      row[parts[i].substr(0, parts[i].find('='))] = Loose(parts[i].substr(parts[i].find('=') + 1));
  }
  return tables;
}

Contents ByUs(Database& database) {
  Contents tables;
  for (const auto& object : std::vector<CatalogObject>(database.Objects())) {
    if (object.kind != ObjectKind::kTable) continue;
    Table& table = database.OpenTable(object.name);
    auto& rows = tables[Hex(object.name)];
    for (ScanCursor cursor = table.Scan(); cursor.Next();) {
      auto& row = rows.emplace_back();
      for (std::size_t i = 0; i < table.Columns().size(); ++i)
        row[Hex(table.Columns()[i].name)] = Loose(AsOtherReader(cursor.Current().Get(i)));
    }
  }
  return tables;
}

void ExpectSameAsOtherReader(Database& database, const std::string& path, const std::string& password = {}) {
  const Contents ours = ByUs(database);
  const Contents theirs = ByOtherReader(path, password);
  for (const auto& [name, rows] : ours) {
    const auto other = theirs.find(name);
    ASSERT_NE(other, theirs.end()) << name;
    ASSERT_EQ(other->second.size(), rows.size()) << name;
    auto sorted = rows;
    auto others = other->second;
    std::sort(sorted.begin(), sorted.end());
    std::sort(others.begin(), others.end());
    for (std::size_t i = 0; i < rows.size(); ++i) ASSERT_EQ(sorted[i], others[i]) << path << " table " << name;
  }
}

/// The value as mdb-export prints it; nothing where its way of printing tells less than the value.
std::optional<std::string> AsExport(const Value& value) {
  switch (value.Type()) {
    case ValueType::kNull:
      return "\x1d";
    case ValueType::kBool:
      return value.AsBool() ? "1" : "0";
    case ValueType::kByte:
    case ValueType::kInteger:
    case ValueType::kLong:
    case ValueType::kText:
      return value.Type() == ValueType::kText ? value.AsText() : value.Describe();
    default:
      return std::nullopt;
  }
}

/// Moved rows are met in another order there, so rows are compared as a set.
void ExpectSameAsExport(Database& database, const std::string& path) {
  for (const auto& object : std::vector<CatalogObject>(database.Objects())) {
    if (object.kind != ObjectKind::kTable) continue;
    Table& table = database.OpenTable(object.name);
    auto lines =
        Split(Output("mdb-export -Q -b strip -d '<\x1f>' -R '<\x1e>' -0 '\x1d' " + Quoted(path) + " " + Quoted(object.name)), "<\x1e>");
    ASSERT_FALSE(lines.empty());
    if (lines.back().empty()) lines.pop_back();
    const auto header = Split(lines[0], "<\x1f>");
    std::vector<std::size_t> columns;
    std::vector<bool> comparable;
    for (const auto& title : header) {
      const auto column = table.FindColumn(title);
      ASSERT_TRUE(column.has_value()) << title;
      columns.push_back(*column);
      const ColumnType type = table.Columns()[*column].type;
      comparable.push_back(type <= ColumnType::kLong || type == ColumnType::kText || type == ColumnType::kMemo);
    }
    std::vector<std::vector<std::string>> ours, theirs;
    for (ScanCursor cursor = table.Scan(); cursor.Next();) {
      auto& row = ours.emplace_back();
      for (std::size_t f = 0; f < columns.size(); ++f)
        row.push_back(comparable[f] ? AsExport(cursor.Current().Get(columns[f])).value() : "");
    }
    for (std::size_t line = 1; line < lines.size(); ++line) {
      auto fields = Split(lines[line], "<\x1f>");
      ASSERT_EQ(fields.size(), header.size()) << object.name << " row " << line;
      for (std::size_t f = 0; f < fields.size(); ++f)
        if (!comparable[f]) fields[f].clear();
      theirs.push_back(std::move(fields));
    }
    std::sort(ours.begin(), ours.end());
    std::sort(theirs.begin(), theirs.end());
    ASSERT_EQ(ours.size(), theirs.size()) << object.name;
    for (std::size_t i = 0; i < ours.size(); ++i) ASSERT_EQ(ours[i], theirs[i]) << path << " table " << object.name;
  }
}

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

/// What can be done to any table, whatever rules it has: an operation that a rule forbids is one less done.
struct Done {
  int inserted = 0, updated = 0, deleted = 0, refused = 0;
};

void Work(Database& database, const std::string& name, Done& done) {
  Table& table = database.OpenTable(name);
  std::vector<RowId> ids;
  for (ScanCursor cursor = table.Scan(); cursor.Next();) ids.push_back(cursor.Id());
  const auto attempt = [&](int& count, auto call) {
    if (CodeOf(call))
      ++done.refused;
    else
      ++count;
  };
  for (std::size_t i = 0; i < ids.size() && i < 20; ++i) {
    auto values = table.Read(ids[i]).value();
    for (std::size_t c = 0; c < values.size(); ++c) {
      if (table.Columns()[c].autoNumber)
        values[c] = Value();
      else if (values[c].Type() == ValueType::kLong)
        values[c] = Value(values[c].AsLong() + 100000 + static_cast<int>(i));
      else if (values[c].Type() == ValueType::kText && table.Columns()[c].size != 1)
        values[c] = Value(std::string(i % 5 == 0 ? "x" : "é") + std::to_string(i));
    }
    attempt(done.inserted, [&] { table.Insert(values); });
    if (i % 3 == 0) attempt(done.updated, [&] { table.Update(ids[i], values); });
    if (i % 3 == 1) attempt(done.deleted, [&] { table.Delete(ids[i]); });
  }
  database.AddColumn(name, Column("Added text", ColumnType::kText, 40));
  database.AddColumn(name, Column("Added memo", ColumnType::kMemo));
  database.AddColumn(name, Counter("Added number").autoNumber && std::none_of(table.Columns().begin(), table.Columns().end(),
                                                                              [](const ColumnDef& c) { return c.autoNumber; })
                               ? Counter("Added number")
                               : Column("Added number", ColumnType::kDouble));
  std::vector<Value> values(table.Columns().size());
  const std::size_t text = table.FindColumn("Added text").value();
  const std::size_t memo = table.FindColumn("Added memo").value();
  const Value shortText("ajouté"), longText(std::string(9000, 'm'));
  const Assignment assignments[] = {{text, &shortText, nullptr}, {memo, &longText, nullptr}};
  ids.clear();
  for (ScanCursor cursor = table.Scan(); cursor.Next();) ids.push_back(cursor.Id());
  for (std::size_t i = 0; i < ids.size() && i < 10; ++i) table.Update(ids[i], assignments);
  database.CreateIndex(name, Index("Added index", {"Added text"}));
  database.CreateIndex(name, Index("Added index 2", {"Added number", "Added text"}));
  database.DropIndex(name, "Added index");
  for (std::size_t c = 0; c < table.Columns().size(); ++c) {
    if (CodeOf([&] { database.DropColumn(name, std::string(table.Columns()[c].name)); })) continue;
    break;
  }
}

TEST_P(SampleTest, WrittenToItIsStillSoundAndReadAlike) {
  const OpenOptions options = With(OpenMode::kExclusive);
  auto database = Database::Open(copy_, options);
  if (database->ReadOnly()) {
    EXPECT_EQ(database->FormatVersion(), 3);
    EXPECT_EQ(CodeOf([&] { database->CreateTable(PeopleTable()); }), ErrorCode::kReadOnly);
    return;
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

/// All rows of all tables but one, system tables too, and what the catalog says of all objects but that table.
std::map<std::string, std::vector<std::string>> AllBut(Database& database, const std::set<std::string>& edited) {
  std::map<std::string, std::vector<std::string>> contents;
  for (const auto& object : std::vector<CatalogObject>(database.Objects())) {
    if ((object.kind != ObjectKind::kTable && object.kind != ObjectKind::kSystemTable) || edited.count(object.name) != 0) continue;
    Table& table = database.OpenTable(object.name);
    auto& rows = contents[object.name];
    const auto name = object.name == "MSysObjects" ? table.FindColumn("Name") : std::nullopt;
    for (ScanCursor cursor = table.Scan(); cursor.Next();) {
      if (name && edited.count(std::string(cursor.Current().Text(*name))) != 0) continue;
      std::string row;
      for (std::size_t i = 0; i < table.Columns().size(); ++i) row += AsOtherReader(cursor.Current().Get(i)) + "|";
      rows.push_back(std::move(row));
    }
    std::sort(rows.begin(), rows.end());
  }
  return contents;
}

/// The tables that a change of this one may reach through relationships, itself included.
std::set<std::string> Related(Database& database, const std::string& table) {
  std::set<std::string> reached{table};
  for (std::size_t before = 0; before != reached.size();) {
    before = reached.size();
    for (const auto& relationship : database.Relationships())
      if (relationship.enforced && (reached.count(relationship.table) != 0 || reached.count(relationship.referencedTable) != 0))
        reached.insert({relationship.table, relationship.referencedTable});
  }
  return reached;
}

void EditAtRandom(Database& database, const std::string& name, std::mt19937& random, Done& done) {
  Table& table = database.OpenTable(name);
  std::vector<RowId> ids;
  for (ScanCursor cursor = table.Scan(); cursor.Next();) ids.push_back(cursor.Id());
  if (ids.empty()) return;
  for (int step = 0; step < 150; ++step) {
    const auto values = table.Read(ids[random() % ids.size()]);
    if (!values) continue;
    auto changed = *values;
    for (std::size_t c = 0; c < changed.size(); ++c) {
      if (table.Columns()[c].autoNumber) changed[c] = Value();
      if (changed[c].Type() == ValueType::kLong && random() % 2 == 0) changed[c] = Value(static_cast<std::int32_t>(random() % 1000000));
      if (changed[c].Type() == ValueType::kText && random() % 2 == 0)
        changed[c] = Value(std::string("Straße-") + std::to_string(random() % 1000));
    }
    const RowId row = ids[random() % ids.size()];
    const unsigned kind = random() % 4;
    int& count = kind < 2 ? done.inserted : kind == 2 ? done.updated : done.deleted;
    if (CodeOf([&] {
          if (kind < 2)
            ids.push_back(table.Insert(changed));
          else if (kind == 2)
            table.Update(row, changed);
          else
            table.Delete(row);
        }))
      ++done.refused;
    else
      ++count;
  }
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

INSTANTIATE_TEST_SUITE_P(Files, SampleTest, testing::ValuesIn(Samples()));

/// The .accdb files of the samples by their names; none without them.
std::map<std::string, std::string> AccdbSamples() {
  std::map<std::string, std::string> samples;
  const char* folder = std::getenv("JET_SAMPLES");
  if (folder == nullptr) return samples;
  for (const fs::path& place : {fs::path(folder), fs::absolute(folder).parent_path() / "samples2"}) {
    if (!fs::is_directory(place)) continue;
    for (const auto& entry : fs::recursive_directory_iterator(place))
      if (entry.path().extension() == ".accdb") samples[entry.path().stem().string()] = entry.path().string();
  }
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
      if (object.kind == ObjectKind::kTable)
        EXPECT_EQ(Rows(database->OpenTable(object.name)).empty(), database->OpenTable(object.name).RowCount() == 0);
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

}  // namespace
}  // namespace jet::tests
