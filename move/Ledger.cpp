#include "move/Ledger.h"

#include <algorithm>
#include <cstdlib>

#include "move/Ask.h"
#include "move/Trouble.h"

namespace tamlo::move {
namespace {

std::int64_t Number(const std::string& text) { return std::strtoll(text.c_str(), nullptr, 10); }

}  // namespace

bool Ledger::IsThere() {
  const auto tables = target_.Tables();
  if (std::none_of(tables.begin(), tables.end(), [&](const std::string& name) { return target_.SameName(name, kTable); })) return false;
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
  ado::Transaction transaction(connection);
  const auto insert = [&](std::size_t place, int state) {
    connection.Execute("INSERT INTO " + Name() + " (place, plan, state, done, refused) VALUES (" + std::to_string(place) + ", '" +
                       plan.fingerprint + "', " + std::to_string(state) + ", 0, 0)");
  };
  for (std::size_t i = 0; i < states.size(); ++i) {
    insert(i + 1, static_cast<int>(states[i]));
    entries_.push_back({states[i], 0, 0});
  }
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
}

void Ledger::Drop() { target_.Connection().Execute("DROP TABLE " + Name()); }

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
