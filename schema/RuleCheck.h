#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "schema/Dialect.h"
#include "schema/Model.h"

namespace tamlo::schema {

/// A validation rule of Access as a condition of an engine.
struct RuleCheck {
  enum class Why : std::uint8_t {
    kNotKnown,  ///< a form, a function or a value whose equivalent is not known here
    kNulls,     ///< it does not say whether a column may be null
    kTexts,     ///< it compares texts
  };
  std::string condition;             ///< empty when it cannot be one
  std::vector<const Column*> about;  ///< columns that it names
  Why why = Why::kNotKnown;          ///< where it cannot
  std::string column;                ///< that this is about
};

/// Translates the rule of a column, or with a null that of the whole table. Only what means the same in every row is translated: comparisons,
/// Between, In, Is Null, And, Or, Not over numbers, days and truth values, Like with digits (#) alone. Texts are not compared, as engines
/// order them otherwise. Access takes or refuses a row for which a rule is neither true nor false by its version, SQL always takes it: a rule
/// that can be so, because of a column that can be null and of which it does not say what that means, is not translated either.
/// spelled: the name of a column as it stands in a statement.
[[nodiscard]] RuleCheck CheckOfRule(const std::string& rule, const Table& table, const Column* column, const Dialect& dialect,
                                    const std::function<std::string(const Column&)>& spelled);

}  // namespace tamlo::schema
