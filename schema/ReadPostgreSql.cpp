// PostgreSQL, from pg_catalog.
#include <algorithm>
#include <array>

#include "base/Case.h"
#include "schema/DdlWriter.h"
#include "schema/DeclaredType.h"
#include "schema/Reading.h"
#include "schema/SqlDefault.h"

namespace tamlo::schema {
namespace {

/// Of the current schema, pieces of another table left out.
constexpr std::string_view kTables =
    " c.relnamespace = quote_ident(current_schema())::regnamespace AND c.relkind IN ('r', 'p') AND NOT c.relispartition ";

struct PlainType {
  std::string_view name;
  Kind kind;
  std::optional<What> finding = {};  ///< when something is lost
};
constexpr std::array<PlainType, 22> kPlainTypes{{{"boolean", Kind::kBoolean},
                                                 {"smallint", Kind::kShort},
                                                 {"integer", Kind::kLong},
                                                 {"bigint", Kind::kBig},
                                                 {"real", Kind::kSingle},
                                                 {"double precision", Kind::kDouble},
                                                 {"text", Kind::kMemo},
                                                 {"bytea", Kind::kBlob},
                                                 {"uuid", Kind::kGuid},
                                                 {"oid", Kind::kBig},
                                                 {"name", Kind::kText, What::kServersName},
                                                 {"character varying", Kind::kMemo},
                                                 {"bpchar", Kind::kMemo},
                                                 {"citext", Kind::kMemo, What::kNoCase},
                                                 {"money", Kind::kCurrency},
                                                 {"json", Kind::kMemo, What::kJson},
                                                 {"jsonb", Kind::kMemo, What::kJson},
                                                 {"xml", Kind::kMemo, What::kXml},
                                                 {"date", Kind::kMoment, What::kDayToMoment},
                                                 {"timestamp", Kind::kMoment},
                                                 {"timestamptz", Kind::kMoment, What::kWorldMoment},
                                                 {"time", Kind::kMoment, What::kTimeToMoment}}};

class PostgreSql {
 public:
  PostgreSql(ado::Connection& connection, const ReadOptions& options) : reading_(connection, Engine::kPostgreSql, options) {}

  Database Run() {
    Tables();
    Labels();
    Columns();
    Checks();
    Relations();
    Indexes();
    Views();
    Others();
    return reading_.Finish();
  }

 private:
  void Tables();
  void Labels();
  void Columns();
  void Checks();
  void Relations();
  void Indexes();
  void Views();
  void Others();
  void AddColumn(Table& table, const Answer& answer);
  Type TypeOf(const Table& table, Column& column, const Answer& answer);
  Type MomentType(const Table& table, const std::string& column, const DeclaredType& declared, const PlainType& plain);
  Type FreeNumber(const Table& table, const std::string& column);
  void ReadCounter(Column& column, const Answer& answer);
  void AddIndex(const Answer& answer);
  [[nodiscard]] std::string Name(const std::string& name) const { return Quoted(reading_.In(), name); }

  Reading reading_;
  std::map<std::string, std::vector<std::string>> labels_;  // of the types with labels, by name
};

void PostgreSql::Tables() {
  for (const Answer& answer :
       reading_.Ask("SELECT c.relname, obj_description(c.oid, 'pg_class') FROM pg_class c WHERE" + std::string(kTables) + "ORDER BY 1")) {
    Table table;
    table.name = answer[0];
    table.comment = answer[1];
    reading_.Read().tables.push_back(std::move(table));
  }
}

void PostgreSql::Labels() {
  for (
      const Answer& answer : reading_.Ask(
          "SELECT format_type(t.oid, NULL), e.enumlabel FROM pg_enum e JOIN pg_type t ON t.oid = e.enumtypid ORDER BY t.oid, e.enumsortorder"))
    labels_[answer[0]].push_back(answer[1]);
}

void PostgreSql::Columns() {
  // A domain is its own type with conditions of its own.
  for (
      const Answer& answer : reading_.Ask(
          "SELECT c.relname, a.attname, CASE WHEN t.typtype = 'd' THEN format_type(t.typbasetype, t.typtypmod) ELSE format_type(a.atttypid, "
          "a.atttypmod) END, a.attnotnull OR t.typnotnull, a.attidentity::text, a.attgenerated::text, pg_get_expr(d.adbin, d.adrelid), "
          "col_description(c.oid, a.attnum), pg_get_serial_sequence(quote_ident(n.nspname) || '.' || quote_ident(c.relname), a.attname), "
          "CASE WHEN t.typtype = 'd' THEN format_type(t.oid, NULL) ELSE '' END "
          "FROM pg_attribute a JOIN pg_class c ON c.oid = a.attrelid JOIN pg_namespace n ON n.oid = c.relnamespace JOIN pg_type t ON t.oid = "
          "a.atttypid LEFT JOIN pg_attrdef d ON d.adrelid = a.attrelid AND d.adnum = a.attnum WHERE" +
          std::string(kTables) + "AND a.attnum > 0 AND NOT a.attisdropped ORDER BY c.relname, a.attnum"))
    if (Table* table = reading_.Find(answer[0])) AddColumn(*table, answer);
}

void PostgreSql::AddColumn(Table& table, const Answer& answer) {
  Column column;
  column.name = answer[1];
  column.comment = answer[7];
  column.required = answer.Truth(3);
  column.type = TypeOf(table, column, answer);
  if (!answer[9].empty()) reading_.Lost(table.name, column.name, What::kDomain, {answer[9]});
  if (!answer[5].empty()) {
    reading_.Lost(table.name, column.name, What::kComputed, {answer[6]});
  } else {
    if (!answer.IsNull(6)) column.initial = SqlDefault(answer[6], column.type.kind);
    ReadCounter(column, answer);
  }
  table.columns.push_back(std::move(column));
}

Type PostgreSql::TypeOf(const Table& table, Column& column, const Answer& answer) {
  const DeclaredType declared(answer[2]);
  const auto lost = [&](What what, std::vector<std::string> parts = {}) { reading_.Lost(table.name, column.name, what, std::move(parts)); };
  if (declared.sized && (declared.name == "character varying" || declared.name == "character"))
    return {.kind = Kind::kText, .length = declared.first};
  if (declared.name == "numeric") {
    if (!declared.sized) return FreeNumber(table, column.name);
    if (declared.first != 19 || declared.second != 4)
      return {.kind = Kind::kDecimal, .precision = declared.first, .scale = declared.second};
    reading_.Ponder({table.name, column.name, Name(column.name) + " NOT BETWEEN -922337203685477.5808 AND 922337203685477.5807",
                     Type{.kind = Kind::kDecimal, .precision = 19, .scale = 4}, What::kBeyondAmount});
    return {.kind = Kind::kCurrency};
  }
  std::string name = declared.name;
  if (name == "timestamp without time zone") name = "timestamp";
  if (name == "timestamp with time zone") name = "timestamptz";
  if (name == "time without time zone") name = "time";
  for (const PlainType& plain : kPlainTypes) {
    if (plain.name != name) continue;
    if (plain.kind == Kind::kMoment) return MomentType(table, column.name, declared, plain);
    if (plain.finding) lost(*plain.finding);
    return {.kind = plain.kind, .length = plain.kind == Kind::kText ? 63 : 0};
  }
  if (const auto labels = labels_.find(declared.full); labels != labels_.end()) {
    std::size_t longest = 1;
    for (const std::string& label : labels->second) {
      longest = std::max(longest, label.size());
      column.rule += (column.rule.empty() ? Name(column.name) + " IN (" : ", ") + Literal(reading_.In(), label);
    }
    column.rule += ")";
    lost(What::kLabels, {declared.full});
    return {.kind = Kind::kText, .length = static_cast<int>(longest)};
  }
  lost(What::kBecomesServersText, {declared.full});
  return {.kind = Kind::kMemo};
}

Type PostgreSql::MomentType(const Table& table, const std::string& column, const DeclaredType& declared, const PlainType& plain) {
  const std::string name = Name(column);
  const Type asText{.kind = Kind::kText, .length = 40};
  if (plain.finding) reading_.Lost(table.name, column, *plain.finding);
  if (plain.name == "time") {
    reading_.Ponder({table.name, column,
                     name + " = '24:00' OR date_trunc('milliseconds', " + name + "::interval) <> " + name + "::interval", asText,
                     What::kTimesNoMoment});
    return {.kind = Kind::kMoment};
  }
  if (plain.name != "date" && (!declared.sized || declared.first > 3))
    reading_.Ponder({table.name, column, "isfinite(" + name + ") AND date_trunc('milliseconds', " + name + ") <> " + name, asText,
                     What::kFinerMoments});
  reading_.Ponder({table.name, column, "NOT isfinite(" + name + ") OR " + name + " < '0100-01-01' OR " + name + " >= '10000-01-01'",
                   std::nullopt, What::kFarDays});
  return {.kind = Kind::kMoment};
}

/// A number without a declared size has that of the largest ones that are there.
Type PostgreSql::FreeNumber(const Table& table, const std::string& column) {
  if (!reading_.LooksAtValues()) {
    reading_.Lost(table.name, column, What::kAnySizeToText);
    return {.kind = Kind::kMemo};
  }
  const std::string name = Name(column);
  const auto answer = reading_.Ask("SELECT coalesce(max(scale(" + name + ")), 0), coalesce(max(length(trunc(abs(" + name +
                                   "))::text)), 1), count(*) FILTER (WHERE " + name + "::text IN ('NaN', 'Infinity', '-Infinity')) FROM " +
                                   Name(table.name));
  const int scale = static_cast<int>(answer.at(0).Number(0));
  const int precision = scale + static_cast<int>(answer.at(0).Number(1));
  if (precision > 38 || answer.at(0).Number(2) > 0) {
    reading_.Lost(table.name, column, What::kTooManyDigits);
    return {.kind = Kind::kMemo};
  }
  reading_.Lost(table.name, column, What::kAnySizeToDecimal, {std::to_string(std::max(precision, 18))});
  return {.kind = Kind::kDecimal, .precision = std::max(precision, 18), .scale = scale};
}

void PostgreSql::ReadCounter(Column& column, const Answer& answer) {
  const bool serial = answer[6].starts_with("nextval(");
  if (!answer[4].empty() || (serial && !answer.IsNull(8))) {
    const auto state = reading_.Ask("SELECT s.last_value, s.is_called, q.seqincrement FROM " + answer[8] +
                                    " s, pg_sequence q WHERE q.seqrelid = " + Literal(reading_.In(), answer[8]) + "::regclass");
    const std::int64_t step = state.at(0).Number(2);
    if (step != 1) reading_.Lost(answer[0], column.name, What::kSteps, {std::to_string(step)});
    column.counter = Counter{Counter::Kind::kIncrement, state.at(0).Number(0) + (state.at(0).Truth(1) ? step : 0)};
    column.initial = {};
  } else if (column.required && column.type.kind == Kind::kLong && IsRandomNumber(answer[6])) {
    column.counter = Counter{Counter::Kind::kRandom, 0};
    column.initial = {};
  } else if (column.required && column.type.kind == Kind::kGuid && column.initial.kind == Default::Kind::kNewGuid) {
    column.counter = Counter{Counter::Kind::kGuid, 0};
    column.initial = {};
  }
}

void PostgreSql::Checks() {
  for (
      const Answer& answer : reading_.Ask(
          "SELECT c.relname, k.conname, k.contype::text, pg_get_expr(k.conbin, k.conrelid) FROM pg_constraint k JOIN pg_class c ON c.oid = "
          "k.conrelid WHERE" +
          std::string(kTables) + "AND k.contype IN ('c', 'x') ORDER BY 1, 2")) {
    Table* table = reading_.Find(answer[0]);
    if (table == nullptr) continue;
    if (answer[2] == "x") {
      reading_.Lost(table->name, {}, What::kExclusion, {answer[1]});
    } else {
      reading_.AddCheck(*table, answer[3]);
    }
  }
}

std::string RuleOf(const std::string& letter) {
  if (letter == "c") return "CASCADE";
  if (letter == "n") return "SET NULL";
  return letter == "d" ? "SET DEFAULT" : "NO ACTION";
}

void PostgreSql::Relations() {
  const auto answers = reading_.Ask(
      "SELECT k.conname, c.relname, r.relname, own.attname, other.attname, k.confupdtype::text, k.confdeltype::text, r.relnamespace = "
      "c.relnamespace FROM pg_constraint k JOIN pg_class c ON c.oid = k.conrelid JOIN pg_class r ON r.oid = k.confrelid, "
      "LATERAL unnest(k.conkey, k.confkey) WITH ORDINALITY AS u(own, other, place), pg_attribute own, pg_attribute other WHERE" +
      std::string(kTables) +
      "AND k.contype = 'f' AND own.attrelid = k.conrelid AND own.attnum = u.own AND other.attrelid = k.confrelid AND other.attnum = u.other "
      "ORDER BY c.relname, k.conname, u.place");
  auto& relations = reading_.Read().relations;
  for (const Answer& answer : answers) {
    if (!answer.Truth(7)) {
      reading_.Lost(answer[1], answer[3], What::kOtherSchema, {answer[2]});
      continue;
    }
    if (relations.empty() || relations.back().name != answer[0] || relations.back().table != answer[1]) {
      Relation relation{.name = answer[0], .table = answer[1], .referenced = answer[2], .columns = {}};
      reading_.SetRules(relation, RuleOf(answer[5]), RuleOf(answer[6]));
      relations.push_back(std::move(relation));
    }
    relations.back().columns.emplace_back(answer[3], answer[4]);
  }
}

void PostgreSql::Indexes() {
  for (
      const Answer& answer : reading_.Ask(
          "SELECT c.relname, i.relname, x.indisunique, x.indisprimary, m.amname, pg_get_expr(x.indpred, x.indrelid), (SELECT "
          "string_agg(coalesce(quote_ident(a.attname), '') || CASE WHEN x.indoption[k.place - 1] & 1 = 1 THEN ' DESC' ELSE '' END, ',' ORDER BY "
          "k.place) FROM unnest(x.indkey::int2[]) WITH ORDINALITY AS k(number, place) LEFT JOIN pg_attribute a ON a.attrelid = x.indrelid AND "
          "a.attnum = k.number WHERE k.place <= x.indnkeyatts), 0 = ANY(x.indkey::int2[]) FROM pg_index x JOIN pg_class c ON c.oid = x.indrelid JOIN "
          "pg_class i ON i.oid = x.indexrelid JOIN pg_am m ON m.oid = i.relam WHERE" +
          std::string(kTables) + "AND NOT x.indisexclusion ORDER BY 1, 2"))
    AddIndex(answer);
}

std::string WithoutQuotes(std::string text) {
  std::erase(text, '"');
  return text;
}

void PostgreSql::AddIndex(const Answer& answer) {
  Table* table = reading_.Find(answer[0]);
  if (table == nullptr) return;
  Index index{.name = answer[1], .parts = {}, .primary = answer.Truth(3), .unique = answer.Truth(2)};
  index.required = index.primary;
  std::string allFilled;
  for (const Token& token : Tokens(answer[6])) {
    if (token.text == "DESC" && token.kind == Token::Kind::kWord && !index.parts.empty()) {
      index.parts.back().descending = true;
    } else if (token.kind != Token::Kind::kSign) {
      index.parts.push_back({token.text, false});
      allFilled += (allFilled.empty() ? "" : "or") + Condensed(Name(token.text)) + "isnotnull";
    }
  }
  std::optional<Finding> why;
  if (answer.Truth(7)) why = {table->name, {}, What::kIndexOverExpression, {index.name}};
  if (answer[4] != "btree" && answer[4] != "hash") why = {table->name, {}, What::kIndexOfKind, {index.name, answer[4]}};
  if (!answer[5].empty()) {
    // Quotes are left off where they can be.
    index.ignoreNulls = WithoutQuotes(Condensed(answer[5])) == WithoutQuotes(allFilled);
    if (!index.ignoreNulls) why = {table->name, {}, What::kIndexOverRows, {index.name, answer[5]}};
  }
  if (why) return reading_.Lost(table->name, {}, why->what, why->parts);
  reading_.NameIndex(*table, index);
  table->indexes.push_back(std::move(index));
}

void PostgreSql::Views() {
  for (
      const Answer& answer : reading_.Ask(
          "SELECT c.relname, pg_get_viewdef(c.oid), c.relkind::text FROM pg_class c WHERE c.relnamespace = quote_ident(current_schema())::regnamespace AND "
          "c.relkind IN ('v', 'm')")) {
    if (answer[2] == "m") reading_.Lost({}, {}, What::kKeptView, {answer[0]});
    reading_.Read().queries.push_back({.name = answer[0], .sql = answer[1], .reason = {}, .rows = {}});
  }
}

void PostgreSql::Others() {
  for (const Answer& answer :
       reading_.Ask("SELECT c.relname, t.tgname, '' FROM pg_trigger t JOIN pg_class c ON c.oid = t.tgrelid WHERE" + std::string(kTables) +
                    "AND NOT t.tgisinternal UNION ALL SELECT '', n.nspname, count(*)::text FROM "
                    "pg_class c JOIN pg_namespace n ON n.oid = c.relnamespace WHERE c.relkind IN ('r', 'p') AND n.oid <> "
                    "quote_ident(current_schema())::regnamespace AND n.nspname !~ '^(pg_|information_schema$)' GROUP BY n.nspname"))
    if (answer[2].empty())
      reading_.Lost(answer[0], {}, What::kTrigger, {answer[1]});
    else
      reading_.Lost({}, {}, What::kTablesOfSchema, {answer[1], answer[2]});
}

}  // namespace

Database ReadPostgreSql(ado::Connection& connection, const ReadOptions& options) { return PostgreSql(connection, options).Run(); }

}  // namespace tamlo::schema
