#pragma once

namespace jet {

struct Engine;

/// Adds what an empty .accdb has beyond the tables of an empty Jet 4 file: the list of complex columns and the models of the tables that hold
/// their values, with catalog rows and permissions. Inside the transaction that makes the file.
void AddAceSystemTables(Engine& engine);

}  // namespace jet
