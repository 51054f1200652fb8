#include "move/Waiting.h"

#include <algorithm>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "db/pompe/LignesSource.h"
#include "move/Batches.h"
#include "move/Values.h"

namespace tamlo::move {
namespace {

using db::pompe::LigneSource;
using Turn = Batches::Turn;

constexpr std::size_t kHeldBytes = 16 << 20;

struct Held {
  std::int64_t number = 0;
  LigneSource row;
};

/// The values of some columns as one text; empty where one of them is null.
std::string KeyOf(const LigneSource& row, const std::vector<std::size_t>& columns) {
  std::string key;
  for (const std::size_t column : columns) {
    const ado::Variant& value = row.valeurs.at(column);
    if (value.IsNull() || value.IsEmpty()) return {};
    const std::string text = PlainText(value);
    key += std::to_string(text.size()) + ':' + text;
  }
  return key;
}

/// For each row those that it refers to, as far as they are among the rows.
std::vector<std::vector<std::size_t>> ParentsOf(const std::vector<Held>& rows, const std::vector<SelfLink>& links) {
  std::vector<std::vector<std::size_t>> parents(rows.size());
  for (const SelfLink& link : links) {
    std::unordered_map<std::string, std::size_t> places;
    for (std::size_t i = 0; i < rows.size(); ++i) places.emplace(KeyOf(rows[i].row, link.referenced), i);
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const std::string key = KeyOf(rows[i].row, link.columns);
      if (const auto found = places.find(key); !key.empty() && found != places.end()) parents[i].push_back(found->second);
    }
  }
  return parents;
}

/// The places of the rows, those that others refer to before these. What the target holds to be equal beyond this is found by another turn.
std::vector<std::size_t> ParentsFirst(const std::vector<Held>& rows, const std::vector<SelfLink>& links) {
  const auto parents = ParentsOf(rows, links);
  std::vector<std::size_t> order, way;
  std::vector<std::size_t> next(rows.size());  // the parent to look at; behind the last one when the row has its place, or is on the way
  std::vector<bool> seen(rows.size());
  for (std::size_t first = 0; first < rows.size(); ++first) {
    if (seen[first]) continue;
    seen[first] = true;
    way.push_back(first);
    while (!way.empty()) {
      const std::size_t row = way.back();
      if (next[row] == parents[row].size()) {
        order.push_back(row);
        way.pop_back();
      } else if (const std::size_t parent = parents[row][next[row]++]; !seen[parent]) {
        seen[parent] = true;
        way.push_back(parent);
      }
    }
  }
  return order;
}

/// One turn of a table: its waiting rows are read again and tried.
class OneTurn {
 public:
  OneTurn(RowCopy& copy, const Lane& lane, std::size_t table, Turn turn)
      : copy_(copy), lane_(lane), table_(table), turn_(turn), planned_(copy.plan.tables[table]), target_(TargetOf(lane.target, planned_)) {}

  /// False when it was cancelled.
  bool Go() {
    const std::set<std::int64_t> waiting = copy_.ledger.Waiting(table_);
    auto rows = OpenRows(lane_.source, planned_);
    bool goesOn = true;
    {
      db::pompe::LignesSource source(rows, true, ReadingOf(lane_.target.Dialect(), planned_));
      std::int64_t number = 0;
      for (auto block = source.Suivant(); block.nombre > 0 && goesOn && number < *waiting.rbegin();
           block = source.Suivant(std::move(block)))
        for (std::size_t i = 0; i < block.nombre && goesOn; ++i) {
          if (waiting.count(++number) == 0) continue;
          heldBytes_ += block.lignes[i].octets;
          held_.push_back({number, std::exchange(block.lignes[i], {})});
          if (heldBytes_ >= kHeldBytes) goesOn = WriteHeld();
        }
    }
    rows.Close();
    return goesOn && WriteHeld();
  }

 private:
  bool WriteHeld() {
    const auto order = ParentsFirst(held_, planned_.links);
    bool goesOn = true;
    for (std::size_t from = 0; from < order.size() && goesOn;) {
      const std::size_t to = std::min(order.size(), from + static_cast<std::size_t>(copy_.options.batch));
      goesOn = WriteBatch(order, from, to);
      from = to;
    }
    held_.clear();
    heldBytes_ = 0;
    return goesOn;
  }

  bool WriteBatch(const std::vector<std::size_t>& order, std::size_t from, std::size_t to) {
    Batches batches(copy_, lane_.target, table_, turn_);
    batches.Commence();
    try {
      db::pompe::EcritureLignes writer(target_, 0);
      for (std::size_t i = from; i < to; ++i) WriteOne(writer, held_[order[i]], batches);
      return batches.Termine(batches.Entry().done);
    } catch (const runtime::Error&) {
      (void)runtime::IgnoringErrors([&] { batches.Defait(); });
      throw;
    }
  }

  static void WriteOne(db::pompe::EcritureLignes& writer, const Held& held, Batches& batches) {
    try {
      writer.Ecrit(held.row);
      writer.Termine();
      batches.Arrived(held.number);
    } catch (const runtime::Error& error) {
      if (!writer.RefuseUneLigne() || !batches.Refuse({held.number, held.row, error})) throw;
    }
  }

  RowCopy& copy_;
  const Lane& lane_;
  std::size_t table_;
  Turn turn_;
  const PlannedTable& planned_;
  db::pompe::CibleLignes target_;
  std::vector<Held> held_;
  std::size_t heldBytes_ = 0;
};

bool TakeTurn(RowCopy& copy, const Lane& lane, std::size_t table, Turn turn) {
  if (copy.ledger.Waiting(table).empty()) return true;
  try {
    return OneTurn(copy, lane, table, turn).Go();
  } catch (runtime::Error& error) {
    throw error.WithContext("table " + copy.plan.tables[table].name);
  }
}

std::size_t AllWaiting(const RowCopy& copy) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < copy.plan.tables.size(); ++i) count += copy.ledger.Waiting(i).size();
  return count;
}

bool TakeTurns(RowCopy& copy, const Lane& lane, Turn turn) {
  for (std::size_t i = 0; i < copy.plan.tables.size(); ++i)
    if (!TakeTurn(copy, lane, i, turn)) return false;
  return true;
}

}  // namespace

bool BringWaitingOf(RowCopy& copy, const Lane& lane, std::size_t table) {
  const auto& waiting = copy.ledger.Waiting(table);
  for (std::size_t before = waiting.size() + 1; !waiting.empty() && waiting.size() < before;) {
    before = waiting.size();
    if (!TakeTurn(copy, lane, table, Turn::kAgain)) return false;
  }
  return true;
}

bool BringWaiting(RowCopy& copy, const Lane& lane) {
  for (std::size_t before = AllWaiting(copy) + 1, now = before - 1; now > 0 && now < before; now = AllWaiting(copy)) {
    before = now;
    if (!TakeTurns(copy, lane, Turn::kAgain)) return false;
  }
  return TakeTurns(copy, lane, Turn::kLast);
}

}  // namespace tamlo::move
