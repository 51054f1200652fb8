#include "cli/Assessment.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <unordered_set>

#include "base/Case.h"
#include "base/MomentText.h"
#include "base/Utf8.h"
#include "cli/EngineTexts.h"
#include "cli/Format.h"
#include "cli/Messages.h"
#include "jet/table/Table.h"
#include "schema/ReadAccess.h"

namespace tamlo::cli {
namespace {

using schema::Engine;
using Row = std::vector<jet::Value>;

std::string Beginning(const jet::Value& value) {
  std::string text;
  AppendPlain(text, value, {});
  const std::string_view first = base::FirstCharacters(text, 40);
  return std::string(first) + (first.size() < text.size() ? "..." : "");
}

std::uint64_t SizeOf(const jet::Value& value) {
  switch (value.Type()) {
    case jet::ValueType::kNull:
      return 0;
    case jet::ValueType::kBool:
    case jet::ValueType::kByte:
      return 1;
    case jet::ValueType::kInteger:
      return 2;
    case jet::ValueType::kLong:
    case jet::ValueType::kSingle:
      return 4;
    case jet::ValueType::kText:
      return value.AsText().size();
    case jet::ValueType::kBytes:
      return value.AsBytes().size();
    case jet::ValueType::kGuid:
    case jet::ValueType::kNumeric:
      return 16;
    default:
      return 8;
  }
}

std::optional<Loss> LossOfMoment(double serial) {
  std::string text;
  if (!base::AppendMomentText(text, serial)) return Loss::kNoDay;
  constexpr double kMillisecondsADay = 86400000.0;
  return std::round(serial * kMillisecondsADay) / kMillisecondsADay == serial ? std::nullopt : std::optional(Loss::kFinerThanMilliseconds);
}

std::optional<Loss> LossOfNumber(double number, Engine engine) {
  const bool noInfinities = engine == Engine::kMariaDb || engine == Engine::kSqlServer;
  if (std::isnan(number)) return noInfinities || engine == Engine::kSqlite ? std::optional(Loss::kNotANumber) : std::nullopt;
  if (std::isinf(number)) return noInfinities ? std::optional(Loss::kInfinite) : std::nullopt;
  const bool plainZero = engine == Engine::kMariaDb || engine == Engine::kSqlite;
  return plainZero && number == 0 && std::signbit(number) ? std::optional(Loss::kNegativeZero) : std::nullopt;
}

std::optional<Loss> LossOfText(const std::string& text, Engine engine) {
  if (text.empty()) return engine == Engine::kOracle ? std::optional(Loss::kEmptyText) : std::nullopt;
  // SQLite's driver ends a text there when it reads it back.
  const bool endsThere = engine == Engine::kPostgreSql || engine == Engine::kSqlite;
  return endsThere && text.find('\0') != std::string::npos ? std::optional(Loss::kNul) : std::nullopt;
}

std::optional<Loss> LossOf(const jet::Value& value, Engine engine) {
  switch (value.Type()) {
    case jet::ValueType::kDate:
      return engine == Engine::kAccess ? std::nullopt : LossOfMoment(value.AsDate().serial);
    case jet::ValueType::kSingle:
      return LossOfNumber(static_cast<double>(value.AsSingle()), engine);
    case jet::ValueType::kDouble:
      return LossOfNumber(value.AsDouble(), engine);
    case jet::ValueType::kText:
      return LossOfText(value.AsText(), engine);
    default:
      return std::nullopt;
  }
}

/// What is seen, by where and what.
class Sightings {
 public:
  void See(const std::string& table, const std::string& column, Loss loss, const jet::Value& value) {
    Sighting& sighting = seen_[{table, column, loss}];
    if (sighting.rows++ == 0) sighting = {table, column, loss, 1, Beginning(value)};
  }
  [[nodiscard]] std::vector<Sighting> All() const {
    std::vector<Sighting> all;
    for (const auto& [where, sighting] : seen_) all.push_back(sighting);
    return all;
  }

 private:
  std::map<std::tuple<std::string, std::string, Loss>, Sighting> seen_;
};

/// Some columns of a table as one key.
class Key {
 public:
  /// Of columns that the table does not have nothing is made.
  Key(jet::Table& table, const std::vector<std::string>& columns, Engine engine) : engine_(engine) {
    for (const auto& column : columns) {
      const auto place = table.FindColumn(column);
      if (!place) continue;
      const auto type = table.Columns()[*place].type;
      hasText_ = hasText_ || type == jet::ColumnType::kText || type == jet::ColumnType::kMemo;
      places_.push_back(*place);
      names_ += (names_.empty() ? "" : ", ") + column;
    }
    whole_ = places_.size() == columns.size() && !places_.empty();
  }
  /// True when one of them is a text: other values are equal everywhere alike.
  [[nodiscard]] bool HasText() const noexcept { return whole_ && hasText_; }
  [[nodiscard]] const std::string& Names() const noexcept { return names_; }
  [[nodiscard]] const std::vector<std::size_t>& Places() const noexcept { return places_; }
  /// Nothing when one of the values is null: such keys are equal to none.
  [[nodiscard]] std::optional<std::string> Of(const Row& row) const {
    std::string key;
    for (const std::size_t place : places_) {
      if (row[place].IsNull()) return std::nullopt;
      std::string text;
      AppendPlain(text, row[place], {});
      if (row[place].Type() == jet::ValueType::kText) text = EqualForm(engine_, text);
      key += std::to_string(text.size()) + ':' + text;
    }
    return key;
  }

 private:
  Engine engine_;
  std::vector<std::size_t> places_;
  std::string names_;
  bool hasText_ = false;
  bool whole_ = false;
};

struct UniqueKey {
  Key key;
  std::unordered_set<std::string> met;
};

std::vector<UniqueKey> UniqueKeys(jet::Table& file, const schema::Table& table, Engine engine) {
  std::vector<UniqueKey> keys;
  if (!EqualsMore(engine)) return keys;
  for (const auto& index : table.indexes) {
    if (!index.unique && !index.primary) continue;
    std::vector<std::string> columns;
    for (const auto& part : index.parts) columns.push_back(part.column);
    Key key(file, columns, engine);
    if (key.HasText()) keys.push_back({std::move(key), {}});
  }
  return keys;
}

TableSize LookAtRows(jet::Database& file, const schema::Table& table, Engine engine, Sightings& sightings) {
  jet::Table& read = file.OpenTable(table.name);
  auto keys = UniqueKeys(read, table, engine);
  TableSize size{table.name, 0, 0};
  Row row(read.Columns().size());
  for (auto cursor = read.Scan(); cursor.Next();) {
    ++size.rows;
    for (std::size_t i = 0; i < row.size(); ++i) {
      cursor.Current().Get(i, row[i]);
      size.bytes += SizeOf(row[i]);
      if (const auto loss = LossOf(row[i], engine)) sightings.See(table.name, read.Columns()[i].name, *loss, row[i]);
    }
    for (auto& unique : keys) {
      const auto key = unique.key.Of(row);
      if (key && !unique.met.insert(*key).second)
        sightings.See(table.name, unique.key.Names(), Loss::kEqualKeys, row[unique.key.Places()[0]]);
    }
  }
  return size;
}

/// Texts that refer to a text that is equal in Access and is not there: a foreign key would refuse the row.
void LookAtRelation(jet::Database& file, const schema::Relation& relation, Engine engine, Sightings& sightings) {
  const jet::CatalogObject* from = file.FindObject(relation.table);
  const jet::CatalogObject* to = file.FindObject(relation.referenced);
  if (!relation.enforced || from == nullptr || to == nullptr || from->kind != jet::ObjectKind::kTable ||
      to->kind != jet::ObjectKind::kTable)
    return;
  std::vector<std::string> referring;
  std::vector<std::string> referred;
  for (const auto& [child, parent] : relation.columns) {
    referring.push_back(child);
    referred.push_back(parent);
  }
  jet::Table& parents = file.OpenTable(relation.referenced);
  jet::Table& children = file.OpenTable(relation.table);
  const Key parentKey(parents, referred, engine);
  const Key childKey(children, referring, engine);
  if (!parentKey.HasText() || !childKey.HasText()) return;
  const auto read = [](jet::Table& table, const Key& key, const auto& use) {
    Row row(table.Columns().size());
    for (auto cursor = table.Scan(); cursor.Next();) {
      for (const std::size_t place : key.Places()) cursor.Current().Get(place, row[place]);
      use(row);
    }
  };
  std::unordered_set<std::string> there;
  read(parents, parentKey, [&](const Row& row) {
    if (auto key = parentKey.Of(row)) there.insert(std::move(*key));
  });
  read(children, childKey, [&](const Row& row) {
    const auto key = childKey.Of(row);
    if (key && there.count(*key) == 0) sightings.See(relation.table, childKey.Names(), Loss::kNoParent, row[childKey.Places()[0]]);
  });
}

void AddWhatIsNoTable(const schema::Database& database, Assessment& assessment) {
  for (const auto& query : database.queries) assessment.findings.push_back({{}, {}, Say(Said::kQueryStays, {query.name})});
  for (const auto& link : database.links) assessment.findings.push_back({{}, {}, Say(Said::kLinkStays, {link.name, link.target})});
}

}  // namespace

Assessment Assess(jet::Database& file, const schema::Dialect& engine) {
  const schema::Database database = schema::ReadAccess(file);
  auto script = schema::WriteDdl(database, engine);
  Assessment assessment;
  assessment.engine = &engine;
  assessment.renamings = std::move(script.renamings);
  assessment.findings = std::move(script.findings);
  AddWhatIsNoTable(database, assessment);
  Sightings sightings;
  for (const auto& table : database.tables) assessment.tables.push_back(LookAtRows(file, table, engine.engine, sightings));
  if (engine.engine != Engine::kAccess)
    for (const auto& relation : database.relations) LookAtRelation(file, relation, engine.engine, sightings);
  assessment.sightings = sightings.All();
  return assessment;
}

}  // namespace tamlo::cli
