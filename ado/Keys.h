#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tamlo::ado {

enum KeyType : std::int32_t { adKeyPrimary = 1, adKeyForeign = 2, adKeyUnique = 3 };

/// What happens to rows that refer to another one when that one changes its key, or goes.
enum RuleType : std::int32_t { adRINone = 0, adRICascade = 1, adRISetNull = 2, adRISetDefault = 3 };

/// A column of a key.
struct KeyColumn {
  std::string name;
  std::string relatedColumn;  ///< of the related table; of foreign keys alone
};

/// A key of a table with its columns in their order.
struct Key {
  std::string name;
  KeyType type = adKeyPrimary;
  std::vector<KeyColumn> columns;
  std::string relatedTable;        ///< of foreign keys alone, like the rules
  RuleType updateRule = adRINone;  ///< adRINone: the change is refused while rows refer to it
  RuleType deleteRule = adRINone;
};

}  // namespace tamlo::ado
