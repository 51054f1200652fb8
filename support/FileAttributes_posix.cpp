#include "support/FileAttributes.h"

namespace tamlo::support {

bool IsHiddenOrSystem(const std::filesystem::path& path) { return path.filename().native().starts_with('.'); }

}  // namespace tamlo::support
