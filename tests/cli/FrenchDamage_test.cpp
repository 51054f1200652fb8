// What check and recover find, told to who reads French: every sentence that they have, and those of files that were hurt at random.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <regex>

#include "cli/Damage.h"
#include "jet/Database.h"
#include "jet/Recoverer.h"
#include "jet/sql/Session.h"
#include "jet/value/Error.h"
#include "tests/support_lib/Seed.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {
namespace {

std::string Load(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// A text with one sign for each of its marks.
std::string Unmarked(std::string_view text) { return std::regex_replace(std::string(text), std::regex("[*@~]"), "#"); }

/// The literals of a source, those that "+" joins as one with "#" for what stands between them, comments left out.
std::vector<std::string> SentencesOf(const std::string& source) {
  std::string code = std::regex_replace(Load(source), std::regex("//[^\n]*"), "");
  std::vector<std::string> sentences;
  const std::regex literal(R"rx("((?:[^"\\\n]|\\.)*)")rx"), between(R"(\)?\s*\+[^;{}"]*\+\s*(?:std::string\()?)"), blank(R"(\s*)");
  std::size_t end = 0;
  bool open = false;  // a "+" stands behind the last one
  for (std::sregex_iterator at(code.begin(), code.end(), literal), none; at != none; ++at) {
    const auto place = static_cast<std::size_t>(at->position());
    const std::string gap = code.substr(end, place - end);
    const std::string words = std::regex_replace((*at)[1].str(), std::regex(R"(\\(.))"), "$1");
    const bool joined = open && (std::regex_match(gap, between) || std::regex_match(gap, blank));
    if (joined) {
      sentences.back() += (std::regex_match(gap, blank) ? "" : "#") + words;
    } else {
      if (open && std::regex_search(gap, std::regex(R"(^\)?\s*\+)"))) sentences.back() += '#';
      sentences.push_back((std::regex_search(gap, std::regex(R"(\+\s*$)")) ? "#" : "") + words);
    }
    open = true;
    end = place + static_cast<std::size_t>(at->length());
  }
  if (open && std::regex_search(code.substr(end, 20), std::regex(R"(^\)?\s*\+)"))) sentences.back() += '#';
  return sentences;
}

bool IsKnown(const std::string& sentence) {
  for (const auto& known : cli::DamageSentences()) {
    const std::string english = Unmarked(known.english);
    if (english == sentence || english == sentence + ": #" || english.ends_with(": " + sentence)) return true;
    if (sentence.ends_with(": #") && english.starts_with(sentence.substr(0, sentence.size() - 1))) return true;
  }
  for (const auto& known : cli::DamageStructures()) {
    const std::string english = Unmarked(known.english);
    // "of @" is made of an owner that is put together elsewhere.
    if (english == sentence || english.starts_with(sentence.substr(0, sentence.find('#'))) || sentence == "\"#\" of #") return true;
  }
  return false;
}

/// What ends the command instead of being told by it, and what is not said at all.
bool IsNoFinding(const std::string& sentence) {
  for (const char* part : {"There is a file ", "No table of Access can be found", " is open in another program",
                           " is encoded, and nothing of its pages", "SQLite format 3", "Standard ACE DB", "#: #"})
    if (sentence.find(part) != std::string::npos) return true;
  return false;
}

TEST(FrenchDamage, EverySentenceOfTheSourcesIsKnown) {
  std::size_t looked = 0;
  for (const char* file : {"jet/Checker.cpp", "jet/Recoverer.cpp", "jet/DamagedCatalog.cpp", "jet/DamagedFile.cpp", "jet/DamagedTable.cpp",
                           "jet/index/BTreeCheck.cpp", "jet/table/RowCheck.cpp"}) {
    for (const std::string& sentence : SentencesOf(std::string(TAMLO_DOCS "/../") + file)) {
      if (!std::regex_search(sentence, std::regex("[a-z] [a-zA-Z]")) || IsNoFinding(sentence)) continue;
      ++looked;
      EXPECT_TRUE(IsKnown(sentence)) << file << ": " << sentence << "\n(cli/DamageSentences.cpp)";
    }
  }
  EXPECT_GT(looked, 90U);
}

TEST(FrenchDamage, NoSentenceIsHalfEnglish) {
  const std::regex english(R"(\b(the|is|are|of|and|has|have|not|its|to|rows?|which|than|that|left|off)\b)");
  for (const auto& sentence : cli::DamageSentences()) {
    EXPECT_FALSE(std::regex_search(std::string(sentence.french), english)) << sentence.french;
    EXPECT_FALSE(std::regex_search(std::string(sentence.french), std::regex("[^ ][:;]"))) << sentence.french;
  }
}

TEST(FrenchDamage, NamesStayAsTheyAre) {
  EXPECT_EQ(cli::FrenchDamage("the table \"expression expected\": A row's columns overlap (page 12, offset 345)"),
            "la table « expression expected » : les colonnes d'une ligne se chevauchent (page 12, octet 345)");
  EXPECT_EQ(cli::FrenchDamage("The page belongs to the definition of the table \"A\" and to the index \"P\" of the table \"B\""),
            "la page est prise deux fois : par la définition de la table « A » et par l'index « P » de la table « B »");
  EXPECT_EQ(cli::FrenchDamage("the index \"P\" of the table \"T: U\": index entries are not in order"),
            "l'index « P » de la table « T: U » : les entrées d'un index ne sont pas dans l'ordre");
  EXPECT_EQ(cli::FrenchDamage("\"Note\": A long value has 3 bytes, not 40 (page 7, offset 8)"),
            "« Note » : une valeur longue a 3 octets, et non 40 (page 7, octet 8)");
  EXPECT_EQ(cli::FrenchDamage("1 pages hold rows of a table whose definition is lost"),
            "1 page contient des lignes d'une table dont la définition est perdue");
  EXPECT_EQ(cli::FrenchDamage("The index \"I\" is left off: The table \"T\" has rows with equal values: no unique index can be made"),
            "l'index « I » n'est pas repris : des lignes de la table \"T\" ont des valeurs égales : aucun index unique n'est possible");
  EXPECT_EQ(cli::FrenchDamage("Something that nobody knows"), "Something that nobody knows");
  EXPECT_EQ(cli::DamageKey("Something that nobody knows"), "other");
}

void MakeFile(const std::string& path) {
  const auto database = jet::Database::Create(path);
  jet::sql::Session session(*database);
  session.Execute("CREATE TABLE Clients (Id COUNTER CONSTRAINT PK PRIMARY KEY, Nom TEXT(30), Note MEMO)");
  session.Execute("CREATE TABLE Commandes (Client LONG, Prix CURRENCY)");
  session.Execute("ALTER TABLE Commandes ADD CONSTRAINT DeClient FOREIGN KEY (Client) REFERENCES Clients (Id)");
  session.Execute("CREATE INDEX ParNom ON Clients (Nom)");
  jet::Transaction whole(*database);
  for (int i = 1; i <= 150; ++i) {
    session.Execute("INSERT INTO Clients (Nom, Note) VALUES ('Nom" + std::to_string(i) + "', '" + std::string(i % 7 == 0 ? 5000 : 20, 'x') +
                    "')");
    session.Execute("INSERT INTO Commandes (Client, Prix) VALUES (" + std::to_string(i) + ", 12.5)");
  }
  whole.Commit();
}

class Hurt : public testing::Test {
 protected:
  void Look(const std::string& text) {
    ++told_;
    keys_.insert(std::string(cli::DamageKey(text)));
    static const std::regex english(R"(\b(the|The|is|are|of|has|have|not|its|belongs|names|lies)\b)");
    const std::string french = cli::FrenchDamage(text);
    EXPECT_NE(cli::DamageKey(text), "other") << text;
    EXPECT_FALSE(std::regex_search(french, english)) << french << "\nof: " << text;
  }
  void CheckAndRecover(const std::string& path) {
    try {
      const auto database = jet::Database::Open(path, {.mode = jet::OpenMode::kReadOnly});
      for (const auto& finding : database->Check()) Look(finding.text);
    } catch (const jet::Error&) {
      ++refused_;
    }
    const std::string made = folder_.File("made.mdb");
    try {
      for (const auto& loss : jet::Recover(path, made).losses) Look(loss.text);
    } catch (const jet::Error&) {
      ++refused_;
    }
    std::remove(made.c_str());
  }

  const TemporaryFolder folder_;
  std::size_t told_ = 0, refused_ = 0;
  std::set<std::string> keys_;
};

TEST_F(Hurt, FilesAreToldOfInFrench) {
  const std::string whole = folder_.File("base.mdb"), path = folder_.File("hurt.mdb");
  MakeFile(whole);
  const std::string before = Load(whole);
  std::mt19937 random(Seed());
  for (int turn = 0; turn < 120 && !HasFailure(); ++turn) {
    std::string bytes = before;
    const std::size_t pages = bytes.size() / 4096;
    for (unsigned i = 0; i <= random() % 6; ++i) {
      const std::size_t page = 1 + random() % (pages - 1);
      const std::size_t at = page * 4096 + (random() % 2 == 0 ? random() % 40 : random() % 4096);
      bytes[at] = static_cast<char>(random());
    }
    if (turn % 10 == 0) bytes.resize(bytes.size() - random() % (bytes.size() / 2));
    if (turn % 7 == 0)
      std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(random() % (bytes.size() - 4096)), 300, static_cast<char>(random()));
    std::ofstream(path, std::ios::binary) << bytes;
    CheckAndRecover(path);
  }
  EXPECT_GT(told_, 300U);
  EXPECT_GT(keys_.size(), 15U);
}

}  // namespace
}  // namespace tamlo::tests
