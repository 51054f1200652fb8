#pragma once

#include <string>

#include "jet/table/Table.h"

namespace jet {

/// Gives the UTF-8 of a source as UTF-16LE, whatever way the source cuts it. Errors: those of ToMarkedText.
class Utf16Source {
 public:
  explicit Utf16Source(ChunkSource& source) : source_(source) {}
  /// The next units; possibly none before the end.
  [[nodiscard]] std::string Read();
  [[nodiscard]] bool Ended() const noexcept { return ended_; }

 private:
  ChunkSource& source_;
  std::string pending_;  ///< the beginning of a character whose rest is to come
  bool ended_ = false;
  bool begun_ = false;
  bool marked_ = false;  ///< the text begins with U+FEFF
};

}  // namespace jet
