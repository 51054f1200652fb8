#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "db/DataBase.h"

/// Start-up, and the registry of open databases. All state is process-wide and belongs to the user-interface thread.
namespace tamlo::app {

/// A reference to a database. Shared between the registry and every caller that OuvreBase gave it to: one of them may
/// close the database while others still hold it, and these must find a closed database, not a dangling reference.
using ReferenceBase = std::shared_ptr<db::DataBase>;

/// Raised by Main where the program ends at once, the user knowing why.
struct FinProgramme {
  int statut = 0;
};

/// The start: reads the parameters, opens the volumes database, loads, fills and shows the form, then returns; the
/// form's events do the rest. FinProgramme for a wrong count of parameters, a double quote that no parameter can carry, a
/// name that is blank or too long, another user's row, or a database that cannot be opened; any other failure is raised as
/// it comes. The passwords among the parameters are wiped once the form has them.
void Main();

/// Main and the form's life until the end, with the runtime-style box for what nobody caught. Returns the process's
/// exit status: 0 after OK or Cancel, 1 after any failure, also one that the save passes over in silence. Nothing of
/// the run is left behind.
[[nodiscard]] int ExecuteProgramme();

/// Back to the state before Main: lets go of the form, the open databases and the connected user. Failures to close are
/// dropped.
void LibereTout();

/// Gives the arguments part of the command line as one text, to be split by LitParametres. guillemet: the position from 1
/// of an argument that this text could not carry, as it holds a double quote; 0 when there is none.
void LigneCommande(const std::string& ligne, std::int16_t guillemet = 0);
/// Splits the command line into Parametres. Double quotes only switch the meaning of spaces and are dropped; there is
/// no way to carry one.
void LitParametres();
/// The parameter of that position from 1. Error 9 when there is none.
[[nodiscard]] const std::string& Parametres(std::int16_t position);
[[nodiscard]] std::int16_t NbParametres() noexcept;

/// The volumes database; null while it is not open.
[[nodiscard]] ReferenceBase& BaseVlm() noexcept;
/// The volumes database, which must be there: error 91.
[[nodiscard]] db::DataBase& BaseVlmOuverte();

/// Makes base the open database of that name (upper-cased unless typ is 3, MySQL), opening it when it is not open yet.
/// False, base being left alone, when it does not open: the user has been told then, unless the open raised an error,
/// which is dropped.
bool OuvreBase(ReferenceBase& base, std::string nom, std::int16_t typ);
/// Closes the database, drops it from the registry and sets base to null; nothing when it is null.
void FermeBase(ReferenceBase& base);
/// The open database of that name, upper-cased whatever the kind, so that one opened under a name with lower-case
/// letters is not found; or null.
[[nodiscard]] ReferenceBase BaseOuverte(const std::string& nom);
/// Position from 1 of the open database of exactly that name; 0 when there is none.
[[nodiscard]] std::int16_t IndiceBase(const std::string& nom);
/// The open database of that position from 1. Error 9 when there is none.
[[nodiscard]] const ReferenceBase& BasesOuvertes(std::int16_t position);
[[nodiscard]] std::int16_t NbBasesOuvertes() noexcept;

/// Tells the database layer who is connected, which databases are open and in which folder (absolute path) the program
/// lies.
void BrancheCouche(const std::string& dossierProgramme);

}  // namespace tamlo::app
