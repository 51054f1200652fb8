#include "support/FileAttributes.h"

#include <windows.h>

namespace tamlo::support {

bool IsHiddenOrSystem(const std::filesystem::path& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes == INVALID_FILE_ATTRIBUTES || (attributes & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM)) != 0;
}

}  // namespace tamlo::support
