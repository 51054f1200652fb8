#include "ado/jet/RowWriter.h"

#include <algorithm>
#include <deque>

#include "ado/Errors.h"
#include "ado/jet/JetErrors.h"
#include "ado/jet/JetValues.h"
#include "jet/table/ColumnValue.h"
#include "jet/sql/bind/Coercion.h"

namespace tamlo::ado::jetprovider {

namespace {

class Pieces final : public jet::ChunkSource {
 public:
  explicit Pieces(const ado::ChunkSource& source) : source_(source) {}
  std::size_t Read(std::span<std::byte> buffer) override { return source_(buffer.data(), buffer.size()); }

 private:
  const ado::ChunkSource& source_;
};

// A row that is gone is no item that a collection lacks.
template <typename Work>
void OnRow(const JetConnection& connection, Work work, const bool* changed = nullptr) {
  try {
    work();
  } catch (const jet::Error& error) {
    if (error.Code() != jet::ErrorCode::kNotFound) throw;
    throw runtime::Error(connection.GeneralNumbers() ? runtime::kProviderFailure : runtime::kChangedByAnother,
                         changed != nullptr && *changed
                             ? "La ligne ne peut pas être trouvée pour la mise à jour : certaines de ses valeurs ont changé depuis la "
                               "dernière lecture."
                             : "La ligne ne peut pas être trouvée pour la mise à jour : elle a été supprimée depuis la dernière lecture.",
                         "Microsoft JET Database Engine");
  }
}

// A row keeps the number that it got.
void RequireNoCounter(const JetConnection& connection, const jet::sql::ColumnInfo& column) {
  if (!column.type.autoNumber) return;
  throw runtime::Error(connection.GeneralNumbers() ? runtime::kProviderFailure : runtime::kValueRefused,
                       "Le compteur d'une ligne existante ne peut pas être changé : " + column.name, "Microsoft JET Database Engine");
}

// A number or a date that reads as one, so that it was refused for its size.
bool IsOutside(const jet::Value& given, const jet::sql::TypeInfo& column, const jet::sql::TextSettings& settings) {
  if (!jet::sql::IsNumber(column.type) && column.type != jet::ColumnType::kDate) return false;
  try {
    const jet::Value value = jet::sql::Coerced(given, column, settings);
    return value.Type() != jet::ValueType::kText && value.Type() != jet::ValueType::kBytes && value.Type() != jet::ValueType::kGuid;
  } catch (const jet::Error&) {
    return false;
  }
}

bool IsLongColumn(jet::ColumnType type) { return type == jet::ColumnType::kMemo || type == jet::ColumnType::kOle; }

// All that a source gives, for columns that take no pieces.
jet::Value Whole(const ado::ChunkSource& source, bool text) {
  std::string all;
  std::byte buffer[4096];
  while (const std::size_t count = source(buffer, sizeof buffer)) all.append(reinterpret_cast<const char*>(buffer), count);
  if (text) return jet::Value(std::move(all));
  const auto* bytes = reinterpret_cast<const std::byte*>(all.data());
  return jet::Value(jet::Bytes(bytes, bytes + all.size()));
}

}  // namespace

/// The assignments as the engine takes them, with all that they point to.
class RowWriter::Prepared {
 public:
  Prepared(const RowWriter& writer, std::span<const Assignment> values, const std::vector<std::size_t>& columns) {
    for (const Assignment& value : values) {
      const std::size_t column = columns[value.field];
      const jet::sql::TypeInfo& type = writer.table_->columns[column].type;
      if (const auto* source = std::get_if<ado::ChunkSource>(&value.value)) {
        if (IsLongColumn(type.type)) {
          pieces_.emplace_back(*source);
          list.push_back({column, nullptr, &pieces_.back()});
        } else {
          Add(column, writer.Suited(column, Whole(*source, type.type == jet::ColumnType::kText)));
        }
      } else {
        Add(column, writer.Suited(column, ToValue(std::get<Variant>(value.value))));
      }
    }
  }
  void Add(std::size_t column, jet::Value value) {
    values_.push_back(std::move(value));
    list.push_back({column, &values_.back(), nullptr});
  }

  std::vector<jet::Assignment> list;

 private:
  std::deque<jet::Value> values_;
  std::deque<Pieces> pieces_;
};

RowWriter::RowWriter(JetConnection& connection, std::shared_ptr<const jet::sql::EngineTable> table)
    : connection_(connection), session_(connection.Session()), table_(std::move(table)) {}

jet::Value RowWriter::Suited(std::size_t column, const jet::Value& value) const {
  const auto& described = table_->columns[column];
  try {
    return jet::sql::Coerced(value, described.type, session_.Settings());
  } catch (const jet::Error& error) {
    throw jet::Error(error.Code(), std::string(error.what()) + ", column \"" + described.name + "\"");
  }
}

jet::RowId RowWriter::Insert(std::span<const Assignment> values, const std::vector<std::size_t>& columns) {
  const JetConnection::RollbackWatch watch(connection_);
  return OnEngine([&] {
    jet::sql::RequireWritable(*table_);
    connection_.BeforeChange(table_.get());
    if (!defaults_) defaults_ = session_.Defaults(*table_);
    Prepared prepared(*this, values, columns);
    for (const auto& [column, value] : *defaults_) {
      const bool given =
          std::any_of(prepared.list.begin(), prepared.list.end(), [c = column](const jet::Assignment& a) { return a.column == c; });
      if (!given) prepared.Add(column, value);
    }
    const jet::RowId id = table_->table->Insert(prepared.list);
    session_.RowsChanged();
    return id;
  });
}

void RowWriter::Update(jet::RowId id, std::span<const Assignment> values, const std::vector<std::size_t>& columns,
                       const jet::Table::RowTest& isMeant, const jet::Table::RowTest& isUnchanged) {
  const JetConnection::RollbackWatch watch(connection_);
  OnEngine([&] {
    jet::sql::RequireWritable(*table_);
    connection_.BeforeChange(table_.get());
    for (const Assignment& value : values) RequireNoCounter(connection_, table_->columns[columns[value.field]]);
    const Prepared prepared(*this, values, columns);
    bool changed = false;
    const auto isStill = [&](jet::Row& row) {
      if (!isMeant(row)) return false;
      changed = !isUnchanged(row);
      return !changed;
    };
    OnRow(
        connection_, [&] { table_->table->Update(id, prepared.list, isStill); }, &changed);
    session_.RowsChanged();
  });
}

void RowWriter::Delete(jet::RowId id, const jet::Table::RowTest& isMeant) {
  const JetConnection::RollbackWatch watch(connection_);
  OnEngine([&] {
    jet::sql::RequireWritable(*table_);
    connection_.BeforeChange(table_.get());
    OnRow(connection_, [&] { table_->table->Delete(id, isMeant); });
    session_.RowsChanged();
  });
}

Variant RowWriter::Converted(std::size_t column, const Variant& value) const {
  // Of a long text or long bytes nothing is to be said before they are written.
  const bool isLong = IsLongColumn(table_->columns[column].type.type) && (value.IsText() || value.Is<runtime::Bytes>());
  if (connection_.GeneralNumbers() || value.IsNull() || value.IsEmpty() || isLong) return value;
  const jet::Value given = ToValue(value);
  try {
    return ToVariant(jet::ColumnValue(*table_->table, column, jet::sql::Coerced(given, table_->columns[column].type, session_.Settings())));
  } catch (const jet::Error& error) {
    const bool isReadable =
        error.Code() == jet::ErrorCode::kValueTooLong || IsOutside(given, table_->columns[column].type, session_.Settings());
    if (error.Code() != jet::ErrorCode::kTypeMismatch && error.Code() != jet::ErrorCode::kValueTooLong) throw Translated(error);
    throw AdoError(isReadable ? runtime::kValueRefused : runtime::kDataConversion, table_->columns[column].name);
  }
}

std::vector<std::size_t> RowWriter::KeyColumns() const {
  std::vector<std::size_t> columns;
  if (const auto key = table_->table->PrimaryKey())
    for (const jet::IndexColumn& column : table_->table->Indexes()[*key].columns) columns.push_back(column.column);
  return columns;
}

}  // namespace tamlo::ado::jetprovider
