#include "ado/odbc/values/TextEncoding.h"

#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/driver/WideText.h"
#include "base/Utf8.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {

using runtime::Error;

void Refuse(const ParameterShape& shape, const std::string& why) {
  throw Error(runtime::kProviderFailure, "La valeur du champ " + shape.column + " " + why + ".", "odbc");
}

void CheckCharacters(std::string_view text, const ParameterShape& shape) {
  if (!shape.values.keepsNul && text.find('\0') != std::string_view::npos) {
    Refuse(shape, "contient un caractère nul, que la base ne garderait pas");
  }
  unsigned char all = 0;
  for (const char c : text) all = static_cast<unsigned char>(all | static_cast<unsigned char>(c));
  if (all < 0x80) return;
  while (!text.empty()) {
    if (base::IsStrayByte(runtime::NextCharacter(text))) Refuse(shape, "contient des octets qui ne sont pas un caractère");
  }
}

void AppendText(std::vector<std::byte>& out, std::string_view text, const ParameterShape& shape) {
  if (shape.nativeType == SQL_C_CHAR) {
    AppendUtf8(out, text);
  } else {
    AppendUtf16(out, text);
  }
}

std::string TextOf(const Variant& value) {
  if (const auto* guid = value.If<runtime::Guid>()) return guid->text;
  if (const auto* decimal = value.If<runtime::Decimal>()) return decimal->text;
  if (value.Is<runtime::Bytes>()) throw Error(runtime::kTypeMismatch);
  return runtime::ToText(value);
}

void CheckLength(std::size_t length, const ParameterShape& shape) {
  if (shape.limit <= 0 || static_cast<std::int64_t>(length) <= shape.limit) return;
  throw Error(runtime::kProviderFailure,
              "La valeur du champ " + shape.column + " est trop longue (" + std::to_string(length) + " au lieu de " +
                  std::to_string(shape.limit) + " au plus).",
              "odbc");
}

}  // namespace tamlo::ado::odbc
