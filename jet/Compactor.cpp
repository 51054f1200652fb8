#include "jet/Compactor.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "jet/ByteOrder.h"
#include "jet/Database.h"
#include "jet/Engine.h"
#include "jet/Error.h"
#include "jet/IndexCursor.h"
#include "jet/Table.h"
#include "jet/TableCore.h"
#include "jet/Text.h"

namespace jet {
namespace {

/// Hands a long value of one file to another without holding it.
class Pipe final : public ChunkSource {
 public:
  explicit Pipe(std::unique_ptr<LongValueReader> reader) : reader_(std::move(reader)) {}
  std::size_t Read(std::span<std::byte> buffer) override { return reader_->Read(buffer); }

 private:
  std::unique_ptr<LongValueReader> reader_;
};

constexpr std::uint64_t kHeldWhole = 64 << 10;

class Compactor {
 public:
  Compactor(Database& source, Database& target) : source_(source), target_(target) {}

  void Run() {
    const Database::ReadScope scope(source_);
    target_.Begin();
    std::vector<CatalogObject> objects = source_.Objects();
    CopyOthers(objects);
    for (const auto& object : objects)
      if (object.type == 1 && !IsBootstrap(object)) CopyTable(object);
    for (const auto& object : objects)
      if (object.kind == ObjectKind::kJetLink || object.kind == ObjectKind::kOdbcLink)
        target_.CreateLink({object.name, object.kind == ObjectKind::kOdbcLink, object.database, object.connect, object.foreignName});
    CopyQueries(objects);
    for (const auto& relationship : source_.Relationships()) {
      // One between tables that are not there any more would not have been kept either.
      if (source_.FindObject(relationship.table) == nullptr || source_.FindObject(relationship.referencedTable) == nullptr) continue;
      target_.CreateRelationship(relationship);
    }
    // The definition of a system table can be changed only while it does not count as one.
    for (const auto& object : objects)
      if (object.type == 1 && object.flags != 0 && !IsBootstrap(object)) SetFlags(object);
    target_.Commit();
  }

 private:
  static bool IsBootstrap(const CatalogObject& object) { return object.id >= 2 && object.id <= 5; }

  void CopyTable(const CatalogObject& object) {
    Table& from = source_.OpenTable(object.name);
    TableSpec spec;
    spec.name = object.name;
    spec.columns = from.Columns();
    // Rules are left off while copying: what the file holds is copied, whether it obeys them or not.
    for (auto& column : spec.columns) column.required = false, column.allowZeroLength = true;
    const auto indexes = from.Indexes();
    std::vector<IndexSpec> later;
    for (const auto& index : indexes) {
      if (index.kind == IndexKind::kForeignKey) continue;
      IndexSpec made;
      made.name = index.name;
      made.primary = index.kind == IndexKind::kPrimary;
      made.unique = index.unique;
      made.ignoreNulls = index.ignoreNulls;
      made.required = index.required;
      for (const auto& part : index.columns) made.columns.push_back({spec.columns[part.column].name, part.descending});
      later.push_back(std::move(made));
    }
    Table& to = target_.CreateTable(spec);
    CopyRows(from, to);
    for (const auto& index : later) target_.CreateIndex(object.name, index);
    CopyProperties(object);
    to.Core().Refresh();
    Engine& engine = target_.Internals();
    if (const std::int32_t last = from.LastAutoNumber(); last > to.LastAutoNumber()) {
      const PageRef page = engine.pager->Edit(to.DefinitionPage());
      Store32(page.Writable().data() + TableDefinition::kAutoNumberOffset, static_cast<std::uint32_t>(last));
    }
  }

  void CopyRows(Table& from, Table& to) {
    const auto columns = from.Columns();
    std::vector<Value> values(columns.size());
    std::vector<Assignment> assignments(columns.size());
    std::vector<std::unique_ptr<Pipe>> pipes;
    const auto copy = [&](Row& row) {
      pipes.clear();
      for (std::size_t i = 0; i < columns.size(); ++i) {
        assignments[i] = {i, &values[i], nullptr};
        const bool isLong = columns[i].type == ColumnType::kMemo || columns[i].type == ColumnType::kOle;
        if (isLong && row.StoredLength(i) > kHeldWhole) {
          pipes.push_back(std::make_unique<Pipe>(row.OpenLong(i)));
          assignments[i] = {i, nullptr, pipes.back().get()};
        } else {
          row.Get(i, values[i]);
        }
      }
      to.Insert(assignments);
    };
    const auto key = from.PrimaryKey();
    if (key && from.Indexes()[*key].writable) {
      Row row;
      IndexCursor cursor(from, *key);
      cursor.SetRange(std::nullopt, std::nullopt);
      while (cursor.Next())
        if (from.Read(cursor.Id(), row)) copy(row);
      return;
    }
    for (ScanCursor cursor = from.Scan(); cursor.Next();) copy(cursor.Current());
  }

  void SetFlags(const CatalogObject& object) {
    Catalog& catalog = target_.Internals().catalog;
    Table& table = catalog.ObjectsTable();
    const std::int32_t id = catalog.Find(object.name)->id;
    const std::size_t idColumn = table.ColumnAt("Id");
    const Value flags(static_cast<std::int32_t>(object.flags));
    const Assignment assignment{table.ColumnAt("Flags"), &flags, nullptr};
    std::optional<RowId> row;
    for (ScanCursor cursor = table.Scan(); cursor.Next();)
      if (cursor.Current().Integer(idColumn) == id) row = cursor.Id();
    if (row) table.Update(*row, std::span(&assignment, 1));
    target_.Internals().pager->ChangeGeneration();
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

  void CopyProperties(const CatalogObject& object) {
    Catalog& catalog = target_.Internals().catalog;
    const CatalogObject* made = catalog.Find(object.name);
    catalog.WriteProperties(made->id, source_.Internals().catalog.ReadProperties(object.id));
    target_.Internals().pager->ChangeGeneration();
  }

  void CopyQueries(const std::vector<CatalogObject>& objects) {
    Catalog& from = source_.Internals().catalog;
    Catalog& to = target_.Internals().catalog;
    for (const auto& object : objects) {
      if (object.kind != ObjectKind::kQuery) continue;
      CatalogObject made = object;
      made.id = 0;
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
};

}  // namespace

void CompactInto(Database& source, const std::string& newPath) {
  OpenOptions options;
  options.fileSystem = &source.Internals().files;
  options.cacheBytes = source.Internals().options.cacheBytes;
  const auto target = Database::Create(newPath, options);
  try {
    Compactor(source, *target).Run();
  } catch (...) {
    options.fileSystem->Remove(newPath);
    throw;
  }
}

}  // namespace jet
