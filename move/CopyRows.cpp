#include "move/CopyRows.h"

#include "move/Batches.h"
#include "move/Values.h"

namespace tamlo::move {
namespace {

/// Texts that a driver would cut without a word are measured before they are sent.
std::size_t LimitOf(const schema::Type& type) { return type.kind == schema::Kind::kText ? static_cast<std::size_t>(type.length) : 0; }

}  // namespace

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

bool CopyRows(RowCopy& copy, const Lane& lane, std::size_t table) {
  const PlannedTable& planned = copy.plan.tables[table];
  Batches batches(copy, lane.target, table);
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
