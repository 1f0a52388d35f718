// Scenes of LiveSplit: there, late, without its server, not there at all.

#include "rehearsal/scenes/show.h"

namespace rehearsal {

namespace {

void noLiveSplit(Show& show) {
  show.setUp();
  std::filesystem::remove_all(show.machine().liveSplitFolder());
  show.addSettings({});
  show.play();
  show.report();

  show.expectExitCode(0);
  show.expectLog({"difficulty chooser skipped (in-game difficulty is authoritative)",
                  "week.json updated from server",
                  "game exited",
                  "livesplit probe failed (server not started?)",
                  "livesplit phase: (none)",
                  "livesplit time unavailable, using receipt time",
                  "stage: upload done (ok=1)"});
  show.expectNotInLog("livesplit started*");
  show.expectNotInLog("livesplit tcp server*");
  show.expectNotInLog("WARNING*");
  show.expectBody("/submit", "*\"total\":754.560,*");
  show.expectBoxes({});
}

void liveSplitLate(Show& show) {
  show.setUp();
  stage::LiveSplitScript timer;
  timer.delayMs = 5000;
  timer.replies["getcurrenttimerphase"] = {"NotRunning", "Ended"};
  timer.finalTime = timer.lastSplit = timer.currentTime = 754.6;
  show.machine().setLiveSplit(timer);
  show.play();
  show.report();

  show.expectExitCode(0);
  show.expectLog({"livesplit started early (before chooser)",
                  "livesplit tcp server reachable (phase=NotRunning)",
                  "livesplit time used: 754.60 (receipt said 754.560)",
                  "stage: upload done (ok=1)"});
  show.expectBoxes({});
}

void liveSplitOff(Show& show) {
  show.setUp();
  show.machine().setLiveSplit({.listens = false});
  show.setServerStartup(false);
  show.play();
  show.report();

  show.expectExitCode(0);
  show.expectAtLeastMs(15000);
  show.expectLog({"livesplit started early (before chooser)",
                  "WARNING: livesplit tcp server not reachable",
                  "game exited",
                  "livesplit probe failed (server not started?)",
                  "livesplit time unavailable, using receipt time",
                  "stage: upload done (ok=1)"});
  show.expectBoxes({"KOV 周赛|information|提醒：还没连上 LiveSplit 的计时服务器。*"});
}

}  // namespace

std::vector<Scene> timerScenes() {
  return {
      {"no-livesplit", "The player uses no LiveSplit; the receipt's time counts.", noLiveSplit},
      {"livesplit-late", "LiveSplit's server answers only after five seconds.", liveSplitLate},
      {"livesplit-off", "LiveSplit runs, but nobody started its server.", liveSplitOff},
  };
}

}  // namespace rehearsal
