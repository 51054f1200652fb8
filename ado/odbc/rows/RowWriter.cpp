#include "ado/odbc/rows/RowWriter.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

#include "ado/Errors.h"
#include "ado/SameValue.h"
#include "ado/odbc/driver/Diagnostics.h"
#include "ado/odbc/rows/RowReader.h"
#include "ado/odbc/statement/Resend.h"
#include "ado/odbc/statement/SqlText.h"
#include "ado/odbc/values/Encode.h"
#include "ado/odbc/values/TypeMap.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

/// Values that come in pieces can be read once only: such a row is not sent a second time.
bool AreWhole(std::span<const Assignment> values) {
  return std::all_of(values.begin(), values.end(), [](const Assignment& value) { return std::holds_alternative<Variant>(value.value); });
}

runtime::Error ChangedByAnother(const Session& session) {
  return {session.GeneralNumbers() ? runtime::kProviderFailure : runtime::kChangedByAnother, runtime::Describe(runtime::kChangedByAnother),
          "odbc"};
}

runtime::Error SeveralRows() {
  return {runtime::kProviderFailure,
          "Informations insuffisantes sur la clé : la mise à jour toucherait plusieurs lignes. Rien n'a été modifié.", "odbc"};
}

/// Whether a value that was written may stand in the backend as this one: rounded to its scale, padded, converted.
bool Resembles(const Variant& written, const Variant& stored, const FieldInfo& field) {
  if (SameValue(written, stored)) return true;
  if (written.IsNull() || stored.IsNull()) return false;
  bool same = true;  // what cannot be compared is not in doubt
  (void)runtime::IgnoringErrors([&] {
    if (IsTextType(field.type)) {
      same = runtime::TrimRight(runtime::ToText(written)) == runtime::TrimRight(runtime::ToText(stored));
    } else if (stored.Is<runtime::Date>()) {
      same = std::abs(runtime::ToDate(written).serial - runtime::ToDate(stored).serial) * 86400.0 <= 1.0;
    } else if (!stored.Is<runtime::Bytes>() && !stored.Is<runtime::Guid>() && !stored.Is<bool>()) {
      const double a = runtime::ToDouble(written);
      const double b = runtime::ToDouble(stored);
      const double step = field.numericScale >= 0 && field.numericScale < 40 ? std::pow(10.0, -field.numericScale) : 0.0;
      same = std::abs(a - b) <= std::max(step, 1e-6 * std::max(std::abs(a), std::abs(b)));
    }
  });
  return same;
}

}  // namespace

RowWriter::RowWriter(std::shared_ptr<Session> session, std::string tableText, const std::vector<FieldInfo>& fields,
                     const std::vector<ColumnDescription>& columns)
    : session_(std::move(session)), fields_(fields), columns_(columns), shapes_(fields.size()) {
  table_.text = std::move(tableText);
  table_.name = PlainName(table_.text);
  // What the driver says of a column's table is the catalog's own spelling.
  for (const auto& column : columns_) {
    if (column.table.empty()) continue;
    table_.name = column.table;
    table_.schema = column.schema;
    break;
  }
}

void RowWriter::EnsureTable() {
  if (keysKnown_) return;
  FindKeys(table_, session_, columns_);
  keysKnown_ = true;
}

/// Where the driver tells the tables of columns, an expression has none.
bool RowWriter::IsExpression(std::size_t field) const {
  return columns_[field].table.empty() &&
         std::any_of(columns_.begin(), columns_.end(), [](const ColumnDescription& column) { return !column.table.empty(); });
}

std::vector<std::size_t> RowWriter::AllFields() const {
  std::vector<std::size_t> all(fields_.size());
  for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
  return all;
}

std::string RowWriter::Name(std::size_t field) const { return session_->Quoted(columns_[field].baseName); }

const ParameterShape& RowWriter::Shape(std::size_t field) {
  if (!shapes_[field]) shapes_[field] = ShapeFor(fields_[field], columns_[field].sqlType, session_->Facts());
  return *shapes_[field];
}

Variant RowWriter::Converted(std::size_t field, const Variant& value) { return Held(value, Shape(field)); }

bool RowWriter::HasKey(std::span<const std::optional<Variant>> known) {
  EnsureTable();
  return std::any_of(table_.keys.begin(), table_.keys.end(), [&](const auto& key) {
    return std::all_of(key.begin(), key.end(), [&](std::size_t field) { return known[field] && !known[field]->IsNull(); });
  });
}

void RowWriter::Insert(std::span<const Assignment> values) {
  std::string sql = std::string(session_->Facts().insertWords) + table_.text;
  if (values.empty()) {
    sql += session_->Facts().emptyRow;
  } else {
    std::string names;
    std::string marks;
    for (const auto& value : values) {
      names += (names.empty() ? "" : ", ") + Name(value.field);
      marks += marks.empty() ? "?" : ", ?";
    }
    sql += " (" + names + ") VALUES (" + marks + ")";
  }
  Resending(*session_, AreWhole(values), [&] {
    Statement statement(session_);
    statement.Prepare(sql);
    ParameterSet parameters(statement);
    AddParameters(parameters, values);
    parameters.Execute();
  });
}

RowWriter::Condition RowWriter::ConditionFor(const RowImage& old) const {
  Condition condition;
  for (const auto& key : table_.keys) {
    const bool complete = std::none_of(key.begin(), key.end(), [&](std::size_t field) { return old.value(field).IsNull(); });
    if (!complete) continue;
    condition.fields = key;
    condition.identifies = true;
    break;
  }
  if (!condition.identifies) {
    // Without a key: the whole old row. Single-precision numbers do not compare equal to themselves, long values do not compare at all.
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      if (!IsLongType(fields_[i].type) && fields_[i].type != adSingle) condition.fields.push_back(i);
    }
  }
  std::vector<std::size_t> parameters;
  for (const std::size_t field : condition.fields) {
    const bool isNull = old.value(field).IsNull();
    condition.text += (condition.text.empty() ? " WHERE " : " AND ") + (isNull ? Name(field) + " IS NULL" : Equals(field));
    if (!isNull) parameters.push_back(field);
  }
  condition.fields = std::move(parameters);
  if (condition.text.empty()) throw AdoError(runtime::kOperationNotSupported);
  return condition;
}

void RowWriter::AddParameters(ParameterSet& parameters, std::span<const Assignment> values) {
  for (const auto& value : values) {
    std::visit([&](const auto& what) { parameters.Add(what, Shape(value.field)); }, value.value);
  }
}

void RowWriter::AddParameters(ParameterSet& parameters, const Condition& condition, const RowImage& old) {
  for (const std::size_t field : condition.fields) {
    const bool compared = std::find(condition.compared.begin(), condition.compared.end(), field) != condition.compared.end();
    parameters.Add(compared ? old.atHand(field).value_or(Variant(runtime::Null{})) : old.value(field), Shape(field));
  }
}

/// Where a transaction shows the rows as they were at its first reading, while statements meet them as they are, it is asked with a lock,
/// which sees them so too.
std::int64_t RowWriter::CountRows(const Condition& condition, const RowImage& old) {
  const DriverFacts& facts = session_->Facts();
  Statement statement(session_);
  statement.Prepare("SELECT COUNT(*) FROM " + table_.text + condition.text + std::string(facts.showsOldRows ? facts.lockClause : ""));
  ParameterSet parameters(statement);
  AddParameters(parameters, condition, old);
  parameters.Execute();
  return statement.Fetch() ? statement.Integer(1, 0) : 0;
}

std::string RowWriter::Equals(std::size_t field) const {
  const bool anyTruth = fields_[field].type == adBoolean && session_->Facts().keepsAnyTruth;
  return anyTruth ? "(" + Name(field) + " <> 0) = ?" : Name(field) + " = ?";
}

/// The column in a comparison that tells every other value, also one that differs by case, accents or blanks alone.
std::string RowWriter::Comparable(std::size_t field) const {
  const std::string name = Name(field);
  if (!IsTextType(fields_[field].type)) return Equals(field);
  const DriverFacts& facts = session_->Facts();
  const std::string& type = columns_[field].typeName;
  const bool plain = std::any_of(facts.comparedAsTheyAre.begin(), facts.comparedAsTheyAre.end(),
                                 [&](std::string_view one) { return !one.empty() && one == type; });
  return !plain ? std::string(facts.beforeExactText) + name + std::string(facts.afterExactText) : name + " = ?";
}

/// The old value to compare with: none for what the recordset has not read, for expressions, and for long values that are too long or that
/// the backend cannot compare.
std::optional<Variant> RowWriter::OldToCompare(std::size_t field, const RowImage& old) const {
  if (IsExpression(field)) return std::nullopt;
  if (IsLongType(fields_[field].type) && !session_->Facts().comparesLongValues) return std::nullopt;
  auto value = old.atHand(field);
  if (value && LengthOf(*value) > kLongestComparedValue) return std::nullopt;
  return value;
}

/// The condition with the old values of the columns that are to change.
RowWriter::Condition RowWriter::Unchanged(Condition condition, std::span<const Assignment> values, const RowImage& old) {
  for (const auto& value : values) {
    if (std::find(condition.fields.begin(), condition.fields.end(), value.field) != condition.fields.end()) continue;
    const auto before = OldToCompare(value.field, old);
    if (!before) continue;
    condition.compared.push_back(value.field);
    if (before->IsNull()) {
      condition.text += " AND " + Name(value.field) + " IS NULL";
      continue;
    }
    // What the column cannot be given (SQLite keeps texts among numbers) only reading can compare.
    std::vector<std::byte> scratch;
    const bool sendable = !runtime::IgnoringErrors([&] { (void)Encode(*before, Shape(value.field), scratch); });
    condition.text += " AND " + (sendable ? Comparable(value.field) : std::string("1 = 0"));
    if (sendable) condition.fields.push_back(value.field);
  }
  return condition;
}

/// Drivers and backends give some values otherwise than they store them, so that no comparison finds them: what the same way of reading gives
/// now decides.
bool RowWriter::ReadsAsBefore(const Condition& condition, const std::vector<std::size_t>& compared, const RowImage& old) {
  const auto now = ReadWhere(condition.text + std::string(session_->Facts().lockClause), condition.fields, old.value, compared);
  if (!now) return false;
  for (std::size_t i = 0; i < compared.size(); ++i) {
    const auto before = OldToCompare(compared[i], old);
    const bool written = old.written(compared[i]);
    if (before && !(written ? Resembles(*before, now->at(i), fields_[compared[i]]) : SameValue(*before, now->at(i)))) return false;
  }
  return true;
}

std::int64_t RowWriter::Send(const std::string& head, const Condition& condition, std::span<const Assignment> values, const RowImage& old) {
  Statement statement(session_);
  statement.Prepare(head + condition.text);
  ParameterSet parameters(statement);
  AddParameters(parameters, values);
  AddParameters(parameters, condition, old);
  parameters.Execute();
  const std::int64_t affected = statement.RowsAffected();
  if (affected > 1) throw SeveralRows();
  if (affected < -1) throw Unbelievable(std::to_string(affected) + " lignes modifiées");
  return affected;
}

void RowWriter::Change(const std::string& head, std::span<const Assignment> values, const RowImage& old) {
  EnsureTable();
  const Condition found = ConditionFor(old);
  if (!found.identifies && session_->InTransaction() && CountRows(found, old) > 1) throw SeveralRows();
  Resending(*session_, AreWhole(values), [&] { ChangeOnce(head, found, values, old); });
}

void RowWriter::ChangeOnce(const std::string& head, const Condition& found, std::span<const Assignment> values, const RowImage& old) {
  // Without a key the statement may meet several rows: it runs in a transaction of its own that is only kept for exactly one.
  std::optional<TransactionScope> scope;
  if (!found.identifies) scope.emplace(*session_);
  const Condition unchanged = Unchanged(found, values, old);
  // MariaDB counts the rows that changed, not those that were found: writing the same values again affects none.
  if (Send(head, unchanged, values, old) == 0 && (values.empty() || CountRows(unchanged, old) != 1)) {
    if (unchanged.compared.empty()) throw ChangedByAnother(*session_);
    // Nobody comes between the reading and the writing. Elsewhere the end of a transaction might close the cursor.
    if (!scope && !session_->Facts().lockClause.empty()) scope.emplace(*session_);
    if (!ReadsAsBefore(found, unchanged.compared, old)) throw ChangedByAnother(*session_);
    if (Send(head, found, values, old) == 0 && CountRows(found, old) != 1) throw ChangedByAnother(*session_);
  }
  if (scope) scope->Commit();
}

void RowWriter::Update(std::span<const Assignment> values, const RowImage& old) {
  if (values.empty()) return;
  std::string sql = "UPDATE " + table_.text + " SET ";
  for (std::size_t i = 0; i < values.size(); ++i) sql += (i == 0 ? "" : ", ") + Name(values[i].field) + " = ?";
  Change(sql, values, old);
}

void RowWriter::Delete(const RowImage& old) { Change("DELETE FROM " + table_.text, {}, old); }

std::optional<std::vector<Variant>> RowWriter::ReadWhere(const std::string& condition, const std::vector<std::size_t>& keyFields,
                                                         const ValueOf& key, const std::vector<std::size_t>& wanted) {
  std::string names;
  std::vector<FieldInfo> fields;
  std::vector<ColumnDescription> columns;
  for (const std::size_t i : wanted) {
    names += (names.empty() ? "" : ", ") + (IsExpression(i) ? "NULL" : Name(i));
    fields.push_back(fields_[i]);
    columns.push_back(columns_[i]);
  }
  Statement statement(session_);
  const std::string sql = "SELECT " + names + " FROM " + table_.text + condition;
  const ReadPlan plan = PlanReading(sql, fields, columns, *session_, ReadMode::kFast);
  statement.Prepare(plan.sql.empty() ? sql : plan.sql);
  ParameterSet parameters(statement);
  for (const std::size_t field : keyFields) parameters.Add(key(field), Shape(field));
  parameters.Execute();
  RowReader reader(statement, fields, columns, plan);
  if (!reader.Next()) return std::nullopt;
  std::vector<Variant> row;
  for (std::size_t i = 0; i < fields.size(); ++i) row.push_back(reader.Value(i));
  return row;
}

std::optional<RowWriter::Counter> RowWriter::LastCounter() {
  const std::string_view query = session_->Facts().lastCounter;
  if (query.empty()) return std::nullopt;
  std::optional<std::size_t> field;
  for (std::size_t i = 0; i < fields_.size() && !field; ++i) {
    if (fields_[i].autoIncrement && IsCountingType(fields_[i].type)) field = i;
  }
  if (!field) {
    EnsureTable();
    if (table_.keys.empty() || table_.keys.front().size() != 1 || !IsCountingType(fields_[table_.keys.front().front()].type))
      return std::nullopt;
    field = table_.keys.front().front();
  }
  Statement statement(session_);
  statement.ExecuteDirect(query);
  if (!statement.Fetch()) return std::nullopt;
  const std::int64_t value = statement.Integer(1, 0);
  if (value == 0) return std::nullopt;
  return Counter{*field, Variant(value)};
}

std::optional<std::vector<Variant>> RowWriter::ReadBack(std::span<const std::optional<Variant>> known,
                                                        const std::optional<Counter>& counter) {
  EnsureTable();
  for (const auto& key : table_.keys) {
    const bool complete = std::all_of(key.begin(), key.end(), [&](std::size_t field) { return known[field] && !known[field]->IsNull(); });
    if (!complete) continue;
    std::string condition;
    for (const std::size_t field : key) condition += (condition.empty() ? " WHERE " : " AND ") + Name(field) + " = ?";
    return ReadWhere(
        condition, key, [&](std::size_t field) { return *known[field]; }, AllFields());
  }
  if (!counter) return std::nullopt;
  return ReadWhere(
      " WHERE " + Name(counter->field) + " = ?", {counter->field}, [&](std::size_t) { return counter->value; }, AllFields());
}

}  // namespace tamlo::ado::odbc
