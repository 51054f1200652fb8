#include "jet/schema/PageSurvey.h"

#include <string>
#include <utility>
#include <vector>

#include "jet/page/RowPointer.h"
#include "jet/page/UsageMap.h"
#include "jet/schema/Catalog.h"
#include "jet/table/TableCore.h"
#include "jet/table/TableSpace.h"
#include "jet/value/Error.h"

namespace jet {
namespace {

using Owner = PagesInUse::Owner;

constexpr PageNumber kMostPages = PageNumber{1} << 20;
constexpr PackedPointer kSecondMap = 0x101;  // in every file

class Survey {
 public:
  explicit Survey(TableSpace& space) : space_(space), pages_(space.pager->PageCount()) {}

  PagesInUse Run() {
    Guard([&] { ClaimFrame(); });
    for (const auto& [page, name] : Tables())
      Guard([&, number = page, title = name] { ClaimTable(TableDefinition::Read(*space_.pager, number, space_.CodePage()), title); });
    return std::move(pages_);
  }

 private:
  template <typename Work>
  void Guard(Work work) {
    try {
      work();
    } catch (const Error& error) {
      if (error.Code() != ErrorCode::kDamaged) throw;
      pages_.NoteUnread(error.Page());
    }
  }

  std::vector<std::pair<PageNumber, std::string>> Tables() {
    std::vector<std::pair<PageNumber, std::string>> tables{{Catalog::kObjectsPage, "MSysObjects"}};
    Guard([&] {
      Table objects(std::make_unique<TableCore>(space_, Catalog::kObjectsPage, "MSysObjects"));
      const std::size_t id = objects.ColumnAt("Id"), type = objects.ColumnAt("Type"), name = objects.ColumnAt("Name");
      for (ScanCursor cursor = objects.Scan(); cursor.Next();) {
        Row& row = cursor.Current();
        if (row.Integer(type) != 1 || row.Integer(id) == Catalog::kObjectsPage) continue;
        tables.emplace_back(static_cast<PageNumber>(row.Integer(id)), std::string(row.Text(name)));
      }
    });
    return tables;
  }

  void ClaimFrame() {
    pages_.Claim(0, pages_.AddOwner("the header"));
    pages_.Claim(Unpack(space_.header.freePages).page, PagesInUse::kUsageMaps);
    pages_.Claim(1, PagesInUse::kUsageMaps);
    ClaimBitmaps(UsageMap(*space_.pager, space_.header.freePages, UsageMap::Kind::kFreePages));
    // What the second map is for is not known; its bitmap pages are its own all the same.
    ClaimBitmaps(UsageMap(*space_.pager, kSecondMap));
  }

  void ClaimBitmaps(UsageMap map) {
    for (const PageNumber page : map.BitmapPages()) pages_.Claim(page, PagesInUse::kUsageMaps);
  }

  /// The pages that the map itself takes; many maps share a page.
  void ClaimMap(PackedPointer map) {
    if (map == 0) return;
    pages_.Claim(Unpack(map).page, PagesInUse::kUsageMaps);
    ClaimBitmaps(UsageMap(*space_.pager, map));
  }

  /// Those and the pages in the map.
  void ClaimPagesOf(PackedPointer map, Owner owner) {
    if (map == 0) return;
    ClaimMap(map);
    UsageMap usage(*space_.pager, map);
    for (const PageNumber page : usage.Pages(pages_.PageCount())) pages_.Claim(page, owner);
    if (const auto outside = usage.NextFrom(pages_.PageCount(), kMostPages)) pages_.Claim(*outside, owner);
  }

  void ClaimTable(const TableDefinition& definition, const std::string& name) {
    const std::string table = "the table \"" + name + "\"";
    const Owner own = pages_.AddOwner("the definition of " + table);
    for (const PageNumber page : definition.pages) pages_.Claim(page, own);
    ClaimPagesOf(definition.ownedMap, pages_.AddOwner(table));
    ClaimMap(definition.freeMap);
    for (const auto& tree : definition.trees) {
      const Owner index = pages_.AddOwner("an index of " + table);
      ClaimPagesOf(tree.ownedMap, index);
      if (pages_.OwnerOf(tree.root) == nullptr) pages_.Claim(tree.root, index);
    }
    for (const auto& maps : definition.longMaps) {
      ClaimPagesOf(maps.ownedMap, pages_.AddOwner("the long values of " + table));
      ClaimMap(maps.freeMap);
    }
  }

  TableSpace& space_;
  PagesInUse pages_;
};

}  // namespace

PagesInUse SurveyPages(TableSpace& space) { return Survey(space).Run(); }

}  // namespace jet
