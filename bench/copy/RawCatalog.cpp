#include "bench/copy/RawCatalog.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <cstring>

namespace tamlo::bench {

namespace {

struct Column {
  bool isText = false;
  std::size_t stride = sizeof(SQLINTEGER);
  std::vector<char> data;
  std::vector<SQLLEN> sizes;
};

Column MakeColumn(const RawTable& table, std::size_t number, std::size_t batchRows) {
  Column column;
  column.isText = std::holds_alternative<std::string>(table.rows.front()[number]);
  for (const auto& row : table.rows) {
    if (column.isText) column.stride = std::max(column.stride, std::get<std::string>(row[number]).size() + 1);
  }
  column.data.resize(batchRows * column.stride);
  column.sizes.resize(batchRows);
  return column;
}

void Set(Column& column, std::size_t slot, const std::variant<int, std::string>& value) {
  char* place = column.data.data() + slot * column.stride;
  if (const auto* text = std::get_if<std::string>(&value)) {
    std::memcpy(place, text->data(), text->size());
    column.sizes[slot] = static_cast<SQLLEN>(text->size());
  } else {
    const SQLINTEGER number = std::get<int>(value);
    std::memcpy(place, &number, sizeof number);
    column.sizes[slot] = sizeof number;
  }
}

}  // namespace

void RawInsert(RawSide& target, const RawTable& table, std::size_t batchRows) {
  std::string names;
  std::string marks;
  for (const auto& name : table.columns) {
    names += (names.empty() ? "`" : ",`") + name + "`";
    marks += marks.empty() ? "?" : ",?";
  }
  target.Prepare("INSERT INTO `" + table.name + "` (" + names + ") VALUES (" + marks + ")");
  std::vector<Column> columns;
  for (std::size_t i = 0; i < table.columns.size(); ++i) columns.push_back(MakeColumn(table, i, batchRows));
  for (std::size_t i = 0; i < columns.size(); ++i) {
    Column& column = columns[i];
    target.Check(SQLBindParameter(target.statement, static_cast<SQLUSMALLINT>(i + 1), SQL_PARAM_INPUT,
                                  column.isText ? SQL_C_CHAR : SQL_C_SLONG, column.isText ? SQL_VARCHAR : SQL_INTEGER,
                                  column.isText ? column.stride : 10, 0, column.data.data(), static_cast<SQLLEN>(column.stride),
                                  column.sizes.data()));
  }
  std::size_t held = 0;
  const auto send = [&] {
    target.SendRows(held);
    target.Commit();
    held = 0;
  };
  for (const auto& row : table.rows) {
    for (std::size_t i = 0; i < columns.size(); ++i) Set(columns[i], held, row[i]);
    if (++held == batchRows) send();
  }
  if (held > 0) send();
  SQLFreeStmt(target.statement, SQL_RESET_PARAMS);
}

}  // namespace tamlo::bench
