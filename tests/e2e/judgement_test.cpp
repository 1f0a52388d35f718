// The judgement of a run as a player meets it: launcher.exe --upload on a receipt, with a
// timer or without one, against a race server.

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "rehearsal/stage/stage.h"
#include "tests/e2e/upload_run.h"

namespace e2e {
namespace {

class Judgement : public UploadTest {
 protected:
  /// The log of a submitted run without a timer, from the inferred ending on.
  static Lines withoutTimer(const std::string& inferred, const Lines& difficulty = {},
                            const char* time = kReceiptTime) {
    return joined({{kNoProbe}, time == kModTime ? Lines{kUsingModResult} : Lines{},
                   {kNoPhase, "ending inferred from splits: " + inferred, time}, difficulty,
                   {std::string("upload response: ") + kAccepted}});
  }
};

const Lines kNormal = {"difficulty from game (receipt): normal"};

TEST_F(Judgement, finishedRunWithTheTimersTime) {
  machine.writeReceipt(stage::finishedRun().text());
  stage::TimerServer timer;
  timer.replyEnded(754.6);

  const stage::RunResult run = upload();

  EXPECT_EQ(run.logLines(),
            uploadLog({"livesplit probe ok: 754.60", "livesplit phase: Ended",
                       "ending inferred from splits: main (map=ENDING:main t=754.56)",
                       "cross-check: livesplit=754.60 lastSplit=754.56 diff=0.04",
                       "livesplit time used: 754.60 (receipt said 754.560)",
                       "difficulty from game (receipt): normal",
                       std::string("upload response: ") + kAccepted},
                      true));
  EXPECT_EQ(run.exitCode, 0U);
  stage::Receipt sent = stage::finishedRun();
  sent.total = "754.60";
  EXPECT_EQ(submissions(), Lines{payload("runner", sent.text())});
}

TEST_F(Judgement, finishedRunWithoutATimerKeepsItsOwnTime) {
  machine.writeReceipt(stage::finishedRun().text());

  const stage::RunResult run = upload();

  const Lines log =
      uploadLog(withoutTimer("main (map=ENDING:main t=754.56)", kNormal), true);
  EXPECT_EQ(run.logLines(), log);
  Lines console = log;
  console.insert(console.end() - 1, {"", "上传成功"});
  EXPECT_EQ(run.console, asWritten(console));
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(submissions(), Lines{payload("runner", stage::finishedRun().text())});
}

// Each of the three queries stands for itself: the first is only logged, the second only
// compared, the third is what is submitted.
TEST_F(Judgement, timeIsAskedThreeTimesAndTheThirdCounts) {
  machine.writeReceipt(stage::finishedRun().text());
  stage::TimerServer timer;
  timer.reply("getcurrenttimerphase", "Running");
  timer.reply("getfinaltime", {stage::TimerReply::line("00:01:00"),
                               stage::TimerReply::line("00:12:00.5000000"),
                               stage::TimerReply::line("00:13:00.2500000")});

  const stage::RunResult run = upload();

  EXPECT_EQ(run.logLines(),
            uploadLog({"livesplit probe ok: 60.00", "livesplit phase: Running",
                       "ending inferred from splits: main (map=ENDING:main t=754.56)",
                       "cross-check: livesplit=720.50 lastSplit=754.56 diff=-34.06",
                       "WARN: livesplit stopped before last split (likely early stop, review "
                       "manually)",
                       "livesplit time used: 780.25 (receipt said 754.560)",
                       "difficulty from game (receipt): normal",
                       std::string("upload response: ") + kAccepted},
                      true));
  stage::Receipt sent = stage::finishedRun();
  sent.total = "780.25";
  EXPECT_EQ(submissions(), Lines{payload("runner", sent.text())});
}

TEST_F(Judgement, timerThatStopsAnsweringTimesLeavesTheReceiptsTime) {
  machine.writeReceipt(stage::finishedRun().text());
  stage::TimerServer timer;
  timer.reply("getcurrenttimerphase", "Ended");
  timer.reply("getfinaltime", {stage::TimerReply::line("00:12:35"),
                               stage::TimerReply::line("00:12:36"),
                               stage::TimerReply::line("-")});
  timer.reply("getlastsplittime", "-");
  timer.reply("getcurrenttime", "00:00:00");

  const stage::RunResult run = upload();

  EXPECT_EQ(run.logLines(),
            uploadLog({"livesplit probe ok: 755.00", "livesplit phase: Ended",
                       "ending inferred from splits: main (map=ENDING:main t=754.56)",
                       "cross-check: livesplit=756.00 lastSplit=754.56 diff=1.44", kReceiptTime,
                       "difficulty from game (receipt): normal",
                       std::string("upload response: ") + kAccepted},
                      true));
  EXPECT_EQ(submissions(), Lines{payload("runner", stage::finishedRun().text())});
}

// --- the result file ------------------------------------------------------------------

TEST_F(Judgement, modResultFileIsPreferredAndKeepsItsTime) {
  machine.writeReceipt(stage::unfinishedRun().text());
  stage::Receipt mod = stage::finishedRun();
  mod.total = "700.001";
  machine.writeModResult(mod.text());
  stage::TimerServer timer;
  timer.replyEnded(754.6);

  const stage::RunResult run = upload();

  EXPECT_EQ(run.logLines(),
            uploadLog({"livesplit probe ok: 754.60", kUsingModResult, "livesplit phase: Ended",
                       "ending inferred from splits: main (map=ENDING:main t=754.56)",
                       "cross-check: livesplit=754.60 lastSplit=754.56 diff=0.04", kModTime,
                       "difficulty from game (receipt): normal",
                       std::string("upload response: ") + kAccepted},
                      true));
  EXPECT_EQ(submissions(), Lines{payload("runner", mod.text())});
}

TEST_F(Judgement, modResultFileNeedsNoEndingMarker) {
  machine.writeReceipt(stage::unfinishedRun().text());
  stage::Receipt mod = stage::finishedRun();
  mod.splits.back().map = "Level 37 Tunnel";
  machine.writeModResult(mod.text());

  const stage::RunResult run = upload();

  EXPECT_EQ(run.logLines(),
            uploadLog(withoutTimer("main (map=Level 37 Tunnel t=754.56)", kNormal, kModTime),
                      true));
  EXPECT_EQ(submissions(), Lines{payload("runner", mod.text())});
}

// The paths' texts are compared: named by the settings, the mod's file is a receipt.
TEST_F(Judgement, modResultFileThatTheSettingsNameIsJudgedAsAReceipt) {
  settings.insert(settings.begin(),
                  {{"receipt", stage::textOf(machine.data()) + "\\kovw_result.json"},
                   {"data", stage::textOf(machine.data())}});
  machine.writeModResult(stage::finishedRun().text());
  stage::TimerServer timer;
  timer.replyEnded(754.6);

  const stage::RunResult run = upload();

  EXPECT_EQ(run.logLines(),
            uploadLog({"livesplit probe ok: 754.60", kUsingModResult, "livesplit phase: Ended",
                       "ending inferred from splits: main (map=ENDING:main t=754.56)",
                       "cross-check: livesplit=754.60 lastSplit=754.56 diff=0.04",
                       "livesplit time used: 754.60 (receipt said 754.560)",
                       "difficulty from game (receipt): normal",
                       std::string("upload response: ") + kAccepted},
                      true));
  EXPECT_EQ(machine.dataFiles(), Lines{});
}

TEST_F(Judgement, modResultFileThatTheSettingsNameNeedsTheEndingMarker) {
  settings.insert(settings.begin(),
                  {{"receipt", stage::textOf(machine.data()) + "\\kovw_result.json"},
                   {"data", stage::textOf(machine.data())}});
  stage::Receipt mod = stage::finishedRun();
  mod.splits.back().map = "Tunnel";
  machine.writeModResult(mod.text());

  const stage::RunResult run = upload();

  EXPECT_EQ(run.logLines(),
            uploadLog({kNoProbe, kUsingModResult,
                       "run not finished: receipt has no ENDING marker (crashed before ending?)",
                       "skip reported: run not finished (no ending screen)"},
                      false));
}

// The same file under another spelling of its path is another text.
TEST_F(Judgement, otherSpellingOfTheModResultsPathIsNotTheReceipt) {
  settings.insert(settings.begin(),
                  {{"receipt", stage::textOf(machine.data()) + "\\KOVW_RESULT.json"},
                   {"data", stage::textOf(machine.data())}});
  stage::Receipt mod = stage::finishedRun();
  mod.splits.back().map = "Tunnel";
  machine.writeModResult(mod.text());

  const stage::RunResult run = upload();

  EXPECT_EQ(run.logLines(),
            uploadLog(withoutTimer("main (map=Tunnel t=754.56)", kNormal, kModTime), true));
  EXPECT_EQ(machine.dataFiles(), Lines{});
}

// --- runs that are not submitted --------------------------------------------------------

TEST_F(Judgement, withoutAServerNothingIsJudged) {
  machine.writeReceipt(stage::finishedRun().text());
  set("server", "");
  stage::TimerServer timer;
  timer.replyEnded(754.6);

  const stage::RunResult run = upload();

  EXPECT_EQ(run.logLines(), uploadLog({"livesplit probe ok: 754.60",
                                       "no server configured, upload skipped"},
                                      false));
  EXPECT_EQ(run.exitCode, 2U);
}

TEST_F(Judgement, modResultThatIsInvalidHidesAGoodReceipt) {
  machine.writeReceipt(stage::finishedRun().text());
  machine.writeModResult("");

  const stage::RunResult run = upload();

  EXPECT_EQ(run.logLines(), uploadLog({kNoProbe, kUsingModResult,
                                       "receipt content invalid, upload skipped",
                                       "skip reported: receipt invalid"},
                                      false));
}

TEST_F(Judgement, receiptWithAByteBeforeItsBraceIsInvalid) {
  for (const std::string first : {" ", "\n", "\xEF\xBB\xBF", "["}) {
    machine.writeReceipt(first + stage::finishedRun().text());
    const stage::RunResult run = upload();
    EXPECT_EQ(run.logLines(),
              uploadLog({kNoProbe, "receipt content invalid, upload skipped",
                         "skip reported: receipt invalid"},
                        false));
    EXPECT_EQ(run.exitCode, 2U);
  }
  EXPECT_EQ(submissions(), Lines{});
}

TEST_F(Judgement, endingMapOfAnOldSplitIsNoEndingMarker) {
  stage::Receipt run = stage::finishedRun();
  run.splits.back().map = "Tunnel";
  machine.writeReceipt(run.text());

  EXPECT_EQ(upload().logLines(),
            uploadLog({kNoProbe,
                       "run not finished: receipt has no ENDING marker (crashed before ending?)",
                       "skip reported: run not finished (no ending screen)"},
                      false));
}

// A blank after a key's colon hides the marker: keys are found byte for byte.
TEST_F(Judgement, endingMarkerWithABlankIsNone) {
  machine.writeReceipt(
      "{\"splits\":[{\"i\":0,\"map\": \"ENDING:main\",\"t\":5}],\"total\":5}");

  EXPECT_EQ(upload().logLines(),
            uploadLog({kNoProbe,
                       "run not finished: receipt has no ENDING marker (crashed before ending?)",
                       "skip reported: run not finished (no ending screen)"},
                      false));
}

TEST_F(Judgement, markerThatIsNeverClosedIsNoEndingSplit) {
  machine.writeReceipt("{\"map\":\"ENDING:main");

  EXPECT_EQ(upload().logLines(),
            uploadLog({kNoProbe, kNoPhase,
                       "run not finished, upload skipped (no ending map in splits)",
                       "skip reported: run not finished (no ending map)"},
                      false));
}

TEST_F(Judgement, phaseInLowerCaseIsNotEnded) {
  stage::Receipt mod = stage::unfinishedRun();
  machine.writeModResult(mod.text());
  stage::TimerServer timer;
  timer.replyState("ended", std::nullopt, std::nullopt, 430.0);

  EXPECT_EQ(upload().logLines(),
            uploadLog({"livesplit probe ok: 430.00", kUsingModResult, "livesplit phase: ended",
                       "run not finished, upload skipped (no ending map in splits)",
                       "skip reported: run not finished (no ending map)"},
                      false));
}

// --- endings ---------------------------------------------------------------------------

TEST_F(Judgement, endedTimerFinishesARunWithoutAnEndingSplit) {
  stage::Receipt mod = stage::unfinishedRun();
  mod.ending = "quit";
  machine.writeModResult(mod.text());
  stage::TimerServer timer;
  timer.reply("getcurrenttimerphase", {stage::TimerReply::raw(" Ended \r\n")});
  timer.reply("getfinaltime", "-");
  timer.reply("getlastsplittime", "-");
  timer.reply("getcurrenttime", "00:00:00");

  const stage::RunResult run = upload();

  EXPECT_EQ(run.logLines(),
            uploadLog({kNoProbe, kUsingModResult, "livesplit phase: Ended",
                       "ending inferred from splits: main (map= t=-1.00)", kModTime,
                       "difficulty from game (receipt): normal",
                       std::string("upload response: ") + kAccepted},
                      true));
  mod.status = "ending";
  mod.ending = "main";
  EXPECT_EQ(submissions(), Lines{payload("runner", mod.text())});
}

TEST_F(Judgement, lastEndingSplitWinsOverTheMarker) {
  stage::Receipt run = stage::finishedRun();
  run.splits.back().map = "ENDING:true";
  run.splits.push_back({"Level 37 Tunnel", "760.5"});
  run.ending = "?";
  machine.writeReceipt(run.text());

  EXPECT_EQ(upload().logLines(),
            uploadLog(withoutTimer("main (map=Level 37 Tunnel t=760.50)", kNormal), true));
  run.ending = "main";
  EXPECT_EQ(submissions(), Lines{payload("runner", run.text())});
}

TEST_F(Judgement, endingsThatTheLastMapNameTells) {
  const struct {
    const char* map;
    std::size_t splits;
    const char* ending;
  } cases[] = {
      {"ENDING:arcade", 10, "arcade"}, {"ENDING:true", 10, "true"},
      {"ENDING:arcade2", 50, "main"},  {"Neon Halls", 10, "arcade"},
      {"Final Escape", 44, "arcade"},  {"Final Escape", 45, "true"},
      {"Level 3999", 44, "arcade"},    {"Level 3999", 45, "true"},
      {"x ENDING: Arcade", 45, "true"},
  };
  for (const auto& one : cases) {
    server.clearAnswers();
    server.answer("POST", "/submit", stage::Reply::json(kAccepted));
    stage::Receipt mod = stage::runWithSplits(one.splits, "main");
    mod.splits.back() = {one.map, "999.5"};
    mod.ending = "exit";
    machine.writeModResult(mod.text());
    const stage::RunResult run = upload();
    EXPECT_EQ(run.logLines(),
              uploadLog(withoutTimer(std::string(one.ending) + " (map=" + one.map + " t=999.50)",
                                     kNormal, kModTime),
                        true));
    mod.ending = one.ending;
    EXPECT_EQ(submissions().back(), payload("runner", mod.text()));
  }
}

TEST_F(Judgement, endingThatTheModWroteIsKeptAndItsStatusIsNot) {
  stage::Receipt run = stage::finishedRun();
  run.splits.back().map = "ENDING:arcade";
  run.status = "running";
  machine.writeReceipt(run.text());

  EXPECT_EQ(upload().logLines(),
            uploadLog(withoutTimer("arcade (map=ENDING:arcade t=754.56)", kNormal), true));
  run.status = "ending";
  EXPECT_EQ(submissions(), Lines{payload("runner", run.text())});
}

// A status that is no text: the next quoted run, wherever it stands, is rewritten, and here
// it becomes the key of an ending, which is then settled too.
TEST_F(Judgement, statusWithoutQuotesRewritesTheNextQuotedText) {
  machine.writeReceipt(
      "{\"status\":1,\"x\":\"y\",\"difficulty\":\"normal\","
      "\"splits\":[{\"i\":0,\"map\":\"ENDING:main\",\"t\":9.5}]}");

  EXPECT_EQ(upload().logLines(),
            uploadLog(withoutTimer("main (map=ENDING:main t=9.50)", kNormal), true));
  EXPECT_EQ(submissions(),
            Lines{"{\"player\":\"runner\",\"status\":1,\"ending\":\"main\","
                  "\"difficulty\":\"normal\","
                  "\"splits\":[{\"i\":0,\"map\":\"ENDING:main\",\"t\":9.5}]}"});
}

TEST_F(Judgement, endingSplitWithoutATimeTakesTheNextOne) {
  machine.writeReceipt(
      "{\"splits\":[{\"i\":0,\"map\":\"ENDING:main\"},{\"i\":1,\"map\":\"Hub\",\"t\": 7.25}],"
      "\"difficulty\":\"easy\"}");

  EXPECT_EQ(upload().logLines(),
            uploadLog(withoutTimer("main (map=ENDING:main t=7.25)",
                                   {"difficulty from game (receipt): easy"}),
                      true));
}

// --- cross-check and time ----------------------------------------------------------------

TEST_F(Judgement, twoSecondsBeforeTheLastSplitIsStillFine) {
  stage::Receipt run = stage::finishedRun();
  run.splits.back().time = "12.5";
  machine.writeReceipt(run.text());
  stage::TimerServer timer;
  timer.replyEnded(10.5);

  EXPECT_EQ(upload().logLines(),
            uploadLog({"livesplit probe ok: 10.50", "livesplit phase: Ended",
                       "ending inferred from splits: main (map=ENDING:main t=12.50)",
                       "cross-check: livesplit=10.50 lastSplit=12.50 diff=-2.00",
                       "livesplit time used: 10.50 (receipt said 754.560)",
                       "difficulty from game (receipt): normal",
                       std::string("upload response: ") + kAccepted},
                      true));
}

TEST_F(Judgement, moreThanTwoSecondsBeforeTheLastSplitWarns) {
  stage::Receipt run = stage::finishedRun();
  run.splits.back().time = "12.5";
  machine.writeReceipt(run.text());
  stage::TimerServer timer;
  timer.replyEnded(10.49);

  EXPECT_EQ(upload().logLines(),
            uploadLog({"livesplit probe ok: 10.49", "livesplit phase: Ended",
                       "ending inferred from splits: main (map=ENDING:main t=12.50)",
                       "cross-check: livesplit=10.49 lastSplit=12.50 diff=-2.01",
                       "WARN: livesplit stopped before last split (likely early stop, review "
                       "manually)",
                       "livesplit time used: 10.49 (receipt said 754.560)",
                       "difficulty from game (receipt): normal",
                       std::string("upload response: ") + kAccepted},
                      true));
  EXPECT_EQ(submissions().size(), 1U);
}

TEST_F(Judgement, lastSplitAtZeroIsNotCompared) {
  stage::Receipt run = stage::finishedRun();
  run.splits.back().time = "0.0";
  machine.writeReceipt(run.text());
  stage::TimerServer timer;
  timer.replyEnded(10.5);

  EXPECT_EQ(upload().logLines(),
            uploadLog({"livesplit probe ok: 10.50", "livesplit phase: Ended",
                       "ending inferred from splits: main (map=ENDING:main t=0.00)",
                       "livesplit time used: 10.50 (receipt said 754.560)",
                       "difficulty from game (receipt): normal",
                       std::string("upload response: ") + kAccepted},
                      true));
}

TEST_F(Judgement, receiptWithoutTimesAndTotalStaysAsItIs) {
  const std::string receipt = "{\"map\":\"ENDING:main\",\"difficulty\":\"nightmare\"}";
  machine.writeReceipt(receipt);
  stage::TimerServer timer;
  timer.replyEnded(10.5);

  EXPECT_EQ(upload().logLines(),
            uploadLog({"livesplit probe ok: 10.50", "livesplit phase: Ended",
                       "ending inferred from splits: main (map=ENDING:main t=-1.00)",
                       "difficulty from game (receipt): nightmare",
                       std::string("upload response: ") + kAccepted},
                      true));
  EXPECT_EQ(submissions(), Lines{payload("runner", receipt)});
}

TEST_F(Judgement, oldTotalIsLoggedWithItsBlanksAndReplacedWithThem) {
  machine.writeReceipt(
      "{\"map\":\"ENDING:main\",\"t\":5.5,\"difficulty\":\"easy\",\"total\":  12.5 }");
  stage::TimerServer timer;
  timer.replyEnded(6.0);

  EXPECT_EQ(upload().logLines(),
            uploadLog({"livesplit probe ok: 6.00", "livesplit phase: Ended",
                       "ending inferred from splits: main (map=ENDING:main t=5.50)",
                       "cross-check: livesplit=6.00 lastSplit=5.50 diff=0.50",
                       "livesplit time used: 6.00 (receipt said   12.5 )",
                       "difficulty from game (receipt): easy",
                       std::string("upload response: ") + kAccepted},
                      true));
  EXPECT_EQ(submissions(),
            Lines{"{\"player\":\"runner\",\"map\":\"ENDING:main\",\"t\":5.5,"
                  "\"difficulty\":\"easy\",\"total\":6.00}"});
}

// --- difficulty --------------------------------------------------------------------------

TEST_F(Judgement, difficultyOfTheGameGoesBeforeThatOfTheSettings) {
  set("difficulty", "nightmare");
  stage::Receipt run = stage::finishedRun();
  run.difficulty = "easy";
  machine.writeReceipt(run.text());

  EXPECT_EQ(upload().logLines(),
            uploadLog(withoutTimer("main (map=ENDING:main t=754.56)",
                                   {"difficulty from game (receipt): easy"}),
                      true));
  EXPECT_EQ(submissions(), Lines{payload("runner", run.text())});
}

TEST_F(Judgement, difficultyThatIsNoneIsIgnoredSilently) {
  for (const std::string word : {"Easy", "hard", "\"", "normal "}) {
    stage::Receipt run = stage::finishedRun();
    run.difficulty = word;
    machine.writeReceipt(run.text());
    EXPECT_EQ(upload().logLines(),
              uploadLog(withoutTimer("main (map=ENDING:main t=754.56)"), true));
    EXPECT_EQ(submissions().back(), payload("runner", run.text()));
  }
}

// --- hostile receipts --------------------------------------------------------------------

constexpr unsigned kQuickMs = 20000;

TEST_F(Judgement, endlessTextIsReadOnce) {
  machine.writeReceipt("{\"map\":\"ENDING:" + std::string(50U << 20, 'x'));

  const stage::RunResult run = upload();

  EXPECT_EQ(run.logLines(),
            uploadLog({kNoProbe, kNoPhase,
                       "run not finished, upload skipped (no ending map in splits)",
                       "skip reported: run not finished (no ending map)"},
                      false));
  EXPECT_LT(run.elapsedMs, kQuickMs);
}

TEST_F(Judgement, manySplitsWithoutTimesAreWalkedOnce) {
  std::string receipt = "{\"difficulty\":\"easy\"";
  for (int i = 0; i < 300000; ++i) receipt += ",\"map\":\"ENDING:x\"";
  receipt += "}";
  machine.writeReceipt(receipt);

  const stage::RunResult run = upload();

  EXPECT_EQ(run.logLines(), uploadLog(withoutTimer("main (map=ENDING:x t=-1.00)",
                                                   {"difficulty from game (receipt): easy"}),
                                      true));
  EXPECT_TRUE(submissions() == Lines{payload("runner", receipt)});
  EXPECT_LT(run.elapsedMs, kQuickMs);
}

}  // namespace
}  // namespace e2e
