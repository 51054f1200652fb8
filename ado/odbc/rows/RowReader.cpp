#include "ado/odbc/rows/RowReader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <utility>

#include "ado/Pieces.h"
#include "ado/odbc/driver/Diagnostics.h"
#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/driver/WideText.h"
#include "base/Utf16.h"
#include "base/Utf8.h"
#include "runtime/Error.h"

namespace tamlo::ado::odbc {
namespace {

// Of all bound columns together: what the processor keeps near itself. Larger blocks of MariaDB's driver were half as slow again.
constexpr std::size_t kBlockBytes = 32 * 1024;
constexpr std::size_t kPieceBytes = 32 * 1024;
constexpr std::size_t kRowBytes = 4 * 1024 * 1024;          // of one row's bound columns together
constexpr std::size_t kLongestWhole = 512UL * 1024 * 1024;  // bytes of a value that is read at once
constexpr std::size_t kFewestBytes = 4096;
constexpr std::size_t kMostDrained = 1 << 18;
constexpr std::ptrdiff_t kUntold = -7777;  // a length that no driver gives
constexpr std::size_t kNoCount = SIZE_MAX;

/// The bytes at the end of a piece that begin a character without ending it; unit is 1 for UTF-8, 2 for UTF-16.
std::size_t BegunBytes(const std::string& piece, std::size_t unit) {
  if (unit == sizeof(char16_t)) {
    char16_t last = 0;
    if (piece.size() >= unit) std::memcpy(&last, piece.data() + piece.size() - unit, unit);
    return base::IsFirstHalf(last) ? unit : 0;
  }
  return base::BegunCharacter(piece);
}

/// What the driver says of a value of unknown length: null, the bytes that are still to come (SQL_NO_TOTAL for "some"), never anything else.
void CheckTold(std::ptrdiff_t length, const FieldInfo& field) {
  if (length >= 0 || length == SQL_NULL_DATA || length == SQL_NO_TOTAL) return;
  throw Unbelievable("une valeur du champ " + field.name + " de " +
                     (length == kUntold ? "longueur non dite" : std::to_string(length) + " octets"));
}

/// Bytes that the driver writes behind a text.
std::size_t Terminator(const FetchPlan& plan) { return plan.nativeType == SQL_C_BINARY ? 0 : plan.unit; }

}  // namespace

BlockSeam& SeamOfBlocks() {
  static BlockSeam seam;
  return seam;
}

RowReader::RowReader(Statement& statement, const std::vector<FieldInfo>& fields, const std::vector<ColumnDescription>& columns,
                     const ReadPlan& plan)
    : statement_(statement),
      fields_(fields),
      descriptions_(columns),
      columns_(plan.forms.size()),
      asksTypes_(plan.asksTypes),
      singly_(plan.singly) {
  for (std::size_t i = 0; i < columns_.size(); ++i) columns_[i].plan = plan.forms[i];
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    columns_[i].info = &fields_[i];
    columns_[i].companion = plan.companions[i];
    if (plan.companions[i] != ReadPlan::kNone) columns_[plan.companions[i]].info = &fields_[i];
  }
}

void RowReader::Restart() {
  fetched_ = row_ = before_ = 0;
  ended_ = false;
  spoilt_.reset();
  NewRow();
}

void RowReader::AskTypes() {
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    if (descriptions_[i].table.empty())
      columns_[i].plan = PlanForExpression(statement_.Describe(i + 1).sqlType, statement_.Owner().Facts());
  }
}

/// One where values are read in pieces, and where a value that turns out too long for its buffer could not be read whole out of a block.
std::size_t RowReader::RowsOfBlocks(std::size_t rowBytes) const {
  const auto& facts = statement_.Owner().Facts();
  if (unboundColumns_ || (facts.leavesBlocks && !statement_.IsScrollable())) return 1;
  return std::clamp<std::size_t>(kBlockBytes / std::max<std::size_t>(rowBytes, 1), 1, facts.readBlockRows);
}

void RowReader::BindColumns() {
  const auto& facts = statement_.Owner().Facts();
  if (asksTypes_) AskTypes();
  std::size_t rowBytes = 0;
  for (auto& column : columns_) {
    // Behind a column that is read in pieces nothing may be bound unless the driver reads any column.
    column.bound = !singly_ && column.plan.elementSize > 0 && rowBytes < kRowBytes && (!unboundColumns_ || facts.readsAnyColumn);
    unboundColumns_ = unboundColumns_ || !column.bound;
    if (column.bound) rowBytes += column.plan.elementSize + sizeof(std::ptrdiff_t);
  }
  blockRows_ = RowsOfBlocks(rowBytes);
  statement_.SetAttribute(SQL_ATTR_ROW_ARRAY_SIZE, blockRows_);
  statement_.SetAttribute(SQL_ATTR_ROWS_FETCHED_PTR, static_cast<void*>(&fetched_));
  status_.assign(blockRows_, SQL_ROW_NOROW);
  statement_.SetAttribute(SQL_ATTR_ROW_STATUS_PTR, static_cast<void*>(status_.data()));
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    auto& column = columns_[i];
    if (!column.bound) continue;
    const bool variable = column.plan.unit != 0 || column.plan.form == FetchPlan::Form::kBytes;
    column.room = variable ? column.plan.elementSize - column.plan.unit : SIZE_MAX;
    column.usual = HasUsual(column.plan.form);
    column.data.resize(column.plan.elementSize * blockRows_);
    column.indicators.resize(blockRows_);
    statement_.Check(SQLBindCol(statement_.Native(), static_cast<SQLUSMALLINT>(i + 1), column.plan.nativeType, column.data.data(),
                                static_cast<SQLLEN>(column.plan.elementSize), AsNativeLengths(column.indicators.data())));
  }
  bound_ = true;
}

void RowReader::NewRow() {
  stream_ = Stream{};
  for (auto& column : columns_) {
    column.touched = false;
    column.whole.reset();
  }
}

bool RowReader::Next() {
  if (ended_) return false;
  if (!bound_) BindColumns();
  if (row_ + 1 < fetched_) {
    ++row_;
  } else {
    ended_ = !FetchBlock();
  }
  if (stream_.field != SIZE_MAX || unboundColumns_) NewRow();
  return !ended_;
}

bool RowReader::FetchBlock() {
  ForgetBlock(fetched_);
  const auto result = statement_.FetchBlock();
  const bool failed = !SQL_SUCCEEDED(result) && result != SQL_NO_DATA;
  if (!failed || blockRows_ == 1 || !statement_.Owner().Facts().leavesBlocks) return TakeBlock(result);
  LeaveBlock();
  return true;
}

/// The current row is fetched again, and from now on one row after the other: a value that is too long for its buffer can be read whole then,
/// and of a block that failed the rows before the failing one are given.
void RowReader::LeaveBlock() {
  ForgetBlock(row_);
  blockRows_ = 1;
  status_.resize(blockRows_);
  statement_.SetAttribute(SQL_ATTR_ROW_ARRAY_SIZE, blockRows_);
  const auto result = SQLFetchScroll(statement_.Native(), SQL_FETCH_ABSOLUTE, static_cast<SQLLEN>(before_ + 1));
  if (!TakeBlock(result)) throw Unbelievable("la fin des lignes à la place d'une ligne déjà donnée");
}

/// Before another one is fetched, from behind so many rows of it.
void RowReader::ForgetBlock(std::size_t rows) {
  before_ += rows;
  fetched_ = kNoCount;
  row_ = 0;
  spoilt_.reset();
  std::fill(status_.begin(), status_.end(), std::uint16_t{SQL_ROW_NOROW});
}

bool RowReader::TakeBlock(std::int16_t result) {
  try {
    return JudgeBlock(result);
  } catch (const runtime::Error& error) {
    // The buffers hold anything: whoever asks for a value of the row that did not come is told so again.
    spoilt_ = error;
    status_[0] = SQL_ROW_ERROR;
    throw;
  }
}

/// A failure may concern some rows of the block alone, and success does not mean that all are good: MariaDB's driver 3.1.15 says either of
/// blocks of both kinds. Each row has a status of its own.
bool RowReader::JudgeBlock(std::int16_t result) {
  const std::size_t told = std::exchange(fetched_, 0);
  if (result == SQL_NO_DATA) return false;
  const bool untold = told == kNoCount;
  const std::size_t count = !untold ? told : SQL_SUCCEEDED(result) && blockRows_ == 1 ? 1 : 0;
  if (count > blockRows_ && !SQL_SUCCEEDED(result)) statement_.Raise();
  if (count > blockRows_ || (count == 0 && SQL_SUCCEEDED(result))) {
    throw Unbelievable("un bloc de " + (untold ? std::string("lignes non comptées") : std::to_string(count) + " lignes") +
                       " là où il y en a 1 à " + std::to_string(blockRows_));
  }
  const auto rows = std::span(status_).first(count);
  const auto is = [](std::uint16_t wanted) { return [wanted](std::uint16_t status) { return status == wanted; }; };
  const bool someBad = std::any_of(rows.begin(), rows.end(), is(SQL_ROW_ERROR));
  const bool someGood =
      std::any_of(rows.begin(), rows.end(), is(SQL_ROW_SUCCESS)) || std::any_of(rows.begin(), rows.end(), is(SQL_ROW_SUCCESS_WITH_INFO));
  if (!SQL_SUCCEEDED(result) && !(someBad && someGood)) statement_.Raise();
  if (someBad) spoilt_ = statement_.LastError();
  fetched_ = count;
  if (SeamOfBlocks() && blockRows_ > 1) {
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (columns_[i].bound) SeamOfBlocks()(i, std::span(columns_[i].data).first(fetched_ * columns_[i].plan.elementSize));
    }
  }
  return true;
}

/// The driver could not give this row, whose buffers hold anything.
void RowReader::RefuseSpoiltRow() const {
  if (!spoilt_ || status_[row_] != SQL_ROW_ERROR) return;
  runtime::Error error = *spoilt_;
  throw error.WithContext("ligne " + std::to_string(before_ + row_ + 1));
}

/// An error of reading names the row and the column, behind what it says.
template <typename Call>
auto RowReader::Told(std::size_t field, Call&& call) {
  try {
    return call();
  } catch (const runtime::Error& error) {
    const std::string where = " (ligne " + std::to_string(before_ + row_ + 1) + ", colonne " + Info(field).name + ")";
    runtime::Error told(error.Number(), error.Description() + where, error.Source());
    throw told.WithDiagnostics(error.Diagnostics()).WithSent(error.Sent());
  }
}

/// What is read by the million: a short value that stands in its buffer as it is. Empty for any other.
Variant RowReader::Usual(std::size_t field) const {
  const Column& column = columns_[field];
  if (spoilt_ || !column.usual || (column.companion != ReadPlan::kNone && !HasNull(column.companion))) return {};
  const std::ptrdiff_t length = column.indicators[row_];
  if (length < 0 || static_cast<std::size_t>(length) > column.room) return {};
  return DecodeUsual(column.plan, *column.info, column.data.data() + row_ * column.plan.elementSize, static_cast<std::size_t>(length));
}

Variant RowReader::Unusual(std::size_t field) {
  RefuseSpoiltRow();
  return Told(field, [&]() -> Variant {
    if (auto value = FromCompanion(field)) return std::move(*value);
    return Read(field);
  });
}

/// As far as it is known without asking the driver.
bool RowReader::HasNull(std::size_t column) const { return columns_[column].bound && columns_[column].indicators[row_] == SQL_NULL_DATA; }

/// What stands beside a column where the driver would spoil its value.
std::optional<Variant> RowReader::FromCompanion(std::size_t field) {
  const std::size_t companion = columns_[field].companion;
  if (companion == ReadPlan::kNone) return std::nullopt;
  // Most are null: nothing to be made of them.
  if (HasNull(companion)) return std::nullopt;
  Variant value = Read(companion);
  if (value.IsNull()) return std::nullopt;
  return value;
}

Variant RowReader::Read(std::size_t field) {
  auto& column = columns_[field];
  if (!column.bound) {
    if (!column.whole) column.whole = ReadWhole(field);
    return *column.whole;
  }
  const std::ptrdiff_t length = column.indicators[row_];
  const std::byte* data = column.data.data() + row_ * column.plan.elementSize;
  if (length >= 0 && static_cast<std::size_t>(length) <= column.room && column.plan.unit < 2) {
    return Decode(column.plan, Info(field), data, static_cast<std::size_t>(length));
  }
  if (length == SQL_NULL_DATA) return runtime::Null{};
  if (length < 0) CheckTold(length, Info(field));
  const bool variable = column.plan.unit != 0 || column.plan.form == FetchPlan::Form::kBytes;
  // Longer than declared: the buffer holds a part only. The value is fetched again, whole.
  if (variable && (length < 0 || static_cast<std::size_t>(length) > column.room)) return ReadWhole(field);
  if (length < 0) throw Unbelievable("une valeur du champ " + Info(field).name + " sans longueur");
  CheckUnits(field, static_cast<std::size_t>(length));
  return Decode(column.plan, Info(field), data, static_cast<std::size_t>(length));
}

std::optional<Variant> RowReader::AtHand(std::size_t field) {
  const auto& column = columns_[field];
  if (!column.bound) return column.whole;
  std::optional<Variant> value;
  (void)runtime::IgnoringErrors([&] { value = Value(field); });
  return value;
}

/// Half a unit of UTF-16 is none.
void RowReader::CheckUnits(std::size_t field, std::size_t length) const {
  const std::size_t unit = columns_[field].plan.unit;
  if (unit > 1 && length % unit != 0)
    throw Unbelievable("un texte du champ " + Info(field).name + " de " + std::to_string(length) + " octets");
}

/// A value is read from its beginning once only; before it is read again the driver is made to forget how far it was.
void RowReader::Rewind(std::size_t field) {
  auto& column = columns_[field];
  if (column.bound && blockRows_ > 1) {
    statement_.Check(SQLSetPos(statement_.Native(), static_cast<SQLSETPOSIROW>(row_ + 1), SQL_POSITION, SQL_LOCK_NO_CHANGE));
  }
  if (std::exchange(column.touched, true)) {
    if (statement_.Owner().Facts().drainsToRewind) {
      Drain(field);
    } else {
      VisitOtherColumn(field);
    }
  }
}

/// libsqliteodbc 0.9998 begins anew only after it has said that there is no more.
void RowReader::Drain(std::size_t field) {
  std::array<char16_t, 4096> piece;
  SQLLEN length = 0;
  const auto type = columns_[field].plan.nativeType;
  std::size_t pieces = 0;
  while (SQL_SUCCEEDED(SQLGetData(statement_.Native(), static_cast<SQLUSMALLINT>(field + 1), type, piece.data(), sizeof(piece), &length))) {
    if (length == SQL_NULL_DATA) return;
    if (++pieces == kMostDrained) throw Unbelievable("une valeur sans fin du champ " + Info(field).name);
  }
}

/// MariaDB's driver (3.1.15) and psqlODBC begin anew once another column was read; MariaDB's does not after SQLSetPos.
void RowReader::VisitOtherColumn(std::size_t field) {
  const bool readsBound = statement_.Owner().Facts().readsBound;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (i == field || (columns_[i].bound && !readsBound)) continue;
    std::array<char16_t, 8> piece;
    SQLLEN length = 0;
    SQLGetData(statement_.Native(), static_cast<SQLUSMALLINT>(i + 1), SQL_C_WCHAR, piece.data(), sizeof(piece), &length);
    columns_[i].touched = true;
    return;
  }
  throw runtime::Error(runtime::kOperationNotSupported,
                       "Le pilote ne relit pas depuis son début une valeur longue d'une requête d'une seule colonne.", "odbc");
}

Variant RowReader::ReadWhole(std::size_t field) {
  const auto& facts = statement_.Owner().Facts();
  if (columns_[field].bound && blockRows_ > 1 && facts.leavesBlocks) LeaveBlock();
  if (columns_[field].bound && (!facts.readsBound || (blockRows_ > 1 && !facts.readsInBlock))) {
    throw runtime::Error(runtime::kProviderFailure, "La valeur du champ " + Info(field).name + " dépasse sa taille déclarée.", "odbc");
  }
  if (!facts.readsAnyOrder) {
    // The driver gives unbound columns from left to right only.
    for (std::size_t i = 0; i < field; ++i) {
      if (!columns_[i].bound && !columns_[i].whole) columns_[i].whole = ReadWhole(i);
    }
  }
  if (stream_.field == field) stream_ = Stream{};
  Rewind(field);
  bool isNull = false;
  const auto bytes = ReadBytes(field, isNull);
  if (isNull) return runtime::Null{};
  return Decode(columns_[field].plan, Info(field), bytes.data(), bytes.size());
}

std::vector<std::byte> RowReader::ReadBytes(std::size_t field, bool& isNull) {
  const auto& plan = columns_[field].plan;
  const bool variable = plan.unit != 0 || plan.form == FetchPlan::Form::kBytes;
  const std::size_t terminator = Terminator(plan);
  std::vector<std::byte> value(kFewestBytes);
  std::size_t used = 0;
  for (;;) {
    SQLLEN length = kUntold;
    const std::size_t room = value.size() - used;
    const auto result = SQLGetData(statement_.Native(), static_cast<SQLUSMALLINT>(field + 1), plan.nativeType, value.data() + used,
                                   static_cast<SQLLEN>(room), &length);
    statement_.Check(result);
    if (result == SQL_NO_DATA) break;
    CheckTold(length, Info(field));
    isNull = length == SQL_NULL_DATA;
    if (isNull) break;
    const bool part = length == SQL_NO_TOTAL || static_cast<std::size_t>(length) > room - terminator;
    if (!part) {
      used += static_cast<std::size_t>(length);
      break;
    }
    if (!variable) throw Unbelievable("une valeur du champ " + Info(field).name + " de " + std::to_string(length) + " octets");
    used += room - terminator;
    // What the driver says is left is a hint: the memory grows with what has come.
    const std::size_t told = length == SQL_NO_TOTAL ? value.size() : static_cast<std::size_t>(length) - (room - terminator);
    const std::size_t left = std::min(told, std::max<std::size_t>(4 * used, 16 * kFewestBytes));
    if (used + left > kLongestWhole) {
      throw runtime::Error(runtime::kProviderFailure,
                           "La valeur du champ " + Info(field).name + " est trop longue pour être lue d'un coup (plus de 512 Mo).", "odbc");
    }
    value.resize(used + left + terminator);
  }
  if (variable) CheckUnits(field, used);
  value.resize(std::max(used, variable ? used : plan.elementSize));
  return value;
}

std::size_t RowReader::ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) {
  if (capacity < 4) throw runtime::Error(runtime::kInvalidArgument);  // room for any one character
  auto& column = columns_[field];
  const bool streams = column.plan.form == FetchPlan::Form::kText || column.plan.form == FetchPlan::Form::kBytes;
  RefuseSpoiltRow();
  if (!column.whole && !column.bound && stream_.field != field) column.whole = FromCompanion(field);
  if (column.bound || column.whole || !streams || !statement_.Owner().Facts().readsAnyOrder) {
    if (stream_.field != field) {
      Variant whole = Value(field);  // which forgets the stream when it asks the driver
      stream_ = Stream{};
      stream_.field = field;
      stream_.whole = std::move(whole);
    }
    return PieceOf(stream_.whole, stream_.offset, buffer, capacity);
  }
  if (stream_.field != field) {
    stream_ = Stream{};
    stream_.field = field;
    Rewind(field);
  }
  const std::size_t count = column.plan.unit != 0 ? StreamText(field, buffer, capacity) : StreamBytes(field, buffer, capacity);
  if (count == 0) stream_ = Stream{};
  return count;
}

std::size_t RowReader::StreamBytes(std::size_t field, std::byte* buffer, std::size_t capacity) {
  if (stream_.ended) return 0;
  SQLLEN length = kUntold;
  const auto result =
      SQLGetData(statement_.Native(), static_cast<SQLUSMALLINT>(field + 1), SQL_C_BINARY, buffer, static_cast<SQLLEN>(capacity), &length);
  statement_.Check(result);
  if (result == SQL_NO_DATA) return 0;
  CheckTold(length, Info(field));
  if (length == SQL_NULL_DATA) return 0;
  const bool part = length == SQL_NO_TOTAL || static_cast<std::size_t>(length) > capacity;
  stream_.ended = !part;
  return part ? capacity : static_cast<std::size_t>(length);
}

/// The next piece of a text becomes pending, whole characters only.
void RowReader::ReadTextPiece(std::size_t field) {
  const auto& plan = columns_[field].plan;
  std::string piece(kPieceBytes, '\0');
  SQLLEN length = kUntold;
  const auto result = SQLGetData(statement_.Native(), static_cast<SQLUSMALLINT>(field + 1), plan.nativeType, piece.data(),
                                 static_cast<SQLLEN>(piece.size()), &length);
  statement_.Check(result);
  stream_.ended = true;
  stream_.offset = 0;
  if (result == SQL_NO_DATA) return;
  CheckTold(length, Info(field));
  if (length == SQL_NULL_DATA) return;
  const std::size_t room = piece.size() - Terminator(plan);
  const bool part = length == SQL_NO_TOTAL || static_cast<std::size_t>(length) > room;
  stream_.ended = !part;
  piece.resize(part ? room - room % plan.unit : static_cast<std::size_t>(length));
  CheckUnits(field, piece.size());
  piece.insert(0, stream_.carry);
  const std::size_t begun = part ? BegunBytes(piece, plan.unit) : 0;
  stream_.carry = piece.substr(piece.size() - begun);
  piece.resize(piece.size() - begun);
  if (plan.unit == 1) {
    stream_.pending = std::move(piece);
  } else {
    stream_.pending = ToUtf8(reinterpret_cast<const char16_t*>(piece.data()), piece.size() / sizeof(char16_t));
  }
}

std::size_t RowReader::StreamText(std::size_t field, std::byte* buffer, std::size_t capacity) {
  while (stream_.pending.empty() && !stream_.ended) ReadTextPiece(field);
  const std::string& text = stream_.pending;
  const std::size_t count = base::WholeCharacters(std::string_view(text).substr(stream_.offset), capacity);
  std::memcpy(buffer, text.data() + stream_.offset, count);
  stream_.offset += count;
  if (stream_.offset == text.size()) {
    stream_.pending.clear();
    stream_.offset = 0;
  }
  return count;
}

}  // namespace tamlo::ado::odbc
