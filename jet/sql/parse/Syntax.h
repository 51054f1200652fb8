#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "jet/sql/Definitions.h"
#include "jet/sql/Schema.h"

/// What a statement says, as plain values with the places where it says it. Nothing here knows what a name means.
namespace jet::sql::syntax {

/// A piece of the text of a statement.
struct Spot {
  std::size_t position = 0;  ///< in characters from 1
  std::size_t offset = 0;    ///< in bytes from 0
  std::size_t end = 0;       ///< byte just after it; the same as offset where the text ends
};

struct Name {
  std::string text;
  std::string upper;  ///< folded for comparing
  bool bracketed = false;
  Spot spot;
};

struct Expression;
struct Query;
using ExpressionPointer = std::unique_ptr<Expression>;
using QueryPointer = std::unique_ptr<Query>;

// ----- expressions

struct Number {
  std::optional<std::int32_t> whole;
  double real = 0;           ///< where it is not whole
  bool fewDecimals = false;  ///< written with one to four: it may be an amount
};
struct Text {
  std::string value;
};
struct DateLiteral {
  double serial = 0;
};
struct GuidLiteral {
  std::string text;
};
/// "?"
struct Marker {
  Spot at;
};
enum class Word { kTrue, kFalse, kNull, kIdentity };
/// A column, a parameter, or a word like YES where nothing has that name.
struct Reference {
  std::string qualifier;  ///< its parts with "!" between them; empty: none
  Name name;
};
struct Call {
  std::string name;      ///< as written
  std::string function;  ///< folded, without a closing $
  Spot at;
  std::vector<Expression> arguments;
};
struct Aggregate {
  std::string name;
  std::string function;
  Spot at;
  ExpressionPointer argument;  ///< null: COUNT(*)
};
struct Parenthesis {
  ExpressionPointer inner;
};
struct Subquery {
  Spot at;
  QueryPointer query;
};
struct Exists {
  QueryPointer query;
};
struct Negation {
  Spot at;
  ExpressionPointer operand;
};
/// A minus sign before something; a plus sign leaves no trace.
struct Minus {
  ExpressionPointer operand;
};

enum class Operator {
  kImp,
  kEqv,
  kXor,
  kOr,
  kAnd,
  kEqual,
  kLess,
  kGreater,
  kAtMost,
  kAtLeast,
  kDiffers,
  kIsNull,
  kLike,
  kALike,
  kBetween,
  kIn,
  kConcatenate,
  kAdd,
  kSubtract,
  kModulo,
  kDivideWhole,
  kMultiply,
  kDivide,
  kPower,
};
enum class Quantifier { kNone, kAll, kAny, kSome };

/// One more step of a chain: an operator with what stands on its right.
struct Link {
  Operator op = Operator::kAnd;
  bool negated = false;
  Quantifier quantifier = Quantifier::kNone;
  Spot at;                           ///< the operator; ALL, ANY or SOME where it has one
  std::vector<Expression> operands;  ///< one; two of BETWEEN, any number of IN, none where the query stands
  QueryPointer query;
  std::size_t after = 0;  ///< position of the token behind it
};
/// Operators of the same rank, one after the other: taken from left to right.
struct Chain {
  ExpressionPointer first;
  std::vector<Link> links;
};

struct Expression {
  std::variant<Word, Number, Text, DateLiteral, GuidLiteral, Marker, Reference, std::unique_ptr<Call>, std::unique_ptr<Aggregate>,
               Parenthesis, Subquery, Exists, Negation, Minus, std::unique_ptr<Chain>>
      what;
  std::size_t after = 0;  ///< position of the token behind it
};

struct Condition {
  Expression expression;
  Spot at;
};

// ----- queries

struct TableName {
  std::string name;
  std::string file;  ///< path of another database, or empty
  std::string alias;
  Spot at;
  int depth = 0;  ///< of nesting around it
};
struct QueryInFrom {
  QueryPointer query;
  std::string alias;
};
/// [SELECT ...]. AS x
struct QuotedQuery {
  std::string text;
  std::string alias;
  Spot at;
  int depth = 0;
};
struct Joined;
struct Factor {
  std::variant<TableName, QueryInFrom, QuotedQuery, std::unique_ptr<Joined>> what;  ///< the last one: in parentheses
  std::size_t position = 0;
};
enum class JoinKind { kInner, kLeft, kRight };
struct Join {
  JoinKind kind = JoinKind::kInner;
  Factor right;
  Condition on;
};
struct Joined {
  Factor first;
  std::vector<Join> joins;
};
using From = std::vector<Joined>;

struct SelectItem {
  enum class Kind { kAll, kAllOf, kExpression };
  Kind kind = Kind::kExpression;
  Spot at;
  std::string table;  ///< kAllOf: folded
  Expression expression;
  std::string name;  ///< given by AS; empty: none
};
struct SelectList {
  std::vector<SelectItem> items;
  std::size_t after = 0;
};
struct OrderKey {
  Spot at;
  std::optional<std::size_t> column;  ///< by its number from 1, instead of the expression
  Expression expression;
  bool descending = false;
};
struct Select {
  Spot at;
  bool distinct = false;
  bool distinctRow = false;
  std::optional<std::int64_t> top;
  bool percent = false;
  SelectList list;
  std::optional<TableTarget> into;
  From from;
  std::optional<Condition> where;
  std::vector<Expression> groups;
  std::optional<Condition> having;
  std::vector<OrderKey> order;
};
struct Crosstab {
  Spot at;
  Expression value;
  SelectList list;
  From from;
  std::optional<Condition> where;
  std::vector<Expression> groups;
  std::optional<Condition> having;
  std::vector<OrderKey> order;
  Condition pivot;
  bool listed = false;  ///< the columns are those of the headings, not those that the rows have
  std::vector<Expression> headings;
};
struct UnionPart {
  Spot at;           ///< the UNION before it
  bool all = false;  ///< UNION ALL
  QueryPointer query;
};
struct UnionKey {
  Spot at;
  std::optional<std::size_t> column;  ///< from 0
  std::string name;                   ///< where no number is given
  bool descending = false;
};
struct Union {
  std::vector<UnionPart> parts;
  std::vector<UnionKey> order;
};
struct Query {
  std::variant<Select, Crosstab, Union> what;
};

// ----- statements

struct Insert {
  Spot at;
  TableTarget target;
  std::vector<Name> columns;
  std::optional<std::string> laterFile;  ///< IN "file" behind the columns
  Spot body;
  std::vector<Expression> values;
  QueryPointer query;  ///< null: VALUES
};
struct Assignment {
  Spot at;
  std::string qualifier;
  Name name;
  Expression value;
};
struct Update {
  From from;
  std::vector<Assignment> assignments;
  std::optional<Condition> where;
};
struct Delete {
  Spot at;
  std::string target;  ///< empty: the one table
  From from;
  std::optional<Condition> where;
};
struct Execute {
  Name name;
  std::vector<Expression> arguments;
};
/// Nothing but a name: of a stored query, or no statement at all.
struct StoredName {
  std::string name;
  Spot at;
  Error otherwise;  ///< where no query has the name
};
struct Declaration {
  std::string name;
  TypeInfo type;
  Spot at;
};
struct Statement {
  std::string text;
  std::vector<Declaration> parameters;
  std::variant<QueryPointer, Insert, Update, Delete, Execute, StoredName, DefinitionPlan, TransactionPlan> what;
};

}  // namespace jet::sql::syntax
