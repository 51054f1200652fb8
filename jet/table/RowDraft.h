#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "jet/table/Definitions.h"
#include "jet/table/Row.h"
#include "jet/table/RowLayout.h"
#include "jet/table/Table.h"
#include "jet/table/TableDefinition.h"
#include "jet/value/Value.h"

namespace jet {

class LongValueWriter;
class Pager;

/// The row that is being written: what each column is to hold, and the bytes that it comes to. One object serves all rows of a table one
/// after the other and keeps its memory. Long values are stored when the row is encoded; until then nothing in the file changes.
class RowDraft {
 public:
  enum class State : std::uint8_t {
    kNull,
    kStored,  ///< a new value
    kKept     ///< as in the old row
  };

  /// All must outlive this; the name is for messages.
  RowDraft(Pager& pager, const TableDefinition& definition, const RowLayout& layout, const std::string& name)
      : pager_(pager), definition_(definition), layout_(layout), name_(name) {}
  /// The definition has been read again.
  void Reset();

  // ----- what the columns are to hold
  /// Begins a new row: null everywhere, Yes/No false.
  void Clear();
  /// Begins another form of a row that is there: until something else is said, the new row holds what the old one holds.
  /// The kept bytes are not copied: the old row must stay until Encode.
  void Keep(const Row& old);
  /// Gives a column its new value. The value must live until Encode when it is of the column's type. Errors: kTypeMismatch, kValueTooLong.
  void Assign(std::size_t column, const Assignment& assignment);
  /// The same with a value that is held here.
  void AssignOwn(std::size_t column, const Value& value);
  /// Errors: kNullNotAllowed, kZeroLengthNotAllowed, when the column's rules say so.
  void Check(std::size_t column, const ColumnDef& rules) const;

  [[nodiscard]] State StateOf(std::size_t column) const noexcept { return cells_[column].state; }
  /// The new value in the column's own type; null for none, for what is kept and for what comes in pieces.
  [[nodiscard]] const Value* ValueOf(std::size_t column) const noexcept { return cells_[column].value; }

  // ----- its bytes
  /// Stores the long values among the assignments and encodes the row. Errors: kLimit when it is too long (long values may then have been
  /// stored: FreeNewLongValues); kDamaged.
  void Encode(std::span<const Assignment> assignments);
  /// The same for a row that is kept as it is. False when it would be too long.
  [[nodiscard]] bool EncodeKept();
  [[nodiscard]] std::span<const std::byte> Encoded() const noexcept { return encoded_; }

  /// Takes back the long values that Encode has stored.
  void FreeNewLongValues();
  /// Gives back the pieces of a long value that a row held. stored: the column's bytes there.
  void FreeLongValue(std::size_t column, std::span<const std::byte> stored);

 private:
  struct Cell {
    State state = State::kNull;
    bool truth = false;               ///< Yes/No
    bool newLong = false;             ///< stored is the definition of a long value written just now
    const Value* value = nullptr;     ///< see ValueOf
    std::span<const std::byte> kept;  ///< stored bytes taken over from the old row
    std::string stored;
    Value scratch;
  };

  static std::span<const std::byte> BytesOf(const Cell& cell) noexcept;
  void SetTruth(Cell& cell, const TableDefinition::Column& column, const Value* value);
  void AppendLong(std::size_t column, const Assignment& assignment, LongValueWriter& writer);
  void StoreLong(std::size_t column, const Assignment& assignment, bool allowInline);
  void EncodeCells();
  void EncodeFixed(std::byte* row, std::byte* mask) const;
  void EncodeVariable(std::byte* row, std::byte* mask);
  [[nodiscard]] std::size_t LongestRow() const noexcept;

  Pager& pager_;
  const TableDefinition& definition_;
  const RowLayout& layout_;
  const std::string& name_;
  std::vector<Cell> cells_;  ///< by position
  Bytes encoded_;
  std::vector<std::size_t> offsets_;  ///< where its variable columns begin, and where the last one ends
};

}  // namespace jet
