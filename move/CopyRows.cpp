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
  Batches(RowCopy& copy, std::size_t table) : copy_(copy), table_(table), entry_(copy.ledger.Of(table)) {}

  void Commence() override {
    transaction_.emplace(copy_.target.Connection());
    refused_ = 0;
  }
  bool Complet(std::int64_t rows, std::size_t bytes) override {
    Tell(entry_.done + rows, false);
    return rows >= copy_.options.batch || bytes >= kBatchBytes || Cancelled();
  }
  bool Termine(std::int64_t rows) override {
    entry_.done = rows;
    entry_.refused += refused_;
    copy_.ledger.NoteRows(table_, entry_, copy_.rejects.Commit());
    transaction_->Commit();
    transaction_.reset();
    copy_.refused += refused_;
    refused_ = 0;
    return !Cancelled();
  }
  void Defait() override {
    transaction_->Rollback();
    transaction_.reset();
    copy_.rejects.Forget();
  }
  bool Refuse(const db::pompe::LigneRefusee& refused) override {
    ++refused_;
    const Refusal refusal = Explain(Table(), refused);
    if (copy_.watch.refused) copy_.watch.refused(refusal);
    copy_.rejects.Add(Table(), refusal, refused.ligne);
    if (copy_.refused + refused_ > copy_.options.mostRefused)
      throw CopyError(Trouble::kTooManyRefused, {std::to_string(copy_.options.mostRefused)});
    return true;
  }

  void Tell(std::int64_t rows, bool complete) const {
    if (!copy_.watch.progress) return;
    copy_.watch.progress({Table().name, table_ + 1, copy_.plan.tables.size(), rows, Table().rows, complete});
  }
  [[nodiscard]] const Ledger::Entry& Entry() const noexcept { return entry_; }

 private:
  [[nodiscard]] const PlannedTable& Table() const { return copy_.plan.tables[table_]; }
  [[nodiscard]] bool Cancelled() const { return copy_.watch.cancelled && copy_.watch.cancelled(); }

  RowCopy& copy_;
  std::size_t table_;
  Ledger::Entry entry_;
  std::optional<ado::Transaction> transaction_;
  std::int64_t refused_ = 0;  // in the batch at hand
};

/// Texts that a driver would cut without a word are measured before they are sent.
std::size_t LimitOf(const schema::Type& type) { return type.kind == schema::Kind::kText ? static_cast<std::size_t>(type.length) : 0; }

db::pompe::CibleLignes TargetOf(RowCopy& copy, const PlannedTable& table) {
  db::pompe::CibleLignes target;
  target.connexion = &copy.target.Connection();
  target.table = table.there;
  std::string columns;
  for (const PlannedColumn& column : table.columns) {
    target.colonnes.push_back({column.there, LimitOf(column.type), column.type.kind == schema::Kind::kMoment});
    columns += (columns.empty() ? "" : ", ") + schema::Quoted(copy.target.Dialect(), column.there);
  }
  const std::string query = "SELECT " + columns + " FROM " + schema::Quoted(copy.target.Dialect(), table.there) + " WHERE 1 = 0";
  target.ouvre = [&connection = copy.target.Connection(), query] {
    ado::Recordset rows;
    rows.Open(query, &connection, ado::adOpenKeyset, ado::adLockOptimistic, ado::adCmdText);
    return rows;
  };
  return target;
}

db::pompe::Lecture ReadingOf(const RowCopy& copy, const PlannedTable& table) {
  db::pompe::Lecture reading{.textesExacts = true, .conversions = {}};
  for (const PlannedColumn& column : table.columns) reading.conversions.push_back(ConversionFor(column.type, copy.target.Dialect().engine));
  return reading;
}

}  // namespace

bool CopyRows(RowCopy& copy, std::size_t table) {
  const PlannedTable& planned = copy.plan.tables[table];
  Batches batches(copy, table);
  try {
    auto rows = OpenRows(copy.source, planned);
    const auto done = db::pompe::PompeParLots(rows, TargetOf(copy, planned), batches.Entry().done, ReadingOf(copy, planned), batches);
    if (done.arretee) return false;
  } catch (runtime::Error& error) {
    throw error.WithContext("table " + planned.name);
  }
  Ledger::Entry entry = batches.Entry();
  entry.state = entry.WasThere() ? Ledger::State::kFilled : Ledger::State::kComplete;
  copy.ledger.NoteRows(table, entry, copy.ledger.RejectBytes());
  batches.Tell(entry.done, true);
  return true;
}

}  // namespace tamlo::move
