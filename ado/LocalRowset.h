#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

#include "ado/Provider.h"
#include "ado/RowStore.h"

namespace tamlo::ado {

/// Rows whose changes wait until they are saved: on top of a provider's static rowset, or kept here, of no provider. Positions are those of
/// the rows below, then of the rows that were added, which keep theirs when they are saved.
class LocalRowset final : public ProviderRowset {
 public:
  /// No rows yet, of no provider.
  explicit LocalRowset(std::vector<FieldInfo> fields);
  /// On those of a static rowset. Error 3251 for one that does not scroll.
  explicit LocalRowset(std::unique_ptr<ProviderRowset> below);

  [[nodiscard]] const std::vector<FieldInfo>& Fields() const override { return fields_; }
  bool MoveFirst() override;
  bool MoveNext() override;
  [[nodiscard]] bool CanScroll() const override { return true; }
  [[nodiscard]] std::size_t RowCount() override { return BaseCount() + added_.size(); }
  bool MoveTo(std::size_t position) override;
  [[nodiscard]] std::optional<std::size_t> Position() const override { return at_; }
  [[nodiscard]] std::uint64_t Rollbacks() const noexcept override { return undone_; }
  [[nodiscard]] Variant Converted(std::size_t field, const Variant& value) override;
  bool Refresh() override { return Refresh(false); }
  [[nodiscard]] Variant Value(std::size_t field) override;
  std::size_t ReadChunk(std::size_t field, std::byte* buffer, std::size_t capacity) override;
  [[nodiscard]] bool CanUpdate() const override { return canUpdate_; }
  void Insert(std::span<const Assignment> values) override;
  void Update(std::span<const Assignment> values) override;
  void Delete() override;

  /// The value without the change that waits; Null in a new row.
  [[nodiscard]] Variant OriginalValue(std::size_t field);
  /// Reads what is below the current row anew; its change goes, or stays, compared with what was read now. Error 3251 where nothing is below.
  bool Refresh(bool keepChange);
  /// Keeps the rows here from now on. Changes go on waiting. When a row cannot be read or kept everything is as before.
  void Detach();
  [[nodiscard]] bool IsDetached() const noexcept { return below_ == nullptr; }

  [[nodiscard]] bool HasChanges() const noexcept { return !changes_.empty(); }
  [[nodiscard]] RecordStatus Status(std::size_t position) const;
  /// Whether that row is shown by adFilterPendingRecords or adFilterConflictingRecords.
  [[nodiscard]] bool IsIn(FilterGroup group, std::size_t position) const;

  /// Writes each row that waits, in the order of positions: through the rowset below, else through target, the same query opened anew, in which
  /// a row is found by all that was read of it; without either they only become the rows. What is refused goes on waiting with its status (a
  /// deletion is taken back), the others are saved; the first refusal is raised in the end, saying how many there were.
  void Save(ProviderRowset* target);
  /// Forgets all changes that wait: deleted rows are back, new ones are gone.
  void Forget();

 private:
  struct Change {
    std::vector<std::optional<Variant>> values;  // by field
    bool isNew = false;
    bool deleted = false;
    bool takenBack = false;  // a deletion that was refused
    RecordStatus refused = adRecOK;

    [[nodiscard]] bool Waits() const;
    [[nodiscard]] std::vector<Assignment> Assignments() const;
  };
  using Changes = std::map<std::size_t, Change>;

  /// Rows before any was added.
  [[nodiscard]] std::size_t BaseCount();
  /// Where below (or among the kept ones) the row stands; none of a new one.
  [[nodiscard]] std::optional<std::size_t> BaseOf(std::size_t position);
  [[nodiscard]] bool IsGone(std::size_t position);
  [[nodiscard]] std::size_t Current() const;
  [[nodiscard]] Change& ChangeOf(std::size_t position);
  void Take(Change& change, std::span<const Assignment> values);
  /// The rowset below, standing on that row of its own. Error 3021 when it is gone there.
  [[nodiscard]] ProviderRowset& Below(std::size_t base);
  [[nodiscard]] Variant BaseValue(std::size_t base, std::size_t field);
  void SaveOne(std::size_t position, const Change& change, ProviderRowset* live, const std::map<std::size_t, std::size_t>& found);
  void Keep(std::size_t position, const Change& change, ProviderRowset* live);
  /// The row below at that place of its own, all of it; none when it is gone there.
  [[nodiscard]] std::optional<std::vector<Variant>> RowBelow(std::size_t base);
  /// Where target has the rows that wait, by position.
  [[nodiscard]] std::map<std::size_t, std::size_t> FindIn(ProviderRowset& target);

  std::vector<FieldInfo> fields_;
  bool canUpdate_ = true;
  std::unique_ptr<ProviderRowset> below_;
  std::optional<std::size_t> baseCount_;
  std::optional<std::size_t> belowAt_;  // the row on which the rowset below stands
  RowStore kept_;
  std::vector<std::optional<std::size_t>> added_;  // by position behind the base: where it stands once saved
  Changes changes_;
  std::set<std::size_t> deleted_;  // saved deletions
  std::optional<std::size_t> at_;
  std::uint64_t undone_ = 0;
  std::vector<std::size_t> chunkAt_;
};

}  // namespace tamlo::ado
