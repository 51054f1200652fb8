#pragma once

#include <string>

/// The connected user, with whom databases are logged in to. Process-wide.
namespace tamlo::app {

/// Records the connected user. Nothing when the id is the recorded one. While the volumes database is not open, name
/// and encoded password are kept as given and the id is not; once it is open, the id is kept and name and password come
/// from its row of Utl (both empty when there is none), whatever was given. Errors of that query go to the caller, the
/// id being kept.
void ConnecteUtl(double id, const std::string& nom, const std::string& motPasseCode);
/// Id of the connected user: 0 unless it was read from the database.
[[nodiscard]] double IdUtlConnecte() noexcept;
[[nodiscard]] const std::string& NomUtlConnecte() noexcept;
/// The connected user's password in clear. Leaves no password code table behind, whoever built it.
[[nodiscard]] std::string PwdUtlConnecte();
/// Back to the state of a start: nobody connected.
void OublieUtlConnecte() noexcept;

}  // namespace tamlo::app
