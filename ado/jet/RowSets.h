#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "jet/page/PageStore.h"
#include "jet/table/Table.h"

namespace tamlo::ado::jetprovider {

/// The rows of tables that the row of a query is made of, one for each of its sources; none for a missing side of a join.
using RowIds = std::vector<std::optional<jet::RowId>>;

/// Such a row as one number.
constexpr std::uint64_t kNoRow = ~std::uint64_t{0};
[[nodiscard]] inline std::uint64_t RowNumber(const std::optional<jet::RowId>& id) {
  return id ? static_cast<std::uint64_t>(id->page) << 8 | id->slot : kNoRow;
}
[[nodiscard]] inline std::optional<jet::RowId> RowOf(std::uint64_t number) {
  if (number == kNoRow) return std::nullopt;
  return jet::RowId{static_cast<jet::PageNumber>(number >> 8), static_cast<std::uint8_t>(number & 0xFF)};
}

/// The rows that belong to a cursor, by their positions in it (from 0).
class MemberList {
 public:
  /// Forgets all members; the next ones are made of so many rows of tables each.
  void Clear(std::size_t sources) {
    sources_ = sources;
    count_ = 0;
    ids_.clear();
    prints_.clear();
    gone_.clear();
    rekeyed_.clear();
  }
  /// prints: of each row's key (see jet::Row::Fingerprint), or nothing where the cursor knows its rows by their values.
  void Add(const RowIds& ids, std::span<const std::uint64_t> prints = {}) {
    for (std::size_t i = 0; i < sources_; ++i) ids_.push_back(RowNumber(ids[i]));
    prints_.insert(prints_.end(), prints.begin(), prints.end());
    ++count_;
  }
  [[nodiscard]] std::size_t Count() const noexcept { return count_; }
  void Ids(std::size_t position, RowIds& ids) const {
    for (std::size_t i = 0; i < sources_; ++i) ids[i] = RowOf(ids_[position * sources_ + i]);
  }
  /// Whether a row with that key is the member: it has the key that the member had first or was given through its cursor.
  [[nodiscard]] bool HasKey(std::size_t position, std::size_t source, std::uint64_t print) const {
    if (prints_[position * sources_ + source] == print) return true;
    if (rekeyed_.empty()) return false;
    const auto found = rekeyed_.find({position, source});
    return found != rekeyed_.end() && found->second == print;
  }
  /// The cursor itself has given the member another key. The old one counts too: a rollback brings it back.
  void Rekey(std::size_t position, std::size_t source, std::uint64_t print) {
    std::uint64_t& known = prints_[position * sources_ + source];
    if (known == print) return;
    rekeyed_[{position, source}] = std::exchange(known, print);
  }
  void Gone(std::size_t position, bool gone) {
    if (gone) {
      gone_.insert(position);
    } else {
      gone_.erase(position);
    }
  }
  [[nodiscard]] bool IsGone(std::size_t position) const { return !gone_.empty() && gone_.contains(position); }

 private:
  std::size_t sources_ = 0;
  std::size_t count_ = 0;
  std::vector<std::uint64_t> ids_;     // sources_ for each member
  std::vector<std::uint64_t> prints_;  // the same, or none at all
  std::set<std::size_t> gone_;
  std::map<std::pair<std::size_t, std::size_t>, std::uint64_t> rekeyed_;  // the key before, by position and source
};

/// The rows that a walk has given already: rows of one table take a bit each, rows of joins some bytes.
class VisitedRows {
 public:
  [[nodiscard]] bool Has(const RowIds& ids) { return ids.size() != 1 || !ids[0] ? Joined().contains(ids) : Has(*ids[0]); }
  [[nodiscard]] bool Has(jet::RowId id) const {
    const auto page = pages_.find(id.page);
    return page != pages_.end() && page->second.test(id.slot);
  }
  void Add(const RowIds& ids) {
    if (ids.size() != 1 || !ids[0]) {
      for (const auto& id : ids) unsorted_.push_back(RowNumber(id));
      width_ = ids.size();
    } else {
      Add(*ids[0]);
    }
  }
  void Add(jet::RowId id) { pages_[id.page].set(id.slot); }
  void Remove(const RowIds& ids) {
    if (ids.size() != 1 || !ids[0]) {
      Joined().erase(ids);
    } else {
      Remove(*ids[0]);
    }
  }
  void Remove(jet::RowId id) {
    if (const auto page = pages_.find(id.page); page != pages_.end()) page->second.reset(id.slot);
  }
  void Clear() noexcept {
    pages_.clear();
    joined_.clear();
    unsorted_.clear();
  }

 private:
  std::set<RowIds>& Joined() {
    // Most walks are never asked.
    for (std::size_t at = 0; at < unsorted_.size(); at += width_) {
      RowIds ids;
      for (std::size_t i = 0; i < width_; ++i) ids.push_back(RowOf(unsorted_[at + i]));
      joined_.insert(std::move(ids));
    }
    unsorted_.clear();
    return joined_;
  }

  std::unordered_map<jet::PageNumber, std::bitset<256>> pages_;
  std::set<RowIds> joined_;
  std::vector<std::uint64_t> unsorted_;  // joined rows that are not yet in joined_, width_ numbers each
  std::size_t width_ = 1;
};

/// The rows that this program itself has added to a table since a cursor began.
class NewRows {
 public:
  void Begin(jet::Table& table) {
    log_ = table.WatchInserts();
    End();
  }
  /// Whether the cursor is not to know the row.
  [[nodiscard]] bool Has(jet::RowId id) {
    Read();
    return !rows_.empty() && rows_.contains(RowNumber(id));
  }
  /// One that the cursor has added itself.
  void Remove(jet::RowId id) {
    Read();
    rows_.erase(RowNumber(id));
  }
  /// What is new so far counts no more: after a rollback other rows may stand in their places.
  void End() {
    rows_.clear();
    if (log_ != nullptr) read_ = log_->size();
  }

 private:
  void Read() {
    while (log_ != nullptr && read_ < log_->size()) rows_.insert(RowNumber((*log_)[read_++]));
  }

  std::shared_ptr<const std::vector<jet::RowId>> log_;
  std::size_t read_ = 0;
  std::unordered_set<std::uint64_t> rows_;
};

}  // namespace tamlo::ado::jetprovider
