// CREATE, ALTER and DROP go to the engine directly.
#include "jet/sql/Names.h"
#include "jet/sql/SessionState.h"

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

void Run(Database& database, const DropColumnPlan& plan) {
  for (const std::string& column : plan.columns) database.DropColumn(plan.table, column);
}

void Run(Database& database, const DropConstraintPlan& plan) { DropConstraint(database, plan); }
void Run(Database& database, const CreateIndexPlan& plan) { database.CreateIndex(plan.table, plan.index); }
void Run(Database& database, const DropIndexPlan& plan) { database.DropIndex(plan.table, plan.name); }
void Run(Database& database, const DropTablePlan& plan) { database.DropTable(plan.name); }

template <typename Plan>
bool RunIf(Database& database, const Statement& statement) {
  const Plan* plan = std::get_if<Plan>(&statement);
  if (plan == nullptr) return false;
  Transaction transaction(database);
  Run(database, *plan);
  transaction.Commit();
  return true;
}

}  // namespace

void RunDefinition(SessionState& state, const jet::sql::Statement& statement) {
  // Declared tables may lead to what is about to go.
  state.ForgetTables();
  ++state.changes;
  Database& database = state.database;
  const bool known = RunIf<CreateTablePlan>(database, statement) || RunIf<AddColumnPlan>(database, statement) ||
                     RunIf<DropColumnPlan>(database, statement) || RunIf<DropConstraintPlan>(database, statement) ||
                     RunIf<CreateIndexPlan>(database, statement) || RunIf<DropIndexPlan>(database, statement) ||
                     RunIf<DropTablePlan>(database, statement);
  if (!known) throw Error(ErrorCode::kUnsupported, "this statement is no definition");
}

}  // namespace jet::sql
