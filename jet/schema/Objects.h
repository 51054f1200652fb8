#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "jet/value/Value.h"

namespace jet {

enum class ObjectKind {
  kTable,        ///< a local table of the user
  kSystemTable,  ///< MSys... of the bootstrap or flagged as system
  kJetLink,      ///< link to a table of another Access file (or of an Excel, text... source: see connect)
  kOdbcLink,     ///< link to a table of an ODBC source
  kQuery,        ///< a stored query
  kRelationship,
  kContainer,
  kDocument,  ///< database documents, forms, reports, macros, modules, pages
  kOther,
};

/// One row of the system catalog.
struct CatalogObject {
  std::int32_t id = 0;  ///< a table's definition page, or a negative number
  std::int32_t parentId = 0;
  std::string name;
  ObjectKind kind = ObjectKind::kOther;
  std::int16_t type = 0;    ///< as stored
  std::uint32_t flags = 0;  ///< as stored
  bool hidden = false;
  bool hasTwin = false;  ///< another object's name differs from its own in case alone, which Access tells apart for a few letters
  Date created;
  Date updated;
  // Links only.
  std::string database;     ///< path of the linked Access file
  std::string connect;      ///< ODBC: the connection string without the leading "ODBC;". Others: "Excel 8.0;...", ";PWD=..."
  std::string foreignName;  ///< name of the table there
};

/// A relationship between two tables: one or more column pairs.
struct Relationship {
  std::string name;
  std::string table;                                         ///< the referencing (many) side
  std::string referencedTable;                               ///< the referenced (one) side
  std::vector<std::pair<std::string, std::string>> columns;  ///< referencing column, referenced column
  bool oneToOne = false;
  bool enforced = true;
  bool cascadeUpdates = false;
  bool cascadeDeletes = false;
  bool leftJoin = false;
  bool rightJoin = false;
};

}  // namespace jet
