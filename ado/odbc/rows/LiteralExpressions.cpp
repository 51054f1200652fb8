#include <cfloat>
#include <utility>

#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/rows/ServerExpression.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

using Form = FetchPlan::Form;

constexpr std::size_t kLiteralBytes = 64;

/// A text of any characters, bound for the usual ones that are short.
FetchPlan Utf(Form form, std::size_t characters, const DriverFacts& facts) {
  const std::size_t unit = facts.narrowIsUtf8 ? 1 : sizeof(char16_t);
  return {form, facts.narrowIsUtf8 ? std::int16_t{SQL_C_CHAR} : std::int16_t{SQL_C_WCHAR}, (characters + 1) * unit, unit};
}

bool KeepsNumbersAsTexts(const ColumnDescription& column) {
  const std::string declared = runtime::UpperCase(column.typeName);
  return declared.find("CHAR") != std::string::npos || declared.find("TEXT") != std::string::npos ||
         declared.find("CLOB") != std::string::npos;
}

bool IsWhole(std::int16_t type) {
  return type == adTinyInt || type == adUnsignedTinyInt || type == adSmallInt || type == adUnsignedSmallInt || type == adInteger ||
         type == adBigInt;
}

/// quote() tells numbers, texts and bytes apart. Of reals it writes 15 digits when its own reading of them gives the number again, and that
/// reading is off by one bit now and then: they are written with 19. The usual type stands first; whole numbers need no function, and a
/// comparison is cheaper than typeof(). The signs + keep a text that looks like a number from being compared as one.
std::string Literal(const std::string& name, std::int16_t type) {
  const std::string real = "printf('%!.18e', " + name + ")";
  const std::string rest = " ELSE quote(" + name + ") END";
  const std::string whole = "CAST(" + name + " AS INTEGER)";
  if (type == adDouble || type == adSingle) return "CASE WHEN +" + name + " < '' THEN " + real + rest;
  if (IsWhole(type)) return "CASE WHEN +" + name + " = +" + whole + " THEN " + whole + " WHEN +" + name + " < '' THEN " + real + rest;
  return "CASE typeof(" + name + ") WHEN 'integer' THEN " + name + " WHEN 'real' THEN " + real + rest;
}

/// Few doubles have more than four decimals, and whole ten-thousandths are written in a tenth of the time of 19 digits. They are given where
/// dividing them gives the number again to the last bit; digits alone come from there only.
std::string Scaled(const std::string& name) {
  const std::string scaled = "CAST(" + name + " * 1e4 AS INTEGER)";
  return "CASE WHEN " + scaled + " / 1e4 = +" + name + " THEN " + scaled + " WHEN +" + name + " < '' THEN printf('%!.18e', " + name +
         ") ELSE quote(" + name + ") END";
}

/// False on processors that reckon with more bits than a double has: a quotient may then be rounded twice.
constexpr bool kDividesExactly = FLT_EVAL_METHOD == 0;

/// What a text or bytes hold where the driver would stop at a character 0, or take bytes for a text.
std::string Companion(const std::string& name) {
  return "CASE WHEN " + name + " >= x'' THEN 'X' || hex(" + name + ") WHEN instr(" + name + ", char(0)) THEN hex(" + name + ") END";
}

}  // namespace

ServerExpression LiteralOf(const NamedColumn& column, const DriverFacts& facts) {
  const auto& [name, field, described] = column;
  const bool computed = described.table.empty();
  const bool real = field.type == adDouble || field.type == adSingle;
  if (!computed && real && kDividesExactly) return {Scaled(name), Utf(Form::kScaledLiteral, kLiteralBytes, facts), {}};
  if (computed || IsTyped(field.type)) {
    return {Literal(name, field.type), Utf(Form::kLiteral, kLiteralBytes, facts), computed ? Companion(name) : std::string()};
  }
  if (IsBytes(field.type)) return {name, PlanFor(field, facts), {}};
  if (!KeepsNumbersAsTexts(described)) return {Literal(name, field.type), Utf(Form::kLiteralText, kLiteralBytes, facts), Companion(name)};
  return {name, PlanFor(field, facts), Companion(name)};
}

ServerExpression LiteralOrBytesOf(const NamedColumn& column, const DriverFacts& facts) {
  const auto& [name, field, described] = column;
  const std::string bytes = "CAST(" + name + " AS BLOB)";
  if (IsBytes(field.type)) return {bytes, BytesPlan(), {}};
  if (described.table.empty() || IsTyped(field.type)) return {Literal(name, field.type), Utf(Form::kLiteral, kLiteralBytes, facts), {}};
  return {bytes, TextAsBytesPlan(), {}};
}

}  // namespace tamlo::ado::odbc
