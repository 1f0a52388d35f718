#pragma once

#include <gtest/gtest.h>

#include <windows.h>

#include <string>
#include <string_view>
#include <utility>

#include "rehearsal/stage/stage.h"
#include "tests/e2e/support.h"

/// What the tests of the full run's stages share: short full runs, and their whole logs put
/// together from the parts that a test is about.
namespace e2e {

inline constexpr char kChooser[] =
    "difficulty chooser skipped (in-game difficulty is authoritative)";
inline constexpr char kNoTimer[] = "livesplit probe failed (server not started?)";

/// The lines of a full run that differ from test to test; the others are always the same.
/// By default: a run without server, timer, package and receipt.
struct RunLog {
  Lines token = {};    ///< after the start line
  Lines install = {};
  std::string player = "steam persona not found, using ini player: runner";
  Lines early = {};    ///< LiveSplit, before the line about the chooser
  Lines timer = {};    ///< LiveSplit, after that line
  Lines weekly = {"no server configured, using cached data"};
  Lines flush = {};
  Lines receipt = {};  ///< empty: none was found
  Lines upload = {kNoTimer, "no server configured, upload skipped"};
  Lines result = {"stage: run not finished, nothing queued", "stage: upload done (ok=0)",
                  "result card: kind=none ok=0"};
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

/// A file that some program holds open until this goes out of scope: others may do with it
/// what `share` (FILE_SHARE_READ, ...) says.
class HeldFile {
 public:
  HeldFile(const std::filesystem::path& file, DWORD share)
      : handle_(CreateFileW(file.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0,
                            nullptr)) {
    EXPECT_NE(handle_, INVALID_HANDLE_VALUE);
  }
  ~HeldFile() { CloseHandle(handle_); }
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;

 private:
  HANDLE handle_;
};

/// A launcher that finds the game already running, which ends as soon as the launcher waits
/// for it: every stage of a full run in about a second. No timer, no Steam, no receipt; the
/// recording card shows the result.
class FullRunTest : public ::testing::Test {
 protected:
  explicit FullRunTest(std::string_view stageName = "run") : machine(stageName) {
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
                   {"timer overlay: 0"},
                   parts.flush,
                   {"stage: launching game", "game running (pid #), waiting for exit...",
                    "game exited", "stage: game closed (launch result=1), archiving receipt"},
                   parts.receipt.empty() ? noReceipt : parts.receipt,
                   {"stage: uploading"},
                   parts.upload,
                   parts.result,
                   {kDoneLine}});
  }

  /// The lines of a receipt's archive.
  [[nodiscard]] Lines archived(const std::string& summary) const {
    return {"receipt archived: " + stage::textOf(machine.data()) +
                "\\receipts\\receipt_YYYYMMDD_hhmmss.json",
            "receipt summary: " + summary};
  }

  /// The bodies of every request of this target, in their order.
  static Lines bodies(const stage::RaceServer& server, std::string_view target) {
    Lines all;
    for (const stage::Request& request : server.requests("POST", target)) {
      all.push_back(request.body);
    }
    return all;
  }

  stage::Stage machine;
  stage::Ini settings;
};

/// The upload's lines when there is a server but nothing to send.
inline const Lines kNothingToUpload = {kNoTimer, "no receipt to upload",
                                       "skip reported: no receipt file"};

/// The archive's summary of stage::finishedRun(): the first "ending" in quotes of such a
/// receipt is the value of its status.
inline constexpr char kFinishedSummary[] =
    "ending=[{\"i\":0 total=754.560 status=\"ending\"";

}  // namespace e2e
