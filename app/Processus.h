#pragma once

#include <string>
#include <vector>

/// What the tool needs of the operating system about its own process.
namespace tamlo::app {

/// The arguments part of the command line as one text that LitParametres splits into these arguments again: an argument
/// that is empty or holds a space is put between double quotes. A double quote inside an argument cannot be carried and
/// is dropped.
[[nodiscard]] std::string JointArguments(const std::vector<std::string>& arguments);

/// Puts spaces over the parameters that carry passwords (the sixth and the eighth, with their double quotes) in the
/// arguments part of a command line, split as LitParametres splits it.
void EffaceMotsPasse(wchar_t* ligne);

/// The arguments part of this process's command line as one text. Called once, first thing: it blanks the arguments
/// that carry passwords (the sixth and the eighth) in the command line that other programs can see.
[[nodiscard]] std::string LitLigneCommande(int nombre, char** arguments);

/// The folder of the program's own file, absolute.
[[nodiscard]] std::string DossierDuProgramme();

/// Makes a folder the current one of its drive; the current drive stays. Error 76 when it cannot be.
void ChangeDossierCourant(const std::string& dossier);

}  // namespace tamlo::app
