#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "jet/page/Format.h"
#include "jet/page/PageStore.h"
#include "jet/page/RowPointer.h"
#include "jet/table/Row.h"
#include "jet/value/Value.h"

namespace jet {

/// A long value as its row names it.
///
///   0  4  length (30 bits), kind in the two high bits
///   4  4  row pointer of the first piece
///   8  4  0, or a number that Access repeats in the first page of a chain
///  12     the bytes themselves, inline kind only
struct LongValueDefinition {
  enum class Kind : std::uint8_t { kChain = 0, kSinglePage = 1, kInline = 2 };
  static constexpr std::size_t kSize = 12;

  std::uint32_t length = 0;
  Kind kind = Kind::kInline;
  PackedPointer first = 0;
  std::span<const std::byte> inlineBytes;

  /// Reads the definition at the beginning of a column's stored bytes; page and offset are for messages. Errors: kDamaged.
  static LongValueDefinition Parse(std::span<const std::byte> stored, PageNumber page, std::uint32_t offset);
};

/// Reads the bytes of a long value one piece after the other. Errors: kDamaged (also for chains that run in circles).
class LongValueStream {
 public:
  LongValueStream(PageStore& store, const LongValueDefinition& definition, PageNumber page, std::uint32_t offset);
  /// The next bytes, as many as lie together; empty at the end. They live until the next call.
  [[nodiscard]] std::span<const std::byte> Next();
  [[nodiscard]] std::uint32_t Length() const noexcept { return definition_.length; }

 private:
  PageStore& store_;
  LongValueDefinition definition_;
  PageRef page_;
  PackedPointer next_;
  std::uint32_t left_;
};

/// Appends the whole value to the text, decoded when it is a memo: stored bytes in `codePage` when that is not 0 (Jet 3).
void AppendLongText(PageStore& store, const LongValueDefinition& definition, std::uint16_t codePage, PageNumber page, std::uint32_t offset,
                    std::string& text);
/// Appends the bytes of the whole value.
void AppendLongBytes(PageStore& store, const LongValueDefinition& definition, PageNumber page, std::uint32_t offset, std::string& bytes);
/// A reader for the value; texts come out as UTF-8.
[[nodiscard]] std::unique_ptr<LongValueReader> OpenLongValue(PageStore& store, const LongValueDefinition& definition, bool text,
                                                             std::uint16_t codePage, PageNumber page, std::uint32_t offset);

/// The pages on which one column keeps its long values.
class LongValuePages {
 public:
  /// freeMap may be 0: then values share no pages.
  LongValuePages(PageStore& store, PackedPointer ownedMap, PackedPointer freeMap) : store_(store), ownedMap_(ownedMap), freeMap_(freeMap) {}

  /// Gives back the pieces of the value.
  void Free(const LongValueDefinition& definition);

  static constexpr std::size_t kInlineLimit = 64;

 private:
  friend class LongValueWriter;
  [[nodiscard]] PackedPointer Store(std::span<const std::byte> row);
  [[nodiscard]] PackedPointer StoreOnNewPage(std::span<const std::byte> row);

  [[nodiscard]] const Format& Layout() const noexcept { return Format::Of(store_.PageSize()); }

  PageStore& store_;
  PackedPointer ownedMap_;
  PackedPointer freeMap_;
};

/// Takes the bytes of one long value piece by piece and stores them without holding more than a page of them.
class LongValueWriter {
 public:
  explicit LongValueWriter(LongValuePages& pages, bool allowInline = true) : pages_(pages), allowInline_(allowInline) {}
  void Append(std::span<const std::byte> bytes);
  /// Ends the value and gives what the row holds. Errors: kLimit past 1 GiB.
  [[nodiscard]] std::string Finish();
  /// Gives back what has been stored of a value that does not come to its end.
  void Discard();

 private:
  void StorePiece(std::span<const std::byte> data);

  LongValuePages& pages_;
  bool allowInline_;
  Bytes buffer_;
  std::uint64_t length_ = 0;
  PackedPointer first_ = 0;
  PackedPointer last_ = 0;
};

}  // namespace jet
