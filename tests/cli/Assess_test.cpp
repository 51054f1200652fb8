// What a move would lose: of the definitions, of the rows, told three ways.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/cli/Command.h"

namespace tamlo::tests {
namespace {

std::string Report(const TemporaryFolder& folder, const std::string& name) {
  std::ifstream in(folder.File(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

void Make(const TemporaryFolder& folder, const std::vector<std::string>& statements) {
  const auto database = jet::Database::Create(folder.File("base.mdb"));
  jet::sql::Session session(*database);
  for (const auto& statement : statements) session.Execute(statement);
}

/// Puts other bytes in the place of a value's, as files of others may hold values that our engine does not write.
template <typename Number>
void Patch(std::string& file, Number from, Number to) {
  std::string was(sizeof from, '\0');
  std::string is(sizeof to, '\0');
  std::memcpy(was.data(), &from, sizeof from);
  std::memcpy(is.data(), &to, sizeof to);
  const auto at = file.find(was);
  ASSERT_NE(at, std::string::npos);
  file.replace(at, is.size(), is);
}

/// One value of each sort that some engine cannot hold.
void MakeHardValues(const TemporaryFolder& folder) {
  {
    const auto database = jet::Database::Create(folder.File("base.mdb"));
    jet::sql::Session session(*database);
    session.Execute("CREATE TABLE V (R DOUBLE, S SINGLE, M DATETIME, X TEXT(50))");
    auto& table = database->OpenTable("V");
    const jet::Value null;
    const std::vector<std::vector<jet::Value>> rows{
        {jet::Value(1111.5), jet::Value(1113.5F), jet::Value(jet::Date{40000.0000000001}), jet::Value(std::string("a\0b", 3))},
        {jet::Value(1112.5), jet::Value(1114.5F), jet::Value(jet::Date{40000.5}), jet::Value("plain")},
        {jet::Value(1115.5), null, jet::Value(jet::Date{1116.5}), null}};
    for (const auto& row : rows) table.Insert(row);
  }
  std::string file = Report(folder, "base.mdb");
  Patch(file, 1111.5, std::numeric_limits<double>::quiet_NaN());
  Patch(file, 1112.5, -0.0);
  Patch(file, 1113.5F, std::numeric_limits<float>::infinity());
  Patch(file, 1114.5F, -0.0F);
  Patch(file, 1115.5, std::numeric_limits<double>::quiet_NaN());
  Patch(file, 1116.5, 1e9);
  std::ofstream(folder.File("base.mdb"), std::ios::binary) << file;
}

/// "column:loss:rows" of each, from the report for programs, read by another program.
std::string Seen(const TemporaryFolder& folder, const std::string& engine) {
  RunLine(folder, "rm -f r.json");
  const auto ran = TamloDb(folder, {"assess", "base.mdb", "--to", engine, "--report", "r.json"});
  EXPECT_EQ(ran.err, "");
  return RunLine(folder, "node -e " + Word("const r=JSON.parse(require('fs').readFileSync('r.json','utf8'));"
                                           "console.log(r.values.map(v=>[v.column,v.loss,v.rows].join(':')).join(' '))"))
      .out;
}

TEST(Assess, SeesTheValuesThatAnEngineCannotHold) {
  const TemporaryFolder folder;
  MakeHardValues(folder);
  const std::string moments = "M:finer-than-milliseconds:1 M:no-day:1";
  EXPECT_EQ(Seen(folder, "mariadb"), moments + " R:nan:2 R:negative-zero:1 S:infinity:1 S:negative-zero:1\n");
  EXPECT_EQ(Seen(folder, "postgresql"), moments + " X:nul:1\n");
  EXPECT_EQ(Seen(folder, "sqlite"), moments + " R:nan:2 R:negative-zero:1 S:negative-zero:1 X:nul:1\n");
  EXPECT_EQ(Seen(folder, "access"), "\n");
}

TEST(Assess, SeesTextsThatAreEqualThereOrNoLongerAreEqual) {
  const TemporaryFolder folder;
  Make(folder, {"CREATE TABLE P (K TEXT(10) CONSTRAINT PK PRIMARY KEY)", "CREATE TABLE C (K TEXT(10) CONSTRAINT R REFERENCES P (K))",
                "INSERT INTO P VALUES ('1')", "INSERT INTO P VALUES ('①')", "INSERT INTO P VALUES ('Abc')", "INSERT INTO C VALUES ('aBC ')",
                "INSERT INTO C VALUES ('1')", "INSERT INTO C VALUES (NULL)"});
  EXPECT_EQ(Seen(folder, "mariadb"), "K:equal-keys:1\n") << "case and blanks at the end count for nothing there";
  EXPECT_EQ(Seen(folder, "postgresql"), "K:no-parent:1\n");
}

TEST(Assess, SeesEmptyTextsOnTheirWayToOracle) {
  const TemporaryFolder folder;
  Make(folder, {"CREATE TABLE T (X TEXT(10))", "INSERT INTO T VALUES (NULL)", "INSERT INTO T VALUES ('a')"});
  EXPECT_EQ(Seen(folder, "oracle"), "\n");
  {
    const auto database = jet::Database::Open(folder.File("base.mdb"));
    database->SetProperty("T", "X", {.name = "AllowZeroLength", .type = jet::ColumnType::kBoolean, .value = jet::Value(true)});
    const std::vector<jet::Value> row{jet::Value("")};
    database->OpenTable("T").Insert(row);
  }
  EXPECT_EQ(Seen(folder, "oracle"), "X:empty-text:1\n");
}

TEST(Assess, TellsItInTheUsersWordsAndByTheStatus) {
  const TemporaryFolder folder;
  Make(folder, {"CREATE TABLE T (N LONG)", "INSERT INTO T VALUES (1)"});
  const auto sound = TamloDb(folder, {"assess", "base.mdb", "--to", "PostgreSQL"});
  EXPECT_EQ(sound.out, "base.mdb to PostgreSQL\n1 table, 1 row, 4 bytes of values\nNothing would be lost.\n");
  EXPECT_EQ(sound.status, 0);
  TamloDb(folder, {"exec", "base.mdb", "CREATE VIEW Q AS SELECT N FROM T"});
  const auto french = TamloDb(folder, {"assess", "base.mdb", "--to", "mariadb"}, "LC_ALL=fr_FR.UTF-8");
  EXPECT_EQ(french.status, 1);
  EXPECT_NE(french.out.find("la requête enregistrée Q n'est pas reprise\n"), std::string::npos) << french.out;
  EXPECT_NE(french.out.find("Seraient perdus : 1 point des définitions, 0 sorte de valeurs.\n"), std::string::npos) << french.out;
  EXPECT_EQ(TamloDb(folder, {"assess", "base.mdb"}).status, 2);
  EXPECT_EQ(TamloDb(folder, {"assess", "base.mdb", "--to", "mariadb", "--report", "r.pdf"}).status, 2);
}

TEST(Assess, ThePageHoldsNamesAndValuesAsNothingButText) {
  const TemporaryFolder folder;
  Make(folder, {"CREATE TABLE [<script>alert(1)</script>&\"] (M DATETIME, [</td><b>é] TEXT(20) NOT NULL)"});
  {
    const auto database = jet::Database::Open(folder.File("base.mdb"));
    const std::vector<jet::Value> row{jet::Value(jet::Date{40000.0000000001}), jet::Value("</html>")};
    database->OpenTable("<script>alert(1)</script>&\"").Insert(row);
  }
  EXPECT_EQ(TamloDb(folder, {"assess", "base.mdb", "--to", "mariadb", "--report", "r.html"}, "LC_ALL=fr_FR.UTF-8").status, 1);
  const std::string page = Report(folder, "r.html");
  EXPECT_EQ(page.find("<script"), std::string::npos);
  EXPECT_EQ(page.find("src="), std::string::npos) << "needs no other file";
  EXPECT_EQ(page.find("href="), std::string::npos);
  EXPECT_NE(page.find("<html lang=\"fr\">"), std::string::npos);
  EXPECT_NE(page.find("<td>&lt;script&gt;alert(1)&lt;/script&gt;&amp;&quot;.M</td><td>des instants plus fins que la milliseconde seraient "
                      "arrondis</td><td>1</td><td>2009-07-06 00:00:00</td>"),
            std::string::npos)
      << page;
  const auto walked = RunLine(folder, "python3 -c " + Word("import html.parser as h\n"
                                                           "class P(h.HTMLParser):\n"
                                                           "  s=[]\n"
                                                           "  def handle_starttag(self,t,a):\n"
                                                           "    if t not in('meta',): self.s.append(t)\n"
                                                           "  def handle_endtag(self,t): assert self.s.pop()==t,t\n"
                                                           "p=P();p.feed(open('r.html').read());assert not p.s;print('whole')"));
  EXPECT_EQ(walked.out, "whole\n") << walked.err;
}

TEST(Assess, EverySampleIsAssessedForEveryEngine) {
  if (SampleFiles().empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with Access files";
  const TemporaryFolder folder;
  int assessed = 0;
  for (const auto& sample : SampleFiles())
    for (const char* engine : {"mariadb", "postgresql", "sqlite", "sqlserver", "oracle"}) {
      const auto ran = TamloDb(folder, {"assess", sample.string(), "--to", engine});
      if (ran.status == 3 && ran.err.find("password") != std::string::npos) continue;
      ++assessed;
      EXPECT_LE(ran.status, 1) << sample << " " << engine << " " << ran.err;
      EXPECT_EQ(ran.status == 0, ran.out.ends_with("Nothing would be lost.\n")) << sample << ran.out;
    }
  EXPECT_GT(assessed, 50);
}

}  // namespace
}  // namespace tamlo::tests
