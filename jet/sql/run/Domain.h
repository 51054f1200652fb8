#pragma once

namespace jet::sql {

struct SessionState;

/// Makes known to the session's SQLite: jet_domain (aggregate, expression, domain and, perhaps, condition; all texts), and jet_identity, the last
/// number that a counter has given.
void RegisterDomainFunctions(SessionState& state);

}  // namespace jet::sql
