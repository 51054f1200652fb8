#pragma once

#include <cstdint>
#include <string>

#include "jet/file/FileSystem.h"

namespace jet {

/// Writes an empty Jet 4 database, its texts ordered as that language has it, under a name beside the path and renames it there when it is whole and synced.
/// Errors: kAlreadyExists, kReadOnly, kDiskFull, kIo.
void CreateEmptyFile(FileSystem& files, const std::string& path, std::uint16_t sortLanguage = 0x0409);

}  // namespace jet
