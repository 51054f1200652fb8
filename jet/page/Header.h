#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "jet/page/RowPointer.h"

namespace jet {

/// Page 0 of a file.
///
///   0x00  00 01 00 00, "Standard Jet DB" 00, u32 version (0 = Jet 3, 1 = Jet 4); of an .accdb "Standard ACE DB" 00 and the lowest release that
///         knows all that is in it (2 = 2007, 3 = 2010, 5 = 2016, 6 = 2019), the rest as in Jet 4
///   0x18  128 bytes (Jet 3: 126) under a constant mask, from here on by offset in the page:
///   0x18  u32 row pointer of the map of free pages, u32 of a second map
///   0x20  u32 definition pages of MSysObjects, MSysACEs, MSysQueries, MSysRelationships
///   0x38  u16 mark of the order, 0x3A  u16 sort order (Jet 3), 0x3C  u16 code page, 0x3E  u32 key of the page encryption, 0 = none
///   0x42  password: 20 bytes of ANSI (Jet 3), 40 bytes of UTF-16 under the creation day (Jet 4)
///   0x6A  u16 build, 0x6E  u32 sort order, 0x72  f64 creation date (Jet 4)
///   0x299 u16 length of what tells how an .accdb is encrypted, 0 = it is not (not under the mask)
struct FileHeader {
  static constexpr std::size_t kSize = 2048;  ///< bytes needed to read one
  static constexpr std::uint32_t kEncryptionOffset = 0x299;
  static constexpr int kAccess2007 = 2;        ///< the first release of .accdb files
  static constexpr std::size_t kWhole = 4096;  ///< bytes of which the rest is looked at in an encrypted .accdb

  int version = 4;  ///< 3 or 4: how pages are laid out
  int release = 0;  ///< of an .accdb its version byte; 0: an .mdb
  std::size_t pageSize = 4096;
  PackedPointer freePages = 0x100;
  std::uint16_t codePage = 1252;
  std::uint16_t sortLanguage = 0x0409;  ///< of texts in new columns
  std::uint8_t sortVersion = 0;
  std::uint16_t orderMark = 1;  ///< Jet 3: what stands before the language in every column too; 0 in files of early releases
  double created = 0;
  std::string password;             ///< its field, UTF-16LE or ANSI, zeros behind it; empty: none
  std::uint32_t encryptionKey = 0;  ///< of the pages; 0: they are plain
  std::string encryption;           ///< of an .accdb, what says how it is encrypted; empty: it is not

  /// Reads the beginning of a file. Error kNotAnAccessFile, whose text says what the file is as far as known.
  static FileHeader Read(std::span<const std::byte> page, const std::string& path);
  /// False for Jet 3 in a code page whose characters are not all known: texts cannot be written in it.
  [[nodiscard]] bool HasKnownTexts() const noexcept;
  /// The version in which a copy is made of it when none is asked for: its own, but Jet 4 for Jet 3 in another code page than the copy has.
  [[nodiscard]] int VersionOfCopy() const noexcept { return codePage == 1252 ? version : 4; }
  /// True when that (UTF-8) is the password: each letter counts as it is. One that no file of the version can have is not.
  [[nodiscard]] bool HasPassword(std::string_view text) const;
  /// The password as UTF-8.
  [[nodiscard]] std::string PasswordText() const;
  /// The header of a new file of that version (3 or 4) whose texts are ordered as that language has it (version 0).
  static FileHeader ForNewFile(int version, std::uint16_t sortLanguage, std::uint32_t encryptionKey);
  /// Page 0 of a new file with this header, without a password.
  [[nodiscard]] std::vector<std::byte> Create() const;
  /// Gives a page 0 what belongs together in another one: code page, password, build and creation date, and with them the key of the
  /// accounts. Both pages are of one version, as they stand in their files. How pages are encoded stays.
  static void CopyIdentity(std::span<const std::byte> from, std::span<std::byte> to);
  /// Puts a password (UTF-8) into a page 0 as it stands in its file; an empty one takes it away. Errors, and nothing is changed then:
  /// kValueTooLong for more than 20 characters (UTF-16 units in Jet 4), kUnsupported for what the field cannot hold: NUL, bytes that are
  /// no UTF-8, in Jet 3 a letter outside the code page.
  static void SetPassword(std::span<std::byte> page, std::string_view text);
  /// Makes page 0 of a new Jet 4 file, as Create gives it, that of an .accdb of Access 2007.
  static void MakeAce(std::span<std::byte> page);
  /// A two-byte name of an account.
  using Sid = std::array<std::uint8_t, 2>;
  struct Accounts {
    Sid engine, admin, creator, users;
  };
  /// Under which a new file's permissions are written. In Jet 4 they lie under a key that belongs to the creation date that Create writes, in
  /// an .accdb under that of MakeAce.
  static constexpr Accounts kAccounts{{0x65, 0x89}, {0x64, 0x8B}, {0x65, 0x8E}, {0x65, 0x8B}};
  static constexpr Accounts kAceAccounts{{0x52, 0xA6}, {0x53, 0xA4}, {0x52, 0xA1}, {0x52, 0xA4}};
  static constexpr Accounts kPlainAccounts{{0x02, 0x03}, {0x03, 0x01}, {0x02, 0x04}, {0x02, 0x01}};
  [[nodiscard]] const Accounts& AccountsOfNewFile() const noexcept {
    return version == 3 ? kPlainAccounts : release != 0 ? kAceAccounts : kAccounts;
  }
};

}  // namespace jet
