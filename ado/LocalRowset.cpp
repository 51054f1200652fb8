#include "ado/LocalRowset.h"

#include <algorithm>
#include <string>
#include <utility>

#include "ado/Errors.h"
#include "ado/FieldValue.h"
#include "ado/Pieces.h"
#include "ado/SameValue.h"
#include "runtime/Error.h"

namespace tamlo::ado {

LocalRowset::LocalRowset(std::vector<FieldInfo> fields) : fields_(std::move(fields)), baseCount_(0), chunkAt_(fields_.size()) {}

LocalRowset::LocalRowset(std::unique_ptr<ProviderRowset> below)
    : fields_(below->Fields()), canUpdate_(below->CanUpdate()), below_(std::move(below)), chunkAt_(fields_.size()) {
  if (!below_->CanScroll()) throw AdoError(runtime::kOperationNotSupported);
}

bool LocalRowset::Change::Waits() const {
  return isNew || deleted || std::any_of(values.begin(), values.end(), [](const auto& value) { return value.has_value(); });
}

std::vector<Assignment> LocalRowset::Change::Assignments() const {
  std::vector<Assignment> assignments;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (values[i]) assignments.push_back({i, *values[i]});
  }
  return assignments;
}

std::size_t LocalRowset::BaseCount() {
  if (!baseCount_) baseCount_ = below_->RowCount();
  return *baseCount_;
}

std::optional<std::size_t> LocalRowset::BaseOf(std::size_t position) {
  return position < BaseCount() ? std::optional(position) : added_[position - BaseCount()];
}

bool LocalRowset::IsGone(std::size_t position) {
  if (deleted_.contains(position)) return true;
  const auto change = changes_.find(position);
  return change == changes_.end() ? !BaseOf(position) : change->second.deleted;
}

// ----- moving

bool LocalRowset::MoveFirst() {
  at_.reset();
  return MoveNext();
}

bool LocalRowset::MoveNext() {
  const std::size_t count = RowCount();
  for (std::size_t next = at_ ? *at_ + 1 : 0; next < count; ++next) {
    if (MoveTo(next)) return true;
  }
  at_ = count;
  return false;
}

bool LocalRowset::MoveTo(std::size_t position) {
  std::fill(chunkAt_.begin(), chunkAt_.end(), 0);
  if (IsGone(position)) return false;
  if (const auto base = BaseOf(position); base && below_ && belowAt_ != base) {
    belowAt_.reset();
    if (!below_->MoveTo(*base)) return false;
    belowAt_ = base;
  }
  at_ = position;
  return true;
}

std::size_t LocalRowset::Current() const {
  if (!at_) throw AdoError(runtime::kNoCurrentRecord);
  return *at_;
}

// ----- values

ProviderRowset& LocalRowset::Below(std::size_t base) {
  if (belowAt_ != base) {
    belowAt_.reset();
    if (!below_->MoveTo(base)) throw AdoError(runtime::kNoCurrentRecord);
    belowAt_ = base;
  }
  return *below_;
}

Variant LocalRowset::BaseValue(std::size_t base, std::size_t field) { return below_ ? Below(base).Value(field) : kept_.At(base)[field]; }

Variant LocalRowset::Value(std::size_t field) {
  const auto change = changes_.find(Current());
  if (change != changes_.end() && change->second.values[field]) return *change->second.values[field];
  return OriginalValue(field);
}

Variant LocalRowset::OriginalValue(std::size_t field) {
  const auto base = BaseOf(Current());
  return base ? BaseValue(*base, field) : Variant(runtime::Null{});
}

std::size_t LocalRowset::ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) {
  const auto change = changes_.find(Current());
  const bool changed = change != changes_.end() && change->second.values[field];
  if (const auto base = BaseOf(*at_); base && below_ && !changed) return Below(*base).ReadChunk(field, buffer, capacity);
  return PieceOf(Value(field), chunkAt_[field], buffer, capacity);
}

Variant LocalRowset::Converted(std::size_t field, const Variant& value) {
  return below_ ? below_->Converted(field, value) : AsFieldValue(fields_[field], value);
}

// ----- changes

LocalRowset::Change& LocalRowset::ChangeOf(std::size_t position) {
  Change& change = changes_[position];
  change.values.resize(fields_.size());
  return change;
}

void LocalRowset::Take(Change& change, std::span<const Assignment> values) {
  for (const Assignment& value : values) {
    const auto* const source = std::get_if<ChunkSource>(&value.value);
    change.values[value.field] =
        source != nullptr ? WholeOf(*source, IsTextType(fields_[value.field].type)) : std::get<Variant>(value.value);
  }
  change.refused = adRecOK;
  change.takenBack = false;
}

void LocalRowset::Insert(std::span<const Assignment> values) {
  Change change;
  change.isNew = true;
  change.values.resize(fields_.size());
  Take(change, values);
  const std::size_t position = RowCount();
  added_.emplace_back();
  changes_.emplace(position, std::move(change));
  at_ = position;
  std::fill(chunkAt_.begin(), chunkAt_.end(), 0);
}

void LocalRowset::Update(std::span<const Assignment> values) {
  if (values.empty()) return;
  Take(ChangeOf(Current()), values);
  std::fill(chunkAt_.begin(), chunkAt_.end(), 0);
}

void LocalRowset::Delete() {
  const std::size_t position = Current();
  changes_.erase(position);
  if (!BaseOf(position)) return;  // it was never anywhere else
  ChangeOf(position).deleted = true;
}

bool LocalRowset::Refresh(bool keepChange) {
  const std::size_t position = Current();
  const auto base = BaseOf(position);
  if (!below_ || !base) throw AdoError(runtime::kOperationNotSupported);
  if (!Below(*base).Refresh()) {
    changes_.erase(position);
    deleted_.insert(position);
    return false;
  }
  const auto change = changes_.find(position);
  if (change == changes_.end()) return true;
  if (keepChange && change->second.Waits()) {
    change->second.refused = adRecOK;
  } else {
    changes_.erase(change);
  }
  return true;
}

RecordStatus LocalRowset::Status(std::size_t position) const {
  const auto found = changes_.find(position);
  if (found == changes_.end()) return adRecUnmodified;
  const Change& change = found->second;
  const std::int32_t what = change.isNew ? adRecNew : change.deleted || change.takenBack ? adRecDeleted : adRecModified;
  return static_cast<RecordStatus>(what | change.refused);
}

bool LocalRowset::IsIn(FilterGroup group, std::size_t position) const {
  const auto found = changes_.find(position);
  if (found == changes_.end()) return false;
  return group == adFilterPendingRecords ? found->second.Waits() : found->second.refused != adRecOK;
}

void LocalRowset::Forget() {
  changes_.clear();
  ++undone_;
}

// ----- saving

std::optional<std::vector<Variant>> LocalRowset::RowBelow(std::size_t base) {
  if (!below_->MoveTo(base)) return std::nullopt;
  std::vector<Variant> values;
  for (std::size_t field = 0; field < fields_.size(); ++field) values.push_back(below_->Value(field));
  return values;
}

void LocalRowset::Detach() {
  if (!below_) return;
  const std::vector<Variant> nothing(fields_.size(), Variant(runtime::Null{}));
  std::set<std::size_t> gone;
  auto bases = added_;
  RowStore rows;
  belowAt_.reset();
  for (std::size_t position = 0; position < RowCount(); ++position) {
    const auto base = BaseOf(position);
    if (!base) continue;
    auto values = deleted_.contains(position) ? std::nullopt : RowBelow(*base);
    if (!values) gone.insert(position);
    rows.Add(values.value_or(nothing));
    if (position >= BaseCount()) bases[position - BaseCount()] = rows.Count() - 1;
  }
  for (const std::size_t position : gone) changes_.erase(position);
  deleted_.merge(gone);
  added_ = std::move(bases);
  kept_ = std::move(rows);
  below_.reset();
}

void LocalRowset::Save(ProviderRowset* target) {
  ProviderRowset* const live = below_ ? below_.get() : target;
  std::map<std::size_t, std::size_t> found;
  if (live != nullptr && !below_) found = FindIn(*live);
  std::size_t asked = 0;
  std::size_t refused = 0;
  std::optional<runtime::Error> first;
  for (auto next = changes_.begin(); next != changes_.end();) {
    const auto it = next++;
    Change& change = it->second;
    if (!change.Waits()) continue;
    ++asked;
    try {
      belowAt_.reset();
      SaveOne(it->first, change, live, found);
      changes_.erase(it);
    } catch (const runtime::Error& error) {
      ++refused;
      if (!first) first = error;
      change.refused = error.Number() == runtime::kChangedByAnother ? adRecConcurrencyViolation : adRecIntegrityViolation;
      if (!change.deleted) continue;
      change.deleted = false;
      change.takenBack = true;
      ++undone_;
    }
  }
  belowAt_.reset();
  if (!first) return;
  const std::string count = std::to_string(refused) + " des " + std::to_string(asked) + " lignes en attente n'ont pas été écrites";
  throw first->WithContext(count);
}

void LocalRowset::SaveOne(std::size_t position, const Change& change, ProviderRowset* live,
                          const std::map<std::size_t, std::size_t>& found) {
  if (live != nullptr && change.isNew) {
    live->Insert(change.Assignments());
  } else if (live != nullptr) {
    const auto there = found.find(position);
    const auto base = below_ ? BaseOf(position) : there == found.end() ? std::nullopt : std::optional(there->second);
    if (!base || !live->MoveTo(*base)) throw AdoError(runtime::kChangedByAnother);
    change.deleted ? live->Delete() : live->Update(change.Assignments());
  }
  if (change.deleted) {
    deleted_.insert(position);
  } else {
    Keep(position, change, live);
  }
}

void LocalRowset::Keep(std::size_t position, const Change& change, ProviderRowset* live) {
  if (below_) {
    if (change.isNew) added_[position - BaseCount()] = below_->RowCount() - 1;
    return;
  }
  const auto base = BaseOf(position);
  std::vector<Variant> row = base ? kept_.At(*base) : std::vector<Variant>(fields_.size(), Variant(runtime::Null{}));
  for (std::size_t field = 0; field < fields_.size(); ++field) {
    if (live != nullptr) {
      row[field] = live->Value(field);
    } else if (change.values[field]) {
      row[field] = *change.values[field];
    }
  }
  if (base) {
    kept_.Replace(*base, std::move(row));
  } else {
    kept_.AddInMemory(row);
    added_[position - BaseCount()] = kept_.Count() - 1;
  }
}

std::map<std::size_t, std::size_t> LocalRowset::FindIn(ProviderRowset& target) {
  std::vector<std::size_t> wanted;
  for (const auto& [position, change] : changes_) {
    if (change.Waits() && !change.isNew) wanted.push_back(position);
  }
  std::map<std::size_t, std::size_t> found;
  if (target.Fields().size() != fields_.size()) return found;
  for (std::size_t row = 0; row < target.RowCount() && !wanted.empty(); ++row) {
    if (!target.MoveTo(row)) continue;
    std::vector<Variant> values;  // as far as they were compared
    const auto isThere = [&](std::size_t position) {
      const std::vector<Variant>& read = kept_.At(*BaseOf(position));
      for (std::size_t field = 0; field < fields_.size(); ++field) {
        if (field == values.size()) values.push_back(target.Value(field));
        if (!SameValue(values[field], read[field])) return false;
      }
      return true;
    };
    const auto met = std::find_if(wanted.begin(), wanted.end(), isThere);
    if (met == wanted.end()) continue;
    found.emplace(*met, row);
    wanted.erase(met);
  }
  return found;
}

}  // namespace tamlo::ado
