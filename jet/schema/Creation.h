#pragma once

#include <cstdint>
#include <string>

#include "jet/file/FileSystem.h"

namespace jet {

/// What a new file is like.
struct NewFile {
  std::uint16_t sortLanguage = 0x0409;  ///< in whose order its texts go
  bool ace = false;                     ///< an .accdb of Access 2007; its pages lie as they are, and it has no password
  bool encoded = false;                 ///< its pages are, under a key of their own
  std::string password = {};            ///< UTF-8; empty: none
};

/// Writes an empty Jet 4 database under a name beside the path and renames it there when it is whole and synced.
/// Errors: kAlreadyExists, kReadOnly, kDiskFull, kIo; those of FileHeader::SetPassword.
void CreateEmptyFile(FileSystem& files, const std::string& path, const NewFile& file = {});

}  // namespace jet
