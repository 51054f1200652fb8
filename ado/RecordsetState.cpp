#include "ado/RecordsetState.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "ado/Errors.h"
#include "runtime/Text.h"

namespace tamlo::ado {
namespace {

constexpr std::size_t kLongestCharacter = 4;  // bytes in UTF-8

/// The longest piece of text from offset on that fits and does not end inside a character.
std::size_t WholeCharacters(std::string_view text, std::size_t offset, std::size_t capacity) {
  std::size_t count = std::min(capacity, text.size() - offset);
  if (offset + count == text.size()) return count;
  while (count > 0 && (static_cast<unsigned char>(text[offset + count]) & 0xC0U) == 0x80U) --count;
  return count;
}

}  // namespace

RecordsetState::RecordsetState(std::shared_ptr<ConnectionState> owner, const RowsetRequest& request)
    : connection(std::move(owner)), rowset(connection->Native(runtime::kConnectionInvalid).OpenRowset(request)) {
  if (!rowset) return;
  infos = rowset->Fields();
  fields.reserve(infos.size());
  for (std::size_t i = 0; i < infos.size(); ++i) {
    fields.push_back(Field(this, i));
    byName.emplace(runtime::UpperCase(infos[i].name), i);
  }
  pending.resize(infos.size());
  pendingOffset.resize(infos.size());
  writable = request.lock > adLockReadOnly && rowset->CanUpdate();
  connection->recordsets.push_back(this);
}

RecordsetState::~RecordsetState() { Close(); }

void RecordsetState::Close() noexcept {
  if (!rowset) return;
  rowset.reset();
  std::erase(connection->recordsets, this);
}

void RecordsetState::EnsureFirst() {
  if (position == Position::kUnread) MoveFirst();
}

void RecordsetState::RequireRow() {
  if (!rowset) throw AdoError(runtime::kObjectClosed);
  if (edit == adEditAdd) return;
  EnsureFirst();
  if (position != Position::kOnRow) throw AdoError(runtime::kNoCurrentRecord);
}

void RecordsetState::MoveFirst() {
  Update();
  const bool found = rowset->MoveFirst();
  position = found ? Position::kOnRow : Position::kAtEnd;
  empty = !found;
}

void RecordsetState::MoveNext() {
  Update();
  EnsureFirst();
  if (position == Position::kAtEnd) throw AdoError(runtime::kNoCurrentRecord);
  position = rowset->MoveNext() ? Position::kOnRow : Position::kAtEnd;
}

void RecordsetState::RequireUpdatable() const {
  if (!writable) throw AdoError(runtime::kOperationNotSupported);
}

void RecordsetState::Assign(std::size_t field, Pending value) {
  RequireUpdatable();
  RequireRow();
  if (edit == adEditNone) edit = adEditInProgress;
  pending[field] = std::move(value);
  pendingOffset[field] = 0;
}

void RecordsetState::Update() {
  if (edit == adEditNone) return;
  std::vector<Assignment> values;
  for (std::size_t i = 0; i < pending.size(); ++i) {
    if (pending[i]) values.push_back({i, *pending[i]});
  }
  if (edit == adEditAdd) {
    rowset->Insert(values);
    position = Position::kOnRow;
    empty = false;
  } else {
    rowset->Update(values);
  }
  CancelUpdate();
}

void RecordsetState::CancelUpdate() noexcept {
  edit = adEditNone;
  for (auto& value : pending) value.reset();
}

void RecordsetState::Delete() {
  RequireUpdatable();
  if (edit == adEditAdd) {
    CancelUpdate();
    return;
  }
  RequireRow();
  rowset->Delete();
  CancelUpdate();
  position = Position::kDeleted;
}

/// Without an edit too, where there is no row, or the first one is not read yet.
Variant RecordsetState::ValueInEdit(std::size_t field) {
  RequireRow();
  if (edit != adEditNone) {
    if (const auto& value = pending[field]) {
      if (const auto* whole = std::get_if<Variant>(&*value)) return *whole;
      throw AdoError(runtime::kOperationNotSupported, infos[field].name);
    }
    if (edit == adEditAdd) return runtime::Null{};
  }
  return rowset->Value(field);
}

std::size_t RecordsetState::ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) {
  if (capacity < kLongestCharacter) throw runtime::Error(runtime::kInvalidArgument);
  RequireRow();
  if (edit == adEditNone || (edit == adEditInProgress && !pending[field])) return rowset->ReadChunk(field, buffer, capacity);
  if (!pending[field]) return 0;
  const auto* whole = std::get_if<Variant>(&*pending[field]);
  if (!whole) throw AdoError(runtime::kOperationNotSupported, infos[field].name);
  const char* data = nullptr;
  std::size_t size = 0;
  std::size_t& offset = pendingOffset[field];
  std::size_t count = 0;
  if (const auto* text = whole->If<std::string>()) {
    data = text->data();
    size = text->size();
    count = WholeCharacters(*text, offset, capacity);
  } else if (const auto* bytes = whole->If<runtime::Bytes>()) {
    data = reinterpret_cast<const char*>(bytes->data());
    size = bytes->size();
    count = std::min(capacity, size - offset);
  }
  if (count == 0) {
    offset = 0;
    return 0;
  }
  std::memcpy(buffer, data + offset, count);
  offset += count;
  return count;
}

}  // namespace tamlo::ado
