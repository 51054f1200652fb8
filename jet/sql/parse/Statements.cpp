// Whole statements: which one it is, what changes rows, what runs a stored statement.
#include "jet/sql/Names.h"
#include "jet/sql/parse/Parser.h"

namespace jet::sql::syntax {

namespace {

// The file in "[;DATABASE=path;...]"; a text without the word is the path itself.
std::string PathIn(const std::string& file) {
  const std::size_t key = FoldName(file).find("DATABASE=");
  return key == std::string::npos ? file : file.substr(key + 9, file.find(';', key) - key - 9);
}

}  // namespace

Statement Parser::Run() {
  Statement statement;
  if (AtWord("PARAMETERS")) Parameters(statement.parameters);
  statement.what = Body();
  ExpectEnd();
  statement.text = std::move(text_);
  return statement;
}

Statement Parser::RunQuery() {
  Statement statement;
  if (AtWord("PARAMETERS")) Parameters(statement.parameters);
  statement.what = Rows();
  ExpectEnd();
  statement.text = std::move(text_);
  return statement;
}

decltype(Statement::what) Parser::Body() {
  if (AtWord("SELECT") || AtWord("TRANSFORM") || AtSymbol("(")) return Rows({.allowInto = true});
  if (TakeWord("INSERT")) return Insertion();
  if (TakeWord("UPDATE")) return Updating();
  if (TakeWord("DELETE")) return Deletion();
  if (TakeWord("CREATE")) return Create();
  if (TakeWord("ALTER")) return Alter();
  if (TakeWord("DROP")) return Drop();
  if (const std::optional<TransactionPlan> end = Transaction()) return *end;
  if (TakeWord("EXEC") || TakeWord("EXECUTE")) return Execution();
  if (AtName()) return Stored();
  throw NoStatement();
}

Error Parser::NoStatement() const {
  if (AtWord("GRANT") || AtWord("REVOKE")) return UnsupportedError(Peek().upper + " is not supported", Peek().position);
  return SyntaxErrorAt(text_, Here(), "SELECT, INSERT, UPDATE, DELETE, CREATE, ALTER or DROP expected");
}

// BEGIN, COMMIT and ROLLBACK, alone or before TRANSACTION or WORK: other names may begin with these words.
std::optional<TransactionPlan> Parser::Transaction() {
  std::optional<TransactionPlan> plan;
  if (AtWord("BEGIN")) plan = TransactionPlan::kBegin;
  if (AtWord("COMMIT")) plan = TransactionPlan::kCommit;
  if (AtWord("ROLLBACK")) plan = TransactionPlan::kRollback;
  if (!plan) return std::nullopt;
  const bool followed = AtWord("TRANSACTION", 1) || AtWord("WORK", 1);
  // BEGIN alone may be a stored query.
  const bool alone = Peek(1).kind == TokenKind::kEnd || AtSymbol(";", 1);
  if (!followed && (!alone || *plan == TransactionPlan::kBegin)) return std::nullopt;
  Take();
  if (followed) Take();
  return plan;
}

// The whole text is the name; blanks in it need no brackets.
StoredName Parser::Stored() {
  const Token& at = Peek();
  std::size_t last = tokens_.size() - 1;
  while (last > 0 && tokens_[last - 1].kind == TokenKind::kSymbol && tokens_[last - 1].text == ";") --last;
  const bool one = last == position_ + 1;
  StoredName stored{one ? at.text : text_.substr(at.offset, tokens_[last - 1].end - at.offset), Here(), NoStatement()};
  position_ = last;
  return stored;
}

Execute Parser::Execution() {
  Execute execute{TakeNamed("name of a stored query"), {}};
  const bool parenthesised = TakeSymbol("(");
  const bool any = Peek().kind != TokenKind::kEnd && !AtSymbol(";") && !AtSymbol(")");
  for (bool first = true; any && (first || TakeSymbol(",")); first = false) execute.arguments.push_back(Whole());
  if (parenthesised) ExpectSymbol(")");
  return execute;
}

/// A name that may have several parts: [Forms]![Orders]![OrderID].
std::string Parser::ReferenceName() {
  std::string name = TakeName("name of the parameter");
  while ((AtSymbol(".") || AtSymbol("!")) && AtName(1)) {
    Take();
    name += "!" + Take().text;
  }
  return name;
}

void Parser::Parameters(std::vector<Declaration>& declarations) {
  ExpectWord("PARAMETERS");
  for (bool first = true; first || TakeSymbol(","); first = false) {
    Declaration declaration;
    declaration.at = Here();
    declaration.name = ReferenceName();
    ColumnDef column;
    column.type = kNoType;
    if (!TakeWord("VALUE")) ReadType(column);
    const bool isText = column.type == ColumnType::kText || column.type == ColumnType::kMemo;
    declaration.type.type = column.type;
    declaration.type.size = isText ? 255 : column.size;
    declaration.type.precision = column.precision;
    declaration.type.scale = column.scale;
    declarations.push_back(std::move(declaration));
  }
  ExpectSymbol(";");
}

std::string Parser::FileName(const Token& token) const {
  if (token.kind != TokenKind::kText && token.kind != TokenKind::kBracketed) FailAt(token, "name of a database file expected");
  return token.text;
}

TableTarget Parser::Target(const char* what) {
  TableTarget target;
  target.name = TakeName(what);
  if (AtSymbol(".") && AtName(1)) {  // [file].[table]
    Take();
    target.file = std::exchange(target.name, Take().text);
  }
  if (AtWord("IN") && (Peek(1).kind == TokenKind::kText || Peek(1).kind == TokenKind::kBracketed)) {
    Take();
    target.file = FileName(Take());
  }
  target.file = PathIn(target.file);
  return target;
}

Insert Parser::Insertion() {
  ExpectWord("INTO");
  Insert insert;
  insert.at = Here();
  insert.target = Target("name of the table");
  if (AtSymbol("(") && !AtWord("SELECT", 1)) {
    Take();
    for (bool first = true; first || TakeSymbol(","); first = false) insert.columns.push_back(TakeNamed("name of the column"));
    ExpectSymbol(")");
    if (AtWord("IN") && Peek(1).kind == TokenKind::kText) {
      Take();
      insert.laterFile = FileName(Take());
    }
  }
  insert.body = Here();
  if (TakeWord("VALUES")) {
    ExpectSymbol("(");
    for (bool first = true; first || TakeSymbol(","); first = false) insert.values.push_back(Whole());
    ExpectSymbol(")");
  } else {
    if (!AtWord("SELECT") && !AtSymbol("(")) Fail("VALUES or SELECT expected");
    insert.query = Rows();
  }
  return insert;
}

Update Parser::Updating() {
  Update update;
  TakeWord("DISTINCTROW");
  update.from = Sources();
  ExpectWord("SET");
  for (bool first = true; first || TakeSymbol(","); first = false) {
    Assignment assignment;
    assignment.at = Here();
    assignment.name = TakeNamed("name of the column");
    if (TakeSymbol(".") || TakeSymbol("!")) {
      assignment.qualifier = assignment.name.text;
      assignment.name = TakeNamed("name of the column");
    }
    ExpectSymbol("=");
    assignment.value = Whole();
    update.assignments.push_back(std::move(assignment));
  }
  if (TakeWord("WHERE")) update.where = Conditional();
  return update;
}

Delete Parser::Deletion() {
  Delete gone;
  TakeWord("DISTINCTROW");
  gone.at = Here();
  if (!TakeSymbol("*") && !AtWord("FROM")) {
    gone.target = TakeName("FROM");
    if (TakeSymbol(".")) {
      ExpectSymbol("*");
    } else if (!AtWord("FROM")) {
      Fail("FROM expected");
    }
  }
  ExpectWord("FROM");
  gone.from = Sources();
  if (TakeWord("WHERE")) gone.where = Conditional();
  return gone;
}

}  // namespace jet::sql::syntax
