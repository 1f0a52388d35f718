// What no test noticed when it was broken on purpose. Each of these fails without the one
// behaviour that its name states.

#include <gtest/gtest.h>

#include <algorithm>

#include "rehearsal/stage/samples.h"
#include "tests/run/invariants.h"
#include "tests/run/world.h"

namespace worlds {
namespace {

bool has(const std::vector<std::string>& lines, const std::string& line) {
  return std::find(lines.begin(), lines.end(), line) != lines.end();
}

/// Where the first of the recorded calls stands that begins so; their number without one.
std::size_t placeOf(const std::vector<std::string>& record, const std::string& start) {
  const auto hit = std::find_if(record.begin(), record.end(), [&start](const auto& line) {
    return line.starts_with(start);
  });
  return static_cast<std::size_t>(hit - record.begin());
}

/// The world played once, its calls recorded.
struct Played {
  explicit Played(const World& world) : scene(world) {
    scene.machine.recording = true;
    play = worlds::play(scene);
    EXPECT_EQ(violations(scene, play), std::vector<std::string>());
  }
  [[nodiscard]] const std::vector<std::string>& record() const { return scene.machine.record; }
  Scene scene;
  Play play;
};

TEST(BlindSpots, copiesAreNamedByTheLocalClock) {
  World world = namedWorld("offline");
  world.zoneMinutes = 600;  // 15:00:07 UTC is the next day here
  const Played played(world);
  EXPECT_NE(played.scene.dataFile("receipts\\receipt_20261122_010007.json"), std::nullopt);
  EXPECT_NE(played.scene.dataFile("pending\\p_20261122_010009.json"), std::nullopt);
}

TEST(BlindSpots, timerIsNotAskedForItsPhaseBeforeTheReceiptsShapeIsChecked) {
  for (const Plays plays : {Plays::garbage, Plays::unfinished, Plays::nothing}) {
    World world;
    world.plays = {plays};
    const Played played(world);
    const std::vector<std::string>& record = played.record();
    const std::size_t uploading = placeOf(record, "logLine [stage: uploading]");
    ASSERT_LT(uploading, record.size());
    const std::vector<std::string> rest(record.begin() + static_cast<std::ptrdiff_t>(uploading),
                                        record.end());
    EXPECT_EQ(placeOf(rest, "livesplitExchange [getcurrenttimerphase"), rest.size());
  }
}

TEST(BlindSpots, onlyTheFirstDifficultyOfTheReceiptCounts) {
  stage::Receipt run = stage::finishedRun();
  run.difficulty = "easy\",\"second\":{\"difficulty\":\"nightmare\"},\"end\":\"";
  World world;
  world.result = run.text();
  EXPECT_TRUE(has(Played(world).scene.log(), "difficulty from game (receipt): easy"));

  run.difficulty = "hard\",\"second\":{\"difficulty\":\"nightmare\"},\"end\":\"";
  world.result = run.text();
  const Played unknown(world);
  for (const std::string& line : unknown.scene.log()) {
    EXPECT_FALSE(line.starts_with("difficulty from game")) << line;
  }
}

TEST(BlindSpots, gameMayTakeTwoMinutesAfterItsDirectStart) {
  World world;
  world.starts = Starts::atLast;
  const Played played(world);
  EXPECT_TRUE(has(played.scene.log(), "launched game directly (fallback)"));
  EXPECT_EQ(played.scene.accepted(kRun), 1);
}

TEST(BlindSpots, timerIsCheckedAgainstTheLastSplitAndNotTheEnding) {
  stage::Receipt run = stage::finishedRun();
  run.splits.push_back({"Credits", "800.000"});
  World world;
  world.result = run.text();
  const Played played(world);
  EXPECT_TRUE(has(played.scene.log(),
                  "ending inferred from splits: main (map=ENDING:main t=754.56)"));
  EXPECT_TRUE(has(played.scene.log(),
                  "cross-check: livesplit=754.60 lastSplit=800.00 diff=-45.40"));
  EXPECT_TRUE(has(played.scene.log(), "WARN: livesplit stopped before last split (likely early "
                                      "stop, review manually)"));
}

TEST(BlindSpots, siteIsReadFromTheFilesBytesAndSettingsAsText) {
  World world;
  world.iniTail = "\x1A\r\nsite=https://late.example\r\nplayer=late\r\n";
  world.steam = Steam::noAccount;
  const Played played(world);
  EXPECT_EQ(played.scene.machine.browser,
            std::vector<std::string>{"https://late.example/profile?token=kq7-4821"});
  EXPECT_TRUE(has(played.scene.log(), "steam persona not found, using ini player: runner"));
}

TEST(BlindSpots, modResultIsDeletedBeforeTheReceipt) {
  const Played played(namedWorld("mod result"));
  const std::size_t mod =
      placeOf(played.record(), "deleteFile [C:\\kov\\app\\..\\data\\kovw_result.json]");
  const std::size_t receipt = placeOf(played.record(), "deleteFile [C:\\kov\\receipt.json]");
  EXPECT_LT(mod, receipt);
  EXPECT_LT(receipt, played.record().size());
}

TEST(BlindSpots, onlyTheWholePhaseSaysThatTheTimerHasEnded) {
  stage::Receipt run = stage::finishedRun();
  run.splits.back().map = "Level 283";
  for (const char* phase : {"Ended", "Ended\n", "Ending", "Ended soon", "NotEnded", "ended"}) {
    World world = namedWorld("mod result");
    world.result = run.text();
    world.timerPhase = phase;
    const Played played(world);
    const bool ended = std::string(phase) == "Ended" || std::string(phase) == "Ended\n";
    EXPECT_EQ(has(played.scene.log(),
                  "run not finished, upload skipped (no ending map in splits)"),
              !ended)
        << phase;
  }
}

TEST(BlindSpots, overlayFlagIsWrittenAsTheSettingHasItFirst) {
  for (const bool wanted : {true, false}) {
    World world;
    world.timerFlag = wanted;
    const Played played(world);
    std::vector<std::string> writes;
    for (const std::string& call : played.record()) {
      if (call.starts_with("writeWholeFile [C:\\kov\\app\\..\\data\\timer.enabled]")) {
        writes.push_back(call.substr(call.find("] [") + 2));
      }
    }
    EXPECT_EQ(writes, (std::vector<std::string>{wanted ? "[1] -> yes" : "[0] -> yes",
                                                "[0] -> yes"}));
  }
}

}  // namespace
}  // namespace worlds
