#include <openssl/evp.h>

#include "jet/page/crypto/Crypto.h"
#include "jet/value/Error.h"

namespace jet {
namespace {

void Must(int result) {
  if (result != 1) throw Error(ErrorCode::kUnsupported, "The library of cryptography has refused what an encrypted .accdb file takes");
}

const unsigned char* In(std::span<const std::byte> bytes) { return reinterpret_cast<const unsigned char*>(bytes.data()); }

const EVP_MD* DigestOf(HashKind kind) {
  switch (kind) {
    case HashKind::kSha1:
      return EVP_sha1();
    case HashKind::kSha256:
      return EVP_sha256();
    case HashKind::kSha384:
      return EVP_sha384();
    case HashKind::kSha512:
      break;
  }
  return EVP_sha512();
}

const EVP_CIPHER* CipherOf(AesMode mode, std::size_t keySize) {
  const bool ecb = mode == AesMode::kEcb;
  if (keySize == 16) return ecb ? EVP_aes_128_ecb() : EVP_aes_128_cbc();
  if (keySize == 24) return ecb ? EVP_aes_192_ecb() : EVP_aes_192_cbc();
  return ecb ? EVP_aes_256_ecb() : EVP_aes_256_cbc();
}

void ApplyAes(bool encrypt, AesMode mode, std::span<const std::byte> key, std::span<const std::byte> start, std::span<std::byte> bytes) {
  const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(EVP_CIPHER_CTX_new(), &EVP_CIPHER_CTX_free);
  const unsigned char* const chain = mode == AesMode::kEcb ? nullptr : In(start);
  Must(EVP_CipherInit_ex(context.get(), CipherOf(mode, key.size()), nullptr, In(key), chain, encrypt ? 1 : 0));
  Must(EVP_CIPHER_CTX_set_padding(context.get(), 0));
  auto* const out = reinterpret_cast<unsigned char*>(bytes.data());
  int done = 0;
  Must(EVP_CipherUpdate(context.get(), out, &done, In(bytes), static_cast<int>(bytes.size())));
  int rest = 0;
  Must(EVP_CipherFinal_ex(context.get(), out + done, &rest));
}

}  // namespace

struct Hasher::State {
  const EVP_MD* digest = nullptr;
  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context{EVP_MD_CTX_new(), &EVP_MD_CTX_free};
};

bool HasCrypto() noexcept { return true; }

Hasher::Hasher(HashKind kind) : state_(std::make_unique<State>()) { state_->digest = DigestOf(kind); }
Hasher::~Hasher() = default;

CryptoBytes Hasher::Of(std::initializer_list<std::span<const std::byte>> parts) {
  EVP_MD_CTX* const context = state_->context.get();
  Must(EVP_DigestInit_ex(context, state_->digest, nullptr));
  for (const auto& part : parts) Must(EVP_DigestUpdate(context, part.data(), part.size()));
  CryptoBytes hash(EVP_MAX_MD_SIZE);
  unsigned size = 0;
  Must(EVP_DigestFinal_ex(context, reinterpret_cast<unsigned char*>(hash.data()), &size));
  hash.resize(size);
  return hash;
}

void DecryptAes(AesMode mode, std::span<const std::byte> key, std::span<const std::byte> start, std::span<std::byte> bytes) {
  ApplyAes(false, mode, key, start, bytes);
}

void EncryptAes(AesMode mode, std::span<const std::byte> key, std::span<const std::byte> start, std::span<std::byte> bytes) {
  ApplyAes(true, mode, key, start, bytes);
}

}  // namespace jet
