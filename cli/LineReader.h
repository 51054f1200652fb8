#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tamlo::cli {

/// Lines that a person types at a terminal. With an editor (keys that move, a history, Tab) where the system has one; Windows' own console
/// edits lines by itself.
class LineReader {
 public:
  /// What may stand in place of the end of a line, from the byte `from` on.
  struct Completion {
    std::size_t from = 0;
    std::vector<std::string> words;
    bool literal = false;  ///< Tab is a sign like any other here: at the beginning of a line, inside of a text
  };
  /// Is given the line up to the cursor.
  using Completer = std::function<Completion(std::string_view)>;
  enum class Got {
    kLine,
    kDropped,  ///< Ctrl-C: what was typed is gone
    kEnd,      ///< Ctrl-D on an empty line, or the terminal is gone
  };

  virtual ~LineReader() = default;
  /// The next line, without its end. There must be Interrupts. The same Ctrl-C is not seen again by others.
  [[nodiscard]] virtual Got Read(const std::string& prompt, std::string& line) = 0;
  /// Keeps a line for the arrow keys, now and in later runs.
  virtual void Remember(const std::string& line) = 0;
};

/// The terminal of standard input.
[[nodiscard]] std::unique_ptr<LineReader> OpenLineReader(LineReader::Completer completer);

}  // namespace tamlo::cli
