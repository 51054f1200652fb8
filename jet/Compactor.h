#pragma once

#include <string>

namespace jet {

class Database;
class FileSystem;
struct Protection;

/// Writes all that the database holds into a new file of that version (3 or 4) without unused space, protected as asked, else as the source
/// is; it is made on that file system. Errors: kAlreadyExists, those of a password, those of reading and writing, and kUnsupported, naming
/// it, for what the version cannot hold.
void CompactInto(Database& source, const std::string& newPath, const Protection& protection, int version, FileSystem& files);

}  // namespace jet
