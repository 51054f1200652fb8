#pragma once

#include <cstdint>
#include <memory>

#include "ui/Platform.h"

namespace tamlo::ui {
class EventBorder;
}

namespace tamlo::ui::qt {

/// A hidden form whose client area has that size in twips. The border must outlive it.
[[nodiscard]] std::unique_ptr<Form> CreateForm(EventBorder& border, std::int16_t clientWidth, std::int16_t clientHeight);

}  // namespace tamlo::ui::qt
