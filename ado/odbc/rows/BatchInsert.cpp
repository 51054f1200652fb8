#include "ado/odbc/rows/BatchInsert.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "ado/odbc/driver/Diagnostics.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/driver/WideText.h"
#include "ado/odbc/statement/Resend.h"
#include "ado/odbc/statement/SqlText.h"
#include "ado/odbc/values/Encode.h"
#include "ado/odbc/values/ParameterSet.h"
#include "ado/odbc/values/TypeMap.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

constexpr std::size_t kBatchBytes = 4 * 1024 * 1024;  // of the slots of all columns together
constexpr std::size_t kFirstTextSlot = 64;
constexpr std::size_t kFirstSlots = 256;
constexpr std::size_t kFewRows = 16;

/// A point inside the caller's transaction to which a failed batch returns.
class Savepoint {
 public:
  explicit Savepoint(const std::shared_ptr<Session>& session) : session_(session) { Run(session_->Facts().savepoint); }
  /// Forgets it, where the backend keeps savepoints until they are released.
  void Release() {
    const std::string_view release = session_->Facts().releaseSavepoint;
    if (!release.empty()) Run(release);
  }
  void Undo() {
    try {
      Run(session_->Facts().undoToSavepoint);
    } catch (const runtime::Error& error) {
      // Gone with the whole transaction, which the driver has not told of a single row of an array.
      const std::int32_t gone = session_->Facts().savepointGone;
      if (gone != 0 && error.NativeCode() == gone) session_->TransactionWasUndone();
      throw;
    }
  }

 private:
  void Run(std::string_view sql) {
    Statement statement(session_);
    statement.ExecuteDirect(sql);
  }
  std::shared_ptr<Session> session_;
};

/// Runs a query with one text for its parameter; each is called on every row of the answer.
template <typename Each>
void AskOf(const std::shared_ptr<Session>& session, std::string_view query, const std::string& text, Each each) {
  Statement statement(session);
  statement.Prepare(query);
  ParameterSet parameters(statement);
  ParameterShape shape;
  shape.nativeType = SQL_C_WCHAR;
  shape.sqlType = SQL_WVARCHAR;
  parameters.Add(Variant(text), shape);
  parameters.Execute();
  while (statement.Fetch()) each(statement);
}

}  // namespace

BatchInsert::BatchInsert(std::shared_ptr<Session> session, const std::string& table, std::vector<std::string> columns,
                         const std::string& owner)
    : session_(std::move(session)),
      tableName_(table),
      owner_(owner),
      tableText_((owner.empty() ? "" : session_->Quoted(owner) + ".") + session_->Quoted(table)) {
  columns_.resize(columns.size());
  for (std::size_t i = 0; i < columns.size(); ++i) columns_[i].name = std::move(columns[i]);
  LearnOthersDefinitions(session_);
  Describe();
  ChooseMethod();
}

void BatchInsert::Describe() {
  std::string names;
  for (const auto& column : columns_) names += (names.empty() ? "" : ", ") + session_->Quoted(column.name);
  Statement statement(session_);
  statement.Prepare("SELECT " + names + " FROM " + tableText_);
  if (statement.ColumnCount() == 0) statement.Execute();
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    const ColumnDescription description = statement.Describe(i + 1);
    const FieldInfo field = ToFieldInfo(description, session_->Facts());
    columns_[i].shape = ShapeFor(field, description.sqlType, session_->Facts());
    columns_[i].shape.column = columns_[i].name;
    columns_[i].hasDefault = field.autoIncrement;
    columns_[i].stride = columns_[i].shape.fixedSize != 0 ? columns_[i].shape.fixedSize : kFirstTextSlot;
  }
}

void BatchInsert::ChooseMethod() {
  const auto& facts = session_->Facts();
  method_ = facts.batch;
  if (method_ == BatchMethod::kArray && facts.testArrays && !ArraysWork()) method_ = BatchMethod::kRowByRow;
  if (method_ == BatchMethod::kColumnArrays && !LearnElementTypes()) method_ = BatchMethod::kMultiRowValues;
  capacity_ = method_ == BatchMethod::kRowByRow ? 1 : method_ == BatchMethod::kColumnArrays ? facts.arrayRows : facts.batchRows;
  if (facts.batchParameters > 0 && method_ != BatchMethod::kColumnArrays)
    capacity_ = std::min(capacity_, facts.batchParameters / std::max<std::size_t>(columns_.size(), 1));
  std::size_t rowBytes = 0;
  for (const auto& column : columns_) rowBytes += column.stride;
  capacity_ = std::clamp<std::size_t>(kBatchBytes / std::max<std::size_t>(rowBytes, 1), 1, std::max<std::size_t>(capacity_, 1));
  MakeSlots(std::min(capacity_, kFirstSlots));
}

void BatchInsert::MakeSlots(std::size_t slots) {
  slots_ = slots;
  for (auto& column : columns_) {
    column.data.resize(column.stride * slots_);
    column.indicators.resize(slots_);
  }
  bound_ = false;
}

/// False where a column's values cannot stand in an array.
bool BatchInsert::LearnElementTypes() {
  AskOf(session_, session_->Facts().elementTypes, tableText_, [this](Statement& answer) {
    const auto name = answer.Text(1);
    for (Column& column : columns_)
      if (column.name == name) column.elementType = answer.Text(2).value_or("");
  });
  return std::all_of(columns_.begin(), columns_.end(),
                     [](const Column& column) { return !column.elementType.empty() && StandsInArrays(column.shape); });
}

/// Some drivers take an array and store its first row again and again: three different rows are written and read back, once for each session.
bool BatchInsert::ArraysWork() {
  auto& facts = session_->MutableFacts();
  facts.testArrays = false;
  facts.batch = BatchMethod::kRowByRow;
  if (session_->InTransaction()) {
    facts.testArrays = true;  // defining a table may end a transaction: asked again another time
    facts.batch = BatchMethod::kArray;
    return false;
  }
  std::string seen;
  const auto failure = runtime::IgnoringErrors([&] {
    Statement create(session_);
    create.ExecuteDirect("CREATE TABLE TAMLO_ARRAY_TEST (A INTEGER)");
    {
      std::int32_t values[] = {11, 22, 33};
      SQLLEN indicators[] = {sizeof(std::int32_t), sizeof(std::int32_t), sizeof(std::int32_t)};
      Statement insert(session_);
      insert.Prepare("INSERT INTO TAMLO_ARRAY_TEST (A) VALUES (?)");
      insert.SetAttribute(SQL_ATTR_PARAMSET_SIZE, std::size_t{3});
      insert.Check(
          SQLBindParameter(insert.Native(), 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 10, 0, values, sizeof(std::int32_t), indicators));
      insert.Execute();
    }
    Statement select(session_);
    select.ExecuteDirect("SELECT A FROM TAMLO_ARRAY_TEST ORDER BY A");
    while (select.Fetch()) seen += std::to_string(select.Integer(1, 0)) + " ";
  });
  (void)runtime::IgnoringErrors([&] {
    Statement drop(session_);
    drop.ExecuteDirect("DROP TABLE TAMLO_ARRAY_TEST");
  });
  if (failure || seen != "11 22 33 ") return false;
  facts.batch = BatchMethod::kArray;
  return true;
}

void BatchInsert::LearnDefaults() {
  if (defaultsKnown_) return;
  defaultsKnown_ = true;
  auto catalog = ToUtf16(session_->Facts().catalog);
  auto owner = ToUtf16(owner_);
  auto table = ToUtf16(session_->Pattern(tableName_));
  Statement statement(session_);
  statement.Check(SQLColumnsW(statement.Native(), catalog.empty() ? nullptr : reinterpret_cast<SQLWCHAR*>(catalog.data()),
                              static_cast<SQLSMALLINT>(catalog.size()), owner.empty() ? nullptr : reinterpret_cast<SQLWCHAR*>(owner.data()),
                              static_cast<SQLSMALLINT>(owner.size()), reinterpret_cast<SQLWCHAR*>(table.data()),
                              static_cast<SQLSMALLINT>(table.size()), nullptr, 0));
  const std::string wanted = runtime::UpperCase(tableName_);
  while (statement.FetchCatalogRow()) {
    if (runtime::UpperCase(statement.Text(3).value_or("")) != wanted) continue;
    const std::string name = runtime::UpperCase(statement.Text(4).value_or(""));
    const std::int64_t nullable = statement.Integer(11, SQL_NULLABLE);
    const std::string value = runtime::UpperCase(statement.Text(13).value_or("NULL"));
    for (auto& column : columns_) {
      // A required column cannot take a null: leaving it out lets the backend decide.
      if (runtime::UpperCase(column.name) == name && (value != "NULL" || nullable == SQL_NO_NULLS)) column.hasDefault = true;
    }
  }
}

void BatchInsert::ChooseLeftColumns(std::span<const Variant> row) {
  bool changed = false;
  for (std::size_t i = 0; i < row.size(); ++i) {
    if (row[i].IsEmpty()) LearnDefaults();
    const bool left = row[i].IsEmpty() && columns_[i].hasDefault;
    changed = changed || left != columns_[i].left;
  }
  if (!changed) return;
  Flush();
  for (std::size_t i = 0; i < row.size(); ++i) columns_[i].left = row[i].IsEmpty() && columns_[i].hasDefault;
  batch_.reset();
  single_.reset();
}

void BatchInsert::Add(std::span<const Variant> row) {
  refused_ = 0;
  if (lost_) throw *lost_;
  ChooseLeftColumns(row);
  if (held_ >= capacity_) Flush();  // a connection that was lost has left it full
  Hold(row);
  if (held_ >= capacity_ || heldBytes_ >= kBatchBytes) Flush();
}

void BatchInsert::Grow(Column& column, std::size_t bytes) {
  const std::size_t stride = std::max(bytes, column.stride * 2);
  // Few very long values must not make room for as many of them in every slot.
  if (held_ > 0 && stride * capacity_ > kBatchBytes) {
    Flush();
  }
  if (stride * capacity_ > kBatchBytes) {
    capacity_ = std::max<std::size_t>(kBatchBytes / stride, 1);
    slots_ = std::min(slots_, capacity_);  // the other columns keep theirs: values of the row at hand may still stand behind
    batch_.reset();
  }
  std::vector<std::byte> wider(stride * slots_);
  for (std::size_t i = 0; i < held_; ++i) std::memcpy(wider.data() + i * stride, column.data.data() + i * column.stride, column.stride);
  column.data = std::move(wider);
  column.stride = stride;
  bound_ = false;
}

void BatchInsert::Hold(std::span<const Variant> row) {
  if (held_ == slots_) MakeSlots(std::min(capacity_, slots_ * 2));
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    auto& column = columns_[i];
    if (column.left) continue;
    const auto slot = std::span(column.data).subspan(held_ * column.stride, column.stride);
    if (const std::size_t usual = EncodeUsual(row[i], column.shape, slot)) {
      column.indicators[held_] = static_cast<std::ptrdiff_t>(usual);
      heldBytes_ += usual;
      continue;
    }
    scratch_.clear();
    try {
      if (!Encode(row[i], column.shape, scratch_)) {
        column.indicators[held_] = SQL_NULL_DATA;
        continue;
      }
    } catch (runtime::Error& error) {
      const std::string number = NumberOf(static_cast<std::int64_t>(held_));
      Flush();  // those before it are stored, or one of them is the error
      ++done_;  // the row is refused: those behind it keep their numbers
      refused_ = done_;
      throw error.WithContext("ligne " + number + ", colonne " + column.name);
    }
    if (scratch_.size() > column.stride) {
      // Growing may send the rows before this one; its values that are held already move to the front.
      const std::size_t from = held_;
      Grow(column, scratch_.size());
      for (std::size_t j = 0; j < i && from != held_; ++j) {
        auto& earlier = columns_[j];
        std::memmove(earlier.data.data() + held_ * earlier.stride, earlier.data.data() + from * earlier.stride, earlier.stride);
        earlier.indicators[held_] = earlier.indicators[from];
      }
    }
    std::copy(scratch_.begin(), scratch_.end(), column.data.begin() + static_cast<std::ptrdiff_t>(held_ * column.stride));
    column.indicators[held_] = static_cast<std::ptrdiff_t>(scratch_.size());
    heldBytes_ += scratch_.size();
  }
  ++held_;
}

std::string BatchInsert::InsertText(std::size_t rows) const {
  const std::string insert = std::string(session_->Facts().insertWords) + tableText_;
  std::string names;
  std::string marks;
  for (const auto& column : columns_) {
    if (column.left) continue;
    names += (names.empty() ? "" : ", ") + session_->Quoted(column.name);
    marks += marks.empty() ? "?" : ",?";
  }
  if (names.empty()) {
    return insert + std::string(session_->Facts().emptyRow);
  }
  std::string sql = insert + " (" + names + ") VALUES (" + marks + ")";
  for (std::size_t i = 1; i < rows; ++i) sql += ",(" + marks + ")";
  return sql;
}

std::string BatchInsert::InsertArraysText() const {
  std::string names;
  std::string arrays;
  for (const auto& column : columns_) {
    if (column.left) continue;
    names += (names.empty() ? "" : ", ") + session_->Quoted(column.name);
    arrays += (arrays.empty() ? "CAST(? AS " : ", CAST(? AS ") + column.elementType + "[])";
  }
  if (names.empty()) return InsertText(1);
  return "INSERT INTO " + tableText_ + " (" + names + ") SELECT * FROM unnest(" + arrays + ")";
}

void BatchInsert::BindRow(Statement& statement, std::size_t row, std::size_t firstParameter, bool bytesOnly) {
  std::size_t parameter = firstParameter;
  for (auto& column : columns_) {
    if (column.left) continue;
    const auto& shape = column.shape;
    if (bytesOnly && shape.form != ParameterShape::Form::kBytes) {
      ++parameter;
      continue;
    }
    const std::size_t unit = shape.nativeType == SQL_C_WCHAR ? sizeof(char16_t) : 1;
    const std::size_t size = shape.fixedSize != 0 ? shape.columnSize : std::max<std::size_t>({shape.columnSize, column.stride / unit, 1});
    statement.Check(SQLBindParameter(statement.Native(), static_cast<SQLUSMALLINT>(parameter++), SQL_PARAM_INPUT, shape.nativeType,
                                     shape.sqlType, size, shape.digits, column.data.data() + row * column.stride,
                                     static_cast<SQLLEN>(column.stride), AsNativeLengths(&column.indicators[row])));
  }
}

void BatchInsert::BindArrays(Statement& statement) {
  if (bound_) return;
  BindRow(statement, 0, 1);
  bound_ = true;
}

bool BatchInsert::ExecuteArray(Statement& statement, std::size_t rows) {
  std::vector<SQLUSMALLINT> status(rows, SQL_PARAM_UNUSED);
  SQLULEN processed = 0;
  statement.SetAttribute(SQL_ATTR_PARAMSET_SIZE, rows);
  statement.SetAttribute(SQL_ATTR_PARAM_STATUS_PTR, static_cast<void*>(status.data()));
  statement.SetAttribute(SQL_ATTR_PARAMS_PROCESSED_PTR, static_cast<void*>(&processed));
  BindArrays(statement);
  statement.Execute();
  const bool allStored = std::all_of(status.begin(), status.end(), [](SQLUSMALLINT one) {
    return one == SQL_PARAM_SUCCESS || one == SQL_PARAM_SUCCESS_WITH_INFO || one == SQL_PARAM_DIAG_UNAVAILABLE;
  });
  const std::int64_t affected = statement.RowsAffected();
  return allStored && processed == rows && (affected < 0 || affected == static_cast<std::int64_t>(rows));
}

bool BatchInsert::HasBytes() const {
  return std::any_of(columns_.begin(), columns_.end(),
                     [](const Column& column) { return !column.left && column.shape.form == ParameterShape::Form::kBytes; });
}

bool BatchInsert::ExecuteRows(Statement& statement, std::size_t rows) {
  const bool again = bound_ && session_->Facts().keepsByteLengths && HasBytes();
  if (!bound_ || again) {
    std::size_t parameter = 1;
    const auto used =
        static_cast<std::size_t>(std::count_if(columns_.begin(), columns_.end(), [](const Column& column) { return !column.left; }));
    for (std::size_t row = 0; row < rows; ++row, parameter += used) BindRow(statement, row, parameter, again);
    bound_ = true;
  }
  statement.Execute();
  const std::int64_t affected = statement.RowsAffected();
  return affected < 0 || affected == static_cast<std::int64_t>(rows);
}

bool BatchInsert::ExecuteColumnArrays(Statement& statement, std::size_t rows) {
  std::size_t parameter = 1;
  for (Column& column : columns_) {
    if (column.left) continue;
    column.array.Fill(column.shape, column.data, column.stride, column.indicators, rows);
    column.array.Bind(statement, parameter++);
  }
  statement.Execute();
  return statement.RowsAffected() == static_cast<std::int64_t>(rows);
}

/// Asked once for each table, before its first batch. A view tells no engine and counts as one that undoes.
bool BatchInsert::KeepsRowsOfFailedBatches() {
  if (keepsRows_) return *keepsRows_;
  const std::string_view query = session_->Facts().transactionalTables;
  if (query.empty()) return *(keepsRows_ = false);
  // Names that differ by case or accents alone are all found: to take one of them for a table that keeps rows costs time only.
  bool keeps = false;
  AskOf(session_, query, tableName_, [&](Statement& answer) { keeps = keeps || answer.Text(1).value_or("NO") != "YES"; });
  return *(keepsRows_ = keeps);
}

std::int64_t BatchInsert::CountRows() {
  Statement statement(session_);
  statement.ExecuteDirect("SELECT COUNT(*) FROM " + tableText_);
  return statement.Fetch() ? statement.Integer(1, 0) : 0;
}

/// Sends the first rows of those held; false when they were undone, so that they are to be sent in smaller pieces.
bool BatchInsert::SendBatch(std::size_t rows) {
  bool stored = false;
  try {
    Resending(*session_, true, [&] { stored = TryBatch(rows); });
  } catch (runtime::Error& error) {
    if (lost_) throw;
    throw error.WithContext("lignes " + NumberOf(0) + " à " + NumberOf(static_cast<std::int64_t>(rows) - 1));
  }
  return stored;
}

/// The rows of the table where a failed batch would leave some of its own.
std::optional<std::int64_t> BatchInsert::CountWhereKept() {
  std::optional<std::int64_t> count;
  (void)runtime::IgnoringErrors([&] {
    if (KeepsRowsOfFailedBatches()) count = CountRows();
  });
  return count;
}

bool BatchInsert::ExecuteBatch(std::size_t rows) {
  const std::size_t written = method_ == BatchMethod::kMultiRowValues ? rows : 1;
  if (!batch_ || preparedRows_ != written) {
    batch_.emplace(session_);
    batch_->Prepare(method_ == BatchMethod::kColumnArrays ? InsertArraysText() : InsertText(written));
    preparedRows_ = written;
    bound_ = false;
  }
  switch (method_) {
    case BatchMethod::kArray:
      return ExecuteArray(*batch_, rows);
    case BatchMethod::kColumnArrays:
      return ExecuteColumnArrays(*batch_, rows);
    default:
      return ExecuteRows(*batch_, rows);
  }
}

/// Raises the failure of a batch behind which nothing may be sent in pieces: the server has undone the whole transaction, where pieces would
/// meet the same or a caller's transaction is gone, or the connection is lost.
void BatchInsert::RaiseWhatEnds(const runtime::Error& failure, bool outer, bool stored, bool counted, std::size_t rows) {
  const bool undone = UndoneWhole(failure, session_->Facts());
  if (undone && outer) pending_ = 0;
  if (undone && !counted) throw runtime::Error(failure);
  // A commit whose answer was lost may have been heard. Where a batch can be undone, one that was not committed is not there.
  const bool mayStay = (stored && !outer) || keepsRows_.value_or(true) || !session_->Facts().undoesBatches;
  if (IsLost(failure) || (!outer && session_->InTransaction())) Lose(failure, mayStay ? rows : 0);
}

/// Lets the rows go that a failed batch has stored: they stand before the refused one, and the table knows how many it holds without counting
/// them.
void BatchInsert::DropKept(std::int64_t before, std::size_t rows) {
  std::int64_t kept = 0;
  (void)runtime::IgnoringErrors([&] { kept = CountRows() - before; });
  if (kept > 0) DropStored(std::min(static_cast<std::size_t>(kept), rows));
}

/// The same once.
bool BatchInsert::TryBatch(std::size_t rows) {
  waited_ = false;
  const bool outer = session_->InTransaction();
  if (outer && session_->Facts().savepoint.empty()) return false;
  const std::optional<std::int64_t> before = CountWhereKept();
  std::optional<Savepoint> savepoint;
  std::optional<TransactionScope> scope;
  std::optional<runtime::Error> failure;
  bool stored = false;
  try {
    if (outer) savepoint.emplace(session_);
    scope.emplace(*session_);
    stored = ExecuteBatch(rows);
    if (stored) scope->Commit();
  } catch (const runtime::Error& error) {
    waited_ = IsLockTimeout(error);
    failure = error;
  }
  if (stored && !failure) {
    if (savepoint) savepoint->Release();
    return true;
  }
  scope.reset();
  batch_.reset();
  if (failure) RaiseWhatEnds(*failure, outer, stored, before.has_value(), rows);
  if (savepoint) savepoint->Undo();
  if (before) DropKept(*before, rows);
  return false;
}

void BatchInsert::SendRowByRow(std::size_t rows) {
  for (std::size_t row = 0; row < rows; ++row) {
    try {
      Resending(*session_, true, [&] {
        if (!single_) {
          single_.emplace(session_);
          single_->Prepare(InsertText(1));
        }
        BindRow(*single_, row, 1);
        single_->Execute();
      });
    } catch (runtime::Error& error) {
      const std::string column = ColumnToldBy(error.Description());
      single_.reset();
      DropStored(row);
      if (IsLost(error)) Lose(error, session_->InTransaction() && keepsRows_ == false ? 0 : 1);
      const std::string number = NumberOf(0);
      DropRows(1);
      if (IsOfTheRow(error)) refused_ = done_;
      throw error.WithContext("ligne " + number + (column.empty() ? "" : ", colonne " + column));
    }
  }
  DropStored(rows);
}

StoredRows BatchInsert::Stored() const {
  // What a transaction of the caller's held went with the connection.
  const std::int64_t stored = kept_ + (lost_ ? 0 : pending_);
  return {stored, stored + static_cast<std::int64_t>(inDoubt_)};
}

std::string BatchInsert::NumberOf(std::int64_t heldRow) const { return std::to_string(before_ + done_ + heldRow + 1); }

bool BatchInsert::IsLost(const runtime::Error& error) const { return SaysConnectionLost(error) || session_->IsDead(); }

void BatchInsert::Lose(runtime::Error error, std::size_t inDoubt) {
  inDoubt_ = inDoubt;
  lost_ = error.WithContext("ligne " + NumberOf(0));
  throw *lost_;
}

void BatchInsert::DropStored(std::size_t count) {
  (session_->InTransaction() ? pending_ : kept_) += static_cast<std::int64_t>(count);
  DropRows(count);
}

void BatchInsert::DropRows(std::size_t count) {
  for (auto& column : columns_) {
    std::memmove(column.data.data(), column.data.data() + count * column.stride, (held_ - count) * column.stride);
    std::move(column.indicators.begin() + static_cast<std::ptrdiff_t>(count),
              column.indicators.begin() + static_cast<std::ptrdiff_t>(held_), column.indicators.begin());
  }
  held_ -= count;
  done_ += static_cast<std::int64_t>(count);
  if (held_ == 0) heldBytes_ = 0;
}

std::string BatchInsert::ColumnToldBy(const std::string& description) const {
  std::string told;
  for (const auto& column : columns_) {
    for (const char* quote : {"'", "\"", "`"}) {
      if (description.find(quote + column.name + quote) == std::string::npos) continue;
      if (!told.empty() && told != column.name) return {};  // several are named: none is certain
      told = column.name;
    }
  }
  return told;
}

void BatchInsert::Flush() {
  refused_ = 0;
  if (lost_ && held_ > 0) throw *lost_;  // sent again, rows that are there would be there twice
  // A batch that fails is halved until the bad row stands among a few, and those go one by one. One that waited in vain for a lock goes one by
  // one at once: each of its halves would wait as long.
  for (std::size_t rows = held_; held_ > 0; rows = std::min(rows, held_)) {
    const bool batched = method_ != BatchMethod::kRowByRow && rows > 1;
    if (batched && SendBatch(rows)) {
      DropStored(rows);
    } else if (batched && rows > kFewRows && !waited_) {
      rows /= 2;
    } else {
      SendRowByRow(std::min(rows, held_));
    }
  }
}

}  // namespace tamlo::ado::odbc
