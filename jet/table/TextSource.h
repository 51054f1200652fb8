#pragma once

#include <string>

#include "jet/table/Table.h"
#include "jet/table/TableDefinition.h"

namespace jet {

/// Gives the UTF-8 of a source as the memo column stores it, uncompressed, whatever way the source cuts it. Errors: those of StoredText.
class TextSource {
 public:
  TextSource(ChunkSource& source, const TableDefinition::Column& column) : source_(source), column_(column) {}
  /// The next bytes; possibly none before the end.
  [[nodiscard]] std::string Read();
  [[nodiscard]] bool Ended() const noexcept { return ended_; }

 private:
  ChunkSource& source_;
  const TableDefinition::Column& column_;
  std::string pending_;  ///< the beginning of a character whose rest is to come
  bool ended_ = false;
  bool begun_ = false;
  bool marked_ = false;  ///< the text begins with U+FEFF
};

}  // namespace jet
