#pragma once

#include <array>
#include <cstdint>

/// The index codes of the "General" order, packed: see TextOrderTable.cpp for where they come from and TextOrder.cpp for their use.
namespace jet::textorder {

enum class Kind : std::uint8_t {
  kIgnored,      ///< contributes nothing
  kPlain,        ///< inline bytes, perhaps extra bytes (accent weights), perhaps a flag (2 or 3: kana and width variants)
  kUnprintable,  ///< nothing inline; a code in the list of positions
  kModifier,     ///< nothing inline; adds to the accent weight before it
};

/// What the units of a run have in common.
struct Shape {
  Kind kind;
  std::uint8_t inlineKind;  ///< 0, 1: that many bytes; 2: value counts in steps of 254; 3: two plain bytes; 4: place in kLongCodes
  std::uint8_t extraLength;
  std::array<std::uint8_t, 2> extra;
  std::uint8_t flag;
};

/// Inline bytes that do not fit 16 bits.
struct LongCode {
  std::uint8_t length;
  std::array<std::uint8_t, 4> bytes;
};

/// Units from `first` up to the next run.
struct Run {
  std::uint16_t first;
  std::uint16_t value;  ///< of the first unit: the inline bytes as a number, or the code of unprintables and modifiers
  std::uint16_t shape;  ///< bits 0..13 place in kShapes; bits 14..15 units for one step of the value, 0 = it stays
};

/// The General order of 2010 and later for ASCII: two inline bytes, or a code in the list of positions, or nothing.
struct AsciiCode {
  std::uint8_t high, low;
  std::uint8_t mark;
};
extern const std::array<AsciiCode, 128> kGeneral2010;

/// The General order of Access 97 for the bytes of code page 1252: one or two codes, how many of them are letters that can have an
/// accent, the weight of the accent.
struct AnsiCode {
  std::uint8_t first, second;
  std::uint8_t counted;
  std::uint8_t weight;
};
extern const std::array<AnsiCode, 256> kAnsiGeneral;

extern const std::array<Shape, 166> kShapes;
extern const std::array<LongCode, 6> kLongCodes;
extern const std::array<Run, 3236> kRuns;

}  // namespace jet::textorder
