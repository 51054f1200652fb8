#include "ado/odbc/command/CallText.h"

#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

#include "ado/odbc/driver/NativeHeaders.h"
#include "ado/odbc/values/Encode.h"
#include "ado/odbc/values/ValueDecoder.h"
#include "base/Blanks.h"
#include "runtime/Conversions.h"
#include "runtime/Error.h"
#include "runtime/Text.h"

namespace tamlo::ado::odbc {
namespace {

using Form = ParameterShape::Form;

/// Without white space of any kind around it.
std::string_view Trimmed(std::string_view text) { return base::TrimOf(text, " \t\r\n"); }

/// Takes the word, written in any case, from the beginning.
bool TakeCall(std::string_view& text) {
  constexpr std::string_view kWord = "CALL";
  if (text.size() <= kWord.size() || runtime::UpperCase(text.substr(0, kWord.size())) != kWord) return false;
  const std::string_view rest = Trimmed(text.substr(kWord.size()));
  const bool apart = rest.size() < text.size() - kWord.size() || rest.starts_with('"') || rest.starts_with('`') || rest.starts_with('[');
  if (apart) text = rest;
  return apart;
}

/// Where the name ends and its brackets begin; the end of the text without them.
std::size_t EndOfName(std::string_view text) {
  char close = '\0';
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (close != '\0') {
      if (c == close) close = '\0';
    } else if (c == '(') {
      return i;
    } else if (c == '"' || c == '`' || c == '[') {
      close = c == '[' ? ']' : c;
    }
  }
  return text.size();
}

Variant WholeOfType(std::int64_t whole, std::int16_t type) {
  switch (type) {
    case adUnsignedTinyInt:
      return static_cast<std::uint8_t>(whole);
    case adTinyInt:
    case adSmallInt:
      return static_cast<std::int16_t>(whole);
    case adUnsignedSmallInt:
    case adInteger:
      return static_cast<std::int32_t>(whole);
    default:
      return whole;
  }
}

template <typename T>
T First(const std::vector<std::byte>& bytes) {
  T value{};
  std::memcpy(&value, bytes.data(), sizeof value);
  return value;
}

Variant Decoded(FetchPlan::Form form, const std::vector<std::byte>& text, const FieldInfo& field) {
  return Decode({form, SQL_C_CHAR, 0, 1}, field, text.data(), text.size());
}

}  // namespace

std::optional<std::size_t> CallText::Marks() const {
  std::string_view rest = Trimmed(arguments);
  if (rest.empty()) return 0;
  for (std::size_t count = 1;; ++count) {
    if (!rest.starts_with('?')) return std::nullopt;
    rest = Trimmed(rest.substr(1));
    if (rest.empty()) return count;
    if (!rest.starts_with(',')) return std::nullopt;
    rest = Trimmed(rest.substr(1));
  }
}

std::optional<CallText> ReadCall(std::string_view text) {
  CallText call;
  text = Trimmed(text);
  while (text.ends_with(';')) text = Trimmed(text.substr(0, text.size() - 1));
  if (text.starts_with('{')) {
    if (!text.ends_with('}')) return std::nullopt;
    call.inBraces = true;
    text = Trimmed(text.substr(1, text.size() - 2));
    if (text.starts_with('?')) {
      text = Trimmed(text.substr(1));
      if (!text.starts_with('=')) return std::nullopt;
      text = Trimmed(text.substr(1));
      call.returns = true;
    }
  }
  if (!TakeCall(text)) return std::nullopt;
  const std::size_t end = EndOfName(text);
  call.name = std::string(Trimmed(text.substr(0, end)));
  if (call.name.empty()) return std::nullopt;
  if (end < text.size()) {
    if (!text.ends_with(')')) return std::nullopt;
    call.arguments = std::string(text.substr(end + 1, text.size() - end - 2));
  }
  return call;
}

Variant OfType(const Variant& value, const ado::Parameter& parameter, const DriverFacts& facts) {
  if (parameter.type == adEmpty) return value;
  FieldInfo field;
  field.name = parameter.name;
  field.type = parameter.type == adDate ? std::int16_t{adDBTimeStamp} : parameter.type;
  field.numericScale = field.type == adDBTimeStamp || field.type == adDBTime ? 6 : 255;
  ParameterShape shape = ShapeFor(field, 0, facts);
  shape.values.keepsNul = shape.values.hasNan = shape.values.hasInfinity = true;
  if (shape.nativeType == SQL_C_WCHAR) shape.nativeType = SQL_C_CHAR;
  const auto* const text = value.If<std::string>();
  if (shape.form == Form::kText && text != nullptr) return value;
  if (shape.form == Form::kBytes) return value.Is<runtime::Bytes>() ? value : throw runtime::Error(runtime::kTypeMismatch);
  std::vector<std::byte> bytes;
  if (!Encode(value, shape, bytes)) return runtime::Null{};
  switch (shape.form) {
    case Form::kInteger:
      return WholeOfType(First<std::int32_t>(bytes), field.type);
    case Form::kBigInteger:
      return WholeOfType(First<std::int64_t>(bytes), field.type);
    case Form::kDouble:
      return field.type == adSingle ? Variant(static_cast<float>(First<double>(bytes))) : Variant(First<double>(bytes));
    case Form::kBit:
      return First<std::uint8_t>(bytes) != 0;
    case Form::kDecimalText:
      return Decoded(field.type == adCurrency ? FetchPlan::Form::kCurrencyText : FetchPlan::Form::kDecimalText, bytes, field);
    case Form::kGuidText:
      return Decoded(FetchPlan::Form::kGuidText, bytes, field);
    case Form::kText:
      return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    default:
      // A day or a time, which Encode has read.
      if (value.Is<runtime::Date>()) return value;
      return text != nullptr && shape.form == Form::kMomentText ? Decoded(FetchPlan::Form::kMomentText, bytes, field)
                                                                : Variant(runtime::ToDate(value));
  }
}

}  // namespace tamlo::ado::odbc
