#include "ado/odbc/rows/ReadQuery.h"

#include <algorithm>
#include <cfloat>
#include <set>

#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/statement/SqlText.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

using Form = FetchPlan::Form;

constexpr std::size_t kLiteralBytes = 64;
constexpr std::size_t kHexBytes = 64;

FetchPlan Ascii(Form form, std::size_t bytes) { return {form, SQL_C_CHAR, bytes + 1, 1}; }
/// A text of any characters, bound for the usual ones that are short.
FetchPlan Utf(Form form, std::size_t characters, const DriverFacts& facts) {
  const std::size_t unit = facts.narrowIsUtf8 ? 1 : sizeof(char16_t);
  return {form, facts.narrowIsUtf8 ? std::int16_t{SQL_C_CHAR} : std::int16_t{SQL_C_WCHAR}, (characters + 1) * unit, unit};
}
/// UTF-8 that comes as bytes: nobody converts it, and it does not end at a character 0.
FetchPlan TextAsBytes() { return {Form::kText, SQL_C_BINARY, 0, 1}; }

bool IsMoment(std::int16_t type) { return type == adDate || type == adDBDate || type == adDBTime || type == adDBTimeStamp; }
bool IsBytes(std::int16_t type) { return type == adBinary || type == adVarBinary || type == adLongVarBinary; }

bool IsTyped(std::int16_t type) {
  switch (type) {
    case adBoolean:
    case adTinyInt:
    case adUnsignedTinyInt:
    case adSmallInt:
    case adUnsignedSmallInt:
    case adInteger:
    case adUnsignedInt:
    case adBigInt:
    case adUnsignedBigInt:
    case adSingle:
    case adDouble:
    case adCurrency:
    case adNumeric:
    case adVarNumeric:
    case adGUID:
      return true;
    default:
      return IsMoment(type);
  }
}

/// A result column: the server's expression for a column of the query, and the form of what it gives.
struct Expression {
  std::string text;
  FetchPlan form;
  std::string companion;
};

bool KeepsNumbersAsTexts(const ColumnDescription& column) {
  const std::string declared = runtime::UpperCase(column.typeName);
  return declared.find("CHAR") != std::string::npos || declared.find("TEXT") != std::string::npos ||
         declared.find("CLOB") != std::string::npos;
}

bool IsWhole(std::int16_t type) {
  return type == adTinyInt || type == adUnsignedTinyInt || type == adSmallInt || type == adUnsignedSmallInt || type == adInteger || type == adBigInt;
}

/// quote() tells numbers, texts and bytes apart. Of reals it writes 15 digits when its own reading of them gives the number again, and that
/// reading is off by one bit now and then: they are written with 19. The usual type stands first; whole numbers need no function, and a
/// comparison is cheaper than typeof(). The signs + keep a text that looks like a number from being compared as one.
std::string SqliteLiteral(const std::string& name, std::int16_t type) {
  const std::string real = "printf('%!.18e', " + name + ")";
  const std::string rest = " ELSE quote(" + name + ") END";
  const std::string whole = "CAST(" + name + " AS INTEGER)";
  if (type == adDouble || type == adSingle) return "CASE WHEN +" + name + " < '' THEN " + real + rest;
  if (IsWhole(type)) return "CASE WHEN +" + name + " = +" + whole + " THEN " + whole + " WHEN +" + name + " < '' THEN " + real + rest;
  return "CASE typeof(" + name + ") WHEN 'integer' THEN " + name + " WHEN 'real' THEN " + real + rest;
}

/// Few doubles have more than four decimals, and whole ten-thousandths are written in a tenth of the time of 19 digits. They are given where
/// dividing them gives the number again to the last bit; digits alone come from there only.
std::string SqliteScaled(const std::string& name) {
  const std::string scaled = "CAST(" + name + " * 1e4 AS INTEGER)";
  return "CASE WHEN " + scaled + " / 1e4 = +" + name + " THEN " + scaled + " WHEN +" + name + " < '' THEN printf('%!.18e', " + name + ") ELSE quote(" +
         name + ") END";
}

/// False on processors that reckon with more bits than a double has: a quotient may then be rounded twice.
constexpr bool kDividesExactly = FLT_EVAL_METHOD == 0;

Expression OfSqlite(const std::string& name, const FieldInfo& field, const ColumnDescription& column, const DriverFacts& facts) {
  std::string companion = "CASE WHEN " + name + " >= x'' THEN 'X' || hex(" + name + ") WHEN instr(" + name +
                          ", char(0)) THEN hex(" + name + ") END";
  const bool computed = column.table.empty();
  const bool real = field.type == adDouble || field.type == adSingle;
  if (!computed && real && kDividesExactly) return {SqliteScaled(name), Utf(Form::kScaledLiteral, kLiteralBytes, facts), {}};
  if (computed || IsTyped(field.type)) {
    return {SqliteLiteral(name, field.type), Utf(Form::kLiteral, kLiteralBytes, facts), computed ? std::move(companion) : std::string()};
  }
  if (IsBytes(field.type)) return {name, PlanFor(field, facts), {}};
  if (!KeepsNumbersAsTexts(column)) return {SqliteLiteral(name, field.type), Utf(Form::kLiteralText, kLiteralBytes, facts), std::move(companion)};
  return {name, PlanFor(field, facts), std::move(companion)};
}

std::string PostgresMoment(const std::string& name, const ColumnDescription& column) {
  const std::string type = runtime::UpperCase(column.typeName);
  const bool zoned = type == "TIMESTAMPTZ" || type == "TIMESTAMP WITH TIME ZONE";
  // In the session's zone, but for the hour that comes twice when clocks are put back.
  if (zoned) {
    return "CASE WHEN " + name + "::timestamp::timestamptz = " + name + " THEN " + name + "::timestamp::text ELSE " + name + "::text END";
  }
  return name + "::text";
}

Expression OfPostgres(const std::string& name, const FieldInfo& field, const ColumnDescription& column, const DriverFacts& facts) {
  const FetchPlan plan = PlanFor(field, facts);
  if (field.type == adDBTime) return {name, plan, {}};
  if (IsMoment(field.type)) return {PostgresMoment(name, column), plan, {}};
  if (field.type == adCurrency) return {name + "::numeric::text", Ascii(Form::kCurrencyText, 40), {}};
  return {name, plan, {}};
}

FetchPlan PlanOfServerText(const FieldInfo& field) {
  switch (field.type) {
    case adBoolean:
      return Ascii(Form::kBooleanText, 16);
    case adTinyInt:
    case adUnsignedTinyInt:
    case adSmallInt:
    case adUnsignedSmallInt:
    case adInteger:
    case adUnsignedInt:
    case adBigInt:
      return Ascii(Form::kTypedIntegerText, 24);
    case adSingle:
      return Ascii(Form::kFloatText, 40);
    case adDouble:
      return Ascii(Form::kTypedDoubleText, 40);
    case adCurrency:
      return Ascii(Form::kCurrencyText, 140);
    case adGUID:
      return Ascii(Form::kGuidText, 40);
    default:
      return Ascii(IsMoment(field.type) ? Form::kMomentText : Form::kDecimalText, 140);
  }
}

Expression ServerText(const std::string& name, const FieldInfo& field, const ColumnDescription& column, const DriverFacts& facts) {
  const bool bytes = IsBytes(field.type);
  const FetchPlan bytesPlan{Form::kBytes, SQL_C_BINARY, 0, 0};
  switch (facts.backend) {
    case Backend::kSqlite:
      if (bytes) return {"CAST(" + name + " AS BLOB)", bytesPlan, {}};
      if (column.table.empty() || IsTyped(field.type)) return {SqliteLiteral(name, field.type), Utf(Form::kLiteral, kLiteralBytes, facts), {}};
      return {"CAST(" + name + " AS BLOB)", TextAsBytes(), {}};
    case Backend::kPostgres:
      if (bytes) return {name, bytesPlan, {}};
      if (!IsTyped(field.type)) return {"convert_to(" + name + "::text, 'UTF8')", TextAsBytes(), {}};
      if (IsMoment(field.type) && field.type != adDBTime) return {PostgresMoment(name, column), PlanOfServerText(field), {}};
      return {name + (field.type == adCurrency && runtime::UpperCase(column.typeName) == "MONEY" ? "::numeric::text" : "::text"),
              PlanOfServerText(field), {}};
    default:
      if (bytes) return {name, bytesPlan, {}};
      if (!IsTyped(field.type)) return {"CAST(CONVERT(" + name + " USING utf8mb4) AS BINARY)", TextAsBytes(), {}};
      if (field.type == adSingle) return {"CAST(CAST(" + name + " AS DOUBLE) AS CHAR)", PlanOfServerText(field), {}};
      if (field.type == adBoolean) return {"CAST(" + name + " + 0 AS CHAR)", PlanOfServerText(field), {}};
      return {"CAST(" + name + " AS CHAR)", PlanOfServerText(field), {}};
  }
}

/// True when each column of a query can be named from outside of it: a table that has changed since can then never give the values of another
/// column. SQLite names its expressions as it likes.
bool NamesTell(const std::vector<ColumnDescription>& described, Backend backend) {
  std::set<std::string> names;
  return std::all_of(described.begin(), described.end(), [&](const ColumnDescription& column) {
    if (column.name.empty() || (backend == Backend::kSqlite && column.table.empty())) return false;
    return names.insert(runtime::UpperCase(column.name)).second;
  });
}

/// The columns of the query as the expressions around it name them. MySQL before 8 has no list of names behind a query in brackets.
std::vector<std::string> NamesOutside(const std::vector<ColumnDescription>& described, const Session& session) {
  const bool own = session.Facts().backend == Backend::kMySql || NamesTell(described, session.Facts().backend);
  std::vector<std::string> names;
  for (std::size_t i = 0; i < described.size(); ++i) {
    names.push_back("tamlo_q." + (own ? session.Quoted(described[i].name) : "c" + std::to_string(i + 1)));
  }
  return names;
}

/// "SELECT expressions FROM (query)", under the names that the query gives. Where these repeat, the query's columns get others in between.
/// SQLite computes the expressions of a query again for each time that they are named, unless it keeps the rows.
std::string Around(const std::string& query, const std::vector<Expression>& expressions, const std::vector<ColumnDescription>& described,
                   const Session& session) {
  std::string selected;
  for (std::size_t i = 0; i < expressions.size(); ++i) {
    selected += (i == 0 ? "" : ", ") + expressions[i].text;
    if (!described[i].name.empty()) selected += " AS " + session.Quoted(described[i].name);
  }
  for (const auto& expression : expressions) {
    if (!expression.companion.empty()) selected += ", " + expression.companion;
  }
  const Backend backend = session.Facts().backend;
  if (backend == Backend::kMySql) return "SELECT " + selected + " FROM (" + query + ") tamlo_q";
  std::string names;
  if (!NamesTell(described, backend)) {
    for (std::size_t i = 1; i <= described.size(); ++i) names += (i == 1 ? "(c" : ", c") + std::to_string(i);
    names += ")";
  }
  if (backend == Backend::kSqlite) {
    const bool computes =
        std::any_of(described.begin(), described.end(), [](const ColumnDescription& column) { return column.table.empty(); });
    return "WITH tamlo_q" + names + " AS " + (computes ? "MATERIALIZED " : "") + "(" + query + ") SELECT " + selected + " FROM tamlo_q";
  }
  return "SELECT " + selected + " FROM (" + query + ") AS tamlo_q" + names;
}

/// A plan without any expression.
ReadPlan AsItStands(const std::vector<FieldInfo>& fields, const DriverFacts& facts, ReadMode mode) {
  ReadPlan plan;
  for (const auto& field : fields) plan.forms.push_back(PlanFor(field, facts));
  plan.companions.assign(fields.size(), ReadPlan::kNone);
  plan.singly = mode == ReadMode::kServerText;
  plan.asksTypes = facts.backend == Backend::kSqlite;
  return plan;
}

bool HasExpressions(const DriverFacts& facts, ReadMode mode) {
  return facts.backend == Backend::kSqlite || facts.castsToText || (facts.backend == Backend::kMySql && mode == ReadMode::kServerText);
}

}  // namespace

ReadPlan PlanReading(const std::string& sql, const std::vector<FieldInfo>& fields, const std::vector<ColumnDescription>& columns,
                     const Session& session, ReadMode mode) {
  const DriverFacts& facts = session.Facts();
  ReadPlan plan = AsItStands(fields, facts, mode);
  const auto query = QueryOf(sql);
  if (!query || fields.empty() || !HasExpressions(facts, mode)) return plan;
  std::vector<Expression> expressions;
  const auto names = NamesOutside(columns, session);
  bool plain = true;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const std::string& name = names[i];
    expressions.push_back(mode == ReadMode::kServerText         ? ServerText(name, fields[i], columns[i], facts)
                          : facts.backend == Backend::kSqlite ? OfSqlite(name, fields[i], columns[i], facts)
                                                              : OfPostgres(name, fields[i], columns[i], facts));
    plain = plain && expressions.back().text == name && expressions.back().companion.empty();
  }
  if (plain && mode == ReadMode::kFast) return plan;
  plan.asksTypes = false;
  plan.forms.clear();
  for (const auto& expression : expressions) plan.forms.push_back(expression.form);
  for (std::size_t i = 0; i < expressions.size(); ++i) {
    if (expressions[i].companion.empty()) continue;
    plan.companions[i] = plan.forms.size();
    plan.forms.push_back(Ascii(Form::kHexText, kHexBytes));
  }
  plan.sql = Around(std::string(*query), expressions, columns, session);
  return plan;
}

}  // namespace tamlo::ado::odbc
