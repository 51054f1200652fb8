// Statements that run a stored one: EXECUTE, and a name alone.
#include "jet/sql/bind/Binder.h"
#include "jet/sql/parse/Parser.h"

namespace jet::sql {

BoundStatement Binder::RunStored(const std::string& name, const std::string& text, ParameterSet& parameters, const syntax::Spot& at) {
  // A stored definition may hold any text, its own name too.
  if (inStored_) throw UnsupportedError("a stored statement cannot run another one", at.position);
  try {
    return Binder(around_, parameters, true).Run(Parse(text));
  } catch (const Error& error) {
    throw Error(error.Code(), "in the query \"" + name + "\": " + error.what());
  }
}

BoundStatement Binder::Of(const syntax::Execute& execute) {
  const syntax::Name& name = execute.name;
  const std::optional<std::string> text = around_.schema.FindStatement(name.text);
  if (!text)
    throw Error(ErrorCode::kNotFound, "no stored query \"" + name.text + "\" (at character " + std::to_string(name.spot.position) + ")");
  std::vector<Parameter> arguments;
  Scope empty;
  const ScopeGuard guard(scope_, &empty);
  for (const syntax::Expression& expression : execute.arguments) {
    const Expression argument = Bind(expression);
    Parameter parameter;
    if (!parameters_.collecting) {
      const bool given = argument.parameter >= 0;
      parameter.value = given ? *parameters_.At(static_cast<std::size_t>(argument.parameter)).value : ValueOf(argument);
    }
    arguments.push_back(std::move(parameter));
  }
  if (arguments.empty()) return RunStored(name.text, *text, parameters_, name.spot);
  ParameterSet own;
  own.collecting = true;
  BoundStatement statement = RunStored(name.text, *text, own, name.spot);
  if (parameters_.collecting) return statement;
  own.Arrange();
  own.Give(arguments, around_.settings);
  return RunStored(name.text, *text, own, name.spot);
}

BoundStatement Binder::Of(const syntax::StoredName& stored) {
  const std::optional<std::string> text = around_.schema.FindStatement(stored.name);
  if (!text) throw stored.otherwise;
  return RunStored(stored.name, *text, parameters_, stored.at);
}

}  // namespace jet::sql
