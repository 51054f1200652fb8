#include "ado/odbc/rows/OdbcRowset.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "ado/Errors.h"
#include "ado/Pieces.h"
#include "ado/SameValue.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/statement/Resend.h"
#include "ado/odbc/statement/SqlText.h"
#include "ado/odbc/values/CommandParameters.h"
#include "ado/odbc/values/TypeMap.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

/// A word that is no statement names a table.
bool IsNameAlone(const RowsetRequest& request) {
  static constexpr std::array<std::string_view, 14> kStatements{"ABORT",  "ANALYZE",  "BEGIN",   "CHECKPOINT", "COMMIT",
                                                                "END",    "REINDEX",  "RESET",   "ROLLBACK",   "START",
                                                                "VACUUM", "SHUTDOWN", "DISCARD", "PRAGMA"};
  if (request.options != adOptionUnspecified || !request.parameters.empty()) return false;
  const std::string_view source = runtime::Trim(request.source);
  if (source.empty()) return false;
  const char close = source[0] == '[' ? ']' : source[0] == '"' || source[0] == '`' ? source[0] : '\0';
  if (close != '\0') return source.find(close, 1) == source.size() - 1;
  const auto isNoWord = [](char c) {
    return (c >= '\0' && c <= '#') || (c >= '%' && c <= '/') || (c >= ':' && c <= '@') || c == '{' || c == '\\';
  };
  if (std::any_of(source.begin(), source.end(), isNoWord)) return false;
  return std::find(kStatements.begin(), kStatements.end(), runtime::UpperCase(source)) == kStatements.end();
}

bool IsTable(const RowsetRequest& request) { return request.options == adCmdTableDirect || request.options == adCmdTable; }

bool IsPlainWord(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == ' ';
  });
}

/// A table name of any spelling as statements of this backend name it.
std::string TableText(const Session& session, const std::string& source) {
  const std::string_view trimmed = runtime::Trim(source);
  const char first = trimmed.empty() ? ' ' : trimmed.front();
  if (first == '[') return session.Quoted(PlainName(trimmed));
  return first == '"' || first == '`' ? std::string(trimmed) : session.Quoted(std::string(trimmed));
}

}  // namespace

OdbcRowset::OdbcRowset(std::shared_ptr<Session> session, const RowsetRequest& request)
    : session_(std::move(session)), statement_(session_, request.timeoutSeconds), values_(request.parameters) {
  std::optional<std::string> table;
  std::string sql;
  if (IsTable(request) || IsNameAlone(request)) {
    table = !IsTable(request) && session_->Facts().foldsNames && IsPlainWord(request.source) ? std::string(runtime::Trim(request.source))
                                                                                             : TableText(*session_, request.source);
    sql = "SELECT * FROM " + *table;
  } else {
    sql = WithoutComments(request.source);
    table = BaseTableOf(sql);
    // Brackets are not every driver's own marks: psqlODBC takes "[$T$]" for the beginning of a dollar-quoted text.
    if (table && table->starts_with('[') && table->find("].") == std::string::npos) table = TableText(*session_, *table);
  }
  bound_ = BoundTexts(sql, session_->Facts());
  sql = bound_.Sql();
  if (ChangesSchema(sql)) session_->SchemaChanged();
  isSingle_ = IsSingleChangeOrQuery(sql);
  sql_ = std::move(sql);
  if (request.anotherWay) mode_ = ReadMode::kServerText;
  LearnOthersDefinitions(session_);
  statement_.Prepare(sql_);
  BindParameters();
  Describe();
  if (fields_.empty()) {
    // It has run: what its later parts have to say belongs to it.
    if (request.affected != nullptr) *request.affected = statement_.RowsAffected();
    statement_.FinishResults();
    return;
  }
  if (table && request.lock > adLockReadOnly && HasColumnsOfATable()) writer_.emplace(session_, *table, fields_, columns_);
  const bool client = request.location == adUseClient && request.cursor != adOpenForwardOnly;
  keepsRows_ = request.cursor == adOpenStatic || client;
  static_ = request.cursor == adOpenStatic || (client && (request.cursor != adOpenDynamic || !writer_));
}

/// Where the driver tells the tables of columns, a query of expressions alone shows no rows of one.
bool OdbcRowset::HasColumnsOfATable() const {
  if (!session_->Facts().tellsTables) return true;
  return std::any_of(columns_.begin(), columns_.end(), [](const ColumnDescription& column) { return !column.table.empty(); });
}

void OdbcRowset::BindParameters() {
  if (bound_.NeedsNone() && values_.empty()) return;
  parameters_ = std::make_unique<ParameterSet>(statement_);
  bound_.AddTo(*parameters_, statement_, values_, session_->Facts());
}

/// What was prepared describes the query; what is executed may be another text, that gives its values as they are.
void OdbcRowset::PrepareReading() {
  const ReadPlan plan = PlanReading(sql_, fields_, columns_, *session_, mode_);
  if (!plan.sql.empty()) {
    if (executed_) statement_.CloseCursor();
    executed_ = false;
    statement_.Prepare(plan.sql);
    BindParameters();
  }
  reader_.emplace(statement_, fields_, columns_, plan);
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
  described_ = true;
  if (executed_) PrepareReading();
}

void OdbcRowset::ExecuteQuery() {
  if (described_ && !reader_) PrepareReading();
  if (executed_) statement_.CloseCursor();
  executed_ = false;
  Resending(*session_, isSingle_, [&] {
    if (parameters_) {
      parameters_->Execute();
    } else {
      statement_.Execute();
    }
  });
  executed_ = true;
  fresh_ = true;
  moreResults_ = !isSingle_;
  if (!reader_) return;
  CheckColumns();
  reader_->Restart();
}

/// Another connection may have changed the table since it was described: values would stand under the names of others.
void OdbcRowset::CheckColumns() {
  bool same = statement_.ColumnCount() == reader_->ColumnCount();
  for (std::size_t i = 0; same && i < columns_.size(); ++i)
    same = columns_[i].name.empty() || statement_.ColumnName(i + 1) == columns_[i].name;
  if (same) return;
  statement_.CloseCursor();
  executed_ = fresh_ = false;
  throw runtime::Error(runtime::kProviderFailure, "Les colonnes de la requête ont changé depuis son ouverture.", "odbc");
}

bool OdbcRowset::MoveFirst() {
  inserted_ = false;
  LeaveRow();
  if (keepsRows_ && executed_ && !fresh_) {
    return StandOnNextKept(0);
  }
  if (!executed_ || !fresh_) ExecuteQuery();
  const bool found = Advance();
  if (found && static_) ReadToTheEnd();
  return found;
}

void OdbcRowset::LeaveRow() {
  if (!changes_ && chunkField_ == SIZE_MAX && chunkValue_.IsEmpty()) return;
  changes_.reset();
  chunkField_ = SIZE_MAX;
  chunkValue_ = Variant();
}

bool OdbcRowset::Advance() {
  fresh_ = false;
  if (!unkept_ && !reader_->Next()) {
    exhausted_ = true;
    // A procedure has another result behind its rows, without which the connection takes no other statement (MariaDB: "Commands out of sync").
    if (std::exchange(moreResults_, false)) statement_.FinishResults();
    return false;
  }
  if (keepsRows_) KeepCurrentRow();
  return true;
}

void OdbcRowset::KeepCurrentRow() {
  if (!unkept_) {
    read_.resize(fields_.size());
    for (std::size_t i = 0; i < fields_.size(); ++i) read_[i] = reader_->Value(i);
  }
  unkept_ = true;
  rows_.Add(read_);
  unkept_ = false;
  row_ = KeptCount() - 1;
}

std::size_t OdbcRowset::KeptCount() const { return rows_.Count() - (hole_ ? 1 : 0); }

std::size_t OdbcRowset::Place(std::size_t position) const { return hole_ && position >= *hole_ ? position + 1 : position; }

bool OdbcRowset::IsGone(std::size_t position) const {
  if (marks_.empty()) return false;
  const auto mark = marks_.find(position);
  return mark != marks_.end() && mark->second.gone;
}

bool OdbcRowset::MoveNext() {
  if (inserted_) return false;
  LeaveRow();
  return keepsRows_ ? StandOnNextKept(row_ + 1) : Advance();
}

bool OdbcRowset::StandOnNextKept(std::size_t from) {
  for (; from < KeptCount(); ++from) {
    if (IsGone(from)) continue;
    row_ = from;
    return true;
  }
  return !exhausted_ && Advance();
}

std::size_t OdbcRowset::RowCount() {
  if (!keepsRows_) return ProviderRowset::RowCount();
  if (executed_) {
    ReadToTheEnd();
    return KeptCount();
  }
  auto inserted = inserted_ ? std::move(changes_) : nullptr;
  LeaveRow();
  try {
    ExecuteQuery();
    fresh_ = false;
    while (Advance()) {
    }
  } catch (...) {
    ForgetRows();
    changes_ = std::move(inserted);
    throw;
  }
  row_ = 0;
  if (inserted) TakeInsertedRow(std::move(inserted));
  return KeptCount();
}

/// As before the query ran.
void OdbcRowset::ForgetRows() noexcept {
  if (executed_) statement_.CloseCursor();
  executed_ = fresh_ = exhausted_ = unkept_ = false;
  rows_.Clear();
  marks_.clear();
  row_ = 0;
}

/// The query has met the row that was added before it ran: it is the current one, and comes last as every added one.
void OdbcRowset::TakeInsertedRow(std::unique_ptr<Changes> inserted) {
  if (!inserted->asStored) ReadBack(*inserted);
  const Row& values = *inserted->asStored;
  const auto isMet = [&](const Row& row) { return std::equal(row.begin(), row.end(), values.begin(), values.end(), SameValue); };
  std::size_t met = KeptCount();
  while (met > 0 && !isMet(Kept(met - 1))) --met;
  if (met > 0) hole_ = met - 1;
  rows_.AddInMemory(values);
  row_ = KeptCount() - 1;
}

bool OdbcRowset::MoveTo(std::size_t position) {
  if (position >= RowCount() || IsGone(position)) return false;
  inserted_ = false;
  LeaveRow();
  row_ = position;
  return true;
}

std::optional<std::size_t> OdbcRowset::Position() const { return IsKept() && executed_ ? std::optional<std::size_t>(row_) : std::nullopt; }

Variant OdbcRowset::Converted(std::size_t field, const Variant& value) {
  if (!writer_ || session_->GeneralNumbers() || value.IsNull() || value.IsEmpty()) return value;
  try {
    return writer_->Converted(field, value);
  } catch (const runtime::Error& error) {
    const bool wrongType = error.Number() == runtime::kTypeMismatch;
    const std::int32_t number = wrongType ? runtime::kDataConversion : runtime::kValueRefused;
    const bool told = error.Number() == runtime::kProviderFailure;
    throw told ? runtime::Error(number, error.Description(), "odbc") : AdoError(number, fields_[field].name);
  }
}

bool OdbcRowset::Refresh() {
  if (!IsKept() || !writer_) return ProviderRowset::Refresh();
  std::vector<std::optional<Variant>> known;
  for (std::size_t i = 0; i < fields_.size(); ++i) known.push_back(OldValue(i));
  if (!writer_->HasKey(known)) return ProviderRowset::Refresh();
  auto now = writer_->ReadBack(known, std::nullopt);
  LeaveRow();
  if (!now) {
    marks_[row_].gone = true;
    return false;
  }
  rows_.Replace(Place(row_), *std::move(now));
  marks_.erase(row_);
  return true;
}

bool OdbcRowset::IsKept() const { return keepsRows_ && row_ < KeptCount(); }

OdbcRowset::Changes* OdbcRowset::CurrentChanges() const {
  if (!IsKept()) return changes_.get();
  if (marks_.empty()) return nullptr;
  const auto mark = marks_.find(row_);
  return mark == marks_.end() ? nullptr : mark->second.changes.get();
}

std::unique_ptr<OdbcRowset::Changes>& OdbcRowset::ChangesToWrite() { return IsKept() ? marks_[row_].changes : changes_; }

Variant OdbcRowset::Stored(std::size_t field) { return IsKept() ? Kept(row_)[field] : reader_->Value(field); }

Variant OdbcRowset::Value(std::size_t field) {
  if (!keepsRows_ && !changes_) return reader_->Value(field);
  Changes* const changes = CurrentChanges();
  if (!changes || (!changes->inserted && !changes->Touches(field))) return Stored(field);
  if (!changes->asStored) ReadBack(*changes);
  if (!IsKept()) return changes->asStored->at(field);
  // A kept row has its values from now on.
  Row values = Kept(row_);
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    if (changes->inserted || changes->Touches(i)) values[i] = std::move(changes->asStored->at(i));
  }
  marks_.erase(row_);
  rows_.Replace(Place(row_), std::move(values));
  return Kept(row_)[field];
}

void OdbcRowset::ReadBack(Changes& changes) {
  std::vector<std::optional<Variant>> known = changes.written;
  for (std::size_t i = 0; i < known.size() && !changes.inserted; ++i) {
    if (!changes.Touches(i)) known[i] = Stored(i);
  }
  changes.asStored = writer_->ReadBack(known, changes.counter);
  if (!changes.asStored && changes.inserted && inserted_ && !changes.counterAsked) {
    AskForCounter(changes);
    if (changes.counter) changes.asStored = writer_->ReadBack(known, changes.counter);
  }
  if (changes.asStored) return;
  // Not to be found again: what is known of it.
  changes.asStored.emplace();
  for (auto& value : known) changes.asStored->push_back(value ? std::move(*value) : Variant(runtime::Null{}));
}

Variant OdbcRowset::OldValue(std::size_t field) {
  const Changes* const changes = CurrentChanges();
  return changes && changes->written[field] ? *changes->written[field] : Value(field);
}

std::optional<Variant> OdbcRowset::AtHand(std::size_t field) {
  const Changes* const changes = CurrentChanges();
  if (changes && (changes->inserted || changes->Touches(field))) {
    return changes->asStored ? std::optional<Variant>(changes->asStored->at(field)) : changes->written[field];
  }
  return IsKept() ? std::optional<Variant>(Kept(row_)[field]) : reader_->AtHand(field);
}

RowWriter::RowImage OdbcRowset::OldRow() {
  return {[this](std::size_t field) { return OldValue(field); }, [this](std::size_t field) { return AtHand(field); },
          [this](std::size_t field) {
            const Changes* const changes = CurrentChanges();
            return changes && changes->Touches(field) && !changes->asStored;
          }};
}

std::size_t OdbcRowset::ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) {
  const Changes* const changes = CurrentChanges();
  const bool fromReader = !IsKept() && !(changes && (changes->inserted || changes->Touches(field)));
  return fromReader ? reader_->ReadChunk(field, buffer, capacity) : ChunkOf(field, buffer, capacity);
}

std::size_t OdbcRowset::ChunkOf(std::size_t field, std::byte* buffer, std::size_t capacity) {
  if (std::exchange(chunkField_, field) != field) {
    chunkOffset_ = 0;
    chunkValue_ = Value(field);
  }
  const std::size_t count = PieceOf(chunkValue_, chunkOffset_, buffer, capacity);
  if (count == 0) chunkField_ = SIZE_MAX;
  return count;
}

void OdbcRowset::Remember(std::span<const Assignment> values, bool inserted) {
  auto& changes = ChangesToWrite();
  if (!changes) {
    changes = std::make_unique<Changes>();
    changes->written.resize(fields_.size());
    changes->pieces.resize(fields_.size());
    changes->inserted = inserted;
  } else if (changes->asStored) {
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      if (changes->inserted && !changes->Touches(i)) changes->written[i] = std::move(changes->asStored->at(i));
    }
    changes->asStored.reset();
  }
  for (const auto& value : values) {
    const auto* whole = std::get_if<Variant>(&value.value);
    changes->written[value.field] = whole ? std::optional<Variant>(*whole) : std::nullopt;
    changes->pieces[value.field] = !whole;
  }
  chunkField_ = SIZE_MAX;
}

void OdbcRowset::ReadToTheEnd() {
  const std::size_t row = row_;
  try {
    while (!exhausted_ && Advance()) {
    }
  } catch (...) {
    row_ = row;
    throw;
  }
  row_ = row;
}

void OdbcRowset::Insert(std::span<const Assignment> values) {
  const bool keep = keepsRows_ && executed_;
  if (keep) ReadToTheEnd();  // before the query can meet the new row
  writer_->Insert(values);
  changes_.reset();
  if (keep) {
    rows_.AddInMemory(Row(fields_.size(), Variant(runtime::Null{})));
    row_ = KeptCount() - 1;
  }
  Remember(values, true);
  inserted_ = true;
  // The row is written: a failure of the asking is none of the writing.
  if (MayHaveCounter(*CurrentChanges())) (void)runtime::IgnoringErrors([&] { AskForCounter(*CurrentChanges()); });
}

/// Where the fields tell of a counter it is asked for at once: another row inserted on this connection would answer for this one.
bool OdbcRowset::MayHaveCounter(const Changes& changes) const {
  const bool anyNumberCounts = session_->Facts().anyNumberCounts;
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    if (!changes.Touches(i) && IsCountingType(fields_[i].type) && (fields_[i].autoIncrement || anyNumberCounts)) return true;
  }
  return false;
}

void OdbcRowset::AskForCounter(Changes& changes) {
  changes.counterAsked = true;
  changes.counter = writer_->LastCounter();
  // Given by the caller: it counts for nothing.
  if (changes.counter && changes.Touches(changes.counter->field)) changes.counter.reset();
}

void OdbcRowset::Update(std::span<const Assignment> values) {
  writer_->Update(values, OldRow());
  Remember(values, false);
}

void OdbcRowset::Delete() {
  writer_->Delete(OldRow());
  LeaveRow();
  if (!IsKept()) return;
  inserted_ = false;
  marks_[row_].gone = true;  // MoveNext then stands on the row after it
}

}  // namespace tamlo::ado::odbc
