#include "move/Ledger.h"

#include <algorithm>
#include <cstdlib>

#include "move/Ask.h"
#include "move/Trouble.h"

namespace tamlo::move {
namespace {

std::int64_t Number(const std::string& text) { return std::strtoll(text.c_str(), nullptr, 10); }

}  // namespace

bool Ledger::Has(const char* table) {
  const auto tables = target_.Tables();
  return std::any_of(tables.begin(), tables.end(), [&](const std::string& name) { return target_.SameName(name, table); });
}

bool Ledger::IsThere() {
  if (!Has(kTable)) return false;
  if (target_.CountRows(kTable) > 0) return true;
  Drop();
  return false;
}

void Ledger::Make(const Plan& plan, const std::vector<State>& states) {
  const auto& dialect = target_.Dialect();
  const std::string number = schema::Spelled(dialect, {.kind = schema::Kind::kBig});
  const std::string text = schema::Spelled(dialect, {.kind = schema::Kind::kText, .length = 32});
  ado::Connection& connection = target_.Connection();
  connection.Execute("CREATE TABLE " + Name() + " (place " + number + " NOT NULL, plan " + text + ", state " + number + ", done " + number +
                     ", refused " + number + ", CONSTRAINT tamlo_copy_key PRIMARY KEY (place))");
  for (const State state : states) entries_.push_back({state, 0, 0});
  DropWaiting();  // of a copy whose own table was dropped by hand
  MakeWaiting();
  ado::Transaction transaction(connection);
  const auto insert = [&](std::size_t place, int state) {
    connection.Execute("INSERT INTO " + Name() + " (place, plan, state, done, refused) VALUES (" + std::to_string(place) + ", '" +
                       plan.fingerprint + "', " + std::to_string(state) + ", 0, 0)");
  };
  for (std::size_t i = 0; i < states.size(); ++i) insert(i + 1, static_cast<int>(states[i]));
  insert(0, 0);
  transaction.Commit();
}

void Ledger::Load(const Plan& plan) {
  const auto rows = Ask(target_.Connection(), "SELECT place, plan, state, done, refused FROM " + Name() + " ORDER BY place");
  const bool same = std::all_of(rows.begin(), rows.end(), [&](const auto& row) { return row[1] == plan.fingerprint; });
  if (!same || rows.size() != plan.tables.size() + 1) throw CopyError(Trouble::kOtherPlan, {});
  statements_ = static_cast<std::size_t>(Number(rows[0][3]));
  rejectBytes_ = static_cast<std::uint64_t>(Number(rows[0][4]));
  for (std::size_t i = 1; i < rows.size(); ++i)
    entries_.push_back({static_cast<State>(Number(rows[i][2])), Number(rows[i][3]), Number(rows[i][4])});
  MakeWaiting();
  if (!Has(kWaiting)) return;
  for (const auto& row : Ask(target_.Connection(), "SELECT place, item FROM " + WaitingName()))
    waiting_.at(static_cast<std::size_t>(Number(row[0])) - 1).insert(Number(row[1]));
}

/// Only tables that were there refuse a row for want of another one; SQLite is not asked to look.
void Ledger::MakeWaiting() {
  waiting_.resize(entries_.size());
  const bool any = std::any_of(entries_.begin(), entries_.end(), [](const Entry& entry) { return entry.WasThere(); });
  if (!any || target_.Dialect().engine == schema::Engine::kSqlite || Has(kWaiting)) return;
  const std::string number = schema::Spelled(target_.Dialect(), {.kind = schema::Kind::kBig});
  target_.Connection().Execute("CREATE TABLE " + WaitingName() + " (place " + number + " NOT NULL, item " + number +
                               " NOT NULL, CONSTRAINT tamlo_waiting_key PRIMARY KEY (place, item))");
}

void Ledger::DropWaiting() {
  if (Has(kWaiting)) target_.Connection().Execute("DROP TABLE " + WaitingName());
}

void Ledger::Drop() {
  DropWaiting();
  target_.Connection().Execute("DROP TABLE " + Name());
}

void Ledger::NoteWaiting(ado::Connection& through, std::size_t table, const std::vector<std::int64_t>& came,
                         const std::vector<std::int64_t>& gone) {
  const std::string place = std::to_string(table + 1);
  for (const std::int64_t row : came)
    through.Execute("INSERT INTO " + WaitingName() + " (place, item) VALUES (" + place + ", " + std::to_string(row) + ")");
  for (const std::int64_t row : gone)
    through.Execute("DELETE FROM " + WaitingName() + " WHERE place = " + place + " AND item = " + std::to_string(row));
  waiting_.at(table).insert(came.begin(), came.end());
  for (const std::int64_t row : gone) waiting_.at(table).erase(row);
}

void Ledger::Write(ado::Connection& through, std::size_t place, int state, std::int64_t done, std::uint64_t refused) {
  through.Execute("UPDATE " + Name() + " SET state = " + std::to_string(state) + ", done = " + std::to_string(done) +
                  ", refused = " + std::to_string(refused) + " WHERE place = " + std::to_string(place));
}

void Ledger::NoteStatements(std::size_t done) {
  Write(target_.Connection(), 0, 0, static_cast<std::int64_t>(done), rejectBytes_);
  statements_ = done;
}

void Ledger::NoteRows(ado::Connection& through, std::size_t table, const Entry& entry, std::optional<std::uint64_t> rejectBytes) {
  Write(through, table + 1, static_cast<int>(entry.state), entry.done, static_cast<std::uint64_t>(entry.refused));
  if (rejectBytes) {
    Write(through, 0, 0, static_cast<std::int64_t>(statements_), *rejectBytes);
    rejectBytes_ = *rejectBytes;
  }
  entries_.at(table) = entry;
}

}  // namespace tamlo::move
