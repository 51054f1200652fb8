#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "ado/odbc/values/ParameterShape.h"

namespace tamlo::ado::odbc {

/// Error -2147467259: the value of the shape's column, and why it is refused.
[[noreturn]] void Refuse(const ParameterShape& shape, const std::string& why);
/// Refuses what drivers would make anything of: bytes that are no character, and a character 0 where texts end at it.
void CheckCharacters(std::string_view text, const ParameterShape& shape);
/// Refuses so many characters or bytes where the column takes fewer.
void CheckLength(std::size_t length, const ParameterShape& shape);
/// A number or a structure as the driver's own program would hold it.
template <typename T>
void Append(std::vector<std::byte>& out, const T& value) {
  const auto* bytes = reinterpret_cast<const std::byte*>(&value);
  out.insert(out.end(), bytes, bytes + sizeof value);
}
/// In the units of the shape's texts.
void AppendText(std::vector<std::byte>& out, std::string_view text, const ParameterShape& shape);
/// Any value as a text. Error 13 for bytes.
[[nodiscard]] std::string TextOf(const Variant& value);

}  // namespace tamlo::ado::odbc
