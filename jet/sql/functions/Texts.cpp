// Texts: positions count characters from 1.
#include <algorithm>
#include <charconv>

#include "base/Ansi.h"
#include "base/Blanks.h"
#include "jet/sql/Names.h"
#include "jet/sql/functions/Support.h"
#include "jet/value/TextOrder.h"

namespace jet::sql::functions {

namespace {

void Left(Context* context, int, Values v) {
  const std::int64_t count = WholeOf(context, v[1]);
  if (count < 0) Raise("negative length");
  ReturnText(context, FromLetters(std::u32string_view(Letters(TextOf(v[0]))).substr(0, static_cast<std::size_t>(count))));
}

void Right(Context* context, int, Values v) {
  const std::int64_t count = WholeOf(context, v[1]);
  if (count < 0) Raise("negative length");
  const std::u32string letters = Letters(TextOf(v[0]));
  const std::size_t keep = std::min(letters.size(), static_cast<std::size_t>(count));
  ReturnText(context, FromLetters(std::u32string_view(letters).substr(letters.size() - keep)));
}

void Mid(Context* context, int count, Values v) {
  const std::int64_t start = WholeOf(context, v[1]);
  const std::int64_t length = count > 2 ? WholeOf(context, v[2]) : INT64_MAX;
  if (start < 1 || length < 0) Raise("position or length out of range");
  const std::u32string letters = Letters(TextOf(v[0]));
  if (static_cast<std::size_t>(start) > letters.size()) return ReturnText(context, "");
  ReturnText(context,
             FromLetters(std::u32string_view(letters).substr(static_cast<std::size_t>(start - 1), static_cast<std::size_t>(length))));
}

void Len(Context* context, int, Values v) {
  sqlite3_result_int64(context, static_cast<std::int64_t>(Letters(AnyText(context, v[0])).size()));
}
void UpperFunction(Context* context, int, Values v) { ReturnText(context, UpperCase(AnyText(context, v[0]))); }
void LowerFunction(Context* context, int, Values v) { ReturnText(context, LowerCase(AnyText(context, v[0]))); }

template <bool left, bool right>
void TrimFunction(Context* context, int, Values v) {
  const std::string text = AnyText(context, v[0]);
  std::string_view rest = text;
  if (left) rest = base::TrimLeft(rest);
  if (right) rest = base::TrimRight(rest);
  ReturnText(context, rest);
}

std::u32string Comparable(std::string_view text, bool binary) { return Letters(binary ? std::string(text) : UpperCase(text)); }

// INSTR([start,] text, sought [, compare]): without a compare argument case does not count, as everywhere in a query.
void InStr(Context* context, int count, Values v) {
  const bool withStart = count > 2 && sqlite3_value_type(v[0]) != SQLITE_TEXT;
  const std::int64_t start = withStart ? WholeOf(context, v[0]) : 1;
  if (start < 1) Raise("start out of range");
  const int at = withStart ? 1 : 0;
  const bool binary = count > at + 2 && sqlite3_value_int(v[at + 2]) == 0;
  const std::u32string text = Comparable(AnyText(context, v[at]), binary);
  const std::u32string sought = Comparable(AnyText(context, v[at + 1]), binary);
  const std::size_t found =
      static_cast<std::size_t>(start) > text.size() ? std::u32string::npos : text.find(sought, static_cast<std::size_t>(start - 1));
  sqlite3_result_int64(context, found == std::u32string::npos ? 0 : static_cast<std::int64_t>(found) + 1);
}

void InStrRev(Context* context, int count, Values v) {
  const std::u32string text = Comparable(AnyText(context, v[0]), false);
  const std::u32string sought = Comparable(AnyText(context, v[1]), false);
  const std::int64_t start = count > 2 ? WholeOf(context, v[2]) : -1;
  std::size_t from = std::u32string::npos;
  if (start > 0) from = static_cast<std::size_t>(start) < sought.size() ? 0 : static_cast<std::size_t>(start) - sought.size();
  const std::size_t found = text.rfind(sought, from);
  sqlite3_result_int64(context, found == std::u32string::npos ? 0 : static_cast<std::int64_t>(found) + 1);
}

void Replace(Context* context, int, Values v) {
  const std::string source = AnyText(context, v[0]);
  const std::string soughtText = AnyText(context, v[1]);
  const std::u32string text = Letters(source);
  const std::u32string folded = Comparable(source, false);
  const std::u32string sought = Comparable(soughtText, false);
  const std::u32string by = Letters(AnyText(context, v[2]));
  if (sought.empty()) return ReturnText(context, source);
  std::u32string out;
  std::size_t at = 0;
  for (std::size_t found; (found = folded.find(sought, at)) != std::u32string::npos; at = found + sought.size()) {
    if ((out.size() + (found - at) + by.size()) * sizeof(char32_t) > kLongestText) Raise("overflow: the text becomes too long");
    out.append(text, at, found - at).append(by);
  }
  ReturnText(context, FromLetters(out + text.substr(at)));
}

void Space(Context* context, int, Values v) {
  const std::int64_t count = WholeOf(context, v[0]);
  if (count < 0 || count > 1000000) Raise("length out of range");
  ReturnText(context, std::string(static_cast<std::size_t>(count), ' '));
}

void StringFunction(Context* context, int, Values v) {
  const std::int64_t count = WholeOf(context, v[0]);
  if (count < 0 || count > 1000000) Raise("length out of range");
  char32_t letter = 0;
  if (sqlite3_value_type(v[1]) == SQLITE_TEXT) {
    std::string_view text = TextOf(v[1]);
    if (text.empty()) Raise("empty text");
    letter = TakeLetter(text);
  } else {
    letter = static_cast<char32_t>(WholeOf(context, v[1]) & 0xFF);
  }
  ReturnText(context, FromLetters(std::u32string(static_cast<std::size_t>(count), letter)));
}

void StrReverse(Context* context, int, Values v) {
  const std::u32string letters = Letters(AnyText(context, v[0]));
  ReturnText(context, FromLetters(std::u32string(letters.rbegin(), letters.rend())));
}

void StrComp(Context* context, int count, Values v) {
  const std::string a = AnyText(context, v[0]);
  const std::string b = AnyText(context, v[1]);
  const bool binary = count > 2 && sqlite3_value_int(v[2]) == 0;
  const int order = binary ? a.compare(b) : CompareText(a, b);
  sqlite3_result_int(context, order < 0 ? -1 : order > 0 ? 1 : 0);
}

void StrConv(Context* context, int, Values v) {
  const std::int64_t kind = WholeOf(context, v[1]);
  const std::string text = AnyText(context, v[0]);
  if (kind == 1) return ReturnText(context, UpperCase(text));
  if (kind == 2) return ReturnText(context, LowerCase(text));
  if (kind != 3) Raise("this conversion of STRCONV is not supported");
  std::u32string letters = Letters(LowerCase(text));
  bool first = true;
  for (char32_t& letter : letters) {
    if (first) letter = UpperLetter(letter);
    first = letter == U' ' || letter == U'\t';
  }
  ReturnText(context, FromLetters(letters));
}

void Chr(Context* context, int, Values v) {
  const std::int64_t code = WholeOf(context, v[0]);
  if (code < 0 || code > 255) Raise("character code out of range");
  ReturnText(context, FromLetters(std::u32string(1, base::AnsiCharacter(static_cast<std::uint8_t>(code)))));
}

void ChrW(Context* context, int, Values v) {
  std::int64_t code = WholeOf(context, v[0]);
  if (code < 0) code += 65536;
  if (code < 0 || code > 65535) Raise("character code out of range");
  ReturnText(context, FromLetters(std::u32string(1, static_cast<char32_t>(code))));
}

template <bool wide>
void Asc(Context* context, int, Values v) {
  const std::string text = AnyText(context, v[0]);
  std::string_view rest = text;
  if (rest.empty()) Raise("empty text");
  const char32_t letter = TakeLetter(rest);
  sqlite3_result_int64(context, wide ? letter : base::AnsiCode(letter));
}

template <unsigned base>
void InBase(Context* context, int, Values v) {
  const auto number = static_cast<std::uint32_t>(WholeOf(context, v[0]));
  char buffer[40];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, number, base).ptr;
  ReturnText(context, UpperCase(std::string_view(buffer, static_cast<std::size_t>(end - buffer))));
}

constexpr Entry kFunctions[] = {
    {{"LEFT", "jet_left", 2, 2, F, T}, NullIn<Left>},
    {{"RIGHT", "jet_right", 2, 2, F, T}, NullIn<Right>},
    {{"MID", "jet_mid", 2, 3, F, T}, NullIn<Mid>},
    {{"LEN", "jet_len", 1, 1, F, L}, NullIn<Len>},
    {{"UCASE", "jet_ucase", 1, 1, F, T}, NullIn<UpperFunction>},
    {{"LCASE", "jet_lcase", 1, 1, F, T}, NullIn<LowerFunction>},
    {{"TRIM", "jet_trim", 1, 1, F, T}, NullIn<TrimFunction<true, true>>},
    {{"LTRIM", "jet_ltrim", 1, 1, F, T}, NullIn<TrimFunction<true, false>>},
    {{"RTRIM", "jet_rtrim", 1, 1, F, T}, NullIn<TrimFunction<false, true>>},
    {{"INSTR", "jet_instr", 2, 4, F, L}, NullIn<InStr>},
    {{"INSTRREV", "jet_instrrev", 2, 3, F, L}, NullIn<InStrRev>},
    {{"REPLACE", "jet_replace", 3, 3, F, T}, NullIn<Replace>},
    {{"SPACE", "jet_space", 1, 1, F, T}, NullIn<Space>},
    {{"STRING", "jet_string", 2, 2, F, T}, NullIn<StringFunction>},
    {{"STRREVERSE", "jet_strreverse", 1, 1, F, T}, NullIn<StrReverse>},
    {{"STRCOMP", "jet_strcomp", 2, 3, F, L}, NullIn<StrComp>},
    {{"STRCONV", "jet_strconv", 2, 2, F, T}, NullIn<StrConv>},
    {{"CHR", "jet_chr", 1, 1, F, T}, NullIn<Chr>},
    {{"CHRW", "jet_chrw", 1, 1, F, T}, NullIn<ChrW>},
    {{"ASC", "jet_asc", 1, 1, F, L}, NullIn<Asc<false>>},
    {{"ASCW", "jet_ascw", 1, 1, F, L}, NullIn<Asc<true>>},
    {{"HEX", "jet_hex", 1, 1, F, T}, NullIn<InBase<16>>},
    {{"OCT", "jet_oct", 1, 1, F, T}, NullIn<InBase<8>>},
};

}  // namespace

std::span<const Entry> TextFunctions() { return kFunctions; }

}  // namespace jet::sql::functions
