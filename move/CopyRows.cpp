#include "move/CopyRows.h"

#include <algorithm>
#include <optional>

#include "move/Trouble.h"
#include "move/Values.h"

namespace tamlo::move {
namespace {

constexpr std::size_t kBatchBytes = 16 << 20;

/// One transaction a batch, and in it what the ledger says of its rows.
class Batches final : public db::pompe::Lots {
 public:
  Batches(RowCopy& copy, ado::Connection& target, std::size_t table)
      : copy_(copy), target_(target), table_(table), entry_(copy.ledger.Of(table)) {}

  void Commence() override { transaction_.emplace(target_); }
  bool Complet(std::int64_t rows, std::size_t bytes) override {
    Tell(entry_.done + rows, false);
    return rows >= copy_.options.batch || bytes >= kBatchBytes || Cancelled();
  }
  bool Termine(std::int64_t rows) override {
    entry_.done = rows;
    entry_.refused += refused_;
    refused_ = 0;
    if (lines_.empty()) {
      Commit(std::nullopt);
    } else if (!CommitWithLines()) {
      return false;
    }
    return !Cancelled();
  }
  void Defait() override {
    transaction_->Rollback();
    transaction_.reset();
    lines_.clear();
    copy_.refused -= refused_;
    refused_ = 0;
  }
  bool Refuse(const db::pompe::LigneRefusee& refused) override {
    ++refused_;
    const Refusal refusal = Explain(Table(), refused);
    if (copy_.watch.refused) {
      const std::scoped_lock alone(copy_.telling);
      copy_.watch.refused(refusal);
    }
    if (copy_.rejects.IsWanted()) lines_ += RejectLine(Table(), refusal, refused.ligne);
    if (++copy_.refused > copy_.options.mostRefused) throw CopyError(Trouble::kTooManyRefused, {std::to_string(copy_.options.mostRefused)});
    return true;
  }

  void Tell(std::int64_t rows, bool complete) const {
    if (!copy_.watch.progress) return;
    const std::scoped_lock alone(copy_.telling);
    copy_.watch.progress({Table().name, table_ + 1, copy_.plan.tables.size(), rows, Table().rows, complete});
  }
  [[nodiscard]] const Ledger::Entry& Entry() const noexcept { return entry_; }

 private:
  [[nodiscard]] const PlannedTable& Table() const { return copy_.plan.tables[table_]; }
  [[nodiscard]] bool Cancelled() const { return copy_.failed || (copy_.watch.cancelled && copy_.watch.cancelled()); }
  void Commit(std::optional<std::uint64_t> rejectBytes) {
    copy_.ledger.NoteRows(target_, table_, entry_, rejectBytes);
    transaction_->Commit();
    transaction_.reset();
  }
  /// False where another lane failed between its lines and its commit: nobody knows what stands in the file then.
  bool CommitWithLines() {
    const std::scoped_lock alone(copy_.rejecting);
    if (copy_.failed) {
      transaction_->Rollback();
      transaction_.reset();
      return false;
    }
    try {
      Commit(copy_.rejects.Append(lines_));
    } catch (...) {
      copy_.failed = true;
      throw;
    }
    lines_.clear();
    return true;
  }

  RowCopy& copy_;
  ado::Connection& target_;
  std::size_t table_;
  Ledger::Entry entry_;
  std::optional<ado::Transaction> transaction_;
  std::int64_t refused_ = 0;  // in the batch at hand
  std::string lines_;         // for the file of refused rows, of the same
};

/// Texts that a driver would cut without a word are measured before they are sent.
std::size_t LimitOf(const schema::Type& type) { return type.kind == schema::Kind::kText ? static_cast<std::size_t>(type.length) : 0; }

db::pompe::CibleLignes TargetOf(Target& there, const PlannedTable& table) {
  db::pompe::CibleLignes target;
  target.connexion = &there.Connection();
  target.table = table.there;
  std::string columns;
  for (const PlannedColumn& column : table.columns) {
    target.colonnes.push_back({column.there, LimitOf(column.typeThere), column.typeThere.kind == schema::Kind::kMoment});
    columns += (columns.empty() ? "" : ", ") + schema::Quoted(there.Dialect(), column.there);
  }
  const std::string query = "SELECT " + columns + " FROM " + schema::Quoted(there.Dialect(), table.there) + " WHERE 1 = 0";
  target.ouvre = [&connection = there.Connection(), query] {
    ado::Recordset rows;
    rows.Open(query, &connection, ado::adOpenKeyset, ado::adLockOptimistic, ado::adCmdText);
    return rows;
  };
  return target;
}

db::pompe::Lecture ReadingOf(const schema::Dialect& there, const PlannedTable& table) {
  db::pompe::Lecture reading{.textesExacts = true, .conversions = {}};
  for (const PlannedColumn& column : table.columns) reading.conversions.push_back(ConversionFor(column.typeThere, there.engine));
  return reading;
}

}  // namespace

bool CopyRows(RowCopy& copy, const Lane& lane, std::size_t table) {
  const PlannedTable& planned = copy.plan.tables[table];
  Batches batches(copy, lane.target.Connection(), table);
  try {
    auto rows = OpenRows(lane.source, planned);
    const auto done = db::pompe::PompeParLots(rows, TargetOf(lane.target, planned), batches.Entry().done,
                                              ReadingOf(lane.target.Dialect(), planned), batches);
    if (done.arretee) return false;
  } catch (runtime::Error& error) {
    throw error.WithContext("table " + planned.name);
  }
  Ledger::Entry entry = batches.Entry();
  entry.state = entry.WasThere() ? Ledger::State::kFilled : Ledger::State::kComplete;
  copy.ledger.NoteRows(lane.target.Connection(), table, entry, std::nullopt);
  batches.Tell(entry.done, true);
  return true;
}

}  // namespace tamlo::move
