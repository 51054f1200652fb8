#include "tests/ado_sqlite/SqliteFile.h"

#include "ado/ConnectionKeys.h"
#include "ado/sqlite/SqliteProvider.h"
#include "tests/cli/Command.h"

namespace tamlo::tests {

SqliteFile::SqliteFile() : file(folder.File("l'été; \"1\".sqlite")) {
  ado::sqlite::RegisterSqliteProvider();
  Connect(file);
}

void SqliteFile::Connect(const std::string& path) {
  file = path;
  if (connection.IsOpen()) connection.Close();
  connection.Provider("SQLITE");
  connection.Open("Data Source=" + ado::Quoted(path));
}

std::string SqliteFile::Shell(const std::string& statements) const {
  const Ran ran = RunLine(folder, "sqlite3 -bail " + Word(file), statements);
  return ran.out + ran.err;
}

void SqliteFile::Add(const std::string& table, const std::vector<std::string>& columns, std::initializer_list<runtime::Variant> row) {
  ado::BulkInsert bulk(connection, table, columns);
  bulk.Add(std::vector<runtime::Variant>(row));
  bulk.Flush();
}

}  // namespace tamlo::tests
