// What the tool gives back to the heap is wiped first: passwords pass through many texts. For the program alone, not for its libraries'
// other users.

#include <malloc.h>

#include <cstdlib>
#include <new>

#include "runtime/Secret.h"

void* operator new(std::size_t size) {
  for (;;) {
    if (void* const block = std::malloc(size == 0 ? 1 : size)) return block;
    const std::new_handler handler = std::get_new_handler();
    if (handler == nullptr) throw std::bad_alloc();
    handler();
  }
}

void operator delete(void* block) noexcept {
  if (block == nullptr) return;
  // Larger blocks are pages of files: no password stands there, and wiping them would cost time.
  constexpr std::size_t kLargest = 64U * 1024U;
  if (const std::size_t size = _msize(block); size <= kLargest) tamlo::runtime::WipeBytes(block, size);
  std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept { operator delete(block); }
