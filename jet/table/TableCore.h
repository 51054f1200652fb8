#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "jet/index/BTree.h"
#include "jet/table/AceRows.h"
#include "jet/page/DataPage.h"
#include "jet/table/Definitions.h"
#include "jet/value/Error.h"
#include "jet/index/KeyCodec.h"
#include "jet/table/Row.h"
#include "jet/table/RowDraft.h"
#include "jet/table/RowLayout.h"
#include "jet/table/RowPlaces.h"
#include "jet/table/Table.h"
#include "jet/table/TableDefinition.h"

namespace jet {

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
  /// The columns by position.
  [[nodiscard]] const std::vector<Column>& Stored() const noexcept { return layout_.columns; }
  [[nodiscard]] const std::vector<ColumnDef>& Columns();
  [[nodiscard]] const std::vector<IndexDef>& Indexes() const noexcept { return indexes_; }
  [[nodiscard]] std::vector<Tree>& Trees() noexcept { return trees_; }

  [[nodiscard]] std::uint32_t RowCount();
  [[nodiscard]] std::int32_t LastAutoNumber();

  // ----- rows (TableReading.cpp, TableChanges.cpp)
  RowId InsertRow(std::span<const Assignment> assignments);
  void UpdateRow(RowId id, std::span<const Assignment> assignments, const Table::RowTest& isMeant);
  void DeleteRow(RowId id, const Table::RowTest& isMeant);
  [[nodiscard]] bool ReadRow(RowId id, Row& row);
  /// Makes the row show the bytes of that slot, which is not a pointer. Errors: kDamaged.
  void Bind(Row& row, RowId id, const DataPage& data, const std::byte* pageBytes, PageNumber dataPage, unsigned slot);
  /// One assignment per column; the memory is kept.
  [[nodiscard]] std::vector<Assignment>& AllColumns(std::span<const Value> values);

  // ----- keys (TableKeys.cpp)
  /// The key of a row in a tree; false when the row has no entry there. `anyNull` tells whether uniqueness does not count.
  [[nodiscard]] bool KeyOf(const Tree& tree, Row& row, Bytes& key, bool& anyNull) {
    return KeyOf(tree, tree.keyColumns, row, key, anyNull);
  }
  [[nodiscard]] bool KeyOf(const Tree& tree, const std::vector<KeyColumn>& parts, Row& row, Bytes& key, bool& anyNull);
  /// The key under which another program may have entered the row (TextOrder::kGeneralOnce); nothing when that is no other one.
  [[nodiscard]] std::optional<Bytes> OtherKeyOf(const Tree& tree, Row& row, std::span<const std::byte> key);

  // ----- the whole of them (TableUpkeep.cpp)
  /// Gives every row an offset table, when the definition has just got its first variable column.
  void RewriteRows();
  /// Rows that were written when the table had fewer columns end before the later ones, and mean null by it. Other readers count the
  /// columns of fixed length in a row to know which are there, and where one has been dropped they take what follows for a later one:
  /// such rows are written anew, with a place for each column.
  void CompleteRows();
  /// Frees everything but the definition page and the map rows: rows, long values, trees.
  void FreeContents();

 private:
  friend class Row;
  /// What a change of a row means for the trees, one bit for each.
  struct KeyBits {
    std::uint32_t changed = 0;     ///< the key comes out different (updates)
    std::uint32_t present = 0;     ///< the new row has an entry
    std::uint32_t oldPresent = 0;  ///< the old one has
    std::uint32_t nulls = 0;       ///< the new key has a null: uniqueness does not count
    [[nodiscard]] static bool Has(std::uint32_t bits, std::size_t tree) noexcept { return (bits >> tree & 1) != 0; }
  };
  /// The counter of a new row.
  struct Counted {
    std::optional<std::int32_t> highest;    ///< to be stored as the last one
    std::optional<std::int32_t> handedOut;  ///< made here
  };
  /// The stored bytes of a long value of the old row, to be given back.
  struct OldLong {
    std::size_t column;
    std::string stored;
  };

  [[nodiscard]] std::uint64_t CurrentGeneration() const noexcept;
  /// Of an .accdb: the types as which columns are given that Jet 4 has not.
  void ReshapeColumns();
  void Derive();
  void DeriveTrees();
  void DeriveIndexes();
  void AddKeyColumn(Tree& tree, const TableDefinition::TreeColumn& part) const;
  [[nodiscard]] IndexDef Describe(const TableDefinition::Index& stored, const Tree& tree) const;
  [[nodiscard]] TextOrder OrderOf(const Column& column) const;
  void ReadProperties();

  // TableChanges.cpp
  void Assign(const Assignment& assignment);
  void RefuseInPieces(std::size_t column) const;
  void Count(std::size_t column, Counted& counted);
  [[nodiscard]] Counted FillIn();
  [[nodiscard]] std::vector<bool> AssignAll(std::span<const Assignment> assignments);
  [[nodiscard]] std::optional<std::int32_t> HighestNumber(const std::vector<bool>& assigned);
  void CheckParentsOfChange(const std::vector<bool>& assigned);
  void ReadForChange(RowId id, const Table::RowTest& isMeant);
  void KeepLong(std::size_t column, std::vector<OldLong>& values) const;
  void FreeLongs(const std::vector<OldLong>& values);
  /// Encodes the draft; when the row turns out too long, the long values stored for it are taken back first.
  void EncodeOrUndo(std::span<const Assignment> assignments, ChangeScope& scope);
  void CountRows(int delta);
  void StoreAutoNumber(std::int32_t number);

  // TableKeys.cpp
  void AppendKeyOf(const Tree& tree, const KeyColumn& part, const Value& value, Bytes& key) const;
  /// Says why a row has no key in a tree, given what making it raised. Errors: kUnsupported; others as they are.
  [[noreturn]] void RefuseKey(const Tree& tree, const Error& error) const;
  [[noreturn]] void Duplicate(const Tree& tree) const;
  /// The value that the draft has in a column, and of the old row where it is kept.
  [[nodiscard]] const Value& DraftedValue(std::size_t column, Value& kept);
  [[nodiscard]] bool KeyOfDraft(const Tree& tree, Bytes& key, bool& anyNull);
  [[nodiscard]] KeyBits MakeKeys();
  /// Only the trees that a changed column takes part in are looked at, and of those only the ones whose key comes out different.
  [[nodiscard]] KeyBits CompareKeys(const std::vector<bool>& assigned);
  /// False when a unique tree has that key already; nothing is entered then.
  [[nodiscard]] bool EnterKey(const KeyBits& bits, std::size_t tree, RowId id);
  /// Takes the row's entry out of the tree. Errors: kDamaged when it has none.
  void EraseKey(const Tree& tree, Row& row, std::span<const std::byte> key, RowId id);
  /// Errors: kDuplicateKey, everything changed back.
  void EnterKeys(const KeyBits& bits, RowId id, ChangeScope& scope);
  void ReplaceKeys(const KeyBits& bits, RowId id, ChangeScope& scope);
  void CountKey(std::size_t tree);

  TableDefinition definition_;
  RowLayout layout_;
  std::vector<ColumnDef> columns_;
  std::vector<IndexDef> indexes_;
  std::vector<Tree> trees_;
  RowPlaces places_;
  RowDraft draft_;
  AceRows ace_;
  Row oldRow_;  ///< of the change under way
  std::vector<Bytes> keys_;
  std::vector<Bytes> oldKeys_;
  std::vector<Assignment> allColumns_;  ///< reused by Table::Insert
  std::uint64_t generation_ = 0;
  bool propertiesRead_ = false;
};

/// Gives back all pages in the map, and those that the map takes. Each must say that it is the owner's (definition page, or
/// DataPage::kLongValueOwner), or nothing. Errors: kDamaged.
void FreePages(Pager& pager, PackedPointer map, std::uint32_t owner);

}  // namespace jet
