#pragma once

#include <CLI/App.hpp>
#include <CLI/Validators.hpp>

#include "cli/Failure.h"

/// The commands. Each adds itself with its options; what it does is run when the line has been read, and gives the status of the program.
namespace tamlo::cli {

void AddShow(CLI::App& app, Status& status);      ///< info, tables, queries, relations
void AddSchema(CLI::App& app, Status& status);    ///< schema
void AddQuery(CLI::App& app, Status& status);     ///< query, exec
void AddExport(CLI::App& app, Status& status);    ///< export
void AddDiagram(CLI::App& app, Status& status);   ///< diagram
void AddImport(CLI::App& app, Status& status);    ///< import
void AddAssess(CLI::App& app, Status& status);    ///< assess
void AddCopy(CLI::App& app, Status& status);      ///< copy
void AddUpkeep(CLI::App& app, Status& status);    ///< check, compact, backup
void AddRecover(CLI::App& app, Status& status);   ///< recover
void AddPassword(CLI::App& app, Status& status);  ///< password
void AddCompare(CLI::App& app, Status& status);   ///< compare

/// The whole command line: what the program has, all of the above. The pages and the completions are made of it too (cli/pages).
void AddCommands(CLI::App& app, Status& status);

/// Takes the name of an engine that definitions can be written for, in any case.
[[nodiscard]] CLI::Validator EngineName();

}  // namespace tamlo::cli
