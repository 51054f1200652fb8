#include "ado/odbc/WideText.h"

#include <algorithm>

#include "runtime/Text.h"

namespace tamlo::ado::odbc {

std::string ToUtf8(const char16_t* units, std::size_t count) {
  std::string out(count, '\0');
  std::size_t plain = 0;
  for (; plain < count && units[plain] < 0x80; ++plain) out[plain] = static_cast<char>(units[plain]);
  if (plain == count) return out;
  out.resize(plain);
  out += runtime::FromUtf16({units + plain, count - plain});
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
