#pragma once

#include <filesystem>
#include <string>

namespace tamlo::tests {

/// The database password of a sample file, as its name tells it; empty for the others.
inline std::string SamplePassword(const std::filesystem::path& sample) {
  const std::string name = sample.filename().string();
  if (name.find("-geheim") != std::string::npos) return "geheim";
  for (const char* password : {"Test123", "1234", "password"})
    if (name.starts_with("enc-") && name.ends_with("-" + std::string(password) + ".accdb")) return password;
  return name.find("with-password") != std::string::npos ? "password" : "";
}

}  // namespace tamlo::tests
