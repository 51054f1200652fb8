#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

#include "ado/BulkInsert.h"
#include "ado/Connection.h"
#include "ado/Recordset.h"
#include "runtime/Error.h"
#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {

/// A file that our connection writes and SQLite's own shell makes and reads.
class SqliteFile : public testing::Test {
 protected:
  SqliteFile();
  /// Opens the connection on the file.
  void Connect(const std::string& path);
  /// What the shell says to these statements, on the same file.
  [[nodiscard]] std::string Shell(const std::string& statements) const;
  /// Writes one row into a table's columns.
  void Add(const std::string& table, const std::vector<std::string>& columns, std::initializer_list<runtime::Variant> row);
  template <typename Call>
  static runtime::PendingError ErrorOf(Call&& call) {
    return runtime::IgnoringErrors(call);
  }

  TemporaryFolder folder;
  std::string file;
  ado::Connection connection;
};

}  // namespace tamlo::tests
