#include "jet/value/Conversion.h"

#include <algorithm>
#include <array>

#include "base/Blanks.h"
#include "base/DateText.h"
#include "base/Numbers.h"
#include "jet/value/Text.h"

namespace jet {
namespace {

std::string_view Trimmed(std::string_view text) { return base::TrimOf(text, " \t"); }

/// The digits of a text with "." between them.
std::string PlainDigits(std::string_view text, char decimalPoint) {
  std::string plain(Trimmed(text));
  std::replace(plain.begin(), plain.end(), decimalPoint, '.');
  return plain;
}

std::optional<bool> ReadTruth(std::string_view text, char decimalPoint) {
  struct Word {
    std::string_view word;
    bool truth;
  };
  static constexpr std::array<Word, 8> kWords{
      {{"True", true}, {"Vrai", true}, {"Yes", true}, {"Oui", true}, {"False", false}, {"Faux", false}, {"No", false}, {"Non", false}}};
  const std::string_view word = Trimmed(text);
  for (const Word& known : kWords)
    if (EqualNames(word, known.word)) return known.truth;
  const std::optional<double> number = ReadNumber(text, decimalPoint);
  if (!number) return std::nullopt;
  return *number != 0;
}

/// Straight from the digits: a double between would lose some of a large amount.
std::optional<Value> ReadExact(std::string_view text, char decimalPoint) {
  const std::optional<double> number = ReadNumber(text, decimalPoint);
  if (const std::optional<Numeric> exact = Numeric::Parse(PlainDigits(text, decimalPoint))) return Value(*exact);
  if (!number) return std::nullopt;
  return Value(*number);
}

template <typename Read>
std::optional<Value> ValueOf(const std::optional<Read>& read) {
  if (!read) return std::nullopt;
  return Value(*read);
}

std::string RealText(double number, int digits, char decimalPoint) {
  std::string text = base::SignificantText(number, digits);
  for (char& c : text) c = c == '.' ? decimalPoint : c == 'e' ? 'E' : c;
  return text;
}

std::string DecimalText(const Numeric& number, char decimalPoint) {
  std::string text = number.Text();
  std::replace(text.begin(), text.end(), '.', decimalPoint);
  return text;
}

/// All digits: a double would lose the last ones of a large amount.
std::string AmountText(Currency amount, char decimalPoint) {
  const bool negative = amount.scaled < 0;
  const auto scaled = static_cast<std::uint64_t>(amount.scaled);
  std::string text = DecimalText(Numeric{0, negative ? 0 - scaled : scaled, 4, negative}, decimalPoint);
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == decimalPoint) text.pop_back();
  return text;
}

/// As the value describes itself, without the "#" around it.
std::string DateText(const Value& value, const TextSettings& settings) {
  if (settings.formatDate) return settings.formatDate(value.AsDate().serial);
  const std::string text = value.Describe();
  return text.substr(1, text.size() - 2);
}

}  // namespace

std::optional<double> ReadNumber(std::string_view text, char decimalPoint) { return base::ReadWrittenReal(Trimmed(text), decimalPoint); }

std::optional<Value> ReadAs(ColumnType type, const std::string& text, const TextSettings& settings) {
  switch (type) {
    case ColumnType::kDate: {
      const auto serial = settings.parseDate ? settings.parseDate(text) : base::ReadDateText(text, base::DateOrder::kDayFirst);
      if (!serial) return std::nullopt;
      return Value(Date{*serial});
    }
    case ColumnType::kBoolean:
      return ValueOf(ReadTruth(text, settings.decimalPoint));
    case ColumnType::kGuid:
      return ValueOf(Guid::Parse(text));
    case ColumnType::kCurrency:
    case ColumnType::kNumeric:
      return ReadExact(text, settings.decimalPoint);
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong:
    case ColumnType::kSingle:
    case ColumnType::kDouble:
      return ValueOf(ReadNumber(text, settings.decimalPoint));
    default:
      return std::nullopt;
  }
}

std::optional<std::string> WriteAsText(const Value& value, const TextSettings& settings) {
  switch (value.Type()) {
    case ValueType::kNull:
    case ValueType::kBytes:
      return std::nullopt;
    case ValueType::kText:
      return value.AsText();
    case ValueType::kBool:
      return value.AsBool() ? "-1" : "0";
    case ValueType::kSingle:
      return RealText(value.AsSingle(), 7, settings.decimalPoint);
    case ValueType::kDouble:
      return RealText(value.AsDouble(), 15, settings.decimalPoint);
    case ValueType::kCurrency:
      return AmountText(value.AsCurrency(), settings.decimalPoint);
    case ValueType::kNumeric:
      return DecimalText(value.AsNumeric(), settings.decimalPoint);
    case ValueType::kDate:
      return DateText(value, settings);
    default:
      return value.Describe();  // whole numbers and GUIDs
  }
}

std::optional<double> AsReal(const Value& value) {
  switch (value.Type()) {
    case ValueType::kBool:
      return value.AsBool() ? -1 : 0;
    case ValueType::kByte:
      return value.AsByte();
    case ValueType::kInteger:
      return value.AsInteger();
    case ValueType::kLong:
      return value.AsLong();
    case ValueType::kCurrency:
      return static_cast<double>(value.AsCurrency().scaled) / 10000;
    case ValueType::kSingle:
      return value.AsSingle();
    case ValueType::kDouble:
      return value.AsDouble();
    case ValueType::kDate:
      return value.AsDate().serial;
    case ValueType::kNumeric:
      return value.AsNumeric().ToDouble();
    case ValueType::kText:
      return ReadNumber(value.AsText());
    default:
      return std::nullopt;
  }
}

}  // namespace jet
