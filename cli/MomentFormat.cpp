#include "cli/MomentFormat.h"

#include "base/Calendar.h"
#include "base/MomentText.h"
#include "base/Numbers.h"
#include "cli/CellValues.h"

namespace tamlo::cli {
namespace {

/// The part that a letter of a format names; false where it names none.
bool AppendPart(std::string& text, char letter, const base::CivilDay& day, std::int64_t milliseconds) {
  switch (letter) {
    case 'Y':
      base::AppendPadded(text, day.year, 4);
      return true;
    case 'y':
      base::AppendPadded(text, day.year % 100, 2);
      return true;
    case 'm':
      base::AppendPadded(text, day.month, 2);
      return true;
    case 'd':
      base::AppendPadded(text, day.day, 2);
      return true;
    case 'H':
      base::AppendPadded(text, milliseconds / 3'600'000, 2);
      return true;
    case 'M':
      base::AppendPadded(text, milliseconds / 60'000 % 60, 2);
      return true;
    case 'S':
      base::AppendPadded(text, milliseconds / 1000 % 60, 2);
      return true;
    case 'f':
      base::AppendPadded(text, milliseconds % 1000, 3);
      return true;
    case '%':
      text += '%';
      return true;
    default:
      return false;
  }
}

}  // namespace

std::optional<std::string> MomentIn(const std::string& format, double serial) {
  std::string meant;
  if (!base::AppendMomentText(meant, serial)) {
    const std::string number = base::ShortestText(serial);
    return ReadMoment(number, format) ? std::nullopt : std::optional(number);
  }
  const auto [number, milliseconds] = base::SplitSerial(serial, base::kSecondsADay * 1000);
  const base::CivilDay day = base::CivilOf(number);
  std::string text;
  for (std::size_t i = 0; i < format.size(); ++i) {
    if (format[i] != '%' || i + 1 == format.size()) {
      text += format[i];
    } else if (!AppendPart(text, format[++i], day, milliseconds)) {
      return std::nullopt;
    }
  }
  const auto back = ReadMoment(text, format);
  std::string read;
  if (!back || !base::AppendMomentText(read, *back) || read != meant) return std::nullopt;
  return text;
}

}  // namespace tamlo::cli
