#include <cstdint>
#include <iostream>

#include "ado/Command.h"
#include "ado/Connection.h"
#include "ado/Recordset.h"
#include "ado/odbc/OdbcProvider.h"
#include "runtime/Conversions.h"

int main() {
  using namespace tamlo;
  ado::odbc::RegisterOdbcProviders();

  ado::Connection connection;
  connection.Provider("MSDASQL");
  connection.Open("DRIVER={SQLite3};DATABASE=exemple.db", "", "");
  connection.Execute("CREATE TABLE IF NOT EXISTS ART (CODE VARCHAR(10) PRIMARY KEY, QTE INTEGER)");

  ado::Recordset rs;
  rs.Open("SELECT * FROM ART WHERE CODE = 'A1'", &connection, ado::adOpenDynamic, ado::adLockOptimistic, -1);
  if (rs.Eof()) {
    rs.AddNew();
    rs.Fields("CODE").Value("A1");
    rs.Fields("QTE").Value(std::int32_t{12});
    rs.Update();  // runtime::Error 3022 when another program has added the key meanwhile
  }

  ado::Command command;
  command.ActiveConnection(&connection);
  command.CommandText("UPDATE ART SET QTE = QTE + ? WHERE CODE = ?");
  command.Parameters().Append({.value = std::int32_t{1}});
  command.Parameters().Append({.value = "A1"});
  command.Execute();  // 1, the rows affected

  for (rs.Requery(); !rs.Eof(); rs.MoveNext()) {
    std::cout << runtime::ToText(rs.Fields("CODE").Value()) << " " << runtime::ToText(rs.Fields("QTE").Value()) << "\n";
  }
}
