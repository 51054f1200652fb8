#pragma once

#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "jet/sql/Schema.h"
#include "jet/sql/Statement.h"
#include "jet/sql/bind/Bound.h"
#include "jet/sql/bind/Expression.h"
#include "jet/sql/bind/Parameters.h"
#include "jet/sql/bind/Scope.h"
#include "jet/sql/parse/Syntax.h"

namespace jet::sql {

/// A query: its plan, which has no text yet, and what that text will say.
struct BoundRows {
  SelectPlan plan;
  bound::QueryPointer query;
};

/// A statement, and what the text of the query in its plan will say; null for one without a query.
struct BoundStatement {
  Statement plan;
  bound::QueryPointer query;
};

/// The query of a statement, which for a change gives the rows to change; null for a definition.
[[nodiscard]] SelectPlan* QueryOf(Statement& statement);

/// What a statement is bound to.
struct Surroundings {
  SchemaSource& schema;
  const TextSettings& settings;
  /// The first rows of a query, where a statement means something only with them.
  std::function<std::vector<std::vector<Value>>(const BoundRows& rows, std::size_t most)> evaluate;
};

/// Finds out what the names of one statement mean, of which types its expressions are and what must be converted. Used once. The parts of
/// the language stand in files of their own.
class Binder {
 public:
  /// inStored: the statement is a stored one.
  Binder(const Surroundings& around, ParameterSet& parameters, bool inStored);

  /// Errors: those of Translate but for what cannot be read.
  [[nodiscard]] BoundStatement Run(const syntax::Statement& statement);

 private:
  [[noreturn]] void FailAt(const syntax::Spot& spot, const std::string& message) const;
  void Declare(const std::vector<syntax::Declaration>& declarations);
  void NoteRead(const TablePointer& table);
  [[nodiscard]] std::string NewAlias(const char* letter) { return letter + std::to_string(nextAlias_++); }

  // ----- expressions
  Expression Bind(const syntax::Expression& expression);
  Expression BindCondition(const syntax::Condition& condition);
  Expression Of(syntax::Word word);
  Expression Of(const syntax::Number& number);
  Expression Of(const syntax::Text& text);
  Expression Of(const syntax::DateLiteral& date);
  Expression Of(const syntax::GuidLiteral& guid);
  Expression Of(const syntax::Marker& marker);
  Expression Of(const syntax::Reference& reference);
  Expression Of(const std::unique_ptr<syntax::Call>& call);
  Expression Of(const std::unique_ptr<syntax::Aggregate>& aggregate);
  Expression Of(const syntax::Parenthesis& parenthesis);
  Expression Of(const syntax::Subquery& subquery);
  Expression Of(const syntax::Exists& exists);
  Expression Of(const syntax::Negation& negation);
  Expression Of(const syntax::Minus& minus);
  Expression Of(const std::unique_ptr<syntax::Chain>& chain);

  Expression Linked(Expression left, const syntax::Link& link);
  Expression Logical(Expression left, const syntax::Link& link);
  Expression Bitwise(Expression left, Expression right, const syntax::Link& link);
  Expression Compared(Expression left, const syntax::Link& link);
  Expression Quantified(Expression left, const syntax::Link& link);
  Expression Like(Expression left, const syntax::Link& link);
  Expression Between(Expression left, const syntax::Link& link);
  Expression In(Expression left, const syntax::Link& link);
  Expression InQuery(Expression left, const syntax::Link& link);
  Expression Concatenated(Expression left, const syntax::Link& link);
  Expression Arithmetic(Expression left, const syntax::Link& link);
  [[nodiscard]] Expression JoinedTexts(Expression left, const Expression& right) const;
  Expression NumberCall(Expression left, const syntax::Link& link);
  void CheckComparable(const Expression& left, const Expression& right, const syntax::Spot& at) const;

  [[nodiscard]] Expression Made(bound::NodePointer node, ColumnType type, std::initializer_list<const Expression*> parts) const;
  [[nodiscard]] Expression MadeCondition(bound::NodePointer node, std::initializer_list<const Expression*> parts) const;
  /// A further operand for the chain that left is. sign: before it, of arithmetic.
  [[nodiscard]] Expression Extended(Expression left, bound::NodePointer part, const Expression& right, char sign = 0) const;
  static void Absorb(Expression& made, const Expression& part);
  void RequireShort(const Expression& expression) const;

  // ----- names and parameters
  Expression NeedColumn(const std::string& qualifier, const syntax::Name& name);
  std::optional<Expression> FindColumn(const std::string& qualifier, const syntax::Name& name);
  [[nodiscard]] static Expression ColumnOf(const Scope& scope, std::size_t source, std::size_t column);
  [[nodiscard]] ParameterSet::Place PlaceOf(const syntax::Spot& spot) const;
  [[nodiscard]] Expression UseParameter(std::size_t position, const syntax::Spot& at) const;
  [[noreturn]] static void NoValue(const std::string& name, const syntax::Spot& at);
  void AdaptParameter(Expression& parameter, const Expression& other);

  // ----- calls
  using Arguments = std::vector<Expression>;
  struct SpecialCall;
  static const SpecialCall* FindSpecial(const std::string& function);
  Expression Ordinary(const syntax::Call& call, const Arguments& arguments);
  void MakeTexts(const syntax::Call& call, Arguments& arguments) const;
  Expression DateFromText(const syntax::Spot& at, const Expression& text) const;
  Expression Date(const syntax::Call& call, Arguments& arguments);
  Expression DateValue(const syntax::Call& call, Arguments& arguments);
  Expression TimeValue(const syntax::Call& call, Arguments& arguments);
  Expression Iif(const syntax::Call& call, Arguments& arguments);
  Expression Switch(const syntax::Call& call, Arguments& arguments);
  Expression Choose(const syntax::Call& call, Arguments& arguments);
  Expression Nz(const syntax::Call& call, Arguments& arguments);
  Expression IsNull(const syntax::Call& call, Arguments& arguments);
  Expression IsOfKind(const syntax::Call& call, Arguments& arguments);
  Expression Truth(const syntax::Call& call, Arguments& arguments);
  Expression Format(const syntax::Call& call, Arguments& arguments);
  Expression Text(const syntax::Call& call, Arguments& arguments);
  Expression Domain(const syntax::Call& call, Arguments& arguments);
  [[nodiscard]] bound::NodePointer AggregateNode(std::string function, std::vector<bound::NodePointer> argument) const;

  // ----- queries
  struct SelectItem {
    Expression expression;
    std::string name;
    bool named = false;
  };
  struct Selection;
  /// outermost: row identities and ties are wanted.
  BoundRows BindQuery(const syntax::Query& query, bool outermost);
  BoundRows BindUnion(const syntax::Union& united);
  void AddUnionPart(bound::Union& united, const BoundRows& part, const std::vector<ResultColumn>& columns, bool all) const;
  BoundRows BindSelect(const syntax::Select& select, bool outermost);
  void BindClauses(Selection& selection);
  void BindResult(Selection& selection) const;
  static void KeepDistinctRows(Selection& selection);
  void BindOrder(Selection& selection);
  Expression OrderKey(const Selection& selection, const syntax::OrderKey& key);
  static void CutRows(Selection& selection);
  std::vector<SelectItem> BindList(const syntax::SelectList& list, Scope& scope);
  void AddStar(const Scope& scope, const syntax::SelectItem& star, std::vector<SelectItem>& items) const;
  static void NameItems(const Scope& scope, std::vector<SelectItem>& items);
  static void AddIdentities(const Scope& scope, SelectPlan& plan, std::vector<bound::Item>& items);
  void CheckGrouping(const SelectItem& item, const std::vector<Expression>& groups, const syntax::Spot& at) const;
  /// The value of a subquery: more than one row is an error.
  [[nodiscard]] Expression SingleValue(const BoundRows& query) const;
  static bound::QueryPointer Finished(bound::Select select);

  std::vector<bound::Joined> BindFrom(const syntax::From& from, Scope& scope);
  bound::Joined BindJoined(const syntax::Joined& joined, Scope& scope);
  bound::Source BindFactor(const syntax::Factor& factor, Scope& scope);
  bound::Source Of(const std::unique_ptr<syntax::Joined>& group, Scope& scope);
  bound::Source Of(const syntax::TableName& table, Scope& scope);
  bound::Source Of(const syntax::QueryInFrom& inner, Scope& scope);
  bound::Source Of(const syntax::QuotedQuery& quoted, Scope& scope);
  bound::Source AddQuery(Scope& scope, const BoundRows& rows, const std::string& name);
  BoundRows OtherText(const std::string& text, const syntax::Spot& at, int depth);
  BoundRows StoredQuery(const syntax::TableName& table, const std::string& text);

  // ----- crosstabs
  struct PivotColumn {
    bound::NodePointer filter;  ///< the condition of its rows
    std::string name;
  };
  struct Pivot;
  BoundRows BindCrosstab(const syntax::Crosstab& crosstab);
  std::vector<Expression> BindHeads(const syntax::Crosstab& crosstab, Scope& scope, const std::vector<SelectItem>& items,
                                    bound::Select& select);
  std::vector<PivotColumn> PivotColumns(const syntax::Crosstab& crosstab, const bound::Select& select);
  void AddHeading(Pivot& pivot, const Value& heading) const;
  SelectItem Cell(const syntax::Crosstab& crosstab, const PivotColumn& column, const std::vector<Expression>& groups);
  [[nodiscard]] BoundRows Constant(bound::Select select, const TypeInfo& type) const;
  [[nodiscard]] Value ValueOf(const Expression& expression) const;

  // ----- statements
  BoundStatement Of(const syntax::QueryPointer& query);
  BoundStatement Of(const syntax::Insert& insert);
  BoundStatement Of(const syntax::Update& update);
  BoundStatement Of(const syntax::Delete& gone);
  BoundStatement Of(const syntax::Execute& execute);
  BoundStatement Of(const syntax::StoredName& stored);
  BoundStatement Of(const DefinitionPlan& definition);
  BoundStatement Of(const TransactionPlan& transaction);
  TablePointer NeedTable(const TableTarget& target, const syntax::Spot& at);
  void NameTargets(const syntax::Insert& insert, InsertPlan& plan) const;
  bound::QueryPointer BindValues(const syntax::Insert& insert, InsertPlan& plan);
  void MatchTargets(const syntax::Insert& insert, InsertPlan& plan) const;
  void BindAssignment(const syntax::Assignment& assignment, const Scope& scope, UpdatePlan& plan, bound::Select& select);
  std::size_t DeletedSource(const syntax::Delete& gone, const Scope& scope) const;
  BoundStatement RunStored(const std::string& name, const std::string& text, ParameterSet& parameters, const syntax::Spot& at);

  const Surroundings& around_;
  ParameterSet& parameters_;
  const std::string* text_ = nullptr;  ///< of the statement or query that is being bound
  std::size_t here_ = 0;               ///< position of the token behind what was bound last
  Scope* scope_ = nullptr;
  int nextAlias_ = 0;
  int aggregateDepth_ = 0;
  int domainDepth_ = 0;  ///< of functions like DLookup whose statements stand in each other
  std::vector<TablePointer> reads_;
  std::vector<std::string> openQueries_;  ///< stored queries being bound, to find circles
  std::size_t outerAt_ = 0;               ///< while a stored query is bound: where its name stands in the statement
  bool inStored_;
  bound::NodePointer filter_;  ///< of the aggregates of a crosstab's column
  std::optional<TableTarget> into_;
};

}  // namespace jet::sql
