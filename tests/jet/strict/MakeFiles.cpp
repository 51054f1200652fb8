// Makes Access files of every kind for a second opinion: jet_strict_files FOLDER [SAMPLE...]
//
// The files in FOLDER are the engine's own from the first byte ("made-..."), or changed copies of the samples ("like-N-...", with the
// number of the sample in the order of the arguments), each with its compacted copy. Everything is the same in every run but for dates.

#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <random>

#include "jet/Database.h"
#include "jet/value/Error.h"
#include "jet/file/MemoryFileSystem.h"
#include "jet/table/Table.h"
#include "tests/jet/history/Workload.h"
#include "tests/jet/storage/JetTestSupport.h"

namespace jet::tests {
namespace {

namespace fs = std::filesystem;
using Random = std::mt19937;

constexpr char kPath[] = "/file.mdb";

IndexSpec Index(std::string name, std::vector<IndexSpec::Part> parts) {
  IndexSpec index;
  index.name = std::move(name);
  index.columns = std::move(parts);
  return index;
}

std::size_t Below(Random& random, std::size_t limit) { return random() % limit; }

/// Files are made in memory, where nothing waits for a disk.
void Save(const MemoryFileSystem& files, const std::string& name, const fs::path& target) {
  const std::vector<std::byte> bytes = files.Content(name);
  std::ofstream out(target, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  if (!out.flush()) throw std::runtime_error("cannot write " + target.string());
}

/// The file and its compacted copy.
void SaveBoth(MemoryFileSystem& files, const OpenOptions& options, const fs::path& folder, const std::string& name) {
  constexpr char kCompact[] = "/compact.mdb";
  Database::Open(kPath, options)->Compact(kCompact);
  Save(files, kPath, folder / (name + ".mdb"));
  Save(files, kCompact, folder / (name + "-compact.mdb"));
}

/// A text of characters that the General order treats in all its ways.
std::string RandomText(Random& random, std::size_t longest, bool wide) {
  static const char* const kPieces[] = {"a", "B", "é", "È", " ", "-", "'", "1", "ß", "Æ", "ü", "z", "_", "\xC2\xAD", "ç", "\t", "/", "ñ"};
  static const char* const kWide[] = {"日", "あ", "ァ", "e\xCC\x81", "œ", "ﬁ", "€", "Ж", "ش", "𝄞", "\xE2\x80\x93", "ｱ"};
  std::string text;
  for (std::size_t i = Below(random, longest + 1); i != 0; --i)
    text += wide && Below(random, 3) == 0 ? kWide[Below(random, std::size(kWide))] : kPieces[Below(random, std::size(kPieces))];
  return text;
}

/// Cuts a text to so many UTF-16 units.
std::string Cut(const std::string& text, std::size_t units) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0) == 0x80) continue;
    count += byte >= 0xF0 ? 2 : 1;
    if (count > units) return text.substr(0, i);
  }
  return text;
}

Value RandomValue(Random& random, const ColumnDef& column) {
  if (column.type != ColumnType::kBoolean && Below(random, 8) == 0) return Value();
  const auto number = static_cast<std::int32_t>(random());
  switch (column.type) {
    case ColumnType::kBoolean:
      return Value(Below(random, 2) == 0);
    case ColumnType::kByte:
      return Value(static_cast<std::uint8_t>(number));
    case ColumnType::kInteger:
      return Value(static_cast<std::int16_t>(number));
    case ColumnType::kLong:
      return Value(number);
    case ColumnType::kCurrency:
      return Value(Currency{std::int64_t{number} * 12345});
    case ColumnType::kSingle:
      return Value(static_cast<float>(number % 1000) / 8);
    case ColumnType::kDouble:
      return Value(Below(random, 20) == 0 ? -0.0 : static_cast<double>(number) / 1024);
    case ColumnType::kDate:
      return Value(Date{static_cast<double>(number % 100000) / 4});
    case ColumnType::kBinary: {
      Bytes bytes(Below(random, column.size + 1u));
      for (auto& byte : bytes) byte = static_cast<std::byte>(random() % 5);
      return Value(std::move(bytes));
    }
    case ColumnType::kOle: {
      Bytes bytes(Below(random, 3) == 0 ? Below(random, 15000) : Below(random, 100));
      for (auto& byte : bytes) byte = static_cast<std::byte>(random());
      return Value(std::move(bytes));
    }
    case ColumnType::kText:
      return Value(Cut(RandomText(random, column.size, Below(random, 4) == 0), column.size));
    case ColumnType::kMemo:
      return Value(RandomText(random, Below(random, 4) == 0 ? 9000 : 60, Below(random, 3) == 0));
    case ColumnType::kGuid: {
      Guid guid;
      for (auto& byte : guid.bytes) byte = static_cast<std::uint8_t>(random() % 4);
      return Value(guid);
    }
    case ColumnType::kNumeric: {
      const bool wide = column.precision == 28 && Below(random, 4) == 0;
      const std::uint64_t low = column.precision < 10 ? random() % 1000 : random();
      return Value(Numeric{wide ? 5ull : 0ull, low, column.scale, Below(random, 2) == 0});
    }
    case ColumnType::kInternal:
      break;
  }
  return Value();
}

/// Inserts, changes and deletes; what a rule of the table refuses is one less done.
void Exercise(Database& database, const std::string& name, Random& random, std::size_t steps) {
  Table& table = database.OpenTable(name);
  std::vector<RowId> rows;
  for (ScanCursor scan = table.Scan(); scan.Next();) rows.push_back(scan.Id());
  std::vector<Value> values;
  for (std::size_t step = 0; step < steps; ++step) {
    const std::size_t choice = Below(random, 10);
    try {
      if (choice < 6 || rows.empty()) {
        values.clear();
        for (const ColumnDef& column : table.Columns()) values.push_back(column.autoNumber ? Value() : RandomValue(random, column));
        rows.push_back(table.Insert(std::span<const Value>(values)));
      } else if (choice < 9) {
        std::vector<Assignment> assignments;
        values.resize(table.Columns().size());
        for (std::size_t i = 0; i < values.size(); ++i) {
          if (table.Columns()[i].autoNumber || Below(random, 2) == 0) continue;
          values[i] = RandomValue(random, table.Columns()[i]);
          assignments.push_back({i, &values[i], nullptr});
        }
        table.Update(rows[Below(random, rows.size())], std::span<const Assignment>(assignments));
      } else {
        const std::size_t at = Below(random, rows.size());
        table.Delete(rows[at]);
        rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(at));
      }
    } catch (const Error& error) {
      switch (error.Code()) {
        case ErrorCode::kDuplicateKey:
        case ErrorCode::kNullNotAllowed:
        case ErrorCode::kZeroLengthNotAllowed:
        case ErrorCode::kRelationViolated:
        case ErrorCode::kLimit:
        case ErrorCode::kValueTooLong:
        case ErrorCode::kNotFound:  // deleted by a cascade
          break;
        default:
          throw;
      }
    }
  }
}

std::vector<ColumnDef> AllTypes() {
  std::vector<ColumnDef> columns = {
      Counter("Id"),
      Column("Yes", ColumnType::kBoolean),
      Column("Small", ColumnType::kByte),
      Column("Number", ColumnType::kInteger),
      Column("Big", ColumnType::kLong),
      Column("Money", ColumnType::kCurrency),
      Column("Single", ColumnType::kSingle),
      Column("Real", ColumnType::kDouble),
      Column("When", ColumnType::kDate),
      Column("Raw", ColumnType::kBinary, 40),
      Column("Words", ColumnType::kText, 40),
      Column("Plain words", ColumnType::kText, 255),
      Column("Note", ColumnType::kMemo),
      Column("Picture", ColumnType::kOle),
      Column("Key", ColumnType::kGuid),
      Column("Exact", ColumnType::kNumeric),
      Column("Fixed raw", ColumnType::kBinary, 9),
      Column("Fixed words", ColumnType::kText, 7),
  };
  columns[11].compressed = false;
  columns[15].precision = 28;
  columns[15].scale = 3;
  columns[16].fixedLength = columns[17].fixedLength = true;
  return columns;
}

/// Every type with an index each way, and indexes over several columns, unique, without nulls and ignoring them.
void MakeAllTypes(Database& database) {
  Random random(1);
  for (const bool descending : {false, true}) {
    TableSpec spec;
    spec.name = descending ? "Down" : "Up";
    spec.columns = AllTypes();
    spec.indexes.push_back(PrimaryKey("Id"));
    for (const ColumnDef& column : spec.columns)
      if (column.type != ColumnType::kOle && column.name != "Id")
        spec.indexes.push_back(Index("by " + column.name, {{column.name, descending}}));
    IndexSpec several = Index("several", {{"Words", descending}, {"Big", !descending}, {"Yes", descending}});
    several.ignoreNulls = true;
    spec.indexes.push_back(several);
    IndexSpec unique = Index("unique", {{"Money", !descending}, {"Real", descending}});
    unique.unique = unique.ignoreNulls = true;
    spec.indexes.push_back(unique);
    database.CreateTable(spec);
    Exercise(database, spec.name, random, 1500);
  }
}

/// Long values that grow and shrink through all their forms.
void MakeLongValues(Database& database) {
  TableSpec spec;
  spec.name = "Long values";
  spec.columns = {Counter("Id"), Column("Note", ColumnType::kMemo), Column("Picture", ColumnType::kOle),
                  Column("Second", ColumnType::kMemo)};
  spec.indexes = {PrimaryKey("Id"), Index("Note", {{"Note", false}})};
  Table& table = database.CreateTable(spec);
  Random random(2);
  static constexpr std::size_t kSizes[] = {0,    1,    3,    31,   32,   33,   64,   65,   1024,  1025,
                                           2037, 2038, 2039, 4072, 4076, 4077, 8144, 8145, 12000, 40000};
  const auto size = [&] { return kSizes[Below(random, std::size(kSizes))] + Below(random, 2); };
  std::vector<RowId> rows;
  for (int i = 0; i < 120; ++i) {
    const std::vector<Value> row{Value(), Value(std::string(size(), 'n')), Value(Bytes(size(), std::byte{7})),
                                 Value(RandomText(random, size(), true))};
    rows.push_back(table.Insert(std::span<const Value>(row)));
  }
  for (int i = 0; i < 600; ++i) {
    const std::size_t at = Below(random, rows.size());
    const Value value = Below(random, 3) == 0   ? Value()
                        : Below(random, 2) == 0 ? Value(std::string(size(), 'u'))
                                                : Value(RandomText(random, size(), true));
    const Value bytes(Bytes(size(), std::byte{9}));
    const Assignment note{Below(random, 2) == 0 ? std::size_t{1} : std::size_t{3}, &value, nullptr};
    const Assignment picture{2, &bytes, nullptr};
    table.Update(rows[at], std::span(Below(random, 3) == 0 ? &picture : &note, 1));
    if (i % 10 == 0) {
      table.Delete(rows[at]);
      rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(at));
    }
  }
}

/// The names of a real file's own tables are left to it: those made here begin with prefix.
void MakeRelations(Database& database, const std::string& prefix = {}) {
  const std::string clients = prefix + "Clients";
  const std::string commandes = prefix + "Commandes";
  const std::string lignes = prefix + "Lignes";
  const auto table = [&](const std::string& name, bool second) {
    TableSpec spec;
    spec.name = name;
    spec.columns = {Column("Id", ColumnType::kLong), Column("Code", ColumnType::kText, 20), Column("Parent", ColumnType::kLong),
                    Column("Parent code", ColumnType::kText, 20)};
    spec.indexes = {PrimaryKey("Id")};
    IndexSpec pair = Index("pair", {{"Id", false}, {"Code", false}});
    pair.unique = true;
    spec.indexes.push_back(pair);
    if (second) spec.indexes.push_back(Index("own", {{"Parent", false}}));
    database.CreateTable(spec);
  };
  table(clients, false);
  table(commandes, true);
  table(lignes, false);
  const auto relate = [&](const std::string& name, const std::string& child, const std::string& parent,
                          std::vector<std::pair<std::string, std::string>> columns, const std::function<void(Relationship&)>& change) {
    Relationship relationship;
    relationship.name = name;
    relationship.table = child;
    relationship.referencedTable = parent;
    relationship.columns = std::move(columns);
    change(relationship);
    database.CreateRelationship(relationship);
  };
  relate(prefix + "ClientsCommandes", commandes, clients, {{"Parent", "Id"}},
         [](Relationship& r) { r.cascadeUpdates = r.cascadeDeletes = true; });
  relate(prefix + "CommandesLignes", lignes, commandes, {{"Parent", "Id"}, {"Parent code", "Code"}},
         [](Relationship& r) { r.cascadeUpdates = true; });
  relate(prefix + "Self", clients, clients, {{"Parent", "Id"}}, [](Relationship&) {});
  relate(prefix + "Loose", lignes, clients, {{"Parent code", "Code"}}, [](Relationship& r) { r.enforced = false, r.leftJoin = true; });
  relate(prefix + "Dropped", lignes, clients, {{"Parent", "Id"}}, [](Relationship&) {});
  Random random(3);
  for (int round = 0; round < 400; ++round) {
    for (const std::string& name : {clients, commandes, lignes}) {
      Table& rows = database.OpenTable(name);
      const auto number = [&] { return Value(static_cast<std::int32_t>(Below(random, 150))); };
      const std::string codes[] = {"a", "É", "x-y"};
      const std::vector<Value> row{number(), Value(codes[Below(random, 3)]), Below(random, 3) == 0 ? Value() : number(),
                                   Value(codes[Below(random, 3)])};
      try {
        if (Below(random, 5) != 0) {
          rows.Insert(std::span<const Value>(row));
          continue;
        }
        const auto found = rows.Seek(rows.PrimaryKey().value(), std::span(&row[0], 1));
        if (!found) continue;
        if (Below(random, 3) == 0) {
          rows.Delete(*found);
        } else {
          const Value other = number();
          const Assignment assignment{0, &other, nullptr};
          rows.Update(*found, std::span(&assignment, 1));
        }
      } catch (const Error& error) {
        if (error.Code() != ErrorCode::kDuplicateKey && error.Code() != ErrorCode::kRelationViolated) throw;
      }
    }
  }
  database.DropRelationship(prefix + "Dropped");
}

/// Definitions that grow over several pages and shrink again, names of every sort, properties, links.
void MakeStructure(Database& database) {
  Random random(4);
  TableSpec wide;
  wide.name = "Wide table";
  for (int i = 0; i < 250; ++i)
    wide.columns.push_back(Column("A column with a rather long name, number " + std::to_string(i),
                                  i % 3 == 0   ? ColumnType::kText
                                  : i % 3 == 1 ? ColumnType::kBoolean
                                               : ColumnType::kInteger,
                                  i % 3 == 0 ? 10 : 0));
  wide.columns[0] = Counter("Id");
  wide.columns[7].type = ColumnType::kMemo;
  wide.indexes = {PrimaryKey("Id")};
  database.CreateTable(wide);
  Exercise(database, wide.name, random, 60);
  for (int i = 3; i < 200; i += 2) database.DropColumn(wide.name, wide.columns[static_cast<std::size_t>(i)].name);
  for (int i = 0; i < 5; ++i)
    database.AddColumn(wide.name, Column("New " + std::to_string(i), i % 2 == 0 ? ColumnType::kMemo : ColumnType::kLong));
  Exercise(database, wide.name, random, 60);

  for (int round = 0; round < 12; ++round) {
    TableSpec spec;
    spec.name = "Été n° " + std::to_string(round) + " / essai";
    spec.columns = AllTypes();
    spec.columns[10].required = round % 2 == 0;
    spec.columns[10].defaultValue = "\"dé\"";
    spec.columns[12].hyperlink = true;
    spec.indexes = {PrimaryKey("Id"), Index("_under", {{"Words", false}}), Index("Zed", {{"Big", true}}), Index("été", {{"When", false}})};
    Property description;
    description.name = "Description";
    description.type = ColumnType::kMemo;
    description.value = Value("Table numéro " + std::to_string(round));
    spec.properties = {description};
    database.CreateTable(spec);
    Exercise(database, spec.name, random, 80);
    database.DropIndex(spec.name, "Zed");
    database.CreateIndex(spec.name, Index("another", {{"Exact", false}, {"Key", true}}));
    database.DropColumn(spec.name, "Note");
    database.DropColumn(spec.name, "Fixed words");
    database.AddColumn(spec.name, Column("Note", ColumnType::kMemo));
    Exercise(database, spec.name, random, 80);
    if (round % 3 == 1) database.DropTable(spec.name);
    if (round % 3 == 2) database.RenameTable(spec.name, "Renamed " + std::to_string(round));
  }
  // A table that has no variable column until late.
  TableSpec fixed;
  fixed.name = "Fixed";
  fixed.columns = {Column("Yes", ColumnType::kBoolean), Column("Big", ColumnType::kLong)};
  database.CreateTable(fixed);
  Exercise(database, fixed.name, random, 900);
  database.DropColumn(fixed.name, "Big");
  database.AddColumn(fixed.name, Column("Words", ColumnType::kText, 30));
  database.AddColumn(fixed.name, Counter("Number"));
  Exercise(database, fixed.name, random, 900);

  LinkSpec link;
  link.name = "Linked";
  link.database = "C:\\data\\other.mdb";
  link.foreignName = "Clients";
  database.CreateLink(link);
  link.name = "Linked by ODBC";
  link.odbc = true;
  link.database.clear();
  link.connect = "DSN=serveur;UID=moi";
  link.foreignName = "dbo.Clients";
  database.CreateLink(link);
  database.DropTable("Linked");
  Property title;
  title.name = "AppTitle";
  title.value = Value("Une application");
  database.SetProperty("Renamed 2", {}, title);
  Property format;
  format.name = "Format";
  format.ddl = true;
  format.value = Value("0,00");
  database.SetProperty("Renamed 2", "Big", format);
  database.SetProperty("Renamed 2", "Words", format);
  database.RemoveProperty("Renamed 2", "Big", "Format");
}

/// So many rows that trees have three levels and maps go by reference; then a third of them is deleted and a third changed.
void MakeLarge(Database& database, int count) {
  TableSpec spec;
  spec.name = "Many";
  spec.columns = {Counter("Id"), Column("Name", ColumnType::kText, 255), Column("City", ColumnType::kText, 30),
                  Column("Amount", ColumnType::kDouble), Column("Day", ColumnType::kDate)};
  spec.indexes = {PrimaryKey("Id"), Index("Name", {{"Name", false}}), Index("Name down", {{"Name", true}, {"Id", true}}),
                  Index("City", {{"City", false}, {"Amount", true}})};
  IndexSpec sparse = Index("Day", {{"Day", false}});
  sparse.ignoreNulls = true;
  spec.indexes.push_back(sparse);
  Table& table = database.CreateTable(spec);
  Random random(5);
  std::vector<RowId> rows;
  {
    Transaction transaction(database);
    for (int i = 0; i < count; ++i) {
      const std::string name =
          "Prénom-" + std::to_string(random() % 1000) + " " + std::string(i % 40 == 0 ? 230 : random() % 20, 'm') + std::to_string(i);
      const std::vector<Value> row{Value(), Value(Cut(name, 255)), Value("Ville " + std::to_string(random() % 50)),
                                   Value(static_cast<double>(random() % 10000) / 100),
                                   i % 3 == 0 ? Value() : Value(Date{double(random() % 40000)})};
      rows.push_back(table.Insert(std::span<const Value>(row)));
    }
    transaction.Commit();
  }
  Transaction transaction(database);
  const Value longer(std::string(200, 'L') + "é");
  const Assignment assignment{1, &longer, nullptr};
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (i % 3 == 0) table.Delete(rows[i]);
    if (i % 30 == 1) table.Update(rows[i], std::span(&assignment, 1));
  }
  transaction.Commit();
}

/// Keys of 500 and more bytes: few to a page, so that trees are deep.
void MakeDeep(Database& database) {
  TableSpec spec;
  spec.name = "Deep";
  spec.columns = {Column("One", ColumnType::kText, 255), Column("Two", ColumnType::kText, 255), Column("Raw", ColumnType::kBinary, 250)};
  spec.indexes = {Index("long", {{"One", false}, {"Two", true}}), Index("raw", {{"Raw", true}})};
  Table& table = database.CreateTable(spec);
  Random random(6);
  std::vector<RowId> rows;
  for (int i = 0; i < 4000; ++i) {
    std::string one;
    for (int k = 0; k < 240; ++k) one += static_cast<char>('a' + random() % 26);
    if (i % 2 == 0) one.replace(0, 200, 200, 'c');
    const std::vector<Value> row{Value(one), Value(std::string(200, static_cast<char>('a' + i % 26))),
                                 Value(Bytes(250, static_cast<std::byte>(random())))};
    rows.push_back(table.Insert(std::span<const Value>(row)));
    if (random() % 3 == 0) {
      const std::size_t at = Below(random, rows.size());
      table.Delete(rows[at]);
      rows.erase(rows.begin() + static_cast<std::ptrdiff_t>(at));
    }
  }
}

void MakeHistory(const OpenOptions& options, unsigned seed, int steps, const WorkloadLimits& limits) {
  auto database = Database::Create(kPath, options);
  Workload workload(seed, limits);
  for (int step = 0; step < steps; ++step) {
    workload.Step(*database);
    if (workload.Depth() == 0 && step % 200 == 199) {
      database.reset();
      database = Database::Open(kPath, options);
    }
  }
  // What is open is rolled back.
}

/// The power goes in the middle of a transaction; what the next opening makes of it is kept.
void MakeCuts(const fs::path& folder) {
  using Disk = std::map<std::string, std::vector<std::byte>>;
  MemoryFileSystem files;
  OpenOptions options;
  options.fileSystem = &files;
  Workload workload(11, {3, 60, 20000, true, false});
  {
    auto database = Database::Create(kPath, options);
    for (int i = 0; i < 300; ++i) workload.Step(*database);
  }
  Disk start;
  for (const std::string& name : files.Names()) start[name] = files.Content(name);
  files.Record(true);
  {
    auto database = Database::Open(kPath, options);
    for (int t = 0; t < 6; ++t) {
      database->Begin();
      for (int i = 0; i < 40; ++i) workload.Step(*database);
      database->Commit();
    }
  }
  files.Record(false);
  const std::vector<MemoryFileSystem::Event> events = files.TakeRecord();
  Random random(12);
  for (int cut = 0; cut < 12; ++cut) {
    const Disk disk =
        ReplayWithPowerCut(start, events, 1 + Below(random, events.size() - 1), [&](std::size_t) { return random() % 2 == 0; });
    MemoryFileSystem after;
    for (const auto& [name, bytes] : disk) after.SetContent(name, bytes);
    options.fileSystem = &after;
    Database::Open(kPath, options).reset();
    Save(after, kPath, folder / ("made-cut-" + std::to_string(cut) + ".mdb"));
  }
}

/// Everything at once to a copy of a real file.
void ChangeSample(const OpenOptions& options, unsigned seed) {
  const auto database = Database::Open(kPath, options);
  Random random(seed);
  const std::vector<CatalogObject> objects = database->Objects();
  for (const CatalogObject& object : objects) {
    if (object.kind != ObjectKind::kTable) continue;
    const std::string& name = object.name;
    Exercise(*database, name, random, 150);
    const bool hasCounter = [&] {
      for (const ColumnDef& column : database->OpenTable(name).Columns())
        if (column.autoNumber) return true;
      return false;
    }();
    database->AddColumn(name, Column("Added words", ColumnType::kText, 50));
    database->AddColumn(name, Column("Added note", ColumnType::kMemo));
    database->AddColumn(name, hasCounter ? Column("Added number", ColumnType::kDouble) : Counter("Added number"));
    database->CreateIndex(name, Index("Added index", {{"Added words", true}, {"Added number", false}}));
    database->CreateIndex(name, Index("A short life", {{"Added number", false}}));
    Exercise(*database, name, random, 150);
    database->DropIndex(name, "A short life");
    for (std::size_t c = 0; c < database->OpenTable(name).Columns().size(); ++c) {
      const std::string column = database->OpenTable(name).Columns()[c].name;
      try {
        database->DropColumn(name, column);
        break;
      } catch (const Error& error) {
        if (error.Code() != ErrorCode::kUnsupported) throw;
      }
    }
    Exercise(*database, name, random, 60);
    try {
      Transaction undone(*database);
      Exercise(*database, name, random, 60);
      database->AddColumn(name, Column("Never", ColumnType::kMemo));
    } catch (const Error& error) {
      if (error.Code() != ErrorCode::kLimit) throw;
    }
  }
  MakeRelations(*database, "Added ");
  TableSpec spec;
  spec.name = "Added table";
  spec.columns = AllTypes();
  spec.indexes = {PrimaryKey("Id"), Index("Words", {{"Words", false}})};
  database->CreateTable(spec);
  Exercise(*database, spec.name, random, 300);
  spec.name = "Added for a short time";
  database->CreateTable(spec);
  Exercise(*database, spec.name, random, 100);
  database->DropTable(spec.name);
}

void Make(const fs::path& folder, const std::string& name, const std::function<void(const OpenOptions&)>& work) {
  MemoryFileSystem files;
  OpenOptions options;
  options.fileSystem = &files;
  work(options);
  SaveBoth(files, options, folder, name);
}

void MakeNew(const fs::path& folder, const std::string& name, const std::function<void(Database&)>& work) {
  Make(folder, "made-" + name, [&](const OpenOptions& options) { work(*Database::Create(kPath, options)); });
}

void MakeAll(const fs::path& folder, const std::vector<std::string>& samples) {
  MakeNew(folder, "empty", [](Database&) {});
  MakeNew(folder, "types", MakeAllTypes);
  MakeNew(folder, "long", MakeLongValues);
  MakeNew(folder, "relations", [](Database& database) { MakeRelations(database); });
  MakeNew(folder, "structure", MakeStructure);
  MakeNew(folder, "deep", MakeDeep);
  MakeNew(folder, "large", [](Database& database) { MakeLarge(database, 120000); });
  for (unsigned seed = 1; seed <= 6; ++seed)
    Make(folder, "made-history-" + std::to_string(seed), [&](const OpenOptions& options) {
      MakeHistory(options, seed, 5000, {4, seed * 100, 20000, true, seed % 2 == 0});
    });
  MakeCuts(folder);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    std::ifstream stream(samples[i], std::ios::binary);
    const std::string content(std::istreambuf_iterator<char>(stream), {});
    MemoryFileSystem files;
    files.SetContent(
        kPath, {reinterpret_cast<const std::byte*>(content.data()), reinterpret_cast<const std::byte*>(content.data()) + content.size()});
    OpenOptions options;
    options.fileSystem = &files;
    constexpr char kPlain[] = "/plain.mdb";
    Database::Open(kPath, options)->Compact(kPlain);
    Save(files, kPlain, folder / ("like-" + std::to_string(i) + "-plain.mdb"));
    ChangeSample(options, static_cast<unsigned>(100 + i));
    SaveBoth(files, options, folder, "like-" + std::to_string(i));
  }
}

}  // namespace
}  // namespace jet::tests

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  try {
    jet::tests::MakeAll(argv[1], std::vector<std::string>(argv + 2, argv + argc));
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "jet_strict_files: " << error.what() << '\n';
    return 1;
  }
}
