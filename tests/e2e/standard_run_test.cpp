#include <gtest/gtest.h>

#include "tests/e2e/full_run.h"

namespace {

using e2e::Lines;
using stage::textOf;

constexpr char kReply[] = "{\"accepted\":true,\"rank\":1,\"points\":100,\"token\":\"kq7-4821\"}";

/// The run that a player has every week: Steam is in the registry and the game in the second
/// library, the mod is in place, LiveSplit starts and answers, one result of last time waits in
/// the queue, and a finished run is accepted.
class StandardRun : public e2e::FullRunTest {
 protected:
  StandardRun() : FullRunTest("std") {
    server.clearAnswers();  // an organiser's own
    machine.putUpStandardMachine(server.url());
    machine.writePackage();
    machine.writeIni(machine.standardIni(server.url()));
    machine.setGame(e2e::staysAfterRun(machine, stage::finishedRun().text()));
    stage::Receipt queued = stage::finishedRun();
    queued.total = "801.250";
    queued_ = queued.text();
    stage::writeFile(machine.data() / "pending" / "p_20261114_201502.json", queued_);
    run_ = e2e::runUntilGameEnds(machine);
    EXPECT_FALSE(run_.hang);
    EXPECT_EQ(run_.exitCode, 0U);
    EXPECT_TRUE(machine.timeline().waitFor("browser", "open"));
  }

  /// The path that the registry has: in lower case.
  [[nodiscard]] std::string steam() const {
    return stage::replaceAll(*stage::RegistryKeeper::read("Software\\Valve\\Steam", "SteamPath"),
                             "/", "\\") +
           "\\steam.exe";
  }
  [[nodiscard]] std::string submission() const {
    return "{\"player\":\"竞速玩家\",\"playerId\":\"76561198000000001\"," +
           stage::replaceAll(stage::finishedRun().text().substr(1), "\"total\":754.560",
                             "\"total\":754.60");
  }
  [[nodiscard]] std::string resubmission() const {
    return "{\"player\":\"竞速玩家\",\"difficulty\":\"normal\"," + queued_.substr(1);
  }

  void expectLogAndConsole() const;
  void expectFiles() const;
  void expectRequests() const;

  std::string queued_;
  stage::RunResult run_;
};

TEST_F(StandardRun, isExactlyThis) {
  expectLogAndConsole();
  expectFiles();
  expectRequests();
}

void StandardRun::expectLogAndConsole() const {
  const std::string data = textOf(machine.data());
  const Lines early = {
      e2e::kStartLine,
      "steam detected: " + steam(),
      "game detected: " + textOf(machine.gameExe()),
      e2e::kInstalling,
      e2e::kModVerified,
      "steam persona detected: 竞速玩家",
      "livesplit layout path fixed to " + textOf(machine.liveSplitFolder()) + "\\halvorn.lsl",
      e2e::kTimerStartedEarly};
  const Lines timer = {e2e::kChooser, e2e::kTimerRuns, e2e::kTimerReachable};
  const Lines game = {e2e::kOverlayOff,
                      "pending flushed: 1",
                      e2e::kLaunching,
                      e2e::kSteamStarted,
                      e2e::kWaiting,
                      e2e::kExited,
                      e2e::kClosed,
                      "receipt archived: " + data + "\\receipts\\receipt_YYYYMMDD_hhmmss.json",
                      std::string("receipt summary: ") + e2e::kFinishedSummary,
                      e2e::kUploading,
                      "livesplit probe ok: 754.60",
                      "livesplit phase: Ended",
                      e2e::kEndingMain,
                      "cross-check: livesplit=754.60 lastSplit=754.56 diff=0.04",
                      "livesplit time used: 754.60 (receipt said 754.560)",
                      e2e::kNormal,
                      "profile token saved",
                      e2e::kPageOpened,
                      std::string("upload response: ") + kReply,
                      e2e::kDelivered,
                      e2e::kCardOk,
                      e2e::kDoneLine};
  const Lines rest = e2e::joined({timer, e2e::weeklyUpdated(), game});
  const std::string log = e2e::maskStamps(e2e::maskNumbers(run_.log));
  EXPECT_EQ(e2e::linesOf(log), e2e::joined({early, rest}));
  EXPECT_EQ(log, e2e::asWritten(e2e::joined({early, rest})));
  EXPECT_EQ(e2e::maskStamps(e2e::maskNumbers(run_.console)),
            e2e::asWritten(early) + e2e::kTimerLoading + e2e::asWritten(rest) + e2e::kEnterPrompt);
  EXPECT_EQ(run_.errors, "");
}

void StandardRun::expectFiles() const {
  Lines files = machine.dataFiles();
  for (std::string& file : files) file = e2e::maskStamps(file);
  EXPECT_EQ(files,
            (Lines{"board.toggle", "board.tsv", "board.txt", "board_data.txt", "board_en.txt",
                   "launch.state", "leaderboard.json", "pending\\", "profile_opened.flag",
                   "profile_token.txt", "rand_seed.txt", "receipts\\receipt_YYYYMMDD_hhmmss.json",
                   "timer.enabled", "upload.state", "week.json"}));
  EXPECT_EQ(machine.dataFile("launch.state"), "done");
  EXPECT_EQ(machine.dataFile("upload.state"), "done");
  EXPECT_EQ(machine.dataFile("timer.enabled"), "0");
  EXPECT_EQ(machine.dataFile("board.toggle"), "0");
  EXPECT_EQ(machine.dataFile("profile_token.txt"), "kq7-4821");
  EXPECT_EQ(machine.dataFile("profile_opened.flag"), "1");
  EXPECT_EQ(machine.dataFile("rand_seed.txt"), "20261147");
  EXPECT_EQ(machine.dataFile("week.json"),
            "{\"week\":\"2026-W47\",\"seed\":20261147,\"open\":true}");
  const Lines archived = stage::listFolder(machine.data() / "receipts");
  ASSERT_EQ(archived.size(), 1U);
  EXPECT_EQ(stage::readFile(machine.data() / "receipts" / archived[0]),
            stage::finishedRun().text());
  EXPECT_FALSE(stage::pathExists(machine.receipt()));
  const std::string layout = textOf(machine.liveSplitFolder()) + "\\halvorn.lsl";
  EXPECT_EQ(stage::readFile(machine.liveSplitFolder() / "settings.cfg"),
            stage::liveSplitSettings({layout, layout}, textOf(machine.splits())));
  EXPECT_EQ(stage::listFolder(machine.local()), Lines{});
}

void StandardRun::expectRequests() const {
  Lines requests;
  for (const stage::Request& request : server.requests()) {
    requests.push_back(request.method + " " + request.target + " " + request.body);
  }
  EXPECT_EQ(requests, (Lines{"GET /week/current ", "GET /leaderboard ", "GET /board-data ",
                             "GET /board-en ", "GET /leaderboard.txt ", "GET /leaderboard.tsv ",
                             "POST /submit " + resubmission(), "POST /submit " + submission()}));
  EXPECT_EQ(machine.openedUrls(), (Lines{"https://kov-race.example/profile?token=kq7-4821"}));
}

}  // namespace
