#include "jet/sql/bind/DomainText.h"

#include <array>
#include <utility>

#include "base/Blanks.h"

namespace jet::sql {

const char* DomainAggregate(std::string_view foldedName) {
  static constexpr std::array<std::pair<std::string_view, const char*>, 12> kFamily{{{"DLOOKUP", ""},
                                                                                     {"DCOUNT", "Count"},
                                                                                     {"DSUM", "Sum"},
                                                                                     {"DAVG", "Avg"},
                                                                                     {"DMIN", "Min"},
                                                                                     {"DMAX", "Max"},
                                                                                     {"DFIRST", "First"},
                                                                                     {"DLAST", "Last"},
                                                                                     {"DSTDEV", "StDev"},
                                                                                     {"DSTDEVP", "StDevP"},
                                                                                     {"DVAR", "Var"},
                                                                                     {"DVARP", "VarP"}}};
  for (const auto& [name, aggregate] : kFamily) {
    if (name == foldedName) return aggregate;
  }
  return nullptr;
}

std::string DomainStatement(std::string_view aggregate, std::string_view expression, std::string_view domain, std::string_view criteria) {
  const auto trimmed = [](std::string_view text) { return std::string(base::Trim(text)); };
  std::string from = trimmed(domain);
  if (from.empty() || from.front() != '[') from = "[" + from + "]";
  std::string statement = "SELECT ";
  statement += aggregate.empty() ? trimmed(expression) : std::string(aggregate) + "(" + trimmed(expression) + ")";
  statement += " FROM " + from;
  if (const std::string where = trimmed(criteria); !where.empty()) statement += " WHERE " + where;
  return statement;
}

}  // namespace jet::sql
