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

/// Why a file cannot hold it as it is; nothing when it can.
std::optional<Finding> WhyNoQuery(const Query& query, Expressions expressions) {
  if (expressions == Expressions::kForeign) return Finding{{}, {}, What::kQueryOfAnother, {query.name}};
  if (!query.reason.empty()) return Finding{{}, {}, What::kQueryRefused, {query.name, query.reason}};
  if (!query.rows.empty()) return std::nullopt;
  try {
    if (jet::sql::StatementOf(jet::sql::DesignOf(query.sql).parts, query.name, false) != query.sql)
      return Finding{{}, {}, What::kQueryReadsOtherwise, {query.name}};
  } catch (const jet::Error& error) {
    return Finding{{}, {}, What::kQueryRefused, {query.name, error.what()}};
  }
  return std::nullopt;
}

}  // namespace

/// Of other links the description does not tell enough: what they connect with may have held passwords.
void AccessPlanner::PlanLinks() {
  std::erase_if(plan_.there.links, [&](const Link& link) {
    if (IsAccessFile(link.target)) return false;
    Lost({}, {}, What::kLink, {link.name, link.table, link.target});
    return true;
  });
}

void AccessPlanner::PlanQueries() {
  std::erase_if(plan_.there.queries, [&](const Query& query) {
    const auto why = WhyNoQuery(query, expressions_);
    if (why) plan_.findings.push_back(*why);
    return why.has_value();
  });
}

}  // namespace tamlo::schema
