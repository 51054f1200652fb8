#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "jet/Database.h"

namespace jet::tests {

/// What using a damaged file came to.
struct Outcome {
  std::size_t rows = 0;      ///< rows that could be read
  std::size_t errors = 0;    ///< jet::Error raised
  std::size_t findings = 0;  ///< of the structural check after the changes
  std::string unplaced;      ///< text of a kDamaged that names no page: a mistake of the engine
};

/// Opens the file and uses everything in it: reads all tables, columns, indexes, properties, queries and relationships, runs the
/// structural check, then, where the file lets itself be written, changes rows, columns, indexes and tables. Only jet::Error is caught.
Outcome UseEverything(const std::vector<std::byte>& file);

/// An Access file with all that the engine can write, for tests without samples. UseEverything knows the password kPassword.
std::vector<std::byte> MakeFile(const Protection& protection = {}, int version = 4);
inline constexpr char kPassword[] = "Sésame";

std::vector<std::byte> Load(const std::filesystem::path& path);

}  // namespace jet::tests
