// INSERT, UPDATE, DELETE and SELECT INTO: SQLite evaluates, the engine writes, each statement whole or not at all.
#include <algorithm>
#include <cmath>
#include <map>
#include <set>

#include "jet/value/Conversion.h"
#include "jet/value/TextOrder.h"
#include "jet/sql/bind/Coercion.h"
#include "jet/sql/run/SessionState.h"

namespace jet::sql {

namespace {

class LongSource final : public ChunkSource {
 public:
  explicit LongSource(std::unique_ptr<LongValueReader> reader) : reader_(std::move(reader)) {}
  std::size_t Read(std::span<std::byte> buffer) override { return reader_->Read(buffer); }

 private:
  std::unique_ptr<LongValueReader> reader_;
};

// One transaction in each database that a statement changes.
class Transactions {
 public:
  void Join(Database& database) {
    for (const auto& transaction : open_) {
      if (transaction.first == &database) return;
    }
    open_.emplace_back(&database, std::make_unique<Transaction>(database));
    // What is read for a change must be what the change finds: nobody else may come in between.
    database.BeginChanges();
  }
  void Commit() {
    for (auto& transaction : open_) transaction.second->Commit();
  }

 private:
  std::vector<std::pair<Database*, std::unique_ptr<Transaction>>> open_;
};

const EngineTable& Engine(const TablePointer& table) { return static_cast<const EngineTable&>(*table); }

const EngineTable& Writable(const TablePointer& pointer) {
  const EngineTable& table = Engine(pointer);
  if (table.table == nullptr)
    throw Error(ErrorCode::kUnsupported, "rows of \"" + table.name + "\", behind an ODBC link, cannot be changed by a statement");
  RequireWritable(table);
  return table;
}

// What a row that is kept takes in memory, about.
constexpr std::size_t kRowBytes = 64;
std::size_t BytesOf(const std::vector<Value>& values) {
  std::size_t bytes = kRowBytes + values.size() * sizeof(Value);
  for (const Value& value : values) {
    if (value.Type() == ValueType::kText) bytes += value.AsText().size();
    if (value.Type() == ValueType::kBytes) bytes += value.AsBytes().size();
  }
  return bytes;
}

bool IsLong(ColumnType type) { return type == ColumnType::kMemo || type == ColumnType::kOle; }

// Writes the rows of a query into a table.
class Inserter {
 public:
  Inserter(SessionState& state, const EngineTable& table, const std::vector<std::size_t>& columns)
      : state_(state), table_(table), columns_(columns) {
    if (table.table == nullptr) return;
    for (const auto& [column, value] : EvaluateDefaults(state, table)) {
      if (std::find(columns.begin(), columns.end(), column) == columns.end()) defaults_.emplace_back(column, value);
    }
  }

  void Insert(Query& query) {
    std::vector<Value> values(columns_.size());
    std::vector<std::unique_ptr<LongSource>> sources(columns_.size());
    std::vector<Assignment> assignments;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      Assignment assignment;
      assignment.column = columns_[i];
      const ColumnType type = table_.columns[columns_[i]].type.type;
      std::unique_ptr<LongValueReader> reader = IsLong(type) && query.Columns()[i].type.type == type ? query.OpenLong(i) : nullptr;
      if (reader != nullptr) {
        sources[i] = std::make_unique<LongSource>(std::move(reader));
        assignment.source = sources[i].get();
      } else {
        values[i] = Coerced(query.Get(i), table_.columns[columns_[i]].type, state_.options.text);
        assignment.value = &values[i];
      }
      assignments.push_back(assignment);
    }
    Write(assignments);
  }

  void Insert(std::vector<Value>& row) {
    std::vector<Assignment> assignments;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      row[i] = Coerced(row[i], table_.columns[columns_[i]].type, state_.options.text);
      assignments.push_back({columns_[i], &row[i], nullptr});
    }
    Write(assignments);
  }

 private:
  void Write(std::vector<Assignment>& assignments) {
    for (const auto& [column, value] : defaults_) assignments.push_back({column, &value, nullptr});
    if (table_.table != nullptr) {
      table_.table->Insert(assignments);
    } else {
      table_.foreign->Insert(assignments);
    }
    ++state_.changes;
  }

  SessionState& state_;
  const EngineTable& table_;
  const std::vector<std::size_t>& columns_;
  std::vector<std::pair<std::size_t, Value>> defaults_;
};

std::int64_t InsertRows(SessionState& state, const EngineTable& table, const std::vector<std::size_t>& columns, const SelectPlan& plan) {
  RequireWritable(table);
  Transactions transactions;
  if (table.database != nullptr) transactions.Join(*table.database);
  const auto query = OpenPlan(state, plan);
  Inserter inserter(state, table, columns);
  std::int64_t count = 0;
  const bool readsTarget = std::any_of(plan.reads.begin(), plan.reads.end(), [&](const TablePointer& read) {
    return Engine(read).table == table.table && Engine(read).foreign == table.foreign;
  });
  if (readsTarget) {
    // The rows that the statement adds must not feed it.
    std::vector<std::vector<Value>> rows;
    while (query->Next()) {
      rows.emplace_back();
      for (std::size_t i = 0; i < columns.size(); ++i) rows.back().push_back(query->Get(i));
      state.budget.Hold(BytesOf(rows.back()));
    }
    for (std::vector<Value>& row : rows) inserter.Insert(row);
    count = static_cast<std::int64_t>(rows.size());
  } else {
    for (; query->Next(); ++count) inserter.Insert(*query);
  }
  transactions.Commit();
  return count;
}

}  // namespace

std::int64_t RunInsert(SessionState& state, const InsertPlan& plan) {
  return InsertRows(state, Engine(plan.table), plan.columns, plan.query);
}

std::int64_t RunSelectInto(SessionState& state, const SelectIntoPlan& plan) {
  Database& database = plan.target.file.empty() ? state.database : state.OtherDatabase(plan.target.file, {});
  TableSpec spec;
  spec.name = plan.target.name;
  for (const ResultColumn& column : plan.query.columns) {
    ColumnDef definition;
    definition.name = column.name;
    // "A.Id" beside "B.Id": a name in the file has no point.
    std::replace(definition.name.begin(), definition.name.end(), '.', '_');
    definition.type = column.type.type == kNoType ? ColumnType::kText : column.type.type;
    if (definition.type == ColumnType::kText)
      definition.size = static_cast<std::uint16_t>(std::clamp<std::uint32_t>(column.type.size == 0 ? 255 : column.type.size, 1, 255));
    if (definition.type == ColumnType::kBinary)
      definition.size = static_cast<std::uint16_t>(std::clamp<std::uint32_t>(column.type.size == 0 ? 510 : column.type.size, 1, 510));
    if (definition.type == ColumnType::kNumeric) {
      definition.precision = column.type.precision == 0 ? 28 : column.type.precision;
      definition.scale = column.type.scale;
    }
    definition.allowZeroLength = true;
    spec.columns.push_back(std::move(definition));
  }
  Transaction transaction(database);
  database.CreateTable(spec);
  std::vector<std::size_t> columns;
  for (std::size_t i = 0; i < spec.columns.size(); ++i) columns.push_back(i);
  // Not through FindTable: that would forget the tables which the query still reads.
  const auto table = Described(database, database.OpenTable(plan.target.name));
  const std::int64_t count = InsertRows(state, *table, columns, plan.query);
  transaction.Commit();
  return count;
}

namespace {

using UpdatedRows = std::map<std::pair<std::size_t, RowId>, std::vector<Value>>;

void UpdateRow(const UpdatePlan& plan, const UpdatedRows::value_type& row) {
  std::vector<Assignment> assignments;
  std::size_t next = 0;
  for (const UpdatePlan::Item& item : plan.items) {
    if (item.source == row.first.first) assignments.push_back({item.column, &row.second[next++], nullptr});
  }
  Engine(plan.query.sources[row.first.first].table).table->Update(row.first.second, assignments);
}

int Order(const Value& a, const Value& b) {
  if (a.Type() != b.Type()) return a.Type() < b.Type() ? -1 : 1;
  if (a.Type() == ValueType::kText) return CompareText(a.AsText(), b.AsText());
  const std::optional<double> left = AsReal(a);
  const std::optional<double> right = AsReal(b);
  if (!left || !right || std::isnan(*left) || std::isnan(*right)) return 0;
  return *left < *right ? -1 : *left > *right ? 1 : 0;
}

bool ComesBefore(const UpdatedRows::value_type* a, const UpdatedRows::value_type* b) {
  for (std::size_t i = 0; i < a->second.size() && i < b->second.size(); ++i) {
    if (const int order = Order(a->second[i], b->second[i]); order != 0) return order < 0;
  }
  return false;
}

// A statement that moves keys along (SET No = No - 1) must not fail because a row takes the key that another is about to leave: a row
// whose key is still taken waits for the others. Those that wait go by their new values, each round the other way, so that a shift in
// either direction needs three rounds wherever the rows lie.
void ApplyUpdates(SessionState& state, const UpdatePlan& plan, const UpdatedRows& rows) {
  std::vector<const UpdatedRows::value_type*> waiting;
  for (const auto& row : rows) waiting.push_back(&row);
  bool sorted = false;
  while (!waiting.empty()) {
    std::vector<const UpdatedRows::value_type*> refused;
    std::exception_ptr first;
    for (const auto* row : waiting) {
      try {
        UpdateRow(plan, *row);
        ++state.changes;
      } catch (const Error& error) {
        if (error.Code() != ErrorCode::kDuplicateKey) throw;
        if (first == nullptr) first = std::current_exception();
        refused.push_back(row);
      }
    }
    if (refused.size() == waiting.size()) std::rethrow_exception(first);
    if (sorted) {
      std::reverse(refused.begin(), refused.end());
    } else {
      std::stable_sort(refused.begin(), refused.end(), ComesBefore);
      sorted = true;
    }
    waiting = std::move(refused);
  }
}

}  // namespace

std::int64_t RunUpdate(SessionState& state, const UpdatePlan& plan) {
  for (const UpdatePlan::Item& item : plan.items) Writable(plan.query.sources[item.source].table);
  // All is read before the first change: a changed row must not be met again.
  std::map<std::pair<std::size_t, RowId>, std::vector<Value>> rows;
  std::set<std::size_t> targets;
  for (const UpdatePlan::Item& item : plan.items) targets.insert(item.source);
  Transactions transactions;
  for (const std::size_t source : targets) transactions.Join(*Engine(plan.query.sources[source].table).database);
  {
    const auto query = OpenPlan(state, plan.query);
    while (query->Next()) {
      for (const std::size_t source : targets) {
        const std::optional<RowId> id = query->Identity(source);
        if (!id) continue;
        std::vector<Value>& values = rows[{source, *id}];
        values.clear();
        for (const UpdatePlan::Item& item : plan.items) {
          if (item.source != source) continue;
          const TypeInfo& type = plan.query.sources[source].table->columns[item.column].type;
          values.push_back(Coerced(query->Get(item.value), type, state.options.text));
        }
        state.budget.Hold(BytesOf(values));
      }
    }
  }
  ApplyUpdates(state, plan, rows);
  transactions.Commit();
  return static_cast<std::int64_t>(rows.size());
}

std::int64_t RunDelete(SessionState& state, const DeletePlan& plan) {
  const EngineTable& table = Writable(plan.query.sources[plan.source].table);
  Transactions transactions;
  transactions.Join(*table.database);
  std::set<RowId> rows;
  {
    const auto query = OpenPlan(state, plan.query);
    while (query->Next()) {
      if (const std::optional<RowId> id = query->Identity(plan.source)) rows.insert(*id);
      state.budget.Hold(kRowBytes);
    }
  }
  for (const RowId id : rows) {
    try {
      table.table->Delete(id);
    } catch (const Error& error) {
      // A cascade from a row deleted before may have taken this one along.
      if (error.Code() != ErrorCode::kNotFound) throw;
    }
    ++state.changes;
  }
  transactions.Commit();
  return static_cast<std::int64_t>(rows.size());
}

}  // namespace jet::sql
