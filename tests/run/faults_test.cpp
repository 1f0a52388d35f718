// Every call of a run fails once, in every way in which Windows can fail it.

#include <gtest/gtest.h>

#include "tests/run/faults.h"
#include "tests/run/invariants.h"
#include "tests/run/world.h"

namespace worlds {
namespace {

class Faults : public ::testing::TestWithParam<World> {};

TEST_P(Faults, runKeepsToTheInvariantsWithoutAny) {
  Scene scene(GetParam());
  EXPECT_EQ(violations(scene, play(scene)), std::vector<std::string>());
}

TEST_P(Faults, everyCallFailsOnceInEveryWay) {
  const FaultReport report = playEveryFault(GetParam());
  RecordProperty("runs", static_cast<int>(report.runs));
  EXPECT_GT(report.runs, 0U);
  EXPECT_EQ(report.broken, std::vector<std::string>());
}

TEST_P(Faults, twoCallsFail) {
  const FaultReport report = playPairs(GetParam(), 400);
  RecordProperty("runs", static_cast<int>(report.runs));
  EXPECT_EQ(report.broken, std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(Every, Faults, ::testing::ValuesIn(namedWorlds()),
                         [](const auto& world) { return testName(world.param); });

}  // namespace
}  // namespace worlds
