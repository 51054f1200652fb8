#include "jet/sql/bind/Translator.h"

#include "jet/sql/Names.h"

namespace jet::sql {

Translator::Translator(std::string_view text, SchemaSource& schema, const TextSettings& settings, ParameterSet* parameters)
    : text_(text),
      tokens_(Tokenize(text_)),
      schema_(schema),
      settings_(settings),
      parameters_(parameters != nullptr ? parameters : &own_) {}

const Token& Translator::Peek(std::size_t ahead) const {
  const std::size_t at = position_ + ahead;
  return at < tokens_.size() ? tokens_[at] : tokens_.back();
}

const Token& Translator::Take() {
  const Token& token = Peek();
  if (position_ + 1 < tokens_.size()) ++position_;
  return token;
}

bool Translator::AtWord(std::string_view word, std::size_t ahead) const {
  const Token& token = Peek(ahead);
  return token.kind == TokenKind::kWord && token.upper == word;
}

bool Translator::AtSymbol(std::string_view symbol, std::size_t ahead) const {
  const Token& token = Peek(ahead);
  return token.kind == TokenKind::kSymbol && token.upper == symbol;
}

bool Translator::TakeWord(std::string_view word) {
  if (!AtWord(word)) return false;
  Take();
  return true;
}

bool Translator::TakeSymbol(std::string_view symbol) {
  if (!AtSymbol(symbol)) return false;
  Take();
  return true;
}

void Translator::ExpectWord(std::string_view word) {
  if (!TakeWord(word)) Fail(std::string(word) + " expected");
}

void Translator::ExpectSymbol(std::string_view symbol) {
  if (!TakeSymbol(symbol)) Fail("\"" + std::string(symbol) + "\" expected");
}

bool Translator::AtName(std::size_t ahead) const {
  return Peek(ahead).kind == TokenKind::kWord || Peek(ahead).kind == TokenKind::kBracketed;
}

std::string Translator::TakeName(const char* what) {
  if (!AtName()) Fail(std::string(what) + " expected");
  return Take().text;
}

void Translator::ExpectEnd() {
  while (TakeSymbol(";")) {
  }
  if (Peek().kind != TokenKind::kEnd) Fail("end of the statement expected");
}

void Translator::Fail(const std::string& message) const { FailAt(Peek(), message); }

void Translator::FailAt(const Token& token, const std::string& message) const {
  std::string found;
  if (token.kind == TokenKind::kEnd) {
    found = ", the text ends here";
  } else {
    found = " near \"" + text_.substr(token.offset, std::min<std::size_t>(token.end - token.offset, 40)) + "\"";
  }
  throw SyntaxError(message + found, token.position);
}

Statement Translator::Run() {
  if (AtWord("PARAMETERS")) ParseParameters();
  Statement statement = ParseStatement();
  const auto values = std::make_shared<const std::vector<Value>>(parameters_->Values());
  if (values->empty()) return statement;
  if (auto* select = std::get_if<SelectPlan>(&statement)) select->parameters = values;
  if (auto* into = std::get_if<SelectIntoPlan>(&statement)) into->query.parameters = values;
  if (auto* insert = std::get_if<InsertPlan>(&statement)) insert->query.parameters = values;
  if (auto* update = std::get_if<UpdatePlan>(&statement)) update->query.parameters = values;
  if (auto* gone = std::get_if<DeletePlan>(&statement)) gone->query.parameters = values;
  return statement;
}

Statement Translator::ParseStatement() {
  Statement statement;
  if (AtWord("SELECT") || AtWord("TRANSFORM") || AtSymbol("(")) {
    SelectPlan plan = ParseQuery({.outermost = true, .allowInto = true});
    ExpectEnd();
    plan.reads = reads_;
    if (hasInto_) return SelectIntoPlan{std::move(plan), into_};
    return plan;
  }
  if (TakeWord("INSERT")) {
    statement = ParseInsert();
  } else if (TakeWord("UPDATE")) {
    statement = ParseUpdate();
  } else if (TakeWord("DELETE")) {
    statement = ParseDelete();
  } else if (TakeWord("CREATE")) {
    statement = ParseCreate();
  } else if (TakeWord("ALTER")) {
    statement = ParseAlter();
  } else if (TakeWord("DROP")) {
    statement = ParseDrop();
  } else if (const std::optional<TransactionPlan> end = ParseTransaction()) {
    statement = *end;
  } else if (TakeWord("EXEC") || TakeWord("EXECUTE")) {
    return ParseExecute();
  } else if (std::optional<Statement> stored = ParseStoredName()) {
    return *std::move(stored);
  } else if (AtWord("GRANT") || AtWord("REVOKE")) {
    throw UnsupportedError(Peek().upper + " is not supported", Peek().position);
  } else {
    Fail("SELECT, INSERT, UPDATE, DELETE, CREATE, ALTER or DROP expected");
  }
  ExpectEnd();
  return statement;
}

// BEGIN, COMMIT and ROLLBACK, alone or before TRANSACTION or WORK: other names may begin with these words.
std::optional<TransactionPlan> Translator::ParseTransaction() {
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

void Translator::NoteRead(const TablePointer& table) {
  for (const TablePointer& known : reads_) {
    if (known == table) return;
  }
  reads_.push_back(table);
}

std::string Translator::FileName(const Token& token) const {
  if (token.kind != TokenKind::kText && token.kind != TokenKind::kBracketed) FailAt(token, "name of a database file expected");
  return token.text;
}

Statement Translate(std::string_view text, SchemaSource& schema, const TextSettings& settings, ParameterSet* parameters) {
  return Translator(text, schema, settings, parameters).Run();
}

}  // namespace jet::sql
