#pragma once

#include <cstddef>
#include <string>

namespace tamlo::bench {

/// The copy as one writes it by hand against the driver manager: bound columns on one side, arrays of parameters on the other, one
/// transaction for each batch. Columns: integer, text of 60, double, date (as the driver manager's structure, or as text). Returns the rows
/// copied.
std::size_t RawCopy(const std::string& source, const std::string& target, const std::string& table, std::size_t batchRows,
                    bool datesAsText);

}  // namespace tamlo::bench
