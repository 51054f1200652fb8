// CREATE, ALTER and DROP go to the engine directly.
#include "jet/sql/bind/Coercion.h"
#include "jet/sql/Names.h"
#include "jet/sql/bind/Parameters.h"
#include "jet/sql/run/SessionState.h"
#include "jet/sql/run/StoredParts.h"

namespace jet::sql {

namespace {

// Names for what the statement leaves unnamed.
std::string FreeRelationshipName(Database& database, const std::string& wanted) {
  std::string name = wanted;
  for (int i = 1;; ++i) {
    bool taken = false;
    for (const Relationship& relationship : database.Relationships()) taken = taken || SameName(relationship.name, name);
    if (!taken) return name;
    name = wanted + std::to_string(i);
  }
}

void AddForeignKey(Database& database, const std::string& table, const ForeignKeySpec& key) {
  Relationship relationship;
  relationship.name = key.name.empty() ? FreeRelationshipName(database, key.referencedTable + table) : key.name;
  relationship.table = table;
  relationship.referencedTable = key.referencedTable;
  relationship.cascadeUpdates = key.cascadeUpdates;
  relationship.cascadeDeletes = key.cascadeDeletes;
  std::vector<std::string> referenced = key.referencedColumns;
  if (referenced.empty()) {
    Table& target = database.OpenTable(key.referencedTable);
    const std::optional<std::size_t> primary = target.PrimaryKey();
    if (!primary) throw Error(ErrorCode::kNotFound, "the table \"" + key.referencedTable + "\" has no primary key to refer to");
    for (const IndexColumn& column : target.Indexes()[*primary].columns) referenced.push_back(target.Columns()[column.column].name);
  }
  if (referenced.size() != key.columns.size()) throw Error(ErrorCode::kSyntax, "a foreign key has as many columns as the key it refers to");
  for (std::size_t i = 0; i < referenced.size(); ++i) relationship.columns.emplace_back(key.columns[i], referenced[i]);
  database.CreateRelationship(relationship);
}

void DropConstraint(Database& database, const DropConstraintPlan& plan) {
  Table& table = database.OpenTable(plan.table);
  for (const Relationship& relationship : database.Relationships()) {
    if (!SameName(relationship.name, plan.name) || !SameName(relationship.table, table.Name())) continue;
    const std::string name = relationship.name;
    database.DropRelationship(name);
    return;
  }
  database.DropIndex(plan.table, plan.name);
}

void Run(Database& database, const CreateTablePlan& plan) {
  TableSpec spec = plan.table;
  for (ColumnDef& column : spec.columns) column.allowZeroLength = true;
  database.CreateTable(spec);
  for (const ForeignKeySpec& key : plan.foreignKeys) AddForeignKey(database, spec.name, key);
}

void Run(Database& database, const AddColumnPlan& plan) {
  for (ColumnDef column : plan.columns) {
    column.allowZeroLength = true;
    database.AddColumn(plan.table, column);
  }
  for (const IndexSpec& index : plan.indexes) database.CreateIndex(plan.table, index);
  for (const ForeignKeySpec& key : plan.foreignKeys) AddForeignKey(database, plan.table, key);
}

void RequireValues(Database& database, const std::string& name, const std::string& columnName) {
  Table& table = database.OpenTable(name);
  const std::size_t column = table.ColumnAt(columnName);
  for (ScanCursor cursor = table.Scan(); cursor.Next();) {
    if (!cursor.Current().IsNull(column)) continue;
    throw Error(ErrorCode::kNullNotAllowed,
                "The table \"" + table.Name() + "\" has rows without a value in the column \"" + columnName + "\"");
  }
}

void Run(SessionState& state, const AlterColumnPlan& plan) {
  Database& database = state.database;
  Table& table = database.OpenTable(plan.table);
  const std::optional<std::size_t> position = table.FindColumn(plan.column.name);
  if (!position) throw Error(ErrorCode::kNotFound, "the table \"" + table.Name() + "\" has no column \"" + plan.column.name + "\"");
  const auto isText = [](ColumnType type) { return type == ColumnType::kText || type == ColumnType::kMemo; };
  const bool becomesText = plan.retyped && isText(plan.column.type) && !isText(table.Columns()[*position].type);
  const std::string name = table.Columns()[*position].name;
  if (plan.retyped) {
    const TypeInfo type{plan.column.type, plan.column.size, plan.column.precision, plan.column.scale};
    database.AlterColumn(plan.table, plan.column, [&](const Value& value) { return Coerced(value, type, state.options.text); });
  }
  const auto set = [&](const char* property, bool value) {
    database.SetProperty(plan.table, name, {property, ColumnType::kBoolean, Value(value), true});
  };
  if (becomesText) set("AllowZeroLength", true);
  if (plan.required && *plan.required) RequireValues(database, plan.table, name);
  if (plan.required) set("Required", *plan.required);
  if (plan.defaultValue == AlterColumnPlan::Default::kDropped) database.RemoveProperty(plan.table, name, "DefaultValue");
  if (plan.defaultValue == AlterColumnPlan::Default::kSet)
    database.SetProperty(plan.table, name, {"DefaultValue", ColumnType::kMemo, Value(plan.column.defaultValue), true});
  for (const IndexSpec& index : plan.indexes) database.CreateIndex(plan.table, index);
  for (const ForeignKeySpec& key : plan.foreignKeys) AddForeignKey(database, plan.table, key);
}

void Run(Database& database, const DropColumnPlan& plan) {
  for (const std::string& column : plan.columns) database.DropColumn(plan.table, column);
}

void Run(Database& database, const DropConstraintPlan& plan) { DropConstraint(database, plan); }
void Run(Database& database, const CreateIndexPlan& plan) { database.CreateIndex(plan.table, plan.index); }
void Run(Database& database, const DropIndexPlan& plan) { database.DropIndex(plan.table, plan.name); }

void Run(Database& database, const DropTablePlan& plan) {
  const CatalogObject* object = database.FindObject(plan.name);
  if (plan.query && (object == nullptr || object->kind != ObjectKind::kQuery))
    throw Error(ErrorCode::kNotFound, "there is no stored query \"" + plan.name + "\"");
  database.DropTable(plan.name);
}

// What the statement asks of a query, looked at before it is stored and once more as it is read back from the file.
void CheckQuery(SessionState& state, const CreateQueryPlan& plan, const std::string& text) {
  ParameterSet parameters;
  parameters.collecting = true;
  const jet::sql::Statement statement = Translate(text, state, state.options.text, &parameters);
  if (plan.view && !std::holds_alternative<SelectPlan>(statement))
    throw Error(ErrorCode::kUnsupported, "the view \"" + plan.name + "\" gives no rows: CREATE PROCEDURE stores such a statement");
}

void Run(SessionState& state, const CreateQueryPlan& plan) {
  CheckQuery(state, plan, plan.text);
  QueryDesign design = DesignOf(plan.text);
  std::vector<QueryPart>& columns = design.parts[QueryAttribute::kColumn];
  if (!plan.columns.empty() && (columns.size() != plan.columns.size() || design.type == QueryType::kCrosstab))
    throw Error(ErrorCode::kSyntax, "the view \"" + plan.name + "\" has not as many columns as names for them");
  for (std::size_t i = 0; i < plan.columns.size(); ++i) columns[i].name1 = plan.columns[i];
  StoreQuery(state.database, plan.name, design);
  state.ForgetTables();
  const std::optional<std::string> stored = plan.view ? state.FindQuery(plan.name) : state.FindStatement(plan.name);
  if (stored) CheckQuery(state, plan, *stored);
}

Database& DatabaseOf(Database& database) { return database; }
Database& DatabaseOf(SessionState& state) { return state.database; }

/// where: what the statement works on, the database or the whole session.
template <typename Plan, typename Where>
bool RunIf(Where& where, const Statement& statement) {
  const Plan* plan = std::get_if<Plan>(&statement);
  if (plan == nullptr) return false;
  Transaction transaction(DatabaseOf(where));
  Run(where, *plan);
  transaction.Commit();
  return true;
}

}  // namespace

void RunDefinition(SessionState& state, const jet::sql::Statement& statement) {
  // Declared tables may lead to what is about to go.
  state.ForgetTables();
  ++state.changes;
  Database& database = state.database;
  const bool known = RunIf<AlterColumnPlan>(state, statement) || RunIf<CreateQueryPlan>(state, statement) ||
                     RunIf<CreateTablePlan>(database, statement) || RunIf<AddColumnPlan>(database, statement) ||
                     RunIf<DropColumnPlan>(database, statement) || RunIf<DropConstraintPlan>(database, statement) ||
                     RunIf<CreateIndexPlan>(database, statement) || RunIf<DropIndexPlan>(database, statement) ||
                     RunIf<DropTablePlan>(database, statement);
  if (!known) throw Error(ErrorCode::kUnsupported, "this statement is no definition");
}

}  // namespace jet::sql
