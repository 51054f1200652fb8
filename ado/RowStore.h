#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ado/Types.h"

namespace tamlo::ado {

/// Bytes of rows that one cursor keeps in memory.
constexpr std::size_t kKeptInMemory = std::size_t{64} << 20;

/// Rows that a cursor keeps as they were, as bytes: in memory up to a limit, beyond it in a temporary file without a name, which goes with the
/// store. All rows have the same number of values. Any row is as quickly at hand as the next one, but that those in the file are read from
/// there in blocks. Errors: kProviderFailure when the file cannot be made, takes no more or does not give back what was written; the rows
/// that were there before Add stay readable. For providers.
class RowStore {
 public:
  explicit RowStore(std::size_t limit = kKeptInMemory) : limit_(limit) {}

  void Add(const std::vector<Variant>& row);
  /// The same of a small row that must not fail for the file: it stays in memory until the next Add.
  void AddInMemory(const std::vector<Variant>& row);
  [[nodiscard]] std::size_t Count() const noexcept { return blocks_.empty() ? 0 : blocks_.back().first + blocks_.back().count; }
  /// The row at that position (from 0, below Count()). The reference is good until the next call.
  [[nodiscard]] const std::vector<Variant>& At(std::size_t position);
  /// Another content for a row. It is kept in memory.
  void Replace(std::size_t position, std::vector<Variant> row);
  void Clear() noexcept;
  /// Whether rows stand in the file.
  [[nodiscard]] bool IsInFile() const noexcept { return file_ != nullptr; }

 private:
  /// A run of rows: one of them begins before kBlockBytes at the latest.
  struct Block {
    std::string bytes;                  ///< empty when they stand in the file
    std::vector<std::uint16_t> starts;  ///< of its rows in bytes; in the file behind them
    std::size_t size = 0;               ///< of bytes
    std::fpos_t place{};
    std::size_t first = 0;  ///< position of its first row
    std::size_t count = 0;
  };
  struct Closer {
    void operator()(std::FILE* file) const noexcept { (void)std::fclose(file); }
  };
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  [[nodiscard]] std::size_t BlockBytes() const noexcept;
  /// Writes all blocks into the file that are not there.
  void MoveOut();
  void Write(Block& block);
  /// The block that has the position, with its bytes.
  [[nodiscard]] const Block& BlockOf(std::size_t position);
  void Read(const Block& block);

  std::size_t limit_;
  std::size_t columns_ = 0;  // values of each row
  std::vector<Block> blocks_;
  std::size_t inMemory_ = 0;  // bytes
  std::unique_ptr<std::FILE, Closer> file_;
  std::fpos_t end_{};
  std::size_t firstInMemory_ = 0;                         // the block behind those in the file
  std::size_t current_ = 0;                               // the block that was asked for last
  Block read_;                                            // the one that was read from the file last
  std::vector<Variant> row_;                              // the one that was made last
  std::size_t rowAt_ = kNone;                             // its position
  std::map<std::size_t, std::vector<Variant>> replaced_;  // by position
};

}  // namespace tamlo::ado
