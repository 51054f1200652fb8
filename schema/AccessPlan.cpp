#include "schema/AccessPlan.h"

#include <algorithm>

#include "schema/AccessPlanner.h"

namespace tamlo::schema {

void AccessPlanner::Run() {
  plan_.there = source_;
  NameObjects();
  const std::size_t tables = plan_.there.tables.size();
  for (std::size_t place = 0; place < tables; ++place) {
    NameColumns(place);
    PlanColumns(place);
    PlanRules(place);
    CheckRow(place);
    PlanIndexes(place);
  }
  PlanRelations();
  for (std::size_t place = 0; place < tables; ++place) {
    LeaveToRelations(place);
    CountTrees(place);
  }
  NameKeys();
  PlanLinks();
  PlanQueries();
}

const Table* AccessPlanner::There(std::string_view name) const { return Find(plan_.there.tables, name); }

AccessPlan PlanAccess(const Database& database, Expressions expressions) {
  AccessPlan plan;
  AccessPlanner(database, expressions, plan).Run();
  return plan;
}

}  // namespace tamlo::schema
