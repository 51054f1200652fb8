#include "move/Map.h"

#include <algorithm>
#include <utility>

#include "base/Case.h"
#include "schema/Find.h"

namespace tamlo::move {
namespace {

using schema::Kind;
using Why = MapError::Why;

constexpr std::string_view kArrow = "->";

/// What is left of a line, from which names are taken one after the other.
class Line {
 public:
  Line(std::string_view text, std::size_t number) : whole_(text), rest_(text), number_(number) {}

  void SkipBlanks() {
    while (!rest_.empty() && (rest_.front() == ' ' || rest_.front() == '\t')) rest_.remove_prefix(1);
  }
  [[nodiscard]] bool AtEnd() {
    SkipBlanks();
    return rest_.empty() || rest_.front() == '#';
  }
  bool Take(std::string_view sign) {
    SkipBlanks();
    if (!rest_.starts_with(sign)) return false;
    rest_.remove_prefix(sign.size());
    return true;
  }
  /// A name, between quotes or up to a blank, a point or an arrow.
  std::string Name() {
    SkipBlanks();
    if (rest_.starts_with('"')) return QuotedName();
    const std::size_t end = std::min({rest_.find_first_of(" \t.\"#"), rest_.find(kArrow), rest_.size()});
    if (end == 0) Fail();
    std::string name(rest_.substr(0, end));
    rest_.remove_prefix(end);
    return name;
  }
  /// All that is left but for a remark.
  std::string Rest() {
    SkipBlanks();
    std::string_view text = rest_.substr(0, rest_.find('#'));
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    rest_ = {};
    return std::string(text);
  }
  /// The sign for what stays behind, which is no name.
  bool TakeNothing() {
    SkipBlanks();
    const bool is = rest_.starts_with('-') && (rest_.size() == 1 || rest_[1] == ' ' || rest_[1] == '\t' || rest_[1] == '#');
    if (is) rest_.remove_prefix(1);
    return is;
  }
  [[noreturn]] void Fail() const { throw MapError(Why::kNotUnderstood, number_, std::string(whole_)); }

 private:
  std::string QuotedName() {
    std::string name;
    for (std::size_t i = 1; i < rest_.size(); ++i) {
      if (rest_[i] != '"') {
        name += rest_[i];
      } else if (i + 1 < rest_.size() && rest_[i + 1] == '"') {
        name += rest_[++i];
      } else {
        rest_.remove_prefix(i + 1);
        if (name.empty()) Fail();
        return name;
      }
    }
    Fail();
  }

  std::string_view whole_;
  std::string_view rest_;
  std::size_t number_;
};

/// The digits in front of the point that a number of the kind may have; 0 for what is no whole number.
int WholeDigits(Kind kind) {
  switch (kind) {
    case Kind::kByte:
      return 3;
    case Kind::kShort:
      return 5;
    case Kind::kLong:
      return 10;
    case Kind::kBig:
      return 19;
    default:
      return 0;
  }
}

bool TakesWhole(int digits, const schema::Type& to) {
  constexpr int kSingleDigits = 7, kDoubleDigits = 15, kCurrencyDigits = 14;
  if (to.kind == Kind::kSingle) return digits < kSingleDigits;
  if (to.kind == Kind::kDouble) return digits <= kDoubleDigits;
  if (to.kind == Kind::kCurrency) return digits <= kCurrencyDigits;
  if (to.kind == Kind::kDecimal) return to.precision - to.scale >= digits;
  return WholeDigits(to.kind) >= digits;
}

}  // namespace

bool TakesExactly(const schema::Type& from, const schema::Type& to) {
  const auto decimalTakes = [&](int whole, int scale) {
    return to.kind == Kind::kDecimal && to.scale >= scale && to.precision - to.scale >= whole;
  };
  if (const int digits = WholeDigits(from.kind); digits > 0) return TakesWhole(digits, to);
  switch (from.kind) {
    case Kind::kText:
    case Kind::kMemo:
      return to.kind == Kind::kText || to.kind == Kind::kMemo;
    case Kind::kBinary:
      return to.kind == Kind::kBlob || (to.kind == Kind::kBinary && to.length >= from.length);
    case Kind::kSingle:
      return to.kind == Kind::kSingle || to.kind == Kind::kDouble;
    case Kind::kCurrency:
      return to.kind == Kind::kCurrency || decimalTakes(15, 4);
    case Kind::kDecimal:
      return decimalTakes(from.precision - from.scale, from.scale);
    default:
      return from.kind == to.kind;
  }
}

Map::Map(std::string_view text, const schema::Database& source,
         const std::function<std::optional<MappedType>(std::string_view)>& typeNamed) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view one = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (one.ends_with('\r')) one.remove_suffix(1);
    Line line(one, number);
    if (line.AtEnd()) continue;
    Entry entry;
    entry.line = number;
    entry.table = line.Name();
    if (line.Take(".")) entry.column = line.Name();
    if (!line.Take(kArrow)) line.Fail();
    if (!line.TakeNothing()) {
      entry.name = line.Name();
      if (const std::string type = line.Rest(); !type.empty()) {
        if (entry.column.empty()) line.Fail();
        entry.type = typeNamed(type);
        if (!entry.type) throw MapError(Why::kUnknownType, number, type);
      }
    }
    if (!line.AtEnd()) line.Fail();
    entries_.push_back(std::move(entry));
  }
  Settle(source);
}

const Map::Entry* Map::Find(const std::string& table, const std::string& column) const {
  const auto found =
      std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) { return entry.table == table && entry.column == column; });
  return found == entries_.end() ? nullptr : &*found;
}

std::string Map::NameOf(const std::string& table, const std::string& column) const {
  const Entry* entry = Find(table, column);
  if (entry != nullptr) return entry->name;
  return column.empty() ? table : column;
}

bool Map::Keeps(const std::string& table) const { return !NameOf(table, {}).empty(); }

bool Map::Keeps(const std::string& table, const std::string& column) const { return !NameOf(table, column).empty(); }

void Map::SettleColumn(const schema::Table& table, Entry& entry) {
  const schema::Column* column = schema::Find(table.columns, entry.column);
  if (column == nullptr) throw MapError(Why::kNoColumn, entry.line, table.name + "." + entry.column);
  entry.column = column->name;
  if (!entry.type) return;
  const bool counts = column->counter && column->counter->kind == schema::Counter::Kind::kIncrement;
  if (!TakesExactly(column->type, entry.type->type) || (entry.type->counter && !counts))
    throw MapError(Why::kNotExact, entry.line, table.name + "." + column->name);
}

void Map::Settle(const schema::Database& source) {
  for (auto entry = entries_.begin(); entry != entries_.end(); ++entry) {
    const std::string said = entry->column.empty() ? entry->table : entry->table + "." + entry->column;
    const schema::Table* table = schema::Find(source.tables, entry->table);
    if (table == nullptr) throw MapError(Why::kNoTable, entry->line, entry->table);
    entry->table = table->name;
    if (!entry->column.empty()) SettleColumn(*table, *entry);
    const auto same = [&](const Entry& before) { return before.table == entry->table && before.column == entry->column; };
    if (std::any_of(entries_.begin(), entry, same)) throw MapError(Why::kTwice, entry->line, said);
  }
}

/// Two tables, or two columns of one, of the same name: the line that gives one of them its name says it.
void Map::CheckNames(const schema::Database& wanted) const {
  const auto clash = [&](const std::string& table, const std::vector<std::string>& columns) {
    for (std::size_t i = 0; i < columns.size(); ++i)
      for (std::size_t j = 0; j < i; ++j) {
        const auto name = [&](std::size_t place) { return table.empty() ? NameOf(columns[place], {}) : NameOf(table, columns[place]); };
        if (name(i).empty() || !base::SameName(name(i), name(j))) continue;
        const auto entry = [&](std::size_t place) { return table.empty() ? Find(columns[place], {}) : Find(table, columns[place]); };
        if (const Entry* says = entry(i) != nullptr ? entry(i) : entry(j)) throw MapError(Why::kTaken, says->line, says->name);
      }
  };
  std::vector<std::string> tables;
  for (const schema::Table& table : wanted.tables) {
    tables.push_back(table.name);
    std::vector<std::string> columns;
    for (const schema::Column& column : table.columns) columns.push_back(column.name);
    clash(table.name, columns);
  }
  clash({}, tables);
}

schema::Table Map::Apply(const schema::Table& source, std::vector<schema::Finding>& findings) const {
  schema::Table table = source;
  table.name = NameOf(source.name, {});
  bool sameColumns = true;
  std::erase_if(table.columns, [&](const schema::Column& column) { return !Keeps(source.name, column.name); });
  if (table.columns.empty()) throw MapError(Why::kNotUnderstood, Find(source.name, source.columns[0].name)->line, source.name);
  for (schema::Column& column : table.columns) {
    const Entry* entry = Find(source.name, column.name);
    if (entry == nullptr) continue;
    sameColumns = sameColumns && base::SameName(entry->name, column.name);
    column.name = entry->name;
    if (!entry->type) continue;
    column.type = entry->type->type;
    if (!entry->type->counter) column.counter.reset();
  }
  ApplyIndexes(source, table, findings);
  sameColumns = sameColumns && table.columns.size() == source.columns.size();
  if (!table.rule.empty() && !sameColumns) {
    findings.push_back({source.name, {}, schema::What::kRuleOfOtherNames, {table.rule}});
    table.rule.clear();
  }
  return table;
}

void Map::ApplyIndexes(const schema::Table& source, schema::Table& table, std::vector<schema::Finding>& findings) const {
  std::erase_if(table.indexes, [&](const schema::Index& index) {
    const bool whole =
        std::all_of(index.parts.begin(), index.parts.end(), [&](const schema::IndexPart& part) { return Keeps(source.name, part.column); });
    if (!whole) findings.push_back({source.name, {}, schema::What::kIndexLosesColumn, {index.name}});
    return !whole;
  });
  for (schema::Index& index : table.indexes)
    for (schema::IndexPart& part : index.parts) part.column = NameOf(source.name, part.column);
}

schema::Database Map::Apply(const schema::Database& wanted, std::vector<schema::Finding>& findings) const {
  CheckNames(wanted);
  schema::Database mapped;
  mapped.rulesOfAccess = wanted.rulesOfAccess;
  mapped.findings = wanted.findings;
  mapped.links = wanted.links;
  // They would ask for names that are no longer there.
  for (const schema::Query& query : wanted.queries) findings.push_back({{}, {}, schema::What::kQueryStays, {query.name}});
  for (const schema::Table& table : wanted.tables) mapped.tables.push_back(Apply(table, findings));
  for (const schema::Relation& source : wanted.relations) {
    schema::Relation relation = source;
    const bool whole = std::all_of(source.columns.begin(), source.columns.end(), [&](const auto& pair) {
      return Keeps(source.table, pair.first) && Keeps(source.referenced, pair.second);
    });
    if (!whole) {
      findings.push_back({source.table, {}, schema::What::kRelationLosesColumn, {source.name}});
      continue;
    }
    relation.table = NameOf(source.table, {});
    relation.referenced = NameOf(source.referenced, {});
    for (auto& [own, other] : relation.columns) {
      own = NameOf(source.table, own);
      other = NameOf(source.referenced, other);
    }
    mapped.relations.push_back(std::move(relation));
  }
  return mapped;
}

void Map::Restore(Plan& plan, const schema::Database& wanted) const {
  // A server may have names that differ in case alone.
  const auto sourceOf = [&](const std::string& name) -> const schema::Table* {
    const auto found = std::find_if(wanted.tables.begin(), wanted.tables.end(),
                                    [&](const schema::Table& table) { return NameOf(table.name, {}) == name; });
    return found == wanted.tables.end() ? nullptr : &*found;
  };
  for (schema::Statement& statement : plan.statements)
    if (const schema::Table* source = sourceOf(statement.table)) statement.table = source->name;
  std::vector<std::string> names;
  for (PlannedTable& table : plan.tables) {
    const schema::Table& source = *sourceOf(table.name);
    names.push_back(source.name);
    if (source.name != table.name) plan.renamings.push_back({{}, source.name, table.name});
    table.name = source.name;
    for (std::string& ordered : table.order) ordered = SourceColumn(source, ordered);
    std::size_t place = 0;
    for (const schema::Column& column : source.columns) {
      if (!Keeps(source.name, column.name)) continue;
      PlannedColumn& planned = table.columns[place++];
      if (column.name != planned.name) plan.renamings.push_back({source.name, column.name, planned.name});
      planned.name = column.name;
      planned.type = column.type;
      names.push_back(column.name);
    }
  }
  AddToFingerprint(plan, names);
}

const std::string& Map::SourceColumn(const schema::Table& source, const std::string& mapped) const {
  return std::find_if(source.columns.begin(), source.columns.end(),
                      [&](const schema::Column& column) { return NameOf(source.name, column.name) == mapped; })
      ->name;
}

}  // namespace tamlo::move
