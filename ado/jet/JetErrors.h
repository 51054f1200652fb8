#pragma once

#include <string>
#include <utility>

#include "jet/value/Error.h"
#include "runtime/Error.h"

namespace tamlo::ado::jetprovider {

/// The engine's error as the callers of a provider know it: number, French description with the engine's own text behind it.
/// opening: it came while a database was opened (a missing file is then no missing item).
[[nodiscard]] runtime::Error Translated(const jet::Error& error, const std::string& sent = {}, bool opening = false);

/// The same of a statement, whose own faults have numbers of their own: -2147217900 for one that does not read, -2147217865 for a table that is
/// not there.
[[nodiscard]] runtime::Error TranslatedOfStatement(const jet::Error& error, const std::string& sent);

/// Runs a piece of work on the engine; what it raises comes out as runtime::Error.
template <typename Work>
decltype(auto) OnEngine(Work&& work, const std::string& sent = {}) {
  try {
    return std::forward<Work>(work)();
  } catch (const jet::Error& error) {
    throw Translated(error, sent);
  }
}

/// True when a row that could not be written is itself the reason (a value, a key, a rule of the table), so that another row may be written;
/// false for a lock, a disk, a file that is damaged or only for reading.
[[nodiscard]] bool IsOfTheRow(const runtime::Error& error);

}  // namespace tamlo::ado::jetprovider
