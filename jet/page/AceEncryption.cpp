#include "jet/page/AceEncryption.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

#include "base/Base64.h"
#include "base/Numbers.h"
#include "jet/page/Rc4.h"
#include "jet/page/crypto/Crypto.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"
#include "jet/value/Text.h"

namespace jet {
namespace {

using Span = std::span<const std::byte>;

constexpr std::size_t kBlock = 16;
constexpr std::uint32_t kMostSpins = 10000000;  // that anybody asks for

/// Four bytes, the lowest first.
std::array<std::byte, 4> Little(std::uint32_t number) {
  std::array<std::byte, 4> bytes{};
  Store32(bytes.data(), number);
  return bytes;
}

Span BytesOf(std::string_view text) { return std::as_bytes(std::span(text)); }

Error Damaged(const std::string& how) {
  return {ErrorCode::kDamaged, "What page 0 says of the encryption " + how, 0, FileHeader::kEncryptionOffset};
}

/// Leaves nothing of a text behind that is not to lie about in memory.
struct WipedAtEnd {
  std::string& text;
  ~WipedAtEnd() {
    volatile char* const letters = text.data();
    for (std::size_t i = 0; i < text.size(); ++i) letters[i] = '\0';
  }
};

/// What page 0 says of the encryption, read from its front.
class Record {
 public:
  explicit Record(Span bytes) : bytes_(bytes) {}
  std::uint16_t U16() { return Load16(Take(2).data()); }
  std::uint32_t U32() { return Load32(Take(4).data()); }
  Span Take(std::size_t size) {
    if (size > bytes_.size()) throw Damaged("ends too early");
    const Span taken = bytes_.first(size);
    bytes_ = bytes_.subspan(size);
    return taken;
  }
  [[nodiscard]] std::string_view Rest() const { return {reinterpret_cast<const char*>(bytes_.data()), bytes_.size()}; }

 private:
  Span bytes_;
};

/// Version x.2: SHA-1 of salt and password, and of it and the page's key.
struct ProviderKeys {
  CryptoBytes base;
  std::size_t bytes = 0;
  Hasher sha1{HashKind::kSha1};

  /// The key of RC4; one of 40 bits has eleven zeros behind it.
  CryptoBytes Rc4Key(std::uint32_t block) {
    CryptoBytes key = sha1.Of({base, Little(block)});
    key.resize(bytes);
    if (bytes == 5) key.resize(16);
    return key;
  }
  CryptoBytes AesKey(std::uint32_t block) {
    const CryptoBytes last = sha1.Of({base, Little(block)});
    CryptoBytes key;
    for (const unsigned filler : {0x36U, 0x5CU}) {
      std::array<std::byte, 64> mixed;
      mixed.fill(std::byte(filler));
      for (std::size_t i = 0; i < last.size(); ++i) mixed[i] ^= last[i];
      const CryptoBytes half = sha1.Of({mixed});
      key.insert(key.end(), half.begin(), half.end());
    }
    key.resize(bytes);
    return key;
  }
};

Rc4 StreamOf(const CryptoBytes& key) { return Rc4(std::span(reinterpret_cast<const std::uint8_t*>(key.data()), key.size())); }

class ProviderPages final : public PageCodec {
 public:
  ProviderPages(std::unique_ptr<ProviderKeys> keys, bool aes, std::uint32_t fileKey)
      : keys_(std::move(keys)), aes_(aes), fileKey_(fileKey) {}
  void Decode(PageNumber page, std::span<std::byte> bytes) override {
    if (aes_) return DecryptAes(AesMode::kEcb, keys_->AesKey(fileKey_ ^ page), {}, bytes);
    StreamOf(keys_->Rc4Key(fileKey_ ^ page)).Apply(bytes);
  }
  void Encode(PageNumber page, std::span<std::byte> bytes) override {
    if (aes_) return EncryptAes(AesMode::kEcb, keys_->AesKey(fileKey_ ^ page), {}, bytes);
    Decode(page, bytes);
  }

 private:
  std::unique_ptr<ProviderKeys> keys_;
  bool aes_;
  std::uint32_t fileKey_;
};

/// Whether the keys are those under which sixteen bytes and their hash were encrypted.
bool IsRight(ProviderKeys& keys, bool aes, CryptoBytes check) {
  if (aes) {
    DecryptAes(AesMode::kEcb, keys.AesKey(0), {}, check);
  } else {
    StreamOf(keys.Rc4Key(0)).Apply(check);
  }
  const CryptoBytes wanted = keys.sha1.Of({Span(check).first(kBlock)});
  return std::equal(wanted.begin(), wanted.end(), check.begin() + kBlock);
}

/// Null for a wrong password.
std::unique_ptr<PageCodec> UnlockProvider(Record record, const std::string& password, std::uint32_t fileKey, const std::string& path) {
  constexpr std::uint32_t kRc4 = 0x6801, kAes128 = 0x660E, kAes256 = 0x6610;
  constexpr std::uint32_t kDefaultBits = 40;
  constexpr std::uint32_t kSpinsOfDocument = 50000;
  (void)record.U32();  // flags
  Record header(record.Take(record.U32()));
  (void)header.Take(8);
  const std::uint32_t algorithm = header.U32();
  (void)header.U32();  // the hash: SHA-1
  const std::uint32_t bits = header.U32();
  const bool aes = algorithm >= kAes128 && algorithm <= kAes256;
  if (algorithm != kRc4 && !aes)
    throw Error(ErrorCode::kUnsupported, "\"" + path + "\" is encrypted by a method that is not known (" + std::to_string(algorithm) + ")");
  auto keys = std::make_unique<ProviderKeys>();
  keys->bytes = (bits == 0 ? kDefaultBits : bits) / 8;
  const bool fits = aes ? keys->bytes == 16 || keys->bytes == 24 || keys->bytes == 32 : keys->bytes >= 5 && keys->bytes <= 16;
  if (!fits) throw Damaged("names no size of a key");
  const Span salt = record.Take(record.U32() == kBlock ? kBlock : SIZE_MAX);
  const Span verifier = record.Take(kBlock);
  const std::uint32_t hashSize = record.U32();
  const Span hash = record.Take(aes ? 2 * kBlock : hashSize);
  if (hashSize != 20) throw Damaged("has an impossible hash");

  CryptoBytes check(verifier.begin(), verifier.end());
  check.insert(check.end(), hash.begin(), hash.end());
  keys->base = keys->sha1.Of({salt, BytesOf(password)});
  bool right = IsRight(*keys, aes, check);
  // Access does without what the document of the method asks for.
  if (!right && aes) {
    for (std::uint32_t i = 0; i < kSpinsOfDocument; ++i) keys->base = keys->sha1.Of({Little(i), keys->base});
    right = IsRight(*keys, aes, check);
  }
  if (!right) return nullptr;
  return std::make_unique<ProviderPages>(std::move(keys), aes, fileKey);
}

/// The value of an attribute of the first element of that name.
std::string_view Attribute(std::string_view xml, std::string_view element, std::string_view name) {
  const auto damaged = [&] { return Damaged("lacks " + std::string(element) + " " + std::string(name)); };
  const auto begin = xml.find("<" + std::string(element) + " ");
  if (begin == std::string_view::npos) throw damaged();
  const std::string_view inside = xml.substr(begin, xml.find('>', begin) - begin);
  const std::string mark = " " + std::string(name) + "=\"";
  const auto at = inside.find(mark);
  if (at == std::string_view::npos) throw damaged();
  const std::string_view value = inside.substr(at + mark.size());
  return value.substr(0, value.find('"'));
}

CryptoBytes FromBase64(std::string_view text) {
  auto bytes = base::ReadBase64(text);
  if (!bytes) throw Damaged("is no base64");
  return *std::move(bytes);
}

/// What both elements of an agile record say alike.
struct AgilePart {
  CryptoBytes salt;
  HashKind hash = HashKind::kSha512;
  std::size_t keyBytes = 0;

  AgilePart(std::string_view xml, std::string_view element, const std::string& path)
      : salt(FromBase64(Attribute(xml, element, "saltValue"))) {
    const std::string_view name = Attribute(xml, element, "hashAlgorithm");
    constexpr std::array<std::pair<std::string_view, HashKind>, 4> kKnown{
        {{"SHA1", HashKind::kSha1}, {"SHA256", HashKind::kSha256}, {"SHA384", HashKind::kSha384}, {"SHA512", HashKind::kSha512}}};
    const auto found = std::find_if(kKnown.begin(), kKnown.end(), [&](const auto& known) { return known.first == name; });
    const bool aes = Attribute(xml, element, "cipherAlgorithm") == "AES" && Attribute(xml, element, "cipherChaining") == "ChainingModeCBC";
    if (found == kKnown.end() || !aes)
      throw Error(ErrorCode::kUnsupported, "\"" + path + "\" is encrypted by a method that is not known (" + std::string(name) + ")");
    hash = found->second;
    keyBytes = base::ReadWhole<std::uint32_t>(Attribute(xml, element, "keyBits")).value_or(0) / 8;
    if ((keyBytes != 16 && keyBytes != 24 && keyBytes != 32) || salt.size() != kBlock) throw Damaged("names no size of a key");
  }
};

class AgilePages final : public PageCodec {
 public:
  AgilePages(AgilePart part, CryptoBytes key, std::uint32_t fileKey)
      : part_(std::move(part)), key_(std::move(key)), fileKey_(fileKey), hasher_(part_.hash) {}
  void Decode(PageNumber page, std::span<std::byte> bytes) override { DecryptAes(AesMode::kCbc, key_, StartOf(page), bytes); }
  void Encode(PageNumber page, std::span<std::byte> bytes) override { EncryptAes(AesMode::kCbc, key_, StartOf(page), bytes); }

 private:
  [[nodiscard]] CryptoBytes StartOf(PageNumber page) {
    CryptoBytes start = hasher_.Of({part_.salt, Little(fileKey_ ^ page)});
    start.resize(kBlock);
    return start;
  }

  AgilePart part_;
  CryptoBytes key_;
  std::uint32_t fileKey_;
  Hasher hasher_;
};

/// One of the three values under the password.
CryptoBytes AgileValue(std::string_view xml, std::string_view name, const AgilePart& part, Hasher& hasher, const CryptoBytes& spun,
                       std::span<const std::uint8_t> purpose) {
  CryptoBytes key = hasher.Of({spun, std::as_bytes(purpose)});
  key.resize(part.keyBytes, std::byte{0x36});
  CryptoBytes value = FromBase64(Attribute(xml, "p:encryptedKey", name));
  if (value.empty() || value.size() % kBlock != 0) throw Damaged("is cut short");
  DecryptAes(AesMode::kCbc, key, part.salt, value);
  return value;
}

/// Null for a wrong password.
std::unique_ptr<PageCodec> UnlockAgile(Record record, const std::string& password, std::uint32_t fileKey, const std::string& path) {
  constexpr std::array<std::uint8_t, 8> kInput{0xFE, 0xA7, 0xD2, 0x76, 0x3B, 0x4B, 0x9E, 0x79};
  constexpr std::array<std::uint8_t, 8> kValue{0xD7, 0xAA, 0x0F, 0x6D, 0x30, 0x61, 0x34, 0x4E};
  constexpr std::array<std::uint8_t, 8> kKey{0x14, 0x6E, 0x0B, 0xE7, 0xAB, 0xAC, 0xD0, 0xD6};
  (void)record.U32();
  const std::string_view xml = record.Rest();
  const AgilePart part(xml, "p:encryptedKey", path);
  const auto spins = base::ReadWhole<std::uint32_t>(Attribute(xml, "p:encryptedKey", "spinCount"));
  if (!spins || *spins > kMostSpins) throw Damaged("has an impossible count");
  Hasher hasher(part.hash);
  CryptoBytes spun = hasher.Of({part.salt, BytesOf(password)});
  for (std::uint32_t i = 0; i < *spins; ++i) spun = hasher.Of({Little(i), spun});
  const CryptoBytes input = AgileValue(xml, "encryptedVerifierHashInput", part, hasher, spun, kInput);
  const CryptoBytes value = AgileValue(xml, "encryptedVerifierHashValue", part, hasher, spun, kValue);
  const CryptoBytes hash = hasher.Of({input});
  if (hash.size() > value.size() || !std::equal(hash.begin(), hash.end(), value.begin())) return nullptr;
  CryptoBytes key = AgileValue(xml, "encryptedKeyValue", part, hasher, spun, kKey);
  AgilePart pages(xml, "keyData", path);
  if (key.size() < pages.keyBytes) throw Damaged("is cut short");
  key.resize(pages.keyBytes);
  return std::make_unique<AgilePages>(std::move(pages), std::move(key), fileKey);
}

}  // namespace

std::unique_ptr<PageCodec> UnlockAce(const FileHeader& header, std::string_view password, const std::string& path) {
  const std::string quoted = "\"" + path + "\"";
  if (!HasCrypto())
    throw Error(ErrorCode::kUnsupported,
                quoted + " is an encrypted database of Access 2007 or later (.accdb), which this program was built without");
  if (password.empty()) throw Error(ErrorCode::kPasswordProtected, quoted + " is protected by a database password, and none was given");
  Record record(std::as_bytes(std::span(header.encryption)));
  const std::uint16_t major = record.U16();
  const std::uint16_t minor = record.U16();
  std::string inUnits = ToUtf16(password);
  const WipedAtEnd wiped{inUnits};
  std::unique_ptr<PageCodec> codec;
  if (major == 4 && minor == 4) {
    codec = UnlockAgile(record, inUnits, header.encryptionKey, path);
  } else if (minor == 2) {
    codec = UnlockProvider(record, inUnits, header.encryptionKey, path);
  } else {
    throw Error(ErrorCode::kUnsupported,
                quoted + " is encrypted by a method that is not known (" + std::to_string(major) + "." + std::to_string(minor) + ")");
  }
  if (!codec) throw Error(ErrorCode::kWrongPassword, "the password given for " + quoted + " is wrong");
  return codec;
}

}  // namespace jet
