// compare: what differs between two databases, in words.
#include <CLI/Option.hpp>
#include <algorithm>
#include <memory>

#include "cli/Commands.h"
#include "cli/Messages.h"
#include "cli/Output.h"
#include "cli/ServerRows.h"
#include "cli/Source.h"
#include "move/compare/Compare.h"

namespace tamlo::cli {
namespace {

struct Asked {
  std::string a;
  std::string b;
  std::vector<std::string> patterns;
  bool structure = false;
  bool rows = false;
  std::size_t shown = 10;
  std::shared_ptr<Login> loginA;
  std::shared_ptr<Login> loginB;
};

move::CompareSide SideOf(const Opened& opened) {
  return {opened.address.shown, opened.file ? schema::Engine::kAccess : opened.engine, opened.file.get(), opened.connection.get()};
}

std::vector<std::string> NamesOf(const schema::Database& a, const schema::Database& b) {
  std::vector<std::string> names;
  for (const auto* database : {&a, &b})
    for (const auto& table : database->tables) names.push_back(table.name);
  return names;
}

void Write(const Asked& asked, const move::Comparison& found) {
  Output output;
  std::string& text = output.Text();
  for (const std::string& line : found.structure) text += line + '\n';
  std::uint64_t rows = 0;
  for (const auto& table : found.tables) {
    rows += table.rowsA;
    if (table.Equal()) continue;
    text += Say(Said::kRowsDiffer, {table.table, std::to_string(table.rowsA), asked.a, std::to_string(table.rowsB), asked.b,
                                    std::to_string(table.onlyA), std::to_string(table.onlyB)}) +
            '\n';
    for (const std::string& line : table.told) text += "  " + line + '\n';
  }
  if (found.Equal()) text += Say(Said::kAreEqual, {asked.a, asked.b, std::to_string(found.tables.size()), std::to_string(rows)}) + '\n';
  output.Close();
}

Status Run(const Asked& asked) {
  const Opened a = Open(asked.a, *asked.loginA);
  const Opened b = Open(asked.b, *asked.loginB);
  const schema::Database inA = ReadStructure(a);
  const schema::Database inB = ReadStructure(b);
  move::CompareOptions options;
  options.structure = !asked.rows;
  options.rows = !asked.structure;
  options.shown = asked.shown;
  if (!asked.patterns.empty()) {
    const auto names = NamesMatching(NamesOf(inA, inB), asked.patterns);
    options.wanted = [names](const std::string& name) { return std::find(names.begin(), names.end(), name) != names.end(); };
  }
  const auto found = Compare(SideOf(a), inA, SideOf(b), inB, options);
  Write(asked, found);
  return found.Equal() ? Status::kDone : Status::kDifferences;
}

}  // namespace

void AddCompare(CLI::App& app, Status& status) {
  const auto asked = std::make_shared<Asked>();
  CLI::App* command = app.add_subcommand("compare", Say(Said::kCompare));
  command->add_option("A", asked->a, Say(Said::kDatabase))->required();
  command->add_option("B", asked->b, Say(Said::kDatabase))->required();
  command->add_option("-t,--table", asked->patterns, Say(Said::kTablePattern));
  auto* structure = command->add_flag("--schema-only", asked->structure, Say(Said::kCompareStructure));
  command->add_flag("--data-only", asked->rows, Say(Said::kCompareRows))->excludes(structure);
  command->add_option("--shown", asked->shown, Say(Said::kShownRows));
  asked->loginA = AddLogin(*command, "a-");
  asked->loginB = AddLogin(*command, "b-");
  command->callback([asked, &status] { status = Run(*asked); });
}

}  // namespace tamlo::cli
