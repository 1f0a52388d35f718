// Calls of a run fail, one or two in each, in the ways in which Windows can fail them.

#include <gtest/gtest.h>

#include "tests/run/faults.h"
#include "tests/run/invariants.h"
#include "tests/run/world.h"

namespace worlds {
namespace {

// Every fault, when time is no matter: scripts/soak faults and scripts/soak pairs. Here every
// seventh fault of each world, and some pairs.
constexpr std::size_t kStride = 7;
constexpr std::size_t kPairs = 15;

class Faults : public ::testing::TestWithParam<World> {};

TEST_P(Faults, runKeepsToTheInvariantsWithoutAny) {
  Scene scene(GetParam());
  EXPECT_EQ(violations(scene, play(scene)), std::vector<std::string>());
}

TEST_P(Faults, oneCallFails) {
  const FaultReport report = playEveryFault(GetParam(), kStride);
  EXPECT_GT(report.runs, 0U);
  EXPECT_EQ(report.broken, std::vector<std::string>());
}

TEST_P(Faults, twoCallsFail) {
  const FaultReport report = playPairs(GetParam(), kPairs);
  EXPECT_GT(report.runs, 0U);
  EXPECT_EQ(report.broken, std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(Every, Faults, ::testing::ValuesIn(namedWorlds()),
                         [](const auto& world) { return testName(world.param); });

}  // namespace
}  // namespace worlds
