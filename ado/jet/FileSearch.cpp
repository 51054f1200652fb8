#include "ado/jet/FileSearch.h"

#include <filesystem>
#include <system_error>
#include <vector>

#include "base/FilePath.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado::jetprovider {

namespace {

namespace fs = std::filesystem;

using base::FileName;
using base::FilePath;

// The entries of a folder whose name equals the wanted one without regard to case.
std::vector<fs::path> Matches(const fs::path& folder, const fs::path& wanted) {
  std::vector<fs::path> found;
  const std::string upper = runtime::UpperCase(FileName(wanted));
  std::error_code problem;
  fs::directory_iterator entries(folder.empty() ? fs::path(".") : folder, problem);
  for (; !problem && entries != fs::directory_iterator(); entries.increment(problem)) {
    if (runtime::UpperCase(FileName(entries->path().filename())) == upper) found.push_back(folder / entries->path().filename());
  }
  return found;
}

std::string Unquoted(std::string_view value) {
  value = runtime::Trim(value);
  if (value.size() < 2 || (value.front() != '"' && value.front() != '\'') || value.back() != value.front()) return std::string(value);
  const char quote = value.front();
  std::string inside;
  for (std::size_t i = 1; i + 1 < value.size(); ++i) {
    inside += value[i];
    if (value[i] == quote && i + 2 < value.size() && value[i + 1] == quote) ++i;  // a doubled one stands for itself
  }
  return inside;
}

}  // namespace

std::string FindFile(const std::string& name) {
  std::error_code problem;
  const fs::path wanted = FilePath(name);
  if (fs::exists(wanted, problem)) return name;
  fs::path known = wanted.root_path();
  for (const fs::path& step : wanted.relative_path()) {
    if (step == "." || step == ".." || step.empty() || fs::exists(known / step, problem)) {
      known /= step;
      continue;
    }
    const std::vector<fs::path> matches = Matches(known, step);
    if (matches.empty()) return name;
    if (matches.size() > 1) {
      throw runtime::Error(runtime::kProviderFailure, "Le nom '" + name + "' désigne deux fichiers : '" + FileName(matches[0]) + "' et '" +
                                                          FileName(matches[1]) + "'");
    }
    known = matches[0];
  }
  return FileName(known);
}

ConnectionText ReadConnectionText(std::string_view text) {
  ConnectionText result;
  const std::string upper = runtime::UpperCase(text);
  if (upper.find("DATA SOURCE") == std::string::npos || text.find('=') == std::string_view::npos) {
    result.dataSource = std::string(text);
    return result;
  }
  while (!text.empty()) {
    // A value may stand in quotes, which may hold semicolons.
    std::size_t end = 0;
    char quote = '\0';
    for (; end < text.size() && (quote != '\0' || text[end] != ';'); ++end) {
      if (quote != '\0' ? text[end] == quote : text[end] == '"') quote = quote != '\0' ? '\0' : text[end];
    }
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const std::size_t equals = part.find('=');
    if (equals == std::string_view::npos) continue;
    const std::string key = runtime::UpperCase(runtime::Trim(part.substr(0, equals)));
    const std::string value = Unquoted(part.substr(equals + 1));
    if (key == "DATA SOURCE") result.dataSource = value;
    if (key == "MODE") result.mode = runtime::UpperCase(value);
    if (key == "JET OLEDB:DATABASE PASSWORD") result.password = value;
  }
  return result;
}

}  // namespace tamlo::ado::jetprovider
