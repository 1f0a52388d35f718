#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <optional>

#include "tests/e2e/call_trace.h"
#include "tests/e2e/support.h"

namespace {

using e2e::Lines;
using e2e::maskedLog;
using stage::textOf;

constexpr char kLaunching[] = "stage: launching game";
constexpr char kSteamStarted[] = "steam started with -applaunch 1943950";
constexpr char kTryingDirect[] = "steam launch did not start the game, trying direct exe";
constexpr char kDirect[] = "launched game directly (fallback)";
constexpr char kWaiting[] = "game running (pid #), waiting for exit...";
constexpr char kExited[] = "game exited";
constexpr char kClosed[] = "stage: game closed (launch result=1), archiving receipt";
constexpr char kNotClosed[] = "stage: game closed (launch result=0), archiving receipt";

/// The error of starting a program in this way ourselves; 0 when it starts.
DWORD startError(std::wstring commandLine, const wchar_t* folder = nullptr) {
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION info{};
  if (!CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, folder,
                      &startup, &info)) {
    return GetLastError();
  }
  CloseHandle(info.hThread);
  CloseHandle(info.hProcess);
  return 0;
}

/// Full runs without server and timer whose games stay until they are ended.
class Launch : public testing::Test {
 protected:
  Launch() {
    machine_.installGame(e2e::staysAfterRun(machine_, stage::unfinishedRun().text()));
    machine_.installCard();
  }

  void settings(const std::filesystem::path& steam, const std::filesystem::path& game,
                const stage::Ini& more = {}) {
    settings(textOf(steam), textOf(game), more);
  }
  void settings(const std::string& steam, const std::string& game, const stage::Ini& more = {}) {
    stage::Ini ini = {{"receipt", textOf(machine_.receipt())},
                      {"data", textOf(machine_.data())},
                      {"steam", steam},
                      {"game", game}};
    ini.insert(ini.end(), more.begin(), more.end());
    machine_.writeIni(ini);
  }

  /// What is logged from the launch to the end of the game.
  static Lines launch(const stage::RunResult& run) {
    const Lines log = maskedLog(run);
    const auto from = std::find(log.begin(), log.end(), kLaunching);
    const auto to = std::find_if(from, log.end(), [](const std::string& line) {
      return line.starts_with("stage: game closed");
    });
    return Lines(from, to == log.end() ? to : to + 1);
  }
  stage::RunResult play() { return e2e::runUntilGameEnds(machine_); }

  /// Starts the launcher, starts the game by hand after this line, and plays to the end.
  stage::RunResult playByHandAfter(std::string_view line) {
    stage::LauncherRun run = machine_.startLauncher();
    EXPECT_TRUE(run.waitForLog(line));
    (void)machine_.startGame();
    EXPECT_TRUE(run.waitForLog("waiting for exit..."));
    machine_.endGame();
    return run.wait();
  }
  [[nodiscard]] std::filesystem::path missing() const { return machine_.root() / "no.exe"; }
  /// A file of a program's name that is none.
  [[nodiscard]] std::filesystem::path noProgram() const {
    std::filesystem::path file = machine_.root() / "none.exe";
    stage::writeFile(file, "this is no program\n");
    return file;
  }
  [[nodiscard]] Lines commandLines(std::string_view who) const {
    Lines lines;
    for (const stage::Event& event : machine_.timeline().events(who, "start")) {
      lines.push_back(event.text);
    }
    return lines;
  }

  stage::Stage machine_{"launch"};
};

TEST_F(Launch, steamStartsTheGameWithTheUsualAppId) {
  machine_.installSteam();
  settings(machine_.steamExe(), machine_.gameExe());
  EXPECT_EQ(launch(play()), (Lines{kLaunching, kSteamStarted, kWaiting, kExited, kClosed}));
  EXPECT_EQ(commandLines("steam"),
            (Lines{"\"" + textOf(machine_.steamExe()) + "\" -applaunch 1943950"}));
  EXPECT_EQ(commandLines("game").size(), 1U);
}

TEST_F(Launch, theAppIdOfTheSettingsIsPassedAsItStands) {
  machine_.installSteam();
  settings(machine_.steamExe(), machine_.gameExe(), {{"appid", "480 -novid \"x\""}});
  EXPECT_EQ(launch(play())[1], "steam started with -applaunch 480 -novid \"x\"");
  EXPECT_EQ(commandLines("steam"),
            (Lines{"\"" + textOf(machine_.steamExe()) + "\" -applaunch 480 -novid \"x\""}));
}

TEST_F(Launch, aSlowSteamIsWaitedFor) {
  machine_.installSteam({.delayMs = 1700});
  settings(machine_.steamExe(), machine_.gameExe());
  EXPECT_EQ(launch(play()), (Lines{kLaunching, kSteamStarted, kWaiting, kExited, kClosed}));
}

TEST_F(Launch, steamIsForgottenBeforeTheGameComes) {
  // Steam's own process ends with an error before the game is there: no matter.
  machine_.installSteam({.delayMs = 700, .exitCode = 9});
  settings(machine_.steamExe(), machine_.gameExe());
  EXPECT_EQ(launch(play()), (Lines{kLaunching, kSteamStarted, kWaiting, kExited, kClosed}));
}

TEST_F(Launch, aRunningGameIsAdoptedWithoutAnyStart) {
  machine_.installSteam();
  settings(machine_.steamExe(), machine_.gameExe());
  (void)machine_.startGame();
  EXPECT_EQ(launch(play()), (Lines{kLaunching, kWaiting, kExited, kClosed}));
  EXPECT_EQ(commandLines("steam"), Lines{});
}

TEST_F(Launch, anyProcessOfThatNameIsAdoptedWithoutRegardToCaseAndPlace) {
  machine_.installSteam();
  settings(machine_.steamExe(), machine_.gameExe());
  const std::filesystem::path other = machine_.root() / "other" / "BACKROOMS-win64-SHIPPING.exe";
  std::filesystem::create_directories(other.parent_path());
  std::filesystem::copy_file(machine_.gameExe(), other);
  std::filesystem::copy_file(machine_.gameFolder() / "Backrooms-Win64-Shipping.json",
                             std::filesystem::path(other).replace_extension(".json"));
  const std::uint32_t id = stage::startDetached(other, {});
  const stage::RunResult run = play();
  EXPECT_EQ(launch(run), (Lines{kLaunching, kWaiting, kExited, kClosed}));
  EXPECT_TRUE(run.hasLogLine("game running (pid " + std::to_string(id) + "), waiting for exit..."));
}

TEST_F(Launch, aProcessWithALongerNameIsNotTheGame) {
  machine_.installSteam();
  settings(machine_.steamExe(), machine_.gameExe());
  for (const char* name : {"Backrooms-Win64-Shipping2.exe", "xBackrooms-Win64-Shipping.exe"}) {
    const std::filesystem::path other = machine_.root() / name;
    std::filesystem::copy_file(machine_.gameExe(), other);
    std::filesystem::copy_file(machine_.gameFolder() / "Backrooms-Win64-Shipping.json",
                               std::filesystem::path(other).replace_extension(".json"));
    (void)stage::startDetached(other, {});
  }
  EXPECT_EQ(launch(play()), (Lines{kLaunching, kSteamStarted, kWaiting, kExited, kClosed}));
}

TEST_F(Launch, withoutSteamTheGameIsStartedDirectlyInItsFolder) {
  stage::GameScript script = e2e::staysAfterRun(machine_, stage::unfinishedRun().text());
  script.writes.push_back({"where.txt", "here"});
  machine_.setGame(script);
  settings(missing(), machine_.gameExe());
  EXPECT_EQ(launch(play()),
            (Lines{kLaunching, kTryingDirect, kDirect, kWaiting, kExited, kClosed}));
  EXPECT_EQ(commandLines("game"), (Lines{"\"" + textOf(machine_.gameExe()) + "\""}));
  EXPECT_EQ(stage::readFile(machine_.gameFolder() / "where.txt"), "here");
}

TEST_F(Launch, theFolderOfADirectStartEndsAtEitherSlash) {
  stage::GameScript script = e2e::staysAfterRun(machine_, stage::unfinishedRun().text());
  script.writes.push_back({"where.txt", "here"});
  machine_.setGame(script);
  const std::string game = stage::replaceAll(textOf(machine_.gameExe()), "\\", "/");
  settings(textOf(missing()), game);
  EXPECT_EQ(launch(play()),
            (Lines{kLaunching, kTryingDirect, kDirect, kWaiting, kExited, kClosed}));
  EXPECT_EQ(commandLines("game"), (Lines{"\"" + game + "\""}));
  EXPECT_EQ(stage::readFile(machine_.gameFolder() / "where.txt"), "here");
}

TEST_F(Launch, aSteamThatDoesNotStartIsStillWaitedFor) {
  const std::filesystem::path steam = noProgram();
  const DWORD error = startError(L"\"" + steam.wstring() + L"\" -applaunch 1943950");
  ASSERT_NE(error, 0U);
  settings(steam, machine_.gameExe());
  EXPECT_EQ(launch(playByHandAfter("failed to start steam")),
            (Lines{kLaunching, "failed to start steam (err " + std::to_string(error) + ")",
                   kWaiting, kExited, kClosed}));
}

TEST_F(Launch, aGameThatDoesNotStartIsStillWaitedFor) {
  const std::filesystem::path game = noProgram();
  const DWORD error = startError(L"\"" + game.wstring() + L"\"");
  ASSERT_NE(error, 0U);
  settings(missing(), game);
  EXPECT_EQ(launch(playByHandAfter("direct launch failed")),
            (Lines{kLaunching, kTryingDirect,
                   "direct launch failed (err " + std::to_string(error) + ")", kWaiting, kExited,
                   kClosed}));
}

TEST_F(Launch, theGamesExitCodeDoesNotMatter) {
  stage::GameScript script = e2e::staysAfterRun(machine_, stage::unfinishedRun().text());
  script.exitCode = 3;
  machine_.setGame(script);
  settings(missing(), machine_.gameExe());
  const stage::RunResult run = play();
  EXPECT_EQ(launch(run).back(), kClosed);
  EXPECT_EQ(run.exitCode, 0U);
}

TEST_F(Launch, theFirstProcessOfTheNameIsTheOneWaitedFor) {
  stage::GameScript script = e2e::staysAfterRun(machine_, stage::unfinishedRun().text());
  script.restartsItself = true;
  script.firstLivesMs = 1500;
  machine_.setGame(script);
  settings(missing(), machine_.gameExe());
  const stage::RunResult run = machine_.runLauncher();
  EXPECT_EQ(launch(run), (Lines{kLaunching, kTryingDirect, kDirect, kWaiting, kExited, kClosed}));
  EXPECT_EQ(stage::findProcesses("Backrooms-Win64-Shipping.exe").size(), 1U);  // the second one
  machine_.endGame();
  EXPECT_TRUE(stage::waitForNoProcess("Backrooms-Win64-Shipping.exe"));
}

TEST_F(Launch, aGameThatCannotBeOpenedIsNotWaitedFor) {
  settings(missing(), machine_.gameExe(), {{"player", "runner"}});
  const std::uint32_t id = machine_.startGame();
  ASSERT_TRUE(machine_.timeline().waitFor("game", "write"));
  std::optional<std::string> state;
  e2e::CallTrace trace(machine_.root(), machine_.timeline());
  trace.ownCalls().before("OpenProcess", [&](stage::Debugger::Call& call) {
    state = machine_.dataFile("launch.state");
    EXPECT_EQ(call.argument(1), DWORD64{SYNCHRONIZE});
    EXPECT_EQ(call.argument(2), 0U);
    EXPECT_EQ(call.argument(3), id);
    call.setArgument(3, 3);  // no process has such an id
  });
  EXPECT_EQ(trace.run(machine_.launcher(), 60000), 0U);
  EXPECT_EQ(state, "launching");
  EXPECT_EQ(e2e::linesOf(e2e::maskStamps(machine_.logBytes())),
            (Lines{e2e::kStartLine, "steam persona not found, using ini player: runner",
                   "difficulty chooser skipped (in-game difficulty is authoritative)",
                   "no server configured, using cached data", "timer overlay: 0", kLaunching,
                   "cannot open game process (pid " + std::to_string(id) + ")", kNotClosed,
                   "receipt archived: " + textOf(machine_.data()) +
                       "\\receipts\\receipt_YYYYMMDD_hhmmss.json",
                   "receipt summary: ending=- total=428.019 status=\"running\"",
                   "stage: uploading", "livesplit probe failed (server not started?)",
                   "no server configured, upload skipped",
                   "stage: run not finished, nothing queued", "stage: upload done (ok=0)",
                   "result card: kind=none ok=0", e2e::kDoneLine}));
  EXPECT_EQ(stage::findProcesses("Backrooms-Win64-Shipping.exe").size(), 1U);  // plays on
}

TEST_F(Launch, withoutSettingAndRegistryTheUsualSteamIsStarted) {
  const e2e::UsualSteamFolder usual;
  if (!usual.isOurs()) GTEST_SKIP() << "cannot put a Steam into its usual folder";
  machine_.installSteam();
  for (const char* name : {"steam.exe", "steam.json"}) {
    std::filesystem::copy_file(machine_.steamFolder() / name, e2e::UsualSteamFolder::path() / name);
  }
  machine_.setSteamPath("");
  settings(std::string(), textOf(machine_.gameExe()));
  EXPECT_EQ(launch(play()), (Lines{kLaunching, kSteamStarted, kWaiting, kExited, kClosed}));
  EXPECT_EQ(commandLines("steam"),
            (Lines{"\"C:\\Program Files (x86)\\Steam\\steam.exe\" -applaunch 1943950"}));
}

// The waits for a game that does not come --------------------------------------------------

/// Runs in which each pause between two looks for the game is counted and cut to nothing; the
/// player closes a game that has come as soon as the launcher waits for it.
class LaunchWait : public Launch {
 protected:
  void playCutShort() {
    const std::string state = textOf(machine_.data() / "launch.state");
    trace_.emplace(machine_.root(), machine_.timeline(),
                   [this, state](std::string_view path, std::string_view bytes) {
                     if (path == state && bytes == "playing") machine_.endGame();
                   });
    trace_->ownCalls().before("Sleep", [](stage::Debugger::Call& call) {
      if (call.argument<std::uint32_t>(1) == 500) call.setArgument(1, 0);
    });
    EXPECT_EQ(trace_->run(machine_.launcher(), 60000), 0U);
  }
  [[nodiscard]] Lines log() const {
    return e2e::linesOf(e2e::maskStamps(e2e::maskNumbers(machine_.logBytes())));
  }
  [[nodiscard]] Lines launch() const {
    stage::RunResult run;
    run.log = machine_.logBytes();
    return Launch::launch(run);
  }
  /// How often the launcher paused for half a second after this program was started and
  /// before the next one.
  [[nodiscard]] std::ptrdiff_t pausesAfterStartOf(const std::filesystem::path& program) const {
    const Lines& calls = trace_->ownCalls().lines();
    const auto starts = [](const std::string& call) { return call.starts_with("start "); };
    const auto from = std::find_if(calls.begin(), calls.end(), [&](const std::string& call) {
      return call.starts_with("start \"" + textOf(program) + "\"");
    });
    if (from == calls.end()) return -1;
    return std::count(from, std::find_if(from + 1, calls.end(), starts), "Sleep 500");
  }

  std::optional<e2e::CallTrace> trace_;
};

TEST_F(LaunchWait, aSteamThatNeverStartsTheGameIsGivenSixtyPauses) {
  machine_.installSteam({.startsGame = false});
  settings(machine_.steamExe(), machine_.gameExe());
  playCutShort();
  EXPECT_EQ(pausesAfterStartOf(machine_.steamExe()), 60);
  EXPECT_EQ(launch(),
            (Lines{kLaunching, kSteamStarted, kTryingDirect, kDirect, kWaiting, kExited, kClosed}));
}

TEST_F(LaunchWait, aSteamThatDoesNotStartIsGivenSixtyPausesToo) {
  const std::filesystem::path steam = noProgram();
  settings(steam, machine_.gameExe());
  playCutShort();
  EXPECT_EQ(pausesAfterStartOf(steam), 60);
  EXPECT_EQ(launch().back(), kClosed);
}

TEST_F(LaunchWait, aGameThatNeverAppearsIsGiven240PausesMoreAndAnOldReceiptIsStillJudged) {
  machine_.installSteam({.startsGame = false});
  const std::filesystem::path game = noProgram();
  const DWORD error = startError(L"\"" + game.wstring() + L"\"");
  settings(machine_.steamExe(), game, {{"player", "runner"}});
  machine_.writeReceipt(stage::finishedRun().text());
  playCutShort();
  EXPECT_EQ(pausesAfterStartOf(machine_.steamExe()), 60);
  EXPECT_EQ(pausesAfterStartOf(game), 240);
  EXPECT_EQ(log(),
            (Lines{e2e::kStartLine, "steam persona not found, using ini player: runner",
                   "difficulty chooser skipped (in-game difficulty is authoritative)",
                   "no server configured, using cached data", "timer overlay: 0", kLaunching,
                   kSteamStarted, kTryingDirect,
                   "direct launch failed (err " + std::to_string(error) + ")",
                   "game process did not appear within 120s", kNotClosed,
                   "receipt archived: " + textOf(machine_.data()) +
                       "\\receipts\\receipt_YYYYMMDD_hhmmss.json",
                   "receipt summary: ending=[{\"i\":0 total=754.560 status=\"ending\"",
                   "stage: uploading", "livesplit probe failed (server not started?)",
                   "no server configured, upload skipped", "stage: upload failed, saving pending",
                   "pending saved: " + textOf(machine_.data()) +
                       "\\pending\\p_YYYYMMDD_hhmmss.json",
                   "stage: upload done (ok=0)", "result card: kind=fail ok=0", e2e::kDoneLine}));
}

}  // namespace
