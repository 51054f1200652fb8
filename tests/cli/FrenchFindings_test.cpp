// What a move loses, told to who reads French: in all forms, and nothing of it in English.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/cli/Command.h"

namespace tamlo::tests {
namespace {

const std::string kFrench = "LC_ALL= LC_MESSAGES=fr_FR.UTF-8";

/// Something of each sort that another engine has not.
void Make(const TemporaryFolder& folder) {
  ASSERT_EQ(RunLine(folder, "sqlite3 base.sqlite",
                    "CREATE TABLE Clients (Code TEXT PRIMARY KEY, Nom, Jour DATE, Fiche JSON, Etrange WIBBLE, Gros INTEGER,"
                    " Double INTEGER AS (length(Nom)));"
                    "INSERT INTO Clients (Code, Nom, Gros) VALUES ('a', 'Ada', 99999999999);"
                    "CREATE TABLE Achats (Id INTEGER PRIMARY KEY, Client TEXT REFERENCES Clients ON DELETE SET NULL);"
                    "INSERT INTO Achats VALUES (1, 'a'), (2, 'perdu');"
                    "CREATE INDEX Rares ON Clients (Nom) WHERE Gros > 5; CREATE INDEX Petits ON Clients (lower(Nom));"
                    "CREATE VIEW V AS SELECT Nom FROM Clients;"
                    "CREATE TRIGGER D AFTER INSERT ON Clients BEGIN SELECT 1; END;")
                .err,
            "");
}

std::string Content(const TemporaryFolder& folder, const std::string& name) {
  std::ifstream in(folder.File(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// The words of which no English finding is without one.
void ExpectNoEnglish(const std::string& text) {
  static const std::regex english(R"(\b(is|the|has|have|becomes|left off|holds|refers|rows|findings)\b)");
  std::smatch found;
  EXPECT_FALSE(std::regex_search(text, found, english)) << found.str() << " in:\n" << text;
}

/// The remarks alone: statements are none of anybody's language.
std::string Remarks(const std::string& out) {
  std::string remarks;
  for (std::size_t at = 0; at < out.size();) {
    const std::size_t end = std::min(out.find('\n', at), out.size());
    if (out.compare(at, 3, "-- ") == 0) remarks += out.substr(at, end - at) + '\n';
    at = end + 1;
  }
  return remarks;
}

/// The findings of a report for programs, read by another program.
std::string TextsOf(const TemporaryFolder& folder, const std::string& report) {
  const auto texts =
      RunLine(folder, "python3 -c " + Word("import json\nfor f in json.load(open('" + report +
                                           "',encoding='utf-8'))['findings']: print('--',f['table']+('.'+f['column'] if f['column'] else "
                                           "''),':',f['text'])"));
  EXPECT_EQ(texts.err, "");
  return texts.out;
}

const std::string kFound =
    "-- Clients.Nom : n'a pas de type ; devient un texte\n"
    "-- Clients.Jour : est un jour sans heure ; devient un instant\n"
    "-- Clients.Fiche : est du JSON ; devient un texte\n"
    "-- Clients.Etrange : est WIBBLE, type inconnu ici ; prise selon la forme de ses valeurs\n"
    "-- Clients.Double : est calculée comme length(Nom) ; devient une colonne ordinaire\n"
    "-- Achats : la relation Achats_Clients fait SET NULL dans la source ; sans cela la modification est refusée\n"
    "-- Clients : l'index Petits porte sur une expression et n'est pas repris\n"
    "-- Clients : l'index Rares ne porte que sur les lignes où Gros > 5 et n'est pas repris\n"
    "-- Clients : le déclencheur D n'est pas repris\n"
    "-- Clients.Gros : a des nombres trop grands pour son type déclaré ; en reçoit un plus large\n";

TEST(FrenchFindings, OfDefinitions) {
  const TemporaryFolder folder;
  Make(folder);
  const auto ran = TamloDb(folder, {"schema", "base.sqlite", "--to", "mariadb"}, kFrench);
  EXPECT_EQ(Remarks(ran.out),
            kFound +
                "-- Achats : la relation Achats_Clients n'est pas reprise : ses colonnes sont trop larges pour une clé de MariaDB\n"
                "-- Clients.Code : la clé primaire n'en tient que les 255 premiers caractères sur MariaDB ; les lignes qui ne diffèrent "
                "qu'au-delà sont refusées\n-- la requête enregistrée V n'est pas reprise\n");
  ExpectNoEnglish(Remarks(ran.out));
}

TEST(FrenchFindings, OfAPlan) {
  const TemporaryFolder folder;
  Make(folder);
  const auto ran = TamloDb(folder, {"copy", "base.sqlite", "neuf.mdb", "--dry-run"}, kFrench);
  const std::string remarks = Remarks(ran.out);
  EXPECT_EQ(remarks.substr(0, kFound.size()), kFound);
  EXPECT_NE(remarks.find("-- Clients.Gros : a 64 bits ; devient un Décimal de 19 chiffres\n"), std::string::npos) << remarks;
  EXPECT_NE(remarks.find("-- 1 ligne de Clients\n-- 2 lignes de Achats\n"), std::string::npos) << remarks;
  EXPECT_NE(remarks.find("-- index et règles de [Clients];\n"), std::string::npos) << remarks;
  ExpectNoEnglish(remarks);
}

TEST(FrenchFindings, OfACopyInItsReportAndAfterIt) {
  const TemporaryFolder folder;
  Make(folder);
  const auto ran = TamloDb(folder, {"copy", "base.sqlite", "neuf.sqlite", "--report", "r.json"}, kFrench);
  EXPECT_EQ(ran.status, 1);
  EXPECT_NE(ran.err.find("tamlo-db: Achats : lignes qui renvoient à des lignes absentes de Clients : 1\n"), std::string::npos) << ran.err;
  ExpectNoEnglish(ran.err);
  const std::string texts = TextsOf(folder, "r.json");
  EXPECT_EQ(texts.substr(0, kFound.size()), kFound);
  EXPECT_NE(texts.find("-- Achats : lignes qui renvoient à des lignes absentes de Clients : 1\n"), std::string::npos) << texts;
  ExpectNoEnglish(texts);
}

TEST(FrenchFindings, OfAnAssessmentInAllItsForms) {
  const TemporaryFolder folder;
  Make(folder);
  const auto text = TamloDb(folder, {"assess", "base.sqlite", "--to", "mariadb", "--report", "r.html"}, kFrench);
  EXPECT_EQ(text.status, 1);
  EXPECT_NE(text.out.find("Clients.Fiche : est du JSON ; devient un texte\n"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("\nla requête enregistrée V n'est pas reprise\n"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("\n2 tables, 3 lignes, "), std::string::npos) << text.out;
  ExpectNoEnglish(text.out);
  const std::string page = Content(folder, "r.html");
  EXPECT_NE(page.find("<td>Clients.Fiche</td><td>est du JSON ; devient un texte</td>"), std::string::npos) << page;
  ExpectNoEnglish(page.substr(page.find("<body>")));
  EXPECT_EQ(TamloDb(folder, {"assess", "base.sqlite", "--to", "access", "--report", "r.json"}, kFrench).status, 1);
  const std::string texts = TextsOf(folder, "r.json");
  EXPECT_NE(texts.find("-- Clients.Gros : a 64 bits ; devient un Décimal de 19 chiffres\n"), std::string::npos) << texts;
  ExpectNoEnglish(texts);
}

TEST(FrenchFindings, OfATableThatNoFileHolds) {
  const TemporaryFolder folder;
  std::string columns;
  for (int i = 0; i < 256; ++i) columns += (i == 0 ? "c" : ", c") + std::to_string(i) + " INTEGER";
  ASSERT_EQ(RunLine(folder, "sqlite3 base.sqlite", "CREATE TABLE Large (" + columns + ");").err, "");
  const auto ran = TamloDb(folder, {"copy", "base.sqlite", "neuf.mdb"}, kFrench);
  EXPECT_EQ(ran.status, 4);
  EXPECT_EQ(ran.err, "tamlo-db: neuf.mdb ne peut pas être créée : Large : a 256 colonnes ; une table d'Access en a 255 au plus\n");
}

/// What the engine says stands in the sentence as it says it.
TEST(FrenchFindings, OfRowsThatAnIndexDoesNotAllow) {
  const TemporaryFolder folder;
  ASSERT_EQ(RunLine(folder, "sqlite3 base.sqlite", "CREATE TABLE T (N VARCHAR(9) PRIMARY KEY); INSERT INTO T VALUES ('a'), ('A');").err,
            "");
  const auto ran = TamloDb(folder, {"copy", "base.sqlite", "neuf.mdb"}, kFrench);
  EXPECT_EQ(ran.status, 1);
  EXPECT_EQ(
      ran.err,
      "tamlo-db: T : l'index PrimaryKey n'est pas repris : The table \"T\" has rows with equal values: no unique index can be made\n");
}

}  // namespace
}  // namespace tamlo::tests
