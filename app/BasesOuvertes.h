#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "db/DataBase.h"

/// The registry of open databases: one name is opened once. Process-wide, and the user-interface thread's.
namespace tamlo::app {

/// A reference to a database. Shared between the registry and every caller that OuvreBase gave it to: one of them may
/// close the database while others still hold it, and these must find a closed database, not a dangling reference.
using ReferenceBase = std::shared_ptr<db::DataBase>;

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

/// Closes all of them and forgets them, the volumes database too. Failures to close are dropped.
void LibereBases();

}  // namespace tamlo::app
