#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "jet/schema/Objects.h"
#include "jet/schema/Specs.h"
#include "jet/table/TableDefinition.h"

namespace jet {

struct Engine;
class Table;
class TableCore;

/// A value that is not null as a column of another type takes it; raises kTypeMismatch or kValueTooLong for one that it cannot.
using ValueConversion = std::function<Value(const Value&)>;

/// Work on definitions: each operation is one transaction (nested in the caller's when there is one), undone as a whole when it fails.
class Schema {
 public:
  explicit Schema(Engine& engine) : engine_(engine) {}

  void CreateTable(const TableSpec& spec);
  void DropObject(std::string_view name);
  void RenameTable(std::string_view name, std::string_view newName);
  void AddColumn(std::string_view table, const ColumnDef& column);
  void DropColumn(std::string_view table, std::string_view column);
  void AlterColumn(std::string_view table, const ColumnDef& column, const ValueConversion& convert);
  void SetLastAutoNumber(std::string_view table, std::int32_t last);
  void CreateIndex(std::string_view table, const IndexSpec& index);
  void DropIndex(std::string_view table, std::string_view index);
  void CreateLink(const LinkSpec& link);
  void CreateQuery(const QuerySpec& query);

  [[nodiscard]] std::vector<Relationship> Relationships();
  /// id: the number of the object, 0 to have one chosen.
  void CreateRelationship(const Relationship& relationship, std::int32_t id = 0);
  void DropRelationship(std::string_view name);

  /// Writes the definition page and everything that belongs to it for a new table; used for system tables too.
  /// `page`: the definition page, taken already. Map rows go to `mapPage` (0: a page of its own), roots come from the store.
  static TableDefinition BuildTable(Engine& engine, PageNumber page, const TableSpec& spec);

 private:
  [[nodiscard]] TableCore& LocalTable(std::string_view name);
  [[nodiscard]] TableDefinition Fresh(const TableCore& table) const;
  void Finish(TableCore& table, TableDefinition& definition);
  void BuildTree(TableCore& table, std::size_t tree);
  void RemoveTree(TableDefinition& definition, std::size_t tree);
  void DropLocalTable(const CatalogObject& object);
  /// Of an .accdb: the tables that hold values of a table's columns (AceSchema.cpp).
  void DropComplexValues(PageNumber owner);
  void DropModel(std::int32_t id);
  [[nodiscard]] static ColumnDef InOrderOfFile(const Engine& engine, ColumnDef column);
  void NumberRows(TableCore& table, const ColumnDef& column);
  void AddColumnTo(TableCore& table, const ColumnDef& column, const TableDefinition::Column* inPlaceOf);
  void RefuseIfRelated(const TableCore& table, const std::string& column);
  // ----- of AlterColumn (SchemaColumns.cpp)
  [[nodiscard]] bool ResizeInPlace(TableCore& table, const ColumnDef& column, const TableDefinition::Column& old);
  void MoveValues(TableCore& table, const std::string& from, const std::string& to, const ValueConversion& convert);
  void ReplaceColumn(TableCore& table, const ColumnDef& column, const TableDefinition::Column& old, const ValueConversion& convert);
  std::size_t AddTree(TableCore& table, TableDefinition& definition, const std::vector<std::uint16_t>& numbers,
                      const std::vector<bool>& descending, std::uint8_t flags);
  void EnforceRelationship(const Relationship& relationship, TableCore& child, TableCore& parent);
  void RequireParents(TableCore& child, std::size_t childTree, TableCore& parent, std::size_t parentTree);
  void RemoveForeignKeys(const Relationship& relationship);

  Engine& engine_;
};

/// A row of 69 bytes for a usage map, on a page where maps lie: near the given one when that has room, else on a new page.
[[nodiscard]] PackedPointer NewMapRow(PageStore& store, PackedPointer near);
/// Gives the row of an emptied map back.
void FreeMapRow(PageStore& store, PackedPointer map);
/// Checks a name for what the format can hold. Errors: kUnsupported.
void CheckName(const std::string& name, std::uint16_t codePage = 0);

}  // namespace jet
