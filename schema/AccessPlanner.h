#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "schema/AccessPlan.h"
#include "schema/Find.h"
#include "schema/Names.h"

namespace tamlo::schema {

/// Works out one plan: `there` begins as the source and is changed step by step. Tables and columns go by their places, which are those of
/// the source; findings name them as the source does.
class AccessPlanner {
 public:
  AccessPlanner(const Database& source, Expressions expressions, AccessPlan& plan)
      : source_(source), expressions_(expressions), plan_(plan) {}
  void Run();

 private:
  // ----- AccessNames.cpp
  void NameObjects();
  void NameColumns(std::size_t place);
  void NameKeys();
  void Note(const std::string& table, std::string& name, std::string taken);
  // ----- AccessColumns.cpp
  void PlanColumns(std::size_t place);
  void PlanType(std::size_t place, Column& column);
  void PlanNumber(std::size_t place, Column& column);
  void PlanCounter(std::size_t place, Column& column, bool& counted);
  void PlanDefault(std::size_t place, Column& column);
  void PlanRules(std::size_t place);
  void CheckRow(std::size_t place);
  // ----- AccessKeys.cpp
  void PlanIndexes(std::size_t place);
  [[nodiscard]] std::optional<Finding> WhyNot(std::size_t place, const Index& index) const;
  void PlanRelations();
  [[nodiscard]] bool Translate(Relation& relation) const;
  void PlanEnforcement(Relation& relation);
  void LeaveToRelations(std::size_t place);
  void CountTrees(std::size_t place);
  // ----- AccessOthers.cpp
  void PlanLinks();
  void PlanQueries();

  void Lost(const std::string& table, const std::string& column, What what, std::vector<std::string> parts = {}) {
    plan_.findings.push_back({table, column, what, std::move(parts)});
  }
  void LostOf(std::size_t place, const Column& column, What what, std::vector<std::string> parts = {}) {
    const Table& table = plan_.there.tables[place];
    Lost(NameOf(place), source_.tables[place].columns[static_cast<std::size_t>(&column - table.columns.data())].name, what,
         std::move(parts));
  }
  void Refuse(std::size_t place, What what, std::vector<std::string> parts = {}) {
    plan_.refusals.push_back({NameOf(place), {}, what, std::move(parts)});
  }
  [[nodiscard]] const std::string& NameOf(std::size_t place) const { return source_.tables[place].name; }
  [[nodiscard]] const Table* There(std::string_view name) const;

  const Database& source_;
  Expressions expressions_;
  AccessPlan& plan_;
};

/// The expression under which Access keeps a default; empty when there is none.
[[nodiscard]] std::string AccessExpression(const Default& initial);

}  // namespace tamlo::schema
