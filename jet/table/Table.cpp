#include "jet/table/Table.h"

#include <algorithm>
#include <utility>

#include "jet/table/TableSpace.h"
#include "jet/page/ReadLock.h"
#include "jet/table/Convert.h"
#include "jet/value/Error.h"
#include "jet/table/TableCore.h"
#include "jet/value/Text.h"
#include "jet/page/UsageMap.h"

namespace jet {

// ----- scan

struct ScanCursor::State {
  TableCore& table;
  std::optional<ReadLock> lock;
  PageRef page;
  PageNumber number = 0;  ///< page stood on, 0 = before the first
  unsigned slot = 0;      ///< next slot to look at
  std::uint64_t generation = 0;
  Row row;
  bool ended = false;

  explicit State(TableCore& core) : table(core) {
    lock.emplace(*core.space.pager);
    table.Refresh();
  }

  bool NextPage() {
    Pager& pager = *table.space.pager;
    UsageMap owned(pager, table.Definition().ownedMap);
    const auto next = owned.NextFrom(number + 1, pager.PageCount());
    page = {};
    if (!next) return false;
    number = *next;
    slot = 0;
    Load();
    return true;
  }

  void Load() {
    generation = table.space.pager->Generation();
    page = table.space.pager->Read(number);
  }

  /// Pages may have changed behind the walk: it goes on in what is there now.
  void CatchUp() {
    const std::uint64_t now = table.space.pager->Generation();
    if (generation == now) return;
    table.Refresh();
    if (number == 0)
      generation = table.space.pager->Generation();
    else if (number < table.space.pager->PageCount())
      Load();
    else
      page = {};
  }

  /// To the next row on the page stood on; false behind the last one.
  bool NextOnPage() {
    const DataPage data(page);
    while (slot < data.SlotCount()) {
      const unsigned at = slot++;
      const unsigned flags = data.Slot(at) & DataPage::kDeletedFlags;
      if ((flags & DataPage::kMovedFlag) != 0) continue;
      const RowId id{number, static_cast<std::uint8_t>(at)};
      if (flags == 0) {
        table.Bind(row, id, data, page.Bytes().data(), number, at);
        return true;
      }
      if (table.ReadRow(id, row)) return true;
    }
    return false;
  }

  /// The page may have been freed and used for something else since the last step.
  [[nodiscard]] bool StillOurs() const {
    const auto bytes = page.Bytes();
    return bytes[0] == std::byte{1} && DataPage(page).Owner() == table.page;
  }
};

ScanCursor::ScanCursor(std::unique_ptr<State> state) : state_(std::move(state)) {}
ScanCursor::ScanCursor(ScanCursor&&) noexcept = default;
ScanCursor& ScanCursor::operator=(ScanCursor&&) noexcept = default;
ScanCursor::~ScanCursor() = default;

bool ScanCursor::Next() {
  State& state = *state_;
  if (state.ended) return false;
  if (!state.lock) state.lock.emplace(*state.table.space.pager);
  state.CatchUp();
  for (;;) {
    const bool ours = state.page && state.StillOurs();
    if (!ours && state.page && state.slot == 0)
      throw Error(ErrorCode::kDamaged, "A page listed for the table belongs to another", state.number, 4);
    if (ours && state.NextOnPage()) return true;
    if (!state.NextPage()) break;
  }
  state.ended = true;
  return false;
}

Row& ScanCursor::Current() noexcept { return state_->row; }

RowId ScanCursor::Id() const noexcept { return state_->row.Id(); }

void ScanCursor::Rest() noexcept { state_->lock.reset(); }

void ScanCursor::Rewind() {
  state_->page = {};
  state_->number = 0;
  state_->slot = 0;
  state_->ended = false;
}

void ScanCursor::GoBehind(RowId id) {
  state_->page = {};
  state_->number = id.page;
  state_->slot = id.slot + 1U;
  state_->generation = 0;  // so that the next step looks at the page as it is by then
  state_->ended = false;
}

// ----- table

Table::Table(std::unique_ptr<TableCore> core) : core_(std::move(core)) {}
Table::~Table() = default;

const std::string& Table::Name() const noexcept { return core_->name; }

PageNumber Table::DefinitionPage() const noexcept { return core_->page; }

const std::vector<ColumnDef>& Table::Columns() {
  const ReadLock lock(*core_->space.pager);
  core_->Refresh();
  return core_->Columns();
}

const std::vector<IndexDef>& Table::Indexes() {
  const ReadLock lock(*core_->space.pager);
  core_->Refresh();
  return core_->Indexes();
}

std::optional<std::size_t> Table::FindColumn(std::string_view name) {
  const ReadLock lock(*core_->space.pager);
  core_->Refresh();
  return PlaceOfName(core_->Stored(), name);
}

std::size_t Table::ColumnAt(std::string_view name) {
  const std::optional<std::size_t> position = FindColumn(name);
  if (!position) {
    throw Error(ErrorCode::kDamaged, "The table \"" + Name() + "\" has no column \"" + std::string(name) + "\"", DefinitionPage(), 0);
  }
  return *position;
}

std::optional<std::size_t> Table::FindIndex(std::string_view name) { return PlaceOfName(Indexes(), name); }

std::optional<std::size_t> Table::PrimaryKey() {
  const auto& indexes = Indexes();
  for (std::size_t i = 0; i < indexes.size(); ++i)
    if (indexes[i].kind == IndexKind::kPrimary) return i;
  return std::nullopt;
}

std::uint32_t Table::RowCount() {
  const ReadLock lock(*core_->space.pager);
  return core_->RowCount();
}

std::int32_t Table::LastAutoNumber() {
  const ReadLock lock(*core_->space.pager);
  return core_->LastAutoNumber();
}

RowId Table::Insert(std::span<const Value> values) {
  core_->Refresh();
  return Insert(core_->AllColumns(values));
}

RowId Table::Insert(std::span<const Assignment> assignments) {
  const RowId id = core_->InsertRow(assignments);
  if (const auto watched = inserts_.lock()) watched->push_back(id);
  return id;
}

std::shared_ptr<const std::vector<RowId>> Table::WatchInserts() {
  auto watched = inserts_.lock();
  if (watched == nullptr) inserts_ = watched = std::make_shared<std::vector<RowId>>();
  return watched;
}

void Table::Update(RowId id, std::span<const Assignment> assignments, const RowTest& isMeant) {
  core_->UpdateRow(id, assignments, isMeant);
}

void Table::Update(RowId id, std::span<const Value> values) {
  core_->Refresh();
  core_->UpdateRow(id, core_->AllColumns(values), {});
}

void Table::Delete(RowId id, const RowTest& isMeant) { core_->DeleteRow(id, isMeant); }

bool Table::Read(RowId id, Row& row) {
  const ReadLock lock(*core_->space.pager);
  core_->Refresh();
  return core_->ReadRow(id, row);
}

std::optional<std::vector<Value>> Table::Read(RowId id) {
  Row row;
  const ReadLock lock(*core_->space.pager);
  core_->Refresh();
  if (!core_->ReadRow(id, row)) return std::nullopt;
  std::vector<Value> values(core_->Stored().size());
  for (std::size_t i = 0; i < values.size(); ++i) row.Get(i, values[i]);
  return values;
}

ScanCursor Table::Scan(std::span<const std::size_t>) { return ScanCursor(std::make_unique<ScanCursor::State>(*core_)); }

std::optional<RowId> Table::Seek(std::size_t index, std::span<const Value> key) {
  const ReadLock lock(*core_->space.pager);
  core_->Refresh();
  auto& tree = core_->Trees()[core_->Indexes()[index].tree];
  if (!tree.supported) throw Error(ErrorCode::kUnsupported, "The order of the index \"" + tree.name + "\" is not known");
  if (key.empty() || key.size() > tree.columns.size())
    throw Error(ErrorCode::kTypeMismatch, "The index \"" + tree.name + "\" has " + std::to_string(tree.columns.size()) + " columns");
  Bytes bytes;
  Value scratch;
  for (std::size_t i = 0; i < key.size(); ++i) {
    const auto& column = core_->Stored()[tree.columns[i]];
    AppendKey(tree.keyColumns[i], key[i].IsNull() ? key[i] : ConvertForSearch(key[i], column, scratch), bytes);
  }
  if (key.size() == tree.columns.size()) return tree.tree->Find(bytes);
  BTreeCursor cursor(*tree.tree);
  cursor.SeekBefore(bytes);
  if (!cursor.Next() || cursor.Key().size() < bytes.size() || !std::equal(bytes.begin(), bytes.end(), cursor.Key().begin()))
    return std::nullopt;
  return cursor.Row();
}

}  // namespace jet
