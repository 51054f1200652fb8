#pragma once

#include <memory>

#include "ui/Platform.h"

namespace tamlo::ui::win32 {

/// The platform on native Windows controls. One per process, made by the main file and destroyed after its forms. Needs
/// Windows 10 (1607) or later, and the program's manifest to ask for common controls 6 and per-monitor resolution.
[[nodiscard]] std::unique_ptr<Platform> CreatePlatform();

}  // namespace tamlo::ui::win32
