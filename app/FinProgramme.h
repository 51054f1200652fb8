#pragma once

namespace tamlo::app {

/// Raised where the program ends at once, the user knowing why.
struct FinProgramme {
  int statut = 0;
};

/// The exit status of every run that did not end with OK or Cancel.
inline constexpr int kEchec = 1;

}  // namespace tamlo::app
