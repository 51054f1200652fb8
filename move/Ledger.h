#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "move/Target.h"

namespace tamlo::move {

/// How far a copy is, kept in a small table of the target itself: what it says is committed together with what it says it of.
class Ledger {
 public:
  static constexpr const char* kTable = "tamlo_copy_progress";
  /// Beside it where tables were there before: their rows that wait for others.
  static constexpr const char* kWaiting = "tamlo_copy_waiting";

  enum class State : std::uint8_t {
    kNew,       ///< the copy makes the table
    kKept,      ///< it was there before
    kComplete,  ///< all rows are there; the copy made the table
    kFilled,    ///< all rows are there; the table was there before
  };
  struct Entry {
    State state = State::kNew;
    std::int64_t done = 0;     ///< rows of the source that are in the target, or were refused
    std::int64_t refused = 0;  ///< of them
    [[nodiscard]] bool Complete() const noexcept { return state == State::kComplete || state == State::kFilled; }
    [[nodiscard]] bool WasThere() const noexcept { return state == State::kKept || state == State::kFilled; }
  };

  explicit Ledger(Target& target) : target_(target) {}

  /// Whether an earlier copy has left one. One that was never filled tells of nothing, and is taken away.
  [[nodiscard]] bool IsThere();
  /// Makes it, for a copy that begins. states: one for each table of the plan.
  void Make(const Plan& plan, const std::vector<State>& states);
  /// Reads it, for a copy that goes on. Error: CopyError with kOtherPlan.
  void Load(const Plan& plan);
  /// The copy is complete.
  void Drop();

  [[nodiscard]] std::size_t StatementsDone() const noexcept { return statements_; }
  /// Size of the file of refused rows when the last batch was committed.
  [[nodiscard]] std::uint64_t RejectBytes() const noexcept { return rejectBytes_; }
  [[nodiscard]] const Entry& Of(std::size_t table) const { return entries_.at(table); }

  /// The rows of a table, by their numbers in the source, that refer to rows which were not there yet. They count as done.
  [[nodiscard]] const std::set<std::int64_t>& Waiting(std::size_t table) const { return waiting_.at(table); }

  /// Each writes at once, inside of whatever transaction is open. Rows are noted through the connection that writes them, from any thread as
  /// long as no two note the same table; a size of the file of refused rows only by one at a time.
  void NoteStatements(std::size_t done);
  void NoteRows(ado::Connection& through, std::size_t table, const Entry& entry, std::optional<std::uint64_t> rejectBytes);
  void NoteWaiting(ado::Connection& through, std::size_t table, const std::vector<std::int64_t>& came,
                   const std::vector<std::int64_t>& gone);

 private:
  [[nodiscard]] bool Has(const char* table);
  void MakeWaiting();
  void DropWaiting();
  void Write(ado::Connection& through, std::size_t place, int state, std::int64_t done, std::uint64_t refused);
  [[nodiscard]] std::string Name() const { return schema::Quoted(target_.Dialect(), kTable); }
  [[nodiscard]] std::string WaitingName() const { return schema::Quoted(target_.Dialect(), kWaiting); }

  Target& target_;
  std::vector<Entry> entries_;
  std::vector<std::set<std::int64_t>> waiting_;
  std::size_t statements_ = 0;
  std::uint64_t rejectBytes_ = 0;
};

}  // namespace tamlo::move
