#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "ado/Provider.h"
#include "ado/odbc/facts/DriverFacts.h"

namespace tamlo::ado::odbc {

/// How values go to a column: the forms in which they are sent and the limits that are checked before.
struct ParameterShape {
  enum class Form { kInteger, kBigInteger, kDouble, kDecimalText, kBit, kTimestamp, kDate, kTime, kMomentText, kText, kGuidText, kBytes };
  Form form = Form::kText;
  std::int16_t nativeType = 0;  ///< C type
  std::int16_t sqlType = 0;
  std::size_t fixedSize = 0;   ///< bytes; 0 when they differ from value to value
  std::size_t columnSize = 0;  ///< of fixed forms; for the others the longest value's
  std::int16_t digits = 0;
  std::int64_t limit = 0;  ///< characters or bytes that the column takes; 0 is without a limit
  std::int16_t adoType = 0;
  ValueFacts values;   ///< of the database
  std::string column;  ///< for errors
};

/// The shape for a column; sqlType is the driver's own type of it, or 0 when not known.
[[nodiscard]] ParameterShape ShapeFor(const FieldInfo& field, std::int16_t sqlType, const DriverFacts& facts);

}  // namespace tamlo::ado::odbc
