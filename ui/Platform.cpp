#include "ui/Platform.h"

#include <utility>

#include "runtime/Error.h"

namespace tamlo::ui {

namespace {

Platform*& InForce() noexcept {
  static Platform* platform = nullptr;
  return platform;
}

}  // namespace

Platform* PlatformInForce() noexcept { return InForce(); }

Platform& CurrentPlatform() {
  if (InForce() == nullptr) throw runtime::Error(runtime::kObjectNotSet);
  return *InForce();
}

Platform* UsePlatform(Platform* platform) noexcept { return std::exchange(InForce(), platform); }

}  // namespace tamlo::ui
