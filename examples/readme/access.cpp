#include <filesystem>
#include <iostream>

#include "jet/Database.h"
#include "jet/sql/Session.h"

int main() {
  const bool there = std::filesystem::exists("clients.mdb");
  const auto database = there ? jet::Database::Open("clients.mdb") : jet::Database::Create("clients.mdb");
  jet::sql::Session session(*database);
  if (!there) session.Execute("CREATE TABLE Clients (Id COUNTER CONSTRAINT PK PRIMARY KEY, Nom TEXT(30), Depuis DATETIME)");
  session.Execute("INSERT INTO Clients (Nom, Depuis) VALUES ('Dupont', #2/1/2003#)");
  const auto query = session.Open("SELECT Id, Nom FROM Clients WHERE Nom Like 'd*'");
  while (query->Next()) std::cout << query->Get(0).AsLong() << " " << query->Get(1).AsText() << "\n";
}
