// A statement is read, then bound, then written.
#include "jet/sql/bind/Binder.h"
#include "jet/sql/emit/Writer.h"
#include "jet/sql/parse/Parser.h"

namespace jet::sql {

Statement Translate(std::string_view text, SchemaSource& schema, const TextSettings& settings, ParameterSet* parameters) {
  ParameterSet none;
  const auto evaluate = [&](const BoundRows& rows, std::size_t most) {
    SelectPlan plan = rows.plan;
    plan.sql = Written(*rows.query);
    return schema.Evaluate(plan, most);
  };
  const Surroundings around{schema, settings, evaluate};
  Binder binder(around, parameters == nullptr ? none : *parameters, false);
  BoundStatement bound = binder.Run(Parse(text));
  if (bound.query != nullptr) QueryOf(bound.plan)->sql = Written(*bound.query);
  return std::move(bound.plan);
}

}  // namespace jet::sql
