#include "jet/schema/Catalog.h"

#include <algorithm>

#include "base/Calendar.h"
#include "jet/value/Error.h"
#include "jet/table/TableCore.h"
#include "jet/value/Text.h"

namespace jet {
namespace {

constexpr std::int32_t kFirstFreeId = static_cast<std::int32_t>(0x80000000u);
constexpr std::int32_t kDatabaseDocumentId = 0x10000000;
constexpr std::int32_t kFullAccess = 0x000FFFFF;
constexpr std::uint32_t kSystemFlags = 0x80000002;
constexpr std::uint32_t kHiddenFlag = 0x00000008;

ObjectKind KindOf(std::int16_t type, std::uint32_t flags) {
  switch (type) {
    case 1:
      return (flags & kSystemFlags) != 0 ? ObjectKind::kSystemTable : ObjectKind::kTable;
    case 4:
      return ObjectKind::kOdbcLink;
    case 5:
      return ObjectKind::kQuery;
    case 6:
      return ObjectKind::kJetLink;
    case 8:
      return ObjectKind::kRelationship;
    case 3:
      return ObjectKind::kContainer;
    case 2:
      return ObjectKind::kDocument;
    default:
      return type < 0 ? ObjectKind::kDocument : ObjectKind::kOther;
  }
}

bool IsTableLike(ObjectKind kind) {
  return kind == ObjectKind::kTable || kind == ObjectKind::kSystemTable || kind == ObjectKind::kJetLink || kind == ObjectKind::kOdbcLink ||
         kind == ObjectKind::kQuery;
}

std::size_t Column(Table& table, std::string_view name) {
  const auto found = table.FindColumn(name);
  if (!found)
    throw Error(ErrorCode::kDamaged, "The system table \"" + table.Name() + "\" has no column \"" + std::string(name) + "\"",
                table.DefinitionPage(), 0);
  return *found;
}

}  // namespace

Date Now() { return {base::UtcNow()}; }

Table& Catalog::ObjectsTable() { return space_.TableAt(kObjectsPage, "MSysObjects"); }
Table& Catalog::PermissionsTable() { return SystemTable("MSysACEs", kPermissionsPage); }
Table& Catalog::QueriesTable() { return SystemTable("MSysQueries", kQueriesPage); }
Table& Catalog::RelationshipsTable() { return SystemTable("MSysRelationships", kRelationshipsPage); }

/// Where the catalog says, which may be another page than the usual one; while a file is being made the catalog does not say it yet.
Table& Catalog::SystemTable(const char* name, PageNumber usual) {
  const CatalogObject* object = Find(name);
  if (object == nullptr || object->type != 1) return space_.TableAt(usual, name);
  return space_.TableAt(static_cast<PageNumber>(object->id), name);
}

void Catalog::Load() {
  Table& table = ObjectsTable();
  const std::size_t id = Column(table, "Id"), parent = Column(table, "ParentId"), name = Column(table, "Name"),
                    type = Column(table, "Type"), created = Column(table, "DateCreate"), updated = Column(table, "DateUpdate"),
                    flags = Column(table, "Flags"), database = Column(table, "Database"), connect = Column(table, "Connect"),
                    foreign = Column(table, "ForeignName");
  std::vector<CatalogObject> objects;
  std::vector<RowId> rows;
  ScanCursor cursor = table.Scan();
  while (cursor.Next()) {
    Row& row = cursor.Current();
    CatalogObject object;
    object.id = static_cast<std::int32_t>(row.Integer(id));
    object.parentId = static_cast<std::int32_t>(row.Integer(parent));
    object.name = row.Text(name);
    object.type = static_cast<std::int16_t>(row.Integer(type));
    object.flags = static_cast<std::uint32_t>(row.Integer(flags));
    object.kind = KindOf(object.type, object.flags);
    object.hidden = (object.flags & kHiddenFlag) != 0;
    object.created.serial = row.Real(created);
    object.updated.serial = row.Real(updated);
    if (object.kind == ObjectKind::kJetLink || object.kind == ObjectKind::kOdbcLink) {
      object.database = row.Text(database);
      object.connect = row.Text(connect);
      object.foreignName = row.Text(foreign);
    }
    objects.push_back(std::move(object));
    rows.push_back(row.Id());
  }
  objects_ = std::move(objects);
  rows_ = std::move(rows);
  byName_.clear();
  twins_.clear();
  byId_.clear();
  for (std::size_t i = 0; i < objects_.size(); ++i) {
    if (IsTableLike(objects_[i].kind)) AddName(i);
    // Ids are unique but for those of system containers in files of old.
    byId_.emplace(objects_[i].id, i);
  }
  generation_ = space_.pager->Generation();
}

const std::vector<CatalogObject>& Catalog::Objects() {
  if (generation_ != space_.pager->Generation()) Load();
  return objects_;
}

void Catalog::AddName(std::size_t position) {
  CatalogObject& object = objects_[position];
  const auto [known, isNew] = byName_.emplace(FoldCase(object.name), position);
  if (isNew) return;
  object.hasTwin = objects_[known->second].hasTwin = true;
  twins_.emplace(object.name, position);
}

const CatalogObject* Catalog::Find(std::string_view name) {
  (void)Objects();
  if (const auto twin = twins_.find(std::string(name)); twin != twins_.end() && objects_[byName_.at(FoldCase(name))].name != name) {
    return &objects_[twin->second];
  }
  const auto found = byName_.find(FoldCase(name));
  return found == byName_.end() ? nullptr : &objects_[found->second];
}

const CatalogObject* Catalog::FindById(std::int32_t id) {
  (void)Objects();
  const auto found = byId_.find(id);
  return found == byId_.end() ? nullptr : &objects_[found->second];
}

std::string Catalog::NameOf(PageNumber definitionPage) {
  const CatalogObject* object = FindById(static_cast<std::int32_t>(definitionPage));
  return object == nullptr ? std::string() : object->name;
}

PropertyMap Catalog::PropertiesOf(PageNumber definitionPage) { return ReadProperties(static_cast<std::int32_t>(definitionPage)); }

RowId Catalog::RowOf(std::int32_t id) {
  (void)Objects();
  const auto found = byId_.find(id);
  if (found == byId_.end()) throw Error(ErrorCode::kNotFound, "There is no object of that number");
  return rows_[found->second];
}

std::int32_t Catalog::Add(CatalogObject object, const PropertyMap& properties) {
  if (object.id == 0) {
    std::int64_t highest = std::int64_t{kFirstFreeId} - 1;
    for (const auto& held : Objects())
      if (held.id < 0) highest = std::max<std::int64_t>(highest, held.id);
    object.id = static_cast<std::int32_t>(highest + 1);
  }
  Table& permissions = PermissionsTable();  // found before the catalog changes
  Table& table = ObjectsTable();
  // A table belongs to whom the database document belongs to, and may be used by everybody who may use the container.
  Value owner;
  {
    Row row;
    if (FindById(kDatabaseDocumentId) != nullptr && table.Read(RowOf(kDatabaseDocumentId), row)) row.Get(Column(table, "Owner"), owner);
  }
  std::vector<Value> values(table.Columns().size());
  const auto set = [&](std::string_view column, Value value) { values[Column(table, column)] = std::move(value); };
  set("Id", Value(object.id));
  set("ParentId", Value(object.parentId));
  set("Name", Value(object.name));
  set("Type", Value(object.type));
  set("DateCreate", Value(Now()));
  set("DateUpdate", Value(Now()));
  set("Owner", owner);
  set("Flags", Value(static_cast<std::int32_t>(object.flags)));
  if (!object.database.empty()) set("Database", Value(object.database));
  if (!object.connect.empty()) set("Connect", Value(object.connect));
  if (!object.foreignName.empty()) set("ForeignName", Value(object.foreignName));
  if (Bytes bytes = properties.Encode(space_.CodePage()); !bytes.empty()) set("LvProp", Value(std::move(bytes)));
  try {
    table.Insert(values);
  } catch (const Error& error) {
    if (error.Code() != ErrorCode::kDuplicateKey) throw;
    throw Error(ErrorCode::kAlreadyExists, "There is an object of the name \"" + object.name + "\" already");
  }

  AddPermissions(permissions, object, owner);
  Forget();
  return object.id;
}

/// A new object is permitted what its container hands down, and what the container hands down to the creator goes to the owner.
void Catalog::AddPermissions(Table& permissions, const CatalogObject& object, const Value& owner) {
  const std::size_t idColumn = Column(permissions, "ObjectId"), sidColumn = Column(permissions, "SID"),
                    accessColumn = Column(permissions, "ACM"), inheritColumn = Column(permissions, "FInheritable");
  Value creator;
  if (owner.Type() == ValueType::kBytes && owner.AsBytes().size() == 2) {
    // Names of accounts differ from file to file, but by the same bits within one: the owner is Admin, 03 01, and the creator 02 04.
    Bytes bytes = owner.AsBytes();
    bytes[0] ^= std::byte{0x03 ^ 0x02};
    bytes[1] ^= std::byte{0x01 ^ 0x04};
    creator = Value(std::move(bytes));
  }
  std::vector<std::pair<Value, std::int32_t>> entries;
  for (ScanCursor cursor = permissions.Scan(); cursor.Next();) {
    Row& row = cursor.Current();
    if (row.Integer(idColumn) != object.parentId || !row.Bool(inheritColumn)) continue;
    Value user = row.Get(sidColumn);
    if (user == creator) user = owner;
    const auto access = static_cast<std::int32_t>(row.Integer(accessColumn));
    const auto held = std::find_if(entries.begin(), entries.end(), [&](const auto& entry) { return entry.first == user; });
    if (held == entries.end())
      entries.emplace_back(std::move(user), access);
    else
      held->second |= access;
  }
  if (entries.empty() && !owner.IsNull()) entries.emplace_back(owner, kFullAccess);
  for (const auto& [user, access] : entries) {
    std::vector<Value> entry(permissions.Columns().size());
    entry[idColumn] = Value(object.id);
    entry[sidColumn] = user;
    entry[accessColumn] = Value(access);
    permissions.Insert(entry);
  }
}

void Catalog::RemoveRows(Table& table, std::string_view column, std::int32_t id) {
  const std::size_t position = Column(table, column);
  std::vector<RowId> rows;
  for (ScanCursor cursor = table.Scan(); cursor.Next();)
    if (cursor.Current().Integer(position) == id) rows.push_back(cursor.Id());
  for (const RowId row : rows) table.Delete(row);
}

void Catalog::Remove(std::int32_t id) {
  Table& permissions = PermissionsTable();
  Table& queries = QueriesTable();
  ObjectsTable().Delete(RowOf(id));
  RemoveRows(permissions, "ObjectId", id);
  RemoveRows(queries, "ObjectId", id);
  Forget();
}

void Catalog::Rename(std::int32_t id, const std::string& name) {
  Table& table = ObjectsTable();
  const Value value(name);
  const Value now(Now());
  const Assignment assignments[] = {{Column(table, "Name"), &value, nullptr}, {Column(table, "DateUpdate"), &now, nullptr}};
  try {
    table.Update(RowOf(id), assignments);
  } catch (const Error& error) {
    if (error.Code() != ErrorCode::kDuplicateKey) throw;
    throw Error(ErrorCode::kAlreadyExists, "There is an object of the name \"" + name + "\" already");
  }
  Forget();
}

void Catalog::Touch(std::int32_t id) {
  Table& table = ObjectsTable();
  const Value now(Now());
  const Assignment assignments[] = {{Column(table, "DateUpdate"), &now, nullptr}};
  table.Update(RowOf(id), assignments);
  Forget();
}

PropertyMap Catalog::ReadProperties(std::int32_t id) {
  (void)Objects();
  if (byId_.count(id) == 0) return {};
  Table& table = ObjectsTable();
  const auto column = table.FindColumn("LvProp");
  Row row;
  if (!column || !table.Read(RowOf(id), row)) return {};
  return PropertyMap::Decode(row.Blob(*column), space_.CodePage());
}

void Catalog::WriteProperties(std::int32_t id, const PropertyMap& properties) {
  Table& table = ObjectsTable();
  Bytes bytes = properties.Encode(space_.CodePage());
  const Value value = bytes.empty() ? Value() : Value(std::move(bytes));
  const Value now(Now());
  const Assignment assignments[] = {{Column(table, "LvProp"), &value, nullptr}, {Column(table, "DateUpdate"), &now, nullptr}};
  table.Update(RowOf(id), assignments);
  Forget();
}

}  // namespace jet
