// One of several programs that write into one file at once, on whatever system it was built for.
//
// Usage: jet_turn_taker FILE WHO SEED REPORT STOP     (see Turns.h)

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "tests/jet/sharing/Turns.h"

int main(int count, char** arguments) {
  if (count != 6) return 2;
  try {
    jet::tests::TakeTurns(
        {arguments[1], arguments[2], static_cast<std::uint32_t>(std::strtoul(arguments[3], nullptr, 10)), arguments[4], arguments[5]});
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", arguments[2], error.what());
    return 1;
  }
  return 0;
}
