#include "ado/odbc/RowWriter.h"

#include <algorithm>
#include <utility>

#include "ado/Errors.h"
#include "ado/odbc/Resend.h"
#include "ado/odbc/RowReader.h"
#include "ado/odbc/SqlText.h"
#include "ado/odbc/TypeMap.h"
#include "runtime/Error.h"

namespace tamlo::ado::odbc {
namespace {

/// The query for the counter value that the backend gave to the row inserted last on this connection; empty when it has none.
std::string LastCounterQuery(Backend backend) {
  switch (backend) {
    case Backend::kSqlite:
      return "SELECT last_insert_rowid()";
    case Backend::kMySql:
      return "SELECT LAST_INSERT_ID()";
    case Backend::kPostgres:
      return "SELECT lastval()";
    case Backend::kSqlServer:
      return "SELECT @@IDENTITY";
    default:
      return {};
  }
}

/// Values that come in pieces can be read once only: such a row is not sent a second time.
bool AreWhole(std::span<const Assignment> values) {
  return std::all_of(values.begin(), values.end(), [](const Assignment& value) { return std::holds_alternative<Variant>(value.value); });
}

runtime::Error ChangedByAnother() {
  return {runtime::kProviderFailure,
          "La ligne ne peut pas être trouvée pour la mise à jour : certaines de ses valeurs ont changé depuis la dernière lecture.",
          "odbc"};
}

runtime::Error SeveralRows() {
  return {runtime::kProviderFailure,
          "Informations insuffisantes sur la clé : la mise à jour toucherait plusieurs lignes. Rien n'a été modifié.", "odbc"};
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

std::string RowWriter::Name(std::size_t field) const { return session_->Quoted(columns_[field].baseName); }

const ParameterShape& RowWriter::Shape(std::size_t field) {
  if (!shapes_[field]) shapes_[field] = ShapeFor(fields_[field], columns_[field].sqlType, session_->Facts());
  return *shapes_[field];
}

void RowWriter::Insert(std::span<const Assignment> values) {
  std::string sql = "INSERT INTO " + table_.text;
  if (values.empty()) {
    sql += session_->Facts().backend == Backend::kMySql ? " () VALUES ()" : " DEFAULT VALUES";
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
    const bool complete = std::none_of(key.begin(), key.end(), [&](std::size_t field) { return old(field).IsNull(); });
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
    const bool isNull = old(field).IsNull();
    condition.text += (condition.text.empty() ? " WHERE " : " AND ") + Name(field) + (isNull ? " IS NULL" : " = ?");
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
  for (const std::size_t field : condition.fields) parameters.Add(old(field), Shape(field));
}

std::int64_t RowWriter::CountRows(const Condition& condition, const RowImage& old) {
  Statement statement(session_);
  statement.Prepare("SELECT COUNT(*) FROM " + table_.text + condition.text);
  ParameterSet parameters(statement);
  AddParameters(parameters, condition, old);
  parameters.Execute();
  return statement.Fetch() ? statement.Integer(1, 0) : 0;
}

void RowWriter::Change(const std::string& head, std::span<const Assignment> values, const RowImage& old) {
  EnsureTable();
  const Condition condition = ConditionFor(old);
  if (!condition.identifies && session_->InTransaction() && CountRows(condition, old) > 1) throw SeveralRows();
  Resending(*session_, AreWhole(values), [&] { ChangeOnce(head, condition, values, old); });
}

void RowWriter::ChangeOnce(const std::string& head, const Condition& condition, std::span<const Assignment> values, const RowImage& old) {
  // Without a key the statement may meet several rows: it runs in a transaction of its own that is only kept for exactly one.
  std::optional<TransactionScope> scope;
  if (!condition.identifies) scope.emplace(*session_);
  std::int64_t affected = 0;
  {
    Statement statement(session_);
    statement.Prepare(head + condition.text);
    ParameterSet parameters(statement);
    AddParameters(parameters, values);
    AddParameters(parameters, condition, old);
    parameters.Execute();
    affected = statement.RowsAffected();
  }
  if (affected > 1) throw SeveralRows();
  // MariaDB counts the rows that changed, not those that were found: writing the same values again affects none.
  if (affected == 0 && (values.empty() || CountRows(condition, old) != 1)) throw ChangedByAnother();
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
                                                         const RowImage& key) {
  std::string names;
  for (std::size_t i = 0; i < fields_.size(); ++i) names += (i == 0 ? "" : ", ") + (IsExpression(i) ? "NULL" : Name(i));
  Statement statement(session_);
  statement.Prepare("SELECT " + names + " FROM " + table_.text + condition);
  ParameterSet parameters(statement);
  for (const std::size_t field : keyFields) parameters.Add(key(field), Shape(field));
  parameters.Execute();
  RowReader reader(statement, fields_, columns_);
  if (!reader.Next()) return std::nullopt;
  std::vector<Variant> row;
  for (std::size_t i = 0; i < fields_.size(); ++i) row.push_back(reader.Value(i));
  return row;
}

std::optional<RowWriter::Counter> RowWriter::LastCounter() {
  const std::string query = LastCounterQuery(session_->Facts().backend);
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
    return ReadWhere(condition, key, [&](std::size_t field) { return *known[field]; });
  }
  if (!counter) return std::nullopt;
  return ReadWhere(" WHERE " + Name(counter->field) + " = ?", {counter->field}, [&](std::size_t) { return counter->value; });
}

}  // namespace tamlo::ado::odbc
