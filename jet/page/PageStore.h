#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace jet {

using PageNumber = std::uint32_t;

/// Identity of a row: the page and the slot (from 0) under which indexes and pointers know it for as long as it lives.
struct RowId {
  PageNumber page = 0;
  std::uint8_t slot = 0;

  friend constexpr bool operator==(RowId, RowId) = default;
  friend constexpr auto operator<=>(RowId, RowId) = default;
};

class PageStore;

/// A pinned page: its bytes stay at the same address, whatever else happens in the store, until this object goes.
class PageRef {
 public:
  PageRef() = default;
  PageRef(PageStore* store, PageNumber number, std::byte* bytes, std::size_t size, void* frame) noexcept
      : store_(store), bytes_(bytes), size_(size), frame_(frame), number_(number) {}
  PageRef(PageRef&& other) noexcept { Swap(other); }
  PageRef& operator=(PageRef&& other) noexcept {
    PageRef(std::move(other)).Swap(*this);
    return *this;
  }
  ~PageRef();

  [[nodiscard]] PageNumber Number() const noexcept { return number_; }
  [[nodiscard]] std::span<const std::byte> Bytes() const noexcept { return {bytes_, size_}; }
  /// Writable bytes: only on a page that PageStore::Edit or PageStore::Allocate gave.
  [[nodiscard]] std::span<std::byte> Writable() const noexcept { return {bytes_, size_}; }
  explicit operator bool() const noexcept { return bytes_ != nullptr; }

 private:
  void Swap(PageRef& other) noexcept {
    std::swap(store_, other.store_);
    std::swap(bytes_, other.bytes_);
    std::swap(size_, other.size_);
    std::swap(frame_, other.frame_);
    std::swap(number_, other.number_);
  }

  PageStore* store_ = nullptr;
  std::byte* bytes_ = nullptr;
  std::size_t size_ = 0;
  void* frame_ = nullptr;
  PageNumber number_ = 0;
};

/// The pages of one file as the structures above see them. The pager implements it; tests of single structures use one in memory.
/// Errors: jet::Error for a page outside the file or a failed read or write.
class PageStore {
 public:
  virtual ~PageStore() = default;

  /// Bytes of one page: 4096 (Jet 4) or 2048 (Jet 3).
  [[nodiscard]] virtual std::size_t PageSize() const noexcept = 0;
  /// Number of pages that the file holds now, uncommitted new ones included.
  [[nodiscard]] virtual PageNumber PageCount() const noexcept = 0;
  /// The page for reading. The bytes show the current transaction's own changes.
  [[nodiscard]] virtual PageRef Read(PageNumber page) = 0;
  /// The page for changing: it belongs to the current transaction's changed pages from now on.
  [[nodiscard]] virtual PageRef Edit(PageNumber page) = 0;
  /// A page taken from the free map (or a new one at the end of the file), filled with zeros, marked used.
  [[nodiscard]] virtual PageRef Allocate() = 0;
  /// Gives the page back to the free map. Its bytes are no longer anybody's.
  virtual void Free(PageNumber page) = 0;

 protected:
  friend class PageRef;
  /// Called once by each PageRef that goes; frame is what the store passed to its constructor.
  virtual void Unpin(void* frame) noexcept = 0;
};

inline PageRef::~PageRef() {
  if (store_ != nullptr) store_->Unpin(frame_);
}

}  // namespace jet
