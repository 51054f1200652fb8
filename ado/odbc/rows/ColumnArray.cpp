#include "ado/odbc/rows/ColumnArray.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <iterator>
#include <string_view>

#include "ado/odbc/driver/NativeHeaders.h"

namespace tamlo::ado::odbc {
namespace {

using Form = ParameterShape::Form;

/// Between quotes every text is itself, "NULL" and a blank one too.
template <typename Unit>
void AppendQuoted(std::basic_string<Unit>& out, std::basic_string_view<Unit> text) {
  constexpr Unit kMeanSomething[] = {Unit{'"'}, Unit{'\\'}};
  out += Unit{'"'};
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find_first_of(kMeanSomething, at, std::size(kMeanSomething)), text.size());
    out.append(text, at, end - at);
    if (end < text.size()) {
      out += Unit{'\\'};
      out += text[end];
    }
    at = end + 1;
  }
  out += Unit{'"'};
}

template <typename Number>
Number NumberAt(std::span<const std::byte> slot) {
  Number number{};
  std::memcpy(&number, slot.data(), sizeof number);
  return number;
}

/// Of a real number the fewest digits that read back as the same one.
template <typename Number>
void AppendNumber(std::string& out, Number number) {
  constexpr std::size_t kLongest = 32;
  char text[kLongest];
  out.append(text, std::to_chars(text, text + kLongest, number).ptr);
}

void AppendBytes(std::string& out, std::span<const std::byte> bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  out += "\"\\\\x";
  for (const std::byte one : bytes) {
    out += kDigits[std::to_integer<unsigned>(one) >> 4U];
    out += kDigits[std::to_integer<unsigned>(one) & 15U];
  }
  out += '"';
}

void AppendNarrow(std::string& out, const ParameterShape& shape, std::span<const std::byte> slot) {
  switch (shape.form) {
    case Form::kInteger:
      return AppendNumber(out, NumberAt<std::int32_t>(slot));
    case Form::kBigInteger:
      return AppendNumber(out, NumberAt<std::int64_t>(slot));
    case Form::kDouble:
      return AppendNumber(out, NumberAt<double>(slot));
    case Form::kBit:
      out += slot[0] != std::byte{0} ? 't' : 'f';
      return;
    case Form::kBytes:
      return AppendBytes(out, slot);
    default:
      return AppendQuoted(out, std::string_view(reinterpret_cast<const char*>(slot.data()), slot.size()));
  }
}

void AppendWide(std::u16string& out, std::span<const std::byte> slot, std::u16string& scratch) {
  scratch.resize(slot.size() / sizeof(char16_t));
  std::memcpy(scratch.data(), slot.data(), scratch.size() * sizeof(char16_t));
  AppendQuoted(out, std::u16string_view(scratch));
}

}  // namespace

bool StandsInArrays(const ParameterShape& shape) {
  return shape.form != Form::kTimestamp && shape.form != Form::kDate && shape.form != Form::kTime;
}

void ColumnArray::Fill(const ParameterShape& shape, std::span<const std::byte> slots, std::size_t stride,
                       std::span<const std::ptrdiff_t> indicators, std::size_t rows) {
  isWide_ = shape.nativeType == SQL_C_WCHAR;
  narrow_.assign(1, '{');
  wide_.assign(1, u'{');
  std::u16string scratch;
  for (std::size_t row = 0; row < rows; ++row) {
    if (row > 0) isWide_ ? (void)(wide_ += u',') : (void)(narrow_ += ',');
    if (indicators[row] == SQL_NULL_DATA) {
      isWide_ ? (void)wide_.append(u"NULL") : (void)narrow_.append("NULL");
      continue;
    }
    const auto slot = slots.subspan(row * stride, static_cast<std::size_t>(indicators[row]));
    isWide_ ? AppendWide(wide_, slot, scratch) : AppendNarrow(narrow_, shape, slot);
  }
  narrow_ += '}';
  wide_ += u'}';
  length_ = static_cast<std::ptrdiff_t>(isWide_ ? wide_.size() * sizeof(char16_t) : narrow_.size());
}

void ColumnArray::Bind(Statement& statement, std::size_t parameter) {
  void* const text = isWide_ ? static_cast<void*>(wide_.data()) : static_cast<void*>(narrow_.data());
  const SQLSMALLINT native = isWide_ ? SQL_C_WCHAR : SQL_C_CHAR;
  const SQLSMALLINT type = isWide_ ? SQL_WLONGVARCHAR : SQL_LONGVARCHAR;
  statement.Check(SQLBindParameter(statement.Native(), static_cast<SQLUSMALLINT>(parameter), SQL_PARAM_INPUT, native, type,
                                   isWide_ ? wide_.size() : narrow_.size(), 0, text, length_, AsNativeLengths(&length_)));
}

}  // namespace tamlo::ado::odbc
