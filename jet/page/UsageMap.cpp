#include "jet/page/UsageMap.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "jet/value/ByteOrder.h"
#include "jet/page/DataPage.h"
#include "jet/value/Error.h"

namespace jet {
namespace {

constexpr std::size_t kInlineHeader = 5;
constexpr std::uint8_t kInline = 0;
constexpr std::uint8_t kByReference = 1;
constexpr std::size_t kBitmapHeader = 4;

bool GetBit(std::span<const std::byte> bits, std::size_t i) { return (Load8(bits.data() + i / 8) >> (i % 8) & 1) != 0; }

void PutBit(std::span<std::byte> bits, std::size_t i, bool on) {
  const auto mask = static_cast<std::byte>(1u << (i % 8));
  bits[i / 8] = on ? bits[i / 8] | mask : bits[i / 8] & ~mask;
}

/// First bit equal to `on` in [from, to); to when there is none.
std::size_t FindBit(std::span<const std::byte> bits, std::size_t from, std::size_t to, bool on) {
  const std::byte skip = on ? std::byte{0} : std::byte{0xFF};
  while (from < to) {
    if (from % 8 == 0 && bits[from / 8] == skip) {
      from += 8;
      continue;
    }
    if (GetBit(bits, from) == on) return from;
    ++from;
  }
  return to;
}

/// A map row and the page that holds it.
struct MapRow {
  PageRef page;
  std::span<const std::byte> bytes;
  std::uint32_t offset = 0;

  MapRow(PageStore& store, RowId where) : page(store.Read(where.page)) {
    const DataPage data(page);
    const auto extent = data.Row(where.slot);
    offset = extent.offset;
    bytes = page.Bytes().subspan(extent.offset, extent.size);
    if (extent.size < kInlineHeader || Load8(bytes.data()) > kByReference)
      throw Error(ErrorCode::kDamaged, "A usage map has no known form", where.page, offset);
  }
  [[nodiscard]] bool IsInline() const { return Load8(bytes.data()) == kInline; }
  [[nodiscard]] PageNumber Start() const { return Load32(bytes.data() + 1); }
  [[nodiscard]] std::span<const std::byte> Bitmap() const { return bytes.subspan(kInlineHeader); }
  [[nodiscard]] std::size_t References() const { return (bytes.size() - 1) / 4; }
  [[nodiscard]] PageNumber Reference(std::size_t i) const { return Load32(bytes.data() + 1 + 4 * i); }
};

/// A pointer that leads to a row of another kind must not have that row changed.
void RequireMapRow(const PageRef& page, RowId where) {
  constexpr PageNumber kPageOfGlobalMaps = 1;
  const DataPage editor(page);
  if (where.page != kPageOfGlobalMaps && editor.Owner() != 0)
    throw Error(ErrorCode::kDamaged, "A usage map lies among rows of another kind", where.page, 4);
  if ((editor.Slot(where.slot) & DataPage::kDeletedFlags) != 0)
    throw Error(ErrorCode::kDamaged, "A usage map has been deleted", where.page, 0);
}

std::span<std::byte> EditRow(PageStore& store, RowId where, PageRef& page) {
  page = store.Edit(where.page);
  RequireMapRow(page, where);
  return DataPageEditor(page).Writable(where.slot);
}

PageRef ReadBitmap(PageStore& store, PageNumber number) {
  PageRef page = store.Read(number);
  if (Load8(page.Bytes().data()) != 5) throw Error(ErrorCode::kDamaged, "A usage map names a page that holds no bitmap", number, 0);
  return page;
}

}  // namespace

/// One stretch of bits and the page to which its first bit belongs.
struct UsageMap::Bits {
  PageRef page;
  std::span<const std::byte> bytes;
  PageNumber first = 0;
  PageNumber count = 0;  ///< pages covered; without bytes: those that a missing bitmap page would cover

  [[nodiscard]] bool Covers(PageNumber number) const { return !bytes.empty() && number >= first && number - first < count; }
};

UsageMap::Bits UsageMap::Locate(PageNumber number) {
  MapRow row(store_, where_);
  Bits bits;
  if (row.IsInline()) {
    bits.first = row.Start();
    bits.bytes = row.Bitmap();
    bits.count = static_cast<PageNumber>(bits.bytes.size() * 8);
    bits.page = std::move(row.page);
    return bits;
  }
  const std::size_t index = number / PagesPerBitmap();
  bits.first = static_cast<PageNumber>(index) * PagesPerBitmap();
  bits.count = PagesPerBitmap();
  // A reference outside the file is what is left of an earlier inline form: it counts as none.
  const PageNumber reference = index < row.References() ? row.Reference(index) : 0;
  if (reference == 0 || reference >= store_.PageCount()) return bits;
  bits.page = ReadBitmap(store_, reference);
  bits.bytes = bits.page.Bytes().subspan(kBitmapHeader);
  return bits;
}

bool UsageMap::Contains(PageNumber number) {
  const Bits bits = Locate(number);
  if (!bits.Covers(number)) return Uncovered(number);
  return GetBit(bits.bytes, number - bits.first);
}

bool UsageMap::Covers(PageNumber number) { return Locate(number).Covers(number); }

std::optional<PageNumber> UsageMap::Find(PageNumber number, PageNumber limit, bool on) {
  while (number < limit) {
    const Bits bits = Locate(number);
    if (bits.Covers(number)) {
      const std::size_t to = std::min<std::size_t>(bits.count, limit - bits.first);
      const std::size_t found = FindBit(bits.bytes, number - bits.first, to, on);
      if (found < to) return bits.first + static_cast<PageNumber>(found);
      number = bits.first + static_cast<PageNumber>(to);
      continue;
    }
    PageNumber end = limit;  // of the stretch without bits: behind an inline map
    if (number < bits.first)
      end = std::min(limit, bits.first);  // before it
    else if (bits.bytes.empty() && bits.count != 0)
      end = std::min(limit, bits.first + bits.count);  // a missing bitmap page
    if (Uncovered(number) == on) return number;
    if (const PageNumber turn = store_.PageCount(); number < turn && turn < end && Uncovered(turn) == on) return turn;
    number = end;
  }
  return std::nullopt;
}

std::vector<PageNumber> UsageMap::Pages(PageNumber limit) {
  std::vector<PageNumber> pages;
  for (auto page = NextFrom(0, limit); page; page = NextFrom(*page + 1, limit)) pages.push_back(*page);
  return pages;
}

std::vector<PageNumber> UsageMap::BitmapPages() {
  std::vector<PageNumber> pages;
  const MapRow row(store_, where_);
  if (row.IsInline()) return pages;
  for (std::size_t i = 0; i < row.References(); ++i)
    if (row.Reference(i) != 0 && row.Reference(i) < store_.PageCount()) pages.push_back(row.Reference(i));
  return pages;
}

bool UsageMap::NamesBitmapsOutside() {
  const MapRow row(store_, where_);
  if (row.IsInline()) return false;
  for (std::size_t i = 0; i < row.References(); ++i)
    if (row.Reference(i) >= store_.PageCount()) return true;
  return false;
}

void UsageMap::Set(PageNumber number, bool on) {
  Bits bits = Locate(number);
  if (!bits.Covers(number)) {
    if (kind_ == Kind::kOwned && !on) return;
    // Before an inline map of free pages everybody takes a page for used. Behind it others take it for free: that must be told.
    if (kind_ == Kind::kFreePages && !on && number < bits.first) return;
    MakeRoomFor(number);
    bits = Locate(number);
  }
  if (GetBit(bits.bytes, number - bits.first) == on) return;
  const std::size_t at = static_cast<std::size_t>(bits.bytes.data() - bits.page.Bytes().data());
  const PageRef page = store_.Edit(bits.page.Number());
  if (page.Number() == where_.page) RequireMapRow(page, where_);
  PutBit(page.Writable().subspan(at, bits.bytes.size()), number - bits.first, on);
}

void UsageMap::MakeRoomFor(PageNumber number) {
  {
    const MapRow row(store_, where_);
    if (row.IsInline() && kind_ == Kind::kOwned) {
      if (MoveStart(number)) return;
    }
  }
  if (MapRow(store_, where_).IsInline()) ConvertToReferences();
  const std::size_t index = number / PagesPerBitmap();
  const MapRow row(store_, where_);
  if (index >= row.References()) throw Error(ErrorCode::kLimit, "The file is too large for its usage maps");
  const PageNumber reference = row.Reference(index);
  if (reference == 0 || reference >= store_.PageCount()) NewBitmap(index);
}

bool UsageMap::MoveStart(PageNumber number) {
  const MapRow row(store_, where_);
  const auto bitmap = row.Bitmap();
  const std::size_t count = bitmap.size() * 8;
  const std::size_t lowest = FindBit(bitmap, 0, count, true);
  std::size_t highest = lowest;
  for (std::size_t i = count; i > lowest; --i)
    if (GetBit(bitmap, i - 1)) {
      highest = i - 1;
      break;
    }
  const PageNumber low = lowest == count ? number : std::min<PageNumber>(number, row.Start() + static_cast<PageNumber>(lowest));
  const PageNumber high = lowest == count ? number : std::max<PageNumber>(number, row.Start() + static_cast<PageNumber>(highest));
  const PageNumber start = low & ~PageNumber{7};
  if (high - start >= count) return false;
  std::vector<std::byte> moved(bitmap.size());
  for (std::size_t i = lowest; i < count; ++i)
    if (GetBit(bitmap, i)) PutBit(moved, row.Start() + i - start, true);
  PageRef page;
  const auto bytes = EditRow(store_, where_, page);
  Store32(bytes.data() + 1, start);
  std::copy(moved.begin(), moved.end(), bytes.begin() + kInlineHeader);
  return true;
}

void UsageMap::ConvertToReferences() {
  std::vector<std::byte> bitmap;
  PageNumber start = 0;
  const PageNumber end = store_.PageCount();  // bitmap pages come behind it
  {
    const MapRow row(store_, where_);
    bitmap.assign(row.Bitmap().begin(), row.Bitmap().end());
    start = row.Start();
    PageRef page;
    const auto bytes = EditRow(store_, where_, page);
    std::fill(bytes.begin(), bytes.end(), std::byte{0});
    Store8(bytes.data(), kByReference);
  }
  for (std::size_t i = 0; i < bitmap.size() * 8; ++i) {
    const PageNumber page = start + static_cast<PageNumber>(i);
    const bool set = GetBit(bitmap, i);
    // Pages to come were free without a bit too, and one of them may have become a bitmap page by now.
    if (kind_ == Kind::kOwned ? set : page < end || !set) Set(page, set);
  }
}

void UsageMap::NewBitmap(std::size_t index) {
  PageNumber number = 0;
  {
    const PageRef bitmap = source_ ? source_() : store_.Allocate();
    number = bitmap.Number();
    const auto bytes = bitmap.Writable();
    std::fill(bytes.begin(), bytes.end(), std::byte{0});
    Store32(bytes.data(), 0x00000105);
    if (kind_ == Kind::kFreePages) {
      // What had no bit keeps its meaning: pages that are there are in use, those to come are free.
      const PageNumber first = static_cast<PageNumber>(index) * PagesPerBitmap();
      const PageNumber there = std::min(std::max(store_.PageCount(), first) - first, PagesPerBitmap());
      for (PageNumber i = there; i < PagesPerBitmap(); ++i) PutBit(bytes.subspan(kBitmapHeader), i, true);
    }
  }
  {
    PageRef page;
    const auto bytes = EditRow(store_, where_, page);
    Store32(bytes.data() + 1 + 4 * index, number);
  }
  // The page is in use from now on, and only its own map can say so.
  if (kind_ == Kind::kFreePages) Remove(number);
}

void UsageMap::Clear() {
  const auto pages = BitmapPages();
  {
    PageRef page;
    const auto bytes = EditRow(store_, where_, page);
    std::fill(bytes.begin(), bytes.end(), std::byte{0});
  }
  for (const auto page : pages) store_.Free(page);
}

}  // namespace jet
