#pragma once

#include <string>

namespace jet {

class Database;
struct Protection;

/// Writes all that the database holds into a new file without unused space, protected as asked, else as the source
/// is. Errors: kAlreadyExists, those of a password, and those of reading and writing.
void CompactInto(Database& source, const std::string& newPath, const Protection& protection);

}  // namespace jet
