#pragma once

#include <optional>
#include <string>

namespace tamlo::db::kinds {

/// The bytes of a file, or nullopt when it cannot be opened now: missing, not permitted, or held by another process (a sharing lock on
/// Windows; an exclusive flock or record lock elsewhere). The next attempt may succeed.
[[nodiscard]] std::optional<std::string> LitFichierLibre(const std::string& chemin);

}  // namespace tamlo::db::kinds
