// CREATE TABLE and what belongs to it.
#include <algorithm>

#include "base/Utf8.h"
#include "schema/DdlWriter.h"
#include "schema/Find.h"

namespace tamlo::schema {
namespace {

std::string Filled(std::string_view pattern, std::string_view mark, const std::string& by) {
  std::string text(pattern);
  for (auto at = text.find(mark); at != std::string::npos; at = text.find(mark, at + by.size())) text.replace(at, mark.size(), by);
  return text;
}

std::string Joined(const std::vector<std::string>& parts, std::string_view between) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? std::string() : std::string(between)) + part;
  return text;
}

}  // namespace

const Index* PrimaryKey(const Table& table) {
  const auto found = std::find_if(table.indexes.begin(), table.indexes.end(), [](const Index& index) { return index.primary; });
  return found == table.indexes.end() ? nullptr : &*found;
}

const Column* IncrementColumn(const Table& table) {
  const auto found = std::find_if(table.columns.begin(), table.columns.end(),
                                  [](const Column& c) { return c.counter && c.counter->kind == Counter::Kind::kIncrement; });
  return found == table.columns.end() ? nullptr : &*found;
}

/// An index may refuse nulls for its columns: a primary key does, others may.
bool InRequiredIndex(const Table& table, const Column& column) {
  return std::any_of(table.indexes.begin(), table.indexes.end(), [&](const Index& index) {
    return (index.primary || index.required) &&
           std::any_of(index.parts.begin(), index.parts.end(), [&](const IndexPart& part) { return part.column == column.name; });
  });
}

/// SQLite counts in the column that is the whole primary key, and in no other.
bool DdlWriter::CounterIsKeyItself(const Table& table) const {
  const Column* counter = IncrementColumn(table);
  const Index* key = PrimaryKey(table);
  return counter != nullptr && key != nullptr && key->parts.size() == 1 && key->parts[0].column == counter->name;
}

Type DdlWriter::TypeThere(const Table& table, const Column& column) const {
  return Of(table.name).longTexts.contains(column.name) ? Type{.kind = Kind::kMemo} : column.type;
}

std::string DdlWriter::DefaultText(const Table& table, const Column& column) {
  if (column.initial.kind == Default::Kind::kNone) return {};
  const auto spelled = Spelled(dialect_, column.initial, column.type);
  if (spelled) return " DEFAULT " + *spelled;
  Lost(table.name, column.name, What::kDefault, {column.initial.text, EngineName()});
  return {};
}

std::string DdlWriter::CounterText(const Table& table, const Column& column) {
  const bool increments = column.counter->kind == Counter::Kind::kIncrement;
  std::string_view spelled = dialect_.counters[static_cast<std::size_t>(column.counter->kind)];
  if (increments && dialect_.engine == Engine::kSqlite && !CounterIsKeyItself(table)) spelled = {};
  if (!increments) Lost(table.name, column.name, What::kRandomDefault, {EngineName()});
  if (!spelled.empty()) {
    // Numbers that count are of their own size, where the engine counts in any.
    const std::string plain = Spelled(dialect_, Type{.kind = Kind::kLong}) + ' ';
    const bool other = increments && column.type.kind != Kind::kLong && dialect_.engine != Engine::kSqlite && spelled.starts_with(plain);
    return ' ' + (other ? Spelled(dialect_, column.type) + ' ' + std::string(spelled.substr(plain.size())) : std::string(spelled));
  }
  Lost(table.name, column.name, What::kNotNumbered, {EngineName()});
  return ' ' + Spelled(dialect_, column.type) + " NOT NULL";
}

std::string DdlWriter::ColumnText(const Table& table, const Column& column) {
  std::string text = ColumnName(table.name, column.name);
  const std::string comment = CommentInside(table, column.name, column.comment, 1024);
  if (column.counter) return text + CounterText(table, column) + comment;
  text += ' ' + Spelled(dialect_, TypeThere(table, column));
  const bool notNull = column.required || InRequiredIndex(table, column);
  // Oracle wants the default in front; to all others the order is the same.
  Column truth = column;
  if (column.type.kind == Kind::kBoolean && column.required && column.initial.kind == Default::Kind::kNone)
    truth.initial = {Default::Kind::kTruth, "0"};
  if (dialect_.engine != Engine::kAccess || column.type.kind != Kind::kBoolean) text += DefaultText(table, truth);
  const bool saysSo = notNull && !(dialect_.engine == Engine::kAccess && column.type.kind == Kind::kBoolean);
  return text + (saysSo ? " NOT NULL" : "") + comment;
}

/// Behind the definition of a column or table; `most` characters at most.
std::string DdlWriter::CommentInside(const Table& table, const std::string& column, const std::string& comment, std::size_t most) {
  if (comment.empty() || dialect_.comments == Comments::kBehind) return {};
  const std::string_view kept = base::FirstCharacters(comment, most);
  if (dialect_.comments == Comments::kInside && kept.size() == comment.size()) return " COMMENT " + Literal(dialect_, comment);
  Lost(table.name, column, What::kComment, {comment});
  return {};
}

void DdlWriter::AddComments(const Table& table) {
  if (dialect_.comments != Comments::kBehind) return;
  const auto add = [&](const std::string& what, const std::string& comment) {
    if (!comment.empty())
      script_.statements.push_back({Phase::kTables, table.name, "COMMENT ON " + what + " IS " + Literal(dialect_, comment)});
  };
  add("TABLE " + TableName(table.name), table.comment);
  for (const Column& column : table.columns)
    add("COLUMN " + TableName(table.name) + "." + ColumnName(table.name, column.name), column.comment);
}

/// Whether a relation changes the column by itself, on an engine that takes no check of such a one.
bool DdlWriter::CascadesInto(const Table& table, const Column& column) const {
  if (dialect_.cascadesAllowChecks) return false;
  return std::any_of(database_.relations.begin(), database_.relations.end(), [&](const Relation& relation) {
    return relation.enforced && relation.cascadeUpdates && relation.table == table.name &&
           std::any_of(relation.columns.begin(), relation.columns.end(), [&](const auto& pair) { return pair.first == column.name; });
  });
}

void DdlWriter::AddChecks(const Table& table, const Column& column, std::vector<std::string>& parts) {
  const std::string name = ColumnName(table.name, column.name);
  const auto check = [&](std::string_view condition) {
    if (condition.empty()) return;
    parts.push_back("CHECK (" + Filled(Filled(condition, "%c", name), "%n", std::to_string(column.type.length)) + ")");
  };
  const bool isText = column.type.kind == Kind::kText || column.type.kind == Kind::kMemo;
  if (isText && !column.allowEmpty && CascadesInto(table, column))
    Lost(table.name, column.name, What::kTakesEmpty, {EngineName()});
  else if (isText && !column.allowEmpty)
    check(dialect_.noEmpty);
  if (column.type.kind == Kind::kByte) check(dialect_.byteRange);
  if (column.type.kind == Kind::kBinary) check(dialect_.bytesLimit);
  if (isText && column.allowEmpty && dialect_.engine == Engine::kOracle) Lost(table.name, column.name, What::kEmptyIsNull);
}

/// MariaDB: a primary key holds the beginning of a text or bytes without a length, or of what is too wide for it, and refuses what differs
/// behind.
std::string DdlWriter::KeyPrefix(const Table& table, const Index& key, const Column& column) {
  if (dialect_.engine != Engine::kMariaDb) return {};
  const bool isLong = column.type.kind == Kind::kMemo || column.type.kind == Kind::kBlob;
  const int most = MostBytesOfAPart(table, key);
  if (!isLong && KeyBytes(column.type) <= most) return {};
  constexpr int kHeldOfLong = 255;
  const bool isText = column.type.kind == Kind::kMemo || column.type.kind == Kind::kText;
  const int fitting = most / (isText ? 4 : 1);
  const std::string held = std::to_string(isLong ? std::min(kHeldOfLong, fitting) : fitting);
  Lost(table.name, column.name, isText ? What::kKeyOfCharacters : What::kKeyOfBytes, {held, EngineName()});
  return "(" + held + ")";
}

/// The primary key, and on MariaDB a key for the counter where it stands at the head of none.
void DdlWriter::AddKeys(const Table& table, std::vector<std::string>& parts) {
  const Index* key = PrimaryKey(table);
  if (key != nullptr && !(dialect_.engine == Engine::kSqlite && CounterIsKeyItself(table))) {
    std::vector<std::string> columns;
    for (const IndexPart& part : key->parts) {
      const Column* column = Find(table.columns, part.column);
      columns.push_back(ColumnName(table.name, part.column) + (column == nullptr ? "" : KeyPrefix(table, *key, *column)));
    }
    parts.push_back("PRIMARY KEY (" + Joined(columns, ", ") + ")");
  }
  const Column* counter = IncrementColumn(table);
  if (counter == nullptr || dialect_.engine != Engine::kMariaDb) return;
  if (key == nullptr || key->parts[0].column != counter->name)
    parts.push_back("KEY " + Quoted(dialect_, kCounterKey) + " (" + ColumnName(table.name, counter->name) + ")");
}

void DdlWriter::NoteHyperlinks(const Table& table) {
  for (const Column& column : table.columns)
    if (column.hyperlink && dialect_.engine != Engine::kAccess) Lost(table.name, column.name, What::kHyperlink);
}

void DdlWriter::CreateTable(const Table& table, const std::vector<Relation>& relations) {
  std::vector<std::string> parts;
  for (const Column& column : table.columns) parts.push_back(ColumnText(table, column));
  AddKeys(table, parts);
  for (const Column& column : table.columns) AddChecks(table, column, parts);
  if (dialect_.keysInside)
    for (const Relation& relation : relations)
      if (relation.table == table.name) parts.push_back(ForeignKeyText(relation));
  auto rules = RuleConditions(table);
  if (dialect_.engine == Engine::kSqlite) {
    for (const std::string& rule : rules) parts.push_back("CHECK (" + rule + ")");
  } else if (!rules.empty()) {
    checks_[table.name] = std::move(rules);
  }
  NoteHyperlinks(table);
  script_.statements.push_back({Phase::kTables, table.name,
                                "CREATE TABLE " + TableName(table.name) + " (\n  " + Joined(parts, ",\n  ") + "\n)" +
                                    std::string(dialect_.tableSuffix) + CommentInside(table, {}, table.comment, 2048)});
  AddComments(table);
}

void DdlWriter::RestartCounter(const Table& table) {
  const Column* counter = IncrementColumn(table);
  if (counter == nullptr || dialect_.restart.empty()) return;
  if (dialect_.engine == Engine::kSqlite && !CounterIsKeyItself(table)) return;
  for (std::string_view lines = dialect_.restart; !lines.empty();) {
    const std::size_t end = std::min(lines.find('\n'), lines.size());
    std::string sql = Filled(lines.substr(0, end), "%t", TableName(table.name));
    sql = Filled(sql, "%T", Literal(dialect_, Of(table.name).name));
    sql = Filled(sql, "%c", ColumnName(table.name, counter->name));
    sql = Filled(sql, "%v", std::to_string(counter->counter->next));
    sql = Filled(sql, "%w", std::to_string(counter->counter->next - 1));
    script_.statements.push_back({Phase::kCounters, table.name, std::move(sql)});
    lines.remove_prefix(std::min(end + 1, lines.size()));
  }
}

}  // namespace tamlo::schema
