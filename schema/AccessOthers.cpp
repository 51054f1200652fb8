// Links and stored queries in an Access file.
#include <algorithm>
#include <array>

#include "base/Case.h"
#include "jet/sql/run/StoredParts.h"
#include "jet/value/Error.h"
#include "schema/AccessPlanner.h"

namespace tamlo::schema {
namespace {

bool IsAccessFile(const std::string& target) {
  const std::string lower = base::LowerName(target);
  constexpr std::array<std::string_view, 4> kEnds{".mdb", ".mde", ".accdb", ".accde"};
  return std::any_of(kEnds.begin(), kEnds.end(), [&](std::string_view end) { return lower.ends_with(end); });
}

/// Why a file cannot hold it as it is; empty when it can.
std::string WhyNoQuery(const Query& query, Expressions expressions) {
  if (expressions == Expressions::kForeign) return "is no statement of Access";
  if (!query.reason.empty()) return query.reason;
  try {
    if (jet::sql::StatementOf(jet::sql::DesignOf(query.sql).parts, query.name, false) != query.sql) return "would read otherwise";
  } catch (const jet::Error& error) {
    return error.what();
  }
  return {};
}

}  // namespace

/// Of other links the description does not tell enough: what they connect with may have held passwords.
void AccessPlanner::PlanLinks() {
  std::erase_if(plan_.there.links, [&](const Link& link) {
    if (IsAccessFile(link.target)) return false;
    Lost({}, {}, "the link " + link.name + " to " + link.table + " of " + link.target + " is left off");
    return true;
  });
}

void AccessPlanner::PlanQueries() {
  std::erase_if(plan_.there.queries, [&](const Query& query) {
    const std::string why = WhyNoQuery(query, expressions_);
    if (!why.empty()) Lost({}, {}, "the query " + query.name + " is left off: " + why);
    return !why.empty();
  });
}

}  // namespace tamlo::schema
