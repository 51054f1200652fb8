#include "cli/CopyVerify.h"

#include <algorithm>
#include <cstdio>

#include "cli/Messages.h"

namespace tamlo::cli {
namespace {

move::TablePair PairOf(const move::PlannedTable& table) {
  move::TablePair pair{table.name, table.there, {}};
  for (const move::PlannedColumn& column : table.columns) {
    const bool key = std::find(table.order.begin(), table.order.end(), column.name) != table.order.end();
    pair.columns.push_back({column.name, column.there, column.type, column.typeThere, key});
  }
  return pair;
}

/// What differs beyond the rows that are meant to be on one side alone.
bool IsAsMeant(const move::RowDifferences& found, const move::TableOutcome& table) {
  const auto refused = static_cast<std::uint64_t>(table.refused);
  return found.onlyA == refused && (found.onlyB == 0 || table.wasThere);
}

void Tell(const move::RowDifferences& found, const move::CompareSide& from, const move::CompareSide& to) {
  std::fprintf(stderr, "tamlo-db: %s\n",
               Say(Said::kRowsDiffer, {found.table, std::to_string(found.rowsA), from.name, std::to_string(found.rowsB), to.name,
                                       std::to_string(found.onlyA), std::to_string(found.onlyB)})
                   .c_str());
  for (const std::string& line : found.told) std::fprintf(stderr, "tamlo-db:   %s\n", line.c_str());
}

}  // namespace

bool ValuesAgree(const move::Plan& plan, const move::Outcome& outcome, const move::CompareSide& from, const move::CompareSide& to,
                 const std::function<bool()>& cancelled) {
  move::CompareOptions options;
  options.cancelled = cancelled;
  bool agree = true;
  for (std::size_t i = 0; i < plan.tables.size() && i < outcome.tables.size(); ++i) {
    if (plan.tables[i].columns.empty()) continue;
    const auto found = CompareRows(from, to, PairOf(plan.tables[i]), options);
    if (cancelled()) return false;
    if (IsAsMeant(found, outcome.tables[i])) continue;
    agree = false;
    Tell(found, from, to);
  }
  return agree;
}

}  // namespace tamlo::cli
