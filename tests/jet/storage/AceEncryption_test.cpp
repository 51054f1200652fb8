// Encrypted .accdb files: what is written stays encrypted, under the same password. The files are made here, of plain ones; that real ones
// are met is shown by jet_samples_tests.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "base/Base64.h"
#include "jet/page/AceEncryption.h"
#include "jet/page/Rc4.h"
#include "jet/page/crypto/Crypto.h"
#include "tests/jet/storage/AceSupport.h"

namespace jet::tests {
namespace {

using namespace std::string_literals;

constexpr std::size_t kPage = 4096;
constexpr std::uint32_t kFileKey = 0x2A5B00C3;
const std::string kPassword = "Sésame";
const std::string kMark = "what nobody is to read in passing";

std::string U32(std::uint32_t number) {
  std::string text(4, '\0');
  Store32(reinterpret_cast<std::byte*>(text.data()), number);
  return text;
}
std::string TextOfBytes(std::span<const std::byte> bytes) { return {reinterpret_cast<const char*>(bytes.data()), bytes.size()}; }
std::span<const std::byte> In(const std::string& text) { return std::as_bytes(std::span(text)); }
std::string HashOf(HashKind kind, const std::string& text) { return TextOfBytes(Hasher(kind).Of({In(text)})); }
std::string Utf16(const std::string& text) { return text == kPassword ? "S\0\xE9\0s\0a\0m\0e\0"s : ""; }

std::string Base64(const std::string& bytes) {
  static constexpr char kLetters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k) group = group << 8 | (i + k < bytes.size() ? static_cast<std::uint8_t>(bytes[i + k]) : 0U);
    for (std::size_t k = 0; k < 4; ++k) text += i + k <= bytes.size() ? kLetters[group >> (18 - 6 * k) & 63] : '=';
  }
  return text;
}

std::string Aes(AesMode mode, const std::string& key, const std::string& start, std::string bytes) {
  EncryptAes(mode, In(key), In(start), std::as_writable_bytes(std::span(bytes)));
  return bytes;
}

const std::string kSalt = "0123456789abcdef";
const std::string kVerifier = "sixteen letters.";

/// Version 4.2: RC4 or AES under the keys of a provider.
std::string ProviderRecord(bool aes, std::uint32_t bits) {
  const std::string base = HashOf(HashKind::kSha1, kSalt + Utf16(kPassword)), block = HashOf(HashKind::kSha1, base + U32(0));
  std::string check = kVerifier + HashOf(HashKind::kSha1, kVerifier);
  if (aes) {
    std::string inner(64, '\x36'), outer(64, '\x5C');
    for (std::size_t i = 0; i < block.size(); ++i) {
      inner[i] = static_cast<char>(inner[i] ^ block[i]);
      outer[i] = static_cast<char>(outer[i] ^ block[i]);
    }
    check.resize(48);
    check = Aes(AesMode::kEcb, (HashOf(HashKind::kSha1, inner) + HashOf(HashKind::kSha1, outer)).substr(0, bits / 8), {}, check);
  } else {
    std::string key = block.substr(0, bits / 8);
    if (bits == 40) key.resize(16);
    Rc4(std::span(reinterpret_cast<const std::uint8_t*>(key.data()), key.size())).Apply(std::as_writable_bytes(std::span(check)));
  }
  const std::string header = U32(4) + U32(0) + U32(aes ? 0x660E : 0x6801) + U32(0x8004) + U32(bits) + U32(1) + U32(0) + U32(0) + "x\0\0\0"s;
  return "\4\0\2\0"s + U32(4) + U32(static_cast<std::uint32_t>(header.size())) + header + U32(16) + kSalt + check.substr(0, 16) + U32(20) +
         check.substr(16);
}

/// Version 4.4.
std::string AgileRecord() {
  std::string spun = HashOf(HashKind::kSha512, kSalt + Utf16(kPassword));
  for (std::uint32_t i = 0; i < 100; ++i) spun = HashOf(HashKind::kSha512, U32(i) + spun);
  const auto under = [&](const std::string& purpose, const std::string& value) {
    return Base64(Aes(AesMode::kCbc, HashOf(HashKind::kSha512, spun + purpose).substr(0, 32), kSalt, value));
  };
  const std::string part =
      " saltSize=\"16\" blockSize=\"16\" keyBits=\"256\" hashSize=\"64\" cipherAlgorithm=\"AES\" cipherChaining=\"ChainingModeCBC\" "
      "hashAlgorithm=\"SHA512\" saltValue=\"" +
      Base64(kSalt) + "\"";
  return "\4\0\4\0\x40\0\0\0"s + "<encryption><keyData" + part + "/><keyEncryptors><keyEncryptor><p:encryptedKey spinCount=\"100\"" + part +
         " encryptedVerifierHashInput=\"" + under("\xFE\xA7\xD2\x76\x3B\x4B\x9E\x79"s, kVerifier) + "\" encryptedVerifierHashValue=\"" +
         under("\xD7\xAA\x0F\x6D\x30\x61\x34\x4E"s, HashOf(HashKind::kSha512, kVerifier)) + "\" encryptedKeyValue=\"" +
         under("\x14\x6E\x0B\xE7\xAB\xAC\xD0\xD6"s, "a key of thirty-two bytes, plain") +
         "\"/></keyEncryptor></keyEncryptors></encryption>";
}

struct Scheme {
  const char* name;
  std::string (*record)();
};
const Scheme kSchemes[] = {{"Rc4Of40Bits", [] { return ProviderRecord(false, 40); }},
                           {"Rc4Of128Bits", [] { return ProviderRecord(false, 128); }},
                           {"AesOfAProvider", [] { return ProviderRecord(true, 128); }},
                           {"Agile", [] { return AgileRecord(); }}};

class AceEncryption : public testing::TestWithParam<Scheme> {
 protected:
  /// The file test.mdb as an encrypted test.accdb.
  void Encrypt() {
    MakeAce(world, 3);
    auto bytes = world.files.Content("test.accdb");
    const std::string record = GetParam().record();
    Store16(bytes.data() + 0x299, static_cast<std::uint16_t>(record.size()));
    std::memcpy(bytes.data() + 0x29B, record.data(), record.size());
    Store32(bytes.data() + 0x3E, Load32(bytes.data() + 0x3E) ^ kFileKey);  // the mask over the head is a stream
    const auto codec = UnlockAce(FileHeader::Read(bytes, "made"), kPassword, "made");
    for (PageNumber page = 1; page < bytes.size() / kPage; ++page) codec->Encode(page, std::span(bytes).subspan(page * kPage, kPage));
    world.files.SetContent("test.accdb", std::move(bytes));
  }
  void SetUp() override {
    if (!HasCrypto()) GTEST_SKIP() << "this build has no cryptography";
    world.Create()->CreateTable(PeopleTable()).Insert(Person("Ada", kMark));
    Encrypt();
    world.options.password = kPassword;
  }
  bool Holds(const std::vector<std::byte>& bytes) {
    const auto* begin = reinterpret_cast<const char*>(bytes.data());
    return std::search(begin, begin + bytes.size(), kMark.begin(), kMark.end()) != begin + bytes.size();
  }
  World world;
};

TEST_P(AceEncryption, StaysEncryptedUnderItsPasswordWhenWritten) {
  {
    const auto database = world.Open("test.accdb");
    EXPECT_FALSE(database->ReadOnly());
    Table& table = database->OpenTable("People");
    for (int i = 0; i < 200; ++i) table.Insert(Person("n" + std::to_string(i), kMark + std::string(static_cast<std::size_t>(i) * 20, 'm')));
    database->CreateTable(PeopleTable("More")).Insert(Person("Bob", kMark));
    EXPECT_EQ(CodeOf([&] { database->SetPassword("x"); }), ErrorCode::kUnsupported);
  }
  EXPECT_FALSE(Holds(world.files.Content("test.accdb")));
  EXPECT_TRUE(Holds(world.files.Content("test.mdb"))) << "the plain one";
  const auto database = world.Open("test.accdb");
  EXPECT_TRUE(database->Encoded());
  EXPECT_TRUE(database->HasPassword());
  EXPECT_EQ(Findings(*database), "");
  EXPECT_EQ(database->OpenTable("People").RowCount(), 201U);
  EXPECT_EQ(Rows(database->OpenTable("More")).at(0), "1|\"Bob\"|\"" + kMark + "\"|False|0");
}

TEST_P(AceEncryption, OpensWithItsPasswordAlone) {
  world.options.password = "sésame";
  EXPECT_EQ(CodeOf([&] { world.Open("test.accdb"); }), ErrorCode::kWrongPassword);
  EXPECT_EQ(TextOf([&] { world.Open("test.accdb"); }), "the password given for \"test.accdb\" is wrong");
  world.options.password = "";
  EXPECT_EQ(CodeOf([&] { world.Open("test.accdb"); }), ErrorCode::kPasswordProtected);
}

/// Whatever is written anywhere, in however small a cache, committed or undone.
TEST_P(AceEncryption, NoPlainPageReachesTheDisk) {
  world.options.cacheBytes = 16 * kPage;
  const auto database = world.Open("test.accdb");
  world.files.Record(true);
  Table& table = database->OpenTable("People");
  for (const bool commit : {false, true}) {
    database->Begin();
    for (int i = 0; i < 600; ++i) table.Insert(Person("more " + std::to_string(i), kMark));
    commit ? database->Commit() : database->Rollback();
  }
  database->Backup("backup.accdb");
  std::size_t written = 0;
  for (const auto& event : world.files.TakeRecord()) {
    EXPECT_FALSE(Holds(event.bytes)) << event.path;
    written += event.bytes.size();
  }
  EXPECT_GT(written, 50 * kPage);
  EXPECT_EQ(world.Open("backup.accdb")->OpenTable("People").RowCount(), 601U);
}

INSTANTIATE_TEST_SUITE_P(Schemes, AceEncryption, testing::ValuesIn(kSchemes), [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace jet::tests
