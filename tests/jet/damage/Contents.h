#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "jet/Database.h"
#include "jet/page/PageStore.h"

namespace jet::tests {

/// One row: its cells as texts, and the pages that it lies on.
struct HeldRow {
  std::vector<std::string> cells;
  PageNumber home = 0;
};

/// One table of the user as the engine reads it from a sound file.
struct HeldTable {
  std::string name;
  bool system = false;                  ///< one of Access's own
  std::vector<bool> isLong;             ///< by column
  std::vector<HeldRow> rows;            ///< in the order of the file
  std::vector<std::string> columns;     ///< name, type, size...
  std::vector<std::string> indexes;     ///< with their columns, in the order of their names
  std::vector<std::string> properties;  ///< of the table and its columns, but for those that go by themselves
  std::set<PageNumber> definition;      ///< its pages
  std::set<PageNumber> maps;            ///< pages with its maps
  std::set<PageNumber> rowPages;
  std::set<PageNumber> longPages;
  std::uint32_t counted = 0;  ///< rows, as the definition counts them
};

/// What a database holds, its tables by definition page.
struct Contents {
  std::map<PageNumber, HeldTable> tables;
  std::vector<std::string> relationships;
  std::vector<std::string> queries;
  std::vector<std::string> links;
  std::size_t forms = 0;

  [[nodiscard]] const HeldTable* Find(const std::string& name) const;
};

/// Reads all of it. Errors as the engine's.
Contents ReadContents(Database& database);

/// The rows that are found beyond those held, counted; of which `without` lack long values only. Order does not matter.
struct Difference {
  std::size_t strange = 0;  ///< found, and not held
  std::size_t missing = 0;  ///< held, and not found
  std::size_t bare = 0;     ///< found as held but for long values, which are null
  std::string first;        ///< the first strange one
};
Difference Compare(const HeldTable& held, const HeldTable& found);

}  // namespace jet::tests
