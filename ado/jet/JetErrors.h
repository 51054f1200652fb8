#pragma once

#include <string>
#include <utility>

#include "jet/Error.h"
#include "runtime/Error.h"

namespace tamlo::ado::jetprovider {

/// The engine's error as the callers of a provider know it: number, French description with the engine's own text behind it.
/// opening: it came while a database was opened (a missing file is then no missing item).
[[nodiscard]] runtime::Error Translated(const jet::Error& error, const std::string& sent = {}, bool opening = false);

/// Runs a piece of work on the engine; what it raises comes out as runtime::Error.
template <typename Work>
decltype(auto) OnEngine(Work&& work, const std::string& sent = {}) {
  try {
    return std::forward<Work>(work)();
  } catch (const jet::Error& error) {
    throw Translated(error, sent);
  }
}

}  // namespace tamlo::ado::jetprovider
