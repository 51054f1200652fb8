#include "tests/schema/Told.h"

#include "schema/FindingTexts.h"

namespace tamlo::tests {
namespace {

std::string Flag(bool value, const char* name) { return value ? std::string(" ") + name : std::string(); }

std::string PlaceOf(const schema::Finding& finding) { return finding.table + (finding.column.empty() ? "" : "." + finding.column); }

std::string TypeOf(const schema::Type& type) {
  return std::to_string(static_cast<int>(type.kind)) + "(" + std::to_string(type.length) + "," + std::to_string(type.precision) + "," +
         std::to_string(type.scale) + ")";
}

void TellTable(const schema::Table& table, std::vector<std::string>& lines) {
  lines.push_back("table " + table.name + " rule=" + table.rule + " comment=" + table.comment);
  for (const auto& column : table.columns) {
    lines.push_back("  " + column.name + " " + TypeOf(column.type) + Flag(column.required, "required") + Flag(column.allowEmpty, "empty") +
                    Flag(column.hyperlink, "hyperlink") + " default=" + std::to_string(static_cast<int>(column.initial.kind)) + "/" +
                    column.initial.text + " rule=" + column.rule + " comment=" + column.comment);
    if (column.counter)
      lines.back() += " counter=" + std::to_string(static_cast<int>(column.counter->kind)) + "/" + std::to_string(column.counter->next);
  }
  for (const auto& index : table.indexes) {
    lines.push_back("  index " + index.name + Flag(index.primary, "primary") + Flag(index.unique, "unique") +
                    Flag(index.ignoreNulls, "ignores nulls") + Flag(index.required, "required"));
    for (const auto& part : index.parts) lines.back() += " " + part.column + Flag(part.descending, "down");
  }
}

}  // namespace

std::vector<std::string> Told(const schema::Database& database) {
  std::vector<std::string> lines;
  for (const auto& table : database.tables) TellTable(table, lines);
  for (const auto& relation : database.relations) {
    lines.push_back("relation " + relation.name + " " + relation.table + "->" + relation.referenced + Flag(relation.enforced, "enforced") +
                    Flag(relation.oneToOne, "one") + Flag(relation.cascadeUpdates, "updates") + Flag(relation.cascadeDeletes, "deletes"));
    for (const auto& [own, other] : relation.columns) lines.back() += " " + own + "=" + other;
  }
  for (const auto& query : database.queries) lines.push_back("query " + query.name + ": " + query.sql);
  for (const auto& link : database.links) lines.push_back("link " + link.name + " to " + link.table + " of " + link.target);
  return lines;
}

std::vector<std::string> Told(const std::vector<schema::Finding>& findings) {
  std::vector<std::string> lines;
  for (const auto& finding : findings) lines.push_back(PlaceOf(finding) + ": " + schema::English(finding));
  return lines;
}

std::vector<std::string> ToldInFrench(const std::vector<schema::Finding>& findings) {
  std::vector<std::string> lines;
  for (const auto& finding : findings) lines.push_back(PlaceOf(finding) + " : " + schema::French(finding));
  return lines;
}

}  // namespace tamlo::tests
