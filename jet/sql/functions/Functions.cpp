#include "jet/sql/functions/Functions.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "jet/sql/functions/Support.h"
#include "jet/value/TextOrder.h"

namespace jet::sql {

namespace {

using functions::Entry;

int Collate(void*, int leftSize, const void* left, int rightSize, const void* right) {
  try {
    return CompareText({static_cast<const char*>(left), static_cast<std::size_t>(leftSize)},
                       {static_cast<const char*>(right), static_cast<std::size_t>(rightSize)});
  } catch (...) {  // out of memory: SQLite gives no way to say so here
    return std::memcmp(left, right, static_cast<std::size_t>(std::min(leftSize, rightSize)));
  }
}

std::array<std::span<const Entry>, 5> AllFunctions() {
  return {functions::OperatorFunctions(), functions::ConversionFunctions(), functions::TextFunctions(), functions::NumberFunctions(),
          functions::DateFunctions()};
}

}  // namespace

const FunctionInfo* FindFunction(std::string_view foldedName) {
  for (const std::span<const Entry> list : AllFunctions()) {
    for (const Entry& entry : list) {
      if (entry.info.name == foldedName) return &entry.info;
    }
  }
  return nullptr;
}

void RegisterFunctions(sqlite3* connection, const TextSettings& settings) {
  auto* data = const_cast<TextSettings*>(&settings);
  for (const std::span<const Entry> list : AllFunctions()) {
    for (const Entry& entry : list) {
      const int flags = SQLITE_UTF8 | (entry.steady ? SQLITE_DETERMINISTIC : 0);
      for (int count = entry.info.least; count <= entry.info.most; ++count)
        sqlite3_create_function_v2(connection, entry.info.sqlName.data(), count, flags, data, entry.native, nullptr, nullptr, nullptr);
    }
  }
  functions::RegisterAggregates(connection, data);
  sqlite3_create_collation(connection, "JET", SQLITE_UTF8, nullptr, Collate);
}

}  // namespace jet::sql
