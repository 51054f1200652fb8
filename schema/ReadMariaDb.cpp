// MariaDB and MySQL, from information_schema.
#include <algorithm>
#include <array>

#include "base/Case.h"
#include "schema/DdlWriter.h"
#include "schema/Reading.h"
#include "schema/SqlDefault.h"

namespace tamlo::schema {
namespace {

constexpr std::string_view kHere = " = DATABASE() ";

/// What the server says of a column.
struct Declared {
  std::string type;  ///< "int"
  std::string full;  ///< "int(10) unsigned"
  int length = 0;
  int precision = 0;
  int scale = 0;
  int digits = 0;  ///< of a second
  [[nodiscard]] bool IsUnsigned() const { return full.find("unsigned") != std::string::npos; }
};

struct PlainType {
  std::string_view name;
  Kind own;
  Kind whenUnsigned;
};
constexpr std::array<PlainType, 19> kPlainTypes{{{"tinyint", Kind::kShort, Kind::kByte},
                                                 {"smallint", Kind::kShort, Kind::kLong},
                                                 {"mediumint", Kind::kLong, Kind::kLong},
                                                 {"int", Kind::kLong, Kind::kDecimal},
                                                 {"bigint", Kind::kBig, Kind::kDecimal},
                                                 {"float", Kind::kSingle, Kind::kSingle},
                                                 {"double", Kind::kDouble, Kind::kDouble},
                                                 {"year", Kind::kShort, Kind::kShort},
                                                 {"uuid", Kind::kGuid, Kind::kGuid},
                                                 {"tinytext", Kind::kMemo, Kind::kMemo},
                                                 {"text", Kind::kMemo, Kind::kMemo},
                                                 {"mediumtext", Kind::kMemo, Kind::kMemo},
                                                 {"longtext", Kind::kMemo, Kind::kMemo},
                                                 {"json", Kind::kMemo, Kind::kMemo},
                                                 {"tinyblob", Kind::kBlob, Kind::kBlob},
                                                 {"blob", Kind::kBlob, Kind::kBlob},
                                                 {"mediumblob", Kind::kBlob, Kind::kBlob},
                                                 {"longblob", Kind::kBlob, Kind::kBlob},
                                                 {"inet6", Kind::kText, Kind::kText}}};

class MariaDb {
 public:
  MariaDb(ado::Connection& connection, const ReadOptions& options) : reading_(connection, Engine::kMariaDb, options) {}

  Database Run() {
    isMySql_ = reading_.Ask("SELECT VERSION()").at(0)[0].find("MariaDB") == std::string::npos;
    Tables();
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
  void Columns();
  void Checks();
  void Relations();
  void Indexes();
  void Views();
  void Others();
  void AddColumn(Table& table, const Answer& answer);
  Type TypeOf(const Table& table, const std::string& column, const Declared& declared);
  Type MomentType(const Table& table, const std::string& column, const Declared& declared);
  Type ListType(const Table& table, Column& column, const std::string& full);
  void ReadDefault(Column& column, const Answer& answer) const;
  void ReadCounter(const Table& table, Column& column, const Answer& answer);
  [[nodiscard]] std::string Name(const std::string& column) const { return Quoted(reading_.In(), column); }
  [[nodiscard]] bool IsMadeByServer(const Table& table, const Index& index) const;

  Reading reading_;
  bool isMySql_ = false;
  std::map<std::string, std::int64_t> next_;  // by table
};

void MariaDb::Tables() {
  for (const Answer& answer :
       reading_.Ask("SELECT TABLE_NAME, TABLE_TYPE, AUTO_INCREMENT, TABLE_COMMENT FROM information_schema.TABLES WHERE TABLE_SCHEMA" +
                    std::string(kHere) + "AND TABLE_TYPE <> 'VIEW'")) {
    if (answer[1] == "SEQUENCE") {
      reading_.Lost({}, {}, What::kSequence, {answer[0]});
      continue;
    }
    if (answer[1] != "BASE TABLE") reading_.Lost(answer[0], {}, What::kKeepsOldRows, {answer[1]});
    Table table;
    table.name = answer[0];
    table.comment = answer[3];
    next_[table.name] = answer.IsNull(2) ? 1 : answer.Number(2);
    reading_.Read().tables.push_back(std::move(table));
  }
}

void MariaDb::Columns() {
  for (const Answer& answer :
       reading_.Ask("SELECT TABLE_NAME, COLUMN_NAME, COLUMN_DEFAULT, IS_NULLABLE, DATA_TYPE, COLUMN_TYPE, CHARACTER_MAXIMUM_LENGTH, "
                    "NUMERIC_PRECISION, NUMERIC_SCALE, DATETIME_PRECISION, EXTRA, GENERATION_EXPRESSION, COLUMN_COMMENT "
                    "FROM information_schema.COLUMNS WHERE TABLE_SCHEMA" +
                    std::string(kHere) + "ORDER BY TABLE_NAME, ORDINAL_POSITION"))
    if (Table* table = reading_.Find(answer[0])) AddColumn(*table, answer);
}

void MariaDb::AddColumn(Table& table, const Answer& answer) {
  Column column;
  column.name = answer[1];
  Declared declared;
  declared.type = base::LowerCase(answer[4]);
  declared.full = base::LowerCase(answer[5]);
  declared.length = static_cast<int>(std::min<std::int64_t>(answer.Number(6), 1 << 30));
  declared.precision = static_cast<int>(answer.Number(7));
  declared.scale = static_cast<int>(answer.Number(8));
  declared.digits = static_cast<int>(answer.Number(9));
  const bool isList = declared.type == "enum" || declared.type == "set";
  column.type = isList ? ListType(table, column, answer[5]) : TypeOf(table, column.name, declared);
  column.required = !answer.Truth(3);
  column.comment = answer[12];
  const std::string extra = base::LowerCase(answer[10]);
  if (!answer[11].empty()) {
    reading_.Lost(table.name, column.name, What::kComputed, {answer[11]});
  } else {
    ReadDefault(column, answer);
    ReadCounter(table, column, answer);
    if (extra.find("on update") != std::string::npos) reading_.Lost(table.name, column.name, What::kSetByChange);
  }
  table.columns.push_back(std::move(column));
}

Type MariaDb::TypeOf(const Table& table, const std::string& column, const Declared& declared) {
  const auto lost = [&](What what, std::vector<std::string> parts = {}) { reading_.Lost(table.name, column, what, std::move(parts)); };
  if (declared.full.starts_with("tinyint(1)") && !declared.IsUnsigned()) {
    reading_.Ponder({table.name, column, Name(column) + " NOT IN (0, 1, -1)", Type{.kind = Kind::kShort}, What::kHoldsOtherTruths});
    return {.kind = Kind::kBoolean};
  }
  if (declared.type == "decimal") {
    if (declared.IsUnsigned()) lost(What::kUnsigned);
    if (declared.precision != 19 || declared.scale != 4)
      return {.kind = Kind::kDecimal, .precision = declared.precision, .scale = declared.scale};
    reading_.Ponder({table.name, column, Name(column) + " NOT BETWEEN -922337203685477.5808 AND 922337203685477.5807",
                     Type{.kind = Kind::kDecimal, .precision = 19, .scale = 4}, What::kBeyondAmount});
    return {.kind = Kind::kCurrency};
  }
  if (declared.type == "char" || declared.type == "varchar") return {.kind = Kind::kText, .length = declared.length};
  if (declared.type == "binary" || declared.type == "varbinary") return {.kind = Kind::kBinary, .length = declared.length};
  if (declared.type == "bit") {
    if (declared.precision <= 1) return {.kind = Kind::kBoolean};
    lost(What::kBits, {declared.full});
    return {.kind = Kind::kBinary, .length = (declared.precision + 7) / 8};
  }
  if (declared.type == "inet6" || declared.type == "inet4") {
    lost(What::kBecomesItsText, {declared.full});
    return {.kind = Kind::kText, .length = 39};
  }
  for (const PlainType& plain : kPlainTypes) {
    if (plain.name != declared.type) continue;
    const Kind kind = declared.IsUnsigned() ? plain.whenUnsigned : plain.own;
    if (kind == Kind::kDecimal) return {.kind = kind, .precision = declared.type == "int" ? 10 : 20};
    return {.kind = kind};
  }
  return MomentType(table, column, declared);
}

Type MariaDb::MomentType(const Table& table, const std::string& column, const Declared& declared) {
  const std::string name = Name(column);
  const Type asText{.kind = Kind::kText, .length = 29};
  if (declared.type == "time") {
    reading_.Lost(table.name, column, What::kTimeToMoment);
    reading_.Ponder({table.name, column, name + " < 0 OR " + name + " >= '24:00:00' OR MICROSECOND(" + name + ") % 1000 <> 0", asText,
                     What::kTimesNoMoment});
    return {.kind = Kind::kMoment};
  }
  if (declared.type == "date" || declared.type == "datetime" || declared.type == "timestamp") {
    if (declared.type == "date") reading_.Lost(table.name, column, What::kDayToMoment);
    if (declared.type == "timestamp") reading_.Lost(table.name, column, What::kWorldMoment);
    if (declared.digits > 3) reading_.Ponder({table.name, column, "MICROSECOND(" + name + ") % 1000 <> 0", asText, What::kFinerMoments});
    // A day of zeros is compared as a number: every comparison with a text is an error in some modes of the server.
    reading_.Ponder({table.name, column, "MONTH(" + name + ") = 0 OR DAYOFMONTH(" + name + ") = 0 OR YEAR(" + name + ") < 100",
                     std::nullopt, What::kNoDays});
    return {.kind = Kind::kMoment};
  }
  reading_.Lost(table.name, column, What::kBecomesBytes, {declared.full});
  return {.kind = Kind::kBlob};
}

/// ENUM and SET: a text that holds the longest of them, and a rule with the labels.
Type MariaDb::ListType(const Table& table, Column& column, const std::string& full) {
  std::size_t longest = 1;
  std::size_t whole = 0;
  for (const Token& token : Tokens(full)) {
    if (token.kind != Token::Kind::kText) continue;
    const std::size_t characters = static_cast<std::size_t>(
        std::count_if(token.text.begin(), token.text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }));
    longest = std::max(longest, characters);
    whole += characters + 1;
  }
  const bool isSet = base::LowerCase(full).starts_with("set");
  if (!isSet) column.rule = Name(column.name) + " IN " + full.substr(full.find('('));
  reading_.Lost(table.name, column.name, What::kBecomesText, {full});
  return {.kind = Kind::kText, .length = static_cast<int>(isSet ? std::max<std::size_t>(whole, 2) - 1 : longest)};
}

void MariaDb::ReadDefault(Column& column, const Answer& answer) const {
  if (answer.IsNull(2)) return;
  const std::string& text = answer[2];
  const bool literal = isMySql_ && base::LowerCase(answer[10]).find("default_generated") == std::string::npos;
  const bool isText = column.type.kind == Kind::kText || column.type.kind == Kind::kMemo || column.type.kind == Kind::kMoment;
  column.initial =
      SqlDefault(literal && isText && !base::LowerCase(text).starts_with("current_timestamp") ? "'" + text + "'" : text, column.type.kind);
  // The server shows a backslash as it has to be written.
  std::string& shown = column.initial.text;
  if (!isMySql_ && column.initial.kind == Default::Kind::kText)
    for (auto at = shown.find(R"(\\)"); at != std::string::npos; at = shown.find(R"(\\)", at + 1)) shown.erase(at, 1);
}

void MariaDb::ReadCounter(const Table& table, Column& column, const Answer& answer) {
  if (base::LowerCase(answer[10]).find("auto_increment") != std::string::npos) {
    column.counter = Counter{Counter::Kind::kIncrement, next_[table.name]};
    column.initial = {};
    // An unsigned Long that counts has to go far before it is none.
    if (column.type.kind == Kind::kDecimal) column.type = {.kind = column.type.precision > 10 ? Kind::kBig : Kind::kLong};
  } else if (column.required && column.type.kind == Kind::kLong && IsRandomNumber(answer[2])) {
    column.counter = Counter{Counter::Kind::kRandom, 0};
    column.initial = {};
  } else if (column.required && column.type.kind == Kind::kGuid && column.initial.kind == Default::Kind::kNewGuid) {
    column.counter = Counter{Counter::Kind::kGuid, 0};
    column.initial = {};
  }
}

void MariaDb::Checks() {
  const std::string from = isMySql_ ? "SELECT t.TABLE_NAME, c.CHECK_CLAUSE FROM information_schema.CHECK_CONSTRAINTS c JOIN "
                                      "information_schema.TABLE_CONSTRAINTS t ON t.CONSTRAINT_SCHEMA = c.CONSTRAINT_SCHEMA AND "
                                      "t.CONSTRAINT_NAME = c.CONSTRAINT_NAME WHERE c.CONSTRAINT_SCHEMA"
                                    : "SELECT TABLE_NAME, CHECK_CLAUSE FROM information_schema.CHECK_CONSTRAINTS WHERE CONSTRAINT_SCHEMA";
  for (const Answer& answer : reading_.Ask(from + std::string(kHere))) {
    Table* table = reading_.Find(answer[0]);
    if (table == nullptr) continue;
    const std::string condensed = Condensed(answer[1]);
    const auto json = std::find_if(table->columns.begin(), table->columns.end(),
                                   [&](const Column& column) { return condensed == "json_valid" + Name(column.name); });
    if (json != table->columns.end()) {
      reading_.Lost(table->name, json->name, What::kJson);
    } else {
      reading_.AddCheck(*table, answer[1]);
    }
  }
}

void MariaDb::Relations() {
  const auto answers = reading_.Ask(
      "SELECT k.CONSTRAINT_NAME, k.TABLE_NAME, k.REFERENCED_TABLE_NAME, k.COLUMN_NAME, k.REFERENCED_COLUMN_NAME, r.UPDATE_RULE, r.DELETE_RULE, "
      "k.REFERENCED_TABLE_SCHEMA = k.TABLE_SCHEMA FROM information_schema.KEY_COLUMN_USAGE k JOIN "
      "information_schema.REFERENTIAL_CONSTRAINTS r ON r.CONSTRAINT_SCHEMA = k.CONSTRAINT_SCHEMA AND r.CONSTRAINT_NAME = k.CONSTRAINT_NAME "
      "AND r.TABLE_NAME = k.TABLE_NAME WHERE k.TABLE_SCHEMA" +
      std::string(kHere) + "AND k.REFERENCED_TABLE_NAME IS NOT NULL ORDER BY k.TABLE_NAME, k.CONSTRAINT_NAME, k.ORDINAL_POSITION");
  auto& relations = reading_.Read().relations;
  for (const Answer& answer : answers) {
    if (!answer.Truth(7)) {
      reading_.Lost(answer[1], answer[3], What::kOtherDatabase, {answer[2]});
      continue;
    }
    if (relations.empty() || relations.back().name != answer[0] || relations.back().table != answer[1]) {
      Relation relation{.name = answer[0], .table = answer[1], .referenced = answer[2], .columns = {}};
      reading_.SetRules(relation, answer[5], answer[6]);
      relations.push_back(std::move(relation));
    }
    relations.back().columns.emplace_back(answer[3], answer[4]);
  }
}

/// The server makes an index for a foreign key that finds none, and WriteDdl one for a counter that no key begins with.
bool MariaDb::IsMadeByServer(const Table& table, const Index& index) const {
  if (index.unique) return false;
  const Column* counter = IncrementColumn(table);
  if (index.name == kCounterKey && index.parts.size() == 1 && counter != nullptr && base::SameName(index.parts[0].column, counter->name))
    return true;
  const auto& relations = const_cast<Reading&>(reading_).Read().relations;
  return std::any_of(relations.begin(), relations.end(), [&](const Relation& relation) {
    return relation.table == table.name && relation.name == index.name && relation.columns.size() == index.parts.size() &&
           std::equal(relation.columns.begin(), relation.columns.end(), index.parts.begin(),
                      [](const auto& pair, const IndexPart& part) { return base::SameName(pair.first, part.column); });
  });
}

void MariaDb::Indexes() {
  std::map<std::pair<std::string, std::string>, std::pair<Index, std::optional<Finding>>> found;  // with why it is left off
  for (const Answer& answer : reading_.Ask(
           "SELECT TABLE_NAME, INDEX_NAME, NON_UNIQUE, COLUMN_NAME, COLLATION, SUB_PART, INDEX_TYPE FROM information_schema.STATISTICS "
           "WHERE TABLE_SCHEMA" +
           std::string(kHere) + "ORDER BY TABLE_NAME, INDEX_NAME, SEQ_IN_INDEX")) {
    auto& [index, why] = found[{answer[0], answer[1]}];
    index.name = answer[1];
    index.primary = answer[1] == "PRIMARY";
    index.unique = answer.Number(2) == 0;
    index.required = index.primary;
    index.parts.push_back({answer[3], answer[4] == "D"});
    if (answer.IsNull(3)) why = {answer[0], {}, What::kIndexOverExpression, {answer[1]}};
    if (answer[6] != "BTREE" && answer[6] != "HASH") why = {answer[0], {}, What::kIndexIs, {answer[1], answer[6]}};
    if (index.unique && !index.primary && !answer.IsNull(5)) why = {answer[0], {}, What::kIndexOverBeginning, {answer[1]}};
  }
  for (auto& [key, made] : found) {
    Table* table = reading_.Find(key.first);
    auto& [index, why] = made;
    if (table == nullptr || IsMadeByServer(*table, index)) continue;
    if (why) {
      reading_.Lost(table->name, {}, why->what, why->parts);
      continue;
    }
    reading_.NameIndex(*table, index);
    table->indexes.push_back(std::move(index));
  }
}

void MariaDb::Views() {
  for (const Answer& answer :
       reading_.Ask("SELECT TABLE_NAME, VIEW_DEFINITION FROM information_schema.VIEWS WHERE TABLE_SCHEMA" + std::string(kHere)))
    reading_.Read().queries.push_back({.name = answer[0], .sql = answer[1], .reason = {}, .rows = {}});
}

What RoutineOf(const std::string& type) {
  if (type == "trigger") return What::kTrigger;
  if (type == "function") return What::kFunction;
  return type == "procedure" ? What::kProcedure : What::kRoutine;
}

void MariaDb::Others() {
  for (
      const Answer& answer : reading_.Ask(
          "SELECT EVENT_OBJECT_TABLE, 'trigger', TRIGGER_NAME FROM information_schema.TRIGGERS WHERE TRIGGER_SCHEMA = DATABASE() UNION ALL "
          "SELECT '', LOWER(ROUTINE_TYPE), ROUTINE_NAME FROM information_schema.ROUTINES WHERE ROUTINE_SCHEMA = DATABASE()")) {
    const What what = RoutineOf(answer[1]);
    reading_.Lost(answer[0], {}, what, what == What::kRoutine ? std::vector{answer[1], answer[2]} : std::vector{answer[2]});
  }
}

}  // namespace

Database ReadMariaDb(ado::Connection& connection, const ReadOptions& options) { return MariaDb(connection, options).Run(); }

}  // namespace tamlo::schema
