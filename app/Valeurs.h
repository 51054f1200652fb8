#pragma once

#include <string>

#include "runtime/Conversions.h"
#include "runtime/Variant.h"

namespace tamlo::app {

/// A field's value as text, a null as the empty one.
[[nodiscard]] inline std::string TexteOuVide(const runtime::Variant& valeur) {
  return valeur.IsNull() ? std::string() : runtime::ToText(valeur);
}

}  // namespace tamlo::app
