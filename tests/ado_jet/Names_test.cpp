#include <fstream>
#include <functional>
#include <iterator>
#include <map>

#include "base/Case.h"
#include "base/Utf16.h"
#include "base/Utf8.h"
#include "jet/sql/Names.h"
#include "jet/sql/Session.h"
#include "jet/value/Text.h"
#include "runtime/Text.h"
#include "tests/ado_jet/JetFixture.h"

using namespace tamlo;
using namespace tamlo::ado;

namespace {

std::string Utf8Of(char32_t letter) {
  std::string text;
  base::AppendCharacter(text, letter);
  return text;
}

/// The forms in which each room holds or compares names.
const std::map<std::string, std::function<std::string(const std::string&)>> kForms = {
    {"jet::FoldCase", [](const std::string& name) { return ::jet::FoldCase(name); }},
    {"jet::sql::FoldName", [](const std::string& name) { return ::jet::sql::FoldName(name); }},
    {"jet::sql::UpperCase", [](const std::string& name) { return ::jet::sql::UpperCase(name); }},
    {"runtime::UpperCase", [](const std::string& name) { return runtime::UpperCase(name); }},
    {"runtime::LowerCase", [](const std::string& name) { return runtime::LowerCase(name); }},
};

TEST(Names, EveryRoomTellsTheSameLettersApart) {
  std::map<std::string, std::map<std::string, char32_t>> firstOfForm;
  for (char32_t code = 1; code <= base::kLastCharacter; ++code) {
    if (base::IsHalf(code)) continue;
    const std::string letter = Utf8Of(code);
    const char32_t expected = base::UpperOf(code) < code ? base::UpperOf(code) : std::min(code, base::LowerOf(code));
    for (const auto& [room, form] : kForms) {
      const char32_t first = firstOfForm[room].emplace(form(letter), code).first->second;
      ASSERT_EQ(first, expected) << room << " of " << letter << " U+" << std::hex << static_cast<unsigned>(code);
    }
    const std::string other = Utf8Of(expected);
    ASSERT_TRUE(::jet::EqualNames(letter, other) && ::jet::sql::SameName(letter, other)) << letter;
  }
}

TEST(Names, AByteThatIsNoTextIsFoundAsTheFileHoldsIt) {
  EXPECT_TRUE(::jet::EqualNames("a\xFFz", "A\uFFFDZ"));
  EXPECT_EQ(::jet::sql::FoldName("a\xFFz"), "A\uFFFDZ");
  EXPECT_EQ(::jet::FoldCase("A\xFFZ"), "a\uFFFDz");
}

/// All letters that have a capital, twenty in a name: in capitals, in small letters and by turns.
struct Spellings {
  std::string upper;
  std::string lower;
  std::string mixed;
};

std::vector<Spellings> AllSpellings() {
  constexpr int kLettersOfAName = 20;
  std::vector<Spellings> all;
  int count = 0;
  for (char32_t code = 0; code <= base::kLastCharacter; ++code) {
    if (base::LowerOf(code) == code) continue;
    if (count % kLettersOfAName == 0) all.emplace_back();
    all.back().upper += Utf8Of(code);
    all.back().lower += Utf8Of(base::LowerOf(code));
    all.back().mixed += Utf8Of(count++ % 2 == 0 ? code : base::LowerOf(code));
  }
  return all;
}

class JetNamesTest : public tests::JetFixture {
 protected:
  /// What the file holds is read anew: nothing that was found before helps to find it.
  void Reopen() {
    connection.Close();
    connection.Open(path, "", "");
  }
  std::int32_t Refused(const std::string& statement) {
    return runtime::IgnoringErrors([&] { connection.Execute(statement); }).number;
  }
};

TEST_F(JetNamesTest, AStatementFindsATableByEveryCaseOfItsName) {
  connection.Execute("CREATE TABLE [Ế] ([Ệ] LONG)");
  Reopen();
  EXPECT_EQ(Rows("SELECT * FROM [ế]"), "");
  Reopen();
  EXPECT_EQ(Rows("SELECT [ệ] FROM [Ế]"), "");
}

TEST_F(JetNamesTest, EveryPathFindsWhatHasALetterByItsOtherCase) {
  for (const auto& [upper, lower, mixed] : AllSpellings()) {
    SCOPED_TRACE(upper);
    connection.Execute("CREATE TABLE [" + upper + "] ([" + lower + "] LONG, [" + upper + "2] LONG)");
    Reopen();
    EXPECT_EQ(Rows("SELECT * FROM [" + lower + "]"), "");
    Reopen();
    connection.Execute("INSERT INTO [" + mixed + "] ([" + upper + "], [" + mixed + "2]) VALUES (1, 2)");
    EXPECT_EQ(Rows("SELECT [" + mixed + "], [" + lower + "2] FROM [" + lower + "]"), "1|2");
    EXPECT_EQ(Rows("SELECT [" + lower + "].[" + upper + "] FROM [" + upper + "]"), "1");
    Reopen();
    connection.Execute("CREATE UNIQUE INDEX [" + lower + "] ON [" + mixed + "] ([" + upper + "])");
    {
      Catalog catalog(connection);
      EXPECT_EQ(catalog.Tables(lower).Name(), upper);
      EXPECT_EQ(catalog.Tables(mixed).ColumnNamed(upper).name, lower);
      Recordset direct = Opened(lower, 1);
      EXPECT_EQ(TextOf(direct.Fields(upper).Value()), "1");
    }
    Reopen();
    EXPECT_NE(Refused("CREATE TABLE [" + mixed + "] (a LONG)"), 0);
    EXPECT_NE(Refused("ALTER TABLE [" + lower + "] ADD COLUMN [" + mixed + "] LONG"), 0);
    EXPECT_NE(Refused("CREATE INDEX [" + upper + "] ON [" + lower + "] ([" + mixed + "2])"), 0);
    connection.Execute("DROP INDEX [" + mixed + "] ON [" + lower + "]");
    connection.Execute("ALTER TABLE [" + mixed + "] DROP COLUMN [" + lower + "2]");
    Reopen();
    connection.Execute("DROP TABLE [" + lower + "]");
  }
}

/// Access tells the letters of some pairs apart, such as these: a file that it made may hold both names.
class TwinsTest : public testing::Test {
 protected:
  static std::string Units(const std::string& text) { return ::jet::ToUtf16(text); }
  /// Names as no statement of ours would take them beside each other.
  void Rename(const std::string& from, const std::string& to) {
    std::ifstream in(path_, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), {});
    in.close();
    int count = 0;
    for (std::size_t at = 0; (at = bytes.find(Units(from), at)) != std::string::npos; ++count)
      bytes.replace(at, Units(from).size(), Units(to));
    ASSERT_GT(count, 0);
    std::ofstream(path_, std::ios::binary) << bytes;
  }
  static std::string First(::jet::sql::Session& session, const std::string& text) {
    const auto query = session.Open(text);
    return query->Next() ? query->Get(0).Describe() : "no row";
  }

  tests::TemporaryFolder folder_;
  std::string path_ = folder_.File("twins.mdb");
};

TEST_F(TwinsTest, NamesThatDifferInCaseAloneAreFoundByTheirOwnSpelling) {
  {
    const auto database = ::jet::Database::Create(path_);
    ::jet::sql::Session session(*database);
    session.Execute("CREATE TABLE [ƆƆƆ1] ([ƉƉƉ1] LONG, [ƉƉƉ2] LONG)");
    session.Execute("CREATE TABLE [ƆƆƆ2] (a LONG)");
    session.Execute("INSERT INTO [ƆƆƆ1] VALUES (11, 12)");
    session.Execute("INSERT INTO [ƆƆƆ2] VALUES (2)");
  }
  Rename("ƆƆƆ2", "ɔɔɔ1");
  Rename("ƉƉƉ2", "ɖɖɖ1");
  const auto database = ::jet::Database::Open(path_);
  ::jet::sql::Session session(*database);
  for (int turn = 0; turn < 2; ++turn) {
    EXPECT_EQ(First(session, "SELECT * FROM [ɔɔɔ1]"), "2");
    EXPECT_EQ(First(session, "SELECT [ƉƉƉ1] FROM [ƆƆƆ1]"), "11");
    EXPECT_EQ(First(session, "SELECT [ɖɖɖ1] FROM [ƆƆƆ1]"), "12");
    EXPECT_EQ(First(session, "SELECT [ɖƉɖ1] FROM [ƆɔƆ1]"), "11") << "by neither spelling, the first";
  }
  EXPECT_EQ(session.Execute("UPDATE [ƆƆƆ1] SET [ɖɖɖ1] = 13"), 1);
  EXPECT_EQ(First(session, "SELECT [ɖɖɖ1] FROM [ƆƆƆ1]"), "13");
  ::jet::Table& table = database->OpenTable("ƆƆƆ1");
  EXPECT_EQ(table.FindColumn("ɖɖɖ1"), 1U);
  EXPECT_EQ(table.FindColumn("ƉƉƉ1"), 0U);
}

}  // namespace
