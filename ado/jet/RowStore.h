#pragma once

#include <cstddef>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ado/Types.h"

namespace tamlo::ado::jetprovider {

/// Bytes of rows that one cursor keeps in memory.
constexpr std::size_t kKeptInMemory = std::size_t{64} << 20;

/// Rows that a cursor keeps as they were, as bytes: in memory up to a limit, beyond it in a temporary file without a name, which goes with the
/// store. All rows have the same number of values. Errors: kProviderFailure when the file takes no more or does not give back what was written;
/// the rows that were there before Add stay readable.
class RowStore {
 public:
  explicit RowStore(std::size_t limit = kKeptInMemory) : limit_(limit) {}

  void Add(const std::vector<Variant>& row);
  [[nodiscard]] std::size_t Count() const noexcept { return blocks_.empty() ? 0 : blocks_.back().first + blocks_.back().count; }
  /// The row at that position (from 0, below Count()). The reference is good until the next call.
  [[nodiscard]] const std::vector<Variant>& At(std::size_t position);
  /// Another content for a row.
  void Replace(std::size_t position, std::vector<Variant> row);
  void Clear() noexcept;
  /// Whether rows stand in the file.
  [[nodiscard]] bool IsInFile() const noexcept { return file_ != nullptr; }

 private:
  /// A run of rows.
  struct Block {
    std::string bytes;  ///< empty when they stand in the file
    std::size_t size = 0;
    std::fpos_t place{};
    std::size_t first = 0;  ///< position of its first row
    std::size_t count = 0;
  };
  struct Closer {
    void operator()(std::FILE* file) const noexcept { (void)std::fclose(file); }
  };

  /// Writes all blocks into the file that are not there.
  void MoveOut();
  void Write(Block& block);
  [[nodiscard]] std::string Read(const Block& block) const;
  /// Makes the rows of a block from its bytes, or those that it has more than last time.
  void Load(std::size_t block);

  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  std::size_t limit_;
  std::size_t columns_ = 0;  // values of each row
  std::vector<Block> blocks_;
  std::size_t inMemory_ = 0;  // bytes
  std::unique_ptr<std::FILE, Closer> file_;
  std::fpos_t end_{};
  std::size_t firstInMemory_ = 0;            // the block behind those in the file
  std::vector<std::vector<Variant>> rows_;   // of one block, and what is left of longer ones
  std::size_t loaded_ = kNone;               // that block
  std::size_t loadedFirst_ = 0;              // its first row
  std::size_t loadedCount_ = 0;              // rows made of it
  std::size_t loadedBytes_ = 0;              // and of how many bytes
  std::map<std::size_t, std::vector<Variant>> replaced_;  // by position
};

}  // namespace tamlo::ado::jetprovider
