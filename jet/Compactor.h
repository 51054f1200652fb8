#pragma once

#include <string>

namespace jet {

class Database;

/// Writes all that the database holds into a new file without unused space. Errors: kAlreadyExists, and those of reading and writing.
void CompactInto(Database& source, const std::string& newPath);

}  // namespace jet
