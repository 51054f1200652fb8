#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tamlo::cli {

/// The lines that a person has typed in earlier runs: $XDG_STATE_HOME/tamlo-db/history, else ~/.local/state/tamlo-db/history, a line each, which
/// nobody else may read. Several shells may add to it at once.
class History {
 public:
  /// Nothing is kept where there is no home.
  History();
  /// The lines that are there, the oldest first, at most kMost. A file that has grown far beyond that is shortened.
  [[nodiscard]] std::vector<std::string> Lines() const;
  /// Adds a line; what cannot be written is told once, as the text that comes back, else that is empty.
  [[nodiscard]] std::string Add(const std::string& line);

  static constexpr std::size_t kMost = 2000;

 private:
  std::string path_;
  bool told_ = false;
};

/// Whether a line may hold a password, after the words in it (PASSWORD, IDENTIFIED, PWD...). Such a line is kept nowhere.
[[nodiscard]] bool MayHoldSecret(std::string_view line);

}  // namespace tamlo::cli
