#include "jet/schema/Creation.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "jet/value/ByteOrder.h"
#include "jet/page/DataPage.h"
#include "jet/schema/AceSystemTables.h"
#include "jet/schema/Engine.h"
#include "jet/value/Error.h"
#include "jet/schema/Schema.h"
#include "jet/table/TableCore.h"
#include "jet/value/TextOrder.h"

namespace jet {
namespace {

using Column = TableDefinition::Column;

constexpr std::size_t kCacheBytes = std::size_t{1} << 20;  // an empty file has some twenty pages
constexpr std::uint8_t kSystemFlag = Column::kSystem;
constexpr std::uint8_t kSidFlag = 0x20;

struct SystemColumn {
  const char* name;
  ColumnType type;
  bool sid = false;
};
struct SystemIndex {
  const char* name;
  std::uint32_t number;
  std::uint32_t tree;
  std::uint8_t type;
};
struct SystemTree {
  std::vector<std::uint16_t> columns;
  std::uint8_t flags;
};
/// A system table: columns in the order of their numbers; trees, and indexes by name.
struct SystemTable {
  std::vector<SystemColumn> columns;
  std::vector<SystemTree> trees;
  std::vector<SystemIndex> indexes;
};

const SystemTable& Objects() {
  static const SystemTable table{{{"Id", ColumnType::kLong},
                                  {"ParentId", ColumnType::kLong},
                                  {"Name", ColumnType::kText},
                                  {"Type", ColumnType::kInteger},
                                  {"DateCreate", ColumnType::kDate},
                                  {"DateUpdate", ColumnType::kDate},
                                  {"Owner", ColumnType::kBinary, true},
                                  {"Flags", ColumnType::kLong},
                                  {"Database", ColumnType::kMemo},
                                  {"Connect", ColumnType::kMemo},
                                  {"ForeignName", ColumnType::kText},
                                  {"RmtInfoShort", ColumnType::kBinary},
                                  {"RmtInfoLong", ColumnType::kOle},
                                  {"Lv", ColumnType::kOle},
                                  {"LvProp", ColumnType::kOle},
                                  {"LvModule", ColumnType::kOle},
                                  {"LvExtra", ColumnType::kOle}},
                                 {{{1, 2}, 0x81}, {{0}, 0x81}},
                                 {{"Id", 1, 1, 1}, {"ParentIdName", 0, 0, 0}}};
  return table;
}

const SystemTable& Permissions() {
  static const SystemTable table{{{"ObjectId", ColumnType::kLong},
                                  {"SID", ColumnType::kBinary, true},
                                  {"ACM", ColumnType::kLong},
                                  {"FInheritable", ColumnType::kBoolean}},
                                 {{{0}, 0x88}},
                                 {{"ObjectId", 0, 0, 0}}};
  return table;
}

const SystemTable& Queries() {
  static const SystemTable table{{{"ObjectId", ColumnType::kLong},
                                  {"Attribute", ColumnType::kByte},
                                  {"Order", ColumnType::kBinary},
                                  {"Name1", ColumnType::kText},
                                  {"Name2", ColumnType::kText},
                                  {"Expression", ColumnType::kMemo},
                                  {"Flag", ColumnType::kInteger},
                                  {"LvExtra", ColumnType::kLong}},
                                 {{{0, 1, 2}, 0x81}},
                                 {{"ObjectIdAttribute", 0, 0, 1}}};
  return table;
}

/// Access 97 has no LvExtra.
const SystemTable& QueriesOfJet3() {
  static const SystemTable table = [] {
    SystemTable made = Queries();
    made.columns.pop_back();
    return made;
  }();
  return table;
}

const SystemTable& Relationships() {
  static const SystemTable table{{{"szRelationship", ColumnType::kText},
                                  {"grbit", ColumnType::kLong},
                                  {"ccolumn", ColumnType::kLong},
                                  {"icolumn", ColumnType::kLong},
                                  {"szObject", ColumnType::kText},
                                  {"szColumn", ColumnType::kText},
                                  {"szReferencedObject", ColumnType::kText},
                                  {"szReferencedColumn", ColumnType::kText}},
                                 {{{0}, 0x82}, {{4}, 0x82}, {{6}, 0x82}},
                                 {{"szObject", 1, 1, 0}, {"szReferencedObject", 2, 2, 0}, {"szRelationship", 0, 0, 0}}};
  return table;
}

std::uint16_t LengthOf(ColumnType type, bool jet3) {
  switch (type) {
    case ColumnType::kLong:
      return 4;
    case ColumnType::kInteger:
      return 2;
    case ColumnType::kDate:
      return 8;
    case ColumnType::kByte:
    case ColumnType::kBoolean:
      return 1;
    case ColumnType::kText:
    case ColumnType::kBinary:
      return jet3 ? 255 : 510;
    default:
      return 0;
  }
}

/// What every column of a system table has in common: no compression, no second number.
Column DefineColumn(const SystemColumn& source, const FileHeader& header, std::uint16_t codePage) {
  Column column;
  column.name = source.name;
  column.type = source.type;
  column.length = LengthOf(source.type, codePage != 0);
  column.flags = static_cast<std::uint8_t>(kSystemFlag | Column::kNullable | (source.sid ? kSidFlag : 0));
  column.SetOrder(header.sortLanguage, 0);
  if (codePage != 0) column.SetCodePage(codePage, header.orderMark);
  return column;
}

TableDefinition Define(PageNumber page, const SystemTable& table, const TableSpace& space) {
  TableDefinition definition;
  definition.pages = {page};
  definition.codePage = space.CodePage();
  definition.tableType = 'S';
  for (const auto& source : table.columns) {
    Column column = DefineColumn(source, space.header, definition.codePage);
    column.number = definition.maxColumns++;
    column.variableIndex = definition.variableColumns;
    const bool variable = column.IsLong() || column.type == ColumnType::kText || column.type == ColumnType::kBinary;
    if (variable) {
      ++definition.variableColumns;
    } else {
      column.flags |= Column::kFixed;
      column.fixedOffset = static_cast<std::uint16_t>(definition.FixedSize());
    }
    definition.columns.push_back(std::move(column));
  }
  for (const auto& source : table.trees) {
    TableDefinition::Tree tree;
    for (std::size_t i = 0; i < source.columns.size(); ++i) tree.columns[i].number = source.columns[i];
    tree.flags = definition.IsJet3() ? static_cast<std::uint8_t>(source.flags & ~TableDefinition::Tree::kAlways) : source.flags;
    definition.trees.push_back(tree);
  }
  for (const auto& source : table.indexes) {
    TableDefinition::Index index;
    index.name = source.name;
    index.number = source.number;
    index.tree = source.tree;
    index.type = source.type;
    index.cascadeUpdates = index.cascadeDeletes = TableDefinition::Index::kNothingToCascade;
    definition.indexes.push_back(std::move(index));
  }
  return definition;
}

class Builder {
 public:
  Builder(Engine& engine, const std::string& password)
      : engine_(engine), pager_(*engine.pager), accounts_(engine.header.AccountsOfNewFile()), password_(password) {}

  void Build() {
    pager_.Begin();
    WriteFixedPages();
    const SystemTable* tables[] = {&Objects(), &Permissions(), IsJet3() ? &QueriesOfJet3() : &Queries(), &Relationships()};
    TableDefinition definitions[4];
    for (PageNumber i = 0; i < 4; ++i) definitions[i] = Define(2 + i, *tables[i], engine_);
    for (auto& definition : definitions) AddMaps(definition);
    for (auto& definition : definitions) AddRoots(definition);
    for (auto& definition : definitions) Write(definition);
    engine_.pager->ChangeGeneration();
    FillObjects();
    FillPermissions();
    if (IsAce()) AddAceSystemTables(engine_);
    pager_.Commit();
  }

 private:
  [[nodiscard]] bool IsAce() const noexcept { return engine_.header.release != 0; }
  [[nodiscard]] bool IsJet3() const noexcept { return engine_.header.version == 3; }

  void WriteFixedPages() {
    auto header = engine_.header.Create();
    if (IsAce()) FileHeader::MakeAce(header);
    if (!password_.empty()) FileHeader::SetPassword(header, password_);
    {
      const PageRef page = pager_.Extend();
      std::memcpy(page.Writable().data(), header.data(), header.size());
    }
    const PageRef page = pager_.Extend();
    DataPageEditor maps = DataPageEditor::Format(page, 1);
    maps.AddZeros(engine_.Layout().mapRow);
    maps.AddZeros(engine_.Layout().mapRow);
    // Everything is free, what lies behind the end of the file too; pages 0 and 1 are in use.
    auto bits = maps.Writable(0).subspan(5);
    std::fill(bits.begin(), bits.end(), std::byte{0xFF});
    bits[0] = std::byte{0xFC};
    pager_.SetFreePageMap(0x100);
    for (int i = 0; i < 4; ++i) (void)pager_.Allocate();
  }

  void AddMaps(TableDefinition& definition) {
    const auto next = [&] { return mapRow_ = NewMapRow(pager_, mapRow_); };
    definition.ownedMap = next();
    definition.freeMap = next();
    for (const auto& column : definition.columns) {
      if (!column.IsLong()) continue;
      const PackedPointer owned = next();
      definition.longMaps.push_back({column.number, owned, next()});
    }
    for (auto& tree : definition.trees) tree.ownedMap = next();
  }

  void AddRoots(TableDefinition& definition) {
    for (auto& tree : definition.trees) {
      tree.root = BTree::Create(pager_, definition.pages[0]);
      UsageMap(pager_, tree.ownedMap).Add(tree.root);
    }
  }

  /// The column blocks of system tables stand in the order of their names, in Jet 3 in that of their numbers.
  void Write(TableDefinition& definition) {
    if (!IsJet3())
      std::sort(definition.columns.begin(), definition.columns.end(),
                [](const Column& left, const Column& right) { return left.name < right.name; });
    definition.Write(pager_);
  }

  void AddObject(std::int32_t id, std::int32_t parent, const char* name, std::int16_t type, const FileHeader::Sid& owner) {
    Table& table = engine_.catalog.ObjectsTable();
    std::vector<Value> values(table.Columns().size());
    values[0] = Value(id);
    values[1] = Value(parent);
    values[2] = Value(name);
    values[3] = Value(type);
    values[4] = values[5] = Value(Now());
    values[6] = Value(Bytes{static_cast<std::byte>(owner[0]), static_cast<std::byte>(owner[1])});
    values[7] = Value(static_cast<std::int32_t>(0x80000000u));
    table.Insert(values);
  }

  void FillObjects() {
    AddObject(0x0F000001, 0x0F000000, "Tables", 3, accounts_.engine);
    AddObject(0x0F000002, 0x0F000000, "Databases", 3, accounts_.engine);
    AddObject(0x0F000003, 0x0F000000, "Relationships", 3, accounts_.engine);
    AddObject(0x10000000, 0x0F000002, "MSysDb", 2, accounts_.admin);
    AddObject(2, 0x0F000001, "MSysObjects", 1, accounts_.engine);
    AddObject(3, 0x0F000001, "MSysACEs", 1, accounts_.engine);
    AddObject(4, 0x0F000001, "MSysQueries", 1, accounts_.engine);
    AddObject(5, 0x0F000001, "MSysRelationships", 1, accounts_.engine);
  }

  void FillPermissions() {
    struct Entry {
      std::int32_t id;
      const FileHeader::Sid& user;
      std::int32_t access;
      bool inherited = false;
    };
    const auto& [engine, admin, creator, users] = accounts_;
    const Entry entries[] = {{2, admin, 393216},
                             {3, admin, 393216},
                             {4, admin, 393216},
                             {5, admin, 917504},
                             {0x0F000001, creator, 983294, true},
                             {0x0F000001, admin, 393217},
                             {0x0F000003, creator, 983294, true},
                             {0x0F000003, admin, 393217},
                             {0x0F000002, admin, 393216},
                             {0x10000000, admin, 393230},
                             {0x10000000, users, 14},
                             {4, users, 20},
                             {5, users, 20},
                             {2, users, 20},
                             {0x0F000001, users, 1048319, true},
                             {0x0F000003, users, 1048575, true}};
    Table& table = engine_.catalog.PermissionsTable();
    for (const auto& entry : entries) {
      const Value values[] = {Value(entry.id), Value(Bytes{static_cast<std::byte>(entry.user[0]), static_cast<std::byte>(entry.user[1])}),
                              Value(entry.access), Value(entry.inherited)};
      table.Insert(values);
    }
  }

  Engine& engine_;
  Pager& pager_;
  const FileHeader::Accounts& accounts_;
  const std::string& password_;
  PackedPointer mapRow_ = 0;
};

}  // namespace

bool KeepsOrder(std::uint16_t language, std::uint8_t orderVersion, int version) noexcept {
  return version != 3 && TextOrderOf(language, orderVersion) == TextOrder::kFrench;
}

NewFile FileForCopy(const FileHeader& of, int version) {
  NewFile file{.version = version};
  if (of.version != version) return file;
  if (KeepsOrder(of.sortLanguage, of.sortVersion, version)) file.sortLanguage = of.sortLanguage;
  file.orderMark = of.orderMark;
  return file;
}

void CreateEmptyFile(FileSystem& files, const std::string& path, const NewFile& file) {
  if (files.Exists(path)) throw Error(ErrorCode::kAlreadyExists, "There is a file \"" + path + "\" already");
  const std::string working = path + "-new";
  files.Remove(working);
  try {
    Engine engine(files, working, kCacheBytes);
    engine.header = FileHeader::ForNewFile(file.version, file.sortLanguage, file.encoded ? NewPageKey() : 0);
    if (file.ace) engine.header.release = FileHeader::kAccess2007;
    engine.header.orderMark = file.orderMark;
    engine.sharing = std::make_unique<Sharing>();
    engine.pager = std::make_unique<Pager>(files, working, files.Open(working, FileMode::kCreateNew), engine.header.pageSize, kCacheBytes,
                                           *engine.sharing, false);
    engine.pager->SetCodec(Unlock(engine.header, {}, path));
    Builder(engine, file.password).Build();
  } catch (...) {
    try {
      files.Remove(working);
    } catch (const Error&) {
      // What went wrong first is what the caller must hear of.
    }
    throw;
  }
  files.Rename(working, path);
  files.SyncFolder(path);
}

}  // namespace jet
