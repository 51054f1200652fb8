#include "ado/jet/QueryRowset.h"

#include <algorithm>
#include <cstring>

#include "ado/Errors.h"
#include "ado/SameValue.h"
#include "ado/jet/JetErrors.h"
#include "ado/jet/JetValues.h"
#include "jet/SteadyLong.h"

namespace tamlo::ado::jetprovider {

namespace {

constexpr std::size_t kStaticBudget = std::size_t{64} << 20;

std::size_t SizeOf(const Variant& value) {
  std::size_t size = sizeof(Variant);
  if (const auto* text = value.If<std::string>()) size += text->size();
  if (const auto* bytes = value.If<runtime::Bytes>()) size += bytes->size();
  return size;
}

}  // namespace

std::size_t PieceOf(const Variant& value, std::size_t& offset, std::byte* buffer, std::size_t capacity) {
  const char* data = nullptr;
  std::size_t size = 0;
  const auto* text = value.If<std::string>();
  if (text != nullptr) {
    data = text->data();
    size = text->size();
  } else if (const auto* bytes = value.If<runtime::Bytes>()) {
    data = reinterpret_cast<const char*>(bytes->data());
    size = bytes->size();
  }
  if (offset >= size) {
    offset = 0;
    return 0;
  }
  std::size_t count = std::min(capacity, size - offset);
  // A text is never cut inside a character.
  while (text != nullptr && count > 0 && offset + count < size && (static_cast<unsigned char>(data[offset + count]) & 0xC0) == 0x80)
    --count;
  std::memcpy(buffer, data + offset, count);
  offset += count;
  return count;
}

QueryRowset::QueryRowset(JetConnection& connection, std::unique_ptr<jet::sql::Query> query, const RowsetRequest& request)
    : connection_(connection), query_(std::move(query)) {
  const jet::sql::SelectPlan& plan = query_->Plan();
  for (const jet::sql::ResultColumn& column : plan.columns) {
    fields_.push_back(Described(column.name, column.type));
    columns_.push_back(column.column);
  }
  bool live = !plan.sources.empty();
  for (const jet::sql::SelectPlan::Source& source : plan.sources) live = live && source.table != nullptr && source.table->rereadable;
  kind_ = request.cursor == adOpenStatic                                                ? Kind::kStatic
          : (request.cursor == adOpenKeyset || request.cursor == adOpenDynamic) && live ? Kind::kLive
                                                                                        : Kind::kForward;
  updatable_ = kind_ == Kind::kLive && !connection.Database().ReadOnly();
  for (const jet::sql::SelectPlan::Source& source : plan.sources) {
    updatable_ = updatable_ && !static_cast<const jet::sql::EngineTable&>(*source.table).database->ReadOnly();
  }
  if (kind_ == Kind::kLive) query_->ReadRowsAgain();
  ids_.resize(plan.sources.size());
  versions_.resize(plan.sources.size());
  writers_.resize(plan.sources.size());
  values_.resize(fields_.size());
  seen_.resize(fields_.size());
  readers_.resize(fields_.size());
  chunkAt_.resize(fields_.size());
}

const jet::sql::EngineTable& QueryRowset::SourceTable(std::size_t source) const {
  return static_cast<const jet::sql::EngineTable&>(*query_->Plan().sources[source].table);
}

RowWriter& QueryRowset::Writer(std::size_t source) {
  if (writers_[source] == nullptr) {
    writers_[source] = std::make_unique<RowWriter>(
        connection_.Session(), std::static_pointer_cast<const jet::sql::EngineTable>(query_->Plan().sources[source].table));
  }
  return *writers_[source];
}

bool QueryRowset::IsLong(std::size_t field) const {
  const jet::sql::ResultColumn& column = query_->Columns()[field];
  const bool isLong = column.type.type == jet::ColumnType::kMemo || column.type.type == jet::ColumnType::kOle;
  return isLong && column.source >= 0 && SourceTable(static_cast<std::size_t>(column.source)).rereadable;
}

bool QueryRowset::MoveFirst() {
  inserted_ = false;
  if (kind_ == Kind::kStatic && keeping_ && (keptAll_ || !kept_.empty())) {
    keptAt_ = 0;
    return Advance();
  }
  OnEngine([&] { query_->Rewind(); });
  kept_.clear();
  keptBytes_ = keptAt_ = 0;
  keptAll_ = false;
  moved_.clear();
  if (kind_ != Kind::kStatic || !keeping_) return Advance();
  // What is kept is what was there at one moment.
  const auto still = OnEngine([&] { return query_->HoldStill(); });
  return Advance() && KeepAll();
}

bool QueryRowset::KeepAll() {
  while (keeping_ && Advance()) {
  }
  if (keeping_) {
    keptAt_ = 1;
    return true;
  }
  OnEngine([&] { query_->Rewind(); });
  return Advance();
}

bool QueryRowset::MoveNext() {
  if (std::exchange(inserted_, false)) return false;  // a new row is behind all others
  return Advance();
}

bool QueryRowset::Advance() {
  std::fill(readers_.begin(), readers_.end(), nullptr);
  std::fill(chunkAt_.begin(), chunkAt_.end(), 0);
  if (kind_ == Kind::kStatic && keeping_) {
    if (keptAt_ < kept_.size()) {
      ++keptAt_;
      return true;
    }
    if (keptAll_) return false;
  }
  return OnEngine([&] {
    for (;;) {
      if (!query_->Next()) {
        keptAll_ = true;
        return false;
      }
      for (std::size_t i = 0; i < ids_.size(); ++i) ids_[i] = query_->Identity(i);
      if (kind_ == Kind::kLive && (moved_.contains(ids_) || !TakeRow())) continue;
      if (kind_ == Kind::kStatic && keeping_) KeepRow();
      return true;
    }
  });
}

bool QueryRowset::TakeRow() {
  const auto still = query_->HoldStill();
  std::fill(seen_.begin(), seen_.end(), false);
  for (std::size_t source = 0; source < ids_.size(); ++source) {
    if (!ids_[source]) continue;
    jet::sql::RequireCurrent(SourceTable(source));
    versions_[source] = SourceTable(source).database->PagesVersion();
    if (!SourceTable(source).table->Read(*ids_[source], row_) || !query_->IsStill(source, row_)) return false;
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      const jet::sql::ResultColumn& column = query_->Columns()[i];
      if (column.source == static_cast<int>(source) && !IsLong(i)) ReadColumn(row_, column.column, column.type.type, values_[i]);
    }
  }
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const jet::sql::ResultColumn& column = query_->Columns()[i];
    if (column.source < 0)
      values_[i] = ToVariant(query_->Get(i));
    else if (!ids_[static_cast<std::size_t>(column.source)])
      values_[i] = runtime::Null{};
  }
  return true;
}

void QueryRowset::KeepRow() {
  std::vector<Variant> row;
  row.reserve(fields_.size());
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    row.push_back(ToVariant(query_->Get(i)));
    keptBytes_ += SizeOf(row.back());
  }
  if (keptBytes_ > kStaticBudget) {
    // Too much to keep: from here on the rows come from the query alone.
    keeping_ = false;
    kept_.clear();
    kept_.shrink_to_fit();
    return;
  }
  kept_.push_back(std::move(row));
  keptAt_ = kept_.size();
}

Variant QueryRowset::Value(std::size_t field) {
  return OnEngine([&]() -> Variant {
    if (kind_ == Kind::kStatic && keeping_) return kept_[keptAt_ - 1][field];
    if (kind_ == Kind::kForward || kind_ == Kind::kStatic) return ToVariant(query_->Get(field));
    if (!IsLong(field)) return values_[field];
    const jet::sql::ResultColumn& column = query_->Columns()[field];
    const auto source = static_cast<std::size_t>(column.source);
    Variant value = runtime::Null{};
    if (!ids_[source]) return value;
    const auto still = query_->HoldStill();
    jet::sql::RequireCurrent(SourceTable(source));
    const jet::Table::RowTest isStillRead = IsStillRead(source);
    if (!SourceTable(source).table->Read(*ids_[source], row_) || (isStillRead && !isStillRead(row_))) throw AdoError(runtime::kNoCurrentRecord);
    ReadColumn(row_, column.column, column.type.type, value);
    seen_[field] = LengthOf(value) <= kLongestComparedValue;
    values_[field] = seen_[field] ? value : Variant();
    return value;
  });
}

std::unique_ptr<jet::LongValueReader> QueryRowset::OpenLong(std::size_t field) {
  if (kind_ != Kind::kLive) return query_->OpenLong(field);
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
  if (kind_ == Kind::kStatic && keeping_) return PieceOf(kept_[keptAt_ - 1][field], chunkAt_[field], buffer, capacity);
  if (!IsLong(field) || capacity < 8) return PieceOf(Value(field), chunkAt_[field], buffer, capacity);
  return OnEngine([&]() -> std::size_t {
    if (readers_[field] == nullptr) readers_[field] = OpenLong(field);
    if (readers_[field] == nullptr) return 0;
    const std::size_t count = readers_[field]->Read(std::span(buffer, capacity));
    if (count == 0) readers_[field] = nullptr;
    return count;
  });
}

void QueryRowset::Insert(std::span<const Assignment> values) {
  if (ids_.size() != 1) throw AdoError(runtime::kOperationNotSupported, "la requête porte sur plusieurs tables");
  for (const Assignment& value : values) {
    if (query_->Columns()[value.field].source < 0) throw AdoError(runtime::kOperationNotSupported, fields_[value.field].name);
  }
  ids_[0] = Writer(0).Insert(values, columns_);
  versions_[0] = OnEngine([&] { return SourceTable(0).database->PagesVersion(); });
  inserted_ = true;
  std::fill(readers_.begin(), readers_.end(), nullptr);
  OnEngine([&] {
    // Columns that are expressions have no value in a row of its own making.
    std::fill(values_.begin(), values_.end(), Variant(runtime::Null{}));
    std::fill(seen_.begin(), seen_.end(), false);
    if (!SourceTable(0).table->Read(*ids_[0], row_)) return;
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      const jet::sql::ResultColumn& column = query_->Columns()[i];
      if (column.source == 0 && !IsLong(i)) ReadColumn(row_, column.column, column.type.type, values_[i]);
    }
  });
}

bool QueryRowset::MayMove(std::span<const Assignment> values) const {
  return std::any_of(values.begin(), values.end(), [&](const Assignment& value) {
    const auto source = static_cast<std::size_t>(query_->Columns()[value.field].source);
    const std::vector<jet::IndexDef>& indexes = SourceTable(source).table->Indexes();
    return std::any_of(indexes.begin(), indexes.end(), [&](const jet::IndexDef& index) {
      return std::any_of(index.columns.begin(), index.columns.end(),
                         [&](const jet::IndexColumn& column) { return column.column == columns_[value.field]; });
    });
  });
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

void QueryRowset::Update(std::span<const Assignment> values) {
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
    if (!inserted_ && MayMove(values)) moved_.insert(ids_);
    std::fill(seen_.begin(), seen_.end(), false);
    for (std::size_t i = 0; i < fields_.size(); ++i) {
      const jet::sql::ResultColumn& column = query_->Columns()[i];
      if (column.source < 0 || IsLong(i)) continue;
      const auto source = static_cast<std::size_t>(column.source);
      if (ids_[source]) versions_[source] = SourceTable(source).database->PagesVersion();
      if (ids_[source] && SourceTable(source).table->Read(*ids_[source], row_))
        ReadColumn(row_, column.column, column.type.type, values_[i]);
    }
  });
}

void QueryRowset::Delete() {
  if (ids_.size() != 1 || !ids_[0]) throw AdoError(runtime::kOperationNotSupported, "la requête porte sur plusieurs tables");
  std::fill(readers_.begin(), readers_.end(), nullptr);
  Writer(0).Delete(*ids_[0], IsMeant(0));
  moved_.erase(ids_);
}

}  // namespace tamlo::ado::jetprovider
