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

/// Rows that a cursor keeps as they were: in memory up to a limit, all of them beyond it in a temporary file without a name, which goes
/// with the store. All rows have the same number of values. Errors: kProviderFailure when the file takes no more or does not give back what
/// was written; the rows that were there before Add stay readable.
class RowStore {
 public:
  explicit RowStore(std::size_t limit = kKeptInMemory) : limit_(limit) {}

  void Add(std::vector<Variant> row);
  [[nodiscard]] std::size_t Count() const noexcept { return tailFirst_ + tail_.size(); }
  /// The row at that position (from 0, below Count()). The reference is good until the next call.
  [[nodiscard]] const std::vector<Variant>& At(std::size_t position);
  /// Another content for a row.
  void Replace(std::size_t position, std::vector<Variant> row);
  void Clear() noexcept;
  /// Whether rows stand in the file.
  [[nodiscard]] bool IsInFile() const noexcept { return file_ != nullptr; }

 private:
  /// A run of rows in the file.
  struct Block {
    std::fpos_t place{};
    std::size_t bytes = 0;
    std::size_t first = 0;  ///< position of its first row
    std::size_t count = 0;
  };
  struct Closer {
    void operator()(std::FILE* file) const noexcept { (void)std::fclose(file); }
  };

  /// Writes all rows of the tail into the file.
  void MoveTail();
  void WriteBlock(const std::string& bytes, std::size_t first, std::size_t count);
  void Load(const Block& block);

  std::size_t limit_;
  std::size_t columns_ = 0;  // values of each row
  std::vector<std::vector<Variant>> tail_;  // the rows from tailFirst_ on, in memory
  std::size_t tailFirst_ = 0;
  std::size_t tailBytes_ = 0;
  std::unique_ptr<std::FILE, Closer> file_;
  std::fpos_t end_{};
  std::vector<Block> blocks_;
  std::vector<std::vector<Variant>> loaded_;  // the rows of one block
  std::size_t loadedFirst_ = 0;
  std::map<std::size_t, std::vector<Variant>> replaced_;  // by position, of rows in the file
};

}  // namespace tamlo::ado::jetprovider
