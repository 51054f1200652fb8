// The page of the manual, French or English.
#include <array>
#include <utility>

#include "cli/Messages.h"
#include "cli/pages/Facts.h"

namespace tamlo::cli::pages {
namespace {

std::string Either(std::string_view english, std::string_view french) { return std::string(SpeaksFrench() ? french : english); }

/// A text as roff takes it: nothing in it is a request.
std::string Plain(std::string_view text) {
  std::string plain;
  for (const char c : text) {
    if (c == '\\') {
      plain += "\\e";
    } else if (c == '-') {
      plain += "\\-";
    } else {
      plain += c == '\n' ? ' ' : c;
    }
  }
  return plain.starts_with('.') || plain.starts_with('\'') ? "\\&" + plain : plain;
}

std::string Bold(std::string_view text) { return "\\fB" + Plain(text) + "\\fR"; }
std::string Italic(std::string_view text) { return "\\fI" + Plain(text) + "\\fR"; }

/// "DB [SQL...] [OPTION...]" behind the name of a command.
std::string Places(const CommandFacts& command) {
  std::string text;
  bool others = false;
  for (const auto& option : command.options) {
    if (option.place.empty()) {
      others = true;
      continue;
    }
    const std::string word = Italic(option.place) + (option.repeated ? " ..." : "");
    text += ' ' + (option.required ? word : "[" + word + "]");
  }
  return text + (others ? " [" + Italic("OPTION") + " ...]" : "");
}

void AppendOption(std::string& text, const OptionFacts& option) {
  std::string head;
  for (const auto& name : option.names) head += (head.empty() ? "" : ", ") + Bold(name);
  if (!option.place.empty()) head = Italic(option.place);
  if (option.takesValue && option.place.empty()) {
    std::string words;
    for (const auto& choice : option.choices) words += (words.empty() ? "" : "|") + choice;
    head += ' ' + (words.empty() ? Italic(Either("VALUE", "VALEUR")) : Plain(words));
  }
  text += ".TP\n" + head + '\n' + Plain(option.description) + (option.description.ends_with('.') ? "" : ".") + '\n';
}

void AppendStatus(std::string& text) {
  const std::array<std::pair<const char*, std::string>, 6> lines{
      {{"0", Either("done", "fait")},
       {"1", Either("differences, findings or rejected rows", "différences, anomalies ou lignes rejetées")},
       {"2", Either("a command line that cannot be understood", "ligne de commande incompréhensible")},
       {"3", Either("a database that cannot be opened", "base qui ne peut être ouverte")},
       {"4", Either("failed on the way", "échec en route")},
       {"130", Either("cancelled", "interrompu")}}};
  text += ".SH \"" + Either("EXIT STATUS", "CODE DE RETOUR") + "\"\n";
  for (const auto& [status, meaning] : lines) text += ".TP\n.B " + std::string(status) + '\n' + meaning + '\n';
}

}  // namespace

std::string ManPage(const std::vector<CommandFacts>& commands) {
  const CommandFacts& program = commands.front();
  std::string name = program.description;
  if (name.ends_with('.')) name.pop_back();
  std::string text = ".\\\" " + Either("Made of the definition of the command line", "Tirée de la définition de la ligne de commande") +
                     "\n.TH TAMLO\\-DB 1 2026 \"tamlo\\-db " TAMLO_VERSION "\" \"" + Either("Commands", "Commandes") + "\"\n";
  text += ".SH " + Either("NAME", "NOM") + "\ntamlo\\-db \\- " + Plain(name) + "\n.SH SYNOPSIS\n.nf\n";
  for (std::size_t i = 1; i < commands.size(); ++i) text += Bold("tamlo-db " + commands[i].name) + Places(commands[i]) + '\n';
  text += ".fi\n.SH DESCRIPTION\n" +
          Plain(Either("Results go to standard output, one line for each failure to standard error. Files are opened for "
                       "reading unless a command is to change them.",
                       "Les résultats vont à la sortie standard, une ligne par échec à la sortie d'erreur. Les fichiers "
                       "sont ouverts en lecture, sauf par les commandes qui doivent les modifier.")) +
          '\n';
  for (const auto& option : program.options) AppendOption(text, option);
  text += ".SH " + Either("COMMANDS", "COMMANDES") + '\n';
  for (std::size_t i = 1; i < commands.size(); ++i) {
    text += ".SS " + Plain(commands[i].name) + '\n' + Plain(commands[i].description) + ".\n";
    for (const auto& option : commands[i].options)
      if (option.names.empty() || option.names.back() != "--help") AppendOption(text, option);
  }
  AppendStatus(text);
  text += ".SH " + Either("ENVIRONMENT", "ENVIRONNEMENT") + "\n.TP\n.BR LC_ALL \", \" LC_MESSAGES \", \" LANG\n" +
          Either("Language of messages and help: French, else English.", "Langue des messages et de l'aide : français, sinon anglais.") +
          '\n';
  return text + ".SH \"" + Either("SEE ALSO", "VOIR AUSSI") + "\"\n.BR tamlo (1)\n";
}

}  // namespace tamlo::cli::pages
