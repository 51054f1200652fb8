#pragma once

#include <string>

namespace jet::bench {

/// What row i of the table People holds: names and towns of 30 bytes, one letter in a thousand with an accent.
[[nodiscard]] std::string NameOf(int i);
[[nodiscard]] std::string TownOf(int i);

/// Makes an Access file with the table People (Id, primary key; Name; Town; Amount; Born), all rows in one transaction. Seconds.
double MakePeopleFile(const std::string& path, int rows);

/// Seconds that mdb-export takes to print the table; 0 when it is not installed.
[[nodiscard]] double ScanWithExport(const std::string& path);

}  // namespace jet::bench
