#pragma once

#include <CLI/App.hpp>
#include <string>
#include <vector>

/// What the pages and the completions say of the command line: taken from the very definition that reads it.
namespace tamlo::cli::pages {

struct OptionFacts {
  std::vector<std::string> names;  ///< with their dashes, short ones first; empty for what stands at a place
  std::string place;               ///< its name where it stands at a place (DB, SQL); else empty
  std::string description;
  std::vector<std::string> choices;  ///< the words that it takes; empty for any
  bool takesValue = false;
  bool required = false;
  bool repeated = false;
};

struct CommandFacts {
  std::string name;
  std::string description;
  std::vector<OptionFacts> options;  ///< in the order of the help
};

/// The program itself in front, its commands behind it.
[[nodiscard]] std::vector<CommandFacts> FactsOf(const CLI::App& app);

/// The texts of whole files.
[[nodiscard]] std::string ManPage(const std::vector<CommandFacts>& commands);  ///< in the user's language
/// What bash completes has no texts.
[[nodiscard]] std::string BashCompletion(const std::vector<CommandFacts>& commands);
/// These show texts in the language that the shell's user reads, chosen as tamlo-db chooses it.
[[nodiscard]] std::string ZshCompletion(const std::vector<CommandFacts>& english, const std::vector<CommandFacts>& french);
[[nodiscard]] std::string FishCompletion(const std::vector<CommandFacts>& english, const std::vector<CommandFacts>& french);

}  // namespace tamlo::cli::pages
