// schema: the statements that make a database anew on an engine.
#include <CLI/Option.hpp>
#include <memory>

#include "cli/Commands.h"
#include "cli/FindingLine.h"
#include "cli/Messages.h"
#include "cli/Output.h"
#include "cli/ServerRows.h"
#include "schema/Ddl.h"

namespace tamlo::cli {
namespace {

struct Asked {
  std::string database;
  std::string to = "access";
  std::shared_ptr<Login> login;
};

void Run(const Asked& asked) {
  const schema::Dialect* dialect = schema::FindDialect(asked.to);
  Opened opened = Open(asked.database, *asked.login);
  const schema::Database read = ReadStructure(opened, {.values = true, .counts = false});
  auto script = schema::WriteDdl(read, *dialect);
  script.findings.insert(script.findings.begin(), read.findings.begin(), read.findings.end());
  Output output;
  std::string& text = output.Text();
  for (const auto& renaming : script.renamings)
    text += "-- " + OneLine((renaming.table.empty() ? "" : renaming.table + ": ") + renaming.from + " -> " + renaming.to) + '\n';
  for (const auto& finding : script.findings) text += "-- " + FindingLine(finding) + '\n';
  for (const auto& statement : script.statements) text += statement.sql + ";\n";
  output.Close();
}

}  // namespace

void AddSchema(CLI::App& app, Status&) {
  const auto asked = std::make_shared<Asked>();
  CLI::App* command = app.add_subcommand("schema", Say(Said::kSchema));
  command->add_option("DB", asked->database, Say(Said::kDatabase))->required();
  asked->login = AddLogin(*command);
  command->add_option("--to", asked->to, Say(Said::kTarget))->check(EngineName());
  command->callback([asked] { Run(*asked); });
}

}  // namespace tamlo::cli
