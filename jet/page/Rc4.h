#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace jet {

/// The stream cipher RC4, as Access files use it: over the head of page 0 under a key that is the same everywhere, over whole pages under
/// keys of their own. It protects nothing that matters today.
class Rc4 {
 public:
  /// key: 1 to 256 bytes.
  explicit Rc4(std::span<const std::uint8_t> key) noexcept;
  /// Lays the next bytes of the stream over these; done twice from the same place it undoes itself.
  void Apply(std::span<std::byte> bytes) noexcept;

 private:
  std::array<std::uint32_t, 256> state_;  ///< bytes; whole words are faster to work with
  std::uint8_t i_ = 0;
  std::uint8_t j_ = 0;
};

}  // namespace jet
