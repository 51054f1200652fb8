#include "jet/Checker.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>

#include "jet/index/BTreeCheck.h"
#include "jet/value/ByteOrder.h"
#include "jet/page/DataPage.h"
#include "jet/schema/Engine.h"
#include "jet/value/Error.h"
#include "jet/table/LongValue.h"
#include "jet/table/RowCheck.h"
#include "jet/table/TableCore.h"
#include "jet/page/UsageMap.h"

namespace jet {
namespace {

constexpr std::size_t kMostFindings = 200;
constexpr PackedPointer kSecondMap = 0x101;  // in every file

/// A set of index entries as a sum that does not depend on their order.
struct EntrySum {
  std::uint64_t count = 0;
  std::uint64_t sum = 0;
  bool known = true;  ///< false: some keys could not be made

  void Add(std::span<const std::byte> key, RowId row) {
    std::uint64_t hash = 0xCBF29CE484222325ull ^ (std::uint64_t{Pack(row)} * 0x9E3779B97F4A7C15ull);
    for (const auto byte : key) hash = (hash ^ static_cast<std::uint64_t>(byte)) * 0x100000001B3ull;
    sum += hash ^ (hash >> 31);
    ++count;
  }
  friend bool operator==(const EntrySum&, const EntrySum&) = default;
};

class Checker {
 public:
  explicit Checker(Engine& engine) : engine_(engine), pager_(*engine.pager), owners_(pager_.PageCount()) {}

  std::vector<Finding> Run() {
    Guard("the header", 0, [&] { CheckFrame(); });
    std::vector<std::pair<PageNumber, std::string>> tables;
    Guard("the catalog", Catalog::kObjectsPage, [&] {
      for (const auto& object : engine_.catalog.Objects())
        if (object.type == 1) tables.emplace_back(static_cast<PageNumber>(object.id), object.name);
    });
    for (const auto& [page, name] : tables) {
      if (findings_.size() >= kMostFindings) break;
      Guard("the table \"" + name + "\"", page, [&, number = page, title = name] { CheckTable(number, title); });
    }
    Guard("relationships", Catalog::kRelationshipsPage, [&] { CheckPartners(); });
    if (findings_.empty()) Guard("the map of free pages", 1, [&] { CheckFreePages(); });
    return std::move(findings_);
  }

 private:
  template <typename Work>
  void Guard(const std::string& what, PageNumber page, Work work) {
    try {
      work();
    } catch (const Error& error) {
      Report(error.Page() != 0 ? error.Page() : page, error.Offset(), what + ": " + error.what());
    }
  }

  void Report(PageNumber page, std::uint32_t offset, std::string text) {
    if (findings_.size() < kMostFindings) findings_.push_back({page, offset, std::move(text)});
  }

  /// Notes what a page is for; two owners are a finding.
  bool Claim(PageNumber page, const std::string& owner) {
    if (page >= owners_.size()) {
      Report(page, 0, owner + " names a page outside the file");
      return false;
    }
    if (!owners_[page].empty()) {
      Report(page, 0, "The page belongs to " + owners_[page] + " and to " + owner);
      return false;
    }
    owners_[page] = owner;
    return true;
  }

  void CheckFrame() {
    Claim(0, "the header");
    for (const PackedPointer map : {engine_.header.freePages}) ClaimMap(map, "the map of free pages");
    Claim(1, "the map of free pages");
    mapPages_.insert(1);
    for (const PageNumber page : UsageMap(pager_, engine_.header.freePages, UsageMap::Kind::kFreePages).BitmapPages())
      Claim(page, "the map of free pages");
    // The second map says nothing, but where the first has outgrown its row it has bitmap pages too.
    Guard("the second map", 1, [&] {
      for (const PageNumber page : UsageMap(pager_, kSecondMap).BitmapPages()) Claim(page, "the second map");
    });
  }

  /// A map row may be named once only; the pages it lies on are shared by maps.
  void ClaimMap(PackedPointer map, const std::string& owner) {
    const RowId id = Unpack(map);
    if (!mapRows_.insert(map).second) Report(id.page, 0, "Two usage maps of " + owner + " lie in one row");
    const PageRef ref = pager_.Read(id.page);
    const DataPage data(ref);
    (void)data.Row(id.slot);
    if ((data.Slot(id.slot) & DataPage::kDeletedFlags) != 0) Report(id.page, 0, "A usage map of " + owner + " has been deleted");
    if (id.page == 1 || !mapPages_.insert(id.page).second) return;
    if (data.Owner() != 0) Report(id.page, 4, "A page of usage maps names an owner");
    Claim(id.page, "usage maps");
    CheckDataPage(id.page, data);
  }

  /// The pages of a map; its bitmap pages are claimed.
  std::vector<PageNumber> PagesOf(PackedPointer map, const std::string& owner) {
    ClaimMap(map, owner);
    UsageMap usage(pager_, map);
    for (const PageNumber page : usage.BitmapPages()) Claim(page, "the usage map of " + owner);
    constexpr PageNumber kMostPages = PageNumber{1} << 20;
    if (const auto outside = usage.NextFrom(pager_.PageCount(), kMostPages))
      Report(Unpack(map).page, 0, "The usage map of " + owner + " names page " + std::to_string(*outside) + " outside the file");
    return usage.Pages(pager_.PageCount());
  }

  void CheckSubset(PackedPointer map, const std::vector<PageNumber>& owned, const std::string& owner) {
    for (const PageNumber page : PagesOf(map, owner))
      if (!std::binary_search(owned.begin(), owned.end(), page))
        Report(Unpack(map).page, 0,
               "The map of pages with room of " + owner + " has page " + std::to_string(page) + ", which it does not own");
  }

  void CheckDataPage(PageNumber number, const DataPage& data) {
    for (unsigned slot = 0; slot < data.SlotCount(); ++slot) (void)data.Row(slot);
    const PageRef ref = pager_.Read(number);
    if (Load16(ref.Bytes().data() + 2) != data.FreeBytes())
      Report(
          number, 2,
          "The free bytes of the page are " + std::to_string(data.FreeBytes()) + ", not " + std::to_string(Load16(ref.Bytes().data() + 2)));
    if (Load8(ref.Bytes().data() + 1) != 1) Report(number, 1, "The second byte of the page is not 1");
  }

  void CheckTable(PageNumber page, const std::string& name) {
    const std::string owner = "the table \"" + name + "\"";
    TableCore& table = engine_.TableAt(page, name).Core();
    table.Reload();
    const TableDefinition& definition = table.Definition();
    for (const PageNumber part : definition.pages) Claim(part, "the definition of " + owner);
    CheckDefinitionPages(definition);
    const auto owned = PagesOf(definition.ownedMap, owner);
    CheckSubset(definition.freeMap, owned, owner);
    CheckDuplicateNames(table, owner);

    std::vector<LongColumn> longColumns;
    for (std::size_t position = 0; position < table.Stored().size(); ++position) {
      const auto& column = table.Stored()[position];
      if (!column.IsLong()) continue;
      const auto* maps = definition.FindLongMaps(column.number);
      if (maps == nullptr) {
        Report(page, 0, "The long column \"" + column.name + "\" of " + owner + " has no usage maps");
        continue;
      }
      LongColumn& entry = longColumns.emplace_back();
      entry.position = position;
      entry.name = "\"" + column.name + "\" of " + owner;
      entry.pages = PagesOf(maps->ownedMap, entry.name);
      if (maps->freeMap != 0) CheckSubset(maps->freeMap, entry.pages, entry.name);
      for (const PageNumber part : entry.pages) Claim(part, "the long values of " + entry.name);
    }
    for (const PageNumber part : owned) Claim(part, owner);
    std::vector<EntrySum> expected(table.Trees().size());
    const std::uint64_t rows = CheckRows(table, owned, owner, longColumns, expected);
    if (definition.tableType != 'S' && rows != table.RowCount() && engine_.catalog.FindById(static_cast<std::int32_t>(page)) != nullptr &&
        engine_.catalog.FindById(static_cast<std::int32_t>(page))->kind == ObjectKind::kTable)
      Report(page, static_cast<std::uint32_t>(engine_.Layout().rowCount),
             "The definition of " + owner + " counts " + std::to_string(table.RowCount()) + " rows and there are " + std::to_string(rows));
    for (const auto& column : longColumns) CheckLongPages(column);
    for (std::size_t t = 0; t < table.Trees().size(); ++t) CheckIndex(table, t, owner, expected[t]);
  }

  void CheckDefinitionPages(const TableDefinition& definition) {
    if (definition.IsJet3()) return;  // which does not count them
    std::size_t left = definition.Encode().size();
    for (std::size_t i = 0; i < definition.pages.size(); ++i) {
      const PageRef ref = pager_.Read(definition.pages[i]);
      const std::size_t header = i == 0 ? 0 : 8;
      const std::size_t part = std::min(left, ref.Bytes().size() - header);
      left -= part;
      const std::size_t used = i == 0 ? part + 8 : part + 16;
      const std::size_t freeBytes = used < ref.Bytes().size() ? ref.Bytes().size() - used : 0;
      if (Load16(ref.Bytes().data() + 2) != freeBytes)
        Report(definition.pages[i], 2,
               "The free bytes of a definition page are " + std::to_string(freeBytes) + ", not " +
                   std::to_string(Load16(ref.Bytes().data() + 2)));
    }
  }

  void CheckDuplicateNames(TableCore& table, const std::string& owner) {
    std::set<std::uint32_t> numbers;
    for (const auto& index : table.Definition().indexes)
      if (!numbers.insert(index.number).second) Report(table.page, 0, "Two indexes of " + owner + " have one number");
    std::set<std::uint16_t> places;
    for (const auto& column : table.Stored())
      if (!column.IsFixed() && column.type != ColumnType::kBoolean && !places.insert(column.variableIndex).second)
        Report(table.page, 0, "Two columns of " + owner + " have one place in the rows");
  }

  std::uint64_t CheckRows(TableCore& table, const std::vector<PageNumber>& owned, const std::string& owner,
                          std::vector<LongColumn>& longColumns, std::vector<EntrySum>& expected) {
    std::uint64_t rows = 0;
    std::set<PackedPointer> moved, pointedAt;
    Row row;
    for (const PageNumber number : owned) {
      const PageRef ref = pager_.Read(number);
      const DataPage data(ref);
      if (data.Owner() != table.page) {
        Report(number, 4, "A page of " + owner + " names another owner");
        continue;
      }
      CheckDataPage(number, data);
      for (unsigned slot = 0; slot < data.SlotCount(); ++slot) {
        const RowId id{number, static_cast<std::uint8_t>(slot)};
        const unsigned flags = data.Slot(slot) & DataPage::kDeletedFlags;
        if (flags == DataPage::kMovedFlag) moved.insert(Pack(id));
        if ((flags & DataPage::kMovedFlag) != 0) continue;
        if (flags == DataPage::kPointerFlag && !pointedAt.insert(Load32(data.RowBytes(slot).data())).second)
          Report(number, 0, "Two rows of " + owner + " lead to one moved row");
        Guard(owner, number, [&] {
          if (!table.ReadRow(id, row)) return;
          ++rows;
          CheckColumns(table, row, longColumns);
          AddEntries(table, row, expected);
        });
      }
    }
    if (moved != pointedAt) Report(table.page, 0, "The moved rows of " + owner + " and the pointers to them do not agree");
    return rows;
  }

  /// The entries that the row must have in the trees.
  void AddEntries(TableCore& table, Row& row, std::vector<EntrySum>& expected) {
    Bytes key;
    for (std::size_t t = 0; t < table.Trees().size(); ++t) {
      const auto& tree = table.Trees()[t];
      bool anyNull = false;
      try {
        if (!tree.supported || !table.KeyOf(tree, row, key, anyNull)) continue;
        // Other programs write some keys otherwise, which is no damage.
        const auto other = table.OtherKeyOf(tree, row, key);
        expected[t].Add(other && tree.tree->Contains(*other, row.Id()) ? *other : key, row.Id());
      } catch (const Error& error) {
        // A text without a known place in the order of the index is no damage: the entries cannot be compared.
        if (error.Code() != ErrorCode::kUnsupported) throw;
        expected[t].known = false;
      }
    }
  }

  /// Decodes every column; long values are followed piece by piece.
  void CheckColumns(TableCore& table, Row& row, std::vector<LongColumn>& longColumns) {
    for (std::size_t i = 0; i < table.Stored().size(); ++i)
      if (!table.Stored()[i].IsLong()) (void)row.Get(i);
    for (auto& column : longColumns) {
      const auto stored = RowAccess::Stored(row, column.position);
      if (stored.empty()) continue;
      FollowLongValue(pager_, stored, row.Id().page, column, [&](PageNumber page, std::string text) { Report(page, 0, std::move(text)); });
    }
  }

  /// All that lies on the pages of a long column is named by a row.
  void CheckLongPages(const LongColumn& column) {
    for (const PageNumber number : column.pages) {
      const PageRef ref = pager_.Read(number);
      const DataPage data(ref);
      if (data.Owner() != DataPage::kLongValueOwner) Report(number, 4, "A page of " + column.name + " is not marked as one of long values");
      CheckDataPage(number, data);
      for (unsigned slot = 0; slot < data.SlotCount(); ++slot)
        if ((data.Slot(slot) & DataPage::kDeletedFlags) == 0 && column.pieces.count(Pack({number, static_cast<std::uint8_t>(slot)})) == 0)
          Report(number, static_cast<std::uint32_t>(data.HeaderSize() + 2u * slot), "A piece of " + column.name + " belongs to no row");
    }
  }

  void CheckIndex(TableCore& table, std::size_t t, const std::string& owner, const EntrySum& expected) {
    auto& tree = table.Trees()[t];
    const std::string title = "the index \"" + tree.name + "\" of " + owner;
    auto mapped = PagesOf(table.Definition().trees[t].ownedMap, title);
    EntrySum found;
    Bytes previous;
    Row row;
    auto facts = CheckTree(pager_, tree.tree->Root(), table.page, [&](std::span<const std::byte> key, RowId id) {
      found.Add(key, id);
      if (tree.IsUnique() && !previous.empty() && std::equal(key.begin(), key.end(), previous.begin(), previous.end())) {
        bool anyNull = false;
        if (table.ReadRow(id, row))
          for (const std::size_t position : tree.columns) anyNull = anyNull || row.Get(position).IsNull();
        if (!anyNull) Report(id.page, 0, "Two rows have one key in " + title);
      }
      previous.assign(key.begin(), key.end());
    });
    for (auto& finding : facts.findings) Report(finding.page, finding.offset, title + ": " + finding.text);
    for (const PageNumber page : facts.pages) Claim(page, title);
    std::sort(facts.pages.begin(), facts.pages.end());
    if (facts.pages != mapped) Report(table.page, 0, "The usage map of " + title + " and its pages do not agree");
    if (facts.findings.empty() && tree.supported && expected.known && !(found == expected))
      Report(tree.tree->Root(), 0,
             "The entries of " + title + " (" + std::to_string(found.count) + ") are not those of the rows (" +
                 std::to_string(expected.count) + ")");
  }

  /// The two sides of a foreign key name each other.
  void CheckPartners() {
    std::map<PageNumber, const TableDefinition*> definitions;
    for (const auto& object : engine_.catalog.Objects())
      if (object.type == 1) {
        const auto page = static_cast<PageNumber>(object.id);
        definitions[page] = &engine_.TableAt(page, object.name).Core().Definition();
      }
    for (const auto& [page, definition] : definitions)
      for (const auto& index : definition->indexes) {
        if (index.type != 2) continue;
        const auto other = definitions.find(index.partnerTable);
        const bool named = other != definitions.end() &&
                           std::any_of(other->second->indexes.begin(), other->second->indexes.end(), [&, own = page](const auto& partner) {
                             return partner.type == 2 && partner.number == static_cast<std::uint32_t>(index.partnerIndex) &&
                                    partner.partnerTable == own && static_cast<std::uint32_t>(partner.partnerIndex) == index.number;
                           });
        if (!named) Report(page, 0, "The foreign key \"" + index.name + "\" has no other side");
      }
  }

  void CheckFreePages() {
    UsageMap freePages(pager_, engine_.header.freePages, UsageMap::Kind::kFreePages);
    for (PageNumber page = 0; page < owners_.size(); ++page) {
      const bool isFree = freePages.Contains(page);
      if (isFree && !owners_[page].empty()) Report(page, 0, "The page is listed as free and belongs to " + owners_[page]);
      if (!isFree && freePages.Covers(page) && owners_[page].empty() && !LooksUnused(page))
        Report(page, 0, "The page is in use and belongs to nobody");
    }
  }

  /// Files grow by several pages at a time: those not written yet are zero. Kinds 8 and 9 are seen in files of Access and belong to nobody.
  bool LooksUnused(PageNumber page) {
    const PageRef ref = pager_.Read(page);
    const auto kind = Load8(ref.Bytes().data());
    if (kind == 8 || kind == 9) return true;
    return std::all_of(ref.Bytes().begin(), ref.Bytes().end(), [](std::byte byte) { return byte == std::byte{0}; });
  }

  Engine& engine_;
  Pager& pager_;
  std::vector<std::string> owners_;
  std::unordered_set<PackedPointer> mapRows_;
  std::unordered_set<PageNumber> mapPages_;
  std::vector<Finding> findings_;
};

}  // namespace

std::vector<Finding> CheckStructure(Engine& engine) { return Checker(engine).Run(); }

}  // namespace jet
