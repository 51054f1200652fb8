// Every sample file to each engine.
#include <gtest/gtest.h>

#include "tests/move/Samples.h"

namespace tamlo::tests {
namespace {

class EverySample : public testing::TestWithParam<const char*> {};

TEST_P(EverySample, ArrivesCellByCell) {
  if (SampleFiles().empty()) GTEST_SKIP() << "JET_SAMPLES names no folder with Access files";
  const auto engine = EngineCalled(GetParam());
  Compared compared;
  for (const auto& sample : SampleFiles()) CopyAndCompare(*engine, sample, compared);
  EXPECT_GT(compared.cells, 3000U);
  EXPECT_EQ(compared.different, 0U) << compared.first;
}

INSTANTIATE_TEST_SUITE_P(Engines, EverySample, testing::Values("sqlite", "mariadb", "postgresql"));

}  // namespace
}  // namespace tamlo::tests
