#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "schema/Dialect.h"

namespace tamlo::schema {

/// A word, name, literal or sign of a statement as it stands there, comments left out.
struct Token {
  enum class Kind : std::uint8_t { kWord, kName, kText, kNumber, kSign };
  Kind kind = Kind::kSign;
  std::string text;       ///< of names and texts what is between the quotes
  std::size_t begin = 0;  ///< place in the statement
  std::size_t end = 0;
  int depth = 0;                                       ///< parentheses around it; those themselves count as outside
  [[nodiscard]] bool Is(std::string_view word) const;  ///< a word without quotes, without regard to case, or a sign
};

/// Names stand between double quotes, backticks or brackets, texts between single quotes, as SQLite has them.
[[nodiscard]] std::vector<Token> Tokens(std::string_view sql);

/// An expression without blanks, casts and parentheses outside of quotes, in small letters outside of them: two ways of writing a simple condition give the
/// same.
[[nodiscard]] std::string Condensed(std::string_view expression);
/// Without parentheses around the whole.
[[nodiscard]] std::string_view WithoutParentheses(std::string_view expression);

/// What a condition of a column says that the description knows: the text is not empty, the number is 0 to 255, so many bytes at most.
struct KnownCheck {
  enum class Kind : std::uint8_t { kNotEmpty, kByteRange, kBytesLimit };
  Kind kind = Kind::kNotEmpty;
  int limit = 0;  ///< of kBytesLimit
};
/// Nothing for any other condition, or one of another column.
[[nodiscard]] std::optional<KnownCheck> CheckOf(std::string_view condition, std::string_view column, const Dialect& dialect);

}  // namespace tamlo::schema
