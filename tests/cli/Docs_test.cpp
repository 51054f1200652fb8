// The lines of docs/tamlo-db.md do what they say.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "jet/Database.h"
#include "jet/sql/Session.h"
#include "tests/cli/Command.h"

namespace tamlo::tests {
namespace {

TEST(Docs, EachLineOfThePageWorks) {
  const TemporaryFolder folder;
  {
    const auto database = jet::Database::Create(folder.File("clients.mdb"));
    jet::sql::Session session(*database);
    session.Execute("CREATE TABLE Clients (Id COUNTER CONSTRAINT PK PRIMARY KEY, Nom TEXT(30), Ville TEXT(30))");
    session.Execute("INSERT INTO Clients (Nom, Ville) VALUES ('Le Goff', 'VANNES')");
  }
  RunLine(folder, "sqlite3 clients.sqlite", "CREATE TABLE Clients (Id INTEGER PRIMARY KEY, Nom VARCHAR(30), Ville VARCHAR(30));\n");
  std::ofstream(folder.File("secret.txt")) << "Sésame\n";  // as the page's line does
  std::ofstream(folder.File("noms.txt")) << "Clients -> customers\nClients.Nom -> name\nClients.Ville -> -\n";
  const std::string command = TAMLO_DB;
  std::ifstream page(TAMLO_DOCS "/tamlo-db.md");
  std::string line;
  int tried = 0;
  while (std::getline(page, line)) {
    if (!line.starts_with("tamlo-db ")) continue;
    ++tried;
    const auto ran = RunLine(folder, Word(command) + line.substr(8));
    EXPECT_EQ(ran.status, 0) << line << "\n" << ran.err;
    EXPECT_EQ(ran.err, "") << line;
  }
  EXPECT_EQ(tried, 41);
  EXPECT_EQ(TamloDb(folder, {"query", "neuf.mdb", "SELECT Ville FROM Clients", "-F", "csv"}).out, "Ville\nVannes\n");
}

}  // namespace
}  // namespace tamlo::tests
