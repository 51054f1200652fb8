#pragma once

#include <filesystem>
#include <string>

namespace tamlo::tests {

/// The database password of a sample file, as its name tells it; empty for the others.
inline std::string SamplePassword(const std::filesystem::path& sample) {
  const std::string name = sample.filename().string();
  if (name.find("-geheim") != std::string::npos) return "geheim";
  return name.find("with-password") != std::string::npos ? "password" : "";
}

}  // namespace tamlo::tests
