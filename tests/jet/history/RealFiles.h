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
/// Why the file is none that is written to (it is of Access 97, or its texts go in an order that is not known); empty when it is one.
std::string WhyNotWritten(const std::vector<std::byte>& content, const std::string& password);

}  // namespace jet::tests
