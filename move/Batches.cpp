#include "move/Batches.h"

#include "move/Trouble.h"

namespace tamlo::move {
namespace {

constexpr std::size_t kBatchBytes = 16 << 20;

}  // namespace

bool Batches::Complet(std::int64_t rows, std::size_t bytes) {
  Tell(entry_.done + rows, false);
  return rows >= copy_.options.batch || bytes >= kBatchBytes || Cancelled();
}

bool Batches::Termine(std::int64_t rows) {
  entry_.done = rows;
  entry_.refused += refused_;
  if (lines_.empty()) {
    Commit(std::nullopt);
  } else if (!CommitWithLines()) {
    return false;
  }
  Forget();
  return !Cancelled();
}

void Batches::Defait() {
  transaction_->Rollback();
  transaction_.reset();
  copy_.refused -= refused_;
  Forget();
}

void Batches::Forget() {
  refused_ = 0;
  lines_.clear();
  waiting_.clear();
  gone_.clear();
}

bool Batches::Refuse(const db::pompe::LigneRefusee& refused) {
  if (turn_ != Turn::kLast && entry_.WasThere() && target_.LacksParent(refused.erreur)) {
    if (turn_ == Turn::kFirst) waiting_.push_back(refused.numero);
    return true;
  }
  ++refused_;
  if (turn_ != Turn::kFirst) gone_.push_back(refused.numero);
  const Refusal refusal = Explain(Table(), refused);
  if (copy_.watch.refused) {
    const std::scoped_lock alone(copy_.telling);
    copy_.watch.refused(refusal);
  }
  if (copy_.rejects.IsWanted()) lines_ += RejectLine(Table(), refusal, refused.ligne);
  if (++copy_.refused > copy_.options.mostRefused) throw CopyError(Trouble::kTooManyRefused, {std::to_string(copy_.options.mostRefused)});
  return true;
}

void Batches::Tell(std::int64_t rows, bool complete) const {
  if (!copy_.watch.progress) return;
  const std::scoped_lock alone(copy_.telling);
  copy_.watch.progress({Table().name, table_ + 1, copy_.plan.tables.size(), rows, Table().rows, complete});
}

void Batches::Commit(std::optional<std::uint64_t> rejectBytes) {
  copy_.ledger.NoteWaiting(target_.Connection(), table_, waiting_, gone_);
  copy_.ledger.NoteRows(target_.Connection(), table_, entry_, rejectBytes);
  transaction_->Commit();
  transaction_.reset();
}

/// False where another lane failed between its lines and its commit: nobody knows what stands in the file then.
bool Batches::CommitWithLines() {
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
  return true;
}

}  // namespace tamlo::move
