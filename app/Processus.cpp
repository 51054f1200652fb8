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

}  // namespace tamlo::app
