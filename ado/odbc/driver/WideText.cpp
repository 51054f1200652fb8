#include "ado/odbc/driver/WideText.h"

#include <algorithm>

#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

bool IsAscii(std::string_view text) {
  unsigned char all = 0;
  for (const char c : text) all = static_cast<unsigned char>(all | static_cast<unsigned char>(c));
  return all < 0x80;
}

}  // namespace

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

void AppendUtf16(std::vector<std::byte>& out, std::string_view text) {
  const std::u16string wide = ToUtf16(text);
  const auto* bytes = reinterpret_cast<const std::byte*>(wide.data());
  out.insert(out.end(), bytes, bytes + wide.size() * sizeof(char16_t));
}

void AppendUtf8(std::vector<std::byte>& out, std::string_view text) {
  std::string clean;
  if (!IsAscii(text)) {
    clean.reserve(text.size());
    while (!text.empty()) {
      const char32_t character = runtime::NextCharacter(text);
      runtime::AppendCharacter(clean, base::IsStrayByte(character) ? base::kReplacement : character);
    }
    text = clean;
  }
  const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
  out.insert(out.end(), bytes, bytes + text.size());
}

}  // namespace tamlo::ado::odbc
