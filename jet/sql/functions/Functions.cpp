#include "jet/sql/functions/Functions.h"

#include <sqlite3.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <optional>
#include <random>
#include <string>

#include "base/Ansi.h"
#include "base/DateText.h"
#include "jet/value/TextOrder.h"
#include "jet/sql/functions/Calendar.h"
#include "jet/sql/functions/LikePattern.h"
#include "jet/sql/Names.h"
#include "jet/sql/functions/Pictures.h"

namespace jet::sql {

namespace {

using Context = sqlite3_context;
using Values = sqlite3_value**;

const TextSettings& SettingsOf(Context* context) { return *static_cast<const TextSettings*>(sqlite3_user_data(context)); }

bool IsNull(sqlite3_value* value) { return sqlite3_value_type(value) == SQLITE_NULL; }

std::string_view TextOf(sqlite3_value* value) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  return text == nullptr ? std::string_view() : std::string_view(text, static_cast<std::size_t>(sqlite3_value_bytes(value)));
}

// The longest text that a statement makes; longer ones are an error, not a machine without memory.
constexpr std::size_t kLongestText = std::size_t{1} << 28;

void ReturnText(Context* context, std::string_view text) {
  sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
}

// Raised inside a function; becomes SQLite's error at its border, and jet::Error again in the session.
struct FunctionError {
  std::string text;
};
[[noreturn]] void Raise(const std::string& text) { throw FunctionError{text}; }

std::optional<double> NumberFromText(std::string_view text, char decimalPoint) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  std::string plain(text);
  for (char& c : plain) c = c == decimalPoint ? '.' : c;
  double value = 0;
  const auto [end, problem] = std::from_chars(plain.data(), plain.data() + plain.size(), value);
  if (problem != std::errc() || end != plain.data() + plain.size() || plain.empty() || !std::isfinite(value)) return std::nullopt;
  return value;
}

double NumberOf(Context* context, sqlite3_value* value) {
  if (sqlite3_value_type(value) == SQLITE_INTEGER || sqlite3_value_type(value) == SQLITE_FLOAT) return sqlite3_value_double(value);
  const std::optional<double> number = NumberFromText(TextOf(value), SettingsOf(context).decimalPoint);
  if (!number) Raise("type mismatch: \"" + std::string(TextOf(value)) + "\" is not a number");
  return *number;
}

std::int64_t WholeOf(Context* context, sqlite3_value* value) {
  const double number = NumberOf(context, value);
  if (!(std::fabs(number) < 9e18)) Raise("overflow");
  return static_cast<std::int64_t>(std::nearbyint(number));  // halves to the even neighbour
}

std::optional<double> DateFromText(Context* context, std::string_view text) {
  const TextSettings& settings = SettingsOf(context);
  return settings.parseDate ? settings.parseDate(text) : base::ReadDateText(text, base::DateOrder::kDayFirst);
}

double DateOf(Context* context, sqlite3_value* value) {
  double serial = 0;
  if (sqlite3_value_type(value) == SQLITE_TEXT) {
    const std::optional<double> read = DateFromText(context, TextOf(value));
    if (!read) Raise("type mismatch: \"" + std::string(TextOf(value)) + "\" is not a date");
    serial = *read;
  } else {
    serial = sqlite3_value_double(value);
  }
  if (!(serial > -657435 && serial < 2958466)) Raise("date out of range");
  return serial;
}

std::string DateText(Context* context, double serial) {
  const TextSettings& settings = SettingsOf(context);
  return settings.formatDate ? settings.formatDate(serial) : GeneralDate(serial);
}

std::string NumberText(double value, char decimalPoint) {
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%.15g", value);
  std::string text = buffer;
  for (char& c : text) c = c == '.' ? decimalPoint : c == 'e' ? 'E' : c;
  return text;
}

std::string AnyText(Context* context, sqlite3_value* value) {
  if (sqlite3_value_type(value) == SQLITE_FLOAT) return NumberText(sqlite3_value_double(value), SettingsOf(context).decimalPoint);
  return std::string(TextOf(value));
}

using Body = void (*)(Context*, int, Values);

// No exception crosses into SQLite.
template <Body body>
void Guarded(Context* context, int count, Values values) {
  try {
    body(context, count, values);
  } catch (const FunctionError& error) {
    sqlite3_result_error(context, error.text.c_str(), -1);
    sqlite3_result_error_code(context, SQLITE_MISMATCH);
    sqlite3_result_error(context, error.text.c_str(), -1);
  } catch (const std::bad_alloc&) {
    sqlite3_result_error_nomem(context);
  } catch (const std::exception& error) {
    sqlite3_result_error(context, error.what(), -1);
  }
}

// The same for functions that are null as soon as an argument is.
template <Body body>
void NullIn(Context* context, int count, Values values) {
  for (int i = 0; i < count; ++i) {
    if (IsNull(values[i])) return;
  }
  Guarded<body>(context, count, values);
}

// ----- operators

// Null when all are.
void Concat(Context* context, int count, Values v) {
  bool any = false;
  std::string text;
  for (int i = 0; i < count; ++i) {
    any = any || !IsNull(v[i]);
    const std::string_view part = TextOf(v[i]);
    if (text.size() + part.size() > kLongestText) Raise("overflow: the text becomes too long");
    text += part;
  }
  if (any) ReturnText(context, text);
}

void Add(Context* context, int, Values v) {
  const bool leftText = sqlite3_value_type(v[0]) == SQLITE_TEXT;
  const bool rightText = sqlite3_value_type(v[1]) == SQLITE_TEXT;
  if (leftText && rightText) return Concat(context, 2, v);
  sqlite3_result_double(context, NumberOf(context, v[0]) + NumberOf(context, v[1]));
}

void Divide(Context* context, int, Values v) {
  const double divisor = NumberOf(context, v[1]);
  if (divisor == 0) Raise("division by zero");
  sqlite3_result_double(context, NumberOf(context, v[0]) / divisor);
}

void IntegerDivide(Context* context, int, Values v) {
  const std::int64_t divisor = WholeOf(context, v[1]);
  if (divisor == 0) Raise("division by zero");
  const std::int64_t dividend = WholeOf(context, v[0]);
  sqlite3_result_int64(context, divisor == -1 ? -dividend : dividend / divisor);
}

void Modulo(Context* context, int, Values v) {
  const std::int64_t divisor = WholeOf(context, v[1]);
  if (divisor == 0) Raise("division by zero");
  sqlite3_result_int64(context, divisor == -1 ? 0 : WholeOf(context, v[0]) % divisor);
}

void Power(Context* context, int, Values v) {
  const double result = std::pow(NumberOf(context, v[0]), NumberOf(context, v[1]));
  if (!std::isfinite(result)) Raise("overflow or root of a negative number");
  sqlite3_result_double(context, result);
}

void AsNumber(Context* context, int, Values v) {
  if (sqlite3_value_type(v[0]) == SQLITE_INTEGER) return sqlite3_result_int64(context, sqlite3_value_int64(v[0]));
  sqlite3_result_double(context, NumberOf(context, v[0]));
}

template <bool percentForm>
void LikeFunction(Context* context, int, Values v) {
  sqlite3_result_int(context, Like(TextOf(v[0]), TextOf(v[1]), percentForm) ? 1 : 0);
}

// ----- conversions

void SingleToText(Context* context, int, Values v) {
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%.7g", NumberOf(context, v[0]));
  ReturnText(context, NumberText(std::strtod(buffer, nullptr), SettingsOf(context).decimalPoint));
}
void ToText(Context* context, int, Values v) { ReturnText(context, AnyText(context, v[0])); }
void DateToText(Context* context, int, Values v) { ReturnText(context, DateText(context, DateOf(context, v[0]))); }
void ToDate(Context* context, int, Values v) { sqlite3_result_double(context, DateOf(context, v[0])); }
void ToDouble(Context* context, int, Values v) { sqlite3_result_double(context, NumberOf(context, v[0])); }
void ToSingle(Context* context, int, Values v) { sqlite3_result_double(context, static_cast<float>(NumberOf(context, v[0]))); }
void ToCurrency(Context* context, int, Values v) {
  sqlite3_result_double(context, std::nearbyint(NumberOf(context, v[0]) * 10000) / 10000);
}

template <std::int64_t low, std::int64_t high>
void ToWhole(Context* context, int, Values v) {
  const std::int64_t whole = WholeOf(context, v[0]);
  if (whole < low || whole > high) Raise("overflow");
  sqlite3_result_int64(context, whole);
}

void IsDateFunction(Context* context, int, Values v) {
  const bool isDate =
      !IsNull(v[0]) && (TextOf(v[1]) == "d" || (sqlite3_value_type(v[0]) == SQLITE_TEXT && DateFromText(context, TextOf(v[0]))));
  sqlite3_result_int(context, isDate ? 1 : 0);
}

void IsNumericFunction(Context* context, int, Values v) {
  const int type = sqlite3_value_type(v[0]);
  const bool numeric = type == SQLITE_INTEGER || type == SQLITE_FLOAT ||
                       (type == SQLITE_TEXT && NumberFromText(TextOf(v[0]), SettingsOf(context).decimalPoint));
  sqlite3_result_int(context, numeric && TextOf(v[1]) != "d" ? 1 : 0);
}

void Val(Context* context, int, Values v) {
  std::string text;
  for (const char c : TextOf(v[0])) {
    if (c != ' ' && c != '\t' && c != '\n' && c != '\r') text += c;
  }
  const char* begin = text.data();
  if (!text.empty() && text[0] == '+') ++begin;
  double value = 0;
  const auto [end, problem] = std::from_chars(begin, text.data() + text.size(), value);
  if (problem != std::errc() || !std::isfinite(value)) value = 0;
  sqlite3_result_double(context, value);
}

void Str(Context* context, int, Values v) {
  const double value = NumberOf(context, v[0]);
  ReturnText(context, (value < 0 ? "" : " ") + NumberText(value, '.'));
}

void Format(Context* context, int, Values v) {
  if (IsNull(v[0])) return;
  const std::string picture = IsNull(v[1]) ? std::string() : std::string(TextOf(v[1]));
  const std::string_view kind = TextOf(v[2]);
  const char point = SettingsOf(context).decimalPoint;
  if (kind == "d") {
    if (picture.empty()) return ReturnText(context, DateText(context, DateOf(context, v[0])));
    return ReturnText(context, FormatDatePicture(DateOf(context, v[0]), picture));
  }
  if (sqlite3_value_type(v[0]) == SQLITE_TEXT) {
    const bool forNumbers = picture.find_first_of("0#") != std::string::npos;
    const bool forDates = picture.find_first_of("dmyhDMYH") != std::string::npos;
    if (forNumbers && NumberFromText(TextOf(v[0]), point))
      return ReturnText(context, FormatNumber(NumberOf(context, v[0]), picture, point));
    if (forDates && !forNumbers) {
      if (const auto serial = DateFromText(context, TextOf(v[0]))) return ReturnText(context, FormatDatePicture(*serial, picture));
    }
    return ReturnText(context, FormatText(TextOf(v[0]), picture));
  }
  const bool forDates = picture.find_first_of("0#%") == std::string::npos && picture.find_first_of("dmyhnsDMYHNS") != std::string::npos;
  bool named = false;
  for (const char* name : {"general number", "currency", "fixed", "standard", "percent", "yes/no", "true/false", "on/off"}) {
    named = named || LowerCase(picture) == name;
  }
  if (forDates && !named) return ReturnText(context, FormatDatePicture(DateOf(context, v[0]), picture));
  ReturnText(context, FormatNumber(NumberOf(context, v[0]), picture, point));
}

// ----- texts: positions count characters from 1

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
  while (left && !rest.empty() && rest.front() == ' ') rest.remove_prefix(1);
  while (right && !rest.empty() && rest.back() == ' ') rest.remove_suffix(1);
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

// ----- numbers

void Absolute(Context* context, int, Values v) {
  if (sqlite3_value_type(v[0]) == SQLITE_INTEGER) return sqlite3_result_int64(context, std::llabs(sqlite3_value_int64(v[0])));
  sqlite3_result_double(context, std::fabs(NumberOf(context, v[0])));
}

void Sign(Context* context, int, Values v) {
  const double value = NumberOf(context, v[0]);
  sqlite3_result_int(context, value > 0 ? 1 : value < 0 ? -1 : 0);
}

template <double (*function)(double)>
void WholePart(Context* context, int, Values v) {
  if (sqlite3_value_type(v[0]) == SQLITE_INTEGER) return sqlite3_result_int64(context, sqlite3_value_int64(v[0]));
  sqlite3_result_double(context, function(NumberOf(context, v[0])));
}

template <double (*function)(double)>
void Plain(Context* context, int, Values v) {
  const double result = function(NumberOf(context, v[0]));
  if (!std::isfinite(result)) Raise("result out of range");
  sqlite3_result_double(context, result);
}

double Floor(double x) { return std::floor(x); }
double Truncate(double x) { return std::trunc(x); }
double SquareRoot(double x) { return std::sqrt(x); }
double Exponential(double x) { return std::exp(x); }
double Logarithm(double x) { return std::log(x); }
double Sine(double x) { return std::sin(x); }
double Cosine(double x) { return std::cos(x); }
double Tangent(double x) { return std::tan(x); }
double ArcTangent(double x) { return std::atan(x); }

// Halves go to the even neighbour. The product is read as the decimal number that it shows: 2.675 * 100 is 267.5.
void Round(Context* context, int count, Values v) {
  if (sqlite3_value_type(v[0]) == SQLITE_INTEGER) return sqlite3_result_int64(context, sqlite3_value_int64(v[0]));
  const std::int64_t digits = count > 1 ? WholeOf(context, v[1]) : 0;
  if (digits < 0 || digits > 22) Raise("number of digits out of range");
  const double value = NumberOf(context, v[0]);
  const double scale = std::pow(10.0, static_cast<double>(digits));
  const double product = value * scale;
  if (!std::isfinite(product) || std::fabs(product) > 1e15) return sqlite3_result_double(context, value);
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%.15g", product);
  sqlite3_result_double(context, std::nearbyint(std::strtod(buffer, nullptr)) / scale);
}

void Random(Context* context, int, Values) {
  static thread_local std::mt19937 generator(std::random_device{}());
  sqlite3_result_double(context, static_cast<double>(generator() >> 8) / 16777216.0);
}

// ----- dates

void Today(Context* context, int, Values) { sqlite3_result_double(context, DayOf(LocalNow())); }
void TimeNow(Context* context, int, Values) { sqlite3_result_double(context, TimeOf(LocalNow())); }
void Now(Context* context, int, Values) { sqlite3_result_double(context, LocalNow()); }
void DatePartOnly(Context* context, int, Values v) { sqlite3_result_double(context, DayOf(DateOf(context, v[0]))); }
void TimePartOnly(Context* context, int, Values v) { sqlite3_result_double(context, TimeOf(DateOf(context, v[0]))); }

template <auto field>
void FieldOfDate(Context* context, int, Values v) {
  sqlite3_result_int64(context, FieldsOf(DateOf(context, v[0])).*field);
}

int FirstDay(Context* context, int count, Values v, int at) {
  const std::int64_t day = count > at ? WholeOf(context, v[at]) : 1;
  if (day < 0 || day > 7) Raise("first day of the week out of range");
  return day == 0 ? 1 : static_cast<int>(day);
}

void WeekdayFunction(Context* context, int count, Values v) {
  sqlite3_result_int(context, Weekday(DateOf(context, v[0]), FirstDay(context, count, v, 1)));
}

void DateAddFunction(Context* context, int, Values v) {
  const std::optional<double> result = DateAdd(TextOf(v[0]), NumberOf(context, v[1]), DateOf(context, v[2]));
  if (!result) Raise("unknown interval or date out of range");
  sqlite3_result_double(context, *result);
}

void DateDiffFunction(Context* context, int count, Values v) {
  const std::optional<double> result = DateDiff(TextOf(v[0]), DateOf(context, v[1]), DateOf(context, v[2]), FirstDay(context, count, v, 3));
  if (!result) Raise("unknown interval");
  sqlite3_result_int64(context, static_cast<std::int64_t>(*result));
}

void DatePartFunction(Context* context, int count, Values v) {
  const std::int64_t week = count > 3 ? WholeOf(context, v[3]) : 1;
  const std::optional<int> result = DatePart(TextOf(v[0]), DateOf(context, v[1]), FirstDay(context, count, v, 2), static_cast<int>(week));
  if (!result) Raise("unknown interval");
  sqlite3_result_int(context, *result);
}

void DateSerial(Context* context, int, Values v) {
  std::int64_t year = WholeOf(context, v[0]);
  if (year >= 0 && year < 100) year += year < 30 ? 2000 : 1900;
  const std::optional<double> serial = SerialOf(year, WholeOf(context, v[1]), WholeOf(context, v[2]));
  if (!serial) Raise("date out of range");
  sqlite3_result_double(context, *serial);
}

void TimeSerial(Context* context, int, Values v) {
  constexpr double kUnits[] = {3600, 60, 1};
  double seconds = 0;
  for (int i = 0; i < 3; ++i) {
    const std::int64_t part = WholeOf(context, v[i]);
    if (part < INT16_MIN || part > INT16_MAX) Raise("overflow");
    seconds += static_cast<double>(part) * kUnits[i];
  }
  sqlite3_result_double(context, seconds / 86400);
}

void MonthName(Context* context, int, Values v) {
  const std::int64_t month = WholeOf(context, v[0]);
  if (month < 1 || month > 12) Raise("month out of range");
  ReturnText(context, FormatDatePicture(*SerialOf(2001, month, 1), "mmmm"));
}

void WeekdayName(Context* context, int count, Values v) {
  const std::int64_t day = WholeOf(context, v[0]);
  if (day < 1 || day > 7) Raise("day of the week out of range");
  const bool abbreviated = count > 1 && NumberOf(context, v[1]) != 0;
  constexpr int kSunday = 1;  // the serial 1 is 1899-12-31, a Sunday
  const auto serial = static_cast<double>(kSunday + (day - 1 + FirstDay(context, count, v, 2) - 1) % 7);
  ReturnText(context, FormatDatePicture(serial, abbreviated ? "ddd" : "dddd"));
}

void Timer(Context* context, int, Values) { sqlite3_result_double(context, static_cast<float>(TimeOf(LocalNow()) * 86400)); }

// "  0: 99": both ends as wide as the wider one of what lies before the first range and after the last one.
void Partition(Context* context, int, Values v) {
  const std::int64_t number = WholeOf(context, v[0]);
  const std::int64_t start = WholeOf(context, v[1]);
  const std::int64_t stop = WholeOf(context, v[2]);
  const std::int64_t interval = WholeOf(context, v[3]);
  for (const std::int64_t value : {number, start, stop, interval}) {
    if (value < INT32_MIN || value > INT32_MAX) Raise("overflow");
  }
  if (start < 0 || stop <= start || interval < 1) Raise("the bounds of Partition are out of range");
  const std::size_t width = std::max(std::to_string(start - 1).size(), std::to_string(stop + 1).size());
  const auto padded = [&](std::int64_t value) {
    const std::string text = std::to_string(value);
    return std::string(width > text.size() ? width - text.size() : 0, ' ') + text;
  };
  const std::string open(width, ' ');
  if (interval == 1) return ReturnText(context, padded(number) + ":" + padded(number));
  if (number < start) return ReturnText(context, open + ":" + padded(start - 1));
  if (number > stop) return ReturnText(context, padded(stop + 1) + ":" + open);
  const std::int64_t low = start + (number - start) / interval * interval;
  ReturnText(context, padded(low) + ":" + padded(std::min(low + interval - 1, stop)));
}

// ----- aggregates

struct Moments {
  std::int64_t count;
  double mean;
  double squares;
};

void MomentsStep(Context* context, int, Values v) {
  auto* state = static_cast<Moments*>(sqlite3_aggregate_context(context, sizeof(Moments)));
  if (state == nullptr || IsNull(v[0])) return;
  const double value = sqlite3_value_double(v[0]);
  ++state->count;
  const double delta = value - state->mean;
  state->mean += delta / static_cast<double>(state->count);
  state->squares += delta * (value - state->mean);
}

template <bool population, bool root>
void MomentsFinal(Context* context) {
  const auto* state = static_cast<Moments*>(sqlite3_aggregate_context(context, 0));
  const std::int64_t divisor = state == nullptr ? 0 : state->count - (population ? 0 : 1);
  if (divisor <= 0) return sqlite3_result_null(context);
  const double variance = state->squares / static_cast<double>(divisor);
  sqlite3_result_double(context, root ? std::sqrt(variance) : variance);
}

struct Kept {
  sqlite3_value* value;
  bool seen;
};

template <bool last>
void KeepStep(Context* context, int, Values v) {
  auto* state = static_cast<Kept*>(sqlite3_aggregate_context(context, sizeof(Kept)));
  if (state == nullptr || (state->seen && !last)) return;
  sqlite3_value_free(state->value);
  state->value = sqlite3_value_dup(v[0]);
  state->seen = true;
}

// The value of the one row of a subquery that stands for a value.
void OnlyStep(Context* context, int, Values v) {
  auto* state = static_cast<Kept*>(sqlite3_aggregate_context(context, sizeof(Kept)));
  if (state == nullptr) return;
  if (state->seen) return sqlite3_result_error(context, "a subquery used as a value gives more than one row", -1);
  state->value = sqlite3_value_dup(v[0]);
  state->seen = true;
}

void KeepFinal(Context* context) {
  auto* state = static_cast<Kept*>(sqlite3_aggregate_context(context, 0));
  if (state == nullptr || state->value == nullptr) return sqlite3_result_null(context);
  sqlite3_result_value(context, state->value);
  sqlite3_value_free(state->value);
  state->value = nullptr;
}

using Native = void (*)(Context*, int, Values);

struct Entry {
  FunctionInfo info;
  Native native;
  bool steady = true;  // same arguments, same result
};

constexpr ColumnType T = ColumnType::kText;
constexpr ColumnType L = ColumnType::kLong;
constexpr ColumnType D = ColumnType::kDouble;
constexpr ColumnType A = ColumnType::kDate;
constexpr ResultRule F = ResultRule::kFixed;
constexpr ResultRule S = ResultRule::kSameAsFirst;

// Every function in one row. A name that begins with a blank cannot be written in a statement: the translator alone uses it.
constexpr Entry kFunctions[] = {
    {{" concat", "jet_concat", -1, -1, F, T}, Guarded<Concat>},
    {{" add", "jet_add", 2, 2, F, D}, NullIn<Add>},
    {{" div", "jet_div", 2, 2, F, D}, NullIn<Divide>},
    {{" idiv", "jet_idiv", 2, 2, F, L}, NullIn<IntegerDivide>},
    {{" mod", "jet_mod", 2, 2, F, L}, NullIn<Modulo>},
    {{" pow", "jet_pow", 2, 2, F, D}, NullIn<Power>},
    {{" number", "jet_number", 1, 1, F, D}, NullIn<AsNumber>},
    {{" text", "jet_text", 1, 1, F, T}, NullIn<ToText>},
    {{" singletext", "jet_singletext", 1, 1, F, T}, NullIn<SingleToText>},
    {{" datetext", "jet_datetext", 1, 1, F, T}, NullIn<DateToText>},
    {{" cdate", "jet_cdate", 1, 1, F, A}, NullIn<ToDate>},
    {{" datevalue", "jet_datevalue", 1, 1, F, A}, NullIn<DatePartOnly>},
    {{" timevalue", "jet_timevalue", 1, 1, F, A}, NullIn<TimePartOnly>},
    {{" like", "jet_like", 2, 2, F, L}, NullIn<LikeFunction<false>>},
    {{" alike", "jet_alike", 2, 2, F, L}, NullIn<LikeFunction<true>>},
    {{" isdate", "jet_isdate", 2, 2, F, L}, Guarded<IsDateFunction>},
    {{" isnumeric", "jet_isnumeric", 2, 2, F, L}, Guarded<IsNumericFunction>},
    {{" format", "jet_format", 3, 3, F, T}, Guarded<Format>},
    {{"CLNG", "jet_clng", 1, 1, F, L}, NullIn<ToWhole<INT32_MIN, INT32_MAX>>},
    {{"CINT", "jet_cint", 1, 1, F, ColumnType::kInteger}, NullIn<ToWhole<INT16_MIN, INT16_MAX>>},
    {{"CBYTE", "jet_cbyte", 1, 1, F, ColumnType::kByte}, NullIn<ToWhole<0, 255>>},
    {{"CDBL", "jet_cdbl", 1, 1, F, D}, NullIn<ToDouble>},
    {{"CSNG", "jet_csng", 1, 1, F, ColumnType::kSingle}, NullIn<ToSingle>},
    {{"CCUR", "jet_ccur", 1, 1, F, ColumnType::kCurrency}, NullIn<ToCurrency>},
    {{"VAL", "jet_val", 1, 1, F, D}, NullIn<Val>},
    {{"STR", "jet_str", 1, 1, F, T}, NullIn<Str>},
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
    {{"ABS", "jet_abs", 1, 1, S, D}, NullIn<Absolute>},
    {{"SGN", "jet_sgn", 1, 1, F, ColumnType::kInteger}, NullIn<Sign>},
    {{"INT", "jet_int", 1, 1, S, D}, NullIn<WholePart<Floor>>},
    {{"FIX", "jet_fix", 1, 1, S, D}, NullIn<WholePart<Truncate>>},
    {{"ROUND", "jet_round", 1, 2, S, D}, NullIn<Round>},
    {{"SQR", "jet_sqr", 1, 1, F, D}, NullIn<Plain<SquareRoot>>},
    {{"EXP", "jet_exp", 1, 1, F, D}, NullIn<Plain<Exponential>>},
    {{"LOG", "jet_log", 1, 1, F, D}, NullIn<Plain<Logarithm>>},
    {{"SIN", "jet_sin", 1, 1, F, D}, NullIn<Plain<Sine>>},
    {{"COS", "jet_cos", 1, 1, F, D}, NullIn<Plain<Cosine>>},
    {{"TAN", "jet_tan", 1, 1, F, D}, NullIn<Plain<Tangent>>},
    {{"ATN", "jet_atn", 1, 1, F, D}, NullIn<Plain<ArcTangent>>},
    {{"RND", "jet_rnd", 0, 1, F, D}, Guarded<Random>, false},
    {{"DATE", "jet_date", 0, 0, F, A}, Guarded<Today>, false},
    {{"TIME", "jet_time", 0, 0, F, A}, Guarded<TimeNow>, false},
    {{"NOW", "jet_now", 0, 0, F, A}, Guarded<Now>, false},
    {{"YEAR", "jet_year", 1, 1, F, ColumnType::kInteger}, NullIn<FieldOfDate<&CalendarFields::year>>},
    {{"MONTH", "jet_month", 1, 1, F, ColumnType::kInteger}, NullIn<FieldOfDate<&CalendarFields::month>>},
    {{"DAY", "jet_day", 1, 1, F, ColumnType::kInteger}, NullIn<FieldOfDate<&CalendarFields::day>>},
    {{"HOUR", "jet_hour", 1, 1, F, ColumnType::kInteger}, NullIn<FieldOfDate<&CalendarFields::hour>>},
    {{"MINUTE", "jet_minute", 1, 1, F, ColumnType::kInteger}, NullIn<FieldOfDate<&CalendarFields::minute>>},
    {{"SECOND", "jet_second", 1, 1, F, ColumnType::kInteger}, NullIn<FieldOfDate<&CalendarFields::second>>},
    {{"WEEKDAY", "jet_weekday", 1, 2, F, ColumnType::kInteger}, NullIn<WeekdayFunction>},
    {{"MONTHNAME", "jet_monthname", 1, 1, F, T}, NullIn<MonthName>},
    {{"WEEKDAYNAME", "jet_weekdayname", 1, 3, F, T}, NullIn<WeekdayName>},
    {{"TIMER", "jet_timer", 0, 0, F, ColumnType::kSingle}, Guarded<Timer>, false},
    {{"PARTITION", "jet_partition", 4, 4, F, T}, NullIn<Partition>},
    {{"DATEADD", "jet_dateadd", 3, 3, F, A}, NullIn<DateAddFunction>},
    {{"DATEDIFF", "jet_datediff", 3, 4, F, L}, NullIn<DateDiffFunction>},
    {{"DATEPART", "jet_datepart", 2, 4, F, ColumnType::kInteger}, NullIn<DatePartFunction>},
    {{"DATESERIAL", "jet_dateserial", 3, 3, F, A}, NullIn<DateSerial>},
    {{"TIMESERIAL", "jet_timeserial", 3, 3, F, A}, NullIn<TimeSerial>},
};

int Collate(void*, int leftSize, const void* left, int rightSize, const void* right) {
  try {
    return CompareText({static_cast<const char*>(left), static_cast<std::size_t>(leftSize)},
                       {static_cast<const char*>(right), static_cast<std::size_t>(rightSize)});
  } catch (...) {  // out of memory: SQLite gives no way to say so here
    return std::memcmp(left, right, static_cast<std::size_t>(std::min(leftSize, rightSize)));
  }
}

}  // namespace

const FunctionInfo* FindFunction(std::string_view foldedName) {
  for (const Entry& entry : kFunctions) {
    if (entry.info.name == foldedName) return &entry.info;
  }
  return nullptr;
}

void RegisterFunctions(sqlite3* connection, const TextSettings& settings) {
  auto* data = const_cast<TextSettings*>(&settings);
  for (const Entry& entry : kFunctions) {
    const int flags = SQLITE_UTF8 | (entry.steady ? SQLITE_DETERMINISTIC : 0);
    for (int count = entry.info.least; count <= entry.info.most; ++count) {
      sqlite3_create_function_v2(connection, entry.info.sqlName.data(), count, flags, data, entry.native, nullptr, nullptr, nullptr);
    }
  }
  const auto aggregate = [&](const char* name, Native step, void (*final)(Context*)) {
    sqlite3_create_function_v2(connection, name, 1, SQLITE_UTF8, data, nullptr, step, final, nullptr);
  };
  aggregate("jet_stdev", MomentsStep, MomentsFinal<false, true>);
  aggregate("jet_stdevp", MomentsStep, MomentsFinal<true, true>);
  aggregate("jet_var", MomentsStep, MomentsFinal<false, false>);
  aggregate("jet_varp", MomentsStep, MomentsFinal<true, false>);
  aggregate("jet_first", KeepStep<false>, KeepFinal);
  aggregate("jet_only", OnlyStep, KeepFinal);
  aggregate("jet_last", KeepStep<true>, KeepFinal);
  sqlite3_create_collation(connection, "JET", SQLITE_UTF8, nullptr, Collate);
}

}  // namespace jet::sql
