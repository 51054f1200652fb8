#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "jet/sql/Schema.h"
#include "jet/sql/bind/Bound.h"

namespace jet::sql {

/// A bound expression: what SQLite is to evaluate, and what is known of its value.
struct Expression {
  bound::NodePointer node;
  TypeInfo type;
  bool condition = false;  ///< SQLite's own truth value (1, 0), not yet Access' (-1, 0)
  bool aggregate = false;  ///< holds an aggregate function
  bool literalText = false;
  bool amountLiteral = false;  ///< a number that was written with one to four decimals
  char chain = 0;              ///< the operator of a long chain that more operands may join; 0: none
  int operands = 0;            ///< of the chain, counted where their number is limited
  int nesting = 0;             ///< levels of brackets in its text
  int source = -1;             ///< a plain column: position in the scope's sources
  std::size_t column = 0;
  int parameter = -1;  ///< a parameter: its position
  std::string name;    ///< a plain column: its name
  std::string text;    ///< a literal text: its value
};

[[nodiscard]] inline bool IsText(ColumnType type) { return type == ColumnType::kText || type == ColumnType::kMemo; }

[[nodiscard]] bound::NodePointer MakeNode(bound::Form form, std::vector<bound::NodePointer> parts, std::string text = {});
[[nodiscard]] bound::NodePointer MakeNumber(bound::Form form, double number);
[[nodiscard]] inline bound::NodePointer MakeText(std::string text) { return MakeNode(bound::Form::kText, {}, std::move(text)); }
[[nodiscard]] inline bound::NodePointer MakeCall(std::string function, std::vector<bound::NodePointer> arguments) {
  return MakeNode(bound::Form::kCall, std::move(arguments), std::move(function));
}

/// The expression as a value of Access, as a number, as a text, as a text that compares as texts do here.
[[nodiscard]] bound::NodePointer AsValue(const Expression& expression);
[[nodiscard]] bound::NodePointer AsNumber(const Expression& expression);
[[nodiscard]] bound::NodePointer AsText(const Expression& expression);
[[nodiscard]] bound::NodePointer Collated(const Expression& expression);
/// A term of GROUP BY or ORDER BY.
[[nodiscard]] bound::NodePointer GroupTerm(const Expression& expression);

}  // namespace jet::sql
