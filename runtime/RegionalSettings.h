#pragma once

#include <string>
#include <vector>

#include "base/DateText.h"

namespace tamlo::runtime {

/// The user's regional settings, as far as the system reads them.
struct RegionalSettings {
  /// The short date in the operating system's own letters ("dd/MM/yyyy", "M/d/yyyy"); empty when no setting is present.
  std::string shortDate;
  char decimalPoint = '.';
  /// The language's names of the months, whole ones and abbreviated ones, each list from January on; empty when no setting is present.
  std::vector<std::string> monthNames = {};

  /// True when the short date puts the month before the day. Without a setting: day first.
  [[nodiscard]] bool MonthFirst() const;
  /// The order in which the short date puts day, month and year. Without a setting: day first.
  [[nodiscard]] base::DateOrder Order() const;
};

/// The settings in force: those of the environment, read once (LC_TIME and LC_NUMERIC off Windows, the user's profile on Windows),
/// unless an override stands. The C and POSIX locales count as no setting.
[[nodiscard]] const RegionalSettings& UserSettings();

/// Reads the environment anew, whatever override stands.
[[nodiscard]] RegionalSettings ReadUserSettings();

/// Puts other settings in force for as long as it lives (tests, programs with settings of their own). Nested ones restore in order.
class RegionalSettingsOverride {
 public:
  explicit RegionalSettingsOverride(RegionalSettings settings);
  ~RegionalSettingsOverride();
  RegionalSettingsOverride(const RegionalSettingsOverride&) = delete;
  RegionalSettingsOverride& operator=(const RegionalSettingsOverride&) = delete;

 private:
  RegionalSettings settings_;
  const RegionalSettings* previous_;
};

}  // namespace tamlo::runtime
