#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "jet/value/Value.h"
#include "schema/Model.h"

namespace tamlo::move {

/// How the values of a pair of columns are compared: each becomes one text, which is the same on both sides when the values are.
enum class Form : std::uint8_t {
  kTruth,   ///< "1" for any number but 0, "0"
  kNumber,  ///< exact: "-12.5", without zeros that only a scale put there
  kSingle,  ///< the fewest digits that tell it from other singles
  kDouble,  ///< the same of doubles
  kMoment,  ///< "2020-01-31 23:59:59.125", the fraction as long as it has to be
  kText,    ///< itself, every blank of it
  kBytes,   ///< hexadecimal digits in capitals
  kGuid,    ///< capitals, no braces
};

[[nodiscard]] Form FormOf(schema::Kind a, schema::Kind b);

/// What one side cannot tell apart is no difference, what both can is one.
struct Precision {
  bool signOfZero = false;   ///< both sides keep the sign of a zero
  bool wholeMoment = false;  ///< both sides are Access's, whose moments are doubles: every bit counts
};

/// The canonical text of a value that stands as an engine's text of it (bytes as hexadecimal digits). A text that the form does not read
/// becomes itself behind a "?": it differs from every value that is one.
[[nodiscard]] std::string Canonical(Form form, std::string_view text, const Precision& precision);
/// The same of a value of an Access file, which is not null.
[[nodiscard]] std::string Canonical(Form form, const jet::Value& value, const Precision& precision);

/// The bytes that hexadecimal digits spell.
[[nodiscard]] std::string FromHex(std::string_view digits);

}  // namespace tamlo::move
