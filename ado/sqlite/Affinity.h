#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tamlo::ado::sqlite {

/// What SQLite makes of values that are put into a column.
enum class Affinity : std::uint8_t {
  kNone,     ///< any value stays as it is
  kText,     ///< numbers become texts of 15 digits
  kNumeric,  ///< texts that read as numbers become whole numbers of 64 bits or doubles
  kReal,     ///< and whole numbers doubles too
};

/// As SQLite finds it in the words of a column's declared type; kNone where there is none.
[[nodiscard]] Affinity AffinityOf(std::string_view declaredType);
/// The type of a field with which such a column is shown.
[[nodiscard]] std::int16_t FieldTypeOf(std::string_view declaredType);
/// Whether the words mean numbers, truth values or days; SQLite makes numbers of texts in columns of other types too ("STRING").
[[nodiscard]] bool SaysNumber(std::string_view declaredType);
/// Whether truth values stand in the column as 1 and 0; else as the numbers -1 and 0.
[[nodiscard]] bool IsTruth(std::string_view declaredType);

}  // namespace tamlo::ado::sqlite
