#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>

#include "rehearsal/stage/stage.h"
#include "tests/e2e/support.h"

/// The one fixture of the end-to-end tests: a machine, a race server, the settings, and whole logs
/// put together from the parts that a test is about.
namespace e2e {

/// The lines of a full run that differ from test to test; the others are always the same.
/// By default: a run without server, timer, package and receipt.
struct RunLog {
  Lines token = {};  ///< after the start line
  Lines install = {};
  std::string player = std::string(kPlayerOfTheSettings) + "runner";
  Lines early = {};  ///< LiveSplit, before the line about the chooser
  Lines timer = {};  ///< LiveSplit, after that line
  Lines weekly = {kCachedWeek};
  Lines flush = {};
  Lines receipt = {};  ///< empty: none was found
  Lines upload = {kNoProbe, kNoUpload};
  Lines result = {kNotQueued, kNotDelivered, kCardNone};
};

/// The lines of six weekly files that the stage's server sent.
inline Lines weeklyUpdated(const Lines& seed = {"weekly seed = 20261147"}) {
  return joined({{"week.json updated from server"},
                 seed,
                 {"leaderboard.json updated from server", "board_data.txt updated from server",
                  "board_en.txt updated from server", "board.txt updated from server",
                  "board.tsv updated from server"}});
}

/// The lines of six weekly files that could not be fetched.
inline Lines weeklyUnreachable(const Lines& seed = {}) {
  return joined({{"week.json: server unreachable, using cached copy"},
                 seed,
                 {"leaderboard.json: server unreachable, using cached copy",
                  "board_data.txt: server unreachable, using cached copy",
                  "board_en.txt: server unreachable, using cached copy",
                  "board.txt: server unreachable, using cached copy",
                  "board.tsv: server unreachable, using cached copy"}});
}

/// The upload's lines of stage::finishedRun() without a timer, up to the server's reply.
inline Lines judged() { return {kNoProbe, kNoPhase, kEndingMain, kReceiptTime, kNormal}; }
inline Lines judged(const std::string& reply) {
  return joined({judged(), {"upload response: " + reply}});
}

/// The whole log of an --upload run: these lines between those of the mode.
inline Lines uploadLog(const Lines& lines, bool accepted) {
  return joined({{kStartLine, kUploadMode}, lines, {accepted ? kUploadModeOk : kUploadModeFailed}});
}

/// The body that a receipt with a difficulty of its own is submitted in, without Steam.
inline std::string payload(std::string_view player, const std::string& receipt) {
  return "{\"player\":\"" + std::string(player) + "\"," + receipt.substr(1);
}

/// A machine without Steam and timer, and a race server that accepts runs and hands out no login
/// code, which the settings do not name. In a full run the launcher finds the game already running,
/// which ends as soon as the launcher waits for it: every stage in about a second. The recording
/// card shows the result.
class FullRunTest : public ::testing::Test {
 protected:
  explicit FullRunTest(std::string_view stageName = "run") : machine(stageName) {
    server.answer("POST", "/submit", stage::Reply::json(kAccepted));
    machine.installGame({.waitMs = 0, .untilEnded = true});
    machine.installCard();
    settings = {{"receipt", stage::textOf(machine.receipt())},
                {"data", stage::textOf(machine.data())},
                {"steam", stage::textOf(machine.root())},  // exists, so no search for it
                {"game", stage::textOf(machine.gameExe())},
                {"player", "runner"}};
  }

  /// Replaces the value of a setting or adds it.
  void set(const std::string& key, const std::string& value) {
    for (auto& setting : settings) {
      if (setting.first == key) {
        setting.second = value;
        return;
      }
    }
    settings.emplace_back(key, value);
  }
  /// The settings name the race server.
  void withServer() { set("server", server.url()); }

  stage::LauncherRun start(stage::RunOptions options = {}) {
    machine.writeIni(settings);
    machine.setGame({.waitMs = 0, .untilEnded = true});
    machine.startGame();
    return machine.startLauncher({}, std::move(options));
  }

  stage::RunResult finish(stage::LauncherRun& run) {
    if (run.waitForLog("waiting for exit...")) machine.endGame();
    stage::RunResult result = run.wait();
    EXPECT_FALSE(result.hang);
    EXPECT_EQ(result.exitCode, 0U);
    return result;
  }

  stage::RunResult play(stage::RunOptions options = {}) {
    stage::LauncherRun run = start(std::move(options));
    return finish(run);
  }

  /// Runs `launcher.exe --upload` with the settings so far.
  stage::RunResult upload() {
    machine.writeIni(settings);
    stage::RunResult run = machine.runLauncher("--upload", {.limitMs = 30000});
    EXPECT_FALSE(run.hang);
    return run;
  }

  /// The whole log of a run, process ids and time stamps masked.
  [[nodiscard]] Lines wholeLog(const RunLog& parts) const {
    const Lines noReceipt = {"no receipt file found at " + stage::textOf(machine.receipt())};
    return joined({{kStartLine},
                   parts.token,
                   parts.install,
                   {parts.player},
                   parts.early,
                   {kChooser},
                   parts.timer,
                   parts.weekly,
                   {kOverlayOff},
                   parts.flush,
                   {kLaunching, kWaiting, kExited, kClosed},
                   parts.receipt.empty() ? noReceipt : parts.receipt,
                   {kUploading},
                   parts.upload,
                   parts.result,
                   {kDoneLine}});
  }

  /// The lines of a receipt's archive below this data folder (the stage's own).
  static Lines archived(const std::string& summary, const std::string& data) {
    return {"receipt archived: " + data + "\\receipts\\receipt_YYYYMMDD_hhmmss.json",
            "receipt summary: " + summary};
  }
  [[nodiscard]] Lines archived(const std::string& summary) const {
    return archived(summary, stage::textOf(machine.data()));
  }

  /// The last lines of a run that was not delivered: queued in this data folder (the stage's own).
  static Lines queued(const std::string& data) {
    return {kQueueing, "pending saved: " + data + "\\pending\\p_YYYYMMDD_hhmmss.json",
            kNotDelivered, kCardFail};
  }
  [[nodiscard]] Lines queued() const { return queued(stage::textOf(machine.data())); }

  /// The command lines of the cards that were started.
  [[nodiscard]] Lines cards() const {
    Lines all;
    for (const stage::Event& event : machine.timeline().events("card", "start")) {
      all.push_back(event.text);
    }
    return all;
  }

  /// The bodies of every request of this target, in their order.
  static Lines bodies(const stage::RaceServer& server, std::string_view target) {
    Lines all;
    for (const stage::Request& request : server.requests("POST", target)) {
      all.push_back(request.body);
    }
    return all;
  }
  [[nodiscard]] Lines submissions() const { return bodies(server, "/submit"); }

  stage::Stage machine;
  stage::RaceServer server;
  stage::Ini settings;
};

/// Runs of --upload, which need neither Steam nor a game.
class UploadTest : public FullRunTest {
 protected:
  UploadTest() : FullRunTest("up") { withServer(); }
};

}  // namespace e2e
