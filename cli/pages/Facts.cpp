#include "cli/pages/Facts.h"

#include <CLI/Option.hpp>

namespace tamlo::cli::pages {
namespace {

/// The words between braces that a list of choices gives as its type.
std::vector<std::string> ChoicesIn(const std::string& type) {
  std::vector<std::string> words;
  const auto open = type.find('{');
  const auto close = type.find('}');
  if (open == std::string::npos || close == std::string::npos) return words;
  for (std::size_t at = open + 1; at < close;) {
    const std::size_t end = std::min(type.find(',', at), close);
    words.push_back(type.substr(at, end - at));
    at = end + 1;
  }
  return words;
}

OptionFacts FactsOf(const CLI::Option& option) {
  OptionFacts facts;
  for (const auto& name : option.get_snames()) facts.names.push_back("-" + name);
  for (const auto& name : option.get_lnames()) facts.names.push_back("--" + name);
  if (facts.names.empty()) facts.place = option.get_single_name();
  facts.description = option.get_description();
  facts.choices = ChoicesIn(option.get_type_name());
  facts.takesValue = option.get_items_expected_max() > 0;
  facts.required = option.get_required();
  facts.repeated = option.get_items_expected_max() > 1;
  return facts;
}

CommandFacts FactsOfOne(const CLI::App& app) {
  CommandFacts facts{app.get_name(), app.get_description(), {}};
  for (const CLI::Option* option : app.get_options()) facts.options.push_back(FactsOf(*option));
  return facts;
}

}  // namespace

std::vector<CommandFacts> FactsOf(const CLI::App& app) {
  std::vector<CommandFacts> commands{FactsOfOne(app)};
  for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) commands.push_back(FactsOfOne(*command));
  return commands;
}

}  // namespace tamlo::cli::pages
