#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tamlo::runtime {

using Bytes = std::vector<std::byte>;

/// Never assigned.
struct Empty {
  friend constexpr bool operator==(Empty, Empty) = default;
};
/// The database's null.
struct Null {
  friend constexpr bool operator==(Null, Null) = default;
};
/// An amount in ten-thousandths.
struct Currency {
  std::int64_t tenThousandths = 0;
  friend constexpr auto operator<=>(Currency, Currency) = default;
};
/// A point in time: days since 1899-12-30, the time of day as the fraction (counting forward also before that day).
struct Date {
  double serial = 0;
  friend constexpr auto operator<=>(Date, Date) = default;
};
/// An exact decimal of up to 38 digits, as plain text: optional "-", digits, optional "." and digits. No exponent, no locale.
struct Decimal {
  std::string text;
  friend auto operator<=>(const Decimal&, const Decimal&) = default;
};
/// A GUID as text "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", upper case.
struct Guid {
  std::string text;
  friend auto operator<=>(const Guid&, const Guid&) = default;
};

/// A value of any type that the system handles. Text is UTF-8. Equality is of type and value, without conversion.
class Variant {
 public:
  using Storage = std::variant<Empty, Null, bool, std::uint8_t, std::int16_t, std::int32_t, std::int64_t, float, double, Currency, Date,
                               Decimal, Guid, std::string, Bytes>;

  Variant() = default;
  template <typename T>
  requires(!std::is_same_v<std::remove_cvref_t<T>, Variant> &&
           std::is_constructible_v<Storage, std::in_place_type_t<std::remove_cvref_t<T>>, T>) Variant(T&& value)
      : value_(std::in_place_type<std::remove_cvref_t<T>>, std::forward<T>(value)) {}  // NOLINT(google-explicit-constructor)
  Variant(const char* text) : value_(std::string(text)) {}                             // NOLINT(google-explicit-constructor)
  Variant(std::string_view text) : value_(std::string(text)) {}                        // NOLINT(google-explicit-constructor)

  [[nodiscard]] bool IsEmpty() const noexcept { return std::holds_alternative<Empty>(value_); }
  [[nodiscard]] bool IsNull() const noexcept { return std::holds_alternative<Null>(value_); }
  [[nodiscard]] bool IsText() const noexcept { return std::holds_alternative<std::string>(value_); }

  template <typename T>
  [[nodiscard]] bool Is() const noexcept {
    return std::holds_alternative<T>(value_);
  }
  /// The value of exactly that type, or nullptr.
  template <typename T>
  [[nodiscard]] const T* If() const noexcept {
    return std::get_if<T>(&value_);
  }
  /// The alternatives themselves, for std::visit.
  [[nodiscard]] const Storage& Stored() const noexcept { return value_; }

  friend bool operator==(const Variant&, const Variant&) = default;

 private:
  Storage value_;
};

}  // namespace tamlo::runtime
