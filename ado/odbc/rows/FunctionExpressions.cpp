#include "ado/odbc/rows/ServerExpression.h"

namespace tamlo::ado::odbc {

ServerExpression FunctionTextOf(const NamedColumn& column) {
  const auto& [name, field, described] = column;
  if (IsBytes(field.type)) return {name, BytesPlan(), {}};
  if (!IsTyped(field.type)) return {"CAST(CONVERT(" + name + " USING utf8mb4) AS BINARY)", TextAsBytesPlan(), {}};
  if (field.type == adSingle) return {"CAST(CAST(" + name + " AS DOUBLE) AS CHAR)", ServerTextPlan(field), {}};
  if (field.type == adBoolean) return {"CAST(" + name + " + 0 AS CHAR)", ServerTextPlan(field), {}};
  return {"CAST(" + name + " AS CHAR)", ServerTextPlan(field), {}};
}

}  // namespace tamlo::ado::odbc
