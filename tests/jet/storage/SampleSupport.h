#pragma once

#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "jet/Database.h"

namespace jet::tests {

/// What a database holds: table -> rows -> column -> value, names and values as tests/jet/readers/dump.mjs prints them.
using Contents = std::map<std::string, std::vector<std::map<std::string, std::string>>>;
[[nodiscard]] Contents ByUs(Database& database);

/// Failures of the test where mdb-reader reads user tables of the file otherwise than the engine.
void ExpectSameAsOtherReader(Database& database, const std::string& path, const std::string& password = {});
/// The same of mdb-export, for the types that it knows.
void ExpectSameAsExport(Database& database, const std::string& path);

/// What can be done to any table, whatever rules it has: an operation that a rule forbids is one less done.
struct Done {
  int inserted = 0, updated = 0, deleted = 0, refused = 0;
  std::string lastRefusal;  ///< EditAtRandom: what the last refused operation was told
};

/// Inserts, changes and deletes rows, then makes and drops columns and indexes of a table.
void Work(Database& database, const std::string& name, Done& done);

/// All rows of all tables but those, system tables too, and what the catalog says of all objects but them.
[[nodiscard]] std::map<std::string, std::vector<std::string>> AllBut(Database& database, const std::set<std::string>& edited);
/// The tables that a change of this one may reach through relationships, itself included.
[[nodiscard]] std::set<std::string> Related(Database& database, const std::string& table);
void EditAtRandom(Database& database, const std::string& name, std::mt19937& random, Done& done);

}  // namespace jet::tests
