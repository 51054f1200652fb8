#pragma once

#include <string>

#include "jet/Database.h"
#include "jet/FileSystem.h"

namespace jet {

/// Writes an empty Jet 4 database under a name beside the path and renames it there when it is whole and synced.
/// Errors: kAlreadyExists, kReadOnly, kDiskFull, kIo.
void CreateEmptyFile(FileSystem& files, const std::string& path);

}  // namespace jet
