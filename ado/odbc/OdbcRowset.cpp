#include "ado/odbc/OdbcRowset.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "ado/Errors.h"
#include "ado/odbc/NativeHeaders.h"
#include "ado/odbc/SqlText.h"
#include "ado/odbc/TypeMap.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

bool IsTable(const RowsetRequest& request) { return request.options == adCmdTableDirect || request.options == adCmdTable; }

/// A table name of any spelling as statements of this backend name it.
std::string TableText(const Session& session, const std::string& source) {
  const std::string_view trimmed = runtime::Trim(source);
  const char first = trimmed.empty() ? ' ' : trimmed.front();
  if (first == '[') return session.Quoted(PlainName(trimmed));
  return first == '"' || first == '`' ? std::string(trimmed) : session.Quoted(std::string(trimmed));
}

}  // namespace

OdbcRowset::OdbcRowset(std::shared_ptr<Session> session, const RowsetRequest& request)
    : session_(std::move(session)), statement_(session_, request.timeoutSeconds) {
  std::optional<std::string> table;
  std::string sql;
  if (IsTable(request)) {
    table = TableText(*session_, request.source);
    sql = "SELECT * FROM " + *table;
  } else {
    sql = WithoutComments(request.source);
    table = BaseTableOf(sql);
    // Brackets are not every driver's own marks: psqlODBC takes "[$T$]" for the beginning of a dollar-quoted text.
    if (table && table->starts_with('[') && table->find("].") == std::string::npos) table = TableText(*session_, *table);
  }
  if (!session_->Facts().keepsWideStatements) sql = WithoutWideLiterals(sql, literals_);
  statement_.Prepare(sql);
  if (!literals_.empty()) {
    literalParameters_ = std::make_unique<ParameterSet>(statement_);
    FieldInfo text;
    text.type = adLongVarWChar;
    for (const auto& literal : literals_) literalParameters_->Add(Variant(literal), ShapeFor(text, 0, session_->Facts()));
  }
  Describe();
  keepsRows_ = request.cursor == adOpenStatic || (request.location == adUseClient && request.cursor != adOpenForwardOnly);
  if (table && request.lock > adLockReadOnly) writer_.emplace(session_, *table, fields_, columns_);
}

void OdbcRowset::Describe() {
  std::size_t count = statement_.ColumnCount();
  if (count == 0) {
    // Either a statement without rows, or a driver that describes nothing before it has executed: executing tells them apart.
    ExecuteQuery();
    count = statement_.ColumnCount();
  }
  for (std::size_t i = 1; i <= count; ++i) columns_.push_back(statement_.Describe(i));
  for (const auto& column : columns_) fields_.push_back(ToFieldInfo(column, session_->Facts()));
  written_.resize(count);
  stale_.resize(count);
  reader_.emplace(statement_, fields_, columns_);
}

void OdbcRowset::ExecuteQuery() {
  if (executed_) statement_.CloseCursor();
  executed_ = false;
  if (literalParameters_) {
    literalParameters_->Execute();
  } else {
    statement_.Execute();
  }
  executed_ = true;
  fresh_ = true;
  if (reader_) reader_->Restart();
}

bool OdbcRowset::MoveFirst() {
  inserted_ = false;
  anyWritten_ = false;
  chunkField_ = SIZE_MAX;
  if (fields_.empty()) return false;
  if (keepsRows_ && executed_ && !fresh_) {
    row_ = 0;
    return !rows_.empty();
  }
  if (!executed_ || !fresh_) ExecuteQuery();
  return Advance();
}

bool OdbcRowset::Advance() {
  fresh_ = false;
  if (!reader_->Next()) {
    exhausted_ = true;
    return false;
  }
  if (keepsRows_) KeepCurrentRow();
  return true;
}

void OdbcRowset::KeepCurrentRow() {
  Row row;
  row.reserve(fields_.size());
  for (std::size_t i = 0; i < fields_.size(); ++i) row.push_back(reader_->Value(i));
  rows_.push_back(std::move(row));
  row_ = rows_.size() - 1;
}

bool OdbcRowset::MoveNext() {
  if (inserted_) return false;
  anyWritten_ = false;
  chunkField_ = SIZE_MAX;
  if (!keepsRows_) return Advance();
  if (row_ + 1 < rows_.size()) {
    ++row_;
    return true;
  }
  return !exhausted_ && Advance();
}

Variant OdbcRowset::Stored(std::size_t field) { return keepsRows_ ? rows_[row_][field] : reader_->Value(field); }

Variant OdbcRowset::Value(std::size_t field) {
  if (!inserted_ && !anyWritten_) return keepsRows_ ? rows_[row_][field] : reader_->Value(field);
  if (written_[field]) return *written_[field];
  return inserted_ || stale_[field] ? FromBackend(field) : Stored(field);
}

Variant OdbcRowset::FromBackend(std::size_t field) {
  std::vector<std::optional<Variant>> known = written_;
  for (std::size_t i = 0; i < known.size() && !inserted_; ++i) {
    if (!known[i] && !stale_[i]) known[i] = Stored(i);
  }
  const auto row = writer_->ReadInserted(known);
  if (!row) return runtime::Null{};
  for (std::size_t i = 0; i < row->size(); ++i) {
    if (!written_[i]) written_[i] = (*row)[i];
  }
  return *written_[field];
}

std::size_t OdbcRowset::ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) {
  const bool fromReader = !keepsRows_ && !inserted_ && !(anyWritten_ && (written_[field] || stale_[field]));
  return fromReader ? reader_->ReadChunk(field, buffer, capacity) : ChunkOf(Value(field), buffer, capacity);
}

std::size_t OdbcRowset::ChunkOf(const Variant& value, std::byte* buffer, std::size_t capacity) {
  if (chunkField_ == SIZE_MAX) chunkOffset_ = 0;
  const auto* text = value.If<std::string>();
  const auto* bytes = value.If<runtime::Bytes>();
  const auto* data = text ? reinterpret_cast<const std::byte*>(text->data()) : bytes ? bytes->data() : nullptr;
  const std::size_t size = text ? text->size() : bytes ? bytes->size() : 0;
  std::size_t count = std::min(capacity, size - std::min(size, chunkOffset_));
  if (text && chunkOffset_ + count < size) {
    while (count > 0 && (static_cast<unsigned char>((*text)[chunkOffset_ + count]) & 0xC0U) == 0x80U) --count;
  }
  if (count > 0) std::memcpy(buffer, data + chunkOffset_, count);
  chunkOffset_ += count;
  chunkField_ = count == 0 ? SIZE_MAX : 0;
  return count;
}

void OdbcRowset::Remember(std::span<const Assignment> values) {
  for (const auto& value : values) {
    const auto* whole = std::get_if<Variant>(&value.value);
    // A value that went in pieces is read from the backend when it is asked for.
    written_[value.field] = whole ? std::optional<Variant>(*whole) : std::nullopt;
    stale_[value.field] = !whole;
  }
  anyWritten_ = true;
}

void OdbcRowset::ReadToTheEnd() {
  if (!executed_ || exhausted_) return;
  while (Advance()) {
  }
}

void OdbcRowset::Insert(std::span<const Assignment> values) {
  writer_->Insert(values);
  if (keepsRows_ && executed_) {
    ReadToTheEnd();
    rows_.emplace_back(fields_.size(), Variant(runtime::Null{}));
    row_ = rows_.size() - 1;
    for (const auto& value : values) {
      if (const auto* whole = std::get_if<Variant>(&value.value)) rows_.back()[value.field] = *whole;
    }
  }
  written_.assign(fields_.size(), std::nullopt);
  stale_.assign(fields_.size(), false);
  Remember(values);
  inserted_ = true;
}

void OdbcRowset::Update(std::span<const Assignment> values) {
  writer_->Update(values, [this](std::size_t field) { return Value(field); });
  if (!anyWritten_) {
    written_.assign(fields_.size(), std::nullopt);
    stale_.assign(fields_.size(), false);
  }
  Remember(values);
  if (!keepsRows_ || rows_.empty()) return;
  for (const auto& value : values) {
    if (const auto* whole = std::get_if<Variant>(&value.value)) rows_[row_][value.field] = *whole;
  }
}

void OdbcRowset::Delete() {
  writer_->Delete([this](std::size_t field) { return Value(field); });
  if (!keepsRows_ || rows_.empty()) return;
  rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(row_));
  --row_;  // MoveNext then stands on the row after the deleted one
}

}  // namespace tamlo::ado::odbc
