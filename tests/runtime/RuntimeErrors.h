#pragma once

#include <gtest/gtest.h>

#include "runtime/Error.h"

namespace tamlo::runtime {

/// The number of the error that a call raises; 0 when it raises none.
template <typename Call>
std::int32_t RaisedNumber(Call&& call) {
  const PendingError pending = IgnoringErrors(std::forward<Call>(call));
  if (pending) {
    EXPECT_EQ(pending.description, Describe(pending.number));
  }
  return pending.number;
}

}  // namespace tamlo::runtime
