#pragma once

#include <string>
#include <vector>

#include "tests/cli/Csv.h"

namespace tamlo::tests {

using Rows = std::vector<std::vector<Cell>>;

struct Compared {
  std::size_t cells = 0;
  std::size_t different = 0;
  std::string first;  ///< where, and both values
};

/// Compares the rows, in whatever order, cell by cell. Numbers are the same when they are in seven digits, which is what mdb-export writes of the
/// smaller kind, truth values whatever word stands for them.
void Compare(const std::string& what, Rows ours, Rows theirs, Compared& compared);

/// The rows of a table of an Access file as mdb-export says them, without the line of names.
Rows ExportedByMdb(const class TemporaryFolder& folder, const std::string& file, const std::string& table);

}  // namespace tamlo::tests
