// Definitions for other engines, loaded into them by their own clients.
#include <gtest/gtest.h>

#include <memory>
#include <set>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/cli/Command.h"
#include "tests/cli/Csv.h"
#include "tests/support_lib/MariaDbServer.h"
#include "tests/support_lib/PostgresServer.h"

namespace tamlo::tests {
namespace {

std::string MakeFile(const TemporaryFolder& folder) {
  const std::string path = folder.File("base.mdb");
  const auto database = jet::Database::Create(path);
  jet::sql::Session session(*database);
  session.Execute(
      "CREATE TABLE Clients (Id COUNTER CONSTRAINT PK PRIMARY KEY, Nom TEXT(30) NOT NULL, Actif YESNO, Solde CURRENCY, Chef LONG)");
  session.Execute("CREATE UNIQUE INDEX ParNom ON Clients (Nom DESC, Chef)");
  session.Execute("ALTER TABLE Clients ADD CONSTRAINT SonChef FOREIGN KEY (Chef) REFERENCES Clients (Id) ON UPDATE CASCADE");
  session.Execute("INSERT INTO Clients (Id, Nom) VALUES (41, 'x')");
  return path;
}

TEST(Schema, ReadsAsAPersonWouldWriteIt) {
  const TemporaryFolder folder;
  EXPECT_EQ(TamloDb(folder, {"schema", MakeFile(folder), "--to", "mariadb"}).out,
            "-- Clients: the relation SonChef does not cascade updates on MariaDB\n"
            "CREATE TABLE `Clients` (\n"
            "  `Id` INT NOT NULL AUTO_INCREMENT,\n"
            "  `Nom` VARCHAR(30) NOT NULL,\n"
            "  `Actif` BOOLEAN DEFAULT 0 NOT NULL,\n"
            "  `Solde` DECIMAL(19,4),\n"
            "  `Chef` INT,\n"
            "  PRIMARY KEY (`Id`)\n"
            ") ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_uca1400_as_ci;\n"
            "CREATE UNIQUE INDEX `ParNom` ON `Clients` (`Nom` DESC, `Chef`);\n"
            "ALTER TABLE `Clients` ADD CONSTRAINT `SonChef` FOREIGN KEY (`Chef`) REFERENCES `Clients` (`Id`);\n"
            "ALTER TABLE `Clients` AUTO_INCREMENT = 42;\n");
}

/// An engine that takes the definitions, and says what it then holds.
struct Client {
  std::string engine;
  std::string line;     ///< reads statements, stops at an error
  std::string before;   ///< makes it empty
  std::string columns;  ///< how many columns of base tables there are
  std::string keys;     ///< how many foreign keys there are
};

class SchemaOn : public testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    const std::string engine = GetParam();
    if (engine == "mariadb") {
      maria_ = std::make_unique<MariaDbServer>();
      client_ = {
          engine,
          "mariadb --batch --skip-column-names --default-character-set=utf8mb4 -S " + Word(maria_->Socket()) + " -u tamlo -ptamlo tamlo",
          "SET FOREIGN_KEY_CHECKS=0; DROP DATABASE tamlo; CREATE DATABASE tamlo; USE tamlo;\n",
          "SELECT count(*) FROM information_schema.columns WHERE table_schema = 'tamlo';\n",
          "SELECT count(*) FROM information_schema.referential_constraints WHERE constraint_schema = 'tamlo';\n"};
    } else if (engine == "postgresql") {
      postgres_ = std::make_unique<PostgresServer>();
      client_ = {engine, "env PGPASSWORD=tamlo psql -qAtX -v ON_ERROR_STOP=1 -h " + Word(postgres_->Folder()) + " -U tamlo tamlo",
                 "SET client_min_messages=error; DROP SCHEMA public CASCADE; CREATE SCHEMA public;\n",
                 "SELECT count(*) FROM information_schema.columns WHERE table_schema = 'public';\n",
                 "SELECT count(*) FROM pg_constraint WHERE contype = 'f';\n"};
    } else {
      client_ = {
          engine, "sqlite3 -bail :memory:", "",
          "SELECT count(*) FROM sqlite_master m, pragma_table_info(m.name) WHERE m.type = 'table' AND m.name NOT LIKE 'sqlite!_%' ESCAPE '!';\n",
          "SELECT count(*) FROM (SELECT DISTINCT m.name, f.id FROM sqlite_master m, pragma_foreign_key_list(m.name) f WHERE m.type = 'table');\n"};
    }
  }

  /// What the client prints once it has taken the file's definitions: columns and foreign keys.
  Ran Loaded(const std::string& file) {
    const auto ddl = TamloDb(folder_, {"schema", file, "--to", client_.engine});
    EXPECT_EQ(ddl.status, 0) << ddl.err;
    return RunLine(folder_, client_.line, client_.before + ddl.out + client_.columns + client_.keys);
  }

  TemporaryFolder folder_;
  std::unique_ptr<MariaDbServer> maria_;
  std::unique_ptr<PostgresServer> postgres_;
  Client client_;
};

TEST_P(SchemaOn, TakesNamesAndTypesThatPeopleHave) {
  const std::string path = MakeFile(folder_);
  const std::string longName(64, 'n');
  const auto made = TamloDb(folder_, {"exec", path,
                                      "CREATE TABLE [Détail / \"commande\"] ([a b] TEXT(255), [select] MEMO, [é'è] DATETIME, [" + longName +
                                          "] GUID, D DECIMAL(28,10), Y BINARY(16), S SINGLE)",
                                      "CREATE INDEX [a b] ON [Détail / \"commande\"] ([a b], [select])",
                                      "CREATE INDEX PK ON [Détail / \"commande\"] (D) WITH IGNORE NULL"});
  ASSERT_EQ(made.status, 0) << made.err;
  const auto loaded = Loaded(path);
  EXPECT_EQ(loaded.err, "");
  EXPECT_EQ(loaded.out, "12\n1\n");
}

TEST_P(SchemaOn, TakesEverySample) {
  if (SampleFiles().empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with Access files";
  for (const auto& sample : SampleFiles()) {
    SCOPED_TRACE(sample.string());
    std::size_t columns = 0;
    const auto listed = TamloDb(folder_, {"tables", sample.string(), "-F", "csv"});
    if (listed.status == 3 && listed.err.find("password") != std::string::npos) continue;
    const auto tables = ReadCsv(listed.out);
    std::set<std::string> names;
    for (const auto& table : tables) names.insert(*table[0]);
    for (std::size_t i = 1; i < tables.size(); ++i) {
      const auto head = RunLine(folder_, "mdb-export " + Word(sample.string()) + " " + Word(*tables[i][0])).out;
      columns += ReadCsv(head.substr(0, head.find('\n') + 1))[0].size();
    }
    std::size_t keys = 0;
    for (const auto& relation : ReadCsv(TamloDb(folder_, {"relations", sample.string(), "-F", "csv"}).out))
      keys += relation[4] == "1" && names.contains(*relation[1]) && names.contains(*relation[2]) ? 1U : 0U;
    const auto loaded = Loaded(sample.string());
    EXPECT_EQ(loaded.err, "");
    EXPECT_EQ(loaded.out, std::to_string(columns) + "\n" + std::to_string(keys) + "\n");
  }
}

INSTANTIATE_TEST_SUITE_P(Engines, SchemaOn, testing::Values("mariadb", "postgresql", "sqlite"));

}  // namespace
}  // namespace tamlo::tests
