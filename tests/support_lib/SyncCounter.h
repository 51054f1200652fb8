#pragma once

#include <cstdint>

namespace tamlo::tests {

/// How often this process has asked the system to bring a file or a folder to the disk. A program that links this
/// counts every fsync of its own code; libraries that call the system by themselves are not seen.
[[nodiscard]] std::int64_t SyncsSoFar() noexcept;

}  // namespace tamlo::tests
