// The run is ended at its calls, and the player goes on in every way. What is asked of each
// start stands in invariants.h; what becomes of the runs is the table of docs/reliability.md.

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/run/stops.h"

namespace worlds {
namespace {

/// Every stop, when time is no matter: scripts/soak stops. Here every 17th of each world,
/// which meets every part of the run in one world or another.
constexpr std::size_t kStride = 17;

class Stops : public ::testing::TestWithParam<World> {
 protected:
  static StopReport playAll(Next next) {
    const StopReport report = playEveryStop(GetParam(), next, kStride);
    EXPECT_GT(report.stops, 0U);
    EXPECT_EQ(report.broken, std::vector<std::string>());
    // A run whose acceptance was never heard of is queued, and sent from there and from its
    // receipt.
    if (GetParam().race != Race::breaksOff) {
      EXPECT_EQ(report.more, 0U);
    }
    return report;
  }
};

TEST_P(Stops, nextStartDeliversWhatIsThere) {
  const StopReport report = playAll(Next::nothingNew);
  EXPECT_EQ(report.lost + report.copied, 0U);
  if (!GetParam().server.empty()) {
    EXPECT_EQ(report.kept, 0U);
  }
}

TEST_P(Stops, nextStartWithoutServerLosesNothing) {
  const StopReport report = playAll(Next::offline);
  EXPECT_EQ(report.lost + report.copied, 0U);
}

TEST_P(Stops, anotherRunLosesOnlyWhatTheGameOverwrites) { (void)playAll(Next::anotherRun); }

TEST_P(Stops, uploadDeliversTheReceipt) {
  const StopReport report = playAll(Next::upload);
  EXPECT_EQ(report.lost + report.copied, 0U);
}

INSTANTIATE_TEST_SUITE_P(Every, Stops, ::testing::ValuesIn(namedWorlds()),
                         [](const auto& world) { return testName(world.param); });

}  // namespace
}  // namespace worlds
