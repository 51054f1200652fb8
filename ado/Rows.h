#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <type_traits>

#include "ado/Recordset.h"

/// Recordsets as C++ likes them: rows in a range-for, values by type.
namespace tamlo::ado {

/// A value as a C++ type: bool, std::int16_t, std::int32_t, std::int64_t, double, std::string (texts as they are, the rest as it is written),
/// runtime::Bytes, runtime::Date. Errors 94 for a null, 13 for what is none of that type, 6 for what does not fit: nothing is cut but
/// fractions, which round halves to the even neighbour.
template <typename T>
[[nodiscard]] T ValueAs(const Variant& value);
template <>
[[nodiscard]] bool ValueAs<bool>(const Variant& value);
template <>
[[nodiscard]] std::int16_t ValueAs<std::int16_t>(const Variant& value);
template <>
[[nodiscard]] std::int32_t ValueAs<std::int32_t>(const Variant& value);
template <>
[[nodiscard]] std::int64_t ValueAs<std::int64_t>(const Variant& value);
template <>
[[nodiscard]] double ValueAs<double>(const Variant& value);
template <>
[[nodiscard]] std::string ValueAs<std::string>(const Variant& value);
template <>
[[nodiscard]] runtime::Bytes ValueAs<runtime::Bytes>(const Variant& value);
template <>
[[nodiscard]] runtime::Date ValueAs<runtime::Date>(const Variant& value);

/// The current row of a recordset, whichever that is: it moves on with it.
class Row {
 public:
  explicit Row(Recordset& rows) noexcept : rows_(&rows) {}

  /// By name without regard to case or by position from 0 (error 3265). Get<std::optional<T>> of a null is none.
  template <typename T, typename Key>
  [[nodiscard]] T Get(const Key& field) const {
    const Variant value = rows_->Fields(AsKey(field)).Value();
    if constexpr (requires {
                    typename T::value_type;
                    requires std::is_same_v<T, std::optional<typename T::value_type>>;
                  }) {
      if (value.IsNull() || value.IsEmpty()) return std::nullopt;
      return ValueAs<typename T::value_type>(value);
    } else {
      return ValueAs<T>(value);
    }
  }
  /// Assigns; saved by Update of the recordset, or by the step to the next row.
  template <typename Key>
  void Set(const Key& field, const Variant& value) const {
    rows_->Fields(AsKey(field)).Value(value);
  }

 private:
  template <typename Key>
  static auto AsKey(const Key& field) {
    if constexpr (std::is_integral_v<Key>) {
      return static_cast<std::size_t>(field);
    } else {
      return std::string(field);
    }
  }
  Recordset* rows_;
};

/// for (const Row& row : RowsOf(recordset)): from the current row to the last one. The recordset must outlive the loop and stay open in it.
class RowsOf {
 public:
  class Iterator {
   public:
    using value_type = Row;
    using difference_type = std::ptrdiff_t;
    explicit Iterator(Recordset& rows) noexcept : rows_(&rows), row_(rows) {}
    [[nodiscard]] const Row& operator*() const noexcept { return row_; }
    Iterator& operator++() {
      rows_->MoveNext();
      return *this;
    }
    void operator++(int) { ++*this; }
    [[nodiscard]] bool operator==(std::default_sentinel_t) const { return rows_->Eof(); }

   private:
    Recordset* rows_;
    Row row_;
  };

  explicit RowsOf(Recordset& rows) noexcept : rows_(&rows) {}
  [[nodiscard]] Iterator begin() const noexcept { return Iterator(*rows_); }
  [[nodiscard]] std::default_sentinel_t end() const noexcept { return {}; }

 private:
  Recordset* rows_;
};

}  // namespace tamlo::ado
