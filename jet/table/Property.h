#pragma once

#include <string>

#include "jet/value/Value.h"

namespace jet {

/// One property of an object or of a column, as the property map (LvProp) holds it.
struct Property {
  std::string name;
  ColumnType type = ColumnType::kText;
  Value value;       ///< bool, numbers, text or bytes according to the type
  bool ddl = false;  ///< only those who may change the design may change it
};

}  // namespace jet
