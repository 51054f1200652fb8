#include "cli/Given.h"

#include <algorithm>

#include "ado/NamedMarks.h"
#include "base/Case.h"
#include "base/Numbers.h"
#include "cli/Failure.h"
#include "cli/Messages.h"

namespace tamlo::cli {
namespace {

/// "[Which town]" and "Which town" are one name.
std::string Plain(std::string_view name) {
  std::string plain;
  for (const char c : name)
    if (c != '[' && c != ']') plain += c;
  return plain;
}

jet::Value NumberOf(const std::string& text) {
  if (const auto whole = base::ReadWhole<std::int32_t>(text)) return jet::Value(*whole);
  if (const auto real = base::ReadReal(text)) return jet::Value(*real);
  return jet::Value(text);
}

}  // namespace

Given::Given(const std::vector<std::string>& pairs) {
  for (const std::string& pair : pairs) {
    const auto equals = pair.find('=');
    if (equals == std::string::npos || Plain(pair.substr(0, equals)).empty())
      throw Failure(Status::kUsage, Say(Said::kParameterWants, {pair}));
    values_.push_back({Plain(pair.substr(0, equals)), pair.substr(equals + 1)});
  }
}

std::vector<jet::sql::Parameter> Given::For(jet::sql::Session& session, const std::string& sql, bool asNumbers) {
  std::vector<jet::sql::Parameter> found;
  if (values_.empty()) return found;
  const auto wanted = session.ParametersOf(sql);
  for (One& one : values_) {
    const auto same =
        std::find_if(wanted.begin(), wanted.end(), [&](const auto& info) { return base::SameName(Plain(info.name), one.name); });
    if (same == wanted.end()) continue;
    one.used = true;
    const bool asNumber = asNumbers && same->type.type == jet::sql::kNoType;
    found.push_back({same->name, asNumber ? NumberOf(one.value) : jet::Value(one.value)});
  }
  return found;
}

void Given::Into(ado::Command& command) {
  for (One& one : values_) {
    if (!ado::IsMarked(command.CommandText(), one.name)) continue;
    one.used = true;
    command.Parameters().Append({.name = one.name, .value = ado::Variant(one.value)});
  }
}

void Given::LookForUnused() const {
  for (const One& one : values_)
    if (!one.used) throw Failure(Status::kUsage, Say(Said::kNoSuchParameter, {one.name}));
}

}  // namespace tamlo::cli
