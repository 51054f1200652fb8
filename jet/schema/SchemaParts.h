#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "jet/schema/Objects.h"
#include "jet/schema/Specs.h"
#include "jet/table/PropertyMap.h"
#include "jet/page/RowPointer.h"
#include "jet/table/Row.h"
#include "jet/table/TableDefinition.h"

namespace jet {

/// The columns of an index by their numbers.
struct IndexParts {
  std::vector<std::uint16_t> numbers;
  std::vector<bool> descending;
};

/// Adds a column to a definition: next number, next place. Makes the usage maps of a long one.
void AppendColumn(PageStore& store, TableDefinition& definition, const ColumnDef& column);
/// Checks an index against the definition and finds its columns. Errors: kAlreadyExists, kNotFound, kLimit, kUnsupported.
[[nodiscard]] IndexParts ResolveIndex(const TableDefinition& definition, const IndexSpec& index);
[[nodiscard]] std::uint8_t FlagsOf(const IndexSpec& index);
/// Makes an empty tree with its usage map; the caller adds it to the definition.
[[nodiscard]] TableDefinition::Tree MakeTree(PageStore& store, PageNumber table, const TableDefinition& definition, const IndexParts& parts,
                                             std::uint8_t flags);
/// Adds the index as people see it, in its place by name, under the next free number.
void AddLogicalIndex(TableDefinition& definition, const IndexSpec& index, std::size_t tree);
void AddLogicalIndex(TableDefinition& definition, TableDefinition::Index index);
[[nodiscard]] std::uint32_t NextIndexNumber(const TableDefinition& definition);
/// What the property map says of a new column.
void SetColumnProperties(PropertyMap& properties, const ColumnDef& column);

/// Puts relationships together from the rows of their system table, of which each has one pair of columns.
class RelationshipRows {
 public:
  /// column: gives the place of a column of that table, and raises what is to be raised where there is none.
  explicit RelationshipRows(const std::function<std::size_t(const char*)>& column);
  /// Errors: kDamaged.
  void Add(Row& row);
  /// All of them, in the order of their first rows. Given a list, those that lack some of their pairs go there by name instead.
  [[nodiscard]] std::vector<Relationship> Take(std::vector<std::string>* incomplete = nullptr);

 private:
  struct Found {
    Relationship relationship;
    std::int64_t count = 0;  ///< of pairs, as the rows say
    std::vector<std::pair<std::int64_t, std::pair<std::string, std::string>>> columns;
  };
  std::size_t name_, bits_, count_, position_, object_, field_, referenced_, referencedField_;
  std::vector<Found> found_;
};

}  // namespace jet
