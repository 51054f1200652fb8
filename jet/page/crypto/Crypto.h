#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <span>
#include <vector>

namespace jet {

using CryptoBytes = std::vector<std::byte>;

enum class HashKind : std::uint8_t { kSha1, kSha256, kSha384, kSha512 };
enum class AesMode : std::uint8_t { kEcb, kCbc };

/// Whether this build holds the library that what follows calls. Without it they are kUnsupported.
[[nodiscard]] bool HasCrypto() noexcept;

/// A hash that is asked for often.
class Hasher {
 public:
  explicit Hasher(HashKind kind);
  ~Hasher();
  Hasher(const Hasher&) = delete;
  Hasher& operator=(const Hasher&) = delete;
  /// Of the parts one behind the other.
  [[nodiscard]] CryptoBytes Of(std::initializer_list<std::span<const std::byte>> parts);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// Decrypts whole blocks of 16 bytes in place; the key has 16, 24 or 32 bytes, the start of a chain 16 (none for kEcb).
void DecryptAes(AesMode mode, std::span<const std::byte> key, std::span<const std::byte> start, std::span<std::byte> bytes);
/// The way back.
void EncryptAes(AesMode mode, std::span<const std::byte> key, std::span<const std::byte> start, std::span<std::byte> bytes);

}  // namespace jet
