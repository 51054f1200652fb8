#pragma once

#include <string>

namespace jet::bench {

/// What row i of the table People holds: names and towns of 30 bytes, one letter in a thousand with an accent.
[[nodiscard]] std::string NameOf(int i);
[[nodiscard]] std::string TownOf(int i);

/// Makes an Access file with the table People (Id, primary key; Name; Town; Amount; Born), all rows in one transaction. Seconds.
/// version: 3 for Access 97, 4 for 2000 to 2003; encoded: RC4 by page.
double MakePeopleFile(const std::string& path, int rows, int version = 4, bool encoded = false);

/// Opens it and reads every value of every row. Seconds; says on the output when it saw other rows.
double ScanWithEngine(const std::string& path, int rows);

/// Seconds that mdb-export takes to print the table; 0 when it is not installed.
[[nodiscard]] double ScanWithExport(const std::string& path);

}  // namespace jet::bench
