#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string_view>

namespace tamlo::tests {

/// The seed of a test with random data: the number that the environment variable TAMLO_GRAINE holds, or one of the system's where it says
/// "hasard" (as scripts/test --long does); otherwise always the same, so that a change is judged by itself. Printed, so that also a run that
/// dies can be repeated.
inline std::uint32_t Seed() {
  const char* given = std::getenv("TAMLO_GRAINE");
  std::uint32_t seed = 20031021;
  if (given != nullptr)
    seed = given == std::string_view("hasard") ? std::random_device{}() : static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10));
  std::printf("seed %lu (TAMLO_GRAINE sets it)\n", static_cast<unsigned long>(seed));
  std::fflush(stdout);
  return seed;
}

}  // namespace tamlo::tests
