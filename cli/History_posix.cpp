#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "cli/History.h"
#include "cli/Messages.h"
#include "cli/System.h"

namespace tamlo::cli {
namespace {

constexpr mode_t kOwnersAlone = 0600;
constexpr mode_t kOwnersFolder = 0700;

/// Makes the folders that are missing, for the owner alone.
void MakeFolder(const std::filesystem::path& folder) {
  std::error_code ignored;
  if (folder.empty() || std::filesystem::exists(folder, ignored)) return;
  MakeFolder(folder.parent_path());
  mkdir(folder.c_str(), kOwnersFolder);
}

/// Appends to the file, or makes it anew; the reason where that cannot be, else nothing.
std::string Write(const std::string& path, const std::string& text, int how) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | how, kOwnersAlone);
  if (file < 0) return std::strerror(errno);
  struct stat now {};
  // A file that others may read was not made here, or somebody has changed it.
  const bool ours = fstat(file, &now) == 0 && ((now.st_mode & 0777U) == kOwnersAlone || fchmod(file, kOwnersAlone) == 0);
  // In one piece: another shell may be writing.
  const bool whole = ours && write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  const std::string why = whole ? "" : std::strerror(errno);
  close(file);
  return why;
}

void Shorten(const std::string& path, const std::vector<std::string>& lines) {
  std::string text;
  for (const auto& line : lines) text += line + '\n';
  const std::string part = path + "." + std::to_string(getpid());
  if (!Write(part, text, O_EXCL).empty() || std::rename(part.c_str(), path.c_str()) != 0) unlink(part.c_str());
}

}  // namespace

History::History() {
  const auto state = Variable("XDG_STATE_HOME");
  const auto home = Variable("HOME");
  // The rule of that folder: a relative one does not count.
  if (state && state->starts_with('/')) {
    path_ = *state + "/tamlo-db/history";
  } else if (home) {
    path_ = *home + "/.local/state/tamlo-db/history";
  }
}

std::vector<std::string> History::Lines() const {
  std::vector<std::string> lines;
  std::ifstream file(path_, std::ios::binary);
  for (std::string line; std::getline(file, line);)
    if (!line.empty()) lines.push_back(line);
  if (lines.size() <= kMost) return lines;
  const bool grown = lines.size() > 2 * kMost;
  lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(kMost));
  if (grown) Shorten(path_, lines);
  return lines;
}

std::string History::Add(const std::string& line) {
  if (path_.empty() || told_) return {};
  MakeFolder(std::filesystem::path(path_).parent_path());
  const std::string why = Write(path_, line + '\n', O_APPEND);
  told_ = !why.empty();
  return told_ ? Say(Said::kHistoryNotKept, {path_, why}) : std::string();
}

}  // namespace tamlo::cli
