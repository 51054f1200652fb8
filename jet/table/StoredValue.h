#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "jet/table/TableDefinition.h"
#include "jet/value/Value.h"

namespace jet {

/// The bytes under which a row or a long value stores a text of the column. Errors: those of ToStoredText; kUnsupported, naming the column,
/// for a character that the code page of a Jet 3 file does not have.
[[nodiscard]] std::string StoredText(const std::string& text, const TableDefinition::Column& column, bool compress);
/// The bytes under which a row stores a value of the column's own type; not for Yes/No and long columns. Errors: kValueTooLong, kUnsupported.
void StoreValue(const Value& value, const TableDefinition::Column& column, std::string& stored);

/// The values of 17 and of 16 stored bytes.
[[nodiscard]] Numeric LoadNumeric(const std::byte* bytes, std::uint8_t scale);
[[nodiscard]] Guid LoadGuid(const std::byte* bytes);

constexpr std::size_t kCalculatedNumericSize = 16;
/// The value of a numeric column, whatever its shape.
[[nodiscard]] Numeric NumericIn(const TableDefinition::Column& column, const std::byte* bytes);

}  // namespace jet
