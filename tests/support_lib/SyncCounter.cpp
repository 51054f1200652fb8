#include "tests/support_lib/SyncCounter.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>

namespace {

std::atomic<std::int64_t> syncs = 0;

}  // namespace

/// Stands before the system library's own function of that name.
extern "C" int fsync(int descriptor) {
  ++syncs;
  return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

namespace tamlo::tests {

std::int64_t SyncsSoFar() noexcept { return syncs; }

}  // namespace tamlo::tests
