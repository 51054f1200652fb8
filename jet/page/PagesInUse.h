#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "jet/page/PageStore.h"

namespace jet {

/// Which pages the structures of a file name as theirs: the second opinion on the map of free pages. Whoever walks the structures
/// (SurveyPages) enters what he meets; the pager asks, and keeps it true while pages come and go.
class PagesInUse {
 public:
  /// A name under which pages are claimed; the first two are there from the beginning.
  using Owner = std::uint32_t;
  static constexpr Owner kNobody = 0;
  static constexpr Owner kUsageMaps = 1;  ///< pages that many maps share: claiming them again is no quarrel

  /// Nothing is claimed of a file of so many pages.
  explicit PagesInUse(PageNumber pageCount);

  // ----- what the walk enters
  [[nodiscard]] Owner AddOwner(const std::string& name);
  /// A page behind the end of the file is noted as such.
  void Claim(PageNumber page, Owner owner);
  /// Something could not be read; the error's page may lie outside the file.
  void NoteUnread(PageNumber page);
  [[nodiscard]] PageNumber PageCount() const noexcept { return static_cast<PageNumber>(owners_.size()); }

  // ----- what is asked of it
  /// False when something could not be read: a page of which nothing is known may then belong to it.
  [[nodiscard]] bool Complete() const noexcept { return complete_; }
  /// Who uses the page, for messages; null when nobody is known to.
  [[nodiscard]] const std::string* OwnerOf(PageNumber page) const noexcept;
  /// A second one who names the page as his; null when there is none.
  [[nodiscard]] const std::string* SecondOwnerOf(PageNumber page) const noexcept;
  /// The lowest page behind the end of the file that something names, 0 when there is none.
  [[nodiscard]] PageNumber FirstOutside() const noexcept { return outside_; }

  // ----- what becomes of pages later
  /// The page has been taken from the free ones.
  void Take(PageNumber page);
  /// The page has been given back.
  void Release(PageNumber page);

 private:
  void NoteOutside(PageNumber page) noexcept;

  std::vector<std::string> names_;  ///< by owner
  std::vector<Owner> owners_;       ///< by page
  std::unordered_map<PageNumber, Owner> seconds_;
  PageNumber outside_ = 0;
  bool complete_ = true;
};

}  // namespace jet
