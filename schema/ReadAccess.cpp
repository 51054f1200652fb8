#include "schema/ReadAccess.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "ado/Secrets.h"
#include "base/Case.h"
#include "base/DateText.h"
#include "base/MomentText.h"
#include "jet/sql/run/StoredParts.h"
#include "jet/table/Table.h"
#include "jet/table/TableCore.h"
#include "schema/Find.h"

namespace tamlo::schema {
namespace {

Kind KindOf(jet::ColumnType type) {
  switch (type) {
    case jet::ColumnType::kBoolean:
      return Kind::kBoolean;
    case jet::ColumnType::kByte:
      return Kind::kByte;
    case jet::ColumnType::kInteger:
      return Kind::kShort;
    case jet::ColumnType::kLong:
      return Kind::kLong;
    case jet::ColumnType::kCurrency:
      return Kind::kCurrency;
    case jet::ColumnType::kSingle:
      return Kind::kSingle;
    case jet::ColumnType::kDouble:
      return Kind::kDouble;
    case jet::ColumnType::kDate:
      return Kind::kMoment;
    case jet::ColumnType::kText:
      return Kind::kText;
    case jet::ColumnType::kMemo:
      return Kind::kMemo;
    case jet::ColumnType::kOle:
      return Kind::kBlob;
    case jet::ColumnType::kGuid:
      return Kind::kGuid;
    case jet::ColumnType::kNumeric:
      return Kind::kDecimal;
    case jet::ColumnType::kBinary:
    case jet::ColumnType::kInternal:
      return Kind::kBinary;
  }
  throw jet::Error(jet::ErrorCode::kUnsupported, "a column type that is not known: " + std::to_string(static_cast<int>(type)));
}

/// The text of a property of that name; empty when there is none.
std::string PropertyText(const std::vector<jet::Property>& properties, std::string_view name) {
  for (const auto& property : properties)
    if (property.name == name && property.value.Type() == jet::ValueType::kText) return property.value.AsText();
  return {};
}

std::string Trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(" \t\r\n");
  if (first == std::string_view::npos) return {};
  return std::string(text.substr(first, text.find_last_not_of(" \t\r\n") - first + 1));
}

bool IsNumber(std::string_view text) {
  double value = 0;
  const char* begin = text.data() + (text.starts_with('+') ? 1 : 0);
  const auto end = std::from_chars(begin, text.data() + text.size(), value);
  return begin < text.data() + text.size() && end.ec == std::errc() && end.ptr == text.data() + text.size() && std::isfinite(value);
}

/// A text between quotes of one of two kinds, which stand twice inside of it; nothing for any other expression.
std::optional<std::string> Unquoted(std::string_view text) {
  if (text.size() < 2 || (text.front() != '"' && text.front() != '\'') || text.back() != text.front()) return std::nullopt;
  std::string inside;
  for (std::size_t i = 1; i + 1 < text.size(); ++i) {
    if (text[i] == text.front()) {
      if (i + 2 >= text.size() || text[i + 1] != text.front()) return std::nullopt;
      ++i;
    }
    inside += text[i];
  }
  return inside;
}

/// Between number signs, month first as statements have it.
std::optional<std::string> MomentIn(std::string_view text) {
  if (text.size() < 3 || text.front() != '#' || text.back() != '#') return std::nullopt;
  const auto serial = base::ReadDateText(text.substr(1, text.size() - 2), base::DateOrder::kMonthFirst);
  if (!serial) return std::nullopt;
  std::string spelled;
  if (!base::AppendMomentText(spelled, *serial)) return std::nullopt;
  if (spelled.ends_with(" 00:00:00")) spelled.resize(10);
  return spelled;
}

/// The functions and words that have an equivalent everywhere.
std::optional<Default> WordIn(const std::string& lower, Kind kind) {
  using Word = std::pair<const char*, Default>;
  static const std::array<Word, 12> kWords{{{"now()", {Default::Kind::kNow, {}}},
                                            {"date()", {Default::Kind::kToday, {}}},
                                            {"time()", {Default::Kind::kTimeOfDay, {}}},
                                            {"genguid()", {Default::Kind::kNewGuid, {}}},
                                            {"true", {Default::Kind::kTruth, "1"}},
                                            {"yes", {Default::Kind::kTruth, "1"}},
                                            {"on", {Default::Kind::kTruth, "1"}},
                                            {"false", {Default::Kind::kTruth, "0"}},
                                            {"no", {Default::Kind::kTruth, "0"}},
                                            {"off", {Default::Kind::kTruth, "0"}},
                                            {"null", {Default::Kind::kNone, {}}},
                                            {"\"\"", {Default::Kind::kText, {}}}}};
  const auto found = std::find_if(kWords.begin(), kWords.end(), [&](const Word& word) { return lower == word.first; });
  if (found == kWords.end()) return std::nullopt;
  Default made = found->second;
  // Outside of columns of truth values True is the number -1.
  if (made.kind == Default::Kind::kTruth && kind != Kind::kBoolean) made = {Default::Kind::kNumber, made.text == "1" ? "-1" : "0"};
  return made;
}

/// What an .accdb has that no other database does.
void TellOfAccdb(jet::Table& table, const jet::ColumnDef& stored, const std::vector<jet::Property>& properties,
                 std::vector<Finding>& findings) {
  using Definition = jet::TableDefinition;
  for (const Definition::Column& column : table.Core().Stored()) {
    if (column.number != stored.number) continue;
    if (column.IsCalculated()) findings.push_back({table.Name(), stored.name, What::kComputed, {PropertyText(properties, "Expression")}});
    if (column.shape == Definition::Shape::kExtendedDate)
      findings.push_back({table.Name(), stored.name, What::kBecomesItsText, {"Date/Time Extended"}});
    if (column.shape == Definition::Shape::kComplex) findings.push_back({table.Name(), stored.name, What::kSeveralValues, {}});
  }
}

Column ReadColumn(jet::Database& database, jet::Table& table, const jet::ColumnDef& stored, std::vector<Finding>& findings) {
  const auto properties = database.Properties(table.Name(), stored.name);
  if (database.Release() != 0) TellOfAccdb(table, stored, properties, findings);
  Column column;
  column.name = stored.name;
  column.type = TypeOf(stored);
  column.required = stored.required || column.type.kind == Kind::kBoolean;
  const bool isText = column.type.kind == Kind::kText || column.type.kind == Kind::kMemo;
  column.allowEmpty = stored.allowZeroLength || !isText;
  column.hyperlink = stored.hyperlink;
  column.rule = PropertyText(properties, "ValidationRule");
  column.comment = PropertyText(properties, "Description");
  if (!stored.autoNumber) {
    column.initial = ReadDefault(stored.defaultValue, column.type.kind);
  } else if (column.type.kind == Kind::kGuid) {
    column.counter = Counter{Counter::Kind::kGuid, 0};
  } else if (base::LowerName(Trimmed(stored.defaultValue)).starts_with("genuniqueid")) {
    column.counter = Counter{Counter::Kind::kRandom, 0};
  } else {
    column.counter = Counter{Counter::Kind::kIncrement, std::int64_t{table.LastAutoNumber()} + 1};
  }
  return column;
}

/// Indexes that people made: those of relations stand on both sides as well, and come again with the relation.
std::vector<Index> ReadIndexes(jet::Table& table) {
  std::vector<Index> indexes;
  for (const auto& stored : table.Indexes()) {
    if (stored.kind == jet::IndexKind::kForeignKey) continue;
    Index index{.name = stored.name,
                .parts = {},
                .primary = stored.kind == jet::IndexKind::kPrimary,
                .unique = stored.unique,
                .ignoreNulls = stored.ignoreNulls,
                .required = stored.required};
    for (const auto& part : stored.columns) index.parts.push_back({table.Columns()[part.column].name, part.descending});
    indexes.push_back(std::move(index));
  }
  return indexes;
}

Table ReadTable(jet::Database& database, const std::string& name, std::vector<Finding>& findings) {
  jet::Table& stored = database.OpenTable(name);
  const auto properties = database.Properties(name);
  Table table;
  table.name = name;
  table.rows = stored.RowCount();
  table.rule = PropertyText(properties, "ValidationRule");
  table.comment = PropertyText(properties, "Description");
  for (const auto& column : std::vector<jet::ColumnDef>(stored.Columns()))
    table.columns.push_back(ReadColumn(database, stored, column, findings));
  table.indexes = ReadIndexes(stored);
  return table;
}

Query ReadQuery(jet::Database& database, const jet::CatalogObject& object) {
  Query query{.name = object.name, .sql = {}, .reason = {}, .rows = {}};
  try {
    const auto parts = jet::sql::ReadQueryParts(database, object.id);
    query.sql = jet::sql::StatementOf(parts, object.name, false);
    for (const auto& [attribute, list] : parts)
      for (const auto& part : list) query.rows.push_back({static_cast<int>(attribute), part.name1, part.name2, part.expression, part.flag});
  } catch (const jet::Error& error) {
    query.sql = database.QueryText(object.name);
    query.reason = error.what();
  }
  return query;
}

Relation ReadRelation(const jet::Relationship& stored) {
  return {.name = stored.name,
          .table = stored.table,
          .referenced = stored.referencedTable,
          .columns = stored.columns,
          .enforced = stored.enforced,
          .oneToOne = stored.oneToOne,
          .cascadeUpdates = stored.cascadeUpdates,
          .cascadeDeletes = stored.cascadeDeletes};
}

template <typename Named>
void SortByName(std::vector<Named>& named) {
  std::stable_sort(named.begin(), named.end(),
                   [](const Named& a, const Named& b) { return base::LowerName(a.name) < base::LowerName(b.name); });
}

}  // namespace

Type TypeOf(const jet::ColumnDef& column) {
  Type type{.kind = KindOf(column.type)};
  if (type.kind == Kind::kText || type.kind == Kind::kBinary) type.length = column.size;
  if (type.kind == Kind::kDecimal) {
    type.precision = column.precision;
    type.scale = column.scale;
  }
  return type;
}

Default ReadDefault(const std::string& expression, Kind kind) {
  std::string text = Trimmed(expression);
  if (text.starts_with('=')) text = Trimmed(text.substr(1));
  if (text.empty()) return {};
  if (auto word = WordIn(base::LowerName(text), kind)) return *word;
  if (IsNumber(text)) {
    if (kind == Kind::kBoolean) return {Default::Kind::kTruth, text.find_first_of("123456789") == std::string::npos ? "0" : "1"};
    return {Default::Kind::kNumber, text};
  }
  if (auto inside = Unquoted(text)) return {Default::Kind::kText, *inside};
  if (auto moment = MomentIn(text)) return {Default::Kind::kMoment, *moment};
  return {Default::Kind::kUnknown, text};
}

std::vector<Relation> RelationsOf(jet::Database& database) {
  std::vector<Relation> relations;
  for (const auto& relation : database.Relationships()) {
    const jet::CatalogObject* table = database.FindObject(relation.table);
    if (table == nullptr || table->kind != jet::ObjectKind::kSystemTable) relations.push_back(ReadRelation(relation));
  }
  return relations;
}

Database ReadAccess(jet::Database& database) {
  const jet::Database::ReadScope still(database);
  Database read;
  read.rulesOfAccess = true;
  for (const auto& object : std::vector<jet::CatalogObject>(database.Objects())) {
    if (object.name.starts_with('~')) continue;  // what Access keeps for itself: record sources of forms, tables being deleted
    if (object.kind == jet::ObjectKind::kTable) read.tables.push_back(ReadTable(database, object.name, read.findings));
    if (object.kind == jet::ObjectKind::kQuery) read.queries.push_back(ReadQuery(database, object));
    if (object.kind == jet::ObjectKind::kJetLink || object.kind == jet::ObjectKind::kOdbcLink) {
      const std::string connect = ado::WithoutSecrets(object.connect);
      const bool byConnect = object.kind == jet::ObjectKind::kOdbcLink || object.database.empty();
      read.links.push_back({object.name, byConnect ? connect : ado::WithoutSecrets(object.database), object.foreignName});
    }
  }
  read.relations = RelationsOf(database);
  SpellReferences(read);
  SortByName(read.tables);
  SortByName(read.relations);
  SortByName(read.queries);
  SortByName(read.links);
  return read;
}

}  // namespace tamlo::schema
