#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace jet {

// Numbers in pages are little-endian (index entries apart). The callers have checked that the bytes are there.

template <typename T>
[[nodiscard]] inline T LoadLittle(const std::byte* bytes) noexcept {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  if constexpr (std::endian::native == std::endian::big) {
    auto* raw = reinterpret_cast<std::byte*>(&value);
    for (std::size_t i = 0; i < sizeof value / 2; ++i) std::swap(raw[i], raw[sizeof value - 1 - i]);
  }
  return value;
}

template <typename T>
inline void StoreLittle(std::byte* bytes, T value) noexcept {
  if constexpr (std::endian::native == std::endian::big) {
    auto* raw = reinterpret_cast<std::byte*>(&value);
    for (std::size_t i = 0; i < sizeof value / 2; ++i) std::swap(raw[i], raw[sizeof value - 1 - i]);
  }
  std::memcpy(bytes, &value, sizeof value);
}

[[nodiscard]] inline std::uint8_t Load8(const std::byte* bytes) noexcept { return static_cast<std::uint8_t>(*bytes); }
[[nodiscard]] inline std::uint16_t Load16(const std::byte* bytes) noexcept { return LoadLittle<std::uint16_t>(bytes); }
[[nodiscard]] inline std::uint32_t Load32(const std::byte* bytes) noexcept { return LoadLittle<std::uint32_t>(bytes); }
[[nodiscard]] inline std::uint64_t Load64(const std::byte* bytes) noexcept { return LoadLittle<std::uint64_t>(bytes); }
inline void Store8(std::byte* bytes, std::uint8_t value) noexcept { *bytes = static_cast<std::byte>(value); }
inline void Store16(std::byte* bytes, std::uint16_t value) noexcept { StoreLittle(bytes, value); }
inline void Store32(std::byte* bytes, std::uint32_t value) noexcept { StoreLittle(bytes, value); }
inline void Store64(std::byte* bytes, std::uint64_t value) noexcept { StoreLittle(bytes, value); }

}  // namespace jet
