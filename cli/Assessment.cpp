#include "cli/Assessment.h"

#include <algorithm>
#include <map>
#include <optional>
#include <unordered_set>

#include "base/Utf8.h"
#include "cli/AssessRows.h"
#include "cli/EngineTexts.h"
#include "cli/Format.h"
#include "cli/ServerRows.h"
#include "schema/AccessPlan.h"
#include "schema/Find.h"

namespace tamlo::cli {
namespace {

using schema::Engine;
using schema::What;

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
  Key(const schema::Table& table, const std::vector<std::string>& columns, Engine engine) : engine_(engine) {
    for (const auto& name : columns) {
      const schema::Column* column = schema::Find(table.columns, name);
      if (column == nullptr) continue;
      hasText_ = hasText_ || column->type.kind == schema::Kind::kText || column->type.kind == schema::Kind::kMemo;
      places_.push_back(static_cast<std::size_t>(column - table.columns.data()));
      names_ += (names_.empty() ? "" : ", ") + name;
    }
    whole_ = places_.size() == columns.size() && !places_.empty();
  }
  /// True when one of them is a text: other values are equal everywhere alike.
  [[nodiscard]] bool HasText() const noexcept { return whole_ && hasText_; }
  [[nodiscard]] const std::string& Names() const noexcept { return names_; }
  [[nodiscard]] const jet::Value& FirstIn(const AssessedRow& row) const { return row[places_[0]]; }
  /// Nothing when one of the values is null: such keys are equal to none.
  [[nodiscard]] std::optional<std::string> Of(const AssessedRow& row) const {
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

/// Looks at every row of a database on its way to an engine.
class Assessor {
 public:
  Assessor(Opened& opened, const schema::Dialect& engine, const schema::Database& database, const schema::Database& there)
      : opened_(opened), engine_(engine.engine), database_(database), there_(there) {}

  TableSize LookAt(std::size_t place);
  void LookAt(const schema::Relation& relation);
  [[nodiscard]] std::vector<Sighting> All() const { return sightings_.All(); }

 private:
  /// An Access file's own values fit any column that is made for them, and its own keys are equal in another as they are.
  [[nodiscard]] bool FromAccess() const noexcept { return opened_.file != nullptr; }
  [[nodiscard]] bool KeepsKeys() const noexcept { return !EqualsMore(engine_) || (FromAccess() && engine_ == Engine::kAccess); }
  [[nodiscard]] std::vector<UniqueKey> UniqueKeys(const schema::Table& table) const;
  void LookAtValue(const schema::Table& table, std::size_t column, const schema::Type& type, const jet::Value& value);
  void LookAtSize(const schema::Table& table, const schema::Table& there, const AssessedRow& row);

  Opened& opened_;
  Engine engine_;
  const schema::Database& database_;
  const schema::Database& there_;  // as it is to be made, table by table
  Sightings sightings_;
};

std::vector<UniqueKey> Assessor::UniqueKeys(const schema::Table& table) const {
  std::vector<UniqueKey> keys;
  if (KeepsKeys()) return keys;
  for (const auto& index : table.indexes) {
    if (!index.unique && !index.primary) continue;
    std::vector<std::string> columns;
    for (const auto& part : index.parts) columns.push_back(part.column);
    Key key(table, columns, engine_);
    if (key.HasText()) keys.push_back({std::move(key), {}});
  }
  return keys;
}

void Assessor::LookAtValue(const schema::Table& table, std::size_t column, const schema::Type& type, const jet::Value& value) {
  const auto loss = FromAccess() ? LossOf(value, engine_) : LossInColumn(value, type, engine_);
  if (loss) sightings_.See(table.name, table.columns[column].name, *loss, value);
}

/// What lies in the row itself of an Access file: texts of Latin letters take a byte each.
void Assessor::LookAtSize(const schema::Table& table, const schema::Table& there, const AssessedRow& row) {
  if (engine_ != Engine::kAccess || FromAccess()) return;
  constexpr std::uint64_t kMostBytes = 4000;
  std::uint64_t bytes = 0;
  std::size_t longest = 0;
  for (std::size_t i = 0; i < row.size(); ++i) {
    const auto kind = there.columns[i].type.kind;
    if (kind == schema::Kind::kMemo || kind == schema::Kind::kBlob) continue;
    const std::uint64_t size = row[i].Type() == jet::ValueType::kText ? base::CountCharacters(row[i].AsText()) : SizeOf(row[i]);
    if (size > SizeOf(row[longest])) longest = i;
    bytes += size;
  }
  if (bytes > kMostBytes) sightings_.See(table.name, {}, Loss::kRowSize, row[longest]);
}

TableSize Assessor::LookAt(std::size_t place) {
  const schema::Table& table = database_.tables[place];
  const schema::Table& there = there_.tables[place];
  auto keys = UniqueKeys(table);
  TableSize size{table.name, 0, 0};
  EachRow(opened_, table, [&](const AssessedRow& row) {
    ++size.rows;
    for (std::size_t i = 0; i < row.size(); ++i) {
      size.bytes += SizeOf(row[i]);
      LookAtValue(table, i, there.columns[i].type, row[i]);
    }
    LookAtSize(table, there, row);
    for (auto& unique : keys) {
      const auto key = unique.key.Of(row);
      if (key && !unique.met.insert(*key).second) sightings_.See(table.name, unique.key.Names(), Loss::kEqualKeys, unique.key.FirstIn(row));
    }
  });
  return size;
}

/// Texts that refer to a text that is equal in the source and not there: a foreign key would refuse the row.
void Assessor::LookAt(const schema::Relation& relation) {
  const schema::Table* children = schema::Find(database_.tables, relation.table);
  const schema::Table* parents = schema::Find(database_.tables, relation.referenced);
  if (!relation.enforced || children == nullptr || parents == nullptr || (FromAccess() && engine_ == Engine::kAccess)) return;
  std::vector<std::string> referring;
  std::vector<std::string> referred;
  for (const auto& [child, parent] : relation.columns) {
    referring.push_back(child);
    referred.push_back(parent);
  }
  const Key parentKey(*parents, referred, engine_);
  const Key childKey(*children, referring, engine_);
  if (!parentKey.HasText() || !childKey.HasText()) return;
  std::unordered_set<std::string> met;
  EachRow(opened_, *parents, [&](const AssessedRow& row) {
    if (auto key = parentKey.Of(row)) met.insert(std::move(*key));
  });
  EachRow(opened_, *children, [&](const AssessedRow& row) {
    const auto key = childKey.Of(row);
    if (key && met.count(*key) == 0) sightings_.See(relation.table, childKey.Names(), Loss::kNoParent, childKey.FirstIn(row));
  });
}

/// What is made there of the definitions: the tables as they become, and what that loses.
schema::Database MadeOf(const Opened& opened, const schema::Database& database, const schema::Dialect& engine, Assessment& assessment) {
  schema::Database wanted = database;
  wanted.findings.clear();
  const auto add = [&](std::vector<schema::Finding> findings) {
    for (auto& finding : findings) assessment.findings.push_back(std::move(finding));
  };
  if (engine.engine != Engine::kAccess) {
    auto script = schema::WriteDdl(wanted, engine);
    assessment.renamings = std::move(script.renamings);
    add(std::move(script.findings));
    return wanted;
  }
  auto plan = schema::PlanAccess(wanted, opened.file ? schema::Expressions::kAccess : schema::Expressions::kForeign);
  assessment.renamings = std::move(plan.renamings);
  add(std::move(plan.refusals));
  add(std::move(plan.findings));
  return std::move(plan.there);
}

}  // namespace

Assessment Assess(Opened& opened, const schema::Dialect& engine) {
  const schema::Database database = ReadStructure(opened, {.values = true, .counts = true});
  Assessment assessment;
  assessment.engine = &engine;
  assessment.findings = database.findings;
  const schema::Database there = MadeOf(opened, database, engine, assessment);
  Assessor assessor(opened, engine, database, there);
  std::uint64_t bytes = 0;
  for (std::size_t place = 0; place < database.tables.size(); ++place) {
    assessment.tables.push_back(assessor.LookAt(place));
    bytes += assessment.tables.back().bytes;
  }
  for (const auto& relation : database.relations) assessor.LookAt(relation);
  assessment.sightings = assessor.All();
  constexpr std::uint64_t kMostBytesOfFile = 1ULL << 31U;
  if (engine.engine == Engine::kAccess && bytes > kMostBytesOfFile)
    assessment.findings.push_back({{}, {}, What::kFileTooLarge, {std::to_string(bytes)}});
  return assessment;
}

}  // namespace tamlo::cli
