#pragma once

#include <cstddef>

namespace jet {

/// What the layouts of pages differ in: Jet 4, whose pages .accdb files have too, and Jet 3. Pages tell theirs by their size.
struct Format {
  std::size_t pageSize;
  std::size_t slots;          ///< where the slots of a data page begin
  std::size_t mapRow;         ///< bytes of a new usage map
  std::size_t longestRow;     ///< of a table
  std::size_t mostFixed;      ///< bytes that columns of fixed length may take in a row
  std::size_t longOnePage;    ///< bytes of a long value that stands on a page beside others
  std::size_t longPiece;      ///< bytes of a long value's piece that has a page of its own
  std::size_t mostPages;      ///< of a file
  std::size_t rowCount;       ///< in a table definition: its rows
  std::size_t lastCounter;    ///< the number that its counter gave last
  std::size_t treeCounts;     ///< what is counted of each tree
  std::size_t treeCountSize;  ///< bytes of that for one tree, the second number is that of its keys

  /// True for Jet 3: texts are bytes of a code page, counts in rows have one byte.
  [[nodiscard]] bool IsJet3() const noexcept;
  /// That of pages of so many bytes: 2048 for Jet 3.
  [[nodiscard]] static const Format& Of(std::size_t pageSize) noexcept;
  /// That of version 3 or 4.
  [[nodiscard]] static const Format& OfVersion(int version) noexcept;
};

namespace detail {
inline constexpr Format kJet4{4096, 14, 69, 4060, 4000, 4076, 4072, std::size_t{1} << 19, 16, 20, 63, 12};
inline constexpr Format kJet3{2048, 10, 133, 2012, 2000, 2036, 2032, std::size_t{1} << 19, 12, 16, 43, 8};
}  // namespace detail

inline const Format& Format::Of(std::size_t pageSize) noexcept {
  return pageSize == detail::kJet3.pageSize ? detail::kJet3 : detail::kJet4;
}
inline const Format& Format::OfVersion(int version) noexcept { return version == 3 ? detail::kJet3 : detail::kJet4; }
inline bool Format::IsJet3() const noexcept { return pageSize == detail::kJet3.pageSize; }

}  // namespace jet
