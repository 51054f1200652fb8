#include <windows.h>

#include "runtime/RegionalSettings.h"

namespace tamlo::runtime {

namespace {

/// A text of the user's locale in UTF-8; "" when it has none.
std::string LocaleText(LCTYPE what) {
  wchar_t wide[80] = {};
  char text[240] = {};
  if (GetLocaleInfoW(LOCALE_USER_DEFAULT, what, wide, 80) == 0) return {};
  if (WideCharToMultiByte(CP_UTF8, 0, wide, -1, text, sizeof text, nullptr, nullptr) == 0) return {};
  return text;
}

}  // namespace

RegionalSettings ReadUserSettings() {
  // The profile is asked with the system's own default and size; a single blank means that no setting is there.
  constexpr DWORD kBufferSize = 20;
  RegionalSettings settings;
  char shortDate[kBufferSize + 1] = {};
  const DWORD length = GetProfileStringA("intl", "sShortDate", " ", shortDate, kBufferSize);
  settings.shortDate.assign(shortDate, length);
  if (settings.shortDate.find_first_not_of(' ') == std::string::npos) settings.shortDate.clear();

  char decimal[8] = {};
  if (GetProfileStringA("intl", "sDecimal", "", decimal, sizeof decimal) == 1) {
    settings.decimalPoint = decimal[0];
  } else if (GetLocaleInfoA(LOCALE_USER_DEFAULT, LOCALE_SDECIMAL, decimal, sizeof decimal) == 2) {
    settings.decimalPoint = decimal[0];
  }
  for (const LCTYPE first : {LCTYPE{LOCALE_SMONTHNAME1}, LCTYPE{LOCALE_SABBREVMONTHNAME1}}) {
    for (LCTYPE month = first; month < first + 12; ++month) settings.monthNames.push_back(LocaleText(month));
  }
  return settings;
}

}  // namespace tamlo::runtime
