#pragma once

#include <cstdint>
#include <string>

namespace tamlo::db {
class DataBase;
}

/// The guards around what the parameters say and what the database answers. Each shows its message, in a box titled "Programme interrompu",
/// and raises FinProgramme with status 1: nothing has been written then.
namespace tamlo::app {

/// The longest name of a user, in characters.
inline constexpr std::int16_t kMaxNom = 30;

/// The parameter of that position holds a double quote, which no parameter can carry; position 0: one is not closed.
[[noreturn]] void RefuseGuillemet(std::int16_t position);
/// The name of the user to create: neither blank nor longer than kMaxNom, or the opening would look for another user than the save.
void ExigeNom(const std::string& nom);
/// What the box holds is the name, whole.
void ExigeNomTenu(const std::string& tenu, const std::string& nom);
/// The row that the search for a name found carries it, case and trailing blanks aside: a name is put into the search as it stands, and what
/// it holds may make the search find anybody. The name found is not shown, which the search may have taken from anywhere.
void ExigeMemeNom(const std::string& trouve, const std::string& cherche);

/// Tells, before the operator types anything, that the database takes no changes, where it can be known. Raises nothing: whoever goes on is
/// refused at the save.
void AnnonceLectureSeule(db::DataBase& base);

}  // namespace tamlo::app
