#pragma once

#include <cstddef>
#include <string>

#include "jet/value/Error.h"

/// How much a statement may name.
namespace jet::sql {

constexpr std::size_t kMostColumns = 255;  // as in a table
constexpr std::size_t kMostTables = 64;    // that SQLite joins
// Of the text for SQLite, about: columns that use each other by their names can double it again and again.
constexpr std::size_t kLongest = 16000000;

[[nodiscard]] inline Error TooMany(const char* message, std::size_t position) {
  return {ErrorCode::kLimit, std::string(message) + " (at character " + std::to_string(position) + ")"};
}

}  // namespace jet::sql
