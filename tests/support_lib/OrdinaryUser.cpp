#include "tests/support_lib/OrdinaryUser.h"

#ifndef _WIN32
#include <unistd.h>

#include <cerrno>
#include <system_error>
#endif

namespace tamlo::tests {

#ifdef _WIN32

OrdinaryUser::OrdinaryUser(const std::filesystem::path&) {}
OrdinaryUser::~OrdinaryUser() = default;

#else

namespace {

constexpr uid_t kNobody = 65534;

void Check(int result, const char* what) {
  if (result != 0) throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

OrdinaryUser::OrdinaryUser(const std::filesystem::path& folder) {
  if (getuid() != 0) return;
  Check(chown(folder.c_str(), kNobody, kNobody), "chown");
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    Check(chown(entry.path().c_str(), kNobody, kNobody), "chown");
  }
  Check(seteuid(kNobody), "seteuid");
}

OrdinaryUser::~OrdinaryUser() {
  if (getuid() == 0) (void)!seteuid(0);
}

#endif

}  // namespace tamlo::tests
