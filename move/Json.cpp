#include "move/Json.h"

namespace tamlo::move {

void AppendJson(std::string& out, std::string_view text) {
  static constexpr std::string_view kDigits = "0123456789abcdef";
  out += '"';
  for (const char c : text) {
    const auto code = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (code < 0x20) {
      out += "\\u00";
      out += kDigits[code >> 4U];
      out += kDigits[code & 15U];
    } else {
      out += c;
    }
  }
  out += '"';
}

}  // namespace tamlo::move
