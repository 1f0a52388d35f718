// What a whole run asks of LiveSplit's command server: which commands, on how many
// connections, and what becomes of a server that misbehaves.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "rehearsal/stage/stage.h"
#include "tests/e2e/upload_run.h"

namespace e2e {
namespace {

class TimerClient : public UploadTest {
 protected:
  TimerClient() { machine.writeReceipt(stage::finishedRun().text()); }

  /// "1 getfinaltime": each command with the number of its connection.
  static Lines conversation(const stage::TimerServer& timer) {
    Lines lines;
    for (const stage::TimerCommand& command : timer.commands()) {
      lines.push_back(std::to_string(command.connection) + " " + command.text);
    }
    return lines;
  }

  /// The log of a run that is accepted with these lines of the timer's.
  static Lines timedLog(const std::string& probe, const std::string& phase,
                        const Lines& crossCheck, const std::string& time) {
    return uploadLog(joined({{probe, phase,
                              "ending inferred from splits: main (map=ENDING:main t=754.56)"},
                             crossCheck,
                             {time, "difficulty from game (receipt): normal",
                              std::string("upload response: ") + kAccepted}}),
                     true);
  }
  static Lines endedLog() {
    return timedLog("livesplit probe ok: 754.60", "livesplit phase: Ended",
                    {"cross-check: livesplit=754.60 lastSplit=754.56 diff=0.04"},
                    "livesplit time used: 754.60 (receipt said 754.560)");
  }
};

TEST_F(TimerClient, receiptTakesFourConnections) {
  stage::TimerServer timer;
  timer.replyEnded(754.6);
  EXPECT_EQ(upload().logLines(), endedLog());
  EXPECT_EQ(conversation(timer), (Lines{"1 getfinaltime", "2 getcurrenttimerphase",
                                        "3 getfinaltime", "4 getfinaltime"}));
}

TEST_F(TimerClient, modResultTakesThreeConnections) {
  machine.writeModResult(stage::finishedRun().text());
  stage::TimerServer timer;
  timer.replyEnded(754.6);
  EXPECT_EQ(upload().exitCode, 0U);
  EXPECT_EQ(conversation(timer),
            (Lines{"1 getfinaltime", "2 getcurrenttimerphase", "3 getfinaltime"}));
}

TEST_F(TimerClient, withoutAServerThereIsOneConnection) {
  set("server", "");
  stage::TimerServer timer;
  timer.replyEnded(754.6);
  EXPECT_EQ(upload().exitCode, 2U);
  EXPECT_EQ(conversation(timer), Lines{"1 getfinaltime"});
}

// The cross-check asks even when the receipt has nothing to compare with.
TEST_F(TimerClient, receiptWithoutTimesTakesFourConnectionsToo) {
  machine.writeReceipt("{\"map\":\"ENDING:main\"}");
  stage::TimerServer timer;
  timer.replyEnded(754.6);
  EXPECT_EQ(upload().exitCode, 0U);
  EXPECT_EQ(conversation(timer), (Lines{"1 getfinaltime", "2 getcurrenttimerphase",
                                        "3 getfinaltime", "4 getfinaltime"}));
}

TEST_F(TimerClient, timerWithoutATimeIsAskedForAllThreeEachTime) {
  stage::TimerServer timer;
  timer.replyState("NotRunning", std::nullopt, std::nullopt, 0.0);
  EXPECT_EQ(upload().logLines(),
            timedLog(kNoProbe, "livesplit phase: NotRunning", {}, kReceiptTime));
  EXPECT_EQ(conversation(timer),
            (Lines{"1 getfinaltime", "1 getlastsplittime", "1 getcurrenttime",
                   "2 getcurrenttimerphase", "3 getfinaltime", "3 getlastsplittime",
                   "3 getcurrenttime", "4 getfinaltime", "4 getlastsplittime",
                   "4 getcurrenttime"}));
}

TEST_F(TimerClient, timerOfTheOlderGenerationIsUnderstood) {
  stage::TimerServer::Options options;
  options.generation = stage::TimerGeneration::component;
  stage::TimerServer timer(options);
  timer.replyEnded(754.6);
  EXPECT_EQ(upload().logLines(), endedLog());
}

// The simulated timer with a personal best and a run that goes on: the best is taken for
// the run's time, which is what the real one's answers lead to.
TEST_F(TimerClient, personalBestOfARunningTimerIsReadAsItsTime) {
  stage::TimerSimulation::Setup setup;
  setup.personalBest = stage::ticksOf(5025.678);
  stage::TimerSimulation simulation(setup);
  (void)simulation.answer("starttimer");
  stage::TimerServer timer;
  timer.simulate(simulation);
  EXPECT_EQ(upload().logLines(),
            timedLog("livesplit probe ok: 5025.68", "livesplit phase: Running",
                     {"cross-check: livesplit=5025.68 lastSplit=754.56 diff=4271.12"},
                     "livesplit time used: 5025.68 (receipt said 754.560)"));
}

// LiveSplit opens the splits of its own settings, not those of launcher.ini: with a best in
// them, a timer that was not ended submits that best.
TEST_F(TimerClient, bestOfTheSplitsThatLiveSplitOpenedIsReadAsTheRunsTime) {
  machine.installLiveSplit({.phase = "Running", .currentTime = 760.0});
  const std::filesystem::path other = machine.liveSplitFolder() / "other.lss";
  stage::writeFile(other, stage::splitsFile("01:23:45.6780000"));
  stage::writeFile(machine.liveSplitFolder() / "settings.cfg",
                   stage::liveSplitSettings({}, stage::textOf(other)));
  machine.startLiveSplit();
  EXPECT_EQ(upload().logLines(),
            timedLog("livesplit probe ok: 5025.68", "livesplit phase: Running",
                     {"cross-check: livesplit=5025.68 lastSplit=754.56 diff=4271.12"},
                     "livesplit time used: 5025.68 (receipt said 754.560)"));
  machine.endLiveSplit();
}

TEST_F(TimerClient, timerThatLosesEarlyCommandsIsWaitedFor) {
  stage::TimerServer::Options options;
  options.manner = stage::TimerManner::dropsFirst20Ms;
  stage::TimerServer timer(options);
  timer.replyEnded(754.6);
  EXPECT_EQ(upload().logLines(), endedLog());
  EXPECT_EQ(timer.lostBytes(), 0U);
}

TEST_F(TimerClient, timerThatHangsUpIsLikeNone) {
  stage::TimerServer::Options options;
  options.manner = stage::TimerManner::acceptsAndCloses;
  stage::TimerServer timer(options);
  EXPECT_EQ(upload().logLines(), timedLog(kNoProbe, kNoPhase, {}, kReceiptTime));
  EXPECT_EQ(timer.connections(), 4U);
}

using TimerClientLong = TimerClient;

// There is no time-out: however long the timer thinks, its answer is waited for.
TEST_F(TimerClientLong, answerAfterTwentySecondsStillCounts) {
  stage::TimerServer timer;
  timer.replyEnded(754.6);
  stage::TimerReply late = stage::TimerReply::line("00:12:34.6000000");
  late.delayMs = 20000;
  timer.reply("getfinaltime", {late, stage::TimerReply::line("00:12:34.6000000")});
  const stage::RunResult run = upload();
  EXPECT_EQ(run.logLines(), endedLog());
  EXPECT_GE(run.elapsedMs, 20000U);
}

}  // namespace
}  // namespace e2e
