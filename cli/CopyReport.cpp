#include "cli/CopyReport.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include "base/FilePath.h"
#include "cli/Failure.h"
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

/// An object of texts: "name", value, "name", value...
std::string Object(std::initializer_list<std::string_view> parts) {
  std::string text = "{";
  bool name = true;
  for (const std::string_view part : parts) {
    if (name && text.size() > 1) text += ", ";
    move::AppendJson(text, part);
    if (name) text += ": ";
    name = !name;
  }
  return text + "}";
}

void AppendList(std::string& text, std::string_view name, const std::vector<std::string>& objects) {
  move::AppendJson(text, name);
  text += ": [";
  for (std::size_t i = 0; i < objects.size(); ++i) text += (i == 0 ? "\n    " : ",\n    ") + objects[i];
  text += objects.empty() ? "]" : "\n  ]";
}

std::string TableObject(const move::TableOutcome& table) {
  std::string object = Object({"name", table.name, "there", table.there});
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
    renamings.push_back(Object({"table", renaming.table, "from", renaming.from, "to", renaming.to}));
  for (const auto* list : {&plan.findings, &outcome.findings})
    for (const auto& finding : *list) findings.push_back(Object({"table", finding.table, "column", finding.column, "text", finding.text}));
  std::string text = "{\n  \"from\": ";
  move::AppendJson(text, from);
  text += ",\n  \"to\": ";
  move::AppendJson(text, to);
  text += std::string(",\n  \"cancelled\": ") + (outcome.cancelled ? "true" : "false");
  text += ",\n  \"refused\": " + std::to_string(outcome.refused) + ",\n  ";
  AppendList(text, "tables", tables);
  AppendList(text += ",\n  ", "renamings", renamings);
  AppendList(text += ",\n  ", "findings", findings);
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
  std::ofstream file(base::FilePath(path), std::ios::binary | std::ios::trunc);
  file << ReportText(from, to, plan, outcome) << std::flush;
  if (!file) throw Failure(Status::kFailed, Say(Said::kCannotWrite, {path, std::strerror(errno)}));
}

}  // namespace tamlo::cli
