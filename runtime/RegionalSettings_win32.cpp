#include <windows.h>

#include "runtime/RegionalSettings.h"

namespace tamlo::runtime {

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
  return settings;
}

}  // namespace tamlo::runtime
