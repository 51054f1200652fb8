#include "cli/CopyReport.h"

#include "cli/JsonText.h"
#include "cli/Messages.h"
#include "cli/Output.h"
#include "move/Json.h"

namespace tamlo::cli {
namespace {

/// One line, so that nothing ever ends its comment.
std::string OneLine(std::string text) {
  for (char& c : text)
    if (c == '\n' || c == '\r') c = ' ';
  return text;
}

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
    for (const auto& finding : *list)
      findings.push_back(JsonObject({"table", finding.table, "column", finding.column, "text", finding.text}));
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

}  // namespace

void PrintPlan(const move::Plan& plan) {
  Output output;
  std::string& text = output.Text();
  for (const auto& renaming : plan.renamings)
    text += "-- " + OneLine((renaming.table.empty() ? "" : renaming.table + ": ") + renaming.from + " -> " + renaming.to) + '\n';
  for (const auto& finding : plan.findings)
    text += "-- " + OneLine(finding.table + (finding.column.empty() ? "" : "." + finding.column) + ": " + finding.text) + '\n';
  std::size_t place = 0;
  for (; place < plan.statements.size() && plan.statements[place].phase == schema::Phase::kTables; ++place)
    text += plan.statements[place].sql + ";\n";
  for (const auto& table : plan.tables) text += "-- " + OneLine(Say(Said::kRowsOfTable, {std::to_string(table.rows), table.name})) + '\n';
  for (; place < plan.statements.size(); ++place) text += plan.statements[place].sql + ";\n";
  output.Close();
}

void WriteReport(const std::string& path, const std::string& from, const std::string& to, const move::Plan& plan,
                 const move::Outcome& outcome) {
  WriteReportFile(path, ReportText(from, to, plan, outcome));
}

}  // namespace tamlo::cli
