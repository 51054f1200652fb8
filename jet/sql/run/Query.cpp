#include <algorithm>

#include "jet/table/SteadyLong.h"
#include "jet/value/TextOrder.h"
#include "jet/sql/run/SessionState.h"

namespace jet::sql {

namespace {

constexpr std::size_t kLargestBlock = 256;
constexpr std::size_t kBlockBytes = std::size_t{1} << 18;    // text held back in one block, about
constexpr std::uint64_t kHeldLong = std::uint64_t{1} << 16;  // longest long value that is read with its row, in bytes as stored

bool IsLongType(ColumnType type) { return type == ColumnType::kMemo || type == ColumnType::kOle; }

}  // namespace

/// Rows come in blocks: one row first, so that asking for one costs one, then more and more. A block is read under one ReadScope; between
/// two blocks nothing is locked, and the cursors below find their places again.
struct Query::State {
  SessionState& session;
  SelectPlan plan;
  std::vector<const EngineTable*> sources;
  std::vector<Database*> databases;  // those read, for their read scopes
  SessionState::Statement statement;
  std::optional<ScanCursor> scan;
  bool scans = false;  // the table is walked without SQLite
  StatementLimits limits;
  std::chrono::nanoseconds spent{0};
  bool executed = false;
  bool exhausted = false;

  std::vector<Value> values;          // of the block, row by row
  std::vector<std::int64_t> rowIds;   // of the block: one for each source; -1 none
  std::vector<std::uint64_t> prints;  // of the block, one for each source: of the row, or of its key when rows are read again
  std::vector<bool> far;              // of the block, by value: a long value that was left in the file
  std::vector<std::vector<std::size_t>> keyColumns;  // of each source: the columns of its primary key
  std::vector<std::uint64_t> firstVersions;          // of each source's database when the first block was read
  std::vector<std::uint64_t> versions;               // of each source's database when the block was read
  std::uint64_t changes = 0;                         // of the session by then
  bool rowsAreReadAgain = false;
  bool hasLongs = false;
  bool hasLate = false;
  std::size_t blockRows = 0;
  std::size_t blockAt = 0;  // row of the block after the current one
  std::size_t nextBlock = 1;
  std::int64_t given = 0;      // rows put into blocks
  std::vector<Value> tieKeys;  // of the last row that TOP gives
  Value late;                  // a value read from its row on demand
  Row row;

  State(SessionState& owner, SelectPlan selectPlan) : session(owner), plan(std::move(selectPlan)) {
    for (const SelectPlan::Source& source : plan.sources) sources.push_back(static_cast<const EngineTable*>(source.table.get()));
    for (const TablePointer& table : plan.reads) {
      Database* database = static_cast<const EngineTable*>(table.get())->database;
      if (database != nullptr && std::find(databases.begin(), databases.end(), database) == databases.end()) databases.push_back(database);
    }
    limits = session.options.limits;
    scans = plan.plainScan && sources[0]->table != nullptr;
    keyColumns.resize(sources.size());
    versions.resize(sources.size());
    firstVersions.resize(sources.size());
    for (std::size_t i = 0; i < plan.columns.size(); ++i) {
      hasLongs = hasLongs || IsFromRow(i);
      hasLate = hasLate || IsLate(i);
    }
    // Learning early what SQLite does not understand costs less than at the first row.
    if (scans) return;
    statement = session.Prepare(plan.sql);
    if (plan.parameters != nullptr) Bind(statement.get(), *plan.parameters);
  }

  // A plain column that its row gives, not the query.
  [[nodiscard]] bool IsLate(std::size_t column) const {
    const ResultColumn& c = plan.columns[column];
    if (c.source < 0) return false;
    const EngineTable& table = *sources[static_cast<std::size_t>(c.source)];
    const bool isLong = c.type.type == ColumnType::kMemo || c.type.type == ColumnType::kOle;
    return scans ? isLong : IsReadFromRow(c.type.type, table);
  }

  // The same, long.
  [[nodiscard]] bool IsFromRow(std::size_t column) const { return IsLongType(plan.columns[column].type.type) && IsLate(column); }

  [[nodiscard]] std::vector<std::unique_ptr<Database::ReadScope>> Locked() const {
    std::vector<std::unique_ptr<Database::ReadScope>> scopes;
    scopes.reserve(databases.size());
    for (Database* database : databases) scopes.push_back(std::make_unique<Database::ReadScope>(*database));
    return scopes;
  }

  void Restart() {
    scan.reset();
    if (statement != nullptr) sqlite3_reset(statement.get());
    executed = exhausted = false;
    spent = {};
    blockRows = blockAt = 0;
    nextBlock = 1;
    given = 0;
    tieKeys.clear();
  }

  bool Fill() {
    blockRows = blockAt = 0;
    if (exhausted) return false;
    const Budget::Stretch stretch(session.budget, limits, spent);
    session.budget.Require();
    const std::vector<std::unique_ptr<Database::ReadScope>> scopes = Locked();
    for (const TablePointer& table : plan.reads) RequireCurrent(static_cast<const EngineTable&>(*table));
    struct AtRest {
      State& state;
      ~AtRest() {
        if (state.scan) state.scan->Rest();
      }
    } const atRest{*this};
    NoteSources();
    changes = session.changes;
    executed = true;
    const std::size_t wanted = nextBlock;
    nextBlock = std::min(nextBlock * 8, kLargestBlock);
    std::size_t bytes = 0;
    values.resize(wanted * plan.columns.size());
    rowIds.resize(wanted * sources.size());
    prints.assign(rowIds.size(), 0);
    far.assign(hasLongs ? values.size() : 0, false);
    while (blockRows < wanted && bytes < kBlockBytes) {
      if (!(scans ? Scan(bytes) : Step(bytes))) {
        exhausted = true;
        break;
      }
      if (++given > limits.rows && limits.rows > 0) {
        exhausted = true;
        blockRows = 0;
        throw Error(ErrorCode::kLimit, "the query gives more than " + std::to_string(limits.rows) + " rows");
      }
      if (NoteRow(bytes)) ++blockRows;
    }
    return blockRows > 0;
  }

  void NoteSources() {
    for (std::size_t i = 0; i < sources.size(); ++i) {
      if (sources[i] == nullptr || sources[i]->table == nullptr) continue;
      versions[i] = sources[i]->database->PagesVersion();
      keyColumns[i].clear();
      if (!executed) firstVersions[i] = versions[i];
      if (!rowsAreReadAgain && !hasLate) continue;
      if (const auto key = sources[i]->table->PrimaryKey())
        for (const IndexColumn& column : sources[i]->table->Indexes()[*key].columns) keyColumns[i].push_back(column.column);
    }
  }

  // What the row's tables must still tell when the row is given, read under the lock under which the row itself was read. False: the row
  // is gone by now.
  bool NoteRow(std::size_t& bytes) {
    for (std::size_t source = 0; source < sources.size(); ++source) {
      if (sources[source] != nullptr && !NoteSource(source, bytes)) return false;
    }
    return true;
  }

  bool NoteSource(std::size_t source, std::size_t& bytes) {
    const bool wanted = rowsAreReadAgain ? !keyColumns[source].empty() : HasLate(source);
    const std::int64_t id = rowIds[blockRows * sources.size() + source];
    if (!wanted || id < 0 || sources[source]->table == nullptr) {
      NullLongs(source);
      return true;
    }
    Row* current = scans ? &scan->Current() : &row;
    if (!scans) {
      // What SQLite sorted or keeps for a join may have been read before the last commit of another process.
      const bool changed = versions[source] != firstVersions[source];
      if (!sources[source]->table->Read(RowIdFrom(id), row)) {
        if (!changed) NullLongs(source);
        return !changed;
      }
      if (changed && !TakeAsItIs(source, row)) return false;
    }
    std::uint64_t& print = prints[blockRows * sources.size() + source];
    if (rowsAreReadAgain) {
      print = current->Fingerprint(keyColumns[source]);
    } else {
      HoldLongs(source, *current, bytes);
      print = current->Fingerprint();
    }
    return true;
  }

  // The row as it is now in place of what is known of it, so that what is read later of it fits. False when it is another row that has
  // taken its place. Without its key among the columns that cannot be told, unless nothing has changed.
  bool TakeAsItIs(std::size_t source, Row& now) {
    Value* out = values.data() + blockRows * plan.columns.size();
    Value value;
    std::size_t keysSeen = 0;
    bool sameKey = true;
    bool same = true;
    for (std::size_t i = 0; i < plan.columns.size(); ++i) {
      const ResultColumn& column = plan.columns[i];
      if (column.source != static_cast<int>(source) || IsLongType(column.type.type)) continue;
      now.Get(column.column, value);
      const bool equal = value == out[i] || (!value.IsNull() && !out[i].IsNull() && value.Type() != out[i].Type());
      same = same && equal;
      const auto& key = keyColumns[source];
      if (std::find(key.begin(), key.end(), column.column) != key.end()) {
        ++keysSeen;
        sameKey = sameKey && equal;
      }
      if (!rowsAreReadAgain) out[i] = value;
    }
    const bool keyKnown = keysSeen > 0 && keysSeen >= keyColumns[source].size();
    if (keyKnown) return sameKey;
    if (!same && !rowsAreReadAgain) RefuseChanged(*sources[source]);
    return true;
  }

  [[nodiscard]] bool IsLongOf(std::size_t column, std::size_t source) const {
    return IsFromRow(column) && static_cast<std::size_t>(plan.columns[column].source) == source;
  }

  [[nodiscard]] bool HasLate(std::size_t source) const {
    for (std::size_t i = 0; hasLate && i < plan.columns.size(); ++i) {
      if (IsLate(i) && static_cast<std::size_t>(plan.columns[i].source) == source) return true;
    }
    return false;
  }

  void NullLongs(std::size_t source) {
    for (std::size_t i = 0; hasLongs && i < plan.columns.size(); ++i) {
      if (IsLongOf(i, source)) values[blockRows * plan.columns.size() + i].SetNull();
    }
  }

  void HoldLongs(std::size_t source, Row& current, std::size_t& bytes) {
    for (std::size_t i = 0; i < plan.columns.size(); ++i) {
      if (!IsLongOf(i, source)) continue;
      const std::size_t at = blockRows * plan.columns.size() + i;
      const std::uint64_t length = current.StoredLength(plan.columns[i].column);
      far[at] = length > kHeldLong;
      if (far[at]) {
        values[at].SetNull();
      } else {
        current.Get(plan.columns[i].column, values[at]);
        bytes += length;
      }
    }
  }

  // Whether the long value was left in the file.
  [[nodiscard]] bool IsFar(std::size_t column) const { return far[(blockAt - 1) * plan.columns.size() + column]; }

  [[nodiscard]] Table::RowTest IsAsItWas(std::size_t source) {
    return [this, source](Row& now) {
      return sources[source]->database->PagesVersion() == versions[source] ||
             now.Fingerprint() == prints[(blockAt - 1) * sources.size() + source];
    };
  }

  [[noreturn]] static void RefuseChanged(const EngineTable& table) {
    throw Error(ErrorCode::kChangedMeanwhile, "a row of \"" + table.name + "\" was changed by another user while the query was reading it");
  }

  bool Scan(std::size_t& bytes) {
    if (plan.limit && given >= *plan.limit) return false;
    if (!scan) {
      std::vector<std::size_t> projection;
      for (const ResultColumn& column : plan.columns) projection.push_back(column.column);
      scan.emplace(sources[0]->table->Scan(projection));
    }
    if (!scan->Next()) return false;
    Row& current = scan->Current();
    Value* out = values.data() + blockRows * plan.columns.size();  // none for a query without columns
    for (std::size_t i = 0; i < plan.columns.size(); ++i) {
      const ResultColumn& column = plan.columns[i];
      if (column.type.type == ColumnType::kMemo || column.type.type == ColumnType::kOle) continue;
      current.Get(column.column, out[i]);
      if (out[i].Type() == ValueType::kText) bytes += out[i].AsText().size();
    }
    rowIds[blockRows] = RowIdNumber(scan->Id());
    return true;
  }

  bool Step(std::size_t& bytes) {
    session.pending = nullptr;
    const int code = sqlite3_step(statement.get());
    if (code == SQLITE_DONE) {
      sqlite3_reset(statement.get());
      return false;
    }
    if (code != SQLITE_ROW) {
      sqlite3_reset(statement.get());
      exhausted = true;
      session.Fail(plan.sql);
    }
    if (!plan.tieColumns.empty() && plan.limit && !WithinTop()) {
      sqlite3_reset(statement.get());
      return false;
    }
    for (std::size_t i = 0; i < sources.size(); ++i) {
      const int column = plan.sources[i].rowIdColumn;
      const bool known = column >= 0 && sqlite3_column_type(statement.get(), column) != SQLITE_NULL;
      rowIds[blockRows * sources.size() + i] = known ? sqlite3_column_int64(statement.get(), column) : -1;
    }
    Value* out = values.data() + blockRows * plan.columns.size();  // none for a query without columns
    for (std::size_t i = 0; i < plan.columns.size(); ++i) {
      const ResultColumn& column = plan.columns[i];
      if (column.parameter >= 0 && plan.parameters != nullptr) {
        // Straight from who gave it: SQLite would make a double of an amount.
        out[i] = (*plan.parameters)[static_cast<std::size_t>(column.parameter)];
        if (out[i].Type() == ValueType::kText) bytes += out[i].AsText().size();
      } else if (!IsLate(i)) {
        out[i] = ValueFrom(statement.get(), static_cast<int>(i), column.type);
        if (out[i].Type() == ValueType::kText) bytes += out[i].AsText().size();
        if (out[i].Type() == ValueType::kBytes) bytes += out[i].AsBytes().size();
      } else if (column.type.type == ColumnType::kCurrency || column.type.type == ColumnType::kNumeric) {
        ReadFromRow(static_cast<std::size_t>(column.source), column.column,
                    rowIds[blockRows * sources.size() + static_cast<std::size_t>(column.source)], out[i]);
      }
    }
    return true;
  }

  // TOP n with an order: after n rows, those that the order puts beside the last one still belong.
  bool WithinTop() {
    if (*plan.limit == 0) return false;
    if (given + 1 < *plan.limit) return true;
    std::vector<Value> keys;
    TypeInfo untyped;
    for (const std::size_t column : plan.tieColumns) keys.push_back(ValueFrom(statement.get(), static_cast<int>(column), untyped));
    if (given + 1 == *plan.limit) {
      tieKeys = std::move(keys);
      return true;
    }
    return std::equal(keys.begin(), keys.end(), tieKeys.begin(), [](const Value& a, const Value& b) {
      const bool texts = a.Type() == ValueType::kText && b.Type() == ValueType::kText;
      return texts ? CompareText(a.AsText(), b.AsText()) == 0 : a == b;
    });
  }

  void ReadFromRow(std::size_t source, std::size_t column, std::int64_t rowId, Value& out) {
    out.SetNull();
    if (rowId >= 0 && sources[source]->table->Read(RowIdFrom(rowId), row)) row.Get(column, out);
  }

  [[nodiscard]] std::int64_t CurrentRowId(std::size_t source) const { return rowIds[(blockAt - 1) * sources.size() + source]; }
};

Query::Query(std::unique_ptr<State> state) : state_(std::move(state)) {}
Query::~Query() = default;

const SelectPlan& Query::Plan() const noexcept { return state_->plan; }
const std::vector<ResultColumn>& Query::Columns() const noexcept { return state_->plan.columns; }

bool Query::Next() {
  if (state_->blockAt < state_->blockRows) {
    ++state_->blockAt;
    return true;
  }
  if (!state_->Fill()) return false;
  state_->blockAt = 1;
  return true;
}

void Query::Rewind() { state_->Restart(); }

const Value& Query::Get(std::size_t column) {
  if (state_->IsFromRow(column) && state_->IsFar(column)) {
    const ResultColumn& c = state_->plan.columns[column];
    const auto source = static_cast<std::size_t>(c.source);
    const EngineTable& table = *state_->sources[source];
    const Database::ReadScope scope(*table.database);
    RequireCurrent(table);
    if (!table.table->Read(RowIdFrom(state_->CurrentRowId(source)), state_->row) || !state_->IsAsItWas(source)(state_->row))
      State::RefuseChanged(table);
    state_->row.Get(c.column, state_->late);
    return state_->late;
  }
  return state_->values[(state_->blockAt - 1) * state_->plan.columns.size() + column];
}

std::unique_ptr<LongValueReader> Query::OpenLong(std::size_t column) {
  if (!state_->IsFromRow(column)) return nullptr;
  const ResultColumn& c = state_->plan.columns[column];
  const auto source = static_cast<std::size_t>(c.source);
  if (!state_->IsFar(column)) return OpenHeldLong(Get(column));
  const EngineTable& table = *state_->sources[source];
  RequireCurrent(table);
  bool found = false;
  auto reader = OpenSteadyLong(*table.table, RowIdFrom(state_->CurrentRowId(source)), c.column, state_->IsAsItWas(source), &found);
  if (!found) State::RefuseChanged(table);
  return reader;
}

void Query::ReadRowsAgain() noexcept { state_->rowsAreReadAgain = true; }

bool Query::IsStill(std::size_t source, const Row& row) const {
  const EngineTable& table = *state_->sources[source];
  const std::vector<std::size_t>& columns = state_->keyColumns[source];
  if (columns.empty() || table.database->PagesVersion() == state_->versions[source]) return true;
  return row.Fingerprint(columns) == KeyPrint(source);
}

std::uint64_t Query::KeyPrint(std::size_t source) const { return state_->prints[(state_->blockAt - 1) * state_->sources.size() + source]; }

bool Query::IsAsRead() const {
  if (state_->changes != state_->session.changes) return false;
  Database* asked = nullptr;
  for (std::size_t i = 0; i < state_->sources.size(); ++i) {
    const EngineTable* source = state_->sources[i];
    if (source == nullptr || source->table == nullptr || (source->database == asked && state_->versions[i] == state_->versions[i - 1]))
      continue;
    asked = source->database;
    if (!asked->NothingSince(state_->versions[i])) return false;
  }
  return true;
}

std::uint64_t Query::Version(std::size_t source) const { return state_->versions[source]; }

std::vector<std::unique_ptr<Database::ReadScope>> Query::HoldStill() const { return state_->Locked(); }

std::optional<RowId> Query::Identity(std::size_t source) const {
  if (source >= state_->sources.size() || state_->sources[source] == nullptr || state_->sources[source]->table == nullptr)
    return std::nullopt;
  const std::int64_t rowId = state_->CurrentRowId(source);
  if (rowId < 0) return std::nullopt;
  return RowIdFrom(rowId);
}

std::unique_ptr<Query> OpenPlan(SessionState& state, SelectPlan plan) {
  return std::make_unique<Query>(std::make_unique<Query::State>(state, std::move(plan)));
}

}  // namespace jet::sql
