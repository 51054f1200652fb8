#pragma once

#include <string>

#include "tests/support_lib/TemporaryFolder.h"

namespace tamlo::tests {

/// While it lives, the C library writes and reads numbers as it does in a program that has taken over the settings of a French user: "1,5".
/// The locale is made on the spot, whatever the machine has installed. Throws std::runtime_error where that is not possible.
class FrenchNumbers {
 public:
  FrenchNumbers();
  ~FrenchNumbers();
  FrenchNumbers(const FrenchNumbers&) = delete;
  FrenchNumbers& operator=(const FrenchNumbers&) = delete;

 private:
  TemporaryFolder folder_;
  std::string before_;
};

}  // namespace tamlo::tests
