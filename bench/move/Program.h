#pragma once

#include <string>
#include <vector>

namespace tamlo::bench {

/// How a program ran, from its start to its end.
struct Ran {
  double seconds;
  double processor;  ///< seconds of its own processor time, without that of any server
  long peakKiB;      ///< the most memory that it held
};

/// Runs a program, its standard output thrown away. std::runtime_error when it cannot be started or ends with another status than 0.
Ran Run(const std::vector<std::string>& words);

}  // namespace tamlo::bench
