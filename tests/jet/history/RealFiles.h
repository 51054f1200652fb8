#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace jet::tests {

/// Paths of the files in the folder that JET_SAMPLES names and in "samples2" beside it; one empty path when it names none.
std::vector<std::string> RealFiles();
/// A name for a test's parameter.
std::string RealFileName(const std::string& path);
std::vector<std::byte> ContentOf(const std::string& path);
/// Its format version, 3 or 4.
int VersionOf(const std::vector<std::byte>& content, const std::string& password);
/// Why the file is none that is written to (its texts go in an order or a code page that is not known); empty when it is one.
std::string WhyNotWritten(const std::vector<std::byte>& content, const std::string& password);

}  // namespace jet::tests
