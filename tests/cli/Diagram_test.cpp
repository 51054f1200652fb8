// Pictures of tables and relations: the programs that draw them take every sample's, and names are nothing but names.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/cli/Command.h"

namespace tamlo::tests {
namespace {

std::string ContentOf(const TemporaryFolder& folder, const std::string& name) {
  std::ifstream in(folder.File(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// A shop, and a table whose names try to be markup, commands and quotes.
void MakeShop(const TemporaryFolder& folder) {
  const auto database = jet::Database::Create(folder.File("shop.mdb"));
  jet::sql::Session session(*database);
  session.Execute("CREATE TABLE Clients (Id COUNTER CONSTRAINT PK PRIMARY KEY, Nom TEXT(30) NOT NULL)");
  session.Execute(
      "CREATE TABLE Orders (Id COUNTER CONSTRAINT PK PRIMARY KEY, Client LONG NOT NULL CONSTRAINT C1 REFERENCES Clients (Id), "
      "Seller LONG CONSTRAINT C2 REFERENCES Clients (Id), Price DECIMAL(10,2))");
  session.Execute("CREATE TABLE Notes (Client LONG CONSTRAINT PK PRIMARY KEY, CONSTRAINT C3 FOREIGN KEY (Client) REFERENCES Clients (Id))");
  session.Execute(
      "CREATE TABLE [</B>\"}é\\N&#x;--%] (["
      "a\"b <i>\\ ; }] LONG, [a_b] TEXT(5), [a b] LONG, [1é] YESNO, [#quot;] LONG)");
}

TEST(Diagram, MarksKeysAndCardinalities) {
  const TemporaryFolder folder;
  MakeShop(folder);
  ASSERT_EQ(TamloDb(folder, {"diagram", "shop.mdb", "-o", "shop.mmd"}).err, "");
  const std::string text = ContentOf(folder, "shop.mmd");
  EXPECT_NE(text.find("COUNTER Id PK\n"), std::string::npos) << text;
  EXPECT_NE(text.find(" Client PK, FK\n"), std::string::npos) << text;
  EXPECT_NE(text.find(" ||--o{ t3 : \"C1\"\n"), std::string::npos) << text;
  EXPECT_NE(text.find(" |o--o{ t3 : \"C2\"\n"), std::string::npos) << text;
  EXPECT_NE(text.find(" ||--o| t2 : \"C3\"\n"), std::string::npos) << text;
}

/// The lines that Mermaid's grammar has, and no others.
TEST(Diagram, MermaidHoldsItsOwnWordsAlone) {
  const TemporaryFolder folder;
  MakeShop(folder);
  ASSERT_EQ(TamloDb(folder, {"diagram", "shop.mdb", "-o", "shop.mmd"}).status, 0);
  const std::regex line(
      R"re(erDiagram|  t\d+\["[^"]*"\] \{|    [A-Z0-9_()]+ [A-Za-z_][A-Za-z0-9_]*( PK| FK| PK, FK)?( "[^"]*")?|  \}|  t\d+ (\|\||\|o)--o[|{] t\d+ : "[^"]*")re");
  std::istringstream lines(ContentOf(folder, "shop.mmd"));
  for (std::string text; std::getline(lines, text);) EXPECT_TRUE(std::regex_match(text, line)) << text;
  const std::string text = ContentOf(folder, "shop.mmd");
  EXPECT_NE(text.find("t0[\"</B>#quot;}é\\N&#35;x;--%\"] {"), std::string::npos) << text;
  EXPECT_NE(text.find(" a_b_2 \"a b\"\n"), std::string::npos) << text;
}

TEST(Diagram, NamesAreNothingButNamesInAPicture) {
  const TemporaryFolder folder;
  MakeShop(folder);
  const auto ran = TamloDb(folder, {"diagram", "shop.mdb", "-o", "shop.svg"});
  ASSERT_EQ(ran.status, 0) << ran.err;
  EXPECT_EQ(ran.err, "");
  const auto texts =
      RunLine(folder, "python3 -c " + Word("import xml.dom.minidom as m\n"
                                           "for t in m.parse('shop.svg').getElementsByTagName('text'): print(t.firstChild.data)"));
  EXPECT_EQ(texts.err, "");
  for (const char* name : {"\n</B>\"}é\\N&#x;--%\n", "\na\"b <i>\\ ; }\n", "\n#quot;\n", "\n0..n\n", "\nPK FK\n", "\nDECIMAL(10,2)\n"})
    EXPECT_NE(("\n" + texts.out).find(name), std::string::npos) << name << texts.out;
}

TEST(Diagram, EverySampleIsDrawn) {
  if (SampleFiles().empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with Access files";
  const TemporaryFolder folder;
  int number = 0;
  for (const auto& sample : SampleFiles()) {
    const std::string name = std::to_string(++number);
    const auto ran = TamloDb(folder, {"diagram", sample.string(), "-o", name + ".dot"});
    if (ran.status == 3 && ran.err.find("password") != std::string::npos) continue;
    ASSERT_EQ(ran.status, 0) << sample << ran.err;
    const auto drawn = RunLine(folder, "dot -Tsvg " + name + ".dot");
    EXPECT_EQ(drawn.status, 0) << sample;
    EXPECT_EQ(drawn.err, "") << sample;
    EXPECT_NE(drawn.out.find("</svg>"), std::string::npos) << sample;
  }
}

TEST(Diagram, WithoutTheProgramThatDrawsTheMessageNamesIt) {
  const TemporaryFolder folder;
  MakeShop(folder);
  const auto ran = TamloDb(folder, {"diagram", "shop.mdb", "-o", "shop.svg"}, "LC_ALL=C PATH=/nowhere");
  EXPECT_EQ(ran.status, 4);
  EXPECT_EQ(ran.err, "tamlo-db: Graphviz's program dot is not here: install graphviz, or ask for a .dot or .mmd file\n");
  EXPECT_EQ(RunLine(folder, "ls").out.find("svg"), std::string::npos) << "nothing is left of it";
  EXPECT_EQ(TamloDb(folder, {"diagram", "shop.mdb", "-o", "shop.gif"}).status, 2);
}

}  // namespace
}  // namespace tamlo::tests
