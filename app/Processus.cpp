#include "app/Processus.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "ado/Secrets.h"

namespace tamlo::app {

std::string JointArguments(const std::vector<std::string>& arguments) {
  std::string ligne;
  for (std::string argument : arguments) {
    if (!ligne.empty()) ligne += ' ';
    std::erase(argument, '"');
    const bool guillemets = argument.empty() || argument.find(' ') != std::string::npos;
    ligne += guillemets ? '"' + argument + '"' : argument;
  }
  return ligne;
}

std::int16_t PremierGuillemet(const std::vector<std::string>& arguments) {
  const auto trouve = std::find_if(arguments.begin(), arguments.end(), [](const auto& a) { return a.find('"') != std::string::npos; });
  if (trouve == arguments.end()) return 0;
  return static_cast<std::int16_t>(std::min<std::ptrdiff_t>(std::distance(arguments.begin(), trouve) + 1, 32767));
}

namespace {

/// Characters of a command line, its double quotes left out, and where each of them stands in it.
struct Parametre {
  std::string texte;
  std::vector<wchar_t*> places;
};

void MetEtoiles(const Parametre& parametre) {
  for (const auto& [debut, longueur] : ado::SecretRanges(parametre.texte)) {
    for (std::size_t i = debut; i < debut + longueur; ++i) *parametre.places[i] = L'*';
  }
}

}  // namespace

void EffaceMotsPasse(wchar_t* ligne) {
  Parametre premier;
  int parametre = 1;
  bool entreGuillemets = false;
  while (*ligne == L' ') ++ligne;
  for (; *ligne != L'\0'; ++ligne) {
    if (*ligne == L'"') entreGuillemets = !entreGuillemets;
    if (*ligne == L' ' && !entreGuillemets) {
      while (ligne[1] == L' ') ++ligne;
      ++parametre;
    } else if (parametre == 6 || parametre == 8) {
      *ligne = L' ';
    } else if (parametre == 1 && *ligne != L'"') {
      // Only keys and marks matter, which are of one byte.
      premier.texte.push_back(*ligne < 0x80 ? static_cast<char>(*ligne) : 'x');
      premier.places.push_back(ligne);
    }
  }
  MetEtoiles(premier);
}

void EffaceSecrets(char* argument) {
  for (const auto& [debut, longueur] : ado::SecretRanges(argument)) std::memset(argument + debut, '*', longueur);
}

}  // namespace tamlo::app
