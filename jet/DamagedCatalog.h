#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "jet/DamagedFile.h"
#include "jet/DamagedTable.h"
#include "jet/Recoverer.h"
#include "jet/schema/Objects.h"
#include "jet/schema/Specs.h"
#include "jet/table/PropertyMap.h"

namespace jet {

/// What a damaged file holds besides rows: from its catalog as far as that can be read, and from the definitions that lie about in it.
class DamagedCatalog {
 public:
  /// A table of the user. One whose definition cannot be read has the reason in `fault`.
  struct Table {
    PageNumber page = 0;
    std::string name;
    bool named = true;
    std::uint32_t flags = 0;
    PropertyMap properties;
    bool propertiesRead = false;  ///< false: what they were is not known
    std::string fault;
  };

  /// What cannot be read goes to the list.
  DamagedCatalog(DamagedFile& file, std::vector<RecoveryLoss>& losses) : file_(file), losses_(losses) {}

  void Read();

  [[nodiscard]] const std::vector<Table>& Tables() const noexcept { return tables_; }
  /// Whether any definition was found, be it of a system table.
  [[nodiscard]] bool FoundAny() const noexcept { return foundAny_; }
  /// Whether the page begins a definition that was found, or that the catalog names.
  [[nodiscard]] bool IsKnown(PageNumber page) const { return known_.count(page) != 0; }
  /// Relationships between tables that were made, under their names in the new file: those that their system table has whole, and those
  /// that only the definitions tell of.
  [[nodiscard]] std::vector<Relationship> Relationships(const std::map<PageNumber, std::string>& made);
  [[nodiscard]] std::vector<QuerySpec> Queries();
  [[nodiscard]] std::vector<LinkSpec> Links() const;
  /// Forms, reports and their like, of which the catalog has names.
  [[nodiscard]] std::size_t Forms() const noexcept;

 private:
  struct Object {
    CatalogObject object;
    PropertyMap properties;
    bool propertiesRead = true;
  };

  void Lose(std::string table, PageNumber page, std::string text, int row = -1) {
    losses_.push_back({std::move(table), page, row, std::move(text)});
  }
  [[nodiscard]] DamagedTable::Visitor Telling(const std::string& table, bool& whole, std::function<void(Row&)> row);
  [[nodiscard]] PageNumber SystemPage(const char* name, PageNumber usual) const;
  void ReadObjects();
  void ReadObject(DamagedTable& from, Row& row);
  void ReadRelationships();
  void AddNamed();
  void AddUnnamed();
  [[nodiscard]] std::string NameFromRelationships(PageNumber page);
  void AddFromDefinitions(const std::map<PageNumber, std::string>& made, std::vector<Relationship>& relationships);
  [[nodiscard]] std::optional<Relationship> FromDefinitions(const TableDefinition& child, const TableDefinition::Index& side,
                                                            const std::map<PageNumber, std::string>& made);

  DamagedFile& file_;
  std::vector<RecoveryLoss>& losses_;
  std::vector<Object> objects_;
  bool objectsWhole_ = true;
  bool foundAny_ = false;
  std::vector<Table> tables_;
  std::set<PageNumber> known_;
  std::map<PageNumber, TableDefinition> definitions_;  ///< of the tables of the user
  std::vector<Relationship> relationships_;            ///< under their names in the damaged file
};

}  // namespace jet
