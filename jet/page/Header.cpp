#include "jet/page/Header.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "jet/page/Format.h"
#include "jet/page/Rc4.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"
#include "jet/value/Text.h"

namespace jet {
namespace {

constexpr std::size_t kMaskBegin = 0x18;
constexpr std::size_t kMaskSize = 128;
constexpr std::size_t kMaskSizeJet3 = 126;
constexpr std::string_view kJetName("Standard Jet DB\0", 16);
constexpr std::string_view kAceName("Standard ACE DB\0", 16);
constexpr int kFirstAce = FileHeader::kAccess2007;
constexpr int kLastAce = 6;  // 2019
constexpr std::size_t kKeyOffset = 0x3E;
constexpr std::size_t kPasswordOffset = 0x42;
constexpr std::size_t kPasswordSize = 40;
constexpr std::size_t kPasswordSizeJet3 = 20;
constexpr std::size_t kCreatedOffset = 0x72;
constexpr std::size_t kOrderOffset = 0x6E;
constexpr std::size_t kOrderMarkOffsetJet3 = 0x38;
constexpr std::size_t kOrderOffsetJet3 = 0x3A;
/// 2000-era build and date under which the two-byte account names of a new file are known.
constexpr std::uint16_t kBuild = 0x261C;
constexpr std::size_t kBuildOffset = 0x6A;
constexpr std::size_t kBuildOffsetJet3 = 0x56;
constexpr std::uint16_t kBuildJet3 = 9502;
constexpr std::uint8_t kCreatedBytes[8] = {0x3E, 0x85, 0xD3, 0x3B, 0x3E, 0xAB, 0xE4, 0x40};

/// The stream is the same in every file.
void ApplyMask(std::span<std::byte> page, std::size_t size) {
  static constexpr std::array<std::uint8_t, 4> kKey{0xC7, 0xDA, 0x39, 0x6B};
  Rc4(kKey).Apply(page.subspan(kMaskBegin, size));
}

std::uint32_t CreationDay(double created) {
  // Anything but a plausible date makes no mask.
  return created > -700000 && created < 3000000 ? static_cast<std::uint32_t>(static_cast<std::int32_t>(created)) : 0;
}

std::string PasswordBytes(std::span<const std::byte> unmasked, int version) {
  const std::size_t size = version == 3 ? kPasswordSizeJet3 : kPasswordSize;
  return {reinterpret_cast<const char*>(unmasked.data()) + kPasswordOffset, size};
}

/// In Jet 4 the creation day lies over the field, again and again.
std::string UnderTheDay(std::string field, const FileHeader& header) {
  if (header.version == 3) return field;
  const std::uint32_t day = CreationDay(header.created);
  for (std::size_t i = 0; i < field.size(); ++i) field[i] = static_cast<char>(field[i] ^ static_cast<char>(day >> (8 * (i % 4))));
  return field;
}

/// One byte for each letter. Error kUnsupported for a letter that the code page does not have.
std::string InCodePage(std::string_view text, std::uint16_t codePage) {
  auto bytes = ToAnsi(text, codePage);
  if (!bytes) throw Error(ErrorCode::kUnsupported, "The password has a letter that the file's code page does not have");
  return std::move(*bytes);
}

/// The whole field for a password, not under the day. Errors: see FileHeader::SetPassword.
std::string PasswordField(std::string_view text, const FileHeader& header) {
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t begin = at;
    const char32_t letter = NextCharacter(text, at);
    if (letter == 0) throw Error(ErrorCode::kUnsupported, "A database password cannot hold the character NUL");
    if (letter == base::kReplacement && text.substr(begin, at - begin) != "\xEF\xBF\xBD")
      throw Error(ErrorCode::kUnsupported, "The password is no text in UTF-8");
  }
  const bool jet3 = header.version == 3;
  std::string field = jet3 ? InCodePage(text, header.codePage) : ToUtf16(text);
  const std::size_t size = jet3 ? kPasswordSizeJet3 : kPasswordSize;
  if (field.size() > size) throw Error(ErrorCode::kValueTooLong, "A database password has at most 20 characters");
  field.resize(size);
  return field;
}

std::string_view Recognise(std::span<const std::byte> page) {
  const auto begins = [&](std::string_view magic) {
    return page.size() >= magic.size() && std::memcmp(page.data(), magic.data(), magic.size()) == 0;
  };
  if (begins("SQLite format 3")) return "it is a SQLite database";
  if (begins("PK\x03\x04")) return "it is a ZIP archive or a newer Office document";
  if (begins("%PDF")) return "it is a PDF document";
  if (begins("\xD0\xCF\x11\xE0")) return "it is an older Office document";
  return "it does not begin as one";
}

/// What page 0 of an .accdb says of its encryption; empty where it is none.
std::string EncryptionRecord(std::span<const std::byte> page, std::uint32_t key, const std::string& quoted) {
  const std::size_t size = Load16(page.data() + FileHeader::kEncryptionOffset);
  if (size == 0 && key == 0) return {};
  if (size == 0) throw Error(ErrorCode::kUnsupported, quoted + "is encrypted, and page 0 does not say how");
  const std::size_t begin = FileHeader::kEncryptionOffset + 2;
  if (begin + size > page.size()) throw Error(ErrorCode::kDamaged, quoted + "is cut short", 0, static_cast<std::uint32_t>(page.size()));
  return {reinterpret_cast<const char*>(page.data()) + begin, size};
}

/// The code page in which a language is written where Jet 3 does not say it.
std::uint16_t CodePageOf(std::uint16_t language) {
  switch (language) {
    case 0x0405:  // Czech
    case 0x040E:  // Hungarian
    case 0x0415:  // Polish
    case 0x0418:  // Romanian
    case 0x041A:  // Croatian
    case 0x041B:  // Slovak
    case 0x041C:  // Albanian
    case 0x0424:  // Slovenian
      return 1250;
    case 0x0402:  // Bulgarian
    case 0x0419:  // Russian
    case 0x0422:  // Ukrainian
    case 0x0423:  // Belarusian
      return 1251;
    case 0x041F:  // Turkish
      return 1254;
    default:
      return 1252;
  }
}

/// What Jet 3 does not have, before it is masked.
void StoreJet4Fields(std::byte* bytes, std::uint16_t sortLanguage) {
  Store32(bytes + kOrderOffset, sortLanguage);
  std::memcpy(bytes + kCreatedOffset, kCreatedBytes, sizeof kCreatedBytes);
  const std::uint32_t day = CreationDay(LoadLittle<double>(bytes + kCreatedOffset));
  for (std::size_t i = 0; i < kPasswordSize; i += 4) Store32(bytes + kPasswordOffset + i, day);
}

}  // namespace

FileHeader FileHeader::Read(std::span<const std::byte> source, const std::string& path) {
  const std::string quoted = "\"" + path + "\" ";
  if (source.empty()) throw Error(ErrorCode::kNotAnAccessFile, quoted + "is not an Access file: it is empty");
  if (source.size() < 20 || Load32(source.data()) != 0x00000100) {
    throw Error(ErrorCode::kNotAnAccessFile, quoted + "is not an Access file: " + std::string(Recognise(source)));
  }
  const std::string_view name(reinterpret_cast<const char*>(source.data()) + 4, 16);
  const std::uint32_t stored = source.size() >= 0x18 ? Load32(source.data() + 0x14) : 0;
  const bool ace = name == kAceName;
  const int release = ace && source.size() > 0x14 ? Load8(source.data() + 0x14) : 0;
  if (!ace && name != kJetName)
    throw Error(ErrorCode::kNotAnAccessFile, quoted + "is not an Access file: " + std::string(Recognise(source)));
  if (ace && (release < kFirstAce || release > kLastAce))
    throw Error(ErrorCode::kNotAnAccessFile, quoted + "is a database of a later Access than 2019, which is not supported");
  if (!ace && stored > 1)
    throw Error(ErrorCode::kNotAnAccessFile, quoted + "is a database of Access 2007 or later, which is not supported");
  if (source.size() < kSize) throw Error(ErrorCode::kDamaged, quoted + "is cut short", 0, static_cast<std::uint32_t>(source.size()));

  std::vector<std::byte> page(source.begin(), source.begin() + kSize);
  FileHeader header;
  header.version = stored == 0 ? 3 : 4;
  header.release = release;
  header.pageSize = Format::OfVersion(header.version).pageSize;
  const bool jet3 = header.version == 3;
  ApplyMask(page, jet3 ? kMaskSizeJet3 : kMaskSize);
  header.freePages = Load32(page.data() + kMaskBegin);
  header.codePage = Load16(page.data() + 0x3C);
  header.sortLanguage = Load16(page.data() + (jet3 ? kOrderOffsetJet3 : kOrderOffset));
  if (jet3) header.orderMark = Load16(page.data() + kOrderMarkOffsetJet3);
  if (jet3 && header.codePage == 0) header.codePage = CodePageOf(header.sortLanguage);
  if (!jet3) header.sortVersion = Load8(page.data() + kOrderOffset + 3);
  header.encryptionKey = Load32(page.data() + kKeyOffset);
  if (ace) header.encryption = EncryptionRecord(source, header.encryptionKey, quoted);
  if (!jet3) header.created = LoadLittle<double>(page.data() + kCreatedOffset);
  header.password = UnderTheDay(PasswordBytes(page, header.version), header);
  if (ace || header.password.find_first_not_of('\0') == std::string::npos) header.password.clear();
  return header;
}

bool FileHeader::HasKnownTexts() const noexcept { return version != 3 || IsKnownCodePage(codePage); }

bool FileHeader::HasPassword(std::string_view text) const {
  try {
    return !password.empty() && PasswordField(text, *this) == password;
  } catch (const Error&) {
    return false;
  }
}

std::string FileHeader::PasswordText() const {
  std::string text;
  const auto bytes = std::as_bytes(std::span(password));
  if (version == 3) {
    AppendAnsi(bytes, codePage, text);
  } else {
    AppendUtf16(bytes, text);
  }
  text.resize(text.find_last_not_of('\0') + 1);
  return text;
}

void FileHeader::SetPassword(std::span<std::byte> page, std::string_view text) {
  const FileHeader header = Read(page, {});
  const std::string field = UnderTheDay(PasswordField(text, header), header);
  const std::size_t maskSize = header.version == 3 ? kMaskSizeJet3 : kMaskSize;
  ApplyMask(page, maskSize);
  std::memcpy(page.data() + kPasswordOffset, field.data(), field.size());
  ApplyMask(page, maskSize);
}

FileHeader FileHeader::ForNewFile(int version, std::uint16_t sortLanguage, std::uint32_t encryptionKey) {
  FileHeader header;
  header.version = version;
  header.pageSize = Format::OfVersion(version).pageSize;
  header.sortLanguage = sortLanguage;
  header.encryptionKey = encryptionKey;
  if (version == 3) header.codePage = CodePageOf(sortLanguage);
  return header;
}

std::vector<std::byte> FileHeader::Create() const {
  const bool jet3 = version == 3;
  std::vector<std::byte> page(pageSize);
  std::byte* bytes = page.data();
  Store32(bytes, 0x00000100);
  std::memcpy(bytes + 4, kJetName.data(), kJetName.size());
  Store32(bytes + 0x14, jet3 ? 0 : 1);
  Store32(bytes + 0x18, 0x100);
  Store32(bytes + 0x1C, 0x101);
  for (std::uint32_t i = 0; i < 4; ++i) Store32(bytes + 0x20 + 4 * i, 2 + i);
  Store16(bytes + 0x3C, codePage);
  Store32(bytes + kKeyOffset, encryptionKey);
  Store16(bytes + (jet3 ? kBuildOffsetJet3 : kBuildOffset), jet3 ? kBuildJet3 : kBuild);
  if (jet3) {
    Store16(bytes + kOrderMarkOffsetJet3, orderMark);
    Store16(bytes + kOrderOffsetJet3, sortLanguage);
  } else {
    StoreJet4Fields(bytes, sortLanguage);
  }
  ApplyMask(page, jet3 ? kMaskSizeJet3 : kMaskSize);
  if (!jet3) {
    Store32(bytes + 0x98, 1620);
    std::memcpy(bytes + 0x9C, "4.0", 4);
  }
  for (std::size_t i = 0; i < 512; i += 2) Store16(bytes + (jet3 ? 0x600 : 0xE00) + i, 0x0100);
  return page;
}

void FileHeader::MakeAce(std::span<std::byte> page) {
  // Build and date of a file that Access 2007 made.
  constexpr std::uint16_t kAceBuild = 4518;
  constexpr std::uint8_t kAceCreated[8] = {0xE6, 0xCE, 0x87, 0x81, 0x53, 0xA6, 0xE3, 0x40};
  std::memcpy(page.data() + 4, kAceName.data(), kAceName.size());
  Store32(page.data() + 0x14, kAccess2007);
  ApplyMask(page, kMaskSize);
  Store16(page.data() + 0x6A, kAceBuild);
  std::memcpy(page.data() + kCreatedOffset, kAceCreated, sizeof kAceCreated);
  const std::uint32_t day = CreationDay(LoadLittle<double>(page.data() + kCreatedOffset));
  for (std::size_t i = 0; i < kPasswordSize; i += 4) Store32(page.data() + kPasswordOffset + i, day);
  ApplyMask(page, kMaskSize);
}

void FileHeader::CopyIdentity(std::span<const std::byte> from, std::span<std::byte> to) {
  // The mask is the same everywhere, so that masked bytes can be copied. Text order and page key, in between, stay those of the new file.
  constexpr std::size_t kCodePage = 0x3C, kOrder = kOrderOffset, kSizeOfDate = 8;
  std::copy(from.begin() + kCodePage, from.begin() + kKeyOffset, to.begin() + kCodePage);
  if (Load32(from.data() + 0x14) == 0) {
    std::copy(from.begin() + kPasswordOffset, from.begin() + kBuildOffsetJet3 + 2, to.begin() + kPasswordOffset);
    return;
  }
  std::copy(from.begin() + kPasswordOffset, from.begin() + kOrder, to.begin() + kPasswordOffset);
  std::copy(from.begin() + kCreatedOffset, from.begin() + kCreatedOffset + kSizeOfDate, to.begin() + kCreatedOffset);
}

}  // namespace jet
