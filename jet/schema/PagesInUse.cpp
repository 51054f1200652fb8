#include "jet/schema/PagesInUse.h"

#include <algorithm>
#include <utility>

#include "jet/schema/Engine.h"
#include "jet/value/Error.h"
#include "jet/table/TableCore.h"
#include "jet/page/UsageMap.h"

namespace jet {
namespace {

constexpr std::uint32_t kNobody = 0;
constexpr std::uint32_t kUsageMaps = 1;
constexpr std::uint32_t kTaken = 2;
constexpr PageNumber kMostPages = PageNumber{1} << 20;
constexpr PackedPointer kSecondMap = 0x101;  // in every file

}  // namespace

PagesInUse::PagesInUse(Engine& engine)
    : engine_(engine), names_{"nobody", "usage maps", "what was written since"}, owners_(engine.pager->PageCount(), kNobody) {
  Guard([&] { ClaimFrame(); });
  std::vector<std::pair<PageNumber, std::string>> tables{{Catalog::kObjectsPage, "MSysObjects"}};
  Guard([&] {
    Table objects(std::make_unique<TableCore>(engine_, Catalog::kObjectsPage, "MSysObjects"));
    const std::size_t id = objects.ColumnAt("Id"), type = objects.ColumnAt("Type"), name = objects.ColumnAt("Name");
    for (ScanCursor cursor = objects.Scan(); cursor.Next();) {
      Row& row = cursor.Current();
      if (row.Integer(type) != 1 || row.Integer(id) == Catalog::kObjectsPage) continue;
      tables.emplace_back(static_cast<PageNumber>(row.Integer(id)), std::string(row.Text(name)));
    }
  });
  for (const auto& [page, name] : tables)
    Guard([&, number = page, title = name] { ClaimTable(TableDefinition::Read(*engine_.pager, number, engine_.CodePage()), title); });
}

template <typename Work>
void PagesInUse::Guard(Work work) {
  try {
    work();
  } catch (const Error& error) {
    if (error.Code() != ErrorCode::kDamaged) throw;
    complete_ = false;
    if (error.Page() >= owners_.size()) outside_ = outside_ == 0 ? error.Page() : std::min(outside_, error.Page());
  }
}

std::uint32_t PagesInUse::Name(const std::string& owner) {
  names_.push_back(owner);
  return static_cast<std::uint32_t>(names_.size() - 1);
}

void PagesInUse::Claim(PageNumber page, std::uint32_t owner) {
  if (page >= owners_.size()) {
    outside_ = outside_ == 0 ? page : std::min(outside_, page);
    return;
  }
  std::uint32_t& held = owners_[page];
  if (held != kNobody && (held != owner || owner != kUsageMaps)) seconds_.try_emplace(page, owner);
  if (held == kNobody) held = owner;
}

/// The pages in the map, and those that the map itself takes. Many maps share a page.
void PagesInUse::ClaimMap(PackedPointer map, std::uint32_t owner) {
  if (map == 0) return;
  Claim(Unpack(map).page, kUsageMaps);
  UsageMap usage(*engine_.pager, map);
  for (const PageNumber page : usage.BitmapPages()) Claim(page, kUsageMaps);
  if (owner == kNobody) return;
  for (const PageNumber page : usage.Pages(static_cast<PageNumber>(owners_.size()))) Claim(page, owner);
  if (const auto outside = usage.NextFrom(static_cast<PageNumber>(owners_.size()), kMostPages)) Claim(*outside, owner);
}

void PagesInUse::ClaimFrame() {
  Claim(0, Name("the header"));
  Claim(Unpack(engine_.header.freePages).page, kUsageMaps);
  Claim(1, kUsageMaps);
  for (const PageNumber page : UsageMap(*engine_.pager, engine_.header.freePages, UsageMap::Kind::kFreePages).BitmapPages())
    Claim(page, kUsageMaps);
  // What the second map is for is not known; its bitmap pages are its own all the same.
  for (const PageNumber page : UsageMap(*engine_.pager, kSecondMap).BitmapPages()) Claim(page, kUsageMaps);
}

void PagesInUse::ClaimTable(const TableDefinition& definition, const std::string& name) {
  const std::string table = "the table \"" + name + "\"";
  const std::uint32_t own = Name("the definition of " + table);
  for (const PageNumber page : definition.pages) Claim(page, own);
  ClaimMap(definition.ownedMap, Name(table));
  ClaimMap(definition.freeMap, kNobody);
  for (const auto& tree : definition.trees) {
    ClaimMap(tree.ownedMap, Name("an index of " + table));
    if (OwnerOf(tree.root) == nullptr) Claim(tree.root, static_cast<std::uint32_t>(names_.size() - 1));
  }
  for (const auto& maps : definition.longMaps) {
    ClaimMap(maps.ownedMap, Name("the long values of " + table));
    ClaimMap(maps.freeMap, kNobody);
  }
}

const std::string* PagesInUse::OwnerOf(PageNumber page) const noexcept {
  return page < owners_.size() && owners_[page] != kNobody ? &names_[owners_[page]] : nullptr;
}

const std::string* PagesInUse::SecondOwnerOf(PageNumber page) const noexcept {
  const auto found = seconds_.find(page);
  return found == seconds_.end() ? nullptr : &names_[found->second];
}

void PagesInUse::Take(PageNumber page) {
  if (page >= owners_.size()) owners_.resize(page + 1, kNobody);
  owners_[page] = kTaken;
}

void PagesInUse::Release(PageNumber page) {
  if (page < owners_.size()) owners_[page] = kNobody;
}

}  // namespace jet
