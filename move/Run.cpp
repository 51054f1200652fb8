#include "move/Run.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/Case.h"
#include "move/CopyRows.h"
#include "move/Trouble.h"

namespace tamlo::move {
namespace {

using schema::Phase;
using State = Ledger::State;

class Runner {
 public:
  Runner(const Plan& plan, std::span<const Lane> lanes, const Options& options, const Watch& watch)
      : plan_(plan), lanes_(lanes), target_(lanes.front().target), options_(options), watch_(watch), ledger_(target_) {}

  Outcome Go();

 private:
  void Begin();
  [[nodiscard]] std::vector<State> StatesOfTables();
  void RefuseTablesThatAreThere(const std::vector<State>& states) const;
  void LookForColumns(const PlannedTable& table);
  void DropReplaced(const std::vector<std::string>& there);
  void Define(bool tables);
  void DefineOne(std::size_t place);
  void Carry(const schema::Statement& statement);
  [[nodiscard]] bool IsOfATableThatWasThere(const schema::Statement& statement) const;
  void Fails(const schema::Statement& statement, const runtime::Error& error);
  [[nodiscard]] bool BringAllRows();
  void CountAll();

  const Plan& plan_;
  std::span<const Lane> lanes_;
  Target& target_;
  const Options& options_;
  const Watch& watch_;
  Ledger ledger_;
  Outcome outcome_;
  bool resumed_ = false;
};

bool Contains(const Target& target, const std::vector<std::string>& names, const std::string& name) {
  return std::any_of(names.begin(), names.end(), [&](const std::string& one) { return target.SameName(one, name); });
}

std::vector<State> Runner::StatesOfTables() {
  const auto there = target_.Tables();
  std::vector<State> states;
  for (const PlannedTable& table : plan_.tables) states.push_back(Contains(target_, there, table.there) ? State::kKept : State::kNew);
  return states;
}

void Runner::RefuseTablesThatAreThere(const std::vector<State>& states) const {
  std::string names;
  for (std::size_t i = 0; i < states.size(); ++i)
    if (states[i] == State::kKept) names += (names.empty() ? "" : ", ") + plan_.tables[i].there;
  if (!names.empty()) throw CopyError(Trouble::kTableExists, {names});
}

void Runner::LookForColumns(const PlannedTable& table) {
  const auto columns = target_.Columns(table.there);
  for (const PlannedColumn& column : table.columns)
    if (!Contains(target_, columns, column.there)) throw CopyError(Trouble::kColumnMissing, {table.there, column.there});
}

/// Everything that forbids the copy is found before anything is written.
void Runner::Begin() {
  for (const Lane& lane : lanes_) lane.target.Prepare();
  resumed_ = ledger_.IsThere();
  if (resumed_ && !options_.resume) throw CopyError(Trouble::kHalfDone, {});
  if (!resumed_ && options_.resume) throw CopyError(Trouble::kNothingToResume, {});
  if (resumed_) return ledger_.Load(plan_);
  auto states = StatesOfTables();
  const bool rowsAlone = options_.parts == Parts::kDataOnly;
  if (!rowsAlone && options_.ifExists == IfExists::kFail) RefuseTablesThatAreThere(states);
  for (std::size_t i = 0; i < states.size(); ++i) {
    if (rowsAlone && states[i] == State::kNew) throw CopyError(Trouble::kTableMissing, {plan_.tables[i].there});
    if (rowsAlone || options_.ifExists == IfExists::kAppend) {
      if (states[i] == State::kKept) LookForColumns(plan_.tables[i]);
    } else {
      states[i] = State::kNew;
    }
  }
  ledger_.Make(plan_, states);
}

/// Until the first statement is done, what stands under a table's name is what was there before, or was just being made.
void Runner::DropReplaced(const std::vector<std::string>& there) {
  if (options_.ifExists != IfExists::kReplace || options_.parts == Parts::kDataOnly || ledger_.StatementsDone() > 0) return;
  for (const PlannedTable& table : plan_.tables)
    if (Contains(target_, there, table.there)) target_.Drop(table.there);
}

bool Runner::IsOfATableThatWasThere(const schema::Statement& statement) const {
  if (statement.phase == Phase::kCounters) return false;
  for (std::size_t i = 0; i < plan_.tables.size(); ++i)
    if (plan_.tables[i].name == statement.table) return ledger_.Of(i).WasThere();
  return false;
}

/// Whether the engine could not do it just now (connection, disk, locks, rights), which says nothing of the rows.
bool IsOfTheMoment(const runtime::Error& error) {
  const std::string state = error.SqlState();
  if (state.empty()) return false;
  constexpr std::array<std::string_view, 6> kStates{"08", "25", "40", "53", "57", "58"};
  constexpr std::array<std::int32_t, 8> kMariaDb{3, 28, 1021, 1114, 1142, 1205, 1290, 1969};
  constexpr std::array<std::string_view, 4> kSqlite{"disk is full", "disk I/O", "readonly", "is locked"};
  const auto contained = [&](std::string_view text) { return error.Description().find(text) != std::string::npos; };
  return std::any_of(kStates.begin(), kStates.end(), [&](std::string_view known) { return state.starts_with(known); }) ||
         std::find(kMariaDb.begin(), kMariaDb.end(), error.NativeCode()) != kMariaDb.end() ||
         std::any_of(kSqlite.begin(), kSqlite.end(), contained);
}

/// A table has to be made; what the rows do not allow is told, and the rows stay.
void Runner::Fails(const schema::Statement& statement, const runtime::Error& error) {
  if (IsOfTheMoment(error) || statement.phase == Phase::kTables) throw runtime::Error(error).WithContext("table " + statement.table);
  outcome_.findings.push_back({statement.table, {}, schema::What::kStatementRefused, {error.Description(), statement.sql}});
}

void Runner::Carry(const schema::Statement& statement) {
  for (auto& finding : target_.Define(statement)) outcome_.findings.push_back(std::move(finding));
}

void Runner::DefineOne(std::size_t place) {
  const schema::Statement& statement = plan_.statements[place];
  // What was under way when an earlier run ended may be there: it is the first one of this run.
  const bool inDoubt = resumed_;
  resumed_ = false;
  try {
    if (target_.DefinesInTransactions()) {
      ado::Transaction transaction(target_.Connection());
      Carry(statement);
      ledger_.NoteStatements(place + 1);
      transaction.Commit();
      return;
    }
    Carry(statement);
  } catch (const runtime::Error& error) {
    if (!inDoubt || !target_.StandsAlready(error)) Fails(statement, error);
  }
  ledger_.NoteStatements(place + 1);
}

void Runner::Define(bool tables) {
  for (std::size_t place = ledger_.StatementsDone(); place < plan_.statements.size(); ++place) {
    const schema::Statement& statement = plan_.statements[place];
    if ((statement.phase == Phase::kTables) != tables) {
      if (tables) return;
      continue;
    }
    if (watch_.cancelled && watch_.cancelled()) {
      outcome_.cancelled = true;
      return;
    }
    if (!IsOfATableThatWasThere(statement)) DefineOne(place);
  }
}

bool Runner::BringAllRows() {
  RejectFile rejects(options_.rejectFile, ledger_.RejectBytes());
  RowCopy copy{ledger_, rejects, plan_, options_, watch_, {}, {}, {}, {}};
  for (std::size_t i = 0; i < plan_.tables.size(); ++i) copy.refused += ledger_.Of(i).refused;
  return BringRows(copy, lanes_);
}

void Runner::CountAll() {
  for (std::size_t i = 0; i < plan_.tables.size(); ++i) {
    const Ledger::Entry& entry = ledger_.Of(i);
    const PlannedTable& table = plan_.tables[i];
    TableOutcome counted{table.name, table.there, entry.done - entry.refused, entry.refused, -1, entry.WasThere()};
    if (options_.verifyCounts) counted.counted = target_.CountRows(table.there);
    outcome_.refused += entry.refused;
    outcome_.tables.push_back(std::move(counted));
  }
}

Outcome Runner::Go() {
  Begin();
  DropReplaced(target_.Tables());
  Define(true);
  outcome_.cancelled = outcome_.cancelled || (options_.parts != Parts::kSchemaOnly && !BringAllRows());
  if (!outcome_.cancelled) Define(false);
  if (outcome_.cancelled) return outcome_;
  for (auto& finding : target_.Orphans()) outcome_.findings.push_back(std::move(finding));
  CountAll();
  ledger_.Drop();
  return outcome_;
}

}  // namespace

bool Outcome::Whole() const {
  return refused == 0 && findings.empty() && std::all_of(tables.begin(), tables.end(), [](const TableOutcome& table) {
           return table.counted < 0 || table.wasThere || table.counted == table.copied;
         });
}

Outcome Run(const Plan& plan, std::span<const Lane> lanes, const Options& options, const Watch& watch) {
  return Runner(plan, lanes, options, watch).Go();
}

bool CanResume(Target& target) {
  bool there = true;
  (void)runtime::IgnoringErrors([&] { there = Ledger(target).IsThere(); });
  return there;
}

}  // namespace tamlo::move
