// The shell on servers: what runs there is ended by Ctrl-C, and the session goes on.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "tests/cli/Pty.h"
#include "tests/schema/Engine.h"

namespace tamlo::tests {
namespace {

class ShellOnServer : public testing::TestWithParam<const char*> {};

TEST_P(ShellOnServer, CtrlCEndsTheStatementAndTheSessionGoesOn) {
  Engine engine(GetParam());
  const Ran made = engine.Client(
      "CREATE TABLE clients (id INTEGER PRIMARY KEY, nom VARCHAR(30)); INSERT INTO clients VALUES (1, 'Le Goff'), (2, 'Tanguy');");
  ASSERT_EQ(made.err, "");
  const std::string folder = engine.Folder().Path().string();
  Pty shell(engine.Folder(), {TAMLO_DB, "query", engine.Url()},
            {"TERM=xterm", "LC_ALL=C.UTF-8", "TAMLO_DB_PASSWORD=tamlo", "HOME=" + folder, "XDG_STATE_HOME=" + folder + "/state"});
  shell.Await("for reading alone");
  shell.Await("> ");
  shell.Type("SELECT nom FROM cli");
  shell.Await("cli");
  shell.Type("\tORDER BY id;\n");
  EXPECT_NE(shell.Await("2 rows").find("Le Goff\r\nTanguy\r\n"), std::string::npos);
  shell.Await("> ");
  const bool maria = std::string(GetParam()) == "mariadb";
  shell.Type(maria ? "SELECT count(*) FROM seq_1_to_1000000000 WHERE sin(seq) > 2;\n" : "SELECT pg_sleep(100);\n");
  shell.Await("\r\n");
  std::this_thread::sleep_for(std::chrono::seconds(1));
  const auto begin = std::chrono::steady_clock::now();
  shell.Type("\x03");
  shell.Await("cancelled\r\n");
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
  shell.Type("INSERT INTO clients VALUES (3, 'non');\n");
  shell.Await("\r\ntamlo-db: ");
  shell.Type("SELECT count(*) AS n FROM clients;\n");
  EXPECT_NE(shell.Await("1 row\r\n").find("\r\n2\r\n"), std::string::npos);
  shell.Await("> ");  // a terminal takes it otherwise while no line is being read
  shell.Type("\x04");
  EXPECT_EQ(shell.Wait(), 0);
}

TEST_P(ShellOnServer, StatementsThatMayWriteKeepWhatTheyCommit) {
  Engine engine(GetParam());
  ASSERT_EQ(engine.Client("CREATE TABLE t (n INTEGER);").err, "");
  const Ran ran =
      RunLine(engine.Folder(), "env LC_ALL=C TAMLO_DB_PASSWORD=tamlo " + Word(TAMLO_DB) + " query --write -F csv " + Word(engine.Url()),
              "INSERT INTO t VALUES (1);\nBEGIN;\nINSERT INTO t VALUES (2);\nROLLBACK;\nBEGIN;\nINSERT INTO t\n VALUES (3);\nCOMMIT;\n"
              "SELECT n FROM t ORDER BY n;");
  EXPECT_EQ(ran.err, "");
  EXPECT_EQ(ran.out, "n\n1\n3\n");
  EXPECT_EQ(engine.Client("SELECT sum(n) FROM t;").out, "4\n");
}

INSTANTIATE_TEST_SUITE_P(Cli, ShellOnServer, ::testing::Values("mariadb", "postgresql"), [](const auto& named) { return named.param; });

}  // namespace
}  // namespace tamlo::tests
