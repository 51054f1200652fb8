#include "ado/odbc/WideText.h"

#include <algorithm>

#include "runtime/Text.h"

namespace tamlo::ado::odbc {

std::string ToUtf8(const char16_t* units, std::size_t count) {
  // Two plain loops: the compiler turns them into wide instructions.
  char16_t all = 0;
  for (std::size_t i = 0; i < count; ++i) all = static_cast<char16_t>(all | units[i]);
  if (all >= 0x80) return runtime::FromUtf16({units, count});
  std::string out(count, '\0');
  for (std::size_t i = 0; i < count; ++i) out[i] = static_cast<char>(units[i]);
  return out;
}

void AssignUtf16(std::u16string& out, std::string_view text) {
  out.resize(text.size());
  std::size_t plain = 0;
  for (; plain < text.size() && static_cast<unsigned char>(text[plain]) < 0x80; ++plain) out[plain] = static_cast<char16_t>(text[plain]);
  if (plain == text.size()) return;
  out.resize(plain);
  out += runtime::ToUtf16(text.substr(plain));
}

std::u16string ToUtf16(std::string_view text) {
  std::u16string out;
  AssignUtf16(out, text);
  return out;
}

}  // namespace tamlo::ado::odbc
