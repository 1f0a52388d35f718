// Scenes of the run itself: Steam, the game, the mod, the launcher's modes.

#include "rehearsal/scenes/show.h"

namespace rehearsal {

namespace {

constexpr char kPage[] = "https://kov-race.example/profile?token=kq7-4821";

/// The run of a race week, as it should be: one result is still queued from last week.
void finish(Show& show) {
  show.setUp();
  stage::Receipt lastWeek = stage::finishedRun();
  lastWeek.week = "2026-W46";
  show.queue("p_20261114_201500.json", lastWeek);
  show.play();
  show.report();

  const std::string library = stage::textOf(show.machine().secondLibrary());
  show.expectExitCode(0);
  show.expectLog({"=== KOV launcher start (build 2026-10-28 13:45) ===",
                  "steam detected: *\\steam\\steam.exe",
                  "game detected: " + library + "\\steamapps\\*\\Backrooms-Win64-Shipping.exe",
                  "installing mod files from package...",
                  "mod install verified OK (4/4 files)",
                  "steam persona detected: 竞速玩家",
                  "livesplit layout path fixed to *\\halvorn.lsl",
                  "livesplit started early (before chooser)",
                  "difficulty chooser skipped (in-game difficulty is authoritative)",
                  "livesplit already running (pid *), not opening another",
                  "livesplit tcp server reachable (phase=NotRunning)",
                  "week.json updated from server",
                  "weekly seed = 20261147",
                  "board.tsv updated from server",
                  "timer overlay: 0",
                  "pending flushed: 1",
                  "stage: launching game",
                  "steam started with -applaunch 1943950",
                  "game running (pid *), waiting for exit...",
                  "game exited",
                  "stage: game closed (launch result=1), archiving receipt",
                  "receipt archived: *",
                  "stage: uploading",
                  "livesplit probe ok: 754.60",
                  "livesplit phase: Ended",
                  "ending inferred from splits: main (map=ENDING:main t=754.56)",
                  "cross-check: livesplit=754.60 lastSplit=754.56 diff=0.04",
                  "livesplit time used: 754.60 (receipt said 754.560)",
                  "difficulty from game (receipt): normal",
                  "profile token saved",
                  "opened profile page (first time)",
                  "upload response: {\"accepted\":true,\"rank\":1,\"points\":100,*",
                  "stage: upload done (ok=1)",
                  "result card: kind=ok ok=1",
                  "=== KOV launcher done ==="});
  show.expectRequests(weeklyRequests() +
                      std::vector<std::string>{"POST /submit", "POST /submit"});
  show.expectBody("/submit",
                  "{\"player\":\"竞速玩家\",\"playerId\":\"76561198000000001\",*\"total\":754.60,*}");
  show.expectDataFilesOfFullRun({"pending\\", "profile_opened.flag", "profile_token.txt"});
  show.expectDataFile("launch.state", "done");
  show.expectDataFile("upload.state", "done");
  show.expectDataFile("rand_seed.txt", "20261147");
  show.expectPages({kPage});
  show.expectBoxes({});
  show.expectCards({" --mode progress --state \"*\\upload.state\"",
                    " --ok 1 --kind ok --total 754.60 --difficulty normal --ending main --rank 1"
                    " --points 100 --msg \"login code: kq7-4821\""});
}

stage::Rules takesLastWeek() {
  stage::Rules rules;
  rules.lateWeeks = {"2026-W46"};
  return rules;
}

void unfinished(Show& show) {
  show.setUp();
  show.machine().setGame(show.machine().playsRun(stage::unfinishedRun().text()));
  show.play();
  show.report();

  show.expectExitCode(0);
  show.expectLog({"game exited",
                  "receipt archived: *",
                  "run not finished: receipt has no ENDING marker (crashed before ending?)",
                  "skip reported: run not finished (no ending screen)",
                  "stage: run not finished, nothing queued",
                  "stage: upload done (ok=0)",
                  "result card: kind=none ok=0",
                  "=== KOV launcher done ==="});
  show.expectRequests(weeklyRequests() + std::vector<std::string>{"POST /client/log"});
  show.expectBody("/client/log",
                  "{\"player\":\"竞速玩家\",\"reason\":\"run not finished (no ending screen)\"}");
  show.expectDataFilesOfFullRun({});
  show.expectDataFile("upload.state", "fail");
  show.expectPages({});
  show.expectCards({" --mode progress --state *",
                    " --ok 0 --kind none *"
                    "--msg \"No finish detected - this run will not count.\""});
}

void steamFails(Show& show) {
  show.setUp();
  show.machine().setSteam({.startsGame = false});
  show.play({}, 120000);
  show.report();

  show.expectExitCode(0);
  show.expectAtLeastMs(30000);
  show.expectRequests(weeklyRequests() + std::vector<std::string>{"POST /submit"});
  show.expectLog({"steam started with -applaunch 1943950",
                  "steam launch did not start the game, trying direct exe",
                  "launched game directly (fallback)",
                  "game running (pid *), waiting for exit...",
                  "stage: game closed (launch result=1), archiving receipt",
                  "stage: upload done (ok=1)"});
}

void gameMissing(Show& show) {
  show.setUp();
  std::filesystem::remove(show.machine().gameExe());
  show.play();
  show.report();

  show.expectExitCode(1);
  show.expectLog({"game not found in any steam library", "game not found, aborting"});
  show.expectNotInLog("=== KOV launcher done ===");
  show.expectRequests({});
  show.expectDataFiles({});
  show.expectBoxes({"KOV 周赛|error|没有找到《Escape the Backrooms》的游戏文件。*"});
}

void noMod(Show& show) {
  show.setUp();
  std::filesystem::remove(show.machine().package() / "dwmapi.dll");
  std::filesystem::remove(show.machine().gameFolder() / "dwmapi.dll");
  show.play();
  show.report();

  show.expectExitCode(0);
  show.expectLog({"installing mod files from package...",
                  "MISSING after install: \\dwmapi.dll",
                  "mod install INCOMPLETE (1 missing)",
                  "stage: game closed (launch result=1), archiving receipt",
                  "stage: upload done (ok=1)"});
  show.expectBoxes({"KOV 周赛|error|计时 mod 没有装完整，缺少这些文件：\n\n\\dwmapi.dll\n\n最常见原因*"});
}

void dryRun(Show& show) {
  show.setUp();
  show.addSettings({{"dryrun", "1"}});
  show.play();
  show.report();

  show.expectExitCode(0);
  show.expectLog({"DRYRUN steam=*\\steam\\steam.exe", "DRYRUN game=*\\Backrooms-Win64-Shipping.exe",
                  "DRYRUN receipt=" + stage::textOf(show.machine().receipt()),
                  "DRYRUN data=" + stage::textOf(show.machine().data()),
                  "DRYRUN livesplit=" + stage::textOf(show.machine().liveSplitExe()),
                  "DRYRUN install_from=" + stage::textOf(show.machine().package()),
                  "DRYRUN steam_id=76561198000000001 persona=竞速玩家"});
  show.expectRequests({});
  show.expectDataFiles({});
  show.expectBoxes({});
}

void uploadOnly(Show& show) {
  show.setUp();
  show.machine().writeReceipt(stage::finishedRun().text());
  stage::writeFile(show.machine().data() / "choice.txt", "easy\r\n");
  show.play("--upload");
  show.report();

  show.expectExitCode(0);
  show.expectLog({"upload difficulty from choice.txt: easy",
                  "=== upload-only mode ===",
                  "livesplit probe failed (server not started?)",
                  "livesplit time unavailable, using receipt time",
                  "difficulty from game (receipt): normal",
                  "upload response: {\"accepted\":true,*",
                  "upload-only result: ok"});
  show.expectOnConsole("\n上传成功\n");
  show.expectRequests({"POST /submit"});
  show.expectBody("/submit", "{\"player\":\"player\",\"playerId\":\"76561198000000001\",*");
  show.expectDataFiles({"choice.txt", "profile_opened.flag", "profile_token.txt"});
  show.expectPages({kPage});
}

}  // namespace

std::vector<Scene> runScenes() {
  return {
      {"finish", "A finished run reaches the server, as every week (the standard scene).", finish,
       takesLastWeek},
      {"unfinished", "The player closes the game before the ending.", unfinished},
      {"steam-fails", "Steam does not start the game; after 30 s the launcher does.", steamFails},
      {"game-missing", "The game is in no Steam library.", gameMissing},
      {"no-mod", "An anti-virus program took dwmapi.dll away.", noMod},
      {"dryrun", "The settings ask for a dry run.", dryRun},
      {"upload-only", "The last run is submitted again with --upload.", uploadOnly},
  };
}

}  // namespace rehearsal
