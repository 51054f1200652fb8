#include "runtime/RegionalSettings.h"

#include <utility>

namespace tamlo::runtime {

namespace {

const RegionalSettings*& Overriding() {
  static const RegionalSettings* settings = nullptr;
  return settings;
}

}  // namespace

bool RegionalSettings::MonthFirst() const {
  bool quoted = false;
  for (const char letter : shortDate) {
    if (letter == '\'') quoted = !quoted;
    if (quoted) continue;
    if (letter == 'M') return true;
    if (letter == 'd') return false;
  }
  return false;
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
