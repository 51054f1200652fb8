#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace base {

/// The file of that name, given as UTF-8. A path made of a std::string is read in whatever characters the system has set for programs of old,
/// which on Windows are not those of our texts. Errors: std::exception on Windows for what is no UTF-8.
[[nodiscard]] inline std::filesystem::path FilePath(std::string_view name) { return {std::u8string(name.begin(), name.end())}; }

/// Its name as UTF-8.
[[nodiscard]] inline std::string FileName(const std::filesystem::path& path) {
  const std::u8string name = path.u8string();
  return {name.begin(), name.end()};
}

}  // namespace base
