#pragma once

#include <span>
#include <string>

#include "jet/value/Value.h"

namespace jet::tests {

/// "7F 4A 01 00"
inline std::string Hex(std::span<const std::byte> bytes) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const std::byte byte : bytes) {
    if (!text.empty()) text += ' ';
    text += kDigits[std::to_integer<unsigned>(byte) >> 4];
    text += kDigits[std::to_integer<unsigned>(byte) & 15];
  }
  return text;
}

}  // namespace jet::tests
