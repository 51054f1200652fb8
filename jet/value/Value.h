#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace jet {

/// Type of a column as the file stores it.
enum class ColumnType : std::uint8_t {
  kBoolean = 1,
  kByte = 2,
  kInteger = 3,   ///< 16 bits, signed
  kLong = 4,      ///< 32 bits, signed
  kCurrency = 5,  ///< 64 bits, ten-thousandths
  kSingle = 6,
  kDouble = 7,
  kDate = 8,
  kBinary = 9,
  kText = 10,
  kOle = 11,   ///< long binary
  kMemo = 12,  ///< long text
  kGuid = 15,
  kNumeric = 16,
  kInternal = 17,  ///< raw bytes in tables of Access' own; read as bytes
};

/// What a Value holds. The order is the order of the alternatives in Value.
enum class ValueType : std::uint8_t {
  kNull,
  kBool,
  kByte,
  kInteger,
  kLong,
  kCurrency,
  kSingle,
  kDouble,
  kDate,
  kText,
  kBytes,
  kGuid,
  kNumeric,
};

using Bytes = std::vector<std::byte>;

/// An amount in ten-thousandths.
struct Currency {
  std::int64_t scaled = 0;
  friend bool operator==(const Currency&, const Currency&) = default;
};

/// Days since 1899-12-30 00:00. The fraction counts forward in time also before that day: -1.25 is 1899-12-29 06:00.
struct Date {
  double serial = 0;
  friend bool operator==(const Date&, const Date&) = default;
};

/// A GUID, its bytes in the order in which the text form prints them.
struct Guid {
  std::array<std::uint8_t, 16> bytes{};

  /// Reads "{00112233-4455-6677-8899-AABBCCDDEEFF}", braces optional; nothing when the text is no GUID.
  static std::optional<Guid> Parse(std::string_view text);
  /// "{00112233-4455-6677-8899-AABBCCDDEEFF}"
  [[nodiscard]] std::string Text() const;
  friend bool operator==(const Guid&, const Guid&) = default;
};

/// A decimal number: (high * 2^64 + low) / 10^scale, negative or not. Zero is never negative.
struct Numeric {
  std::uint64_t high = 0;
  std::uint64_t low = 0;
  std::uint8_t scale = 0;
  bool negative = false;

  /// Reads "-12.340" (scale 3); nothing when the text is no decimal number or does not fit 128 bits.
  static std::optional<Numeric> Parse(std::string_view text);
  /// Decimal text with exactly `scale` digits after the point.
  [[nodiscard]] std::string Text() const;
  /// The nearest double.
  [[nodiscard]] double ToDouble() const;
  /// The same number with another scale, halves rounded away from zero; nothing when it does not fit 128 bits.
  [[nodiscard]] std::optional<Numeric> WithScale(std::uint8_t newScale) const;
  /// Number of decimal digits of the magnitude (1 for zero).
  [[nodiscard]] int Digits() const;
  friend bool operator==(const Numeric&, const Numeric&) = default;
};

/// One value of one column, or null. Text is UTF-8.
/// The As... accessors ask for the exact type that Type() names (std::bad_variant_access otherwise).
class Value {
 public:
  Value() noexcept = default;
  explicit Value(bool value) : data_(value) {}
  explicit Value(std::uint8_t value) : data_(value) {}
  explicit Value(std::int16_t value) : data_(value) {}
  explicit Value(std::int32_t value) : data_(value) {}
  explicit Value(jet::Currency value) : data_(value) {}
  explicit Value(float value) : data_(value) {}
  explicit Value(double value) : data_(value) {}
  explicit Value(jet::Date value) : data_(value) {}
  explicit Value(std::string value) : data_(std::move(value)) {}
  explicit Value(std::string_view value) : data_(std::string(value)) {}
  explicit Value(const char* value) : data_(std::string(value)) {}
  explicit Value(jet::Bytes value) : data_(std::move(value)) {}
  explicit Value(jet::Guid value) : data_(value) {}
  explicit Value(jet::Numeric value) : data_(value) {}

  [[nodiscard]] ValueType Type() const noexcept { return static_cast<ValueType>(data_.index()); }
  [[nodiscard]] bool IsNull() const noexcept { return data_.index() == 0; }

  [[nodiscard]] bool AsBool() const { return std::get<bool>(data_); }
  [[nodiscard]] std::uint8_t AsByte() const { return std::get<std::uint8_t>(data_); }
  [[nodiscard]] std::int16_t AsInteger() const { return std::get<std::int16_t>(data_); }
  [[nodiscard]] std::int32_t AsLong() const { return std::get<std::int32_t>(data_); }
  [[nodiscard]] jet::Currency AsCurrency() const { return std::get<jet::Currency>(data_); }
  [[nodiscard]] float AsSingle() const { return std::get<float>(data_); }
  [[nodiscard]] double AsDouble() const { return std::get<double>(data_); }
  [[nodiscard]] jet::Date AsDate() const { return std::get<jet::Date>(data_); }
  [[nodiscard]] const std::string& AsText() const { return std::get<std::string>(data_); }
  [[nodiscard]] const jet::Bytes& AsBytes() const { return std::get<jet::Bytes>(data_); }
  [[nodiscard]] const jet::Guid& AsGuid() const { return std::get<jet::Guid>(data_); }
  [[nodiscard]] const jet::Numeric& AsNumeric() const { return std::get<jet::Numeric>(data_); }

  void SetNull() noexcept { data_.emplace<std::monostate>(); }
  /// Takes a copy of the text; reuses the memory of a text held before.
  void SetText(std::string_view text);
  /// Takes a copy of the bytes; reuses the memory of bytes held before.
  void SetBytes(const std::byte* data, std::size_t size);

  /// True when both hold the same type and the same value (text is compared byte by byte, null equals null).
  friend bool operator==(const Value&, const Value&) = default;

  /// The value as a person would want to see it in a message or a test failure: NULL, 12, "abc", #2020-01-02 03:04:05#.
  [[nodiscard]] std::string Describe() const;

 private:
  std::variant<std::monostate, bool, std::uint8_t, std::int16_t, std::int32_t, jet::Currency, float, double, jet::Date, std::string,
               jet::Bytes, jet::Guid, jet::Numeric>
      data_;
};

}  // namespace jet
