#include <cstdio>

#include "app/Terminal.h"

namespace tamlo::app {

bool EcritTerminal(const std::string& texte) {
  return std::fwrite(texte.data(), 1, texte.size(), stdout) == texte.size() && std::fflush(stdout) == 0;
}

}  // namespace tamlo::app
