#include "cli/Source.h"

#include <algorithm>

#include "base/Case.h"
#include "cli/Failure.h"
#include "cli/Messages.h"

namespace tamlo::cli {
namespace {

bool MatchesFolded(std::string_view name, std::string_view pattern) {
  std::size_t at = 0;
  std::size_t in = 0;
  std::size_t star = std::string_view::npos;
  std::size_t again = 0;
  while (at < name.size()) {
    if (in < pattern.size() && (pattern[in] == '?' || pattern[in] == name[at]) && pattern[in] != '*') {
      ++at;
      ++in;
    } else if (in < pattern.size() && pattern[in] == '*') {
      star = in++;
      again = at;
    } else if (star != std::string_view::npos) {
      in = star + 1;
      at = ++again;
    } else {
      return false;
    }
  }
  while (in < pattern.size() && pattern[in] == '*') ++in;
  return in == pattern.size();
}

/// Null for a file that wants a password when none is given.
std::unique_ptr<jet::Database> TryToOpen(const std::string& name, const jet::OpenOptions& options) {
  try {
    return jet::Database::Open(name, options);
  } catch (const jet::Error& error) {
    if (error.Code() == jet::ErrorCode::kPasswordProtected) return nullptr;
    std::string why = error.what();
    if (error.Code() == jet::ErrorCode::kNotFound) why = Say(Said::kNoFile);
    if (error.Code() == jet::ErrorCode::kWrongPassword) why = Say(Said::kWrongPassword);
    throw Failure(Status::kCannotOpen, Say(Said::kCannotOpen, {name, why}));
  }
}

}  // namespace

std::unique_ptr<jet::Database> OpenFile(const std::string& name, bool toWrite, const Login& login, Secret* used) {
  const auto address = AddressOf(name);
  if (address.engine != schema::Engine::kAccess) throw Failure(Status::kCannotOpen, Say(Said::kOnlyAccess, {address.shown}));
  jet::OpenOptions options;
  options.mode = toWrite ? jet::OpenMode::kShared : jet::OpenMode::kReadOnly;
  const runtime::WipedAtEnd wipe(options.password);
  auto given = GivenPassword(login, address);
  if (given) options.password.swap(*given);
  auto file = TryToOpen(name, options);
  if (!file && !given) {
    given = AskPassword(address);
    if (given) options.password.swap(*given);
    if (given) file = TryToOpen(name, options);
  }
  if (!file) throw Failure(Status::kCannotOpen, Say(Said::kCannotOpen, {name, Say(Said::kWantsPassword)}));
  if (used != nullptr) used->text = options.password;
  return file;
}

bool Matches(std::string_view name, std::string_view pattern) { return MatchesFolded(base::LowerName(name), base::LowerName(pattern)); }

std::vector<std::string> TablesNamed(jet::Database& database, const std::vector<std::string>& patterns) {
  std::vector<std::string> all;
  for (const auto& object : database.Objects())
    if (object.kind == jet::ObjectKind::kTable && !object.name.starts_with('~')) all.push_back(object.name);
  std::sort(all.begin(), all.end(), [](const std::string& a, const std::string& b) { return base::LowerName(a) < base::LowerName(b); });
  return NamesMatching(all, patterns);
}

std::vector<std::string> NamesMatching(const std::vector<std::string>& all, const std::vector<std::string>& patterns) {
  if (patterns.empty()) return all;
  std::vector<std::string> found;
  for (const std::string& name : all)
    if (std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) { return Matches(name, pattern); }))
      found.push_back(name);
  for (const std::string& pattern : patterns)
    if (std::none_of(all.begin(), all.end(), [&](const std::string& name) { return Matches(name, pattern); }))
      throw Failure(Status::kUsage, Say(Said::kNoTableMatches, {pattern}));
  return found;
}

}  // namespace tamlo::cli
