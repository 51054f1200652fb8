#include "cli/FindingLine.h"

#include "cli/JsonText.h"
#include "cli/Messages.h"
#include "schema/FindingTexts.h"

namespace tamlo::cli {

std::string FindingText(const schema::Finding& finding) { return SpeaksFrench() ? schema::French(finding) : schema::English(finding); }

std::string FindingLine(const schema::Finding& finding) {
  const std::string place = PlaceOf(finding.table, finding.column);
  const std::string text = FindingText(finding);
  return OneLine(place.empty() ? text : Say(Said::kPlaced, {place, text}));
}

std::string FindingObject(const schema::Finding& finding) {
  return JsonObject({"table", finding.table, "column", finding.column, "key", schema::KeyOf(finding.what), "text", FindingText(finding)});
}

std::string PlaceOf(const std::string& table, const std::string& column) {
  return table + (table.empty() || column.empty() ? "" : ".") + column;
}

}  // namespace tamlo::cli
