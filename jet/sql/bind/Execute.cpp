// Statements that run a stored one: EXECUTE, and a name alone.
#include "jet/sql/Names.h"
#include "jet/sql/bind/Translator.h"

namespace jet::sql {

SelectPlan Translator::Constant(std::string sql, const TypeInfo& type) const {
  SelectPlan plan;
  plan.sql = std::move(sql);
  ResultColumn column;
  column.type = type;
  plan.columns.push_back(std::move(column));
  plan.reads = reads_;
  plan.parameters = std::make_shared<const std::vector<Value>>(parameters_->Values());
  return plan;
}

Statement Translator::RunStored(const std::string& name, const std::string& text, ParameterSet* parameters, const Token& at) {
  // A stored definition may hold any text, its own name too.
  if (inStored_) throw UnsupportedError("a stored statement cannot run another one", at.position);
  try {
    Translator stored(text, schema_, settings_, parameters);
    stored.inStored_ = true;
    return stored.Run();
  } catch (const Error& error) {
    throw Error(error.Code(), "in the query \"" + name + "\": " + error.what());
  }
}

Statement Translator::ParseExecute() {
  const Token at = Peek();
  const std::string name = TakeName("name of a stored query");
  const std::optional<std::string> text = schema_.FindStatement(name);
  if (!text) throw Error(ErrorCode::kNotFound, "no stored query \"" + name + "\" (at character " + std::to_string(at.position) + ")");
  const bool parenthesised = TakeSymbol("(");
  std::vector<Parameter> arguments;
  const bool any = Peek().kind != TokenKind::kEnd && !AtSymbol(";") && !AtSymbol(")");
  Scope empty;
  scope_ = &empty;
  for (bool first = true; any && (first || TakeSymbol(",")); first = false) {
    const Expression argument = ParseExpression();
    Parameter parameter;
    if (argument.parameter >= 0 && !parameters_->collecting) {
      parameter.value = *parameters_->At(static_cast<std::size_t>(argument.parameter)).value;
    } else if (!parameters_->collecting) {
      parameter.value = schema_.Evaluate(Constant("SELECT " + AsValue(argument), argument.type), 1).at(0).at(0);
    }
    arguments.push_back(std::move(parameter));
  }
  scope_ = nullptr;
  if (parenthesised) ExpectSymbol(")");
  ExpectEnd();
  if (arguments.empty()) return RunStored(name, *text, parameters_, at);
  ParameterSet own;
  own.collecting = true;
  Statement statement = RunStored(name, *text, &own, at);
  if (parameters_->collecting) return statement;
  own.Arrange();
  own.Give(arguments, settings_);
  return RunStored(name, *text, &own, at);
}

// A statement that is nothing but the name of a stored query; blanks in it need no brackets.
std::optional<Statement> Translator::ParseStoredName() {
  if (!AtName()) return std::nullopt;
  const Token at = Peek();
  std::size_t last = tokens_.size() - 1;
  while (last > 0 && tokens_[last - 1].kind == TokenKind::kSymbol && tokens_[last - 1].text == ";") --last;
  const bool one = last == position_ + 1;
  const std::string name = one ? at.text : text_.substr(at.offset, tokens_[last - 1].end - at.offset);
  const std::optional<std::string> text = schema_.FindStatement(name);
  if (!text) return std::nullopt;
  return RunStored(name, *text, parameters_, at);
}

}  // namespace jet::sql
