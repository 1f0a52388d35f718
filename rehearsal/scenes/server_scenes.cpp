// Scenes of the race server and of what the player gets to see of its answer.

#include "rehearsal/scenes/show.h"

namespace rehearsal {

namespace {

constexpr char kPage[] = "https://kov-race.example/profile?token=kq7-4821";
constexpr char kRetry[] = ". Result saved locally - it will retry next launch.\"";

/// A finished run that the server did not take: it is queued and the card says why.
void expectQueuedRun(Show& show, const std::string& reason) {
  show.expectExitCode(0);
  show.expectLog({"stage: upload failed, saving pending", "pending saved: *",
                  "stage: upload done (ok=0)", "result card: kind=fail ok=0",
                  "=== KOV launcher done ==="});
  show.expectDataFile("upload.state", "fail");
  show.expectCards({" --mode progress --state *",
                    " --ok 0 --kind fail *--msg \"" + reason + kRetry});
  show.expectPages({});
}

/// The standard machine's run, refused by the scene's server.
void playRefusal(Show& show, const std::string& error, const std::string& reason) {
  show.setUp();
  show.play();
  show.report();
  show.expectLog({"upload response: {\"accepted\":false,\"error\":\"" + error + "\"}"});
  show.expectRequests(weeklyRequests() + std::vector<std::string>{"POST /submit"});
  show.expectDataFilesOfFullRun({"pending\\p_*.json"});
  expectQueuedRun(show, reason);
}

void offline(Show& show) {
  show.setServer(stage::unreachableUrl());
  show.setUp();
  show.play({}, 120000);
  show.report();

  show.expectLog({"week.json: server unreachable, using cached copy",
                  "board.tsv: server unreachable, using cached copy",
                  "game exited",
                  "upload failed (server unreachable), saved to pending queue"});
  show.expectDataFiles({"board.toggle", "launch.state", "pending\\p_*.json",
                        "receipts\\receipt_*.json", "timer.enabled", "upload.state"});
  show.expectRequests({});
  expectQueuedRun(show, "Network error");
}

void refused(Show& show) {
  playRefusal(show, "splits too few (10 of at least 20)", "incomplete result (too few splits)");
}

stage::Rules wantsTwentySplits() {
  stage::Rules rules;
  rules.minimumSplits = 20;
  return rules;
}

void hardDifficulty(Show& show) {
  playRefusal(show, "hard difficulty is not part of the race",
              "Hard difficulty is not part of the race");
}

stage::Rules onlyEasy() {
  stage::Rules rules;
  rules.difficulties = {"easy"};
  return rules;
}

void weekClosed(Show& show) {
  playRefusal(show, "week window closed", "This week has ended - result not counted");
}

stage::Rules closedWeek() {
  stage::Rules rules;
  rules.weekOpen = false;
  return rules;
}

void queueOfThree(Show& show) {
  show.setUp();
  stage::Receipt tooShort = stage::finishedRun();
  tooShort.splits.resize(3);
  show.queue("p_20261117_200000.json", stage::finishedRun());
  show.queue("p_20261118_200000.json", tooShort);
  show.queue("p_20261119_200000.json", stage::finishedRun());
  show.play();
  show.report();

  show.expectExitCode(0);
  show.expectLog({"pending flushed: 2", "stage: launching game", "stage: upload done (ok=1)"});
  show.expectRequests(weeklyRequests() + std::vector<std::string>{"POST /submit", "POST /submit",
                                                                  "POST /submit", "POST /submit"});
  show.expectDataFilesOfFullRun(
      {"pending\\p_20261118_200000.json", "profile_opened.flag", "profile_token.txt"});
  show.expectDataFile("pending\\p_20261118_200000.json", tooShort.text());
}

void noCard(Show& show) {
  show.setUp();
  std::filesystem::remove(show.machine().app() / "kov_result.exe");
  show.play();
  show.report();

  show.expectExitCode(0);
  show.expectLog({"stage: upload done (ok=1)", "=== KOV launcher done ==="});
  show.expectNotInLog("result card*");
  show.expectCards({});
  // The box takes the UTF-8 text for text of the ANSI code page; what it shows depends on it.
  show.expectBoxes({"KOV|none|*"});
}

void firstLogin(Show& show) {
  show.setUp();
  show.play();
  show.report();

  show.expectExitCode(0);
  show.expectLog({"profile token saved", "opened profile page (first time)",
                  "upload response: *\"token\":\"kq7-4821\"}"});
  show.expectNotInLog("opened profile page (fallback path)");
  show.expectDataFile("profile_token.txt", "kq7-4821");
  show.expectDataFile("profile_opened.flag", "1");
  show.expectPages({kPage});
}

void secondLogin(Show& show) {
  show.setUp();
  stage::writeFile(show.machine().data() / "profile_token.txt", "kq7-4821");
  stage::writeFile(show.machine().data() / "profile_opened.flag", "1");
  show.play();
  show.report();

  show.expectExitCode(0);
  show.expectLog({"profile token preloaded (8 bytes)", "profile token saved",
                  "stage: upload done (ok=1)", "result card: kind=ok ok=1"});
  show.expectNotInLog("opened profile page*");
  show.expectPages({});
}

}  // namespace

std::vector<Scene> serverScenes() {
  return {
      {"offline", "The race server cannot be reached; the run is queued.", offline},
      {"refused", "The server refuses the run: too few splits.", refused, wantsTwentySplits},
      {"hard-difficulty", "The server refuses the run: its difficulty is not part of the race.",
       hardDifficulty, onlyEasy},
      {"week-closed", "The server refuses the run: the week is over.", weekClosed, closedWeek},
      {"queue", "Three results wait in the queue; the server refuses one of them.", queueOfThree},
      {"no-card", "The result card program is missing; a message box stands in.", noCard},
      {"first-login", "The first login code arrives and the profile page opens.", firstLogin},
      {"second-login", "A login code is known already; the page does not open again.",
       secondLogin},
  };
}

}  // namespace rehearsal
