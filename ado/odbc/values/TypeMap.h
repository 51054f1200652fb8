#pragma once

#include <cstdint>
#include <string>

#include "ado/Provider.h"
#include "ado/odbc/facts/DriverFacts.h"
#include "ado/odbc/statement/Statement.h"

namespace tamlo::ado::odbc {

/// The ADO description of a column as the driver describes it, or by its declared type name where that decides.
[[nodiscard]] FieldInfo ToFieldInfo(const ColumnDescription& column, const DriverFacts& facts);

/// The ADO type of an ODBC type.
[[nodiscard]] std::int16_t ToAdoType(std::int16_t sqlType, bool isUnsigned);

/// The backend's type for a new column, such as "VARCHAR(20)". Error 5 "Type n non géré" for a code that has none.
[[nodiscard]] std::string ColumnTypeText(const Column& column, const TypeTexts& types);

/// Bytes that a value of a fixed-length type takes, as ADO's DefinedSize gives it; 0 for the other types.
[[nodiscard]] std::int64_t FixedSize(std::int16_t type);

/// True for the whole numbers that can count.
[[nodiscard]] constexpr bool IsCountingType(std::int16_t type) noexcept {
  return type == adSmallInt || type == adInteger || type == adBigInt || type == adUnsignedInt || type == adUnsignedBigInt;
}

/// Sizes from which on texts (characters) and bytes are read in pieces instead of being bound.
constexpr std::int64_t kLongestBoundText = 2000;
constexpr std::int64_t kLongestBoundBytes = 4000;

}  // namespace tamlo::ado::odbc
