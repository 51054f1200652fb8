#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "jet/page/PageStore.h"

namespace jet {

/// A page of rows: table rows, pieces of long values or usage maps.
///
///   Jet 4 (Jet 3): 0  2  01 01                      slot: bits 0..12 offset of the row,
///                  2  2  free bytes                       0x4000 the row has moved: a row pointer stands here
///                  4  4  owner                            0x8000 a row moved here, met only through its pointer
///                 12  2  number of slots (8)              0xC000 deleted
///                 14  2  per slot (10)
///
/// Rows grow down from the end of the page; row i ends where row i-1 begins.
class DataPage {
 public:
  static constexpr std::uint16_t kOffsetMask = 0x1FFF;
  static constexpr std::uint16_t kPointerFlag = 0x4000;
  static constexpr std::uint16_t kMovedFlag = 0x8000;
  static constexpr std::uint16_t kDeletedFlags = 0xC000;
  static constexpr std::uint32_t kLongValueOwner = 0x4C41564C;  ///< "LVAL"
  static constexpr unsigned kMaxSlots = 255;

  struct Extent {
    std::uint16_t offset = 0;
    std::uint16_t size = 0;
  };

  /// Looks at a page. Errors: kDamaged when it is no data page or has more slots than fit.
  DataPage(PageNumber number, std::span<const std::byte> bytes);
  explicit DataPage(const PageRef& page) : DataPage(page.Number(), page.Bytes()) {}

  [[nodiscard]] unsigned SlotCount() const noexcept { return slotCount_; }
  /// The slot as stored, flags included.
  [[nodiscard]] std::uint16_t Slot(unsigned slot) const noexcept;
  /// Where the slot's bytes lie. Errors: kDamaged when the slot is not there or its offsets contradict each other.
  [[nodiscard]] Extent Row(unsigned slot) const;
  [[nodiscard]] std::span<const std::byte> RowBytes(unsigned slot) const;
  [[nodiscard]] std::uint32_t Owner() const noexcept;
  /// Free bytes as the slots say (not the field at offset 2). Errors: kDamaged.
  [[nodiscard]] unsigned FreeBytes() const;
  /// True when every slot is deleted.
  [[nodiscard]] bool Empty() const noexcept;
  [[nodiscard]] std::size_t HeaderSize() const noexcept { return slotsAt_; }

 protected:
  PageNumber number_;
  std::span<const std::byte> bytes_;
  unsigned slotCount_ = 0;
  std::size_t slotsAt_ = 14;
};

/// The same for changing.
class DataPageEditor : public DataPage {
 public:
  explicit DataPageEditor(const PageRef& page);
  /// Makes an empty data page out of a page of zeros.
  static DataPageEditor Format(const PageRef& page, std::uint32_t owner);

  /// True when a row of that size fits in a new slot.
  [[nodiscard]] bool Fits(std::size_t size) const;
  /// Adds a slot with the row. The caller has asked Fits.
  unsigned Add(std::span<const std::byte> row, std::uint16_t flags = 0);
  /// Adds a slot with so many zero bytes.
  unsigned AddZeros(std::size_t size);
  /// Takes the last slot away again.
  void RemoveLast();
  /// True when the slot's bytes can get that size in this page.
  [[nodiscard]] bool CanResize(unsigned slot, std::size_t size) const;
  /// Gives the slot another size, moving the rows behind it, keeping the leading bytes that both sizes have. The caller has asked CanResize.
  /// Errors: kDamaged, nothing moved, when a slot behind it contradicts it.
  void Resize(unsigned slot, std::size_t size);
  [[nodiscard]] std::span<std::byte> Writable(unsigned slot);
  void SetFlags(unsigned slot, std::uint16_t flags);
  /// Marks the slot deleted and gives its bytes back.
  void Delete(unsigned slot);

 private:
  void SetSlot(unsigned slot, std::uint16_t value);
  void SetCount(unsigned count);
  void StoreFree();
  [[nodiscard]] std::uint16_t Lowest() const;

  std::span<std::byte> writable_;
};

}  // namespace jet
