#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "jet/Database.h"

namespace jet::tests {

using Random = std::mt19937;

/// Below limit, from 0.
std::size_t Below(Random& random, std::size_t limit);
IndexSpec IndexOf(std::string name, std::vector<IndexSpec::Part> parts);
/// A text of characters that the General order treats in all its ways; wide: also of other alphabets.
std::string RandomText(Random& random, std::size_t longest, bool wide, int version = 4);
/// Cuts a text to so many UTF-16 units.
std::string Cut(const std::string& text, std::size_t units);
/// A column of every type.
std::vector<ColumnDef> AllTypes(int version = 4);
/// Inserts, changes and deletes; what a rule of the table refuses is one less done.
void Exercise(Database& database, const std::string& name, Random& random, std::size_t steps);

}  // namespace jet::tests
