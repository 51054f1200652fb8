#include "ado/odbc/rows/ServerExpression.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

using Form = FetchPlan::Form;

std::string Moment(const std::string& name, const ColumnDescription& column) {
  const std::string type = runtime::UpperCase(column.typeName);
  const bool zoned = type == "TIMESTAMPTZ" || type == "TIMESTAMP WITH TIME ZONE";
  // In the session's zone, but for the hour that comes twice when clocks are put back.
  if (zoned) {
    return "CASE WHEN " + name + "::timestamp::timestamptz = " + name + " THEN " + name + "::timestamp::text ELSE " + name + "::text END";
  }
  return name + "::text";
}

}  // namespace

ServerExpression CastOf(const NamedColumn& column, const DriverFacts& facts) {
  const auto& [name, field, described] = column;
  const FetchPlan plan = PlanFor(field, facts);
  if (field.type == adDBTime) return {name, plan, {}};
  if (IsMoment(field.type)) return {Moment(name, described), plan, {}};
  if (field.type == adCurrency) return {name + "::numeric::text", AsciiPlan(Form::kCurrencyText, 40), {}};
  return {name, plan, {}};
}

ServerExpression CastTextOf(const NamedColumn& column) {
  const auto& [name, field, described] = column;
  if (IsBytes(field.type)) return {name, BytesPlan(), {}};
  if (!IsTyped(field.type)) return {"convert_to(" + name + "::text, 'UTF8')", TextAsBytesPlan(), {}};
  if (IsMoment(field.type) && field.type != adDBTime) return {Moment(name, described), ServerTextPlan(field), {}};
  const bool money = field.type == adCurrency && runtime::UpperCase(described.typeName) == "MONEY";
  return {name + (money ? "::numeric::text" : "::text"), ServerTextPlan(field), {}};
}

}  // namespace tamlo::ado::odbc
