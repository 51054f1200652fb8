#pragma once

#include <cstdint>
#include <string>

/// The command line as positional parameters. All state is process-wide.
namespace tamlo::app {

/// Positions of the parameters.
enum Parametre : std::int16_t {
  kNomBase = 1,
  kTypBase = 2,
  kIdVlm = 3,
  kNomUtl = 4,
  kNiveau = 5,
  kMotPasse = 6,
  kNomConnecte = 7,
  kMotPasseConnecte = 8,
};

/// Gives the arguments part of the command line as one text, to be split by LitParametres. guillemet: the position from 1
/// of an argument that this text could not carry, as it holds a double quote; 0 when there is none.
void LigneCommande(const std::string& ligne, std::int16_t guillemet = 0);
/// Splits the command line into Parametres. Double quotes only switch the meaning of spaces and are dropped; there is
/// no way to carry one.
void LitParametres();
/// The parameter of that position from 1. Error 9 when there is none.
[[nodiscard]] const std::string& Parametres(std::int16_t position);
[[nodiscard]] std::int16_t NbParametres() noexcept;

/// Ends the program where a double quote of the command line makes its parameters others than those that were meant.
void ExigeGuillemets();
/// The passwords leave no copy behind among the parameters.
void EffaceParametres() noexcept;

}  // namespace tamlo::app
