#include "tests/jet/strict/MadeTables.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <span>
#include <utility>
#include <vector>

#include "jet/table/Table.h"
#include "jet/value/Error.h"
#include "tests/jet/storage/JetTestSupport.h"
#include "tests/jet/strict/RandomRows.h"

namespace jet::tests {
namespace {

void MakeRelated(Database& database, const std::string& name, bool second) {
  TableSpec spec;
  spec.name = name;
  spec.columns = {Column("Id", ColumnType::kLong), Column("Code", ColumnType::kText, 20), Column("Parent", ColumnType::kLong),
                  Column("Parent code", ColumnType::kText, 20)};
  spec.indexes = {PrimaryKey("Id")};
  IndexSpec pair = IndexOf("pair", {{"Id", false}, {"Code", false}});
  pair.unique = true;
  spec.indexes.push_back(pair);
  if (second) spec.indexes.push_back(IndexOf("own", {{"Parent", false}}));
  database.CreateTable(spec);
}

/// Inserts, or changes or deletes the row of a number; what the relationships refuse is not done.
void StepOfRelated(Table& rows, Random& random) {
  const auto number = [&] { return Value(static_cast<std::int32_t>(Below(random, 150))); };
  const std::string codes[] = {"a", "É", "x-y"};
  const std::vector<Value> row{number(), Value(codes[Below(random, 3)]), Below(random, 3) == 0 ? Value() : number(),
                               Value(codes[Below(random, 3)])};
  try {
    if (Below(random, 5) != 0) {
      rows.Insert(std::span<const Value>(row));
      return;
    }
    const auto found = rows.Seek(rows.PrimaryKey().value(), std::span(&row[0], 1));
    if (!found) return;
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

void MakeWide(Database& database, Random& random) {
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
}

/// A table of every type that loses and gets columns and indexes.
void MakeEdited(Database& database, Random& random, int round) {
  TableSpec spec;
  spec.name = "Été n° " + std::to_string(round) + " / essai";
  spec.columns = AllTypes(database.FormatVersion());
  spec.columns[10].required = round % 2 == 0;
  spec.columns[10].defaultValue = "\"dé\"";
  spec.columns[12].hyperlink = true;
  spec.indexes = {PrimaryKey("Id"), IndexOf("_under", {{"Words", false}}), IndexOf("Zed", {{"Big", true}}),
                  IndexOf("été", {{"When", false}})};
  Property description;
  description.name = "Description";
  description.type = ColumnType::kMemo;
  description.value = Value("Table numéro " + std::to_string(round));
  spec.properties = {description};
  database.CreateTable(spec);
  Exercise(database, spec.name, random, 80);
  database.DropIndex(spec.name, "Zed");
  database.CreateIndex(spec.name, IndexOf("another", {{database.FormatVersion() == 3 ? "Money" : "Exact", false}, {"Key", true}}));
  database.DropColumn(spec.name, "Note");
  database.DropColumn(spec.name, "Fixed words");
  database.AddColumn(spec.name, Column("Note", ColumnType::kMemo));
  Exercise(database, spec.name, random, 80);
  if (round % 3 == 1) database.DropTable(spec.name);
  if (round % 3 == 2) database.RenameTable(spec.name, "Renamed " + std::to_string(round));
}

/// A table that has no variable column until late.
void MakeFixed(Database& database, Random& random) {
  TableSpec fixed;
  fixed.name = "Fixed";
  fixed.columns = {Column("Yes", ColumnType::kBoolean), Column("Big", ColumnType::kLong)};
  database.CreateTable(fixed);
  Exercise(database, fixed.name, random, 900);
  database.DropColumn(fixed.name, "Big");
  database.AddColumn(fixed.name, Column("Words", ColumnType::kText, 30));
  database.AddColumn(fixed.name, Counter("Number"));
  Exercise(database, fixed.name, random, 900);
}

void MakeLinks(Database& database) {
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
}

void MakeProperties(Database& database) {
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

}  // namespace

void MakeAllTypes(Database& database) {
  Random random(1);
  for (const bool descending : {false, true}) {
    TableSpec spec;
    spec.name = descending ? "Down" : "Up";
    spec.columns = AllTypes(database.FormatVersion());
    spec.indexes.push_back(PrimaryKey("Id"));
    for (const ColumnDef& column : spec.columns)
      if (column.type != ColumnType::kOle && column.name != "Id")
        spec.indexes.push_back(IndexOf("by " + column.name, {{column.name, descending}}));
    IndexSpec several = IndexOf("several", {{"Words", descending}, {"Big", !descending}, {"Yes", descending}});
    several.ignoreNulls = true;
    spec.indexes.push_back(several);
    IndexSpec unique = IndexOf("unique", {{"Money", !descending}, {"Real", descending}});
    unique.unique = unique.ignoreNulls = true;
    spec.indexes.push_back(unique);
    database.CreateTable(spec);
    Exercise(database, spec.name, random, 1500);
  }
}

void MakeLongValues(Database& database) {
  TableSpec spec;
  spec.name = "Long values";
  spec.columns = {Counter("Id"), Column("Note", ColumnType::kMemo), Column("Picture", ColumnType::kOle),
                  Column("Second", ColumnType::kMemo)};
  spec.indexes = {PrimaryKey("Id"), IndexOf("Note", {{"Note", false}})};
  Table& table = database.CreateTable(spec);
  Random random(2);
  static constexpr std::size_t kSizes[] = {0,    1,    3,    31,   32,   33,   64,   65,   1024, 1025, 2031,  2032,
                                           2036, 2037, 2038, 2039, 4064, 4072, 4076, 4077, 8144, 8145, 12000, 40000};
  const auto size = [&] { return kSizes[Below(random, std::size(kSizes))] + Below(random, 2); };
  std::vector<RowId> rows;
  for (int i = 0; i < 120; ++i) {
    const std::vector<Value> row{Value(), Value(std::string(size(), 'n')), Value(Bytes(size(), std::byte{7})),
                                 Value(RandomText(random, size(), true, database.FormatVersion()))};
    rows.push_back(table.Insert(std::span<const Value>(row)));
  }
  for (int i = 0; i < 600; ++i) {
    const std::size_t at = Below(random, rows.size());
    const Value value = Below(random, 3) == 0   ? Value()
                        : Below(random, 2) == 0 ? Value(std::string(size(), 'u'))
                                                : Value(RandomText(random, size(), true, database.FormatVersion()));
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

void MakeRelations(Database& database, const std::string& prefix) {
  const std::string clients = prefix + "Clients";
  const std::string commandes = prefix + "Commandes";
  const std::string lignes = prefix + "Lignes";
  MakeRelated(database, clients, false);
  MakeRelated(database, commandes, true);
  MakeRelated(database, lignes, false);
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
    for (const std::string& name : {clients, commandes, lignes}) StepOfRelated(database.OpenTable(name), random);
  }
  database.DropRelationship(prefix + "Dropped");
}

void MakeStructure(Database& database) {
  Random random(4);
  MakeWide(database, random);
  for (int round = 0; round < 12; ++round) MakeEdited(database, random, round);
  MakeFixed(database, random);
  MakeLinks(database);
  MakeProperties(database);
}

void MakeLarge(Database& database, int count) {
  TableSpec spec;
  spec.name = "Many";
  spec.columns = {Counter("Id"), Column("Name", ColumnType::kText, 255), Column("City", ColumnType::kText, 30),
                  Column("Amount", ColumnType::kDouble), Column("Day", ColumnType::kDate)};
  spec.indexes = {PrimaryKey("Id"), IndexOf("Name", {{"Name", false}}), IndexOf("Name down", {{"Name", true}, {"Id", true}}),
                  IndexOf("City", {{"City", false}, {"Amount", true}})};
  IndexSpec sparse = IndexOf("Day", {{"Day", false}});
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

void MakeDeep(Database& database) {
  TableSpec spec;
  spec.name = "Deep";
  spec.columns = {Column("One", ColumnType::kText, 255), Column("Two", ColumnType::kText, 255), Column("Raw", ColumnType::kBinary, 250)};
  spec.indexes = {IndexOf("long", {{"One", false}, {"Two", true}}), IndexOf("raw", {{"Raw", true}})};
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

void MakeJumps(Database& database) {
  TableSpec spec;
  spec.name = "Long rows";
  spec.columns = {Counter("Id")};
  for (int i = 0; i < 8; ++i) spec.columns.push_back(Column("Words " + std::to_string(i), ColumnType::kText, 255));
  spec.indexes = {PrimaryKey("Id")};
  Table& table = database.CreateTable(spec);
  Random random(7);
  // The ends of the values pass each multiple of 256 at every distance, in the first column and in later ones.
  for (std::size_t total = 200; total<1990; total += total % 256> 220 || total % 256 < 20 ? 1 : 17) {
    std::vector<Value> row{Value()};
    std::size_t left = total;
    for (int i = 0; i < 8; ++i) {
      const std::size_t most = std::min<std::size_t>(left, 255);
      const std::size_t rest = static_cast<std::size_t>(7 - i) * 255;
      const std::size_t least = left > rest ? left - rest : 0;
      const std::size_t size = i == 7 ? most : least + Below(random, most - least + 1);
      left -= size;
      row.push_back(size == 0 ? Value() : Value(std::string(size, static_cast<char>('a' + i))));
    }
    table.Insert(std::span<const Value>(row));
  }
}

void MakeMixed(Database& database) {
  TableSpec spec;
  spec.name = "Mixed";
  spec.columns = {Counter("Id"), Column("Words", ColumnType::kText, 255), Column("More", ColumnType::kText, 255),
                  Column("Note", ColumnType::kMemo)};
  spec.columns[1].defaultValue = "\"dé\"";
  spec.indexes = {PrimaryKey("Id"), IndexOf("Words", {{"Words", false}})};
  Table& table = database.CreateTable(spec);
  Random random(9);
  for (std::size_t i = 0; i < 90; ++i) {
    const std::size_t notes[] = {20, 1500, 9000};
    const std::vector<Value> row{Value(), Value(std::string(150, 'c') + std::to_string(random() % 1000) + std::string(i % 80, 'd')),
                                 Value(std::string(i * 40 % 230, 'm')), Value(std::string(i % 20 < 3 ? notes[i % 20] : 5, 'n'))};
    table.Insert(std::span<const Value>(row));
  }
}

void MakeHuge(Database& database, std::size_t bytes) {
  TableSpec spec;
  spec.name = "Huge";
  spec.columns = {Counter("Id"), Column("Picture", ColumnType::kOle)};
  spec.indexes = {PrimaryKey("Id")};
  Table& table = database.CreateTable(spec);
  Random random(8);
  Exercise(database, spec.name, random, 100);
  for (const std::size_t size : {bytes, std::size_t{5000}, std::size_t{9}, bytes / 8}) {
    const std::vector<Value> row{Value(), Value(Bytes(size, static_cast<std::byte>(size)))};
    table.Insert(std::span<const Value>(row));
  }
}

}  // namespace jet::tests
