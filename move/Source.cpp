#include "move/Source.h"

#include "base/Case.h"

namespace tamlo::move {
namespace {

/// Whether the recordset has the columns of the plan and no others, in their order.
bool HasColumns(const ado::Recordset& rows, const PlannedTable& table) {
  if (rows.FieldCount() != table.columns.size()) return false;
  for (std::size_t i = 0; i < table.columns.size(); ++i)
    if (!base::SameName(rows.Fields(i).Name(), table.columns[i].name)) return false;
  return true;
}

std::string QueryOf(const schema::Dialect& dialect, const PlannedTable& table) {
  std::vector<std::string> names;
  for (const PlannedColumn& column : table.columns) names.push_back(column.name);
  std::string query = "SELECT " + ColumnList(dialect, names) + " FROM " + schema::Quoted(dialect, table.name);
  // A file gives its rows as they lie in it.
  if (dialect.engine == schema::Engine::kAccess) return query;
  for (std::size_t i = 0; i < table.order.size(); ++i) query += (i == 0 ? " ORDER BY " : ", ") + schema::Quoted(dialect, table.order[i]);
  return query;
}

}  // namespace

std::string ColumnList(const schema::Dialect& dialect, const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) {
    list += (list.empty() ? "" : ", ") + schema::Quoted(dialect, name);
    if (dialect.engine == schema::Engine::kSqlite && name.find('.') != std::string::npos)
      list += " AS tamlo_column_" + std::to_string(&name - names.data());
  }
  return list;
}

ado::Recordset OpenRows(const Source& source, const PlannedTable& table) {
  ado::Recordset rows;
  if (source.engine == schema::Engine::kAccess) {
    rows.Open(table.name, &source.connection, ado::adOpenForwardOnly, ado::adLockReadOnly, ado::adCmdTableDirect);
    if (HasColumns(rows, table)) return rows;
    rows.Close();
  }
  rows.Open(QueryOf(schema::DialectOf(source.engine), table), &source.connection, ado::adOpenForwardOnly, ado::adLockReadOnly,
            ado::adCmdText);
  return rows;
}

}  // namespace tamlo::move
