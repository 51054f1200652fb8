#include "jet/sql/bind/Binder.h"

#include <algorithm>

#include "jet/sql/parse/Parser.h"

namespace jet::sql {

SelectPlan* QueryOf(Statement& statement) {
  if (auto* select = std::get_if<SelectPlan>(&statement)) return select;
  if (auto* into = std::get_if<SelectIntoPlan>(&statement)) return &into->query;
  if (auto* insert = std::get_if<InsertPlan>(&statement)) return &insert->query;
  if (auto* update = std::get_if<UpdatePlan>(&statement)) return &update->query;
  if (auto* gone = std::get_if<DeletePlan>(&statement)) return &gone->query;
  return nullptr;
}

Binder::Binder(const Surroundings& around, ParameterSet& parameters, bool inStored)
    : around_(around), parameters_(parameters), inStored_(inStored) {}

BoundStatement Binder::Run(const syntax::Statement& statement) {
  text_ = &statement.text;
  Declare(statement.parameters);
  BoundStatement bound = std::visit([&](const auto& what) { return Of(what); }, statement.what);
  SelectPlan* query = QueryOf(bound.plan);
  const auto values = std::make_shared<const std::vector<Value>>(parameters_.Values());
  // A stored statement that is executed has its own.
  if (query != nullptr && query->parameters == nullptr && !values->empty()) query->parameters = values;
  return bound;
}

void Binder::FailAt(const syntax::Spot& spot, const std::string& message) const { throw SyntaxErrorAt(*text_, spot, message); }

void Binder::Declare(const std::vector<syntax::Declaration>& declarations) {
  for (const syntax::Declaration& declaration : declarations)
    parameters_.Declare(declaration.name, declaration.type, PlaceOf(declaration.at));
}

void Binder::NoteRead(const TablePointer& table) {
  if (std::find(reads_.begin(), reads_.end(), table) == reads_.end()) reads_.push_back(table);
}

BoundStatement Binder::Of(const syntax::QueryPointer& query) {
  BoundRows rows = BindQuery(*query, true);
  rows.plan.reads = reads_;
  if (into_) return {SelectIntoPlan{std::move(rows.plan), *std::move(into_)}, rows.query};
  return {std::move(rows.plan), rows.query};
}

BoundStatement Binder::Of(const DefinitionPlan& definition) {
  return {std::visit([](const auto& plan) { return Statement(plan); }, definition), nullptr};
}

BoundStatement Binder::Of(const TransactionPlan& transaction) { return {transaction, nullptr}; }

}  // namespace jet::sql
