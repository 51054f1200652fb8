#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace jet {

class Database;
struct CatalogObject;

/// One thing that a version of Access cannot hold.
struct VersionLoss {
  enum class Kind {
    kObject,       ///< a form, report, macro or module: it is left behind
    kDecimal,      ///< a column of decimal numbers; this kind and the next ones keep the database from being converted
    kGuidCounter,  ///< a column that gives itself GUIDs
    kLongBinary,   ///< a column of more than 255 bytes
    kName,         ///< of a table (column empty) or column, with a character that is not in the code page
    kText,         ///< values of the column with such characters
  };
  Kind kind = Kind::kObject;
  std::string object;        ///< its name, or that of the table
  std::string column;        ///< empty for an object, and for the name of a table
  std::uint64_t values = 0;  ///< kText: how many
};

/// True for what keeps a file of Access 2000 and its forms together: a file of Access 97 would not know what to do with it.
[[nodiscard]] bool IsOfAccess2000(const CatalogObject& object);
/// What a file of that version (3 or 4) could not hold of this one, all values read; empty for a later version, and for its own but for a file of
/// Access 97 in another code page than 1252, which is that of the copy.
[[nodiscard]] std::vector<VersionLoss> LossesIn(Database& database, int version);

}  // namespace jet
