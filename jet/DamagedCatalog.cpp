#include "jet/DamagedCatalog.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "jet/schema/Catalog.h"
#include "jet/schema/SchemaParts.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"
#include "jet/value/Text.h"

namespace jet {
namespace {

constexpr char kObjects[] = "MSysObjects";
constexpr char kRelationships[] = "MSysRelationships";
constexpr char kQueries[] = "MSysQueries";
constexpr std::string_view kSystemName = "MSys";
constexpr std::uint32_t kSystemFlags = 0x80000002;
constexpr std::int16_t kTableType = 1, kOdbcLinkType = 4, kQueryType = 5, kJetLinkType = 6;
constexpr std::uint8_t kForeignKey = 2, kReferencing = 2;

/// The columns of a system table that it must have. Errors: kDamaged.
std::size_t RequiredPlace(const DamagedTable& table, const char* column, PageNumber page) {
  if (const auto place = table.Place(column)) return *place;
  throw Error(ErrorCode::kDamaged, std::string("The system table has no column \"") + column + "\"", page, 0);
}

std::string TextAt(Row& row, std::optional<std::size_t> place) { return place ? std::string(row.Text(*place)) : std::string(); }

}  // namespace

DamagedTable::Visitor DamagedCatalog::Telling(const std::string& table, bool& whole, std::function<void(Row&)> row) {
  DamagedTable::Visitor visitor;
  visitor.row = [row = std::move(row)](Row& at, const std::vector<bool>&) { row(at); };
  visitor.lostRow = [this, table, &whole](const DamagedTable::Trouble& trouble) {
    whole = false;
    Lose(table, trouble.page, trouble.text, trouble.row);
  };
  visitor.lostPage = visitor.lostRow;
  visitor.lostValue = [this, table](const DamagedTable::Trouble& trouble) { Lose(table, trouble.page, trouble.text, trouble.row); };
  return visitor;
}

void DamagedCatalog::Read() {
  ReadObjects();
  ReadRelationships();
  AddNamed();
  AddUnnamed();
}

void DamagedCatalog::ReadObjects() {
  known_.insert({Catalog::kObjectsPage, Catalog::kPermissionsPage, Catalog::kQueriesPage, Catalog::kRelationshipsPage});
  try {
    DamagedTable table(file_, Catalog::kObjectsPage, kObjects);
    foundAny_ = true;
    for (const char* column : {"Id", "ParentId", "Name", "Type", "Flags"}) (void)RequiredPlace(table, column, Catalog::kObjectsPage);
    table.Walk(Telling(kObjects, objectsWhole_, [&](Row& row) { ReadObject(table, row); }));
  } catch (const Error& error) {
    objectsWhole_ = false;
    Lose(kObjects, Catalog::kObjectsPage, std::string("The catalog cannot be read: ") + error.what());
  }
}

void DamagedCatalog::ReadObject(DamagedTable& from, Row& row) {
  Object found;
  CatalogObject& object = found.object;
  object.id = static_cast<std::int32_t>(row.Integer(*from.Place("Id")));
  object.name = row.Text(*from.Place("Name"));
  object.type = static_cast<std::int16_t>(row.Integer(*from.Place("Type")));
  object.flags = static_cast<std::uint32_t>(row.Integer(*from.Place("Flags")));
  if (object.type == kJetLinkType || object.type == kOdbcLinkType) {
    object.database = TextAt(row, from.Place("Database"));
    object.connect = TextAt(row, from.Place("Connect"));
    object.foreignName = TextAt(row, from.Place("ForeignName"));
  }
  if (const auto place = from.Place("LvProp"); place && object.type == kTableType) {
    try {
      found.properties = PropertyMap::Decode(row.Blob(*place), file_.Space().CodePage());
    } catch (const Error& error) {
      found.propertiesRead = false;
      Lose(object.name, row.Id().page, std::string("Rules, defaults and descriptions cannot be read: ") + error.what());
    }
  }
  objects_.push_back(std::move(found));
}

PageNumber DamagedCatalog::SystemPage(const char* name, PageNumber usual) const {
  for (const auto& held : objects_)
    if (held.object.type == kTableType && EqualNames(held.object.name, name)) return static_cast<PageNumber>(held.object.id);
  return usual;
}

void DamagedCatalog::ReadRelationships() {
  const PageNumber page = SystemPage(kRelationships, Catalog::kRelationshipsPage);
  bool whole = true;
  try {
    DamagedTable table(file_, page, kRelationships);
    RelationshipRows rows([&](const char* column) { return RequiredPlace(table, column, page); });
    table.Walk(Telling(kRelationships, whole, [&](Row& row) { rows.Add(row); }));
    std::vector<std::string> incomplete;
    relationships_ = rows.Take(&incomplete);
    for (const auto& name : incomplete) Lose({}, page, "The relationship \"" + name + "\" lacks some of its columns");
  } catch (const Error& error) {
    Lose(kRelationships, page, std::string("The relationships cannot be read: ") + error.what());
  }
}

void DamagedCatalog::AddNamed() {
  for (auto& held : objects_) {
    if (held.object.type != kTableType) continue;
    const auto page = static_cast<PageNumber>(held.object.id);
    const bool isNew = known_.insert(page).second;
    // The name as well: a table that one wrong bit calls the system's is not lost for it.
    if (!isNew || ((held.object.flags & kSystemFlags) != 0 && held.object.name.starts_with(kSystemName))) continue;
    Table& table = tables_.emplace_back();
    table.page = page;
    table.name = held.object.name;
    table.flags = held.object.flags;
    table.properties = std::move(held.properties);
    table.propertiesRead = held.propertiesRead;
    file_.Remember(page, table.name, table.properties);
    try {
      definitions_.emplace(page, file_.Definition(page));
      foundAny_ = true;
    } catch (const Error& error) {
      table.fault = error.what();
    }
  }
}

/// Definitions that nothing names: the catalog has lost them, unless they were dropped once and lie on pages that are free.
void DamagedCatalog::AddUnnamed() {
  std::set<PageNumber> parts;
  for (const PageNumber page : known_) {
    try {
      const auto pages = file_.Definition(page).pages;
      parts.insert(pages.begin() + 1, pages.end());
    } catch (const Error&) {
      continue;  // told already
    }
  }
  for (const PageNumber page : file_.DefinitionPages()) {
    if (IsKnown(page) || parts.count(page) != 0 || file_.IsFree(page) || (objectsWhole_ && !file_.KnowsFreePages())) continue;
    try {
      TableDefinition definition = file_.Definition(page);
      parts.insert(definition.pages.begin() + 1, definition.pages.end());
      known_.insert(page);
      foundAny_ = true;
      if (definition.tableType != 'S') definitions_.emplace(page, std::move(definition));
    } catch (const Error&) {
      continue;  // a part of another definition, or none any more
    }
  }
  for (const auto& [page, definition] : definitions_) {
    if (std::any_of(tables_.begin(), tables_.end(), [number = page](const Table& table) { return table.page == number; })) continue;
    if (parts.count(page) != 0) continue;
    Table& table = tables_.emplace_back();
    table.page = page;
    table.name = NameFromRelationships(page);
    table.named = !table.name.empty();
    if (!table.named) table.name = "Table_" + std::to_string(page);
    file_.Remember(page, table.name, {});
  }
}

/// A foreign key's name is that of its relationship, which names both tables.
std::string DamagedCatalog::NameFromRelationships(PageNumber page) {
  for (const auto& [number, definition] : definitions_)
    for (const auto& index : definition.indexes) {
      if (index.type != kForeignKey || index.side != kReferencing || (number != page && index.partnerTable != page)) continue;
      for (const auto& relationship : relationships_)
        if (EqualNames(relationship.name, index.name)) return number == page ? relationship.table : relationship.referencedTable;
    }
  return {};
}

std::vector<Relationship> DamagedCatalog::Relationships(const std::map<PageNumber, std::string>& made) {
  const auto nameThere = [&](const std::string& name) -> std::string {
    for (const auto& table : tables_)
      if (EqualNames(table.name, name))
        if (const auto found = made.find(table.page); found != made.end()) return found->second;
    return {};
  };
  std::vector<Relationship> relationships;
  for (Relationship relationship : relationships_) {
    if (relationship.table.starts_with(kSystemName)) continue;  // Access's own
    const std::string child = nameThere(relationship.table), parent = nameThere(relationship.referencedTable);
    if (child.empty() || parent.empty()) {
      Lose(relationship.table, 0, "The relationship \"" + relationship.name + "\" is left off: one of its tables is not there");
      continue;
    }
    relationship.table = child;
    relationship.referencedTable = parent;
    relationships.push_back(std::move(relationship));
  }
  AddFromDefinitions(made, relationships);
  return relationships;
}

void DamagedCatalog::AddFromDefinitions(const std::map<PageNumber, std::string>& made, std::vector<Relationship>& relationships) {
  for (const auto& [page, definition] : definitions_)
    for (const auto& index : definition.indexes) {
      if (index.type != kForeignKey || index.side != kReferencing || made.count(page) == 0) continue;
      const auto sameName = [&](const Relationship& held) { return EqualNames(held.name, index.name); };
      if (std::any_of(relationships_.begin(), relationships_.end(), sameName)) continue;
      if (auto found = FromDefinitions(definition, index, made)) relationships.push_back(std::move(*found));
    }
}

std::optional<Relationship> DamagedCatalog::FromDefinitions(const TableDefinition& child, const TableDefinition::Index& side,
                                                            const std::map<PageNumber, std::string>& made) {
  const std::string& name = made.at(child.pages[0]);
  const auto parent = definitions_.find(side.partnerTable);
  const TableDefinition::Index* other = nullptr;
  if (parent != definitions_.end())
    for (const auto& index : parent->second.indexes)
      if (index.type == kForeignKey && static_cast<std::int32_t>(index.number) == side.partnerIndex) other = &index;
  if (other == nullptr || made.count(side.partnerTable) == 0) {
    Lose(name, child.pages[0], "The relationship \"" + side.name + "\" is left off: its other side is not there");
    return std::nullopt;
  }
  Relationship relationship;
  relationship.name = side.name;
  relationship.table = name;
  relationship.referencedTable = made.at(side.partnerTable);
  relationship.cascadeUpdates = side.cascadeUpdates != 0;
  relationship.cascadeDeletes = (side.cascadeDeletes & 1) != 0;
  const auto& own = child.trees[side.tree];
  const auto& referenced = parent->second.trees[other->tree];
  relationship.oneToOne = (own.flags & TableDefinition::Tree::kUnique) != 0;
  for (std::size_t i = 0; i < own.columns.size(); ++i) {
    const auto* column = child.FindByNumber(own.columns[i].number);
    const auto* key = parent->second.FindByNumber(referenced.columns[i].number);
    if (column != nullptr && key != nullptr) relationship.columns.emplace_back(column->name, key->name);
  }
  return relationship;
}

/// A query lies in several rows, and nothing tells how many: where one of the table is lost, none of them can be trusted.
std::vector<QuerySpec> DamagedCatalog::Queries() {
  std::map<std::int32_t, QuerySpec> queries;
  for (const auto& held : objects_)
    if (held.object.type == kQueryType && !held.object.name.starts_with('~'))
      queries[held.object.id] = {.name = held.object.name, .flags = held.object.flags, .rows = {}};
  if (queries.empty()) return {};
  const PageNumber page = SystemPage(kQueries, Catalog::kQueriesPage);
  bool whole = true;
  try {
    DamagedTable table(file_, page, kQueries);
    const auto place = [&](const char* column) { return RequiredPlace(table, column, page); };
    const std::size_t id = place("ObjectId"), attribute = place("Attribute"), order = place("Order"), name1 = place("Name1"),
                      name2 = place("Name2"), expression = place("Expression"), flag = place("Flag");
    auto visitor = Telling(kQueries, whole, [&](Row& row) {
      const auto query = queries.find(static_cast<std::int32_t>(row.Integer(id)));
      if (query == queries.end()) return;
      QuerySpec::Row part;
      part.attribute = static_cast<std::uint8_t>(row.Integer(attribute));
      part.order = 0;
      for (const std::byte byte : row.Blob(order)) part.order = part.order << 8 | static_cast<std::uint32_t>(byte);
      part.name1 = row.Text(name1);
      part.name2 = row.Text(name2);
      part.expression = row.Text(expression);
      if (!row.IsNull(flag)) part.flag = static_cast<std::int16_t>(row.Integer(flag));
      query->second.rows.push_back(std::move(part));
    });
    visitor.lostValue = visitor.lostRow;
    table.Walk(visitor);
  } catch (const Error& error) {
    whole = false;
    Lose(kQueries, page, std::string("The queries cannot be read: ") + error.what());
  }
  std::vector<QuerySpec> found;
  for (auto& [id, query] : queries) {
    if (whole && !query.rows.empty()) {
      found.push_back(std::move(query));
      continue;
    }
    Lose({}, 0, "The query \"" + query.name + "\" is left off: some of its parts may be lost");
  }
  return found;
}

std::vector<LinkSpec> DamagedCatalog::Links() const {
  std::vector<LinkSpec> links;
  for (const auto& held : objects_) {
    const CatalogObject& object = held.object;
    if (object.type == kJetLinkType || object.type == kOdbcLinkType)
      links.push_back({.name = object.name,
                       .odbc = object.type == kOdbcLinkType,
                       .database = object.database,
                       .connect = object.connect,
                       .foreignName = object.foreignName});
  }
  return links;
}

std::size_t DamagedCatalog::Forms() const noexcept {
  constexpr std::array<std::int16_t, 5> kTypes{-32768, -32766, -32764, -32761, -32756};  // forms, macros, reports, modules, pages
  return static_cast<std::size_t>(std::count_if(objects_.begin(), objects_.end(), [&](const Object& held) {
    return std::find(kTypes.begin(), kTypes.end(), held.object.type) != kTypes.end();
  }));
}

}  // namespace jet
