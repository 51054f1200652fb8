#pragma once

#include <cstdint>
#include <memory>

#include "ui/Platform.h"

namespace tamlo::ui {
class EventBorder;
}

namespace tamlo::ui::win32 {

/// What the platform and its forms share: whether the wait pointer is on.
struct PointerState {
  bool hourglass = false;
};

/// A hidden form whose client area has that size in twips. Border and pointer state must outlive it.
[[nodiscard]] std::unique_ptr<Form> CreateForm(EventBorder& border, const PointerState& pointer, std::int16_t clientWidth,
                                               std::int16_t clientHeight);

/// Lets the open forms use a message of the message loop (Tab, Enter, Esc, accelerators); message points to a native
/// MSG. True when one did.
[[nodiscard]] bool FormsTake(void* message) noexcept;

}  // namespace tamlo::ui::win32
