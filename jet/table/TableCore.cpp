#include "jet/table/TableCore.h"

#include <algorithm>
#include <utility>

#include "jet/table/TableSpace.h"
#include "jet/page/Pager.h"
#include "jet/value/ByteOrder.h"
#include "jet/value/Error.h"
#include "jet/page/UsageMap.h"

namespace jet {
namespace {

/// Keeps the usage map of a tree in step with its pages.
class MappedTreePages final : public TreePages {
 public:
  MappedTreePages(PageStore& store, PackedPointer map) : map_(store, map) {}
  void PageAdded(PageNumber page) override { map_.Add(page); }
  void PageRemoved(PageNumber page) override { map_.Remove(page); }

 private:
  UsageMap map_;
};

ColumnDef Describe(const TableDefinition::Column& column) {
  ColumnDef def;
  def.name = column.name;
  def.type = column.type;
  def.size = column.type == ColumnType::kText ? static_cast<std::uint16_t>(column.length / 2) : column.length;
  if (column.type == ColumnType::kNumeric) {
    def.precision = column.sort[0];
    def.scale = column.sort[1];
  } else {
    def.sortLanguage = column.SortLanguage();
    def.sortVersion = column.SortVersion();
  }
  def.autoNumber = column.IsCounter() || column.MakesGuids();
  def.fixedLength = column.IsFixed();
  def.compressed = (column.extraFlags & 1) != 0;
  def.hyperlink = (column.flags & TableDefinition::Column::kHyperlink) != 0;
  def.number = column.number;
  def.flags = column.flags;
  def.extraFlags = column.extraFlags;
  return def;
}

}  // namespace

TableCore::TableCore(TableSpace& owner, PageNumber definitionPage, std::string tableName)
    : space(owner), page(definitionPage), name(std::move(tableName)) {
  Reload();
}

std::uint64_t TableCore::CurrentGeneration() const noexcept { return space.pager->Generation(); }

void TableCore::Reload() {
  definition_ = TableDefinition::Read(*space.pager, page, space.CodePage());
  Derive();
  generation_ = CurrentGeneration();
}

void TableCore::Derive() {
  stored_ = definition_.columns;
  std::sort(stored_.begin(), stored_.end(), [](const Column& left, const Column& right) { return left.number < right.number; });
  positions_.assign(definition_.maxColumns, kNowhere);
  columns_.clear();
  const bool jet3 = space.header.version == 3;
  for (std::size_t i = 0; i < stored_.size(); ++i) {
    positions_[stored_[i].number] = i;
    columns_.push_back(Describe(stored_[i]));
    if (jet3 && stored_[i].type == ColumnType::kText) columns_.back().size = stored_[i].length;
  }
  variableOrder_.assign(definition_.variableColumns, kNowhere);
  firstVariableNumber_ = 0;
  for (std::size_t i = 0; i < stored_.size(); ++i) {
    if (stored_[i].IsFixed() || stored_[i].type == ColumnType::kBoolean) continue;
    variableOrder_[stored_[i].variableIndex] = i;
    if (stored_[i].variableIndex == 0) firstVariableNumber_ = stored_[i].number;
  }
  fixedSize_ = definition_.FixedSize();
  cells_.clear();
  cells_.resize(stored_.size());
  insertPage_ = 0;
  propertiesRead_ = false;
  DeriveIndexes();
}

TextOrder TableCore::OrderOf(const Column& column) const {
  constexpr std::uint16_t kEnglish = 0x0409, kWestern = 1252;
  if (space.header.version != 3) return TextOrderOf(column.SortLanguage(), column.SortVersion());
  return column.SortLanguage() == kEnglish && space.CodePage() == kWestern ? TextOrder::kAnsiGeneral : TextOrder::kUnknown;
}

void TableCore::DeriveIndexes() {
  indexes_.clear();
  trees_.clear();
  for (const auto& stored : definition_.trees) {
    Tree tree;
    tree.pages = std::make_unique<MappedTreePages>(*space.pager, stored.ownedMap);
    tree.tree = std::make_unique<BTree>(*space.pager, stored.root, page, tree.pages.get());
    tree.flags = stored.flags;
    for (const auto& part : stored.columns) {
      if (part.number == TableDefinition::kNoColumn) continue;
      const std::size_t position = positions_[part.number];
      const Column& column = stored_[position];
      KeyColumn key;
      key.type = column.type;
      key.descending = part.order != 1;
      key.scale = column.type == ColumnType::kNumeric ? column.sort[1] : std::uint8_t{0};
      if (column.IsText()) {
        key.order = OrderOf(column);
        if (key.order == TextOrder::kUnknown) tree.supported = false;
        if (!FindsEqualTexts(key.order)) tree.findsEqual = false;
        if (!OrdersAsCompareText(key.order)) tree.ordersTexts = false;
      }
      tree.keyColumns.push_back(key);
      tree.columns.push_back(position);
      if (column.type == ColumnType::kOle || column.type > ColumnType::kNumeric) tree.supported = false;
    }
    trees_.push_back(std::move(tree));
  }
  for (const auto& stored : definition_.indexes) {
    Tree& tree = trees_[stored.tree];
    // Errors name an index that the user knows rather than the hidden one of a relationship.
    if (tree.name.empty() || tree.name.front() == '.') tree.name = stored.name;
    IndexDef def;
    def.name = stored.name;
    for (std::size_t i = 0; i < tree.columns.size(); ++i) def.columns.push_back({tree.columns[i], tree.keyColumns[i].descending});
    def.kind = stored.type == 1 ? IndexKind::kPrimary : stored.type == 2 ? IndexKind::kForeignKey : IndexKind::kNormal;
    def.unique = tree.IsUnique();
    def.ignoreNulls = tree.IgnoresNulls();
    def.required = tree.IsRequired();
    def.writable = tree.supported;
    def.findsEqual = tree.findsEqual;
    def.ordersTexts = tree.ordersTexts;
    def.tree = stored.tree;
    def.referencing = stored.type == 2 && stored.side == 2;
    def.partnerIndex = stored.partnerIndex;
    def.partnerTable = stored.partnerTable;
    def.cascadeUpdates = stored.type == 2 && stored.cascadeUpdates != 0;
    def.cascadeDeletes = stored.type == 2 && (stored.cascadeDeletes & 1) != 0;
    indexes_.push_back(std::move(def));
  }
}

const std::vector<ColumnDef>& TableCore::Columns() {
  if (!propertiesRead_) ReadProperties();
  return columns_;
}

void TableCore::ReadProperties() {
  propertiesRead_ = true;
  if (definition_.tableType == 'S') return;
  const PropertyMap properties = space.directory->PropertiesOf(page);
  for (auto& column : columns_) {
    column.required = properties.Truth(column.name, "Required");
    column.allowZeroLength = properties.Truth(column.name, "AllowZeroLength");
    column.defaultValue.clear();
    const Property* value = properties.Find(column.name, "DefaultValue");
    if (value != nullptr && value->value.Type() == ValueType::kText) column.defaultValue = value->value.AsText();
  }
}

std::optional<std::size_t> TableCore::PositionOf(std::uint16_t number) const noexcept {
  if (number >= positions_.size() || positions_[number] == kNowhere) return std::nullopt;
  return positions_[number];
}

std::uint32_t TableCore::RowCount() {
  const PageRef first = space.pager->Read(page);
  return Load32(first.Bytes().data() + (space.header.version == 3 ? 12 : TableDefinition::kRowCountOffset));
}

std::int32_t TableCore::LastAutoNumber() {
  const PageRef first = space.pager->Read(page);
  return LoadLittle<std::int32_t>(first.Bytes().data() + (space.header.version == 3 ? 16 : TableDefinition::kAutoNumberOffset));
}

void TableCore::RefuseKey(const Tree& tree, const Error& error) const {
  if (error.Code() != ErrorCode::kUnsupported) throw error;
  if (!tree.supported)
    throw Error(ErrorCode::kUnsupported,
                "The table \"" + name + "\" cannot be changed: the order of its index \"" + tree.name + "\" is not known");
  throw Error(ErrorCode::kUnsupported,
              "The index \"" + tree.name + "\" of the table \"" + name + "\" cannot take the row: " + error.what());
}

void TableCore::FreeContents() {
  Pager& pager = *space.pager;
  FreePages(pager, definition_.ownedMap, page);
  if (definition_.freeMap != 0) UsageMap(pager, definition_.freeMap).Clear();
  for (const auto& tree : definition_.trees) FreePages(pager, tree.ownedMap, page);
  for (const auto& maps : definition_.longMaps) {
    FreePages(pager, maps.ownedMap, DataPage::kLongValueOwner);
    if (maps.freeMap != 0) UsageMap(pager, maps.freeMap).Clear();
  }
}

void FreePages(Pager& pager, PackedPointer map, std::uint32_t owner) {
  if (map == 0) return;
  UsageMap pages(pager, map);
  for (const PageNumber number : pages.Pages(pager.PageCount())) {
    {
      constexpr std::size_t kOwnerOffset = 4;
      const PageRef ref = pager.Read(number);
      const auto kind = Load8(ref.Bytes().data());
      // Pages may have been taken and never written; all that is written says whose it is.
      if (kind != 0 && Load32(ref.Bytes().data() + kOwnerOffset) != owner)
        throw Error(ErrorCode::kDamaged, "A usage map lists a page that belongs to another", number, kOwnerOffset);
    }
    pager.Free(number);
  }
  pages.Clear();
}

}  // namespace jet
