#include <gtest/gtest.h>

#include "tests/e2e/support.h"

namespace {

using e2e::Lines;
using stage::textOf;

constexpr char kAccepted[] =
    "{\"accepted\":true,\"rank\":1,\"points\":100,\"token\":\"kq7-4821\"}";

/// The run that a player has every week: Steam is in the registry and the game in the second
/// library, the mod is in place, LiveSplit starts and answers, one result of last time waits in
/// the queue, and a finished run is accepted.
class StandardRun : public testing::Test {
 protected:
  StandardRun() {
    machine_.putUpStandardMachine(server_.url());
    machine_.writePackage();
    machine_.writeIni(machine_.standardIni(server_.url()));
    machine_.setGame(e2e::staysAfterRun(machine_, stage::finishedRun().text()));
    stage::Receipt queued = stage::finishedRun();
    queued.total = "801.250";
    queued_ = queued.text();
    stage::writeFile(machine_.data() / "pending" / "p_20261114_201502.json", queued_);
    run_ = e2e::runUntilGameEnds(machine_);
    EXPECT_FALSE(run_.hang);
    EXPECT_EQ(run_.exitCode, 0U);
    EXPECT_TRUE(machine_.timeline().waitFor("browser", "open"));
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

  stage::Stage machine_{"std"};
  stage::RaceServer server_;
  std::string queued_;
  stage::RunResult run_;
};

TEST_F(StandardRun, itsLogAndConsoleAreExactlyThese) {
  const std::string data = textOf(machine_.data());
  const Lines early = {
      "=== KOV launcher start (build 2026-10-28 13:45) ===",
      "steam detected: " + steam(),
      "game detected: " + textOf(machine_.gameExe()),
      "installing mod files from package...",
      "mod install verified OK (4/4 files)",
      "steam persona detected: 竞速玩家",
      "livesplit layout path fixed to " + textOf(machine_.liveSplitFolder()) + "\\halvorn.lsl",
      "livesplit started early (before chooser)"};
  const Lines rest = {
      "difficulty chooser skipped (in-game difficulty is authoritative)",
      "livesplit already running (pid #), not opening another",
      "livesplit tcp server reachable (phase=NotRunning)",
      "week.json updated from server",
      "weekly seed = 20261147",
      "leaderboard.json updated from server",
      "board_data.txt updated from server",
      "board_en.txt updated from server",
      "board.txt updated from server",
      "board.tsv updated from server",
      "timer overlay: 0",
      "pending flushed: 1",
      "stage: launching game",
      "steam started with -applaunch 1943950",
      "game running (pid #), waiting for exit...",
      "game exited",
      "stage: game closed (launch result=1), archiving receipt",
      "receipt archived: " + data + "\\receipts\\receipt_YYYYMMDD_hhmmss.json",
      "receipt summary: ending=[{\"i\":0 total=754.560 status=\"ending\"",
      "stage: uploading",
      "livesplit probe ok: 754.60",
      "livesplit phase: Ended",
      "ending inferred from splits: main (map=ENDING:main t=754.56)",
      "cross-check: livesplit=754.60 lastSplit=754.56 diff=0.04",
      "livesplit time used: 754.60 (receipt said 754.560)",
      "difficulty from game (receipt): normal",
      "profile token saved",
      "opened profile page (first time)",
      std::string("upload response: ") + kAccepted,
      "stage: upload done (ok=1)",
      "result card: kind=ok ok=1",
      "=== KOV launcher done ==="};
  const std::string log = e2e::maskStamps(e2e::maskNumbers(run_.log));
  EXPECT_EQ(e2e::linesOf(log), e2e::joined({early, rest}));
  EXPECT_EQ(log, e2e::asWritten(e2e::joined({early, rest})));
  EXPECT_EQ(e2e::maskStamps(e2e::maskNumbers(run_.console)),
            e2e::asWritten(early) + "LiveSplit loading in background, please wait 1-3s...\r\n" +
                e2e::asWritten(rest) + "\r\n按回车键退出...");
  EXPECT_EQ(run_.errors, "");
}

TEST_F(StandardRun, itsFilesAreExactlyThese) {
  Lines files = machine_.dataFiles();
  for (std::string& file : files) file = e2e::maskStamps(file);
  EXPECT_EQ(files, (Lines{"board.toggle", "board.tsv", "board.txt", "board_data.txt",
                          "board_en.txt", "launch.state", "leaderboard.json", "pending\\",
                          "profile_opened.flag", "profile_token.txt", "rand_seed.txt",
                          "receipts\\receipt_YYYYMMDD_hhmmss.json", "timer.enabled",
                          "upload.state", "week.json"}));
  EXPECT_EQ(machine_.dataFile("launch.state"), "done");
  EXPECT_EQ(machine_.dataFile("upload.state"), "done");
  EXPECT_EQ(machine_.dataFile("timer.enabled"), "0");
  EXPECT_EQ(machine_.dataFile("board.toggle"), "0");
  EXPECT_EQ(machine_.dataFile("profile_token.txt"), "kq7-4821");
  EXPECT_EQ(machine_.dataFile("profile_opened.flag"), "1");
  EXPECT_EQ(machine_.dataFile("rand_seed.txt"), "20261147");
  EXPECT_EQ(machine_.dataFile("week.json"),
            "{\"week\":\"2026-W47\",\"seed\":20261147,\"open\":true}");
  const Lines archived = stage::listFolder(machine_.data() / "receipts");
  ASSERT_EQ(archived.size(), 1U);
  EXPECT_EQ(stage::readFile(machine_.data() / "receipts" / archived[0]),
            stage::finishedRun().text());
  EXPECT_FALSE(stage::pathExists(machine_.receipt()));
  const std::string layout = textOf(machine_.liveSplitFolder()) + "\\halvorn.lsl";
  EXPECT_EQ(stage::readFile(machine_.liveSplitFolder() / "settings.cfg"),
            stage::liveSplitSettings({layout, layout}, textOf(machine_.splits())));
  EXPECT_EQ(stage::listFolder(machine_.local()), Lines{});
}

TEST_F(StandardRun, itsRequestsAreExactlyThese) {
  Lines requests;
  for (const stage::Request& request : server_.requests()) {
    requests.push_back(request.method + " " + request.target + " " + request.body);
  }
  EXPECT_EQ(requests,
            (Lines{"GET /week/current ", "GET /leaderboard ", "GET /board-data ",
                   "GET /board-en ", "GET /leaderboard.txt ", "GET /leaderboard.tsv ",
                   "POST /submit " + resubmission(), "POST /submit " + submission()}));
  EXPECT_EQ(machine_.openedUrls(),
            (Lines{"https://kov-race.example/profile?token=kq7-4821"}));
}

}  // namespace
