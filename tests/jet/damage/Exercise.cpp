#include "tests/jet/damage/Exercise.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>

#include "jet/Database.h"
#include "jet/value/Error.h"
#include "jet/table/IndexCursor.h"
#include "jet/file/MemoryFileSystem.h"
#include "jet/table/Table.h"

namespace jet::tests {
namespace {

constexpr char kPath[] = "/damaged.mdb";

template <typename Operation>
void Attempt(Outcome& outcome, Operation&& operation) {
  try {
    operation();
  } catch (const Error& error) {
    ++outcome.errors;
    if (error.Code() == ErrorCode::kDamaged && std::string(error.what()).find("(page ") == std::string::npos)
      outcome.unplaced = error.what();
  }
}

void ReadRows(Table& table, Outcome& outcome) {
  const std::size_t columns = table.Columns().size();
  std::array<std::byte, 4096> buffer;
  Value value;
  for (ScanCursor scan = table.Scan(); scan.Next(); ++outcome.rows) {
    for (std::size_t i = 0; i < columns; ++i) {
      Attempt(outcome, [&] { scan.Current().Get(i, value); });
      Attempt(outcome, [&] {
        const ColumnType type = table.Columns()[i].type;
        if (type != ColumnType::kMemo && type != ColumnType::kOle) return;
        if (const auto reader = scan.Current().OpenLong(i)) {
          while (reader->Read(buffer) != 0) {
          }
        }
      });
    }
  }
}

void ReadTable(Database& database, const std::string& name, Outcome& outcome) {
  Attempt(outcome, [&] { ReadRows(database.OpenTable(name), outcome); });
  std::size_t indexes = 0;
  Attempt(outcome, [&] { indexes = database.OpenTable(name).Indexes().size(); });
  for (std::size_t i = 0; i < indexes; ++i) {
    for (const bool backward : {false, true}) {
      Attempt(outcome, [&] {
        Table& table = database.OpenTable(name);
        IndexCursor cursor(table, i);
        cursor.SetRange(std::nullopt, std::nullopt, backward);
        while (cursor.Next()) (void)table.Read(cursor.Id());
      });
    }
  }
}

/// A value that a column of the type takes.
Value Fitting(ColumnType type, int i) {
  switch (type) {
    case ColumnType::kBoolean:
      return Value(i % 2 == 0);
    case ColumnType::kDate:
      return Value(Date{30000.25 + i});
    case ColumnType::kBinary:
    case ColumnType::kOle:
    case ColumnType::kInternal:
      return Value(Bytes(static_cast<std::size_t>(1 + i * 7), std::byte{1}));
    case ColumnType::kText:
    case ColumnType::kMemo:
      return Value(std::string(static_cast<std::size_t>(1 + i * 13), 'x'));
    case ColumnType::kGuid:
      return Value(Guid{});
    default:
      return Value(static_cast<std::int32_t>(100 + i));
  }
}

class Pieces final : public ChunkSource {
 public:
  explicit Pieces(std::size_t size) : left_(size) {}
  std::size_t Read(std::span<std::byte> buffer) override {
    const std::size_t count = std::min(buffer.size(), left_);
    std::fill_n(buffer.begin(), count, std::byte{'p'});
    left_ -= count;
    return count;
  }

 private:
  std::size_t left_;
};

void UpdateRow(Table& table, RowId id, int turn, Outcome& outcome) {
  for (std::size_t column = 0; column < table.Columns().size(); ++column) {
    const ColumnType type = table.Columns()[column].type;
    Attempt(outcome, [&] {
      const Value value = Fitting(type, turn);
      const Assignment assignment{column, &value, nullptr};
      table.Update(id, std::span(&assignment, 1));
    });
    Attempt(outcome, [&] {
      if (type != ColumnType::kMemo && type != ColumnType::kOle) return;
      Pieces pieces(9000);
      const Assignment assignment{column, nullptr, &pieces};
      table.Update(id, std::span(&assignment, 1));
    });
    Attempt(outcome, [&] {
      const Value null;
      const Assignment assignment{column, &null, nullptr};
      table.Update(id, std::span(&assignment, 1));
    });
  }
}

void ChangeRows(Database& database, const std::string& name, Outcome& outcome) {
  for (int turn = 0; turn < 3; ++turn) {
    Attempt(outcome, [&] {
      Table& table = database.OpenTable(name);
      ScanCursor scan = table.Scan();
      if (!scan.Next()) return;
      const std::optional<std::vector<Value>> row = table.Read(scan.Id());
      if (row) table.Insert(std::span<const Value>(*row));
    });
    Attempt(outcome, [&] {
      Table& table = database.OpenTable(name);
      std::vector<Value> row;
      for (const ColumnDef& column : table.Columns()) row.push_back(column.autoNumber ? Value() : Fitting(column.type, turn));
      table.Insert(std::span<const Value>(row));
    });
    Attempt(outcome, [&] {
      Table& table = database.OpenTable(name);
      std::optional<RowId> id;
      for (ScanCursor scan = table.Scan(); scan.Next();) id = scan.Id();
      if (!id) return;
      UpdateRow(table, *id, turn, outcome);
      table.Delete(*id);
    });
  }
  // What happened in a nested transaction is undone, then what happened around it.
  Attempt(outcome, [&] {
    const Transaction outer(database);
    Table& table = database.OpenTable(name);
    ScanCursor scan = table.Scan();
    if (!scan.Next()) return;
    const RowId id = scan.Id();
    {
      const Transaction inner(database);
      UpdateRow(table, id, 9, outcome);
    }
    table.Delete(id);
  });
}

void ChangeShape(Database& database, const std::string& name, Outcome& outcome) {
  IndexSpec index;
  index.name = "AddedIndex";
  for (std::size_t column = 0; column < 3; ++column) {
    Attempt(outcome, [&] {
      Table& table = database.OpenTable(name);
      if (column >= table.Columns().size()) return;
      index.columns = {{table.Columns()[column].name, column == 1}};
      database.CreateIndex(name, index);
      database.DropIndex(name, "AddedIndex");
    });
  }
  Attempt(outcome, [&] {
    ColumnDef column;
    column.name = "Added";
    column.type = ColumnType::kText;
    column.size = 20;
    database.AddColumn(name, column);
    index.columns = {{"Added", false}};
    database.CreateIndex(name, index);
    database.DropIndex(name, "AddedIndex");
    database.DropColumn(name, "Added");
  });
  Attempt(outcome, [&] {
    if (const std::vector<ColumnDef> columns = database.OpenTable(name).Columns(); columns.size() > 1)
      database.DropColumn(name, columns.back().name);
  });
  Attempt(outcome, [&] {
    database.SetProperty(name, {}, {"Description", ColumnType::kText, Value("changed"), true});
    database.RemoveProperty(name, {}, "Description");
    database.RenameTable(name, "Renamed");
    database.RenameTable("Renamed", name);
  });
}

/// Every table refers to the one before it.
void Relate(Database& database, const std::vector<CatalogObject>& objects, Outcome& outcome) {
  const CatalogObject* before = nullptr;
  for (const CatalogObject& object : objects) {
    if (object.kind != ObjectKind::kTable) continue;
    if (before != nullptr) {
      Attempt(outcome, [&] {
        Relationship relationship;
        relationship.name = "Added";
        relationship.table = object.name;
        relationship.referencedTable = before->name;
        relationship.columns = {
            {database.OpenTable(object.name).Columns().at(0).name, database.OpenTable(before->name).Columns().at(0).name}};
        relationship.cascadeDeletes = relationship.cascadeUpdates = true;
        database.CreateRelationship(relationship);
        ChangeRows(database, before->name, outcome);
        database.DropRelationship("Added");
      });
    }
    before = &object;
  }
}

}  // namespace

Outcome UseEverything(const std::vector<std::byte>& file) {
  Outcome outcome;
  MemoryFileSystem files;
  files.SetContent(kPath, file);
  OpenOptions options;
  options.fileSystem = &files;
  options.password = kPassword;
  Attempt(outcome, [&] {
    const auto database = Database::Open(kPath, options);
    Attempt(outcome, [&] { (void)database->Relationships(); });
    Attempt(outcome, [&] { (void)database->Check(); });
    const std::vector<CatalogObject> objects = database->Objects();
    for (const CatalogObject& object : objects) {
      Attempt(outcome, [&] { (void)database->Properties(object.name); });
      if (object.kind == ObjectKind::kQuery) Attempt(outcome, [&] { (void)database->QueryText(object.name); });
      if (object.kind == ObjectKind::kTable || object.kind == ObjectKind::kSystemTable) ReadTable(*database, object.name, outcome);
    }
    if (database->ReadOnly()) return;
    for (const CatalogObject& object : objects) {
      if (object.kind != ObjectKind::kTable) continue;
      ChangeRows(*database, object.name, outcome);
      ChangeShape(*database, object.name, outcome);
    }
    Relate(*database, objects, outcome);
    Attempt(outcome, [&] { outcome.findings = database->Check().size(); });
    Attempt(outcome, [&] { database->Compact("/changed.mdb"); });
    files.Remove("/changed.mdb");
    Attempt(outcome, [&] {
      TableSpec spec;
      spec.name = "Made";
      ColumnDef column;
      column.name = "Id";
      column.type = ColumnType::kLong;
      spec.columns = {column};
      database->CreateTable(spec);
    });
    for (const CatalogObject& object : objects) {
      if (object.kind == ObjectKind::kTable) Attempt(outcome, [&] { database->DropTable(object.name); });
    }
    Attempt(outcome, [&] { database->Compact("/compacted.mdb"); });
  });
  return outcome;
}

std::vector<std::byte> MakeFile(const Protection& protection, int version) {
  MemoryFileSystem files;
  OpenOptions options;
  options.fileSystem = &files;
  {
    const auto database = Database::Create(kPath, options, protection, version);
    const auto column = [](const char* name, ColumnType type, std::uint16_t size = 0) {
      ColumnDef def;
      def.name = name;
      def.type = type;
      def.size = size;
      def.allowZeroLength = true;
      return def;
    };
    TableSpec spec;
    spec.name = "Everything";
    spec.columns = {column("Id", ColumnType::kLong),         column("Name", ColumnType::kText, 50),
                    column("Note", ColumnType::kMemo),       column("Picture", ColumnType::kOle),
                    column("Amount", ColumnType::kCurrency), column("Day", ColumnType::kDate),
                    column("Key", ColumnType::kGuid),        column("Exact", version == 3 ? ColumnType::kDouble : ColumnType::kNumeric),
                    column("Yes", ColumnType::kBoolean),     column("Raw", ColumnType::kBinary, 30)};
    spec.columns[0].autoNumber = true;
    IndexSpec primary;
    primary.name = "PrimaryKey";
    primary.columns = {{"Id", false}};
    primary.primary = true;
    IndexSpec names;
    names.name = "Names";
    names.columns = {{"Name", true}, {"Day", false}};
    spec.indexes = {primary, names};
    Table& table = database->CreateTable(spec);
    database->Begin();
    for (int i = 0; i < 700; ++i) {
      const std::vector<Value> row{Value(),
                                   Value("Name " + std::to_string(i * 37 % 700)),
                                   i % 5 == 0 ? Value(std::string(static_cast<std::size_t>(i) * 11, 'm')) : Value("short"),
                                   i % 50 == 0 ? Value(Bytes(9000, std::byte{7})) : Value(),
                                   Value(Currency{i * 1234}),
                                   Value(Date{40000.5 + i}),
                                   Value(Guid{}),
                                   Value(Numeric{0, static_cast<std::uint64_t>(i), 0, false}),
                                   Value(i % 2 == 0),
                                   Value(Bytes(static_cast<std::size_t>(i % 30), std::byte{9}))};
      table.Insert(std::span<const Value>(row));
    }
    database->Commit();
    database->Begin();
    for (ScanCursor scan = table.Scan(); scan.Next();) {
      if (scan.Current().Integer(0) % 3 != 0) continue;
      const Value grown(std::string(45, 'z') + std::to_string(scan.Current().Integer(0)));
      const Assignment assignment{1, &grown, nullptr};
      table.Update(scan.Id(), std::span(&assignment, 1));
    }
    database->Commit();
  }
  return files.Content(kPath);
}

std::vector<std::byte> Load(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
  const auto* const data = reinterpret_cast<const std::byte*>(bytes.data());
  return {data, data + bytes.size()};
}

}  // namespace jet::tests
