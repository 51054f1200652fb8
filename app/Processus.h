#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// What the tool needs of the operating system about its own process.
namespace tamlo::app {

/// The arguments part of the command line as one text that LitParametres splits into these arguments again: an argument
/// that is empty or holds a space is put between double quotes. A double quote inside an argument cannot be carried and
/// is dropped: see PremierGuillemet.
[[nodiscard]] std::string JointArguments(const std::vector<std::string>& arguments);

/// The position from 1 of the first argument that holds a double quote, 0 when none does.
[[nodiscard]] std::int16_t PremierGuillemet(const std::vector<std::string>& arguments);

/// Puts spaces over the parameters that carry passwords (the sixth and the eighth, with their double quotes) in the
/// arguments part of a command line, split as LitParametres splits it, and stars over the passwords inside the first one,
/// which may be a connection string.
void EffaceMotsPasse(wchar_t* ligne);
/// The same stars in a first argument of its own, which ends with a 0.
void EffaceSecrets(char* argument);

/// What the process was started with.
struct LigneLue {
  std::string texte;           ///< the arguments part of the command line as one text
  std::int16_t guillemet = 0;  ///< PremierGuillemet; 0 where the command line is one text anyway
};

/// This process's command line. Called once, first thing: it blanks the arguments that carry passwords (the sixth, the
/// eighth and a connection string's own) in the command line that other programs can see.
[[nodiscard]] LigneLue LitLigneCommande(int nombre, char** arguments);

/// Keeps this process's memory from others of the same user: no core file, no debugger, no reader (what the system offers
/// of that). Called first thing; a failure is passed over, as nothing could be done about it.
void ProtegeMemoire() noexcept;

/// The folder of the program's own file, absolute.
[[nodiscard]] std::string DossierDuProgramme();

/// Makes a folder the current one of its drive; the current drive stays. Error 76 when it cannot be.
void ChangeDossierCourant(const std::string& dossier);

}  // namespace tamlo::app
