#include "tests/support_lib/TemporaryFolder.h"

#include <random>
#include <stdexcept>
#include <system_error>

namespace tamlo::tests {

TemporaryFolder::TemporaryFolder() {
  std::random_device device;
  for (int attempt = 0; attempt < 100; ++attempt) {
    auto candidate = std::filesystem::temp_directory_path() / ("tamlo-test-" + std::to_string(device()) + "-" + std::to_string(device()));
    if (std::filesystem::create_directory(candidate)) {
      path_ = std::move(candidate);
      return;
    }
  }
  throw std::runtime_error("no temporary folder could be made");
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace tamlo::tests
