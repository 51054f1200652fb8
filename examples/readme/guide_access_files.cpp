#include <filesystem>
#include <iostream>
#include <memory>

#include "jet/Database.h"
#include "jet/sql/Session.h"

int main() {
  const std::unique_ptr<jet::Database> database =
      std::filesystem::exists("ENGINE.MDB") ? jet::Database::Open("ENGINE.MDB") : jet::Database::Create("ENGINE.MDB");
  jet::sql::Session session(*database);
  if (database->FindObject("Clients") == nullptr) {
    session.Execute("CREATE TABLE Clients (Id COUNTER CONSTRAINT PK PRIMARY KEY, Nom TEXT(30), Depuis DATETIME)");
  }
  session.Execute("INSERT INTO Clients (Nom, Depuis) VALUES ('Dupont', #2/1/2003#)");
  const auto query = session.Open("SELECT Id, Nom FROM Clients WHERE Nom LIKE 'd*' ORDER BY Id");
  while (query->Next()) std::cout << query->Get(0).AsLong() << " " << query->Get(1).AsText() << "\n";
  std::cout << database->Check().size() << " findings\n";  // the structural check
}
