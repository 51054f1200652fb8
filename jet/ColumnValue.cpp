#include "jet/ColumnValue.h"

#include "jet/Convert.h"
#include "jet/Engine.h"
#include "jet/Table.h"
#include "jet/TableCore.h"

namespace jet {

Value ColumnValue(Table& table, std::size_t column, const Value& value) {
  (void)table.Columns();  // as they are now
  const auto& stored = table.Core().Stored()[column];
  if (value.IsNull()) return stored.type == ColumnType::kBoolean ? Value(false) : value;
  Value scratch;
  return ConvertToColumn(value, stored, scratch);
}

}  // namespace jet
