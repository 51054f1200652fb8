#include "jet/table/RowPlaces.h"

#include <cstring>

#include "jet/page/DataPage.h"
#include "jet/page/Pager.h"
#include "jet/page/UsageMap.h"
#include "jet/table/RowLayout.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"

namespace jet {
namespace {

constexpr std::size_t kPointerSize = 4;
static_assert(RowLayout::kMinRowSize >= kPointerSize);
constexpr unsigned kRoomWorthTrying = 256;  // free bytes under which a page is not looked at for new rows
constexpr unsigned kRoomForNothing = 70;    // and under which it is no longer listed, as real files have it
constexpr int kPagesTried = 8;

}  // namespace

void RowPlaces::Reset(PackedPointer ownedMap, PackedPointer freeMap) noexcept {
  ownedMap_ = ownedMap;
  freeMap_ = freeMap;
  insertPage_ = 0;
}

// ----- finding

std::optional<RowId> RowPlaces::Find(RowId home) {
  if (home.page == 0 || home.page >= pager_.PageCount()) return std::nullopt;
  const PageRef ref = pager_.Read(home.page);
  if (Load8(ref.Bytes().data()) != 1) return std::nullopt;
  const DataPage data(ref);
  if (data.Owner() != table_ || home.slot >= data.SlotCount()) return std::nullopt;
  const unsigned flags = data.Slot(home.slot) & DataPage::kDeletedFlags;
  if (flags == 0) return home;
  if (flags != DataPage::kPointerFlag) return std::nullopt;
  const auto pointer = data.RowBytes(home.slot);
  if (pointer.size() < kPointerSize) throw Error(ErrorCode::kDamaged, "The pointer to a moved row is too short", home.page, 0);
  const RowId target = Unpack(Load32(pointer.data()));
  const PageRef targetRef = pager_.Read(target.page);
  const DataPage targetData(targetRef);
  if (targetData.Owner() != table_ || target.slot >= targetData.SlotCount() ||
      (targetData.Slot(target.slot) & DataPage::kDeletedFlags) != DataPage::kMovedFlag)
    throw Error(ErrorCode::kDamaged, "The pointer to a moved row leads nowhere", home.page, data.Row(home.slot).offset);
  return target;
}

RowId RowPlaces::FindLive(RowId home) {
  const std::optional<RowId> place = Find(home);
  if (!place) throw Error(ErrorCode::kDamaged, "A row of the table \"" + name_ + "\" has no bytes", home.page, 0);
  return *place;
}

std::vector<RowId> RowPlaces::Homes() {
  std::vector<RowId> homes;
  for (const PageNumber number : UsageMap(pager_, ownedMap_).Pages(pager_.PageCount())) {
    const PageRef ref = pager_.Read(number);
    const DataPage data(ref);
    for (unsigned slot = 0; slot < data.SlotCount(); ++slot)
      if ((data.Slot(slot) & DataPage::kMovedFlag) == 0) homes.push_back({number, static_cast<std::uint8_t>(slot)});
  }
  return homes;
}

// ----- placing

void RowPlaces::NoteFull(PageNumber number) { UsageMap(pager_, freeMap_).Remove(number); }

void RowPlaces::NoteRoom(PageNumber number, unsigned freeBytes, unsigned slots) {
  if (freeBytes >= kRoomWorthTrying && slots < DataPage::kMaxSlots)
    UsageMap(pager_, freeMap_).Add(number);
  else
    NoteFull(number);
}

std::optional<RowId> RowPlaces::TryPlace(PageNumber candidate, std::span<const std::byte> bytes, std::uint16_t flags) {
  // Rows on a page that is listed as having room but not as the table's would never be found again.
  if (candidate != insertPage_ && !UsageMap(pager_, ownedMap_).Contains(candidate)) return std::nullopt;
  {
    const PageRef ref = pager_.Read(candidate);
    const DataPage data(ref);
    if (data.Owner() != table_) throw Error(ErrorCode::kDamaged, "A page listed for the table belongs to another", candidate, 4);
    const unsigned freeBytes = data.FreeBytes();
    if (data.SlotCount() >= DataPage::kMaxSlots || bytes.size() + 2 > freeBytes) {
      if (freeBytes < kRoomWorthTrying || data.SlotCount() >= DataPage::kMaxSlots) NoteFull(candidate);
      return std::nullopt;
    }
  }
  const PageRef ref = pager_.Edit(candidate);
  DataPageEditor editor(ref);
  const unsigned slot = editor.Add(bytes, flags);
  if (editor.FreeBytes() < kRoomForNothing || editor.SlotCount() >= DataPage::kMaxSlots) NoteFull(candidate);
  return RowId{candidate, static_cast<std::uint8_t>(slot)};
}

std::optional<RowId> RowPlaces::PlaceInRoom(std::span<const std::byte> bytes, std::uint16_t flags) {
  if (insertPage_ != 0)
    if (const auto id = TryPlace(insertPage_, bytes, flags)) return id;
  UsageMap freeMap(pager_, freeMap_);
  auto candidate = freeMap.NextFrom(0, pager_.PageCount());
  for (int tried = 0; candidate && tried < kPagesTried; ++tried) {
    if (*candidate != insertPage_) {
      if (const auto id = TryPlace(*candidate, bytes, flags)) {
        insertPage_ = *candidate;
        return id;
      }
    }
    candidate = freeMap.NextFrom(*candidate + 1, pager_.PageCount());
  }
  return std::nullopt;
}

RowId RowPlaces::Place(std::span<const std::byte> bytes, std::uint16_t flags) {
  if (const auto id = PlaceInRoom(bytes, flags)) return *id;
  const PageRef ref = pager_.Allocate();
  DataPageEditor editor = DataPageEditor::Format(ref, table_);
  const unsigned slot = editor.Add(bytes, flags);
  UsageMap(pager_, ownedMap_).Add(ref.Number());
  if (editor.FreeBytes() >= kRoomForNothing) UsageMap(pager_, freeMap_).Add(ref.Number());
  insertPage_ = ref.Number();
  return {ref.Number(), static_cast<std::uint8_t>(slot)};
}

void RowPlaces::Replace(RowId home, std::span<const std::byte> bytes) {
  const RowId place = FindLive(home);
  {
    const PageRef ref = pager_.Edit(place.page);
    DataPageEditor editor(ref);
    if (editor.CanResize(place.slot, bytes.size())) {
      editor.Resize(place.slot, bytes.size());
      std::memcpy(editor.Writable(place.slot).data(), bytes.data(), bytes.size());
      NoteRoom(place.page, editor.FreeBytes(), editor.SlotCount());
      return;
    }
  }
  // The row moves; its home keeps a pointer. A row that moved before leaves its second place and the pointer follows, never a chain.
  const RowId target = Place(bytes, DataPage::kMovedFlag);
  if (place != home) RemoveSlot(place);
  const PageRef ref = pager_.Edit(home.page);
  DataPageEditor editor(ref);
  if (!editor.CanResize(home.slot, kPointerSize)) throw Error(ErrorCode::kLimit, "The row cannot be moved: its page is full");
  editor.Resize(home.slot, kPointerSize);
  Store32(editor.Writable(home.slot).data(), Pack(target));
  editor.SetFlags(home.slot, DataPage::kPointerFlag);
  NoteRoom(home.page, editor.FreeBytes(), editor.SlotCount());
}

// ----- removing

void RowPlaces::RemoveSlot(RowId id) {
  const PageRef ref = pager_.Edit(id.page);
  DataPageEditor editor(ref);
  editor.Delete(id.slot);
  if (!editor.Empty()) {
    NoteRoom(id.page, editor.FreeBytes(), editor.SlotCount());
    return;
  }
  UsageMap(pager_, ownedMap_).Remove(id.page);
  NoteFull(id.page);
  pager_.Free(id.page);
  if (insertPage_ == id.page) insertPage_ = 0;
}

void RowPlaces::Remove(RowId home) {
  const RowId place = FindLive(home);
  if (place != home) RemoveSlot(place);
  RemoveSlot(home);
}

}  // namespace jet
