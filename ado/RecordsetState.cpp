#include "ado/RecordsetState.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <utility>

#include "ado/Errors.h"
#include "runtime/Text.h"

namespace tamlo::ado {
namespace {

constexpr std::size_t kLongestCharacter = 4;  // bytes in UTF-8

std::atomic<std::int32_t> openings = 0;

/// The longest piece of text from offset on that fits and does not end inside a character.
std::size_t WholeCharacters(std::string_view text, std::size_t offset, std::size_t capacity) {
  std::size_t count = std::min(capacity, text.size() - offset);
  if (offset + count == text.size()) return count;
  while (count > 0 && (static_cast<unsigned char>(text[offset + count]) & 0xC0U) == 0x80U) --count;
  return count;
}

}  // namespace

RecordsetState::RecordsetState(std::shared_ptr<ConnectionState> owner, RowsetRequest asked)
    : connection(std::move(owner)), request(std::move(asked)) {
  rowset = connection->Native(runtime::kConnectionInvalid).OpenRowset(request);
  request.affected = nullptr;
  if (!rowset) return;
  Describe();
  connection->recordsets.push_back(this);
}

RecordsetState::~RecordsetState() { Close(); }

void RecordsetState::Describe() {
  infos = rowset->Fields();
  byName.clear();
  for (std::size_t i = 0; i < infos.size(); ++i) byName.emplace(runtime::UpperCase(infos[i].name), i);
  pending.assign(infos.size(), std::nullopt);
  pendingOffset.assign(infos.size(), 0);
  writable = request.lock > adLockReadOnly && rowset->CanUpdate();
  scrolls = rowset->CanScroll();
  rollbacks = rowset->Rollbacks();
  serial = ++openings;
  while (fields.size() < infos.size()) fields.push_back(Field(this, fields.size()));
}

void RecordsetState::TakeFields(RecordsetState& before) {
  std::swap(fields, before.fields);
  for (Field& field : fields) field.owner_ = this;
  while (fields.size() < infos.size()) fields.push_back(Field(this, fields.size()));
}

void RecordsetState::Close() noexcept {
  if (!rowset) return;
  rowset.reset();
  std::erase(connection->recordsets, this);
}

const FieldInfo& RecordsetState::Info(std::size_t field) const {
  if (field >= infos.size()) throw AdoError(runtime::kItemNotFound, std::to_string(field));
  return infos[field];
}

std::size_t RecordsetState::FieldNamed(const std::string& name) const {
  const auto found = byName.find(runtime::UpperCase(name));
  if (found == byName.end()) throw AdoError(runtime::kItemNotFound, name);
  return found->second;
}

/// A writable dynamic cursor waits on the client's side too: adding a row to a table of ten million costs nothing there.
void RecordsetState::ReadWhereEager() {
  const bool client = request.location == adUseClient;
  const bool waits = request.cursor == adOpenForwardOnly || (request.cursor == adOpenDynamic && writable);
  if (request.cursor == adOpenStatic || (client && !waits)) EnsureFirst();
}

void RecordsetState::EnsureFirst() {
  if (position == Position::kUnread) (void)MoveFirst();
}

void RecordsetState::RequireRow() {
  if (!rowset) throw AdoError(runtime::kObjectClosed);
  if (edit == adEditAdd) return;
  EnsureFirst();
  if (position != Position::kOnRow) throw AdoError(runtime::kNoCurrentRecord);
}

bool RecordsetState::MoveFirst() {
  Update();
  SeeRollbacks();
  atInserted = false;
  read = true;
  bool found = false;
  if (view) {
    found = Forward(0);
  } else {
    found = rowset->MoveFirst();
    position = found ? Position::kOnRow : Position::kAtEnd;
    if (found && scrolls) FindOrdinal();
  }
  empty = !found;
  return found;
}

void RecordsetState::MoveNext() {
  Update();
  SeeRollbacks();
  EnsureFirst();
  if (position == Position::kAtEnd || (position == Position::kBefore && empty)) throw AdoError(runtime::kNoCurrentRecord);
  if (position == Position::kBefore) {
    (void)MoveFirst();
    return;
  }
  if (std::exchange(atInserted, false)) {
    (void)rowset->MoveNext();
    position = Position::kAtEnd;
    return;
  }
  if (view || (scrolls && !rowset->Position())) {
    (void)Forward(ordinal + 1);
    return;
  }
  position = rowset->MoveNext() ? Position::kOnRow : Position::kAtEnd;
  if (!scrolls) return;
  const bool atEnd = position == Position::kAtEnd;
  const std::size_t here = atEnd ? Shown() : rowset->Position().value_or(ordinal);
  while (++ordinal < here) gone.insert(ordinal);  // skipped
  if (atEnd) return StandAt(Position::kAtEnd);
  ordinal = here;
}

void RecordsetState::RequireUpdatable() const {
  if (!writable) throw AdoError(runtime::kOperationNotSupported);
}

void RecordsetState::Assign(std::size_t field, Pending value) {
  if (!rowset) throw AdoError(runtime::kObjectClosed);
  (void)Info(field);
  RequireUpdatable();
  RequireRow();
  if (auto* const whole = std::get_if<Variant>(&value)) *whole = rowset->Converted(field, *whole);
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
    atInserted = true;
    if (view) {
      view->push_back(rowset->RowCount() - 1);
      ordinal = view->size() - 1;
    }
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
  const std::size_t place = scrolls && !atInserted ? PositionOf(ordinal) : 0;
  rowset->Delete();
  CancelUpdate();
  position = Position::kDeleted;
  if (!scrolls) return;
  if (!atInserted) {
    gone.insert(place);
  } else if (const auto told = rowset->Position(); told || view || read) {
    if (!view) ordinal = told ? *told : rowset->RowCount() - 1;
    gone.insert(PositionOf(ordinal));
    atInserted = false;
  }  // else no row was asked for yet, and none is because of this
}

/// Without an edit too, where there is no row, or the first one is not read yet.
Variant RecordsetState::ValueInEdit(std::size_t field) {
  if (rowset) (void)Info(field);
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

Variant RecordsetState::OriginalValue(std::size_t field) {
  if (rowset) (void)Info(field);
  RequireRow();
  if (edit == adEditAdd) return runtime::Null{};
  return rowset->Value(field);
}

std::size_t RecordsetState::ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) {
  if (capacity < kLongestCharacter) throw runtime::Error(runtime::kInvalidArgument);
  if (rowset) (void)Info(field);
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
