#include "ado/Recordset.h"

#include <utility>

#include "ado/Errors.h"
#include "ado/FindCriterion.h"
#include "ado/RecordsetState.h"
#include "runtime/Conversions.h"
#include "runtime/Text.h"

namespace tamlo::ado {
namespace {

std::int64_t LengthIn(const Variant& value, const FieldInfo& info) {
  if (value.IsNull() || value.IsEmpty()) return 0;
  if (const auto* text = value.If<std::string>()) return static_cast<std::int64_t>(runtime::Length(*text));
  if (const auto* bytes = value.If<runtime::Bytes>()) return static_cast<std::int64_t>(bytes->size());
  return info.definedSize;
}

std::string TextOf(const Variant& value) {
  const auto* bytes = value.If<runtime::Bytes>();
  if (bytes == nullptr) return runtime::ToText(value);
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const std::byte byte : *bytes) {
    text.push_back(kDigits[std::to_integer<unsigned>(byte) >> 4U]);
    text.push_back(kDigits[std::to_integer<unsigned>(byte) & 15U]);
  }
  return text;
}

RecordsetState& OpenState(const std::unique_ptr<RecordsetState>& state) {
  if (!state || !state->IsOpen()) throw AdoError(runtime::kObjectClosed);
  return *state;
}

}  // namespace

const std::string& Field::Name() const { return owner_->Info(position_).name; }
std::int16_t Field::Type() const { return owner_->Info(position_).type; }
std::int64_t Field::DefinedSize() const { return owner_->Info(position_).definedSize; }
std::int16_t Field::Precision() const { return owner_->Info(position_).precision; }
std::int16_t Field::NumericScale() const { return owner_->Info(position_).numericScale; }

Variant Field::Value() const { return owner_->Value(position_); }
void Field::Value(const Variant& value) { owner_->Assign(position_, value); }
Variant Field::OriginalValue() const { return owner_->OriginalValue(position_); }
std::int64_t Field::ActualSize() const { return LengthIn(Value(), owner_->Info(position_)); }

std::size_t Field::ReadChunk(std::byte* buffer, std::size_t capacity) const { return owner_->ReadChunk(position_, buffer, capacity); }
void Field::WriteFrom(ChunkSource source) { owner_->Assign(position_, std::move(source)); }

Variant Field::Property(const std::string& name) const {
  const std::string upper = runtime::UpperCase(name);
  if (upper == "ISAUTOINCREMENT") return owner_->Info(position_).autoIncrement;
  if (upper == "ISNULLABLE") return owner_->Info(position_).nullable;
  throw AdoError(runtime::kItemNotFound, name);
}

Recordset::Recordset() noexcept = default;
Recordset::~Recordset() = default;
Recordset::Recordset(Recordset&&) noexcept = default;
Recordset& Recordset::operator=(Recordset&&) noexcept = default;

void Recordset::Open(const std::string& source, Connection* connection, CursorType cursor, LockType lock, std::int32_t options) {
  RowsetRequest request;
  request.source = source;
  request.cursor = cursor;
  request.lock = lock;
  request.options = options;
  if (connection != nullptr) request.timeoutSeconds = connection->CommandTimeout();
  Open(connection, std::move(request));
}

void Recordset::Open(const Command& command, CursorType cursor, LockType lock) {
  if (IsOpen()) throw AdoError(runtime::kObjectOpen);
  Open(command.ActiveConnection(), RequestOf(command, cursor, lock));
}

RowsetRequest Recordset::RequestOf(const Command& command, CursorType cursor, LockType lock) {
  RowsetRequest request;
  const Command::Sent sent = command.ToSend();
  request.source = sent.made.empty() ? command.CommandText() : sent.made;
  request.cursor = cursor;
  request.lock = lock;
  request.options = adCmdText;
  request.timeoutSeconds = command.CommandTimeout();
  request.parameters.assign(sent.parameters.begin(), sent.parameters.end());
  return request;
}

void Recordset::OpenCounting(const std::string& source, Connection& connection, std::int32_t options, std::int64_t& affected) {
  RowsetRequest request;
  request.source = source;
  request.lock = adLockReadOnly;
  request.options = options;
  request.timeoutSeconds = connection.CommandTimeout();
  request.affected = &affected;
  Open(&connection, std::move(request));
}

void Recordset::OpenCounting(const Command& command, std::int64_t& affected) {
  RowsetRequest request = RequestOf(command, adOpenForwardOnly, adLockReadOnly);
  request.affected = &affected;
  Open(command.ActiveConnection(), std::move(request));
}

void Recordset::Open() {
  if (IsOpen()) throw AdoError(runtime::kObjectOpen);
  if (made_.empty()) throw AdoError(runtime::kConnectionInvalid);
  Take(std::make_unique<RecordsetState>(made_));
}

void Recordset::AppendField(const std::string& name, DataType type, std::int64_t definedSize, std::int16_t precision,
                            std::int16_t numericScale) {
  if (IsOpen()) throw AdoError(runtime::kIllegalOperation);
  const std::string upper = runtime::UpperCase(name);
  for (const FieldInfo& field : made_) {
    if (runtime::UpperCase(field.name) == upper) throw AdoError(runtime::kObjectInCollection, name);
  }
  made_.push_back({name, type, definedSize, precision, numericScale, true, false});
}

void Recordset::Open(Connection* connection, RowsetRequest request) {
  if (IsOpen()) throw AdoError(runtime::kObjectOpen);
  if (connection == nullptr && given_) connection = given_->owner;
  if (connection == nullptr || !connection->IsOpen()) throw AdoError(runtime::kConnectionInvalid);
  const auto& owner = connection->state_;
  request.location = location_.value_or(owner->cursorLocation);
  request.anotherWay = anotherWay_;
  if (request.cursor == adOpenUnspecified) request.cursor = adOpenForwardOnly;
  if (request.options == adCmdUnknown) request.options = adOptionUnspecified;
  auto opened = std::make_unique<RecordsetState>(owner, std::move(request));
  if (!opened->IsOpen()) return;
  opened->ReadWhereEager();
  Take(std::move(opened));
}

void Recordset::Take(std::unique_ptr<RecordsetState> opened) {
  // What was given out of an earlier opening goes on with this one.
  if (state_) opened->TakeFields(*state_);
  state_ = std::move(opened);
}

Recordset Recordset::Clone(LockType lock) const {
  auto& state = OpenState(state_);
  if (!state.scrolls) throw AdoError(runtime::kOperationNotSupported);
  if (lock != adLockUnspecified && lock != adLockReadOnly) throw AdoError(runtime::kBadArguments);
  Recordset clone;
  clone.state_ = std::make_unique<RecordsetState>(state, lock);
  return clone;
}

void Recordset::ActiveConnection(Connection* connection) {
  auto wanted = connection != nullptr ? connection->state_ : nullptr;
  if (IsOpen()) {
    state_->Connect(std::move(wanted));
  } else {
    given_ = std::move(wanted);
  }
}

Connection* Recordset::ActiveConnection() const noexcept {
  const auto& owner = IsOpen() ? state_->connection : given_;
  return owner ? owner->owner : nullptr;
}

void Recordset::CursorLocation(ado::CursorLocation location) {
  if (IsOpen()) throw AdoError(runtime::kObjectOpen);
  location_ = location;
}

void Recordset::ReadsByAnotherWay(bool yes) {
  if (IsOpen()) throw AdoError(runtime::kObjectOpen);
  anotherWay_ = yes;
}

void Recordset::Close() {
  auto& state = OpenState(state_);
  if (state.edit != adEditNone) throw AdoError(runtime::kIllegalOperation);
  state.Close();
}

bool Recordset::IsOpen() const noexcept { return state_ && state_->IsOpen(); }

bool Recordset::Eof() const {
  auto& state = OpenState(state_);
  if (state.edit == adEditAdd) return false;
  state.EnsureFirst();
  return state.position == RecordsetState::Position::kAtEnd || (state.position == RecordsetState::Position::kBefore && state.empty);
}

bool Recordset::Bof() const {
  auto& state = OpenState(state_);
  if (state.edit == adEditAdd) return false;
  state.EnsureFirst();
  return state.position == RecordsetState::Position::kBefore || (state.position == RecordsetState::Position::kAtEnd && state.empty);
}

void Recordset::MoveFirst() {
  if (!OpenState(state_).MoveFirst()) throw AdoError(runtime::kNoCurrentRecord);
}
void Recordset::MoveNext() { OpenState(state_).MoveNext(); }
void Recordset::MoveLast() {
  if (!OpenState(state_).MoveLast()) throw AdoError(runtime::kNoCurrentRecord);
}
void Recordset::MovePrevious() { OpenState(state_).MovePrevious(); }
void Recordset::Move(std::int64_t rows, const Variant& start) { OpenState(state_).Move(rows, start); }

bool Recordset::CanScroll() const { return OpenState(state_).scrolls; }
std::int64_t Recordset::RecordCount() const { return OpenState(state_).RecordCount(); }
std::int64_t Recordset::AbsolutePosition() const { return OpenState(state_).AbsolutePosition(); }
void Recordset::AbsolutePosition(std::int64_t number) { OpenState(state_).AbsolutePosition(number); }
Variant Recordset::Bookmark() const { return OpenState(state_).Bookmark(); }
void Recordset::Bookmark(const Variant& bookmark) { OpenState(state_).Bookmark(bookmark); }

std::size_t Recordset::FieldCount() const { return OpenState(state_).infos.size(); }

Field& Recordset::Fields(const std::string& name) const {
  auto& state = OpenState(state_);
  return state.fields[state.FieldNamed(name)];
}

Field& Recordset::Fields(std::size_t position) const {
  auto& state = OpenState(state_);
  (void)state.Info(position);
  return state.fields[position];
}

void Recordset::AddNew() {
  auto& state = OpenState(state_);
  state.RequireUpdatable();
  state.Update();
  state.edit = adEditAdd;
}

void Recordset::Update() { OpenState(state_).Update(); }
void Recordset::CancelUpdate() { OpenState(state_).CancelUpdate(); }
void Recordset::Delete() { OpenState(state_).Delete(); }
EditMode Recordset::EditMode() const { return OpenState(state_).edit; }

bool Recordset::CanSeek() const { return OpenState(state_).Rowset().CanSeek(); }

void Recordset::Index(const std::string& name) {
  auto& state = OpenState(state_);
  if (!state.Rowset().CanSeek()) throw AdoError(runtime::kOperationNotSupported);
  state.Update();
  if (!state.Rowset().UseIndex(name)) throw AdoError(runtime::kItemNotFound, name);
  state.position = RecordsetState::Position::kUnread;
}

void Recordset::Seek(std::span<const Variant> key, SeekOption option) {
  auto& state = OpenState(state_);
  if (!state.Rowset().CanSeek()) throw AdoError(runtime::kOperationNotSupported);
  state.Update();
  state.atInserted = false;
  const bool found = state.Rowset().Seek(key, option);
  state.position = found ? RecordsetState::Position::kOnRow : RecordsetState::Position::kAtEnd;
  state.empty = false;
}

void Recordset::Find(const std::string& criterion, std::int64_t skip, SearchDirection direction, const Variant& start) {
  using Position = RecordsetState::Position;
  auto& state = OpenState(state_);
  const FindCriterion wanted(criterion);
  const Field& field = Fields(wanted.FieldName());
  state.Update();
  const bool backward = direction == adSearchBackward;
  if (backward) state.RequireScroll();
  state.EnsureFirst();
  if (state.empty) throw AdoError(runtime::kNoCurrentRecord);
  if (!start.IsEmpty() && !start.IsNull()) state.Bookmark(start);
  const auto step = [&] { backward ? state.MovePrevious() : state.MoveNext(); };
  const Position end = backward ? Position::kBefore : Position::kAtEnd;
  if (state.position == Position::kDeleted || (backward ? Position::kAtEnd : Position::kBefore) == state.position) step();
  if (skip != 0 && state.position == Position::kOnRow) state.Move(backward ? -skip : skip, {});
  if (state.position != Position::kOnRow && state.position != end) step();
  while (state.position == Position::kOnRow && !wanted.Matches(field.Value(), field.Type())) step();
}

void Recordset::Filter(const std::string& criteria) { OpenState(state_).Filter(criteria, adFilterNone); }
void Recordset::Filter(FilterGroup group) { OpenState(state_).Filter({}, group); }
const std::string& Recordset::Filter() const { return OpenState(state_).filter; }
void Recordset::Sort(const std::string& fields) { OpenState(state_).Sort(fields); }
const std::string& Recordset::Sort() const { return OpenState(state_).sort; }
void Recordset::Requery() { OpenState(state_).Requery(); }

void Recordset::UpdateBatch() { OpenState(state_).UpdateBatch(); }
void Recordset::CancelBatch() { OpenState(state_).CancelBatch(); }
RecordStatus Recordset::Status() const { return OpenState(state_).Status(); }

void Recordset::Resync(ResyncValues values) {
  if (!OpenState(state_).Refresh(values == adResyncUnderlyingValues)) throw AdoError(runtime::kNoCurrentRecord);
}

std::vector<std::vector<Variant>> Recordset::GetRows(std::int64_t rows) {
  auto& state = OpenState(state_);
  state.Update();
  state.RequireRow();
  std::vector<std::vector<Variant>> values;
  for (; rows != 0 && !Eof(); --rows) {
    auto& line = values.emplace_back();
    for (std::size_t i = 0; i < state.infos.size(); ++i) line.push_back(state.Value(i));
    state.MoveNext();
  }
  return values;
}

std::string Recordset::GetString(std::int64_t rows, const std::string& columnDelimiter, const std::string& rowDelimiter,
                                 const std::string& nullText) {
  std::string text;
  for (const auto& line : GetRows(rows)) {
    for (std::size_t i = 0; i < line.size(); ++i) {
      if (i > 0) text += columnDelimiter;
      text += line[i].IsNull() || line[i].IsEmpty() ? nullText : TextOf(line[i]);
    }
    text += rowDelimiter;
  }
  return text;
}

}  // namespace tamlo::ado
