#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "jet/page/PageStore.h"
#include "jet/page/RowPointer.h"

namespace jet {

struct Engine;
struct TableDefinition;

/// Which pages the structures of a file name as theirs: header, maps, definitions, rows, long values, indexes. It is the second opinion on
/// the map of free pages, and is read from the file itself without the engine's tables and catalog, which may be in the middle of a change.
class PagesInUse {
 public:
  /// Walks definitions and usage maps of all tables in the catalog. What is damaged is left out and told by Complete().
  explicit PagesInUse(Engine& engine);

  /// False when something could not be read: a page of which nothing is known may then belong to it.
  [[nodiscard]] bool Complete() const noexcept { return complete_; }
  /// Who uses the page, for messages; null when nobody is known to.
  [[nodiscard]] const std::string* OwnerOf(PageNumber page) const noexcept;
  /// A second one who names the page as his; null when there is none.
  [[nodiscard]] const std::string* SecondOwnerOf(PageNumber page) const noexcept;
  /// The lowest page behind the end of the file that something names, 0 when there is none.
  [[nodiscard]] PageNumber FirstOutside() const noexcept { return outside_; }

  /// The page has been taken from the free ones.
  void Take(PageNumber page);
  /// The page has been given back.
  void Release(PageNumber page);

 private:
  std::uint32_t Name(const std::string& owner);
  void Claim(PageNumber page, std::uint32_t owner);
  void ClaimMap(PackedPointer map, std::uint32_t owner);
  void ClaimTable(const TableDefinition& definition, const std::string& name);
  void ClaimFrame();
  template <typename Work>
  void Guard(Work work);

  Engine& engine_;
  std::vector<std::string> names_;     ///< 0: nobody, 1: usage maps, 2: taken since
  std::vector<std::uint32_t> owners_;  ///< by page; place in names_
  std::unordered_map<PageNumber, std::uint32_t> seconds_;
  PageNumber outside_ = 0;
  bool complete_ = true;
};

}  // namespace jet
