#include "ado/Recordset.h"

#include <utility>

#include "ado/Errors.h"
#include "ado/FindCriterion.h"
#include "ado/RecordsetState.h"
#include "runtime/Text.h"

namespace tamlo::ado {
namespace {

RecordsetState& OpenState(const std::unique_ptr<RecordsetState>& state) {
  if (!state || !state->rowset) throw AdoError(runtime::kObjectClosed);
  return *state;
}

}  // namespace

const std::string& Field::Name() const noexcept { return owner_->infos[position_].name; }
std::int16_t Field::Type() const noexcept { return owner_->infos[position_].type; }
std::int64_t Field::DefinedSize() const noexcept { return owner_->infos[position_].definedSize; }
std::int16_t Field::Precision() const noexcept { return owner_->infos[position_].precision; }
std::int16_t Field::NumericScale() const noexcept { return owner_->infos[position_].numericScale; }

Variant Field::Value() const { return owner_->Value(position_); }
void Field::Value(const Variant& value) { owner_->Assign(position_, value); }

std::size_t Field::ReadChunk(std::byte* buffer, std::size_t capacity) const { return owner_->ReadChunk(position_, buffer, capacity); }
void Field::WriteFrom(ChunkSource source) { owner_->Assign(position_, std::move(source)); }

Variant Field::Property(const std::string& name) const {
  const std::string upper = runtime::UpperCase(name);
  if (upper == "ISAUTOINCREMENT") return owner_->infos[position_].autoIncrement;
  if (upper == "ISNULLABLE") return owner_->infos[position_].nullable;
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
  RowsetRequest request;
  request.source = command.Statement();
  request.cursor = cursor;
  request.lock = lock;
  request.options = adCmdText;
  request.timeoutSeconds = command.CommandTimeout();
  request.parameters = command.Checked();
  Open(command.ActiveConnection(), std::move(request));
}

void Recordset::Open(Connection* connection, RowsetRequest request) {
  if (IsOpen()) throw AdoError(runtime::kObjectOpen);
  if (connection == nullptr || !connection->IsOpen()) throw AdoError(runtime::kConnectionInvalid);
  const auto& owner = connection->state_;
  request.location = owner->cursorLocation;
  request.anotherWay = anotherWay_;
  if (request.cursor == adOpenUnspecified) request.cursor = adOpenForwardOnly;
  auto opened = std::make_unique<RecordsetState>(owner, request);
  if (!opened->rowset) return;
  if (request.cursor == adOpenStatic) opened->EnsureFirst();
  state_ = std::move(opened);
}

void Recordset::ReadsByAnotherWay(bool yes) {
  if (IsOpen()) throw AdoError(runtime::kObjectOpen);
  anotherWay_ = yes;
}

void Recordset::Close() {
  (void)OpenState(state_);
  state_.reset();
}

bool Recordset::IsOpen() const noexcept { return state_ && state_->rowset; }

bool Recordset::Eof() const {
  auto& state = OpenState(state_);
  if (state.edit == adEditAdd) return false;
  state.EnsureFirst();
  return state.position == RecordsetState::Position::kAtEnd;
}

bool Recordset::Bof() const { return Eof() && state_->empty; }

void Recordset::MoveFirst() { OpenState(state_).MoveFirst(); }
void Recordset::MoveNext() { OpenState(state_).MoveNext(); }

std::size_t Recordset::FieldCount() const { return OpenState(state_).fields.size(); }

Field& Recordset::Fields(const std::string& name) const {
  auto& state = OpenState(state_);
  const auto found = state.byName.find(runtime::UpperCase(name));
  if (found == state.byName.end()) throw AdoError(runtime::kItemNotFound, name);
  return state.fields[found->second];
}

Field& Recordset::Fields(std::size_t position) const {
  auto& state = OpenState(state_);
  if (position >= state.fields.size()) throw AdoError(runtime::kItemNotFound, std::to_string(position));
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

bool Recordset::CanSeek() const { return OpenState(state_).rowset->CanSeek(); }

void Recordset::Index(const std::string& name) {
  auto& state = OpenState(state_);
  if (!state.rowset->CanSeek()) throw AdoError(runtime::kOperationNotSupported);
  state.Update();
  if (!state.rowset->UseIndex(name)) throw AdoError(runtime::kItemNotFound, name);
  state.position = RecordsetState::Position::kUnread;
}

void Recordset::Seek(std::span<const Variant> key, SeekOption option) {
  auto& state = OpenState(state_);
  if (!state.rowset->CanSeek()) throw AdoError(runtime::kOperationNotSupported);
  state.Update();
  const bool found = state.rowset->Seek(key, option);
  state.position = found ? RecordsetState::Position::kOnRow : RecordsetState::Position::kAtEnd;
  state.empty = false;
}

void Recordset::Find(const std::string& criterion) {
  auto& state = OpenState(state_);
  const FindCriterion wanted(criterion);
  const Field& field = Fields(wanted.FieldName());
  state.Update();
  state.EnsureFirst();
  if (state.position == RecordsetState::Position::kDeleted) state.MoveNext();
  while (state.position == RecordsetState::Position::kOnRow && !wanted.Matches(field.Value(), field.Type())) state.MoveNext();
}

}  // namespace tamlo::ado
