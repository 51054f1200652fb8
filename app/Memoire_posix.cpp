// What the tool gives back to the heap is wiped first: passwords pass through texts of the toolkit, of the driver manager and of drivers,
// which nobody else can wipe. For the program alone, not for its libraries' other users. A sanitizer has a heap of its own.

#include <cstdlib>

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

#include <malloc.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

namespace {

/// Larger blocks are pages of files and images: no password stands there, and wiping them would cost time.
constexpr std::size_t kLargest = 64U * 1024U;

}  // namespace

extern "C" {

void __libc_free(void* block);
void* __libc_realloc(void* block, std::size_t size);

void free(void* block) noexcept {
  if (block == nullptr) return;
  const int error = errno;
  if (const std::size_t size = ::malloc_usable_size(block); size <= kLargest) ::explicit_bzero(block, size);
  __libc_free(block);
  errno = error;
}

void* realloc(void* block, std::size_t size) noexcept {
  const std::size_t before = block == nullptr ? 0 : ::malloc_usable_size(block);
  if (block == nullptr || size == 0 || before > kLargest) return __libc_realloc(block, size);
  void* const moved = std::malloc(size);
  if (moved == nullptr) return nullptr;
  std::memcpy(moved, block, std::min(before, size));
  free(block);
  return moved;
}
}

#endif
