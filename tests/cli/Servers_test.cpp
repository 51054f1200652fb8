// The commands on databases that are no Access files; the engines' own clients say what is there.
#include <gtest/gtest.h>

#include <charconv>
#include <filesystem>
#include <fstream>

#include "tests/cli/Csv.h"
#include "tests/schema/Engine.h"

namespace tamlo::tests {
namespace {

constexpr const char* kPassword = "LC_ALL=C TAMLO_DB_PASSWORD=tamlo";

class OnEngine : public testing::TestWithParam<const char*> {
 protected:
  OnEngine() : engine_(GetParam()) {
    const Ran made = engine_.Client(
        "CREATE TABLE clients (id INTEGER PRIMARY KEY, nom VARCHAR(30) NOT NULL);"
        "CREATE TABLE commandes (client INTEGER, prix DECIMAL(12,2), CONSTRAINT de_client FOREIGN KEY (client) REFERENCES clients (id) ON DELETE CASCADE);"
        "CREATE VIEW chers AS SELECT client FROM commandes WHERE prix > 100;"
        "INSERT INTO clients VALUES (1, 'Le Goff'), (2, 'L''Hermite, \xC3\x89lodie');");
    EXPECT_EQ(made.err, "");
  }
  [[nodiscard]] bool IsServer() const { return std::string(GetParam()) != "sqlite"; }
  Ran Run(std::vector<std::string> arguments, const std::string& environment = kPassword) {
    arguments.insert(arguments.begin() + 1, engine_.Url());
    return TamloDb(engine_.Folder(), arguments, environment);
  }
  std::string Counted() { return engine_.Client("SELECT count(*) FROM clients;").out; }

  Engine engine_;
};

TEST_P(OnEngine, SaysWhatIsThere) {
  EXPECT_EQ(Run({"tables", "-F", "csv"}).out, "table,rows\nclients,2\ncommandes,0\n");
  EXPECT_EQ(Run({"relations", "-F", "csv"}).out,
            "relation,table,referenced,columns,enforced,cascadeUpdates,cascadeDeletes\nde_client,commandes,clients,client -> id,1,0,1\n");
  EXPECT_NE(Run({"queries", "-F", "csv"}).out.find("\nchers,"), std::string::npos);
  const Ran info = Run({"info"});
  EXPECT_EQ(info.err, "");
  EXPECT_NE(info.out.find("Rows        2\n"), std::string::npos) << info.out;
  EXPECT_EQ(info.out.find("Database    "), 0U) << info.out;
  const Ran schema = Run({"schema", "--to", "sqlite"});
  EXPECT_EQ(schema.err, "");
  EXPECT_EQ(RunLine(engine_.Folder(), "sqlite3 :memory:",
                    schema.out + "SELECT name FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite%' ORDER BY 1;\n")
                .out,
            "clients\ncommandes\n")
      << schema.out;
}

TEST_P(OnEngine, TakesValuesOfParameters) {
  const std::string sql = "SELECT nom FROM clients WHERE id = :id AND nom LIKE :nom";
  EXPECT_EQ(Run({"query", sql, "--param", "id=1", "--param", "NOM=Le%", "-F", "csv"}).out, "nom\nLe Goff\n");
  EXPECT_EQ(Run({"query", "SELECT id FROM clients WHERE nom = :nom", "--param", "nom=L'Hermite, \xC3\x89lodie", "-F", "csv"}).out,
            "id\n2\n");
  const Ran unused = Run({"query", "SELECT id FROM clients", "--param", "x=1"});
  EXPECT_EQ(unused.status, 2);
  EXPECT_EQ(unused.err, "tamlo-db: --param: no statement has a parameter x\n");
}

TEST_P(OnEngine, AsksInTheServersOwnWords) {
  EXPECT_EQ(Run({"query", "SELECT nom, id * 2 AS deux FROM clients ORDER BY id DESC LIMIT 1", "-F", "csv"}).out,
            "nom,deux\n\"L'Hermite, \xC3\x89lodie\",4\n");
  const Ran wrong = Run({"query", "SELEC 1"});
  EXPECT_EQ(wrong.status, 4);
  EXPECT_NE(wrong.err.find("SELEC"), std::string::npos) << wrong.err;
  EXPECT_EQ(wrong.err.find('\n'), wrong.err.size() - 1) << "one line";
}

TEST_P(OnEngine, ReadingChangesNothing) {
  const Ran refused = Run({"query", "INSERT INTO clients VALUES (3, 'non')"});
  EXPECT_EQ(refused.status, 4) << refused.out;
  EXPECT_EQ(Counted(), "2\n");
}

TEST_P(OnEngine, ExecIsAllOrNothing) {
  EXPECT_EQ(Run({"exec", "INSERT INTO clients VALUES (3, 'trois')", "UPDATE clients SET nom = 'x'"}).out, "4 rows\n");
  const Ran refused = Run({"exec", "DELETE FROM clients", "INSERT INTO rien VALUES (1)"});
  EXPECT_EQ(refused.status, 4);
  EXPECT_NE(refused.err.find("rien"), std::string::npos) << refused.err;
  EXPECT_EQ(Counted(), "3\n");
}

TEST_P(OnEngine, ExportsWhatIsAskedFor) {
  EXPECT_EQ(Run({"export", "-t", "CLI*", "--columns", "NOM", "--where", "id > 1", "--order-by", "id", "--limit", "5"}).out,
            "nom\n\"L'Hermite, \xC3\x89lodie\"\n");
  EXPECT_EQ(Run({"export", "-t", "clients", "--limit", "1", "-F", "jsonl"}).out, "{\"id\":1,\"nom\":\"Le Goff\"}\n");
  const Ran column = Run({"export", "-t", "clients", "--columns", "prenom"});
  EXPECT_EQ(column.status, 2);
  EXPECT_EQ(column.err, "tamlo-db: the table clients has no column prenom\n");
  const Ran table = Run({"export", "-t", "cleints"});
  EXPECT_EQ(table.status, 2);
  EXPECT_EQ(table.err, "tamlo-db: no table is called cleints\n");
}

struct Column {
  const char* name;
  const char* maria;  ///< its type; empty where it has none
  const char* postgres;
  const char* sqlite;
  const char* asked;                ///< how the client is asked for it; %c is the column
  std::vector<const char*> values;  ///< literals
};

const std::vector<Column>& Columns() {
  static const std::vector<Column> kColumns{
      {"whole", "BIGINT", "BIGINT", "BIGINT", "%c", {"-9223372036854775807", "9007199254740993", "0", "NULL"}},
      {"real8", "DOUBLE", "DOUBLE PRECISION", "DOUBLE", "%c", {"0.1", "1e300", "0.3333333333333333", "NULL"}},
      {"exact",
       "DECIMAL(38,10)",
       "NUMERIC(38,10)",
       "DECIMAL_TEXT(38,10)",
       "%c",
       {"'1234567890123456789012345678.0123456789'", "'-0.0000000001'", "'5.0000000000'", "NULL"}},
      {"amount",
       "DECIMAL(19,4)",
       "NUMERIC(19,4)",
       "DECIMAL_TEXT(19,4)",
       "%c",
       {"'922337203685477.5807'", "'-0.0001'", "'12.5000'", "NULL"}},
      {"words", "LONGTEXT", "TEXT", "TEXT", "%c", {"'a'", "'\xF0\x9F\x98\x80 \xC3\xA9'", "'l''autre'", "NULL"}},
      {"moment",
       "DATETIME(3)",
       "TIMESTAMP(3)",
       "DATETIME",
       "%c",
       {"'2003-02-01 10:30:00.123'", "'1899-12-29 06:00:00.001'", "'9999-12-31 23:59:59.999'", "NULL"}},
      {"fine",
       "DATETIME(6)",
       "TIMESTAMP(6)",
       "TEXT",
       "%c",
       {"'2003-02-01 10:30:00.123456'", "'2000-01-01 00:00:00.000001'", "'9999-12-31 23:59:59.999999'", "NULL"}},
      {"day", "DATE", "DATE", "DATE", "%c", {"'2003-02-01'", "'1700-01-01'", "'9999-12-31'", "NULL"}},
      {"hour", "TIME", "TIME", "TEXT", "%c", {"'10:30:00'", "'00:00:01'", "'23:59:59'", "NULL"}}};
  return kColumns;
}

std::string TypeOn(const Column& column, const std::string& engine) {
  return engine == "mariadb" ? column.maria : engine == "postgresql" ? column.postgres : column.sqlite;
}

bool SameValue(const Cell& ours, const std::string& theirs, bool isReal) {
  if (!ours) return theirs == "NULL";
  if (*ours == theirs) return true;
  double a = 0;
  double b = 0;
  const auto endA = std::from_chars(ours->data(), ours->data() + ours->size(), a);
  const auto endB = std::from_chars(theirs.data(), theirs.data() + theirs.size(), b);
  return endA.ptr == ours->data() + ours->size() && endB.ptr == theirs.data() + theirs.size() && a == b && isReal;
}

TEST_P(OnEngine, EveryValueIsTheClientsOwn) {
  std::string columns = "n INTEGER";
  std::string rows;
  for (std::size_t row = 0; row < 4; ++row) {
    rows += (row == 0 ? "(" : ", (") + std::to_string(row);
    for (const Column& column : Columns()) rows += std::string(", ") + column.values[row];
    rows += ")";
  }
  for (const Column& column : Columns()) columns += std::string(", ") + column.name + " " + TypeOn(column, GetParam());
  ASSERT_EQ(engine_.Client("CREATE TABLE valeurs (" + columns + "); INSERT INTO valeurs VALUES " + rows + ";").err, "");
  const Ran exported = Run({"export", "-t", "valeurs", "--order-by", "n"});
  ASSERT_EQ(exported.err, "");
  const auto ours = ReadCsv(exported.out);
  ASSERT_EQ(ours.size(), 5U);
  for (std::size_t place = 0; place < Columns().size(); ++place) {
    const std::string name = Columns()[place].name;
    // Texts as the server makes them; SQLite's own shortest real has 15 digits.
    const std::string asked = std::string(GetParam()) == "sqlite" && name == "real8"
                                  ? "CASE WHEN real8 IS NULL THEN NULL ELSE printf('%!.17g', real8) END"
                                  : name;
    const std::string answer =
        engine_
            .Client("SELECT coalesce(" +
                    (IsServer() ? "CAST(" + asked + (std::string(GetParam()) == "mariadb" ? " AS CHAR)" : " AS TEXT)") : asked) +
                    ", 'NULL') FROM valeurs ORDER BY n;")
            .out;
    std::size_t from = 0;
    for (std::size_t row = 0; row < 4; ++row) {
      const auto end = answer.find('\n', from);
      const std::string theirs = answer.substr(from, end - from);
      EXPECT_TRUE(SameValue(ours[row + 1][place + 1], theirs, name == "real8"))
          << name << ": " << ours[row + 1][place + 1].value_or("-") << " and " << theirs;
      from = end + 1;
    }
  }
}

TEST_P(OnEngine, PasswordsComeFromAFileOrTheEnvironmentAndAreNeverSaid) {
  if (!IsServer()) return;
  const Ran wrong = Run({"tables"}, "LC_ALL=C TAMLO_DB_PASSWORD=fauxmdp");
  EXPECT_EQ(wrong.status, 3);
  EXPECT_NE(wrong.err.find("user or password are refused"), std::string::npos) << wrong.err;
  EXPECT_EQ(wrong.err.find("fauxmdp"), std::string::npos) << wrong.err;
  EXPECT_EQ(wrong.err.find('\n'), wrong.err.size() - 1) << "one line";
  std::ofstream(engine_.Folder().File("pw")) << "tamlo\nand no more\n";
  EXPECT_EQ(Run({"tables", "--password-file", engine_.Folder().File("pw")}, "LC_ALL=C TAMLO_DB_PASSWORD=fauxmdp").status, 0);
  const std::string own = std::string(GetParam()) == "mariadb" ? "MYSQL_PWD" : "PGPASSWORD";
  EXPECT_EQ(Run({"tables"}, "LC_ALL=C " + own + "=tamlo").status, 0);
  EXPECT_EQ(Run({"tables", "--password-file", "absent"}).status, 2);
  // Without a terminal nobody can be asked.
  const Ran none = RunLine(engine_.Folder(), "LC_ALL=C setsid -w " + Word(TAMLO_DB) + " tables " + Word(engine_.Url()));
  EXPECT_EQ(none.status, 3);
  EXPECT_NE(none.err.find("user or password are refused"), std::string::npos) << none.err;
}

INSTANTIATE_TEST_SUITE_P(Engines, OnEngine, testing::Values("mariadb", "postgresql", "sqlite"));

TEST(Opening, WhatCannotBeOpenedIsSaidInOneLine) {
  const TemporaryFolder folder;
  std::ofstream(folder.File("texte.sqlite")) << "rien qu'un texte, mais assez long pour une page";
  std::filesystem::create_directory(folder.File("dossier.db"));
  struct Case {
    const char* name;
    const char* why;
  };
  const Case cases[] = {{"texte.sqlite", "it is no database, or an encrypted one"},
                        {"absent.sqlite", "there is no such file"},
                        {"dossier.db", "it is a folder"},
                        {"mariadb://u@127.0.0.1:1/b?driver=Inconnu", "its driver is not installed"},
                        {"odbc:DRIVER={Inconnu};DATABASE=b", "its driver is not installed"},
                        {"odbc:source_inconnue", "its driver is not installed"},
                        {"mariadb://u@127.0.0.1:1/b", "127.0.0.1"},
                        {"postgresql://u@127.0.0.1:1/b", "127.0.0.1"},
                        {"oracle://u:secret@h/b", "oracle:// is not known"},
                        {"mariadb://u:secret@h/b", "a password has no place on the command line"},
                        {"odbc:DSN=x;PWD=secret", "a password has no place on the command line"}};
  for (const auto& [name, why] : cases) {
    const Ran ran = TamloDb(folder, {"tables", name});
    EXPECT_EQ(ran.status, 3) << name;
    EXPECT_NE(ran.err.find(why), std::string::npos) << name << ": " << ran.err;
    EXPECT_EQ(ran.err.find('\n'), ran.err.size() - 1) << ran.err;
    EXPECT_EQ(ran.err.find("secret"), std::string::npos) << ran.err;
    EXPECT_EQ(ran.out, "");
  }
  EXPECT_FALSE(std::filesystem::exists(folder.File("absent.sqlite")));
}

/// A shell's words for psql on the engine's server.
std::string Psql(const Engine& engine) {
  const std::string url = engine.Url();
  return "env PGPASSWORD=tamlo psql -qAtX -h " + Word(url.substr(url.find("host=") + 5)) + " -U tamlo tamlo -c ";
}

TEST(ReadingPostgreSql, RowsComeBeforeTheServerHasMadeThemAll) {
  const Engine engine("postgresql");
  const Ran ran = RunLine(engine.Folder(), "(env " + std::string(kPassword) + " timeout 100 " + Word(TAMLO_DB) + " query " +
                                               Word(engine.Url()) + " 'SELECT generate_series(1, 2000000000) AS i' -F csv | head -n 3)");
  EXPECT_EQ(ran.out, "i\n1\n2\n");
}

TEST(ReadingPostgreSql, AConnectionThatGoesIsNotTakenForTheEndOfTheTable) {
  Engine engine("postgresql");
  ASSERT_EQ(engine.Client("CREATE TABLE longue AS SELECT generate_series(1, 500000) AS i;").err, "");
  const std::string end =
      "SELECT count(pg_terminate_backend(pid)) FROM pg_stat_activity WHERE pid <> pg_backend_pid() AND backend_type = 'client backend'";
  const Ran ran = RunLine(engine.Folder(), "({ env " + std::string(kPassword) + " " + Word(TAMLO_DB) + " export " + Word(engine.Url()) +
                                               " -t longue; echo $? >status; } | { head -c 100000 >rows; " + Psql(engine) + Word(end) +
                                               "; cat >>rows; cat status; })");
  EXPECT_EQ(ran.out, "1\n4\n") << ran.err;
  EXPECT_EQ(ran.err.rfind("tamlo-db: table longue, row ", 0), 0U) << ran.err;
  EXPECT_EQ(ran.err.find('\n'), ran.err.size() - 1) << ran.err;
}

TEST(Opening, AnyOdbcSourceIsReadAsFarAsItsDriverTells) {
  const TemporaryFolder folder;
  ASSERT_EQ(RunLine(folder, "sqlite3 base.xyz", "CREATE TABLE t (a INTEGER); INSERT INTO t VALUES (7);").err, "");
  const std::string source = "odbc:DRIVER={SQLite3};DATABASE=" + folder.File("base.xyz");
  EXPECT_EQ(TamloDb(folder, {"tables", source, "-F", "csv"}).out, "table,rows\nt,1\n");
  EXPECT_EQ(TamloDb(folder, {"export", source, "-t", "t"}).out, "a\n7\n");
}

}  // namespace
}  // namespace tamlo::tests
