#include "jet/table/TableCore.h"

#include <utility>

#include "jet/page/Pager.h"
#include "jet/page/UsageMap.h"
#include "jet/table/TableSpace.h"
#include "jet/value/AceTypes.h"
#include "jet/value/ByteOrder.h"

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

constexpr std::uint8_t kPrimaryIndex = 1;
constexpr std::uint8_t kForeignKeyIndex = 2;
constexpr std::uint8_t kReferencingSide = 2;

using Shape = TableDefinition::Shape;

ColumnDef DescribeColumn(const TableDefinition::Column& column) {
  ColumnDef def;
  def.name = column.name;
  def.type = column.type;
  def.size = column.type == ColumnType::kText ? column.Letters() : column.length;
  if (column.shape == Shape::kExtendedDate) def.size = ExtendedDate::kLetters;
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

IndexKind KindOf(std::uint8_t type) {
  if (type == kPrimaryIndex) return IndexKind::kPrimary;
  return type == kForeignKeyIndex ? IndexKind::kForeignKey : IndexKind::kNormal;
}

}  // namespace

TableCore::TableCore(TableSpace& owner, PageNumber definitionPage, std::string tableName)
    : space(owner),
      page(definitionPage),
      name(std::move(tableName)),
      places_(*owner.pager, definitionPage, name),
      draft_(*owner.pager, definition_, layout_, name),
      ace_(*this) {
  Reload();
}

std::uint64_t TableCore::CurrentGeneration() const noexcept { return space.pager->Generation(); }

void TableCore::Reload() {
  definition_ = TableDefinition::Read(*space.pager, page, space.CodePage());
  Derive();
  generation_ = CurrentGeneration();
}

void TableCore::ReshapeColumns() {
  std::optional<PropertyMap> properties;
  for (Column& column : layout_.columns) {
    ColumnType result = column.type;
    if (column.IsCalculated()) {
      if (!properties) properties = space.directory->PropertiesOf(page);
      const Property* told = properties->Find(column.name, "ResultType");
      if (told != nullptr && told->value.Type() == ValueType::kByte) result = static_cast<ColumnType>(told->value.AsByte());
    }
    RowLayout::Reshape(column, result);
  }
}

void TableCore::Derive() {
  layout_ = RowLayout(definition_);
  if (space.header.release != 0) ReshapeColumns();
  draft_.Reset();
  ace_.Reset();
  places_.Reset(definition_.ownedMap, definition_.freeMap);
  columns_.clear();
  for (const Column& column : layout_.columns) columns_.push_back(DescribeColumn(column));
  propertiesRead_ = false;
  DeriveTrees();
  DeriveIndexes();
}

TextOrder TableCore::OrderOf(const Column& column) const {
  constexpr std::uint16_t kEnglish = 0x0409, kWestern = 1252;
  if (space.header.version != 3) return TextOrderOf(column.SortLanguage(), column.SortVersion());
  return column.SortLanguage() == kEnglish && space.CodePage() == kWestern ? TextOrder::kAnsiGeneral : TextOrder::kUnknown;
}

void TableCore::DeriveTrees() {
  trees_.clear();
  for (const auto& stored : definition_.trees) {
    Tree& tree = trees_.emplace_back();
    tree.pages = std::make_unique<MappedTreePages>(*space.pager, stored.ownedMap);
    tree.tree = std::make_unique<BTree>(*space.pager, stored.root, page, tree.pages.get());
    tree.flags = stored.flags;
    for (const auto& part : stored.columns)
      if (part.number != TableDefinition::kNoColumn) AddKeyColumn(tree, part);
  }
}

void TableCore::AddKeyColumn(Tree& tree, const TableDefinition::TreeColumn& part) const {
  const std::size_t position = layout_.positions[part.number];
  const Column& column = layout_.columns[position];
  KeyColumn key;
  key.type = column.type;
  key.descending = part.order != 1;
  key.scale = column.type == ColumnType::kNumeric ? column.sort[1] : std::uint8_t{0};
  if (column.shape == Shape::kBigInteger) {
    key.form = KeyForm::kWholeNumber;
  } else if (column.shape == Shape::kExtendedDate) {
    // Texts that say one moment in several ways have one key.
    key.form = KeyForm::kExtendedDate;
    tree.findsEqual = tree.ordersTexts = false;
  } else if (column.IsText()) {
    key.order = OrderOf(column);
    if (key.order == TextOrder::kUnknown) tree.supported = false;
    if (!FindsEqualTexts(key.order)) tree.findsEqual = false;
    if (!OrdersAsCompareText(key.order)) tree.ordersTexts = false;
  }
  if (column.type == ColumnType::kOle || column.type > ColumnType::kNumeric) tree.supported = false;
  if (column.shape == Shape::kCalculated || column.shape == Shape::kCalculatedNumber) {
    tree.supported = false;
    key.type = ColumnType::kOle;  // which has no keys
  }
  tree.keyColumns.push_back(key);
  tree.columns.push_back(position);
}

void TableCore::DeriveIndexes() {
  indexes_.clear();
  for (const auto& stored : definition_.indexes) {
    Tree& tree = trees_[stored.tree];
    // Errors name an index that the user knows rather than the hidden one of a relationship.
    if (tree.name.empty() || tree.name.front() == '.') tree.name = stored.name;
    indexes_.push_back(Describe(stored, tree));
  }
}

IndexDef TableCore::Describe(const TableDefinition::Index& stored, const Tree& tree) const {
  IndexDef def;
  def.name = stored.name;
  for (std::size_t i = 0; i < tree.columns.size(); ++i) def.columns.push_back({tree.columns[i], tree.keyColumns[i].descending});
  def.kind = KindOf(stored.type);
  def.unique = tree.IsUnique();
  def.ignoreNulls = tree.IgnoresNulls();
  def.required = tree.IsRequired();
  def.writable = tree.supported;
  def.findsEqual = tree.findsEqual;
  def.ordersTexts = tree.ordersTexts;
  def.tree = stored.tree;
  def.partnerIndex = stored.partnerIndex;
  def.partnerTable = stored.partnerTable;
  if (def.kind != IndexKind::kForeignKey) return def;
  def.referencing = stored.side == kReferencingSide;
  def.cascadeUpdates = stored.cascadeUpdates != 0;
  def.cascadeDeletes = (stored.cascadeDeletes & 1) != 0;
  return def;
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

std::uint32_t TableCore::RowCount() {
  const PageRef first = space.pager->Read(page);
  return Load32(first.Bytes().data() + space.Layout().rowCount);
}

std::int32_t TableCore::LastAutoNumber() {
  const PageRef first = space.pager->Read(page);
  return LoadLittle<std::int32_t>(first.Bytes().data() + space.Layout().lastCounter);
}

}  // namespace jet
