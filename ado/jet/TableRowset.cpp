#include "ado/jet/TableRowset.h"

#include <algorithm>
#include <utility>

#include "ado/Errors.h"
#include "ado/Pieces.h"
#include "ado/SameValue.h"
#include "ado/jet/JetErrors.h"
#include "ado/jet/JetValues.h"
#include "jet/table/SteadyLong.h"
#include "jet/sql/bind/Coercion.h"

namespace tamlo::ado::jetprovider {

namespace {

constexpr std::size_t kLongestAhead = 128;
constexpr std::uint64_t kLongestHeld = 4096;  // bytes of a long value that is read ahead

bool IsLong(const jet::sql::ColumnInfo& column) {
  return column.type.type == jet::ColumnType::kMemo || column.type.type == jet::ColumnType::kOle;
}

}  // namespace

TableRowset::TableRowset(JetConnection& connection, std::shared_ptr<const jet::sql::EngineTable> table, CursorType cursor)
    : table_(std::move(table)),
      writer_(connection, table_),
      adds_(cursor == adOpenDynamic),
      rollbacks_(connection.Rollbacks()),
      connection_(connection) {
  for (const jet::sql::ColumnInfo& column : table_->columns) {
    columns_.push_back(fields_.size());
    fields_.push_back(Described(column.name, column.type));
  }
  values_.resize(fields_.size());
  asked_.resize(fields_.size());
  seen_.resize(fields_.size());
  readers_.resize(fields_.size());
  chunkAt_.resize(fields_.size());
}

TableRowset::AtRest::~AtRest() {
  if (rowset.scan_) rowset.scan_->Rest();
  if (rowset.walk_) rowset.walk_->Rest();
}

bool TableRowset::MoveFirst() {
  return OnEngine([&] {
    const AtRest atRest{*this};
    inserted_ = false;
    BeginWalk();
    if (index_ && !table_->table->Indexes()[*index_].ignoreNulls) {
      walk_.emplace(*table_->table, *index_);
      walk_->SetRange(std::nullopt, std::nullopt);
    } else {
      scan_.emplace(table_->table->Scan());
    }
    return Advance();
  });
}

void TableRowset::BeginWalk() {
  scan_.reset();
  walk_.reset();
  id_.reset();
  gone_ = false;
  ahead_ = {};
  visited_.Clear();
  walkBegan_ = connection_.Changes();
  if (!adds_) added_.Begin(*table_->table);
}

void TableRowset::SeeRollbacks() {
  if (rollbacks_ != connection_.Rollbacks()) {
    rollbacks_ = connection_.Rollbacks();
    added_.End();
    OnEngine([&] {
      jet::sql::RequireCurrent(*table_);
      gone_ = id_ && !Take(*id_);
    });
  }
  if (gone_) throw AdoError(runtime::kNoCurrentRecord);
}

bool TableRowset::MoveNext() {
  if (std::exchange(inserted_, false)) return false;
  return OnEngine([&] { return Advance(); });
}

bool TableRowset::Advance() {
  gone_ = false;
  if (!ahead_.rows.empty()) {
    const bool holds = connection_.Changes() == ahead_.changes && table_->database->NothingSince(ahead_.version);
    if (holds && ahead_.next < ahead_.rows.size()) return StandAhead();
    if (holds && ahead_.ended) return StandNowhere();
    // Who changes each row that he reads would read a block for each.
    if (!holds) ahead_.wanted = 1;
  }
  if (!ReadAhead()) return StandNowhere();
  return StandAhead();
}

bool TableRowset::StandNowhere() {
  id_.reset();
  return false;
}

bool TableRowset::StandAhead() {
  AheadRow& row = ahead_.rows[ahead_.next++];
  std::fill(readers_.begin(), readers_.end(), nullptr);
  std::fill(chunkAt_.begin(), chunkAt_.end(), 0);
  std::fill(seen_.begin(), seen_.end(), false);
  version_ = ahead_.version;
  id_ = row.id;
  values_.swap(row.values);
  visited_.Add(row.id);
  return true;
}

bool TableRowset::ReadAhead() {
  const AtRest atRest{*this};
  const jet::Database::ReadScope scope(*table_->database);
  jet::sql::RequireCurrent(*table_);
  if (!scan_ && !walk_) return false;
  if (ahead_.next < ahead_.rows.size() || ahead_.ended || ahead_.failed) GoBehindTheLast();
  const std::size_t wanted = ahead_.wanted;
  ahead_.Clear();
  ahead_.wanted = std::min(wanted * 4, kLongestAhead);
  ahead_.version = table_->database->PagesVersion();
  ahead_.changes = connection_.Changes();
  try {
    while (ahead_.rows.size() < wanted && !ahead_.ended) {
      ahead_.ended = !(walk_ ? walk_->Next() : scan_->Next());
      if (!ahead_.ended) KeepAhead(walk_ ? walk_->Id() : scan_->Id());
    }
  } catch (...) {
    // The rows before come first.
    if (ahead_.rows.empty()) throw;
    ahead_.failed = true;
  }
  return !ahead_.rows.empty();
}

void TableRowset::GoBehindTheLast() {
  if (ahead_.next == 0) return;
  const AheadRow& last = ahead_.rows[ahead_.next - 1];
  if (walk_) {
    walk_->GoBehind(last.key, last.id);
  } else {
    scan_->GoBehind(last.id);
  }
}

void TableRowset::KeepAhead(jet::RowId id) {
  if (connection_.Changes() != walkBegan_ && (visited_.Has(id) || (!adds_ && added_.Has(id)))) return;
  if (!table_->table->Read(id, row_)) return;
  AheadRow row;
  row.id = id;
  if (walk_) row.key.assign(walk_->Key().begin(), walk_->Key().end());
  row.values.resize(fields_.size());
  ReadShort(row.values);
  HoldLong(row.values);
  ahead_.rows.push_back(std::move(row));
}

void TableRowset::ReadShort(std::vector<Variant>& values) {
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    if (IsLong(table_->columns[i])) {
      values[i] = Variant();
    } else {
      ReadColumn(row_, i, table_->columns[i].type.type, values[i]);
    }
  }
}

void TableRowset::HoldLong(std::vector<Variant>& values) {
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    if (!asked_[i] || row_.StoredLength(i) > kLongestHeld) continue;
    try {
      ReadColumn(row_, i, table_->columns[i].type.type, values[i]);
    } catch (const jet::Error&) {
      values[i] = Variant();  // told to who asks for it
    }
  }
}

bool TableRowset::IsHeld(std::size_t field) {
  if (!id_ || values_[field].IsEmpty() || version_ != ahead_.version) return false;
  return connection_.Changes() == ahead_.changes && table_->database->NothingSince(version_);
}

bool TableRowset::Take(jet::RowId id) {
  std::fill(readers_.begin(), readers_.end(), nullptr);
  std::fill(chunkAt_.begin(), chunkAt_.end(), 0);
  std::fill(seen_.begin(), seen_.end(), false);
  const jet::Database::ReadScope scope(*table_->database);
  version_ = table_->database->PagesVersion();
  if (!table_->table->Read(id, row_)) return false;
  ReadShort(values_);
  id_ = id;
  return true;
}

bool TableRowset::Refresh() {
  SeeRollbacks();
  return OnEngine([&] {
    jet::sql::RequireCurrent(*table_);
    const jet::Database::ReadScope scope(*table_->database);
    const jet::Table::RowTest isStillRead = IsStillRead();
    const bool found = id_ && table_->table->Read(*id_, row_) && (!isStillRead || isStillRead(row_)) && Take(*id_);
    if (!found) id_.reset();
    return found;
  });
}

Variant TableRowset::Value(std::size_t field) {
  SeeRollbacks();
  if (!IsLong(table_->columns[field])) return values_[field];
  asked_[field] = true;
  return OnEngine([&] {
    Variant value = runtime::Null{};
    if (!id_) return value;
    if (IsHeld(field)) {
      seen_[field] = true;
      return values_[field];
    }
    const jet::Database::ReadScope scope(*table_->database);
    jet::sql::RequireCurrent(*table_);
    const jet::Table::RowTest isStillRead = IsStillRead();
    if (!table_->table->Read(*id_, row_) || (isStillRead && !isStillRead(row_))) throw AdoError(runtime::kNoCurrentRecord);
    ReadColumn(row_, field, table_->columns[field].type.type, value);
    seen_[field] = LengthOf(value) <= kLongestComparedValue;
    values_[field] = seen_[field] ? value : Variant();
    return value;
  });
}

std::size_t TableRowset::ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) {
  SeeRollbacks();
  if (!IsLong(table_->columns[field]) || capacity < 8) return PieceOf(Value(field), chunkAt_[field], buffer, capacity);
  asked_[field] = true;
  return OnEngine([&]() -> std::size_t {
    if (readers_[field] == nullptr && (chunkAt_[field] > 0 || IsHeld(field)))
      return PieceOf(values_[field], chunkAt_[field], buffer, capacity);
    if (readers_[field] == nullptr && id_) {
      jet::sql::RequireCurrent(*table_);
      bool found = false;
      readers_[field] = jet::OpenSteadyLong(*table_->table, *id_, field, IsStillRead(), &found);
      if (!found) throw AdoError(runtime::kNoCurrentRecord);
    }
    if (readers_[field] == nullptr) return 0;
    const std::size_t count = readers_[field]->Read(std::span(buffer, capacity));
    if (count == 0) readers_[field] = nullptr;
    return count;
  });
}

void TableRowset::Insert(std::span<const Assignment> values) {
  const jet::RowId id = writer_.Insert(values, columns_);
  inserted_ = true;
  gone_ = false;
  OnEngine([&] {
    if (Take(id)) return;
    // Another one has deleted it already.
    id_.reset();
    std::fill(values_.begin(), values_.end(), Variant(runtime::Null{}));
  });
}

jet::Table::RowTest TableRowset::IsMeant() {
  std::vector<std::size_t> compared = OnEngine([&] { return writer_.KeyColumns(); });
  if (compared.empty()) {
    for (std::size_t i = 0; i < fields_.size(); ++i) compared.push_back(i);
  }
  return [this, compared = std::move(compared)](jet::Row& row) {
    Variant now;
    return std::all_of(compared.begin(), compared.end(), [&](std::size_t i) {
      if (IsLong(table_->columns[i])) return true;
      ReadColumn(row, i, table_->columns[i].type.type, now);
      return SameValue(now, values_[i]);
    });
  };
}

jet::Table::RowTest TableRowset::IsStillRead() {
  if (writer_.KeyColumns().empty() && version_ == table_->database->PagesVersion()) return {};
  return IsMeant();
}

jet::Table::RowTest TableRowset::IsUnchanged(std::span<const Assignment> values) {
  return [this, values](jet::Row& row) {
    Variant now;
    return std::all_of(values.begin(), values.end(), [&](const Assignment& value) {
      const std::size_t i = value.field;
      if (IsLong(table_->columns[i]) && !seen_[i]) return true;
      ReadColumn(row, i, table_->columns[i].type.type, now);
      return SameValue(now, values_[i]);
    });
  };
}

void TableRowset::Update(std::span<const Assignment> values) {
  SeeRollbacks();
  if (!id_) throw AdoError(runtime::kNoCurrentRecord);
  std::fill(readers_.begin(), readers_.end(), nullptr);
  writer_.Update(*id_, values, columns_, IsMeant(), IsUnchanged(values));
  OnEngine([&] {
    if (!Take(*id_)) id_.reset();
  });
}

void TableRowset::Delete() {
  SeeRollbacks();
  if (!id_) throw AdoError(runtime::kNoCurrentRecord);
  std::fill(readers_.begin(), readers_.end(), nullptr);
  writer_.Delete(*id_, IsMeant());
  visited_.Remove(*id_);
  id_.reset();
}

bool TableRowset::UseIndex(const std::string& name) {
  return OnEngine([&] {
    std::optional<std::size_t> found;
    if (!name.empty()) {
      found = table_->table->FindIndex(name);
      if (!found) return false;
      if (!table_->table->Indexes()[*found].writable)
        throw jet::Error(jet::ErrorCode::kUnsupported, "the order of the index \"" + name + "\" is not known");
    }
    index_ = found;
    BeginWalk();
    inserted_ = false;
    return true;
  });
}

bool TableRowset::Seek(std::span<const Variant> key, SeekOption option) {
  if (!index_) throw AdoError(runtime::kOperationNotSupported, "Index");
  inserted_ = false;
  return OnEngine([&] {
    const AtRest atRest{*this};
    const jet::IndexDef& index = table_->table->Indexes()[*index_];
    if (key.empty() || key.size() > index.columns.size())
      throw jet::Error(jet::ErrorCode::kTypeMismatch, "the key has another number of values than the index");
    std::vector<jet::Value> values;
    for (std::size_t i = 0; i < key.size(); ++i) {
      values.push_back(jet::sql::Coerced(ToValue(key[i]), table_->columns[index.columns[i].column].type, connection_.Session().Settings()));
    }
    const jet::Database::ReadScope scope(*table_->database);
    return SeekRow(values, option);
  });
}

bool TableRowset::SeekRow(const std::vector<jet::Value>& key, SeekOption option) {
  BeginWalk();
  jet::IndexCursor cursor(*table_->table, *index_);
  const jet::KeyBound at{key, true};
  const jet::KeyBound beyond{key, false};
  switch (option) {
    case adSeekFirstEQ:
      cursor.SetRange(at, at);
      break;
    case adSeekLastEQ:
      cursor.SetRange(at, at, true);
      break;
    case adSeekAfterEQ:
      cursor.SetRange(at, std::nullopt);
      break;
    case adSeekAfter:
      cursor.SetRange(beyond, std::nullopt);
      break;
    case adSeekBeforeEQ:
      cursor.SetRange(std::nullopt, at, true);
      break;
    case adSeekBefore:
      cursor.SetRange(std::nullopt, beyond, true);
      break;
  }
  while (cursor.Next()) {
    if (!Take(cursor.Id())) continue;
    visited_.Add(*id_);
    WalkFrom(*id_);
    return true;
  }
  return false;
}

void TableRowset::WalkFrom(jet::RowId id) {
  const jet::IndexDef& index = table_->table->Indexes()[*index_];
  jet::KeyBound here;
  for (const jet::IndexColumn& column : index.columns) here.values.push_back(row_.Get(column.column));
  walk_.emplace(*table_->table, *index_);
  walk_->SetRange(here, std::nullopt);
  while (walk_->Next() && walk_->Id() != id) {
  }
}

}  // namespace tamlo::ado::jetprovider
