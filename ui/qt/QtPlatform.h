#pragma once

#include <memory>

#include "ui/Platform.h"

namespace tamlo::ui::qt {

/// The platform on Qt Widgets. One per process, made by the main file before anything else of this folder and destroyed
/// after its forms. The environment chooses the display as usual (DISPLAY, WAYLAND_DISPLAY, QT_QPA_PLATFORM). Without
/// one that opens, a line on the standard error says so and the process ends here with status 1: the toolkit knows no
/// other way back.
[[nodiscard]] std::unique_ptr<Platform> CreatePlatform();

}  // namespace tamlo::ui::qt
