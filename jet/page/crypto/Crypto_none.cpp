// Without a library of cryptography.
#include "jet/page/crypto/Crypto.h"
#include "jet/value/Error.h"

namespace jet {
namespace {

[[noreturn]] void Refuse() { throw Error(ErrorCode::kUnsupported, "This program was built without what encrypted .accdb files take"); }

}  // namespace

struct Hasher::State {};

bool HasCrypto() noexcept { return false; }
Hasher::Hasher(HashKind /*kind*/) { Refuse(); }
Hasher::~Hasher() = default;
CryptoBytes Hasher::Of(std::initializer_list<std::span<const std::byte>> /*parts*/) { Refuse(); }
void DecryptAes(AesMode /*mode*/, std::span<const std::byte> /*key*/, std::span<const std::byte> /*start*/,
                std::span<std::byte> /*bytes*/) {
  Refuse();
}
void EncryptAes(AesMode /*mode*/, std::span<const std::byte> /*key*/, std::span<const std::byte> /*start*/,
                std::span<std::byte> /*bytes*/) {
  Refuse();
}

}  // namespace jet
