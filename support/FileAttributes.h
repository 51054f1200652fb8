#pragma once

#include <filesystem>

namespace tamlo::support {

/// True for an entry that the operating system keeps out of ordinary listings: the hidden and system attributes on
/// Windows, a name that starts with "." elsewhere. An entry that cannot be asked counts as hidden.
[[nodiscard]] bool IsHiddenOrSystem(const std::filesystem::path& path);

}  // namespace tamlo::support
