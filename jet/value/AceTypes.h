#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "jet/value/Value.h"

namespace jet {

// Values of the types that .accdb files have and Jet 4 has not.

/// A Big Integer as a decimal number without decimals.
[[nodiscard]] Numeric NumericOf(std::int64_t whole);
/// The other way round; nothing for a number with decimals (zeros are none) or beyond 64 bits.
[[nodiscard]] std::optional<std::int64_t> WholeNumber(const Numeric& number);

/// A moment of the years 1 to 9999, to 100 nanoseconds.
///
///   in the file: 19 digits, ":", 19 digits, ":7" and NUL, all of them letters
struct ExtendedDate {
  static constexpr std::size_t kSize = 42;  ///< bytes in the file
  static constexpr std::size_t kLetters = 27;
  std::int64_t day = 0;    ///< from 0001-01-01
  std::int64_t ticks = 0;  ///< of 100 ns, of the day

  /// Reads "YYYY-MM-DD", "YYYY-MM-DD HH:MM:SS" or that with "." and up to seven digits behind; nothing for any other text.
  static std::optional<ExtendedDate> Parse(std::string_view text);
  /// Reads the bytes of the file; nothing where they are no moment.
  static std::optional<ExtendedDate> Load(std::span<const std::byte> stored);
  /// "YYYY-MM-DD HH:MM:SS.fffffff"
  [[nodiscard]] std::string Text() const;
  [[nodiscard]] std::array<std::byte, kSize> Stored() const;
};

}  // namespace jet
