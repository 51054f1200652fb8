#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "jet/table/TableDefinition.h"
#include "jet/value/Value.h"

namespace jet {

/// The bytes under which a row stores a value of the column's own type; not for Yes/No and long columns. Errors: kValueTooLong, kUnsupported.
void StoreValue(const Value& value, const TableDefinition::Column& column, std::string& stored);

/// The values of 17 and of 16 stored bytes.
[[nodiscard]] Numeric LoadNumeric(const std::byte* bytes, std::uint8_t scale);
[[nodiscard]] Guid LoadGuid(const std::byte* bytes);

constexpr std::size_t kExtendedDateSize = 42;
constexpr std::size_t kCalculatedNumericSize = 16;
/// The value of a numeric column, whatever its shape.
[[nodiscard]] Numeric NumericIn(const TableDefinition::Column& column, const std::byte* bytes);
/// Appends an extended date ("0000000000000737592:0000000000000000000:7", days since 0001-01-01 and 100 ns) as YYYY-MM-DD HH:MM:SS.fffffff.
/// False, and nothing is appended, where the bytes are none.
[[nodiscard]] bool AppendExtendedDate(std::span<const std::byte> stored, std::string& text);

}  // namespace jet
