#pragma once

#include <iosfwd>
#include <string>
#include <vector>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Source.h"

namespace tamlo::cli {

struct ShellOptions {
  std::string format = "table";
  Spelling spelling;
  Access access = Access::kRead;        ///< what the database was opened for
  std::vector<std::string> parameters;  ///< NAME=VALUE, for each statement that has a parameter of that name
};

/// Statements, each ended by ";", and a few commands that begin with ".", from a person at the terminal of standard input: with a prompt, an editor
/// and a history. What goes wrong is told in a line, and the shell goes on.
Status RunShell(Opened& opened, const ShellOptions& options);
/// The same from a text, until its end. The first failure ends it: Failure, with the text's name and the line. kUsage for a text without any.
Status RunScript(Opened& opened, const ShellOptions& options, std::istream& input, const std::string& name);

}  // namespace tamlo::cli
