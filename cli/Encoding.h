#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace tamlo::cli {

/// How a text file writes its characters.
enum class Form : std::uint8_t {
  kUtf8,
  kUtf16,  ///< read by its mark, else with the little end first; written so, behind a mark
  kUtf16Little,
  kUtf16Big,
  kLatin1,
  kAnsi,  ///< a code page of Windows
};

struct Encoding {
  Form form = Form::kUtf8;
  std::uint16_t codePage = 0;  ///< kAnsi alone
};

/// utf-8, utf-16, utf-16le, utf-16be, latin1 (iso-8859-1), windows-1250 to windows-1258 (cp1250...), without regard to case, "-" and "_".
/// Nothing for another.
[[nodiscard]] std::optional<Encoding> EncodingNamed(std::string_view encoding);

/// The character that a code page of EncodingNamed has under a code; nothing where it has none.
[[nodiscard]] std::optional<char32_t> CharacterOf(std::uint16_t codePage, std::uint8_t code);

/// Writes texts in an encoding.
class Encoder {
 public:
  explicit Encoder(const Encoding& encoding);
  /// The first character of a UTF-8 text that the encoding does not have; nothing when it has them all.
  [[nodiscard]] std::optional<char32_t> Lacks(std::string_view text) const;
  /// Appends the bytes of a text that lacks nothing.
  void Append(std::string_view text, std::string& bytes) const;
  /// What stands at the beginning of a file.
  [[nodiscard]] std::string Mark() const;

 private:
  Encoding encoding_;
  std::map<char32_t, char> codes_;  ///< of a code page, those beyond ASCII
};

}  // namespace tamlo::cli
