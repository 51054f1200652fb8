#include "jet/index/IndexPage.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <string>

#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"

namespace jet {
namespace {

constexpr std::size_t kFreeOffset = 2;
constexpr std::size_t kTableOffset = 4;
constexpr std::size_t kJet3PageSize = 2048;
constexpr std::size_t kJet4PageSize = 4096;
constexpr IndexLayout kJet4{12, 16, 20, 24, 2, 26, 27, 453, 480, kJet4PageSize - 480};
constexpr IndexLayout kJet3{8, 12, 16, 20, 1, 21, 22, 226, 248, kJet3PageSize - 248};
constexpr std::size_t WordsOf(std::size_t maskBytes) { return (maskBytes + 7) / 8; }
constexpr std::size_t kMostMaskWords = WordsOf(kJet4.maskBytes);
constexpr std::byte kNodeType{3};
constexpr std::byte kLeafType{4};

/// Bits below the n-th (n at most 63).
std::uint64_t BitsBelow(std::size_t n) noexcept { return (std::uint64_t{1} << n) - 1; }

}  // namespace

const IndexLayout& IndexLayout::Of(std::size_t pageSize) noexcept { return pageSize == kJet3PageSize ? kJet3 : kJet4; }

IndexTarget TargetOf(std::span<const std::byte> leafEntry) noexcept {
  PackedPointer row = 0;
  for (const std::byte byte : leafEntry.last(kRowPointerSize)) row = row << 8 | std::to_integer<PackedPointer>(byte);
  return {leafEntry.first(leafEntry.size() - kRowPointerSize), row, IndexTarget::Side::kExact};
}

void AppendRowPointer(RowId row, Bytes& entry) {
  const PackedPointer packed = Pack(row);
  for (int shift = 24; shift >= 0; shift -= 8) entry.push_back(static_cast<std::byte>(packed >> shift));
}

// ----- IndexEntries

void IndexEntries::Append(std::span<const std::byte> entry) {
  bytes_.insert(bytes_.end(), entry.begin(), entry.end());
  ends_.push_back(bytes_.size());
}

void IndexEntries::Insert(std::size_t i, std::span<const std::byte> entry) {
  const std::size_t begin = Begin(i);
  bytes_.insert(bytes_.begin() + static_cast<std::ptrdiff_t>(begin), entry.begin(), entry.end());
  ends_.insert(ends_.begin() + static_cast<std::ptrdiff_t>(i), begin);
  for (std::size_t k = i; k < ends_.size(); ++k) ends_[k] += entry.size();
}

void IndexEntries::Erase(std::size_t i) {
  const std::size_t begin = Begin(i);
  const std::size_t size = ends_[i] - begin;
  bytes_.erase(bytes_.begin() + static_cast<std::ptrdiff_t>(begin), bytes_.begin() + static_cast<std::ptrdiff_t>(ends_[i]));
  ends_.erase(ends_.begin() + static_cast<std::ptrdiff_t>(i));
  for (std::size_t k = i; k < ends_.size(); ++k) ends_[k] -= size;
}

IndexEntries IndexEntries::Slice(std::size_t first, std::size_t count) const {
  IndexEntries part;
  for (std::size_t i = first; i < first + count; ++i) part.Append((*this)[i]);
  return part;
}

std::size_t IndexEntries::CommonPrefix(bool leaf) const noexcept {
  if (Count() < 2) return 0;
  const std::size_t kept = leaf ? 1 : 1 + kChildSize;  // the slot of the row is never left out
  const std::span<const std::byte> first = (*this)[0];
  std::size_t common = first.size() - kept;
  for (std::size_t i = 1; i < Count() && common != 0; ++i) {
    const std::span<const std::byte> entry = (*this)[i];
    common = std::min(common, entry.size() - kept);
    common = static_cast<std::size_t>(
        std::mismatch(entry.begin(), entry.begin() + static_cast<std::ptrdiff_t>(common), first.begin()).first - entry.begin());
  }
  return common;
}

std::optional<std::size_t> IndexEntries::FittingPrefix(bool leaf, const IndexLayout& layout) const noexcept {
  if (Size() <= layout.entriesSize) return 0;
  const std::size_t prefix = std::min(CommonPrefix(leaf), layout.LongestPrefix());
  if (EncodedSize(prefix) <= layout.entriesSize) return prefix;
  return std::nullopt;
}

// ----- IndexPageView

IndexPageView::IndexPageView(std::span<const std::byte> bytes, PageNumber number)
    : layout_(&IndexLayout::Of(bytes.size())),
      bytes_(bytes.data()),
      number_(number),
      pointerSize_(kRowPointerSize + (bytes[0] == kLeafType ? 0 : kChildSize)),
      leaf_(bytes[0] == kLeafType) {
  if (bytes.size() != kJet4PageSize && bytes.size() != kJet3PageSize)
    throw Error(ErrorCode::kUnsupported, "indexes of this file format cannot be used");
  if (!leaf_ && bytes[0] != kNodeType) throw Error(ErrorCode::kDamaged, "this is no index page", number, 0);
  prefix_ = layout_->prefixSize == 1 ? Load8(bytes_ + layout_->prefix) : Load16(bytes_ + layout_->prefix);
  for (std::size_t word = MaskWords(); word-- != 0;) {
    const std::uint64_t bits = MaskWord(word);
    if (bits == 0) continue;
    used_ = word * 64 + static_cast<std::size_t>(63 - std::countl_zero(bits));
    break;
  }
  if (used_ > layout_->entriesSize) throw Error(ErrorCode::kDamaged, "an index entry ends outside its page", number, layout_->mask);
  if ((bytes_[layout_->mask] & std::byte{1}) != std::byte{0}) {
    throw Error(ErrorCode::kDamaged, "an index entry is empty", number, layout_->mask);
  }
  if (used_ != 0 && prefix_ > EndOf(0)) {
    throw Error(ErrorCode::kDamaged, "the prefix of an index page is longer than its first entry", number, layout_->prefix);
  }
}

std::size_t IndexPageView::FreeBytes() const noexcept { return Load16(bytes_ + kFreeOffset); }
PageNumber IndexPageView::Table() const noexcept { return Load32(bytes_ + kTableOffset); }
PageNumber IndexPageView::Previous() const noexcept { return Load32(bytes_ + layout_->previous); }
PageNumber IndexPageView::Next() const noexcept { return Load32(bytes_ + layout_->next); }
PageNumber IndexPageView::Tail() const noexcept { return Load32(bytes_ + layout_->tail); }
std::uint8_t IndexPageView::Level() const noexcept { return std::to_integer<std::uint8_t>(bytes_[layout_->level]); }

std::uint64_t IndexPageView::MaskWord(std::size_t word) const noexcept {
  // The last word reaches into the entries, whose bytes are cut off.
  const std::uint64_t bits = Load64(bytes_ + layout_->mask + word * 8);
  return word == MaskWords() - 1 ? bits & BitsBelow(layout_->maskBytes % 8 * 8u) : bits;
}

std::size_t IndexPageView::BeginAt(std::size_t offset) const noexcept {
  std::size_t word = offset / 64;
  std::uint64_t bits = MaskWord(word) & (BitsBelow(offset % 64) | std::uint64_t{1} << (offset % 64));
  while (bits == 0) {
    if (word == 0) return 0;
    bits = MaskWord(--word);
  }
  return word * 64 + static_cast<std::size_t>(63 - std::countl_zero(bits));
}

std::size_t IndexPageView::EndOf(std::size_t begin) const {
  std::size_t word = (begin + 1) / 64;
  std::uint64_t bits = MaskWord(word) & ~BitsBelow((begin + 1) % 64);
  while (bits == 0) {
    if (++word >= MaskWords()) Refuse("an index entry has no end", begin);
    bits = MaskWord(word);
  }
  return word * 64 + static_cast<std::size_t>(std::countr_zero(bits));
}

std::size_t IndexPageView::CountBefore(std::size_t offset) const noexcept {
  // Each entry that begins before the offset, but the first, begins at a bit of the mask.
  if (offset == 0 || used_ == 0) return 0;
  std::size_t count = 1;
  for (std::size_t word = 0; word <= (offset - 1) / 64; ++word) {
    std::uint64_t bits = MaskWord(word);
    if (word == offset / 64) bits &= BitsBelow(offset % 64);
    count += static_cast<std::size_t>(std::popcount(bits));
  }
  return count;
}

void IndexPageView::Refuse(const char* what, std::size_t begin) const {
  throw Error(ErrorCode::kDamaged, what, number_, static_cast<std::uint32_t>(layout_->entries + begin));
}

IndexPageView::Entry IndexPageView::Bounds(std::size_t begin) const {
  Entry entry{begin, EndOf(begin), 0};
  const std::size_t size = entry.end - begin + (begin == 0 ? 0 : prefix_);
  if (size < pointerSize_) Refuse("an index entry is too short", begin);
  entry.keySize = size - pointerSize_;
  return entry;
}

std::uint8_t IndexPageView::ByteOf(const Entry& entry, std::size_t i) const noexcept {
  const std::size_t at = entry.begin == 0 || i < prefix_ ? i : entry.begin + i - prefix_;
  return std::to_integer<std::uint8_t>(Area()[at]);
}

std::uint32_t IndexPageView::BigEndianAt(const Entry& entry, std::size_t i) const noexcept {
  std::uint32_t number = 0;
  for (std::size_t k = 0; k < 4; ++k) number = number << 8 | ByteOf(entry, i + k);
  return number;
}

std::size_t IndexPageView::CommonWithPrefix(std::span<const std::byte> key) const noexcept {
  const std::size_t size = std::min(prefix_, key.size());
  std::size_t common = 0;
  while (common < size && key[common] == Area()[common]) ++common;
  return common;
}

int IndexPageView::CompareKeys(const Entry& entry, std::span<const std::byte> key, std::size_t common) const noexcept {
  const std::size_t size = std::min(entry.keySize, key.size());
  const std::size_t shared = entry.begin == 0 ? 0 : std::min(prefix_, size);
  if (common < shared) return Area()[common] < key[common] ? -1 : 1;
  return size == shared ? 0 : std::memcmp(Area() + entry.begin, key.data() + shared, size - shared);
}

int IndexPageView::Compare(const Entry& entry, const IndexTarget& target, std::size_t common) const noexcept {
  const int order = CompareKeys(entry, target.key, common);
  if (order != 0) return order;
  if (target.side != IndexTarget::Side::kExact) {
    return target.key.size() <= entry.keySize && target.side == IndexTarget::Side::kBefore ? 1 : -1;
  }
  if (entry.keySize != target.key.size()) return entry.keySize < target.key.size() ? -1 : 1;
  const PackedPointer row = BigEndianAt(entry, entry.keySize);
  return row < target.row ? -1 : row > target.row ? 1 : 0;
}

int IndexPageView::Compare(std::size_t begin, const IndexTarget& target) const {
  return Compare(Bounds(begin), target, CommonWithPrefix(target.key));
}

std::size_t IndexPageView::LowerBound(const IndexTarget& target) const {
  const std::size_t common = CommonWithPrefix(target.key);
  std::size_t low = 0;
  std::size_t high = used_;
  while (low < high) {
    const Entry entry = Bounds(BeginAt((low + high) / 2));
    if (Compare(entry, target, common) < 0) {
      low = entry.end;
    } else {
      high = entry.begin;
    }
  }
  return low;
}

void IndexPageView::CopyEntry(std::size_t begin, Bytes& entry) const {
  const Entry bounds = Bounds(begin);
  entry.clear();
  if (begin != 0) entry.insert(entry.end(), Area(), Area() + prefix_);
  entry.insert(entry.end(), Area() + begin, Area() + bounds.end);
}

PackedPointer IndexPageView::RowOf(std::size_t begin) const {
  const Entry entry = Bounds(begin);
  return BigEndianAt(entry, entry.keySize);
}

PageNumber IndexPageView::ChildOf(std::size_t begin) const {
  const Entry entry = Bounds(begin);
  return BigEndianAt(entry, entry.keySize + kRowPointerSize);
}

bool IndexPageView::KeyEquals(std::size_t begin, std::span<const std::byte> key) const {
  const Entry entry = Bounds(begin);
  return entry.keySize == key.size() && CompareKeys(entry, key, CommonWithPrefix(key)) == 0;
}

bool IndexPageView::EntryEquals(std::size_t begin, std::span<const std::byte> key, PackedPointer row) const {
  return Compare(begin, {key, row, IndexTarget::Side::kExact}) == 0;
}

IndexEntries IndexPageView::Decode() const {
  IndexEntries entries;
  Bytes entry;
  for (std::size_t begin = 0; begin < used_; begin = EndOf(begin)) {
    CopyEntry(begin, entry);
    entries.Append(entry);
  }
  return entries;
}

// ----- IndexPageEditor

void IndexPageEditor::Format(bool leaf, PageNumber table, std::uint8_t level) noexcept {
  std::memset(bytes_, 0, std::size_t{layout_->entries} + layout_->entriesSize);
  bytes_[0] = leaf ? kLeafType : kNodeType;
  bytes_[1] = std::byte{1};
  Store32(bytes_ + kTableOffset, table);
  bytes_[layout_->level] = static_cast<std::byte>(level);
  SetUsed(0);
}

void IndexPageEditor::SetPrevious(PageNumber page) noexcept { Store32(bytes_ + layout_->previous, page); }
void IndexPageEditor::SetNext(PageNumber page) noexcept { Store32(bytes_ + layout_->next, page); }
void IndexPageEditor::SetTail(PageNumber page) noexcept { Store32(bytes_ + layout_->tail, page); }
void IndexPageEditor::SetUsed(std::size_t used) noexcept {
  Store16(bytes_ + kFreeOffset, static_cast<std::uint16_t>(layout_->entriesSize - used));
}

void IndexPageEditor::SetEnd(std::size_t offset) noexcept {
  bytes_[layout_->mask + offset / 8] |= static_cast<std::byte>(1u << (offset % 8));
}

void IndexPageEditor::SetPrefix(std::size_t prefix) noexcept {
  if (layout_->prefixSize == 1)
    Store8(bytes_ + layout_->prefix, static_cast<std::uint8_t>(prefix));
  else
    Store16(bytes_ + layout_->prefix, static_cast<std::uint16_t>(prefix));
}

void IndexPageEditor::Write(const IndexEntries& entries, std::size_t prefix) noexcept {
  std::memset(bytes_ + layout_->mask, 0, std::size_t{layout_->maskBytes} + layout_->entriesSize);
  SetPrefix(prefix);
  std::size_t used = 0;
  for (std::size_t i = 0; i < entries.Count(); ++i) {
    const std::span<const std::byte> kept = entries[i].subspan(i == 0 ? 0 : prefix);
    std::memcpy(bytes_ + layout_->entries + used, kept.data(), kept.size());
    used += kept.size();
    SetEnd(used);
  }
  SetUsed(used);
}

bool IndexPageEditor::Insert(const IndexPageView& view, std::size_t begin, std::span<const std::byte> entry) noexcept {
  const std::size_t used = view.Used();
  const std::size_t prefix = used == 0 ? 0 : view.Prefix();
  std::byte* const area = bytes_ + layout_->entries;
  if (used == 0) {
    SetPrefix(0);
  } else if (prefix != 0) {
    const std::size_t kept = view.IsLeaf() ? 1 : 1 + kChildSize;
    if (entry.size() < prefix + kept || std::memcmp(entry.data(), area, prefix) != 0) return false;
  }
  // The first entry is whole. Where another one takes its place, it is the one that was first whose prefix goes.
  const std::size_t grown = entry.size() - prefix;
  if (used + grown > layout_->entriesSize) return false;
  const std::size_t placed = begin == 0 ? entry.size() : grown;
  if (begin != used) {
    const std::size_t from = begin == 0 ? prefix : begin;
    std::memmove(area + from + grown, area + from, used - from);
    MoveMask(begin + 1, static_cast<std::ptrdiff_t>(grown), used);
  }
  std::memcpy(area + begin, entry.data() + (entry.size() - placed), placed);
  SetEnd(begin + placed);
  SetUsed(used + grown);
  return true;
}

void IndexPageEditor::Remove(const IndexPageView& view, std::size_t begin) {
  const std::size_t used = view.Used();
  const std::size_t end = view.EndOf(begin);
  std::byte* const area = bytes_ + layout_->entries;
  // When the first entry goes, the next one becomes whole: the prefix stays where it is.
  const std::size_t from = begin == 0 && end != used ? view.Prefix() : begin;
  const std::size_t size = end - from;
  std::memmove(area + from, area + end, used - end);
  std::memset(area + used - size, 0, size);
  bytes_[layout_->mask + end / 8] &= ~static_cast<std::byte>(1u << (end % 8));
  if (end != used) MoveMask(end + 1, -static_cast<std::ptrdiff_t>(size), used);
  SetUsed(used - size);
}

void IndexPageEditor::MoveMask(std::size_t from, std::ptrdiff_t distance, std::size_t used) noexcept {
  // One word of room on each side, so that neighbours can be looked at without asking whether they are there.
  const std::size_t maskBytes = layout_->maskBytes;
  const std::size_t maskWords = WordsOf(maskBytes);
  std::array<std::uint64_t, kMostMaskWords + 2> words{};
  std::memcpy(&words[1], bytes_ + layout_->mask, maskBytes);
  for (std::uint64_t& word : words) word = Load64(reinterpret_cast<const std::byte*>(&word));
  const auto moving = [&](std::size_t word) {  // word counts from 1
    if (word * 64 <= from) return std::uint64_t{0};
    return (word - 1) * 64 >= from ? words[word] : words[word] & ~BitsBelow(from % 64);
  };
  const std::size_t bits = static_cast<std::size_t>(distance < 0 ? -distance : distance);
  const std::size_t whole = bits / 64;
  const std::size_t part = bits % 64;
  const auto movedUp = [&](std::size_t word) {
    std::uint64_t value = word > whole ? moving(word - whole) << part : 0;
    if (part != 0 && word > whole + 1) value |= moving(word - whole - 1) >> (64 - part);
    return value;
  };
  const auto movedDown = [&](std::size_t word) {
    std::uint64_t value = word + whole <= maskWords ? moving(word + whole) >> part : 0;
    if (part != 0 && word + whole + 1 <= maskWords) value |= moving(word + whole + 1) << (64 - part);
    return value;
  };
  std::array<std::uint64_t, kMostMaskWords + 2> moved{};
  const std::size_t last = std::min(maskWords, (used + (distance > 0 ? bits : 0)) / 64 + 1);
  const std::size_t keep = distance < 0 ? from - bits : from;  // bits below stay as they are
  for (std::size_t word = keep / 64 + 1; word <= last; ++word) {
    moved[word] = distance > 0 ? movedUp(word) : movedDown(word);
    if (word == keep / 64 + 1) moved[word] |= words[word] & BitsBelow(keep % 64);
  }
  const std::size_t firstByte = keep / 64 * 8;
  for (std::uint64_t& word : moved) Store64(reinterpret_cast<std::byte*>(&word), word);
  std::memcpy(bytes_ + layout_->mask + firstByte, reinterpret_cast<const std::byte*>(&moved[1]) + firstByte,
              std::min(maskBytes, last * 8) - firstByte);
}

}  // namespace jet
