#include "jet/sql/functions/Pictures.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "base/Case.h"
#include "base/Numbers.h"
#include "jet/sql/functions/Calendar.h"
#include "jet/sql/Names.h"

namespace jet::sql {

namespace {

constexpr const char* kMonths[] = {"janvier", "février", "mars",      "avril",   "mai",      "juin",
                                   "juillet", "août",    "septembre", "octobre", "novembre", "décembre"};
constexpr const char* kDays[] = {"dimanche", "lundi", "mardi", "mercredi", "jeudi", "vendredi", "samedi"};

std::string Padded(std::int64_t value, int width) {
  std::string text;
  base::AppendPadded(text, value, width);
  return text;
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
  const double scale = std::pow(10.0, decimals);
  const double scaled = magnitude * scale;
  if (std::isfinite(scaled) && scaled < 9e15) {
    const double rounded = std::floor(scaled + 0.5 + 1e-9 * std::min(1.0, scaled));
    return base::FixedText(rounded / scale, decimals);
  }
  return base::FixedText(magnitude, decimals);
}

/// What a picture asks of a number.
struct NumberShape {
  int wholeZeros = 0;  // digits before the point that are always there
  int decimalZeros = 0;
  int decimals = 0;
  bool inDecimals = false;
  bool grouped = false;
  bool percent = false;
  bool digitsSeen = false;

  void See(char c) {
    inDecimals = inDecimals || c == '.';
    grouped = grouped || c == ',';
    percent = percent || c == '%';
    if (c != '0' && c != '#') return;
    digitsSeen = true;
    if (inDecimals) {
      ++decimals;
      if (c == '0') decimalZeros = decimals;
    } else if (c == '0' || wholeZeros > 0) {
      ++wholeZeros;
    }
  }
};

NumberShape ShapeOf(const std::string& picture) {
  NumberShape shape;
  bool quoted = false;
  for (std::size_t i = 0; i < picture.size(); ++i) {
    if (picture[i] == '"') quoted = !quoted;
    if (quoted) continue;
    if (picture[i] == '\\')
      ++i;
    else
      shape.See(picture[i]);
  }
  return shape;
}

std::string Digits(double magnitude, const NumberShape& shape, char decimalPoint) {
  const std::string fixed = FixedDigits(shape.percent ? magnitude * 100 : magnitude, std::min(shape.decimals, 15));
  const std::size_t point = fixed.find('.');
  std::string whole = fixed.substr(0, point);
  std::string fraction = point == std::string::npos ? "" : fixed.substr(point + 1);
  while (static_cast<int>(fraction.size()) > shape.decimalZeros && !fraction.empty() && fraction.back() == '0') fraction.pop_back();
  if (whole == "0" && shape.wholeZeros == 0) whole.clear();
  if (static_cast<int>(whole.size()) < shape.wholeZeros) whole.insert(0, static_cast<std::size_t>(shape.wholeZeros) - whole.size(), '0');
  return (shape.grouped ? Grouped(whole) : whole) + (shape.inDecimals ? decimalPoint + fraction : "");
}

// The digits go where the first place stands, everything else as it is written.
std::string ApplyNumberPicture(double magnitude, const std::string& picture, char decimalPoint) {
  const NumberShape shape = ShapeOf(picture);
  std::string number = shape.digitsSeen ? Digits(magnitude, shape, decimalPoint) : std::string();
  std::string out;
  bool quoted = false;
  for (std::size_t i = 0; i < picture.size(); ++i) {
    const char c = picture[i];
    if (c == '"') {
      quoted = !quoted;
    } else if (quoted) {
      out += c;
    } else if (c == '\\' && i + 1 < picture.size()) {
      out += picture[++i];
    } else if (c == '0' || c == '#' || c == '.' || c == ',') {
      out += std::exchange(number, {});
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
    std::string text = base::SignificantText(value, 15);
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

namespace {

// A named picture as what it stands for.
std::string NamedDatePicture(std::string_view picture) {
  const std::string name = UpperCase(picture);
  if (name == "SHORT DATE") return "dd/mm/yyyy";
  if (name == "MEDIUM DATE") return "dd-mmm-yy";
  if (name == "LONG DATE") return "dddd d mmmm yyyy";
  if (name == "SHORT TIME") return "hh:nn";
  if (name == "MEDIUM TIME") return "hh:nn AM/PM";
  if (name == "LONG TIME") return "hh:nn:ss";
  return std::string(picture);
}

/// A date written under a picture.
class DatePicture {
 public:
  DatePicture(double serial, std::string picture)
      : picture_(std::move(picture)),
        serial_(serial),
        fields_(FieldsOf(serial)),
        halfDays_(UpperCase(picture_).find("AM/PM") != std::string::npos || UpperCase(picture_).find("A/P") != std::string::npos) {}

  std::string Text() {
    while (at_ < picture_.size()) {
      if (!Quoted() && !HalfOfDay("AM/PM") && !HalfOfDay("A/P")) Letter();
    }
    return std::move(out_);
  }

 private:
  // Texts in quotes, and single characters behind a backslash.
  bool Quoted() {
    if (picture_[at_] == '"') {
      for (++at_; at_ < picture_.size() && picture_[at_] != '"'; ++at_) out_ += picture_[at_];
      ++at_;
      return true;
    }
    if (picture_[at_] != '\\' || at_ + 1 >= picture_.size()) return false;
    out_ += picture_[at_ + 1];
    at_ += 2;
    return true;
  }

  // "AM" or "PM", or only their first letters.
  bool HalfOfDay(std::string_view word) {
    if (UpperCase(picture_.substr(at_, word.size())) != word) return false;
    const std::size_t slash = word.find('/');
    out_ += fields_.hour < 12 ? word.substr(0, slash) : word.substr(slash + 1);
    at_ += word.size();
    return true;
  }

  void Letter() {
    const char first = picture_[at_];
    const char c = base::AsciiLower(first);
    if (std::string_view("dmyhnsqw").find(c) == std::string_view::npos) {
      out_ += picture_[at_++];
      return;
    }
    int run = 0;
    for (; at_ < picture_.size() && (picture_[at_] | 0x20) == c; ++at_) ++run;
    const char unit = c == 'm' && last_ == 'h' ? 'n' : c;
    Unit(unit, run);
    last_ = unit;
  }

  void Unit(char unit, int run) {
    switch (unit) {
      case 'd':
        out_ += Named(kDays[fields_.weekday - 1], run, 3, ".", fields_.day);
        break;
      case 'm':
        out_ += Named(kMonths[fields_.month - 1], run, 4, "", fields_.month);
        break;
      case 'y':
        out_ += run >= 3 ? Padded(fields_.year, 4) : run == 2 ? Padded(fields_.year % 100, 2) : std::to_string(fields_.dayOfYear);
        break;
      case 'h':
        out_ += Padded(halfDays_ ? (fields_.hour + 11) % 12 + 1 : fields_.hour, std::min(run, 2));
        break;
      case 'n':
        out_ += Padded(fields_.minute, std::min(run, 2));
        break;
      case 's':
        out_ += Padded(fields_.second, std::min(run, 2));
        break;
      case 'q':
        out_ += std::to_string((fields_.month - 1) / 3 + 1);
        break;
      default:
        out_ += run == 2 ? std::to_string(DatePart("ww", serial_, 1, 1).value_or(0)) : std::to_string(fields_.weekday);
        break;
    }
  }

  // The whole name from four letters on, its beginning for three, else the number.
  static std::string Named(const char* name, int run, std::size_t letters, const char* mark, int number) {
    if (run >= 4) return name;
    return run == 3 ? FromLetters(Letters(name).substr(0, letters)) + mark : Padded(number, run);
  }

  std::string picture_;
  double serial_;
  CalendarFields fields_;
  bool halfDays_;
  std::string out_;
  std::size_t at_ = 0;
  char last_ = '\0';  // unit before, to tell minutes from months
};

}  // namespace

std::string FormatDatePicture(double serial, std::string_view picture) {
  if (picture.empty() || UpperCase(picture) == "GENERAL DATE") return GeneralDate(serial);
  return DatePicture(serial, NamedDatePicture(picture)).Text();
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
