#pragma once

#include <string>
#include <vector>

#include "schema/Ddl.h"

namespace tamlo::tests {

/// Something in which two databases differ.
struct Difference {
  std::string table;   ///< as the original calls it
  std::string column;  ///< empty for the table itself, its indexes and relations
  std::string item;    ///< name of an index or relation, else empty
  std::string text;
};

/// What a database that was made by the script is to be, once read back: under the names that the script gives, and with what engines add by themselves
/// (the table of it is in Difference.cpp).
[[nodiscard]] schema::Database Expected(const schema::Database& original, const schema::Script& script, const schema::Dialect& dialect);

/// In which the databases differ that no finding of the script tells.
[[nodiscard]] std::vector<Difference> Differences(const schema::Database& original, schema::Database expected, schema::Database read,
                                                  const schema::Script& script);

}  // namespace tamlo::tests
