// What the shells complete. Names of files are left to them.
#include "cli/pages/Facts.h"

namespace tamlo::cli::pages {
namespace {

std::string Joined(const std::vector<std::string>& words, const char* between) {
  std::string text;
  for (const auto& word : words) text += (text.empty() ? "" : between) + word;
  return text;
}

/// Behind a backslash where it is one of the signs.
std::string Escaped(std::string_view text, std::string_view signs) {
  std::string escaped;
  for (const char c : text) {
    if (signs.find(c) != std::string_view::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

/// Between single quotes as bash and zsh have them.
std::string Quoted(std::string_view text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

std::vector<std::string> AllNames(const CommandFacts& command) {
  std::vector<std::string> names;
  for (const auto& option : command.options) names.insert(names.end(), option.names.begin(), option.names.end());
  return names;
}

void AppendBashChoices(std::string& text, const CommandFacts& command) {
  for (const auto& option : command.options) {
    if (option.choices.empty() || option.names.empty()) continue;
    std::vector<std::string> cases;
    for (const auto& name : option.names) cases.push_back("'" + command.name + " " + name + "'");
    text += "    " + Joined(cases, " | ") + ") COMPREPLY=($(compgen -W '" + Joined(option.choices, " ") + "' -- \"$word\")); return ;;\n";
  }
}

/// One option as _arguments takes it: '(-F --format)'{-F,--format}'[text]:value:(csv tsv)'.
std::string ZshArgument(const OptionFacts& option) {
  std::string behind = "[" + Escaped(option.description, "[]\\:") + "]";
  if (option.takesValue) behind += ":value:" + (option.choices.empty() ? std::string("_files") : "(" + Joined(option.choices, " ") + ")");
  if (option.names.size() == 1) return Quoted((option.repeated ? "*" : "") + option.names[0] + behind);
  const std::string names = "{" + Joined(option.names, ",") + "}";
  return Quoted(option.repeated ? "*" : "(" + Joined(option.names, " ") + ")") + names + Quoted(behind);
}

}  // namespace

std::string BashCompletion(const std::vector<CommandFacts>& commands) {
  std::vector<std::string> first = AllNames(commands.front());
  std::string choices;
  std::string options;
  for (std::size_t i = 1; i < commands.size(); ++i) {
    first.push_back(commands[i].name);
    AppendBashChoices(choices, commands[i]);
    options += "    " + commands[i].name + ") COMPREPLY=($(compgen -W '" + Joined(AllNames(commands[i]), " ") + "' -- \"$word\")) ;;\n";
  }
  return "# bash completion for tamlo-db\n_tamlo_db() {\n"
         "  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} command=${COMP_WORDS[1]}\n"
         "  COMPREPLY=()\n"
         "  if [ \"$COMP_CWORD\" -eq 1 ]; then\n    COMPREPLY=($(compgen -W '" +
         Joined(first, " ") + "' -- \"$word\"))\n    return\n  fi\n  case \"$command $before\" in\n" + choices +
         "  esac\n  [[ $word == -* ]] || return\n  case \"$command\" in\n" + options +
         "  esac\n}\ncomplete -o default -F _tamlo_db tamlo-db\n";
}

namespace {

/// A function of zsh with the texts of one language.
std::string ZshFunction(const std::string& name, const std::vector<CommandFacts>& commands) {
  std::string text = name + "() {\n  local -a commands flags\n  commands=(\n";
  for (std::size_t i = 1; i < commands.size(); ++i)
    text += "    " + Quoted(commands[i].name + ":" + Escaped(commands[i].description, "\\:")) + '\n';
  text += "  )\n  flags=(\n";
  for (const auto& option : commands.front().options)
    for (const auto& one : option.names) text += "    " + Quoted(one + ":" + Escaped(option.description, "\\:")) + '\n';
  text +=
      "  )\n  if (( CURRENT == 2 )); then\n    _describe -t commands command commands\n    _describe -o option flags\n    return\n  fi\n"
      "  local command=$words[2]\n  shift words\n  (( CURRENT-- ))\n  case $command in\n";
  for (std::size_t i = 1; i < commands.size(); ++i) {
    text += "    " + commands[i].name + ")\n      _arguments";
    for (const auto& option : commands[i].options)
      if (!option.names.empty()) text += " \\\n        " + ZshArgument(option);
    text += " \\\n        '*:file:_files'\n      ;;\n";
  }
  return text + "  esac\n}\n";
}

std::string FishLines(const std::vector<CommandFacts>& commands) {
  std::string text;
  for (std::size_t i = 0; i < commands.size(); ++i) {
    const std::string condition = i == 0 ? "__fish_use_subcommand" : "'__fish_seen_subcommand_from " + commands[i].name + "'";
    if (i > 0)
      text += "  complete -c tamlo-db -f -n __fish_use_subcommand -a " + commands[i].name + " -d '" +
              Escaped(commands[i].description, "\\'") + "'\n";
    for (const auto& option : commands[i].options) {
      if (option.names.empty()) continue;
      text += "  complete -c tamlo-db -n " + condition;
      for (const auto& name : option.names) text += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
      if (option.takesValue) text += option.choices.empty() ? " -r" : " -x -a '" + Joined(option.choices, " ") + "'";
      text += " -d '" + Escaped(option.description, "\\'") + "'\n";
    }
  }
  return text;
}

}  // namespace

std::string ZshCompletion(const std::vector<CommandFacts>& english, const std::vector<CommandFacts>& french) {
  return "#compdef tamlo-db\n" + ZshFunction("_tamlo_db_english", english) + ZshFunction("_tamlo_db_french", french) +
         "case ${LC_ALL:-${LC_MESSAGES:-$LANG}} in\n  fr*) _tamlo_db_french \"$@\" ;;\n  *) _tamlo_db_english \"$@\" ;;\nesac\n";
}

std::string FishCompletion(const std::vector<CommandFacts>& english, const std::vector<CommandFacts>& french) {
  return "# fish completion for tamlo-db\nset -l language (string match -v '' -- $LC_ALL $LC_MESSAGES $LANG)\n"
         "if string match -q 'fr*' -- \"$language[1]\"\n" +
         FishLines(french) + "else\n" + FishLines(english) + "end\n";
}

}  // namespace tamlo::cli::pages
