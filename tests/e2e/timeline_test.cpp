#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/e2e/call_trace.h"
#include "tests/e2e/support.h"

namespace {

using e2e::Lines;
using e2e::logged;
using stage::textOf;

/// The weekly files of a server with one result on its board.
constexpr std::pair<const char*, const char*> kWeekly[] = {
    {"/week/current", "{\"seed\":20261147}"},
    {"/leaderboard", "{\"rows\":[1]}"},
    {"/board-data", "1|runner"},
    {"/board-en", "1 runner EN"},
    {"/leaderboard.txt", "1 runner"},
    {"/leaderboard.tsv", "1;runner"},
};

/// The whole happy run as the outside sees it: one result queued last week, one file of the
/// race mod to install, LiveSplit not yet started, a login code that comes with the answer.
class TimelineTest : public testing::Test {
 protected:
  TimelineTest() {
    stage::Rules rules;
    rules.lateWeeks = {"2026-W46"};
    server_.setRules(rules);
    for (const auto& [target, text] : kWeekly) {
      server_.answer("GET", target, stage::Reply::text(text));
    }
    machine_.putUpStandardMachine(server_.url());
    stage::Ini settings = machine_.standardIni(server_.url());
    settings.emplace_back("timer", "1");
    machine_.writeIni(settings);
    machine_.setGame(e2e::staysAfterRun(machine_, run_.text()));
    std::filesystem::remove(machine_.gameFolder() / "dwmapi.dll");
    lastWeek_.week = "2026-W46";
    stage::writeFile(machine_.data() / "pending" / "p_20261114_201500.json", lastWeek_.text());
  }
  ~TimelineTest() override { machine_.endPrograms(); }

  /// Runs the launcher; the player closes the game as soon as the launcher says "playing".
  /// LiveSplit and the game are up before the launcher looks for them for the first time.
  std::optional<std::uint32_t> play() {
    const std::string state = textOf(machine_.data() / "launch.state");
    e2e::CallTrace trace(machine_.root(), machine_.timeline(),
                         [&](std::string_view path, std::string_view bytes) {
                           if (path == state && bytes == "playing") machine_.endGame();
                         });
    trace.ownCalls().before("connect", [&](const stage::Debugger::Call&) {
      EXPECT_TRUE(machine_.timeline().waitFor("livesplit", "listening"));
    });
    trace.ownCalls().before("Sleep", [&](stage::Debugger::Call& call) {
      if (call.argument<std::uint32_t>(1) != 500) return;
      EXPECT_TRUE(machine_.timeline().waitFor("game", "start"));
      call.setArgument(1, 0);
    });
    const std::optional<std::uint32_t> exitCode = trace.run(machine_.launcher(), 60000);
    calls_ = trace.ownCalls().linesWithoutRepeats();
    return exitCode;
  }

  /// What one of the programs noted of itself.
  [[nodiscard]] Lines eventsOf(std::string_view who) const {
    Lines lines;
    for (const stage::Event& event : machine_.timeline().events(who)) {
      lines.push_back(e2e::lineOf(event, machine_));
    }
    return lines;
  }

  const stage::Receipt run_ = stage::finishedRun();
  stage::Receipt lastWeek_ = stage::finishedRun();
  Lines calls_;  // the launcher's own
  stage::Stage machine_{"line"};
  stage::RaceServer server_{{.timeline = machine_.timeline()}};
};

TEST_F(TimelineTest, theHappyRunFromTheOutside) {
  ASSERT_EQ(play(), 0U);
  const std::string receipt = run_.text();
  std::string config =
      stage::liveSplitSettings({"@\\ls\\halvorn.lsl", "@\\ls\\halvorn.lsl"}, "@\\ls\\race.lss");
  config.resize(config.size() - 2);  // its last line end
  const std::string accepted = R"({"accepted":true,"rank":1,"points":100,"token":"kq7-4821"})";
  const std::string steam = R"("@\steam\steam.exe" -applaunch 1943950)";
  const std::string timer = R"("@\ls\LiveSplit.exe" "@\ls\race.lss")";
  const std::string page = "https://kov-race.example/profile?token=kq7-4821";
  const std::string progressCard =
      R"("@\app\kov_result.exe" --mode progress --state "@\data\upload.state")";
  const std::string resultCard =
      R"("@\app\kov_result.exe" --ok 1 --kind ok --total 754.60 --difficulty normal --ending main)"
      R"( --rank 1 --points 100 --msg "login code: kq7-4821")";

  EXPECT_EQ(
      e2e::asText(e2e::linesInStep(machine_)),
      e2e::asText({
          logged(e2e::kStartLine),
          R"(log steam detected: @\steam\steam.exe)",
          R"(log game detected: GAME\Backrooms-Win64-Shipping.exe)",
          logged(e2e::kInstalling),
          R"(launcher write GAME\dwmapi.dll MZ: a library of the race mod)",
          "log installed 1 files into GAME",
          logged(e2e::kModVerified),
          "log steam persona detected: 竞速玩家",
          R"(launcher folder @\data\receipts)",
          // LiveSplit
          R"(launcher write @\ls\settings.cfg )" + config,
          R"(log livesplit layout path fixed to @\ls\halvorn.lsl)",
          "launcher start " + timer + R"( in @\app\)",
          logged(e2e::kTimerStartedEarly),
          logged(e2e::kChooser),
          logged(e2e::kTimerRuns),
          "timer connect 1",
          "timer command getcurrenttimerphase",
          "timer reply NotRunning",
          logged(e2e::kTimerReachable),
          // The week
          "server request GET /week/current",
          R"(server reply 200 {"seed":20261147})",
          R"(launcher write @\data\week.json {"seed":20261147})",
          "log week.json updated from server",
          R"(launcher write @\data\rand_seed.txt 20261147)",
          "log weekly seed = 20261147",
          "server request GET /leaderboard",
          R"(server reply 200 {"rows":[1]})",
          R"(launcher write @\data\leaderboard.json {"rows":[1]})",
          "log leaderboard.json updated from server",
          "server request GET /board-data",
          "server reply 200 1|runner",
          R"(launcher write @\data\board_data.txt 1|runner)",
          "log board_data.txt updated from server",
          "server request GET /board-en",
          "server reply 200 1 runner EN",
          R"(launcher write @\data\board_en.txt 1 runner EN)",
          "log board_en.txt updated from server",
          "server request GET /leaderboard.txt",
          "server reply 200 1 runner",
          R"(launcher write @\data\board.txt 1 runner)",
          "log board.txt updated from server",
          "server request GET /leaderboard.tsv",
          "server reply 200 1;runner",
          R"(launcher write @\data\board.tsv 1;runner)",
          "log board.tsv updated from server",
          // Flags and the queue
          R"(launcher write @\data\timer.enabled 1)",
          "log timer overlay: 1",
          R"(launcher write @\data\board.toggle 0)",
          R"(launcher write @\data\timer.enabled 0)",
          R"(server request POST /submit {"player":"竞速玩家","difficulty":"normal",)" +
              lastWeek_.text().substr(1),
          "server reply 200 " + accepted,
          R"(launcher delete @\data\pending\p_YYYYMMDD_hhmmss.json)",
          "log pending flushed: 1",
          // The game
          R"(launcher write @\data\launch.state launching)",
          logged(e2e::kLaunching),
          "launcher start " + steam + R"( in @\app\)",
          logged(e2e::kSteamStarted),
          logged(e2e::kWaiting),
          R"(launcher write @\data\launch.state playing)",
          "game exit 0",
          logged(e2e::kExited),
          logged(e2e::kClosed),
          R"(launcher write @\data\receipts\receipt_YYYYMMDD_hhmmss.json )" + receipt,
          R"(log receipt archived: @\data\receipts\receipt_YYYYMMDD_hhmmss.json)",
          logged(std::string("receipt summary: ") + e2e::kFinishedSummary),
          // The upload
          R"(launcher write @\data\launch.state uploading)",
          logged(e2e::kUploading),
          R"(launcher write @\data\upload.state uploading)",
          "launcher start " + progressCard + R"( in @\app\)",
          "timer connect 2",
          "timer command getfinaltime",
          "timer reply 00:12:34.6000000",
          "log livesplit probe ok: 754.60",
          "timer connect 3",
          "timer command getcurrenttimerphase",
          "timer reply Ended",
          "log livesplit phase: Ended",
          logged(e2e::kEndingMain),
          "timer connect 4",
          "timer command getfinaltime",
          "timer reply 00:12:34.6000000",
          "log cross-check: livesplit=754.60 lastSplit=754.56 diff=0.04",
          "timer connect 5",
          "timer command getfinaltime",
          "timer reply 00:12:34.6000000",
          "log livesplit time used: 754.60 (receipt said 754.560)",
          logged(e2e::kNormal),
          R"(server request POST /submit {"player":"竞速玩家","playerId":"76561198000000001",)" +
              stage::replaceAll(receipt.substr(1), "754.560,\"d", "754.60,\"d"),
          "server reply 200 " + accepted,
          R"(launcher write @\data\profile_token.txt kq7-4821)",
          "log profile token saved",
          R"(launcher start "@\bin\browser.exe" ")" + page + R"(" in @\app\)",
          R"(launcher write @\data\profile_opened.flag 1)",
          logged(e2e::kPageOpened),
          "log upload response: " + accepted,
          R"(launcher delete @\receipt.json)",
          R"(launcher write @\data\upload.state done)",
          "card exit 0",
          logged(e2e::kDelivered),
          // The result
          logged(e2e::kCardOk),
          "launcher start " + resultCard + R"( in @\app\)",
          "card exit 0",
          R"(launcher write @\data\launch.state done)",
          logged(e2e::kDoneLine),
          "launcher exit 0",
      }));

  // What it asked of the system for that.
  const std::string root = textOf(machine_.root());
  const auto start = [&](const std::string& commandLine) {
    return e2e::callsOfStart(stage::replaceAll(commandLine, "@", root));
  };
  const std::string steamAsFound = stage::replaceAll(steam, "@", "s:" + root.substr(2));
  const Lines steamLeft = {"CloseHandle steam.exe thread", "CloseHandle steam.exe process"};
  const Lines liveSplitLeft = {"CloseHandle LiveSplit.exe thread",
                               "CloseHandle LiveSplit.exe process"};
  const Lines cardLeft = {"CloseHandle kov_result.exe thread",
                          "CloseHandle kov_result.exe process"};
  EXPECT_EQ(e2e::asText(calls_), e2e::asText(e2e::joined({
                                     start(timer),
                                     liveSplitLeft,
                                     e2e::callsOfTimer("getcurrenttimerphase"),
                                     e2e::callsOfHttp("GET /week/current"),
                                     e2e::callsOfHttp("GET /leaderboard"),
                                     e2e::callsOfHttp("GET /board-data"),
                                     e2e::callsOfHttp("GET /board-en"),
                                     e2e::callsOfHttp("GET /leaderboard.txt"),
                                     e2e::callsOfHttp("GET /leaderboard.tsv"),
                                     e2e::callsOfHttp("POST /submit"),
                                     start(steamAsFound),
                                     steamLeft,
                                     {"Sleep 500", "OpenProcess 0x100000, inherits 0",
                                      "WaitForSingleObject opened process without limit",
                                      "CloseHandle opened process", "GetLocalTime"},
                                     start(progressCard),
                                     e2e::callsOfTimer("getfinaltime"),
                                     e2e::callsOfTimer("getcurrenttimerphase"),
                                     e2e::callsOfTimer("getfinaltime"),
                                     e2e::callsOfTimer("getfinaltime"),
                                     e2e::callsOfHttp("POST /submit"),
                                     {"WaitForSingleObject kov_result.exe process 4000"},
                                     cardLeft,
                                     start(resultCard),
                                     {"WaitForSingleObject kov_result.exe process 15000"},
                                     cardLeft,
                                 })));

  // And each of the programs as it saw itself.
  ASSERT_TRUE(machine_.timeline().waitFor("browser", "open"));
  EXPECT_EQ(eventsOf("browser"), Lines{"browser open " + page});
  EXPECT_EQ(eventsOf("livesplit"),
            (Lines{"livesplit start " + timer, R"(livesplit splits @\ls\race.lss)",
                   "livesplit listening 16834"}));
  // Steam starts the game in its own time.
  EXPECT_THAT(eventsOf("steam"),
              testing::UnorderedElementsAre("steam start " + steam, "steam exit 0",
                                            R"(steam launch GAME\Backrooms-Win64-Shipping.exe)"));
  EXPECT_EQ(eventsOf("game"), (Lines{R"(game start "GAME\Backrooms-Win64-Shipping.exe")",
                                     R"(game write @\receipt.json)", "game exit 0"}));
  Lines cards = eventsOf("card");
  // A card that comes up late sees the end of the upload only.
  std::erase(cards, "card state uploading");
  EXPECT_EQ(cards, (Lines{"card start " + progressCard, "card state done", "card exit 0",
                          "card start " + resultCard, "card exit 0"}));
}

}  // namespace
