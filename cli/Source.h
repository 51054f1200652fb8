#pragma once

#include <memory>
#include <string>
#include <vector>

#include "jet/Database.h"

namespace tamlo::cli {

/// Opens the Access file of that name, for reading unless it is to be written. Errors: Failure with kCannotOpen, whose text names the file.
[[nodiscard]] std::unique_ptr<jet::Database> OpenFile(const std::string& name, bool toWrite = false);

/// The user's tables that have one of the names or patterns ("*", "?"), in the order of their names, each once; all of them for none. Errors:
/// Failure with kUsage for a pattern that meets nothing.
[[nodiscard]] std::vector<std::string> TablesNamed(jet::Database& database, const std::vector<std::string>& patterns);

/// Whether a name meets a pattern, without regard to case.
[[nodiscard]] bool Matches(std::string_view name, std::string_view pattern);

}  // namespace tamlo::cli
