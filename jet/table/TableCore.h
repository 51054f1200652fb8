#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "jet/index/BTree.h"
#include "jet/page/DataPage.h"
#include "jet/table/Definitions.h"
#include "jet/value/Error.h"
#include "jet/index/KeyCodec.h"
#include "jet/table/Row.h"
#include "jet/table/Table.h"
#include "jet/table/TableDefinition.h"

namespace jet {

class LongValueWriter;
class Pager;
struct TableSpace;
class ChangeScope;

/// What Table is made of: the definition as last read, its trees, and the work on rows.
class TableCore {
 public:
  using Column = TableDefinition::Column;

  /// One B-tree of the table.
  struct Tree {
    std::unique_ptr<TreePages> pages;
    std::unique_ptr<BTree> tree;
    std::vector<KeyColumn> keyColumns;
    std::vector<std::size_t> columns;  ///< positions of the key columns
    std::uint8_t flags = 0;
    bool supported = true;    ///< false: the order of a text column is not known
    bool findsEqual = true;   ///< texts that compare equal have equal keys
    bool ordersTexts = true;  ///< and the order of keys is that of comparing texts
    std::string name;         ///< of the first index that uses it

    [[nodiscard]] bool IsUnique() const noexcept { return (flags & TableDefinition::Tree::kUnique) != 0; }
    [[nodiscard]] bool IgnoresNulls() const noexcept { return (flags & TableDefinition::Tree::kIgnoreNulls) != 0; }
    [[nodiscard]] bool IsRequired() const noexcept { return (flags & TableDefinition::Tree::kRequired) != 0; }
  };

  TableCore(TableSpace& owner, PageNumber definitionPage, std::string tableName);

  TableSpace& space;
  const PageNumber page;
  std::string name;

  /// Reads the definition again when it may have changed behind this object.
  void Refresh() {
    if (generation_ != CurrentGeneration()) Reload();
  }
  void Reload();

  [[nodiscard]] const TableDefinition& Definition() const noexcept { return definition_; }
  [[nodiscard]] const std::vector<Column>& Stored() const noexcept { return stored_; }
  [[nodiscard]] const std::vector<ColumnDef>& Columns();
  [[nodiscard]] const std::vector<IndexDef>& Indexes() const noexcept { return indexes_; }
  [[nodiscard]] std::vector<Tree>& Trees() noexcept { return trees_; }
  [[nodiscard]] std::optional<std::size_t> PositionOf(std::uint16_t number) const noexcept;

  [[nodiscard]] std::uint32_t RowCount();
  [[nodiscard]] std::int32_t LastAutoNumber();

  // ----- rows (TableRows.cpp)
  RowId InsertRow(std::span<const Assignment> assignments);
  void UpdateRow(RowId id, std::span<const Assignment> assignments, const Table::RowTest& isMeant);
  void DeleteRow(RowId id, const Table::RowTest& isMeant);
  [[nodiscard]] bool ReadRow(RowId id, Row& row);
  /// Makes the row show the bytes of that slot, which is not a pointer. Errors: kDamaged.
  void Bind(Row& row, RowId id, const DataPage& data, const std::byte* pageBytes, PageNumber dataPage, unsigned slot);

  /// The key of a row in a tree; false when the row has no entry there. `anyNull` tells whether uniqueness does not count.
  [[nodiscard]] bool KeyOf(const Tree& tree, Row& row, Bytes& key, bool& anyNull) {
    return KeyOf(tree, tree.keyColumns, row, key, anyNull);
  }
  /// The key under which another program may have entered the row (TextOrder::kGeneralOnce); nothing when that is no other one.
  [[nodiscard]] std::optional<Bytes> OtherKeyOf(const Tree& tree, Row& row, std::span<const std::byte> key);
  /// Gives every row an offset table, when the definition has just got its first variable column.
  void RewriteRows();
  /// Rows that were written when the table had fewer columns end before the later ones, and mean null by it. Other readers count the
  /// columns of fixed length in a row to know which are there, and where one has been dropped they take what follows for a later one:
  /// such rows are written anew, with a place for each column.
  void CompleteRows();
  /// Frees everything but the definition page and the map rows: rows, long values, trees.
  void FreeContents();
  /// Says why a row has no key in a tree, given what making it raised. Errors: kUnsupported; others as they are.
  [[nodiscard]] bool KeyOf(const Tree& tree, const std::vector<KeyColumn>& parts, Row& row, Bytes& key, bool& anyNull);
  /// Takes the row's entry out of the tree. Errors: kDamaged when it has none.
  void EraseKey(const Tree& tree, Row& row, std::span<const std::byte> key, RowId id);
  void AppendKeyOf(const Tree& tree, const KeyColumn& part, const Value& value, Bytes& key) const;
  [[noreturn]] void RefuseKey(const Tree& tree, const Error& error) const;

  /// One assignment per column; the memory is kept.
  [[nodiscard]] std::vector<Assignment>& AllColumns(std::span<const Value> values);

 private:
  friend class Row;
  [[nodiscard]] std::vector<RowId> Homes();
  void KeepCells();
  /// What becomes of one column in a row that is being written.
  struct Cell {
    enum class State : std::uint8_t { kNull, kStored, kKept };
    State state = State::kNull;
    bool truth = false;               ///< Yes/No
    const Value* value = nullptr;     ///< own type; null for kept columns and streamed long values
    std::span<const std::byte> kept;  ///< stored bytes taken over from the old row
    std::string stored;
    Value scratch;
    bool newLong = false;  ///< stored is the definition of a long value written just now
  };

  static constexpr std::size_t kNowhere = ~std::size_t{0};

  [[nodiscard]] std::uint64_t CurrentGeneration() const noexcept;
  void Derive();
  void DeriveIndexes();
  [[nodiscard]] TextOrder OrderOf(const Column& column) const;
  void ReadProperties();
  void PrepareCell(std::size_t position, const Assignment& assignment);
  void CheckCell(std::size_t position);
  void AppendLongCell(std::size_t position, const Assignment& assignment, LongValueWriter& writer);
  void StoreLongCell(std::size_t position, const Assignment& assignment, bool allowInline);
  void StoreLongCells(std::span<const Assignment> assignments, bool allowInline);
  void FreeNewLongValues();
  void FreeLongValue(std::size_t position, std::span<const std::byte> stored);
  void EncodeRow(Bytes& bytes);
  void EncodeWithLongValues(std::span<const Assignment> assignments);
  /// The same; when the row turns out too long, the long values stored for it are taken back first.
  void EncodeOrUndo(std::span<const Assignment> assignments, ChangeScope& scope);
  [[nodiscard]] bool KeyOfCells(const Tree& tree, Row* old, Bytes& key, bool& anyNull);
  [[noreturn]] void Duplicate(const Tree& tree) const;

  [[nodiscard]] RowId Place(std::span<const std::byte> bytes, std::uint16_t flags);
  [[nodiscard]] std::optional<RowId> TryPlace(PageNumber candidate, std::span<const std::byte> bytes, std::uint16_t flags);
  void Replace(RowId home, std::span<const std::byte> bytes);
  void Remove(RowId home);
  void RemoveSlot(RowId id);
  void NoteRoom(PageNumber number, unsigned freeBytes, unsigned slots);
  /// Home slot's page; gives where the row's bytes are. Nothing when there is no live row.
  [[nodiscard]] std::optional<RowId> Find(RowId home);
  /// The same for a row that must be there. Errors: kDamaged.
  [[nodiscard]] RowId FindLive(RowId home);
  void CountRows(int delta);
  void CountKeys(std::size_t tree, std::size_t added);

  TableDefinition definition_;
  std::vector<Column> stored_;  ///< by position
  std::vector<ColumnDef> columns_;
  std::vector<IndexDef> indexes_;
  std::vector<Tree> trees_;
  std::vector<std::size_t> positions_;  ///< by column number
  std::vector<Cell> cells_;
  std::vector<Bytes> keys_;
  std::vector<Bytes> oldKeys_;
  std::vector<Value> keyValues_;
  Bytes encoded_;
  Row oldRow_;
  std::vector<Assignment> allColumns_;      ///< reused by Table::Insert
  std::vector<std::size_t> variableOrder_;  ///< position of each variable column; kNowhere for those deleted
  std::size_t fixedSize_ = 0;
  std::uint16_t firstVariableNumber_ = 0;  ///< rows with fewer columns were written when there was no variable column
  PageNumber insertPage_ = 0;
  std::uint64_t generation_ = 0;
  bool propertiesRead_ = false;
};

/// Gives back all pages in the map, and those that the map takes. Each must say that it is the owner's (definition page, or
/// DataPage::kLongValueOwner), or nothing. Errors: kDamaged.
void FreePages(Pager& pager, PackedPointer map, std::uint32_t owner);

}  // namespace jet
