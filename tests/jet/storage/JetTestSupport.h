#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jet/Database.h"
#include "jet/file/MemoryFileSystem.h"
#include "jet/table/Table.h"

namespace jet::tests {

/// A file system in memory and options that use it.
struct World {
  MemoryFileSystem files;
  OpenOptions options;

  World() {
    options.fileSystem = &files;
    options.lockWaitMilliseconds = 20;
  }
  std::unique_ptr<Database> Create(const std::string& path = "test.mdb", int version = 4) {
    return Database::Create(path, options, {}, version);
  }
  std::unique_ptr<Database> Open(const std::string& path = "test.mdb", OpenMode mode = OpenMode::kExclusive) {
    OpenOptions opening = options;
    opening.mode = mode;
    return Database::Open(path, opening);
  }
};

ColumnDef Column(std::string name, ColumnType type, std::uint16_t size = 0);
ColumnDef Counter(std::string name);
IndexSpec PrimaryKey(std::string column);
IndexSpec Index(std::string name, std::vector<std::string> columns, bool unique = false);

/// Columns Id (counter, primary key), Name (text 50, index), Note (memo), Flag (Yes/No), Amount (double).
TableSpec PeopleTable(const std::string& name = "People");
std::vector<Value> Person(const std::string& name, const std::string& note = "note", bool flag = false, double amount = 0);

/// All findings in one text; empty when sound.
std::string Findings(Database& database);
/// All rows as texts, in the order of the file.
std::vector<std::string> Rows(Table& table);
/// One value per line "column=value".
std::string Describe(const std::vector<Value>& values);

/// Runs the call and gives the code of the jet::Error that it raises; fails the test when there is none.
template <typename Call>
std::optional<ErrorCode> CodeOf(Call call) {
  try {
    call();
  } catch (const Error& error) {
    return error.Code();
  }
  return std::nullopt;
}
template <typename Call>
std::string TextOf(Call call) {
  try {
    call();
  } catch (const Error& error) {
    return error.what();
  }
  return {};
}

}  // namespace jet::tests
