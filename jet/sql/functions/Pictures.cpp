#include "jet/sql/functions/Pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "jet/sql/functions/Calendar.h"
#include "jet/sql/Names.h"

namespace jet::sql {

namespace {

constexpr const char* kMonths[] = {"janvier", "février", "mars",      "avril",   "mai",      "juin",
                                   "juillet", "août",    "septembre", "octobre", "novembre", "décembre"};
constexpr const char* kDays[] = {"dimanche", "lundi", "mardi", "mercredi", "jeudi", "vendredi", "samedi"};

std::string Padded(std::int64_t value, int width) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%0*lld", width, static_cast<long long>(value));
  return buffer;
}

std::vector<std::string> Sections(std::string_view picture) {
  std::vector<std::string> sections(1);
  bool quoted = false;
  for (std::size_t i = 0; i < picture.size(); ++i) {
    const char c = picture[i];
    if (c == '"') quoted = !quoted;
    if (c == '\\' && i + 1 < picture.size()) {
      sections.back() += c;
      sections.back() += picture[++i];
    } else if (c == ';' && !quoted) {
      sections.emplace_back();
    } else {
      sections.back() += c;
    }
  }
  return sections;
}

std::string Grouped(const std::string& digits) {
  std::string out;
  for (std::size_t i = 0; i < digits.size(); ++i) {
    if (i > 0 && (digits.size() - i) % 3 == 0) out += ' ';
    out += digits[i];
  }
  return out;
}

// Rounded halves away from zero, as FORMAT does, with at most 15 decimals.
std::string FixedDigits(double magnitude, int decimals) {
  char buffer[400];
  const double scale = std::pow(10.0, decimals);
  const double scaled = magnitude * scale;
  if (std::isfinite(scaled) && scaled < 9e15) {
    const double rounded = std::floor(scaled + 0.5 + 1e-9 * std::min(1.0, scaled));
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, rounded / scale);
  } else {
    std::snprintf(buffer, sizeof buffer, "%.*f", decimals, magnitude);
  }
  return buffer;
}

std::string ApplyNumberPicture(double magnitude, const std::string& picture, char decimalPoint) {
  int wholeZeros = 0;
  int decimalZeros = 0;
  int decimals = 0;
  bool inDecimals = false;
  bool grouped = false;
  bool percent = false;
  bool digitsSeen = false;
  bool quoted = false;
  for (std::size_t i = 0; i < picture.size(); ++i) {
    const char c = picture[i];
    if (c == '"') quoted = !quoted;
    if (quoted) continue;
    if (c == '\\') {
      ++i;
      continue;
    }
    if (c == '0' || c == '#') {
      digitsSeen = true;
      if (inDecimals) {
        ++decimals;
        if (c == '0') decimalZeros = decimals;
      } else if (c == '0') {
        ++wholeZeros;
      } else if (wholeZeros > 0) {
        ++wholeZeros;
      }
    } else if (c == '.') {
      inDecimals = true;
    } else if (c == ',') {
      grouped = true;
    } else if (c == '%') {
      percent = true;
    }
  }
  std::string number;
  if (digitsSeen) {
    const std::string fixed = FixedDigits(percent ? magnitude * 100 : magnitude, std::min(decimals, 15));
    const std::size_t point = fixed.find('.');
    std::string whole = fixed.substr(0, point);
    std::string fraction = point == std::string::npos ? "" : fixed.substr(point + 1);
    while (static_cast<int>(fraction.size()) > decimalZeros && !fraction.empty() && fraction.back() == '0') fraction.pop_back();
    if (whole == "0" && wholeZeros == 0) whole.clear();
    if (static_cast<int>(whole.size()) < wholeZeros) whole.insert(0, static_cast<std::size_t>(wholeZeros) - whole.size(), '0');
    number = (grouped ? Grouped(whole) : whole) + (inDecimals ? decimalPoint + fraction : "");
  }
  // The digits go where the first place stands, everything else as it is written.
  std::string out;
  bool written = false;
  quoted = false;
  for (std::size_t i = 0; i < picture.size(); ++i) {
    const char c = picture[i];
    if (c == '"') {
      quoted = !quoted;
    } else if (quoted) {
      out += c;
    } else if (c == '\\' && i + 1 < picture.size()) {
      out += picture[++i];
    } else if (c == '0' || c == '#' || c == '.' || c == ',') {
      if (!written && digitsSeen) out += number;
      written = true;
    } else {
      out += c;
    }
  }
  return out;
}

std::string NamedNumber(double value, const std::string& name, char decimalPoint, bool& known) {
  known = true;
  if (name == "YES/NO") return value != 0 ? "Oui" : "Non";
  if (name == "TRUE/FALSE") return value != 0 ? "Vrai" : "Faux";
  if (name == "ON/OFF") return value != 0 ? "Actif" : "Inactif";
  if (name == "FIXED") return FormatNumber(value, "0.00", decimalPoint);
  if (name == "STANDARD") return FormatNumber(value, "#,##0.00", decimalPoint);
  if (name == "PERCENT") return FormatNumber(value, "0.00%", decimalPoint);
  if (name == "CURRENCY") return FormatNumber(value, "#,##0.00 €", decimalPoint);
  known = false;
  return {};
}

}  // namespace

std::string FormatNumber(double value, std::string_view picture, char decimalPoint) {
  const std::string name = UpperCase(picture);
  bool known = false;
  std::string named = NamedNumber(value, name, decimalPoint, known);
  if (known) return named;
  if (name.empty() || name == "GENERAL NUMBER") {
    char buffer[40];
    std::snprintf(buffer, sizeof buffer, "%.15g", value);
    std::string text = buffer;
    std::replace(text.begin(), text.end(), '.', decimalPoint);
    return text;
  }
  const std::vector<std::string> sections = Sections(picture);
  std::size_t section = value < 0 && sections.size() > 1 && !sections[1].empty() ? 1 : 0;
  if (value == 0 && sections.size() > 2 && !sections[2].empty()) section = 2;
  std::string text = ApplyNumberPicture(std::fabs(value), sections[section], decimalPoint);
  const bool onlyZeros = text.find_first_of("123456789") == std::string::npos;
  if (value < 0 && section == 0 && !onlyZeros) text.insert(0, 1, '-');
  return text;
}

std::string FormatDatePicture(double serial, std::string_view pictureText) {
  std::string picture(pictureText);
  const std::string name = UpperCase(picture);
  if (name.empty() || name == "GENERAL DATE") return GeneralDate(serial);
  if (name == "SHORT DATE") picture = "dd/mm/yyyy";
  if (name == "MEDIUM DATE") picture = "dd-mmm-yy";
  if (name == "LONG DATE") picture = "dddd d mmmm yyyy";
  if (name == "SHORT TIME") picture = "hh:nn";
  if (name == "MEDIUM TIME") picture = "hh:nn AM/PM";
  if (name == "LONG TIME") picture = "hh:nn:ss";

  const CalendarFields f = FieldsOf(serial);
  const bool halfDays = UpperCase(picture).find("AM/PM") != std::string::npos || UpperCase(picture).find("A/P") != std::string::npos;
  std::string out;
  char last = '\0';  // unit before, to tell minutes from months
  for (std::size_t i = 0; i < picture.size();) {
    const char c = static_cast<char>(picture[i] >= 'A' && picture[i] <= 'Z' ? picture[i] + 32 : picture[i]);
    if (c == '"') {
      for (++i; i < picture.size() && picture[i] != '"'; ++i) out += picture[i];
      ++i;
      continue;
    }
    if (c == '\\' && i + 1 < picture.size()) {
      out += picture[i + 1];
      i += 2;
      continue;
    }
    if (c == 'a' && UpperCase(picture.substr(i, 5)) == "AM/PM") {
      out += f.hour < 12 ? "AM" : "PM";
      i += 5;
      continue;
    }
    if (c == 'a' && UpperCase(picture.substr(i, 3)) == "A/P") {
      out += f.hour < 12 ? "A" : "P";
      i += 3;
      continue;
    }
    if (std::string_view("dmyhnsqw").find(c) == std::string_view::npos) {
      out += picture[i++];
      continue;
    }
    int run = 0;
    for (; i < picture.size() && (picture[i] | 0x20) == c; ++i) ++run;
    char unit = c;
    if (c == 'm' && last == 'h') unit = 'n';
    const int hour = halfDays ? (f.hour + 11) % 12 + 1 : f.hour;
    switch (unit) {
      case 'd':
        out += run >= 4   ? kDays[f.weekday - 1]
               : run == 3 ? FromLetters(Letters(kDays[f.weekday - 1]).substr(0, 3)) + "."
                          : Padded(f.day, run);
        break;
      case 'm':
        out += run >= 4 ? kMonths[f.month - 1] : run == 3 ? FromLetters(Letters(kMonths[f.month - 1]).substr(0, 4)) : Padded(f.month, run);
        break;
      case 'y':
        out += run >= 3 ? Padded(f.year, 4) : run == 2 ? Padded(f.year % 100, 2) : std::to_string(f.dayOfYear);
        break;
      case 'h':
        out += Padded(hour, std::min(run, 2));
        break;
      case 'n':
        out += Padded(f.minute, std::min(run, 2));
        break;
      case 's':
        out += Padded(f.second, std::min(run, 2));
        break;
      case 'q':
        out += std::to_string((f.month - 1) / 3 + 1);
        break;
      default:
        out += run == 2 ? std::to_string(DatePart("ww", serial, 1, 1).value_or(0)) : std::to_string(f.weekday);
        break;
    }
    last = unit;
  }
  return out;
}

std::string FormatText(std::string_view text, std::string_view picture) {
  if (picture.empty()) return std::string(text);
  std::string wanted;
  bool upper = false;
  bool lower = false;
  bool fromLeft = false;
  for (const char c : picture) {
    if (c == '>')
      upper = true;
    else if (c == '<')
      lower = true;
    else if (c == '!')
      fromLeft = true;
    else
      wanted += c;
  }
  std::u32string letters = Letters(upper ? UpperCase(text) : lower ? LowerCase(text) : std::string(text));
  std::string out;
  const std::u32string places = Letters(wanted);
  const auto count =
      static_cast<std::size_t>(std::count_if(places.begin(), places.end(), [](char32_t c) { return c == U'@' || c == U'&'; }));
  // Places are filled from the right unless "!" stands in the picture.
  std::size_t missing = count > letters.size() ? count - letters.size() : 0;
  std::size_t next = 0;
  std::size_t place = 0;
  for (const char32_t c : places) {
    if (c != U'@' && c != U'&') {
      AppendLetter(out, c);
      continue;
    }
    const bool empty = fromLeft ? place >= letters.size() : place < missing;
    ++place;
    if (empty) {
      if (c == U'@') out += ' ';
    } else {
      AppendLetter(out, letters[next++]);
    }
  }
  while (next < letters.size()) AppendLetter(out, letters[next++]);
  return out;
}

}  // namespace jet::sql
