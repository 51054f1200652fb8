#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "jet/page/PageStore.h"
#include "jet/page/RowPointer.h"
#include "jet/value/Value.h"

namespace jet {

/// Bytes of a value whose type alone says how many; 0 for the other types. Yes/No, which rows keep in their mask, counts as one byte.
constexpr std::uint16_t FixedLength(ColumnType type) noexcept {
  switch (type) {
    case ColumnType::kBoolean:
    case ColumnType::kByte:
      return 1;
    case ColumnType::kInteger:
      return 2;
    case ColumnType::kLong:
    case ColumnType::kSingle:
      return 4;
    case ColumnType::kCurrency:
    case ColumnType::kDouble:
    case ColumnType::kDate:
      return 8;
    case ColumnType::kGuid:
      return 16;
    case ColumnType::kNumeric:
      return 17;
    default:
      return 0;
  }
}

/// A table definition as it stands in the file: a stream of bytes over one or more pages of type 2. Bytes whose meaning is not known are
/// kept, so that writing back what was read changes nothing.
///
///   Jet 4 (Jet 3)                                                Jet 4 (Jet 3)
///    0  02 01, u16 free bytes, u32 next page                     63 (43)  12 (8) bytes per tree: u32, u32 number of keys, u32
///    8  u32 length of the stream                                          25 (18) bytes per column
///   12  u32 1625 (absent)                                                 column names: u16 (u8) length, UTF-16 (ANSI)
///   16 (12) u32 rows                                                      52 (39) bytes per tree
///   20 (16) u32 last counter value                                        28 (20) bytes per index
///   24  u8 counter flag, 15 bytes unknown (absent)                        index names, as column names
///   40 (20) u8 'N' or 'S'                                                 10 bytes per long column: u16 number, u32 owned, u32 free map
///   41 (21) u16 columns ever, u16 variable ones ever, u16 columns         FF FF
///   47 (27) u32 indexes, u32 trees
///   55 (35) u32 map of owned pages, u32 map of pages with room
struct TableDefinition {
  static constexpr std::size_t kComplexNumberOffset = 28;  ///< of an .accdb: the last number given to a row's complex columns
  static constexpr std::uint32_t kMagic = 1625;
  static constexpr std::uint16_t kNoColumn = 0xFFFF;
  static constexpr std::size_t kMaxColumns = 255;
  static constexpr std::size_t kMaxTrees = 32;

  /// Types of .accdb files that ColumnType has not: RowLayout::Reshape says as what their values are given.
  static constexpr ColumnType kComplexType{18};
  static constexpr ColumnType kBigIntegerType{19};
  static constexpr ColumnType kExtendedDateType{20};
  /// How a row of an .accdb holds a value that `type` does not tell.
  enum class Shape : std::uint8_t {
    kPlain,
    kBigInteger,        ///< a number of 64 bits, given as a numeric
    kExtendedDate,      ///< 42 letters, given as the text YYYY-MM-DD HH:MM:SS.fffffff
    kComplex,           ///< a number, given as such, under which the values stand in a table of their own
    kUnknown,           ///< bytes, of a type that nobody knows
    kCalculated,        ///< 16 bytes, u32 length, the value, 3 bytes; of a memo all this is the long value
    kCalculatedNumber,  ///< the same of a decimal number, given as its text: each row has decimals of its own
  };
  struct Column {
    enum Flag : std::uint8_t { kFixed = 0x01, kNullable = 0x02, kAutoLong = 0x04, kSystem = 0x10, kAutoGuid = 0x40, kHyperlink = 0x80 };
    // Of extraFlags, in an .accdb:
    static constexpr std::uint8_t kCalculatedFlags = 0xC0;
    static constexpr std::uint8_t kOwnerFlag = 0x08;    ///< the number in the row that the values belong to
    static constexpr std::uint8_t kHistoryFlag = 0x20;  ///< a complex column under which the former values of a memo stand
    std::string name;
    ColumnType type = ColumnType::kText;
    std::uint32_t magic = kMagic;
    std::uint16_t number = 0;
    std::uint16_t variableIndex = 0;
    std::uint16_t numberAgain = 0;
    std::array<std::uint8_t, 4> sort{};  ///< text, memo: u16 language, u8, u8 version; numeric: precision, scale
    std::uint8_t flags = 0;
    std::uint8_t extraFlags = 0;
    std::array<std::uint8_t, 4> unknown{};  ///< Jet 3: the mark of the order, the code page
    std::uint16_t fixedOffset = 0;
    std::uint16_t length = 0;
    Shape shape = Shape::kPlain;  ///< not in the file: see RowLayout::Reshape
    std::uint16_t codePage = 0;   ///< not in the file: of its texts in Jet 3; 0 in Jet 4, where they are Unicode

    [[nodiscard]] bool IsFixed() const noexcept { return (flags & kFixed) != 0; }
    [[nodiscard]] bool IsLong() const noexcept { return type == ColumnType::kMemo || type == ColumnType::kOle; }
    /// The flags alone do not say it: damage may have put them on any column.
    [[nodiscard]] bool IsCounter() const noexcept { return (flags & kAutoLong) != 0 && type == ColumnType::kLong; }
    /// In Jet 3 that flag stands on columns of any kind.
    [[nodiscard]] bool MakesGuids() const noexcept { return (flags & kAutoGuid) != 0 && type == ColumnType::kGuid && codePage == 0; }
    /// Most characters (UTF-16 units) of a text.
    [[nodiscard]] std::uint16_t Letters() const noexcept { return codePage != 0 ? length : static_cast<std::uint16_t>(length / 2); }
    [[nodiscard]] bool IsText() const noexcept { return type == ColumnType::kMemo || type == ColumnType::kText; }
    [[nodiscard]] std::uint16_t SortLanguage() const noexcept { return static_cast<std::uint16_t>(sort[0] | sort[1] << 8); }
    [[nodiscard]] std::uint8_t SortVersion() const noexcept { return sort[3]; }
    void SetOrder(std::uint16_t language, std::uint8_t version) noexcept {
      sort = {static_cast<std::uint8_t>(language), static_cast<std::uint8_t>(language >> 8), 0, version};
    }
    /// Makes it one of Jet 3. mark: that of the order in the header.
    void SetCodePage(std::uint16_t page, std::uint16_t mark) noexcept {
      codePage = page;
      unknown = {static_cast<std::uint8_t>(mark), static_cast<std::uint8_t>(mark >> 8), static_cast<std::uint8_t>(page),
                 static_cast<std::uint8_t>(page >> 8)};
    }
    /// Of a complex column its number in MSysComplexColumns.
    [[nodiscard]] std::uint32_t ComplexId() const noexcept {
      return static_cast<std::uint32_t>(sort[0] | sort[1] << 8 | sort[2] << 16) | static_cast<std::uint32_t>(sort[3]) << 24;
    }
    [[nodiscard]] bool IsCalculated() const noexcept { return (extraFlags & kCalculatedFlags) == kCalculatedFlags; }
  };
  struct TreeColumn {
    std::uint16_t number = kNoColumn;
    std::uint8_t order = 1;  ///< 1 = ascending
  };
  /// A B-tree ("real" index).
  struct Tree {
    enum Flag : std::uint8_t { kUnique = 0x01, kIgnoreNulls = 0x02, kRequired = 0x08, kAlways = 0x80 };
    std::array<std::uint32_t, 3> counts{};  ///< the middle one counts keys and is not reliable
    std::uint32_t magic = 1923;
    std::array<TreeColumn, 10> columns{};
    PackedPointer ownedMap = 0;
    PageNumber root = 0;
    std::uint32_t unknown = 0;
    std::uint8_t flags = kAlways;
    std::array<std::uint8_t, 5> tail{};
  };
  /// An index as people see it ("logical" index).
  struct Index {
    std::string name;
    std::uint32_t magic = kMagic;
    std::uint32_t number = 0;
    std::uint32_t tree = 0;
    std::uint8_t side = 0;  ///< of a relationship: 1 referenced, 2 referencing
    std::int32_t partnerIndex = -1;
    PageNumber partnerTable = 0;
    static constexpr std::uint8_t kNothingToCascade = 4;  ///< what real files have where the index is no foreign key
    std::uint8_t cascadeUpdates = 0;
    std::uint8_t cascadeDeletes = 0;
    std::uint8_t type = 0;  ///< 1 primary key, 2 foreign key
    std::uint32_t unknown = 0;
  };
  struct LongMaps {
    std::uint16_t column = 0;
    PackedPointer ownedMap = 0;
    PackedPointer freeMap = 0;
  };

  std::vector<PageNumber> pages;  ///< of the definition, in order
  std::uint16_t codePage = 0;     ///< of the names, in Jet 3; 0: the definition is one of Jet 4
  std::uint16_t orderMark = 0;    ///< Jet 3: that of its columns, the header's
  std::uint32_t magic = kMagic;
  std::uint32_t rowCount = 0;
  std::uint32_t autoNumber = 0;
  std::uint8_t autoNumberFlag = 1;
  std::array<std::uint8_t, 15> unknown{};
  std::uint8_t tableType = 'N';
  std::uint16_t maxColumns = 0;
  std::uint16_t variableColumns = 0;
  PackedPointer ownedMap = 0;
  PackedPointer freeMap = 0;
  std::vector<Column> columns;  ///< in the order of the file
  std::vector<Tree> trees;
  std::vector<Index> indexes;
  std::vector<LongMaps> longMaps;

  /// Reads the definition that begins on the page. codePage: of the file's names, 0 in Jet 4. Errors: kDamaged.
  static TableDefinition Read(PageStore& store, PageNumber page, std::uint16_t codePage);
  /// The stream, the first page's header included with zeros for free bytes and next page. Errors: kUnsupported for a name that the code
  /// page cannot write.
  [[nodiscard]] std::vector<std::byte> Encode() const;
  /// Writes the definition over its pages, taking or freeing continuation pages as needed. pages[0] must be there.
  void Write(PageStore& store);

  [[nodiscard]] bool IsJet3() const noexcept { return codePage != 0; }
  [[nodiscard]] const Column* FindByNumber(std::uint16_t number) const noexcept;
  [[nodiscard]] const LongMaps* FindLongMaps(std::uint16_t number) const noexcept;
  /// Size of the fixed part of a row.
  [[nodiscard]] std::size_t FixedSize() const noexcept;
};

}  // namespace jet
