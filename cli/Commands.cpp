#include "cli/Commands.h"

#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "cli/Messages.h"
#include "schema/Dialect.h"

namespace tamlo::cli {

void AddCommands(CLI::App& app, Status& status) {
  app.description(Say(Said::kAbout));
  app.set_help_flag("-h,--help", Say(Said::kHelp));
  app.set_version_flag("--version", "tamlo-db " TAMLO_VERSION, Say(Said::kVersion));
  app.require_subcommand(1);
  // A word with "/" in front is a file's name on every system.
  app.allow_windows_style_options(false);
  AddShow(app, status);
  AddSchema(app, status);
  AddQuery(app, status);
  AddExport(app, status);
  AddImport(app, status);
  AddAssess(app, status);
  AddDiagram(app, status);
  AddCopy(app, status);
  AddUpkeep(app, status);
  AddRecover(app, status);
  AddPassword(app, status);
  AddCompare(app, status);
}

CLI::Validator EngineName() {
  std::string names;
  for (const auto& dialect : schema::Dialects()) names += (names.empty() ? "{" : ",") + std::string(dialect.key);
  return {[](const std::string& name) { return schema::FindDialect(name) == nullptr ? Say(Said::kUnknownEngine, {name}) : std::string(); },
          names + "}"};
}

}  // namespace tamlo::cli
