#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "jet/page/PageStore.h"
#include "jet/page/RowPointer.h"
#include "jet/value/Value.h"

namespace jet {

// An index page (all numbers little-endian but those inside entries, which are big-endian):
//
//   0  u8   3 = node, 4 = leaf        12  u32  previous page of the level, 0 = none    26   u8   level, 0 = leaf
//   1  u8   1                         16  u32  next page of the level, 0 = none        27   453 bytes: where entries end
//   2  u16  free bytes                20  u32  node: the last child, which has no entry 480  3616 bytes: entries
//   4  u32  table definition page     24  u16  length of the prefix
//
// Bit p of the mask is set when an entry ends at 480 + p. The first entry is whole; the others lack the first `prefix` bytes, which
// are those of the first. Leaf entry: key, u24 page, u8 slot of the row. Node entry: the last leaf entry below the child, u32 child.
//
// Jet 3: previous at 8, next at 12, tail at 16, u8 prefix at 20, level at 21, 226 bytes of mask at 22, entries at 248.

inline constexpr std::size_t kRowPointerSize = 4;
inline constexpr std::size_t kChildSize = 4;

/// Where the fields of an index page stand in one of the two formats.
struct IndexLayout {
  std::uint16_t previous, next, tail, prefix, prefixSize, level, mask, maskBytes, entries, entriesSize;

  /// That of pages of so many bytes.
  [[nodiscard]] static const IndexLayout& Of(std::size_t pageSize) noexcept;
  /// Longest key that is written. Any two entries fit a page then, so that a page that is too full can always be split.
  [[nodiscard]] constexpr std::size_t MostKeyBytes() const noexcept { return entriesSize / 2u - kRowPointerSize - kChildSize; }
  /// The longest prefix that its field can tell.
  [[nodiscard]] constexpr std::size_t LongestPrefix() const noexcept { return prefixSize == 1 ? 0xFF : 0xFFFF; }
};

/// A place in the order of entries.
struct IndexTarget {
  enum class Side : std::uint8_t {
    kExact,   ///< the entry with this key and this row
    kBefore,  ///< before all entries whose key begins with this one
    kAfter,   ///< after all entries whose key begins with this one
  };
  std::span<const std::byte> key;
  PackedPointer row = 0;  ///< for kExact only
  Side side = Side::kExact;
};

/// The place of a leaf's entry, given its bytes (at least those of a row pointer).
[[nodiscard]] IndexTarget TargetOf(std::span<const std::byte> leafEntry) noexcept;

/// Appends a row pointer as entries hold it.
void AppendRowPointer(RowId row, Bytes& entry);

/// Entries of a page in order, whole (without prefix compression), for the operations that write a page anew.
class IndexEntries {
 public:
  [[nodiscard]] std::size_t Count() const noexcept { return ends_.size(); }
  [[nodiscard]] bool Empty() const noexcept { return ends_.empty(); }
  /// Bytes of all entries together.
  [[nodiscard]] std::size_t Size() const noexcept { return bytes_.size(); }
  [[nodiscard]] std::span<const std::byte> operator[](std::size_t i) const noexcept {
    return {bytes_.data() + Begin(i), ends_[i] - Begin(i)};
  }
  void Append(std::span<const std::byte> entry);
  /// Makes the entry the i-th, moving the others behind it.
  void Insert(std::size_t i, std::span<const std::byte> entry);
  void Erase(std::size_t i);
  /// A part of the entries as entries of their own.
  [[nodiscard]] IndexEntries Slice(std::size_t first, std::size_t count) const;
  /// The longest prefix that a page of these entries may have.
  [[nodiscard]] std::size_t CommonPrefix(bool leaf) const noexcept;
  /// The prefix to write them with: none when they fit without, else the longest; nothing when they do not fit a page.
  [[nodiscard]] std::optional<std::size_t> FittingPrefix(bool leaf, const IndexLayout& layout) const noexcept;
  /// Bytes that a page with that prefix needs for them.
  [[nodiscard]] std::size_t EncodedSize(std::size_t prefix) const noexcept { return Empty() ? 0 : Size() - prefix * (Count() - 1); }

 private:
  [[nodiscard]] std::size_t Begin(std::size_t i) const noexcept { return i == 0 ? 0 : ends_[i - 1]; }

  std::vector<std::byte> bytes_;
  std::vector<std::size_t> ends_;
};

/// Reads one index page. Entries are named by the offset of their first byte from the start of the entry area ("begin"); the offset
/// behind the last entry is Used(). Does not own the bytes. Nothing is trusted: whatever contradicts the layout raises kDamaged.
class IndexPageView {
 public:
  /// Errors: kDamaged when the page is no index page or its prefix is impossible.
  explicit IndexPageView(const PageRef& page) : IndexPageView(page.Bytes(), page.Number()) {}
  IndexPageView(std::span<const std::byte> bytes, PageNumber number);

  [[nodiscard]] PageNumber Number() const noexcept { return number_; }
  [[nodiscard]] bool IsLeaf() const noexcept { return leaf_; }
  [[nodiscard]] std::size_t FreeBytes() const noexcept;
  [[nodiscard]] PageNumber Table() const noexcept;
  [[nodiscard]] PageNumber Previous() const noexcept;
  [[nodiscard]] PageNumber Next() const noexcept;
  [[nodiscard]] PageNumber Tail() const noexcept;
  [[nodiscard]] std::size_t Prefix() const noexcept { return prefix_; }
  [[nodiscard]] std::uint8_t Level() const noexcept;
  /// Bytes that a page of this format has for entries.
  [[nodiscard]] std::size_t Room() const noexcept { return layout_->entriesSize; }

  /// Where the entries begin in the page.
  [[nodiscard]] std::uint32_t EntriesOffset() const noexcept { return layout_->entries; }

  [[nodiscard]] std::size_t Used() const noexcept { return used_; }
  [[nodiscard]] bool Empty() const noexcept { return used_ == 0; }
  /// Begin of the entry that the byte at the offset belongs to; the offset lies below Used().
  [[nodiscard]] std::size_t BeginAt(std::size_t offset) const noexcept;
  /// End of the entry, which is the begin of the next one.
  [[nodiscard]] std::size_t EndOf(std::size_t begin) const;
  /// Begin of the entry before this one; begin is not 0.
  [[nodiscard]] std::size_t BeginBefore(std::size_t begin) const noexcept { return BeginAt(begin - 1); }
  /// Number of entries that begin before the offset (all: Used()).
  [[nodiscard]] std::size_t CountBefore(std::size_t offset) const noexcept;

  /// Begin of the first entry at or after the target; Used() when all are before it.
  [[nodiscard]] std::size_t LowerBound(const IndexTarget& target) const;
  /// Copies the whole entry, prefix included, into the buffer (replacing what was there).
  void CopyEntry(std::size_t begin, Bytes& entry) const;
  /// Row pointer of the entry.
  [[nodiscard]] PackedPointer RowOf(std::size_t begin) const;
  /// Child of the entry of a node.
  [[nodiscard]] PageNumber ChildOf(std::size_t begin) const;
  /// True when the entry's key is this one, neither longer nor shorter.
  [[nodiscard]] bool KeyEquals(std::size_t begin, std::span<const std::byte> key) const;
  /// True when the entry is exactly this key and row.
  [[nodiscard]] bool EntryEquals(std::size_t begin, std::span<const std::byte> key, PackedPointer row) const;
  /// Order of the entry against a target: negative when it lies before it.
  [[nodiscard]] int Compare(std::size_t begin, const IndexTarget& target) const;
  /// All entries, whole.
  [[nodiscard]] IndexEntries Decode() const;
  /// Raises kDamaged about the entry that begins there.
  [[noreturn]] void Refuse(const char* what, std::size_t begin) const;

 private:
  struct Entry {
    std::size_t begin;
    std::size_t end;
    std::size_t keySize;  ///< bytes of the key, prefix included
  };
  [[nodiscard]] Entry Bounds(std::size_t begin) const;
  /// The i-th byte of the whole entry.
  [[nodiscard]] std::uint8_t ByteOf(const Entry& entry, std::size_t i) const noexcept;
  [[nodiscard]] std::uint32_t BigEndianAt(const Entry& entry, std::size_t i) const noexcept;
  /// Order of the keys as far as both reach.
  [[nodiscard]] int CompareKeys(const Entry& entry, std::span<const std::byte> key, std::size_t common) const noexcept;
  [[nodiscard]] int Compare(const Entry& entry, const IndexTarget& target, std::size_t common) const noexcept;
  /// Number of bytes in which the target's key and the prefix agree.
  [[nodiscard]] std::size_t CommonWithPrefix(std::span<const std::byte> key) const noexcept;
  [[nodiscard]] std::uint64_t MaskWord(std::size_t word) const noexcept;
  [[nodiscard]] std::size_t MaskWords() const noexcept { return (layout_->maskBytes + 7u) / 8u; }
  [[nodiscard]] const std::byte* Area() const noexcept { return bytes_ + layout_->entries; }

  const IndexLayout* layout_;
  const std::byte* bytes_;
  PageNumber number_;
  std::size_t used_ = 0;
  std::size_t prefix_ = 0;
  std::size_t pointerSize_;  ///< bytes of an entry that are not key
  bool leaf_;
};

/// Changes one index page in place.
class IndexPageEditor {
 public:
  explicit IndexPageEditor(std::span<std::byte> bytes) noexcept : layout_(&IndexLayout::Of(bytes.size())), bytes_(bytes.data()) {}

  /// Makes the page an empty leaf or node without neighbours.
  void Format(bool leaf, PageNumber table, std::uint8_t level) noexcept;
  void SetPrevious(PageNumber page) noexcept;
  void SetNext(PageNumber page) noexcept;
  void SetTail(PageNumber page) noexcept;
  /// Replaces all entries; they fit with the prefix.
  void Write(const IndexEntries& entries, std::size_t prefix) noexcept;
  /// Puts an entry in at a begin (or at Used()). False when that needs the page written anew: no space, or another prefix.
  [[nodiscard]] bool Insert(const IndexPageView& view, std::size_t begin, std::span<const std::byte> entry) noexcept;
  /// Takes the entry out.
  void Remove(const IndexPageView& view, std::size_t begin);

 private:
  void SetUsed(std::size_t used) noexcept;
  /// Moves the mask's bits from `from` on by a distance, up (positive) or down; bits that are passed over become 0.
  void MoveMask(std::size_t from, std::ptrdiff_t distance, std::size_t used) noexcept;
  void SetEnd(std::size_t offset) noexcept;
  void SetPrefix(std::size_t prefix) noexcept;

  const IndexLayout* layout_;
  std::byte* bytes_;
};

}  // namespace jet
