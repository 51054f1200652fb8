#pragma once

#include <string>

#include "schema/Model.h"

namespace tamlo::schema {

/// The default of a column as MariaDB, PostgreSQL and SQLite show it ("'abc'::text", "current_timestamp(3)", "b'1'", "-1") as a value. NULL is
/// none, what has no equivalent kUnknown with the expression.
[[nodiscard]] Default SqlDefault(const std::string& expression, Kind kind);

/// Whether the expression is the one from which WriteDdl has an engine take random numbers for a counter.
[[nodiscard]] bool IsRandomNumber(const std::string& expression);

}  // namespace tamlo::schema
