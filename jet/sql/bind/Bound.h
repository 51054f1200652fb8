#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

/// What SQLite is to evaluate, after all names, types and conversions are known and before it is text. Values, shared where they stand in
/// several places; changed only while they are made.
namespace jet::sql::bound {

struct Node;
struct Query;
using NodePointer = std::shared_ptr<Node>;
using QueryPointer = std::shared_ptr<const Query>;

enum class Form : std::uint8_t {
  // Without parts.
  kNull,
  kTrue,
  kFalse,
  kWhole,        ///< number
  kReal,         ///< number
  kText,         ///< text
  kColumn,       ///< text: source and column
  kOuterColumn,  ///< the same, for which a query that groups its rows has nothing to ask: of a query around it
  kParameter,    ///< number: its position from 0
  // Of one part.
  kTruth,  ///< SQLite's truth value (1, 0) as Access' (-1, 0)
  kMinus,
  kSame,  ///< the value and no column any more
  kParentheses,
  kNot,
  kBitNot,
  kComplement,  ///< the same without parentheses around it
  kIsNull,
  kIsNotNull,
  kCollated,  ///< compares as texts do here
  kAboveZero,
  // Of two parts or more.
  kAnd,
  kOr,
  kBitAnd,
  kBitOr,
  kEqual,
  kLess,
  kGreater,
  kAtMost,
  kAtLeast,
  kDiffers,
  kIs,
  kTextJoin,
  kArithmetic,  ///< text: the sign before each part but the first
  kAmount,      ///< the same, rounded to an amount
  kBetween,
  kNotBetween,
  kIn,  ///< the first one in the others, or in the query
  kNotIn,
  // Of any number.
  kCall,       ///< text: the function
  kAggregate,  ///< text: the function; no part: of all rows. filter: of those alone
  kCase,       ///< condition and value in turn, and perhaps a last value for all others
  kChoose,     ///< a number, and the values for 1, 2 and so on
  // Of a query.
  kExists,
  kAllOf,  ///< the test, which holds for each row of the query; text: its alias
  kAnyOf,
  kOneRow,   ///< the value of a query that gives at most one row
  kOnlyRow,  ///< the same of one that might give more, which is an error
};

struct Node {
  Form form = Form::kNull;
  double number = 0;
  std::string text;
  std::vector<NodePointer> parts;
  NodePointer filter;
  QueryPointer query;
  std::size_t weight = 0;  ///< about the length that it will have as text
};

/// The same thing in the same words; two queries are never the same unless they are one.
[[nodiscard]] bool IsSame(const Node& a, const Node& b);

/// A column of a result. name: under which the queries around this one know it; empty: none.
struct Item {
  NodePointer value;
  std::string name;
};

struct Joined;
/// One of them: a table by its name in SQLite, a query, joins in parentheses.
struct Source {
  std::string table;
  QueryPointer query;
  std::shared_ptr<const Joined> group;
  std::string alias;
};
enum class JoinKind : std::uint8_t { kInner, kLeft, kRight };
struct Join {
  JoinKind kind = JoinKind::kInner;
  Source right;
  NodePointer on;
};
/// From left to right.
struct Joined {
  Source first;
  std::vector<Join> joins;
};
/// Else it is one table or query.
[[nodiscard]] inline bool HoldsJoin(const Joined& joined) { return !joined.joins.empty() || joined.first.group != nullptr; }

struct OrderTerm {
  NodePointer key;
  bool descending = false;
  std::size_t column = 0;  ///< of the result, with the same value
};

/// How the first rows are taken.
enum class Cut : std::uint8_t { kNone, kRows, kShare, kRanks, kRanksShare };

struct Select {
  bool distinct = false;
  std::vector<Item> items;
  std::vector<Joined> from;
  NodePointer where;
  std::vector<NodePointer> groups;
  bool oneGroup = false;  ///< all rows are one group
  NodePointer having;
  std::vector<OrderTerm> order;
  Cut cut = Cut::kNone;
  std::int64_t top = 0;  ///< rows, or percent of a share; by ranks those equal to the last one are taken too
};

struct UnionPart {
  bool all = false;
  QueryPointer query;
  std::vector<Item> items;  ///< empty: its columns as they are
};
struct Union {
  std::vector<UnionPart> parts;
  std::vector<OrderTerm> order;  ///< by columns
};

struct Query {
  std::variant<Select, Union> what;
  std::size_t weight = 0;
};

}  // namespace jet::sql::bound
