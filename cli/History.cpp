#include "cli/History.h"

#include <algorithm>
#include <array>

#include "base/Case.h"

namespace tamlo::cli {

bool MayHoldSecret(std::string_view line) {
  constexpr std::array<std::string_view, 9> kWords{"password", "passwd",       "passphrase",   "pwd", "identified",
                                                   "secret",   "mot de passe", "mot_de_passe", "mdp"};
  const std::string lower = base::LowerCase(line);
  return lower.find("motdepasse") != std::string::npos ||
         std::any_of(kWords.begin(), kWords.end(), [&](std::string_view word) { return lower.find(word) != std::string::npos; });
}

}  // namespace tamlo::cli
