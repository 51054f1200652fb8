#pragma once

#include <string>
#include <variant>
#include <vector>

#include "bench/copy/RawSide.h"

namespace tamlo::bench {

/// A table's rows in memory, as a program that writes them by hand holds them.
struct RawTable {
  std::string name;
  std::vector<std::string> columns;
  std::vector<std::vector<std::variant<int, std::string>>> rows;  ///< each column all integers or all texts
};

/// The rows of a table as one inserts them by hand: arrays of parameters, one transaction for each batch.
void RawInsert(RawSide& target, const RawTable& table, std::size_t batchRows);

}  // namespace tamlo::bench
