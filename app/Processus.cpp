#include "app/Processus.h"

#include <algorithm>

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

void EffaceMotsPasse(wchar_t* ligne) {
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
    }
  }
}

}  // namespace tamlo::app
