#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace jet {

class FileSystem;

/// What became of one table of a damaged file.
struct RecoveredTable {
  std::string name;               ///< in the new file
  std::uint32_t page = 0;         ///< on which its definition begins, in the damaged one
  bool named = true;              ///< false: no name was found, and this one was made of the page
  bool saved = true;              ///< false: it is not in the new file
  std::uint64_t rows = 0;         ///< in the new file
  std::uint64_t lostRows = 0;     ///< seen, and not readable
  std::uint64_t missingRows = 0;  ///< not seen at all: so many more the definition counts
  std::uint64_t lostValues = 0;   ///< long values that are null in the new file because they could not be read
};

/// Something that was in the file and is not in the new one.
struct RecoveryLoss {
  std::string table;       ///< empty: of the whole file
  std::uint32_t page = 0;  ///< 0: of no page
  int row = -1;            ///< on the page, from 0; negative: not about a row
  std::string text;        ///< in English, as all of the engine's
};

struct Recovery {
  bool sound = false;  ///< nothing was wrong with the file: it was compacted, with all that is in it
  std::vector<RecoveredTable> tables;
  std::vector<RecoveryLoss> losses;
  std::uint64_t relationships = 0;  ///< in the new file
  std::uint64_t queries = 0;
  std::uint64_t links = 0;
};

struct RecoveryOptions {
  FileSystem* fileSystem = nullptr;  ///< null: the machine's own
  std::string password = {};         ///< of the database, UTF-8; the new file has it too
  bool rowByRow = false;             ///< also where the file is sound
};

/// Reads a damaged Access file as far as it can be read and writes what was found into a new one: tables, also those that the catalog has
/// lost, row by row; their keys, indexes and relationships as far as the rows allow them; queries and links. No row is invented. The damaged
/// file is not changed, nor is anything beside it. The new one gets its name when it is whole; until then it has "-new" behind it.
/// Errors: kNotFound, kInUse, kPasswordProtected, kWrongPassword; kNotAnAccessFile when nothing of one can be found in it; kAlreadyExists,
/// kDiskFull, kIo, kReadOnly of the new file, which is then not there.
[[nodiscard]] Recovery Recover(const std::string& path, const std::string& newPath, const RecoveryOptions& options = {});

}  // namespace jet
