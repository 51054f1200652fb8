#include "base/Base64.h"

namespace base {

std::optional<std::vector<std::byte>> ReadBase64(std::string_view text) {
  constexpr std::string_view kSigns = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  if (text.size() % 4 != 0) return std::nullopt;
  const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
  std::vector<std::byte> bytes;
  unsigned group = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool sign = i < text.size() - padding;
    const auto at = kSigns.find(text[i]);
    if (sign && at == std::string_view::npos) return std::nullopt;
    group = group << 6U | (sign ? static_cast<unsigned>(at) : 0U);
    if (i % 4 != 3) continue;
    const std::size_t there = i + 1 == text.size() ? 3 - padding : 3;
    for (std::size_t k = 0; k < there; ++k) bytes.push_back(static_cast<std::byte>(group >> (16U - 8U * k) & 0xFFU));
    group = 0;
  }
  return bytes;
}

}  // namespace base
