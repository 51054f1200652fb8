#pragma once

#include <cstdint>
#include <fstream>
#include <string>

#include "cli/Encoding.h"

namespace tamlo::cli {

/// Reads a text file byte by byte as UTF-8, whatever it is written in. Memory does not grow with the file.
class TextInput {
 public:
  /// encoding: utf-8, utf-16 (by its mark, else little end first), utf-16le, utf-16be, latin1, windows-1250 to windows-1258; without regard to
  /// case, "-" and "_". A mark at the beginning is passed over. Failure: kUsage for another encoding and a file that cannot be read.
  TextInput(const std::string& path, const std::string& encoding);
  /// The next byte, -1 at the end. Failure with kFailed, naming file and line, for bytes that are no text of the encoding.
  int Next() {
    const int c = Peek();
    if (c >= 0) ++at_;
    if (c == '\n') ++line_;
    return c;
  }
  /// The same without taking it.
  int Peek() {
    if (at_ == text_.size()) Fill();
    return at_ < text_.size() ? static_cast<unsigned char>(text_[at_]) : -1;
  }
  /// The line of the next byte, from 1.
  [[nodiscard]] std::int64_t Line() const noexcept { return line_; }
  [[nodiscard]] const std::string& Path() const noexcept { return path_; }

 private:
  void Fill();
  void Decode(bool atEnd);
  void DecodeAnsi();
  void DecodeUtf8(bool atEnd);
  void DecodeUtf16(bool atEnd);
  [[noreturn]] void Refuse() const;

  std::string path_;
  std::string encoding_;
  std::ifstream file_;
  Form form_ = Form::kUtf8;
  std::uint16_t codePage_ = 0;
  std::string raw_;   ///< read and not decoded: the beginning of a character
  std::string text_;  ///< decoded
  std::size_t at_ = 0;
  std::int64_t line_ = 1;
  bool first_ = true;  ///< nothing of UTF-16 has been decoded
};

}  // namespace tamlo::cli
