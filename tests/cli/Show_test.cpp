// What is there: info, tables, queries, relations, check, compact, backup.
#include <gtest/gtest.h>

#include <set>
#include <sstream>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/cli/Command.h"

namespace tamlo::tests {
namespace {

/// A file with two tables, a relation and a query.
std::string MakeFile(const TemporaryFolder& folder) {
  const std::string path = folder.File("base.mdb");
  const auto database = jet::Database::Create(path);
  jet::sql::Session session(*database);
  session.Execute("CREATE TABLE Clients (Id COUNTER CONSTRAINT PK PRIMARY KEY, Nom TEXT(30) NOT NULL)");
  session.Execute("CREATE TABLE [Détail commande] (Client LONG, Prix CURRENCY)");
  session.Execute("ALTER TABLE [Détail commande] ADD CONSTRAINT DeClient FOREIGN KEY (Client) REFERENCES Clients (Id) ON DELETE CASCADE");
  session.Execute("CREATE VIEW Chers AS SELECT Client FROM [Détail commande] WHERE Prix > 100");
  session.Execute("INSERT INTO Clients (Nom) VALUES ('Élodie')");
  session.Execute("INSERT INTO Clients (Nom) VALUES ('L''Hermite')");
  return path;
}

TEST(Show, TablesAndTheirRows) {
  const TemporaryFolder folder;
  const auto ran = TamloDb(folder, {"tables", MakeFile(folder)});
  EXPECT_EQ(ran.out,
            "table            rows\n"
            "---------------  ----\n"
            "Clients             2\n"
            "Détail commande     0\n");
  EXPECT_EQ(ran.err, "");
  EXPECT_EQ(ran.status, 0);
}

TEST(Show, RelationsAndQueriesForPrograms) {
  const TemporaryFolder folder;
  const std::string path = MakeFile(folder);
  EXPECT_EQ(
      TamloDb(folder, {"relations", path, "-F", "jsonl"}).out,
      "{\"relation\":\"DeClient\",\"table\":\"Détail commande\",\"referenced\":\"Clients\",\"columns\":\"Client -> Id\",\"enforced\":true,"
      "\"cascadeUpdates\":false,\"cascadeDeletes\":true}\n");
  const std::string queries = TamloDb(folder, {"queries", path, "-F", "csv"}).out;
  EXPECT_EQ(queries.substr(0, 16), "query,sql\nChers,");
  EXPECT_NE(queries.find("Prix > 100"), std::string::npos) << queries;
}

TEST(Show, InfoInBothLanguages) {
  const TemporaryFolder folder;
  const std::string path = MakeFile(folder);
  const std::string english = TamloDb(folder, {"info", path}).out;
  EXPECT_NE(english.find("Format      Access 2000-2003 (Jet 4)\n"), std::string::npos) << english;
  EXPECT_NE(english.find("Queries     1\n"), std::string::npos) << english;
  const std::string french = TamloDb(folder, {"info", path}, "LC_ALL= LC_MESSAGES=fr_FR.UTF-8").out;
  EXPECT_NE(french.find("Requêtes   1\n"), std::string::npos) << french;
}

TEST(Show, ReadingChangesNoByteOfTheFile) {
  const TemporaryFolder folder;
  const std::string path = MakeFile(folder);
  const std::string sum = RunLine(folder, "sha256sum " + Word(path)).out;
  for (const char* command : {"info", "tables", "queries", "relations", "schema", "check"})
    EXPECT_EQ(TamloDb(folder, {command, path}).status, 0);
  EXPECT_EQ(RunLine(folder, "sha256sum " + Word(path)).out, sum);
}

TEST(Show, ExecIsAllOrNothing) {
  const TemporaryFolder folder;
  const std::string path = MakeFile(folder);
  EXPECT_EQ(TamloDb(folder, {"exec", path, "INSERT INTO Clients (Nom) VALUES ('Trois')", "UPDATE Clients SET Nom = Nom & '!'"}).out,
            "4 rows\n");
  const auto refused = TamloDb(folder, {"exec", path, "DELETE FROM Clients", "INSERT INTO Rien VALUES (1)"});
  EXPECT_EQ(refused.status, 4);
  EXPECT_NE(refused.err.find("Rien"), std::string::npos) << refused.err;
  EXPECT_EQ(TamloDb(folder, {"query", path, "SELECT Nom FROM Clients ORDER BY Nom", "-F", "csv"}).out,
            "Nom\nÉlodie!\nL'Hermite!\nTrois!\n");
}

TEST(Show, CompactAndBackupMakeSoundFilesThatOthersRead) {
  const TemporaryFolder folder;
  const std::string path = MakeFile(folder);
  for (const char* command : {"compact", "backup"}) {
    const std::string made = folder.File(std::string(command) + ".mdb");
    EXPECT_EQ(TamloDb(folder, {command, path, made}).status, 0);
    EXPECT_EQ(TamloDb(folder, {"check", made}).out, made + " is sound\n");
    EXPECT_EQ(RunLine(folder, "mdb-tables -1 " + Word(made)).out, "Clients\nDétail commande\n");
    const auto again = TamloDb(folder, {command, path, made});
    EXPECT_EQ(again.status, 4) << "an existing file is not written over";
  }
}

TEST(Show, OtherReadersSeeTheSameTablesInEverySample) {
  if (SampleFiles().empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with Access files";
  const TemporaryFolder folder;
  for (const auto& sample : SampleFiles()) {
    std::set<std::string> ours;
    std::set<std::string> theirs;
    const auto ran = TamloDb(folder, {"tables", sample.string(), "-F", "tsv"});
    if (ran.status == 3 && ran.err.find("password") != std::string::npos) continue;
    std::istringstream our(ran.out);
    std::istringstream their(RunLine(folder, "mdb-tables -1 -t table " + Word(sample.string())).out);
    std::string line;
    std::getline(our, line);
    while (std::getline(our, line)) ours.insert(line.substr(0, line.find('\t')));
    while (std::getline(their, line))
      if (!line.empty()) theirs.insert(line);
    EXPECT_EQ(ours, theirs) << sample;
  }
}

}  // namespace
}  // namespace tamlo::tests
