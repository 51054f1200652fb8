#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "jet/schema/Objects.h"
#include "jet/table/TableSpace.h"
#include "jet/page/PageStore.h"
#include "jet/table/PropertyMap.h"

namespace jet {

/// The system tables: objects, permissions, relationships, and the property maps in the objects' rows.
class Catalog final : public TableDirectory {
 public:
  explicit Catalog(TableSpace& space) : space_(space) {}

  static constexpr PageNumber kObjectsPage = 2;
  static constexpr PageNumber kPermissionsPage = 3;
  static constexpr PageNumber kQueriesPage = 4;
  static constexpr PageNumber kRelationshipsPage = 5;
  static constexpr std::int32_t kTablesId = 0x0F000001;
  static constexpr std::int32_t kRelationshipsId = 0x0F000003;

  /// All objects, read when they may have changed.
  [[nodiscard]] const std::vector<CatalogObject>& Objects();
  /// A table, link or query, as PlaceOfName finds it; null when there is none.
  [[nodiscard]] const CatalogObject* Find(std::string_view name);
  [[nodiscard]] const CatalogObject* FindById(std::int32_t id);
  void Forget() noexcept { generation_ = 0; }

  /// Adds a row for an object and one that lets everybody use it. Gives its id (chosen here when 0 is given). Errors: kAlreadyExists.
  std::int32_t Add(CatalogObject object, const PropertyMap& properties);
  /// Removes the rows of an object: itself, its permissions, its query text.
  void Remove(std::int32_t id);
  void Rename(std::int32_t id, const std::string& name);
  /// Sets the date of the last change.
  void Touch(std::int32_t id);

  [[nodiscard]] PropertyMap ReadProperties(std::int32_t id);
  void WriteProperties(std::int32_t id, const PropertyMap& properties);

  // ----- what tables ask
  [[nodiscard]] std::string NameOf(PageNumber definitionPage) override;
  [[nodiscard]] PropertyMap PropertiesOf(PageNumber definitionPage) override;
  [[nodiscard]] std::vector<ComplexColumn> ComplexColumnsOf(PageNumber definitionPage) override;

  [[nodiscard]] Table& ObjectsTable();
  [[nodiscard]] Table& PermissionsTable();
  [[nodiscard]] Table& QueriesTable();
  [[nodiscard]] Table& RelationshipsTable();

 private:
  void Load();
  void AddName(std::size_t position);
  [[nodiscard]] RowId RowOf(std::int32_t id);
  void AddPermissions(Table& permissions, const CatalogObject& object, const Value& owner);
  [[nodiscard]] Table& SystemTable(const char* name, PageNumber usual);
  void RemoveRows(Table& table, std::string_view column, std::int32_t id);

  TableSpace& space_;
  std::vector<CatalogObject> objects_;
  std::vector<RowId> rows_;
  std::unordered_map<std::string, std::size_t> byName_;  // by FoldCase
  std::unordered_map<std::string, std::size_t> twins_;   // by themselves: names whose FoldCase is another object's
  std::unordered_map<std::int32_t, std::size_t> byId_;
  std::uint64_t generation_ = 0;
};

/// Today and now as the file counts.
[[nodiscard]] Date Now();

}  // namespace jet
