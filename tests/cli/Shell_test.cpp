// The shell of `query` at a real terminal, and from standard input.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <thread>

#include "cli/StatementText.h"
#include "tests/cli/Command.h"
#include "tests/cli/Pty.h"

namespace tamlo::tests {
namespace {

constexpr const char* kEnd = "\x04";
constexpr const char* kCtrlC = "\x03";
constexpr const char* kUp = "\x1B[A";

/// Behind the prompt: a terminal takes Ctrl-D otherwise while no line is being read.
void End(Pty& shell) {
  shell.Await("> ");
  shell.Type(kEnd);
  EXPECT_EQ(shell.Wait(), 0);
}

class ShellTest : public testing::Test {
 protected:
  void SetUp() override {
    // Made by another program: SQLite's own client.
    const Ran made =
        RunLine(folder_, "sqlite3 clients.sqlite",
                "CREATE TABLE Clients (Id INTEGER PRIMARY KEY, Nom VARCHAR(30) NOT NULL, Ville VARCHAR(30));\n"
                "CREATE TABLE \"Lignes de commande\" (Id INTEGER, Client INTEGER REFERENCES Clients (Id), Prix DECIMAL(9,2));\n"
                "INSERT INTO Clients VALUES (1, 'Le Goff', 'Vannes'), (2, '\xC3\x89lodie', NULL);\n");
    ASSERT_EQ(made.err, "");
  }
  std::unique_ptr<Pty> Start(std::vector<std::string> words = {"clients.sqlite"}, const std::string& locale = "LC_ALL=C.UTF-8") {
    words.insert(words.begin(), {TAMLO_DB, "query"});
    return std::make_unique<Pty>(
        folder_, words, std::vector<std::string>{"TERM=xterm", "HOME=" + folder_.Path().string(), "XDG_STATE_HOME=" + State(), locale});
  }
  [[nodiscard]] std::string State() const { return folder_.File("state"); }
  [[nodiscard]] std::string History() const {
    std::ifstream file(State() + "/tamlo-db/history", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  Ran FromInput(const std::string& statements, const std::string& options = {}) {
    return RunLine(folder_, "env LC_ALL=C " + Word(TAMLO_DB) + " query clients.sqlite " + options, statements);
  }

  TemporaryFolder folder_;
};

TEST_F(ShellTest, AStatementOfSeveralLinesEndsWithItsSemicolon) {
  const auto shell = Start();
  const std::string greeting = shell->Await("clients.sqlite> ");
  EXPECT_NE(greeting.find("clients.sqlite, for reading alone (--write lets statements change it)."), std::string::npos) << greeting;
  shell->Type("SELECT Nom\n");
  shell->Await("             -> ");
  shell->Type("FROM Clients WHERE Nom <> ';'\n");
  shell->Await("             -> ");
  shell->Type("ORDER BY Id; SELECT 'a\n");
  const std::string rows = shell->Await("             '> ");
  EXPECT_NE(rows.find("Nom\r\n-------\r\nLe Goff\r\n\xC3\x89lodie\r\n2 rows\r\n"), std::string::npos) << rows;
  shell->Type("b' AS t;\n");
  EXPECT_NE(shell->Await("1 row\r\n").find("a b"), std::string::npos);
  End(*shell);
}

TEST_F(ShellTest, AnErrorIsOneLineAndTheShellGoesOn) {
  const auto shell = Start();
  shell->Await("> ");
  shell->Type("SELEC 1;\n");
  shell->Await("\r\ntamlo-db: ");
  const std::string error = shell->Await("> ");
  EXPECT_NE(error.find("SELEC"), std::string::npos) << error;
  EXPECT_EQ(error.find('\n'), error.rfind('\n')) << error;
  shell->Type("INSERT INTO Clients VALUES (3, 'non', NULL);\n");
  EXPECT_NE(shell->Await("clients.sqlite> ").find("readonly"), std::string::npos);
  shell->Type("SELECT count(*) AS Nombre FROM Clients;\n");
  EXPECT_NE(shell->Await("1 row\r\n").find("     2\r\n"), std::string::npos);
  shell->Type(".quit\n");
  EXPECT_EQ(shell->Wait(), 0);
}

TEST_F(ShellTest, WritesWhereItMayAndTellsWhatIsUndone) {
  const auto shell = Start({"clients.sqlite", "--write"});
  EXPECT_NE(shell->Await("clients.sqlite> ").find("statements may change it"), std::string::npos);
  shell->Type("UPDATE Clients SET Ville = 'Brest' WHERE Id = 2;\n");
  shell->Await("1 row\r\n");
  shell->Type("BEGIN;\nDELETE FROM Clients;\n");
  shell->Await("2 rows\r\n");
  shell->Await("> ");
  shell->Type(kEnd);
  shell->Await("tamlo-db: the transaction was not committed: what it changed is undone");
  EXPECT_EQ(shell->Wait(), 0);
  EXPECT_EQ(RunLine(folder_, "sqlite3 clients.sqlite", "SELECT Id, Ville FROM Clients;").out, "1|Vannes\n2|Brest\n");
}

TEST_F(ShellTest, CtrlCDropsTheLineThatIsBeingTyped) {
  const auto shell = Start();
  shell->Await("> ");
  shell->Type("SELECT 'perdu'\n");
  shell->Await("-> ");
  shell->Type("UNION SEL");
  shell->Await("UNION SEL");
  shell->Type(kCtrlC);
  shell->Await("^C\r\n");
  shell->Await("clients.sqlite> ");
  shell->Type("SELECT 6 * 7 AS n;\n");
  const std::string after = shell->Await("1 row\r\n");
  EXPECT_NE(after.find("42\r\n"), std::string::npos) << after;
  EXPECT_EQ(after.find("perdu"), std::string::npos) << after;
  End(*shell);
  EXPECT_EQ(History(), "SELECT 6 * 7 AS n;\n");
}

TEST_F(ShellTest, CtrlCEndsTheStatementThatRuns) {
  const auto shell = Start();
  shell->Await("> ");
  shell->Type("WITH RECURSIVE n(x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM n) SELECT count(*) FROM n;\n");
  shell->Await("\r\n");
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  const auto begin = std::chrono::steady_clock::now();
  shell->Type(kCtrlC);
  shell->Await("cancelled\r\n");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
  shell->Type("SELECT 6 * 7 AS n;\n");
  EXPECT_NE(shell->Await("1 row\r\n").find("42\r\n"), std::string::npos);
  End(*shell);
}

TEST_F(ShellTest, TabCompletesNamesAndWords) {
  const auto shell = Start();
  shell->Await("> ");
  shell->Type("SELECT Vil");
  shell->Await("SELECT Vil");
  shell->Type("\tfr");
  shell->Await("le fr");
  shell->Type("\tcli");
  shell->Await("cli");
  shell->Type("\t;\n");
  EXPECT_NE(shell->Await("2 rows").find("Vannes\r\n"), std::string::npos);
  shell->Await("> ");
  // What must stand between quotes gets them; several are shown.
  shell->Type("SELECT count(*) FROM Lig");
  shell->Await("Lig");
  shell->Type("\t;\n");
  EXPECT_NE(shell->Await("1 row\r\n").find("     0\r\n"), std::string::npos);
  shell->Await("> ");
  shell->Type("SELECT Nom FROM Clients AS c WHERE c.");
  shell->Await("WHERE c.");
  shell->Type("\t");
  EXPECT_NE(shell->Await("Ville\r\n").find("Id     Nom    Ville"), std::string::npos);
  shell->Type("vi");
  shell->Await("c.vi");
  shell->Type("\tIS NULL;\n");
  EXPECT_NE(shell->Await("1 row\r\n").find("\xC3\x89lodie\r\n"), std::string::npos);
  End(*shell);
}

TEST_F(ShellTest, AHistoryIsKeptForTheOwnerAloneAndWithoutPasswords) {
  {
    const auto shell = Start();
    shell->Await("> ");
    shell->Type("SELECT\n1 AS un;\n");
    shell->Await("1 row\r\n");
    shell->Type("CREATE USER moi IDENTIFIED BY 'tres secret';\nSELECT 'x' AS password;\n SELECT 2;\n.tables Cli*\nSELEC;\n");
    shell->Await("tamlo-db: ");
    shell->Await("tamlo-db: ");
    End(*shell);
  }
  EXPECT_EQ(History(), "SELECT 1 AS un;\n.tables Cli*\nSELEC;\n");
  struct stat state {};
  ASSERT_EQ(stat((State() + "/tamlo-db/history").c_str(), &state), 0);
  EXPECT_EQ(state.st_mode & 0777U, 0600U);
  ASSERT_EQ(stat((State() + "/tamlo-db").c_str(), &state), 0);
  EXPECT_EQ(state.st_mode & 0777U, 0700U);
  const auto shell = Start();
  shell->Await("> ");
  shell->Type(std::string(kUp) + kUp + kUp + "\n");
  EXPECT_NE(shell->Await("1 row\r\n").find("un\r\n--\r\n 1\r\n"), std::string::npos);
  End(*shell);
}

TEST_F(ShellTest, ItsCommandsSayWhatIsThere) {
  const auto shell = Start();
  shell->Await("> ");
  shell->Type(".tables\n");
  EXPECT_NE(shell->Await("Lignes de commande\r\n").find("Clients\r\n"), std::string::npos);
  shell->Type(".format csv\n.columns clients\n");
  EXPECT_NE(shell->Await("Ville,").find("column,type,key,required,default\r\nId,"), std::string::npos);
  shell->Type(".columns rien\n");
  shell->Await("tamlo-db: there is no table rien\r\n");
  shell->Type(".quoi\n");
  shell->Await("tamlo-db: .quoi is no command here; .help tells which there are\r\n");
  shell->Type(".help\n");
  shell->Await(".columns TABLE");
  shell->Type("exit\n");
  EXPECT_EQ(shell->Wait(), 0);
}

TEST_F(ShellTest, SpeaksFrenchAndTakesAccentsInAnyLocale) {
  const auto shell = Start({"clients.sqlite"}, "LC_ALL=fr_FR");
  EXPECT_NE(shell->Await("> ").find("en lecture seule"), std::string::npos);
  shell->Type("SELECT Id FROM Clients WHERE Nom = '\xC3\x89lodie';\n");
  EXPECT_NE(shell->Await("1 ligne\r\n").find(" 2\r\n"), std::string::npos);
  End(*shell);
}

TEST_F(ShellTest, EndsWithItsTerminal) {
  const auto shell = Start();
  shell->Await("> ");
  kill(shell->Process(), SIGHUP);
  EXPECT_EQ(shell->Wait(), 0);
}

TEST_F(ShellTest, StatementsComeFromStandardInput) {
  const Ran ran = FromInput("-- deux\nSELECT Nom FROM Clients\n ORDER BY Id; SELECT 1 AS un;\n.format jsonl\nSELECT 2 AS deux", "-F csv");
  EXPECT_EQ(ran.err, "");
  EXPECT_EQ(ran.out, "Nom\nLe Goff\n\xC3\x89lodie\nun\n1\n{\"deux\":2}\n");
  const Ran wrong = FromInput("SELECT 1 AS un;\n\nSELECT\n rien;\nSELECT 3 AS trois;\n", "-F csv");
  EXPECT_EQ(wrong.status, 4);
  EXPECT_EQ(wrong.out, "un\n1\n");
  EXPECT_EQ(wrong.err.find("tamlo-db: standard input, line 3: "), 0U) << wrong.err;
  EXPECT_EQ(wrong.err.find('\n'), wrong.err.size() - 1);
  const Ran none = FromInput("\n");
  EXPECT_EQ(none.status, 2);
  EXPECT_EQ(none.err, "tamlo-db: no statement is given\n");
  const Ran written = FromInput("UPDATE Clients SET Ville = 'Brest';\n", "--write");
  EXPECT_EQ(written.err + written.out, "");
  const Ran undone = FromInput("BEGIN; DELETE FROM Clients;\n", "--write");
  EXPECT_EQ(undone.status, 4);
  EXPECT_EQ(undone.err, "tamlo-db: the transaction was not committed: what it changed is undone\n");
  EXPECT_EQ(RunLine(folder_, "sqlite3 clients.sqlite", "SELECT DISTINCT Ville FROM Clients;").out, "Brest\n");
}

TEST_F(ShellTest, WorksOnAccessFilesThatOthersMade) {
  const auto samples = SampleFiles();
  const auto sample =
      std::find_if(samples.begin(), samples.end(), [](const auto& file) { return file.filename() == "compIndexTestV2000.mdb"; });
  if (sample == samples.end()) GTEST_SKIP() << "no such sample";
  std::filesystem::copy_file(*sample, folder_.File("sample.mdb"));
  const auto shell = Start({"sample.mdb"});
  shell->Await("sample.mdb> ");
  shell->Type("SELECT Count(*) AS n FROM Table1;\n");
  EXPECT_NE(shell->Await("1 row\r\n").find("512\r\n"), std::string::npos);
  shell->Type(
      "SELECT Count(*) FROM Table1 AS a, Table1 AS b, Table1 AS c, Table1 AS d\nWHERE a.CD_AGENTE + b.CD_AGENTE > c.CD_AGENTE + d.CD_AGENTE;\n");
  shell->Await("d.CD_AGENTE;\r\n");
  std::this_thread::sleep_for(std::chrono::milliseconds(500));
  shell->Type(kCtrlC);
  shell->Await("cancelled\r\n");
  shell->Type("DELETE FROM Table1;\n");
  shell->Await("tamlo-db: ");
  shell->Await("sample.mdb> ");
  shell->Type("SELECT Count(*) AS n FROM Tab");
  shell->Await("FROM Tab");
  shell->Type("\t;\n");
  EXPECT_NE(shell->Await("1 row\r\n").find("512\r\n"), std::string::npos);
  End(*shell);
}

std::vector<std::string> Split(std::optional<schema::Engine> engine, const std::string& text) {
  cli::StatementText statements(cli::LexisOf(engine));
  std::vector<std::string> all;
  for (std::size_t at = 0; at <= text.size();) {
    const auto end = std::min(text.find('\n', at), text.size());
    for (auto& one : statements.Take(std::string_view(text).substr(at, end - at))) all.push_back(one);
    at = end + 1;
  }
  if (!statements.Empty()) all.push_back("| " + statements.Rest());
  return all;
}

TEST(StatementText, EndsWhereTheEngineEndsIt) {
  using All = std::vector<std::string>;
  using schema::Engine;
  EXPECT_EQ(Split(Engine::kAccess, "SELECT [a;b], ';' FROM T; SELECT 1--1;\nSELECT"),
            (All{"SELECT [a;b], ';' FROM T", "SELECT 1--1", "| SELECT"}));
  EXPECT_EQ(Split(Engine::kMariaDb, "SELECT 'it\\'s;', `a;b` # x;\n; SELECT 5--3; -- ;\nSELECT \"\\\\\";"),
            (All{"SELECT 'it\\'s;', `a;b` # x;", "SELECT 5--3", "SELECT \"\\\\\""}));
  EXPECT_EQ(Split(Engine::kPostgreSql, "SELECT '\\'; SELECT E'\\';'; SELECT $a$;$$;$a$, $1; /* ; /* ; */ ; */ SELECT 2;"),
            (All{"SELECT '\\'", "SELECT E'\\';'", "SELECT $a$;$$;$a$, $1", "/* ; /* ; */ ; */ SELECT 2"}));
  EXPECT_EQ(
      Split(Engine::kSqlite, "CREATE TRIGGER t AFTER INSERT ON c BEGIN UPDATE c SET x = CASE WHEN 1 THEN 2 END; SELECT 1; END; SELECT 2;"),
      (All{"CREATE TRIGGER t AFTER INSERT ON c BEGIN UPDATE c SET x = CASE WHEN 1 THEN 2 END; SELECT 1; END", "SELECT 2"}));
  EXPECT_EQ(Split(Engine::kMariaDb, "CREATE PROCEDURE p() BEGIN IF 1 THEN SELECT 1; END IF; END; SELECT 2;"),
            (All{"CREATE PROCEDURE p() BEGIN IF 1 THEN SELECT 1; END IF; END", "SELECT 2"}));
  EXPECT_EQ(Split(Engine::kSqlite, "BEGIN; CREATE TABLE planning (event TEXT, begin TEXT); COMMIT;;\n;"),
            (All{"BEGIN", "CREATE TABLE planning (event TEXT, begin TEXT)", "COMMIT"}));
}

}  // namespace
}  // namespace tamlo::tests
