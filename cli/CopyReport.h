#pragma once

#include <string>

#include "move/Run.h"

namespace tamlo::cli {

/// What a copy is going to do, as a script with comments: new names, what is lost, the tables, the statements.
void PrintPlan(const move::Plan& plan);

/// What a copy has done, for programs: one JSON object with from, to, tables (name, there, copied, refused, counted), renamings, findings, refused
/// and cancelled. Failure with kFailed when the file cannot be written; one of that name is written over.
void WriteReport(const std::string& path, const std::string& from, const std::string& to, const move::Plan& plan,
                 const move::Outcome& outcome);

}  // namespace tamlo::cli
