#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "jet/value/Error.h"

namespace jet::sql {

enum class TokenKind {
  kEnd,
  kWord,       ///< a bare name or keyword
  kBracketed,  ///< [a name], or one between back quotes: never a keyword
  kText,       ///< 'text' or "text"
  kNumber,     ///< 12, 1.5E3, &HFF (already decimal)
  kDate,       ///< #...#, without the marks
  kGuid,       ///< {guid {...}} or {...}: the inner text with braces
  kSymbol,
};

/// One piece of a statement.
struct Token {
  TokenKind kind = TokenKind::kEnd;
  std::string text;          ///< decoded: without quotes or brackets, doubled quotes single
  std::string upper;         ///< words: folded for comparing; symbols: as text
  std::size_t position = 0;  ///< in characters from 1, of the first character
  std::size_t offset = 0;    ///< in bytes from 0
  std::size_t end = 0;       ///< byte offset just after the token
};

/// Cuts an Access statement into tokens; the last one is kEnd. Error kSyntax with the position for what begins and does not end
/// (a text, a name in brackets, a date) and for characters that mean nothing.
[[nodiscard]] std::vector<Token> Tokenize(std::string_view statement);

/// "message (at character 12)" as kSyntax or kUnsupported.
[[nodiscard]] Error SyntaxError(const std::string& message, std::size_t position);
[[nodiscard]] Error UnsupportedError(const std::string& message, std::size_t position);

}  // namespace jet::sql
