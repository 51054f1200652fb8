#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "cli/Encoding.h"

namespace tamlo::cli {

/// Where results go: standard output, or a file that gets its name when it is whole. Text is gathered and written in large pieces. Errors
/// of all operations: Failure with kFailed, naming the file.
class Output {
 public:
  /// Standard output.
  Output();
  /// A file that must not exist. Until Close it is called as it is to be, with ".part" behind.
  explicit Output(const std::string& path);
  /// What was not closed is taken away.
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  /// The text that is to be written next; whoever appends calls Flush from time to time.
  [[nodiscard]] std::string& Text() noexcept { return text_; }
  /// Writes what is there when it is worth it.
  void Flush() {
    if (text_.size() >= kPiece) Write();
  }
  void Close();
  /// From now on the text goes out in that encoding, which has all of its characters. Before anything is written.
  void Encode(std::shared_ptr<const Encoder> encoder);

 private:
  static constexpr std::size_t kPiece = 1U << 16U;
  void Write();

  std::string path_;
  std::string text_;
  std::string bytes_;  ///< in the encoding
  std::shared_ptr<const Encoder> encoder_;
  std::FILE* file_;
};

}  // namespace tamlo::cli
