#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "ado/odbc/statement/Statement.h"
#include "ado/odbc/values/ParameterShape.h"

namespace tamlo::ado::odbc {

/// The values of one column for many rows as the server's text of an array, one parameter: {1,2,NULL} or {"a","b"}. Bound once and sent for a
/// batch, it costs a server much less than a parameter for each value.
class ColumnArray {
 public:
  /// The first rows of a column: encoded after the shape, one every stride bytes, their lengths in indicators.
  void Fill(const ParameterShape& shape, std::span<const std::byte> slots, std::size_t stride, std::span<const std::ptrdiff_t> indicators,
            std::size_t rows);
  /// The parameter (from 1) is what Fill made, until it is called again or this object goes.
  void Bind(Statement& statement, std::size_t parameter);

 private:
  std::string narrow_;
  std::u16string wide_;
  bool isWide_ = false;
  std::ptrdiff_t length_ = 0;
};

/// Whether values of such a column can stand in an array.
[[nodiscard]] bool StandsInArrays(const ParameterShape& shape);

}  // namespace tamlo::ado::odbc
