#include "cli/Markup.h"

#include "base/Utf8.h"

namespace tamlo::cli {

std::string Markup(std::string_view text) {
  std::string escaped;
  while (!text.empty()) {
    const char32_t c = base::TakeCharacter(text);
    if (c == '&') {
      escaped += "&amp;";
    } else if (c == '<') {
      escaped += "&lt;";
    } else if (c == '>') {
      escaped += "&gt;";
    } else if (c == '"') {
      escaped += "&quot;";
    } else if (c == '\t' || c == '\n' || c == '\r') {
      escaped += ' ';
    } else if (c < 0x20 || base::IsStrayByte(c) || c == 0xFFFE || c == 0xFFFF) {
      base::AppendCharacter(escaped, base::kReplacement);
    } else {
      base::AppendCharacter(escaped, c);
    }
  }
  return escaped;
}

}  // namespace tamlo::cli
