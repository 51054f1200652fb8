#pragma once

#include <string>

namespace jet {

class Database;
class FileSystem;
struct Protection;

/// Writes all that the database holds into a new file without unused space, protected as asked, else as the source is; it is made on that
/// file system. Errors: kAlreadyExists, those of a password, and those of reading and writing.
void CompactInto(Database& source, const std::string& newPath, const Protection& protection, FileSystem& files);

}  // namespace jet
