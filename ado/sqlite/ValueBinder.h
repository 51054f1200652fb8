#pragma once

#include <sqlite3.h>

#include <string>

#include "ado/Types.h"
#include "ado/sqlite/Affinity.h"

namespace tamlo::ado::sqlite {

/// A column into which values go.
struct TargetColumn {
  std::string name;
  Affinity affinity = Affinity::kNone;
  bool number = false;
  bool truth = false;

  TargetColumn(std::string columnName, std::string_view declaredType)
      : name(std::move(columnName)), affinity(AffinityOf(declaredType)), number(SaysNumber(declaredType)), truth(IsTruth(declaredType)) {}
};

/// Gives a statement its parameter number `place` (from 1) as the column keeps it: a null for Empty and Null, days as
/// YYYY-MM-DD HH:MM:SS[.mmm], exact numbers in digits. The value must outlive the statement's run. Error kProviderFailure, naming the column,
/// for what would stand there as another one: exact numbers of more than 15 digits among numbers, texts like "007" where SQLite makes numbers of texts though the
/// column's type does not say so, what is no number, days that are not to be
/// written, bytes that are no characters.
void Bind(sqlite3_stmt* statement, int place, const TargetColumn& column, const Variant& value);

}  // namespace tamlo::ado::sqlite
