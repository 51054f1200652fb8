#include "jet/Compactor.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "jet/value/ByteOrder.h"
#include "jet/schema/Creation.h"
#include "jet/Database.h"
#include "jet/schema/Engine.h"
#include "jet/value/Error.h"
#include "jet/table/IndexCursor.h"
#include "jet/schema/Schema.h"
#include "jet/table/Table.h"
#include "jet/table/TableCore.h"
#include "jet/TableCopy.h"
#include "jet/VersionLoss.h"
#include "jet/value/Text.h"
#include "jet/value/TextOrder.h"

namespace jet {
namespace {

class Compactor {
 public:
  Compactor(Database& source, Database& target, const Protection& protection)
      : source_(source), target_(target), protection_(protection), converts_(FormOf(source) != FormOf(target)) {
    if (converts_) sourceEngine_ = EngineAccount(source_);
  }

  void Run() {
    const Database::ReadScope scope(source_);
    target_.Begin();
    std::vector<CatalogObject> objects = source_.Objects();
    if (target_.FormatVersion() < source_.FormatVersion())
      std::erase_if(objects, [](const auto& held) { return !IsBootstrap(held) && IsOfAccess2000(held); });
    CopyOthers(objects);
    for (const auto& object : objects)
      if (object.type == 1 && !IsBootstrap(object)) CopyTableByName(object);
    CopyLinks(objects);
    CopyQueries(objects);
    CopyRelationships(objects);
    TakeOverCatalog(objects);
    TakeOverHeader();
    target_.Commit();
  }

 private:
  /// What must be equal for bytes to mean the same in two files: version, and code page of texts.
  static std::pair<int, std::uint16_t> FormOf(Database& database) { return {database.FormatVersion(), database.Internals().CodePage()}; }

  /// By name: files may have them on other pages than the usual ones.
  static bool IsBootstrap(const CatalogObject& object) {
    static constexpr std::string_view kNames[] = {"MSysObjects", "MSysACEs", "MSysQueries", "MSysRelationships"};
    return object.kind == ObjectKind::kSystemTable &&
           std::any_of(std::begin(kNames), std::end(kNames), [&](std::string_view name) { return EqualNames(object.name, name); });
  }

  /// What the new file cannot hold is told with the table that holds it.
  void CopyTableByName(const CatalogObject& object) {
    try {
      CopyTable(object);
    } catch (const Error& error) {
      const bool told = !converts_ || (error.Code() != ErrorCode::kUnsupported && error.Code() != ErrorCode::kLimit);
      if (told) throw;
      throw Error(error.Code(), "The table \"" + object.name + "\": " + error.what());
    }
  }

  void CopyTable(const CatalogObject& object) {
    Table& from = source_.OpenTable(object.name);
    TableSpec spec;
    spec.name = object.name;
    spec.columns = ColumnsToMake(from.Columns(), source_.FormatVersion(), target_.FormatVersion());
    Table& to = target_.CreateTable(spec);
    CopyRows(from, to);
    for (const auto& index : IndexesToMake(from.Columns(), from.Indexes())) target_.CreateIndex(object.name, index);
    to.Core().Refresh();
    Engine& engine = target_.Internals();
    if (const std::int32_t last = from.LastAutoNumber(); last > to.LastAutoNumber()) {
      const PageRef page = engine.pager->Edit(to.DefinitionPage());
      Store32(page.Writable().data() + engine.Layout().lastCounter, static_cast<std::uint32_t>(last));
    }
  }

  void CopyRows(Table& from, Table& to) {
    RowCopy copy(from.Columns(), to);
    const auto key = from.PrimaryKey();
    if (key && from.Indexes()[*key].writable) {
      Row row;
      IndexCursor cursor(from, *key);
      cursor.SetRange(std::nullopt, std::nullopt);
      while (cursor.Next())
        if (from.Read(cursor.Id(), row)) copy.Insert(row);
      return;
    }
    for (ScanCursor cursor = from.Scan(); cursor.Next();) copy.Insert(cursor.Current());
  }

  /// The number that an object of the source has in the target; 0 when it was not copied.
  std::int32_t IdInTarget(const CatalogObject& object) {
    const bool keepsId = object.kind == ObjectKind::kContainer || object.kind == ObjectKind::kDocument;
    if (keepsId) return object.id;
    if (object.kind == ObjectKind::kRelationship) {
      for (const auto& held : target_.Objects())
        if (held.kind == ObjectKind::kRelationship && EqualNames(held.name, object.name)) return held.id;
      return 0;
    }
    const CatalogObject* held = target_.FindObject(object.name);
    return held == nullptr ? 0 : held->id;
  }

  /// The account under which the engine keeps its own objects; none where the file does not say it in two bytes.
  static std::optional<FileHeader::Sid> EngineAccount(Database& database) {
    Table& table = database.Internals().catalog.ObjectsTable();
    const std::size_t id = table.ColumnAt("Id"), owner = table.ColumnAt("Owner");
    for (ScanCursor cursor = table.Scan(); cursor.Next();) {
      if (cursor.Current().Integer(id) != Catalog::kTablesId) continue;
      const auto bytes = cursor.Current().Blob(owner);
      if (bytes.size() == 2) return FileHeader::Sid{Load8(bytes.data()), Load8(bytes.data() + 1)};
    }
    return std::nullopt;
  }

  /// An account as the target writes it. Accounts go by a key that belongs to the creation date of a Jet 4 file, which is taken over with
  /// them; in Jet 3 they lie as they are. Null for those that cannot be given in the other version.
  Value AccountInTarget(Value account) const {
    if (!converts_ || account.Type() != ValueType::kBytes) return account;
    Bytes bytes = account.AsBytes();
    if (bytes.size() != 2 || !sourceEngine_) return Value();
    const FileHeader::Sid& engine = target_.Internals().header.AccountsOfNewFile().engine;
    for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] ^= static_cast<std::byte>((*sourceEngine_)[i] ^ engine[i]);
    return Value(std::move(bytes));
  }

  /// What the catalog says of each object beyond what making it anew has said: dates, owner, flags, properties, permissions. Last of all,
  /// because the definition of a system table can be changed only while it does not count as one.
  void TakeOverCatalog(const std::vector<CatalogObject>& objects) {
    std::unordered_map<std::int32_t, std::int32_t> ids;
    for (const auto& object : objects)
      if (const std::int32_t id = IdInTarget(object); id != 0) ids.emplace(object.id, id);
    Table& from = source_.Internals().catalog.ObjectsTable();
    Table& to = target_.Internals().catalog.ObjectsTable();
    std::unordered_map<std::int32_t, RowId> rows;
    const std::size_t idThere = to.ColumnAt("Id");
    for (ScanCursor cursor = to.Scan(); cursor.Next();)
      rows.emplace(static_cast<std::int32_t>(cursor.Current().Integer(idThere)), cursor.Id());
    std::erase_if(ids, [&](const auto& id) { return rows.count(id.second) == 0; });
    if (converts_) {
      Catalog& catalog = target_.Internals().catalog;
      for (const auto& [old, id] : ids)
        if (const PropertyMap properties = source_.Internals().catalog.ReadProperties(old); !properties.Groups().empty())
          catalog.WriteProperties(id, properties);
      target_.Internals().pager->ChangeGeneration();
    }
    // The rows come after the properties, whose writing counts as a change: the dates of the source are what stays.
    const std::size_t idHere = from.ColumnAt("Id");
    for (ScanCursor cursor = from.Scan(); cursor.Next();) {
      const auto id = ids.find(static_cast<std::int32_t>(cursor.Current().Integer(idHere)));
      if (id == ids.end()) continue;
      TakeOverRow(cursor.Current(), from, to, rows.at(id->second), ids);
    }
    target_.Internals().pager->ChangeGeneration();
    TakeOverPermissions(ids);
  }

  void TakeOverRow(Row& row, Table& from, Table& to, RowId target, const std::unordered_map<std::int32_t, std::int32_t>& ids) {
    const auto columns = from.Columns();
    std::vector<Value> values(columns.size());
    std::vector<std::unique_ptr<LongValuePipe>> pipes;
    std::vector<Assignment> assignments;
    for (std::size_t i = 0; i < columns.size(); ++i) {
      const std::string& name = columns[i].name;
      const auto where = to.FindColumn(name);
      if (!where || name == "Id" || (name == "LvProp" && converts_)) continue;
      if (columns[i].type == ColumnType::kOle && row.StoredLength(i) > kHeldWhole) {
        pipes.push_back(std::make_unique<LongValuePipe>(row.OpenLong(i)));
        assignments.push_back({*where, nullptr, pipes.back().get()});
        continue;
      }
      row.Get(i, values[i]);
      if (name == "Owner") {
        values[i] = AccountInTarget(std::move(values[i]));
        if (values[i].IsNull()) continue;
      }
      if (name == "ParentId" && values[i].Type() == ValueType::kLong)
        if (const auto parent = ids.find(values[i].AsLong()); parent != ids.end()) values[i] = Value(parent->second);
      assignments.push_back({*where, &values[i], nullptr});
    }
    to.Update(target, assignments);
  }

  void TakeOverPermissions(const std::unordered_map<std::int32_t, std::int32_t>& ids) {
    Table& from = source_.Internals().catalog.PermissionsTable();
    Table& to = target_.Internals().catalog.PermissionsTable();
    std::vector<RowId> old;
    for (ScanCursor cursor = to.Scan(); cursor.Next();) old.push_back(cursor.Id());
    for (const RowId row : old) to.Delete(row);
    const std::size_t idHere = from.ColumnAt("ObjectId"), idThere = to.ColumnAt("ObjectId");
    const std::size_t sidThere = to.ColumnAt("SID");
    for (ScanCursor cursor = from.Scan(); cursor.Next();) {
      const auto id = ids.find(static_cast<std::int32_t>(cursor.Current().Integer(idHere)));
      if (id == ids.end()) continue;
      std::vector<Value> values(to.Columns().size());
      for (std::size_t i = 0; i < from.Columns().size(); ++i)
        if (const auto where = to.FindColumn(from.Columns()[i].name)) cursor.Current().Get(i, values[*where]);
      values[idThere] = Value(id->second);
      values[sidThere] = AccountInTarget(std::move(values[sidThere]));
      if (!values[sidThere].IsNull()) to.Insert(values);
    }
  }

  /// The accounts mean what they mean under the creation date and the build of the source.
  void TakeOverHeader() {
    const PageRef from = source_.Internals().pager->Read(0);
    const PageRef to = target_.Internals().pager->Edit(0);
    if (!converts_) FileHeader::CopyIdentity(from.Bytes(), to.Writable());
    if (protection_.password) {
      FileHeader::SetPassword(to.Writable(), *protection_.password);
    } else if (converts_) {
      FileHeader::SetPassword(to.Writable(), FileHeader::Read(from.Bytes(), source_.Path()).PasswordText());
    }
  }

  /// Containers and documents (forms, reports, macros, modules, what Access keeps of itself): their catalog rows go over as they are.
  void CopyOthers(const std::vector<CatalogObject>& objects) {
    Table& from = source_.Internals().catalog.ObjectsTable();
    Table& to = target_.Internals().catalog.ObjectsTable();
    const std::size_t idColumn = from.ColumnAt("Id");
    for (ScanCursor cursor = from.Scan(); cursor.Next();) {
      Row& row = cursor.Current();
      const auto id = static_cast<std::int32_t>(row.Integer(idColumn));
      const auto object = std::find_if(objects.begin(), objects.end(), [&](const CatalogObject& held) { return held.id == id; });
      const bool copied =
          object != objects.end() && id < 0 && (object->kind == ObjectKind::kContainer || object->kind == ObjectKind::kDocument);
      if (!copied) continue;
      std::vector<Value> values(to.Columns().size());
      for (std::size_t i = 0; i < from.Columns().size(); ++i)
        if (const auto where = to.FindColumn(from.Columns()[i].name)) row.Get(i, values[*where]);
      to.Insert(values);
    }
    target_.Internals().catalog.Forget();
  }

  /// Objects that are no tables keep their numbers: Access' own tables, and other objects, name them by these.
  void CopyLinks(const std::vector<CatalogObject>& objects) {
    for (const auto& object : objects)
      if (object.kind == ObjectKind::kJetLink || object.kind == ObjectKind::kOdbcLink) {
        CatalogObject made = object;
        made.id = KeptId(object);
        made.parentId = Catalog::kTablesId;
        target_.Internals().catalog.Add(made, {});
      }
  }

  static std::int32_t KeptId(const CatalogObject& object) { return object.id < 0 ? object.id : 0; }

  [[nodiscard]] bool IsLocal(const std::string& name) {
    const CatalogObject* object = source_.FindObject(name);
    return object != nullptr && (object->kind == ObjectKind::kTable || object->kind == ObjectKind::kSystemTable);
  }

  void CopyRelationships(const std::vector<CatalogObject>& objects) {
    for (const auto& relationship : source_.Relationships()) {
      const auto object = std::find_if(objects.begin(), objects.end(), [&](const CatalogObject& held) {
        return held.kind == ObjectKind::kRelationship && EqualNames(held.name, relationship.name);
      });
      const std::int32_t id = object == objects.end() ? 0 : KeptId(*object);
      if (relationship.enforced && IsLocal(relationship.table) && IsLocal(relationship.referencedTable)) {
        Schema(target_.Internals()).CreateRelationship(relationship, id);
      } else {
        CopyRelationshipRows(relationship.name);
        if (object == objects.end()) continue;
        CatalogObject made = *object;
        made.id = id;
        made.parentId = Catalog::kRelationshipsId;
        target_.Internals().catalog.Add(made, {});
      }
    }
  }

  /// One that nothing enforces says only what somebody wrote down, be it of links or of tables that are not there.
  void CopyRelationshipRows(const std::string& name) {
    Table& from = source_.Internals().catalog.RelationshipsTable();
    Table& to = target_.Internals().catalog.RelationshipsTable();
    const std::size_t nameColumn = from.ColumnAt("szRelationship");
    for (ScanCursor cursor = from.Scan(); cursor.Next();) {
      Row& row = cursor.Current();
      if (!EqualNames(row.Text(nameColumn), name)) continue;
      std::vector<Value> values(to.Columns().size());
      for (std::size_t i = 0; i < from.Columns().size(); ++i)
        if (const auto where = to.FindColumn(from.Columns()[i].name)) row.Get(i, values[*where]);
      to.Insert(values);
    }
  }

  void CopyQueries(const std::vector<CatalogObject>& objects) {
    Catalog& from = source_.Internals().catalog;
    Catalog& to = target_.Internals().catalog;
    for (const auto& object : objects) {
      if (object.kind != ObjectKind::kQuery) continue;
      CatalogObject made = object;
      made.id = KeptId(object);
      made.parentId = Catalog::kTablesId;
      const std::int32_t id = to.Add(made, from.ReadProperties(object.id));
      Table& source = from.QueriesTable();
      Table& target = to.QueriesTable();
      const std::size_t idColumn = source.ColumnAt("ObjectId");
      for (ScanCursor cursor = source.Scan(); cursor.Next();) {
        Row& row = cursor.Current();
        if (row.Integer(idColumn) != object.id) continue;
        std::vector<Value> values(target.Columns().size());
        for (std::size_t i = 0; i < source.Columns().size(); ++i) {
          const auto where = target.FindColumn(source.Columns()[i].name);
          if (where) row.Get(i, values[*where]);
        }
        values[target.ColumnAt("ObjectId")] = Value(id);
        target.Insert(values);
      }
    }
  }

  Database& source_;
  Database& target_;
  const Protection& protection_;
  const bool converts_;  ///< to another version or code page
  std::optional<FileHeader::Sid> sourceEngine_;
};

}  // namespace

void CompactInto(Database& source, const std::string& newPath, const Protection& protection, int version, FileSystem& files) {
  OpenOptions options;
  options.fileSystem = &files;
  options.cacheBytes = source.Internals().cacheBytes;
  const FileHeader& header = source.Internals().header;
  if (header.release != 0)
    throw Error(ErrorCode::kUnsupported,
                "\"" + source.Path() + "\" is a database of Access 2007 or later (.accdb): it cannot be compacted");
  if (Sharing::IsAceName(newPath))
    throw Error(ErrorCode::kUnsupported,
                "\"" + newPath + "\" would be a database of Access 2007 or later (.accdb): none is compacted into one");
  Sharing::RequireName(newPath);
  NewFile file = FileForCopy(header, version);
  file.encoded = protection.encoded.value_or(source.Encoded());
  file.password = options.password = protection.password.value_or(std::string());
  CreateEmptyFile(files, newPath, file);
  options.mode = OpenMode::kExclusive;
  const auto target = Database::Open(newPath, options);
  try {
    Compactor(source, *target, protection).Run();
  } catch (...) {
    options.fileSystem->Remove(newPath);
    throw;
  }
}

}  // namespace jet
