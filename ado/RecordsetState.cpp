#include "ado/RecordsetState.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "ado/Errors.h"
#include "ado/Pieces.h"
#include "runtime/Text.h"

namespace tamlo::ado {
namespace {

constexpr std::size_t kLongestCharacter = 4;  // bytes in UTF-8

std::atomic<std::int32_t> openings = 0;

}  // namespace

RecordsetState::RecordsetState(std::shared_ptr<ConnectionState> owner, RowsetRequest asked)
    : connection(std::move(owner)), request(std::move(asked)) {
  const bool opened = OpenRowset();
  request.affected = nullptr;
  if (!opened) return;
  connection->recordsets.push_back(this);
}

RecordsetState::RecordsetState(std::vector<FieldInfo> described) {
  request.lock = adLockBatchOptimistic;
  request.cursor = adOpenStatic;
  Hold(std::make_unique<LocalRowset>(std::move(described)));
}

RecordsetState::RecordsetState(RecordsetState& other, LockType lock) : connection(other.connection), request(other.request) {
  if (lock == adLockReadOnly) request.lock = lock;
  (void)other.Ordinal();  // while the last row is its own
  rows = other.rows;
  Describe();
  if (connection) connection->recordsets.push_back(this);
}

RecordsetState::~RecordsetState() { Close(); }

bool RecordsetState::OpenRowset() {
  const bool batch = request.lock == adLockBatchOptimistic;
  RowsetRequest asked = request;
  if (batch) {
    // What waits to be saved is compared with the rows of one moment.
    asked.lock = adLockOptimistic;
    asked.cursor = adOpenStatic;
  }
  auto opened = connection->Native(runtime::kConnectionInvalid).OpenRowset(asked);
  if (!opened) return false;
  if (batch) opened = std::make_unique<LocalRowset>(std::move(opened));
  Hold(std::move(opened));
  return true;
}

void RecordsetState::Hold(std::unique_ptr<ProviderRowset> opened) {
  auto held = std::make_shared<OpenRows>();
  held->rowset = std::move(opened);
  held->local = dynamic_cast<LocalRowset*>(held->rowset.get());
  held->rollbacks = held->rowset->Rollbacks();
  held->serial = ++openings;
  held->user = this;
  rows = std::move(held);
  Describe();
}

void RecordsetState::LetGo() noexcept {
  // Its address may be another recordset's next.
  if (rows && rows->user == this) rows->user = nullptr;
  rows.reset();
}

void RecordsetState::Describe() {
  infos = Rowset().Fields();
  byName.clear();
  for (std::size_t i = 0; i < infos.size(); ++i) byName.emplace(runtime::UpperCase(infos[i].name), i);
  pending.assign(infos.size(), std::nullopt);
  pendingOffset.assign(infos.size(), 0);
  writable = request.lock > adLockReadOnly && Rowset().CanUpdate();
  scrolls = Rowset().CanScroll();
  while (fields.size() < infos.size()) fields.push_back(Field(this, fields.size()));
}

bool RecordsetState::Regain() {
  if (rows->user == this) return false;
  rows->user = this;
  if (position == Position::kOnRow && !StandOn(Ordinal())) position = Position::kDeleted;
  return true;
}

void RecordsetState::TakeFields(RecordsetState& before) {
  std::swap(fields, before.fields);
  for (Field& field : fields) field.owner_ = this;
  while (fields.size() < infos.size()) fields.push_back(Field(this, fields.size()));
}

void RecordsetState::Close() noexcept {
  if (!rows) return;
  LetGo();
  if (connection) std::erase(connection->recordsets, this);
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
  if (!rows) throw AdoError(runtime::kObjectClosed);
  if (edit == adEditAdd) return;
  EnsureFirst();
  (void)Regain();
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
    rows->user = this;
    found = Rowset().MoveFirst();
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
  const bool wasAway = Regain();
  if (std::exchange(atInserted, false)) {
    (void)Rowset().MoveNext();
    position = Position::kAtEnd;
    return;
  }
  if (view || (scrolls && (wasAway || !Rowset().Position()))) {
    (void)Forward(ordinal + 1);
    return;
  }
  position = Rowset().MoveNext() ? Position::kOnRow : Position::kAtEnd;
  if (!scrolls) return;
  const bool atEnd = position == Position::kAtEnd;
  const std::size_t here = atEnd ? Shown() : Rowset().Position().value_or(ordinal);
  while (++ordinal < here) rows->gone.insert(ordinal);  // skipped
  if (atEnd) return StandAt(Position::kAtEnd);
  ordinal = here;
}

void RecordsetState::RequireUpdatable() const {
  if (!writable) throw AdoError(runtime::kOperationNotSupported);
}

void RecordsetState::Assign(std::size_t field, Pending value) {
  if (!rows) throw AdoError(runtime::kObjectClosed);
  (void)Info(field);
  RequireUpdatable();
  RequireRow();
  if (auto* const whole = std::get_if<Variant>(&value)) *whole = Rowset().Converted(field, *whole);
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
    rows->user = this;
    Rowset().Insert(values);
    position = Position::kOnRow;
    empty = false;
    atInserted = true;
    if (view) {
      view->push_back(Rowset().RowCount() - 1);
      ordinal = view->size() - 1;
    }
    // Another's row may be the last one next.
    if (rows.use_count() > 1) (void)Ordinal();
  } else {
    RequireRow();
    Rowset().Update(values);
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
  Rowset().Delete();
  CancelUpdate();
  position = Position::kDeleted;
  if (!scrolls) return;
  if (!atInserted) {
    rows->gone.insert(place);
  } else if (const auto told = Rowset().Position(); told || view || read) {
    if (!view) ordinal = told ? *told : Rowset().RowCount() - 1;
    rows->gone.insert(PositionOf(ordinal));
    atInserted = false;
  }  // else no row was asked for yet, and none is because of this
}

/// Without an edit too, where there is no row, or the first one is not read yet.
Variant RecordsetState::ValueInEdit(std::size_t field) {
  if (rows) (void)Info(field);
  RequireRow();
  if (edit != adEditNone) {
    if (const auto& value = pending[field]) {
      if (const auto* whole = std::get_if<Variant>(&*value)) return *whole;
      throw AdoError(runtime::kOperationNotSupported, infos[field].name);
    }
    if (edit == adEditAdd) return runtime::Null{};
  }
  return Rowset().Value(field);
}

Variant RecordsetState::OriginalValue(std::size_t field) {
  if (rows) (void)Info(field);
  RequireRow();
  if (edit == adEditAdd) return runtime::Null{};
  return rows->local != nullptr ? rows->local->OriginalValue(field) : Rowset().Value(field);
}

std::size_t RecordsetState::ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) {
  if (capacity < kLongestCharacter) throw runtime::Error(runtime::kInvalidArgument);
  if (rows) (void)Info(field);
  RequireRow();
  if (edit == adEditNone || (edit == adEditInProgress && !pending[field])) return Rowset().ReadChunk(field, buffer, capacity);
  if (!pending[field]) return 0;
  const auto* whole = std::get_if<Variant>(&*pending[field]);
  if (!whole) throw AdoError(runtime::kOperationNotSupported, infos[field].name);
  return PieceOf(*whole, pendingOffset[field], buffer, capacity);
}

}  // namespace tamlo::ado
