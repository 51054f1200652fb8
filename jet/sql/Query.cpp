#include <algorithm>
#include <map>

#include "jet/TextOrder.h"
#include "jet/sql/SessionState.h"

namespace jet::sql {

namespace {

constexpr std::size_t kLargestBlock = 256;
constexpr std::size_t kBlockBytes = std::size_t{1} << 18;  // text held back in one block, about

}  // namespace

/// Rows come in blocks: one row first, so that asking for one costs one, then more and more. A block is read under one ReadScope.
struct Query::State {
  SessionState& session;
  SelectPlan plan;
  std::vector<const EngineTable*> sources;
  std::vector<Database*> databases;  // those read, for their read scopes
  SessionState::Statement statement;
  std::optional<ScanCursor> scan;
  bool scans = false;  // the table is walked without SQLite
  bool executed = false;
  bool exhausted = false;

  std::vector<Value> values;         // of the block, row by row
  std::vector<std::int64_t> rowIds;  // of the block: one for each source; -1 none
  std::size_t blockRows = 0;
  std::size_t blockAt = 0;  // row of the block after the current one
  std::size_t nextBlock = 1;
  std::int64_t given = 0;      // rows put into blocks
  std::vector<Value> tieKeys;  // of the last row that TOP gives
  Value late;                  // a value read from its row on demand
  Row row;
  std::map<std::size_t, Row> longRows;

  State(SessionState& owner, SelectPlan selectPlan) : session(owner), plan(std::move(selectPlan)) {
    for (const SelectPlan::Source& source : plan.sources) sources.push_back(static_cast<const EngineTable*>(source.table.get()));
    for (const TablePointer& table : plan.reads) {
      Database* database = static_cast<const EngineTable*>(table.get())->database;
      if (database != nullptr && std::find(databases.begin(), databases.end(), database) == databases.end()) databases.push_back(database);
    }
    scans = plan.plainScan && sources[0]->table != nullptr;
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

  void Restart() {
    scan.reset();
    if (statement != nullptr) sqlite3_reset(statement.get());
    executed = exhausted = false;
    blockRows = blockAt = 0;
    nextBlock = 1;
    given = 0;
    tieKeys.clear();
  }

  bool Fill() {
    blockRows = blockAt = 0;
    if (exhausted) return false;
    std::vector<std::unique_ptr<Database::ReadScope>> scopes;
    scopes.reserve(databases.size());
    for (Database* database : databases) scopes.push_back(std::make_unique<Database::ReadScope>(*database));
    for (const TablePointer& table : plan.reads) RequireCurrent(static_cast<const EngineTable&>(*table));
    executed = true;
    const std::size_t wanted = nextBlock;
    nextBlock = std::min(nextBlock * 8, kLargestBlock);
    std::size_t bytes = 0;
    values.resize(wanted * plan.columns.size());
    rowIds.resize(wanted * sources.size());
    while (blockRows < wanted && bytes < kBlockBytes) {
      if (!(scans ? Scan(bytes) : Step(bytes))) {
        exhausted = true;
        break;
      }
      ++blockRows;
      ++given;
    }
    return blockRows > 0;
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
  const bool isLong =
      state_->plan.columns[column].type.type == ColumnType::kMemo || state_->plan.columns[column].type.type == ColumnType::kOle;
  if (isLong && state_->IsLate(column)) {
    const ResultColumn& c = state_->plan.columns[column];
    const auto source = static_cast<std::size_t>(c.source);
    state_->ReadFromRow(source, c.column, state_->CurrentRowId(source), state_->late);
    return state_->late;
  }
  return state_->values[(state_->blockAt - 1) * state_->plan.columns.size() + column];
}

std::unique_ptr<LongValueReader> Query::OpenLong(std::size_t column) {
  if (!state_->IsLate(column)) return nullptr;
  const ResultColumn& c = state_->plan.columns[column];
  const auto source = static_cast<std::size_t>(c.source);
  const std::int64_t rowId = state_->CurrentRowId(source);
  // A row object of its own for each column: several long values of one row may be read side by side.
  Row& row = state_->longRows[column];
  if (rowId < 0 || !state_->sources[source]->table->Read(RowIdFrom(rowId), row)) return nullptr;
  return row.OpenLong(c.column);
}

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
