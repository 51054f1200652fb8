#include "move/compare/Canonical.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>

#include "base/Case.h"
#include "base/MomentText.h"
#include "base/Numbers.h"

namespace tamlo::move {
namespace {

using schema::Kind;

std::string Unread(std::string_view text) { return "?" + std::string(text); }

bool IsDigits(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// Digits with the place of the point among them.
struct Decimal {
  bool negative = false;
  std::string digits;
  std::int64_t point = 0;
};

/// False for a text that is no decimal number.
bool ReadDecimal(std::string_view text, Decimal& number) {
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
    number.negative = text.front() == '-';
    text.remove_prefix(1);
  }
  std::int64_t exponent = 0;
  if (const auto mark = text.find_first_of("eE"); mark != std::string_view::npos) {
    std::string_view power = text.substr(mark + 1);
    if (power.starts_with('+')) power.remove_prefix(1);
    const auto read = base::ReadWhole<std::int64_t>(power);
    if (!read || *read > 10000 || *read < -10000) return false;
    exponent = *read;
    text = text.substr(0, mark);
  }
  const auto point = text.find('.');
  number.digits = std::string(text.substr(0, point));
  number.point = static_cast<std::int64_t>(number.digits.size()) + exponent;
  if (point != std::string_view::npos) number.digits += text.substr(point + 1);
  return !number.digits.empty() && IsDigits(number.digits);
}

std::string NumberText(std::string_view text) {
  Decimal number;
  if (!ReadDecimal(text, number)) return Unread(text);
  while (number.point < 0) number.digits.insert(0, 1, '0'), ++number.point;
  const auto point = static_cast<std::size_t>(number.point);
  if (number.digits.size() < point) number.digits.append(point - number.digits.size(), '0');
  std::string whole = number.digits.substr(0, point);
  std::string behind = number.digits.substr(point);
  whole.erase(0, std::min(whole.find_first_not_of('0'), whole.size()));
  behind.erase(behind.find_last_not_of('0') + 1);
  if (whole.empty() && behind.empty()) return "0";
  return (number.negative ? "-" : "") + (whole.empty() ? "0" : whole) + (behind.empty() ? "" : "." + behind);
}

/// Engines have their own words for what is no number.
bool NoNumber(std::string_view text, double& value) {
  const std::string lower = base::LowerCase(text);
  if (lower == "nan") {
    value = std::nan("");
  } else if (lower == "infinity" || lower == "inf" || lower == "9.0e+999" || lower == "9e999") {
    value = HUGE_VAL;
  } else if (lower == "-infinity" || lower == "-inf" || lower == "-9.0e+999" || lower == "-9e999") {
    value = -HUGE_VAL;
  } else {
    return false;
  }
  return true;
}

template <typename Real>
std::string RealText(Real value, const Precision& precision) {
  if (std::isnan(value)) return "nan";
  if (value == 0 && !precision.signOfZero) value = 0;
  return base::ShortestText(value);
}

template <typename Real>
std::string RealText(std::string_view text, const Precision& precision) {
  double value = 0;
  if (!NoNumber(text, value)) {
    const auto read = base::ReadReal(text);
    if (!read) return Unread(text);
    value = *read;
  }
  return RealText(static_cast<Real>(value), precision);
}

std::string TruthText(std::string_view text) {
  if (text == "t" || text == "true") return "1";
  if (text == "f" || text == "false") return "0";
  const std::string number = NumberText(text);
  return number.starts_with('?') ? number : number == "0" ? "0" : "1";
}

/// A day without a time is its beginning, a time without a day one of the first day of Access's calendar.
std::string MomentOf(std::string_view text) {
  std::string moment(text);
  const bool timeAlone = moment.size() >= 5 && moment[2] == ':';
  if (timeAlone) moment.insert(0, "1899-12-30 ");
  if (moment.size() < 10 || moment[4] != '-' || moment[7] != '-') return Unread(text);
  if (moment.size() == 10) moment += " 00:00:00";
  if (moment[10] == 'T') moment[10] = ' ';
  if (moment.ends_with("+00")) moment.resize(moment.size() - 3);
  if (moment.size() == 16) moment += ":00";
  if (const auto point = moment.find('.'); point != std::string::npos) {
    moment.erase(moment.find_last_not_of('0') + 1);
    if (moment.size() == point + 1) moment.pop_back();
  }
  return moment;
}

std::string GuidText(std::string_view text) {
  if (text.starts_with('{') && text.ends_with('}')) text = text.substr(1, text.size() - 2);
  const auto guid = jet::Guid::Parse(text);
  if (!guid) return Unread(text);
  const std::string spelled = guid->Text();
  return spelled.substr(1, spelled.size() - 2);
}

std::string CurrencyText(std::int64_t scaled) {
  const bool negative = scaled < 0;
  const auto magnitude = negative ? 0 - static_cast<std::uint64_t>(scaled) : static_cast<std::uint64_t>(scaled);
  std::string behind = std::to_string(magnitude % 10000);
  behind.insert(0, 4 - behind.size(), '0');
  return (negative ? "-" : "") + std::to_string(magnitude / 10000) + "." + behind;
}

std::string HexText(const jet::Bytes& bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string text;
  text.reserve(2 * bytes.size());
  for (const std::byte byte : bytes) {
    text += kDigits[std::to_integer<unsigned>(byte) >> 4U];
    text += kDigits[std::to_integer<unsigned>(byte) & 15U];
  }
  return text;
}

std::string MomentText(double serial, const Precision& precision) {
  std::string text;
  if (!base::AppendMomentText(text, serial)) return "?" + base::ShortestText(serial);
  if (precision.wholeMoment) text += " (" + base::ShortestText(serial) + ")";
  return text;
}

/// A value that is neither a moment nor a binary number, as an engine would spell it.
std::string Plain(const jet::Value& value) {
  switch (value.Type()) {
    case jet::ValueType::kBool:
      return value.AsBool() ? "1" : "0";
    case jet::ValueType::kByte:
      return std::to_string(value.AsByte());
    case jet::ValueType::kInteger:
      return std::to_string(value.AsInteger());
    case jet::ValueType::kLong:
      return std::to_string(value.AsLong());
    case jet::ValueType::kCurrency:
      return CurrencyText(value.AsCurrency().scaled);
    case jet::ValueType::kNumeric:
      return value.AsNumeric().Text();
    case jet::ValueType::kText:
      return value.AsText();
    case jet::ValueType::kBytes:
      return HexText(value.AsBytes());
    case jet::ValueType::kGuid:
      return value.AsGuid().Text();
    default:
      return {};
  }
}

}  // namespace

Form FormOf(Kind a, Kind b) {
  const auto either = [&](Kind kind) { return a == kind || b == kind; };
  if (either(Kind::kGuid)) return Form::kGuid;
  if (either(Kind::kBoolean)) return Form::kTruth;
  if (either(Kind::kSingle)) return Form::kSingle;
  if (either(Kind::kDouble)) return Form::kDouble;
  if (either(Kind::kMoment)) return Form::kMoment;
  for (const Kind kind : {Kind::kByte, Kind::kShort, Kind::kLong, Kind::kBig, Kind::kCurrency, Kind::kDecimal})
    if (either(kind)) return Form::kNumber;
  return either(Kind::kBinary) || either(Kind::kBlob) ? Form::kBytes : Form::kText;
}

std::string Canonical(Form form, std::string_view text, const Precision& precision) {
  switch (form) {
    case Form::kTruth:
      return TruthText(text);
    case Form::kNumber:
      return NumberText(text);
    case Form::kSingle:
      return RealText<float>(text, precision);
    case Form::kDouble:
      return RealText<double>(text, precision);
    case Form::kMoment:
      return MomentOf(text);
    case Form::kText:
      return std::string(text);
    case Form::kBytes:
      return base::UpperCase(text);
    case Form::kGuid:
      return GuidText(text);
  }
  return {};
}

std::string Canonical(Form form, const jet::Value& value, const Precision& precision) {
  if (value.Type() == jet::ValueType::kDate) return MomentText(value.AsDate().serial, precision);
  if (value.Type() == jet::ValueType::kSingle && form == Form::kSingle) return RealText(value.AsSingle(), precision);
  if (value.Type() == jet::ValueType::kSingle || value.Type() == jet::ValueType::kDouble) {
    const double number = value.Type() == jet::ValueType::kSingle ? double{value.AsSingle()} : value.AsDouble();
    return form == Form::kDouble ? RealText(number, precision) : Canonical(form, RealText(number, precision), precision);
  }
  return Canonical(form, Plain(value), precision);
}

std::string FromHex(std::string_view digits) {
  const auto value = [](char c) { return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10; };
  std::string bytes;
  bytes.reserve(digits.size() / 2);
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) bytes += static_cast<char>(value(digits[i]) * 16 + value(digits[i + 1]));
  return bytes;
}

}  // namespace tamlo::move
