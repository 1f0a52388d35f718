#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "rehearsal/stage/debugger.h"
#include "rehearsal/stage/win_handle.h"
#include "tests/e2e/support.h"

namespace {

using e2e::asWritten;
using e2e::joined;
using e2e::kDoneLine;
using e2e::kEnterPrompt;
using e2e::kStartLine;
using e2e::Lines;
using e2e::maskedLog;
using stage::textOf;
using testing::ElementsAre;

constexpr char kIncomplete[] =
    "launcher.ini missing or incomplete (need receipt and data fields)";
constexpr char kNoTimer[] = "livesplit probe failed (server not started?)";
constexpr char kNoServer[] = "no server configured, upload skipped";
constexpr char kChooser[] = "difficulty chooser skipped (in-game difficulty is authoritative)";
constexpr char kGameMissingText[] =
    "没有找到《Escape the Backrooms》的游戏文件。\n\n"
    "可能原因：\n"
    "· 游戏没安装\n"
    "· 装在非 Steam 默认目录，且 Steam 库里没有记录\n\n"
    "解决办法：用记事本打开同目录的 launcher.ini，\n"
    "把 game= 这一行改成你电脑上的\n"
    "Backrooms-Win64-Shipping.exe 完整路径。";

/// Nobody presses a key: a launcher that waits for one counts as a hang.
stage::RunOptions withoutPlayer() {
  stage::RunOptions options;
  options.standardInput.clear();
  options.keepInputOpen = true;
  options.limitMs = 20000;
  return options;
}

/// True when no other process has the file open in a way that keeps us from owning it.
bool opensExclusively(const std::filesystem::path& file) {
  const HANDLE handle =
      CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return false;
  CloseHandle(handle);
  return true;
}

stage::RaceServer::Options withoutToken() {
  stage::RaceServer::Options options;
  options.rules.token.clear();
  return options;
}

/// What a narrow message box makes of a UTF-8 text: its bytes read in the ANSI code page.
std::string readAsAnsi(std::string_view utf8) {
  wchar_t wide[512];
  const int units = MultiByteToWideChar(CP_ACP, 0, utf8.data(), static_cast<int>(utf8.size()),
                                        wide, static_cast<int>(std::size(wide)));
  return stage::toUtf8(std::wstring_view(wide, static_cast<std::size_t>(units)));
}

// Modes ------------------------------------------------------------------------------------

TEST(EntryDetect, printsAndLogsThePersonaAndEnds) {
  stage::Stage machine("entry");
  machine.setSteamPath();
  machine.writeLoginUsers();
  const stage::RunResult run = machine.runLauncher("--detect", withoutPlayer());
  EXPECT_FALSE(run.hang);
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(run.logLines(), (Lines{kStartLine, "detected persona bytes: 竞速玩家"}));
  EXPECT_EQ(run.console, asWritten({kStartLine, "steam persona: 竞速玩家",
                                    "detected persona bytes: 竞速玩家"}));
  EXPECT_EQ(run.errors, "");
}

TEST(EntryDetect, saysSoWhenThereIsNoPersona) {
  stage::Stage machine("entry");
  const stage::RunResult run = machine.runLauncher("--detect", withoutPlayer());
  EXPECT_FALSE(run.hang);
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(run.logLines(), (Lines{kStartLine, "detected persona bytes: (none)"}));
  EXPECT_EQ(run.console, asWritten({kStartLine, "steam persona: (not found)",
                                    "detected persona bytes: (none)"}));
}

TEST(EntryProfile, opensThePageWithTheDataFoldersTokenNotThePreloadedOne) {
  stage::Stage machine("entry");
  machine.installBrowser();
  stage::writeFile(machine.app() / "profile_token.txt", "preloaded");
  stage::writeFile(machine.data() / "profile_token.txt", "from data \r\n");
  machine.writeRawIni("data=%APPDIR%..\\data\r\n");
  const stage::RunResult run = machine.runLauncher("--profile", withoutPlayer());
  EXPECT_FALSE(run.hang);
  EXPECT_EQ(run.exitCode, 0U);
  const Lines log = {kStartLine, "profile token preloaded (9 bytes)"};
  EXPECT_EQ(run.logLines(), log);
  EXPECT_EQ(run.console, asWritten(joined({log, {"opened profile (logged in)"}})));
  ASSERT_TRUE(machine.timeline().waitFor("browser", "open"));
  EXPECT_THAT(machine.openedUrls(),
              ElementsAre("https://kov-race.example/profile?token=from data"));
  EXPECT_EQ(machine.dataFiles(), (Lines{"profile_token.txt"}));
}

TEST(EntryProfile, opensThePlainPageWithoutTokenAlsoWhenItWasOpenedBefore) {
  stage::Stage machine("entry");
  machine.installBrowser();
  machine.writeIni({});
  stage::writeFile(machine.data() / "profile_opened.flag", "1");
  const stage::RunResult run = machine.runLauncher("--profile", withoutPlayer());
  EXPECT_FALSE(run.hang);
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(run.logLines(), (Lines{kStartLine}));
  EXPECT_EQ(run.console, asWritten({kStartLine, "opened profile (no login code yet)"}));
  ASSERT_TRUE(machine.timeline().waitFor("browser", "open"));
  EXPECT_THAT(machine.openedUrls(), ElementsAre("https://kov-race.example/profile"));
  EXPECT_EQ(machine.dataFiles(), (Lines{"profile_opened.flag"}));
}

TEST(EntryProfile, aTokenOfBlanksIsNoTokenAndNoSettingsAreNeeded) {
  stage::Stage machine("entry");
  machine.installBrowser();
  stage::RunOptions options = withoutPlayer();
  const stage::RunResult bare = machine.runLauncher("--profile", options);
  EXPECT_EQ(bare.exitCode, 0U);
  EXPECT_EQ(bare.console, asWritten({kStartLine, "opened profile (no login code yet)"}));
  stage::writeFile(machine.data() / "profile_token.txt", " \r\n \n");
  machine.writeRawIni("data=" + textOf(machine.data()) + "\n");
  const stage::RunResult blank = machine.runLauncher("--profile", options);
  // The second place of the preloaded token is this very file.
  EXPECT_EQ(blank.console, asWritten({kStartLine, "profile token preloaded (0 bytes)",
                                      "opened profile (no login code yet)"}));
  ASSERT_TRUE(machine.timeline().waitFor("browser", "open", 2));
  EXPECT_THAT(machine.openedUrls(), ElementsAre("https://kov-race.example/profile",
                                                "https://kov-race.example/profile"));
}

TEST(EntryUpload, anAcceptedRunEndsWithZeroAndWritesNoStateFiles) {
  stage::Stage machine("entry");
  stage::RaceServer server(withoutToken());
  machine.writeReceipt(stage::finishedRun().text());
  machine.writeIni({{"server", server.url()}, {"player", "runner"}});
  const stage::RunResult run = machine.runLauncher("--upload", withoutPlayer());
  EXPECT_FALSE(run.hang);
  EXPECT_EQ(run.exitCode, 0U);
  const Lines upTo = {kStartLine,
                      "=== upload-only mode ===",
                      kNoTimer,
                      "livesplit phase: (none)",
                      "ending inferred from splits: main (map=ENDING:main t=754.56)",
                      "livesplit time unavailable, using receipt time",
                      "difficulty from game (receipt): normal",
                      "upload response: {\"accepted\":true,\"rank\":1,\"points\":100}"};
  EXPECT_EQ(run.logLines(), joined({upTo, {"upload-only result: ok"}}));
  EXPECT_EQ(run.console, asWritten(upTo) + "\r\n上传成功\r\n" +
                             asWritten({"upload-only result: ok"}));
  EXPECT_EQ(machine.dataFiles(), Lines{});
  EXPECT_FALSE(stage::pathExists(machine.receipt()));
}

TEST(EntryUpload, aRefusedRunEndsWithTwoWithoutQueueStateCardOrBox) {
  stage::Stage machine("entry");
  stage::RaceServer::Options closed = withoutToken();
  closed.rules.raceOpen = false;
  stage::RaceServer server(closed);
  stage::MessageBoxWatcher boxes;
  machine.installCard();
  machine.writeReceipt(stage::finishedRun().text());
  machine.writeIni({{"server", server.url()}});
  const stage::RunResult run = machine.runLauncher("--upload", withoutPlayer());
  EXPECT_FALSE(run.hang);
  EXPECT_EQ(run.exitCode, 2U);
  const Lines upTo = {kStartLine,
                      "=== upload-only mode ===",
                      kNoTimer,
                      "livesplit phase: (none)",
                      "ending inferred from splits: main (map=ENDING:main t=754.56)",
                      "livesplit time unavailable, using receipt time",
                      "difficulty from game (receipt): normal",
                      "upload response: {\"accepted\":false,\"error\":\"race is closed\"}"};
  EXPECT_EQ(run.logLines(), joined({upTo, {"upload-only result: failed"}}));
  EXPECT_EQ(run.console, asWritten(upTo) + "\r\n上传失败（详见 launcher.log）\r\n" +
                             asWritten({"upload-only result: failed"}));
  EXPECT_EQ(machine.dataFiles(), Lines{});
  EXPECT_EQ(stage::readFile(machine.receipt()), stage::finishedRun().text());
  EXPECT_TRUE(boxes.boxes().empty());
  EXPECT_TRUE(machine.timeline().events("card").empty());
}

TEST(EntryUpload, withoutSettingsItEndsWithTwoBecauseThereIsNoServer) {
  stage::Stage machine("entry");
  const stage::RunResult run = machine.runLauncher("--upload", withoutPlayer());
  EXPECT_FALSE(run.hang);
  EXPECT_EQ(run.exitCode, 2U);
  EXPECT_EQ(run.logLines(), (Lines{kStartLine, "=== upload-only mode ===", kNoTimer, kNoServer,
                                   "upload-only result: failed"}));
}

TEST(EntryUpload, theChoiceReplacesTheDifficulty) {
  stage::Stage machine("entry");
  stage::RaceServer server(withoutToken());
  stage::Receipt receipt = stage::finishedRun();
  receipt.difficulty.clear();
  machine.writeReceipt(receipt.text());
  machine.writeIni({{"server", server.url()}, {"difficulty", "easy"}});
  stage::writeFile(machine.data() / "choice.txt", "nightmare \r\n");
  const stage::RunResult run = machine.runLauncher("--upload");
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(run.logLines(),
            (Lines{kStartLine, "upload difficulty from choice.txt: nightmare",
                   "=== upload-only mode ===", kNoTimer, "livesplit phase: (none)",
                   "ending inferred from splits: main (map=ENDING:main t=754.56)",
                   "livesplit time unavailable, using receipt time",
                   "upload response: {\"accepted\":true,\"rank\":1,\"points\":100}",
                   "upload-only result: ok"}));
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(server.requests().front().body,
            "{\"player\":\"anonymous\",\"difficulty\":\"nightmare\"," + receipt.text().substr(1));
}

TEST(EntryUpload, anyOtherChoiceLeavesTheDifficultySilently) {
  stage::Stage machine("entry");
  stage::RaceServer server(withoutToken());
  stage::Receipt receipt = stage::finishedRun();
  receipt.difficulty.clear();
  machine.writeIni({{"server", server.url()}, {"difficulty", "easy"}});
  for (const std::string choice : {"Nightmare", " normal", "normal\t", "normal x", "", "\r\n"}) {
    SCOPED_TRACE(choice);
    machine.writeReceipt(receipt.text());
    stage::writeFile(machine.data() / "choice.txt", choice);
    const stage::RunResult run = machine.runLauncher("--upload");
    ASSERT_GE(run.logLines().size(), 2U);
    EXPECT_EQ(run.logLines()[1], "=== upload-only mode ===");
    EXPECT_EQ(server.requests().back().body,
              "{\"player\":\"anonymous\",\"difficulty\":\"easy\"," + receipt.text().substr(1));
  }
}

TEST(EntryModes, onlyTheExactWordsAreModes) {
  stage::Stage machine("entry");
  machine.writeIni({{"dryrun", "1"}, {"game", textOf(machine.launcher())}});
  for (const std::string arguments :
       {"", "\"\"", "--Detect", "--PROFILE", "--Upload", "--detect=1", "--uploads", "\"--upload \"",
        "\" --profile\"", "-upload", "upload", "x --detect", "\"\" --upload"}) {
    SCOPED_TRACE(arguments);
    const stage::RunResult run = machine.runLauncher(arguments, withoutPlayer());
    EXPECT_EQ(run.exitCode, 0U);
    ASSERT_EQ(run.logLines().size(), 8U);
    EXPECT_EQ(run.logLines()[1], "DRYRUN steam=");
  }
}

TEST(EntryModes, argumentsBehindTheFirstAreIgnored) {
  stage::Stage machine("entry");
  const stage::RunResult run = machine.runLauncher("--detect --upload --profile");
  EXPECT_EQ(run.logLines(), (Lines{kStartLine, "detected persona bytes: (none)"}));
}

// The three ends before the game -----------------------------------------------------------

TEST(EntrySettings, incompleteSettingsEndWithOneBeforeAnythingIsLookedUp) {
  stage::Stage machine("entry");
  machine.installSteam();
  const std::string receipt = "receipt=" + textOf(machine.receipt()) + "\r\n";
  const std::string data = "data=" + textOf(machine.data()) + "\r\n";
  const Lines log = {kStartLine, kIncomplete};
  for (const std::string& ini : {std::string(), receipt, data, receipt + "data=\r\n",
                                 data + "receipt= \r\n", receipt + "dryrun=1\r\n"}) {
    SCOPED_TRACE(ini);
    machine.writeRawIni(ini);
    const stage::RunResult run = machine.runLauncher();
    EXPECT_EQ(run.exitCode, 1U);
    EXPECT_EQ(run.logLines(), log);
    EXPECT_EQ(run.console, asWritten(log) + kEnterPrompt);
  }
  EXPECT_EQ(machine.dataFiles(), Lines{});
}

TEST(EntrySettings, withoutSettingsItWaitsForOneCharacterWithTheLogStillOpen) {
  stage::Stage machine("entry");
  stage::LauncherRun run = machine.startLauncher({}, withoutPlayer());
  ASSERT_TRUE(run.waitForConsole(kEnterPrompt));
  EXPECT_TRUE(run.running());
  EXPECT_FALSE(opensExclusively(machine.log()));
  run.typeInput("\n");
  const stage::RunResult result = run.wait();
  EXPECT_FALSE(result.hang);
  EXPECT_EQ(result.exitCode, 1U);
  EXPECT_EQ(result.logLines(), (Lines{kStartLine, kIncomplete}));
}

TEST(EntryDryRun, listsTheFoundPlacesAndEndsAtOnce) {
  stage::Stage machine("entry");
  machine.installSteam();
  machine.writeLibraryFolders();
  machine.writeLoginUsers();
  machine.installGame();
  machine.installLiveSplit();
  machine.writePackage();
  stage::Ini ini = machine.standardIni("http://127.0.0.1:1");
  ini.emplace_back("dryrun", "1");
  machine.writeIni(ini);
  const Lines before = stage::listFolder(machine.root());
  const stage::RunResult run = machine.runLauncher({}, withoutPlayer());
  EXPECT_FALSE(run.hang);
  EXPECT_EQ(run.exitCode, 0U);
  // The registry holds the path in lower case with forward slashes.
  const std::string steam =
      stage::replaceAll(*stage::RegistryKeeper::read("Software\\Valve\\Steam", "SteamPath"), "/",
                        "\\") +
      "\\steam.exe";
  const Lines log = {kStartLine,
                     "steam detected: " + steam,
                     "game detected: " + textOf(machine.gameExe()),
                     "DRYRUN steam=" + steam,
                     "DRYRUN game=" + textOf(machine.gameExe()),
                     "DRYRUN receipt=" + textOf(machine.receipt()),
                     "DRYRUN data=" + textOf(machine.data()),
                     "DRYRUN livesplit=" + textOf(machine.liveSplitExe()),
                     "DRYRUN install_from=" + textOf(machine.package()),
                     "DRYRUN steam_id=76561198000000001 persona=竞速玩家"};
  EXPECT_EQ(run.logLines(), log);
  EXPECT_EQ(run.console, asWritten(log));
  EXPECT_EQ(stage::listFolder(machine.data()), Lines{});
  Lines after = stage::listFolder(machine.root());
  std::erase(after, "app\\launcher.log");
  EXPECT_EQ(after, before);
}

TEST(EntryDryRun, listsEverythingAlsoWhenTheGameIsNotFound) {
  stage::Stage machine("entry");
  machine.writeIni({{"dryrun", "1"}});
  stage::MessageBoxWatcher boxes;
  const stage::RunResult run = machine.runLauncher({}, withoutPlayer());
  EXPECT_FALSE(run.hang);
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(run.logLines(),
            (Lines{kStartLine, "game not found in any steam library", "DRYRUN steam=",
                   "DRYRUN game=", "DRYRUN receipt=" + textOf(machine.receipt()),
                   "DRYRUN data=" + textOf(machine.data()), "DRYRUN livesplit=",
                   "DRYRUN install_from=", "DRYRUN steam_id= persona="}));
  EXPECT_TRUE(boxes.boxes().empty());
}

TEST(EntryGameMissing, showsTheBoxAndEndsWithOneWithoutWaiting) {
  stage::Stage machine("entry");
  machine.writeIni({});
  stage::writeFile(machine.data() / "launch.state", "left by the last run");
  stage::writeFile(machine.data() / "upload.state", "fail");
  stage::MessageBoxWatcher boxes;
  const stage::RunResult run = machine.runLauncher({}, withoutPlayer());
  EXPECT_FALSE(run.hang);
  EXPECT_EQ(run.exitCode, 1U);
  const Lines log = {kStartLine, "game not found in any steam library",
                     "game not found, aborting"};
  EXPECT_EQ(run.logLines(), log);
  EXPECT_EQ(run.console, asWritten(log));
  const std::vector<stage::SeenBox> seen = boxes.boxes();
  ASSERT_EQ(seen.size(), 1U);
  EXPECT_EQ(seen[0].processId, run.processId);
  EXPECT_EQ(seen[0].caption, "KOV 周赛");
  EXPECT_EQ(seen[0].text, kGameMissingText);
  EXPECT_EQ(seen[0].icon, "error");
  EXPECT_FALSE(seen[0].owned);
  EXPECT_EQ(seen[0].buttons.size(), 1U);
  EXPECT_EQ(machine.dataFile("launch.state"), "left by the last run");
  EXPECT_EQ(machine.dataFile("upload.state"), "fail");
  EXPECT_EQ(machine.dataFiles(), (Lines{"launch.state", "upload.state"}));
}

TEST(EntryGameMissing, itsBoxIsAskedForTopmostWithTheErrorIcon) {
  stage::Stage machine("entry");
  machine.writeIni({});
  stage::MessageBoxWatcher boxes;
  stage::RunOptions options = withoutPlayer();
  options.recordBoxCalls = true;
  const stage::RunResult run = machine.runLauncher({}, options);
  ASSERT_EQ(run.boxCalls.size(), 1U);
  EXPECT_TRUE(run.boxCalls[0].wide);
  EXPECT_FALSE(run.boxCalls[0].owned);
  EXPECT_EQ(run.boxCalls[0].text, kGameMissingText);
  EXPECT_EQ(run.boxCalls[0].caption, "KOV 周赛");
  EXPECT_EQ(run.boxCalls[0].style, 0x40010U);
}

// The preloaded token ----------------------------------------------------------------------

class EntryToken : public testing::Test {
 protected:
  /// The log's lines after the start line of a launcher that finds these settings missing.
  Lines preload() {
    Lines lines = machine_.runLauncher("--detect").logLines();
    EXPECT_EQ(lines.front(), kStartLine);
    EXPECT_EQ(lines.back(), "detected persona bytes: (none)");
    return Lines(lines.begin() + 1, lines.end() - 1);
  }
  void besideTheProgram(std::string_view bytes) {
    stage::writeFile(machine_.app() / "profile_token.txt", bytes);
  }
  void besideTheFolder(std::string_view bytes) {
    stage::writeFile(machine_.data() / "profile_token.txt", bytes);
  }

  stage::Stage machine_{"entry"};
};

TEST_F(EntryToken, withoutFileNothingIsLogged) { EXPECT_EQ(preload(), Lines{}); }

TEST_F(EntryToken, lineEndAndBlanksBehindItAreStripped) {
  besideTheProgram("abc \r\n");
  EXPECT_EQ(preload(), Lines{"profile token preloaded (3 bytes)"});
  besideTheProgram(" a\tb\t");  // neither leading blanks nor tabs
  EXPECT_EQ(preload(), Lines{"profile token preloaded (5 bytes)"});
  besideTheProgram("a\r\n \r\n\n  ");
  EXPECT_EQ(preload(), Lines{"profile token preloaded (1 bytes)"});
}

TEST_F(EntryToken, only255BytesAreReadAndThenStripped) {
  besideTheProgram(std::string(300, 'k'));
  EXPECT_EQ(preload(), Lines{"profile token preloaded (255 bytes)"});
  besideTheProgram(std::string(250, 'k') + std::string(20, ' ') + "rest");
  EXPECT_EQ(preload(), Lines{"profile token preloaded (250 bytes)"});
}

TEST_F(EntryToken, theFileBesideTheProgramGoesFirstAlsoWhenItIsEmpty) {
  besideTheFolder("from the data folder");
  besideTheProgram("");
  EXPECT_EQ(preload(), Lines{"profile token preloaded (0 bytes)"});
}

TEST_F(EntryToken, theSecondPlaceIsDataBesideTheProgramFolderWhateverTheSettingsSay) {
  besideTheFolder("k4");
  machine_.writeIni({{"receipt", "r.json"}, {"data", textOf(machine_.root() / "elsewhere")}});
  stage::writeFile(machine_.root() / "elsewhere" / "profile_token.txt", "not this one");
  EXPECT_EQ(preload(), Lines{"profile token preloaded (2 bytes)"});
}

TEST_F(EntryToken, theSecondPlaceDoesNotDependOnTheCurrentFolder) {
  besideTheFolder("k4");
  stage::RunOptions options;
  options.currentFolder = machine_.local();
  EXPECT_EQ(machine_.runLauncher("--detect", options).logLines()[1],
            "profile token preloaded (2 bytes)");
}

// The full run -----------------------------------------------------------------------------

class EntryStages : public testing::Test {
 protected:
  /// Steam starts the game, which plays this run and stays; a card shows the result.
  void putUp(const std::string& receipt) {
    machine_.installGame(e2e::staysAfterRun(machine_, receipt));
    machine_.installSteam();
    machine_.installCard();
  }
  /// The result comes in a message box instead, which the player closes.
  void withoutCard() {
    std::filesystem::remove(machine_.app() / "kov_result.exe");
    boxes_.emplace();
  }
  stage::RunResult play() { return e2e::runUntilGameEnds(machine_); }

  /// Settings that need no detection; more of them after.
  void settings(const stage::Ini& more = {}) {
    stage::Ini ini = {{"receipt", textOf(machine_.receipt())},
                      {"data", textOf(machine_.data())},
                      {"steam", textOf(machine_.steamExe())},
                      {"game", textOf(machine_.gameExe())},
                      {"player", "runner"}};
    ini.insert(ini.end(), more.begin(), more.end());
    machine_.writeIni(ini);
  }

  static Lines beforeTheGame(const std::string& overlay = "0") {
    return {kStartLine,
            "steam persona not found, using ini player: runner",
            kChooser,
            "no server configured, using cached data",
            "timer overlay: " + overlay,
            "stage: launching game",
            "steam started with -applaunch 1943950",
            "game running (pid #), waiting for exit...",
            "game exited",
            "stage: game closed (launch result=1), archiving receipt"};
  }
  [[nodiscard]] Lines archived(const std::string& summary) const {
    return {"receipt archived: " + textOf(machine_.data()) +
                "\\receipts\\receipt_YYYYMMDD_hhmmss.json",
            "receipt summary: " + summary};
  }
  [[nodiscard]] std::string pendingSaved() const {
    return "pending saved: " + textOf(machine_.data()) + "\\pending\\p_YYYYMMDD_hhmmss.json";
  }
  static Lines withoutServer() { return {"stage: uploading", kNoTimer, kNoServer}; }
  static Lines end(const std::string& kind, int ok) {
    return {"stage: upload done (ok=" + std::to_string(ok) + ")",
            "result card: kind=" + kind + " ok=" + std::to_string(ok), kDoneLine};
  }

  stage::Stage machine_{"entry"};
  std::optional<stage::MessageBoxWatcher> boxes_;
};

// The first "ending" in quotes of such a receipt is the value of its status.
constexpr char kFinishedSummary[] =
    "ending=[{\"i\":0 total=754.560 status=\"ending\"";

TEST_F(EntryStages, aFinishedRunWithoutServerGoesThroughAllStages) {
  putUp(stage::finishedRun().text());
  settings();
  const stage::RunResult run = play();
  EXPECT_FALSE(run.hang);
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(maskedLog(run),
            joined({beforeTheGame(), archived(kFinishedSummary), withoutServer(),
                    {"stage: upload failed, saving pending", pendingSaved()}, end("fail", 0)}));
  EXPECT_EQ(run.console, run.log + kEnterPrompt);
  EXPECT_EQ(machine_.dataFile("launch.state"), "done");
  EXPECT_EQ(machine_.dataFile("upload.state"), "fail");
  EXPECT_EQ(machine_.dataFile("timer.enabled"), "0");
  EXPECT_EQ(machine_.dataFile("board.toggle"), "0");
  Lines files = machine_.dataFiles();
  for (std::string& file : files) file = e2e::maskStamps(file);
  EXPECT_EQ(files, (Lines{"board.toggle", "launch.state", "pending\\p_YYYYMMDD_hhmmss.json",
                          "receipts\\receipt_YYYYMMDD_hhmmss.json", "timer.enabled",
                          "upload.state"}));
}

TEST_F(EntryStages, theOverlaySettingIsLoggedButTheOverlayStaysOff) {
  putUp(stage::unfinishedRun().text());
  settings({{"timer", "1"}});
  stage::writeFile(machine_.data() / "board.toggle", "1 from an earlier week");
  stage::writeFile(machine_.data() / "timer.enabled", "1 from an earlier week");
  const stage::RunResult run = play();
  EXPECT_EQ(maskedLog(run),
            joined({beforeTheGame("1"), archived("ending=- total=428.019 status=\"running\""),
                    withoutServer(),
                    {"stage: run not finished, nothing queued"}, end("none", 0)}));
  EXPECT_EQ(machine_.dataFile("timer.enabled"), "0");
  EXPECT_EQ(machine_.dataFile("board.toggle"), "0");
}

TEST_F(EntryStages, onlyAPlainOneAsksForTheOverlayAndUnwritableFilesAreSilent) {
  putUp(stage::unfinishedRun().text());
  settings({{"timer", "true"}});
  // Folders of these names keep the files from being opened.
  for (const char* name : {"timer.enabled", "board.toggle", "upload.state", "launch.state"}) {
    std::filesystem::create_directories(machine_.data() / name);
  }
  // The progress card would follow upload.state until the launcher stops waiting for it.
  withoutCard();
  const stage::RunResult run = play();
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(maskedLog(run),
            joined({beforeTheGame("0"), archived("ending=- total=428.019 status=\"running\""),
                    withoutServer(),
                    {"stage: run not finished, nothing queued", "stage: upload done (ok=0)",
                     kDoneLine}}));
}

TEST_F(EntryStages, onlyTheDataFolderAndItsReceiptsAreCreated) {
  putUp(stage::unfinishedRun().text());
  settings({{"data", textOf(machine_.root() / "new")}});
  const stage::RunResult run = play();
  EXPECT_EQ(run.exitCode, 0U);
  Lines files = stage::listFolder(machine_.root() / "new");
  for (std::string& file : files) file = e2e::maskStamps(file);
  EXPECT_EQ(files, (Lines{"board.toggle", "launch.state", "receipts\\receipt_YYYYMMDD_hhmmss.json",
                          "timer.enabled", "upload.state"}));
}

TEST_F(EntryStages, aDataFolderBelowAMissingOneIsNotCreatedAndTheRunGoesOn) {
  putUp(stage::finishedRun().text());
  settings({{"data", textOf(machine_.root() / "no" / "data")}});
  withoutCard();
  const stage::RunResult run = play();
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(maskedLog(run),
            joined({beforeTheGame(), {"failed to archive receipt"}, withoutServer(),
                    {"stage: upload failed, saving pending", "stage: upload done (ok=0)",
                     kDoneLine}}));
  EXPECT_FALSE(stage::pathExists(machine_.root() / "no"));
}

TEST_F(EntryStages, theStateFilesFollowTheRun) {
  putUp(stage::finishedRun().text());
  machine_.setSteam({.delayMs = 700});
  stage::RaceServer server(withoutToken());
  server.answer("POST", "/submit", stage::Reply::json("{\"accepted\":false}").after(700));
  settings({{"server", server.url()}});
  stage::writeFile(machine_.data() / "launch.state", "left by the last run");
  stage::writeFile(machine_.data() / "upload.state", "fail");

  stage::LauncherRun run = machine_.startLauncher();
  ASSERT_TRUE(run.waitForLog("stage: launching game"));
  EXPECT_EQ(machine_.dataFile("launch.state"), "launching");
  ASSERT_TRUE(run.waitForLog("waiting for exit..."));
  ASSERT_TRUE(machine_.timeline().waitFor("game", "write"));
  for (int tries = 0; tries < 500 && machine_.dataFile("launch.state") != "playing"; ++tries) {
    Sleep(10);
  }
  EXPECT_EQ(machine_.dataFile("launch.state"), "playing");
  EXPECT_EQ(machine_.dataFile("upload.state"), "fail");  // untouched until the upload
  machine_.endGame();
  for (int tries = 0; tries < 1000 && server.requests("POST", "/submit").empty(); ++tries) {
    Sleep(10);
  }
  ASSERT_EQ(server.requests("POST", "/submit").size(), 1U);
  EXPECT_EQ(machine_.dataFile("launch.state"), "uploading");
  EXPECT_EQ(machine_.dataFile("upload.state"), "uploading");
  EXPECT_EQ(run.wait().exitCode, 0U);
  EXPECT_EQ(machine_.dataFile("launch.state"), "done");
  EXPECT_EQ(machine_.dataFile("upload.state"), "fail");
}

TEST_F(EntryStages, anAcceptedRunIsFinishedWithoutATimeForItsFilesAreGone) {
  putUp(stage::finishedRun().text());
  withoutCard();
  stage::RaceServer server(withoutToken());
  settings({{"server", server.url()}});
  const stage::RunResult run = play();
  EXPECT_EQ(run.exitCode, 0U);
  Lines before = beforeTheGame();
  before.erase(before.begin() + 3);  // there is a server: its lines stand there
  before.insert(before.begin() + 3,
                {"week.json updated from server", "weekly seed = 20261147",
                 "leaderboard.json updated from server", "board_data.txt updated from server",
                 "board_en.txt updated from server", "board.txt updated from server",
                 "board.tsv updated from server"});
  EXPECT_EQ(maskedLog(run),
            joined({before, archived(kFinishedSummary),
                    {"stage: uploading", kNoTimer, "livesplit phase: (none)",
                     "ending inferred from splits: main (map=ENDING:main t=754.56)",
                     "livesplit time unavailable, using receipt time",
                     "difficulty from game (receipt): normal",
                     "upload response: {\"accepted\":true,\"rank\":1,\"points\":100}",
                     "stage: upload done (ok=1)", kDoneLine}}));
  EXPECT_EQ(machine_.dataFile("upload.state"), "done");
  EXPECT_FALSE(stage::pathExists(machine_.data() / "pending"));
  const std::vector<stage::SeenBox> seen = boxes_->boxes();
  ASSERT_EQ(seen.size(), 1U);
  EXPECT_EQ(seen[0].caption, "KOV");
  EXPECT_EQ(seen[0].text, readAsAnsi("成绩已上传成功！\n\n现在可以关掉启动器了。"));
}

TEST_F(EntryStages, aRunThatTheCheckRejectsIsQueuedAllTheSameWhenItsStatusIsEnding) {
  stage::Receipt receipt = stage::finishedRun();
  receipt.splits.back().map = "Level 3999";  // an ending map, but no marker
  putUp(receipt.text());
  stage::RaceServer server(withoutToken());
  settings({{"server", server.url()}});
  const stage::RunResult run = play();
  const Lines log = maskedLog(run);
  const auto uploading = std::find(log.begin(), log.end(), "stage: uploading");
  EXPECT_EQ(Lines(uploading, log.end()),
            joined({{"stage: uploading", kNoTimer,
                     "run not finished: receipt has no ENDING marker (crashed before ending?)",
                     "skip reported: run not finished (no ending screen)",
                     "stage: upload failed, saving pending", pendingSaved()},
                    end("fail", 0)}));
}

TEST_F(EntryStages, anUndeliveredRunWhoseStatusIsNotEndingIsNotQueued) {
  stage::Receipt receipt = stage::finishedRun();
  receipt.status = "running";
  putUp(receipt.text());
  settings({{"server", stage::unreachableUrl()}});
  const stage::RunResult run = play();
  const Lines log = maskedLog(run);
  const auto uploading = std::find(log.begin(), log.end(), "stage: uploading");
  EXPECT_EQ(Lines(uploading, log.end()),
            joined({{"stage: uploading", kNoTimer, "livesplit phase: (none)",
                     "ending inferred from splits: main (map=ENDING:main t=754.56)",
                     "livesplit time unavailable, using receipt time",
                     "difficulty from game (receipt): normal",
                     "upload failed (server unreachable), saved to pending queue",
                     "stage: run not finished, nothing queued"},
                    end("none", 0)}));
  EXPECT_FALSE(stage::pathExists(machine_.data() / "pending"));
}

TEST_F(EntryStages, aBlankBehindTheStatusColonIsNotTheEndingStatus) {
  putUp("{\"status\": \"ending\",\"total\":1}");
  settings();
  const stage::RunResult run = play();
  EXPECT_TRUE(run.hasLogLine("stage: run not finished, nothing queued"));
  EXPECT_FALSE(stage::pathExists(machine_.data() / "pending"));
}

TEST_F(EntryStages, theModsResultFileDecidesWhetherTheRunIsFinished) {
  putUp(stage::finishedRun().text());
  machine_.writeModResult("");  // it opens: its empty text counts, not the receipt's
  settings();
  const stage::RunResult run = play();
  EXPECT_TRUE(run.hasLogLine("stage: run not finished, nothing queued"));
  EXPECT_TRUE(run.hasLogLine("result card: kind=none ok=0"));
}

TEST_F(EntryStages, theModsResultFileIsQueuedWhenItsRunIsFinished) {
  putUp(stage::unfinishedRun().text());
  machine_.writeModResult("{\"status\":\"ending\"}");
  settings();
  const stage::RunResult run = play();
  EXPECT_TRUE(run.hasLogLine("stage: upload failed, saving pending"));
  const Lines queued = stage::listFolder(machine_.data() / "pending");
  ASSERT_EQ(queued.size(), 1U);
  EXPECT_EQ(stage::readFile(machine_.data() / "pending" / queued[0]), "{\"status\":\"ending\"}");
}

TEST_F(EntryStages, atTheEndItWaitsForOneCharacterWithTheLogClosed) {
  putUp(stage::unfinishedRun().text());
  settings();
  stage::LauncherRun run = machine_.startLauncher({}, withoutPlayer());
  ASSERT_TRUE(run.waitForLog("waiting for exit..."));
  machine_.endGame();
  ASSERT_TRUE(run.waitForConsole(kEnterPrompt));
  EXPECT_TRUE(run.running());
  EXPECT_TRUE(opensExclusively(machine_.log()));
  EXPECT_EQ(machine_.dataFile("launch.state"), "done");
  EXPECT_TRUE(machine_.logBytes().ends_with(std::string(kDoneLine) + "\r\n"));
  run.typeInput("x");
  const stage::RunResult result = run.wait();
  EXPECT_FALSE(result.hang);
  EXPECT_EQ(result.exitCode, 0U);
}

TEST_F(EntryStages, theEndOfInputEndsTheWaitToo) {
  putUp(stage::unfinishedRun().text());
  settings();
  stage::RunOptions options;
  options.standardInput.clear();
  const stage::RunResult run = e2e::runUntilGameEnds(machine_, options);
  EXPECT_FALSE(run.hang);
  EXPECT_EQ(run.exitCode, 0U);
}

TEST_F(EntryStages, thePreloadedTokenReachesTheResultCard) {
  putUp(stage::finishedRun().text());
  stage::writeFile(machine_.app() / "profile_token.txt", "k4-17\r\n");
  stage::writeFile(machine_.data() / "profile_opened.flag", "1");
  stage::RaceServer server(withoutToken());
  settings({{"server", server.url()}});
  const stage::RunResult run = play();
  EXPECT_TRUE(run.hasLogLine("profile token preloaded (5 bytes)"));
  const std::vector<stage::Event> cards = machine_.timeline().events("card", "start");
  ASSERT_EQ(cards.size(), 2U);
  EXPECT_EQ(cards[1].text, "\"" + textOf(machine_.app() / "kov_result.exe") +
                               "\" --ok 1 --kind ok --total 754.560 --difficulty normal "
                               "--ending main --rank 1 --points 100 --msg \"login code: k4-17\"");
}

// The console ------------------------------------------------------------------------------

/// A console of our own, which a launcher shares. Our standard handles stay as they were.
class OwnConsole {
 public:
  OwnConsole() {
    FreeConsole();
    EXPECT_TRUE(AllocConsole());
    for (std::size_t i = 0; i < std::size(kNames); ++i) {
      own_[i] = GetStdHandle(kNames[i]);
      SetStdHandle(kNames[i], before_[i]);
    }
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    input_ = CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE,
                         FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable, OPEN_EXISTING, 0,
                         nullptr);
    output_ = CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE,
                          FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable, OPEN_EXISTING, 0,
                          nullptr);
  }
  ~OwnConsole() {
    CloseHandle(input_);
    CloseHandle(output_);
    // The end of a console closes the standard handles that came with it.
    for (std::size_t i = 0; i < std::size(kNames); ++i) SetStdHandle(kNames[i], own_[i]);
    FreeConsole();
    for (std::size_t i = 0; i < std::size(kNames); ++i) SetStdHandle(kNames[i], before_[i]);
  }
  OwnConsole(const OwnConsole&) = delete;
  OwnConsole& operator=(const OwnConsole&) = delete;

  [[nodiscard]] HANDLE start(const std::filesystem::path& program,
                             const std::wstring& arguments = {}, DWORD flags = 0) const {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input_;
    startup.hStdOutput = startup.hStdError = output_;
    PROCESS_INFORMATION info{};
    std::wstring commandLine = L"\"" + program.wstring() + L"\" " + arguments;
    EXPECT_TRUE(CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, flags,
                               nullptr, program.parent_path().c_str(), &startup, &info));
    CloseHandle(info.hThread);
    return info.hProcess;
  }
  void setMode(DWORD mode) const { EXPECT_TRUE(SetConsoleMode(input_, mode)); }
  [[nodiscard]] DWORD mode() const {
    DWORD mode = 0;
    EXPECT_TRUE(GetConsoleMode(input_, &mode));
    return mode;
  }
  void pressEnter() const {
    INPUT_RECORD key{};
    key.EventType = KEY_EVENT;
    key.Event.KeyEvent = {TRUE, 1, VK_RETURN, 28, {L'\r'}, 0};
    DWORD written = 0;
    EXPECT_TRUE(WriteConsoleInputW(input_, &key, 1, &written));
  }
  /// The text of the screen's first rows, blanks at the ends of rows removed.
  [[nodiscard]] std::string screen(SHORT rows) const {
    std::string text;
    for (SHORT row = 0; row < rows; ++row) {
      wchar_t cells[80];
      DWORD read = 0;
      ReadConsoleOutputCharacterW(output_, cells, 80, {0, row}, &read);
      std::string line = stage::toUtf8(std::wstring_view(cells, read));
      line.erase(line.find_last_not_of(' ') + 1);
      text += line + "\n";
    }
    return text;
  }

 private:
  static constexpr DWORD kNames[] = {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
  HANDLE before_[3] = {GetStdHandle(kNames[0]), GetStdHandle(kNames[1]), GetStdHandle(kNames[2])};
  HANDLE own_[3] = {};
  HANDLE input_ = nullptr;
  HANDLE output_ = nullptr;
};

class EntryConsole : public testing::Test {
 protected:
  /// A launcher without settings in our console, until it waits for a key.
  HANDLE startAndWaitForPrompt() {
    const HANDLE process = console_.start(machine_.launcher());
    const std::string wanted = asWritten({kStartLine, kIncomplete});
    for (int tries = 0; tries < 1000 && machine_.logBytes() != wanted; ++tries) Sleep(10);
    EXPECT_EQ(machine_.logBytes(), wanted);
    return process;
  }
  /// The modes that a launcher sets for the console's input until it ends.
  std::vector<DWORD> modesSet(const wchar_t* arguments) const {
    std::vector<DWORD> modes;
    std::optional<stage::Debugger> debugger;
    debugger.emplace(L"kernel32.dll", stage::Debugger::Functions{
        {"SetConsoleMode", [&](const stage::Debugger::Call& call) {
          if (debugger->inProgram(call.caller())) modes.push_back(call.argument<DWORD>(2));
        }}});
    const stage::WinHandle process = stage::ownHandle(
        console_.start(machine_.launcher(), arguments, DEBUG_ONLY_THIS_PROCESS));
    const std::uint64_t limit = GetTickCount64() + 20000;
    while (!debugger->exitCode() && GetTickCount64() < limit) debugger->work(50);
    EXPECT_TRUE(debugger->exitCode()) << "the launcher does not end";
    return modes;
  }
  void finish(HANDLE process) const {
    console_.pressEnter();
    EXPECT_EQ(WaitForSingleObject(process, 10000), WAIT_OBJECT_0);
    DWORD code = 0;
    GetExitCodeProcess(process, &code);
    EXPECT_EQ(code, 1U);
    CloseHandle(process);
  }

  stage::Stage machine_{"entry"};
  OwnConsole console_;
};

TEST_F(EntryConsole, quickEditIsSwitchedOffAndTheRestOfTheModeStays) {
  const DWORD mode = ENABLE_PROCESSED_INPUT | ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT |
                     ENABLE_MOUSE_INPUT | ENABLE_WINDOW_INPUT | ENABLE_QUICK_EDIT_MODE |
                     ENABLE_EXTENDED_FLAGS;
  console_.setMode(mode);
  ASSERT_EQ(console_.mode(), mode);
  const HANDLE process = startAndWaitForPrompt();
  EXPECT_EQ(console_.mode(), mode & ~static_cast<DWORD>(ENABLE_QUICK_EDIT_MODE));
  finish(process);
  EXPECT_EQ(console_.mode(), mode);
}

// A run that leaves early puts the mode back too; the other modes never touch it.
TEST_F(EntryConsole, quickEditIsSwitchedOffInARunAlone) {
  const DWORD off = ENABLE_PROCESSED_INPUT | ENABLE_LINE_INPUT | ENABLE_EXTENDED_FLAGS;
  const DWORD on = off | ENABLE_QUICK_EDIT_MODE;
  machine_.writeIni({{"dryrun", "1"}});
  for (const auto& [arguments, wanted] :
       {std::pair(L"", std::vector<DWORD>{off, on}), std::pair(L"--other", std::vector{off, on}),
        std::pair(L"--detect", std::vector<DWORD>{}), std::pair(L"--profile", std::vector<DWORD>{}),
        std::pair(L"--upload", std::vector<DWORD>{})}) {
    console_.setMode(on);
    EXPECT_EQ(modesSet(arguments), wanted) << stage::toUtf8(arguments);
    EXPECT_EQ(console_.mode(), on) << stage::toUtf8(arguments);
  }
}

TEST_F(EntryConsole, anotherModeIsKeptAsItIs) {
  const DWORD mode = ENABLE_PROCESSED_INPUT | ENABLE_LINE_INPUT | ENABLE_INSERT_MODE |
                     ENABLE_EXTENDED_FLAGS;
  console_.setMode(mode);
  const HANDLE process = startAndWaitForPrompt();
  EXPECT_EQ(console_.mode(), mode);
  finish(process);
}

TEST_F(EntryConsole, itsCodePagesAreUtf8AndChineseTextIsWhole) {
  SetConsoleOutputCP(437);
  SetConsoleCP(437);
  const HANDLE process = startAndWaitForPrompt();
  const std::string wanted = std::string(kStartLine) + "\n" + kIncomplete + "\n\n按回车键退出...\n";
  std::string seen;
  for (int tries = 0; tries < 500 && seen != wanted; ++tries) {
    seen = console_.screen(4);
    Sleep(10);
  }
  EXPECT_EQ(seen, wanted);
  EXPECT_EQ(GetConsoleOutputCP(), 65001U);
  EXPECT_EQ(GetConsoleCP(), 65001U);
  finish(process);
}

}  // namespace
