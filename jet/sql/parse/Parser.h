#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "jet/sql/parse/Syntax.h"
#include "jet/sql/parse/Tokenizer.h"

namespace jet::sql {

/// Reads one statement. Errors: kSyntax and kUnsupported with the position.
[[nodiscard]] syntax::Statement Parse(std::string_view text);
/// Reads a text that stands in another statement and must be a query. depth: of the nesting around it.
[[nodiscard]] syntax::Statement ParseQueryText(std::string_view text, int depth);
/// Error kSyntax: the message, what stands at the spot of that text, and where that is.
[[nodiscard]] Error SyntaxErrorAt(const std::string& text, const syntax::Spot& spot, const std::string& message);

namespace syntax {

/// Recursive descent over the tokens of one text. Used once. The parts of the grammar stand in files of their own.
class Parser {
 public:
  Parser(std::string_view text, int depth);

  [[nodiscard]] Statement Run();
  [[nodiscard]] Statement RunQuery();

 private:
  // ----- tokens
  [[nodiscard]] const Token& Peek(std::size_t ahead = 0) const;
  const Token& Take();
  [[nodiscard]] bool AtWord(std::string_view word, std::size_t ahead = 0) const;
  [[nodiscard]] bool AtSymbol(std::string_view symbol, std::size_t ahead = 0) const;
  [[nodiscard]] bool AtAnyWord(std::initializer_list<std::string_view> words, std::size_t ahead = 0) const;
  [[nodiscard]] bool AtName(std::size_t ahead = 0) const;
  bool TakeWord(std::string_view word);
  bool TakeSymbol(std::string_view symbol);
  void ExpectWord(std::string_view word);
  void ExpectSymbol(std::string_view symbol);
  std::string TakeName(const char* what);
  Name TakeNamed(const char* what);
  void ExpectEnd();
  [[nodiscard]] Spot Here() const;
  [[noreturn]] void Fail(const std::string& message) const;
  [[noreturn]] void FailAt(const Token& token, const std::string& message) const;
  /// One level deeper from here on; the caller counts back. Error kUnsupported past the deepest.
  void Deepen(int deepest, const char* message, std::size_t position);

  // ----- statements
  void Parameters(std::vector<Declaration>& declarations);
  decltype(Statement::what) Body();
  [[nodiscard]] std::optional<TransactionPlan> Transaction();
  [[nodiscard]] StoredName Stored();
  [[nodiscard]] Error NoStatement() const;
  Execute Execution();
  std::string ReferenceName();
  TableTarget Target(const char* what);
  std::string FileName(const Token& token) const;
  Insert Insertion();
  Update Updating();
  Delete Deletion();

  // ----- expressions
  struct Rank;
  Expression Whole();
  Condition Conditional();
  Expression Ranked(const Rank* rank);
  Expression Negated();
  Expression Comparison();
  Expression Concatenation();
  [[nodiscard]] bool AtPredicate(bool negated) const;
  Link Compared();
  Link Predicate(bool negated);
  void InList(Link& link);
  Expression Unary();
  Expression Power();
  Expression Primary();
  Expression LiteralNumber();
  Expression LiteralDate();
  Expression LiteralGuid();
  Expression Parenthesised();
  Expression NameOrCall();
  bool ReservedWord(Expression& expression);
  Expression Function();
  Expression AggregateOf(const Name& name, const std::string& function);
  std::vector<Expression> Arguments();
  template <typename What>
  Expression Made(What&& what) const {
    return {std::forward<What>(what), Peek().position};
  }
  [[nodiscard]] ExpressionPointer Boxed(Expression expression) const;
  [[nodiscard]] Expression Chained(Expression first, std::vector<Link> links) const;

  // ----- queries
  struct QueryOptions {
    bool allowInto = false;
    bool orderAllowed = true;
  };
  QueryPointer Rows(QueryOptions options);
  QueryPointer Rows();
  [[nodiscard]] bool IsUnionAhead() const;
  Union United();
  QueryPointer UnitedPart();
  UnionKey UnitedKey();
  Select Selection(QueryOptions options);
  void Predicates(Select& select);
  void Top(Select& select);
  void SkipToFrom();
  SelectList Items();
  SelectItem Item();
  std::vector<Expression> Groups();
  bool Descending();
  std::vector<OrderKey> Order(bool byNumber);
  Crosstab Transformation();
  void SkipToSelect();
  void Pivot(Crosstab& crosstab);
  From Sources();
  Joined Joins();
  [[nodiscard]] std::optional<JoinKind> JoinAhead() const;
  Factor TableFactor();
  Factor FactorInParentheses();
  TableName Table();
  std::string OtherFile();
  std::string Alias();

  // ----- definitions
  DefinitionPlan Create();
  DefinitionPlan Alter();
  DefinitionPlan AddToTable(const std::string& table);
  DefinitionPlan DropFromTable(const std::string& table);
  DefinitionPlan AlterColumn(const std::string& table);
  DefinitionPlan Drop();
  DefinitionPlan CreateTable();
  DefinitionPlan CreateQuery(bool view);
  DefinitionPlan CreateIndex(bool unique);
  void IndexOptions(IndexSpec& index);
  /// What the columns and constraints of a table ask for besides the columns.
  struct Wishes {
    std::vector<IndexSpec>& indexes;
    std::vector<ForeignKeySpec>& keys;
  };
  [[nodiscard]] bool AtTableConstraint() const;
  ColumnDef Column(const std::string& table, const Wishes& wishes);
  bool ColumnWish(ColumnDef& column, const std::string& table, const Wishes& wishes);
  void ColumnConstraint(ColumnDef& column, const std::string& table, const Wishes& wishes);
  void ReadType(ColumnDef& column);
  std::vector<unsigned long> Sizes();
  void ApplySizes(ColumnDef& column, const std::vector<unsigned long>& sizes, const Token& name) const;
  std::string Default();
  [[nodiscard]] bool EndsDefault() const;
  void TableConstraint(const std::string& table, const Wishes& wishes);
  ForeignKeySpec References(std::string name, std::vector<std::string> columns);
  std::vector<std::string> NameList();

  std::string text_;
  std::vector<Token> tokens_;
  std::size_t position_ = 0;
  int depth_;
};

}  // namespace syntax
}  // namespace jet::sql
