// The run is ended at its calls, and the player goes on in every way. What is asked of each
// start stands in invariants.h; what becomes of the runs is the table of docs/reliability.md.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "tests/run/invariants.h"
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

// The report says so of each run that had a copy; here of the counts.
TEST_P(Stops, queueDeliversWhatHasACopy) {
  const StopReport report = playAll(Next::queue);
  if (!GetParam().server.empty()) {
    EXPECT_EQ(report.kept, 0U);
  }
  // The mod's file of the first run hides the receipt of the second (docs/limits.md).
  if (GetParam().name != "mod result") {
    EXPECT_EQ(report.copied, 0U);
  }
}

INSTANTIATE_TEST_SUITE_P(Every, Stops, ::testing::ValuesIn(namedWorlds()),
                         [](const auto& world) { return testName(world.param); });

// Every stop of a run, with the server up and away: at which exactly it is lost, and at which it
// is delivered twice.

/// A run that is played whole, to say where its stops lie.
struct WholeRun {
  explicit WholeRun(const World& world) {
    Scene scene(world);
    scene.machine.recording = true;
    (void)play(scene);
    calls = scene.machine.calls;
    record = scene.machine.record;
  }

  /// The first call of this name with this text among its arguments.
  [[nodiscard]] std::size_t at(machine::Call call, std::string_view text) const {
    for (std::size_t i = 0; i < calls.size(); ++i) {
      if (calls[i] == call && record[i].find(text) != std::string::npos) return i;
    }
    ADD_FAILURE() << machine::nameOf(call) << " " << text;
    return 0;
  }

  /// Every stop before and in these calls.
  [[nodiscard]] std::vector<std::string> stops(std::size_t first, std::size_t last) const {
    std::vector<std::string> texts;
    for (std::size_t i = first; i <= last; ++i) {
      texts.push_back(std::to_string(i) + " before " + machine::nameOf(calls[i]));
      if (machine::hasMiddle(calls[i])) {
        texts.push_back(std::to_string(i) + " in " + machine::nameOf(calls[i]));
      }
    }
    return texts;
  }

  std::vector<machine::Call> calls;
  std::vector<std::string> record;
};

using machine::Call;

/// From the moment on at which the game comes without the launcher, until the copy is whole.
std::vector<std::string> stopsWithoutACopy(const WholeRun& run) {
  return run.stops(run.at(Call::startProcess, "steam.exe") + 1,
                   run.at(Call::writeWholeFile, "\\receipts\\"));
}

TEST(QueueAfterEveryStop, acceptedRunIsSentTwiceUntilTheLogSaysSo) {
  const World world = namedWorld("happy");
  const WholeRun whole(world);
  std::vector<std::string> unheard = whole.stops(whole.at(Call::httpPostJson, "/submit"),
                                                 whole.at(Call::logLine, "upload response"));
  unheard.erase(unheard.begin());  // before the submission
  const StopReport report = playEveryStop(world, Next::queue);
  EXPECT_EQ(report.broken, std::vector<std::string>());
  EXPECT_EQ(report.repeatedAt, unheard);
  EXPECT_EQ(report.lostAt, stopsWithoutACopy(whole));
  EXPECT_EQ(report.kept + report.copied + report.more, 0U);
}

TEST(QueueAfterEveryStop, queuedRunIsSentTwiceUntilTheLogSaysSo) {
  for (const char* name : {"offline", "refused"}) {
    const World world = namedWorld(name);
    const WholeRun whole(world);
    const std::size_t line = whole.at(Call::logLine, "pending saved");
    const StopReport report = playEveryStop(world, Next::queue);
    EXPECT_EQ(report.broken, std::vector<std::string>());
    EXPECT_EQ(report.repeatedAt, whole.stops(line, line)) << name;
    EXPECT_EQ(report.lostAt, stopsWithoutACopy(whole)) << name;
    EXPECT_EQ(report.kept + report.copied + report.more, 0U) << name;
  }
}

TEST(QueueAfterEveryStop, companionMayBeEndedToo) {
  for (const char* name : {"happy", "queued"}) {
    const StopReport report = playEveryStopOfTheCompanion(namedWorld(name));
    EXPECT_GT(report.stops, 50U);
    EXPECT_EQ(report.broken, std::vector<std::string>());
    EXPECT_EQ(report.lost + report.copied + report.kept + report.more, 0U) << name;
    std::vector<std::string> calls;  // without their numbers
    for (const std::string& stop : report.repeatedAt) {
      calls.push_back(stop.substr(stop.find(' ') + 1));
    }
    EXPECT_EQ(calls, (std::vector<std::string>{"in httpPostJson", "before deleteFile"})) << name;
  }
}

}  // namespace
}  // namespace worlds
