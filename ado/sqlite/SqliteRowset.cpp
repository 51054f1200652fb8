#include "ado/sqlite/SqliteRowset.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>

#include "ado/Errors.h"
#include "ado/sqlite/SqliteBulkInsert.h"
#include "ado/sqlite/ValueBinder.h"
#include "base/Utf8.h"

namespace tamlo::ado::sqlite {
namespace {

std::string StatementOf(const RowsetRequest& request) {
  const bool isTable = request.options == adCmdTable || request.options == adCmdTableDirect;
  return isTable ? AllRowsOf(request.source) : request.source;
}

/// SQLite takes a value whole.
std::string Gathered(const ChunkSource& source) {
  std::string gathered;
  std::array<std::byte, 65536> piece{};
  for (std::size_t read = source(piece.data(), piece.size()); read > 0; read = source(piece.data(), piece.size()))
    gathered.append(reinterpret_cast<const char*>(piece.data()), read);
  return gathered;
}

Variant Held(const Assignment& assignment, bool isBytes) {
  if (const auto* value = std::get_if<Variant>(&assignment.value)) return *value;
  const std::string gathered = Gathered(std::get<ChunkSource>(assignment.value));
  if (!isBytes) return Variant(gathered);
  runtime::Bytes bytes(gathered.size());
  std::memcpy(bytes.data(), gathered.data(), gathered.size());
  return Variant(std::move(bytes));
}

}  // namespace

SqliteRowset::SqliteRowset(std::shared_ptr<Session> session, const RowsetRequest& request)
    : session_(std::move(session)), timeoutSeconds_(request.timeoutSeconds), statement_(session_->Prepare(StatementOf(request))) {
  Describe();
}

void SqliteRowset::Describe() {
  const int count = sqlite3_column_count(statement_.get());
  for (int i = 0; i < count; ++i) {
    const std::string declared = Plain(sqlite3_column_decltype(statement_.get(), i));
    origins_.push_back({Plain(sqlite3_column_origin_name(statement_.get(), i)), declared});
    FieldInfo field;
    field.name = Plain(sqlite3_column_name(statement_.get(), i));
    field.type = FieldTypeOf(declared);
    fields_.push_back(std::move(field));
    const std::string table = Plain(sqlite3_column_table_name(statement_.get(), i));
    if (i == 0) table_ = table;
    if (table != table_ || origins_.back().column.empty()) table_.clear();
  }
}

void SqliteRowset::RunWhole(std::int64_t* affected) {
  const std::int64_t before = session_->TotalChanges();
  (void)session_->Step(statement_, timeoutSeconds_);
  if (affected != nullptr) *affected = session_->TotalChanges() - before;
}

bool SqliteRowset::MoveFirst() {
  sqlite3_reset(statement_.get());
  atEnd_ = false;
  return MoveNext();
}

bool SqliteRowset::MoveNext() {
  onRow_ = false;
  if (atEnd_) return false;
  onRow_ = session_->Step(statement_, timeoutSeconds_);
  atEnd_ = !onRow_;
  chunkOffset_ = 0;
  return onRow_;
}

Variant SqliteRowset::Value(std::size_t field) {
  if (!onRow_) throw AdoError(runtime::kNoCurrentRecord);
  sqlite3_stmt* const row = statement_.get();
  const int column = static_cast<int>(field);
  switch (sqlite3_column_type(row, column)) {
    case SQLITE_INTEGER:
      return Variant(std::int64_t{sqlite3_column_int64(row, column)});
    case SQLITE_FLOAT:
      return Variant(sqlite3_column_double(row, column));
    case SQLITE_TEXT: {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, column));
      return Variant(std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(row, column))));
    }
    case SQLITE_BLOB: {
      const auto* bytes = static_cast<const std::byte*>(sqlite3_column_blob(row, column));
      return Variant(runtime::Bytes(bytes, bytes + sqlite3_column_bytes(row, column)));
    }
    default:
      return Variant(runtime::Null{});
  }
}

std::size_t SqliteRowset::ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) {
  if (!onRow_) throw AdoError(runtime::kNoCurrentRecord);
  if (field != chunkField_) chunkOffset_ = 0;
  chunkField_ = field;
  const int column = static_cast<int>(field);
  const bool isText = sqlite3_column_type(statement_.get(), column) == SQLITE_TEXT;
  const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_.get(), column));
  if (bytes == nullptr) return 0;
  const std::string_view whole(bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column)));
  const std::string_view rest = whole.substr(chunkOffset_);
  const std::size_t size = isText ? base::WholeCharacters(rest, capacity) : std::min(rest.size(), capacity);
  std::memcpy(buffer, rest.data(), size);
  chunkOffset_ += size;
  return size;
}

void SqliteRowset::Insert(std::span<const Assignment> values) {
  std::vector<std::string> names;
  for (const Assignment& assignment : values) names.push_back(origins_.at(assignment.field).column);
  const Statement insert = session_->Prepare(InsertText(table_, names));
  std::vector<Variant> held;  // until the statement has run
  held.reserve(values.size());
  for (const Assignment& assignment : values) {
    const TargetColumn column(origins_[assignment.field].column, origins_[assignment.field].declared);
    held.push_back(Held(assignment, fields_[assignment.field].type == adLongVarBinary));
    Bind(insert.get(), static_cast<int>(held.size()), column, held.back());
  }
  AddRow(*session_, insert);
  onRow_ = false;
  atEnd_ = true;
}

void SqliteRowset::Update(std::span<const Assignment> /*values*/) { throw AdoError(runtime::kOperationNotSupported); }
void SqliteRowset::Delete() { throw AdoError(runtime::kOperationNotSupported); }

}  // namespace tamlo::ado::sqlite
