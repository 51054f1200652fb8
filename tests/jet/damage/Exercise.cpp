#include "tests/jet/damage/Exercise.h"

#include <array>

#include "jet/Database.h"
#include "jet/Error.h"
#include "jet/IndexCursor.h"
#include "jet/MemoryFileSystem.h"
#include "jet/Table.h"

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

void ChangeTable(Database& database, const std::string& name, Outcome& outcome) {
  for (int i = 0; i < 3; ++i) {
    Attempt(outcome, [&] {
      Table& table = database.OpenTable(name);
      ScanCursor scan = table.Scan();
      if (!scan.Next()) return;
      const RowId id = scan.Id();
      const std::optional<std::vector<Value>> row = table.Read(id);
      if (row) table.Insert(std::span<const Value>(*row));
    });
    Attempt(outcome, [&] {
      Table& table = database.OpenTable(name);
      std::optional<RowId> id;
      for (ScanCursor scan = table.Scan(); scan.Next();) id = scan.Id();
      if (!id) return;
      const Value text(std::string(40, 'x'));
      for (std::size_t column = 0; column < table.Columns().size(); ++column) {
        const Assignment assignment{column, &text, nullptr};
        Attempt(outcome, [&] { table.Update(*id, std::span(&assignment, 1)); });
      }
      table.Delete(*id);
    });
  }
  Attempt(outcome, [&] {
    ColumnDef column;
    column.name = "Added";
    column.type = ColumnType::kText;
    column.size = 20;
    database.AddColumn(name, column);
    IndexSpec index;
    index.name = "AddedIndex";
    index.columns = {{"Added", false}};
    database.CreateIndex(name, index);
    database.DropIndex(name, "AddedIndex");
    database.DropColumn(name, "Added");
  });
}

}  // namespace

Outcome UseEverything(const std::vector<std::byte>& file) {
  Outcome outcome;
  MemoryFileSystem files;
  files.SetContent(kPath, file);
  OpenOptions options;
  options.fileSystem = &files;
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
      if (object.kind == ObjectKind::kTable) ChangeTable(*database, object.name, outcome);
    }
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

std::vector<std::byte> MakeFile() {
  MemoryFileSystem files;
  OpenOptions options;
  options.fileSystem = &files;
  {
    const auto database = Database::Create(kPath, options);
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
    spec.columns = {column("Id", ColumnType::kLong),       column("Name", ColumnType::kText, 50),   column("Note", ColumnType::kMemo),
                    column("Picture", ColumnType::kOle),   column("Amount", ColumnType::kCurrency), column("Day", ColumnType::kDate),
                    column("Key", ColumnType::kGuid),      column("Exact", ColumnType::kNumeric),   column("Yes", ColumnType::kBoolean),
                    column("Raw", ColumnType::kBinary, 30)};
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

}  // namespace jet::tests
