#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "ado/Provider.h"
#include "ado/odbc/facts/DriverFacts.h"
#include "ado/odbc/statement/Statement.h"
#include "ado/odbc/values/FetchPlan.h"

namespace tamlo::ado::odbc {

/// A result column: the server's expression for a column of the query, and the form of what it gives.
struct ServerExpression {
  std::string text;
  FetchPlan form;
  std::string companion;  ///< a second expression whose value, where it is none, stands for the first; empty where none is needed
};

/// A column of a query as the expressions around the query name it.
struct NamedColumn {
  const std::string& name;
  const FieldInfo& field;
  const ColumnDescription& described;
};

/// A value as a literal of SQLite, which tells its type: for rows in blocks, and singly with every text as bytes.
[[nodiscard]] ServerExpression LiteralOf(const NamedColumn& column, const DriverFacts& facts);
[[nodiscard]] ServerExpression LiteralOrBytesOf(const NamedColumn& column, const DriverFacts& facts);
/// The values that the driver would spoil by PostgreSQL's casts, and all of them.
[[nodiscard]] ServerExpression CastOf(const NamedColumn& column, const DriverFacts& facts);
[[nodiscard]] ServerExpression CastTextOf(const NamedColumn& column);
/// All of them by MySQL's functions.
[[nodiscard]] ServerExpression FunctionTextOf(const NamedColumn& column);

/// Of the columns that are neither texts nor bytes.
[[nodiscard]] bool IsTyped(std::int16_t type) noexcept;
[[nodiscard]] constexpr bool IsMoment(std::int16_t type) noexcept {
  return type == adDate || type == adDBDate || type == adDBTime || type == adDBTimeStamp;
}
[[nodiscard]] constexpr bool IsBytes(std::int16_t type) noexcept {
  return type == adBinary || type == adVarBinary || type == adLongVarBinary;
}

/// A text of ASCII characters, so many at most.
[[nodiscard]] FetchPlan AsciiPlan(FetchPlan::Form form, std::size_t bytes);
/// UTF-8 that comes as bytes: nobody converts it, and it does not end at a character 0.
[[nodiscard]] FetchPlan TextAsBytesPlan();
/// Bytes as they are.
[[nodiscard]] FetchPlan BytesPlan();
/// What the server writes for a typed value.
[[nodiscard]] FetchPlan ServerTextPlan(const FieldInfo& field);

}  // namespace tamlo::ado::odbc
