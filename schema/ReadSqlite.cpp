// SQLite, from sqlite_master and its pragmas.
#include <algorithm>
#include <array>
#include <map>

#include "base/Case.h"
#include "base/Numbers.h"
#include "schema/DdlWriter.h"
#include "schema/Find.h"
#include "schema/Reading.h"
#include "schema/SqlDefault.h"
#include "schema/SqliteText.h"

namespace tamlo::schema {
namespace {

/// A declared type, which SQLite takes as a hint alone.
struct PlainType {
  std::string_view name;
  Kind kind;
  std::optional<What> finding = {};  ///< when something is lost
};
constexpr std::array<PlainType, 42> kPlainTypes{{{"BOOLEAN", Kind::kBoolean},
                                                 {"BOOL", Kind::kBoolean},
                                                 {"BIT", Kind::kBoolean},
                                                 {"TINYINT", Kind::kShort},
                                                 {"SMALLINT", Kind::kShort},
                                                 {"INT2", Kind::kShort},
                                                 {"INTEGER", Kind::kLong},
                                                 {"INT", Kind::kLong},
                                                 {"MEDIUMINT", Kind::kLong},
                                                 {"LONG", Kind::kLong},
                                                 {"BIGINT", Kind::kBig},
                                                 {"INT8", Kind::kBig},
                                                 {"UNSIGNED BIG INT", Kind::kBig},
                                                 {"FLOAT", Kind::kDouble},
                                                 {"REAL", Kind::kDouble},
                                                 {"DOUBLE", Kind::kDouble},
                                                 {"DOUBLE PRECISION", Kind::kDouble},
                                                 {"MONEY", Kind::kCurrency},
                                                 {"CURRENCY", Kind::kCurrency},
                                                 {"DATETIME", Kind::kMoment},
                                                 {"TIMESTAMP", Kind::kMoment},
                                                 {"DATE", Kind::kMoment, What::kDayToMoment},
                                                 {"TIME", Kind::kMemo, What::kTimeToText},
                                                 {"YEAR", Kind::kShort},
                                                 {"TEXT", Kind::kMemo},
                                                 {"NTEXT", Kind::kMemo},
                                                 {"CLOB", Kind::kMemo},
                                                 {"VARCHAR", Kind::kMemo},
                                                 {"NVARCHAR", Kind::kMemo},
                                                 {"CHAR", Kind::kMemo},
                                                 {"STRING", Kind::kMemo},
                                                 {"JSON", Kind::kMemo, What::kJson},
                                                 {"BLOB", Kind::kBlob},
                                                 {"IMAGE", Kind::kBlob},
                                                 {"VARBINARY", Kind::kBlob},
                                                 {"BINARY", Kind::kBlob},
                                                 {"UUID_TEXT", Kind::kGuid},
                                                 {"UUID", Kind::kGuid},
                                                 {"GUID", Kind::kGuid},
                                                 {"UNIQUEIDENTIFIER", Kind::kGuid},
                                                 {"", Kind::kMemo, What::kNoType},
                                                 {"ANY", Kind::kMemo, What::kAnyType}}};

struct Declared {
  std::string name;
  int first = 0, second = 0;
  bool sized = false;
  explicit Declared(const std::string& text) : name(base::UpperCase(text)) {
    const auto open = name.find('(');
    if (open != std::string::npos) {
      const auto tokens = Tokens(std::string_view(name).substr(open));
      for (const Token& token : tokens) {
        const auto number = token.kind == Token::Kind::kNumber ? base::ReadWhole<int>(token.text) : std::nullopt;
        if (number) (sized ? second : first) = *number;
        sized = sized || number;
      }
      name.resize(open);
    }
    while (name.ends_with(' ')) name.pop_back();
  }
};

class Sqlite {
 public:
  Sqlite(ado::Connection& connection, const ReadOptions& options) : reading_(connection, Engine::kSqlite, options) {}

  Database Run() {
    Tables();
    Columns();
    Counters();
    Checks();
    Relations();
    Indexes();
    Views();
    return reading_.Finish();
  }

 private:
  void Tables();
  void Columns();
  void Counters();
  void Checks();
  void Relations();
  void Indexes();
  void Views();
  [[nodiscard]] bool HoldsNulls(const Table& table, const Index& key) const;
  void AddColumn(Table& table, const Answer& answer);
  void AddIndex(Table& table, const std::string& name, bool unique, bool made, const std::string& sql);
  Type TypeOf(const Table& table, const std::string& column, const Declared& declared);
  void PonderNumbers(const Table& table, const std::string& column, Kind kind);
  void PonderForms(const Table& table, const Column& column);
  [[nodiscard]] std::string Name(const std::string& name) const { return Quoted(reading_.In(), name); }
  [[nodiscard]] std::string Text(const std::string& text) const { return Literal(reading_.In(), text); }

  Reading reading_;
  std::map<std::string, SqliteTable> texts_;
  std::map<std::string, std::vector<std::pair<std::int64_t, std::string>>> keys_;  // of primary keys, by table
};

void Sqlite::Tables() {
  for (const Answer& answer :
       reading_.Ask("SELECT name, sql FROM sqlite_master WHERE type = 'table' AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\'")) {
    const auto tokens = Tokens(answer[1]);
    if (tokens.size() > 1 && tokens[1].Is("VIRTUAL")) {
      reading_.Lost({}, {}, What::kVirtualTable, {answer[0]});
      continue;
    }
    Table table;
    table.name = answer[0];
    texts_[table.name] = ReadSqliteTable(answer[1]);
    reading_.Read().tables.push_back(std::move(table));
  }
}

void Sqlite::Columns() {
  for (Table& table : reading_.Read().tables)
    for (const Answer& answer : reading_.Ask("SELECT name, type, \"notnull\", dflt_value, pk, hidden FROM pragma_table_xinfo(" +
                                             Text(table.name) + ") ORDER BY cid"))
      AddColumn(table, answer);
}

void Sqlite::AddColumn(Table& table, const Answer& answer) {
  Column column;
  column.name = answer[0];
  column.type = TypeOf(table, column.name, Declared(answer[1]));
  column.required = answer.Truth(2);
  const SqliteTable& text = texts_[table.name];
  if (answer.Number(5) > 1) {
    const auto computed =
        std::find_if(text.computed.begin(), text.computed.end(), [&](const auto& one) { return one.column == column.name; });
    reading_.Lost(table.name, column.name, What::kComputed, {computed == text.computed.end() ? "?" : computed->expression});
  } else if (!answer.IsNull(3)) {
    column.initial = SqlDefault(answer[3], column.type.kind);
    const bool random = column.type.kind == Kind::kLong && IsRandomNumber(answer[3]);
    if (column.required && (random || (column.type.kind == Kind::kGuid && column.initial.kind == Default::Kind::kNewGuid))) {
      column.counter = Counter{random ? Counter::Kind::kRandom : Counter::Kind::kGuid, 0};
      column.initial = {};
    }
  }
  if (answer.Number(4) > 0) keys_[table.name].emplace_back(answer.Number(4), column.name);
  PonderForms(table, column);
  table.columns.push_back(std::move(column));
}

Type Sqlite::TypeOf(const Table& table, const std::string& column, const Declared& declared) {
  const bool decimal =
      declared.name == "DECIMAL_TEXT" || declared.name == "DECIMAL" || declared.name == "NUMERIC" || declared.name == "NUMBER";
  if (decimal && declared.sized) {
    if (declared.first == 19 && declared.second == 4) return {.kind = Kind::kCurrency};
    return {.kind = Kind::kDecimal, .precision = declared.first, .scale = declared.second};
  }
  if (decimal) return {.kind = Kind::kDouble};
  if (declared.name == "FLOAT" && declared.first == 24) return {.kind = Kind::kSingle};
  for (const PlainType& plain : kPlainTypes) {
    if (plain.name != declared.name) continue;
    if (plain.finding) reading_.Lost(table.name, column, *plain.finding);
    if (declared.sized && plain.kind == Kind::kMemo) return {.kind = Kind::kText, .length = declared.first};
    if (declared.sized && plain.kind == Kind::kBlob) return {.kind = Kind::kBinary, .length = declared.first};
    PonderNumbers(table, column, plain.kind);
    return {.kind = plain.kind};
  }
  // SQLite's own rule for words that it does not know.
  const auto holds = [&](std::string_view word) { return declared.name.find(word) != std::string::npos; };
  Kind kind = Kind::kMemo;
  if (holds("INT"))
    kind = Kind::kBig;
  else if (!holds("CHAR") && !holds("CLOB") && !holds("TEXT") && (holds("REAL") || holds("FLOA") || holds("DOUB")))
    kind = Kind::kDouble;
  if (declared.sized && holds("CHAR")) return {.kind = Kind::kText, .length = declared.first};
  reading_.Lost(table.name, column, What::kTakenAsKept, {declared.name});
  return {.kind = kind};
}

/// A whole number has 64 bits there, whatever is declared.
void Sqlite::PonderNumbers(const Table& table, const std::string& column, Kind kind) {
  const std::string name = Name(column);
  const auto beyond = [&](const std::string& first, const std::string& last, Kind becomes) {
    reading_.Ponder({table.name, column, "typeof(" + name + ") = 'integer' AND " + name + " NOT BETWEEN " + first + " AND " + last,
                     Type{.kind = becomes}, What::kTooLargeNumbers});
  };
  if (kind == Kind::kBoolean) beyond("-1", "1", Kind::kLong);
  if (kind == Kind::kShort) beyond("-32768", "32767", Kind::kLong);
  if (kind == Kind::kBoolean || kind == Kind::kShort || kind == Kind::kLong) beyond("-2147483648", "2147483647", Kind::kBig);
}

/// What is declared decides nothing there: a value of another form is told, and the column takes all of them.
void Sqlite::PonderForms(const Table& table, const Column& column) {
  std::string forms = "'null'";
  switch (column.type.kind) {
    case Kind::kBoolean:
    case Kind::kByte:
    case Kind::kShort:
    case Kind::kLong:
    case Kind::kBig:
      forms += ", 'integer'";
      break;
    case Kind::kSingle:
    case Kind::kDouble:
      forms += ", 'integer', 'real'";
      break;
    case Kind::kCurrency:
    case Kind::kDecimal:
      forms += ", 'integer', 'real', 'text'";
      break;
    case Kind::kBinary:
    case Kind::kBlob:
      forms += ", 'blob'";
      break;
    default:
      forms += ", 'text'";
  }
  reading_.Ponder(
      {table.name, column.name, "typeof(" + Name(column.name) + ") NOT IN (" + forms + ")", Type{.kind = Kind::kMemo}, What::kOtherForm});
}

void Sqlite::Counters() {
  const bool counts = !reading_.Ask("SELECT name FROM sqlite_master WHERE name = 'sqlite_sequence'").empty();
  std::map<std::string, std::int64_t> last;
  if (counts)
    for (const Answer& answer : reading_.Ask("SELECT name, seq FROM sqlite_sequence")) last[answer[0]] = answer.Number(1);
  for (Table& table : reading_.Read().tables) {
    const std::string& name = texts_[table.name].counter;
    for (Column& column : table.columns) {
      if (name.empty() || !base::SameName(column.name, name)) continue;
      std::int64_t next = last[table.name] + 1;
      if (!last.contains(table.name) || next == 1)
        next =
            std::max(next, reading_.Ask("SELECT coalesce(max(" + Name(column.name) + "), 0) FROM " + Name(table.name)).at(0).Number(0) + 1);
      column.counter = Counter{Counter::Kind::kIncrement, next};
      column.required = true;
    }
  }
}

void Sqlite::Checks() {
  for (Table& table : reading_.Read().tables)
    for (const std::string& check : texts_[table.name].checks) reading_.AddCheck(table, check);
}

void Sqlite::Relations() {
  for (const Table& table : std::vector<Table>(reading_.Read().tables)) {
    std::map<std::int64_t, Relation> found;
    for (const Answer& answer : reading_.Ask("SELECT id, \"table\", \"from\", \"to\", on_update, on_delete FROM pragma_foreign_key_list(" +
                                             Text(table.name) + ") ORDER BY id, seq")) {
      Relation& relation = found[answer.Number(0)];
      relation.table = table.name;
      relation.referenced = answer[1];
      // Without columns it is the primary key that is referred to.
      std::string to = answer[3];
      const Table* referenced = reading_.Find(answer[1]);
      auto key = keys_[referenced == nullptr ? answer[1] : referenced->name];
      std::sort(key.begin(), key.end());
      if (answer.IsNull(3) && relation.columns.size() < key.size()) to = key[relation.columns.size()].second;
      relation.columns.emplace_back(answer[2], to);
      relation.name = answer[4] + "/" + answer[5];
    }
    std::size_t unnamed = 0;
    for (auto& [id, relation] : found) {
      const std::string rules = relation.name;
      relation.name = table.name + "_" + relation.referenced + (unnamed > 0 ? "_" + std::to_string(unnamed + 1) : "");
      ++unnamed;
      for (const auto& written : texts_[table.name].foreignKeys)
        if (!written.name.empty() && base::SameName(written.referenced, relation.referenced) &&
            written.columns.size() == relation.columns.size() &&
            std::equal(written.columns.begin(), written.columns.end(), relation.columns.begin(),
                       [](const std::string& column, const auto& pair) { return base::SameName(column, pair.first); }))
          relation.name = written.name;
      reading_.SetRules(relation, rules.substr(0, rules.find('/')), rules.substr(rules.find('/') + 1));
      if (const Table* referenced = reading_.Find(relation.referenced)) relation.referenced = referenced->name;
      reading_.Read().relations.push_back(std::move(relation));
    }
  }
}

/// Whether rows have no value in a column of the key: SQLite takes them where NOT NULL is not said.
bool Sqlite::HoldsNulls(const Table& table, const Index& key) const {
  if (!reading_.LooksAtValues()) return false;
  std::string condition;
  for (const IndexPart& part : key.parts) {
    const Column* column = schema::Find(table.columns, part.column);
    if (column == nullptr || column->required) continue;
    condition += (condition.empty() ? "" : " OR ") + Name(part.column) + " IS NULL";
  }
  if (condition.empty()) return false;
  return reading_.Ask("SELECT EXISTS (SELECT 1 FROM " + Name(table.name) + " WHERE " + condition + ")").at(0).Truth(0);
}

void Sqlite::Indexes() {
  for (Table& table : reading_.Read().tables) {
    auto& key = keys_[table.name];
    std::sort(key.begin(), key.end());
    if (!key.empty()) {
      Index index{.name = "PrimaryKey", .parts = {}, .primary = true, .unique = true, .ignoreNulls = false, .required = true};
      for (const auto& [place, column] : key) index.parts.push_back({column, false});
      if (HoldsNulls(table, index)) {
        index.name = "primary_key";
        index.primary = index.required = false;
        reading_.Lost(table.name, {}, What::kNullsInKey);
      }
      table.indexes.push_back(std::move(index));
    }
    for (const Answer& answer :
         reading_.Ask("SELECT l.name, l.\"unique\", l.origin, m.sql FROM pragma_index_list(" + Text(table.name) +
                      ") l LEFT JOIN sqlite_master m ON m.type = 'index' AND m.name = l.name WHERE l.origin <> 'pk' ORDER BY l.seq"))
      AddIndex(table, answer[0], answer.Truth(1), answer[2] == "u", answer[3]);
  }
}

void Sqlite::AddIndex(Table& table, const std::string& name, bool unique, bool made, const std::string& sql) {
  Index index{.name = name, .parts = {}, .primary = false, .unique = unique};
  std::string allFilled;
  std::string columns;
  std::optional<Finding> why;
  for (const Answer& answer :
       reading_.Ask("SELECT name, \"desc\", cid FROM pragma_index_xinfo(" + Text(name) + ") WHERE key = 1 ORDER BY seqno")) {
    if (answer.Number(2) < 0) why = {table.name, {}, What::kIndexOverExpression, {name}};
    index.parts.push_back({answer[0], answer.Truth(1)});
    allFilled += (allFilled.empty() ? "" : "or") + Name(answer[0]) + "isnotnull";
    columns += (columns.empty() ? "" : "_") + answer[0];
  }
  // A constraint has no name of its own.
  if (made) index.name = columns;
  const std::string condition = SqliteIndexCondition(sql);
  if (!condition.empty()) {
    index.ignoreNulls = Condensed(condition) == allFilled;
    if (!index.ignoreNulls) why = {table.name, {}, What::kIndexOverRows, {name, condition.substr(condition.starts_with(' ') ? 1 : 0)}};
  }
  if (why) return reading_.Lost(table.name, {}, why->what, why->parts);
  reading_.NameIndex(table, index);
  table.indexes.push_back(std::move(index));
}

void Sqlite::Views() {
  for (const Answer& answer : reading_.Ask("SELECT type, name, tbl_name, sql FROM sqlite_master WHERE type IN ('view', 'trigger')")) {
    if (answer[0] == "trigger") {
      reading_.Lost(answer[2], {}, What::kTrigger, {answer[1]});
      continue;
    }
    std::string sql = answer[3];
    for (const Token& token : Tokens(answer[3]))
      if (token.depth == 0 && token.Is("AS")) {
        sql = answer[3].substr(token.end);
        break;
      }
    sql.erase(0, sql.find_first_not_of(" \t\r\n"));
    reading_.Read().queries.push_back({.name = answer[1], .sql = sql, .reason = {}, .rows = {}});
  }
}

}  // namespace

Database ReadSqlite(ado::Connection& connection, const ReadOptions& options) { return Sqlite(connection, options).Run(); }

}  // namespace tamlo::schema
