#pragma once

#include <cstdint>
#include <string>

#include "jet/file/FileSystem.h"
#include "jet/page/Header.h"

namespace jet {

/// What a new file is like.
struct NewFile {
  int version = 4;                      ///< 3: Access 97, 4: Access 2000 to 2003
  std::uint16_t sortLanguage = 0x0409;  ///< in whose order its texts go
  bool ace = false;                     ///< an .accdb of Access 2007; its pages lie as they are, and it has no password
  std::uint16_t orderMark = 1;          ///< see FileHeader
  bool encoded = false;                 ///< its pages are, under a key of their own
  std::string password = {};            ///< UTF-8; empty: none
};

/// True when texts of an order may keep it in a copy of that version: each has its place there.
[[nodiscard]] bool KeepsOrder(std::uint16_t language, std::uint8_t orderVersion, int version) noexcept;
/// A file of that version for what the other one holds, plain and without a password: in its order where every text has its place there,
/// else in General.
[[nodiscard]] NewFile FileForCopy(const FileHeader& of, int version);

/// Writes an empty database under a name beside the path and renames it there when it is whole and synced.
/// Errors: kAlreadyExists, kReadOnly, kDiskFull, kIo; those of FileHeader::SetPassword.
void CreateEmptyFile(FileSystem& files, const std::string& path, const NewFile& file = {});

}  // namespace jet
