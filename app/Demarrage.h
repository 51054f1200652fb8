#pragma once

#include <string>

/// The start of the tool and its end. All state is process-wide and belongs to the user-interface thread.
namespace tamlo::app {

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

/// Tells the database layer who is connected, which databases are open and in which folder (absolute path) the program
/// lies.
void BrancheCouche(const std::string& dossierProgramme);

}  // namespace tamlo::app
