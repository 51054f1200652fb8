#include <langinfo.h>
#include <locale.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <type_traits>

#include "runtime/RegionalSettings.h"

namespace tamlo::runtime {

namespace {

/// The locale that the environment names for a category, as the C library looks it up; "" when it names none.
std::string_view NamedLocale(const char* category) {
  for (const char* variable : {"LC_ALL", category, "LANG"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return value;
  }
  return {};
}

/// The C and POSIX locales, with or without a character set ("C.UTF-8"), say nothing about a user.
bool SaysNothing(std::string_view name) { return name.empty() || name.substr(0, name.find('.')) == "C" || name == "POSIX"; }

struct FreeLocale {
  void operator()(locale_t locale) const noexcept { freelocale(locale); }
};
using LocaleOwner = std::unique_ptr<std::remove_pointer_t<locale_t>, FreeLocale>;

/// The letters for one conversion of strftime; "" for one that is no part of a date.
std::string_view Letters(char conversion, bool withoutPadding) {
  switch (conversion) {
    case 'd':
      return withoutPadding ? "d" : "dd";
    case 'e':
      return "d";
    case 'm':
      return withoutPadding ? "M" : "MM";
    case 'Y':
    case 'G':
      return "yyyy";
    case 'y':
      return "yy";
    case 'D':
      return "MM/dd/yy";
    case 'F':
      return "yyyy-MM-dd";
    case 'b':
    case 'h':
      return "MMM";
    case 'B':
      return "MMMM";
    case 'a':
      return "ddd";
    case 'A':
      return "dddd";
    default:
      return {};
  }
}

std::string ToLetters(std::string_view picture) {
  std::string out;
  for (std::size_t i = 0; i < picture.size(); ++i) {
    if (picture[i] != '%') {
      out.push_back(picture[i]);
      continue;
    }
    bool withoutPadding = false;
    while (++i < picture.size() && std::strchr("-_0^#EO", picture[i]) != nullptr) withoutPadding |= picture[i] == '-';
    if (i < picture.size()) out += Letters(picture[i], withoutPadding);
  }
  return out;
}

}  // namespace

RegionalSettings ReadUserSettings() {
  RegionalSettings settings;
  if (!SaysNothing(NamedLocale("LC_TIME"))) {
    if (const LocaleOwner locale{newlocale(LC_TIME_MASK, "", nullptr)}) {
      settings.shortDate = ToLetters(nl_langinfo_l(D_FMT, locale.get()));
      for (const nl_item first : {MON_1, ABMON_1}) {
        for (nl_item month = first; month < first + 12; ++month) settings.monthNames.emplace_back(nl_langinfo_l(month, locale.get()));
      }
    }
  }
  if (!SaysNothing(NamedLocale("LC_NUMERIC"))) {
    if (const LocaleOwner locale{newlocale(LC_NUMERIC_MASK, "", nullptr)}) {
      const std::string_view separator = nl_langinfo_l(RADIXCHAR, locale.get());
      if (separator.size() == 1) settings.decimalPoint = separator.front();
    }
  }
  return settings;
}

}  // namespace tamlo::runtime
