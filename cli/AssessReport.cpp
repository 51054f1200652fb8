// What a move would lose, told to people and to programs.
#include <array>

#include "cli/Assessment.h"
#include "cli/FindingLine.h"
#include "cli/Format.h"
#include "cli/Markup.h"
#include "cli/Messages.h"

namespace tamlo::cli {
namespace {

std::string Total(const Assessment& assessment) {
  std::uint64_t rows = 0;
  std::uint64_t bytes = 0;
  for (const auto& table : assessment.tables) {
    rows += table.rows;
    bytes += table.bytes;
  }
  return Say(Said::kAssessTotal, {std::to_string(assessment.tables.size()), std::to_string(rows), std::to_string(bytes)});
}

std::string Verdict(const Assessment& assessment) {
  if (assessment.LosesNothing()) return Say(Said::kLosesNothing);
  return Say(Said::kLoses, {std::to_string(assessment.findings.size()), std::to_string(assessment.sightings.size())});
}

std::string Title(const Assessment& assessment) { return Say(Said::kAssessTitle, {assessment.source, assessment.engine->name}); }

using Line = std::vector<std::string>;

std::string HtmlRow(const Line& cells, const char* tag) {
  std::string row = "<tr>";
  for (const auto& cell : cells) row += std::string("<") + tag + ">" + Markup(cell) + "</" + tag + ">";
  return row + "</tr>\n";
}

/// Nothing for no lines.
std::string HtmlTable(Said heading, const Line& head, const std::vector<Line>& lines) {
  if (lines.empty()) return {};
  std::string table = "<h2>" + Markup(Say(heading)) + "</h2>\n<table>\n<thead>" + HtmlRow(head, "th") + "</thead>\n<tbody>\n";
  for (const auto& line : lines) table += HtmlRow(line, "td");
  return table + "</tbody>\n</table>\n";
}

constexpr std::string_view kStyle =
    "body{font:16px/1.5 sans-serif;color:#1c2733;background:#fff;max-width:60em;margin:2em auto;padding:0 1em}"
    "h1{font-size:1.5em;margin-bottom:.2em}h2{font-size:1.15em;margin-top:2em}"
    "table{border-collapse:collapse;width:100%}th,td{text-align:left;vertical-align:top;padding:.35em .7em;border-bottom:1px solid #d5dde5;"
    "overflow-wrap:anywhere}th{background:#eef3f8}.good,.bad{padding:.6em 1em;border-radius:.3em}.good{background:#e3f4e6}.bad{background:#fdeede}";

std::string JsonText(std::string_view text) {
  std::string json;
  AppendJsonText(json, text);
  return json;
}

/// An object of texts (quoted here) and numbers (as they are).
std::string JsonObject(const std::vector<std::pair<const char*, std::string>>& members) {
  std::string json = "{";
  for (const auto& [name, value] : members) json += (json.size() > 1 ? ", " : "") + JsonText(name) + ": " + value;
  return json + "}";
}

template <typename Items, typename Write>
std::string JsonList(const Items& items, const Write& write) {
  std::string json = "[";
  for (const auto& item : items) json += (json.size() > 1 ? ",\n    " : "\n    ") + write(item);
  return json + (items.empty() ? "]" : "\n  ]");
}

struct LossName {
  Loss loss;
  const char* key;
  Said said;
};

constexpr std::array<LossName, kKindsOfLoss> kLosses{{{Loss::kFinerThanMilliseconds, "finer-than-milliseconds", Said::kLossFiner},
                                                      {Loss::kNoDay, "no-day", Said::kLossNoDay},
                                                      {Loss::kNotANumber, "nan", Said::kLossNaN},
                                                      {Loss::kInfinite, "infinity", Said::kLossInfinity},
                                                      {Loss::kNegativeZero, "negative-zero", Said::kLossZero},
                                                      {Loss::kNul, "nul", Said::kLossNul},
                                                      {Loss::kEmptyText, "empty-text", Said::kLossEmpty},
                                                      {Loss::kEqualKeys, "equal-keys", Said::kLossEqual},
                                                      {Loss::kNoParent, "no-parent", Said::kLossParent},
                                                      {Loss::kTooLong, "too-long", Said::kLossTooLong},
                                                      {Loss::kOutOfRange, "out-of-range", Said::kLossRange},
                                                      {Loss::kOtherType, "other-type", Said::kLossOtherType},
                                                      {Loss::kRowSize, "row-size", Said::kLossRowSize}}};

}  // namespace

std::string_view KeyOf(Loss loss) { return kLosses[static_cast<std::size_t>(loss)].key; }

std::string LossText(const Sighting& sighting, const schema::Dialect& engine) {
  return Say(kLosses[static_cast<std::size_t>(sighting.loss)].said, {engine.name});
}

std::string AsText(const Assessment& assessment) {
  std::string text = Title(assessment) + "\n" + Total(assessment) + "\n";
  for (const auto& renaming : assessment.renamings)
    text += Say(Said::kRenamed, {PlaceOf(renaming.table, renaming.from), renaming.to}) + "\n";
  for (const auto& finding : assessment.findings) text += FindingLine(finding) + "\n";
  for (const auto& sighting : assessment.sightings)
    text += Say(Said::kPlaced,
                {PlaceOf(sighting.table, sighting.column),
                 Say(Said::kSighting, {LossText(sighting, *assessment.engine), std::to_string(sighting.rows), sighting.example})}) +
            "\n";
  // Names and values hold what they like; on a terminal they end no line and send no orders.
  for (char& c : text)
    if (static_cast<unsigned char>(c) < 0x20 && c != '\n') c = ' ';
  return text + Verdict(assessment) + "\n";
}

std::string AsHtml(const Assessment& assessment) {
  std::vector<Line> tables;
  std::vector<Line> renamings;
  std::vector<Line> findings;
  std::vector<Line> sightings;
  for (const auto& table : assessment.tables) tables.push_back({table.name, std::to_string(table.rows), std::to_string(table.bytes)});
  for (const auto& renaming : assessment.renamings) renamings.push_back({PlaceOf(renaming.table, renaming.from), renaming.to});
  for (const auto& finding : assessment.findings) findings.push_back({PlaceOf(finding.table, finding.column), FindingText(finding)});
  for (const auto& sighting : assessment.sightings)
    sightings.push_back({PlaceOf(sighting.table, sighting.column), LossText(sighting, *assessment.engine), std::to_string(sighting.rows),
                         sighting.example});
  return std::string("<!DOCTYPE html>\n<html lang=\"") + (SpeaksFrench() ? "fr" : "en") +
         "\">\n<head>\n<meta charset=\"utf-8\">\n<meta name=\"viewport\" content=\"width=device-width\">\n<title>" +
         Markup(Title(assessment)) + "</title>\n<style>" + std::string(kStyle) + "</style>\n</head>\n<body>\n<h1>" +
         Markup(Title(assessment)) + "</h1>\n<p>" + Markup(Total(assessment)) + "</p>\n<p class=\"" +
         (assessment.LosesNothing() ? "good" : "bad") + "\">" + Markup(Verdict(assessment)) + "</p>\n" +
         HtmlTable(Said::kHeadFindings, {Say(Said::kHeadPlace), Say(Said::kHeadWhat)}, findings) +
         HtmlTable(Said::kHeadValues, {Say(Said::kHeadPlace), Say(Said::kHeadWhat), Say(Said::kLabelRows), Say(Said::kHeadExample)},
                   sightings) +
         HtmlTable(Said::kHeadRenamed, {Say(Said::kHeadName), Say(Said::kHeadNewName)}, renamings) +
         HtmlTable(Said::kLabelTables, {Say(Said::kHeadName), Say(Said::kLabelRows), Say(Said::kLabelSize)}, tables) + "</body>\n</html>\n";
}

std::string AsJson(const Assessment& assessment) {
  const auto number = [](std::uint64_t value) { return std::to_string(value); };
  return "{\n  \"source\": " + JsonText(assessment.source) + ",\n  \"engine\": " + JsonText(assessment.engine->key) +
         ",\n  \"losesNothing\": " + (assessment.LosesNothing() ? "true" : "false") + ",\n  \"tables\": " +
         JsonList(assessment.tables,
                  [&](const TableSize& table) {
                    return JsonObject({{"name", JsonText(table.name)}, {"rows", number(table.rows)}, {"bytes", number(table.bytes)}});
                  }) +
         ",\n  \"renamings\": " +
         JsonList(
             assessment.renamings,
             [](const schema::Renaming& renaming) {
               return JsonObject({{"table", JsonText(renaming.table)}, {"from", JsonText(renaming.from)}, {"to", JsonText(renaming.to)}});
             }) +
         ",\n  \"findings\": " + JsonList(assessment.findings, FindingObject) + ",\n  \"values\": " +
         JsonList(assessment.sightings,
                  [&](const Sighting& sighting) {
                    return JsonObject({{"table", JsonText(sighting.table)},
                                       {"column", JsonText(sighting.column)},
                                       {"loss", JsonText(KeyOf(sighting.loss))},
                                       {"rows", number(sighting.rows)},
                                       {"example", JsonText(sighting.example)}});
                  }) +
         "\n}\n";
}

}  // namespace tamlo::cli
