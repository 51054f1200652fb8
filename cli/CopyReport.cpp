#include "cli/CopyReport.h"

#include <algorithm>
#include <array>

#include "cli/FindingLine.h"
#include "cli/JsonText.h"
#include "cli/Messages.h"
#include "cli/Output.h"
#include "move/Json.h"

namespace tamlo::cli {
namespace {

std::string TableObject(const move::TableOutcome& table) {
  std::string object = JsonObject({"name", table.name, "there", table.there});
  object.pop_back();
  object += ", \"copied\": " + std::to_string(table.copied) + ", \"refused\": " + std::to_string(table.refused);
  if (table.counted >= 0) object += ", \"counted\": " + std::to_string(table.counted);
  return object + "}";
}

std::string ReportText(const std::string& from, const std::string& to, const move::Plan& plan, const move::Outcome& outcome) {
  std::vector<std::string> tables;
  std::vector<std::string> renamings;
  std::vector<std::string> findings;
  for (const auto& table : outcome.tables) tables.push_back(TableObject(table));
  for (const auto& renaming : plan.renamings)
    renamings.push_back(JsonObject({"table", renaming.table, "from", renaming.from, "to", renaming.to}));
  for (const auto* list : {&plan.findings, &outcome.findings})
    for (const auto& finding : *list) findings.push_back(FindingObject(finding));
  std::string text = "{\n  \"from\": ";
  move::AppendJson(text, from);
  text += ",\n  \"to\": ";
  move::AppendJson(text, to);
  text += std::string(",\n  \"cancelled\": ") + (outcome.cancelled ? "true" : "false");
  text += ",\n  \"refused\": " + std::to_string(outcome.refused) + ",\n  ";
  AppendJsonList(text, "tables", tables);
  AppendJsonList(text += ",\n  ", "renamings", renamings);
  AppendJsonList(text += ",\n  ", "findings", findings);
  return text + "\n}\n";
}

/// A statement; of what is made in a file there is none but a remark, whose words are the user's.
std::string StepText(const schema::Statement& statement) {
  constexpr std::array<Said, 4> kSteps{Said::kStepTable, Said::kStepIndexes, Said::kStepRelations, Said::kStepCounter};
  if (!statement.sql.starts_with("-- ")) return statement.sql;
  const std::size_t name = std::min(statement.sql.find('['), statement.sql.size());
  return "-- " + Say(kSteps[static_cast<std::size_t>(statement.phase)], {std::string_view(statement.sql).substr(name)});
}

}  // namespace

void PrintPlan(const move::Plan& plan) {
  Output output;
  std::string& text = output.Text();
  for (const auto& renaming : plan.renamings)
    text += "-- " + OneLine((renaming.table.empty() ? "" : renaming.table + ": ") + renaming.from + " -> " + renaming.to) + '\n';
  for (const auto& finding : plan.findings) text += "-- " + FindingLine(finding) + '\n';
  std::size_t place = 0;
  for (; place < plan.statements.size() && plan.statements[place].phase == schema::Phase::kTables; ++place)
    text += StepText(plan.statements[place]) + ";\n";
  for (const auto& table : plan.tables) text += "-- " + OneLine(Say(Said::kRowsOfTable, {std::to_string(table.rows), table.name})) + '\n';
  for (; place < plan.statements.size(); ++place) text += StepText(plan.statements[place]) + ";\n";
  output.Close();
}

void WriteReport(const std::string& path, const std::string& from, const std::string& to, const move::Plan& plan,
                 const move::Outcome& outcome) {
  WriteReportFile(path, ReportText(from, to, plan, outcome));
}

}  // namespace tamlo::cli
