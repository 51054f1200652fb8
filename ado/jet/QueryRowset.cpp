#include "ado/jet/QueryRowset.h"

#include <algorithm>

#include "ado/Errors.h"
#include "ado/Pieces.h"
#include "ado/SameValue.h"
#include "ado/jet/JetErrors.h"
#include "ado/jet/JetValues.h"
#include "jet/table/SteadyLong.h"

namespace tamlo::ado::jetprovider {

QueryRowset::QueryRowset(JetConnection& connection, std::unique_ptr<jet::sql::Query> query, const RowsetRequest& request)
    : connection_(connection), query_(std::move(query)) {
  const jet::sql::SelectPlan& plan = query_->Plan();
  for (const jet::sql::ResultColumn& column : plan.columns) {
    if (column.source < 0) expressions_.push_back(fields_.size());
    fields_.push_back(Described(column.name, column.type));
    columns_.push_back(column.column);
  }
  bool ofTables = !plan.sources.empty();
  for (const jet::sql::SelectPlan::Source& source : plan.sources)
    ofTables = ofTables && source.table != nullptr && source.table->rereadable;
  const bool copies = request.cursor == adOpenStatic || request.location == adUseClient;
  kind_ = copies || (request.cursor == adOpenKeyset && !ofTables) ? Kind::kStatic
          : request.cursor == adOpenKeyset                        ? Kind::kKeyset
          : request.cursor == adOpenDynamic && ofTables           ? Kind::kDynamic
                                                                  : Kind::kForward;
  updatable_ = ofTables && (IsLive() || request.lock > adLockReadOnly) && !connection.Database().ReadOnly();
  for (const jet::sql::SelectPlan::Source& source : plan.sources) {
    updatable_ = updatable_ && !static_cast<const jet::sql::EngineTable&>(*source.table).database->ReadOnly();
  }
  if (IsLive()) query_->ReadRowsAgain();
  ids_.resize(plan.sources.size());
  versions_.resize(plan.sources.size());
  fixedAt_.resize(plan.sources.size());
  keys_.resize(plan.sources.size());
  added_.resize(plan.sources.size());
  writers_.resize(plan.sources.size());
  values_.resize(fields_.size());
  seen_.resize(fields_.size());
  readers_.resize(fields_.size());
  chunkAt_.resize(fields_.size());
  rollbacks_ = connection.Rollbacks();
}

QueryRowset::~QueryRowset() { connection_.HasRead(*this); }

const jet::sql::EngineTable& QueryRowset::SourceTable(std::size_t source) const {
  return static_cast<const jet::sql::EngineTable&>(*query_->Plan().sources[source].table);
}

bool QueryRowset::Reads(const jet::sql::EngineTable& table) const {
  const auto& reads = query_->Plan().reads;
  return std::any_of(reads.begin(), reads.end(), [&](const jet::sql::TablePointer& pointer) {
    const auto& read = static_cast<const jet::sql::EngineTable&>(*pointer);
    return &read == &table || (read.database == table.database && read.definition == table.definition && table.database != nullptr);
  });
}

bool QueryRowset::IsLong(std::size_t field) const {
  const jet::sql::ResultColumn& column = query_->Columns()[field];
  const bool isLong = column.type.type == jet::ColumnType::kMemo || column.type.type == jet::ColumnType::kOle;
  return isLong && column.source >= 0 && SourceTable(static_cast<std::size_t>(column.source)).rereadable;
}

// ----- finding rows

void QueryRowset::ForgetRows() {
  kept_.Clear();
  members_.Clear(updatable_ || IsLive() ? ids_.size() : 0);
  refused_.clear();
  touched_.clear();
  visited_.Clear();
  unread_ = nullptr;
  next_ = 0;
  settled_ = fixed_ = standing_ = inserted_ = gone_ = false;
}

void QueryRowset::Fix() {
  if (!CanScroll() || fixed_) return;
  ForgetRows();
  try {
    OnEngine([&] {
      query_->Rewind();
      // What is found is what is there at one moment.
      const auto still = query_->HoldStill();
      for (std::size_t source = 0; kind_ == Kind::kKeyset && source < ids_.size(); ++source) {
        keys_[source] = Writer(source).KeyColumns();
        added_[source].Begin(*SourceTable(source).table);
        fixedAt_[source] = SourceTable(source).database->PagesVersion();
      }
      while (query_->Next()) kind_ == Kind::kKeyset ? KeepMember() : Keep();
    });
  } catch (...) {
    ForgetRows();
    throw;
  }
  fixed_ = true;
}

void QueryRowset::KeepMember() {
  std::vector<std::uint64_t> prints;
  RowIds ids(ids_.size());
  for (std::size_t source = 0; source < ids.size(); ++source) {
    ids[source] = query_->Identity(source);
    prints.push_back(query_->KeyPrint(source));
  }
  members_.Add(ids, prints);
  if (expressions_.empty()) return;
  std::vector<Variant> values;
  for (const std::size_t field : expressions_) values.push_back(ToVariant(query_->Get(field)));
  kept_.Add(values);
}

void QueryRowset::Keep() {
  std::vector<Variant>& row = keeping_;
  row.clear();
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    try {
      row.push_back(ToVariant(query_->Get(i)));
    } catch (const jet::Error& error) {
      // A long value that another program has changed since its row was read: whoever asks for it is told.
      if (error.Code() != jet::ErrorCode::kChangedMeanwhile) throw;
      refused_.emplace(std::pair(kept_.Count(), i), Translated(error));
      row.push_back(runtime::Null{});
    }
  }
  kept_.Add(row);
  RowIds ids(ids_.size());
  for (std::size_t source = 0; updatable_ && source < ids.size(); ++source) ids[source] = query_->Identity(source);
  members_.Add(ids);
}

void QueryRowset::Settle() noexcept {
  connection_.HasRead(*this);
  if (settled_ || inserted_) return;  // behind a new row comes nothing more
  settled_ = true;
  // A long value that is being read goes on at chunkAt_, in what is kept.
  std::fill(readers_.begin(), readers_.end(), nullptr);
  try {
    OnEngine([&] {
      if (standing_) Keep();
      next_ = kept_.Count();
      const auto still = query_->HoldStill();
      while (query_->Next()) Keep();
    });
  } catch (...) {
    unread_ = std::current_exception();
  }
}

std::size_t QueryRowset::RowCount() {
  Fix();
  return members_.Count();
}

// ----- moving

bool QueryRowset::MoveFirst() {
  SeeRollbacks();
  if (CanScroll()) {
    Fix();
    next_ = 0;
    return Advance();
  }
  OnEngine([&] { query_->Rewind(); });
  ForgetRows();
  walkBegan_ = connection_.Changes();
  if (kind_ == Kind::kForward) connection_.BeginsToRead(*this);
  return Advance();
}

bool QueryRowset::MoveNext() {
  SeeRollbacks();
  if (std::exchange(inserted_, false)) {
    standing_ = false;
    return false;  // a new row is behind all others
  }
  return Advance();
}

bool QueryRowset::MoveTo(std::size_t position) {
  SeeRollbacks();
  Fix();
  next_ = position + 1;
  return standing_ = Stand(position);
}

bool QueryRowset::Advance() {
  standing_ = gone_ = false;
  ForgetPieces();
  if (!CanScroll() && !settled_) return standing_ = AdvanceInQuery();
  while (next_ < members_.Count()) {
    if (Stand(next_++)) return standing_ = true;
  }
  if (unread_) std::rethrow_exception(std::exchange(unread_, nullptr));
  return false;
}

bool QueryRowset::AdvanceInQuery() {
  return OnEngine([&] {
    for (;;) {
      if (!query_->Next()) {
        connection_.HasRead(*this);
        return false;
      }
      for (std::size_t i = 0; i < ids_.size(); ++i) ids_[i] = query_->Identity(i);
      if (kind_ == Kind::kForward) return true;
      if (connection_.Changes() != walkBegan_ && visited_.Has(ids_)) continue;
      if (!TakeFound()) continue;
      visited_.Add(ids_);
      return true;
    }
  });
}

bool QueryRowset::Stand(std::size_t position) {
  ForgetPieces();
  gone_ = false;
  if (members_.IsGone(position)) return false;
  if (IsLive()) return OnEngine([&] { return TakeMember(position); });
  if (updatable_) members_.Ids(position, ids_);
  return true;
}

void QueryRowset::ForgetPieces() {
  std::fill(readers_.begin(), readers_.end(), nullptr);
  std::fill(chunkAt_.begin(), chunkAt_.end(), 0);
}

template <typename Test>
bool QueryRowset::TakeRow(Test isMeant) {
  std::fill(seen_.begin(), seen_.end(), false);
  for (std::size_t source = 0; source < ids_.size(); ++source) {
    if (!ids_[source]) continue;
    jet::sql::RequireCurrent(SourceTable(source));
    versions_[source] = SourceTable(source).database->PagesVersion();
    if (!SourceTable(source).table->Read(*ids_[source], row_) || !isMeant(source)) return false;
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      const jet::sql::ResultColumn& column = query_->Columns()[i];
      if (column.source == static_cast<int>(source) && !IsLong(i)) ReadColumn(row_, column.column, column.type.type, values_[i]);
    }
  }
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const int source = query_->Columns()[i].source;
    if (source >= 0 && !ids_[static_cast<std::size_t>(source)]) values_[i] = runtime::Null{};
  }
  return true;
}

bool QueryRowset::TakeAny() {
  return TakeRow([](std::size_t) { return true; });
}

bool QueryRowset::TakeFound() {
  if (query_->IsAsRead()) {
    TakeAsRead();
    return true;
  }
  const auto still = query_->HoldStill();
  if (!TakeRow([&](std::size_t source) { return query_->IsStill(source, row_); })) return false;
  for (const std::size_t field : expressions_) values_[field] = ToVariant(query_->Get(field));
  return true;
}

void QueryRowset::TakeAsRead() {
  std::fill(seen_.begin(), seen_.end(), false);
  for (std::size_t source = 0; source < ids_.size(); ++source) versions_[source] = query_->Version(source);
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    if (!IsLong(i)) values_[i] = ToVariant(query_->Get(i));
  }
}

bool QueryRowset::TakeMember(std::size_t position) {
  const auto still = query_->HoldStill();
  members_.Ids(position, ids_);
  if (!TakeRow([&](std::size_t source) { return IsMember(position, source); })) return false;
  for (std::size_t i = 0; i < expressions_.size(); ++i) values_[expressions_[i]] = kept_.At(position)[i];
  return true;
}

bool QueryRowset::IsMember(std::size_t position, std::size_t source) {
  if (added_[source].Has(*ids_[source])) return false;
  // What this program has done to the key is a change like any other: nobody else's row can stand there.
  if (keys_[source].empty() || versions_[source] == fixedAt_[source]) return true;
  return members_.HasKey(position, source, row_.Fingerprint(keys_[source]));
}

// ----- what was rolled back

void QueryRowset::SeeRollbacks() {
  if (rollbacks_ == connection_.Rollbacks()) return;
  rollbacks_ = connection_.Rollbacks();
  OnEngine([&] {
    for (const std::size_t position : touched_) KeepAgain(position);
    if (connection_.TransactionLevel() == 0) touched_.clear();
    for (NewRows& rows : added_) rows.End();
    if (!standing_) return;
    if (IsKept()) {
      gone_ = members_.IsGone(Place());
    } else if (inserted_) {
      const auto still = query_->HoldStill();
      gone_ = !TakeAny();
    } else if (IsLive()) {
      gone_ = !(kind_ == Kind::kKeyset ? TakeMember(Place()) : TakeFound());
    }
  });
}

void QueryRowset::KeepAgain(std::size_t position) {
  if (IsLive()) {
    members_.Gone(position, false);
  } else {
    RefreshKept(position);
  }
}

void QueryRowset::RefreshKept(std::size_t position) {
  RowIds ids(ids_.size());
  members_.Ids(position, ids);
  auto row = AsInTable(ids, kept_.At(position));
  members_.Gone(position, !row);
  if (row) kept_.Replace(position, *std::move(row));
}

std::optional<std::vector<Variant>> QueryRowset::AsInTable(const RowIds& ids, std::vector<Variant> row) {
  const auto still = query_->HoldStill();
  for (std::size_t source = 0; source < ids.size(); ++source) {
    if (!ids[source]) continue;
    jet::sql::RequireCurrent(SourceTable(source));
    if (!SourceTable(source).table->Read(*ids[source], row_)) return std::nullopt;
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      const jet::sql::ResultColumn& column = query_->Columns()[i];
      if (column.source == static_cast<int>(source)) ReadColumn(row_, column.column, column.type.type, row[i]);
    }
  }
  return row;
}

bool QueryRowset::Refresh() {
  SeeRollbacks();
  ForgetPieces();
  if (kind_ == Kind::kForward && !inserted_) throw AdoError(runtime::kOperationNotSupported);
  return OnEngine([&] {
    if (inserted_) {
      const auto still = query_->HoldStill();
      gone_ = !TakeAny();
    } else if (IsLive()) {
      gone_ = !(kind_ == Kind::kKeyset ? TakeMember(Place()) : TakeFound());
    } else {
      if (!updatable_) throw AdoError(runtime::kOperationNotSupported);
      values_ = KeptRow();
      const auto still = query_->HoldStill();
      for (std::size_t source = 0; source < ids_.size() && !members_.IsGone(Place()); ++source) {
        if (ids_[source] && (!SourceTable(source).table->Read(*ids_[source], row_) || !IsMeant(source)(row_))) members_.Gone(Place(), true);
      }
      gone_ = members_.IsGone(Place());
      if (!gone_) RefreshKept(Place());
    }
    return standing_ = !gone_;
  });
}

// ----- values

const std::vector<Variant>& QueryRowset::KeptRow() {
  // The current row itself could not be kept.
  if (Place() >= kept_.Count()) std::rethrow_exception(unread_);
  return kept_.At(Place());
}

const Variant& QueryRowset::KeptValue(std::size_t field) {
  const std::vector<Variant>& row = KeptRow();
  if (!refused_.empty()) {
    if (const auto found = refused_.find({Place(), field}); found != refused_.end()) throw found->second;
  }
  return row[field];
}

Variant QueryRowset::Value(std::size_t field) {
  SeeRollbacks();
  if (gone_) throw AdoError(runtime::kNoCurrentRecord);
  if (IsKept()) return KeptValue(field);
  if (IsInTable() && !IsLong(field)) return values_[field];
  return OnEngine([&]() -> Variant {
    if (!IsInTable()) return ToVariant(query_->Get(field));
    const jet::sql::ResultColumn& column = query_->Columns()[field];
    const auto source = static_cast<std::size_t>(column.source);
    Variant value = runtime::Null{};
    if (!ids_[source]) return value;
    const auto still = query_->HoldStill();
    jet::sql::RequireCurrent(SourceTable(source));
    const jet::Table::RowTest isStillRead = IsStillRead(source);
    if (!SourceTable(source).table->Read(*ids_[source], row_) || (isStillRead && !isStillRead(row_)))
      throw AdoError(runtime::kNoCurrentRecord);
    ReadColumn(row_, column.column, column.type.type, value);
    seen_[field] = LengthOf(value) <= kLongestComparedValue;
    values_[field] = seen_[field] ? value : Variant();
    return value;
  });
}

std::unique_ptr<jet::LongValueReader> QueryRowset::OpenLong(std::size_t field) {
  if (!IsInTable()) return query_->OpenLong(field);
  const jet::sql::ResultColumn& column = query_->Columns()[field];
  const auto source = static_cast<std::size_t>(column.source);
  if (!ids_[source]) return nullptr;
  jet::sql::RequireCurrent(SourceTable(source));
  bool found = false;
  auto reader = jet::OpenSteadyLong(*SourceTable(source).table, *ids_[source], column.column, IsStillRead(source), &found);
  if (!found) throw AdoError(runtime::kNoCurrentRecord);
  return reader;
}

std::size_t QueryRowset::ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) {
  SeeRollbacks();
  if (gone_) throw AdoError(runtime::kNoCurrentRecord);
  if (IsKept()) return PieceOf(KeptValue(field), chunkAt_[field], buffer, capacity);
  if (!IsLong(field) || capacity < 8) return PieceOf(Value(field), chunkAt_[field], buffer, capacity);
  return OnEngine([&]() -> std::size_t {
    if (readers_[field] == nullptr) {
      readers_[field] = OpenLong(field);
      chunkAt_[field] = 0;
    }
    if (readers_[field] == nullptr) return 0;
    const std::size_t count = readers_[field]->Read(std::span(buffer, capacity));
    chunkAt_[field] += count;
    if (count > 0) return count;
    readers_[field] = nullptr;
    return chunkAt_[field] = 0;
  });
}

}  // namespace tamlo::ado::jetprovider
