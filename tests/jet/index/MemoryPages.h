#pragma once

#include <cstddef>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "jet/index/BTree.h"
#include "jet/value/Error.h"
#include "jet/page/PageStore.h"

namespace jet::tests {

/// Pages in memory for tests of single structures. Mistakes of the caller (a page that is not in use, a page freed twice) are
/// std::logic_error, pages outside the "file" jet::Error.
class MemoryPages : public PageStore {
 public:
  explicit MemoryPages(PageNumber reserved = 1) : used_(reserved, true) {
    for (PageNumber i = 0; i < reserved; ++i) pages_.push_back(NewBytes());
  }

  std::size_t PageSize() const noexcept override { return 4096; }
  PageNumber PageCount() const noexcept override { return static_cast<PageNumber>(pages_.size()); }
  PageRef Read(PageNumber page) override {
    ++reads;
    return Pin(page);
  }
  PageRef Edit(PageNumber page) override {
    ++edits;
    edited.insert(page);
    return Pin(page);
  }
  PageRef Allocate() override {
    PageNumber page = 0;
    if (free_.empty()) {
      page = PageCount();
      pages_.push_back(NewBytes());
      used_.push_back(true);
    } else {
      page = *free_.begin();
      free_.erase(free_.begin());
      used_[page] = true;
      pages_[page] = NewBytes();
    }
    edited.insert(page);
    return Pin(page);
  }
  void Free(PageNumber page) override {
    Require(page);
    if (!used_[page]) return;
    used_[page] = false;
    free_.insert(page);
    // Whoever still reads the page reads this; pinned bytes stay where they are.
    retired_.push_back(std::move(pages_[page]));
    pages_[page] = NewBytes();
    for (std::size_t i = 0; i < 4096; ++i) pages_[page][i] = std::byte{0xEE};
  }

  /// Number of pages in use, the reserved ones not counted.
  [[nodiscard]] std::size_t UsedPages() const {
    std::size_t count = 0;
    for (const bool used : used_) count += used ? 1 : 0;
    return count - 1;
  }
  [[nodiscard]] std::byte* Bytes(PageNumber page) { return pages_.at(page).get(); }

  bool tolerant = false;  ///< for damaged trees: pages that are not in use can be read
  std::size_t reads = 0;
  std::size_t edits = 0;
  std::set<PageNumber> edited;

 protected:
  void Unpin(void*) noexcept override { --pins_; }

 private:
  static std::unique_ptr<std::byte[]> NewBytes() { return std::make_unique<std::byte[]>(4096); }
  void Require(PageNumber page) const {
    if (page >= pages_.size()) throw Error(ErrorCode::kDamaged, "a page outside the file", page, 0);
    if (!used_[page] && !tolerant) throw std::logic_error("page " + std::to_string(page) + " is not in use");
  }
  PageRef Pin(PageNumber page) {
    Require(page);
    ++pins_;
    return {this, page, pages_[page].get(), 4096, nullptr};
  }

  std::vector<std::unique_ptr<std::byte[]>> pages_;
  std::vector<std::unique_ptr<std::byte[]>> retired_;
  std::vector<bool> used_;
  std::set<PageNumber> free_;
  long pins_ = 0;
};

/// Keeps the set of a tree's pages, as a usage map would.
class PageSet : public TreePages {
 public:
  void PageAdded(PageNumber page) override {
    if (!pages.insert(page).second) throw std::logic_error("page added twice");
  }
  void PageRemoved(PageNumber page) override {
    if (pages.erase(page) == 0) throw std::logic_error("page removed that was not there");
  }
  std::set<PageNumber> pages;
};

}  // namespace jet::tests
