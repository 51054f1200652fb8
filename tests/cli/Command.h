#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support_lib/SampleFiles.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {

struct Ran {
  int status = 0;
  std::string out;
  std::string err;
};

/// Runs a line in a shell, in that folder; the status is that of the program.
Ran RunLine(const TemporaryFolder& folder, const std::string& line, const std::string& input = {});
/// Runs tamlo-db with these arguments, as they are, in English.
Ran TamloDb(const TemporaryFolder& folder, const std::vector<std::string>& arguments, const std::string& environment = "LC_ALL=C");
/// The text as one word of a shell's line.
std::string Word(const std::string& text);

}  // namespace tamlo::tests
