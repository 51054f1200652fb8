#pragma once

#include <memory>

class QTranslator;

namespace tamlo::ui::qt {

/// The few texts of the toolkit's own that a form can show (the menu of a text box), in French whatever the user's
/// language.
[[nodiscard]] std::unique_ptr<QTranslator> FrenchTexts();

}  // namespace tamlo::ui::qt
