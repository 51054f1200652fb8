#include "jet/page/DataPage.h"

#include <cstring>

#include "jet/page/Format.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"

namespace jet {
namespace {

constexpr std::size_t kFreeOffset = 2;
constexpr std::size_t kOwnerOffset = 4;

}  // namespace

DataPage::DataPage(PageNumber number, std::span<const std::byte> bytes) : number_(number), bytes_(bytes) {
  slotsAt_ = Format::Of(bytes.size()).slots;
  if (Load8(bytes.data()) != 1) throw Error(ErrorCode::kDamaged, "A data page is expected here", number, 0);
  slotCount_ = Load16(bytes.data() + slotsAt_ - 2);
  if (slotCount_ * 2 > bytes.size() - slotsAt_)
    throw Error(ErrorCode::kDamaged, "A data page has more row slots than fit", number, static_cast<std::uint32_t>(slotsAt_ - 2));
}

std::uint16_t DataPage::Slot(unsigned slot) const noexcept { return Load16(bytes_.data() + slotsAt_ + 2 * slot); }

DataPage::Extent DataPage::Row(unsigned slot) const {
  if (slot >= slotCount_)
    throw Error(ErrorCode::kDamaged, "A row is referred to that the page does not have", number_, static_cast<std::uint32_t>(slotsAt_));
  const unsigned begin = Slot(slot) & kOffsetMask;
  const unsigned end = slot == 0 ? static_cast<unsigned>(bytes_.size()) : Slot(slot - 1) & kOffsetMask;
  if (begin > end || end > bytes_.size() || begin < slotsAt_ + 2 * slotCount_)
    throw Error(ErrorCode::kDamaged, "A row slot points outside the page's rows", number_, static_cast<std::uint32_t>(slotsAt_ + 2 * slot));
  return {static_cast<std::uint16_t>(begin), static_cast<std::uint16_t>(end - begin)};
}

std::span<const std::byte> DataPage::RowBytes(unsigned slot) const {
  const Extent extent = Row(slot);
  return bytes_.subspan(extent.offset, extent.size);
}

std::uint32_t DataPage::Owner() const noexcept { return Load32(bytes_.data() + kOwnerOffset); }

unsigned DataPage::FreeBytes() const {
  const std::size_t lowest = slotCount_ == 0 ? bytes_.size() : Row(slotCount_ - 1).offset;
  return static_cast<unsigned>(lowest - slotsAt_ - 2 * slotCount_);
}

bool DataPage::Empty() const noexcept {
  for (unsigned slot = 0; slot < slotCount_; ++slot)
    if ((Slot(slot) & kDeletedFlags) != kDeletedFlags) return false;
  return true;
}

DataPageEditor::DataPageEditor(const PageRef& page) : DataPage(page), writable_(page.Writable()) {}

DataPageEditor DataPageEditor::Format(const PageRef& page, std::uint32_t owner) {
  auto bytes = page.Writable();
  Store16(bytes.data(), 0x0101);
  Store32(bytes.data() + kOwnerOffset, owner);
  DataPageEditor editor(page);
  editor.StoreFree();
  return editor;
}

std::uint16_t DataPageEditor::Lowest() const {
  return slotCount_ == 0 ? static_cast<std::uint16_t>(bytes_.size()) : Row(slotCount_ - 1).offset;
}

bool DataPageEditor::Fits(std::size_t size) const { return slotCount_ < kMaxSlots && size + 2 <= FreeBytes(); }

void DataPageEditor::SetSlot(unsigned slot, std::uint16_t value) { Store16(writable_.data() + slotsAt_ + 2 * slot, value); }

void DataPageEditor::SetCount(unsigned count) {
  slotCount_ = count;
  Store16(writable_.data() + slotsAt_ - 2, static_cast<std::uint16_t>(count));
}

void DataPageEditor::StoreFree() { Store16(writable_.data() + kFreeOffset, static_cast<std::uint16_t>(FreeBytes())); }

unsigned DataPageEditor::Add(std::span<const std::byte> row, std::uint16_t flags) {
  const unsigned slot = AddZeros(row.size());
  std::memcpy(Writable(slot).data(), row.data(), row.size());
  if (flags != 0) SetFlags(slot, flags);
  return slot;
}

unsigned DataPageEditor::AddZeros(std::size_t size) {
  const auto offset = static_cast<std::uint16_t>(Lowest() - size);
  const unsigned slot = slotCount_;
  SetCount(slot + 1);
  SetSlot(slot, offset);
  std::memset(writable_.data() + offset, 0, size);
  StoreFree();
  return slot;
}

void DataPageEditor::RemoveLast() {
  const Extent last = Row(slotCount_ - 1);
  std::memset(writable_.data() + last.offset, 0, last.size);
  SetSlot(slotCount_ - 1, 0);
  SetCount(slotCount_ - 1);
  StoreFree();
}

bool DataPageEditor::CanResize(unsigned slot, std::size_t size) const { return size <= Row(slot).size + FreeBytes(); }

void DataPageEditor::Resize(unsigned slot, std::size_t size) {
  const Extent old = Row(slot);
  if (old.size == size) return;
  const int delta = static_cast<int>(size) - old.size;  // > 0: everything from the row's begin downwards moves down
  // On a damaged page the rows behind this one may claim to lie before it: nothing is moved then.
  for (unsigned i = slot + 1; i < slotCount_; ++i) (void)Row(i);
  const std::uint16_t lowest = Lowest();
  // Rows behind this one (at lower offsets) move as a block; of this row the leading bytes stay in front.
  const std::size_t keep = delta > 0 ? old.size : size;
  std::memmove(writable_.data() + lowest - delta, writable_.data() + lowest, old.offset - lowest + keep);
  for (unsigned i = slot; i < slotCount_; ++i) {
    const std::uint16_t value = Slot(i);
    SetSlot(i, static_cast<std::uint16_t>((value & ~kOffsetMask) | ((value & kOffsetMask) - delta)));
  }
  // What the bytes leave behind is not kept: neither in front of the row that grew nor in the free space.
  const std::size_t left = delta > 0 ? old.offset - delta + keep : lowest;
  std::memset(writable_.data() + left, 0, static_cast<std::size_t>(delta > 0 ? delta : -delta));
  StoreFree();
}

std::span<std::byte> DataPageEditor::Writable(unsigned slot) {
  const Extent extent = Row(slot);
  return writable_.subspan(extent.offset, extent.size);
}

void DataPageEditor::SetFlags(unsigned slot, std::uint16_t flags) {
  SetSlot(slot, static_cast<std::uint16_t>((Slot(slot) & kOffsetMask) | flags));
}

void DataPageEditor::Delete(unsigned slot) {
  Resize(slot, 0);
  SetFlags(slot, kDeletedFlags);
}

}  // namespace jet
