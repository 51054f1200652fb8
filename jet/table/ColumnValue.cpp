#include "jet/table/ColumnValue.h"

#include "jet/table/Convert.h"
#include "jet/table/Table.h"
#include "jet/table/TableCore.h"

namespace jet {

Value ColumnValue(Table& table, std::size_t column, const Value& value) {
  (void)table.Columns();  // as they are now
  const auto& stored = table.Core().Stored()[column];
  if (value.IsNull()) return stored.type == ColumnType::kBoolean ? Value(false) : value;
  Value scratch;
  return ConvertToColumn(value, stored, scratch);
}

}  // namespace jet
