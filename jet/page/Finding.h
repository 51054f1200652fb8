#pragma once

#include <cstdint>
#include <string>

namespace jet {

/// One thing that the structural checker found wrong.
struct Finding {
  std::uint32_t page = 0;
  std::uint32_t offset = 0;
  std::string text;
};

}  // namespace jet
