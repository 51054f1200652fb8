#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "jet/page/RowPointer.h"

namespace jet {

class Pager;

/// Where the bytes of a table's rows lie. The slot in which a row was put first is its identity ("home") for good; a row that has outgrown
/// its page lies elsewhere, and its home holds a pointer. Errors of all: kDamaged.
class RowPlaces {
 public:
  /// table: the definition page, which the table's data pages name as their owner. The name, for messages, must outlive this.
  RowPlaces(Pager& pager, PageNumber table, const std::string& name) : pager_(pager), table_(table), name_(name) {}

  /// The maps of the table's pages and of those with room, as the definition says.
  void Reset(PackedPointer ownedMap, PackedPointer freeMap) noexcept;

  /// Where the bytes of a row are; nothing when there is no live row.
  [[nodiscard]] std::optional<RowId> Find(RowId home);
  /// The same for a row that must be there.
  [[nodiscard]] RowId FindLive(RowId home);
  /// All slots that are identities of rows, or were.
  [[nodiscard]] std::vector<RowId> Homes();

  /// Puts a new row where there is room; gives its identity.
  [[nodiscard]] RowId Add(std::span<const std::byte> bytes) { return Place(bytes, 0); }
  /// Gives a row other bytes. Errors: kLimit when it must move and its home has no room for the pointer.
  void Replace(RowId home, std::span<const std::byte> bytes);
  void Remove(RowId home);

 private:
  [[nodiscard]] RowId Place(std::span<const std::byte> bytes, std::uint16_t flags);
  [[nodiscard]] std::optional<RowId> TryPlace(PageNumber candidate, std::span<const std::byte> bytes, std::uint16_t flags);
  [[nodiscard]] std::optional<RowId> PlaceInRoom(std::span<const std::byte> bytes, std::uint16_t flags);
  void RemoveSlot(RowId id);
  void NoteRoom(PageNumber number, unsigned freeBytes, unsigned slots);
  void NoteFull(PageNumber number);

  Pager& pager_;
  PageNumber table_;
  const std::string& name_;
  PackedPointer ownedMap_ = 0;
  PackedPointer freeMap_ = 0;
  PageNumber insertPage_ = 0;  ///< the page that had room last, 0 = not known
};

}  // namespace jet
