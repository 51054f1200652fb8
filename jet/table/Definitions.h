#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "jet/value/Value.h"

namespace jet {

/// A column of a table. For TableSpec and AddColumn fill name, type, size and the wishes below; the rest is read only.
struct ColumnDef {
  std::string name;
  ColumnType type = ColumnType::kText;
  /// Text: characters (1 to 255); binary: bytes (1 to 510). Ignored for the others when created; read back as the bytes of one value.
  std::uint16_t size = 0;
  std::uint8_t precision = 18;   ///< numeric only, 1 to 28
  std::uint8_t scale = 0;        ///< numeric only, 0 to precision
  bool autoNumber = false;       ///< long counter, or a GUID made at insert
  std::int32_t firstNumber = 1;  ///< long counter, asked at creation: the first number that it gives
  bool fixedLength = false;  ///< read back: stored in the fixed part of the row. Asked at creation: text and binary padded to their size
  bool compressed = true;    ///< text and memo: Latin-1 texts are stored one byte per character
  bool hyperlink = false;    ///< memo only

  // Kept in the property map, enforced by Insert and Update of Table.
  bool required = false;
  bool allowZeroLength = false;  ///< text and memo; other types ignore it
  std::string defaultValue;      ///< expression text such as 0, "abc", Now(); the engine stores it and does not evaluate it

  // Read back only.
  std::uint16_t number = 0;             ///< column number: index of the null-mask bit, never reused
  std::uint16_t sortLanguage = 0x0409;  ///< LCID of the text order
  std::uint8_t sortVersion = 0;         ///< 0 = the General order of Access 2000 to 2007
  std::uint8_t flags = 0;               ///< as stored
  std::uint8_t extraFlags = 0;          ///< as stored
  /// Asked at creation: in the fixed part of the row or not, and with the extra flags, as `flags` and `extraFlags` say, which have been
  /// read from a column of this type. Access has numbers in the variable part of tables of its own.
  bool asStored = false;
};

struct IndexColumn {
  std::size_t column = 0;  ///< position in Table::Columns()
  bool descending = false;
};

enum class IndexKind : std::uint8_t { kNormal = 0, kPrimary = 1, kForeignKey = 2 };

/// An index as callers see it (a "logical" index). Several may share one tree.
struct IndexDef {
  std::string name;
  std::vector<IndexColumn> columns;
  IndexKind kind = IndexKind::kNormal;
  bool unique = false;
  bool ignoreNulls = false;  ///< a row whose key columns are all null has no entry
  bool required = false;     ///< no null in any key column
  bool writable = true;      ///< false: the tree's text order is not known here, so it can neither be searched nor changed
  bool findsEqual = true;    ///< texts that CompareText finds equal have equal keys: the index can be searched for them
  bool ordersTexts = true;   ///< texts stand in the order of CompareText: ranges and order can be had from the index
  std::uint32_t tree = 0;    ///< position of the tree behind it in the table definition; equal for indexes that share one
  // Foreign keys only.
  bool referencing = false;        ///< true on the many side, false on the one side
  std::int32_t partnerIndex = -1;  ///< logical number of the index on the other side
  std::uint32_t partnerTable = 0;  ///< definition page of the other table
  bool cascadeUpdates = false;
  bool cascadeDeletes = false;
};

}  // namespace jet
