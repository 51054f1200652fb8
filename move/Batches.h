#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "db/pompe/PompeParLots.h"
#include "move/CopyRows.h"

namespace tamlo::move {

/// One transaction a batch, and in it what the ledger says of its rows.
class Batches final : public db::pompe::Lots {
 public:
  /// What becomes of a row that refers to one which is not there.
  enum class Turn : std::uint8_t {
    kFirst,  ///< in a table that was there, and may have its relations, it waits; in another one it is refused
    kAgain,  ///< it goes on waiting
    kLast,   ///< it is refused
  };
  Batches(RowCopy& copy, Target& target, std::size_t table, Turn turn = Turn::kFirst)
      : copy_(copy), target_(target), table_(table), turn_(turn), entry_(copy.ledger.Of(table)) {}

  void Commence() override { transaction_.emplace(target_.Connection()); }
  bool Complet(std::int64_t rows, std::size_t bytes) override;
  bool Termine(std::int64_t rows) override;
  void Defait() override;
  bool Refuse(const db::pompe::LigneRefusee& refused) override;
  /// A row that waited is there.
  void Arrived(std::int64_t row) { gone_.push_back(row); }

  void Tell(std::int64_t rows, bool complete) const;
  [[nodiscard]] const Ledger::Entry& Entry() const noexcept { return entry_; }

 private:
  [[nodiscard]] const PlannedTable& Table() const { return copy_.plan.tables[table_]; }
  [[nodiscard]] bool Cancelled() const { return copy_.failed || (copy_.watch.cancelled && copy_.watch.cancelled()); }
  void Commit(std::optional<std::uint64_t> rejectBytes);
  bool CommitWithLines();
  void Forget();

  RowCopy& copy_;
  Target& target_;
  std::size_t table_;
  Turn turn_;
  Ledger::Entry entry_;
  std::optional<ado::Transaction> transaction_;
  // ----- of the batch at hand
  std::int64_t refused_ = 0;
  std::string lines_;                  // for the file of refused rows
  std::vector<std::int64_t> waiting_;  // rows that wait from now on
  std::vector<std::int64_t> gone_;     // rows that wait no more
};

}  // namespace tamlo::move
