#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace tamlo::tests {

/// The seed of a test with random data: what the environment variable TAMLO_GRAINE says, otherwise one of the system's. Printed, so that
/// also a run that dies can be repeated.
inline std::uint32_t Seed() {
  const char* given = std::getenv("TAMLO_GRAINE");
  const std::uint32_t seed = given != nullptr ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10)) : std::random_device{}();
  std::printf("seed %lu (TAMLO_GRAINE sets it)\n", static_cast<unsigned long>(seed));
  std::fflush(stdout);
  return seed;
}

}  // namespace tamlo::tests
