// The game's real process: started by Steam's, started directly, or found among all others.

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/e2e/full_run.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;
using stage::textOf;

/// Full runs without server and timer whose game stays until it is ended.
class Launch : public FullRunTest {
 protected:
  Launch() : FullRunTest("launch") { machine.setGame(unfinished()); }

  [[nodiscard]] stage::GameScript unfinished() const {
    return staysAfterRun(machine, stage::unfinishedRun().text());
  }
  stage::RunResult playFromTheStart() {
    machine.writeIni(settings);
    return runUntilGameEnds(machine);
  }
  /// What is logged from the launch to the end of the game.
  static Lines launch(const stage::RunResult& run) {
    const Lines log = maskedLog(run);
    const auto from = std::find(log.begin(), log.end(), kLaunching);
    const auto to = std::find(from, log.end(), kClosed);
    return Lines(from, to == log.end() ? to : to + 1);
  }
  [[nodiscard]] Lines commandLines(std::string_view who) const {
    Lines lines;
    for (const stage::Event& event : machine.timeline().events(who, "start")) {
      lines.push_back(event.text);
    }
    return lines;
  }
};

// Steam's own process has ended with an error before the game is there, and the game ends with
// one too: no matter.
TEST_F(Launch, steamStartsTheGame) {
  machine.installSteam({.delayMs = 1200, .exitCode = 9});
  stage::GameScript script = unfinished();
  script.exitCode = 3;
  machine.setGame(script);
  set("steam", textOf(machine.steamExe()));
  const stage::RunResult run = playFromTheStart();
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(launch(run), (Lines{kLaunching, kSteamStarted, kWaiting, kExited, kClosed}));
  EXPECT_EQ(commandLines("steam"),
            Lines{"\"" + textOf(machine.steamExe()) + "\" -applaunch 1943950"});
  EXPECT_EQ(commandLines("game").size(), 1U);
}

TEST_F(Launch, anyProcessOfTheGamesNameIsTheGame) {
  machine.installSteam();
  set("steam", textOf(machine.steamExe()));
  const auto startAs = [&](const fs::path& program) {
    fs::create_directories(program.parent_path());
    fs::copy_file(machine.gameExe(), program);
    fs::copy_file(machine.gameFolder() / "Backrooms-Win64-Shipping.json",
                  fs::path(program).replace_extension(".json"));
    return stage::startDetached(program, {});
  };
  (void)startAs(machine.root() / "Backrooms-Win64-Shipping2.exe");
  (void)startAs(machine.root() / "xBackrooms-Win64-Shipping.exe");
  const std::uint32_t id = startAs(machine.root() / "other" / "BACKROOMS-win64-SHIPPING.exe");
  const stage::RunResult run = playFromTheStart();
  EXPECT_EQ(launch(run), (Lines{kLaunching, kWaiting, kExited, kClosed}));
  EXPECT_TRUE(run.hasLogLine("game running (pid " + std::to_string(id) + "), waiting for exit..."));
  EXPECT_EQ(commandLines("steam"), Lines{});
}

TEST_F(Launch, withoutSteamTheGameIsStartedInItsFolder) {
  stage::GameScript script = unfinished();
  script.writes.push_back({"where.txt", "here"});
  machine.setGame(script);
  set("steam", textOf(machine.root() / "no.exe"));
  EXPECT_EQ(launch(playFromTheStart()),
            (Lines{kLaunching, kTryingDirect, kDirect, kWaiting, kExited, kClosed}));
  EXPECT_EQ(commandLines("game"), Lines{"\"" + textOf(machine.gameExe()) + "\""});
  EXPECT_EQ(stage::readFile(machine.gameFolder() / "where.txt"), "here");
}

}  // namespace
}  // namespace e2e
