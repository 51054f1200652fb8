#include "runtime/RegionalSettings.h"

#include <string_view>
#include <utility>

namespace tamlo::runtime {

namespace {

const RegionalSettings*& Overriding() {
  static const RegionalSettings* settings = nullptr;
  return settings;
}

/// The first of these letters that stands for a part of the date; 0 when there is none.
char FirstPart(const std::string& shortDate, std::string_view letters) {
  bool quoted = false;
  for (const char letter : shortDate) {
    if (letter == '\'') quoted = !quoted;
    if (!quoted && letters.find(letter) != std::string_view::npos) return letter;
  }
  return '\0';
}

}  // namespace

bool RegionalSettings::MonthFirst() const { return FirstPart(shortDate, "dM") == 'M'; }

base::DateOrder RegionalSettings::Order() const {
  if (FirstPart(shortDate, "dMy") == 'y') return base::DateOrder::kYearFirst;
  return MonthFirst() ? base::DateOrder::kMonthFirst : base::DateOrder::kDayFirst;
}

const RegionalSettings& UserSettings() {
  if (const RegionalSettings* settings = Overriding()) return *settings;
  static const RegionalSettings ofEnvironment = ReadUserSettings();
  return ofEnvironment;
}

RegionalSettingsOverride::RegionalSettingsOverride(RegionalSettings settings) : settings_(std::move(settings)), previous_(Overriding()) {
  Overriding() = &settings_;
}

RegionalSettingsOverride::~RegionalSettingsOverride() { Overriding() = previous_; }

}  // namespace tamlo::runtime
