#pragma once

#include <string>

/// The connected user, with whom databases are logged in to, and the ids of new rows. All process-wide.
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

/// The largest value of the first field of a table of the volumes database plus 1, or 1 when there is none. No
/// reservation. Error 9 for a table that the database does not list, 91 without a volumes database, else the query's.
[[nodiscard]] double IdSuivant(const std::string& table);

}  // namespace tamlo::app
