#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "jet/table/Definitions.h"
#include "jet/table/Property.h"

namespace jet {

/// What to make an index of.
struct IndexSpec {
  struct Part {
    std::string column;
    bool descending = false;
  };
  std::string name;
  std::vector<Part> columns;  ///< 1 to 10
  bool primary = false;       ///< makes it unique and required too
  bool unique = false;
  bool ignoreNulls = false;
  bool required = false;
};

/// What to make a table of.
struct TableSpec {
  std::string name;
  std::vector<ColumnDef> columns;  ///< 1 to 255
  std::vector<IndexSpec> indexes;
  std::vector<Property> properties;  ///< of the table itself, such as Description
  std::uint32_t flags = 0;           ///< catalog flags: 0 for tables of the user
};

/// What to make a link of: an ODBC link when odbc is true, else a link to another file.
struct LinkSpec {
  std::string name;
  bool odbc = false;
  std::string database;
  std::string connect;
  std::string foreignName;
};

/// What to make a stored query of: the rows that say its parts, and the kind that its catalog row tells.
struct QuerySpec {
  struct Row {
    std::uint8_t attribute = 0;
    std::uint32_t order = 1;  ///< among the rows of that attribute
    std::string name1;
    std::string name2;
    std::string expression;
    std::optional<std::int16_t> flag;
  };
  std::string name;
  std::uint32_t flags = 0;
  std::vector<Row> rows;
};

}  // namespace jet
