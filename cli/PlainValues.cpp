// Values as text.
#include <array>
#include <charconv>
#include <cmath>

#include "base/MomentText.h"
#include "cli/Format.h"

namespace tamlo::cli {
namespace {

template <typename Number>
void AppendNumber(std::string& text, Number value) {
  std::array<char, 64> digits{};
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value);
  text.append(digits.data(), end.ptr);
}

void AppendTwo(std::string& text, std::int64_t value) {
  text += static_cast<char>('0' + value / 10 % 10);
  text += static_cast<char>('0' + value % 10);
}

void AppendCurrency(std::string& text, std::int64_t tenThousandths) {
  const std::uint64_t size =
      tenThousandths < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(tenThousandths) : static_cast<std::uint64_t>(tenThousandths);
  if (tenThousandths < 0) text += '-';
  AppendNumber(text, size / 10000);
  text += '.';
  AppendTwo(text, static_cast<std::int64_t>(size % 10000 / 100));
  AppendTwo(text, static_cast<std::int64_t>(size % 100));
}

/// A number that is no day of Access's calendar is written as the number.
void AppendMoment(std::string& text, double serial) {
  if (!base::AppendMomentText(text, serial)) AppendNumber(text, serial);
}

void AppendHex(std::string& text, const jet::Bytes& bytes) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  for (const std::byte byte : bytes) {
    text += kDigits[std::to_integer<unsigned>(byte) >> 4U];
    text += kDigits[std::to_integer<unsigned>(byte) & 15U];
  }
}

void AppendBase64(std::string& text, const jet::Bytes& bytes) {
  constexpr std::string_view kSigns = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t there = std::min<std::size_t>(3, bytes.size() - i);
    unsigned group = 0;
    for (std::size_t k = 0; k < 3; ++k) group = group << 8U | (k < there ? std::to_integer<unsigned>(bytes[i + k]) : 0U);
    for (std::size_t k = 0; k < 4; ++k) text += k <= there ? kSigns[group >> (18U - 6U * k) & 63U] : '=';
  }
}

}  // namespace

void AppendPlain(std::string& text, const jet::Value& value, const Spelling& spelling) {
  switch (value.Type()) {
    case jet::ValueType::kNull:
      text += spelling.null;
      return;
    case jet::ValueType::kBool:
      text += value.AsBool() ? spelling.yes : spelling.no;
      return;
    case jet::ValueType::kByte:
      return AppendNumber(text, static_cast<int>(value.AsByte()));
    case jet::ValueType::kInteger:
      return AppendNumber(text, value.AsInteger());
    case jet::ValueType::kLong:
      return AppendNumber(text, value.AsLong());
    case jet::ValueType::kCurrency:
      return AppendCurrency(text, value.AsCurrency().scaled);
    case jet::ValueType::kSingle:
      return AppendNumber(text, value.AsSingle());
    case jet::ValueType::kDouble:
      return AppendNumber(text, value.AsDouble());
    case jet::ValueType::kDate:
      return AppendMoment(text, value.AsDate().serial);
    case jet::ValueType::kText:
      text += value.AsText();
      return;
    case jet::ValueType::kBytes:
      return spelling.base64 ? AppendBase64(text, value.AsBytes()) : AppendHex(text, value.AsBytes());
    case jet::ValueType::kGuid:
      text += value.AsGuid().Text();
      return;
    case jet::ValueType::kNumeric:
      text += value.AsNumeric().Text();
      return;
  }
}

void AppendJsonText(std::string& text, std::string_view value) {
  text += '"';
  for (const char c : value) {
    if (c == '"' || c == '\\') {
      text += '\\';
      text += c;
    } else if (static_cast<unsigned char>(c) >= 0x20) {
      text += c;
    } else if (c == '\n') {
      text += "\\n";
    } else {
      constexpr std::string_view kDigits = "0123456789abcdef";
      text += "\\u00";
      text += kDigits[static_cast<unsigned char>(c) >> 4U];
      text += kDigits[static_cast<unsigned char>(c) & 15U];
    }
  }
  text += '"';
}

void AppendJson(std::string& text, const jet::Value& value, const Spelling& spelling) {
  std::string plain;
  switch (value.Type()) {
    case jet::ValueType::kNull:
      text += "null";
      return;
    case jet::ValueType::kBool:
      text += value.AsBool() ? "true" : "false";
      return;
    case jet::ValueType::kSingle:
    case jet::ValueType::kDouble: {
      const double number = value.Type() == jet::ValueType::kSingle ? static_cast<double>(value.AsSingle()) : value.AsDouble();
      // JSON has no word for them.
      if (!std::isfinite(number)) return AppendJsonText(text, std::isnan(number) ? "NaN" : number > 0 ? "Infinity" : "-Infinity");
      return AppendPlain(text, value, spelling);
    }
    case jet::ValueType::kText:
    case jet::ValueType::kDate:
    case jet::ValueType::kBytes:
    case jet::ValueType::kGuid:
      AppendPlain(plain, value, spelling);
      return AppendJsonText(text, plain);
    default:
      return AppendPlain(text, value, spelling);
  }
}

}  // namespace tamlo::cli
