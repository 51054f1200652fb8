#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "jet/value/Value.h"

namespace jet {

/// One property of an object or of a column, as the property map (LvProp) holds it.
struct Property {
  std::string name;
  ColumnType type = ColumnType::kText;
  Value value;       ///< bool, numbers, text or bytes according to the type
  bool ddl = false;  ///< only those who may change the design may change it
};

/// A column of a table. For Database::CreateTable and AddColumn fill name, type, size and the wishes below; the rest is read only.
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

/// What to make an index of.
struct IndexSpec {
  struct Part {
    std::string column;
    bool descending = false;
  };
  std::string name;
  std::vector<Part> columns;  ///< 1 to 10
  bool primary = false;       ///< makes it unique and required too
  bool unique = false;
  bool ignoreNulls = false;
  bool required = false;
};

/// What to make a table of.
struct TableSpec {
  std::string name;
  std::vector<ColumnDef> columns;  ///< 1 to 255
  std::vector<IndexSpec> indexes;
  std::vector<Property> properties;  ///< of the table itself, such as Description
  std::uint32_t flags = 0;           ///< catalog flags: 0 for tables of the user
};

/// A relationship between two tables: one or more column pairs.
struct Relationship {
  std::string name;
  std::string table;                                         ///< the referencing (many) side
  std::string referencedTable;                               ///< the referenced (one) side
  std::vector<std::pair<std::string, std::string>> columns;  ///< referencing column, referenced column
  bool oneToOne = false;
  bool enforced = true;
  bool cascadeUpdates = false;
  bool cascadeDeletes = false;
  bool leftJoin = false;
  bool rightJoin = false;
};

enum class ObjectKind {
  kTable,        ///< a local table of the user
  kSystemTable,  ///< MSys... of the bootstrap or flagged as system
  kJetLink,      ///< link to a table of another Access file (or of an Excel, text... source: see connect)
  kOdbcLink,     ///< link to a table of an ODBC source
  kQuery,        ///< a stored query
  kRelationship,
  kContainer,
  kDocument,  ///< database documents, forms, reports, macros, modules, pages
  kOther,
};

/// One row of the system catalog.
struct CatalogObject {
  std::int32_t id = 0;  ///< a table's definition page, or a negative number
  std::int32_t parentId = 0;
  std::string name;
  ObjectKind kind = ObjectKind::kOther;
  std::int16_t type = 0;    ///< as stored
  std::uint32_t flags = 0;  ///< as stored
  bool hidden = false;
  Date created;
  Date updated;
  // Links only.
  std::string database;     ///< path of the linked Access file
  std::string connect;      ///< ODBC: the connection string without the leading "ODBC;". Others: "Excel 8.0;...", ";PWD=..."
  std::string foreignName;  ///< name of the table there
};

/// What to make a link of: an ODBC link when odbc is true, else a link to another file.
struct LinkSpec {
  std::string name;
  bool odbc = false;
  std::string database;
  std::string connect;
  std::string foreignName;
};

/// What to make a stored query of: the rows that say its parts, and the kind that its catalog row tells.
struct QuerySpec {
  struct Row {
    std::uint8_t attribute = 0;
    std::uint32_t order = 1;  ///< among the rows of that attribute
    std::string name1;
    std::string name2;
    std::string expression;
    std::optional<std::int16_t> flag;
  };
  std::string name;
  std::uint32_t flags = 0;
  std::vector<Row> rows;
};

/// One thing that the structural checker found wrong.
struct Finding {
  std::uint32_t page = 0;
  std::uint32_t offset = 0;
  std::string text;
};

}  // namespace jet
