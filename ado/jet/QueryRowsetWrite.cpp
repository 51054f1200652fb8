// The writing half of QueryRowset: new rows, changes and deletions.
#include <algorithm>

#include "ado/Errors.h"
#include "ado/SameValue.h"
#include "ado/jet/JetErrors.h"
#include "ado/jet/JetValues.h"
#include "ado/jet/QueryRowset.h"

namespace tamlo::ado::jetprovider {

RowWriter& QueryRowset::Writer(std::size_t source) {
  if (writers_[source] == nullptr) {
    writers_[source] = std::make_unique<RowWriter>(
        connection_, std::static_pointer_cast<const jet::sql::EngineTable>(query_->Plan().sources[source].table));
  }
  return *writers_[source];
}

void QueryRowset::NoteTouched() {
  if (connection_.TransactionLevel() > 0) touched_.insert(Place());
}

Variant QueryRowset::Converted(std::size_t field, const Variant& value) {
  const int source = query_->Columns()[field].source;
  return source < 0 ? value : Writer(static_cast<std::size_t>(source)).Converted(columns_[field], value);
}

void QueryRowset::Insert(std::span<const Assignment> values) {
  if (ids_.size() != 1) throw AdoError(runtime::kOperationNotSupported, "la requête porte sur plusieurs tables");
  for (const Assignment& value : values) {
    if (query_->Columns()[value.field].source < 0) throw AdoError(runtime::kOperationNotSupported, fields_[value.field].name);
  }
  SeeRollbacks();
  Fix();
  const jet::RowId id = Writer(0).Insert(values, columns_);
  ForgetPieces();
  ids_[0] = id;
  gone_ = false;
  standing_ = true;
  OnEngine([&] { TakeInserted(id); });
}

void QueryRowset::TakeInserted(jet::RowId id) {
  // Columns that are expressions have no value in a row of its own making. Nor has any when another program has deleted it already.
  const std::vector<Variant> nothing(fields_.size(), Variant(runtime::Null{}));
  if (kind_ == Kind::kStatic) {
    kept_.Add(AsInTable(ids_, nothing).value_or(nothing));
    members_.Add(ids_);
    next_ = members_.Count();
    NoteTouched();
    return;
  }
  const auto still = query_->HoldStill();
  values_ = nothing;
  const bool found = TakeAny();
  if (kind_ != Kind::kKeyset) {
    inserted_ = true;
    return;
  }
  const std::uint64_t print = found && !keys_[0].empty() ? row_.Fingerprint(keys_[0]) : 0;
  if (!expressions_.empty()) kept_.Add(std::vector<Variant>(expressions_.size(), Variant(runtime::Null{})));
  members_.Add(ids_, std::span(&print, 1));
  added_[0].Remove(id);
  next_ = members_.Count();
}

jet::Table::RowTest QueryRowset::IsMeant(std::size_t source) {
  std::vector<std::size_t> compared;
  std::vector<std::size_t> ofKey;
  const std::vector<std::size_t> key = OnEngine([&] { return Writer(source).KeyColumns(); });
  std::vector<bool> found(key.size(), false);
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const jet::sql::ResultColumn& column = query_->Columns()[i];
    if (column.source != static_cast<int>(source) || IsLong(i)) continue;
    compared.push_back(i);
    const auto at = std::find(key.begin(), key.end(), column.column);
    if (at == key.end()) continue;
    found[static_cast<std::size_t>(at - key.begin())] = true;
    ofKey.push_back(i);
  }
  if (!key.empty() && std::find(found.begin(), found.end(), false) == found.end()) compared = std::move(ofKey);
  return [this, compared = std::move(compared)](jet::Row& row) {
    Variant now;
    return std::all_of(compared.begin(), compared.end(), [&](std::size_t i) {
      const jet::sql::ResultColumn& column = query_->Columns()[i];
      ReadColumn(row, column.column, column.type.type, now);
      return SameValue(now, values_[i]);
    });
  };
}

jet::Table::RowTest QueryRowset::IsStillRead(std::size_t source) {
  if (Writer(source).KeyColumns().empty() && versions_[source] == SourceTable(source).database->PagesVersion()) return {};
  return IsMeant(source);
}

jet::Table::RowTest QueryRowset::IsUnchanged(std::span<const Assignment> values) {
  return [this, values](jet::Row& row) {
    Variant now;
    return std::all_of(values.begin(), values.end(), [&](const Assignment& value) {
      const std::size_t i = value.field;
      if (IsLong(i) && !seen_[i]) return true;
      const jet::sql::ResultColumn& column = query_->Columns()[i];
      ReadColumn(row, column.column, column.type.type, now);
      return SameValue(now, values_[i]);
    });
  };
}

void QueryRowset::RequireChangeable() {
  // The change itself must not be met by what is still to be read.
  if (kind_ == Kind::kForward && !settled_ && !inserted_) Settle();
  SeeRollbacks();
  if (gone_) throw AdoError(runtime::kNoCurrentRecord);
  if (!IsKept()) return;
  values_ = KeptRow();
  for (std::size_t i = 0; i < fields_.size(); ++i)
    seen_[i] = IsLong(i) && LengthOf(values_[i]) <= kLongestComparedValue && !refused_.contains({Place(), i});
}

void QueryRowset::Update(std::span<const Assignment> values) {
  RequireChangeable();
  std::fill(readers_.begin(), readers_.end(), nullptr);
  for (const Assignment& value : values) {
    const int source = query_->Columns()[value.field].source;
    if (source < 0 || !ids_[static_cast<std::size_t>(source)]) throw AdoError(runtime::kOperationNotSupported, fields_[value.field].name);
  }
  OnEngine([&] {
    std::optional<jet::Transaction> together;
    if (ids_.size() > 1) together.emplace(connection_.Database());
    for (std::size_t source = 0; source < ids_.size(); ++source) {
      std::vector<Assignment> own;
      for (const Assignment& value : values) {
        if (query_->Columns()[value.field].source == static_cast<int>(source)) own.push_back(value);
      }
      if (!own.empty()) Writer(source).Update(*ids_[source], own, columns_, IsMeant(source), IsUnchanged(own));
    }
    if (together) together->Commit();
    TakeUpdated();
  });
}

void QueryRowset::TakeUpdated() {
  if (IsKept()) {
    if (auto row = AsInTable(ids_, KeptRow())) kept_.Replace(Place(), *std::move(row));
    for (std::size_t i = 0; i < fields_.size(); ++i) refused_.erase({Place(), i});
    NoteTouched();
    return;
  }
  const auto still = query_->HoldStill();
  std::fill(seen_.begin(), seen_.end(), false);
  for (std::size_t source = 0; source < ids_.size(); ++source) {
    if (!ids_[source]) continue;
    versions_[source] = SourceTable(source).database->PagesVersion();
    if (!SourceTable(source).table->Read(*ids_[source], row_)) continue;
    if (kind_ == Kind::kKeyset && !keys_[source].empty()) members_.Rekey(Place(), source, row_.Fingerprint(keys_[source]));
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      const jet::sql::ResultColumn& column = query_->Columns()[i];
      if (column.source == static_cast<int>(source) && !IsLong(i)) ReadColumn(row_, column.column, column.type.type, values_[i]);
    }
  }
}

void QueryRowset::Delete() {
  if (ids_.size() != 1) throw AdoError(runtime::kOperationNotSupported, "la requête porte sur plusieurs tables");
  RequireChangeable();
  if (!ids_[0]) throw AdoError(runtime::kOperationNotSupported, "la requête porte sur plusieurs tables");
  std::fill(readers_.begin(), readers_.end(), nullptr);
  Writer(0).Delete(*ids_[0], IsMeant(0));
  standing_ = false;
  visited_.Remove(ids_);
  if (IsKept() || kind_ == Kind::kKeyset) {
    members_.Gone(Place(), true);
    NoteTouched();
  }
}

}  // namespace tamlo::ado::jetprovider
