#pragma once

#include <cstdint>

namespace tamlo::db::kinds {

class Moteur;

/// What is known of the kind of that number (DataBase::Ouvre); every other number is generic ODBC. Lives as long as the process.
[[nodiscard]] const Moteur& MoteurDe(std::int16_t kind);

}  // namespace tamlo::db::kinds
