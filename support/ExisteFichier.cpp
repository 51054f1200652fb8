#include <algorithm>
#include <filesystem>
#include <system_error>

#include "runtime/Text.h"
#include "support/FileAttributes.h"
#include "support/Support.h"

namespace tamlo::support {

namespace {

namespace fs = std::filesystem;

/// File names compare as the machine's file systems do: without regard to case on Windows.
constexpr bool kCaseMatters = fs::path::preferred_separator == '/';

std::string NameText(const fs::path& path) {
  const std::u8string name = path.filename().u8string();
  return {name.begin(), name.end()};
}

std::u32string Characters(std::string_view text) {
  std::u32string out;
  while (!text.empty()) out.push_back(runtime::NextCharacter(text));
  return out;
}

/// "*" stands for any characters, "?" for one.
bool Matches(std::u32string_view name, std::u32string_view pattern) {
  std::size_t n = 0;
  std::size_t p = 0;
  std::size_t star = pattern.size();
  std::size_t resume = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == U'*') {
      star = p++;
      resume = n;
    } else if (p < pattern.size() && (pattern[p] == U'?' || pattern[p] == name[n])) {
      ++n;
      ++p;
    } else if (star != pattern.size()) {
      p = star + 1;
      n = ++resume;
    } else {
      return false;
    }
  }
  return std::all_of(pattern.begin() + static_cast<std::ptrdiff_t>(p), pattern.end(), [](char32_t c) { return c == U'*'; });
}

std::u32string Folded(const std::string& name) { return Characters(kCaseMatters ? name : runtime::UpperCase(name)); }

bool IsNormalFile(const fs::path& path) {
  std::error_code failure;
  return fs::is_regular_file(path, failure) && !IsHiddenOrSystem(path);
}

bool AnyNormalFileMatches(const fs::path& path) {
  const std::string pattern = NameText(path);
  // "*.*" is every file, with or without a dot in its name.
  const std::u32string wanted = pattern == "*.*" ? U"*" : Folded(pattern);
  const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
  std::error_code failure;
  for (fs::directory_iterator entry(folder, failure), end; !failure && entry != end; entry.increment(failure)) {
    if (Matches(Folded(NameText(entry->path())), wanted) && IsNormalFile(entry->path())) return true;
  }
  return false;
}

}  // namespace

bool ExisteFichier(const std::string& chemin) {
  if (chemin.empty() || chemin.back() == '\\' || chemin.back() == '/' || chemin.find('\0') != std::string::npos) return false;
  std::string portable = chemin;
  std::replace(portable.begin(), portable.end(), '\\', '/');
  try {
    const fs::path path(std::u8string(portable.begin(), portable.end()));
    const bool wild = NameText(path).find_first_of("*?") != std::string::npos;
    return wild ? AnyNormalFileMatches(path) : IsNormalFile(path);
  } catch (const std::system_error&) {
    return false;  // a text that is no path here, such as invalid UTF-8
  }
}

}  // namespace tamlo::support
