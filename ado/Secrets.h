#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Passwords inside connection strings, found by reading the string and never by looking for a known text: a password may be a piece of an
/// ordinary word.
namespace tamlo::ado {

/// A piece of a text, in bytes.
struct TextRange {
  std::size_t start = 0;
  std::size_t length = 0;
};

/// The values of all keys that name a password (PWD, PASSWORD, and longer names that hold one of them or PASSPHRASE), in whatever case, with
/// blanks around the "=", between braces or quotes or bare, at any place: also in a connection string that stands inside a value or a
/// sentence. A bare value ends at the next ";", a braced one with what follows it up to there. In order; empty values are left out.
[[nodiscard]] std::vector<TextRange> SecretRanges(std::string_view text);

/// The text with "***" in place of each of them: what messages may show.
[[nodiscard]] std::string WithoutSecrets(std::string_view text);

}  // namespace tamlo::ado
