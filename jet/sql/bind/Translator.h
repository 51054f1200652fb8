#pragma once

#include <cstddef>
#include <memory>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "jet/sql/bind/Parameters.h"
#include "jet/sql/Schema.h"
#include "jet/sql/Statement.h"
#include "jet/sql/parse/Tokenizer.h"

namespace jet::sql {

/// A translated expression.
struct Expression {
  std::string sql;
  TypeInfo type;
  bool condition = false;  ///< SQLite's own truth value (1, 0), not yet Access' (-1, 0)
  bool aggregate = false;  ///< holds an aggregate function
  bool literalText = false;
  bool amountLiteral = false;  ///< a number that was written with one to four decimals
  char chain = 0;    ///< the operator of a long chain that more operands may join; 0: none
  int operands = 0;  ///< of the chain, counted where their number is limited
  int nesting = 0;   ///< levels of brackets in sql
  int source = -1;   ///< a plain column: position in the scope's sources
  std::size_t column = 0;
  int parameter = -1;                    ///< a parameter: its position
  std::string name;                      ///< a plain column: its name
  std::string text;                      ///< a literal text: its value
  std::vector<std::string> bareColumns;  ///< columns used outside of aggregates
};

/// One table, query or subquery of a FROM clause.
struct ScopeSource {
  std::string alias;  ///< as written, or the table's name
  std::string folded;
  std::string sqlAlias;
  TablePointer table;  ///< null for queries and subqueries
  bool optional = false;
  std::vector<ColumnInfo> columns;
};

struct Scope {
  std::vector<ScopeSource> sources;
  const char* identity = ".rowid";  ///< of a table's row; SQLite does not know this one where a join stands in parentheses
  const Scope* parent = nullptr;
  /// Output columns by folded name, for ORDER BY and later columns that use them.
  std::vector<std::pair<std::string, Expression>> outputs;
};

/// Recursive descent over the tokens of one statement. Used once. The parts of the grammar stand in Expression.cpp, Select.cpp,
/// Change.cpp and Definition.cpp.
class Translator {
 public:
  Translator(std::string_view text, SchemaSource& schema, const TextSettings& settings, ParameterSet* parameters);

  [[nodiscard]] Statement Run();

 private:
  Statement ParseStatement();
  // ----- tokens
  [[nodiscard]] const Token& Peek(std::size_t ahead = 0) const;
  const Token& Take();
  [[nodiscard]] bool AtWord(std::string_view word, std::size_t ahead = 0) const;
  [[nodiscard]] bool AtSymbol(std::string_view symbol, std::size_t ahead = 0) const;
  bool TakeWord(std::string_view word);
  bool TakeSymbol(std::string_view symbol);
  void ExpectWord(std::string_view word);
  void ExpectSymbol(std::string_view symbol);
  [[nodiscard]] bool AtName(std::size_t ahead = 0) const;
  std::string TakeName(const char* what);
  void ExpectEnd();
  [[noreturn]] void Fail(const std::string& message) const;
  [[noreturn]] void FailAt(const Token& token, const std::string& message) const;

  // ----- expressions
  Expression ParseExpression();
  Expression ParseCondition();
  Expression ParseImplication();
  Expression ParseEquivalence();
  Expression ParseExclusiveOr();
  Expression ParseOr();
  Expression ParseAnd();
  Expression ParseNot();
  Expression ParseComparison();
  Expression ParsePredicate(Expression left, bool negated);
  Expression ParseQuantified(Expression left, const std::string& comparison);
  Expression ParseConcatenation();
  Expression ParseAdditive();
  Expression ParseModulo();
  Expression ParseIntegerDivision();
  Expression ParseMultiplicative();
  Expression ParseUnary();
  Expression ParsePower();
  Expression ParsePrimary();
  Expression ParseParenthesis();
  Expression ParseNameOrCall();
  Expression ParseCall();
  Expression ParseAggregate(const std::string& function);
  std::vector<Expression> ParseArguments();
  Expression ParseSpecialCall(const Token& name, std::vector<Expression>& arguments, bool& known);
  Expression DomainCall(const Token& name, const std::vector<Expression>& arguments);
  Expression Number(const Token& token);
  Expression DateLiteral(const Token& token);
  /// A column, or what its name may mean instead: a truth value, a parameter.
  Expression ResolveName(const std::string& qualifier, const Token& name);
  std::optional<Expression> FindColumn(const std::string& qualifier, const Token& name);
  Expression NeedColumn(const std::string& qualifier, const Token& name);
  Expression ColumnOf(const Scope& scope, std::size_t source, std::size_t column) const;
  Expression Logical(const char* op, Expression left, Expression right, const Token& at);
  Expression Compare(const std::string& op, Expression left, Expression right, const Token& at);
  Expression Arithmetic(const std::string& op, Expression left, Expression right);
  void CheckComparable(const Expression& left, const Expression& right, const Token& at) const;
  Expression DateFromText(const Token& at, const Expression& text);
  Expression Joined(Expression left, const std::string& glue, const std::string& rightSql, const Expression& right) const;
  Expression SingleValue(const SelectPlan& query) const;

  static std::string AsValue(const Expression& expression);
  static std::string AsCondition(const Expression& expression);
  static std::string AsNumber(const Expression& expression);
  static std::string AsText(const Expression& expression);
  static std::string Collated(const Expression& expression);
  /// A term of GROUP BY or ORDER BY.
  static std::string GroupTerm(const Expression& expression);
  Expression Made(std::string sql, ColumnType type, std::initializer_list<const Expression*> parts) const;
  Expression MadeCondition(std::string sql, std::initializer_list<const Expression*> parts) const;
  void RequireShort(const std::string& sql) const;

  // ----- parameters
  void ParseParameters();
  std::string TakeReference();
  [[nodiscard]] ParameterSet::Place PlaceOf(const Token& token) const { return {outerAt_ == 0 ? token.position : outerAt_, token.position}; }
  Expression UseParameter(std::size_t position, const Token& at) const;
  [[noreturn]] static void NoValue(const std::string& name, const Token& at);
  void AdaptParameter(Expression& parameter, const Expression& other);

  // ----- queries
  struct SelectItem {
    Expression expression;
    std::string name;
    bool named = false;
  };
  struct QueryOptions {
    bool outermost = false;  ///< row identities and ties are wanted
    bool allowInto = false;
    bool orderAllowed = true;
  };
  /// A query with its UNIONs; the scope that encloses it is scope_.
  SelectPlan ParseQuery(QueryOptions options);
  SelectPlan ParseSelect(QueryOptions options);
  std::vector<SelectItem> ParseSelectList(Scope& scope);
  void AddStar(const Scope& scope, std::size_t source, std::vector<SelectItem>& items) const;
  void NameItems(const Scope& scope, std::vector<SelectItem>& items);
  std::string ParseFrom(Scope& scope);
  std::string ParseJoined(Scope& scope, bool optional);
  std::string ParseTableFactor(Scope& scope);
  std::string AddTable(Scope& scope, const std::string& name, const std::string& file, const Token& at);
  std::string AddQuery(Scope& scope, const SelectPlan& plan, const std::string& name);
  std::string ParseAlias();
  void SkipToFrom();
  void CheckGrouping(const std::vector<SelectItem>& items, const std::vector<Expression>& groups, const Token& at) const;
  SelectPlan ParseOther(const std::string& text, const Token& at);
  SelectPlan StoredQuery(const std::string& name, const std::string& text, const Token& at);
  std::string FileName(const Token& token) const;

  // ----- stored statements
  Statement ParseExecute();
  std::optional<Statement> ParseStoredName();
  [[nodiscard]] std::optional<TransactionPlan> ParseTransaction();
  Statement RunStored(const std::string& name, const std::string& text, ParameterSet* parameters, const Token& at);
  SelectPlan ParseCrosstab();
  struct PivotColumn {
    std::string sql;  ///< the condition of its rows
    std::string name;
  };
  std::vector<PivotColumn> ParsePivot(const std::string& from, const std::string& where);
  [[nodiscard]] SelectPlan Constant(std::string sql, const TypeInfo& type) const;

  // ----- changes
  Statement ParseInsert();
  Statement ParseUpdate();
  Statement ParseDelete();
  TablePointer NeedTable(const TableTarget& target, const Token& at);
  TableTarget ParseTarget(const char* what);
  std::string RowIdentities(const Scope& scope, SelectPlan& plan, std::size_t firstColumn) const;
  void NoteRead(const TablePointer& table);

  // ----- definitions
  Statement ParseCreate();
  Statement ParseAlter();
  Statement ParseAlterColumn(const std::string& table);
  Statement ParseDrop();
  Statement ParseCreateTable();
  Statement ParseCreateQuery(bool view);
  Statement ParseCreateIndex(bool unique);
  ColumnDef ParseColumn(const std::string& table, std::vector<IndexSpec>& indexes, std::vector<ForeignKeySpec>& keys);
  void ParseColumnType(ColumnDef& column);
  std::string ParseDefault();
  void ParseTableConstraint(const std::string& table, std::vector<IndexSpec>& indexes, std::vector<ForeignKeySpec>& keys);
  ForeignKeySpec ParseReferences(std::string name, std::vector<std::string> columns);
  std::vector<std::string> ParseNameList();

  std::string text_;
  std::vector<Token> tokens_;
  std::size_t position_ = 0;
  SchemaSource& schema_;
  const TextSettings& settings_;
  Scope* scope_ = nullptr;
  int nextAlias_ = 0;
  int aggregateDepth_ = 0;
  int depth_ = 0;
  std::vector<TablePointer> reads_;
  std::vector<std::string> openQueries_;  ///< stored queries being translated, to find circles
  ParameterSet own_;
  ParameterSet* parameters_;
  std::size_t outerAt_ = 0;  ///< while a stored query is translated: where its name stands in the statement
  bool inStored_ = false;      ///< the statement is a stored one
  std::string filter_;         ///< of the aggregates of a crosstab's column
  TableTarget into_;
  bool hasInto_ = false;
};

}  // namespace jet::sql
