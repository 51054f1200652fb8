#pragma once

#include <cstdint>
#include <string>

/// The user rows of the volumes database (error 91 while it is not open): Utl, and VlmUtl, which links users to volumes. No transaction is put
/// around them. Passwords are clear here and stand encoded in the rows: the code table must be there (error 9).
namespace tamlo::app {

/// What the form gives to be saved.
struct Utilisateur {
  std::string nom;
  std::string motPasse;     ///< clear
  double idVlm = 0;         ///< the volume that the user gets
  std::int16_t niveau = 0;  ///< with this level
};

/// The stored password of the user of that name; "" when there is none of that name. FinProgramme, the user being told, when the search for the
/// name finds another user; else the query's errors.
[[nodiscard]] std::string LitMotPasse(const std::string& nom);

/// Writes the user's row, under a new id or, where the name is known, its own, then the link to the volume where it is missing: a link that
/// exists keeps its level. False when the database refused the user's row, of which nothing else tells: the link is written all the same.
/// FinProgramme, nothing being written, when the search for the name finds another user; every other failure is raised.
[[nodiscard]] bool SauveUtilisateur(const Utilisateur& utilisateur);

/// The largest value of the first field of a table of the volumes database plus 1, or 1 when there is none. No
/// reservation. Error 9 for a table that the database does not list, 91 without a volumes database, else the query's.
[[nodiscard]] double IdSuivant(const std::string& table);

}  // namespace tamlo::app
