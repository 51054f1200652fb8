#include "schema/MakeAccess.h"

#include <algorithm>

#include "base/Case.h"
#include "base/Error.h"
#include "jet/sql/run/StoredParts.h"
#include "jet/table/Table.h"
#include "schema/AccessPlanner.h"
#include "schema/FindingTexts.h"

namespace tamlo::schema {
namespace {

constexpr std::size_t kLongestTextProperty = 255;

jet::ColumnType TypeThere(Kind kind) {
  switch (kind) {
    case Kind::kBoolean:
      return jet::ColumnType::kBoolean;
    case Kind::kByte:
      return jet::ColumnType::kByte;
    case Kind::kShort:
      return jet::ColumnType::kInteger;
    case Kind::kLong:
      return jet::ColumnType::kLong;
    case Kind::kSingle:
      return jet::ColumnType::kSingle;
    case Kind::kDouble:
      return jet::ColumnType::kDouble;
    case Kind::kCurrency:
      return jet::ColumnType::kCurrency;
    case Kind::kBig:
    case Kind::kDecimal:
      return jet::ColumnType::kNumeric;
    case Kind::kMoment:
      return jet::ColumnType::kDate;
    case Kind::kText:
      return jet::ColumnType::kText;
    case Kind::kMemo:
      return jet::ColumnType::kMemo;
    case Kind::kBinary:
      return jet::ColumnType::kBinary;
    case Kind::kBlob:
      return jet::ColumnType::kOle;
    case Kind::kGuid:
      return jet::ColumnType::kGuid;
  }
  throw base::Error("a kind of column that is not known");
}

bool IsText(const Column& column) { return column.type.kind == Kind::kText || column.type.kind == Kind::kMemo; }

jet::ColumnDef Definition(const Column& column) {
  jet::ColumnDef made;
  made.name = column.name;
  made.type = TypeThere(column.type.kind);
  made.size = static_cast<std::uint16_t>(column.type.length);
  if (column.type.kind == Kind::kDecimal) {
    made.precision = static_cast<std::uint8_t>(column.type.precision);
    made.scale = static_cast<std::uint8_t>(column.type.scale);
  }
  made.hyperlink = column.hyperlink;
  made.allowZeroLength = IsText(column);
  made.autoNumber = column.counter.has_value();
  made.defaultValue = AccessExpression(column.initial);
  if (column.counter && column.counter->kind == Counter::Kind::kRandom) made.defaultValue = "GenUniqueID()";
  return made;
}

jet::IndexSpec Definition(const Index& index) {
  jet::IndexSpec made{.name = index.name,
                      .columns = {},
                      .primary = index.primary,
                      .unique = index.unique,
                      .ignoreNulls = index.ignoreNulls,
                      .required = index.required};
  for (const IndexPart& part : index.parts) made.columns.push_back({part.column, part.descending});
  return made;
}

jet::Relationship Definition(const Relation& relation) {
  jet::Relationship made;
  made.name = relation.name;
  made.table = relation.table;
  made.referencedTable = relation.referenced;
  made.columns = relation.columns;
  made.oneToOne = relation.oneToOne;
  made.enforced = relation.enforced;
  made.cascadeUpdates = relation.cascadeUpdates;
  made.cascadeDeletes = relation.cascadeDeletes;
  return made;
}

/// Whether the rows are why an index or a relation cannot be.
bool IsOfTheRows(const jet::Error& error) {
  return error.Code() == jet::ErrorCode::kDuplicateKey || error.Code() == jet::ErrorCode::kNullNotAllowed ||
         error.Code() == jet::ErrorCode::kRelationViolated || error.Code() == jet::ErrorCode::kLimit;
}

/// Its rows where it has them, which say more than a statement does.
jet::sql::QueryDesign DesignOf(const Query& query) {
  if (query.rows.empty()) return jet::sql::DesignOf(query.sql);
  using Attribute = jet::sql::QueryAttribute;
  jet::sql::QueryDesign design;
  for (const QueryRow& row : query.rows) {
    const auto attribute = static_cast<Attribute>(row.attribute);
    if (attribute == Attribute::kBegin || attribute == Attribute::kEnd) continue;
    if (attribute == Attribute::kType) design.type = static_cast<jet::sql::QueryType>(row.flag);
    design.parts[attribute].push_back({row.name1, row.name2, row.expression, row.flag});
  }
  return design;
}

}  // namespace

AccessTarget::AccessTarget(jet::Database& file, const AccessPlan& plan) : file_(file), plan_(plan) {
  if (plan.refusals.empty()) return;
  std::string text;
  for (const Finding& refusal : plan.refusals) text += (text.empty() ? "" : "; ") + refusal.table + " " + English(refusal);
  throw base::Error(text);
}

bool AccessTarget::IsThere(std::size_t place) { return file_.FindObject(At(place).name) != nullptr; }

void AccessTarget::Drop(std::size_t place) {
  if (!IsThere(place)) return;
  const std::string& name = At(place).name;
  jet::Transaction whole(file_);
  for (const auto& relation : file_.Relationships())
    if (base::SameName(relation.table, name) || base::SameName(relation.referencedTable, name)) file_.DropRelationship(relation.name);
  file_.DropTable(name);
  whole.Commit();
}

/// Longer than what Access's own windows take, such a text is kept all the same.
void AccessTarget::SetText(const std::string& table, const std::string& column, const char* property, const std::string& text) {
  if (text.empty()) return;
  const auto type = text.size() > kLongestTextProperty ? jet::ColumnType::kMemo : jet::ColumnType::kText;
  file_.SetProperty(table, column, {property, type, jet::Value(text), false});
}

void AccessTarget::MakeTable(std::size_t place) {
  if (IsThere(place)) return;
  const Table& table = At(place);
  jet::TableSpec spec;
  spec.name = table.name;
  for (const Column& column : table.columns) spec.columns.push_back(Definition(column));
  jet::Transaction whole(file_);
  file_.CreateTable(spec);
  SetText(table.name, {}, "Description", table.comment);
  for (const Column& column : table.columns) SetText(table.name, column.name, "Description", column.comment);
  whole.Commit();
}

void AccessTarget::MakeTables() {
  for (std::size_t place = 0; place < Tables(); ++place) MakeTable(place);
}

std::vector<Finding> AccessTarget::MakeIndexes(std::size_t place) {
  const Table& table = At(place);
  std::vector<Finding> findings;
  for (const Index& index : table.indexes) {
    if (file_.OpenTable(table.name).FindIndex(index.name)) continue;
    try {
      file_.CreateIndex(table.name, Definition(index));
    } catch (const jet::Error& error) {
      if (!IsOfTheRows(error)) throw;
      findings.push_back({table.name, {}, What::kIndexRefused, {index.name, error.what()}});
    }
  }
  return findings;
}

void AccessTarget::SetRules(std::size_t place) {
  const Table& table = At(place);
  const auto truth = [&](const Column& column, const char* property, bool value) {
    file_.SetProperty(table.name, column.name, {property, jet::ColumnType::kBoolean, jet::Value(value), true});
  };
  jet::Transaction whole(file_);
  SetText(table.name, {}, "ValidationRule", table.rule);
  for (const Column& column : table.columns) {
    SetText(table.name, column.name, "ValidationRule", column.rule);
    if (column.required && column.type.kind != Kind::kBoolean) truth(column, "Required", true);
    if (IsText(column) && !column.allowEmpty) truth(column, "AllowZeroLength", false);
  }
  whole.Commit();
}

void AccessTarget::SetCounter(std::size_t place) {
  for (const Column& column : At(place).columns)
    if (column.counter && column.counter->kind == Counter::Kind::kIncrement)
      file_.SetLastAutoNumber(At(place).name, static_cast<std::int32_t>(column.counter->next - 1));
}

std::vector<Finding> AccessTarget::MakeRelations() {
  std::vector<Finding> findings;
  const auto held = file_.Relationships();
  for (const Relation& relation : plan_.there.relations) {
    if (std::any_of(held.begin(), held.end(), [&](const auto& other) { return base::SameName(other.name, relation.name); })) continue;
    jet::Relationship made = Definition(relation);
    try {
      file_.CreateRelationship(made);
    } catch (const jet::Error& error) {
      // An index that the rows did not allow is missing here.
      if (!IsOfTheRows(error) && error.Code() != jet::ErrorCode::kUnsupported) throw;
      findings.push_back({relation.table, {}, What::kRelationRefused, {relation.name, error.what()}});
      made.enforced = made.cascadeUpdates = made.cascadeDeletes = false;
      file_.CreateRelationship(made);
    }
  }
  return findings;
}

std::vector<Finding> AccessTarget::MakeOthers() {
  std::vector<Finding> findings;
  const auto taken = [&](const std::string& name) {
    const bool there = file_.FindObject(name) != nullptr;
    if (there) findings.push_back({{}, {}, What::kNameTaken, {name}});
    return there;
  };
  for (const Link& link : plan_.there.links)
    if (!taken(link.name))
      file_.CreateLink({.name = link.name, .odbc = false, .database = link.target, .connect = {}, .foreignName = link.table});
  for (const Query& query : plan_.there.queries)
    if (!taken(query.name)) jet::sql::StoreQuery(file_, query.name, DesignOf(query));
  return findings;
}

std::vector<Finding> AccessTarget::Finish() {
  std::vector<Finding> all;
  const auto add = [&](std::vector<Finding> findings) { all.insert(all.end(), findings.begin(), findings.end()); };
  for (std::size_t place = 0; place < Tables(); ++place) {
    add(MakeIndexes(place));
    SetRules(place);
    SetCounter(place);
  }
  add(MakeRelations());
  add(MakeOthers());
  return all;
}

}  // namespace tamlo::schema
