// The names under which programs know what is found: one for each kind, the same in every language, and written down.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>

#include "cli/Assessment.h"
#include "cli/Damage.h"
#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "schema/FindingTexts.h"
#include "tests/cli/Command.h"

namespace tamlo::tests {
namespace {

const std::string kFrench = "LC_ALL= LC_MESSAGES=fr_FR.UTF-8";

std::vector<std::string> KeysOfDefinitions() {
  std::vector<std::string> keys;
  for (std::size_t i = 0; i < schema::kWhats; ++i) keys.emplace_back(schema::KeyOf(static_cast<schema::What>(i)));
  return keys;
}

std::vector<std::string> KeysOfValues() {
  std::vector<std::string> keys;
  for (std::size_t i = 0; i < cli::kKindsOfLoss; ++i) keys.emplace_back(cli::KeyOf(static_cast<cli::Loss>(i)));
  return keys;
}

std::vector<std::string> KeysOfFiles() {
  std::vector<std::string> keys;
  for (const auto& sentence : cli::DamageSentences())
    if (keys.empty() || keys.back() != sentence.key) keys.emplace_back(sentence.key);
  keys.emplace_back("other");
  return keys;
}

TEST(Keys, EachKindHasOneAndNoTwoHaveTheSame) {
  std::set<std::string> all;
  std::size_t count = 0;
  for (const auto& keys : {KeysOfDefinitions(), KeysOfValues(), KeysOfFiles()})
    for (const auto& key : keys) {
      EXPECT_TRUE(std::regex_match(key, std::regex("[a-z0-9]+(-[a-z0-9]+)*"))) << key;
      EXPECT_TRUE(all.insert(key).second) << key << " is there twice";
      ++count;
    }
  EXPECT_EQ(KeysOfDefinitions().size(), schema::kWhats);
  EXPECT_EQ(all.size(), count);
}

/// What programs rely on today: who changes one of these changes what they read.
TEST(Keys, StayAsTheyAre) {
  EXPECT_EQ(schema::KeyOf(schema::What::kComputed), "computed-column");
  EXPECT_EQ(schema::KeyOf(schema::What::kValidationRule), "validation-rule");
  EXPECT_EQ(schema::KeyOf(schema::What::kOrphans), "orphans");
  EXPECT_EQ(cli::KeyOf(cli::Loss::kEqualKeys), "equal-keys");
  EXPECT_EQ(cli::DamageKey("The page is in use and belongs to nobody"), "page-of-nobody");
}

/// The page, as it has to be.
std::string Page() {
  std::string page =
      "# Keys of findings\n\n"
      "Reports for programs (`--report x.json`) give each finding a key beside its text. Texts are in the user's language and may become better ones;\n"
      "keys stay. `1`, `2`... stand for names and numbers. A kind that is added gets a key that was never used.\n\n"
      "## Of definitions\n\nMember `key` of `findings`, written by `assess` and `copy`.\n\n| key | what it says |\n|---|---|\n";
  for (std::size_t i = 0; i < schema::kWhats; ++i) {
    const auto what = static_cast<schema::What>(i);
    page += "| `" + std::string(schema::KeyOf(what)) + "` | " +
            std::regex_replace(std::string(schema::PatternOf(what)), std::regex("%([0-9])"), "`$1`") + " |\n";
  }
  page += "\n## Of values\n\nMember `loss` of `values`, written by `assess`.\n\n";
  for (const auto& key : KeysOfValues()) page += "- `" + key + "`\n";
  page +=
      "\n## Of Access files\n\nMember `key` of `findings` (`check`) and of `losses` (`recover`). What stands before the sentence and page and offset behind it are\n"
      "no part of the kind; `other` is one that has no key of its own yet.\n\n| key | what it says |\n|---|---|\n";
  std::string_view before;
  for (const auto& sentence : cli::DamageSentences()) {
    if (sentence.key == before) continue;
    before = sentence.key;
    page +=
        "| `" + std::string(sentence.key) + "` | " + std::regex_replace(std::string(sentence.english), std::regex("[*@~]"), "…") + " |\n";
  }
  return page + "| `other` | |\n";
}

TEST(Keys, StandInTheDocuments) {
  std::ifstream in(TAMLO_DOCS "/findings.md", std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), Page());
}

/// The members of a report's lists, read by another program: "key|table|column".
std::string KeysIn(const TemporaryFolder& folder, const std::string& report, const std::string& list, const std::string& member) {
  const auto ran =
      RunLine(folder, "python3 -c " + Word("import json\nfor f in json.load(open('" + report + "',encoding='utf-8'))['" + list +
                                           "']: print(f['" + member + "'],f.get('table',''),f.get('column',''),sep='|')"));
  EXPECT_EQ(ran.err, "");
  return ran.out;
}

void Make(const TemporaryFolder& folder) {
  ASSERT_EQ(RunLine(folder, "sqlite3 base.sqlite",
                    "CREATE TABLE Clients (Code VARCHAR(9) PRIMARY KEY, Fiche JSON, Gros INTEGER); INSERT INTO Clients VALUES "
                    "('a', NULL, 99999999999), ('A', NULL, 1); CREATE VIEW V AS SELECT Code FROM Clients;")
                .err,
            "");
}

TEST(Keys, OfDefinitionsAreTheSameInEveryLanguage) {
  const TemporaryFolder folder;
  Make(folder);
  for (const std::string& language : {std::string("LC_ALL=C"), kFrench}) {
    const std::string report = language == kFrench ? "f.json" : "e.json";
    EXPECT_EQ(TamloDb(folder, {"assess", "base.sqlite", "--to", "access", "--report", report}, language).status, 1);
    const std::string found = KeysIn(folder, report, "findings", "key");
    EXPECT_EQ(found, "json-to-text|Clients|Fiche\ntoo-large-numbers|Clients|Gros\nnumber-of-64-bits|Clients|Gros\nquery-not-of-access||\n")
        << language;
    EXPECT_EQ(KeysIn(folder, report, "values", "loss"), "equal-keys|Clients|Code\n") << language;
    const auto copied = TamloDb(folder, {"copy", "base.sqlite", language == kFrench ? "f.mdb" : "e.mdb", "--report", "c.json"}, language);
    EXPECT_EQ(copied.status, 1) << copied.err;
    EXPECT_NE(KeysIn(folder, "c.json", "findings", "key").find("index-refused|Clients|\n"), std::string::npos);
  }
}

/// The byte of the first page of rows that says what the page is becomes another one.
TEST(Keys, OfAFileAreTheSameInEveryLanguage) {
  const TemporaryFolder folder;
  const std::string path = folder.File("base.mdb");
  std::size_t page = 0;
  {
    const auto database = jet::Database::Create(path);
    jet::sql::Session session(*database);
    session.Execute("CREATE TABLE Clients (Id LONG)");
    session.Execute("INSERT INTO Clients (Id) VALUES (1)");
    jet::ScanCursor scan = database->OpenTable("Clients").Scan();
    ASSERT_TRUE(scan.Next());
    page = scan.Id().page;
  }
  EXPECT_EQ(TamloDb(folder, {"check", path, "--report", "sain.json"}).status, 0);
  EXPECT_EQ(RunLine(folder, "cat sain.json").out, "{\n  \"file\": \"" + path + "\",\n  \"sound\": true,\n  \"findings\": []\n}\n");
  {
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(static_cast<std::streamoff>(page * 4096));
    file.put('\x07');
  }
  const std::string number = std::to_string(page);
  const auto english = TamloDb(folder, {"check", path, "--report", "e.json"});
  EXPECT_EQ(english.status, 1);
  EXPECT_NE(english.out.find("page " + number + ", offset 0: the table \"Clients\": A data page is expected here (page " + number +
                             ", offset 0)\n"),
            std::string::npos)
      << english.out;
  const auto french = TamloDb(folder, {"check", path, "--report", "f.json"}, kFrench);
  EXPECT_EQ(french.status, 1);
  EXPECT_NE(french.out.find("page " + number + ", octet 0 : la table « Clients » : une page de données est attendue ici (page " + number +
                            ", octet 0)\n"),
            std::string::npos)
      << french.out;
  EXPECT_EQ(KeysIn(folder, "e.json", "findings", "key"), "page-kind||\n");
  EXPECT_EQ(KeysIn(folder, "f.json", "findings", "key"), "page-kind||\n");
  EXPECT_EQ(TamloDb(folder, {"recover", path, "e.mdb", "--report", "re.json"}).status, 1);
  EXPECT_EQ(TamloDb(folder, {"recover", path, "f.mdb", "--report", "rf.json"}, kFrench).status, 1);
  const std::string lost = KeysIn(folder, "re.json", "losses", "key");
  EXPECT_EQ(lost, "page-lost|Clients|\nrows-missing|Clients|\n");
  EXPECT_EQ(KeysIn(folder, "rf.json", "losses", "key"), lost);
}

}  // namespace
}  // namespace tamlo::tests
