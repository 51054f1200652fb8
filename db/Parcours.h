#pragma once

#include <cstddef>
#include <iterator>
#include <span>
#include <type_traits>

namespace tamlo::db {

/// The elements of a list, in its order, for a range-based for: "for (const DbFld& fld : tbl.Champs())". A view on what the list owns (Entree
/// is what the list holds, a pointer or the like): void once the list changes or ends.
template <typename Element, typename Entree>
class Parcours {
 public:
  class Place {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = std::remove_const_t<Element>;
    using difference_type = std::ptrdiff_t;
    using pointer = Element*;
    using reference = Element&;

    Place() = default;
    explicit Place(const Entree* entree) noexcept : entree_(entree) {}
    reference operator*() const { return **entree_; }
    pointer operator->() const { return &**entree_; }
    Place& operator++() {
      ++entree_;
      return *this;
    }
    Place operator++(int) { return Place(entree_++); }
    friend bool operator==(const Place& a, const Place& b) noexcept { return a.entree_ == b.entree_; }

   private:
    const Entree* entree_ = nullptr;
  };

  explicit Parcours(std::span<const Entree> entrees) noexcept : entrees_(entrees) {}
  [[nodiscard]] Place begin() const noexcept { return Place(entrees_.data()); }
  [[nodiscard]] Place end() const noexcept { return Place(entrees_.data() + entrees_.size()); }
  [[nodiscard]] std::size_t size() const noexcept { return entrees_.size(); }
  [[nodiscard]] bool empty() const noexcept { return entrees_.empty(); }

 private:
  std::span<const Entree> entrees_;
};

}  // namespace tamlo::db
